// SPDX-License-Identifier: Apache-2.0
//
// A row of SELECT commands as one line of a test.

#ifndef TESTS_SUPPORT_SELECTIONS_H
#define TESTS_SUPPORT_SELECTIONS_H

#include "tests/support/scripted_pcsc.h"

#include <sstream>

/// Expects a SELECT for each word: "3F00" answered with 9000, "3F00!" with 6A82 (no such file),
/// "3F00~" with 6284. After the word "fci" the selections ask for the file control information.
inline void ExpectSelections(CScriptedPcsc& card, const std::string& words)
{
    std::istringstream in(words);
    std::string word, p2 = "0C";
    while (in >> word) {
        if (word == "fci") {
            p2 = "00";
            continue;
        }
        const std::string fid = word.substr(0, 4);
        const int nStatusWord = word.ends_with('!')   ? 0x6A82
                                : word.ends_with('~') ? 0x6284
                                                      : 0x9000;
        card.Step("select " + word, ("00 A4 00 " + p2 + " 02 " + fid).c_str(), nStatusWord);
    }
}

#endif
