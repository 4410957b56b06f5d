// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Dialogs.h"

#include "release/Messages.h"
#include "ui/UpdateError.h"
#include "ui/UpdateNotice.h"

bool AskForUpdate(const Candidate &candidate, bool forced)
{
    CUpdateNotice notice(forced);
    notice.setUpdateVersion(Printable(candidate.versionString));
    return notice.exec() == QDialog::Accepted;
}

bool ShowFailure(const Outcome &outcome, const QString &page)
{
    CUpdateError dialog;
    dialog.setError(QObject::tr("更新失败"), Printable(outcome.message), InfoOf(outcome.end).retry);
    dialog.setUrl(page); // after setError(): the page helps even if a retry does not
    return dialog.exec() == QDialog::Accepted;
}
