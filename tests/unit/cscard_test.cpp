// SPDX-License-Identifier: Apache-2.0
//
// The base session: selection and paths, the transport's repetitions, the life of the object.

#include "tests/support/session_test.h"

#include "pindesk/PinDesk.h"

#include <functional>

namespace {
using Base = CSessionTest<CSCard>;

TEST_F(Base, SelectionMovesThePathsByTheTypeOfTheFile)
{
    const struct {
        const char* szSelections; // identifier:type, from a session that stands on [3F00, 1100]
        const char* szDF;
        const char* szEF;
    } rows[] = {
        {"5015:1", "3F00 1100 5015", "3F00 1100 5015"},
        {"5015:2", "3F00 1100", "3F00 1100 5015"},
        {"5015:2 5016:2", "3F00 1100", "3F00 1100 5016"},
        {"5015:0", "3F00 1100", "3F00 1100 5015"},
        {"5015:0 5016:0", "3F00 1100", "3F00 1100 5015 5016"}, // both stay on the path
        {"DF01:0", "3F00 1100 DF01 DF", "3F00 1100 DF01 DF"},  // known as a DF
        {"0000:0", "3F00 1100 0000 DF", "3F00 1100 0000 DF"},
        {"2FFF:2", "3F00 1100", "3F00 1100 2FFF"}, // known, but the caller knows better
        {"5015:3", "3F00 1100", "3F00 1100"},
        {"3F00:2", "3F00", "3F00"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szSelections);
        WORD path[] = {0x3F00, 0x1100};
        Card().m_Current_DF_path = Card().m_Current_EF_path = DFEF_Path(); // a new session's
        Ok("00 A4 00 0C 02 3F 00");
        Ok("00 A4 00 0C 02 11 00");
        ASSERT_EQ(0, Card().PathSelectWORD(path, 2, 1));
        unsigned uFid = 0;
        int fidType = 0;
        int cch = 0;
        for (const char* sz = row.szSelections;
             std::sscanf(sz, "%x:%d%n", &uFid, &fidType, &cch) == 2; sz += cch) {
            card.Wildcard(row.szSelections, 0x9000);
            EXPECT_EQ(0, Card().SelectEx(static_cast<WORD>(uFid), nullptr, fidType));
        }
        EXPECT_EQ(row.szDF, DF());
        EXPECT_EQ(row.szEF, EF());
    }
}

TEST_F(Base, SizeComesFromTheFciWithTheByteBehindItsField)
{
    const struct {
        const char* szFci;
        DWORD dwSize;
    } rows[] = {
        {"6F 07 80 02 01 23  82 01 01", 0x2382}, // second byte, and the one behind: on purpose
        {"6F 04 80 02 01 23", 0x2390},           // behind it the status word
        {"6F 05 80 03 01 23 45", 0},
        {"6F 03 80 01 01", 0},
        {"6F 04 81 02 01 23", 0},
        {"62 04 80 02 01 23", 0},
        {"6F 09 80 02 01 23", 0},
        {"6F", 0},
        {"", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szFci);
        DWORD dwSize = 77;
        card.Step("select", "00 A4 00 00 02 50 15", (std::string(row.szFci) + " 90 00").c_str());
        EXPECT_EQ(0, Card().SelectEx(0x5015, &dwSize, eFidEF));
        EXPECT_EQ(row.dwSize, dwSize);
    }
}

TEST_F(Base, PathSelectWalksFromTheTopToTheFirstFailure)
{
    CK_BYTE path[] = {0x3F, 0x00, 0x11, 0x00, 0x11, 0x02};
    for (const char* szStep :
         {"00 A4 00 0C 02 3F 00", "00 A4 00 0C 02 11 00", "00 A4 00 0C 02 11 02"}) {
        Ok(szStep);
    }
    EXPECT_EQ(0, Card().PathSelect(path, 3, 0));
    EXPECT_EQ("3F00 1100", DF());
    EXPECT_EQ("3F00 1100 1102", EF());

    Ok("00 A4 00 0C 02 3F 00");
    card.Step("missing DF", "00 A4 00 0C 02 11 00", 0x6A82);
    EXPECT_EQ(0x6A82, Card().PathSelect(path, 3, 0));
    card.Step("reader", "00 A4 00 0C 02 11 00", SAnswer::Fail(SCARD_E_NOT_TRANSACTED));
    EXPECT_EQ(SCARD_E_NOT_TRANSACTED, Card().SelectEx(0x1100, nullptr, eFidDF));
    EXPECT_EQ("3F00", DF());
    EXPECT_EQ("3F00", EF());
    Ok("00 A4 00 0C 02 3F 00");
    EXPECT_EQ(0, Card().PathSelect(nullptr, 2, 0));
}

TEST_F(Base, ForcedSelectionTakesEveryFileForADF)
{
    CK_BYTE path[] = {0x3F, 0x00, 0x11, 0x02};
    for (int i = 0; i < 2; ++i) {
        Ok("00 A4 00 0C 02 3F 00");
        Ok("00 A4 00 0C 02 11 02");
    }
    Card().PathSelect(path, 2, 0);
    EXPECT_EQ(0, Card().ForceSelectCurrentEF());
    EXPECT_EQ("3F00 1102", DF());
}

/// Sends VERIFY or GET RESPONSE through the base transport.
long Send(CSCard& session, const char* szCommand, DWORD& cbAnswer)
{
    auto command = FromHex(szCommand);
    CK_BYTE answer[256] = {};
    cbAnswer = 1; // not looked at: the transport announces 256
    return session.Transmit(command.data(), command.size(), answer, &cbAnswer);
}

constexpr char VERIFY[] = "00 20 00 81 01 31";
constexpr char GET_RESPONSE[] = "00 C0 00 00 10";

TEST_F(Base, RemembersTheLastCommandAlone)
{
    DWORD cbAnswer = 0;
    card.Step("a secret", VERIFY, 0x9000);
    EXPECT_EQ(0, Send(Card(), VERIFY, cbAnswer));
    Ok("00 84 00 00 08");
    EXPECT_EQ(0, Send(Card(), "00 84 00 00 08", cbAnswer));
    EXPECT_EQ("00 84 00 00 08 00", ToHex(Card().m_pbLastSendBuffer, 6));
    Card().Attach(Card().Detach());
    EXPECT_EQ("00 00 00 00 00", ToHex(Card().m_pbLastSendBuffer, 5));
}

TEST_F(Base, BusyReaderAndUndiagnosedErrorsAreTriedAgainWithoutLimit)
{
    const SAnswer busy = SAnswer::Fail(0x12345679); // the low byte alone counts
    struct SStep {
        const char* szCommand;
        SAnswer answer;
    };
    const struct {
        const char* szWhat;
        const char* szCommand;
        std::vector<SStep> steps;
        std::size_t cPauses;
        long lResult = 0;
        DWORD cbAnswer = 2;
    } rows[] = {
        {"busy", VERIFY, {{VERIFY, busy}, {VERIFY, busy}, {VERIFY, 0x63C2}}, 2},
        {"6F00: again as last command, then as this one",
         VERIFY,
         {{VERIFY, 0x6F00}, {VERIFY, 0x9000}, {VERIFY, 0x63C2}},
         0},
        {"6F00, busy while repeating",
         VERIFY,
         {{VERIFY, 0x6F00}, {VERIFY, busy}, {VERIFY, 0x9000}, {VERIFY, 0x63C2}},
         1},
        {"GET RESPONSE busy: its command first",
         GET_RESPONSE,
         {{GET_RESPONSE, busy}, {VERIFY, 0x6110}, {GET_RESPONSE, 0x63C2}},
         0},
        // every other outcome is handed over at once
        {"6F01", VERIFY, {{VERIFY, 0x6F01}}, 0},
        {"6C10", VERIFY, {{VERIFY, 0x6C10}}, 0},
        {"nothing", VERIFY, {{VERIFY, ""}}, 0, 0, 0},
        {"6F alone", VERIFY, {{VERIFY, "6F"}}, 0, 0, 1},
        {"failed", VERIFY, {{VERIFY, SAnswer::Fail(0x80100016)}}, 0, SCARD_E_NOT_TRANSACTED, 256},
    };
    DWORD cbAnswer = 0;
    card.Step("remembered by GET RESPONSE", VERIFY, 0x6110);
    EXPECT_EQ(0, Send(Card(), VERIFY, cbAnswer));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szWhat);
        const std::size_t cPausesBefore = card.Pauses().size();
        for (const auto& step : row.steps) {
            card.Step(row.szWhat, step.szCommand, step.answer);
        }
        EXPECT_EQ(row.lResult, Send(Card(), row.szCommand, cbAnswer));
        EXPECT_EQ(row.cbAnswer, cbAnswer);
        EXPECT_EQ(row.cPauses, card.Pauses().size() - cPausesBefore);
    }
    EXPECT_EQ(std::vector<unsigned>(3, 50000), card.Pauses());
}

