// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "platform/LogHandler.h"
#include "platform/QtDefaults.h"
#include "release/FileDigests.h"
#include "release/ReleaseManifest.h"
#include "release/Workers.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDate>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QTextStream>
#include <QThread>

#include <atomic>

/// \file
/// in_process DATA [OPTION...]: what is measured inside a process. DATA holds the inputs; log
/// lines go to the data directory, that is below HOME.

namespace {

QDir data;       // set once, before any benchmark runs
QString logFile; // of the plain handler

QString Manifest(const benchmark::State &state)
{
    return data.filePath(QStringLiteral("manifest-%1.info").arg(state.range(0)));
}

QByteArray Content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A missing file must not count as a quick one.
bool Expect(benchmark::State &state, int expected, int count)
{
    if (count != expected) {
        state.SkipWithError("not the expected number of records");
    }
    return count == expected;
}

void Parse(benchmark::State &state)
{
    for (auto _ : state) {
        const auto records = ParseMd5File(Content(Manifest(state)));
        if (!Expect(state, static_cast<int>(state.range(0)), records.size())) {
            break;
        }
    }
}

void ParseShuffled(benchmark::State &state)
{
    for (auto _ : state) {
        const auto records = ParseMd5File(Content(data.filePath(QStringLiteral("shuffled.info"))));
        if (!Expect(state, 1000000, records.size())) {
            break;
        }
    }
}

void CompareListed(benchmark::State &state)
{
    const QString manifest = Manifest(state);
    const auto update = ParseMd5File(Content(manifest));
    for (auto _ : state) {
        const auto differing = CheckMd5(update, manifest, data);
        if (!Expect(state, 0, differing.size())) {
            break;
        }
    }
}

void CompareHashed(benchmark::State &state)
{
    const auto update = ParseMd5File(Content(data.filePath(QStringLiteral("installed.info"))));
    for (auto _ : state) {
        const auto differing =
            CheckMd5(update, QString(), QDir(data.filePath(QStringLiteral("installed"))));
        if (!Expect(state, 20000, update.size()) || !Expect(state, 0, differing.size())) {
            break;
        }
    }
}

void CheckLargeFile(benchmark::State &state)
{
    const auto large = ParseMd5File(Content(data.filePath(QStringLiteral("large.info"))));
    const tagDownloadFileInfo record = large.first();
    for (auto _ : state) {
        if (!CheckFileMd5(data.filePath(QStringLiteral("large/") + record.path), record.md5)) {
            state.SkipWithError("not the expected file");
            break;
        }
    }
}

void ReadWhole(benchmark::State &state)
{
    for (auto _ : state) {
        ReleaseManifest manifest;
        const QString reason =
            ReadManifest(Content(data.filePath(QStringLiteral("complete.info"))), manifest);
        if (!reason.isEmpty() || manifest.files.size() != 1000000) {
            state.SkipWithError("not the expected manifest");
            break;
        }
    }
}

void HashFiles(benchmark::State &state)
{
    const QStringList names =
        QDir(data.filePath(QStringLiteral("installed"))).entryList(QDir::Files);
    for (auto _ : state) {
        std::atomic<int> hashed{0};
        Tickets tickets(names.size());
        const auto worker = [&] {
            for (int ticket = tickets.take(); ticket >= 0; ticket = tickets.take()) {
                FileDigests digests;
                const QString path = data.path() + QStringLiteral("/installed/") + names.at(ticket);
                hashed += ReadDigests(path, DigestKinds::Sha256, digests).isEmpty() ? 1 : 0;
            }
        };
        RunWorkers(QThread::idealThreadCount(), worker, [] {});
        if (!Expect(state, 20000, hashed)) {
            break;
        }
    }
}

void HashLargeFile(benchmark::State &state)
{
    for (auto _ : state) {
        FileDigests digests;
        const QString path = data.filePath(QStringLiteral("large/f000000.dat"));
        if (!ReadDigests(path, DigestKinds::Sha256AndMd5, digests).isEmpty()) {
            state.SkipWithError("not the expected file");
            break;
        }
    }
}

void Silent(QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

/// The steps of a log line and nothing else: formatted, and appended as text to a file that is
/// opened for it.
void Plain(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    QFile file(logFile);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        QTextStream stream(&file);
        UseUtf8(stream);
        stream << qFormatLogMessage(type, context, text) << "\n";
        file.close();
    }
}

/// The same with the day's file determined anew for each line, as it must be.
void PlainOfTheDay(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    const QString name = QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd.log"));
    logFile = QDir::home().absoluteFilePath(name);
    Plain(type, context, text);
}

/// The plain steps without a text stream.
void PlainBytes(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    QFile file(logFile);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        file.write(qFormatLogMessage(type, context, text).toUtf8() + '\n');
        file.close();
    }
}

void LogLines(benchmark::State &state, QtMessageHandler handler)
{
    qInstallMessageHandler(handler);
    for (auto _ : state) {
        qInfo().noquote() << QStringLiteral("update.json url = https://update.example.com/");
    }
    qInstallMessageHandler(Silent);
}

} // namespace

BENCHMARK(Parse)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(ParseShuffled)->Unit(benchmark::kMillisecond);
BENCHMARK(CompareListed)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(CompareHashed)->Unit(benchmark::kMillisecond);
BENCHMARK(CheckLargeFile)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadWhole)->Unit(benchmark::kMillisecond);
BENCHMARK(HashFiles)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(HashLargeFile)->Unit(benchmark::kMillisecond);

int main(int argc, char *argv[])
{
    benchmark::Initialize(&argc, argv);
    const QCoreApplication app(argc, argv);
    if (argc != 2) {
        return 2;
    }
    data.setPath(QDir(QString::fromLocal8Bit(argv[1])).absolutePath());
    logFile = QDir::home().filePath(QStringLiteral("plain.log"));

    qInstallMessageHandler(Silent); // the handler installed before the log's
    CLogHandler::SetLogLevel(QtDebugMsg);
    CLogHandler::Initialize();
    const QtMessageHandler ours = qInstallMessageHandler(Silent);
    benchmark::RegisterBenchmark("LogLine", [ours](benchmark::State &state) {
        LogLines(state, ours);
    })->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("LogLinePlain", [](benchmark::State &state) {
        LogLines(state, Plain);
    })->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("LogLinePlainOfTheDay", [](benchmark::State &state) {
        LogLines(state, PlainOfTheDay);
    })->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("LogLinePlainBytes", [](benchmark::State &state) {
        LogLines(state, PlainBytes);
    })->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
