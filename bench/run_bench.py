#!/usr/bin/env python3
"""Benchmarks LVBHOHost.exe under Wine against floors built and measured in the same run, in one fresh prefix.

The floors that carry the targets do what the core protocol itself requires and nothing else: ProtocolFloor.exe is
a bare framing host that performs per frame the kernel operations prescribed for a command (the block mutex's waits
and releases, the events' resets, sets and waits, a query of the process list), with a minimal core of its own
answering at once. Context floors: EchoHost.exe (framing only), PingPong.exe (two processes handing a turn through
named events) and StartFloor.exe (a program that writes one byte; with --window, one that brings up COM and a window
thread). Figures, host against floor, with the Wine server requests of each per request (wineserver -d1):
- GetLang round trip, the stand-in core running (the cancel step's lock): at most 1.2x ProtocolFloor.exe LU. Pipe
  latency under Wine is bimodal by core placement, so placement is fixed: "two cores" (client and host on different
  CPUs, as a browser and its host run) carries the target; "one core" shows the host's own CPU cost.
- GetLang with no core running: at most 1.2x one query of the process list (ProtocolFloor.exe Q).
- CheckAndValidate of a stored login, the stand-in core answering at once: at most 1.3x its protocol floor.
- Launch to first answer, the update check included, the core running: at most 1.2x StartFloor.exe --window.
- A burst of 10,000 frames in one write, with and without the core: per request at most 1.2x the same host's single
  round trip on one core.
- One 16 MiB request: time to its answer, and the host's peak memory above its idle level; at most 3x the frame.
- Idle: the host's CPU time (all threads) and the wineserver's over 10 s, with the prompt window and the focus
  hook in place (Identify as Firefox); near zero.
Runs alternate between host and floor so that machine noise falls on both. Ends with a table of every target.
"""

import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import threading
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "scripts" / "lib"))
import winhost  # noqa: E402

REQUEST = b'{"command":"GetLang","id":1}'
STORE = {"command": "StoreLoginData", "id": 1, "DocumentTitle": "Bench", "WebUrl": "https://www.example.com/login",
         "unamefield": "user", "webPageUserId": "alice", "passfieldname": "pwd", "webPagepassword": "s3cret"}
CHECK = json.dumps({"command": "CheckAndValidate", "id": 2, "DocumentTitle": "Bench",
                    "WebUrl": "https://mail.example.com/", "unamefield": "user", "passfieldname": "pwd"},
                   separators=(",", ":")).encode()
TICKS = os.sysconf("SC_CLK_TCK")

# What the core protocol prescribes per request, as ProtocolFloor.exe's steps (L: the block mutex taken, U: released,
# R: one request rung and waited for, Q: one query of the process list). The host's own traces at level 52 show the
# same sequence (tests/commands/GoldenTraceTest.cpp pins it):
# - GetLang: the dispatcher's cancel-if-busy step reads the flags under the mutex.
GET_LANG_STEPS = "LU"
# - CheckAndValidate of a stored login: the cancel-if-busy step, whether a validation runs, the block reset and the
#   request's fields (four locks), the request (code 8), then the answer bit, the result, the flags and the login
#   script's two reads (five locks).
CHECK_STEPS = "LU" * 4 + "R" + "LU" * 5
# - With no core running no lock is taken: each step asks whether the core or its guard runs, one process list.
NO_CORE_STEPS = "Q"


def percentile(samples, fraction):
    ordered = sorted(samples)
    return ordered[min(len(ordered) - 1, int(fraction * len(ordered)))]


def timed_round_trips(session, body, count, warm_up=200):
    for _ in range(warm_up):
        session.send(body)
        session.receive()
    samples = []
    for _ in range(count):
        start = time.perf_counter()
        session.send(body)
        session.receive()
        samples.append(time.perf_counter() - start)
    return samples


def round_trips(prefix, exe, count, cpus, args=(), body=REQUEST, warm_up=200):
    session = winhost.HostSession(prefix, exe, args=args, cpus=cpus)
    try:
        return timed_round_trips(session, body, count, warm_up)
    finally:
        session.close()


