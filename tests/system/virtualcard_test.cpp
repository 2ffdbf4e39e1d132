// SPDX-License-Identifier: Apache-2.0
//
// The virtual card as its users see it: the program and its files behind a real pcscd, and PC/SC's
// own behaviour, for which the same tests run over the real service and over the in-process one.

#include "tests/system/support/virtualcard.h"

#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>
#include <winscard.h>

namespace {

using Bytes = std::vector<BYTE>;

const Bytes SELECT_MF = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00};
const Bytes GET_CHALLENGE = {0x00, 0x84, 0x00, 0x00, 0x08};
const Bytes WRONG_CNS_PIN = {0x00, 0x20, 0x00, 0x10, 0x08, '1', '1', '1', '1', '1', '1', '1', '1'};
const Bytes OK = {0x90, 0x00};

/// A PC/SC context and a connection to the first reader, as a program has them.
class CPcsc {
public:
    CPcsc()
    {
        EXPECT_EQ(SCARD_S_SUCCESS,
                  SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext));
    }
    ~CPcsc() { SCardReleaseContext(m_hContext); }
    CPcsc(const CPcsc&) = delete;
    CPcsc& operator=(const CPcsc&) = delete;

    std::string Reader() const
    {
        std::array<char, 1024> readers{};
        DWORD cch = readers.size();
        EXPECT_EQ(SCARD_S_SUCCESS, SCardListReaders(m_hContext, nullptr, readers.data(), &cch));
        return readers.data();
    }

    LONG Connect(DWORD dwShare = SCARD_SHARE_SHARED)
    {
        return SCardConnect(m_hContext, Reader().c_str(), dwShare,
                            SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &m_hCard, &m_dwProtocol);
    }

    LONG Transmit(const Bytes& command, Bytes& answer, DWORD cbRoom = 258) const
    {
        answer.assign(cbRoom, 0);
        DWORD cbAnswer = cbRoom;
        const LONG lResult =
            SCardTransmit(m_hCard, m_dwProtocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1,
                          command.data(), command.size(), nullptr, answer.data(), &cbAnswer);
        answer.resize(cbAnswer);
        return lResult;
    }

    SCARDCONTEXT Context() const { return m_hContext; }
    SCARDHANDLE Card() const { return m_hCard; }

private:
    SCARDCONTEXT m_hContext = 0;
    SCARDHANDLE m_hCard = 0;
    DWORD m_dwProtocol = 0;
};

int RunProgram(const std::vector<std::string>& options)
{
    std::vector<std::string> command = {PINDESK_VCARD_PROGRAM};
    command.insert(command.end(), options.begin(), options.end());
    return CChild(command).Wait();
}

TEST(VirtualCard, KeepsItsStateInAFileAndItsSecretsOutOfTheLog)
{
    const CScratchDirectory files;
    const std::vector<std::string> options = {"--state", (files / "state").string()};
    Bytes answer;
    {
        CVirtualCard card(options);
        CPcsc pcsc;
        ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
        EXPECT_EQ(SCARD_S_SUCCESS, pcsc.Transmit(WRONG_CNS_PIN, answer));
        EXPECT_EQ((Bytes{0x63, 0xC2}), answer);
        EXPECT_EQ(std::string::npos, card.Log().find("31 31"));
        EXPECT_NE(std::string::npos,
                  card.Log().find("1 > 00 20 00 10 08 ** ** ** ** ** ** ** **  VERIFY"));
        EXPECT_EQ(EXIT_SUCCESS, card.Remove());
    }
    const auto permissions = std::filesystem::status(files / "state").permissions();
    EXPECT_EQ(std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
              permissions);

    const CVirtualCard card(options);
    EXPECT_EQ(2, card.TriesLeft("cns-pin"));
    EXPECT_EQ(1, card.Presented("cns-pin"));
}

TEST(VirtualCard, RefusesWhatItCannotBe)
{
    const CScratchDirectory files;
    std::ofstream(files / "broken") << "{\"profile\":";
    std::ofstream(files / "foreign") << "{\"a\": 1}";
    const std::vector<std::vector<std::string>> refused = {
        {"--profile", "unheard-of"},
        {"--serial", "short"},
        {"--protocol", "t2"},
        {"--fault", "0:empty"},
        {"--fault", "1:sw=123"},
        {"--fault", "1:pcsc=80100016"},
        {"--state", (files / "broken").string()},
        {"--state", (files / "foreign").string()},
        {"--state", (files / "missing" / "state").string()},
        {"--port", "1"},
    };
    for (const auto& options : refused) {
        EXPECT_NE(EXIT_SUCCESS, RunProgram(options)) << options[0] << ' ' << options[1];
    }
    std::ifstream broken(files / "broken");
    std::string strContent;
    std::getline(broken, strContent);
    EXPECT_EQ("{\"profile\":", strContent); // what could not be read is not overwritten
}

