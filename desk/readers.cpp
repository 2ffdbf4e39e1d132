// SPDX-License-Identifier: Apache-2.0
//
// A slot is a position in a list that changes as readers come and go, so the list is read anew each
// time.

#include "desk/readers.h"

#include "desk/atr.h"
#include "desk/sized.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace desk {

namespace {

constexpr const char* NEW_READERS = "\\\\?PnP?\\Notification"; // pcsc-lite's name for their coming

SResult Names(SCARDCONTEXT hContext, std::vector<std::string>& names)
{
    char* mszNames = nullptr;
    DWORD cch = SCARD_AUTOALLOCATE; // PC/SC allocates, and writes the address of the list
    const LONG lCode =
        SCardListReaders(hContext, nullptr, reinterpret_cast<LPSTR>(&mszNames), &cch);
    if (lCode == SCARD_E_NO_READERS_AVAILABLE) {
        return DONE;
    }
    if (lCode != SCARD_S_SUCCESS || mszNames == nullptr) {
        return ResultOfPcsc(lCode);
    }
    for (const char* szName = mszNames; *szName != '\0'; szName += names.back().size() + 1) {
        names.emplace_back(szName);
    }
    SCardFreeMemory(hContext, mszNames);
    return DONE;
}

pindesk_reader Describe(const SCARD_READERSTATE& state, std::size_t position)
{
    const auto has = [&](DWORD dwFlag) { return (state.dwEventState & dwFlag) != 0 ? 1 : 0; };
    pindesk_reader reader{};
    reader.size = sizeof reader;
    reader.slot = static_cast<std::int32_t>(position + 1);
    reader.has_card = has(SCARD_STATE_PRESENT);
    reader.is_mute = has(SCARD_STATE_MUTE);
    reader.is_in_use = has(SCARD_STATE_INUSE);
    reader.is_exclusive = has(SCARD_STATE_EXCLUSIVE);
    CopyText(reader.name, state.szReader, std::strlen(state.szReader));
    if (reader.has_card != 0) {
        reader.atr_size = std::min<std::size_t>(state.cbAtr, sizeof reader.atr);
        std::copy_n(state.rgbAtr, reader.atr_size, reader.atr);
        reader.kind = KindOf({reader.atr, reader.atr_size});
    }
    return reader;
}

bool SameLetter(char a, char b)
{
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
}

bool Contains(std::string_view name, const std::string& strPart)
{
    return std::search(name.begin(), name.end(), strPart.begin(), strPart.end(), SameLetter) !=
           name.end();
}

/// Ends a wait inside the service when the caller of the call has gone.
class CWaker {
public:
    CWaker(CCall& call, SCARDCONTEXT hContext)
        : m_thread([&call, hContext](const std::stop_token& over) {
              while (call.AwaitAbandoned(over)) {
                  SCardCancel(hContext); // it is not heard by a wait that has not begun
                  call.Pause();
              }
          })
    {
    }

private:
    std::jthread m_thread;
};

/// The one reader with a card; without a card the one reader there is.
SResult OnlyOne(const Readers& candidates, pindesk_reader& reader)
{
    const auto hasCard = [](const pindesk_reader& candidate) { return candidate.has_card != 0; };
    const auto found = std::find_if(candidates.begin(), candidates.end(), hasCard);
    if (found == candidates.end()) {
        reader = candidates.size() == 1 ? candidates.front() : pindesk_reader{};
        return EMPTY;
    }
    if (std::count_if(candidates.begin(), candidates.end(), hasCard) > 1) {
        return {PINDESK_USAGE, PINDESK_DETAIL_SEVERAL_CARDS};
    }
    reader = *found;
    return reader.is_mute != 0 ? ResultOfPcsc(SCARD_W_UNRESPONSIVE_CARD) : DONE;
}

SResult ListOpen(CCall& call, const CService& service, Readers& readers)
{
    std::vector<std::string> names;
    if (const SResult listed = Names(service.Handle(), names); !listed.Done() || names.empty()) {
        return listed;
    }
    std::vector<SCARD_READERSTATE> states(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        states[i].szReader = names[i].c_str();
    }
    const LONG lCode = SCardGetStatusChange(service.Handle(), 0, states.data(), states.size());
    if (lCode != SCARD_S_SUCCESS && lCode != SCARD_E_TIMEOUT) {
        return ResultOfPcsc(lCode);
    }
    for (std::size_t i = 0; i < states.size(); ++i) {
        readers.push_back(Describe(states[i], i));
    }
    call.Await(PINDESK_DETAIL_NONE, {PINDESK_IN_USE, PINDESK_DETAIL_STUCK});
    return DONE;
}

} // namespace

