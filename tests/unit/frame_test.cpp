// SPDX-License-Identifier: Apache-2.0
//
// What all functions that take a slot have in common: how they say what could not be opened; and
// the check of the serial number in front of the operations.

#include "pindesk/PCSC_Misc.h"
#include "tests/support/operation_test.h"

#include <functional>

namespace {
struct SSlotFunction {
    const char* szName;
    std::function<long(long slot)> call;
    long lNoCard;        ///< when the connection fails; 0: it makes none
    long lNoTransaction; ///< 0: it begins none
};

void PrintTo(const SSlotFunction& function, std::ostream* pOut) // by googletest
{
    *pOut << function.szName;
}

std::vector<SSlotFunction> SlotFunctions()
{
    std::vector<SSlotFunction> functions = {
        {"GetReaderName", [n = 0L](long s) mutable { return PCSC_GetReaderName(s, nullptr, &n); },
         0, 0},
        {"GetATR", [n = 80L](long s) mutable { return PCSC_GetATR(s, nullptr, &n); }, 0, 0},
        {"Connect",
         [p = static_cast<ScardConnection*>(nullptr)](long s) mutable {
             return PCSC_Connect(s, &p);
         },
         -3, 0},
        {"GetFSType", [l = 0L](long s) mutable { return PCSC_GetFSType(s, &l); }, -2, -2},
        {"UnblockStarcos", [](long s) { return PCSC_Unblock_Starcos(s, "1", "1"); }, -2, -4},
        {"UnblockM4", [](long s) { return PCSC_Unblock_M4_1111(s, "1", "1"); }, -2, -4},
        {"GetSerial", [](long s) { return ReadSerial({.lSlot = s}); }, -3, -4},
    };
    for (const SOperation& operation : OPERATIONS) {
        functions.push_back({operation.szName,
                             [&operation](long s) { return operation.run({.lSlot = s}); }, -3, -4});
    }
    return functions;
}

class Frame : public CScriptedTest, public testing::WithParamInterface<SSlotFunction> {};
INSTANTIATE_TEST_SUITE_P(, Frame, testing::ValuesIn(SlotFunctions()),
                         [](const auto& row) { return std::string(row.param.szName); });

TEST_P(Frame, ReportsWhatCouldNotBeOpened)
{
    const auto& [szName, call, lNoCard, lNoTransaction] = GetParam();
    for (const long slot : {0L, -5L, -0x7FFFFFFFFFFFFFFFL - 1}) {
        EXPECT_EQ(-2, call(slot));
    }
    EXPECT_TRUE(card.Log().empty());
    for (const long slot : {2L, 0x7FFFFFFFL}) {
        EXPECT_EQ(-2, call(slot));
    }
    const struct {
        const char* szFunction;
        LONG lCode;
        long lResult;
    } rows[] = {{"SCardEstablishContext", SCARD_E_NO_SERVICE, -1},
                {"SCardListReaders", SCARD_E_NO_READERS_AVAILABLE, -2},
                {"SCardConnect", SCARD_E_SHARING_VIOLATION, lNoCard},
                {"SCardBeginTransaction", SCARD_W_RESET_CARD, lNoTransaction}};
    for (const auto& row : rows) {
        if (row.lResult == 0) {
            continue;
        }
        card.FailCall(row.szFunction, row.lCode);
        EXPECT_EQ(row.lResult, call(1)) << row.szFunction;
    }
    EXPECT_EQ(0u, card.Count("Transmit")); // without a transaction no command goes to the card
}

class SerialCheck : public COperationTest, public testing::WithParamInterface<SOperation> {
protected:
    static long Run(const char* szExpected) { return GetParam().run({.szSerial = szExpected}); }
};
INSTANTIATE_TEST_SUITE_P(, SerialCheck, testing::ValuesIn(OPERATIONS),
                         [](const auto& row) { return std::string(row.param.szName); });

TEST_P(SerialCheck, EndsBeforeTheOperationOnAnotherCard)
{
    const auto oneByte = std::make_unique<char>('?'); // a sanitizer sees more being read
    for (const char* szExpected :
         {"?BCDEFGH12345678", "ABCDEFGH1234567?", static_cast<const char*>(oneByte.get())}) {
        ExpectSerial();
        EXPECT_EQ(-65, Run(szExpected));
        EXPECT_EQ("ReleaseContext -> 80100003", card.Log().back()); // of 0: none was opened
    }
    EXPECT_EQ(3u, card.Count("Connect"));
}

TEST_P(SerialCheck, ComparesTextAndReadsNothingBehindTheExpectedNumber)
{
    const std::unique_ptr<char[]> expected(new char[4]{"ABC"}); // a sanitizer sees more being read
    ExpectSerial("41 42 43 00 00 00 00 00 00 00 00 00 00 00 00 00");
    card.FailCall("SCardConnect", SCARD_E_NO_SMARTCARD, 2); // the operation's own
    EXPECT_EQ(-3, Run(expected.get()));
}

TEST_P(SerialCheck, AnotherReaderInTheSlotIsAnotherCard)
{
    SelectMF();
    Step("00 A4 09 0C 02 10 00 FF");
    Step("00 A4 09 0C 02 10 03 FF");
    card.Compute("read, while a reader is plugged in", [&](const auto&) {
        card.Readers({{"Another Reader 00 00"}, {"Scripted Reader 00 00"}});
        return SAnswer("41 42 43 44 45 46 47 48 31 32 33 34 35 36 37 38 90 00");
    });
    EXPECT_EQ(-65, Run(SERIAL));
    EXPECT_EQ(1u, card.Count("Connect"));
}

TEST_P(SerialCheck, CarefulIsMadeInTheTransactionOfTheOperation)
{
    const CSetting careful("SETTING_TRY_GUARD", 1);
    ExpectSerial();
    card.Otherwise([](const Bytes&) { return SAnswer(0x9000); });
    EXPECT_EQ(0, Run(SERIAL));
    EXPECT_EQ(1u, card.Count("Connect"));
    EXPECT_EQ(1u, card.Count("BeginTransaction"));
    const std::size_t cExchanges = card.Count("Transmit");
    card.Otherwise(nullptr);
    ExpectSerial();
    EXPECT_EQ(-65, Run("ABCDEFGH1234567?"));
    EXPECT_EQ(cExchanges + 4, card.Count("Transmit"));
}

TEST_P(SerialCheck, ReportsWhyTheNumberCouldNotBeRead)
{
    SelectMF();
    Step("00 A4 09 0C 02 10 00 FF", 0x6A82);
    Step("00 A4 09 0C 02 2F 02 FF", 0x6A82);
    EXPECT_EQ(0x6A82, Run(SERIAL));
    EXPECT_EQ("ReleaseContext -> 80100003", card.Log().back());
    card.FailCall("SCardConnect", SCARD_E_NO_SMARTCARD);
    EXPECT_EQ(-3, Run(SERIAL));
}

TEST_P(SerialCheck, ComparesSixteenCharactersAndGoesOn)
{
    ExpectSerial();
    card.FailCall("SCardConnect", SCARD_E_NO_SMARTCARD, 2); // the operation's own
    EXPECT_EQ(-3, Run("ABCDEFGH12345678, and more"));
}
} // namespace
