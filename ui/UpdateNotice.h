// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ui_UpdateNotice.h"

#include <QDialog>
#include <QString>

/// Tells the user that a newer version is published, and asks whether to update now.
///
/// exec() gives QDialog::Accepted when the user chose to update, and QDialog::Rejected when the
/// user put it off or pressed Escape. Escape rejects a mandatory notice too.
class CUpdateNotice : public QDialog {
    Q_OBJECT

public:
    /// \a mandatory  true hides the button that puts the update off.
    explicit CUpdateNotice(bool mandatory, QWidget *parent = nullptr);

    /// Names the published \a version, which is shown letter by letter, whatever it holds.
    void setUpdateVersion(QString version);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Ui_CUpdateNoticeClass m_ui;
};
