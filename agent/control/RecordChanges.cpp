#include "agent/control/RecordChanges.h"

#include <algorithm>
#include <utility>

#include "agent/control/AttributeRows.h"
#include "platform/base/Text.h"
#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

// --- A reader ---

RecordChanges::Reader::Reader(RecordChanges& changes) : changes_(changes), next_(changes.end()) {
    changes_.readerIs(*this);
}

RecordChanges::Reader::~Reader() {
    changes_.readerDel(*this);
}

const RecordChanges::Change* RecordChanges::Reader::next() {
    atEnd_ = next_ == changes_.end();
    return atEnd_ ? nullptr : &changes_.change(next_);
}

std::uint64_t RecordChanges::Reader::takeLost() {
    return std::exchange(lost_, 0);
}

// --- The changes ---

RecordChanges::RecordChanges(ControlNode& node, WallClock wallClock, std::size_t limit)
    : node_(node), wallClock_(std::move(wallClock)), limit_(limit) {}

void RecordChanges::readerIs(Reader& reader) {
    if (readers_.empty()) {
        follow();
    }
    readers_.insert(&reader);
    // It is to see what comes now, also of attributes whose changes wait for others.
    for (Source& source : sources_) {
        source.open.clear();
    }
}

void RecordChanges::readerDel(Reader& reader) {
    readers_.erase(&reader);
    if (readers_.empty()) {
        sources_.clear();
    }
    for (std::uint64_t number = reader.next_; number < end(); ++number) {
        --change(number).readers;
    }
    trim();
}

void RecordChanges::follow() {
    for (const auto& instance : node_.instances()) {
        if (MrpApplicationDatabase* database = instance->mrpSm().applicationDatabase()) {
            Source& source = sources_.emplace_back(Source{instance.get(), {}, Reactor()});
            source.reactor = database->recordChanged().react(
                [this, &source](const MrpAttribute& attribute, const MrpAttrDatabase*) {
                    // Whoever changes a record has nothing to do with those who watch it.
                    dispatch([&] { note(source, attribute); });
                });
        }
    }
}

void RecordChanges::note(Source& source, const MrpAttribute& attribute) {
    if (const auto open = source.open.find(attribute); open != source.open.end()) {
        change(open->second).time = wallClock_();
        return;
    }
    if (changes_.size() >= limit_) {
        makeRoom();
    }
    changes_.push_back(
        {source.instance->application(), attribute, wallClock_(), readers_.size(), {}});
    source.open[attribute] = end() - 1;
    for (Reader* const reader : readers_) {
        if (std::exchange(reader->atEnd_, false)) {
            reader->handleChanges();
        }
    }
}

// Takes their places from the readers that have left half of what there may be waiting. They would
// not see what is taken in by a change of before.
void RecordChanges::makeRoom() {
    for (Source& source : sources_) {
        source.open.clear();
    }
    for (Reader* const reader : readers_) {
        if (end() - reader->next_ > limit_ / 2) {
            reader->lost_ += end() - reader->next_;
            while (reader->next_ < end()) {
                --change(reader->next_++).readers;
            }
        }
    }
    trim();
}

void RecordChanges::pass(std::uint64_t number) {
    --change(number).readers;
    trim();
}

void RecordChanges::trim() {
    while (!changes_.empty() && changes_.front().readers == 0) {
        if (!sources_.empty()) {
            auto& open = sourceOf(changes_.front().application).open;
            if (const auto found = open.find(changes_.front().attribute);
                found != open.end() && found->second == first_) {
                open.erase(found);
            }
        }
        changes_.pop_front();
        ++first_;
    }
}

RecordChanges::Source& RecordChanges::sourceOf(MrpApplication application) {
    return *std::find_if(sources_.begin(), sources_.end(), [application](const Source& source) {
        return source.instance->application() == application;
    });
}

const RecordChanges::Change& RecordChanges::make(std::uint64_t number) {
    Change& made = change(number);
    if (!made.row.empty()) {
        return made;
    }
    const auto& [application, attribute, time, readers, text, removed, applicant, registrar] = made;
    Source& source = sourceOf(application);
    if (const auto open = source.open.find(attribute);
        open != source.open.end() && open->second == number) {
        source.open.erase(open);
    }
    const MrpApplicationDatabase* const database = source.instance->mrpSm().applicationDatabase();
    const MrpAttrDatabase* const record =
        database->record(attribute.intfId, attribute.attributeType, attribute.key);
    Json row = {{"time", wallTimeText(time)},
                {"change", record != nullptr ? "changed" : "removed"}};
    row.update(attributeName(application, attribute));
    if (record != nullptr) {
        const auto octets = recordOctets(application, attribute.attributeType, *record);
        row.update(recordStates(*record));
        row["value"] = hexBytes(octets);
        row.update(valueJson(application, attribute.attributeType, octets));
        made.applicant = record->applicantState();
        made.registrar = record->registrarState();
    }
    made.removed = record == nullptr;
    made.row = jsonLine(row);
    return made;
}

}  // namespace MrpAgent
