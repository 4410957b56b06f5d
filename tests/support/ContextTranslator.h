// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QTranslator>

/// "Translates" a text by putting its context before it: "[context]text". Needs the application
/// object.
class ContextTranslator : public QTranslator {
public:
    /// Installs itself; the destructor removes it.
    explicit ContextTranslator(QObject *parent = nullptr) : QTranslator(parent)
    {
        QCoreApplication::installTranslator(this);
    }
    ~ContextTranslator() override { QCoreApplication::removeTranslator(this); }
    Q_DISABLE_COPY_MOVE(ContextTranslator)

    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        return QLatin1Char('[') + QString::fromUtf8(context) + QLatin1Char(']') +
               QString::fromUtf8(text);
    }
};