def get_lang_round_trips(prefix, hosts, sim, runs, count, cpus, with_core):
    """GetLang round trips of the host and its floors, alternating; with or without the stand-in core running.
    `hosts`: (name, exe, arguments) each."""
    samples = {name: [] for name, _, _ in hosts}
    core = winhost.SimCore(prefix, sim, log_name=None) if with_core else None
    try:
        for _ in range(runs):
            for name, exe, args in hosts:
                samples[name].extend(round_trips(prefix, exe, count, cpus, args))
    finally:
        if core:
            core.stop()
    return samples


def ping_pong(prefix, exe, count):
    result = subprocess.run(["wine", str(exe), str(count)], env=prefix.env, capture_output=True, timeout=300)
    if result.returncode != 0:
        raise RuntimeError(f"PingPong.exe failed with {result.returncode}")
    return [float(line) / 1e6 for line in result.stdout.split()]


def check_and_validate_floor(prefix, floor, count, cpus):
    """The CheckAndValidate protocol floor's round trips (it runs its own minimal core)."""
    return round_trips(prefix, floor, count, cpus, (CHECK_STEPS,), CHECK, warm_up=50)


def check_and_validate(prefix, exe, sim, count, cpus):
    with winhost.SimCore(prefix, sim, log_name=None):
        session = winhost.HostSession(prefix, exe, cpus=cpus)
        try:
            session.send(json.dumps(STORE).encode())
            stored = json.loads(session.receive())
            if stored.get("CommandError") != 0:
                raise RuntimeError(f"the login was not stored: {stored}")
            samples = timed_round_trips(session, CHECK, count, warm_up=50)
            session.send(CHECK)
            answer = json.loads(session.receive())
            if answer.get("CommandError") != 0 or not answer.get("LoginData"):
                raise RuntimeError(f"CheckAndValidate did not return the login: {answer}")
            return samples
        finally:
            session.close()


def launch_to_answer(prefix, exe):
    start = time.perf_counter()
    session = winhost.HostSession(prefix, exe)
    session.send(REQUEST)
    answer = session.receive()
    elapsed = time.perf_counter() - start
    if session.close() != 0 or not answer:
        raise RuntimeError("the host did not answer its first request")
    return elapsed


def launch_to_byte(prefix, exe, args=()):
    start = time.perf_counter()
    process = subprocess.Popen(["wine", str(exe), *args], env=prefix.env, stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, bufsize=0)
    first = process.stdout.read(1)
    elapsed = time.perf_counter() - start
    process.wait(timeout=30)
    process.stdout.close()
    if first != b"x":
        raise RuntimeError("StartFloor.exe wrote nothing")
    return elapsed


def burst(prefix, exe, count, cpus):
    session = winhost.HostSession(prefix, exe, cpus=cpus)
    try:
        session.send(REQUEST)
        session.receive()
        data = winhost.frame(REQUEST) * count
        start = time.perf_counter()
        writer = threading.Thread(target=session.send_raw, args=(data,))
        writer.start()
        for _ in range(count):
            session.receive()
        elapsed = time.perf_counter() - start
        writer.join()
    finally:
        session.close()
    return elapsed


def big_frame(prefix, exe, size, cpus):
    pad = size - len(b'{"command":"GetLang","id":1,"pad":""}')
    body = b'{"command":"GetLang","id":1,"pad":"' + b"x" * pad + b'"}'
    session = winhost.HostSession(prefix, exe, cpus=cpus)
    try:
        session.send(REQUEST)
        session.receive()
        idle = session.peak_kib()
        start = time.perf_counter()
        writer = threading.Thread(target=session.send_raw, args=(winhost.frame(body),))
        writer.start()
        answer = session.receive()
        elapsed = time.perf_counter() - start
        writer.join()
        peak = session.peak_kib()
    finally:
        session.close()
    return elapsed, (peak - idle) * 1024, answer


def cpu_seconds(pid):
    """User and system time of a process, all its threads."""
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def wineserver_pids(prefix):
    """This prefix's wineserver: our own processes named wineserver whose environment names the prefix."""
    wanted = f"WINEPREFIX={prefix.path}".encode()
    pids = []
    for entry in Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            if (entry / "comm").read_text().strip().startswith("wineserver") and \
                    wanted in (entry / "environ").read_bytes().split(b"\0"):
                pids.append(int(entry.name))
        except OSError:
            continue
    return pids


