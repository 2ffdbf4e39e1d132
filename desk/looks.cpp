// SPDX-License-Identifier: Apache-2.0
//
// The functions of desk.h that only look.

#include "desk/looks.h"
#include "desk/atr.h"
#include "desk/door.h"
#include "desk/holders.h"
#include "desk/sized.h"
#include "desk/state.h"
#include "pindesk/PCSC_Misc.h"
#include "pindesk/plaincard.h"

using namespace desk;

namespace {

constexpr std::uint32_t Bit(pindesk_operation eOperation)
{
    return std::uint32_t{1} << eOperation;
}

/// What a card of a layout can do.
std::uint32_t OperationsOf(long lLayout)
{
    constexpr std::uint32_t SECRETS_ALONE =
        Bit(PINDESK_OP_VERIFY) | Bit(PINDESK_OP_CHANGE) | Bit(PINDESK_OP_UNBLOCK);
    constexpr std::uint32_t ALL = SECRETS_ALONE | Bit(PINDESK_OP_LOCK) | Bit(PINDESK_OP_REACTIVATE);
    switch (lLayout) {
    case pindesk::layout::CNS:
        return SECRETS_ALONE;
    case pindesk::layout::CNS_AND_DS:
    case pindesk::layout::WITH_DF_1112:
        return ALL;
    case pindesk::layout::DF_1111:
        return Bit(PINDESK_OP_UNBLOCK_STARCOS) | Bit(PINDESK_OP_UNBLOCK_M4_1111);
    default:
        return 0;
    }
}

pindesk_card CardIn(const pindesk_reader& reader)
{
    pindesk_card card{};
    card.size = sizeof card;
    card.reader = reader;
    card.layout = -1;
    DescribeAtr({reader.atr, reader.atr_size}, card);
    return card;
}

/// Recognition selects as the plain sessions do, on the connection that is open.
long LayoutOn(CSession& session)
{
    char szName[PINDESK_READER_NAME_SIZE];
    CopyText(szName, session.Reader().name, std::strlen(session.Reader().name));
    CSCardSetec43 plain(session.Card().m_hContext, szName);
    plain.Attach(session.Card().m_hCard);
    long lLayout = pindesk::layout::UNKNOWN;
    pindesk::DetectLayout(plain, &lLayout);
    plain.Detach();
    return lLayout;
}

} // namespace

SResult desk::Look(CCall& call, pindesk_card& card, bool bIdentify)
{
    CService service;
    std::unique_ptr<CSession> session;
    const SResult held = CSearch(call, service).Hold(session);
    if (!held.Done()) {
        return held;
    }
    card = CardIn(session->Reader());
    std::copy_n(call.report.serial, sizeof card.serial, card.serial);
    if (bIdentify) {
        card.layout = static_cast<std::int32_t>(LayoutOn(*session));
        card.operations = OperationsOf(card.layout);
        return session->WhySilent();
    }
    const bool bNone = (call.report.notes & PINDESK_NOTE_SERIAL_NOT_CHECKED) != 0;
    return bNone ? SResult{PINDESK_CARD_REFUSED, PINDESK_DETAIL_NO_SERIAL} : DONE;
}

