// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/LazyIcon.h"

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>
#include <QtTest>

class tst_LazyIcon : public QObject {
    Q_OBJECT

private slots:
    static void icon_ofTheResource_givesThePicturesOfItsFile();
    static void icon_painted_looksLikeItsFile();
    static void icon_fileMadeAfterwards_isReadOnFirstUse();
    static void icon_ofAMissingFile_isNull();
};

void tst_LazyIcon::icon_ofTheResource_givesThePicturesOfItsFile()
{
    const QIcon icon = LazyIcon(QStringLiteral(":/icon"));
    const QIcon expected(QStringLiteral(":/icon"));
    QVERIFY(!icon.isNull());
    QCOMPARE(icon.availableSizes(), QList<QSize>{QSize(256, 256)});
    QCOMPARE(icon.actualSize(QSize(48, 48)), QSize(48, 48));
    QCOMPARE(icon.pixmap(256, 256).toImage(), expected.pixmap(256, 256).toImage());
}

void tst_LazyIcon::icon_painted_looksLikeItsFile()
{
    QImage actual(32, 32, QImage::Format_ARGB32_Premultiplied);
    actual.fill(Qt::white);
    QImage expected = actual;
    const QImage blank = actual;
    QPainter actualPainter(&actual);
    LazyIcon(QStringLiteral(":/icon")).paint(&actualPainter, actual.rect());
    actualPainter.end();
    QPainter expectedPainter(&expected);
    QIcon(QStringLiteral(":/icon")).paint(&expectedPainter, expected.rect());
    expectedPainter.end();
    QVERIFY(expected != blank);
    QCOMPARE(actual, expected);
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

QTEST_MAIN(tst_LazyIcon)
#include "tst_lazyicon.moc"
