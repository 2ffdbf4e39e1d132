// SPDX-License-Identifier: Apache-2.0
//
// The verbs that use a secret: what they do to the card, what they tell, and what they guard.

#include "tests/cli/tool.h"

namespace {

constexpr const char* CNS_PIN = "12345678\n";
constexpr const char* WRONG_PIN = "87651234\n";

class Secrets : public ToolTest {
protected:
    void Expect(int status, const Words& words, const std::string& input, const char* told = "")
    {
        const Finished run = Pindesk(words, input);
        EXPECT_EQ(status, run.status) << words.front() << ": " << run.err;
        EXPECT_NE(std::string::npos, (run.out + run.err).find(told)) << run.out << run.err;
    }

    void BlockCnsPin()
    {
        for (int round = 0; round < 3; ++round)
            Pindesk({"verify", "cns-pin", "--use-last-try"}, WRONG_PIN);
        ASSERT_EQ(0, TriesLeft("cns-pin"));
    }
};

struct SecretCase {
    const char* word;
    const char* value;
    int tries;
    int wrongCode;
};
constexpr SecretCase kSecrets[] = {{"cns-pin", "12345678", 3, -22},
                                   {"cns-puk", "87654321", 5, -23},
                                   {"ds-pin", "13572468", 3, -24},
                                   {"ds-puk", "24681357", 5, -25}};

TEST_F(Secrets, AreVerifiedAndChangedWithAndWithoutSecureMessaging)
{
    for (const auto& secret : kSecrets) {
        const std::string old = std::string(secret.value) + "\n";
        for (const char* form : {"--quiet", "--no-sm"}) {
            Expect(0, {"verify", secret.word, form}, old);
            Expect(0, {"change", secret.word, form}, old + "55667788\n");
            Expect(0, {"verify", secret.word, form}, "55667788\n");
            Expect(0, {"change", secret.word, form}, "55667788\n" + old);
        }
    }
}

TEST_F(Secrets, TellTheTriesLeftAfterAWrongValue)
{
    for (const auto& secret : kSecrets) {
        const Finished run = Pindesk({"verify", secret.word, "--json"}, "11111111\n");
        EXPECT_EQ(3, run.status) << run.err;
        const auto json = run.Json();
        EXPECT_EQ("wrong_secret", json.at("result"));
        EXPECT_EQ(secret.wrongCode, json.at("code"));
        EXPECT_EQ(secret.tries - 1, json.at("tries_left"));
        EXPECT_EQ("63C" + std::to_string(secret.tries - 1), json.at("status_word"));
    }
}

TEST_F(Secrets, KeepTheirLastTryUnlessItIsAskedFor)
{
    Expect(3, {"verify", "cns-pin"}, WRONG_PIN, "2 tries are left");
    Expect(3, {"change", "cns-pin"}, std::string(WRONG_PIN) + CNS_PIN, "1 try is left");
    Expect(2, {"verify", "cns-pin"}, CNS_PIN, "--use-last-try");
    Expect(2, {"verify", "cns-pin"}, CNS_PIN, "Nothing was sent");
    EXPECT_EQ(2, Presented("cns-pin"));
    Expect(4, {"verify", "cns-pin", "--use-last-try"}, WRONG_PIN, "blocked now");
    Expect(4, {"verify", "cns-pin", "--use-last-try"}, CNS_PIN, "pindesk unblock cns");
    EXPECT_EQ(3, Presented("cns-pin"));
}

TEST_F(Secrets, RightOnTheLastTryBringsAllTriesBack)
{
    Pindesk({"verify", "cns-pin"}, WRONG_PIN);
    Pindesk({"verify", "cns-pin"}, WRONG_PIN);
    Expect(0, {"verify", "cns-pin", "--use-last-try"}, CNS_PIN);
    EXPECT_EQ(3, TriesLeft("cns-pin"));
}

TEST_F(Secrets, BlockedPinComesBackWithThePuk)
{
    BlockCnsPin();
    Expect(3, {"unblock", "cns"}, "11111111\n44556677\n", "4 tries are left");
    Expect(0, {"unblock", "cns"}, "87654321\n44556677\n", "can never be brought back");
    Expect(0, {"verify", "cns-pin"}, "44556677\n");
    Expect(0, {"unblock", "ds"}, "24681357\n88990011\n");
    Expect(0, {"verify", "ds-pin"}, "88990011\n");
}

TEST_F(Secrets, BlockedPukIsSaidToBeBeyondRepair)
{
    for (int round = 0; round < 5; ++round)
        Pindesk({"unblock", "cns", "--use-last-try"}, "11111111\n44556677\n");
    Expect(4, {"unblock", "cns", "--use-last-try"}, "87654321\n44556677\n", "issuer");
    EXPECT_EQ(5, Presented("cns-puk"));
    EXPECT_EQ(3, TriesLeft("cns-pin"));
}

TEST_F(Secrets, OfAPermittedLengthOnlyReachTheCard)
{
    for (const char* pin : {"12345", "123456789", "1", "\xC3\xA8\xC3\xA8"})
        Expect(2, {"verify", "cns-pin"}, std::string(pin) + "\n", "6 to 8 characters");
    Expect(2, {"verify", "cns-puk"}, "1234567\n", "8 characters");
    Expect(2, {"change", "cns-pin"}, std::string(CNS_PIN) + "12345\n", "6 to 8 characters");
    Expect(2, {"unblock", "ds"}, "24681357\n123456789\n", "Nothing was sent");
    for (const auto& secret : kSecrets)
        EXPECT_EQ(0, Presented(secret.word)) << secret.word;
    Expect(3, {"verify", "cns-pin"}, "\xC3\xA8\xC3\xA8\xC3\xA8\n", "wrong"); // bytes count
}

TEST_F(Secrets, GoToTheExpectedCardOnly)
{
    Expect(9, {"verify", "cns-pin", "--serial", "6200000000000009"}, CNS_PIN, "serial number");
    EXPECT_EQ(0, Presented("cns-pin"));
    Expect(0, {"verify", "cns-pin", "--serial", "6200000000000001"}, CNS_PIN);
}

TEST_F(Secrets, AreNeverInTheOutput)
{
    for (const Words& words : {Words{"change", "cns-pin", "--json"}, Words{"change", "cns-pin"}}) {
        for (const char* old : {"71839264", "12345678"}) {
            const Finished run = Pindesk(words, std::string(old) + "\n29384756\n");
            EXPECT_EQ(std::string::npos, (run.out + run.err).find(old));
            EXPECT_EQ(std::string::npos, (run.out + run.err).find("29384756"));
        }
    }
}

TEST_F(Secrets, TravelUnderTheKeyOfAFile)
{
    const std::string wrong =
        File("key", "000102030405060708090a0b0c0d0e0f1011121314151617\n", 0600);
    Expect(10, {"verify", "ds-pin", "--sm-key-file", wrong}, "13572468\n", "secure messaging");
    Expect(10, {"change", "ds-pin", "--sm-key-file", wrong}, "13572468\n24681357\n",
           "Nothing was changed");
    Expect(0, {"verify", "cns-pin", "--sm-key-file", wrong}, CNS_PIN); // never for the CNS secrets
    Card("REQUIRE_SM", "1");
    Expect(0, {"verify", "ds-pin"}, "13572468\n");
    Expect(10, {"verify", "ds-pin", "--no-sm"}, "13572468\n");
    EXPECT_EQ(3, TriesLeft("ds-pin"));
}

TEST_F(Secrets, KeyFilesAreRefusedUnlessTheyArePrivateKeys)
{
    const std::string raw24(24, '\x01');
    const std::string hex(48, '7');
    const struct {
        std::string content;
        int mode;
        const char* told;
    } cases[] = {{raw24, 0640, "chmod 600"},      {raw24, 0604, "chmod 600"},
                 {raw24 + "x", 0600, "24 bytes"}, {hex + "7", 0600, "24 bytes"},
                 {"", 0600, "24 bytes"},          {std::string(24, '7') + "\n", 0600, "24 bytes"},
                 {hex + "77", 0600, "24 bytes"},  {std::string(200, '7'), 0600, "24 bytes"}};
    for (const auto& [content, mode, told] : cases)
        Expect(2, {"verify", "ds-pin", "--sm-key-file", File("key", content, mode)}, "13572468\n",
               told);
    // Forms that are keys, though not this card's.
    for (const std::string& key : {raw24, std::string(16, '\x02'), hex, hex + "\r\n"})
        Expect(10, {"verify", "ds-pin", "--sm-key-file", File("key", key, 0600)}, "13572468\n");
    Expect(2, {"verify", "ds-pin", "--sm-key-file", "/nonexistent"}, "13572468\n",
           "cannot be opened");
}

class Signature : public Secrets {};

TEST_F(Signature, IsLockedOnlyAfterTheWordLock)
{
    for (const char* answer : {"", "\n", "yes\n", "LOCK\n", "lock it\n"})
        Expect(2, {"lock"}, answer, "Nothing was sent");
    Expect(0, {"verify", "ds-pin"}, "13572468\n");
    Expect(0, {"lock"}, "lock\n", "deactivated");
}

TEST_F(Signature, ComesBackWithThePukAlone)
{
    Expect(0, {"lock", "--yes"}, "");
    Expect(0, {"status"}, "", "deactivated. Bring it back with: pindesk reactivate");
    Expect(2, {"verify", "ds-pin"}, "13572468\n", "pindesk reactivate");
    Expect(2, {"reactivate"}, "", "DS PUK is missing");
    Expect(3, {"reactivate"}, "11111111\n", "4 tries are left");
    Expect(0, {"reactivate"}, "24681357\n", "with the value it had");
    Expect(0, {"verify", "ds-pin"}, "13572468\n");
}

TEST_F(Signature, ComesBackWithANewPin)
{
    Expect(0, {"lock", "--yes"}, "");
    Expect(0, {"reactivate", "--new-from", "stdin"}, "24681357\n90817263\n", "new value");
    Expect(0, {"verify", "ds-pin"}, "90817263\n");
}

TEST_F(Signature, StaysActiveWhenTheAdministrationKeyIsWrong)
{
    const std::string key = File("key", std::string(24, '\x55'), 0600);
    Expect(11, {"lock", "--yes", "--admin-key-file", key}, "", "stays active");
    Expect(0, {"verify", "ds-pin"}, "13572468\n");
}

TEST_F(Signature, OtherFamiliesAreUnblockedByName)
{
    const struct {
        const char* family;
        const char* puk;
        const char* wrongPuk;
    } cases[] = {{"starcos", "24681357\n", "24681358\n"}, {"m4-1111", "87654321\n", "87654320\n"}};
    for (const auto& [family, puk, wrongPuk] : cases) {
        Card("PROFILE", family);
        Card("STATE", "");
        Expect(0, {"unblock", "--family", family}, std::string(puk) + "44556677\n", "unblocked");
        Expect(11, {"unblock", "--family", family}, std::string(wrongPuk) + "44556677\n",
               "refused");
        Expect(2, {"unblock", "--family", family}, std::string(puk) + "123456789\n", "8 digits");
        Expect(2, {"unblock", "--family", family}, std::string(puk) + "12x456\n", "8 digits");
    }
}

} // namespace