namespace {

/// A call that fills in a card, on success.
template <class Body>
pindesk_outcome FillIn(pindesk_desk* pDesk, const pindesk_options* pOptions, pindesk_card* pCard,
                       pindesk_report* pReport, Body body)
{
    return Guarded(pReport, [&] {
        const auto card = std::make_shared<pindesk_card>();
        const pindesk_outcome eOutcome =
            Serve(pDesk, pOptions, pReport, PINDESK_OP_LOOK, {},
                  [card, body](CCall& call) { call.Tell(body(call, *card)); });
        if (eOutcome == PINDESK_DONE) {
            HandOver(*card, pCard);
        }
        return eOutcome;
    });
}

/// How long a call that watches may wait inside the service.
Clock::duration Longest(const SRequest& request, std::optional<Clock::time_point> end)
{
    Clock::duration longest = std::chrono::seconds(10);
    if (request.timeout) {
        longest = std::min<Clock::duration>(longest, *request.timeout / 2);
    }
    return end ? std::min(longest, *end - Clock::now()) : longest;
}

/// Lists the readers, once they differ from those that are known.
pindesk_outcome NextReaders(pindesk_desk* pDesk, const pindesk_options* pOptions,
                            pindesk_report* pReport, const Readers* pKnown, Readers& readers)
{
    const auto snapshot = std::make_shared<Readers>();
    const bool bFirst = pKnown == nullptr;
    const pindesk_outcome eOutcome =
        Serve(pDesk, pOptions, pReport, PINDESK_OP_LOOK, {},
              [snapshot, bFirst, known = bFirst ? Readers() : *pKnown](CCall& call) {
                  CService service;
                  std::optional<Clock::time_point> end;
                  if (call.Request().wait && *call.Request().wait != Clock::duration(0)) {
                      end = Clock::now() + *call.Request().wait;
                  }
                  for (bool bSettled = false;; bSettled = true) {
                      call.Tell(List(call, service, *snapshot));
                      const bool bSame = std::equal(snapshot->begin(), snapshot->end(),
                                                    known.begin(), known.end(), SameAs);
                      if (bFirst || !bSame || call.report.outcome != PINDESK_DONE || !call.GoOn() ||
                          (end && Clock::now() >= *end)) {
                          return;
                      }
                      call.RenewTime();
                      // a reader seldom comes alone
                      AwaitChange(call, service, *snapshot,
                                  bSettled ? Longest(call.Request(), end) : MOMENT);
                  }
              });
    if (eOutcome == PINDESK_DONE) {
        readers = *snapshot;
    }
    return eOutcome;
}

/// Tells what came and went between two lists. \return whether the visitor wants more.
bool TellChanges(const Readers& before, const Readers& now, pindesk_event_visitor visitor,
                 void* context)
{
    const auto in = [](const Readers& readers, const pindesk_reader& wanted) {
        return std::find_if(readers.begin(), readers.end(), [&](const pindesk_reader& reader) {
            return std::strcmp(reader.name, wanted.name) == 0;
        });
    };
    const auto tell = [&](pindesk_event eEvent, const pindesk_reader& reader) {
        return visitor(eEvent, &reader, context) == 0;
    };
    for (const pindesk_reader& reader : before) {
        const auto same = in(now, reader);
        const bool bCardWent =
            reader.has_card != 0 && (same == now.end() || !SameAs(reader, *same));
        if ((bCardWent && !tell(PINDESK_CARD_WENT, reader)) ||
            (same == now.end() && !tell(PINDESK_READER_WENT, reader))) {
            return false;
        }
    }
    for (const pindesk_reader& reader : now) {
        const auto same = in(before, reader);
        const bool bNew = same == before.end();
        const bool bCardCame = reader.has_card != 0 && (bNew || !SameAs(reader, *same));
        if ((bNew && !tell(PINDESK_READER_CAME, reader)) ||
            (bCardCame && !tell(PINDESK_CARD_CAME, reader))) {
            return false;
        }
    }
    return true;
}

} // namespace

namespace {

/// What programs have verified is so no longer; none of them is at work with the card now.
SResult ResetAlone(CCall& call, CService& service)
{
    CSearch search(call, service);
    search.HoldAlone();
    std::unique_ptr<CSession> session;
    const SResult held = search.Hold(session);
    if (held.Done()) {
        session->ResetAtTheEnd();
    }
    const bool bShared = held.eDetail == PINDESK_DETAIL_EXCLUSIVE; // perhaps by nobody alone
    return bShared ? SResult{PINDESK_IN_USE, PINDESK_DETAIL_NONE} : held;
}

} // namespace

