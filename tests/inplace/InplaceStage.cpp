// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"

#include "app/FileNames.h"
#include "inplace/Layout.h"

InplaceStage::InplaceStage(const QString &name, const QString &place)
    : temporary((place.isEmpty() ? QDir::tempPath() : place) + QStringLiteral("/updater-XXXXXX")),
      parent(temporary.filePath(QStringLiteral("around"))),
      install(parent + QLatin1Char('/') + name),
      staging(temporary.filePath(QStringLiteral("staging")))
{
    if (!temporary.isValid() || !QDir().mkpath(install)) {
        qFatal("The folders cannot be made.");
    }
}

TestRelease InplaceStage::oldRelease()
{
    TestRelease release;
    release.version = 1000000;
    release.versionString = QStringLiteral("1.0.0");
    release.tree = {{QStringLiteral("same"), File("the same")},
                    {QStringLiteral("d/changed"), File("old content")},
                    {QStringLiteral("d/program"), File("#!/bin/sh\necho old\n", 0755)},
                    {QStringLiteral("dropped"), File("of the old release only")},
                    {QStringLiteral("gone/deep/file"), File("of the old release only")},
                    {QStringLiteral("link"), Link("same")},
                    {QStringLiteral("droppedLink"), Link("d")},
                    {QStringLiteral("empty"), Folder()},
                    {QStringLiteral("z"), File("old z")}};
    return release;
}

TestRelease InplaceStage::newRelease()
{
    TestRelease release;
    release.tree = {{QStringLiteral("same"), File("the same")},
                    {QStringLiteral("d/changed"), File("new content, which is longer")},
                    {QStringLiteral("d/program"), File("#!/bin/sh\necho new\n", 0755)},
                    {QStringLiteral("new/deep/added"), File("added", 0600)},
                    {QStringLiteral("link"), Link("d/changed")},
                    {QStringLiteral("newLink"), Link("new/deep")},
                    {QStringLiteral("empty/not any more"), File("")},
                    {QStringLiteral("hollow"), Folder(0700)},
                    {QStringLiteral("z"), File("new z")}};
    return release;
}

void InplaceStage::lay(const TestRelease &release)
{
    LayNodes(install, release.tree);
    const bool isBundle = IsBundle(install);
    WriteFile((isBundle ? staging : install) + QLatin1Char('/') + LOCAL_MD5_FILENAME,
              ManifestContent(release.manifest()));
}

void InplaceStage::publish(const TestRelease &release)
{
    serve(ServeFiles(release.published()));
}

void InplaceStage::serve(const ScriptedServer::Handler &handler)
{
    m_server = std::make_unique<ScriptedServer>(handler);
    m_url = m_server->url(QString());
}

void InplaceStage::stopServing()
{
    m_server.reset();
}

QStringList InplaceStage::requested() const
{
    QStringList paths;
    for (const QByteArray &request : m_server->requests()) {
        paths << RequestedPath(request);
    }
    return paths;
}

QStringList InplaceStage::arguments(const QStringList &more) const
{
    return QStringList{QStringLiteral("--base-url"), m_url,   QStringLiteral("--install"), install,
                       QStringLiteral("--staging"),  staging, QStringLiteral("--console")} +
           more;
}

QString InplaceStage::run(const QStringList &more)
{
    m_program = std::make_unique<InplaceProgram>(arguments(more));
    (void)m_program->run(); // a run that does not end has no code
    return m_program->code();
}

QString InplaceStage::differences(const TestRelease &release, const Tree &users) const
{
    Tree wanted = WithFolders(release.tree);
    for (auto node = users.cbegin(); node != users.cend(); ++node) {
        wanted.insert(node.key(), node.value());
    }
    return Differences(WithoutManifest(installed()), wanted);
}

QStringList InplaceStage::leftovers() const
{
    QStringList names = QDir(parent).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                               QDir::NoDotAndDotDot);
    names.removeAll(QFileInfo(install).fileName());
    return names;
}
