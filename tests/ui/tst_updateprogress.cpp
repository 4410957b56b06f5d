// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "FormTable.h"
#include "tests/engine/EngineFixture.h"
#include "ui/UpdateProgress.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

/// The dialog alone, over a worker that never gets an answer.
class tst_UpdateProgress : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void form_widgets_areAsDesigned_data();
    void form_widgets_areAsDesigned();
    void form_look_isAsDesigned();
    void construction_bars_areReset();
    void construction_worker_isStarted();
    void cancel_pressedOrFailed_staysAsItWas();
    void metaObject_hasNoMembersOfItsOwn();
    void downloadStarted_total_showsTheShareBegun_data();
    void downloadStarted_total_showsTheShareBegun();
    void downloadStarted_desc_namesTheFile_data();
    void downloadStarted_desc_namesTheFile();
    void downloadProgress_bar_showsTheShareReceived_data();
    void downloadProgress_bar_showsTheShareReceived();
    void downloadFail_desc_showsTheText();
    void signals_ofTheWorker_reachTheDialog();

private:
    QProgressBar &bar(const char *name) const
    {
        return *m_dialog->findChild<QProgressBar *>(QLatin1String(name));
    }
    QPushButton &cancel() const
    {
        return *m_dialog->findChild<QPushButton *>(QStringLiteral("cancel"));
    }
    QString desc() const { return m_dialog->findChild<QLabel *>(QStringLiteral("desc"))->text(); }

    QScopedPointer<UpdateFolders> m_folders;
    QScopedPointer<ScriptedServer> m_server;
    QScopedPointer<CDownloadThread> m_worker;
    QScopedPointer<CUpdateProgress> m_dialog;
};

void tst_UpdateProgress::init()
{
    m_folders.reset(new UpdateFolders);
    m_server.reset(new ScriptedServer(
        [](ScriptedConnection &connection, const QByteArray &) { connection.hang(); }));
    m_worker.reset(new CDownloadThread(m_server->url(QStringLiteral("/")), m_folders->staging,
                                       m_folders->install,
                                       {RecordOf(QStringLiteral("file"), "content")}));
    m_dialog.reset(new CUpdateProgress(*m_worker));
}

void tst_UpdateProgress::cleanup()
{
    m_dialog.reset();
    m_worker->quit();
    m_worker->wait();
    m_worker.reset();
    m_server.reset();
    m_folders.reset();
}

void tst_UpdateProgress::form_widgets_areAsDesigned_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("className");
    QTest::addColumn<QRect>("geometry");
    QTest::addColumn<QString>("text");
    QTest::newRow("label") << 0 << "QLabel" << QRect(28, 230, 507, 40) << "正在更新";
    QTest::newRow("total") << 1 << "QProgressBar" << QRect(28, 270, 507, 5) << QString();
    QTest::newRow("progress") << 2 << "QProgressBar" << QRect(28, 299, 507, 5) << QString();
    QTest::newRow("desc") << 3 << "QLabel" << QRect(28, 280, 507, 14) << "正在下载更新文件";
    QTest::newRow("cancel") << 4 << "QPushButton" << QRect(460, 310, 80, 24) << "取消";
}

void tst_UpdateProgress::form_widgets_areAsDesigned()
{
    QFETCH(int, index);
    const QList<QWidget *> widgets =
        m_dialog->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(widgets.size(), 5);
    const QWidget *const widget = widgets.at(index); // in the order of making
    QCOMPARE(widget->objectName(), QString::fromLatin1(QTest::currentDataTag()));
    QTEST(QString::fromLatin1(widget->metaObject()->className()), "className");
    QTEST(widget->geometry(), "geometry");
    const bool isBar = qobject_cast<const QProgressBar *>(widget) != nullptr;
    QCOMPARE(widget->styleSheet(), isBar ? QString() : QStringLiteral("color: rgb(0, 0, 0);"));
    if (!isBar) {
        QTEST(widget->property("text").toString(), "text");
    }
}

void tst_UpdateProgress::form_look_isAsDesigned()
{
    QCOMPARE(m_dialog->objectName(), QStringLiteral("CUpdateProgress"));
    QCOMPARE(m_dialog->size(), QSize(556, 341));
    QVERIFY(m_dialog->windowFlags().testFlag(Qt::FramelessWindowHint));
    QCOMPARE(m_dialog->windowTitle(), QString());
    QCOMPARE(m_dialog->findChild<QLabel *>(QStringLiteral("label"))->font().pointSize(), 15);
    for (const char *name : {"label", "desc"}) {
        ComparePlainLabel(*m_dialog->findChild<QLabel *>(QLatin1String(name)));
    }
    QVERIFY(!cancel().isDefault());
    QVERIFY(cancel().autoDefault());
}

void tst_UpdateProgress::construction_bars_areReset()
{
    for (const char *name : {"total", "progress"}) {
        QCOMPARE(bar(name).value(), -1);
        QCOMPARE(bar(name).minimum(), 0);
        QCOMPARE(bar(name).maximum(), 100);
        QCOMPARE(bar(name).alignment(), Qt::AlignJustify | Qt::AlignVCenter);
        QVERIFY(!bar(name).isTextVisible());
        QVERIFY(!bar(name).invertedAppearance());
        QCOMPARE(bar(name).orientation(), Qt::Horizontal);
    }
}

void tst_UpdateProgress::construction_worker_isStarted()
{
    QVERIFY(m_worker->isRunning());
    QCOMPARE(m_worker->priority(), QThread::InheritPriority);
    QVERIFY(!m_dialog->isVisible());
}

