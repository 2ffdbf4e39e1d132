// SPDX-License-Identifier: Apache-2.0
//
// The window over the in-process card, used by keys and clicks.

#include "tests/window/person.h"
#include "tools/virtualcard/inprocess/control.h"
#include "tools/window/triesdots.h"
#include "tools/window/words.h"

#include <QAccessible>
#include <QCheckBox>
#include <QLineEdit>
#include <QMenuBar>

#include <winscard.h>

namespace {

class CEnvironment {
public:
    CEnvironment(const char* szName, const QByteArray& value) : m_szName(szName)
    {
        qputenv(szName, value);
    }
    ~CEnvironment() { qunsetenv(m_szName); }
    CEnvironment(const CEnvironment&) = delete;
    CEnvironment& operator=(const CEnvironment&) = delete;

private:
    const char* m_szName;
};

/// Plays an event; beside those of the card, that its reader is no longer there.
void Happens(const char* szEvent)
{
    if (std::string_view(szEvent) == "unplugged") {
        const CEnvironment none("PINDESK_VCARD_READER", "");
        vcard_restart();
        SCARDCONTEXT hContext = 0; // reads the environment
        SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &hContext);
        SCardReleaseContext(hContext);
        return;
    }
    QCOMPARE(vcard_play(szEvent), 0);
}

/// Another program in the middle of its work with the card.
class COtherProgram {
public:
    COtherProgram()
    {
        SCARDHANDLE hCard = 0;
        DWORD dwProtocol = 0;
        SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &m_hContext);
        SCardConnect(m_hContext, "PinDesk Virtual Reader 00 00", SCARD_SHARE_SHARED,
                     SCARD_PROTOCOL_T1, &hCard, &dwProtocol);
        SCardBeginTransaction(hCard);
    }
    ~COtherProgram() { SCardReleaseContext(m_hContext); }
    COtherProgram(const COtherProgram&) = delete;
    COtherProgram& operator=(const COtherProgram&) = delete;

private:
    SCARDCONTEXT m_hContext = 0;
};

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
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("text");
        QTest::newRow("pulled") << "message"
                                << "Insert a card";
        QTest::newRow("swapped") << "serial"
                                 << "6200000000000999";
        QTest::newRow("unplugged") << "message"
                                   << "Connect a card reader";
        QTest::newRow("killed") << "message"
                                << "PC/SC service";
        QTest::newRow("restarted") << "state cns-pin"
                                   << "3 tries";
    }

    void FollowsWhatHappens()
    {
        QFETCH(QString, label);
        QFETCH(QString, text);
        m_person->Press("2 cns-pin");
        m_person->Type("presented", "12345678");
        Happens(QTest::currentDataTag());
        QVERIFY(m_person->Awaits("verdict", "Nothing was sent")); // a form ends with its card
        QVERIFY(m_person->Awaits(label.toUtf8(), text));
        QCOMPARE(m_person->Offered().isEmpty(), label == "message");
        vcard_restart();
        QVERIFY(m_person->Awaits("serial", "6200000000000001"));
        QVERIFY(m_person->Awaits("state cns-pin", "3 tries"));
    }

    void KnowsWhatALostAnswerWas_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QByteArray>("button");
        QTest::addColumn<QString>("verdict");
        QTest::addColumn<QString>("state");
        QTest::newRow("of a wrong value")
            << QByteArray("25:removed-after") << QByteArray("1 cns-pin") << "2 tries are left"
            << "2 tries are left";
        QTest::newRow("of a change")
            << QByteArray("26:removed-after") << QByteArray("2 cns-pin") << "has its new value"
            << "3 tries are left";
    }

    void KnowsWhatALostAnswerWas()
    {
        QFETCH(QByteArray, fault); // at what is sent after a look, of 19 exchanges
        QFETCH(QByteArray, button);
        QFETCH(QString, verdict);
        QFETCH(QString, state);
        const CEnvironment variable("PINDESK_VCARD_FAULT", fault);
        vcard_restart();
        QVERIFY(QTest::qWaitFor([&] { return m_person->Text("state cns-pin").isEmpty(); }));
        QVERIFY(m_person->Awaits("state cns-pin", "3 tries"));
        m_person->Press(button);
        m_person->Type("presented", button[0] == '1' ? "11111111" : "12345678");
        if (button[0] == '2') {
            m_person->Type("fresh", "44556677");
            m_person->Type("again", "44556677");
        }
        QVERIFY(m_person->EndsWith(verdict));
        QVERIFY(!m_person->Find<QPushButton>("back")->isVisible()); // it was put in again
        QVERIFY(m_person->Closes());
        QVERIFY(m_person->Awaits("state cns-pin", state));
    }

    void WaitsForAnotherProgram()
    {
        auto other = std::make_unique<COtherProgram>();
        m_person->Press("1 cns-pin");
        m_person->Type("presented", "12345678");
        QTest::keyClick(m_person->Dialog(), Qt::Key_Return);
        QVERIFY(m_person->Awaits("waiting", "another program"));
        QTest::keyClick(m_person->Dialog(), Qt::Key_Escape); // does not wait any longer
        QVERIFY(m_person->Awaits("verdict", "Nothing was sent"));
        QVERIFY(m_person->Closes());

        QVERIFY(m_person->Awaits("message", "another program")); // it was looked at again
        other.reset();
        QVERIFY(m_person->Awaits("state cns-pin", "3 tries"));
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

    void CanBeUsedByKeysAlone()
    {
        const auto inFocus = [] { return QApplication::focusWidget(); };
        const auto isAtButton = [&] {
            return inFocus() != nullptr && inFocus()->objectName() == "1 cns-pin";
        };
        QApplication::setActiveWindow(&m_person->Window());
        for (int i = 0; i < 20 && !isAtButton(); ++i) {
            QTest::keyClick(inFocus() == nullptr ? &m_person->Window() : inFocus(), Qt::Key_Tab);
        }
        QVERIFY(isAtButton());
        QTest::keyClick(inFocus(), Qt::Key_Space);
        QVERIFY(QTest::qWaitFor([&] { return m_person->Dialog() != nullptr; }));
        QApplication::setActiveWindow(m_person->Dialog());
        QTest::keyClicks(inFocus(), "12345678");
        QTest::keyClick(inFocus(), Qt::Key_Return);
        QVERIFY(m_person->Awaits("verdict", "is right"));
        QTest::keyClick(inFocus(), Qt::Key_Return);
        QVERIFY(QTest::qWaitFor([&] { return m_person->Dialog() == nullptr; }));
        QApplication::setActiveWindow(&m_person->Window());
        QVERIFY(QTest::qWaitFor(isAtButton)); // as before, of the view that was made anew
    }

    void CanBeReadOut()
    {
        QCOMPARE(m_person->Window().findChild<window::CTriesDots*>()->accessibleName(),
                 "3 tries are left");
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
    qputenv("PINDESK_VCARD_ABSENCE", "400"); // ms
    const QApplication application(argc, argv);
    window::CSecretField::MakeAccessible();
    CWindowTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "window_test.moc"
