// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/UpdateSession.h"
#include "tests/support/ContextTranslator.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QSslConfiguration>
#include <QTest>
#include <QTimer>

/// \file
/// A whole session with a built-in user: every dialog is recorded, one line each, in the file that
/// PUPPET_RECORD names, and answered with the next word of PUPPET_ANSWERS (the name of a button to
/// click, or of a key: "Escape", "Return"; Escape when there are no more). The base URL and the
/// description's name come from PUPPET_BASE_URL and PUPPET_DESCRIPTION. With PUPPET_TRANSLATE every
/// text that goes through translation gets its context in front. PUPPET_CA names a file of the
/// certificate authorities to trust. A warning is logged while the application object ends.

namespace {

constexpr int LookMs = 2;

bool IsHighDpiEnabled()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED // by Qt 6, where the attributes have no effect
    const bool scaling = QCoreApplication::testAttribute(Qt::AA_EnableHighDpiScaling);
    const bool pixmaps = QCoreApplication::testAttribute(Qt::AA_UseHighDpiPixmaps);
    QT_WARNING_POP
    return scaling && pixmaps;
}

QString Describe(const QDialog &dialog)
{
    QStringList parts{QString::fromLatin1(dialog.metaObject()->className())};
    if (!IsHighDpiEnabled()) {
        parts.append(QStringLiteral("without high resolution"));
    }
    if (dialog.windowIcon().availableSizes() != QList<QSize>{QSize(256, 256)}) {
        parts.append(QStringLiteral("without icon"));
    }
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

void WarnAtTheEnd()
{
    qWarning("the application object ends");
}

void SitDown()
{
    QCoreApplication *application = QCoreApplication::instance();
    new User(application);
    if (qEnvironmentVariableIsSet("PUPPET_TRANSLATE")) {
        new ContextTranslator(application);
    }
    if (qEnvironmentVariableIsSet("PUPPET_CA")) {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates(
            QSslCertificate::fromPath(QString::fromUtf8(qgetenv("PUPPET_CA"))));
        QSslConfiguration::setDefaultConfiguration(configuration);
    }
    qAddPostRoutine(WarnAtTheEnd);
}
Q_COREAPP_STARTUP_FUNCTION(SitDown)

} // namespace

int main(int argc, char *argv[])
{
    return RunUpdateSession(argc, argv, QString::fromUtf8(qgetenv("PUPPET_BASE_URL")),
                            QString::fromUtf8(qgetenv("PUPPET_DESCRIPTION")));
}
