#!/bin/sh
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# The sample bundle's host application: shows what it was started with, and writes it down for the
# demonstration.
line=$(basename "$0")
for word in "$@"; do line="$line [$word]"; done
printf '%s\n' "$line" | tee -a "${DEMO_RECORDS:-.}/host"
