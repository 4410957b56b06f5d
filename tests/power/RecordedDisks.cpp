// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/RecordedDisks.h"

#include "tests/power/SparseFile.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <sys/mount.h>

namespace {

constexpr int PatienceMs = 10000;

void Expect(const QString &reason)
{
    if (!reason.isEmpty()) {
        qFatal("The recorded disks: %s.", qPrintable(reason));
    }
}

QString Numbered(const QString &text, int number)
{
    return text + QString::number(number);
}

} // namespace

RecordedDisks::RecordedDisks(const QString &folder, const FileSystem &fileSystem, int count)
    : m_folder(folder)
{
    const QString served = m_folder + QStringLiteral("/served");
    QStringList arguments{served, log()};
    (void)QDir().mkpath(served); // if this fails, so does serving it
    for (int disk = 0; disk < count; ++disk) {
        Expect(Format(fileSystem, blank(disk)));
        const QString image = Numbered(m_folder + QStringLiteral("/image"), disk);
        SparseFile(image, 0).assign(SparseFile(blank(disk)));
        arguments << image;
    }
    m_recorder.setProcessChannelMode(QProcess::ForwardedChannels);
    m_recorder.start(QStringLiteral(RECORDED_DISK), arguments);
    QElapsedTimer timer;
    timer.start();
    while (!QFileInfo::exists(served + QStringLiteral("/mark"))) {
        if (m_recorder.waitForFinished(5) || timer.elapsed() > PatienceMs) {
            Expect(QStringLiteral("recorded_disk does not serve them"));
        }
    }
    for (int disk = 0; disk < count; ++disk) {
        const QString top = Numbered(m_folder + QStringLiteral("/disk"), disk);
        (void)QDir().mkpath(top); // if this fails, so does the mount
        m_mounts.push_back(std::make_unique<LoopMount>(Numbered(served + QLatin1Char('/'), disk),
                                                       top, fileSystem.name, fileSystem.recording));
        Expect(m_mounts.back()->reason());
    }
}

RecordedDisks::~RecordedDisks()
{
    if (m_recorder.state() != QProcess::NotRunning) {
        stop();
    }
}

QString RecordedDisks::top(int disk) const
{
    return m_mounts.at(static_cast<std::size_t>(disk))->folder();
}

void RecordedDisks::sync() const
{
    for (const auto &disk : m_mounts) {
        disk->sync();
    }
}

void RecordedDisks::mark() const
{
    WriteFile(m_folder + QStringLiteral("/served/mark"), "x");
}

void RecordedDisks::stop()
{
    for (const auto &disk : m_mounts) {
        Expect(disk->unmount());
    }
    const QByteArray served = QFile::encodeName(m_folder + QStringLiteral("/served"));
    QElapsedTimer timer;
    timer.start();
    while (::umount2(served.constData(), 0) != 0 && timer.elapsed() < PatienceMs) {
        (void)m_recorder.waitForFinished(5); // the loop devices may still hold it
    }
    if (!m_recorder.waitForFinished(PatienceMs) || m_recorder.exitCode() != 0) {
        Expect(QStringLiteral("the record is not whole"));
    }
}

QString RecordedDisks::blank(int disk) const
{
    return Numbered(m_folder + QStringLiteral("/blank"), disk);
}
