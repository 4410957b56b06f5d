# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

"""The rows of the update in place: whole runs of inplace_update, with all their steps."""

import json
import os
import shlex
import subprocess
import time

import measure
import report
import stage
from commands import EMPTY_STAGING, md5sum_check, sha256sum, worker
from measure import quoted, shell
from row_list import RowList
from stage import BUILD, DATA, STAGE

AROUND = STAGE / "inplace"
INSTALLED = AROUND / "installed"
ROWS = RowList()
row = ROWS.row


def update(here, name):
    return quoted(BUILD / "inplace/inplace_update", "--base-url", f"{here.base}release-{name}",
                  "--install", INSTALLED, "--staging", AROUND / "staging", "--console")


def lay(name, manifest=None):
    """A fresh installation, with its manifest if that is known."""
    known = f"cp '{manifest}' '{INSTALLED}/update_md5.info' && " if manifest else ""
    return shell(f"rm -rf '{AROUND}' && mkdir '{AROUND}' && cp -r '{DATA}/{name}' '{INSTALLED}' && "
                 f"{known}sync")


def check(here, name, prepare, code):
    """Makes sure that what is measured is what happens."""
    subprocess.run(shlex.split(prepare), check=True)
    out = subprocess.run(shlex.split(update(here, name)), env=here.env, check=False, text=True,
                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    if json.loads(out)["code"] != code:
        raise RuntimeError(f"the update went otherwise: {out}")


def against_worker(here, name, prepare, rounds):
    check(here, name, prepare, "updated")
    return report.times(*measure.process_times(
        [update(here, name), worker(here, name)], here.env, rounds,
        prepare=shell(f"{EMPTY_STAGING} && {prepare}")))


def all_change(name, count, size):
    """Two releases of which every file differs; returns how to lay out the first one."""
    stage.make_files(name, count, size)
    stage.make_files(f"{name}-before", count, size)
    stage.publish_files(name)
    return lay(f"{name}-before")


@row("inplace-small", "inplace_update, all of 5,000 files of 8 KiB change, all steps",
     "the bare worker fetching the same", 1.6)
def inplace_small(here):
    return against_worker(here, "small", all_change("small", 5000, 8192), 7)


@row("inplace-large", "inplace_update, all of 4 files of 256 MiB change, all steps",
     "the bare worker fetching the same", 2.2)
def inplace_large(here):
    return against_worker(here, "large", all_change("large", 4, 256 << 20), 5)


def one_of_many():
    """Two releases that differ in one file; returns how to lay out the first one, installed."""
    stage.make_files("installed", 20000, 8192)
    stage.make_variant("installed-after", "installed", "f010000.dat")
    stage.publish_files("installed-after")
    return lay("installed", stage.publish_files("installed", "3.0.0"))


@row("inplace-one", "inplace_update, one of 20,000 files of 8 KiB changes",
     "sha256sum over all of them", 0.8)
def inplace_one(here):
    prepare = one_of_many()
    check(here, "installed-after", prepare, "updated")
    return report.times(*measure.process_times(
        [update(here, "installed-after"), sha256sum("installed")], here.env, 9, prepare=prepare))


@row("inplace-nothing", "inplace_update, nothing to do with 100,000 files of 1 KiB",
     "md5sum over them", 0.1)
def inplace_nothing(here):
    name = "staged100000"
    stage.make_files(name, 100000, 1024)
    check(here, name, lay(name, stage.publish_files(name)), "up-to-date")
    return report.times(*measure.process_times(
        [update(here, name), md5sum_check(name)], here.env, 11))


def peak(here, name, prepare):
    return measure.peak_memory([update(here, name)], here.env, 3, prepare=prepare)[0]


@row("inplace-memory", "inplace_update, peak memory, 4 files of 256 MiB",
     "the largest file and 100 MiB", 1.0)
def inplace_memory(here):
    return report.sizes(peak(here, "large", all_change("large", 4, 256 << 20)),
                        (256 + 100) << 20)


@row("inplace-memory-many", "the same, one of 20,000 files of 8 KiB changes", "100 MiB", 1.0)
def inplace_memory_many(here):
    return report.sizes(peak(here, "installed-after", one_of_many()), 100 << 20)


def allocated(folder):
    """The bytes of all files and folders below a folder; what has several names counts once."""
    nodes = {}
    for where, folders, files in os.walk(folder):
        for name in folders + files:
            try:
                about = os.lstat(os.path.join(where, name))
            except FileNotFoundError:
                continue  # it has gone meanwhile
            nodes[about.st_ino] = about.st_blocks * 512
    return sum(nodes.values())


def most_allocated(command, env):
    """The largest amount while a command runs."""
    most = 0
    process = subprocess.Popen(shlex.split(command), env=env, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    while process.poll() is None:
        most = max(most, allocated(AROUND))
        time.sleep(0.005)
    if process.returncode != 0:
        raise RuntimeError("the update failed")
    return most


@row("inplace-room", "inplace_update, room needed, one of 4 files of 256 MiB changes",
     "that file and 64 MiB", 1.0)
def inplace_room(here):
    stage.make_files("large", 4, 256 << 20)
    stage.make_variant("large-after", "large", "f000001.dat")
    stage.publish_files("large-after")
    prepare = lay("large", stage.publish_files("large", "3.0.0"))
    check(here, "large-after", prepare, "updated")
    subprocess.run(shlex.split(prepare), check=True)
    before = allocated(AROUND)
    return report.sizes(most_allocated(update(here, "large-after"), here.env) - before,
                        (256 + 64) << 20)


@row("inplace-durability", "inplace_update, all of 5,000 files of 8 KiB change, on the disk at the end",
     "the same with every wait for the disk taken out", 1.5)
def inplace_durability(here):
    prepare = all_change("small", 5000, 8192)
    return report.times(*measure.process_times(
        [update(here, "small"),
         quoted("env", f"LD_PRELOAD={BUILD / 'bench/libno_sync.so'}") + " " + update(here, "small")],
        here.env, 9, prepare=prepare))
