#include "lab/capture/PduDecoder.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mrp/MrpSm/types/MrpValueImage.h"

namespace MrpLab {

using namespace Mrp;
using MrpAgent::Json;

namespace {

// Of a vector header.
constexpr unsigned leaveAllBit = 0x2000;
constexpr unsigned valuesMask = 0x1fff;

// The octets of so many packed events.
std::size_t threes(std::size_t values) {
    return (values + 2) / 3;
}
std::size_t fours(std::size_t values) {
    return (values + 3) / 4;
}

struct Fault {
    std::size_t offset;
    std::string reason;
};

// The octets of the PDU, front to back.
class Cursor {
  public:
    explicit Cursor(std::span<const std::uint8_t> octets) : octets_(octets) {}

    std::size_t offset() const { return offset_; }
    std::size_t left() const { return octets_.size() - offset_; }
    // Both throw a Fault when there are not so many.
    std::span<const std::uint8_t> take(std::size_t count, const char* what) {
        if (count > left()) {
            throw Fault{offset_, std::string(what) + " is cut short: " + std::to_string(left()) +
                                     " of " + std::to_string(count) + " octets"};
        }
        const auto taken = octets_.subspan(offset_, count);
        offset_ += count;
        return taken;
    }
    std::uint16_t take16(const char* what) {
        const auto octets = take(2, what);
        return static_cast<std::uint16_t>(octets[0] << 8U | octets[1]);
    }
    // 0 without two octets.
    unsigned peek16() const {
        return left() < 2 ? 0U : octets_[offset_] * 256U + octets_[offset_ + 1];
    }
    void drop(std::size_t count) { offset_ += std::min(count, left()); }
    bool atEndMark() const {
        return left() >= 2 && octets_[offset_] == 0 && octets_[offset_ + 1] == 0;
    }

  private:
    std::span<const std::uint8_t> octets_;
    std::size_t offset_ = 0;
};

std::string eventName(unsigned event) {
    constexpr std::array<std::string_view, 6> names{"New", "JoinIn", "In", "JoinMt", "Mt", "Lv"};
    return event < names.size() ? std::string(names[event]) : std::to_string(event);
}

unsigned threePacked(std::span<const std::uint8_t> octets, std::size_t index) {
    const unsigned octet = octets[index / 3];
    const std::array<unsigned, 3> events{octet / 36, octet / 6 % 6, octet % 6};
    return events[index % 3];
}

unsigned fourPacked(std::span<const std::uint8_t> octets, std::size_t index) {
    return octets[index / 4] >> (6 - 2 * (index % 4)) & 3U;
}

class Decoder {
  public:
    Decoder(MrpApplication application, std::span<const std::uint8_t> pdu)
        : application_(application), msrp_(application == MrpApplication::msrp), cursor_(pdu) {}

    Json decode() {
        Json messages = Json::array();
        Json fault = Json::object();
        if (cursor_.left() == 0) {
            return {{"version", Json()}, {"messages", messages}};
        }
        try {
            version_ = cursor_.take(1, "the protocol version")[0];
            bool more = true;
            while (more && cursor_.left() > 0) {
                messages.push_back(Json::object());
                more = decodeMessage(messages.back());
            }
        } catch (const Fault& found) {
            fault["malformed"] = {{"offset", found.offset}, {"reason", found.reason}};
        }
        Json whole = {{"version", version_}, {"messages", std::move(messages)}};
        whole.update(fault);
        return whole;
    }

  private:
    // False at the end of the PDU.
    bool decodeMessage(Json& message) {
        const std::size_t begin = cursor_.offset();
        const auto header = cursor_.take(2, "a message header");
        type_ = header[0];
        length_ = header[1];
        message["attributeType"] = typeName();
        message["attributeLength"] = length_;
        if (msrp_) {
            listLeft_ = cursor_.take16("an attribute list length");
            message["attributeListLength"] = listLeft_;
            if (listLeft_ == 0) {
                throw Fault{begin + 2, "the attribute list length is 0"};
            }
        }
        if (lengthOfType() == length_) {
            decodeList(message["vectors"] = Json::array());
        } else if (version_ == 0) {
            throw Fault{begin, "type " + std::to_string(type_) + " with values of " +
                                   std::to_string(length_) + " octets"};
        } else {
            message["skipped"] = true;
            skipMessage();
        }
        return !cursor_.atEndMark();
    }