TEST(VirtualCard, PlaysFaultsAtTheChosenExchange)
{
    struct SRow {
        const char* szFault;
        LONG lResult;
        std::size_t cbAnswer;
        int iPresented;
    };
    const SRow rows[] = {
        {"2:empty", SCARD_S_SUCCESS, 0, 1},   {"2:empty-before", SCARD_S_SUCCESS, 0, 0},
        {"2:removed", SCARD_S_SUCCESS, 0, 0}, {"2:removed-after", SCARD_S_SUCCESS, 0, 1},
        {"2:short", SCARD_S_SUCCESS, 1, 1},   {"2:long", SCARD_E_INSUFFICIENT_BUFFER, 300, 1},
        {"2:sw=6F00", SCARD_S_SUCCESS, 2, 0}, {"2:sw-after=6F00", SCARD_S_SUCCESS, 2, 1},
    };
    for (const SRow& row : rows) {
        SCOPED_TRACE(row.szFault);
        const CVirtualCard card({"--fault", row.szFault});
        CPcsc pcsc;
        Bytes answer;
        ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
        ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Transmit(SELECT_MF, answer));
        EXPECT_EQ(OK, answer);
        EXPECT_EQ(row.lResult, pcsc.Transmit(WRONG_CNS_PIN, answer));
        EXPECT_EQ(row.cbAnswer, answer.size());
        EXPECT_EQ(row.iPresented, card.Presented("cns-pin"));
    }
}

/// A card in the first reader, whichever service there is: inside the process it is always there.
class PcscBehaviour : public testing::Test {
protected:
    void SetUp() override
    {
        if (std::getenv("PINDESK_VPCD_PORT") != nullptr) {
            m_card = std::make_unique<CVirtualCard>();
        }
    }

private:
    std::unique_ptr<CVirtualCard> m_card;
};

TEST_F(PcscBehaviour, ChecksItsHandles)
{
    constexpr long NO_HANDLE = 12345;
    Bytes answer;
    CPcsc pcsc;
    DWORD dw = 0;
    SCARDHANDLE hCard = 0;
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardIsValidContext(NO_HANDLE));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardReleaseContext(NO_HANDLE));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardListReaders(NO_HANDLE, nullptr, nullptr, &dw));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardFreeMemory(NO_HANDLE, nullptr));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE,
              SCardConnect(NO_HANDLE, pcsc.Reader().c_str(), SCARD_SHARE_SHARED, SCARD_PROTOCOL_ANY,
                           &hCard, &dw));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, pcsc.Transmit(SELECT_MF, answer));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardBeginTransaction(NO_HANDLE));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardEndTransaction(NO_HANDLE, SCARD_LEAVE_CARD));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardDisconnect(NO_HANDLE, SCARD_LEAVE_CARD));
    EXPECT_EQ(SCARD_E_UNKNOWN_READER,
              SCardConnect(pcsc.Context(), "No Such Reader", SCARD_SHARE_SHARED, SCARD_PROTOCOL_ANY,
                           &hCard, &dw));
    ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
    EXPECT_EQ(SCARD_S_SUCCESS, SCardReleaseContext(pcsc.Context()));
    EXPECT_EQ(SCARD_E_INVALID_HANDLE, SCardDisconnect(pcsc.Card(), SCARD_LEAVE_CARD));
}

TEST_F(PcscBehaviour, HandsOverListsInEachOfThreeWays)
{
    CPcsc pcsc;
    DWORD cch = 0;
    ASSERT_EQ(SCARD_S_SUCCESS, SCardListReaders(pcsc.Context(), nullptr, nullptr, &cch));
    std::string strList(cch, '?');
    DWORD cchShort = cch - 1;
    EXPECT_EQ(SCARD_E_INSUFFICIENT_BUFFER,
              SCardListReaders(pcsc.Context(), nullptr, strList.data(), &cchShort));
    EXPECT_EQ(cch, cchShort);
    EXPECT_EQ(SCARD_S_SUCCESS, SCardListReaders(pcsc.Context(), nullptr, strList.data(), &cch));
    EXPECT_EQ(std::string(2, '\0'), strList.substr(cch - 2));

    char* szAllocated = nullptr;
    DWORD cchAllocated = SCARD_AUTOALLOCATE;
    ASSERT_EQ(SCARD_S_SUCCESS,
              SCardListReaders(pcsc.Context(), nullptr, reinterpret_cast<LPSTR>(&szAllocated),
                               &cchAllocated));
    EXPECT_EQ(strList, std::string(szAllocated, cchAllocated));
    EXPECT_EQ(SCARD_S_SUCCESS, SCardFreeMemory(pcsc.Context(), szAllocated));
}

