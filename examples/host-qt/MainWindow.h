// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "InplaceUpdate.h"
#include "UpdateCheck.h"

#include <QMainWindow>

class QAction;

/// Kestrel's one window: a field for notes, and a menu that checks for updates.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    MainWindow();

    /// Checks in the background. Only an \a asked check tells the user that there is nothing new,
    /// or that it failed.
    void checkForUpdates(bool asked);
    void comeToFront();

protected:
    /// Leaves the program once no check is running: an updater that is killed refuses the next
    /// session.
    void closeEvent(QCloseEvent *event) override;

private:
    void tell(const UpdateReport &report);
    void tellFetched(const QString &ready, const QString &message);
    void tellText(const QString &text, const QString &details);
    void leave();

    UpdateCheck m_check;
    InplaceUpdate m_inplace;
    QAction *m_checkAction = nullptr;
    bool m_asked = false;   // whether the user waits for the result
    bool m_ready = false;   // whether a fetched release waits for the end of the program
    bool m_leaving = false; // whether the window is closed for good
};
