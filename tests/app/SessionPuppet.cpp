// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/UpdateSession.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

/// \file
/// A whole session with a user built in: every dialog is written down, a line each, in the file
/// that PUPPET_RECORD names, and answered with the next word of PUPPET_ANSWERS (the name of a
/// button to click, or of a key: "Escape", "Return"; Escape when there are no more). The base URL
/// and the description's name come from PUPPET_BASE_URL and PUPPET_DESCRIPTION.

namespace {

constexpr int LookMs = 2;

QString Describe(const QDialog &dialog)
{
    QStringList parts{QString::fromLatin1(dialog.metaObject()->className())};
    const QList<QWidget *> children = dialog.findChildren<QWidget *>();
    for (const QWidget *child : children) {
        const auto *label = qobject_cast<const QLabel *>(child);
        const auto *button = qobject_cast<const QPushButton *>(child);
        if (label) {
            parts.append(label->objectName() + QLatin1Char('=') + label->text());
        } else if (button && button->isVisible()) {
            parts.append(QLatin1Char('[') + button->text() + QLatin1Char(']'));
        }
    }
    return parts.join(QLatin1Char('|'));
}

class User : public QObject {
public:
    explicit User(QObject *parent)
        : QObject(parent),
          m_answers(QString::fromUtf8(qgetenv("PUPPET_ANSWERS")).split(QLatin1Char(' ')))
    {
        m_look.callOnTimeout(this, [this] { look(); });
        m_look.start(LookMs);
    }

private:
    void look()
    {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible()) {
            return;
        }
        QFile record(QString::fromUtf8(qgetenv("PUPPET_RECORD")));
        if (record.open(QIODevice::Append)) {
            record.write(Describe(*dialog).toUtf8() + '\n');
        }
        const QString answer = m_answers.isEmpty() ? QString() : m_answers.takeFirst();
        auto *button = answer.isEmpty() ? nullptr : dialog->findChild<QPushButton *>(answer);
        if (button) {
            QTest::mouseClick(button, Qt::LeftButton);
        } else {
            QTest::keyClick(dialog,
                            answer == QLatin1String("Return") ? Qt::Key_Return : Qt::Key_Escape);
        }
    }

    QStringList m_answers;
    QTimer m_look;
};

void SitDown()
{
    new User(QCoreApplication::instance());
}
Q_COREAPP_STARTUP_FUNCTION(SitDown)

} // namespace

int main(int argc, char *argv[])
{
    return RunUpdateSession(argc, argv, QString::fromUtf8(qgetenv("PUPPET_BASE_URL")),
                            QString::fromUtf8(qgetenv("PUPPET_DESCRIPTION")));
}
