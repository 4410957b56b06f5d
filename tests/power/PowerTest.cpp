// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/PowerTest.h"

#include "tests/power/Neighbour.h"
#include "tests/power/PowerCuts.h"
#include "tests/power/RecordedDisks.h"
#include "tests/support/OwnNamespaces.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <cstdio>
#include <sys/mount.h>
#include <unistd.h>

namespace {

constexpr int ImagesPerPlay = 250;
constexpr int FewImages = 8; // not worth a run of their own
constexpr int ManyImages = 100;
constexpr int AftermathMs = 1300; // of files, and of journals that are written every second
constexpr int FindingsToKeep = 5;

QString MemoryFolder()
{
    return QDir::tempPath() + QStringLiteral("/power");
}

/// Returns why a loop device on a FUSE file, with this file system, is not available, or empty
/// text.
QString MissingReason(const FileSystem &fileSystem)
{
    for (const char *device : {"/dev/fuse", "/dev/loop-control"}) {
        if (::access(device, R_OK | W_OK) != 0) {
            return QStringLiteral("%1: %2").arg(QLatin1String(device), qt_error_string(errno));
        }
    }
    const QString image = MemoryFolder() + QStringLiteral("/probe");
    QString reason = Format(fileSystem, image);
    if (reason.isEmpty()) {
        const QString top = image + QStringLiteral("-top");
        (void)QDir().mkpath(top); // if this fails, so does the mount
        reason = LoopMount(image, top, fileSystem.name, fileSystem.afterwards).reason();
    }
    (void)QFile::remove(image);
    return reason;
}

/// Mounts a disk after the power is back, as a machine does at boot.
std::unique_ptr<LoopMount> MountAgain(const QString &image, const FileSystem &fileSystem,
                                      PowerTally &tally)
{
    const QString top = image + QStringLiteral("-top");
    (void)QDir().mkpath(top); // if this fails, so does the mount
    const auto mount = [&] {
        return std::make_unique<LoopMount>(image, top, fileSystem.name, fileSystem.afterwards);
    };
    auto mounted = mount();
    if (!mounted->reason().isEmpty() && Repair(fileSystem, image)) {
        ++tally.repaired;
        mounted = mount();
    }
    return mounted;
}

/// Mounts the disks of one cut and judges them.
QString Judged(const PowerScene &scene, const PowerCut &cut, const QStringList &images,
               const FileSystem &fileSystem, PowerTally &tally)
{
    std::vector<std::unique_ptr<LoopMount>> mounts;
    QStringList tops;
    for (const QString &image : images) {
        mounts.push_back(MountAgain(image, fileSystem, tally));
        const QString reason = mounts.back()->reason();
        // With all copies of its first block torn, a file system is lost, whatever was on it.
        if (!reason.isEmpty() && !cut.flushed) {
            ++tally.gone;
            --tally.images;
            return {};
        }
        if (!reason.isEmpty()) {
            return reason;
        }
        tops << mounts.back()->folder();
    }
    QString finding = scene.judge(tops, cut.marks > 1);
    for (const auto &mount : mounts) {
        const QString reason = mount->unmount();
        finding = finding.isEmpty() ? reason : finding;
    }
    return finding;
}

QString Told(const PowerCut &cut, const QString &finding)
{
    return finding.isEmpty() ? finding
                             : QStringLiteral("after event %1%2, seed %3, %4: %5")
                                   .arg(QString::number(cut.after),
                                        cut.flushed ? QStringLiteral(" (flush)") : QString(),
                                        QString::number(cut.seed),
                                        cut.marks > 1 ? QStringLiteral("after success")
                                                      : QStringLiteral("in the midst"),
                                        finding);
}

void Play(const PowerScene &scene, RecordedDisks &disks, bool neighbour)
{
    QStringList tops;
    for (int disk = 0; disk < disks.count(); ++disk) {
        tops << disks.top(disk);
    }
    scene.prepare(tops);
    {
        const auto other = neighbour ? std::make_unique<Neighbour>(tops.first()) : nullptr;
        disks.sync();
        disks.mark();
        scene.act(tops);
        disks.mark();
        QThread::msleep(AftermathMs);
    }
    disks.stop();
}

} // namespace

