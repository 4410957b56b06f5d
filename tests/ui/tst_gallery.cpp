// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/gallery/Comparison.h"

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Run {
    int exitCode;
    QString output;
    QString errors;
};

Run RunGallery(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(GALLERY), arguments);
    if (!process.waitForFinished(240000)) {
        return {-1, QString(), process.errorString()};
    }
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

void SavePicture(const QDir &folder, const QString &name, const QColor &color, int dots = 0)
{
    QImage image(20, 10, QImage::Format_ARGB32);
    image.fill(color);
    for (int x = 0; x < dots; ++x) {
        image.setPixelColor(x, 0, Qt::black);
    }
    QVERIFY(image.save(folder.filePath(name)));
}

} // namespace

/// The program that makes pictures of the dialogs.
class tst_Gallery : public QObject {
    Q_OBJECT

private slots:
    static void differences_found_areNamedByPicture();
    static void program_run_makesAllPicturesAndTellsWhatIsOther();
    static void program_oneLook_makesItsPicturesInSilence_data();
    static void program_oneLook_makesItsPicturesInSilence();
    static void program_pictureImpossible_isSaid();
    static void program_folderImpossible_isSaid();
    static void program_asked_tellsItsUsage();
    static void program_badUsage_isRefused_data();
    static void program_badUsage_isRefused();
    static void program_againstNothing_isRefused();
    static void program_asked_tellsItsVersion();
};

void tst_Gallery::differences_found_areNamedByPicture()
{
    const QTemporaryDir temporary;
    const QDir folder(temporary.path());
    SavePicture(folder, QStringLiteral("same.png"), Qt::red);
    SavePicture(folder, QStringLiteral("changed.png"), Qt::red);
    SavePicture(folder, QStringLiteral("resized.png"), Qt::red);
    SavePicture(folder, QStringLiteral("gone.png"), Qt::red);
    SavePicture(folder, QStringLiteral("contact-sheet.png"), Qt::red);
    const FormerPictures former(folder);
    QCOMPARE(former.differences(folder), QStringList());

    SavePicture(folder, QStringLiteral("contact-sheet.png"), Qt::blue); // follows from the others
    SavePicture(folder, QStringLiteral("changed.png"), Qt::red, 5);
    QVERIFY(
        QImage(5, 5, QImage::Format_RGB32).save(folder.filePath(QStringLiteral("resized.png"))));
    QVERIFY(QFile::remove(folder.filePath(QStringLiteral("gone.png"))));
    SavePicture(folder, QStringLiteral("new.png"), Qt::red);
    QCOMPARE(former.differences(folder),
             (QStringList{"changed  changed.png (2.50 % of its pixels)", "new      new.png",
                          "changed  resized.png (another size)", "gone     gone.png"}));
}

void tst_Gallery::program_run_makesAllPicturesAndTellsWhatIsOther()
{
    const QTemporaryDir temporary;
    const QDir folder(temporary.filePath(QStringLiteral("new/folder")));
    const QDir former(temporary.path());
    QCOMPARE(RunGallery({QStringLiteral("--look"), QStringLiteral("dark"), former.path()}).exitCode,
             0);
    QImage red(556, 341, QImage::Format_RGB32);
    red.fill(Qt::red);
    QVERIFY(red.save(former.filePath(QStringLiteral("icon-dark.png"))));
    SavePicture(former, QStringLiteral("notice-dark.png"), Qt::red);
    SavePicture(former, QStringLiteral("of-old-dark.png"), Qt::red);
    const Run run = RunGallery({folder.path(), QStringLiteral("--against"), former.path()});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.exitCode, 0);
    const QStringList told = run.output.split(QLatin1Char('\n'));
    QVERIFY(told.contains(QStringLiteral("changed  icon-dark.png (100.00 % of its pixels)")));
    QVERIFY(told.contains(QStringLiteral("changed  notice-dark.png (another size)")));
    QVERIFY(told.contains(QStringLiteral("gone     of-old-dark.png")));
    QVERIFY(told.contains(QStringLiteral("new      notice-3x.png")));
    QVERIFY(!run.output.contains(QLatin1String("error-dark.png")));
    // Only its size: Qt 6 refuses to load a picture that takes more than 128 MiB.
    QVERIFY(QImageReader(folder.filePath(QStringLiteral("contact-sheet.png"))).size().width() >
            3000);
    // The page shows each of them, and nothing else is there.
    QFile page(folder.filePath(QStringLiteral("index.html")));
    QVERIFY(page.open(QIODevice::ReadOnly));
    const QByteArray html = page.readAll();
    const QStringList names = folder.entryList({QStringLiteral("*-*x.png")}, QDir::Files);
    QVERIFY(names.size() > 60);
    for (const QString &name : names) {
        QVERIFY2(html.contains("src=\"" + name.toUtf8() + "\""), qPrintable(name));
        QVERIFY2(!QImage(folder.filePath(name)).isNull(), qPrintable(name));
    }
    QCOMPARE(QImage(folder.filePath(QStringLiteral("notice-1x.png"))).size(), QSize(556, 341));
    QCOMPARE(QImage(folder.filePath(QStringLiteral("notice-3x.png"))).size(), QSize(1668, 1023));
}

