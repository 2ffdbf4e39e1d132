// SPDX-License-Identifier: Apache-2.0
//
// The table of outcomes through the C++ door and so through the C one, each row on a fresh card: the
// in-process one, or one in the first reader of a private pcscd, which can neither be without that
// reader nor be killed and stay.

#include "pindesk/desk.hpp"
#include "tests/support/vcard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <vector>

namespace {

struct SRow {
    std::string strText;
    Words card, before, call, expected;
};

Words Split(const std::string& strText)
{
    std::istringstream in(strText);
    Words words;
    for (std::string strWord; in >> strWord;) {
        words.push_back(strWord);
    }
    return words;
}

bool IsRealService()
{
    return std::getenv("PINDESK_VPCD_PORT") != nullptr;
}

bool CanBe(const std::string& strCard)
{
    return !IsRealService() || (!strCard.starts_with("READER=") && !strCard.ends_with(":killed"));
}

/// A function of the in-process card's door.
template <class F> F* Door(const char* szName)
{
    return reinterpret_cast<F*>(dlsym(RTLD_DEFAULT, szName));
}

std::vector<SRow> Table()
{
    std::ifstream file(PINDESK_OUTCOMES);
    std::vector<SRow> rows;
    for (std::string strLine; std::getline(file, strLine);) {
        std::istringstream in(strLine);
        std::array<std::string, 4> columns;
        for (std::string& strColumn : columns) {
            std::getline(in, strColumn, '|');
        }
        if (!strLine.empty() && strLine[0] != '#' && CanBe(Split(columns[0])[0])) {
            rows.push_back({strLine, Split(columns[0]), Split(columns[1]), Split(columns[2]),
                            Split(columns[3])});
        }
    }
    return rows;
}

template <class E> E Named(const std::string& strName)
{
    int i = 0;
    while (pindesk::name(static_cast<E>(i)) != strName) {
        if (++i > PINDESK_OTHER_PUK) {
            throw std::invalid_argument(strName);
        }
    }
    return static_cast<E>(i);
}

constexpr const char* WRONG = "11111111";
const std::map<std::string, const char*> VALUES = {{"cns-pin", "12345678"},
                                                   {"cns-puk", "87654321"},
                                                   {"ds-pin", "13572468"},
                                                   {"ds-puk", "24681357"}};
const std::map<std::string, bool pindesk::options::*> FLAGS = {
    {"last", &pindesk::options::use_last_try},
    {"any", &pindesk::options::any_characters},
    {"plain", &pindesk::options::no_secure_messaging},
    {"admin", &pindesk::options::use_admin_key}};

/// A fresh card with one of its options, as the table has it: REQUIRE_SM=1.
class CFreshCard {
public:
    explicit CFreshCard(const std::string& strOption)
    {
        const auto iEquals = strOption.find('=');
        const bool bAny = iEquals != std::string::npos;
        if (IsRealService()) {
            m_pPlugged.emplace(bAny ? Words{CommandLine(strOption)} : Words{});
            return;
        }
        if (bAny) {
            m_strVariable = "PINDESK_VCARD_" + strOption.substr(0, iEquals);
            setenv(m_strVariable.c_str(), strOption.c_str() + iEquals + 1, 1);
        }
        Door<void()>("vcard_restart")();
    }
    ~CFreshCard()
    {
        if (!m_strVariable.empty()) {
            unsetenv(m_strVariable.c_str());
        }
    }
    CFreshCard(const CFreshCard&) = delete;
    CFreshCard& operator=(const CFreshCard&) = delete;

    static std::size_t OpenHandles()
    {
        return IsRealService() ? 0 : Door<std::size_t()>("vcard_open_handles")();
    }

private:
    static std::string CommandLine(std::string strOption)
    {
        const auto name = [](unsigned char c) {
            return c == '_' ? '-' : static_cast<char>(std::tolower(c));
        };
        const auto end = std::find(strOption.begin(), strOption.end(), '=');
        std::transform(strOption.begin(), end, strOption.begin(), name);
        return "--" + strOption;
    }

    std::string m_strVariable;
    std::optional<CVirtualCard> m_pPlugged;
};

class Outcomes : public ::testing::TestWithParam<SRow> {
protected:
    void Verify(const std::string& strSecret, const char* szValue, const pindesk::options& how)
    {
        m_report = m_desk.verify(m_desk.find(), Named<pindesk::secret>(strSecret), szValue, how);
    }

    void Prepare(const std::string& strStep)
    {
        const std::string strSecret = strStep.substr(strStep.find('=') + 1);
        if (strStep == "lock") {
            m_desk.lock(m_desk.find());
        } else if (strStep.starts_with("keep=")) {
            Verify(strSecret, VALUES.at(strSecret), {.keep_verified = true});
        } else if (strStep != "-") {
            const int iLeft = strStep.starts_with("last=") ? 1 : 0;
            do {
                Verify(strSecret, WRONG, {.use_last_try = true});
            } while (m_report->tries_left > iLeft);
        }
    }

    void Call(const Words& call)
    {
        const auto secret = Named<pindesk::secret>(call[1]);
        const auto value = [](const std::string& strValue) {
            return strValue == "-" ? pindesk::bytes() : pindesk::bytes(strValue);
        };
        const pindesk::bytes presented = value(call[2]);
        const pindesk::bytes newValue = value(call[3]);
        pindesk::options how;
        if (call[4] != "-") {
            how.*FLAGS.at(call[4]) = true;
        }
        const pindesk::card card = m_desk.find();
        using pindesk::operation;
        const auto family = [&](operation eFamily) {
            return m_desk.unblock_family(card, eFamily, presented, newValue, how);
        };
        const std::map<std::string, std::function<pindesk::report()>> calls = {
            {"verify", [&] { return m_desk.verify(card, secret, presented, how); }},
            {"change", [&] { return m_desk.change(card, secret, presented, newValue, how); }},
            {"unblock", [&] { return m_desk.unblock(card, secret, presented, newValue, how); }},
            {"lock", [&] { return m_desk.lock(card, how); }},
            {"reactivate", [&] { return m_desk.reactivate(card, presented, newValue, how); }},
            {"unblock_starcos", [&] { return family(operation::unblock_starcos); }},
            {"unblock_m4_1111", [&] { return family(operation::unblock_m4_1111); }},
        };
        m_report = calls.at(call[0])();
    }

    Words Said() const
    {
        const auto name = [](auto eWhat) { return std::string(pindesk::name(eWhat)); };
        return {name(m_report->outcome), name(m_report->detail),
                m_report->tries_left ? std::to_string(*m_report->tries_left) : "-",
                name(m_report->in_force), name(m_report->state)};
    }

private:
    pindesk::desk m_desk;
    std::optional<pindesk::report> m_report;
};

TEST_P(Outcomes, AreTheSameThroughEveryDoor)
{
    const CFreshCard card(GetParam().card[0]);
    for (const std::string& strStep : GetParam().before) {
        Prepare(strStep);
    }
    Call(GetParam().call);
    EXPECT_EQ(GetParam().expected, Said());
    EXPECT_EQ(0U, CFreshCard::OpenHandles());
}

void PrintTo(const SRow& row, std::ostream* pOut) // by googletest
{
    *pOut << row.strText;
}

INSTANTIATE_TEST_SUITE_P(Table, Outcomes, ::testing::ValuesIn(Table()));

} // namespace