TEST_F(PcscBehaviour, KeepsTransactionsAndExclusiveUseApart)
{
    CPcsc one;
    CPcsc two;
    Bytes answer;
    ASSERT_EQ(SCARD_S_SUCCESS, one.Connect());
    ASSERT_EQ(SCARD_S_SUCCESS, two.Connect());
    EXPECT_EQ(SCARD_E_NOT_TRANSACTED, SCardEndTransaction(one.Card(), SCARD_LEAVE_CARD));
    ASSERT_EQ(SCARD_S_SUCCESS, SCardBeginTransaction(one.Card()));
    EXPECT_EQ(SCARD_E_SHARING_VIOLATION, SCardEndTransaction(two.Card(), SCARD_LEAVE_CARD));

    std::atomic<bool> bEnded = false;
    std::thread waiting([&] {
        EXPECT_EQ(SCARD_S_SUCCESS, two.Transmit(SELECT_MF, answer));
        EXPECT_TRUE(bEnded); // it had to wait for the end of the transaction
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    bEnded = true;
    EXPECT_EQ(SCARD_S_SUCCESS, SCardEndTransaction(one.Card(), SCARD_LEAVE_CARD));
    waiting.join();
    EXPECT_EQ(OK, answer);

    CPcsc three;
    EXPECT_EQ(SCARD_E_SHARING_VIOLATION, three.Connect(SCARD_SHARE_EXCLUSIVE));
}

TEST_F(PcscBehaviour, TellsOthersThatTheCardWasReset)
{
    CPcsc one;
    CPcsc two;
    Bytes answer;
    DWORD dwProtocol = 0;
    ASSERT_EQ(SCARD_S_SUCCESS, one.Connect());
    ASSERT_EQ(SCARD_S_SUCCESS, two.Connect());
    EXPECT_EQ(SCARD_S_SUCCESS, SCardDisconnect(one.Card(), SCARD_RESET_CARD));
    EXPECT_EQ(SCARD_W_RESET_CARD, SCardBeginTransaction(two.Card()));
    EXPECT_EQ(SCARD_W_RESET_CARD, two.Transmit(SELECT_MF, answer));
    EXPECT_EQ(SCARD_S_SUCCESS,
              SCardReconnect(two.Card(), SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1,
                             SCARD_LEAVE_CARD, &dwProtocol));
    EXPECT_EQ(SCARD_S_SUCCESS, two.Transmit(SELECT_MF, answer));
}

TEST_F(PcscBehaviour, ReportsStatusNameAndAnswerToReset)
{
    CPcsc pcsc;
    ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
    std::array<char, 128> name{};
    std::array<BYTE, MAX_ATR_SIZE> atr{};
    DWORD cchName = name.size();
    DWORD dwState = 0;
    DWORD dwProtocol = 0;
    DWORD cbAtr = atr.size();
    ASSERT_EQ(SCARD_S_SUCCESS, SCardStatus(pcsc.Card(), name.data(), &cchName, &dwState,
                                           &dwProtocol, atr.data(), &cbAtr));
    EXPECT_EQ(pcsc.Reader(), name.data());
    EXPECT_EQ(pcsc.Reader().size() + 1, cchName);
    EXPECT_NE(0U, dwState & SCARD_PRESENT);
    EXPECT_EQ(SCARD_PROTOCOL_T1, dwProtocol);

    const std::string strReader = pcsc.Reader();
    SCARD_READERSTATE state{};
    state.szReader = strReader.c_str();
    ASSERT_EQ(SCARD_S_SUCCESS, SCardGetStatusChange(pcsc.Context(), 0, &state, 1));
    EXPECT_EQ(Bytes(atr.data(), atr.data() + cbAtr),
              Bytes(state.rgbAtr, state.rgbAtr + state.cbAtr));
    state.dwCurrentState = state.dwEventState;
    EXPECT_EQ(SCARD_E_TIMEOUT, SCardGetStatusChange(pcsc.Context(), 10, &state, 1));
}

TEST_F(PcscBehaviour, ReportsTheLengthOfAnAnswerThatDoesNotFit)
{
    CPcsc pcsc;
    Bytes answer;
    ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
    EXPECT_EQ(SCARD_E_INSUFFICIENT_BUFFER, pcsc.Transmit(GET_CHALLENGE, answer, 4));
    EXPECT_EQ(10U, answer.size());
    EXPECT_EQ(SCARD_S_SUCCESS, pcsc.Transmit(SELECT_MF, answer));
}

} // namespace
