// SPDX-License-Identifier: Apache-2.0
//
// A PC/SC that follows a script, linked into the tests in place of pcsc-lite. A test names its
// readers, writes down each command it expects with the answer to it, plans failures of whole
// calls, and reads the ordered log. At the end the fixture reports every step not used, every
// command not expected, every wrong handle, and every context, card or reader list that was left
// behind.
//
//     class VerifyPin : public CScriptedTest {};
//
//     TEST_F(VerifyPin, WrongPinIsReported)
//     {
//         card.Step("select the directory", "00 A4 08 0C 02  11 00", "90 00");
//         card.Step("verify", "00 20 00 10 08  31 32 33 34 35 FF FF FF", 0x63C2);
//         EXPECT_EQ(-22, Verify("12345"));
//     }

#ifndef TESTS_SUPPORT_SCRIPTED_PCSC_H
#define TESTS_SUPPORT_SCRIPTED_PCSC_H

#include "tests/support/bytes.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>
#include <winscard.h>

/// What comes back from one exchange.
struct SAnswer {
    SAnswer(const char* szHex);      ///< data and status word; "" answers with no bytes at all
    SAnswer(int nStatusWord);        ///< a status word alone
    SAnswer(Bytes ab);               ///< computed bytes, status word included
    static SAnswer Fail(LONG lCode); ///< a PC/SC code; buffer and length stay as they were
    static SAnswer Fail(LONG lCode, const char* szHex); ///< a PC/SC code, and bytes all the same

    LONG m_lCode = SCARD_S_SUCCESS;
    std::optional<Bytes> m_data;
};

class CScriptedPcsc {
public:
    struct SReader {
        std::string m_name;
        std::string m_atr = "3B 8F 80 01 00"; ///< in hex; empty: no card in this reader
    };

    CScriptedPcsc();
    ~CScriptedPcsc();
    CScriptedPcsc(const CScriptedPcsc&) = delete;
    CScriptedPcsc& operator=(const CScriptedPcsc&) = delete;

    /// \name The readers. At first there is one, "Scripted Reader 00 00", with a card in it.
    ///@{
    void Readers(std::vector<SReader> readers) { m_readers = std::move(readers); }
    /// The protocol of every card, SCARD_PROTOCOL_T1 unless changed. SCardTransmit wants its
    /// header.
    void Protocol(DWORD dwProtocol) { m_dwProtocol = dwProtocol; }
    /// Pulls the cards of all readers: calls on open handles give SCARD_W_REMOVED_CARD from here
    /// on.
    void RemoveCard();
    ///@}

    /// \name The script, used once from first to last. A command out of place is a failure of the
    /// test; it is answered with SCARD_F_INTERNAL_ERROR and pulls the card, so that no loop goes
    /// on.
    ///@{
    /// The command given in hex gets this answer. An answer larger than the buffer comes back as
    /// SCARD_E_INSUFFICIENT_BUFFER with the card's length, as the real service does.
    void Step(std::string what, const char* szCommand, SAnswer answer);
    /// Any command gets this answer.
    void Wildcard(std::string what, SAnswer answer);
    /// The test looks at the command and works the answer out.
    void Compute(std::string what, std::function<SAnswer(const Bytes& command)> answer);
    /// Commands beyond the script get an answer worked out so, in place of a failure of the test.
    void Otherwise(std::function<SAnswer(const Bytes& command)> answer)
    {
        m_otherwise = std::move(answer);
    }
    /// Plans that the nth call from now of a PC/SC function ("SCardConnect") does nothing but
    /// return lCode; EVERY: all of them. A failed SCardTransmit uses no step.
    void FailCall(const char* szFunction, LONG lCode, int nth = 1);
    static constexpr int EVERY = 0;
    ///@}

    /// \name What happened
    ///@{
    /// All calls in order: the function without "SCard", the reader, step or handle it spoke to
    /// where that says more, and " -> 80100009" when it failed: "EstablishContext", "Connect Reader
    /// A", "Transmit select the directory", "Disconnect -> 80100003".
    const std::vector<std::string>& Log() const { return m_log; }
    /// The log without the calls of one function: LogWithout("Status").
    std::vector<std::string> LogWithout(std::string_view szFunction) const;
    /// How often a function was called: Count("Transmit").
    std::size_t Count(std::string_view szFunction) const;
    /// The pauses asked of usleep, in microseconds; none is really made.
    const std::vector<unsigned>& Pauses() const { return m_pauses; }
    /// Wrong handles and headers so far, a sentence each. A test that provokes one takes it away.
    std::vector<std::string> TakeMisuses() { return std::exchange(m_misuses, {}); }
    /// Steps and planned failures that did not come, commands that should not have come, misuses.
    std::vector<std::string> Problems() const;
    /// Contexts, cards and reader lists not given back.
    std::vector<std::string> Leftovers() const;
    ///@}

    /// \name For the PC/SC functions themselves
    ///@{
    struct SStep {
        std::string m_what;
        std::optional<Bytes> m_command; // none: any
        std::function<SAnswer(const Bytes&)> m_answer;
    };
    struct SFailure {
        std::string m_function;
        LONG m_lCode;
        int m_nLeft; // calls until it happens
        bool m_bEvery;
        bool m_bHappened;
    };
    struct SCardHandle {
        SReader m_reader;
        bool m_bConnected;
        bool m_bTransaction;
        bool m_bRemoved;
    };

    std::optional<LONG> PlannedFailure(std::string_view szFunction);
    void Misuse(std::string what) { m_misuses.push_back(std::move(what)); }
    SAnswer Exchange(const Bytes& command, std::string& what);
    SAnswer Unexpected(std::string what);

    static CScriptedPcsc* s_pActive; // the one alive now; null between two tests

    std::vector<SReader> m_readers{{"Scripted Reader 00 00"}};
    DWORD m_dwProtocol = SCARD_PROTOCOL_T1;
    std::vector<SStep> m_script;
    std::function<SAnswer(const Bytes&)> m_otherwise;
    std::size_t m_iNext = 0;
    std::vector<SFailure> m_failures;

    long m_lLastHandle = 0x1000;
    std::set<SCARDCONTEXT> m_contexts;
    std::map<SCARDHANDLE, SCardHandle> m_cards;
    // reader lists not given back, and the context each came from
    std::map<const void*, std::pair<SCARDCONTEXT, std::unique_ptr<char[]>>> m_lists;

    std::vector<std::string> m_log, m_misuses, m_unexpected;
    std::vector<unsigned> m_pauses;
    ///@}
};

/// Fixture of all tests over the scripted PC/SC.
class CScriptedTest : public ::testing::Test {
protected:
    CScriptedPcsc card;

    /// For a test that ends with a context, a card or a reader list in hand on purpose.
    void AllowLeftovers() { m_bLeftoversAllowed = true; }

    void TearDown() override
    {
        for (const auto& problem : card.Problems()) {
            ADD_FAILURE() << problem;
        }
        if (m_bLeftoversAllowed) {
            return;
        }
        for (const auto& leftover : card.Leftovers()) {
            ADD_FAILURE() << leftover;
        }
    }

private:
    bool m_bLeftoversAllowed = false;
};

#endif
