# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

"""Command lines of the programs that several rows measure."""

import stage
from measure import quoted, shell
from stage import BUILD, DATA, STAGING

BENCH = BUILD / "bench"
EMPTY_STAGING = shell(f"rm -rf '{STAGING}' && mkdir '{STAGING}'")


def bare(name, here, *more):
    return quoted(BENCH / name, f"{here.base}{stage.SECTIONS}/update.json", *more)


def worker(here, name, manifest=None):
    return quoted(BENCH / "run_worker", f"{here.base}data/{name}/", DATA / (manifest or f"{name}.info"),
                  STAGING)


def bare_fetch(here, name):
    return quoted(BENCH / "bare_fetch", f"{here.base}data/{name}/", DATA / f"{name}.md5", STAGING)


def md5sum_check(name):
    return shell(f"cd '{DATA}/{name}' && exec md5sum -c --status ../{name}.md5")


def sha256sum(name):
    return shell(f"cd '{DATA}/{name}' && exec sha256sum * >/dev/null")
