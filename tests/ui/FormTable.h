// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ContextTranslator.h"

#include <QDialog>
#include <QList>
#include <QRect>
#include <QString>

class QLabel;

/// A label or button as a form must make it.
struct FormRow {
    const char *name;
    const char *type;
    QRect geometry;
    bool headline; ///< has the large font
    const char *text;
};

/// The widgets that \a dialog owns, in the order in which they were made.
QList<QWidget *> ChildWidgets(const QDialog &dialog);

/// Adds the columns and rows for CompareRow(), one row a widget.
void AddRows(const QList<FormRow> &rows);

/// Compares the widget of the current data row with what \a dialog holds.
void CompareRow(const QDialog &dialog);

/// Checks that \a label shows plain text, and is otherwise as a label is made.
void ComparePlainLabel(const QLabel &label);

/// Checks that \a dialog is a frameless dialog of the shared size, and that its class brings no
/// signals, slots, properties or the like.
void CompareFrame(const QDialog &dialog);

/// Runs \a dialog modally; when it is shown, \a key is pressed. Returns what exec() does.
int ExecAndPress(QDialog &dialog, Qt::Key key);
