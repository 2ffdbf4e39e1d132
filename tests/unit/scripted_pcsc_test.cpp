// SPDX-License-Identifier: Apache-2.0
//
// The scripted PC/SC has to notice what it is there to notice: each fault below must be reported.

#include "tests/support/scripted_pcsc.h"

namespace {
using Lines = std::vector<std::string>;

void Open(SCARDCONTEXT& hContext, SCARDHANDLE& hCard)
{
    DWORD dwProtocol = 0;
    SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext);
    SCardConnect(hContext, "Scripted Reader 00 00", SCARD_SHARE_SHARED, SCARD_PROTOCOL_T1, &hCard,
                 &dwProtocol);
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
    SCARDHANDLE hCard = 0;
    char* mszReaders = nullptr;
    DWORD cch = SCARD_AUTOALLOCATE;
    Open(hContext, hCard);
    SCardListReaders(hContext, nullptr, reinterpret_cast<LPSTR>(&mszReaders), &cch);
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
    const auto send = [&] {
        const std::uint8_t ab[] = {0x00, 0xC0, 0x00, 0x00, 0x01};
        std::uint8_t abAnswer[4];
        DWORD cb = sizeof abAnswer;
        return SCardTransmit(hCard, SCARD_PCI_T1, ab, sizeof ab, nullptr, abAnswer, &cb);
    };
    EXPECT_EQ(SCARD_F_INTERNAL_ERROR, send());
    EXPECT_EQ(1u, pcsc.Problems().size());
    EXPECT_EQ(SCARD_W_REMOVED_CARD, send());
}

} // namespace
