#!/usr/bin/env python3
"""Writes scenarios for mrp-lab replay: random-scenarios.py FOLDER COUNT SEED

Each is a story of one engine that nobody would tell: received MRPDUs, valid ones and mutated ones,
requests, port roles, changes of configuration, and time, in any order. The same seed gives the same
scenarios. docs/mrp-lab.md describes the format.
"""

import json
import random
import sys

MSRP, MVRP = 1, 2
GROUP = {MSRP: "0180c200000e", MVRP: "0180c2000021"}
ETHER_TYPE = {MSRP: "22ea", MVRP: "88f5"}
VALUE_OCTETS = {MSRP: {1: 25, 2: 34, 3: 8, 4: 4}, MVRP: {1: 2}}
LISTENER = 3
APPLICANT = "VO VP VN AN AA QA LA AO QO AP QP LO".split()
REGISTRAR = "IN LV MT".split()
LEAVE_ALL_BIT = 0x2000


class Story:
    def __init__(self, rng):
        self.rng = rng
        self.application = rng.choice([MSRP, MVRP])
        self.interfaces = [f"et{n}" for n in range(1, rng.choice([1, 1, 2, 3]) + 1)]
        self.standby = rng.random() < 0.15
        self.keys = [rng.choice([rng.randrange(1, 60), rng.randrange(1 << 64)]) for _ in range(12)]
        self.vlans = [rng.choice([0, 1, 2, 10, 100, 4000, 4093, 4094, 65533]) for _ in range(3)]
        if self.one_in(4):
            self.keys[0] = rng.choice([0, (1 << 64) - 2])  # which vectors reach past the end of
        self.heard = []
        self.at = 0.0
        self.steps = []

    def one_in(self, n):
        return self.rng.randrange(n) == 0

    def step(self, action, value):
        self.steps.append({"at": round(self.at, 4), action: value})

    def intf(self):
        return self.rng.choice(self.interfaces)

    def type(self):
        return self.rng.choice(list(VALUE_OCTETS[self.application]))

    def key(self, attribute_type):
        if self.application == MVRP:
            return (self.rng.choice(self.vlans) + self.rng.randrange(4)) % (1 << 16)
        if attribute_type == 4:
            return self.rng.choice([5, 6, 255])
        return (self.rng.choice(self.keys) + self.rng.randrange(4)) % (1 << 64)

    # --- Values and frames ---

    def first_value(self, attribute_type):
        key = self.key(attribute_type)
        if self.application == MVRP:
            return key.to_bytes(2, "big")
        if attribute_type == 4:
            return bytes([key, self.rng.choice([2, 3]), 0, 2])
        value = key.to_bytes(8, "big")
        if attribute_type == LISTENER:
            return value
        value += (0x91E0F000FE00 + key % 256).to_bytes(6, "big")
        value += bytes.fromhex("000200640001") + bytes([self.rng.choice([0x60, 0x70, 0x7F])])
        value += self.rng.choice([1000, 2000]).to_bytes(4, "big")
        if attribute_type == 2:
            value += bytes.fromhex("00000200000000aa") + bytes([self.rng.randrange(1, 20)])
        return value

    def vector(self, attribute_type):
        values = self.rng.choice([0, 1, 1, 1, 2, 3, 4, 5, 7, 30])
        if self.one_in(12):
            values = self.rng.choice([300, 1365, 4094, 4100] if self.application == MVRP else [130, 256, 700])
        leave_all = values == 0 or self.one_in(8)
        events = self.rng.choices(range(6), weights=[2, 6, 1, 3, 1, 3], k=values)
        if self.one_in(3):
            events = [self.rng.randrange(6)] * values
        padded = events + [0] * (-values % 3)
        octets = ((LEAVE_ALL_BIT if leave_all else 0) + values).to_bytes(2, "big")
        octets += self.first_value(attribute_type) if values else bytes(
            VALUE_OCTETS[self.application][attribute_type])
        octets += bytes(a * 36 + b * 6 + c for a, b, c in zip(*[iter(padded)] * 3))
        if attribute_type == LISTENER:
            kinds = [self.rng.randrange(4) for _ in range(values)] + [0] * (-values % 4)
            octets += bytes(
                a << 6 | b << 4 | c << 2 | d for a, b, c, d in zip(*[iter(kinds)] * 4))
        return octets

    def pdu(self):
        octets = b"\0"
        for attribute_type in sorted(self.type() for _ in range(self.rng.choice([1, 1, 2, 3]))):
            body = b"".join(self.vector(attribute_type) for _ in range(self.rng.choice([1, 1, 2, 5])))
            body += b"\0\0"
            octets += bytes([attribute_type, VALUE_OCTETS[self.application][attribute_type]])
            if self.application == MSRP:
                octets += len(body).to_bytes(2, "big")
            octets += body
        return octets + b"\0\0"

    def mutated(self, pdu):
        octets = bytearray(pdu)
        for _ in range(self.rng.choice([1, 1, 2, 4])):
            at = self.rng.randrange(len(octets))
            kind = self.rng.randrange(6)
            if kind == 0:
                octets[at] = self.rng.randrange(256)
            elif kind == 1:
                octets[at] ^= 1 << self.rng.randrange(8)
            elif kind == 2:
                del octets[at:]
            elif kind == 3:
                octets[at:at] = self.rng.randbytes(self.rng.randrange(1, 6))
            elif kind == 4:
                octets[0] = self.rng.choice([0, 1, 255])
            else:
                octets[at:at] = octets[at:at + self.rng.randrange(1, 20)]
            octets = octets or bytearray(1)
        return bytes(octets[:2000])

    def frame(self):
        pdu = self.pdu()
        if self.one_in(4):
            pdu = self.mutated(pdu)
        application = self.application if not self.one_in(40) else MSRP + MVRP - self.application
        tag = "8100" + self.rng.choice(["0005", "a064"]) if self.one_in(15) else ""
        ether_type = ETHER_TYPE[application] if not self.one_in(40) else "0800"
        return GROUP[application] + "020000000099" + tag + ether_type + pdu.hex()

    # --- Steps ---

    def start(self):
        interfaces = []
        for name in self.interfaces:
            interface = {"name": name, "mac": f"02:00:00:00:00:0{name[-1]}"}
            if self.one_in(4):
                interface["frameSizeLimit"] = self.rng.choice([100, 200, 600, 1514, 9000])
            if self.one_in(5):
                interface["nativeVlan"] = self.rng.choice([1, 100])
            interfaces.append(interface)
        start = {"application": self.application, "bridgeMac": "02:00:00:00:00:aa",
                 "interfaces": interfaces, "standby": self.standby,
                 "log": self.one_in(2), "randomize": self.one_in(4)}
        if self.one_in(3):
            start["stpMode"] = self.rng.choice([-1, 0, 2, 3, 100, 101])
        if self.one_in(3):
            start["leaveAllTime"] = self.rng.choice([1, 2, 3])
        self.step("start", start)
        for name in self.interfaces:
            self.step("enable", name)

    def receive(self):
        # Neighbours mostly say again what they have said.
        if not self.heard or self.one_in(2):
            self.heard.append(self.frame())
        value = {"interface": self.intf(), "frame": self.rng.choice(self.heard[-6:])}
        if self.one_in(8):
            value["notify"] = False
        self.step("receive", value)

    def request(self):
        attribute_type = self.type()
        value = self.first_value(attribute_type)
        if attribute_type == LISTENER and self.application == MSRP:
            value += bytes([self.rng.randrange(1, 4), 0, 0, 0])
        step = {"queue": self.rng.choices(self.interfaces, k=self.rng.choice([1, 1, 2])),
                "interface": self.intf(), "attributeType": attribute_type,
                "event": self.rng.choice([0, 1, 1, 1, 3, 5, 5, 6, 7, 9])}
        if not self.one_in(10):
            step["value"] = value.hex()
        self.step("request", step)

    def config(self):
        name = self.intf()
        self.step("config", self.rng.choice([
            {"leaveTime": self.rng.choice([0.2, 0.6, 1.0])},
            {"leaveAllTime": self.rng.choice([1, 2, 10])},
            {"txLeaveAllExpiryTime": self.rng.choice([0.3, 0.6, 1.5])},
            {"mrpFlooding": self.one_in(3)},
            {"timersEnabled": self.one_in(2)},
            {"intfLeaveTime": {name: self.rng.choice([None, 0, 0.3])}},
            {"intfLeaveAllTime": {name: self.rng.choice([None, 0, 1.5])}}]))

    def role(self):
        self.step("role", {"instance": "Stp", "msti": self.rng.choice(["Cist", "Cist", "NoStp", "Vl1"]),
                           "port": self.intf(), "role": self.rng.choice([1, 2, 3, 3, 0])})

    def attribute(self):
        attribute_type = self.type()
        return {"attributeType": attribute_type, "key": hex(self.key(attribute_type))}

    def rare(self):
        kind = self.rng.randrange(9)
        if kind == 0:
            self.step("disable", self.intf())
        elif kind == 1:
            self.step("enable", self.intf())
        elif kind == 2 and not self.standby:
            self.step("transmitAllLeaveAll", self.intf())
        elif kind == 3:
            self.step("discard", [self.attribute() for _ in range(self.rng.randrange(3))])
        elif kind == 4:
            self.step("cleanUp", {"interface": self.intf(), **self.attribute()})
        elif kind == 5:
            self.step("clog", self.one_in(2))
        elif kind == 6:
            self.step("recycled", self.one_in(2))
        elif kind == 7:
            self.step("state", {"interface": self.intf(), **self.attribute(),
                                "applicant": self.rng.choice(APPLICANT),
                                "registrar": self.rng.choice(REGISTRAR)})
        else:
            self.step("active", True)
            self.standby = False

    def told(self):
        self.start()
        for _ in range(self.rng.randrange(30, 150)):
            self.at += self.rng.choice([0, 0, 0.005, 0.02, 0.05, 0.11, 0.3, 0.7, 2.3])
            self.rng.choices([self.receive, self.request, self.config, self.role, self.rare,
                              lambda: self.step("dump", True)],
                             weights=[12, 6, 1, 1, 3, 2])[0]()
        self.at += 15
        self.step("dump", True)
        return "".join(json.dumps(step) + "\n" for step in self.steps)


def main():
    folder, count, seed = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
    for n in range(count):
        with open(f"{folder}/random-{seed}-{n}.jsonl", "w", encoding="ascii") as out:
            out.write(Story(random.Random(seed * 1000003 + n)).told())


if __name__ == "__main__":
    main()
