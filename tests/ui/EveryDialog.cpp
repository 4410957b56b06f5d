// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "EveryDialog.h"

#include "ui/UpdateError.h"
#include "ui/UpdateNotice.h"
#include "ui/UpdateProgress.h"

#include <QHostAddress>
#include <QTest>

QStringList EveryDialog::names()
{
    return {QStringLiteral("notice"), QStringLiteral("progress"), QStringLiteral("error")};
}

void EveryDialog::addRows()
{
    QTest::addColumn<QString>("name");
    const QStringList all = names();
    for (const QString &name : all) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

EveryDialog::~EveryDialog()
{
    if (m_worker) {
        m_worker->quit();
        m_worker->wait();
    }
}

std::unique_ptr<QDialog> EveryDialog::make(const QString &name)
{
    if (name == QLatin1String("notice")) {
        auto notice = std::make_unique<CUpdateNotice>(false);
        notice->setUpdateVersion(QStringLiteral("3.10.25"));
        return notice;
    }
    if (name == QLatin1String("error")) {
        auto error = std::make_unique<CUpdateError>();
        error->setUrl(QStringLiteral("http://127.0.0.1/"));
        error->setError(QString::fromUtf8("更新失败"), QString::fromUtf8("网络错误：10012"), true);
        return error;
    }
    if (name == QLatin1String("progress")) {
        return makeProgress();
    }
    qFatal("EveryDialog::make() does not know the dialog \"%s\".", qPrintable(name));
    return nullptr;
}

std::unique_ptr<QDialog> EveryDialog::makeProgress()
{
    m_server.listen(QHostAddress::LocalHost);
    m_worker.emplace(QStringLiteral("http://127.0.0.1:%1/").arg(m_server.serverPort()),
                     QDir(m_folder.path()), QDir(m_folder.path()),
                     QList<tagDownloadFileInfo>{{QStringLiteral("a"), 1, 0, QByteArray(32, '0')}});
    return std::make_unique<CUpdateProgress>(*m_worker);
}
