// SPDX-License-Identifier: Apache-2.0
//
// Takes the pictures of the documents from a real run over the in-process card:
//
//     pindesk-window-pictures DIRECTORY LANGUAGE

#include "tests/window/person.h"
#include "tools/virtualcard/inprocess/control.h"
#include "tools/window/words.h"

#include <QApplication>

#include <iostream>
#include <stdexcept>

namespace {

void Must(bool bDone, const char* szStep)
{
    if (!bDone) {
        throw std::runtime_error(szStep);
    }
}

class CAlbum {
public:
    CAlbum(QString strDirectory, QString strLanguage)
        : m_strPath(std::move(strDirectory) + "/%1-" + std::move(strLanguage) + ".png")
    {
    }

    /// The window with whatever dialog is open in front of it.
    void Take(CPerson& person, const char* szName)
    {
        QTest::qWait(100); // until all is laid out
        QPixmap picture = person.Window().grab();
        if (QWidget* const pDialog = person.Dialog(); pDialog != nullptr) {
            pDialog->adjustSize();
            QTest::qWait(100);
            picture = pDialog->grab();
        }
        Must(picture.save(m_strPath.arg(szName), "PNG", 0), szName); // as small as it can be
    }

private:
    QString m_strPath;
};

void Run(CAlbum& album)
{
    vcard_restart();
    CPerson person;
    Must(person.Awaits("state cns-pin", "3"), "card");
    album.Take(person, "card");
    person.Press("1 cns-pin");
    for (const char* const szLeft : {"2", "1"}) {
        person.Type("presented", "11111111");
        Must(person.EndsWith(szLeft), "a wrong PIN");
        album.Take(person, "wrong");
        person.Press("back");
    }
    person.Type("presented", "11111111");
    QTest::keyClick(person.Find<QWidget>("last try"), Qt::Key_Space);
    album.Take(person, "last-try");
    Must(person.EndsWith("PIN"), "blocked");
    Must(person.Closes() && person.Awaits("state cns-pin", "bloc"), "blocked");
    album.Take(person, "blocked");
    person.Press("3 cns-pin");
    person.Type("presented", "87654321");
    person.Type("fresh", "44556677");
    person.Type("again", "44556677");
    Must(person.EndsWith("PIN"), "unblocked");
    album.Take(person, "unblocked");
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const QStringList given = QApplication::arguments();
    window::SetLanguage(given.value(2).toStdString());
    CAlbum album(given.value(1), given.value(2));
    try {
        Run(album);
    } catch (const std::exception& missed) {
        std::cerr << "pictures: " << missed.what() << '\n';
        return 1;
    }
    return 0;
}
