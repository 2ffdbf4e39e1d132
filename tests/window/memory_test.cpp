// SPDX-License-Identifier: Apache-2.0
//
// After a PIN was changed and unblocked in the window, no value is left in the process: not as it was
// typed, and not as a text of Qt would hold it. The card is behind the real PC/SC service.

#include "tests/memory/search.h"
#include "tests/window/person.h"
#include "tools/window/words.h"

#include <QApplication>
#include <QCheckBox>

#include <iostream>
#include <vector>

namespace {

/// A value, and the same as a text of Qt.
struct SValue {
    CMasked typed, text;
};

constexpr CMasked FACTORY{"the PIN of a new card", "12345678"}; // within many a table of digits
constexpr SValue OLD{{"the old PIN", "50294716"},
                     {"the old PIN as a text", {"5\0000\0002\0009\0004\0007\0001\0006\0", 16}}};
constexpr SValue CHANGED{
    {"the changed PIN", "90725183"},
    {"the changed PIN as a text", {"9\0000\0007\0002\0005\0001\0008\0003\0", 16}}};
constexpr SValue UNBLOCKED{
    {"the unblocked PIN", "38160492"},
    {"the unblocked PIN as a text", {"3\0008\0001\0006\0000\0004\0009\0002\0", 16}}};
constexpr SValue PUK{{"the PUK", "87654321"},
                     {"the PUK as a text", {"8\0007\0006\0005\0004\0003\0002\0001\0", 16}}};

void Type(CPerson& person, const char* szField, const CMasked& value)
{
    for (std::size_t i = 0; i < value.size(); ++i) {
        QTest::keyClick(person.Find<window::CSecretField>(szField),
                        static_cast<char>(value.MaskedAt(i) ^ FRESH_MASK));
    }
}

/// Whether no secret is in the process. Says where one is.
bool NothingIsLeft()
{
    std::vector<CMasked> secrets;
    for (const SValue& value : {OLD, CHANGED, PUK, UNBLOCKED}) {
        secrets.insert(secrets.end(), {value.typed, value.text});
    }
    const std::vector<SHit> hits = FindInMemory(secrets);
    for (const SHit& hit : hits) {
        std::cerr << hit.szSecret << " in " << hit.where << '\n';
    }
    return hits.empty();
}

/// Presents a value, sets another, and closes. What was freed is looked for at once, before other
/// things are written over it.
bool Carry(CPerson& person, const char* szButton, const CMasked& presented, const CMasked& fresh)
{
    person.Press(szButton);
    Type(person, "presented", presented);
    Type(person, "fresh", fresh);
    Type(person, "again", fresh);
    return person.EndsWith("has its new value") && NothingIsLeft() && person.Closes() &&
           person.Awaits("state cns-pin", "3 tries");
}

bool Block(CPerson& person)
{
    person.Press("1 cns-pin");
    for (const char* const szLeft : {"2 tries", "1 try", "blocked"}) {
        if (auto* const pLastTry = person.Find<QCheckBox>("last try"); pLastTry != nullptr) {
            QTest::keyClick(pLastTry, Qt::Key_Space);
        }
        Type(person, "presented", FACTORY); // no longer right
        if (!person.EndsWith(szLeft)) {
            return false;
        }
        person.Press("back");
    }
    return person.Closes() && person.Awaits("state cns-pin", "blocked");
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    window::SetLanguage("en");
    CPerson person;
    if (!person.Awaits("state cns-pin", "3 tries") ||
        !Carry(person, "2 cns-pin", FACTORY, OLD.typed) ||
        !Carry(person, "2 cns-pin", OLD.typed, CHANGED.typed) || !Block(person) ||
        !Carry(person, "3 cns-pin", PUK.typed, UNBLOCKED.typed)) {
        std::cerr << "the PIN was not changed, or not unblocked, or stayed in memory\n";
        return 1;
    }
    return NothingIsLeft() ? 0 : 1;
}
