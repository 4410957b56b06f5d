// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/publish/PublishTool.h"
#include "tests/support/SigningKey.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/stat.h>

/// publish_update --sign-with: a release becomes visible with a good signature, or not at all.
class tst_PublishSign : public QObject {
    Q_OBJECT

private slots:
    void init();
    void sign_withMinisign_isAcceptedByMinisign();
    void sign_withOneOfSeveralKeys_isEnough();
    void sign_withoutAKey_isWarnedOf();
    void sign_withoutAnIdentifier_isWarnedOf();
    void sign_signature_canBeReadByEverybody();
    void sign_comment_hasALimit_data();
    void sign_comment_hasALimit();
    void unsigned_afterASignedOne_isWarnedOf();
    void sign_command_runsWhereTheCallerIs();
    void sign_command_getsAnyPath();
    void sign_command_hasTheTerminal();
    void sign_json_isAloneOnStandardOutput();
    void signature_notGood_showsNothing_data();
    void signature_notGood_showsNothing();
    void command_doesOtherThings_showsNothing_data();
    void command_doesOtherThings_showsNothing();
    void command_cannotBeStarted_showsNothing();
    void command_endUnknown_showsNothing();
    void command_interrupted_showsNothing_data();
    void command_interrupted_showsNothing();

private:
    ToolRun publish(const QString &command, const QStringList &options) const;
    ToolRun publishBy(const QByteArray &script, const QStringList &options = {}) const;
    QStringList keyOption() const { return {"--public-key", m_key.publicKey()}; }
    QString manifest() const { return m_output + "/3.10.25/update_md5.info"; }
    QString signature() const { return manifest() + ".minisig"; }
    bool accepts(const SigningKey &key) const
    {
        return key.accepts(ReadFile(manifest()), ReadFile(signature()));
    }

    const SigningKey m_key;
    const SigningKey m_otherKey;
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_release;
    QString m_output;
};

void tst_PublishSign::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_release = m_folder->filePath("release");
    m_output = m_folder->filePath("output");
    WriteFile(m_release + "/Contents/Host", "host");
    WriteFile(m_release + "/Contents/other", "other");
}

ToolRun tst_PublishSign::publish(const QString &command, const QStringList &options) const
{
    return RunPublish(QStringList{"--sign-with", command, "--application", "a.b.c"} + options +
                      PublishArguments(m_release, m_output));
}

/// Publishes with a script as the signing command. It gets the manifest's path as $1 and runs in
/// the release's folder; $sign signs.
ToolRun tst_PublishSign::publishBy(const QByteArray &script, const QStringList &options) const
{
    const QString path = m_folder->filePath("sign.sh");
    WriteFile(
        path,
        "set -e\nsign=\"minisign -S -s $SECRET -m\"\nexport SECRET\ncd \"$(dirname \"$1\")\"\n" +
            script);
    return publish("SECRET='" + m_key.secretKey().replace(' ', "\\ ") + "' sh '" + path + "'",
                   options + keyOption());
}

void tst_PublishSign::sign_withMinisign_isAcceptedByMinisign()
{
    const ToolRun run = publish(m_key.command(), keyOption());
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.output.contains("2 files, 9 bytes, signed, in"), run.output.constData());
    QVERIFY(accepts(m_key));
    QVERIFY(!accepts(m_otherKey));
    QVERIFY(ReadFile(manifest()).contains("\n@application\ta.b.c\n"));
}

void tst_PublishSign::sign_withOneOfSeveralKeys_isEnough()
{
    const ToolRun run =
        publish(m_key.command(), QStringList{"--public-key", m_otherKey.publicKey()} + keyOption());
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
}

void tst_PublishSign::sign_withoutAKey_isWarnedOf()
{
    const ToolRun strict = publish(m_key.command(), {"--strict"});
    QCOMPARE(strict.exitCode, 1);
    QVERIFY(!QFileInfo::exists(m_output));
    const ToolRun run = publish(m_key.command(), {});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(
        run.errors,
        QByteArray(
            "publish_update: warning: without --public-key the signature is not checked here.\n"));
}

void tst_PublishSign::sign_withoutAnIdentifier_isWarnedOf()
{
    const ToolRun run = RunPublish(QStringList{"--sign-with", m_key.command()} + keyOption() +
                                   PublishArguments(m_release, m_output));
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.errors.contains("warning: without an identifier (--application) the signature is "
                                 "good for every application of the same key.\n"),
             run.errors.constData());
}

