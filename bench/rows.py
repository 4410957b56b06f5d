# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

"""Measures rows and prints them; see bench/run."""

import argparse
import os
import re
import subprocess
import sys

import inplace_rows
import measure
import report
import stage
from commands import BENCH, EMPTY_STAGING, bare, bare_fetch, md5sum_check, sha256sum, worker
from measure import quoted, shell
from row_list import RowList
from stage import BUILD, DATA, STAGE, STAGING, UPDATER
from web_server import WebServer

IN_PROCESS = BENCH / "in_process"
ROWS = RowList()
row = ROWS.row


def check_session(here):
    stage.publish(3000000)
    out = subprocess.run([UPDATER, "console"], env=here.env, check=False, text=True,
                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    if '"success":true' not in out:
        raise RuntimeError(f"the session failed: {out}")


@row("session-time", "console session, no update, loopback server",
     "a bare Qt Widgets program with one GET", 1.15)
def session_time(here):
    check_session(here)
    return report.times(*measure.process_times(
        [quoted(UPDATER, "console"), bare("bare_session", here)], here.env, rounds=10, runs=20,
        any_exit_code=True))


@row("session-memory", "the same, peak memory", "the same", 1.10)
def session_memory(here):
    check_session(here)
    return report.sizes(*measure.peak_memory(
        [quoted(UPDATER, "console"), bare("bare_session", here)], here.env, rounds=11))


@row("notice", "start to notice painted (Xvfb)",
     "a bare QDialog with the same background after one GET", 1.20)
def notice(here, *texts):
    stage.publish(3010000)
    until_shown = BENCH / "until_shown"
    return report.times(*measure.printed_times(
        [quoted(until_shown, UPDATER),
         quoted(until_shown) + " " + bare("bare_dialog", here, *texts)],
        here.screen_env, rounds=41))


@row("notice-texts", "the same", "the bare QDialog with the notice's texts on it", 1.10)
def notice_texts(here):
    return notice(here, "texts")


def against_another(here, benchmark, other, rounds=9):
    result = measure.inside(IN_PROCESS, DATA, here.env, f"^({benchmark}|{other})$", rounds)
    return report.times(result[benchmark], result[other])


def against_awk(here, benchmark, file):
    stage.make_manifests()
    return report.times(*measure.inside_and_process(
        IN_PROCESS, DATA, here.env, benchmark,
        quoted("awk", "-f", stage.ROOT / "bench/programs/table.awk", DATA / file), rounds=5))


@row("parse-sorted", "ParseMd5File, 1,000,000 lines, sorted", "awk reading them into a table", 0.33)
def parse_sorted(here):
    return against_awk(here, "^Parse/1000000$", "manifest-1000000.info")


@row("parse-shuffled", "the same lines shuffled", "awk", 0.80)
def parse_shuffled(here):
    return against_awk(here, "^ParseShuffled$", "shuffled.info")


@row("read-manifest", "ReadManifest, 1,000,000 files in 2,000,000 lines",
     "ParseMd5File of the lines with three fields", 2.2)
def read_manifest(here):
    stage.make_complete_manifest()
    return against_another(here, "ReadWhole", "Parse/1000000")


@row("hash-files", "SHA-256 of 20,000 files of 8 KiB, both cores", "sha256sum of the same", 0.80)
def hash_files(here):
    stage.make_files("installed", 20000, 8192)
    return report.times(*measure.inside_and_process(
        IN_PROCESS, DATA, here.env, "^HashFiles", sha256sum("installed"), rounds=9))


@row("hash-large", "SHA-256 and MD5 in one pass, one file of 256 MiB",
     "sha256sum, then md5sum", 1.0)
def hash_large(here):
    stage.make_files("large", 4, 256 << 20)
    file = quoted(DATA / "large" / "f000000.dat")
    return report.times(*measure.inside_and_process(
        IN_PROCESS, DATA, here.env, "^HashLargeFile$", shell(f"sha256sum {file} && md5sum {file}"),
        rounds=9))


@row("check-hashed", "CheckMd5, no local manifest, 20,000 files of 8 KiB",
     "md5sum over the same", 1.05)
def check_hashed(here):
    stage.make_files("installed", 20000, 8192)
    return report.times(*measure.inside_and_process(
        IN_PROCESS, DATA, here.env, "^CompareHashed$", md5sum_check("installed"), rounds=9))


@row("check-listed", "CheckMd5, local manifest lists all of 1,000,000 entries",
     "ParseMd5File of that manifest", 1.35)
def check_listed(here):
    stage.make_manifests()
    return against_another(here, "CompareListed/1000000", "Parse/1000000")


@row("check-file", "CheckFileMd5, one file of 256 MiB", "md5sum", 1.40)
def check_file(here):
    stage.make_files("large", 4, 256 << 20)
    return report.times(*measure.inside_and_process(
        IN_PROCESS, DATA, here.env, "^CheckLargeFile$",
        quoted("md5sum", DATA / "large" / "f000000.dat"), rounds=9))


@row("worker-small", "worker, 5,000 files of 8 KiB, nginx, up to the last one staged",
     "a bare QNetworkAccessManager loop: fetch, hash, write", 1.03)
def worker_small(here):
    stage.make_files("small", 5000, 8192)
    return report.times(*measure.process_times(
        [worker(here, "small"), bare_fetch(here, "small")], here.env, 11, prepare=EMPTY_STAGING))


@row("worker-wget", "the same", "wget -i of the same, then md5sum -c", 2.3)
def worker_wget(here):
    stage.make_files("small", 5000, 8192)
    urls = DATA / "small.urls"
    urls.write_text("".join(f"{here.base}data/small/f{n:06}.dat\n" for n in range(5000)))
    wget = shell(f"cd '{STAGING}' && wget -q -i '{urls}' && exec md5sum -c --status '{DATA}/small.md5'")
    return report.times(*measure.process_times(
        [worker(here, "small"), wget], here.env, 9, prepare=EMPTY_STAGING))


@row("worker-large", "worker, 4 files of 256 MiB", "the bare loop", 1.05)
def worker_large(here):
    stage.make_files("large", 4, 256 << 20)
    return report.times(*measure.process_times(
        [worker(here, "large"), bare_fetch(here, "large")], here.env, 7, prepare=EMPTY_STAGING))


@row("worker-curl", "the same", "curl, then md5sum -c", None)
def worker_curl(here):
    stage.make_files("large", 4, 256 << 20)
    curl = shell(f"cd '{STAGING}' && curl -fsO '{here.base}data/large/f00000[0-3].dat' && "
                 f"exec md5sum -c --status '{DATA}/large.md5'")
    return report.times(*measure.process_times(
        [worker(here, "large"), curl], here.env, 5, prepare=EMPTY_STAGING))


@row("worker-memory", "worker, peak memory, one file of 256 MiB", "the file's size", 1.30)
def worker_memory(here):
    stage.make_files("large", 4, 256 << 20)
    one = DATA / "large-one.info"
    one.write_text((DATA / "large.info").read_text().splitlines(keepends=True)[0])
    peak, bare_peak = measure.peak_memory(
        [worker(here, "large", one.name), bare_fetch(here, "large")], here.env, 3,
        prepare=EMPTY_STAGING)
    print(f"worker-memory: the bare loop needs {bare_peak / 2**20:.0f} MiB", file=sys.stderr)
    return report.sizes(peak, 256 << 20)


def resume(count):
    name = f"staged{count}"
    return quoted(BENCH / "run_worker", "nothing://to.fetch/", DATA / f"resumed{count}.info", DATA / name)


@row("resume", "100,000 staged files of 1 KiB resumed, time to the request of the last",
     "md5sum over the same", 1.25)
def resume_time(here):
    stage.make_resumed(100000)
    return report.times(*measure.process_times(
        [resume(100000), md5sum_check("staged100000")], here.env, 7, any_exit_code=True))


def log_lines(here, other):
    return against_another(here, "LogLine", other, rounds=41)


@row("log-line", "one log line (previous handler silent)",
     "a plain Qt loop: format, open, append, close", 1.10)
def log_line(here):
    return log_lines(here, "LogLinePlain")


@row("log-line-day", "the same", "the plain loop with the day's file worked out for each line", 1.10)
def log_line_of_the_day(here):
    return log_lines(here, "LogLinePlainOfTheDay")


def publish_times(here, *sums):
    stage.make_files("release", 2000, 1 << 20)
    out = STAGE / "published"
    tool = quoted(BUILD / "publish/publish_update", "--version", "3.1.0", "--min-version",
                  "2.0.0", "--download-url", "https://www.example.com/", DATA / "release", out)
    checks = " && ".join(f"{name}sum -c --status ../../data/release.{name}" for name in sums)
    copy = shell(f"cp -r '{DATA}/release' '{out}/copy' && cd '{out}/copy' && {checks}")
    return report.times(*measure.process_times(
        [tool, copy], here.env, 5, prepare=shell(f"rm -rf '{out}' && mkdir '{out}' && sync")))


@row("publish", "publish_update, 2 GiB in 2,000 files, both cores", "cp -r, then md5sum over the same",
     0.75)
def publish(here):
    return publish_times(here, "md5")


@row("publish-both", "the same", "cp -r, then md5sum and sha256sum over the same", 0.60)
def publish_both(here):
    return publish_times(here, "md5", "sha256")


@row("growth", "time a record", None, 1.5)
def growth(here):
    stage.make_manifests()
    curves = {}
    counts = (1000, 10000, 100000, 1000000)
    result = measure.inside(IN_PROCESS, DATA, here.env, "^(Parse|CompareListed)/", 9, min_time=0.05)
    for name, benchmark in (("parse", "Parse"), ("compare", "CompareListed")):
        curves[name] = [(n, result[f"{benchmark}/{n}"][0] / n) for n in counts]
    counts = counts[:-1]
    for count in counts:
        stage.make_resumed(count)
    times = measure.process_times([resume(n) for n in counts], here.env, 7, any_exit_code=True)
    curves["resume"] = [(n, t[0] / n) for n, t in zip(counts, times)]
    return {"curves": curves}


def loaded(program, env):
    out = subprocess.run([program], env=dict(env, LD_TRACE_LOADED_OBJECTS="1"), check=True, text=True,
                         stdout=subprocess.PIPE).stdout
    return len([line for line in out.splitlines() if "=>" in line])


@row("size", "stripped release binary", "the bare Qt Widgets program, stripped", None)
def size(_):
    sizes = []
    for program in (UPDATER, BENCH / "bare_session"):
        stripped = STAGE / "stripped"
        subprocess.run(["strip", "-o", stripped, program], check=True)
        sizes.append(os.path.getsize(stripped))
    return report.sizes(*sizes)


@row("libraries", "libraries loaded at its start", "the same", None)
def libraries(here):
    return report.counts(loaded(UPDATER, here.env), loaded(BENCH / "bare_session", here.env))


def web_server(here, *headers):
    stage.publish(3000000)
    with WebServer(here.port + 1) as server:
        rates = [[server.rate(clients, *headers) for clients in (50, 500)] for _ in range(3)]
    return report.rates(*(sorted(column)[1] for column in zip(*rates)))


@row("web-server-new", "nginx answering update.json over TLS, a connection each, 50 clients at once",
     "500 clients at once", None)
def web_server_new(here):
    return web_server(here, "Connection: close")


@row("web-server-kept", "the same on kept connections, 50 clients at once", "500 clients at once", None)
def web_server_kept(here):
    return web_server(here)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--write", action="store_true")
    parser.add_argument("rows", nargs="*", metavar="ROW")
    arguments = parser.parse_args()

    rows = ROWS + inplace_rows.ROWS
    chosen = [one for one in rows
              if not arguments.rows or any(re.search(regex, one[0]) for regex in arguments.rows)]
    results = report.Results(STAGE / "results.json")
    with stage.Surroundings(arguments.port) as here:
        for name, what, against, limit, function in chosen:
            print(f"{name} ... (load {measure.load():.1f})", file=sys.stderr)
            results.add(name, dict(function(here), what=what, against=against, limit=limit))
    print(results.table([one[0] for one in chosen]))
    if arguments.write:
        results.write_note([one[0] for one in rows])


if __name__ == "__main__":
    main()
