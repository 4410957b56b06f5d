// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Dialogs.h"

#include "release/Messages.h"
#include "ui/UpdateError.h"
#include "ui/UpdateNotice.h"

namespace {

bool IsAccepted(QDialog &dialog, StopSignals &stop)
{
    if (StopSignals::isWanted()) {
        return false;
    }
    QObject::connect(&stop, &StopSignals::wanted, &dialog, &QDialog::reject);
    return dialog.exec() == QDialog::Accepted;
}

} // namespace

bool AskForUpdate(const Candidate &candidate, bool forced, StopSignals &stop)
{
    CUpdateNotice notice(forced);
    notice.setUpdateVersion(Printable(candidate.versionString));
    return IsAccepted(notice, stop);
}

bool ShowFailure(const Outcome &outcome, const QString &page, StopSignals &stop)
{
    CUpdateError dialog;
    dialog.setError(QObject::tr("更新失败"), Printable(outcome.message), InfoOf(outcome.end).retry);
    dialog.setUrl(page); // after setError(): the page helps also where another try does not
    return IsAccepted(dialog, stop);
}
