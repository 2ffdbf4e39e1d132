// SPDX-License-Identifier: Apache-2.0

#include "desk/words.h"

#include <gtest/gtest.h>

namespace {

constexpr const char *ONE = "{n} try is left", *MANY = "{n} tries are left";

TEST(Words, ATagChoosesALanguageAndNumbersTakeTheirPlural)
{
    struct SRow {
        const char* tag;
        unsigned long n;
        const char* text;
    };
    constexpr const char *SINGULAR = "{n} tentativo rimasto", *PLURAL = "{n} tentativi rimasti";
    constexpr SRow ROWS[] = {
        {"it", 1, SINGULAR},
        {"it", 0, PLURAL},
        {"it-IT", 2, PLURAL},
        {"it_CH.UTF-8", 15, PLURAL},
        {"IT-Latn", 1, SINGULAR},
        {"it@euro", 0, PLURAL},
        {"en", 1, ONE},
        {"en", 0, MANY},
        {"en_GB.UTF-8", 2, MANY},
        {nullptr, 1, ONE},
        {"", 2, MANY},
        {"C.UTF-8", 1, ONE},
        {"ita", 1, ONE},
        {"i", 1, ONE},
        {"fr-it-IT", 1, ONE},
    };
    for (const auto& [tag, n, text] : ROWS) {
        EXPECT_STREQ(text, desk::TrN(tag, ONE, MANY, n)) << (tag == nullptr ? "null" : tag);
    }
    EXPECT_STREQ("", desk::Tr("it", "")) << "not the header of the catalogue";
    EXPECT_STREQ("in no catalogue", desk::Tr("it", "in no catalogue"));
}

TEST(Words, GapsAreFilledWithNothingThatATerminalObeys)
{
    struct SRow {
        const char *text, *value, *filled;
    };
    constexpr SRow ROWS[] = {
        {"{a}, {b} and {a}", "{b}", "{b}, {b} and {b}"}, // and not filled again
        {"{a", "x", "{a"},
        {"{a}", "caff\xC3\xA8 \xE2\x82\xAC \xF0\x9F\x99\x82",
         "caff\xC3\xA8 \xE2\x82\xAC \xF0\x9F\x99\x82"},
        {"{a}", "\x1B[2J\n\x7F", "\\x1B[2J\\x0A\\x7F"},
        {"{a}", "\xC2\x9B", "\\xC2\\x9B"},   // a control character too
        {"{a}", "\xE8 \xC3", "\\xE8 \\xC3"}, // Latin-1, and cut short
        {"{a}", "\xC0\x8A", "\\xC0\\x8A"},   // longer than need be
        {"{a}", "\xE0\x80\x8A", "\\xE0\\x80\\x8A"},
        {"{a}", "\xED\xA0\x80", "\\xED\\xA0\\x80"}, // a surrogate
        {"{a}", "\xF5\x80\x80\x80", "\\xF5\\x80\\x80\\x80"},
    };
    for (const auto& [text, value, filled] : ROWS) {
        EXPECT_EQ(filled, desk::Fill(text, {{"a", value}}));
    }
}

} // namespace