def idle_cpu(prefix, exe, seconds):
    session = winhost.HostSession(prefix, exe, args=("C:\\lvbho\\LVBHOHost.json", "lvbho@lumivar.com"))
    try:
        session.send(b'{"command":"Identify","id":1,"name":"firefox"}')
        identified = json.loads(session.receive())
        if identified.get("CommandError") != 0:
            raise RuntimeError(f"Identify failed: {identified}")
        time.sleep(1.0)
        servers = wineserver_pids(prefix)
        host_before = cpu_seconds(session.process.pid)
        server_before = sum(cpu_seconds(pid) for pid in servers)
        time.sleep(seconds)
        host_after = cpu_seconds(session.process.pid)
        server_after = sum(cpu_seconds(pid) for pid in servers)
    finally:
        session.close()
    return host_after - host_before, server_after - server_before


_REQUEST_LINE = re.compile(r"^([0-9a-f]{4,8}): (\w+)\( ")
_FIRST_THREAD = re.compile(r"^([0-9a-f]{4,8}): init_first_thread\( unix_pid=(\d+),")


def requests_of_main_thread(log_path, unix_pid):
    """Wine server requests made by one process's main thread, from the server's trace (wineserver -d1): the thread
    whose init_first_thread names `unix_pid`. The main thread reads the frames, runs the command and writes the
    answer, in the host as in the floors; the other threads (the host's UI thread, the floor's core) are not
    counted."""
    thread = None
    count = 0
    with open(log_path, errors="replace") as log:
        for line in log:
            if thread is None:
                first = _FIRST_THREAD.match(line)
                if first and int(first.group(2)) == unix_pid:
                    thread = first.group(1)
                continue
            request = _REQUEST_LINE.match(line)
            if request and request.group(1) == thread:
                count += 1
    if thread is None:
        raise RuntimeError(f"{log_path}: no thread of process {unix_pid}")
    return count


def server_requests_per_frame(exe, args, body, setup=(), with_core=None, counts=(20, 520)):
    """The Wine server requests (the kernel operations of a Wine process) that `exe` makes per `body` frame: the
    difference between runs of counts[0] and counts[1] frames, each in a fresh server that traces every request,
    divided by the difference in frames, so that start and exit cancel out. `with_core` is the stand-in core's exe,
    started first when the figure has the core running."""
    totals = []
    with winhost.WinePrefix(use_environment=False) as prefix:
        prefix.install_product()
        for count in counts:
            log_path = Path(prefix.path).parent / f"server-{count}.log"
            subprocess.run(["wineserver", "-k"], env=prefix.env, stdin=subprocess.DEVNULL, capture_output=True)
            subprocess.run(["wineserver", "-w"], env=prefix.env, stdin=subprocess.DEVNULL, capture_output=True)
            with open(log_path, "wb") as log:
                server = subprocess.Popen(["wineserver", "-f", "-p", "-d1"], env=prefix.env, stdin=subprocess.DEVNULL,
                                          stdout=subprocess.DEVNULL, stderr=log)
            try:
                core = winhost.SimCore(prefix, with_core, log_name=None) if with_core else None
                try:
                    session = winhost.HostSession(prefix, exe, args=args)
                    try:
                        for frame in setup:
                            session.send(frame)
                            session.receive()
                        for _ in range(count):
                            session.send(body)
                            session.receive()
                    finally:
                        session.close()
                finally:
                    if core:
                        core.stop()
            finally:
                subprocess.run(["wineserver", "-k"], env=prefix.env, stdin=subprocess.DEVNULL, capture_output=True)
                server.wait(timeout=60)
            totals.append(requests_of_main_thread(log_path, session.process.pid))
    return (totals[1] - totals[0]) / (counts[1] - counts[0])


class Table:
    def __init__(self):
        self.rows = []

    def add(self, figure, median, p99, floor, ratio, target, ratio_text=None, target_text=None, ops=""):
        met = ratio <= target
        self.rows.append((figure, median, p99, floor, ratio_text or f"{ratio:.2f}x", ops,
                          target_text or f"<= {target:.2f}x", "met" if met else "NOT met"))
        return met

    def note(self, figure, median, p99, floor, ratio, ops=""):
        self.rows.append((figure, median, p99, floor, ratio, ops, "(no target)", ""))

    def print(self):
        heads = ("figure", "host median", "host p99", "floor median", "ratio", "server requests host/floor",
                 "target", "")
        widths = [max(len(str(row[i])) for row in [heads, *self.rows]) for i in range(len(heads))]
        print("\nSummary (floors built and measured in this run, under the same Wine):")
        for row in [heads, *self.rows]:
            print("  " + "  ".join(str(cell).ljust(widths[i]) for i, cell in enumerate(row)).rstrip())


