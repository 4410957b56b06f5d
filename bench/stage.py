# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

"""The inputs of the measurements, the web server and the screen."""

import hashlib
import os
import pathlib
import random
import shutil
import subprocess
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
STAGE = ROOT / "build" / "bench"
STAGING = STAGE / "staging"
BUILD = STAGE / "release"
DATA = STAGE / "data"
WWW = STAGE / "www"
BUNDLE = STAGE / "Kestrel.app" / "Contents"
UPDATER = BUNDLE / "MacOS" / "updater"
SECTIONS = "public/kestrel/update/mac"

INFO_PLIST = """<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>com.example.kestrel</string>
<key>CFBundleShortVersionString</key><string>3.0.0</string>
</dict></plist>
"""


def manifest_text(usual):
    """The usual MD5 text with the bytes of each of its four words reversed."""
    return b"".join(bytes.fromhex(usual)[i:i + 4][::-1] for i in (0, 4, 8, 12)).hex()


def make_files(name, count, size):
    """A folder of different files, with a manifest and lists for md5sum and sha256sum beside it."""
    if (DATA / f"{name}.sha256").exists():
        return
    folder = DATA / name
    folder.mkdir(parents=True, exist_ok=True)
    rng = random.Random(name)
    manifest, sums, sums256 = [], [], []
    for number in range(count):
        content = rng.randbytes(min(size, 1 << 20)) * max(1, size >> 20)
        path = f"f{number:06}.dat"
        (folder / path).write_bytes(content)
        usual = hashlib.md5(content).hexdigest()
        manifest.append(f"{manifest_text(usual)}\t{len(content):x}\t{path}\n")
        sums.append(f"{usual}  {path}\n")
        sums256.append(f"{hashlib.sha256(content).hexdigest()}  {path}\n")
    (DATA / f"{name}.md5").write_text("".join(sums))
    (DATA / f"{name}.info").write_text("".join(manifest))
    (DATA / f"{name}.sha256").write_text("".join(sums256))


def make_manifests():
    """Lines of about eighty bytes, sorted; the longest list also shuffled."""
    if (DATA / "shuffled.info").exists():
        return
    lines = []
    for number in range(1000000):
        md5 = hashlib.md5(str(number).encode()).hexdigest()
        lines.append(f"{md5}\t{number + 4096:x}\tContents/Resources/part{number // 1000:04}/"
                     f"item{number:07}.dat\n")
    for count in (1000, 10000, 100000, 1000000):
        (DATA / f"manifest-{count}.info").write_text("".join(lines[:count]))
    random.Random(1).shuffle(lines)
    (DATA / "shuffled.info").write_text("".join(lines))


def make_complete_manifest():
    """The sorted list of 1,000,000 files once more, with the extended lines."""
    complete = DATA / "complete.info"
    if complete.exists():
        return
    make_manifests()
    lines = ["@release\t3010000\t3.1.0\t3.1.0\n", "@minimum\t2000000\n"]
    with open(DATA / "manifest-1000000.info", encoding="utf-8") as files:
        for number, line in enumerate(files):
            path = line.rstrip("\n").split("\t")[2]
            sha256 = hashlib.sha256(str(number).encode()).hexdigest()
            lines += [line, f"@file\t{sha256}\t0644\t{path}\n"]
    complete.write_text("".join(lines), encoding="utf-8")


def make_resumed(count):
    """A staging folder that lacks the last file of its manifest only."""
    make_files(f"staged{count}", count, 1024)
    resumed = DATA / f"resumed{count}.info"
    if not resumed.exists():
        last = f"{manifest_text(hashlib.md5(b'').hexdigest())}\t0\tz-last.dat\n"
        resumed.write_text((DATA / f"staged{count}.info").read_text() + last)