void tst_UpdateProgress::cancel_pressedOrFailed_staysAsItWas()
{
    m_dialog->show();
    QVERIFY(cancel().isVisible() && cancel().isEnabled());
    m_dialog->downloadStarted(QFileInfo(QStringLiteral("/a/b")), 0, 1);
    m_dialog->downloadFail(QFileInfo(), QStringLiteral("text"));
    QVERIFY(cancel().isVisible() && cancel().isEnabled());
    cancel().click(); // nothing ends before an event is handled
    QVERIFY(m_dialog->isVisible());
    QVERIFY(cancel().isVisible() && cancel().isEnabled());
}

void tst_UpdateProgress::metaObject_hasNoMembersOfItsOwn()
{
    const QMetaObject &meta = CUpdateProgress::staticMetaObject;
    QCOMPARE(meta.className(), "CUpdateProgress");
    QCOMPARE(meta.superClass(), &QDialog::staticMetaObject);
    QCOMPARE(meta.methodCount(), meta.methodOffset());
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
}

void tst_UpdateProgress::downloadStarted_total_showsTheShareBegun_data()
{
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("value");
    QTest::newRow("first of four") << 0 << 4 << 0;
    QTest::newRow("last of four") << 3 << 4 << 75;
    QTest::newRow("cut off, not rounded") << 2 << 3 << 66;
    QTest::newRow("never full while one is missing") << 99999 << 100000 << 99;
    QTest::newRow("one past the last") << 4 << 4 << 100;
    QTest::newRow("out of range is ignored") << 5 << 4 << -1;
}

void tst_UpdateProgress::downloadStarted_total_showsTheShareBegun()
{
    QFETCH(int, current);
    QFETCH(int, total);
    bar("progress").setValue(50);
    m_dialog->downloadStarted(QFileInfo(QStringLiteral("/a/b/file")), current, total);
    QTEST(bar("total").value(), "value");
    QCOMPARE(bar("progress").value(), 0);
}

void tst_UpdateProgress::downloadStarted_desc_namesTheFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("text");
    QTest::newRow("last part only") << "/a/b/file.bin"
                                    << "正在下载更新文件file.bin";
    QTest::newRow("Chinese") << "/更新/图标 1.png"
                             << "正在下载更新文件图标 1.png";
    QTest::newRow("a placeholder is no placeholder") << "/a/%1.bin"
                                                     << "正在下载更新文件%1.bin";
    QTest::newRow("markup is no markup") << "/a/<b>x"
                                         << "正在下载更新文件<b>x";
}

void tst_UpdateProgress::downloadStarted_desc_namesTheFile()
{
    QFETCH(QString, path);
    m_dialog->downloadStarted(QFileInfo(path), 1, 2);
    QTEST(desc(), "text");
}

void tst_UpdateProgress::downloadProgress_bar_showsTheShareReceived_data()
{
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<int>("value");
    const auto row = [](const char *rule, qint64 received, qint64 total, int value) {
        QTest::newRow(rule) << received << total << value;
    };
    row("nothing yet", 0, 1048576, 0);
    row("a byte before the end", 1048575, 1048576, 99);
    row("the end", 1048576, 1048576, 100);
    row("cut off, not rounded", 2, 3, 66);
    row("larger than 32 bits", Q_INT64_C(3221225472), Q_INT64_C(4294967296), 75);
    row("very large", Q_INT64_C(90000000000000000), Q_INT64_C(92000000000000000), 97);
    row("an unknown total leaves it", 1000, -1, 33);
    row("more than all leaves it", 1011, 1000, 33);
    row("a total of 0 leaves it", 0, 0, 33);
    row("a total of 0 with bytes leaves it", 5, 0, 33);
    row("narrowed to 32 bits", Q_INT64_C(42949673), 1, 4); // from 4294967300
}

void tst_UpdateProgress::downloadProgress_bar_showsTheShareReceived()
{
    QFETCH(qint64, received);
    QFETCH(qint64, total);
    bar("progress").setValue(33);
    m_dialog->downloadProgress(received, total);
    QTEST(bar("progress").value(), "value");
    QCOMPARE(bar("total").value(), -1);
}

void tst_UpdateProgress::downloadFail_desc_showsTheText()
{
    m_dialog->downloadStarted(QFileInfo(QStringLiteral("file")), 1, 2);
    m_dialog->downloadProgress(1, 2);
    m_dialog->show();
    m_dialog->downloadFail(QFileInfo(QStringLiteral("/a/file")), QStringLiteral("<b>不对</b> %1"));
    QCOMPARE(desc(), QStringLiteral("<b>不对</b> %1"));
    QCOMPARE(bar("total").value(), 50);
    QCOMPARE(bar("progress").value(), 50);
    QVERIFY(m_dialog->isVisible());
}

void tst_UpdateProgress::signals_ofTheWorker_reachTheDialog()
{
    emit m_worker->downloadStarted(QFileInfo(QStringLiteral("/a/one")), 1, 4);
    QCOMPARE(bar("total").value(), 25);
    emit m_worker->downloadProgress(1, 10);
    QCOMPARE(bar("progress").value(), 10);
    emit m_worker->downloadFail(QFileInfo(), QStringLiteral("text"));
    QCOMPARE(desc(), QStringLiteral("text"));
}

QTEST_MAIN(tst_UpdateProgress)
#include "tst_updateprogress.moc"
