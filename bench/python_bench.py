#!/usr/bin/python3
"""Timings of the Python module (make bench runs it; figures in bench/README.md).

    PYTHONPATH=<build>/python /usr/bin/python3 bench/python_bench.py

1. The compiled loop alone (brinora._brinora.compute on ready float32 arrays,
   one thread): the C++ per-sample rate.
2. brinora.compute on 10^6 float64 samples with 1 and with 2 threads.
3. brinora.uncertainty (first-order propagation with budgets, 2 x 10^5
   samples) with 1 and with 2 threads, and the 2-thread/1-thread ratios of
   compute and of uncertainty side by side.
4. The lazy xarray path on a LocalCluster, 2 x 10^6 points in 9 chunks, with
   1 and with 2 worker processes (examples/model_grid.py), with the workers'
   peak memory.

    --threads-only: parts 2 and 3 only (no cluster).
"""

import pathlib
import subprocess
import sys
import time

import numpy as np

import brinora
from brinora import _brinora

N = 1_000_000
N_UNCERTAINTY = 200_000


def best_of(repeats, call):
    times = []
    for _ in range(repeats):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    return min(times)


def best_of_pair(repeats, call):
    """The shortest times of call(1) and call(2), run in turn."""
    times = {1: [], 2: []}
    for _ in range(repeats):
        for threads in (1, 2):
            start = time.perf_counter()
            call(threads)
            times[threads].append(time.perf_counter() - start)
    return min(times[1]), min(times[2])


def main():
    rng = np.random.default_rng(1)
    inputs = {"salinity": rng.uniform(33, 37, N), "temperature": rng.uniform(0, 30, N),
              "pressure": rng.uniform(0, 5000, N), "phosphate": rng.uniform(0, 3, N),
              "silicate": rng.uniform(0, 100, N), "ta": rng.uniform(2200, 2400, N),
              "tco2": rng.uniform(1900, 2200, N)}
    flat = []
    for name in _brinora.INPUT_NAMES:
        flat.append(inputs[name].astype(np.float32) if name in inputs else np.zeros(1, np.float32))
    items = [13, 1, 1, 1]
    core = best_of(3, lambda: _brinora.compute(flat, N, items, 1))
    # 1 and 2 threads in turn, so that a change of the machine's load falls on both.
    one, two = best_of_pair(3, lambda threads: brinora.compute(**inputs, constants=13, threads=threads))
    print(f"compiled loop, 1 thread:        {N / core:12.0f} samples/s")
    print(f"brinora.compute, 1 thread:      {N / one:12.0f} samples/s  ({core / one:.1%} of the loop)")
    print(f"brinora.compute, 2 threads:     {N / two:12.0f} samples/s  ({one / two:.2f} x 1 thread)")

    part = {name: values[:N_UNCERTAINTY] for name, values in inputs.items()}
    uncertain = dict(u_ta=2, u_tco2=2, u_salinity=0.01, u_temperature=0.01, constants=13)
    u_one, u_two = best_of_pair(3, lambda threads: brinora.uncertainty(**part, **uncertain,
                                                                       threads=threads))
    print(f"brinora.uncertainty, 1 thread:  {N_UNCERTAINTY / u_one:12.0f} samples/s")
    print(f"brinora.uncertainty, 2 threads: {N_UNCERTAINTY / u_two:12.0f} samples/s  "
          f"({u_one / u_two:.2f} x 1 thread)")
    print(f"1-thread / 2-thread time: compute {one / two:.2f}, uncertainty {u_one / u_two:.2f}")
    if "--threads-only" in sys.argv[1:]:
        return

    example = pathlib.Path(__file__).resolve().parents[1] / "examples" / "model_grid.py"
    rates = {}
    for workers in (1, 2):
        run = subprocess.run([sys.executable, str(example), "--workers", str(workers),
                              "--chunk-levels", "4"], capture_output=True, text=True, check=True)
        print(f"xarray on LocalCluster, {workers} worker(s):")
        for line in run.stdout.splitlines():
            print("    " + line)
            if "points per second" in line:
                rates[workers] = float(line.split(",")[1].split()[0])
    print(f"2 workers / 1 worker: {rates[2] / rates[1]:.2f} x")


if __name__ == "__main__":
    main()
