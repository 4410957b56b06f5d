// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/VolumeCalls.h"
#include "platform/ForkedMemory.h"
#include "release/FileCalls.h"
#include "tests/support/OrdinaryUser.h"

#include <QtTest>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

/// The contract of the system calls, tested for the files for Linux and for those for macOS.
class tst_SystemCalls : public QObject {
    Q_OBJECT

private slots:
    void init();

    void exchangeNames_folders_areExchanged();
    void exchangeNames_oneMissing_changesNothing();
    void isExchangeUnknown_errors_areToldApart_data();
    void isExchangeUnknown_errors_areToldApart();
    void cloneContent_file_isWholeOrUntouched();
    void isMountPoint_paths_areToldApart_data();
    void isMountPoint_paths_areToldApart();
    void sync_openEntry_succeeds_data();
    void sync_openEntry_succeeds();
    void sync_nothingOpen_isNoSuccess();
    void listAttributes_link_isNotFollowed();
    void openToRead_entries_areToldApart();
    void times_file_areItsOwn();
    void keepFromChildren_memory_isNotInherited_data();
    void keepFromChildren_memory_isNotInherited();
    void keepFromChildren_null_doesNothing();

private:
    QByteArray path(const char *name) const
    {
        return QFile::encodeName(m_folder->filePath(QLatin1String(name)));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

namespace {

/// Owns an open file or folder.
class Open {
public:
    explicit Open(const QByteArray &path, int flags = O_RDONLY)
        : m_number(::open(path.constData(), flags | O_CLOEXEC, 0600))
    {
    }
    ~Open() { (void)::close(m_number); }
    Q_DISABLE_COPY(Open)

    int number() const { return m_number; }
    off_t at() const { return ::lseek(m_number, 0, SEEK_CUR); }

private:
    int m_number;
};

void Write(const QByteArray &path, const QByteArray &content)
{
    QFile file(QFile::decodeName(path));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

QByteArray Read(const QByteArray &path)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Whether a child of this process can read the memory.
bool IsInherited(const void *memory)
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        return false;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        // The system reads, so that an unreadable address is an error and not a crash.
        ::_exit(::write(ends[1], memory, 1) == 1 ? 1 : 0);
    }
    int status = -1;
    (void)::waitpid(child, &status, 0);
    (void)::close(ends[0]);
    (void)::close(ends[1]);
    return !WIFEXITED(status) || WEXITSTATUS(status) != 0;
}

} // namespace

void tst_SystemCalls::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void tst_SystemCalls::exchangeNames_folders_areExchanged()
{
    for (const char *name : {"one", "other"}) {
        QVERIFY(QDir().mkdir(m_folder->filePath(QLatin1String(name))));
        Write(path(name) + "/file", name);
    }
    QVERIFY(ExchangeNames(path("one").constData(), path("other").constData()));
    QCOMPARE(Read(path("one/file")), QByteArray("other"));
    QCOMPARE(Read(path("other/file")), QByteArray("one"));
}

void tst_SystemCalls::exchangeNames_oneMissing_changesNothing()
{
    Write(path("one"), "one");
    QVERIFY(!ExchangeNames(path("one").constData(), path("other").constData()));
    QCOMPARE(errno, ENOENT);
    QCOMPARE(Read(path("one")), QByteArray("one"));
    QVERIFY(!QFile::exists(m_folder->filePath(QStringLiteral("other"))));
}

void tst_SystemCalls::isExchangeUnknown_errors_areToldApart_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("isUnknown");
    QTest::newRow("not supported") << ENOTSUP << true;
    QTest::newRow("invalid flag") << EINVAL << true;
    QTest::newRow("missing") << ENOENT << false;
    QTest::newRow("not allowed") << EACCES << false;
    QTest::newRow("not permitted") << EPERM << false;
    QTest::newRow("other volume") << EXDEV << false;
    QTest::newRow("disk error") << EIO << false;
    QTest::newRow("full disk") << ENOSPC << false;
}

void tst_SystemCalls::isExchangeUnknown_errors_areToldApart()
{
    QFETCH(int, error);
    QTEST(IsExchangeUnknown(error), "isUnknown");
}

void tst_SystemCalls::cloneContent_file_isWholeOrUntouched()
{
    const QByteArray content(100000, 'x');
    Write(path("from"), content);
    const Open from(path("from"));
    const Open to(path("to"), O_WRONLY | O_CREAT | O_EXCL);
    if (CloneContent(from.number(), to.number())) {
        QCOMPARE(Read(path("to")), content);
        return;
    }
    QCOMPARE(from.at(), 0);
    QCOMPARE(to.at(), 0);
    QCOMPARE(Read(path("to")), QByteArray());
}

void tst_SystemCalls::isMountPoint_paths_areToldApart_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("isMountPoint");
    QTest::newRow("mount point") << QByteArray("/proc") << true;
    QTest::newRow("folder in a volume") << QByteArray("/proc/sys/kernel") << false;
    QTest::newRow("another spelling") << QByteArray("/proc/../proc/.") << true;
    QTest::newRow("link to one") << QByteArray("link") << false;
    QTest::newRow("folder") << QByteArray("folder") << false;
    QTest::newRow("missing") << QByteArray("missing") << false;
}

