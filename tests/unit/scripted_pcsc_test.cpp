// SPDX-License-Identifier: Apache-2.0
//
// The scripted PC/SC has to notice what it is there to notice: each fault below must be reported.

#include "tests/support/scripted_pcsc.h"

namespace {
using Lines = std::vector<std::string>;

class ScriptedPcsc : public CScriptedTest {};

void Open(SCARDCONTEXT& hContext, SCARDHANDLE& hCard)
{
    DWORD dwProtocol = 0;
    SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext);
    SCardConnect(hContext, "Scripted Reader 00 00", SCARD_SHARE_SHARED, SCARD_PROTOCOL_T1, &hCard,
                 &dwProtocol);
}

/// Sends GET RESPONSE with the given Le; *pcbAnswer receives the length, of a buffer of 4.
LONG Send(SCARDHANDLE hCard, std::uint8_t bLe, DWORD* pcbAnswer = nullptr)
{
    const std::uint8_t ab[] = {0x00, 0xC0, 0x00, 0x00, bLe};
    std::uint8_t abAnswer[4];
    DWORD cbAnswer = sizeof abAnswer;
    const LONG lResult =
        SCardTransmit(hCard, SCARD_PCI_T1, ab, sizeof ab, nullptr, abAnswer, &cbAnswer);
    if (pcbAnswer)
        *pcbAnswer = cbAnswer;
    return lResult;
}

TEST_F(ScriptedPcsc, EveryFormOfAnswerComesBackAsTheServiceGivesIt)
{
    SCARDCONTEXT hContext = 0;
    SCARDHANDLE hCard = 0;
    Open(hContext, hCard);
    card.Step("plain", "00 C0 00 00 01", "AA 90 00");
    card.Step("status word", "00 C0 00 00 01", 0x6A82);
    card.Step("no bytes", "00 C0 00 00 01", "");
    card.Step("longer than the buffer", "00 C0 00 00 01", "01 02 03 90 00");
    card.Wildcard("failed", SAnswer::Fail(SCARD_E_NOT_TRANSACTED));
    card.Wildcard("failed with bytes", SAnswer::Fail(SCARD_E_TIMEOUT, "90 00"));
    const struct {
        LONG lResult;
        DWORD cb;
    } expected[] = {{SCARD_S_SUCCESS, 3},        {SCARD_S_SUCCESS, 2},
                    {SCARD_S_SUCCESS, 0},        {SCARD_E_INSUFFICIENT_BUFFER, 5},
                    {SCARD_E_NOT_TRANSACTED, 4}, {SCARD_E_TIMEOUT, 2}};
    for (const auto& row : expected) {
        DWORD cb = 0;
        EXPECT_EQ(row.lResult, Send(hCard, 1, &cb));
        EXPECT_EQ(row.cb, cb);
    }
    SCardDisconnect(hCard, SCARD_LEAVE_CARD);
    SCardReleaseContext(hContext);
    EXPECT_EQ((Lines{"EstablishContext", "Connect Scripted Reader 00 00", "Transmit plain",
                     "Transmit status word", "Transmit no bytes",
                     "Transmit longer than the buffer -> 80100008", "Transmit failed -> 80100016",
                     "Transmit failed with bytes -> 8010000A", "Disconnect", "ReleaseContext"}),
              card.Log());
}

TEST(ScriptedPcscAccount, ReportsWhatWentWrong)
{
    CScriptedPcsc pcsc;
    pcsc.Step("never sent", "00 B0 00 00 01", 0x9000);
    pcsc.FailCall("SCardReconnect", SCARD_E_TIMEOUT);
    EXPECT_EQ(2u, pcsc.Problems().size());
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardBeginTransaction(7));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardReleaseContext(8));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardReleaseContext(0)); // allowed
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardDisconnect(0, SCARD_LEAVE_CARD));
    EXPECT_EQ(4u, pcsc.Problems().size());
    EXPECT_EQ(2u, pcsc.TakeMisuses().size());

    SCARDCONTEXT hContext = 0;
    char* mszReaders = nullptr;
    DWORD cch = SCARD_AUTOALLOCATE;
    SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext);
    SCardListReaders(hContext, nullptr, reinterpret_cast<LPSTR>(&mszReaders), &cch);
    SCARDHANDLE hCard = 0;
    DWORD dwProtocol = 0;
    SCardConnect(hContext, mszReaders, SCARD_SHARE_SHARED, SCARD_PROTOCOL_T1, &hCard, &dwProtocol);
    EXPECT_EQ((Lines{"a context was left open", "a card was left connected",
                     "a reader list was not given back"}),
              pcsc.Leftovers());
}

TEST(ScriptedPcscAccount, ACommandOutOfPlaceIsReportedAndPullsTheCard)
{
    CScriptedPcsc pcsc;
    SCARDCONTEXT hContext = 0;
    SCARDHANDLE hCard = 0;
    Open(hContext, hCard);
    pcsc.Step("another one", "00 C0 00 00 02", 0x9000);
    EXPECT_EQ(SCARD_F_INTERNAL_ERROR, Send(hCard, 1));
    EXPECT_EQ(1u, pcsc.Problems().size());
    EXPECT_EQ(SCARD_W_REMOVED_CARD, Send(hCard, 2));
}

TEST_F(ScriptedPcsc, FailsTheNthCallOnly)
{
    card.FailCall("SCardEstablishContext", SCARD_E_NO_SERVICE, 2);
    for (const LONG lExpected : {SCARD_S_SUCCESS, SCARD_E_NO_SERVICE, SCARD_S_SUCCESS}) {
        SCARDCONTEXT hContext = 0;
        EXPECT_EQ(lExpected, SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext));
        SCardReleaseContext(hContext);
    }
}
} // namespace
