"""Ctrl-C stops a long call; calls from several threads give the results of serial calls."""
import os
import signal
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

import mutils


@pytest.mark.parametrize("long_call", [
    lambda rng: mutils.vid.optical_flow_horn_schunck(rng.random((2, 384, 384)), max_iterations=100000,
                                                     tolerance=0.0),
    lambda rng: mutils.sig.transform_discrete_fourier(rng.random((3000, 3001))),
])
def test_sigint_interrupts_a_long_call(rng, long_call):
    timer = threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT))
    start = time.monotonic()
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        long_call(rng)
    timer.join()
    assert time.monotonic() - start < 1.5   # the call itself runs for many seconds


def test_threads_give_the_serial_results(rng):
    images = [(rng.random((256, 256)) * 255).astype(np.uint8) for _ in range(8)]
    se = np.ones((5, 5), np.uint8)
    work = lambda im: (mutils.img.binary_erode(im > 100, se), mutils.img.edge_canny(im, 1.5, 4.0, 12.0))
    serial = [work(im) for im in images]
    with ThreadPoolExecutor(4) as pool:
        parallel = list(pool.map(work, images))
    for s, p in zip(serial, parallel):
        np.testing.assert_array_equal(s[0], p[0])
        np.testing.assert_array_equal(s[1], p[1])
