// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ShellCommand.h"

#include <QtTest>

#include <csignal>
#include <dlfcn.h>
#include <spawn.h>

namespace {

int SignalAtStart = 0; // to this process, right after the command's process was made

} // namespace

/// Replaces the system's function in this program.
extern "C" int posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                           const posix_spawnattr_t *attrp, char *const *argv, char *const *envp)
{
    static const auto system =
        reinterpret_cast<decltype(&posix_spawn)>(::dlsym(RTLD_NEXT, "posix_spawn"));
    const int error = system(pid, path, actions, attrp, argv, envp);
    if (SignalAtStart != 0) {
        (void)std::raise(SignalAtStart);
    }
    return error;
}

/// Commands that are run in the shell, and the signals that reach them.
class tst_ShellCommand : public QObject {
    Q_OBJECT

private slots:
    void command_ends_isJudgedByItsExitCode();
    void signal_atTheStart_reachesTheCommand_data();
    void signal_atTheStart_reachesTheCommand();
    void command_blocksNoSignal();
};

void tst_ShellCommand::command_ends_isJudgedByItsExitCode()
{
    QCOMPARE(RunShellCommand(QStringLiteral("test"), QStringLiteral("a b"), false), QString());
    QCOMPARE(RunShellCommand(QStringLiteral("exit 3; :"), QString(), false),
             QStringLiteral("its exit code is 3"));
}

void tst_ShellCommand::signal_atTheStart_reachesTheCommand_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_ShellCommand::signal_atTheStart_reachesTheCommand()
{
    QFETCH(int, signal);
    SignalAtStart = signal;
    const QString reason = RunShellCommand(QStringLiteral("exec sleep 20 #"), QString(), false);
    SignalAtStart = 0;
    QVERIFY2(reason.startsWith(QStringLiteral("it was ended by signal %1 (").arg(signal)),
             qPrintable(reason));
}

void tst_ShellCommand::command_blocksNoSignal()
{
    QCOMPARE(
        RunShellCommand(QStringLiteral("grep -q '^SigBlk:[[:space:]]*0*$' /proc/self/status #"),
                        QString(), false),
        QString());
}

QTEST_APPLESS_MAIN(tst_ShellCommand)
#include "tst_shellcommand.moc"
