// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/LabelLine.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace {

constexpr int longestLine =
    1000; // characters; more than a dialog has room for, and quick to measure

QString beginning(const QString &text)
{
    return text.size() <= longestLine ? text : text.left(longestLine) + QChar(0x2026);
}

bool hasLineBreak(const QString &text)
{
    return text.contains(QLatin1Char('\n')) || text.contains(QChar(QChar::LineSeparator)) ||
           text.contains(QChar(QChar::ParagraphSeparator));
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
        return paint(line());
    case QEvent::ToolTip:
        return showToolTip(line(), static_cast<QHelpEvent *>(event)->globalPos());
    default:
        return QObject::eventFilter(watched, event);
    }
}

/// What to show: the label's text itself when it is a line that is not too wide.
QString CLabelLine::line() const
{
    const QString text = beginning(m_label.text());
    const QString line = hasLineBreak(text) ? text.simplified() : text;
    return m_label.fontMetrics().elidedText(line, Qt::ElideRight, m_label.contentsRect().width());
}

bool CLabelLine::isTooTall(const QString &line) const
{
    // Counts the fonts that stand in for missing letters, unlike the height of the font itself.
    const int height = m_label.fontMetrics().size(Qt::TextSingleLine, line).height();
    return height > m_label.contentsRect().height();
}

/// Returns false when the label may paint itself.
bool CLabelLine::paint(const QString &line) const
{
    const bool tooTall = isTooTall(line);
    if (!tooTall && line == m_label.text()) {
        return false;
    }
    QPainter painter(&m_label);
    const Qt::Alignment alignment =
        QStyle::visualAlignment(m_label.layoutDirection(), m_label.alignment());
    if (tooTall) {
        paintByLetters(painter, line, alignment);
    } else {
        m_label.style()->drawItemText(&painter, m_label.contentsRect(), static_cast<int>(alignment),
                                      m_label.palette(), m_label.isEnabled(), line,
                                      m_label.foregroundRole());
    }
    return true;
}

/// Centres the capital letters, which is where the ideographs have their middle too: so the room
/// above and below the letters is cut, rather than their feet.
void CLabelLine::paintByLetters(QPainter &painter, const QString &line,
                                Qt::Alignment alignment) const
{
    const QRect room = m_label.contentsRect();
    const QFontMetrics metrics = m_label.fontMetrics();
    const int spare = room.width() - metrics.horizontalAdvance(line);
    const int left = room.left() + (alignment.testFlag(Qt::AlignRight) ? spare : 0);
    const int base = room.top() + (room.height() + metrics.capHeight()) / 2;
    painter.setPen(m_label.palette().color(m_label.foregroundRole()));
    painter.drawText(left, base, line);
}

/// Returns false when nothing is cut, and the label's own tool tip may show.
bool CLabelLine::showToolTip(const QString &line, QPoint position) const
{
    if (line == m_label.text()) {
        return false;
    }
    // Rich text wraps its lines; the text in it is escaped, so that markup shows as letters.
    const QString text = beginning(m_label.text()).simplified().toHtmlEscaped();
    // It belongs to the window: with the label it would take the label's black text, on any colour.
    QToolTip::showText(position, QLatin1String("<p>") + text + QLatin1String("</p>"),
                       m_label.window());
    return true;
}