    void decodeList(Json& vectors) {
        do {
            vectors.push_back(Json::object());
            decodeVector(vectors.back());
            if (!cursor_.atEndMark() && cursor_.left() <= 2) {
                throw Fault{cursor_.offset(), "the message ends without an end mark"};
            }
        } while (!cursor_.atEndMark());
        if (msrp_ && listLeft_ != 2) {
            throw Fault{cursor_.offset(), "the message is not as long as its attribute list "
                                          "length says"};
        }
        cursor_.drop(2);
    }

    void decodeVector(Json& vector) {
        const std::size_t begin = cursor_.offset();
        const unsigned header = cursor_.take16("a vector header");
        const std::size_t values = header & valuesMask;
        vector["leaveAll"] = (header & leaveAllBit) != 0;
        vector["values"] = Json::array();
        if ((header & leaveAllBit) == 0 && values == 0) {
            throw Fault{begin, "a vector with neither LeaveAll nor values"};
        }
        MrpValueImage image;
        if (!takeFirstValue(image)) {
            vector["unknownType"] = true;  // read on as if it were a vector without a value
            return;
        }
        const bool listener = msrp_ && type_ == listenerType;
        const std::size_t size = threes(values) + (listener ? fours(values) : 0);
        const auto packed = cursor_.take(size, "the events of a vector");
        listLeft_ = static_cast<std::uint16_t>(listLeft_ - (2 + length_ + size));
        for (std::size_t i = 0; i < values; ++i) {
            if (i > 0) {
                step(image);
            }
            if (listener) {
                image.listener.listenerEventIs(
                    static_cast<MsrpListenerEvent>(fourPacked(packed.subspan(threes(values)), i)));
            }
            vector["values"].push_back(valueJson(image, threePacked(packed, i)));
        }
    }

    // False for a type that the application does not have.
    bool takeFirstValue(MrpValueImage& image) {
        const auto slot = image.octets(type_, application_);
        if (slot.empty()) {
            return false;
        }
        const auto value = cursor_.take(length_, "a first value");
        std::copy(value.begin(), value.end(), slot.begin());
        return true;
    }

    void step(MrpValueImage& image) const {
        if (!msrp_) {
            image.vlan.vlanId = static_cast<std::uint16_t>(image.vlan.vlanId + 1);
            return;
        }
        MsrpTalkerAdvertiseAttribute& failed = image.talkerFailed.talkerAdvertiseAttribute;
        switch (type_) {
        case talkerAdvertiseType:
            image.talkerAdvertise = mrpIncrementTalkerAttribute(image.talkerAdvertise);
            break;
        case talkerFailedType:
            failed = mrpIncrementTalkerAttribute(failed);
            break;
        case listenerType:
            image.listener.streamId = image.listener.streamId + 1;
            break;
        default:
            ++image.domain.srClassId;
            ++image.domain.srClassPriority;
        }
    }

    Json valueJson(const MrpValueImage& image, unsigned event) const {
        Json json = {{"attributeEvent", eventName(event)}, {"key", image.key(type_, application_)}};
        json.update(MrpAgent::valueJson(application_, type_, image.octets(type_, application_)));
        return json;
    }

    // A message of a newer version, which may say what we cannot read (clause 10.8.3.5). The
    // octets of an MVRP vector are counted in one octet.
    void skipMessage() {
        if (msrp_) {
            cursor_.drop(listLeft_);
            return;
        }
        do {
            const std::size_t size = (threes(cursor_.peek16() & valuesMask) + length_ + 2) & 0xffU;
            if (cursor_.left() < 2 || size == 0 || size > cursor_.left()) {
                cursor_.drop(cursor_.left());
                return;
            }
            cursor_.drop(size);
        } while (!cursor_.atEndMark());
        cursor_.drop(2);
    }

    Json typeName() const {
        return type_ >= 1 && type_ <= mrpMaxAttrTypes(application_)
                   ? Json(attributeTypeName(type_, application_))
                   : Json(type_);
    }

    std::uint8_t lengthOfType() const {
        return type_ >= 1 && type_ <= mrpMaxAttrTypes(application_)
                   ? mrpSizeOfAttribute(type_, application_)
                   : std::uint8_t{0};
    }

    MrpApplication application_;
    bool msrp_;
    Cursor cursor_;
    unsigned version_ = 0;
    AttributeType type_ = 0;
    std::uint8_t length_ = 0;
    std::uint16_t listLeft_ = 0;  // of the message's list, counted modulo 2^16
};

}  // namespace

Json decodeMrpdu(MrpApplication application, std::span<const std::uint8_t> pdu) {
    return Decoder(application, pdu).decode();
}

}  // namespace MrpLab
