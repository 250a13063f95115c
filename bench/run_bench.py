#!/usr/bin/env python3
"""Benchmarks LVBHOHost.exe under Wine against a bare echo host built and measured in the same run.

- Round trips: one small request written and its answer read, repeated, as an extension port does; median and p99
  per request and requests per second, GetLang through the host against an echo of the same frame. Pipe latency
  under Wine is bimodal by core placement, so placement is fixed: "two cores" (client and host on different CPUs,
  as a browser and its host run) carries the target, at most 1.2x; "one core" shows the host's own CPU cost.
- Burst: many small frames in one write, all answers read: throughput, host against echo.
- One 16 MiB frame: time to its answer, and the host's peak memory above its idle level; target at most 3x.
Runs alternate between the two hosts so that machine noise falls on both.
"""

import argparse
import json
import os
import statistics
import sys
import threading
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "scripts" / "lib"))
import winhost  # noqa: E402

REQUEST = b'{"command":"GetLang","id":1}'


def round_trips(prefix, exe, count, cpus):
    session = winhost.HostSession(prefix, exe, cpus=cpus)
    try:
        for _ in range(200):  # warm-up
            session.send(REQUEST)
            session.receive()
        samples = []
        for _ in range(count):
            start = time.perf_counter()
            session.send(REQUEST)
            session.receive()
            samples.append(time.perf_counter() - start)
    finally:
        session.close()
    return samples


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


def percentile(samples, fraction):
    ordered = sorted(samples)
    return ordered[min(len(ordered) - 1, int(fraction * len(ordered)))]


def verdict(value, target):
    return f"target <= {target:.2f}x  {'met' if value <= target else 'NOT met'}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, help="the mingw build folder (holding bin/)")
    parser.add_argument("--requests", type=int, default=2000, help="round trips per run")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--burst", type=int, default=10000)
    args = parser.parse_args()
    host = Path(args.build, "bin", "LVBHOHost.exe").resolve()
    echo = Path(args.build, "bin", "EchoHost.exe").resolve()
    hosts = (("echo", echo), ("host", host))
    cpu_count = len(os.sched_getaffinity(0))
    client_cpu = min(os.sched_getaffinity(0))
    other_cpu = max(os.sched_getaffinity(0))
    os.sched_setaffinity(0, {client_cpu})
    placements = [("one core", {client_cpu})]
    if cpu_count > 1:
        placements.insert(0, ("two cores", {other_cpu}))

    with winhost.WinePrefix(use_environment=False) as prefix:
        prefix.install_product()
        print(f"Round trips of a {len(REQUEST)}-byte GetLang request, {args.runs} x {args.requests} per host:")
        for placement, cpus in placements:
            samples = {"echo": [], "host": []}
            for _ in range(args.runs):
                for name, exe in hosts:
                    samples[name].extend(round_trips(prefix, exe, args.requests, cpus))
            medians = {name: statistics.median(values) for name, values in samples.items()}
            for name, _ in hosts:
                print(f"  {placement:9} {name:4} median {medians[name] * 1e6:7.1f} us"
                      f"  p99 {percentile(samples[name], 0.99) * 1e6:7.1f} us  {1 / medians[name]:8.0f} requests/s")
            ratio = medians["host"] / medians["echo"]
            target = verdict(ratio, 1.2) if placement == "two cores" else "(the host's CPU cost made visible)"
            print(f"  {placement:9} host / echo: {ratio:.2f}x  {target}")

        cpus = placements[0][1]
        print(f"Burst of {args.burst} frames in one write ({placements[0][0]}), best of {args.runs}:")
        best = {name: min(burst(prefix, exe, args.burst, cpus) for _ in range(args.runs)) for name, exe in hosts}
        for name, _ in hosts:
            print(f"  {name:4} {best[name] * 1e3:7.1f} ms  {args.burst / best[name]:9.0f} requests/s"
                  f"  {best[name] / args.burst * 1e6:6.2f} us per request")
        print(f"  host / echo: {best['host'] / best['echo']:.2f}x")

        size = 16 * 1024 * 1024
        print("One 16 MiB frame (median of 3):")
        runs = {name: [big_frame(prefix, exe, size, cpus) for _ in range(3)] for name, exe in hosts}
        times = {name: statistics.median(r[0] for r in results) for name, results in runs.items()}
        growth = max(r[1] for r in runs["host"])
        answer = json.loads(runs["host"][0][2])
        print(f"  host answered CommandError {answer['CommandError']} in {times['host'] * 1e3:.0f} ms"
              f" (echo {times['echo'] * 1e3:.0f} ms)")
        print(f"  host peak memory above idle: {growth / 2**20:.1f} MiB = {growth / size:.2f}x the frame"
              f"  {verdict(growth / size, 3.0)}")


if __name__ == "__main__":
    main()