void tst_PublishSign::sign_signature_canBeReadByEverybody()
{
    const ToolRun run = publishBy("umask 077\neval \"$sign\" '\"$1\"'\n");
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    struct stat status {};
    QCOMPARE(::stat(signature().toUtf8().constData(), &status), 0);
    QCOMPARE(int(status.st_mode & 07777), 0644);
}

void tst_PublishSign::sign_comment_hasALimit_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("500 bytes") << 500 << true;
    QTest::newRow("10 kB") << 10000 << false;
    QTest::newRow("longer than any signature has to be") << 0x4000 << false;
}

void tst_PublishSign::sign_comment_hasALimit()
{
    QFETCH(int, length);
    QFETCH(bool, isTaken);
    WriteFile(m_folder->filePath("comment"), QByteArray(length, 'c'));
    const ToolRun run = publishBy("eval \"$sign\" '\"$1\"'\n"
                                  "{ printf 'untrusted comment: '; cat ../../../comment; echo\n"
                                  "tail -n 3 \"$1.minisig\"; } > \"$TMPDIR/s\"\n"
                                  "mv \"$TMPDIR/s\" \"$1.minisig\"\n");
    QVERIFY2(run.exitCode == (isTaken ? 0 : 1), run.errors.constData());
}

void tst_PublishSign::unsigned_afterASignedOne_isWarnedOf()
{
    QCOMPARE(publish(m_key.command(), keyOption()).exitCode, 0);
    QStringList arguments = PublishArguments(m_release, m_output);
    arguments.replace(1, "3.10.26");
    QCOMPARE(RunPublish(arguments + QStringList("--strict")).exitCode, 1);
    QVERIFY(!QFileInfo::exists(m_output + "/3.10.26"));
    const ToolRun run = RunPublish(arguments);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.errors,
             QByteArray("publish_update: warning: the announced release is signed and this one is "
                        "not: users who demand a signature will not accept it.\n"));
}

void tst_PublishSign::sign_command_runsWhereTheCallerIs()
{
    QVERIFY(QFile::copy(m_key.secretKey(), m_folder->filePath("vendor.key")));
    const QStringList options{"--sign-with", "minisign -S -s vendor.key -m", "--application",
                              "a.b.c"};
    const ToolRun run = RunPublish(options + keyOption() + PublishArguments("release", "output"),
                                   {"sh", "-c", R"(cd "$0" && exec "$@")", m_folder->path()});
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QVERIFY(accepts(m_key));
}

void tst_PublishSign::sign_command_getsAnyPath()
{
    m_output = m_folder->filePath(QStringLiteral("a 'b' \"c\" $d `e` \\ 输出"));
    const ToolRun run = publish(m_key.command(), keyOption());
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QVERIFY(accepts(m_key));
}

void tst_PublishSign::sign_command_hasTheTerminal()
{
    WriteFile(m_folder->filePath("ask.sh"), "test -t 0 && test -t 2 && stty -echo\n"
                                            "printf 'Pass phrase: ' >&2; read -r words\n"
                                            "test \"$words\" = 'open sesame' || exit 3\n" +
                                                m_key.command().toUtf8() + " \"$1\"\n");
    const QStringList arguments =
        QStringList{"--sign-with", "sh ask.sh", "--application", "a.b.c"} + keyOption() +
        PublishArguments(m_release, m_output);
    const auto run = [this, &arguments](const QByteArray &typed) {
        QProcess terminal;
        terminal.setWorkingDirectory(m_folder->path());
        const QString command = PublishProgram() + " '" + arguments.join("' '") + "'; stty -a";
        terminal.start("script", {"-qec", command, "/dev/null"});
        QByteArray shown;
        while (!shown.contains("Pass phrase: ") && terminal.waitForReadyRead(20000)) {
            shown += terminal.readAll();
        }
        terminal.write(typed);
        terminal.closeWriteChannel();
        return terminal.waitForFinished() ? shown + terminal.readAll() : QByteArray("never ended");
    };
    const QByteArray wrong = run("open barley\n");
    QVERIFY2(wrong.contains("The signing command failed: its exit code is 3."), wrong.constData());
    QVERIFY2(wrong.contains(" echo "), wrong.constData()); // restored as it was
    QVERIFY(!QFileInfo::exists(m_output));
    const QByteArray right = run("open sesame\n");
    QVERIFY2(right.contains("Published version"), right.constData());
    QVERIFY(accepts(m_key));
}

