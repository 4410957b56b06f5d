# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

"""Measurements and what is told of them."""


class RowList(list):
    """Tuples of a row's name, what is measured, what it is compared with, the target and the
    function that measures it, in the order of the table."""

    def row(self, name, what, against, limit):
        """Registers a measurement. It returns a figure of report.py."""
        def register(function):
            self.append((name, what, against, limit, function))
            return function
        return register