void tst_Gallery::program_oneLook_makesItsPicturesInSilence_data()
{
    QTest::addColumn<QString>("look");
    QTest::addColumn<QString>("picture");
    QTest::newRow("dark") << "dark"
                          << "notice-dark.png";
    QTest::newRow("unknown, so the first") << "glass"
                                           << "notice-1x.png";
}

void tst_Gallery::program_oneLook_makesItsPicturesInSilence()
{
    QFETCH(QString, look);
    QFETCH(QString, picture);
    const QTemporaryDir temporary;
    const Run run = RunGallery({QStringLiteral("--look"), look, temporary.path()});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.output, QString());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(QImage(temporary.filePath(picture)).size(), QSize(556, 341));
}

void tst_Gallery::program_pictureImpossible_isSaid()
{
    const QTemporaryDir temporary;
    QVERIFY(QDir(temporary.path()).mkdir(QStringLiteral("notice-1x.png"))); // in the way
    const Run run = RunGallery({temporary.path()});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QStringLiteral("updater_gallery: not all pictures could be made\n"));
}

void tst_Gallery::program_folderImpossible_isSaid()
{
    const QTemporaryDir temporary;
    SavePicture(QDir(temporary.path()), QStringLiteral("file.png"), Qt::red);
    const QString folder = temporary.filePath(QStringLiteral("file.png/folder"));
    const Run run = RunGallery({folder});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, "updater_gallery: cannot make the folder " + folder + "\n");
}

void tst_Gallery::program_asked_tellsItsUsage()
{
    const Run run = RunGallery({QStringLiteral("--help")});
    QCOMPARE(run.exitCode, 0);
    for (const char *word : {"FOLDER", "--against", "--look", "--version"}) {
        QVERIFY2(run.output.contains(QLatin1String(word)), word);
    }
}

void tst_Gallery::program_badUsage_isRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no folder") << QStringList{};
    QTest::newRow("two folders") << QStringList{"a", "b"};
    QTest::newRow("unknown option") << QStringList{"--faster", "a"};
    QTest::newRow("against what") << QStringList{"a", "--against"};
}

void tst_Gallery::program_badUsage_isRefused()
{
    QFETCH(QStringList, arguments);
    const Run run = RunGallery(arguments);
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.output, QString());
    QVERIFY2(run.errors.startsWith(QLatin1String("updater_gallery: ")), qPrintable(run.errors));
}

void tst_Gallery::program_againstNothing_isRefused()
{
    const QTemporaryDir temporary;
    const Run run = RunGallery({QStringLiteral("--against"), temporary.path(),
                                temporary.filePath(QStringLiteral("pictures"))});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, "updater_gallery: " + temporary.path() + " holds no pictures\n");
}

void tst_Gallery::program_asked_tellsItsVersion()
{
    const Run run = RunGallery({QStringLiteral("--version")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.output, QStringLiteral(GALLERY_VERSION "\n"));
}

QTEST_GUILESS_MAIN(tst_Gallery)
#include "tst_gallery.moc"
