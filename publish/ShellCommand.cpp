// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ShellCommand.h"

#include "release/SystemCalls.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

extern char **environ; // NOLINT(readability-redundant-declaration): macOS declares none

namespace {

// The terminal sends these to the command as well.
constexpr std::array<int, 2> FromTerminal{SIGINT, SIGQUIT};
constexpr std::array<int, 2> ToPassOn{SIGTERM, SIGHUP};

volatile sig_atomic_t Child = 0;
volatile sig_atomic_t PassedOn = 0; // the last signal; 0: none came

void PassOn(int signal)
{
    const int error = errno;
    PassedOn = signal;
    if (Child > 0) {
        (void)::kill(Child, signal);
    }
    errno = error;
}

/// Handles signals for as long as it lives.
class SignalGuard {
public:
    SignalGuard(const std::array<int, 2> &numbers, void (*handler)(int)) : m_numbers(numbers)
    {
        struct sigaction action {};
        action.sa_handler = handler;
        action.sa_flags = SA_RESTART;
        (void)::sigemptyset(&action.sa_mask);
        for (std::size_t index = 0; index < m_numbers.size(); ++index) {
            (void)::sigaction(m_numbers.at(index), &action, &m_before.at(index));
        }
    }
    ~SignalGuard()
    {
        for (std::size_t index = 0; index < m_numbers.size(); ++index) {
            (void)::sigaction(m_numbers.at(index), &m_before.at(index), nullptr);
        }
    }
    Q_DISABLE_COPY(SignalGuard)

private:
    const std::array<int, 2> m_numbers;
    std::array<struct sigaction, 2> m_before{};
};

/// Can block the signals to pass on: before the command's process is known and after it has gone,
/// one would reach nobody, or somebody else.
class SignalBlock {
public:
    SignalBlock() { (void)::sigprocmask(SIG_BLOCK, nullptr, &m_before); }
    ~SignalBlock() { lift(); }
    Q_DISABLE_COPY(SignalBlock)

    void set() const
    {
        sigset_t blocked;
        (void)::sigemptyset(&blocked);
        for (const int signal : ToPassOn) {
            (void)::sigaddset(&blocked, signal);
        }
        (void)::sigprocmask(SIG_BLOCK, &blocked, nullptr);
    }
    void lift() const { (void)::sigprocmask(SIG_SETMASK, &m_before, nullptr); }

    /// What was blocked before.
    const sigset_t *before() const { return &m_before; }

private:
    sigset_t m_before{};
};

/// Restores the terminal: a command that is interrupted while asking for a pass phrase leaves it
/// without echo.
class TerminalGuard {
public:
    TerminalGuard() : m_isTerminal(::tcgetattr(STDIN_FILENO, &m_before) == 0) {}
    ~TerminalGuard()
    {
        if (m_isTerminal) {
            (void)::tcsetattr(STDIN_FILENO, TCSADRAIN, &m_before);
        }
    }
    Q_DISABLE_COPY(TerminalGuard)

private:
    struct termios m_before {};
    const bool m_isTerminal;
};

/// Starts the command, with the signals that were blocked \a before. Returns its process, or 0 with
/// errno set.
pid_t Start(const QByteArray &script, const QByteArray &argument, bool outputToErrors,
            const sigset_t *before)
{
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t actions;
    (void)::posix_spawnattr_init(&attributes);
    (void)::posix_spawn_file_actions_init(&actions);
    sigset_t usual;
    (void)::sigemptyset(&usual);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE}) {
        (void)::sigaddset(&usual, signal);
    }
    (void)::posix_spawnattr_setsigdefault(&attributes, &usual);
    (void)::posix_spawnattr_setsigmask(&attributes, before);
    (void)::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    if (outputToErrors) {
        (void)::posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    }
    std::array<char *, 6> words{const_cast<char *>("sh"),
                                const_cast<char *>("-c"),
                                const_cast<char *>(script.constData()),
                                const_cast<char *>("sh"),
                                const_cast<char *>(argument.constData()),
                                nullptr};
    pid_t process = 0;
    const int error =
        ::posix_spawn(&process, "/bin/sh", &actions, &attributes, words.data(), environ);
    (void)::posix_spawn_file_actions_destroy(&actions);
    (void)::posix_spawnattr_destroy(&attributes);
    errno = error;
    return error == 0 ? process : 0;
}

/// Waits for the command to end. Its process stays, so that its number becomes nobody else's.
bool WaitForEnd(pid_t process)
{
    siginfo_t ended{};
    int result = 0;
    do {
        result = ::waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT);
    } while (result < 0 && errno == EINTR);
    return result == 0;
}

QString EndReason(int status)
{
    if (WIFSIGNALED(status)) {
        return QStringLiteral("it was ended by signal %1 (%2)")
            .arg(QString::number(WTERMSIG(status)),
                 QString::fromLocal8Bit(::strsignal(WTERMSIG(status))));
    }
    return WEXITSTATUS(status) == 0
               ? QString()
               : QStringLiteral("its exit code is %1").arg(WEXITSTATUS(status));
}

} // namespace

QString RunShellCommand(const QString &command, const QString &argument, bool outputToErrors)
{
    Child = 0;
    PassedOn = 0;
    const SignalBlock block; // lifted last, when everything else is as it was
    block.set();
    const TerminalGuard terminal;
    const SignalGuard ignored(FromTerminal, SIG_IGN);
    const SignalGuard passedOn(ToPassOn, PassOn);
    Child = Start((command + QStringLiteral(" \"$1\"")).toLocal8Bit(), QFile::encodeName(argument),
                  outputToErrors, block.before());
    const pid_t process = Child;
    if (process <= 0) {
        return QStringLiteral("it cannot be started: %1").arg(SystemError());
    }
    block.lift();
    const bool hasEnded = WaitForEnd(process);
    block.set();
    Child = 0;
    int status = 0;
    if (!hasEnded || ::waitpid(process, &status, 0) < 0) {
        return QStringLiteral("its end cannot be waited for: %1").arg(SystemError());
    }
    QString reason = EndReason(status);
    if (reason.isEmpty() && PassedOn != 0) {
        (void)::raise(PassedOn); // it came too late for the command, or was ignored
    }
    return reason;
}
