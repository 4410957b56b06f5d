// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Desktop.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QThread>

namespace {

constexpr int PatienceMs = 20000;
constexpr int PollMs = 10;

template <typename Condition>
bool Await(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > PatienceMs) {
            return false;
        }
        QThread::msleep(PollMs);
    }
    return true;
}

} // namespace

Desktop::Desktop(int dpi)
{
    // The server picks a free number itself and writes it to standard output.
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"), QStringLiteral("1280x800x24"), QStringLiteral("-dpi"),
                    QString::number(dpi), QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                    QStringLiteral("-noreset")});
    if (m_server.waitForReadyRead(PatienceMs)) {
        m_display = QLatin1Char(':') + QString::fromLatin1(m_server.readLine()).trimmed();
        tellDensity(dpi);
    }
}

Desktop::~Desktop()
{
    m_server.terminate();
    if (!m_server.waitForFinished(5000)) {
        m_server.kill();
        (void)m_server.waitForFinished(5000); // nothing more can be done
    }
}

QProcessEnvironment Desktop::shownIn(QProcessEnvironment environment) const
{
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    return environment;
}

QString Desktop::waitForWindow(const QString &title) const
{
    return await(QStringLiteral("--name"), title);
}

QString Desktop::waitForWindowOf(const QString &program) const
{
    return await(QStringLiteral("--class"), program);
}

bool Desktop::waitForNoWindow(const QString &title) const
{
    return Await([&] { return !hasWindow(title); });
}

bool Desktop::hasWindow(const QString &title) const
{
    return !find(QStringLiteral("--name"), title).isEmpty();
}

QRect Desktop::geometry(const QString &window) const
{
    const QString text = QString::fromLatin1(
        xdotool({QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), window}));
    const auto number = [&text](const char *name) {
        const QRegularExpression pattern(QLatin1String(name) + QStringLiteral("=(-?[0-9]+)"));
        return pattern.match(text).captured(1).toInt();
    };
    return {number("\\bX"), number("\\bY"), number("WIDTH"), number("HEIGHT")};
}

void Desktop::click(const QString &window, QPoint position) const
{
    xdotool({QStringLiteral("mousemove"), QStringLiteral("--window"), window,
             QString::number(position.x()), QString::number(position.y()), QStringLiteral("click"),
             QStringLiteral("1")});
}

void Desktop::press(const QString &window, const QString &key) const
{
    xdotool({QStringLiteral("windowfocus"), QStringLiteral("--sync"), window, QStringLiteral("key"),
             key});
}

bool Desktop::close(const QString &window) const
{
    QProcess tool;
    tool.setProcessEnvironment(shownIn(QProcessEnvironment::systemEnvironment()));
    tool.start(QStringLiteral(CLOSE_WINDOW), {window});
    return tool.waitForFinished(PatienceMs) && tool.exitCode() == 0;
}

bool Desktop::screenshot(const QString &path) const
{
    return QProcess::execute(QStringLiteral("import"),
                             {QStringLiteral("-display"), m_display, QStringLiteral("-window"),
                              QStringLiteral("root"), path}) == 0;
}

/// As a desktop sets it for its programs: Qt 5 asks the server for the density, Qt 6 asks the
/// desktop.
void Desktop::tellDensity(int dpi) const
{
    (void)QProcess::execute(
        QStringLiteral("xprop"),
        {QStringLiteral("-display"), m_display, QStringLiteral("-root"), QStringLiteral("-format"),
         QStringLiteral("RESOURCE_MANAGER"), QStringLiteral("8s"), QStringLiteral("-set"),
         QStringLiteral("RESOURCE_MANAGER"), QStringLiteral("Xft.dpi:\t%1\n").arg(dpi)});
}

QByteArray Desktop::xdotool(const QStringList &arguments) const
{
    QProcess tool;
    tool.setProcessEnvironment(shownIn(QProcessEnvironment::systemEnvironment()));
    tool.setStandardErrorFile(QProcess::nullDevice());
    tool.start(QStringLiteral("xdotool"), arguments);
    (void)tool.waitForFinished(PatienceMs); // judged by what it printed
    return tool.readAllStandardOutput();
}

QString Desktop::find(const QString &property, const QString &value) const
{
    const QByteArray windows = xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                        property, QStringLiteral("^%1$").arg(value)});
    return QString::fromLatin1(windows).section(QLatin1Char('\n'), 0, 0);
}

QString Desktop::await(const QString &property, const QString &value) const
{
    QString window;
    (void)Await([&] {
        window = find(property, value);
        return !window.isEmpty();
    });
    return window;
}