SResult desk::AskAll(CCall& call, std::vector<pindesk_secret_status>& statuses)
{
    CService service;
    if (call.Request().Wants(PINDESK_RESET_FIRST)) {
        if (const SResult reset = ResetAlone(call, service); !reset.Done()) {
            return reset;
        }
    }
    std::unique_ptr<CSession> session;
    if (const SResult held = CSearch(call, service).Hold(session); !held.Done()) {
        return held;
    }
    for (const pindesk_secret eSecret :
         {PINDESK_CNS_PIN, PINDESK_CNS_PUK, PINDESK_DS_PIN, PINDESK_DS_PUK}) {
        const SState state = Ask(*session, eSecret);
        if (!state.Answered()) {
            const SResult silent = session->WhySilent();
            return silent.Done() ? READER_FAILED : silent;
        }
        statuses.push_back(StatusOf(eSecret, state));
    }
    return DONE;
}

pindesk_outcome pindesk_readers(pindesk_desk* desk, const pindesk_options* options,
                                pindesk_reader_visitor visitor, void* context,
                                pindesk_report* report)
{
    return Guarded(report, [&] {
        Readers readers;
        const pindesk_outcome eOutcome = NextReaders(desk, options, report, nullptr, readers);
        for (pindesk_reader& reader : readers) {
            if (reader.is_in_use != 0 || reader.is_exclusive != 0) {
                FillInHolders(reader.holders);
            }
            if (visitor == nullptr || visitor(&reader, context) != 0) {
                break;
            }
        }
        return eOutcome;
    });
}

pindesk_outcome pindesk_find(pindesk_desk* desk, const pindesk_options* options, pindesk_card* card,
                             pindesk_report* report)
{
    return FillIn(desk, options, card, report, [](CCall& call, pindesk_card& found) {
        CService service;
        pindesk_reader reader{};
        const SResult result = CSearch(call, service).Find(reader);
        found = CardIn(reader);
        std::copy_n(call.report.serial, sizeof found.serial, found.serial);
        return result;
    });
}

pindesk_outcome pindesk_serial(pindesk_desk* desk, const pindesk_options* options,
                               pindesk_card* card, pindesk_report* report)
{
    return FillIn(desk, options, card, report,
                  [](CCall& call, pindesk_card& found) { return Look(call, found, false); });
}

pindesk_outcome pindesk_identify(pindesk_desk* desk, const pindesk_options* options,
                                 pindesk_card* card, pindesk_report* report)
{
    return FillIn(desk, options, card, report,
                  [](CCall& call, pindesk_card& found) { return Look(call, found, true); });
}

pindesk_outcome pindesk_status(pindesk_desk* desk, const pindesk_options* options,
                               pindesk_status_visitor visitor, void* context,
                               pindesk_report* report)
{
    return Guarded(report, [&] {
        const auto statuses = std::make_shared<std::vector<pindesk_secret_status>>();
        const auto ask = [statuses](CCall& call) { call.Tell(AskAll(call, *statuses)); };
        const pindesk_outcome eOutcome = Serve(desk, options, report, PINDESK_OP_LOOK, {}, ask);
        for (std::size_t i = 0; eOutcome == PINDESK_DONE && i < statuses->size(); ++i) {
            if (visitor == nullptr || visitor(&(*statuses)[i], context) != 0) {
                break;
            }
        }
        return eOutcome;
    });
}

pindesk_outcome pindesk_watch(pindesk_desk* desk, const pindesk_options* options,
                              pindesk_event_visitor visitor, void* context, pindesk_report* report)
{
    if (visitor == nullptr) {
        return Refuse(BAD_ARGUMENT, report);
    }
    return Guarded(report, [&] {
        const bool bEnds = options != nullptr && options->wait_ms > 0;
        const auto end = Clock::now() + std::chrono::milliseconds(bEnds ? options->wait_ms : 0);
        Readers known;
        pindesk_outcome eOutcome = PINDESK_DONE;
        for (bool bFirst = true; eOutcome == PINDESK_DONE; bFirst = false) {
            Readers now;
            eOutcome = NextReaders(desk, options, report, bFirst ? nullptr : &known, now);
            const bool bStop =
                eOutcome == PINDESK_DONE && !TellChanges(known, now, visitor, context);
            if (bStop || (bEnds && Clock::now() >= end)) {
                return eOutcome;
            }
            known = std::move(now);
        }
        return eOutcome;
    });
}
