// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/LoopMount.h"

#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

constexpr int Tries = 200; // another test may take the device, or still hold it
constexpr int PauseMs = 10;

QString Failure(const char *what)
{
    return QStringLiteral("%1: %2").arg(QLatin1String(what), qt_error_string(errno));
}

class Descriptor {
public:
    Descriptor(const QByteArray &path, int flags) : m_value(::open(path.constData(), flags)) {}
    ~Descriptor() { (void)::close(m_value); }
    Q_DISABLE_COPY(Descriptor)
    operator int() const { return m_value; } // NOLINT(google-explicit-constructor)

private:
    const int m_value;
};

/// Attaches \a image to the device, which detaches itself after its last user. False if it is
/// taken.
bool Tie(int device, int image)
{
    loop_config configuration{};
    configuration.fd = static_cast<__u32>(image);
    configuration.info.lo_flags = LO_FLAGS_AUTOCLEAR;
    return ::ioctl(device, LOOP_CONFIGURE, &configuration) == 0;
}

} // namespace

LoopMount::LoopMount(const QString &image, const QString &folder, const QString &fileSystem,
                     const QByteArray &options)
    : m_folder(folder), m_isBtrfs(fileSystem == QLatin1String("btrfs"))
{
    const Descriptor control("/dev/loop-control", O_RDWR | O_CLOEXEC);
    const Descriptor file(QFile::encodeName(image), O_RDWR | O_CLOEXEC);
    if (control < 0 || file < 0) {
        m_reason = Failure("no loop devices");
        return;
    }
    for (int i = 0; i < Tries; ++i) {
        m_device = QStringLiteral("/dev/loop%1").arg(::ioctl(control, LOOP_CTL_GET_FREE));
        const QByteArray path = m_device.toLatin1();
        const Descriptor device(path, O_RDWR | O_CLOEXEC);
        if (device < 0 || !Tie(device, file)) {
            m_reason = Failure("no free loop device");
            QThread::msleep(PauseMs);
            continue;
        }
        m_mounted =
            ::mount(path.constData(), QFile::encodeName(folder).constData(),
                    fileSystem.toLatin1().constData(), MS_NOATIME, options.constData()) == 0;
        m_reason = m_mounted ? QString() : Failure("mount");
        break;
    }
}

LoopMount::~LoopMount()
{
    if (m_mounted && !unmount().isEmpty()) {
        (void)::umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
    }
    forget();
}

void LoopMount::sync() const
{
    const Descriptor top(QFile::encodeName(m_folder), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (::syncfs(top) != 0) {
        qFatal("%s", qPrintable(Failure("syncfs")));
    }
}

QString LoopMount::unmount()
{
    for (int i = 0; i < Tries && m_mounted; ++i) {
        m_mounted = ::umount2(QFile::encodeName(m_folder).constData(), 0) != 0;
        if (m_mounted) {
            QThread::msleep(PauseMs); // a program that was started may still be ending
        }
    }
    return m_mounted ? Failure("unmount") : QString();
}

/// The system remembers which btrfs it has seen on which device, and would take the next state of
/// the same disk for an outdated copy.
void LoopMount::forget() const
{
    if (!m_isBtrfs) {
        return;
    }
    const Descriptor control("/dev/btrfs-control", O_RDWR | O_CLOEXEC);
    btrfs_ioctl_vol_args device{};
    std::strncpy(device.name, m_device.toLatin1().constData(), sizeof device.name - 1);
    (void)::ioctl(control, BTRFS_IOC_FORGET_DEV, &device); // may be forgotten already
}