TEST_F(Base, LastReferenceDisconnectsAndLeavesTheCard)
{
    auto* pSession = new CSCard(m_hContext, const_cast<char*>(SCRIPTED_READER));
    EXPECT_EQ(2, pSession->AddRef());
    EXPECT_EQ(0, pSession->Attach(Card().Detach()));
    EXPECT_EQ(2u, pSession->m_dwActiveProtocol);
    EXPECT_EQ(0u, Card().m_dwActiveProtocol);
    EXPECT_EQ(1, pSession->Release());
    EXPECT_EQ(0u, card.Count("Disconnect"));
    EXPECT_EQ(0, pSession->Release());
    EXPECT_EQ("Disconnect", card.Log().back()); // a disposition other than "leave" would show
    EXPECT_STREQ("", Card().GetModelName());
}

TEST_F(Base, AtrIsRefusedByPcscForNamesAboveItsBuffer)
{
    CK_BYTE atr[5];
    DWORD cbAtr = sizeof atr;
    EXPECT_EQ(0, Card().GetATR(atr, &cbAtr));
    EXPECT_EQ("3B 8F 80 01 00", ToHex(atr, cbAtr));
    EXPECT_EQ(0, Card().GetATR(nullptr, &cbAtr));
    EXPECT_EQ(5u, cbAtr);

    card.Readers({{std::string(50, 'R')}});
    SCARDHANDLE hCard = 0;
    DWORD dwProtocol = 0;
    SCardConnect(m_hContext, std::string(50, 'R').c_str(), SCARD_SHARE_SHARED, SCARD_PROTOCOL_T1,
                 &hCard, &dwProtocol);
    SCardDisconnect(Card().Attach(hCard), SCARD_LEAVE_CARD);
    EXPECT_EQ(SCARD_E_INSUFFICIENT_BUFFER, Card().GetATR(nullptr, &cbAtr));
}
} // namespace
