// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "FormTable.h"

#include <QLabel>
#include <QMetaObject>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

namespace {

QString TextOf(const QWidget *widget)
{
    return widget->property("text").toString();
}

} // namespace

QList<QWidget *> ChildWidgets(const QDialog &dialog)
{
    return dialog.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
}

void AddRows(const QList<FormRow> &rows)
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QRect>("geometry");
    QTest::addColumn<bool>("headline");
    QTest::addColumn<QString>("text");
    int index = 0;
    for (const FormRow &row : rows) {
        QTest::newRow(row.name) << index++ << row.name << row.type << row.geometry << row.headline
                                << QString::fromUtf8(row.text);
    }
}

void CompareRow(const QDialog &dialog)
{
    QFETCH(int, index);
    QFETCH(QString, name);
    QFETCH(QString, type);
    QFETCH(QRect, geometry);
    QFETCH(bool, headline);
    QFETCH(QString, text);
    const QWidget *widget = ChildWidgets(dialog).value(index);
    QVERIFY(widget);
    QCOMPARE(widget->objectName(), name);
    QCOMPARE(QString::fromLatin1(widget->metaObject()->className()), type);
    QCOMPARE(widget->geometry(), geometry);
    QCOMPARE(widget->styleSheet(), QStringLiteral("color: rgb(0, 0, 0);"));
    QCOMPARE(TextOf(widget), text);
    const QFont font = widget->font();
    QCOMPARE(font.pointSize(), headline ? 15 : QFont().pointSize());
    QCOMPARE(font.family(), QFont().family());
    if (const auto *label = qobject_cast<const QLabel *>(widget)) {
        ComparePlainLabel(*label);
    }
}

void ComparePlainLabel(const QLabel &label)
{
    QCOMPARE(label.textFormat(), Qt::PlainText); // our choice: what is shown comes from outside
    const QLabel untouched;
    QCOMPARE(label.wordWrap(), untouched.wordWrap());
    QCOMPARE(label.alignment(), untouched.alignment());
    QCOMPARE(label.indent(), untouched.indent());
    QCOMPARE(label.margin(), untouched.margin());
    QCOMPARE(label.textInteractionFlags(), untouched.textInteractionFlags());
    QCOMPARE(label.focusPolicy(), untouched.focusPolicy());
}

void CompareFrame(const QDialog &dialog)
{
    QCOMPARE(dialog.size(), QSize(556, 341));
    QCOMPARE(dialog.windowFlags(), QDialog().windowFlags() | Qt::FramelessWindowHint);
    QVERIFY(!dialog.testAttribute(Qt::WA_TranslucentBackground));
    QCOMPARE(dialog.styleSheet(), QString());
    const QMetaObject &meta = *dialog.metaObject();
    QCOMPARE(meta.superClass(), &QDialog::staticMetaObject);
    QCOMPARE(meta.methodCount(), QDialog::staticMetaObject.methodCount());
    QCOMPARE(meta.propertyCount(), QDialog::staticMetaObject.propertyCount());
    QCOMPARE(meta.enumeratorCount(), QDialog::staticMetaObject.enumeratorCount());
    QCOMPARE(meta.classInfoCount(), QDialog::staticMetaObject.classInfoCount());
}

int ExecAndPress(QDialog &dialog, Qt::Key key)
{
    QTimer::singleShot(0, &dialog, [&dialog, key] { QTest::keyClick(&dialog, key); });
    return dialog.exec();
}
