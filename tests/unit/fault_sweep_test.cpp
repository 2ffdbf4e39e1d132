// SPDX-License-Identifier: Apache-2.0
//
// Each operation with the exchanges of its good case, and a fault at each exchange and each other
// PC/SC call in turn: it ends, with a code of its own, leaves nothing open, and with the try guard
// on no secret goes to the card twice. The same faults pass over in the transport without it. Short
// memory likewise.

#include "pindesk/constants.h"
#include "pindesk/desk.h"
#include "tests/support/envelopes.h"
#include "tests/support/nomemory.h"
#include "tests/support/operation_test.h"

#include <algorithm>
#include <climits>
#include <set>

namespace {
/// An operation, and the results that are documented for its failing exchanges.
struct SSwept {
    SOperation operation;
    std::set<long> results;
    SCall call = {};
    bool bPassesSelectionUp = false; ///< a failed selection's own result, as it came
};

void PrintTo(const SSwept& swept, std::ostream* pOut) // by googletest
{
    PrintTo(swept.operation, pOut);
}

const SOperation VERIFY_ONE = {
    "VerifyOne", [](const SCall& call) { return Verify(DS_PIN, FRESH[DS_PIN], call); }};

const SSwept SWEPT[] = {
    {GET_SERIAL, {-4, -66}, {}, true},
    {VERIFY, {-4, -22, -23, -24, -25}},
    {VERIFY_ONE, {-4, -24}, {.bProtect = 1}},
    {CHANGE, {-4, -15, -16, -17, -18, -22, -23, -24, -25}},
    {CHANGE, {-4, -15, -16, -17, -18, -22, -23, -24, -25}, {.bProtect = 1}},
    {UNBLOCK, {-4, -20, -21, -23, -25, -32}},
    {UNBLOCK, {-4, -20, -21, -23, -25, -32}, {.bProtect = 1}},
    {DEACTIVATE, {-4, -26, -27, -32}, {.bProtect = 1}},
    {REACTIVATE, {-4, -25, -28, -29, -32}},
    {REACTIVATE, {-4, -25, -28, -29, -32}, {.bProtect = 1}},
};

constexpr int NEVER = -1;          ///< no exchange fails
constexpr int MAX_EXCHANGES = 200; ///< then the card goes, and with it loops that rely on it
constexpr std::uint8_t EXTERNAL_AUTHENTICATE = 0x82, GIVE_RANDOM = 0x86, PROTECTED = 0x0C;
const Bytes KEY(std::begin(DEFAULT_DES3_KEY), std::end(DEFAULT_DES3_KEY));

const SAnswer FAULTS[] = {SAnswer::Fail(SCARD_E_NOT_READY),
                          SAnswer::Fail(SCARD_F_COMM_ERROR),
                          SAnswer::Fail(SCARD_F_UNKNOWN_ERROR),
                          SAnswer::Fail(SCARD_E_NOT_TRANSACTED),
                          SAnswer::Fail(SCARD_E_NO_SERVICE),
                          SAnswer::Fail(SCARD_W_REMOVED_CARD),
                          SAnswer::Fail(0x80100079),
                          SAnswer(""),
                          SAnswer("90"),
                          SAnswer(Bytes(300)),
                          SAnswer(Bytes(65535)),
                          SAnswer(0x0000)};

std::string FaultText(const SAnswer& fault)
{
    char szText[40];
    std::snprintf(szText, sizeof szText, "code %lX, %zu bytes",
                  static_cast<unsigned long>(fault.m_lCode),
                  fault.m_data ? fault.m_data->size() : 0);
    return szText;
}

/// One run of an operation on a card that takes everything, but for the fault.
struct SRun {
    long lResult = 0;
    int nExchanges = 0;
    int nAuthentications = 0;
    bool bFaultHitSecret = false;
    std::vector<Bytes> secrets;           ///< commands that brought a PIN or PUK, in their order
    std::set<std::uint8_t> protectedOnes; ///< instructions that came in an envelope
    SEnvelope envelope{KEY, KEY};

