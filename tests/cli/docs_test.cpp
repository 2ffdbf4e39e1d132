// SPDX-License-Identifier: Apache-2.0
//
// The documents say what the tool says.

#include "tests/cli/tool.h"

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

class Documents : public ToolTest {};

std::string Content(const std::string& name)
{
    std::ifstream file(std::string(PINDESK_ROOT "/") + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The values of the result codes in the public headers.
std::set<int> DeclaredCodes()
{
    const std::string headers = Content("pindesk/PinDesk.h") + Content("pindesk/PCSC_Misc.h");
    const std::regex declaration("constexpr long [A-Z_]+ = (0|-[0-9]+);");
    std::set<int> codes;
    for (std::sregex_iterator it(headers.begin(), headers.end(), declaration), end; it != end; ++it)
        codes.insert(std::stoi((*it)[1]));
    return codes;
}

TEST_F(Documents, ListEveryResultCodeAsTheToolExplainsIt)
{
    const std::string document = Content("docs/result-codes.md");
    const std::set<int> codes = DeclaredCodes();
    EXPECT_GT(codes.size(), 30U);
    for (const int code : codes) {
        const Finished run = Pindesk({"explain", std::to_string(code), "--json"});
        ASSERT_EQ(0, run.status) << code;
        const auto json = run.Json();
        const std::string row = "| " + std::to_string(code) + " | " +
                                std::to_string(json.at("exit_status_of_code").get<int>()) + " | " +
                                json.at("meaning").get<std::string>() + " | " +
                                json.at("what_to_do").get<std::string>() + " |\n";
        EXPECT_NE(std::string::npos, document.find(row)) << row;
    }
}

TEST_F(Documents, ManualNamesEveryOptionAndVerb)
{
    const std::string manual = Content("docs/pindesk.1");
    std::istringstream help(Pindesk({"--help"}).out);
    int seen = 0;
    for (std::string word; help >> word;) {
        if (word.compare(0, 2, "--") != 0)
            continue;
        std::string name =
            word.substr(2, word.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", 2) - 2);
        for (std::size_t at = 0; (at = name.find('-', at)) != std::string::npos; at += 2)
            name.replace(at, 1, "\\-");
        EXPECT_NE(std::string::npos, manual.find("\\-\\-" + name)) << word;
        ++seen;
    }
    EXPECT_GT(seen, 10);
}

} // namespace
