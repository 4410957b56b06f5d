// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/Messages.h"

#include <QCoreApplication>

/// Prints one message of every kind. The exit code combines those that the messages return.
int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Say(QStringLiteral("said\nin two lines"));
    Warn(QStringLiteral("of\none line"));
    const int refused = Refuse({QStringLiteral("first\n"), QStringLiteral("second")});
    return 10 * refused + Complain(QStringLiteral("usage\nin two lines"));
}
