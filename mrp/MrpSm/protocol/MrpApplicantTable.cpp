#include "mrp/MrpSm/protocol/MrpApplicantTable.h"

#include <cstddef>

namespace Mrp {

namespace {

using enum MrpApplicantState;
using Cell = MrpApplicantCell;
using Message = ApplicantMessage;

constexpr Cell none{};
constexpr Cell news{false, Message::newValue, Message::newValue, QA};
constexpr Cell new1{false, Message::newValue, Message::none, QA};
constexpr Cell join{false, Message::join, Message::join, QA};
constexpr Cell joi1{false, Message::join, Message::none, QA};
constexpr Cell levo{false, Message::leave, Message::none, VO};
constexpr Cell revo{false, Message::registration, Message::none, VO};
constexpr Cell rejo{false, Message::registration, Message::join, QA};
constexpr Cell toVO{false, Message::none, Message::none, VO};
constexpr Cell toQA{false, Message::none, Message::none, QA};
constexpr Cell toAO{false, Message::none, Message::none, AO};
constexpr Cell toQO{false, Message::none, Message::none, QO};
constexpr Cell toQP{false, Message::none, Message::none, QP};

using Row = std::array<Cell, applicantEvents>;

// IEEE 802.1Q table 10-3 with its states as rows, as far as it holds without transmit
// opportunities: where the standard goes anxious and waits for tx!, the messages are sent and the
// state is the one behind them. Flush! and rNew! leave every applicant as it is.
// clang-format off
constexpr std::array<Row, applicantStates> table{{
    //        New!  Join! Lv!   Re-d! Flush rNew! rJnI! rIn!  rJnM! rMt!  rLv!  rLA!  txLA! none
    /* VO */ {news, join, none, revo, none, none, toAO, none, none, none, revo, revo, revo, none},
    /* VP */ {news, none, toVO, none, none, none, joi1, none, none, none, none, none, rejo, none},
    /* VN */ {none, none, levo, none, none, none, none, none, none, none, none, none, news, none},
    /* AN */ {none, none, levo, news, none, none, none, none, none, none, news, news, new1, none},
    /* AA */ {news, none, levo, join, none, none, toQA, toQA, none, none, join, join, none, none},
    /* QA */ {news, join, levo, join, none, none, none, none, joi1, joi1, join, join, joi1, none},
    /* LA */ {news, joi1, none, none, none, none, none, none, none, none, none, none, revo, none},
    /* AO */ {news, joi1, none, revo, none, none, toQO, none, none, none, revo, revo, revo, none},
    /* QO */ {news, toQP, none, revo, none, none, none, none, toAO, toAO, revo, revo, revo, none},
    /* AP */ {news, none, toAO, join, none, none, toQP, none, none, none, join, join, joi1, none},
    /* QP */ {news, none, toQO, join, none, none, none, none, joi1, joi1, join, join, joi1, none},
    /* LO */ {news, join, none, none, none, none, none, none, toVO, toVO, none, none, none, none},
}};
// clang-format on

}  // namespace

const MrpApplicantCell& mrpApplicantCell(MrpApplicantState state, MrpApplicantEvent event) {
    return table[static_cast<std::size_t>(state)][static_cast<std::size_t>(event)];
}

}  // namespace Mrp
