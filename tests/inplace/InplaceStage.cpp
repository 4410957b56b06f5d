// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"

#include "ui/UpdateProgress.h"

#include <QApplication>
#include <QTimer>

namespace {

void PutOld(FileMap &files, const QString &path)
{
    files.insert(path + QStringLiteral(".old"), InplaceStage::oldRelease().value(path));
}

} // namespace

FileMap InplaceStage::oldRelease()
{
    return {{QStringLiteral("same"), "the same"},
            {QStringLiteral("d/changed"), "old content"},
            {QStringLiteral("dropped"), "of the old release only"},
            {QStringLiteral("z"), "old z"}};
}

FileMap InplaceStage::newRelease()
{
    return {{QStringLiteral("same"), "the same"},
            {QStringLiteral("d/changed"), "new content, which is longer"},
            {QStringLiteral("new/deep/added"), "added"},
            {QStringLiteral("z"), "new z"}};
}

FileMap InplaceStage::updated()
{
    FileMap files = newRelease();
    files.insert(QStringLiteral("dropped"), oldRelease().value(QStringLiteral("dropped")));
    files.insert(QStringLiteral("update_md5.info"), ManifestOf(newRelease()));
    PutOld(files, QStringLiteral("d/changed"));
    PutOld(files, QStringLiteral("z"));
    return files;
}

InplaceStage::InplaceStage()
{
    const FileMap old = oldRelease();
    for (auto file = old.cbegin(); file != old.cend(); ++file) {
        WriteFile(installPath(file.key()), file.value());
    }
    WriteFile(installPath(QStringLiteral("update_md5.info")), ManifestOf(old));
    publish(newRelease());
}

void InplaceStage::publish(const FileMap &files)
{
    serve(ServeFiles(Published(files)));
}

void InplaceStage::serve(const ScriptedServer::Handler &handler)
{
    m_server = std::make_unique<ScriptedServer>(handler);
}

QStringList InplaceStage::requested() const
{
    QStringList paths;
    for (const QByteArray &request : m_server->requests()) {
        paths << RequestedPath(request).section(QLatin1String("/release/"), -1);
    }
    return paths;
}

UpdateOptions InplaceStage::options(bool console) const
{
    return {url(), folders.install.path(), folders.staging.path(), console};
}

Outcome InplaceStage::update(bool console, const std::function<void(CUpdateProgress &)> &meanwhile)
{
    const CUpdateProgress *seen = nullptr;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        const QWidgetList widgets = QApplication::topLevelWidgets();
        for (QWidget *widget : widgets) {
            auto *dialog = qobject_cast<CUpdateProgress *>(widget);
            if (!dialog || !dialog->isVisible()) {
                continue;
            }
            if (dialog != seen) {
                ++m_dialogs;
                seen = dialog;
            }
            if (meanwhile) {
                meanwhile(*dialog);
            }
        }
    });
    timer.start(0);
    return UpdateInPlace(options(console));
}