SResult List(CCall& call, CService& service, Readers& readers)
{
    readers.clear();
    SResult result = service.Open(call);
    if (result.Done()) {
        result = ListOpen(call, service, readers);
    }
    if (!result.Done()) {
        service.Close();
    }
    return result;
}

bool SameAs(const pindesk_reader& a, const pindesk_reader& b)
{
    return a.has_card == b.has_card && a.is_mute == b.is_mute && std::strcmp(a.name, b.name) == 0 &&
           std::equal(a.atr, a.atr + a.atr_size, b.atr, b.atr + b.atr_size);
}

void AwaitChange(CCall& call, const CService& service, const Readers& readers,
                 Clock::duration atMost)
{
    std::vector<SCARD_READERSTATE> states(readers.size() + 1);
    for (std::size_t i = 0; i < readers.size(); ++i) {
        states[i].szReader = readers[i].name;
    }
    states.back().szReader = NEW_READERS;
    SCardGetStatusChange(service.Handle(), 0, states.data(), states.size());
    bool bSame = true;
    for (std::size_t i = 0; i < readers.size(); ++i) {
        bSame = bSame && SameAs(Describe(states[i], i), readers[i]);
    }
    for (SCARD_READERSTATE& state : states) {
        state.dwCurrentState = state.dwEventState;
    }
    if (bSame) {
        const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(atMost);
        std::optional<CWaker> waker;
        if (atMost > MOMENT) {
            waker.emplace(call, service.Handle());
        }
        SCardGetStatusChange(service.Handle(), static_cast<DWORD>(wait.count()), states.data(),
                             states.size());
    }
    call.Pause(); // also where the service answers at once
}

CSearch::CSearch(CCall& call, CService& service) : m_call(call), m_service(service)
{
    if (call.Request().wait) {
        m_end = Clock::now() + *call.Request().wait;
    }
}

CSearch::CSearch(CCall& call, CService& service, const SIdentity& heldTo)
    : m_call(call), m_service(service), m_pHeldTo(&heldTo), m_bReturn(true)
{
    if (call.Request().timeout) {
        m_end = Clock::now() + *call.Request().timeout;
    }
}

SResult CSearch::Candidates(Readers& candidates)
{
    const SRequest& request = m_call.Request();
    candidates.clear();
    if (const SResult listed = List(m_call, m_service, m_readers); !listed.Done()) {
        return listed;
    }
    const auto fits = [&](const pindesk_reader& reader) {
        return (request.lSlot == 0 || reader.slot == request.lSlot) &&
               Contains(reader.name, request.strReader);
    };
    const auto exact = [&](const pindesk_reader& reader) {
        return fits(reader) && request.strReader == reader.name;
    };
    std::copy_if(m_readers.begin(), m_readers.end(), std::back_inserter(candidates), exact);
    if (candidates.empty()) {
        std::copy_if(m_readers.begin(), m_readers.end(), std::back_inserter(candidates), fits);
    }
    if (candidates.size() > 1 && !request.strReader.empty()) {
        return {PINDESK_USAGE, PINDESK_DETAIL_SEVERAL_READERS};
    }
    if (candidates.empty()) {
        return {PINDESK_NO_READER,
                m_readers.empty() ? PINDESK_DETAIL_NONE_CONNECTED : PINDESK_DETAIL_NO_SUCH_READER};
    }
    return DONE;
}

