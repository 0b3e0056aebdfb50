#include "TestNode.h"

#include <cctype>
#include <cstdlib>

#include "platform/base/Text.h"
#include "platform/log/Log.h"

namespace MrpTest {

Bytes hex(const std::string& text) {
    Bytes bytes;
    std::string digits;
    for (const char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
            digits += c;
        }
        if (digits.size() == 2) {
            bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits, nullptr, 16)));
            digits.clear();
        }
    }
    return bytes;
}

std::string text(const Bytes& bytes) {
    return hexBytes(bytes);
}

bool TestLib::record(const MrpParameters& parameters, bool join) {
    indications.push_back({mrpSm()->clock().now(), join, mrpSm()->parseContext()->attribute(),
                           parameters.attributeEvent});
    const Indication indication = indications.back();
    return onIndication && onIndication(indication);
}

bool TestLib::mrpJoinIndication(const MrpParameters& parameters) {
    return record(parameters, true);
}

void TestLib::mrpLeaveIndication(const MrpParameters& parameters) {
    record(parameters, false);
}

TestNode::TestNode(MrpApplication application, std::size_t interfaceCount,
                   const std::function<void(MrpConfig&)>& configure, bool standby,
                   const Ptr<Stp::Status>& stp)
    : stpStatus(stp ? stp : makePtr<Stp::Status>()) {
    if (!stp) {
        stpStatus->modeIs(0);
    }
    setenv("DISABLE_LEAVE_ALL_RANDOMIZATION", "1", 1);
    logSinkIs([this](const LogHandle& handle, const std::string& message) {
        log.push_back(handle.name() + ": " + message);
    });
    for (std::size_t i = 1; i <= interfaceCount; ++i) {
        const std::string name = "et" + std::to_string(i);
        const IntfId intfId(name);
        auto dev = makePtr<Virtual::VirtualEthDev>(name, activityManager);
        reactors.push_back(dev->sent().react([this, intfId](const Ptr<Pkt>& pkt) {
            sent.push_back({now(), intfId, Bytes(pkt->span().begin(), pkt->span().end())});
        }));
        interfaces.kernelStatus->valueIs(intfId, dev);
        interfaces.ethPhyIntfStatus->valueIs(intfId, {EthAddr(0x020000000000ULL + i)});
        intfs.push_back(intfId);
        devs.push_back(dev);
    }
    MrpAgent::MrpInstance::Parameters parameters;
    parameters.application = application;
    parameters.bridgeMac = EthAddr(0x0200000000aaULL);
    parameters.standby = standby;
    parameters.stpStatus = stpStatus;
    parameters.mrpLib = lib;
    parameters.mrpConfig = makePtr<MrpConfig>();
    if (configure) {
        configure(*parameters.mrpConfig);
    }
    instance = std::make_unique<MrpAgent::MrpInstance>(activityManager, interfaces, parameters);
    for (const IntfId intfId : intfs) {
        instance->enable(intfId);
    }
}

TestNode::~TestNode() {
    instance.reset();
    logSinkIs(nullptr);
}

Bytes TestNode::frameOf(const std::string& messages, std::uint8_t version) const {
    const auto destination = lib->destinationAddr().octets();
    Bytes frame(destination.begin(), destination.end());
    const Bytes rest = hex("02 00 00 00 00 99");
    frame.insert(frame.end(), rest.begin(), rest.end());
    frame.push_back(static_cast<std::uint8_t>(lib->ethType() >> 8));
    frame.push_back(static_cast<std::uint8_t>(lib->ethType()));
    frame.push_back(version);
    const Bytes body = hex(messages);
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

void TestNode::receive(const std::string& messages, std::size_t number) {
    receiveFrame(frameOf(messages), true, number);
}

void TestNode::receiveFrame(const Bytes& frame, bool notify, std::size_t number) {
    dev(number).inject(frame, notify);
    activityManager.settle();
}

void TestNode::request(std::uint8_t event, AttributeType type, const Bytes& value,
                       std::size_t number) {
    instance->request(intf(number), type, event, value);
}

void TestNode::declareVlan(std::uint16_t vlan, std::size_t number) {
    request(AttributeEvent::joinIn, vlanType,
            {static_cast<std::uint8_t>(vlan >> 8), static_cast<std::uint8_t>(vlan)}, number);
}

void TestNode::withdrawVlan(std::uint16_t vlan, std::size_t number) {
    request(AttributeEvent::lv, vlanType,
            {static_cast<std::uint8_t>(vlan >> 8), static_cast<std::uint8_t>(vlan)}, number);
}

void TestNode::portRoleIs(int role, const std::string& msti, std::size_t number) {
    const auto topology = stpStatus->stpiStatus().partIs("Stp")->mstiStatus().partIs(msti);
    topology->portStatus().partIs(intf(number).name())->roleIs(role);
}

std::string TestNode::states(AttributeType type, AttributeKey key, std::size_t number) {
    const MrpAttrDatabase* record = sm().mrpGetAttrFromDatabase(intf(number), type, key, true);
    if (record == nullptr) {
        return "-";
    }
    return std::string(stringValue(record->applicantState())) + "/" +
           std::string(stringValue(record->registrarState()));
}

Ptr<MrpAttrDatabase> TestNode::place(AttributeType type, AttributeKey key,
                                     MrpApplicantState applicant, MrpRegistrarState registrar,
                                     std::size_t number) {
    sm().parseContext()->attributeIs({intf(number), type, key});
    Ptr<MrpAttrDatabase> record = sm().mrpGetAttribute(true);
    record->applicantStateIs(applicant);
    record->registrarStateIs(registrar);
    return record;
}

bool TestNode::committed(AttributeType type, AttributeKey key, std::size_t number) {
    const MrpApplicationDatabase* database = sm().applicationDatabase();
    return database != nullptr && database->record(intf(number), type, key) != nullptr;
}

}  // namespace MrpTest
