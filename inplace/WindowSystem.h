// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"

#include <QCoreApplication>

#include <memory>

/// Makes the application object: with windows if the \a options need them, otherwise one that needs
/// no display.
///
/// Without a display, Qt would abort the process. Instead the host is started, as after every
/// failure, the failure is reported, and the process exits.
std::unique_ptr<QCoreApplication> MakeApplication(int &argc, char **argv,
                                                  const UpdateOptions &options);
