// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "MainWindow.h"
#include "SingleInstance.h"

#include <QApplication>
#include <QDebug>

// Kestrel [UPDATER no_check]: the updater passes these two arguments when it starts Kestrel again.

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    qInfo().noquote() << "Kestrel: started" << arguments.join(QLatin1Char(' '));
    SingleInstance instance;
    if (!instance.claim()) {
        return 0;
    }
    MainWindow window;
    QObject::connect(&instance, &SingleInstance::asked, &window, &MainWindow::comeToFront);
    window.show();
    // Without this the two would start each other forever.
    if (!arguments.contains(QLatin1String("no_check"))) {
        window.checkForUpdates(false);
    }
    return QApplication::exec();
}