    SAnswer Exchange(const Bytes& command, const SAnswer* pFault)
    {
        static const std::set<std::uint8_t> SECRETS = {0x20, 0x24, 0x2C};
        const bool bSecret = command.size() > 5 && SECRETS.contains(command[1]);
        ++nExchanges;
        if (bSecret) {
            secrets.push_back(command);
        }
        if (pFault) {
            bFaultHitSecret |= bSecret;
            return *pFault;
        }
        if (command[1] == EXTERNAL_AUTHENTICATE) { // the first is the right key, then it is blocked
            return ++nAuthentications > 1 ? 0x6983 : 0x9000;
        }
        const bool bData = command[1] == 0x84 || command[1] == 0xB0; // GET CHALLENGE, READ BINARY
        if (command[1] == GIVE_RANDOM) {
            envelope.hostRandom.assign(command.begin() + 5, command.end());
        }
        if (command[0] == PROTECTED) {
            protectedOnes.insert(command[1]);
            envelope.header.assign(command.begin(), command.begin() + 4);
            return envelope.ProtectAnswer(libcrypto::IsoPadded({'A'}));
        }
        return Bytes(bData ? command[4] : 0u, 'A') + Bytes{0x90, 0x00};
    }
};

class FaultSweep : public ::testing::TestWithParam<SSwept> {
protected:
    using Lines = std::vector<std::string>;

