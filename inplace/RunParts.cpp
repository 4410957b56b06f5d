// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/RunParts.h"

#include "inplace/StateFolder.h"
#include "inplace/TreeRemove.h"

#include <QFile>

Outcome OutcomeOf(const Candidate &candidate, End end, const QString &message)
{
    Outcome outcome;
    outcome.end = end;
    outcome.message = message;
    outcome.version = candidate.version;
    outcome.versionString = candidate.versionString;
    return outcome;
}

Outcome OutcomeOf(const Candidate &candidate, const Problem &problem)
{
    return OutcomeOf(candidate, problem.end, problem.message);
}

void RemoveLeftovers(const Layout &layout)
{
    (void)RemoveTree(QFile::encodeName(layout.next));
    (void)RemoveTree(QFile::encodeName(layout.fetch));
    StateFolder(layout).removeReady();
}
