// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "OwnHome.h"

#include <QDir>
#include <QFile>

OwnHome::OwnHome()
{
    const QDir home(m_folder.path());
    m_valid = m_folder.isValid() && home.mkpath(QStringLiteral(".config/fontconfig")) &&
              home.mkdir(QStringLiteral("run")) &&
              QFile::copy(QStringLiteral(":/gallery/fonts.conf"),
                          home.filePath(QStringLiteral(".config/fontconfig/fonts.conf"))) &&
              QFile::setPermissions(home.filePath(QStringLiteral("run")),
                                    QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral(".config"))));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(home.filePath(QStringLiteral("run"))));
}
