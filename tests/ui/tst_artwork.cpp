// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// The script that makes the embedded files from their drawings.
class tst_Artwork : public QObject {
    Q_OBJECT

private slots:
    static void script_run_makesTheEmbeddedFilesAgain();
};

void tst_Artwork::script_run_makesTheEmbeddedFilesAgain()
{
    for (const char *program : {"python3", "rsvg-convert"}) {
        if (QStandardPaths::findExecutable(QLatin1String(program)).isEmpty()) {
            QSKIP("python3 and rsvg-convert are needed");
        }
    }
    const QTemporaryDir folder;
    const QDir sources(QStringLiteral(UI_FOLDER));
    QProcess script;
    script.setProcessChannelMode(QProcess::MergedChannels);
    script.start(QStringLiteral("python3"),
                 {QStringLiteral("-B"), sources.filePath(QStringLiteral("artwork/make_artwork.py")),
                  folder.path()});
    QVERIFY(script.waitForFinished());
    QVERIFY2(script.exitCode() == 0, script.readAll().constData());
    for (const char *name : {"icon.ico", "update_bg.png"}) {
        const QByteArray made = contents(folder.filePath(QLatin1String(name)));
        QVERIFY(!made.isEmpty());
        QVERIFY2(made == contents(sources.filePath(QLatin1String(name))), name);
    }
}

QTEST_GUILESS_MAIN(tst_Artwork)
#include "tst_artwork.moc"
