// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/QtDefaults.h"
#include "ui/LazyIcon.h"

#include <QApplication>
#include <QDataStream>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

Q_DECLARE_METATYPE(QIcon::Mode)

namespace {

const QList<int> sizes{16, 22, 31, 32, 48, 64, 100, 128, 255, 256, 257, 300, 512};

QIcon PlainIcon()
{
    return QIcon(QStringLiteral(":/icon"));
}

QIcon SampleIcon()
{
    return LazyIcon(QStringLiteral(":/icon"));
}

/// \a icon painted into a square of \a side, on the screen that this process has.
QImage Painted(const QIcon &icon, int side, QIcon::Mode mode)
{
    QImage image(QSize(side, side) * qApp->devicePixelRatio(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(qApp->devicePixelRatio());
    image.fill(Qt::white);
    QPainter painter(&image);
    icon.paint(&painter, QRect(0, 0, side, side), Qt::AlignCenter, mode);
    return image;
}

void Compare(const QIcon &icon, int side, QIcon::Mode mode)
{
    const QPixmap expected = PlainIcon().pixmap(QSize(side, side), mode);
    const QPixmap actual = icon.pixmap(QSize(side, side), mode);
    QCOMPARE(actual.devicePixelRatio(), expected.devicePixelRatio());
    QCOMPARE(actual.toImage(), expected.toImage());
    QCOMPARE(Painted(icon, side, mode), Painted(PlainIcon(), side, mode));
    QCOMPARE(icon.actualSize(QSize(side, side), mode),
             PlainIcon().actualSize(QSize(side, side), mode));
}

} // namespace

class tst_LazyIcon : public QObject {
    Q_OBJECT

private slots:
    static void icon_anySize_isThePlainIcon_data();
    static void icon_anySize_isThePlainIcon();
    static void icon_onADenseScreen_isThePlainIcon_data();
    static void icon_onADenseScreen_isThePlainIcon();
    static void icon_everyMode_isThePlainIcon_data();
    static void icon_everyMode_isThePlainIcon();
    static void icon_notSquare_keepsItsShape();
    static void icon_made_holdsOnePicture();
    static void icon_copiedAndStreamed_keepsItsPicture();
    static void icon_fileMadeAfterwards_isReadOnFirstUse();
    static void icon_ofAMissingFile_isNull();
};

void tst_LazyIcon::icon_anySize_isThePlainIcon_data()
{
    QTest::addColumn<int>("side");
    for (const int side : sizes) {
        QTest::addRow("%d", side) << side;
    }
}

void tst_LazyIcon::icon_anySize_isThePlainIcon()
{
    QFETCH(int, side);
    Compare(SampleIcon(), side, QIcon::Normal);
    // Never scaled up, whatever the screen.
    const QPixmap pixmap = SampleIcon().pixmap(QSize(side, side));
    QCOMPARE(pixmap.width(), qMin(256, qRound(side * qApp->devicePixelRatio())));
}

void tst_LazyIcon::icon_onADenseScreen_isThePlainIcon_data()
{
    QTest::addColumn<QString>("ratio");
    QTest::newRow("1.5") << "1.5";
    QTest::newRow("2") << "2";
    QTest::newRow("3") << "3";
}

/// The ratio is fixed when a program starts: this one runs again.
void tst_LazyIcon::icon_onADenseScreen_isThePlainIcon()
{
    QFETCH(QString, ratio);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), ratio);
    environment.insert(QStringLiteral("EXPECTED_RATIO"), ratio);
    QProcess again;
    again.setProcessEnvironment(environment);
    again.setProcessChannelMode(QProcess::MergedChannels);
    again.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("icon_anySize_isThePlainIcon")});
    QVERIFY(again.waitForFinished());
    QVERIFY2(again.exitCode() == 0, again.readAll().constData());
}

void tst_LazyIcon::icon_everyMode_isThePlainIcon_data()
{
    QTest::addColumn<QIcon::Mode>("mode");
    QTest::newRow("normal") << QIcon::Normal;
    QTest::newRow("disabled") << QIcon::Disabled;
    QTest::newRow("active") << QIcon::Active;
    QTest::newRow("selected") << QIcon::Selected;
}

void tst_LazyIcon::icon_everyMode_isThePlainIcon()
{
    QFETCH(QIcon::Mode, mode);
    Compare(SampleIcon(), 48, mode);
}

void tst_LazyIcon::icon_notSquare_keepsItsShape()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("wide.png"));
    QImage wide(100, 30, QImage::Format_ARGB32);
    wide.fill(Qt::red);
    QVERIFY(wide.save(path));
    for (const QSize &size : {QSize(50, 50), QSize(200, 20), QSize(80, 200), QSize(400, 400)}) {
        QCOMPARE(LazyIcon(path).actualSize(size), QIcon(path).actualSize(size));
        QCOMPARE(LazyIcon(path).pixmap(size).toImage(), QIcon(path).pixmap(size).toImage());
    }
}

void tst_LazyIcon::icon_made_holdsOnePicture()
{
    QVERIFY(!SampleIcon().isNull());
    QCOMPARE(SampleIcon().availableSizes(), QList<QSize>{QSize(256, 256)});
}

void tst_LazyIcon::icon_copiedAndStreamed_keepsItsPicture()
{
    QIcon copy = SampleIcon();
    copy.detach();
    Compare(copy, 48, QIcon::Normal);

    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << SampleIcon();
    QIcon read;
    QDataStream in(bytes);
    in >> read;
    QCOMPARE(read.availableSizes(), QList<QSize>{QSize(256, 256)});
    Compare(read, 48, QIcon::Normal);
}

void tst_LazyIcon::icon_fileMadeAfterwards_isReadOnFirstUse()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("icon.ico"));
    const QIcon icon = LazyIcon(path);
    const QIcon copy = icon;
    QVERIFY(QFile::copy(QStringLiteral(":/icon"), path));
    QCOMPARE(copy.availableSizes(), QList<QSize>{QSize(256, 256)});
}

void tst_LazyIcon::icon_ofAMissingFile_isNull()
{
    QVERIFY(LazyIcon(QStringLiteral(":/no such file")).isNull());
}

int main(int argc, char *argv[])
{
    EnableHighDpi(); // as in a session
    const QApplication app(argc, argv);
    if (qEnvironmentVariableIsSet("EXPECTED_RATIO") &&
        qApp->devicePixelRatio() != qEnvironmentVariable("EXPECTED_RATIO").toDouble()) {
        return 99; // the environment did not take
    }
    tst_LazyIcon test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_lazyicon.moc"
