// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ShellCommand.h"

#include <QtTest>

#include <csignal>
#include <dlfcn.h>
#include <spawn.h>
#include <sys/wait.h>
#include <utility>

namespace {

int SignalAtStart = 0; // to this process, right after the command's process was made
int SignalAtEnd = 0;   // right after the command's end is known
int SignalAtReap = 0;  // right after the command's process is gone
bool IsGone = false;
int KillsOfTheGone = 0;
volatile sig_atomic_t Received = 0; // by this process itself

void Receive(int signal)
{
    Received = signal;
}

/// Raises a signal once.
void Strike(int &signal)
{
    if (signal != 0) {
        (void)std::raise(std::exchange(signal, 0));
    }
}

} // namespace

/// These replace the system's functions in this program.
extern "C" int posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                           const posix_spawnattr_t *attrp, char *const *argv, char *const *envp)
{
    static const auto system =
        reinterpret_cast<decltype(&posix_spawn)>(::dlsym(RTLD_NEXT, "posix_spawn"));
    const int error = system(pid, path, actions, attrp, argv, envp);
    IsGone = false;
    Strike(SignalAtStart);
    return error;
}

extern "C" int waitid(idtype_t idtype, id_t id, siginfo_t *infop, int options)
{
    static const auto system = reinterpret_cast<decltype(&waitid)>(::dlsym(RTLD_NEXT, "waitid"));
    const int result = system(idtype, id, infop, options);
    Strike(SignalAtEnd);
    return result;
}

extern "C" pid_t waitpid(pid_t pid, int *stat_loc, int options)
{
    static const auto system = reinterpret_cast<decltype(&waitpid)>(::dlsym(RTLD_NEXT, "waitpid"));
    const pid_t result = system(pid, stat_loc, options);
    IsGone = true;
    Strike(SignalAtReap);
    return result;
}

extern "C" int kill(pid_t pid, int sig)
{
    static const auto system = reinterpret_cast<decltype(&kill)>(::dlsym(RTLD_NEXT, "kill"));
    KillsOfTheGone += IsGone ? 1 : 0;
    return system(pid, sig);
}

/// Commands that are run in the shell, and the signals that reach them.
class tst_ShellCommand : public QObject {
    Q_OBJECT

private slots:
    void command_ends_isJudgedByItsExitCode();
    void signal_atTheStart_reachesTheCommand_data();
    void signal_atTheStart_reachesTheCommand();
    void signal_afterTheCommand_reachesTheProgram_data();
    void signal_afterTheCommand_reachesTheProgram();
    void signal_thatTheCommandIgnores_reachesTheProgram();
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
    QVERIFY2(reason.startsWith(QStringLiteral("it was ended by signal %1 (").arg(signal)),
             qPrintable(reason));
}

void tst_ShellCommand::signal_afterTheCommand_reachesTheProgram_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("isReaped");
    QTest::newRow("SIGTERM at its end") << SIGTERM << false;
    QTest::newRow("SIGHUP at its end") << SIGHUP << false;
    QTest::newRow("SIGTERM when it is gone") << SIGTERM << true;
    QTest::newRow("SIGHUP when it is gone") << SIGHUP << true;
}

void tst_ShellCommand::signal_afterTheCommand_reachesTheProgram()
{
    QFETCH(int, signal);
    QFETCH(bool, isReaped);
    const auto before = std::signal(signal, Receive);
    Received = 0;
    KillsOfTheGone = 0;
    (isReaped ? SignalAtReap : SignalAtEnd) = signal;
    const QString reason = RunShellCommand(QStringLiteral("true"), QString(), false);
    (void)std::signal(signal, before);
    QCOMPARE(reason, QString());
    QCOMPARE(static_cast<int>(Received), signal);
    QCOMPARE(KillsOfTheGone, 0);
}

void tst_ShellCommand::signal_thatTheCommandIgnores_reachesTheProgram()
{
    const auto before = std::signal(SIGTERM, Receive);
    Received = 0;
    const QString reason =
        RunShellCommand(QStringLiteral("trap '' TERM; kill -TERM $PPID; :"), QString(), false);
    (void)std::signal(SIGTERM, before);
    QCOMPARE(reason, QString());
    QCOMPARE(static_cast<int>(Received), SIGTERM);
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