void tst_PublishSign::sign_json_isAloneOnStandardOutput()
{
    const ToolRun run =
        publish("echo noise; " + m_key.command(), QStringList{"--json"} + keyOption());
    QCOMPARE(run.exitCode, 0);
    QJsonParseError error{};
    const QJsonObject object = QJsonDocument::fromJson(run.output, &error).object();
    QCOMPARE(error.error, QJsonParseError::NoError);
    QCOMPARE(object.value("signed").toBool(), true);
    QVERIFY(run.errors.contains("noise\n"));
}

void tst_PublishSign::signature_notGood_showsNothing_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("message");
    const QByteArray sign = "eval \"$sign\" '\"$1\"'\n";
    const QByteArray notAccepted = "The signature is not accepted: ";
    QTest::newRow("none") << QByteArray("true\n")
                          << QByteArray("The signing command left no usable "
                                        "update_md5.info.minisig: it is missing.");
    QTest::newRow("empty") << QByteArray(": > \"$1.minisig\"\n") << notAccepted;
    QTest::newRow("noise") << QByteArray("echo signed > \"$1.minisig\"\n") << notAccepted;
    QTest::newRow("of another file")
        << QByteArray("cp \"$1\" \"$TMPDIR/m\"; echo x >> \"$TMPDIR/m\"\n"
                      "eval \"$sign\" '\"$TMPDIR/m\"'\nmv \"$TMPDIR/m.minisig\" \"$1.minisig\"\n")
        << notAccepted;
    QTest::newRow("cut") << sign + "truncate -s -10 \"$1.minisig\"\n" << notAccepted;
    QTest::newRow("CR LF") << sign + "sed -i 's/$/\\r/' \"$1.minisig\"\n" << notAccepted;
    QTest::newRow("with something behind") << sign + "echo x >> \"$1.minisig\"\n" << notAccepted;
    QTest::newRow("other trusted comment")
        << sign + "sed -i 's/^trusted comment: ./trusted comment: X/' \"$1.minisig\"\n"
        << notAccepted;
    QTest::newRow("of the older form") << QByteArray("eval \"$sign\" '\"$1\" -l'\n") << notAccepted;
    QTest::newRow("huge") << QByteArray("head -c 1000000 /dev/zero > \"$1.minisig\"\n")
                          << QByteArray("it is too long: ");
    QTest::newRow("link")
        << sign + "mv \"$1.minisig\" \"$TMPDIR/s\"; ln -s \"$TMPDIR/s\" \"$1.minisig\"\n"
        << QByteArray("it cannot be read: it is not a regular file.");
    QTest::newRow("pipe") << QByteArray("mkfifo \"$1.minisig\"\n")
                          << QByteArray("it cannot be read: it is not a regular file.");
    QTest::newRow("folder") << QByteArray("mkdir \"$1.minisig\"\n")
                            << QByteArray("it cannot be read: it is not a regular file.");
}

void tst_PublishSign::signature_notGood_showsNothing()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, message);
    WriteFile(m_output + "/update.json", "as before");
    const QMap<QString, QByteArray> before = FilesBelow(m_output);
    const ToolRun run = publishBy(script);
    QCOMPARE(run.exitCode, 1);
    QVERIFY(!run.output.contains("Published"));
    QVERIFY2(run.errors.contains("publish_update: ") && run.errors.contains(message),
             run.errors.constData());
    QCOMPARE(FilesBelow(m_output), before);
    QCOMPARE(publishBy("eval \"$sign\" '\"$1\"'\n").exitCode, 0); // nothing else was missing
}

