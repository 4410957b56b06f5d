// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

/// The report of one run of the program: text while it runs, or one JSON object at its end and only
/// warnings and problems as text. For use on one thread.
class Report {
public:
    enum class Form { Words, Json };

    explicit Report(Form form = Form::Words);
    Q_DISABLE_COPY(Report)

    /// Prints \a text, which may have several lines, as a result of the run.
    void say(const QString &text);
    /// Prints and remembers a one-line warning.
    void warn(const QString &text);
    /// Prints and remembers the \a problems that made the run fail. Returns the exit code of that.
    int refuse(const QStringList &problems);

    /// Adds a value to the JSON object.
    void add(const QString &key, const QJsonValue &value) { m_object.insert(key, value); }

    const QStringList &warnings() const { return m_warnings; }
    bool isJson() const { return m_form == Form::Json; }

    /// Ends the run: prints the JSON object, if asked for, with success, warnings and problems.
    /// Returns \a exitCode, or that of a failure if the object, or a result before it, could not be
    /// written.
    int end(int exitCode);

private:
    const Form m_form;
    QJsonObject m_object;
    QStringList m_warnings;
    QStringList m_problems;
    bool m_isWritten = true; ///< all of the results
};
