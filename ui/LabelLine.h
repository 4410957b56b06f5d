// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>

class QLabel;

/// Shows the plain text of a label as one line, however long or broken the text is.
///
/// A text that fits the label's width is left to the label, whatever its height. Of a wider text,
/// or one of several lines, the label by itself would show a piece out of the middle; here it is
/// shown from its beginning, line breaks as blanks, with an ellipsis where it is cut, and the whole
/// can be read in a tool tip, unless the label has one of its own. The label's text() stays as
/// given, and painting takes a moment only.
class CLabelLine : public QObject {
public:
    /// Watches \a label, and is owned by it.
    explicit CLabelLine(QLabel &label);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QString line() const;
    bool paint() const;
    bool showToolTip() const;

    QLabel &m_label;
};