void PowerTally::add(const QString &finding)
{
    ++images;
    if (finding.isEmpty()) {
        return;
    }
    ++losses;
    if (findings.size() < FindingsToKeep) {
        findings << finding;
    }
}

bool PowerTally::isClean() const
{
    constexpr int OftenEnough = 50;
    return losses == 0 && gone * OftenEnough <= images;
}

QString PowerTally::text() const
{
    return QStringLiteral("%1 images (%2 repaired first, %3 more gone), %4 losses")
               .arg(QString::number(images), QString::number(repaired), QString::number(gone),
                    QString::number(losses)) +
           (findings.isEmpty() ? QString() : QStringLiteral("\n  ")) +
           findings.join(QStringLiteral("\n  "));
}

FileSystem ChosenFileSystem()
{
    return FileSystemNamed(qEnvironmentVariable("UPDATER_FILE_SYSTEM", QStringLiteral("ext4")));
}

int ChosenImages(int otherwise)
{
    bool given = false;
    const int images = qEnvironmentVariableIntValue("UPDATER_IMAGES", &given);
    return given ? images : otherwise;
}

void AddLibrariesWithoutSyncs(bool ofFolders)
{
    QTest::addColumn<QString>("preloaded");
    QTest::newRow("without syncs") << NO_SYNC;
    const bool hasMany = ChosenImages(0) >= ManyImages;
    if (hasMany) {
        QTest::newRow("without syncs of files") << NO_FILE_SYNC;
    }
    if (hasMany && ofFolders) {
        QTest::newRow("without syncs of folders") << NO_FOLDER_SYNC;
    }
}

void EnterPowerTest(QString &reason)
{
    const bool isRoot = ::geteuid() == 0;
    if (!isRoot || !EnterOwnNamespaces(OwnMounts | OwnNetwork | OwnIpc)) {
        reason = QStringLiteral("not root, or no private namespaces");
    } else if (!QDir().mkpath(MemoryFolder()) ||
               ::mount("none", QFile::encodeName(MemoryFolder()).constData(), "tmpfs", 0,
                       "mode=0700") != 0) {
        reason = QStringLiteral("no folder in memory");
    } else {
        reason = MissingReason(ChosenFileSystem());
    }
    if (!reason.isEmpty()) {
        reason = QStringLiteral("no recorded disks here: ") + reason;
    }
}

PowerTally CutPower(const QString &name, int images,
                    const std::function<PowerScene(int play)> &scene)
{
    const FileSystem fileSystem = ChosenFileSystem();
    const quint32 seed = qEnvironmentVariableIsSet("UPDATER_SEED")
                             ? qEnvironmentVariable("UPDATER_SEED").toUInt()
                             : QRandomGenerator::global()->generate();
    QElapsedTimer timer;
    timer.start();
    PowerTally tally;
    int built = 0;
    for (int play = 0; built < images; ++play) {
        const QTemporaryDir folder(MemoryFolder() + QStringLiteral("/play-XXXXXX"));
        const PowerScene now = scene(play);
        RecordedDisks disks(folder.path(), fileSystem, now.disks);
        Play(now, disks, play % 2 == 1);
        PowerCuts cuts(disks);
        const int part = qMin(images - built, qBound(FewImages, (images + 1) / 2, ImagesPerPlay));
        built += part;
        cuts.build(cuts.choose(part, seed + static_cast<quint32>(play)),
                   [&](const PowerCut &cut, const QStringList &states) {
                       tally.add(Told(cut, Judged(now, cut, states, fileSystem, tally)));
                   });
    }
    std::printf("%s on %s, seed %u: %s; %lld s\n", qPrintable(name), qPrintable(fileSystem.name),
                seed, qPrintable(tally.text()), static_cast<long long>(timer.elapsed() / 1000));
    std::fflush(stdout);
    return tally;
}
