// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/publish/PublishTool.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/OwnNamespaces.h"
#include "tests/support/SampleBundle.h"
#include "tests/support/ThrowAwayCa.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSslKey>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/mount.h>

namespace {

const char *const Page = PUBLISHING_PAGE;
const QByteArray HostName = "update.example.com";
bool HasOwnSurroundings = false;

/// The fenced blocks of \a language in the page, in order.
QStringList Blocks(const QString &language)
{
    const QRegularExpression fence(QStringLiteral("^```%1\\n(.*?)^```$").arg(language),
                                   QRegularExpression::MultilineOption |
                                       QRegularExpression::DotMatchesEverythingOption);
    QStringList blocks;
    QRegularExpressionMatchIterator at =
        fence.globalMatch(QString::fromUtf8(ReadFile(QString::fromUtf8(Page))));
    while (at.hasNext()) {
        blocks.append(at.next().captured(1));
    }
    return blocks;
}

/// Makes this process and its children see \a own in place of \a system.
bool Cover(const char *system, const QString &own)
{
    return ::mount(QFile::encodeName(own).constData(), system, nullptr, MS_BIND, nullptr) == 0;
}

} // namespace

/// Every command of docs/publishing.md, run as written, one after the other, in a folder with the
/// application and with a web server set up as the page says, under its real name.
class tst_PublishDocs : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void commands_runAsWritten_data();
    void commands_runAsWritten();
    void commands_leaveWhatThePageSays();
    static void options_areAllInThePage();
    void cleanupTestCase();

private:
    void startServer();

    QTemporaryDir m_system; // covers the system's own files
    QTemporaryDir m_folder; // where the commands run
    ThrowAwayCa m_authority;
    ChildProcess m_server;
};

void tst_PublishDocs::initTestCase()
{
    if (!HasOwnSurroundings) {
        QSKIP("The system does not allow private namespaces.");
    }
    QVERIFY(m_authority.isValid());
    const QString hosts = m_system.filePath("hosts");
    const QString authorities = m_system.filePath("authorities");
    WriteFile(hosts, "127.0.0.1 " + HostName + '\n');
    WriteFile(authorities + "/ca.pem", m_authority.certificate().toPem());
    QCOMPARE(QProcess::execute("openssl", {"rehash", authorities}), 0);
    QVERIFY(QDir().mkpath(m_system.filePath("srv/update")));
    QVERIFY(Cover("/etc/hosts", hosts));
    QVERIFY(Cover("/etc/ssl/certs", authorities));
    QVERIFY(Cover("/srv", m_system.filePath("srv")));
    startServer();

    QByteArray path = QFile::encodeName(QFileInfo(PublishProgram()).path()) + ':' + qgetenv("PATH");
    if (!qEnvironmentVariableIsSet("UPDATER_PASS_PHRASES")) {
        // Each use of a key with a pass phrase takes seconds; the quick test uses none.
        const QString quick = m_system.filePath("bin/minisign");
        WriteFile(quick, "#!/bin/sh\nwithout=\nif [ \"$1\" = -G ]; then without=-W; fi\n"
                         "PATH=${PATH#*:} exec minisign \"$@\" $without\n");
        QVERIFY(QFile::setPermissions(quick, QFile::Permissions(0x7755)));
        path = QFile::encodeName(m_system.filePath("bin")) + ':' + path;
    }
    QVERIFY(qputenv("PATH", path));
}

