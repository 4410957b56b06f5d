// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/LabelLine.h"

#include <QFontInfo>
#include <QFontMetrics>
#include <QHelpEvent>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace {

constexpr int longestLine = 300; // characters; more than a dialog has room for
constexpr int longestTip = 1000; // characters; about half a screen
constexpr int smallestFont = 9;  // pixels; below it letters are cut rather than shrunk
constexpr int faintRow = 1;      // pixels; what the edge of a letter may lose unseen

QString beginning(const QString &text, int length)
{
    return text.size() <= length ? text : text.left(length) + QChar(0x2026);
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

/// What to show, and how: the label's text and font themselves where they fit.
CLabelLine::Line CLabelLine::line() const
{
    const QRect room = m_label.contentsRect();
    const QString start = beginning(m_label.text(), longestLine);
    const QString text = hasLineBreak(start) ? start.simplified() : start;

    Line line;
    line.font = m_label.font();
    line.text = m_label.fontMetrics().elidedText(text, Qt::ElideRight, room.width());
    const int height = m_label.fontMetrics().size(Qt::TextSingleLine, line.text).height();
    line.tooTall = height > room.height();
    if (line.tooTall) {
        line.font = fittingFont(line.text);
        const QFontMetrics metrics(line.font, &m_label);
        line.text = metrics.elidedText(text, Qt::ElideRight, room.width());
    }
    return line;
}

/// The label's font, or as much smaller as it takes to have all of \a text in the label: small
/// letters can be read, letters without feet cannot.
QFont CLabelLine::fittingFont(const QString &text) const
{
    const int room = m_label.contentsRect().height() + faintRow;
    QFont font = m_label.font();
    for (int size = m_label.fontInfo().pixelSize(); size > smallestFont; --size) {
        if (QFontMetrics(font, &m_label).tightBoundingRect(text).height() <= room) {
            break;
        }
        font.setPixelSize(size - 1);
    }
    return font;
}

/// Returns false when the label may paint itself.
bool CLabelLine::paint(const Line &line) const
{
    if (!line.tooTall && line.text == m_label.text()) {
        return false;
    }
    QPainter painter(&m_label);
    const Qt::Alignment alignment =
        QStyle::visualAlignment(m_label.layoutDirection(), m_label.alignment());
    if (line.tooTall) {
        paintByLetters(painter, line, alignment);
    } else {
        m_label.style()->drawItemText(&painter, m_label.contentsRect(), static_cast<int>(alignment),
                                      m_label.palette(), m_label.isEnabled(), line.text,
                                      m_label.foregroundRole());
    }
    return true;
}

/// Centres the capital letters, which is where the ideographs have their middle too, then moves the
/// line as little as it takes to keep heads and above all feet in the label.
void CLabelLine::paintByLetters(QPainter &painter, const Line &line, Qt::Alignment alignment) const
{
    const QRect room = m_label.contentsRect();
    const QFontMetrics metrics(line.font, &m_label);
    const QRect ink = metrics.tightBoundingRect(line.text);
    const int spare = room.width() - metrics.horizontalAdvance(line.text);
    const int left = room.left() + (alignment.testFlag(Qt::AlignRight) ? spare : 0);
    const int middle = room.top() + (room.height() + metrics.capHeight()) / 2;
    const int base = qMin(qMax(middle, room.top() - ink.top()), room.bottom() - ink.bottom());
    painter.setFont(line.font);
    painter.setPen(m_label.palette().color(m_label.foregroundRole()));
    painter.drawText(left, base, line.text);
}

/// Returns false when nothing is cut, and the label's own tool tip may show.
bool CLabelLine::showToolTip(const Line &line, QPoint position) const
{
    if (line.text == m_label.text()) {
        return false;
    }
    // Rich text wraps its lines; the text in it is escaped, so that markup shows as letters.
    const QString text = beginning(m_label.text(), longestTip).simplified().toHtmlEscaped();
    // It belongs to the window: with the label it would take the label's black text, on any colour.
    QToolTip::showText(position, QLatin1String("<p>") + text + QLatin1String("</p>"),
                       m_label.window());
    return true;
}
