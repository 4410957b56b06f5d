// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "EveryDialog.h"
#include "FormTable.h"
#include "ui/DialogFrame.h"

#include <QImage>
#include <QResource>
#include <QSignalSpy>
#include <QtTest>

/// Takes the resources away while it lives. (Their functions are known in the global namespace
/// only.)
class WithoutResources {
public:
    WithoutResources() { Q_CLEANUP_RESOURCE(Update); }
    ~WithoutResources() { Q_INIT_RESOURCE(Update); }
    Q_DISABLE_COPY_MOVE(WithoutResources)
};

namespace {

/// The face of \a dialog without its widgets.
QImage bareFace(QDialog &dialog)
{
    const auto children = ChildWidgets(dialog);
    for (QWidget *child : children) {
        child->hide();
    }
    return dialog.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

QImage background()
{
    return QImage(QStringLiteral(":/update_bg")).convertToFormat(QImage::Format_ARGB32);
}

QStringList s_messages;

void keepMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    s_messages << message;
}

} // namespace

/// What all dialogs have in common.
class tst_DialogFrame : public QObject {
    Q_OBJECT

private slots:
    static void dialog_made_isFramelessAndHasTheSharedSize_data() { EveryDialog::addRows(); }
    static void dialog_made_isFramelessAndHasTheSharedSize();
    static void face_painted_isTheImage_data() { EveryDialog::addRows(); }
    static void face_painted_isTheImage();
    static void face_withoutTheImage_isTheDefaultBackground_data() { EveryDialog::addRows(); }
    static void face_withoutTheImage_isTheDefaultBackground();
    static void face_paintedAgain_loadsTheImageAnew();
    static void face_onALargerDialog_isNotScaled();
    static void escape_pressed_rejects_data() { EveryDialog::addRows(); }
    static void escape_pressed_rejects();
};

void tst_DialogFrame::dialog_made_isFramelessAndHasTheSharedSize()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    CompareFrame(*dialog);
}

void tst_DialogFrame::face_painted_isTheImage()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    QCOMPARE(bareFace(*dialog), background());
}

void tst_DialogFrame::face_withoutTheImage_isTheDefaultBackground()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    const WithoutResources without;
    s_messages.clear();
    const auto previous = qInstallMessageHandler(keepMessage);
    const QImage face = bareFace(*dialog);
    qInstallMessageHandler(previous);
    QImage plain(face.size(), face.format());
    plain.fill(dialog->palette().color(QPalette::Window));
    QCOMPARE(face, plain);
    QCOMPARE(s_messages, QStringList());
}

void tst_DialogFrame::face_paintedAgain_loadsTheImageAnew()
{
    EveryDialog every;
    const auto dialog = every.make(QStringLiteral("notice"));
    const QImage before = bareFace(*dialog);
    QImage between;
    {
        const WithoutResources without;
        between = bareFace(*dialog);
    }
    QVERIFY(between != before);
    QCOMPARE(bareFace(*dialog), before);
}

void tst_DialogFrame::face_onALargerDialog_isNotScaled()
{
    EveryDialog every;
    const auto dialog = every.make(QStringLiteral("notice"));
    dialog->resize(700, 400);
    const QImage face = bareFace(*dialog);
    QCOMPARE(face.copy(0, 0, 556, 341), background());
    QCOMPARE(face.pixelColor(556, 341), dialog->palette().color(QPalette::Window));
}

void tst_DialogFrame::escape_pressed_rejects()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    const QSignalSpy rejected(dialog.get(), &QDialog::rejected);
    QCOMPARE(ExecAndPress(*dialog, Qt::Key_Escape), 0);
    QCOMPARE(rejected.size(), 1);
}

QTEST_MAIN(tst_DialogFrame)
#include "tst_dialogframe.moc"
