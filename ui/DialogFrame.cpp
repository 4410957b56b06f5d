// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/DialogFrame.h"

#include "ui/DialogStyle.h"
#include "ui/LabelLine.h"

#include <QCursor>
#include <QDialog>
#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPointF>
#include <QScreen>
#include <QWindow>

namespace {

void WearStyle(QDialog &dialog)
{
    auto *style = new CDialogStyle;
    style->setParent(&dialog);
    const auto children = dialog.findChildren<QWidget *>();
    for (QWidget *child : children) {
        child->setStyle(style);
    }
}

/// Dresses its dialog when that is first painted or shown, and centres it whenever it is shown.
class FirstShow : public QObject {
public:
    explicit FirstShow(QDialog &dialog) : QObject(&dialog), m_dialog(dialog)
    {
        dialog.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Polish) {
            WearStyle(m_dialog);
        } else if (event->type() == QEvent::Show && !event->spontaneous()) {
            centre();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    /// The toolkit does the same, but leaves room for a frame that the dialogs do not have.
    void centre()
    {
        const bool moved = m_dialog.testAttribute(Qt::WA_Moved) && m_dialog.pos() != m_place;
        if (moved || m_dialog.parentWidget()) {
            return; // stays where somebody wants it
        }
        QScreen *pointed = QGuiApplication::screenAt(QCursor::pos());
        QScreen *screen = pointed ? pointed : m_dialog.screen();
        m_dialog.windowHandle()->setScreen(screen); // whose scale counts from now on
        const QRect room = screen->availableGeometry();
        const QSize spare = room.size() - m_dialog.size();
        m_place = room.topLeft() + QPoint(qMax(0, spare.width() / 2), qMax(0, spare.height() / 2));
        m_dialog.move(m_place);
    }

    QDialog &m_dialog;
    QPoint m_place;
};

} // namespace

void UseDialogLook(QDialog &dialog)
{
    new FirstShow(dialog); // owned by the dialog
    const auto labels = dialog.findChildren<QLabel *>();
    for (QLabel *label : labels) {
        new CLabelLine(*label); // owned by its label
    }
}

void PaintDialogFace(QWidget &dialog)
{
    QPainter painter(&dialog);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform); // without effect at pixel ratio 1
    const QPixmap face(QStringLiteral(":/update_bg"));
    painter.drawPixmap(QPointF(0, 0), face);
}
