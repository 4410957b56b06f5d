// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/Rehearsal.h"

#include "tests/inplace/Samples.h"

#include <QProcess>

namespace {

const QString FormerName = QStringLiteral(".Sample.app#previous");

void Shell(const QString &command, const QStringList &arguments)
{
    const int code = QProcess::execute(
        QStringLiteral("/bin/sh"),
        QStringList{QStringLiteral("-ec"), command, QStringLiteral("sh")} + arguments);
    if (code != 0) {
        qFatal("%s: %d", qPrintable(command), code);
    }
}

TestRelease EditionFor(Rehearsal::Scene scene, int edition, int entries)
{
    TestRelease release = ManyKinds(edition, entries);
    if (scene == Rehearsal::Scene::PlainFolder) {
        release.application.clear();
        // What makes a bundle of a folder; links lead to it.
        release.tree.insert(QStringLiteral("Contents/Info.plist"), Folder());
    }
    return release;
}

} // namespace

QStringList AllChanges()
{
    return {QStringLiteral("open"),   QStringLiteral("write"), QStringLiteral("sync"),
            QStringLiteral("rename"), QStringLiteral("link"),  QStringLiteral("symlink"),
            QStringLiteral("mkdir"),  QStringLiteral("chmod"), QStringLiteral("chown"),
            QStringLiteral("unlink")};
}

Rehearsal::Rehearsal(int entries, Scene scene)
    : former(EditionFor(scene, 2, entries)), release(EditionFor(scene, 3, entries)),
      stage(std::make_unique<InplaceStage>())
{
    if (scene == Scene::TwoVolumes) {
        m_apart = std::make_unique<QTemporaryDir>();
        stage->staging = m_apart->filePath(QStringLiteral("staging"));
    }
    stage->lay(EditionFor(scene, 1, entries));
    stage->publish(former);
    if (stage->run() != QLatin1String("updated")) {
        qFatal("%s", stage->program().errors().constData());
    }
    stage->publish(release);
    m_master = stage->temporary.filePath(QStringLiteral("master"));
    Shell(QStringLiteral("mkdir \"$1\"; cp -a \"$2\" \"$1/around\"; cp -a \"$3\" \"$1/staging\""),
          {m_master, stage->parent, stage->staging});
}

void Rehearsal::putBack() const
{
    Shell(QStringLiteral(
              "rm -rf \"$2\" \"$3\"; cp -a \"$1/around\" \"$2\"; cp -a \"$1/staging\" \"$3\""),
          {m_master, stage->parent, stage->staging});
}

Rehearsal::State Rehearsal::state() const
{
    const bool isNew = stage->differences(release).isEmpty();
    return {isNew, isNew ? QString() : stage->differences(former)};
}

QString Rehearsal::mend(bool wasNew) const
{
    const QString code = stage->run();
    if (code != QLatin1String("updated") && !(wasNew && code == QLatin1String("up-to-date"))) {
        return QString::fromUtf8(stage->program().errors());
    }
    const QString previous = stage->parent + QLatin1Char('/') + FormerName;
    QString wrong = stage->differences(release);
    if (wrong.isEmpty() && stage->leftovers() != QStringList(FormerName)) {
        wrong = QStringLiteral("beside it: ") + stage->leftovers().join(QLatin1Char(' '));
    }
    return wrong.isEmpty()
               ? Differences(WithoutManifest(ReadNodes(previous)), WithFolders(former.tree))
               : wrong;
}
