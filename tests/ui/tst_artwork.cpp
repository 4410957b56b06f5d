// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray Contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QDir UiFolder()
{
    return QDir(QStringLiteral(UI_FOLDER));
}

struct Run {
    int exitCode;
    QString output; ///< and errors
};

Run RunScript(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(
        QStringLiteral("python3"),
        QStringList{"-B", UiFolder().filePath(QStringLiteral("artwork/make_artwork.py"))} +
            arguments);
    const bool ended = process.waitForFinished(120000);
    return {ended ? process.exitCode() : -1, QString::fromUtf8(process.readAll())};
}

/// A folder with our icon, for a background of a vendor's.
class Drawings {
public:
    Drawings()
    {
        const QString icon = UiFolder().exists(QStringLiteral("artwork/icon.svg"))
                                 ? QStringLiteral("icon.svg")
                                 : QStringLiteral("icon.png");
        QVERIFY(QFile::copy(UiFolder().filePath("artwork/" + icon), path(icon)));
    }
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString background() const { return path(QStringLiteral("update_bg.png")); }
    Run make() const
    {
        return RunScript({QStringLiteral("--drawings"), m_folder.path(), m_made.path()});
    }
    QString made(const QString &name) const { return m_made.filePath(name); }

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_made;
};

} // namespace

/// The script that makes the embedded files from their drawings.
class tst_Artwork : public QObject {
    Q_OBJECT

private slots:
    static void initTestCase();
    static void script_run_makesTheEmbeddedFilesAgain();
    static void script_png_keepsItsPixels();
    static void script_badDrawing_saysWhatIsWrong_data();
    static void script_badDrawing_saysWhatIsWrong();
    static void script_help_tells();
};

void tst_Artwork::initTestCase()
{
    for (const char *program : {"python3", "rsvg-convert"}) {
        if (QStandardPaths::findExecutable(QLatin1String(program)).isEmpty()) {
            QSKIP("python3 and rsvg-convert are needed");
        }
    }
}

void tst_Artwork::script_run_makesTheEmbeddedFilesAgain()
{
    const QTemporaryDir folder;
    const Run run = RunScript({folder.path()});
    QVERIFY2(run.exitCode == 0, qPrintable(run.output));
    for (const char *name : {"icon.ico", "update_bg.png"}) {
        const QByteArray made = Contents(folder.filePath(QLatin1String(name)));
        QVERIFY(!made.isEmpty());
        QVERIFY2(made == Contents(UiFolder().filePath(QLatin1String(name))),
                 qPrintable(QLatin1String(name) + " is not what its drawing gives: run "
                                                  "ui/artwork/make_artwork.py"));
    }
}

void tst_Artwork::script_png_keepsItsPixels()
{
    QImage drawing(556, 341, QImage::Format_Indexed8); // not the form of the embedded file
    drawing.setColorTable({qRgb(1, 2, 3), qRgb(250, 128, 4), qRgb(40, 90, 200)});
    for (int y = 0; y < drawing.height(); ++y) {
        for (int x = 0; x < drawing.width(); ++x) {
            drawing.setPixel(x, y, uint(x / 50 + y / 40) % 3);
        }
    }
    const Drawings drawings;
    QVERIFY(drawing.save(drawings.background()));
    const Run run = drawings.make();
    QVERIFY2(run.exitCode == 0, qPrintable(run.output));
    const QString made = drawings.made(QStringLiteral("update_bg.png"));
    QCOMPARE(QImage(made), drawing.convertToFormat(QImage::Format_ARGB32));
    QCOMPARE(Contents(made).size(),
             Contents(UiFolder().filePath(QStringLiteral("update_bg.png"))).size());
}

void tst_Artwork::script_badDrawing_saysWhatIsWrong_data()
{
    QTest::addColumn<QImage>("drawing");
    QTest::addColumn<QString>("message");
    QImage noise(556, 341, QImage::Format_RGB32);
    for (int y = 0; y < noise.height(); ++y) {
        for (int x = 0; x < noise.width(); ++x) {
            noise.setPixel(x, y, QRandomGenerator::global()->generate());
        }
    }
    QTest::newRow("too rich") << noise
                              << "make_artwork.py: update_bg: [0-9]{6} bytes too big for a file of "
                                 "26274: draw it simpler \\(.*";
    QImage wide(560, 341, QImage::Format_RGB32);
    wide.fill(Qt::red);
    QTest::newRow("another size")
        << wide << "make_artwork.py: update_bg: 560 x 341 pixels, but 556 x 341 are wanted\n";
    QTest::newRow("missing") << QImage() << "make_artwork.py: update_bg: .* holds 0 of .*";
}

void tst_Artwork::script_badDrawing_saysWhatIsWrong()
{
    QFETCH(QImage, drawing);
    QFETCH(QString, message);
    const Drawings drawings;
    QVERIFY(drawing.isNull() || drawing.save(drawings.background()));
    const Run run = drawings.make();
    QCOMPARE(run.exitCode, 1);
    const QRegularExpression pattern(QRegularExpression::anchoredPattern(message),
                                     QRegularExpression::DotMatchesEverythingOption);
    QVERIFY2(pattern.match(run.output).hasMatch(), qPrintable(run.output));
    QVERIFY(!QFile::exists(drawings.made(QStringLiteral("update_bg.png"))));
}

void tst_Artwork::script_help_tells()
{
    const Run run = RunScript({QStringLiteral("--help")});
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.output.contains(QLatin1String("--drawings FOLDER")));
}

QTEST_GUILESS_MAIN(tst_Artwork)
#include "tst_artwork.moc"
