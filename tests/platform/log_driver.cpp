// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

// log_driver COMMAND [ARGUMENT] ...: works with the log as the commands say, one after the other.

#include "OrdinaryUser.h"
#include "platform/LogHandler.h"

#include <QDebug>
#include <QFile>
#include <QString>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

std::atomic<qint64> fakeClockMs{-1}; // negative: the real time
std::atomic<bool> clockWarns{false};
std::atomic<QtMessageHandler> clockCalls{nullptr};
std::atomic<bool> diskIsSlow{false};
QtMessageHandler handlerBefore = nullptr;

std::mutex gateMutex;
std::condition_variable gateMoved;
bool someoneWaits = false;
bool gateIsOpen = false;

void WaitAtTheGate(const bool &until)
{
    std::unique_lock<std::mutex> locker(gateMutex);
    if (!gateMoved.wait_for(locker, std::chrono::seconds(10), [&until] { return until; })) {
        std::_Exit(3);
    }
}

void MoveTheGate(bool &flag)
{
    const std::lock_guard<std::mutex> locker(gateMutex);
    flag = true;
    gateMoved.notify_all();
}

// A handler installed before the log's own. It keeps whoever logs "wait" until another logs "open".
void RecordingHandler(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (text == QStringLiteral("wait")) {
        MoveTheGate(someoneWaits);
        WaitAtTheGate(gateIsOpen);
    } else if (text == QStringLiteral("open")) {
        MoveTheGate(gateIsOpen);
    }
    (void)std::printf("before: %d %s %s\n", static_cast<int>(type), context.category,
                      qPrintable(text));
    handlerBefore(type, context, text);
}

// Lets threads meet in the log's handler, not behind it.
void SilentHandler(QtMsgType, const QMessageLogContext &, const QString &) {}

void LogWhileOneWaits()
{
    std::thread waiting([] { qCritical().noquote() << "wait"; });
    WaitAtTheGate(someoneWaits);
    qCritical().noquote() << "open";
    waiting.join();
}

// Lines too long for one buffer, on a slow disk: without serialisation they would get mixed up.
void LogFromThreads()
{
    diskIsSlow = true;
    std::vector<std::thread> threads;
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        threads.emplace_back([letter] {
            const QString text(20000, QLatin1Char(letter));
            for (int line = 0; line < 50; ++line) {
                qCritical().noquote() << text << line;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

// Qt hands a message raised inside a handler to its default handler; so the log's own is called.
void LetTheClockCallTheHandler()
{
    const QtMessageHandler installed = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(installed);
    clockCalls = installed;
}

void EndFatally(const QString &text)
{
    const rlimit noCoreFile{0, 0};
    (void)setrlimit(RLIMIT_CORE, &noCoreFile);
    qFatal("%s", qPrintable(text));
}

const std::map<QString, std::function<void()>> commands{
    {"init", [] { CLogHandler::Initialize(); }},
    {"release", [] { CLogHandler::Release(); }},
    {"handler before", [] { handlerBefore = qInstallMessageHandler(RecordingHandler); }},
    {"silent handler before", [] { qInstallMessageHandler(SilentHandler); }},
    {"log while one waits", LogWhileOneWaits},
    {"log from threads", LogFromThreads},
    {"clock warns", [] { clockWarns = true; }},
    {"clock calls the handler", LetTheClockCallTheHandler},
    {"ordinary user", BecomeOrdinaryUser},
};

const std::map<QString, std::function<void(const QString &)>> commandsOnText{
    {"level", [](const QString &t) { CLogHandler::SetLogLevel(QtMsgType(t.toInt())); }},
    {"debug", [](const QString &t) { qDebug().noquote() << t; }},
    {"info", [](const QString &t) { qInfo().noquote() << t; }},
    {"warning", [](const QString &t) { qWarning().noquote() << t; }},
    {"critical", [](const QString &t) { qCritical().noquote() << t; }},
    {"fatal", EndFatally},
    {"clock", [](const QString &t) { fakeClockMs = t.toLongLong(); }},
    {"remove", [](const QString &t) { (void)QFile::remove(t); }},
};

} // namespace

// Replaces the C library's function that Qt takes date and time from.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the library's are reserved
extern "C" int gettimeofday(timeval *time, void *) noexcept
{
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    const qint64 fake = fakeClockMs;
    time->tv_sec = fake < 0 ? now.tv_sec : fake / 1000;
    time->tv_usec = fake < 0 ? now.tv_nsec / 1000 : fake % 1000 * 1000;
    if (clockWarns.exchange(false)) {
        qWarning().noquote() << "the clock warns";
    }
    if (const QtMessageHandler handler = clockCalls.exchange(nullptr)) {
        handler(QtWarningMsg, QMessageLogContext(), QStringLiteral("the clock calls"));
    }
    return 0;
}

// The same for what Qt writes files with.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the library's are reserved
extern "C" ssize_t write(int file, const void *data, size_t size)
{
    const ssize_t written = syscall(SYS_write, file, data, size);
    if (diskIsSlow) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return written;
}

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        const QString name = QString::fromUtf8(argv[i]);
        const auto command = commands.find(name);
        const auto onText = commandsOnText.find(name);
        if (command != commands.end()) {
            command->second();
        } else if (onText != commandsOnText.end() && i + 1 < argc) {
            onText->second(QString::fromUtf8(argv[++i]));
        } else {
            (void)std::fprintf(stderr, "unknown command: %s\n", argv[i]);
            return 2;
        }
    }
    return 0;
}
