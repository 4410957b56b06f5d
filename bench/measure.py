# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT

"""Whole processes by hyperfine, their memory by time, and what runs inside one by Google Benchmark.

Times are pairs of seconds: by the clock, and of processor, which other programs disturb less.
"""

import json
import os
import shlex
import statistics
import subprocess
import tempfile


def _json_of(command, option, env):
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        done = subprocess.run(command[:1] + [option.format(out.name)] + command[1:], env=env,
                              check=False, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        if done.returncode != 0:
            raise RuntimeError(f"{shlex.join(command)}: {done.stderr.decode()}")
        return json.load(out)


def quoted(*words):
    return shlex.join(str(word) for word in words)


def shell(script):
    return quoted("bash", "-c", script)


def _medians(pairs):
    return tuple(statistics.median(values) for values in zip(*pairs))


def process_times(commands, env, rounds, runs=1, prepare=None, any_exit_code=False):
    """Medians of the commands' times, which take turns: every round runs each of them."""
    times = [[] for _ in commands]
    for turn in range(rounds):
        order = list(range(len(commands)))
        if turn % 2:
            order.reverse()
        options = ["-N", "--style", "none", "--runs", str(runs)]
        if any_exit_code:
            options.append("-i")
        if prepare:
            options += ["--prepare", prepare]
        result = _json_of(["hyperfine"] + options + [commands[i] for i in order],
                          "--export-json={}", env)
        for index, one in zip(order, result["results"]):
            processor = one["user"] + one["system"]  # the mean of this round
            times[index] += [(time, processor) for time in one["times"]]
    return [_medians(one) for one in times]


def peak_memory(commands, env, rounds, prepare=None):
    """Medians in bytes of the commands' largest resident sets."""
    peaks = [[] for _ in commands]
    for _ in range(rounds):
        for index, command in enumerate(commands):
            if prepare:
                subprocess.run(shlex.split(prepare), check=True)
            with tempfile.NamedTemporaryFile("r") as out:
                # Through a small program: a child counts the memory of the one it was forked from.
                subprocess.run(["/usr/bin/time", "-q", "-f", "%M", "-o", out.name] +
                               shlex.split(command), env=env, check=False,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                peaks[index].append(int(out.read()) * 1024)
    return [statistics.median(one) for one in peaks]


def printed_times(commands, env, rounds):
    """Medians of the milliseconds that the commands print, in seconds."""
    times = [[] for _ in commands]
    for _ in range(rounds):
        for index, command in enumerate(commands):
            out = subprocess.run(shlex.split(command), env=env, check=False, text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
            times[index].append(float(out.splitlines()[0]) / 1000)
    return [(statistics.median(one), None) for one in times]


def inside(program, data, env, regex, repetitions, min_time=0.01):
    """Medians of the times of the benchmarks that match regex; their repetitions are interleaved."""
    command = [program, f"--benchmark_filter={regex}", f"--benchmark_min_time={min_time}",
               f"--benchmark_repetitions={repetitions}",
               "--benchmark_enable_random_interleaving=true",
               "--benchmark_out_format=json", data]
    unit = {"us": 1e-6, "ms": 1e-3}
    times = {}
    for run in _json_of([str(word) for word in command], "--benchmark_out={}", env)["benchmarks"]:
        if run.get("error_occurred"):
            raise RuntimeError(f"{run['name']}: {run['error_message']}")
        if run["run_type"] == "iteration":
            times.setdefault(run["run_name"].split("/repeats")[0], []).append(
                (run["real_time"] * unit[run["time_unit"]], run["cpu_time"] * unit[run["time_unit"]]))
    return {name: _medians(values) for name, values in times.items()}


def inside_and_process(program, data, env, regex, command, rounds):
    """Medians of the times of one benchmark and of one command, which take turns."""
    ours, other = [], []
    for _ in range(rounds):
        ours += inside(program, data, env, regex, 1).values()
        other += process_times([command], env, 1)
    return _medians(ours), _medians(other)


def load():
    return os.getloadavg()[0]
