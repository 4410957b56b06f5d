# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# Reads an MD5 manifest into a table by path.
BEGIN { FS = "\t" }
NF == 3 { md5[$3] = $1; size[$3] = $2 }
