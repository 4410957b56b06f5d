// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/QtDefaults.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTextStream>

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QTextCodec>
#endif

void EnableHighDpi()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED // by Qt 6, where the attributes have no effect
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);
    QT_WARNING_POP
}

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)

void UseUtf8(QTextStream &stream)
{
    stream.setCodec("UTF-8");
}

void UseUtf8(QSettings &settings)
{
    settings.setIniCodec("UTF-8");
}

void UseUtf8FileNames()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

#else

void UseUtf8(QTextStream &) {}

void UseUtf8(QSettings &) {}

void UseUtf8FileNames() {}

#endif
