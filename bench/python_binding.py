"""Benchmarks of the Python binding (figures, not pass/fail):

1. call overhead: a 4 x 4 addition, per call;
2. a 2048 x 2048 u8 binary erosion from Python against the same call from C++ (bench_erode);
3. two threads against one on long calls (the GIL is released around every call), and how far
   a Python thread gets while the main thread is inside one long call.

    PYTHONPATH=<build>/python /usr/bin/python3 bench/python_binding.py <build>/python/mutils_bench_erode
"""
import os
import subprocess
import sys
import threading
import time
import timeit
from concurrent.futures import ThreadPoolExecutor

import numpy as np

import mutils


def best(fn, number, repeat=7):
    """Best processor time of one call (the machine may be shared with other work)."""
    return min(timeit.repeat(fn, number=number, repeat=repeat, timer=time.process_time)) / number


def main():
    a = np.arange(16.0).reshape(4, 4)
    overhead = best(lambda: mutils.mat.add(a, a), 20000)
    print("call overhead (4 x 4 add):        %.2f us" % (overhead * 1e6))

    n = 2048
    i = np.arange(n * n, dtype=np.uint64)
    image = ((((i * 2654435761) % 2 ** 32) >> 13) % 5 != 0).astype(np.uint8).reshape(n, n)
    se = np.ones((3, 3), np.uint8)
    py = best(lambda: mutils.img.binary_erode(image, se, 1, 1, 1, 0), 3, repeat=10)
    print("2048^2 u8 binary erosion, Python: %.0f us" % (py * 1e6))
    if len(sys.argv) > 1 and os.path.exists(sys.argv[1]):
        cpp = float(subprocess.run([sys.argv[1]], capture_output=True, text=True, check=True).stdout)
        print("                          C++:    %.0f us   (Python / C++ = %.3f)" % (cpp, py * 1e6 / cpp))

    # The GIL is released around the call: a Python thread keeps running during it.
    x = np.random.default_rng(0).random((1500, 1501))
    count, done = [0], []

    def spin():
        while not done:
            count[0] += 1
    spinner = threading.Thread(target=spin)
    spinner.start()
    t0 = time.perf_counter()
    mutils.sig.transform_discrete_fourier(x)
    elapsed = time.perf_counter() - t0
    done.append(True)
    spinner.join()
    print("a Python thread ran %d loop iterations during one %.2f s call" % (count[0], elapsed))

    frames = np.random.default_rng(0).random((2, 256, 256))
    work = lambda _: mutils.vid.optical_flow_horn_schunck(frames, max_iterations=400, tolerance=0.0)
    jobs = 8
    t0, c0 = time.perf_counter(), time.process_time()
    list(map(work, range(jobs)))
    one, one_cpu = time.perf_counter() - t0, time.process_time() - c0
    with ThreadPoolExecutor(2) as pool:
        t0, c0 = time.perf_counter(), time.process_time()
        list(pool.map(work, range(jobs)))
        two, two_cpu = time.perf_counter() - t0, time.process_time() - c0
    print("8 optical flows: one thread %.2f s, two threads %.2f s (speed-up %.2fx on %d cores, load %.1f);"
          % (one, two, one / two, os.cpu_count(), os.getloadavg()[0]))
    print("  processor time %.2f s and %.2f s (equal when the threads do not slow each other down)"
          % (one_cpu, two_cpu))

if __name__ == "__main__":
    main()
