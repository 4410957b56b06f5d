// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QFont>
#include <QObject>
#include <QString>

class QLabel;
class QPainter;

/// Shows the plain text of a label as one line, however long, tall or broken the text is.
///
/// A text that fits is left to the label. Of any other text the label by itself would show a piece
/// out of the middle; here it is shown from its beginning, line breaks as blanks, with an ellipsis
/// where it is cut, and a font too tall for the label is fitted in. What is cut can be read in a
/// tool tip. The label's text() stays as given, and painting takes a moment only.
class CLabelLine : public QObject {
public:
    /// Watches \a label, and is owned by it.
    explicit CLabelLine(QLabel &label);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Line {
        QString text;
        QFont font;
        bool tooTall =
            false; ///< the label's own font is, or one that stands in for missing letters
    };

    Line line() const;
    QFont fittingFont(const QString &text) const;
    bool paint(const Line &line) const;
    void paintByLetters(QPainter &painter, const Line &line, Qt::Alignment alignment) const;
    bool showToolTip(const Line &line, QPoint position) const;

    QLabel &m_label;
};
