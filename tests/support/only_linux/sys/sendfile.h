// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#error "There is no such header on a Mac"