/// Serves as the page says.
void tst_PublishDocs::startServer()
{
    const QSslConfiguration tls = m_authority.server("DNS:" + HostName, 2);
    WriteFile(m_system.filePath("server.pem"), tls.localCertificate().toPem());
    WriteFile(m_system.filePath("server.key"), tls.privateKey().toPem());
    const QStringList locations = Blocks("nginx");
    QCOMPARE(locations.size(), 1);
    QByteArray configuration =
        "daemon off; master_process off; pid @/pid; error_log @/errors; events {}\n"
        "http { access_log off; client_body_temp_path @/1; proxy_temp_path @/2;\n"
        "fastcgi_temp_path @/3; uwsgi_temp_path @/4; scgi_temp_path @/5;\n"
        "server { listen 443 ssl; server_name " +
        HostName + "; ssl_certificate @/server.pem; ssl_certificate_key @/server.key;\n" +
        locations.constFirst().toUtf8() + "} }\n";
    configuration.replace('@', m_system.path().toUtf8());
    WriteFile(m_system.filePath("nginx.conf"), configuration);
    QString program = QStandardPaths::findExecutable("nginx");
    program = program.isEmpty() ? QString("/usr/sbin/nginx") : program;
    m_server.start(program,
                   {"-c", m_system.filePath("nginx.conf"), "-e", m_system.filePath("errors")});
    const auto isUp = [] {
        QTcpSocket socket;
        socket.connectToHost("127.0.0.1", 443);
        return socket.waitForConnected(100);
    };
    QTRY_VERIFY_WITH_TIMEOUT(isUp(), 10000);
}

void tst_PublishDocs::commands_runAsWritten_data()
{
    QTest::addColumn<QString>("command");
    const QStringList blocks = Blocks("sh");
    QVERIFY(blocks.size() >= 12);
    for (const QString &block : blocks) {
        QTest::newRow(qPrintable(block.section('\n', 0, 0))) << block;
    }
}

void tst_PublishDocs::commands_runAsWritten()
{
    QFETCH(QString, command);
    // The application, built with the version that the command publishes.
    const QString version = QRegularExpression("--version (\\S+)").match(command).captured(1);
    if (!version.isEmpty()) {
        const QString bundle = m_folder.filePath("Sample.app");
        QVERIFY(QDir(bundle).removeRecursively());
        SampleBundle sample;
        sample.version = version;
        sample.resources = 30;
        sample.make(bundle);
    }
    QProcess shell;
    shell.setWorkingDirectory(m_folder.path());
    shell.setProcessChannelMode(QProcess::MergedChannels);
    shell.start("sh", {"-euc", command});
    shell.write("open sesame\nopen sesame\n"); // for the pass phrase
    shell.closeWriteChannel();
    QVERIFY(shell.waitForFinished(60000));
    const QByteArray said = shell.readAll();
    QVERIFY2(shell.exitCode() == 0, said.constData());
    if (command.contains("--verify")) {
        QVERIFY2(said.contains("All right: ") && said.contains(", signed."), said.constData());
    }
}

void tst_PublishDocs::commands_leaveWhatThePageSays()
{
    const QStringList left =
        QDir("/srv/update").entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QCOMPARE(left, QStringList({"3.10.25", "3.10.26", "3.10.27", "3.11.0", "update.json"}));
    const QJsonObject object =
        QJsonDocument::fromJson(ReadFile(m_folder.filePath("published.json"))).object();
    QCOMPARE(object.value("success").toBool(), true);
    const QString text = QString::fromUtf8(ReadFile(QString::fromUtf8(Page)));
    const QStringList keys = object.keys();
    QVERIFY(keys.size() >= 11);
    for (const QString &key : keys) {
        QVERIFY2(text.contains('`' + key + '`'), qPrintable(key));
    }
}

void tst_PublishDocs::options_areAllInThePage()
{
    const QByteArray text = ReadFile(QString::fromUtf8(Page));
    const QString help = QString::fromUtf8(RunPublish({"--help"}).output);
    QRegularExpressionMatchIterator at = QRegularExpression("--[a-z-]+").globalMatch(help);
    int options = 0;
    for (; at.hasNext(); ++options) {
        const QByteArray option = at.next().captured().toUtf8();
        QVERIFY2(text.contains(option), option.constData());
    }
    QVERIFY(options > 20);
}

void tst_PublishDocs::cleanupTestCase()
{
    m_server.kill();
    (void)m_server.waitForFinished(10000);
}

int main(int argc, char *argv[])
{
    HasOwnSurroundings = EnterOwnNamespaces(OwnMounts | OwnNetwork);
    const QCoreApplication application(argc, argv);
    tst_PublishDocs test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_publishdocs.moc"
