// SPDX-License-Identifier: Apache-2.0
//
// The window over the in-process card, used by keys and clicks.

#include "tests/window/person.h"
#include "tools/virtualcard/inprocess/control.h"
#include "tools/window/words.h"

#include <QAccessible>
#include <QCheckBox>
#include <QLineEdit>
#include <QMenuBar>

namespace {

constexpr int FOLLOWS = 1000; // ms that the window may need to see what happened

class CWindowTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<CPerson> m_person;

private Q_SLOTS:
    void init() // NOLINT(readability-identifier-naming): QTest calls it so
    {
        window::SetLanguage("en");
        vcard_restart();
        m_person = std::make_unique<CPerson>();
        QVERIFY(m_person->Awaits("state cns-pin", "3 tries"));
    }

    // NOLINTNEXTLINE(readability-identifier-naming): likewise
    void cleanup() { m_person.reset(); }

    void CarriesAPinThroughItsLife()
    {
        m_person->Press("2 cns-pin"); // change
        QVERIFY(!m_person->Find<QPushButton>("send")->isEnabled());
        m_person->Type("presented", "12345678x9"); // neither a letter nor a ninth digit is taken
        m_person->Type("fresh", "44556677");
        m_person->Type("again", "44556678");
        QVERIFY(m_person->Text("hint").contains("not alike"));
        QTest::keyClick(m_person->Find<window::CSecretField>("again"), Qt::Key_Backspace);
        m_person->Type("again", "7");
        QVERIFY(m_person->EndsWith("has its new value"));
        QVERIFY(m_person->Closes());

        QVERIFY(m_person->Awaits("state cns-pin", "3 tries"));
        m_person->Press("1 cns-pin"); // check
        for (const char* const szLeft : {"2 tries are left", "1 try is left"}) {
            m_person->Type("presented", "12345678");
            QVERIFY(m_person->EndsWith(szLeft));
            m_person->Press("back");
        }
        m_person->Type("presented", "12345678");
        QVERIFY(!m_person->Find<QPushButton>("send")->isEnabled());
        QTest::keyClick(m_person->Find<QCheckBox>("last try"), Qt::Key_Space);
        QVERIFY(m_person->EndsWith("blocked now"));
        QVERIFY(m_person->Closes());

        QVERIFY(m_person->Awaits("state cns-pin", "blocked"));
        QCOMPARE(m_person->Offered().filter("CNS PIN"), QStringList{"Unblock the CNS PIN"});
        m_person->Press("3 cns-pin"); // unblock
        m_person->Type("presented", "87654321");
        m_person->Type("fresh", "111111");
        m_person->Type("again", "111111");
        QVERIFY(m_person->Text("hint").contains("weak"));
        QVERIFY(m_person->EndsWith("is unblocked and has its new value"));
        QVERIFY(m_person->Closes());
        QVERIFY(m_person->Awaits("state cns-pin", "3 tries"));
    }

    void LocksOnlyForTheWordAndBringsBack()
    {
        m_person->Find<QAction>("lock")->trigger();
        QTest::keyClicks(m_person->Find<QLineEdit>("word"), "loc");
        QVERIFY(!m_person->Find<QPushButton>("send")->isEnabled());
        QTest::keyClicks(m_person->Find<QLineEdit>("word"), "k");
        QVERIFY(m_person->EndsWith("is deactivated"));
        QVERIFY(m_person->Closes());

        QVERIFY(m_person->Awaits("state ds-pin", "deactivated"));
        QVERIFY(!m_person->Find<QAction>("lock")->isEnabled());
        m_person->Press("5 ds-pin"); // reactivate
        m_person->Type("presented", "24681357");
        QVERIFY(m_person->EndsWith("is active again, with the value it had"));
    }

    void FollowsWhatHappens_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::addColumn<QByteArray>("label");
        QTest::addColumn<QString>("text");
        QTest::newRow("pulled") << QByteArray("pulled") << QByteArray("message") << "Insert a card";
        QTest::newRow("killed") << QByteArray("killed") << QByteArray("message") << "PC/SC service";
    }

    void FollowsWhatHappens()
    {
        QFETCH(QByteArray, event);
        QFETCH(QByteArray, label);
        QFETCH(QString, text);
        m_person->Press("2 cns-pin");
        m_person->Type("presented", "12345678");
        QCOMPARE(vcard_play(event.constData()), 0);
        QVERIFY(m_person->Awaits(label.constData(), text, FOLLOWS));
        QVERIFY(m_person->Awaits("verdict", "Nothing was sent")); // a form ends with its card
        QVERIFY(m_person->Offered().isEmpty());
    }

    void NeverActsOnAnotherCard()
    {
        m_person->Press("1 cns-pin");
        m_person->Type("presented", "11111111");
        QCOMPARE(vcard_play("swapped"), 0);
        QTest::keyClick(m_person->Dialog(), Qt::Key_Return); // faster than anyone sees it
        QVERIFY(QTest::qWaitFor([&] { return !m_person->Text("verdict").isEmpty(); }));
        QVERIFY(!m_person->Text("verdict").contains("wrong"));
        QVERIFY(m_person->Closes());
        QVERIFY(m_person->Awaits("serial", "6200000000000999"));
        QVERIFY(m_person->Awaits("state cns-pin", "3 tries"));
    }

    void SpeaksTheLanguageThatIsChosen()
    {
        m_person->Find<QAction>("it")->trigger();
        QVERIFY(m_person->Awaits("state cns-pin", "3 tentativi rimasti"));
        QVERIFY(m_person->Offered().contains("Cambiare il PIN di firma"));
    }

    void CanBeReadOut()
    {
        QCOMPARE(m_person->Find<QLabel>("state cns-pin")->accessibleName(),
                 "CNS PIN: 3 tries are left");
        m_person->Press("1 cns-pin");
        m_person->Type("presented", "123");
        auto* const pField = QAccessible::queryAccessibleInterface(
            m_person->Find<window::CSecretField>("presented"));
        QVERIFY(pField->state().passwordEdit);
        QCOMPARE(pField->text(QAccessible::Name), "CNS PIN");
        QCOMPARE(pField->text(QAccessible::Value), "●●●");
    }
};

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    window::CSecretField::MakeAccessible();
    CWindowTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "window_test.moc"