def make_variant(name, original, path):
    """The files of a folder made before, but for one that differs, of the same size."""
    if (DATA / name).exists():
        return
    work = DATA / f"{name}.part"
    shutil.rmtree(work, ignore_errors=True)
    shutil.copytree(DATA / original, work, copy_function=os.link)
    size = (work / path).stat().st_size
    (work / path).unlink()
    (work / path).write_bytes(random.Random(name).randbytes(min(size, 1 << 20)) * max(1, size >> 20))
    work.rename(DATA / name)


def publish_files(name, version="3.1.0"):
    """The manifest of a folder made before, published below the folder's name."""
    manifest = WWW / f"release-{name}" / version / "update_md5.info"
    if not manifest.exists():
        shutil.rmtree(WWW / f"release-{name}", ignore_errors=True)
        subprocess.run([BUILD / "publish" / "publish_update", "--version", version, "--min-version",
                        "2.0.0", "--download-url", "https://www.example.com/", DATA / name,
                        WWW / f"release-{name}"], check=True, stdout=subprocess.DEVNULL)
    return manifest


def lay_out_bundle():
    shutil.rmtree(BUNDLE.parent, ignore_errors=True)
    UPDATER.parent.mkdir(parents=True)
    shutil.copy(BUILD / "bench" / "updater_for_bench", UPDATER)
    (UPDATER.parent / "system.cfg").write_text("ExeName=\n")
    (BUNDLE / "Info.plist").write_text(INFO_PLIST)


def publish(version):
    """Publishes a version number; the host's own is 3000000."""
    (WWW / SECTIONS / "update.json").write_text(
        f'{{"Version":{version},"VersionString":"3.1.0","Folder":"3.1.0","MinVersion":2000000,'
        f'"DownloadUrl":"http://127.0.0.1/"}}\n')


class Surroundings:
    """A separate home, nginx on the loopback address and a virtual screen; a context."""

    def __init__(self, port):
        self.port = port
        self.base = f"http://127.0.0.1:{port}/"
        self.processes = []
        home = STAGE / "home"
        shutil.rmtree(home, ignore_errors=True)
        (home / "run").mkdir(mode=0o700, parents=True)
        self.env = {"PATH": os.environ["PATH"], "HOME": str(home), "LC_ALL": "C.UTF-8",
                    "XDG_RUNTIME_DIR": str(home / "run"), "QT_QPA_PLATFORM": "offscreen"}
        self.screen_env = None

    def __enter__(self):
        DATA.mkdir(parents=True, exist_ok=True)
        (WWW / SECTIONS).mkdir(parents=True, exist_ok=True)
        if not (WWW / "data").is_symlink():
            (WWW / "data").symlink_to(DATA)
        lay_out_bundle()
        publish(3000000)
        self._serve()
        self._open_screen()
        return self

    def __exit__(self, *_):
        for process in self.processes:
            process.terminate()
            process.wait()

    def _serve(self):
        text = (ROOT / "demo" / "nginx.conf.in").read_text()
        for name, value in (("FOLDER", STAGE), ("PORT", self.port), ("RATE", 0)):
            text = text.replace(f"@{name}@", str(value))
        (STAGE / "nginx.conf").write_text(text)
        self.processes.append(subprocess.Popen(
            ["nginx", "-e", STAGE / "error.log", "-p", STAGE, "-c", STAGE / "nginx.conf"]))
        url = f"{self.base}{SECTIONS}/update.json"
        for _ in range(100):
            if subprocess.run(["curl", "-fs", "-o", "/dev/null", url], check=False).returncode == 0:
                return
            time.sleep(0.1)
        raise RuntimeError("nginx does not serve")

    def _open_screen(self):
        read, write = os.pipe()
        self.processes.append(subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", "1024x640x24", "-nolisten", "tcp",
             "-noreset"], pass_fds=[write], stderr=subprocess.DEVNULL))
        os.close(write)
        with os.fdopen(read) as display:
            number = display.readline().strip()
        self.screen_env = dict(self.env, DISPLAY=f":{number}", QT_QPA_PLATFORM="xcb")
