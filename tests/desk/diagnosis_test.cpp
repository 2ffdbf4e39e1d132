// SPDX-License-Identifier: Apache-2.0
//
// The diagnosis and the bundle for support, over the in-process card.

#include "pindesk/desk.h"
#include "tests/support/scratch.h"
#include "tests/system/inprocess.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using Ids = std::vector<std::string>;
using Json = nlohmann::json;

constexpr const char* SOCKET = "PCSCLITE_CSOCK_NAME";

class Diagnosis : public ::testing::Test {
protected:
    Diagnosis() { setenv(SOCKET, "/no/socket", 1); } // whatever service this machine has
    ~Diagnosis() override
    {
        Insert({});
        unsetenv(SOCKET);
    }

    /// What was found, without the versions, which are always, and without what depends on the
    /// readers on this machine's USB.
    Ids Found(pindesk_outcome expected)
    {
        Ids ids;
        const auto add = [](const pindesk_finding* pFinding, void* pIds) {
            const std::string strId = pFinding->id;
            const bool bOfUsb =
                strId.starts_with("reader-") && strId != "reader-found" && strId != "reader-empty";
            if (!bOfUsb) {
                static_cast<Ids*>(pIds)->push_back(strId);
            }
            return 0;
        };
        EXPECT_EQ(expected, pindesk_doctor(m_desk.get(), nullptr, "it", add, &ids, nullptr));
        EXPECT_EQ("versions", ids.empty() ? "" : ids[0]);
        return {ids.begin() + 1, ids.end()};
    }

    std::string Bundle()
    {
        std::string strBundle;
        const auto write = [](const char* pText, size_t cch, void* pBundle) {
            static_cast<std::string*>(pBundle)->append(pText, cch);
            return 0;
        };
        EXPECT_EQ(PINDESK_DONE, pindesk_bundle(m_desk.get(), nullptr, write, &strBundle, nullptr));
        return strBundle;
    }

private:
    std::unique_ptr<pindesk_desk, void (*)(pindesk_desk*)> m_desk{pindesk_open(), pindesk_close};
};

TEST_F(Diagnosis, NamesWhatIsMissingFromTheGroundUp)
{
    struct SRow {
        std::map<std::string, std::string> variables;
        const char* szEvent;
        pindesk_outcome eOutcome;
        Ids ids;
    };
    const SRow ROWS[] = {
        {{}, nullptr, PINDESK_DONE, {"service-running", "reader-found", "card-found"}},
        {{{"_ATR", "3B00"}},
         nullptr,
         PINDESK_DONE,
         {"service-running", "reader-found", "card-unknown"}},
        {{{"_ARRIVAL", "60000"}},
         nullptr,
         PINDESK_NO_CARD,
         {"service-running", "reader-found", "card-missing"}},
        {{{"_ARRIVAL", "60000"}, {"2_READER", "Other 00 00"}},
         nullptr,
         PINDESK_DONE,
         {"service-running", "reader-found", "reader-empty", "reader-found", "card-found"}},
        {{{"_READER", ""}}, nullptr, PINDESK_NO_READER, {"service-running"}},
        {{}, "killed", PINDESK_NO_SERVICE, {"service-not-running"}},
    };
    for (const auto& [variables, szEvent, eOutcome, ids] : ROWS) {
        Insert(variables);
        if (szEvent != nullptr) {
            vcard_play(szEvent);
        }
        EXPECT_EQ(ids, Found(eOutcome));
        EXPECT_EQ(0U, vcard_open_handles());
    }
    setenv(SOCKET, "/dev/null", 1); // there, and may be opened
    vcard_play("killed");
    EXPECT_EQ(Ids{"service-not-accepting"}, Found(PINDESK_NO_SERVICE));
}

TEST_F(Diagnosis, ABundlePlaysWithoutItsCardAndTellsNotWhoseItWas)
{
    const std::string strSerial = "6200000000007351";
    const std::string strSerialBytes = "36 32 30 30 30 30 30 30";
    const std::string strReader = "An \"odd\\\x1B\" one\xFF (20070818) 00 00";
    for (const char* szProfile : {"cns", "cns-t0", "gdo", "setec-t0"}) {
        SCOPED_TRACE(szProfile);
        Insert({{"_PROFILE", szProfile}, {"_SERIAL", strSerial}, {"_READER", strReader}});
        const std::string strBundle = Bundle();
        for (const std::string& strPersonal :
             {strSerial, strSerialBytes, std::string("62 00 00"), std::string("20070818")}) {
            EXPECT_EQ(std::string::npos, strBundle.find(strPersonal)) << strPersonal;
        }
        const CScratchDirectory files;
        std::ofstream(files / "bundle") << strBundle;
        Insert({{"_REPLAY", files / "bundle"}});
        Json original = Json::parse(strBundle);
        Json played = Json::parse(Bundle());
        for (const char* szCall : {"identify", "status"}) {
            EXPECT_EQ("done", original[szCall]["outcome"]);
            original[szCall].erase("milliseconds");
            played[szCall].erase("milliseconds");
            EXPECT_EQ(original[szCall], played[szCall]);
        }
    }
}

} // namespace