void tst_PublishSign::command_doesOtherThings_showsNothing_data()
{
    QTest::addColumn<QByteArray>("script"); // before it signs
    QTest::addColumn<QByteArray>("message");
    const QByteArray changed = "The signing command changed the release: ";
    QTest::newRow("exit code") << QByteArray("exit 7\n")
                               << QByteArray("The signing command failed: its exit code is 7.");
    QTest::newRow("killed") << QByteArray("kill -KILL $$\n") << QByteArray("its exit code is 137.");
    QTest::newRow("not there") << QByteArray("no-such-command\n")
                               << QByteArray("its exit code is 127.");
    QTest::newRow("adds a line to the manifest")
        << QByteArray("echo '@x' >> update_md5.info\n")
        << QByteArray("The signing command changed update_md5.info.");
    QTest::newRow("removes the manifest")
        << QByteArray("cp update_md5.info \"$TMPDIR/m\"; eval \"$sign\" '\"$1\"'\n"
                      "rm update_md5.info; exit 0\n")
        << QByteArray("The signing command changed update_md5.info.");
    QTest::newRow("writes into a file, same size and time")
        << QByteArray("touch -r Contents/Host t; printf HOST > Contents/Host\n"
                      "touch -r t Contents/Host; rm t\n")
        << QByteArray(changed + "Contents/Host: its MD5 text is");
    QTest::newRow("removes a file")
        << QByteArray("rm Contents/Host\n") << QByteArray(changed + "Contents/Host: ");
    QTest::newRow("a link for a file")
        << QByteArray("cp Contents/Host \"$TMPDIR/h\"; ln -sf \"$TMPDIR/h\" Contents/Host\n")
        << QByteArray(changed + "Contents/Host: it is not a regular file");
    QTest::newRow("adds a file") << QByteArray("echo x > Contents/new\n")
                                 << QByteArray(changed +
                                               "Contents/new: it is not in the manifest.");
    QTest::newRow("adds a folder")
        << QByteArray("mkdir new\n") << QByteArray(changed + "new: it is not in the manifest.");
}

void tst_PublishSign::command_doesOtherThings_showsNothing()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, message);
    const ToolRun run = publishBy(script + "eval \"$sign\" '\"$1\"'\n");
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains(message), run.errors.constData());
    QVERIFY(!QFileInfo::exists(m_output));
}

/// A command so long that the shell cannot be given it with what is put behind it.
void tst_PublishSign::command_cannotBeStarted_showsNothing()
{
    const QString command = QString(131060, 'x') + " # long";
    const ToolRun run = publish(command, keyOption());
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains("The signing command failed: it cannot be started: "),
             run.errors.constData());
    QVERIFY(!QFileInfo::exists(m_output));
}

/// Whoever ignores the end of children is told of none.
void tst_PublishSign::command_endUnknown_showsNothing()
{
    const QStringList options{"--sign-with", m_key.command(), "--application", "a.b.c"};
    const ToolRun run = RunPublish(options + keyOption() + PublishArguments(m_release, m_output),
                                   {"env", "--ignore-signal=CHLD"});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains("The signing command failed: its end cannot be waited for: "),
             run.errors.constData());
    QVERIFY(!QFileInfo::exists(m_output));
}

void tst_PublishSign::command_interrupted_showsNothing_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("toAll");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("terminal's interrupt") << SIGINT << true << QByteArray("signal 2 (");
    QTest::newRow("terminal's quit") << SIGQUIT << true << QByteArray("signal 3 (");
    QTest::newRow("end, to the publisher alone") << SIGTERM << false << QByteArray("signal 15 (");
    QTest::newRow("hang-up of the terminal") << SIGHUP << true << QByteArray("signal 1 (");
}

void tst_PublishSign::command_interrupted_showsNothing()
{
    QFETCH(int, signal);
    QFETCH(bool, toAll);
    QFETCH(QByteArray, message);
    WriteFile(m_output + "/update.json", "as before");
    const QMap<QString, QByteArray> before = FilesBelow(m_output);
    QProcess process; // leads its own session
    process.start("setsid", QStringList{PublishProgram(), "--sign-with", "exec sleep 60 #",
                                        "--application", "a.b.c"} +
                                keyOption() + PublishArguments(m_release, m_output));
    QVERIFY(process.waitForStarted());
    const QString began = m_output + "/.publish_update/release/update_md5.info";
    QTRY_VERIFY(QFileInfo::exists(began));
    QTest::qWait(300); // the command starts right after that
    QCOMPARE(::kill(static_cast<pid_t>(toAll ? -process.processId() : process.processId()), signal),
             0);
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    const QByteArray errors = process.readAllStandardError();
    QVERIFY2(errors.contains("The signing command failed: it was ended by " + message),
             errors.constData());
    QCOMPARE(FilesBelow(m_output), before);
}

QTEST_GUILESS_MAIN(tst_PublishSign)
#include "tst_publishsign.moc"
