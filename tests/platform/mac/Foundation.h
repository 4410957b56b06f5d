// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// Makes the main bundle read the property list in the folder above the executable's, once.
void InstallFoundationStandIns();
