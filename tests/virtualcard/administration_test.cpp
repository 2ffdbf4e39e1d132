// SPDX-License-Identifier: Apache-2.0
//
// Descriptors, security objects, life cycles, files that come and go; state over a restart.
#include "host_side.h"

namespace vcard {
namespace {

constexpr const char* ALL_OPEN = "00 00 00 00 00 00 00 00 00";

class Administration : public HostTest {
protected:
    /// CREATE FILE of a transparent EF with one filler byte behind its access bytes.
    std::string CreateEf(const std::string& strFid, const std::string& strSize,
                         const std::string& strAccess = ALL_OPEN)
    {
        return Send("00 E0 00 00 20 6F 1E 81 02 " + strSize + " 82 03 01 00 00 83 02 " + strFid,
                    "85 03 00 00 00 86 0A " + strAccess + " FF");
    }
    /// PUT DATA of a new object; strValue with its length byte in front.
    std::string CreateObject(const std::string& strClassAndId, const std::string& strParameters,
                             const std::string& strAccess, const std::string& strValue)
    {
        const Bytes body =
            FromHex("83 02" + strClassAndId + "85 08" + strParameters + "86 0A" + strAccess +
                    "8B 10 FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF 8F" + strValue + "8A 01 05");
        return Send("00 DA 01 6E " + ToHex(Bytes{Low(body.size())}), ToHex(body));
    }
};

TEST_F(Administration, PutDataReplacesTheConditionsOfTheSelectedFile)
{
    Send(SELECT_DS);
    EXPECT_EQ("9000", Send("00 DA 01 6F 0C 86 0A 00 FF FF FF FF FF 00 10 FF FF"));
    EXPECT_EQ("860900FFFFFFFFFF0010FF9000", Send("00 A4 09 00 02 14 00 FF").substr(54));
    EXPECT_EQ("6982", CreateEf("70 01", "00 10")); // creating now wants the CNS PIN
    Send("00 20 00 90 08", CNS_PIN);
    EXPECT_EQ("9000", CreateEf("70 01", "00 10"));

    EXPECT_EQ("6A80", Send("00 DA 01 6F 04 86 02 FF FF")); // of the EF just created
    EXPECT_EQ("9000", Send("00 DA 01 6F 0B 86 09 FF FF FF FF FF FF FF FF FF"));
    EXPECT_EQ("6982", Send("00 DA 01 6F 0B 86 09", ALL_OPEN));
    EXPECT_EQ("6982", Send("00 B0 00 00 01"));
}

TEST_F(Administration, FilesComeAndGo)
{
    Send(SELECT_DS);
    EXPECT_EQ("6A82", Send("00 E4 00 00 02 FF 02"));
    EXPECT_EQ("9000", CreateEf("FF 02", "02 88"));
    EXPECT_EQ("9000", Send("00 D6 02 87 01 5A")); // it is selected
    EXPECT_EQ("5A9000", Send("00 B0 02 87 01"));
    EXPECT_EQ("6A89", CreateEf("FF 02", "02 88"));
    EXPECT_EQ("6A84", CreateEf("FF 03", "7F FF"));
    EXPECT_EQ("6A80", CreateEf("3F 00", "00 10"));
    EXPECT_EQ("9000", Send("00 E4 00 00 02 FF 02"));
    EXPECT_EQ("6986", Send("00 B0 02 87 01"));
    EXPECT_EQ("6A82", Send("00 A4 09 0C 02 FF 02 FF"));

    EXPECT_EQ("9000", CreateEf("FF 04", "00 10", "00 00 00 00 00 FF 00 00 00"));
    EXPECT_EQ("6982", Send("00 E4 00 00 02 FF 04"));
}

TEST_F(Administration, ANewDfBecomesTheCurrentOne)
{
    EXPECT_EQ("9000",
              Send("00 E0 00 00 1F 6F 1D 81 02 00 00 82 03 38 00 00 83 02 50 00 85 03 00 01 "
                   "80 86 09",
                   ALL_OPEN));
    EXPECT_EQ("9000", CreateEf("50 01", "00 10"));
    EXPECT_EQ("9000", Send("00 A4 08 0C 04 50 00 50 01"));
    Send(SELECT_MF);
    EXPECT_EQ("820638000180", Send("00 A4 09 00 02 50 00 FF").substr(20, 12));
    EXPECT_EQ("9000", Send("00 A4 03 0C"));
    EXPECT_EQ("9000", Send("00 E4 00 00 02 50 00"));
}

TEST_F(Administration, LifeCycleTogglesUntilTheMasterFileForbidsIt)
{
    EXPECT_EQ("109000", Send("00 CA 01 83 00"));
    EXPECT_EQ("9000", Send("80 10 00 00 00"));
    EXPECT_EQ("209000", Send("00 CA 01 83 00"));
    EXPECT_EQ("9000", Send("80 10 00 00 00"));
    Send(SELECT_MF);
    Send("00 DA 01 6F 0B 86 09 FF FF FF FF FF FF FF FF FF");
    EXPECT_EQ("6982", Send("80 10 00 00 00"));
    EXPECT_EQ("109000", Send("00 CA 01 83 00"));
    EXPECT_EQ("34019000", Send("00 CA 01 82 02"));
    EXPECT_EQ(8U, Send("00 CA 01 8A 00").size());
    EXPECT_EQ("6A88", Send("00 CA 01 99 00"));
}

TEST_F(Administration, FilesAreSwitchedOffAndOnInBothForms)
{
    Send("00 A4 08 0C 04 14 00 81 00");
    EXPECT_EQ("9000", Send("00 04 00 00 00"));
    EXPECT_EQ("6985", Send("00 B0 00 00 01"));
    EXPECT_EQ("9000", Send("00 44 00 00 00"));
    EXPECT_EQ("9000", Send("00 04 02 0C 02 81 00"));
    EXPECT_EQ("6985", Send("00 B0 00 00 01"));
    EXPECT_EQ("6A82", Send("00 44 01 0C 02 81 00")); // it is no DF
    EXPECT_EQ("9000", Send("00 44 02 0C 02 81 00"));
    EXPECT_EQ("009000", Send("00 B0 00 00 01"));
}

TEST_F(Administration, AnObjectIsCreatedGetsItsValueAndIsUsed)
{
    Send(SELECT_DS);
    const std::string strPin = "3132333435363738";
    EXPECT_EQ("9000", CreateObject("00 05", "0203870300FFFF06", "00 05 1B FF 1B FFFFFFFFFF",
                                   "08" + strPin));
    EXPECT_EQ("9000", Send("00 24 01 85 08 38 37 36 35 34 33 32 31")); // the creator's, once
    EXPECT_EQ("6982", Send("00 24 01 85 08", strPin));
    EXPECT_EQ("9000", Send("00 20 00 85 08 38 37 36 35 34 33 32 31"));
    EXPECT_EQ("9000", Send("00 24 01 85 08", strPin));
    EXPECT_EQ(3, TriesLeft("object-05"));

    EXPECT_EQ("6A89", CreateObject("00 05", "0203870300FFFF06", "00 05 1B FF 1B FFFFFFFFFF", "00"));
    EXPECT_EQ("6A80", CreateObject("00 06", "0203870000FFFF06", "00 05 1B FF 1B FFFFFFFFFF", "00"));
}

TEST_F(Administration, RewritingAnObjectWantsItsOwnCondition)
{
    const char* szAdminister = "00 DA 01 6E 10 83 02 00 1A 86 0A 00 1A 1B FF 1B FF FF FF FF FF";
    Send(SELECT_DS);
    EXPECT_EQ("6982", Send(szAdminister));
    Send("00 20 00 9B 08", DS_PUK);
    EXPECT_EQ("9000", Send(szAdminister));
    EXPECT_EQ("6982", Send("00 04 00 00 02 00 1A")); // no longer free for all
    EXPECT_EQ("9000", Authenticate(ISSUER_KEY));
    EXPECT_EQ("9000", Send("00 04 00 00 02 00 1A")); // but open to the issuer
    EXPECT_EQ("6984", Send("00 20 00 9A 00"));
}

TEST_F(Administration, ChangeKeyDataReplacesTheProtectionKeyOfANewObject)
{
    Send(SELECT_DS);
    const std::string strKey(48, '7');
    EXPECT_EQ("6982", Send("90 24 10 1D 18", strKey)); // the issuer's own is closed
    EXPECT_EQ("9000", CreateObject("10 1E", "0000820000FFFF00", "00 1C FFFFFFFFFFFFFFFF", "00"));
    EXPECT_EQ("9000", Send("90 24 10 9E 18", strKey));
    EXPECT_EQ("6982", Send("90 24 10 9E 18", strKey));
    Authenticate(ISSUER_KEY);
    EXPECT_EQ("9000", Send("90 24 10 9E 18", strKey));
    EXPECT_EQ("6A86", Send("90 24 00 9E 18", strKey));
}

TEST_F(Administration, OptionsApplyToALoadedStateToo)
{
    const nlohmann::json state = m_card->State();
    SCardOptions options;
    options.bRequireSm = options.bUnpadded = true;
    Insert(options);
    m_card->LoadState(state);
    Send(SELECT_DS);
    EXPECT_EQ("6987", Send("00 20 00 9A 08", DS_PIN));
    Send("00 20 00 90 08", CNS_PIN);
    Send("00 24 01 10 08 31 32 33 34 35 FF FF FF");
    EXPECT_EQ("9000", Send("00 20 00 90 05 31 32 33 34 35"));
}

TEST_F(Administration, StateSurvivesARestartAndNonsenseIsRefused)
{
    Send(SELECT_DS);
    Send("00 20 00 9A 08 39 39 39 39 39 39 39 39");
    CreateEf("70 01", "00 10");
    Send("00 D6 00 00 02 CA FE");
    Send("80 10 00 00 00");
    const nlohmann::json good = nlohmann::json::parse(m_card->State().dump());
    Insert("cns");
    m_card->LoadState(good);
    EXPECT_EQ(good, m_card->State());
    Send("00 A4 08 0C 04 14 00 70 01");
    EXPECT_EQ("CAFE9000", Send("00 B0 00 00 02"));

    const struct {
        const char *szWhere, *szValue;
    } edits[] = {
        {"/format", "2"},
        {"/profile", "\"gdo\""},
        {"/life_cycle", "48"},
        {"/mf", "[]"},
        {"/mf/fid", "70000"},
        {"/mf/fid", "4096"},
        {"/mf/type", "9"},
        {"/mf/access", "\"00\""},
        {"/mf/active", "1"},
        {"/mf/objects/0/value", "\"3\""},
        {"/mf/objects/0/value", "\"zz\""},
        {"/mf/objects/0/value", "\"313233343536373839\""},
        {"/mf/objects/0/tries_left", "4"},
        {"/mf/objects/0/tries_left", "-1"},
        {"/mf/objects/0/sm", "\"FF\""},
        {"/mf/children/1/fid", "4096"}, // a second 1000
        {"/mf/children/0/children/0/size", "3"},
        {"/mf/children/0/children/0/type", "6"},
    };
    for (const auto& edit : edits) {
        nlohmann::json bad = good;
        bad[nlohmann::json::json_pointer(edit.szWhere)] = nlohmann::json::parse(edit.szValue);
        EXPECT_THROW(m_card->LoadState(bad), std::invalid_argument) << edit.szWhere;
        EXPECT_EQ(good, m_card->State()) << edit.szWhere;
    }
    EXPECT_THROW(m_card->LoadState(nullptr), std::invalid_argument);
}

TEST(Profiles, EachMakesACardWithAnAtrOfItsOwn)
{
    std::set<Bytes> atrs;
    for (const std::string& strProfile : ProfileNames()) {
        SCardOptions options;
        options.strProfile = strProfile;
        const Bytes t1 = CCard(options).Atr();
        std::uint8_t bCheck = 0;
        for (const std::uint8_t b : ByteView(t1).subspan(1))
            bCheck ^= b;
        EXPECT_EQ(0, bCheck) << strProfile; // TCK, ISO/IEC 7816-3
        options.bT1 = false;
        const Bytes t0 = CCard(options).Atr();
        EXPECT_EQ(t1[1] & 0x0F, static_cast<int>(t0.size()) - 2) << strProfile;
        atrs.insert({t0, t1});
    }
    EXPECT_EQ(2 * ProfileNames().size(), atrs.size());
}

} // namespace
} // namespace vcard