void tst_SystemCalls::isMountPoint_paths_areToldApart()
{
    QFETCH(QByteArray, path);
    QCOMPARE(::symlink("/proc", this->path("link").constData()), 0);
    QVERIFY(QDir().mkdir(m_folder->filePath(QStringLiteral("folder"))));
    const QByteArray whole = path.startsWith('/') ? path : this->path(path.constData());
    QTEST(IsMountPoint(whole.constData()), "isMountPoint");
}

void tst_SystemCalls::sync_openEntry_succeeds_data()
{
    QTest::addColumn<bool>("isFolder");
    QTest::newRow("file") << false;
    QTest::newRow("folder") << true;
}

void tst_SystemCalls::sync_openEntry_succeeds()
{
    QFETCH(bool, isFolder);
    Write(path("file"), "content");
    const Open entry(isFolder ? path(".") : path("file"));
    StartWriting(entry.number());
    QVERIFY(SyncVolume(entry.number()));
    QVERIFY(SyncInTree(entry.number()));
    QVERIFY(SyncThroughDisk(entry.number()));
}

void tst_SystemCalls::sync_nothingOpen_isNoSuccess()
{
    QVERIFY(!SyncInTree(-1));
    QCOMPARE(errno, EBADF);
    errno = 0;
    QVERIFY(!SyncThroughDisk(-1));
    QCOMPARE(errno, EBADF);
}

void tst_SystemCalls::listAttributes_link_isNotFollowed()
{
    Write(path("file"), "content");
    QCOMPARE(::symlink("file", path("link").constData()), 0);
    if (::setxattr(path("file").constData(), "user.sample", "x", 1, 0) != 0) {
        QSKIP("The temporary folder is on a volume without extended attributes");
    }
    std::array<char, 4096> names{};
    const ssize_t size = ListAttributes(path("file").constData(), names.data(), names.size());
    QVERIFY(size > 0);
    QVERIFY(QByteArray(names.data(), static_cast<int>(size)).split('\0').contains("user.sample"));
    QCOMPARE(ListAttributes(path("file").constData(), nullptr, 0), size);
    const ssize_t ofLink = ListAttributes(path("link").constData(), names.data(), names.size());
    QVERIFY(ofLink >= 0);
    QVERIFY(!QByteArray(names.data(), static_cast<int>(ofLink)).contains("user.sample"));
    QCOMPARE(ListAttributes(path("missing").constData(), nullptr, 0), ssize_t(-1));
    QCOMPARE(errno, ENOENT);
}

void tst_SystemCalls::openToRead_entries_areToldApart()
{
    Write(path("file"), "content");
    QVERIFY(QFile::link(QStringLiteral("file"), m_folder->filePath(QStringLiteral("link"))));
    QCOMPARE(::mkfifo(path("pipe").constData(), 0600), 0);
    const Open folder(path("."));
    const auto read = [&folder](const char *name) {
        std::array<char, 16> content{};
        const int file = OpenToRead(folder.number(), name);
        const ssize_t length = file < 0 ? -1 : ::read(file, content.data(), content.size());
        (void)::close(file);
        return length < 0 ? QByteArray() : QByteArray(content.data(), static_cast<int>(length));
    };
    QCOMPARE(read("file"), QByteArray("content"));
    QVERIFY(read("pipe").isEmpty()); // nobody is waited for
    QCOMPARE(OpenToRead(folder.number(), "link"), -1);
    QCOMPARE(OpenToRead(folder.number(), "missing"), -1);
    QCOMPARE(errno, ENOENT);
    QCOMPARE(::chmod(path("file").constData(), 0644), 0);
    QCOMPARE(::chmod(path(".").constData(), 0755), 0);
    const OrdinaryUser somebodyElse;
    QCOMPARE(read("file"), QByteArray("content"));
}

void tst_SystemCalls::times_file_areItsOwn()
{
    Write(path("file"), "content");
    const Open file(path("file"));
    const std::array<timespec, 2> times{timespec{1000, 123}, timespec{2000, 456}};
    QCOMPARE(::futimens(file.number(), times.data()), 0);
    struct stat about {};
    QCOMPARE(::fstat(file.number(), &about), 0);
    QCOMPARE(AccessTime(about).tv_sec, 1000);
    QCOMPARE(AccessTime(about).tv_nsec, 123);
    QCOMPARE(ModificationTime(about).tv_sec, 2000);
    QCOMPARE(ModificationTime(about).tv_nsec, 456);
    // Set by the system, to the time of the call above.
    QVERIFY(qAbs(ChangeTime(about).tv_sec - QDateTime::currentSecsSinceEpoch()) < 60);
}

void tst_SystemCalls::keepFromChildren_memory_isNotInherited_data()
{
    QTest::addColumn<bool>("isKept");
    QTest::newRow("kept") << true;
    QTest::newRow("as usual") << false;
}

void tst_SystemCalls::keepFromChildren_memory_isNotInherited()
{
    QFETCH(bool, isKept);
    const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void *const memory =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    QVERIFY(memory != MAP_FAILED);
    if (isKept) {
        KeepFromChildren(memory, 2); // as few bytes as the session's record has
    }
    QCOMPARE(IsInherited(memory), !isKept);
    QCOMPARE(::munmap(memory, size), 0);
}

void tst_SystemCalls::keepFromChildren_null_doesNothing()
{
    KeepFromChildren(nullptr, 2);
}

QTEST_GUILESS_MAIN(tst_SystemCalls)
#include "tst_systemcalls.moc"
