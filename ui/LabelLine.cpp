// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/LabelLine.h"

#include <QEvent>
#include <QFont>
#include <QFontMetrics>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QStringList>
#include <QStyle>
#include <QTextLayout>
#include <QTextOption>
#include <QToolTip>

namespace {

constexpr int LongestLine = 300;   // characters; more than a dialog has room for
constexpr int LongestTip = 1000;   // characters; enough to fill the tip
constexpr int TipWidth = 460;      // pixels of text, so about 480 with the edge
constexpr int TipMargin = 16;      // pixels; of the tip's own edge, and to the edge of the screen
constexpr int SmallestTip = 80;    // pixels
constexpr QPoint TipOffset(2, 16); // where the toolkit puts a tip, from the position it is given

QString Beginning(const QString &text, int length)
{
    return text.size() <= length ? text : text.left(length) + QChar(0x2026);
}

bool HasLineBreak(const QString &text)
{
    return text.contains(QLatin1Char('\n')) || text.contains(QChar(QChar::LineSeparator)) ||
           text.contains(QChar(QChar::ParagraphSeparator));
}

/// \a text in lines for a tool tip of at most \a height pixels, broken inside a word where a word
/// is wider than the tip.
QStringList TipLines(const QString &text, qreal height)
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(text, QToolTip::font());
    layout.setTextOption(option);
    layout.beginLayout();
    QStringList lines;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(TipWidth);
        height -= line.height();
        if (height < 0 && !lines.isEmpty()) {
            lines.last() += QChar(0x2026);
            break;
        }
        lines << text.mid(line.textStart(), line.textLength());
    }
    layout.endLayout();
    return lines;
}

} // namespace

CLabelLine::CLabelLine(QLabel &label) : QObject(&label), m_label(label)
{
    label.installEventFilter(this);
}

bool CLabelLine::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Paint:
        return paint();
    case QEvent::ToolTip:
        return showToolTip();
    default:
        return QObject::eventFilter(watched, event);
    }
}

/// What the label has room for; its own text where that fits.
QString CLabelLine::line() const
{
    const QString start = Beginning(m_label.text(), LongestLine);
    const QString text = HasLineBreak(start) ? start.simplified() : start;
    return m_label.fontMetrics().elidedText(text, Qt::ElideRight, m_label.contentsRect().width());
}

/// Returns false when the label may paint itself.
bool CLabelLine::paint() const
{
    const QString text = line();
    if (text == m_label.text()) {
        return false;
    }
    QPainter painter(&m_label);
    const Qt::Alignment alignment =
        QStyle::visualAlignment(m_label.layoutDirection(), m_label.alignment());
    m_label.style()->drawItemText(&painter, m_label.contentsRect(), static_cast<int>(alignment),
                                  m_label.palette(), m_label.isEnabled(), text,
                                  m_label.foregroundRole());
    return true;
}

/// Returns false when the label's own tool tip may show.
bool CLabelLine::showToolTip() const
{
    if (!m_label.toolTip().isEmpty() || line() == m_label.text()) {
        return false;
    }
    const QPoint below = m_label.mapToGlobal(m_label.rect().bottomLeft() + QPoint(0, 2));
    const int room = m_label.screen()->geometry().bottom() - below.y() - TipMargin;
    const int height = qMax(room, SmallestTip); // for which the toolkit finds another place
    // Rich text keeps the lines as they are; the text in it is escaped: markup shows as letters.
    QStringList lines = TipLines(Beginning(m_label.text(), LongestTip).simplified(), height);
    for (QString &text : lines) {
        text = text.toHtmlEscaped();
    }
    // It belongs to the window: with the label it would take the label's black text, on any colour.
    QToolTip::showText(below - TipOffset,
                       QLatin1String("<p style='white-space:pre'>") +
                           lines.join(QLatin1String("<br>")) + QLatin1String("</p>"),
                       m_label.window());
    return true;
}
