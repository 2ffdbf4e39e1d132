// SPDX-License-Identifier: Apache-2.0
//
// The connection is made here rather than by the card class, because only PC/SC's own code tells a
// missing card from one that another program holds.

#include "card_query.h"

#include "settings.h"

#include <algorithm>
#include <array>

namespace tool {

namespace {

namespace sw {
constexpr long TRIES_LEFT = 0x63C0, TRIES_MASK = 0xFFF0; // the low nibble counts
constexpr long BLOCKED = 0x6983;
constexpr long DEACTIVATED = 0x6984;
constexpr long NO_ANSWER = 0x6F00; // what the card class reports for an empty answer
constexpr long MAX = 0xFFFF;
} // namespace sw

constexpr WORD MF = 0x3F00;
constexpr long NO_SESSION = -1;

struct ContactRule {
    LONG code;
    Contact contact;
};
const std::array<ContactRule, 9> kContactRules = {{
    {SCARD_S_SUCCESS, Contact::Answers},
    {SCARD_E_NO_SERVICE, Contact::NoService},
    {SCARD_E_SERVICE_STOPPED, Contact::NoService},
    {SCARD_E_NO_READERS_AVAILABLE, Contact::NoReader},
    {SCARD_E_UNKNOWN_READER, Contact::NoReader},
    {SCARD_E_READER_UNAVAILABLE, Contact::NoReader},
    {SCARD_E_NO_SMARTCARD, Contact::NoCard},
    {SCARD_W_REMOVED_CARD, Contact::NoCard},
    {SCARD_E_SHARING_VIOLATION, Contact::InUse},
}};

Contact ContactFor(LONG code)
{
    const auto* const rule =
        std::find_if(kContactRules.begin(), kContactRules.end(),
                     [code](const ContactRule& candidate) { return candidate.code == code; });
    return rule == kContactRules.end() ? Contact::Mute : rule->contact;
}

bool IsNoAnswer(long lResult)
{
    return lResult < 0 || lResult > sw::MAX || lResult == sw::NO_ANSWER;
}

Tries Understand(long lResult)
{
    if (IsNoAnswer(lResult)) {
        return {};
    }
    const auto word = static_cast<std::uint16_t>(lResult == 0 ? 0x9000 : lResult);
    if (lResult == 0) {
        return {Tries::State::AlreadyVerified, 0, word};
    }
    if (lResult == sw::BLOCKED || lResult == sw::TRIES_LEFT) {
        return {Tries::State::Blocked, 0, word};
    }
    if (lResult == sw::DEACTIVATED) {
        return {Tries::State::Deactivated, 0, word};
    }
    if ((lResult & sw::TRIES_MASK) == sw::TRIES_LEFT) {
        return {Tries::State::Left, static_cast<int>(lResult & ~sw::TRIES_MASK), word};
    }
    return {Tries::State::Untold, 0, word};
}

} // namespace

CCardQuery::CCardQuery(const std::string& reader) : m_reader(reader)
{
    const LONG established = SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext);
    if (established == SCARD_S_SUCCESS) {
        m_contact = ContactFor(Connect());
    } else {
        m_hContext = 0;
    }
}

LONG CCardQuery::Connect()
{
    SCARDHANDLE hCard = 0;
    DWORD dwProtocol = 0;
    const LONG connected = SCardConnect(m_hContext, m_reader.c_str(), SCARD_SHARE_SHARED,
                                        SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &hCard, &dwProtocol);
    if (connected != SCARD_S_SUCCESS) {
        return connected;
    }
    m_card.reset(new CSCardZentaris34(m_hContext, m_reader.data()));
    m_card->Attach(hCard);
    const LONG begun = SCardBeginTransaction(hCard);
    if (begun != SCARD_S_SUCCESS) {
        return begun;
    }
    m_transaction = std::make_unique<CTransact>();
    m_transaction->m_hCard = hCard;
    return SCARD_S_SUCCESS;
}

CCardQuery::~CCardQuery()
{
    Close();
}

void CCardQuery::Close()
{
    m_transaction.reset();
    m_card.reset();
    if (m_hContext != 0) {
        SCardReleaseContext(m_hContext);
    }
    m_hContext = 0;
}

Contact CCardQuery::WhySilent()
{
    Close();
    const Contact contact = ContactWith(m_reader);
    return contact == Contact::Answers ? Contact::Mute : contact;
}

long CCardQuery::SelectHome(const Secret& secret)
{
    const long lResult = m_card->SelectEx(MF, nullptr, eFidDF);
    if (lResult != 0 || !secret.isSignature) {
        return lResult;
    }
    const auto fid = static_cast<WORD>(SettingValue("SETTING_CNS_DS_DF_ROOT"));
    return m_card->SelectEx(fid, nullptr, eFidDF);
}

Tries CCardQuery::Ask(const Secret& secret)
{
    if (m_contact != Contact::Answers) {
        return {};
    }
    const long selected = SelectHome(secret);
    if (IsNoAnswer(selected)) {
        return {};
    }
    if (selected != 0) { // a card without that application
        return {Tries::State::Untold, 0, static_cast<std::uint16_t>(selected)};
    }
    const auto reference = static_cast<CK_BYTE>(SettingValue(secret.setting));
    return Understand(m_card->Verify(reference, nullptr, 0));
}

Contact ContactWith(const std::string& reader)
{
    return CCardQuery(reader).State();
}

Outcome ContactOutcome(Contact contact, const std::string& reader, std::optional<long> code)
{
    Outcome outcome;
    outcome.code = code;
    const auto say = [&](ExitStatus status, const std::string& message, const char* advice) {
        outcome.status = status;
        outcome.message = message + " Nothing was sent to the card.";
        outcome.advice = advice;
    };
    switch (contact) {
    case Contact::NoService:
        say(ExitStatus::NoService, "The PC/SC service does not answer.",
            "Start it: systemctl start pcscd.socket");
        break;
    case Contact::NoReader:
        say(ExitStatus::NoReader, "The reader " + reader + " is gone.", "Connect it again.");
        break;
    case Contact::NoCard:
        say(ExitStatus::NoCard, "There is no card in " + reader + ".",
            "Insert the card, or use --wait.");
        break;
    case Contact::InUse:
        say(ExitStatus::InUse, "Another program uses the card in " + reader + " alone.",
            "Close that program, then try again.");
        break;
    case Contact::Mute:
    case Contact::Answers:
        say(ExitStatus::NoCard, "The card in " + reader + " does not answer.",
            "Take it out, check which way round it goes, and insert it again.");
        break;
    }
    return outcome;
}

} // namespace tool
