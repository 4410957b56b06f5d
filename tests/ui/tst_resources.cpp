// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QImage>
#include <QtTest>

namespace {

QByteArray Resource(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// No dialog is named here: the resources must be in every program that links updater_ui.
class tst_Resources : public QObject {
    Q_OBJECT

private slots:
    static void resource_always_hasItsExactSize_data();
    static void resource_always_hasItsExactSize();
    static void background_decoded_isAnRgbaPngOfTheDialogsSize();
    static void icon_decoded_isOneImageOf256();
    static void collection_compiled_isUpdateInFormat2();
};

void tst_Resources::resource_always_hasItsExactSize_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("size");
    // Other artwork keeps these sizes: make_artwork.py fills its files up to them. Where it cannot
    // be made simple enough, they change here and there.
    QTest::newRow("icon") << ":/icon" << 24725;
    QTest::newRow("background") << ":/update_bg" << 26274;
}

void tst_Resources::resource_always_hasItsExactSize()
{
    QFETCH(QString, path);
    QTEST(static_cast<int>(Resource(path).size()), "size");
}

void tst_Resources::background_decoded_isAnRgbaPngOfTheDialogsSize()
{
    const QByteArray png = Resource(QStringLiteral(":/update_bg"));
    QCOMPARE(png.left(8), QByteArray("\x89PNG\r\n\x1a\n"));
    // 8 bits a channel, RGBA, deflate, the usual filters, one pass
    QCOMPARE(png.mid(24, 5), QByteArray::fromHex("0806000000"));
    const QImage image = QImage::fromData(png);
    QCOMPARE(image.size(), QSize(556, 341));
    QVERIFY(image.hasAlphaChannel());
}

void tst_Resources::icon_decoded_isOneImageOf256()
{
    const QByteArray ico = Resource(QStringLiteral(":/icon"));
    // an icon file; one image; 256 x 256 (written as 0), no palette; one plane of 32 bits
    QCOMPARE(ico.left(14), QByteArray::fromHex("0000010001000000000001002000"));
    const QIcon icon(QStringLiteral(":/icon"));
    QCOMPARE(icon.availableSizes(), QList<QSize>{QSize(256, 256)});
    QCOMPARE(icon.pixmap(QSize(256, 256)).size(), QSize(256, 256));
}

void tst_Resources::collection_compiled_isUpdateInFormat2()
{
    QDirIterator found(QStringLiteral(RESOURCES_AUTOGEN), {QStringLiteral("qrc_Update*.cpp")},
                       QDir::Files, QDirIterator::Subdirectories);
    QByteArray source; // some generators put it into a file of its own for each configuration
    while (found.hasNext()) {
        source += Resource(found.next());
    }
    QVERIFY(source.contains("qInitResources_Update"));
    QVERIFY(source.contains("qCleanupResources_Update"));
    QVERIFY(source.contains("int version = 2;"));
    QVERIFY(!source.contains("int version = 3;"));
}

QTEST_MAIN(tst_Resources)
#include "tst_resources.moc"
