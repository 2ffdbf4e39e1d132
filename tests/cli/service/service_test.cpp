// SPDX-License-Identifier: Apache-2.0
//
// The built tool through a real pcscd, beside other programs that use the same card.

#include "tests/cli/tool.h"
#include "tests/system/support/virtualcard.h"

#include <thread>
#include <winscard.h>

namespace {

class Service : public ToolTest {
protected:
    Service() { Environment("LD_LIBRARY_PATH", ""); } // the real PC/SC library

    void Expect(int status, const Words& words, const std::string& input, const char* told)
    {
        const Finished run = Pindesk(words, input);
        EXPECT_EQ(status, run.status) << words.front() << ": " << run.err;
        EXPECT_NE(std::string::npos, (run.out + run.err).find(told)) << run.out << run.err;
    }

    nlohmann::json Readers() const { return Pindesk({"readers", "--json"}).Json().at("readers"); }
};

/// Another program's connection to the first reader.
class CHold {
public:
    CHold(const std::string& reader, DWORD dwShare)
    {
        DWORD dwProtocol = 0;
        EXPECT_EQ(SCARD_S_SUCCESS,
                  SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext));
        EXPECT_EQ(SCARD_S_SUCCESS,
                  SCardConnect(m_hContext, reader.c_str(), dwShare,
                               SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &m_hCard, &dwProtocol));
    }
    ~CHold()
    {
        SCardDisconnect(m_hCard, SCARD_LEAVE_CARD);
        SCardReleaseContext(m_hContext);
    }
    CHold(const CHold&) = delete;
    CHold& operator=(const CHold&) = delete;

private:
    SCARDCONTEXT m_hContext = 0;
    SCARDHANDLE m_hCard = 0;
};

TEST_F(Service, CarriesTheLifeOfThePins)
{
    const CVirtualCard card;
    Expect(0, {"verify", "cns-pin"}, "12345678\n", "is right");
    Expect(0, {"change", "ds-pin"}, "13572468\n44556677\n", "new value");
    Expect(0, {"verify", "ds-pin"}, "44556677\n", "is right");
    Expect(3, {"unblock", "cns"}, "11111111\n55667788\n", "4 tries are left");
    Expect(0, {"unblock", "cns"}, "87654321\n55667788\n", "unblocked");
    Expect(0, {"verify", "cns-pin"}, "55667788\n", "is right");
    Expect(0, {"lock"}, "lock\n", "deactivated");
    Expect(2, {"verify", "ds-pin"}, "44556677\n", "pindesk reactivate");
    Expect(0, {"reactivate", "--new-from", "stdin"}, "24681357\n66778899\n", "active again");
    Expect(0, {"verify", "ds-pin"}, "66778899\n", "is right");
    Expect(0, {"identify"}, "", "CNS and signature applications");
}

TEST_F(Service, SaysThatTheCardIsVerifiedAlreadyInsteadOfANumber)
{
    const CVirtualCard card;
    const CHold hold(Readers().at(0).at("name"), SCARD_SHARE_SHARED); // keeps the card powered
    Expect(0, {"verify", "cns-pin"}, "12345678\n", "is right");
    const auto pin = Pindesk({"status", "--json"}).Json().at("secrets").at(0);
    EXPECT_EQ("verified", pin.at("state"));
    EXPECT_TRUE(pin.at("tries_left").is_null());
    Expect(3, {"verify", "cns-pin"}, "11111111\n", "2 tries are left");
    EXPECT_EQ(2, card.TriesLeft("cns-pin"));
}

TEST_F(Service, TellsACardInUseFromAMissingOne)
{
    {
        const CVirtualCard card;
        const CHold hold(Readers().at(0).at("name"), SCARD_SHARE_EXCLUSIVE);
        for (const Words& words : {Words{"serial"}, Words{"status"}, Words{"verify", "cns-pin"},
                                   Words{"identify"}, Words{"lock", "--yes"}})
            Expect(7, words, "12345678\n", "Another program");
        EXPECT_EQ(0, card.Presented("cns-pin"));
    }
    Expect(6, {"verify", "cns-pin"}, "12345678\n", "no card");
    Expect(6, {"serial", "--wait=1"}, "", "no card");
}

TEST_F(Service, WaitsForACard)
{
    Finished run;
    std::thread waiting([&] { run = Pindesk({"serial", "--wait"}); });
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    {
        const CVirtualCard card;
        waiting.join();
    }
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("6200000000000001\n", run.out);
}

TEST_F(Service, ListsTheReadersThatANameFits)
{
    const std::string first = Readers().at(0).at("name");
    const std::string second = Readers().at(1).at("name");
    const Finished run = Pindesk({"serial", "--reader", first.substr(0, first.size() - 2)});
    EXPECT_EQ(1, run.status);
    EXPECT_NE(std::string::npos, run.err.find(first));
    EXPECT_NE(std::string::npos, run.err.find(second));
    const CVirtualCard card;
    Expect(0, {"serial", "--reader", first}, "", "6200000000000001");
    Expect(6, {"serial", "--reader", second}, "", "no card");
}

TEST_F(Service, SaysWhenItIsNotRunning)
{
    Environment("PCSCLITE_CSOCK_NAME", "/nonexistent");
    for (const Words& words : {Words{"readers"}, Words{"serial", "--wait=5"}, Words{"status"}})
        Expect(8, words, "", "service");
}

} // namespace
