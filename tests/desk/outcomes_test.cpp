// SPDX-License-Identifier: Apache-2.0
//
// The table of outcomes through the C++ door and so through the C one, over the in-process card:
// each row on a fresh one.

#include "pindesk/desk.hpp"
#include "tools/virtualcard/inprocess/control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <vector>

namespace {

using Words = std::vector<std::string>;

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
        if (!strLine.empty() && strLine[0] != '#') {
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

class Outcomes : public ::testing::TestWithParam<SRow> {
protected:
    ~Outcomes() override
    {
        for (const std::string& strVariable : m_variables) {
            unsetenv(strVariable.c_str());
        }
    }

    void Insert(const Words& variables)
    {
        for (const std::string& strVariable : variables) {
            if (const auto iEquals = strVariable.find('='); iEquals != std::string::npos) {
                m_variables.push_back("PINDESK_VCARD_" + strVariable.substr(0, iEquals));
                setenv(m_variables.back().c_str(), strVariable.c_str() + iEquals + 1, 1);
            }
        }
        vcard_restart();
    }

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
    Words m_variables;
};

TEST_P(Outcomes, AreTheSameThroughEveryDoor)
{
    Insert(GetParam().card);
    for (const std::string& strStep : GetParam().before) {
        Prepare(strStep);
    }
    Call(GetParam().call);
    EXPECT_EQ(GetParam().expected, Said());
    EXPECT_EQ(0U, vcard_open_handles());
}

void PrintTo(const SRow& row, std::ostream* pOut) // by googletest
{
    *pOut << row.strText;
}

INSTANTIATE_TEST_SUITE_P(Table, Outcomes, ::testing::ValuesIn(Table()));

} // namespace