    /// A fault at exchange iFault, from 0; one that lasts comes at all later ones too. Or a failing
    /// call of another PC/SC function. Or memory for no more than cObjects.
    static SRun Run(const SAnswer& fault, int iFault, bool bLasts, const char* szFailing = nullptr,
                    int cObjects = INT_MAX)
    {
        CScriptedPcsc pcsc;
        SRun run;
        pcsc.Otherwise([&](const Bytes& command) {
            const int i = run.nExchanges;
            if (i + 1 == MAX_EXCHANGES) {
                pcsc.RemoveCard();
            }
            const bool bFault = iFault != NEVER && (bLasts ? i >= iFault : i == iFault);
            return run.Exchange(command, bFault ? &fault : nullptr);
        });
        if (szFailing != nullptr) {
            pcsc.FailCall(szFailing, SCARD_E_NO_SERVICE);
        }
        {
            const CNoMemory memory(cObjects);
            run.lResult = GetParam().operation.run(GetParam().call);
        }
        EXPECT_EQ(Lines(), pcsc.Leftovers());
        EXPECT_EQ(Lines(), pcsc.TakeMisuses());
        return run;
    }
    static SRun Good()
    {
        const SRun good = Run(0x9000, NEVER, false);
        EXPECT_EQ(0, good.lResult);
        return good;
    }
    static bool Documented(long lResult)
    {
        return lResult == 0 || GetParam().results.contains(lResult) ||
               (GetParam().bPassesSelectionUp && lResult > 0);
    }
};

TEST_P(FaultSweep, EndsWithACodeOfItsOwnWhateverFailsWhereverItFails)
{
    const int nExchanges = Good().nExchanges;
    for (const auto& fault : FAULTS) {
        for (int i = 0; i < nExchanges; ++i) {
            SCOPED_TRACE(FaultText(fault) + " at " + std::to_string(i));
            EXPECT_PRED1(Documented, Run(fault, i, false).lResult);
            EXPECT_PRED1(Documented, Run(fault, i, true).lResult);
        }
    }
}

TEST_P(FaultSweep, NeverPresentsASecretTwiceUnderTheTryGuard)
{
    const CSetting guard("SETTING_TRY_GUARD", 1);
    const SRun good = Good();
    for (const auto& fault : FAULTS) {
        for (int i = 0; i < good.nExchanges; ++i) {
            SCOPED_TRACE(FaultText(fault) + " at " + std::to_string(i));
            const SRun run = Run(fault, i, false);
            ASSERT_LE(run.secrets.size(), good.secrets.size());
            for (std::size_t iSecret = 0; iSecret < run.secrets.size(); ++iSecret) {
                // plain commands are those of the good run, protected ones differ by their randoms
                EXPECT_TRUE(run.secrets[iSecret] == good.secrets[iSecret] ||
                            run.secrets[iSecret][0] == PROTECTED);
            }
            EXPECT_TRUE(!run.bFaultHitSecret || run.lResult != 0); // no fault passes for success
            EXPECT_TRUE(run.lResult != 0 || run.secrets.size() == good.secrets.size());
        }
    }
}

TEST_P(FaultSweep, ShortMemoryIsAFailureToBeginOrNoneAtAll)
{
    const auto usual = Good().protectedOnes;
    int cObjects = 0;
    for (bool bFelt = true; bFelt; ++cObjects) {
        const SRun run = Run(0x9000, NEVER, false, nullptr, cObjects);
        bFelt = CNoMemory::WasFelt();
        const bool bNothingSent = run.secrets.empty() && run.nAuthentications == 0;
        EXPECT_TRUE(run.lResult == 0 || bNothingSent) << cObjects;
        EXPECT_TRUE(std::includes(usual.begin(), usual.end(), run.protectedOnes.begin(),
                                  run.protectedOnes.end()))
            << cObjects;
    }
    EXPECT_LT(1, cObjects);
}

TEST_P(FaultSweep, LeavesNothingOpenWhenACallBesideTheExchangesFails)
{
    for (const char* szFunction : {"SCardEstablishContext", "SCardListReaders", "SCardConnect",
                                   "SCardBeginTransaction", "SCardEndTransaction", "SCardStatus"}) {
        SCOPED_TRACE(szFunction);
        EXPECT_GE(0, Run(0x9000, NEVER, false, szFunction).lResult);
    }
}

pindesk_bytes Value(const char* sz)
{
    return {reinterpret_cast<const unsigned char*>(sz), std::strlen(sz)};
}

/// An operation of the desk, and the command whose answer is lost.
struct SDeskRow {
    std::uint8_t bLost;
    void (*run)(pindesk_desk* pDesk, pindesk_report* pReport);
};
constexpr SDeskRow DESK_ROWS[] = {
    {0x00, // none
     [](auto* pDesk, auto* pReport) {
         pindesk_change(pDesk, PINDESK_DS_PIN, Value("13572468"), Value("97531864"), nullptr,
                        pReport);
     }},
    {0x20,
     [](auto* pDesk, auto* pReport) {
         pindesk_verify(pDesk, PINDESK_DS_PIN, Value("13572468"), nullptr, pReport);
     }},
    {0x24,
     [](auto* pDesk, auto* pReport) {
         pindesk_change(pDesk, PINDESK_DS_PIN, Value("13572468"), Value("97531864"), nullptr,
                        pReport);
     }},
    {0x2C,
     [](auto* pDesk, auto* pReport) {
         pindesk_unblock(pDesk, PINDESK_DS_PIN, Value("24681357"), Value("97531864"), nullptr,
                         pReport);
     }},
};

/// The desk asks the card again where an answer is lost, which takes memory.
TEST(FaultSweepOfTheDesk, ShortMemoryIsAFailureToBeginOrNoneAtAll)
{
    for (const SDeskRow& row : DESK_ROWS) {
        bool bFelt = true;
        for (int cObjects = 0; bFelt; ++cObjects) {
            CScriptedPcsc pcsc;
            SRun run;
            const SAnswer lost("");
            pcsc.Otherwise([&](const Bytes& command) {
                const bool bLost = command.size() > 5 && command[1] == row.bLost;
                return run.Exchange(command, bLost ? &lost : nullptr);
            });
            pindesk_report report{};
            report.size = sizeof report;
            const std::unique_ptr<pindesk_desk, void (*)(pindesk_desk*)> desk(pindesk_open(),
                                                                              pindesk_close);
            {
                const CNoMemory memory(cObjects);
                row.run(desk.get(), &report);
            }
            bFelt = CNoMemory::WasFelt();
            EXPECT_EQ(run.secrets.empty(), report.outcome == PINDESK_INTERNAL_ERROR)
                << +row.bLost << ", " << cObjects << ": " << report.outcome << ", "
                << report.detail;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, FaultSweep, ::testing::ValuesIn(SWEPT), [](const auto& row) {
    return std::string(row.param.operation.szName) + (row.param.call.bProtect ? "Protected" : "");
});
} // namespace
