// SPDX-License-Identifier: Apache-2.0
//
// pindesk-window: the card and its PINs for those who would rather look than type commands.

#include "tools/window/mainwindow.h"
#include "tools/window/words.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QLocale>

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QApplication::setApplicationName("pindesk-window");
    QApplication::setApplicationVersion(QString::fromUtf8(pindesk::version()));
    QGuiApplication::setDesktopFileName("it.velmar.pindesk.window");
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addVersionOption();
    parser.process(application);

    window::SetLanguage(QLocale::system().uiLanguages().value(0).toStdString());
    QApplication::setWindowIcon(QIcon::fromTheme("it.velmar.pindesk.window"));
    window::CSecretField::MakeAccessible();
    window::CMainWindow main;
    main.show();
    return QApplication::exec();
}
