// SPDX-License-Identifier: Apache-2.0
//
// Enumerating readers, connecting to a slot, reading the answer to reset: results, outputs, and
// that every path gives its context and its reader list back.

#include "pindesk/PCSC_Misc.h"
#include "pindesk/desk.h"
#include "tests/support/scripted_pcsc.h"

#include <cstring>

namespace {
using Lines = std::vector<std::string>;

constexpr char ATR_19[] = "3B FF 18 00 00 81 31 FE 45 00 6B 05 05 20 00 01 21 01 43";

class Readers : public CScriptedTest {
protected:
    void SetUp() override { card.Readers({{"Reader A"}, {"Reader B", ATR_19}, {"Reader C", ""}}); }
};

TEST_F(Readers, AreCountedAndNamedInTheirOrder)
{
    long lCount = 77;
    EXPECT_EQ(0, PCSC_GetReadersCount(&lCount));
    EXPECT_EQ(3, lCount);

    DWORD cch = 0;
    EXPECT_EQ(0, PCSC_GetReadersList(nullptr, &cch));
    std::string list(cch, '?');
    EXPECT_EQ(0, PCSC_GetReadersList(list.data(), &cch));
    EXPECT_EQ(std::string("Reader A\0Reader B\0Reader C\0\0", 28), list);
    cch = 27;
    EXPECT_EQ(-2, PCSC_GetReadersList(list.data(), &cch));
}

TEST_F(Readers, AreOutOfReachOfADeskForAReason)
{
    const struct {
        const char* szCall;
        LONG lCode;
        pindesk_outcome eOutcome;
        pindesk_detail eDetail;
        int iCode; // of the exported operations
    } rows[] = {
        {"SCardEstablishContext", SCARD_W_SECURITY_VIOLATION, PINDESK_NO_SERVICE,
         PINDESK_DETAIL_NOT_ALLOWED, -1},
        {"SCardEstablishContext", SCARD_E_NO_SERVICE, PINDESK_NO_SERVICE,
         PINDESK_DETAIL_NOT_RUNNING, -1},
        {"SCardListReaders", SCARD_E_NO_READERS_AVAILABLE, PINDESK_NO_READER,
         PINDESK_DETAIL_NONE_CONNECTED, -2},
        {"SCardConnect", SCARD_E_SHARING_VIOLATION, PINDESK_IN_USE, PINDESK_DETAIL_EXCLUSIVE, -3},
        {"SCardConnect", SCARD_W_UNPOWERED_CARD, PINDESK_NO_CARD, PINDESK_DETAIL_MUTE, -3},
    };
    pindesk_desk* const pDesk = pindesk_open();
    pindesk_options second{};
    second.size = sizeof second;
    second.slot = 2;
    for (const auto& row : rows) {
        card.FailCall(row.szCall, row.lCode);
        pindesk_report report{};
        report.size = sizeof report;
        EXPECT_EQ(row.eOutcome, pindesk_serial(pDesk, &second, nullptr, &report));
        EXPECT_EQ(row.eDetail, report.detail);
        EXPECT_EQ(row.iCode, report.code);
    }
    pindesk_close(pDesk);
}

TEST_F(Readers, NameIsPaddedCutOrOnlyMeasured)
{
    const struct {
        long nRoom;
        const char* szExpected; // of the ten bytes at the buffer
    } rows[] = {{10, "Reader B\0\0"},
                {8, "Reader B??"}, // as long as the buffer: no NUL, on purpose
                {3, "Rea???????"},
                {0, "??????????"},
                {-1, "??????????"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.nRoom);
        char szName[11] = "??????????";
        long nMaxChars = row.nRoom;
        EXPECT_EQ(0, PCSC_GetReaderName(2, szName, &nMaxChars));
        EXPECT_EQ(0, std::memcmp(row.szExpected, szName, 10));
        EXPECT_EQ(8, nMaxChars);
    }
    long nMaxChars = 0;
    EXPECT_EQ(0, PCSC_GetReaderName(3, nullptr, &nMaxChars));
    EXPECT_EQ(8, nMaxChars);
}

TEST_F(Readers, AtrTextIsWrittenOnlyWhereAllOfItFits)
{
    const std::string text = "3bff1800008131fe45006b0505200001210143";
    const struct {
        long nRoom;
        long lResult;
        long nAfter;
        bool bWritten;
    } rows[] = {{38, 0, 38, true},
                {37, 0, 38, false}, // room for the bytes, not for the text: the
                                    // length only
                {19, 0, 38, false},
                {18, -128, 18, false},
                {0, -128, 0, false},
                {-1, 0, 38, false}}; // compared unsigned, but no room
    for (const auto& row : rows) {
        SCOPED_TRACE(row.nRoom);
        std::string buffer(39, '?');
        long nMaxChars = row.nRoom;
        EXPECT_EQ(row.lResult, PCSC_GetATR(2, buffer.data(), &nMaxChars));
        EXPECT_EQ(row.nAfter, nMaxChars);
        EXPECT_EQ((row.bWritten ? text : std::string(38, '?')) + "?", buffer);
    }
    long nMaxChars = 33;
    EXPECT_EQ(0, PCSC_GetATR(2, nullptr, &nMaxChars));
    EXPECT_EQ(38, nMaxChars);
    EXPECT_EQ(0u, card.Count("Connect"));
}

TEST_F(Readers, AtrThatCannotBeReadIsNoCardAndALengthBeyondItsFieldNotBelieved)
{
    long nMaxChars = 80;
    EXPECT_EQ(-2, PCSC_GetATR(3, nullptr, &nMaxChars));
    card.FailCall("SCardGetStatusChange", SCARD_E_READER_UNAVAILABLE);
    EXPECT_EQ(-2, PCSC_GetATR(1, nullptr, &nMaxChars));
    EXPECT_EQ(80, nMaxChars);

    card.Readers({{"Reader A", std::string(400, '7')}});
    std::string buffer(80, '?');
    EXPECT_EQ(0, PCSC_GetATR(1, buffer.data(), &nMaxChars));
    EXPECT_EQ(66, nMaxChars);
    EXPECT_EQ(std::string(66, '7') + std::string(14, '?'), buffer);
}

TEST_F(Readers, ConnectionLivesUntilItIsDisconnected)
{
    ScardConnection* pConnection = nullptr;
    ASSERT_EQ(0, PCSC_Connect(2, &pConnection));
    EXPECT_EQ(0, PCSC_Valid(pConnection));
    card.RemoveCard();
    EXPECT_EQ(-1, PCSC_Valid(pConnection));
    EXPECT_EQ(0, PCSC_Disconnect(pConnection));
    EXPECT_EQ((Lines{"EstablishContext", "ListReaders", "Connect Reader B", "FreeMemory", "Status",
                     "Status -> 80100069", "Disconnect", "ReleaseContext"}),
              card.Log());
}

TEST_F(Readers, RefusedConnectionLeavesNothing)
{
    ScardConnection* pConnection = nullptr;
    EXPECT_EQ(-3, PCSC_Connect(3, &pConnection));
    card.FailCall("SCardConnect", SCARD_E_SHARING_VIOLATION);
    EXPECT_EQ(-3, PCSC_Connect(1, &pConnection));
    EXPECT_EQ(nullptr, pConnection);
    EXPECT_EQ(-1, PCSC_Valid(nullptr));
    EXPECT_EQ(0, PCSC_Disconnect(nullptr));
}

TEST_F(Readers, CountAndListReportServiceAndEmptinessApart)
{
    long lCount = 77;
    DWORD cch = 0;
    card.FailCall("SCardEstablishContext", SCARD_E_NO_SERVICE, 1);
    card.FailCall("SCardEstablishContext", SCARD_E_NO_SERVICE, 2);
    EXPECT_EQ(-1, PCSC_GetReadersCount(&lCount));
    EXPECT_EQ(0, lCount);
    EXPECT_EQ(-1, PCSC_GetReadersList(nullptr, &cch));
    card.Readers({});
    EXPECT_EQ(-2, PCSC_GetReadersCount(&lCount));
    EXPECT_EQ(-2, PCSC_GetReadersList(nullptr, &cch));
}

TEST_F(Readers, ContextIsInvalidOnlyWhenTheServiceSaysSo)
{
    SCARDCONTEXT hContext = 0;
    SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext);
    EXPECT_EQ(0, SCardIsValidContextEX(hContext));
    card.FailCall("SCardListReaders", SCARD_E_NO_READERS_AVAILABLE);
    EXPECT_EQ(0, SCardIsValidContextEX(hContext));
    SCardReleaseContext(hContext);
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardIsValidContextEX(hContext));
    EXPECT_EQ(1u, card.TakeMisuses().size()); // the question itself
}
} // namespace
