// SPDX-License-Identifier: Apache-2.0
//
// After a PIN was changed in the window, no value is left in the process: not as it was typed,
// and not as a text of Qt would hold it. The card is behind the real PC/SC service.

#include "tests/memory/search.h"
#include "tests/window/person.h"
#include "tools/window/words.h"

#include <QApplication>

#include <iostream>
#include <vector>

namespace {

constexpr CMasked OLD{"the old PIN", "12345678"}, FRESH{"the new PIN", "90725183"};
constexpr CMasked OLD_IN_TEXT{"the old PIN as a text",
                              {"1\0002\0003\0004\0005\0006\0007\0008\0", 16}};
constexpr CMasked FRESH_IN_TEXT{"the new PIN as a text",
                                {"9\0000\0007\0002\0005\0001\0008\0003\0", 16}};

void Type(CPerson& person, const char* szField, const CMasked& value)
{
    for (std::size_t i = 0; i < value.size(); ++i) {
        QTest::keyClick(person.Find<window::CSecretField>(szField),
                        static_cast<char>(value.MaskedAt(i) ^ FRESH_MASK));
    }
}

bool Change(CPerson& person)
{
    if (!person.Awaits("state cns-pin", "3 tries")) {
        return false;
    }
    person.Press("2 cns-pin");
    Type(person, "presented", OLD);
    Type(person, "fresh", FRESH);
    Type(person, "again", FRESH);
    return person.EndsWith("has its new value") && person.Closes();
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    window::SetLanguage("en");
    CPerson person;
    if (!Change(person)) {
        std::cerr << "the PIN was not changed\n";
        return 1;
    }
    const std::vector<SHit> hits = FindInMemory({{FRESH, FRESH_IN_TEXT, OLD_IN_TEXT}});
    for (const SHit& hit : hits) {
        std::cerr << hit.szSecret << " in " << hit.where << '\n';
    }
    return hits.empty() ? 0 : 1;
}