void CSearch::Report(const pindesk_reader& reader)
{
    m_call.report.slot = reader.slot;
    CopyText(m_call.report.reader, reader.name, std::strlen(reader.name));
}

bool CSearch::IsWanted(const SIdentity& identity) const
{
    const std::string& strSerial = m_call.Request().strSerial;
    return m_pHeldTo != nullptr
               ? identity == *m_pHeldTo
               : strSerial.empty() || strSerial == identity.strSerial.c_str(); // up to a NUL
}

/// Opens a card and compares it with the one that is wanted.
SResult CSearch::Meet(const pindesk_reader& reader, std::unique_ptr<CSession>& session)
{
    constexpr SResult OTHER{PINDESK_OTHER_CARD, PINDESK_DETAIL_NONE};
    Report(reader);
    session = std::make_unique<CSession>(m_call, m_service, reader);
    SResult result = session->Open(m_dwShare);
    if (!result.Done()) {
        return result;
    }
    long lCode = 0;
    result = session->ReadIdentity(lCode);
    const bool bNoSerial = result.eDetail == PINDESK_DETAIL_NO_SERIAL;
    if (!result.Done() && !(bNoSerial && m_call.Request().strSerial.empty())) {
        m_call.report.code = static_cast<std::int32_t>(lCode);
        return result;
    }
    const SIdentity& identity = session->Identity();
    if (m_pHeldTo == nullptr) {
        CopyText(m_call.report.serial, identity.strSerial.data(), identity.strSerial.size());
        if (bNoSerial) {
            m_call.report.notes |= PINDESK_NOTE_SERIAL_NOT_CHECKED;
        }
    }
    return IsWanted(identity) ? DONE : OTHER;
}

SResult CSearch::Once(std::unique_ptr<CSession>& session)
{
    Readers candidates;
    if (const SResult result = Candidates(candidates); !result.Done()) {
        return result;
    }
    const bool bAnyOfThem = m_call.Request().strSerial.empty() && m_pHeldTo == nullptr;
    if (bAnyOfThem || candidates.size() == 1) {
        pindesk_reader reader{};
        const SResult found = OnlyOne(candidates, reader);
        Report(reader);
        return found.Done() ? Meet(reader, session) : found;
    }
    SResult result = EMPTY;
    for (const pindesk_reader& candidate : candidates) {
        session.reset(); // one card at a time is held
        if (candidate.has_card != 0) {
            result = Meet(candidate, session);
        }
        if (result.Done()) {
            break;
        }
    }
    return result;
}

bool CSearch::MayStillCome(SResult result)
{
    const bool bNoReader = result.eOutcome == PINDESK_NO_READER;
    const bool bMayCome = m_bReturn || bNoReader || result.eOutcome == PINDESK_NO_CARD ||
                          result.eOutcome == PINDESK_OTHER_CARD;
    if (!bMayCome || (m_end && Clock::now() >= *m_end)) {
        return false;
    }
    if (m_bReturn) {
        m_call.Await(PINDESK_DETAIL_WAITING_FOR_RETURN, result);
    } else {
        m_call.RenewTime(); // this waiting has a bound of its own
        m_call.Await(bNoReader ? PINDESK_DETAIL_WAITING_FOR_READER
                               : PINDESK_DETAIL_WAITING_FOR_CARD,
                     result);
    }
    AwaitChange(m_call, m_service, m_readers);
    return m_call.GoOn();
}

SResult CSearch::Find(pindesk_reader& reader)
{
    SResult result;
    do {
        std::unique_ptr<CSession> session;
        Readers candidates;
        if (!m_call.Request().strSerial.empty()) {
            result = Once(session);
            reader = result.Done() ? session->Reader() : reader;
        } else if (result = Candidates(candidates); result.Done()) {
            result = OnlyOne(candidates, reader);
            Report(reader);
        }
    } while (!result.Done() && MayStillCome(result));
    return result;
}

SResult CSearch::Hold(std::unique_ptr<CSession>& session)
{
    SResult result;
    do {
        session.reset();
        result = Once(session);
    } while (!result.Done() && MayStillCome(result));
    return result;
}

} // namespace desk
