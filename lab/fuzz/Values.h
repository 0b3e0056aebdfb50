#pragma once

#include <cstdint>

#include "FrameJudge.h"
#include "Input.h"

namespace MrpFuzz {

// Which value of an attribute type: the last octet of its key (from 248 on the key is in the last
// eight of its range), and something that makes values of one key differ.
struct ValueChoice {
    std::uint8_t key = 0;
    std::uint8_t variant = 0;
};

// The value record, as a database stores it; empty for a type that the application lacks.
Bytes storedValue(Mrp::MrpApplication application, Mrp::AttributeType type, ValueChoice choice);
// The attribute's key.
Mrp::AttributeKey keyOf(Mrp::MrpApplication application, Mrp::AttributeType type,
                        ValueChoice choice);

// Reads the messages of an MRPDU: types, values and events are the input's, lengths and EndMarks
// are right, so that most of it gets past the parser.
Bytes assembledPdu(Mrp::MrpApplication application, Input& input);

}  // namespace MrpFuzz
