// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ui_UpdateError.h"

#include <QDialog>
#include <QString>

/// Reports a failed step, and may offer to try again or to open the download page.
///
/// exec() gives QDialog::Accepted when the user chose to try again, and QDialog::Rejected when the
/// user pressed Escape; nothing else ends the dialog. It may be shown several times.
class CUpdateError : public QDialog {
    Q_OBJECT

public:
    explicit CUpdateError(QWidget *parent = nullptr);

    /// Shows \a title as the headline and \a message below it, both letter by letter.
    ///
    /// With \a retry the user may try again, and may open the download address if there is one.
    /// Without it no button is shown until the next setUrl() or setError().
    void setError(QString title, QString message, bool retry);

    /// Sets the download address; its button is shown exactly when \a url is not empty.
    void setUrl(QString url);

    /// Opens the download address in the browser. The dialog stays open, also when that fails.
    void openDownloadUrl();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Ui_CUpdateError m_ui;
    QString m_downloadUrl;
};