def us(seconds):
    return f"{seconds * 1e6:.0f} us"


def ops_text(counts, name):
    host, floor = counts[name]
    return f"{host:.1f} / {floor:.1f}"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, help="the mingw build folder holding bin/ (host and core)")
    parser.add_argument("--floors", help="the folder holding the floors' .exe files (default: the build's bin/)")
    parser.add_argument("--requests", type=int, default=2000, help="round trips per run")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--launches", type=int, default=15)
    parser.add_argument("--burst", type=int, default=10000)
    parser.add_argument("--idle-seconds", type=float, default=10.0)
    args = parser.parse_args()
    bin_dir = Path(args.build, "bin").resolve()
    floors = Path(args.floors).resolve() if args.floors else bin_dir
    host = bin_dir / "LVBHOHost.exe"
    sim = bin_dir / "SimLvEngine.exe"
    echo = floors / "EchoHost.exe"
    pingpong = floors / "PingPong.exe"
    protocol = floors / "ProtocolFloor.exe"
    start_floor = floors / "StartFloor.exe"
    cpu_count = len(os.sched_getaffinity(0))
    client_cpu = min(os.sched_getaffinity(0))
    other_cpu = max(os.sched_getaffinity(0))
    os.sched_setaffinity(0, {client_cpu})
    placements = [("one core", {client_cpu})]
    if cpu_count > 1:
        placements.insert(0, ("two cores", {other_cpu}))
    table = Table()

    print("Wine server requests per request of the main thread (the kernel operations of a Wine process;"
          " wineserver -d1, the difference between 20 and 520 requests), host / floor:")
    counts = {
        "GetLang": (server_requests_per_frame(host, (), REQUEST, with_core=sim),
                    server_requests_per_frame(protocol, (GET_LANG_STEPS,), REQUEST)),
        "GetLang, no core": (server_requests_per_frame(host, (), REQUEST),
                             server_requests_per_frame(protocol, (NO_CORE_STEPS,), REQUEST)),
        "CheckAndValidate": (server_requests_per_frame(host, (), CHECK, setup=(json.dumps(STORE).encode(),),
                                                       with_core=sim),
                             server_requests_per_frame(protocol, (CHECK_STEPS,), CHECK)),
        "echo": (server_requests_per_frame(echo, (), REQUEST), 0.0),
    }
    for name, (host_count, floor_count) in counts.items():
        print(f"  {name:17} host {host_count:5.1f}  floor {floor_count:5.1f}")

    with winhost.WinePrefix(use_environment=False) as prefix:
        prefix.install_product()
        print(f"Round trips of a {len(REQUEST)}-byte GetLang request, {args.runs} x {args.requests} per program,"
              f" the stand-in core running; the protocol floor is ProtocolFloor.exe {GET_LANG_STEPS}:")
        hosts = (("echo", echo, ()), ("floor", protocol, (GET_LANG_STEPS,)), ("host", host, ()))
        single = {}
        for placement, cpus in placements:
            samples = get_lang_round_trips(prefix, hosts, sim, args.runs, args.requests, cpus, True)
            medians = {name: statistics.median(values) for name, values in samples.items()}
            for name, _, _ in hosts:
                print(f"  {placement:9} {name:5} median {medians[name] * 1e6:7.1f} us"
                      f"  p99 {percentile(samples[name], 0.99) * 1e6:7.1f} us  {1 / medians[name]:8.0f} requests/s")
            ratio = medians["host"] / medians["floor"]
            print(f"  {placement:9} host / protocol floor: {ratio:.2f}x; host / echo:"
                  f" {medians['host'] / medians['echo']:.2f}x")
            single[placement] = medians["host"]
            if placement == placements[0][0]:
                echo_median = medians["echo"]
                table.add(f"GetLang round trip ({placement})", us(medians["host"]),
                          us(percentile(samples["host"], 0.99)), us(medians["floor"]) + " protocol", ratio, 1.2,
                          ops=ops_text(counts, "GetLang"))
                table.note(f"  the same against the echo ({placement})", us(medians["host"]), "",
                           us(medians["echo"]) + " echo", f"{medians['host'] / medians['echo']:.2f}x")

        print(f"GetLang with no core running (each request asks whether the core or its guard runs); the floor is"
              f" ProtocolFloor.exe {NO_CORE_STEPS}, one query of the process list:")
        hosts_no_core = (("floor", protocol, (NO_CORE_STEPS,)), ("host", host, ()))
        single_no_core = {}
        for placement, cpus in placements:
            samples = get_lang_round_trips(prefix, hosts_no_core, sim, args.runs, args.requests // 4, cpus, False)
            medians = {name: statistics.median(values) for name, values in samples.items()}
            for name, _, _ in hosts_no_core:
                print(f"  {placement:9} {name:5} median {medians[name] * 1e6:7.1f} us"
                      f"  p99 {percentile(samples[name], 0.99) * 1e6:7.1f} us")
            ratio = medians["host"] / medians["floor"]
            print(f"  {placement:9} host / one process-list query: {ratio:.2f}x")
            single_no_core[placement] = medians["host"]
            if placement == placements[0][0]:
                table.add(f"GetLang round trip, no core running ({placement})", us(medians["host"]),
                          us(percentile(samples["host"], 0.99)), us(medians["floor"]) + " one query", ratio, 1.2,
                          ops=ops_text(counts, "GetLang, no core"))

        print(f"CheckAndValidate of a stored login, the stand-in core answering at once ({placements[0][0]}),"
              f" {args.runs} x {args.requests // 4}; the protocol floor is ProtocolFloor.exe {CHECK_STEPS} with its"
              " own minimal core; event ping-pong between two processes as context:")
        checks, floors_check, pongs = [], [], []
        cpus = placements[0][1]
        for _ in range(args.runs):
            checks.extend(check_and_validate(prefix, host, sim, args.requests // 4, cpus))
            floors_check.extend(check_and_validate_floor(prefix, protocol, args.requests // 4, cpus))
            pongs.extend(ping_pong(prefix, pingpong, args.requests))
        check_median = statistics.median(checks)
        check_floor = statistics.median(floors_check)
        pong_median = statistics.median(pongs)
        print(f"  CheckAndValidate median {us(check_median)}  p99 {us(percentile(checks, 0.99))}")
        print(f"  protocol floor   median {us(check_floor)}  p99 {us(percentile(floors_check, 0.99))}")
        print(f"  ping-pong        median {us(pong_median)}  p99 {us(percentile(pongs, 0.99))}")
        print(f"  host / protocol floor: {check_median / check_floor:.2f}x; host / (echo + ping-pong):"
              f" {check_median / (echo_median + pong_median):.2f}x")
        table.add("CheckAndValidate round trip", us(check_median), us(percentile(checks, 0.99)),
                  us(check_floor) + " protocol", check_median / check_floor, 1.3, ops=ops_text(counts,
                                                                                              "CheckAndValidate"))
        table.note("  the same against echo + ping-pong", us(check_median), "", us(echo_median + pong_median),
                   f"{check_median / (echo_median + pong_median):.2f}x")

        print(f"Launch to first answer, {args.launches} starts each, alternating; the stand-in core running, then"
              " not:")
        launches = {"host": [], "floor": [], "window": [], "host, no core": []}
        with winhost.SimCore(prefix, sim, log_name=None):
            for _ in range(args.launches):
                launches["floor"].append(launch_to_byte(prefix, start_floor))
                launches["window"].append(launch_to_byte(prefix, start_floor, ("--window",)))
                launches["host"].append(launch_to_answer(prefix, host))
        for _ in range(args.launches):
            launches["host, no core"].append(launch_to_answer(prefix, host))
        for name, values in launches.items():
            print(f"  {name:13} median {statistics.median(values) * 1e3:6.1f} ms"
                  f"  p99 {percentile(values, 0.99) * 1e3:6.1f} ms")
        launch = {name: statistics.median(values) for name, values in launches.items()}
        print(f"  host / (COM and a window thread): {launch['host'] / launch['window']:.2f}x; host / start floor:"
              f" {launch['host'] / launch['floor']:.2f}x")
        table.add("launch to first answer", f"{launch['host'] * 1e3:.1f} ms",
                  f"{percentile(launches['host'], 0.99) * 1e3:.1f} ms", f"{launch['window'] * 1e3:.1f} ms COM+window",
                  launch["host"] / launch["window"], 1.2)
        table.note("  the same against a bare start", f"{launch['host'] * 1e3:.1f} ms", "",
                   f"{launch['floor'] * 1e3:.1f} ms start", f"{launch['host'] / launch['floor']:.2f}x")
        table.note("launch to first answer, no core running", f"{launch['host, no core'] * 1e3:.1f} ms",
                   f"{percentile(launches['host, no core'], 0.99) * 1e3:.1f} ms",
                   f"{launch['window'] * 1e3:.1f} ms COM+window", f"{launch['host, no core'] / launch['window']:.2f}x")

        one_core = placements[-1]
        print(f"Burst of {args.burst} frames in one write ({one_core[0]}), best of {args.runs}; per request against"
              " the same host's single round trip on one core:")
        for label, with_core, reference in (("core running", True, single[one_core[0]]),
                                            ("no core", False, single_no_core[one_core[0]])):
            core = winhost.SimCore(prefix, sim, log_name=None) if with_core else None
            try:
                best = min(burst(prefix, host, args.burst, one_core[1]) for _ in range(args.runs))
                echo_best = min(burst(prefix, echo, args.burst, one_core[1]) for _ in range(args.runs))
            finally:
                if core:
                    core.stop()
            per_request = best / args.burst
            print(f"  {label:12} host {best * 1e3:7.1f} ms, {per_request * 1e6:6.1f} us per request; single round"
                  f" trip {reference * 1e6:6.1f} us: {per_request / reference:.2f}x; echo {echo_best * 1e3:.1f} ms")
            table.add(f"burst of {args.burst}, per request, {label}", us(per_request), "",
                      us(reference) + " single", per_request / reference, 1.2)

        size = 16 * 1024 * 1024
        print("One 16 MiB frame (median of 3):")
        runs = {name: [big_frame(prefix, exe, size, placements[0][1]) for _ in range(3)]
                for name, exe in (("echo", echo), ("host", host))}
        times = {name: statistics.median(r[0] for r in results) for name, results in runs.items()}
        growth = max(r[1] for r in runs["host"])
        answer = json.loads(runs["host"][0][2])
        print(f"  host answered CommandError {answer['CommandError']} in {times['host'] * 1e3:.0f} ms"
              f" (echo {times['echo'] * 1e3:.0f} ms, {times['host'] / times['echo']:.2f}x)")
        print(f"  host peak memory above idle: {growth / 2**20:.1f} MiB = {growth / size:.2f}x the frame")
        table.note("16 MiB request, time to answer", f"{times['host'] * 1e3:.0f} ms", "",
                   f"{times['echo'] * 1e3:.0f} ms echo", f"{times['host'] / times['echo']:.2f}x")
        table.add("16 MiB request, peak memory", f"{growth / 2**20:.1f} MiB", "", "16.0 MiB frame", growth / size,
                  3.0)

        print(f"Idle for {args.idle_seconds:.0f} s with the prompt window and the focus hook (Identify as Firefox):")
        host_cpu, server_cpu = idle_cpu(prefix, host, args.idle_seconds)
        share = (host_cpu + server_cpu) / args.idle_seconds
        print(f"  host {host_cpu * 1e3:.0f} ms CPU, wineserver {server_cpu * 1e3:.0f} ms CPU: {share * 100:.2f}%"
              f" of one core")
        table.add(f"idle CPU over {args.idle_seconds:.0f} s (host + wineserver)", f"{(host_cpu + server_cpu) * 1e3:.0f} ms",
                  "", "0 ms", share * 100, 0.5, ratio_text=f"{share * 100:.2f}% of a core", target_text="<= 0.50%")

    table.print()
    return 0 if all(row[7] in ("met", "") for row in table.rows) else 1


if __name__ == "__main__":
    sys.exit(main())
