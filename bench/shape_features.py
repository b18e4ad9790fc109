"""Shape features of 1000 labels on a 2048 x 2048 image: mutils against scikit-image's regionprops
computing the same columns, in one Python process (best processor time of a few runs; the
machine may be shared). Prints both times and their ratio.

    PYTHONPATH=<build>/python /usr/bin/python3 bench/shape_features.py
"""
import time
import timeit

import numpy as np
import skimage.measure

import mutils

COLUMNS = ("area", "centroid", "bbox", "perimeter", "orientation", "major_axis_length", "minor_axis_length",
           "eccentricity", "equivalent_diameter", "extent", "convex_area", "solidity", "euler_number")


def labels_image(n=2048, count=1000, seed=5):
    """count ellipses of random size and direction, one per cell of a 40 x 25 grid."""
    rng = np.random.default_rng(seed)
    lab = np.zeros((n, n), np.uint32)
    rows, cols = 40, 25
    h, w = n // rows, n // cols
    yy, xx = np.mgrid[:h, :w]
    for k in range(count):
        r, c = divmod(k, cols)
        a, b, t = rng.uniform(0.2, 0.48) * h, rng.uniform(0.2, 0.48) * w, rng.uniform(0, np.pi)
        y, x = yy - h / 2, xx - w / 2
        u, v = x * np.cos(t) + y * np.sin(t), -x * np.sin(t) + y * np.cos(t)
        cell = lab[r * h:(r + 1) * h, c * w:(c + 1) * w]
        cell[(u / b) ** 2 + (v / a) ** 2 <= 1] = k + 1
    return lab


def peer(lab):
    return [[getattr(p, c) for c in COLUMNS] for p in skimage.measure.regionprops(lab)]


def best(fn, repeat):
    return min(timeit.repeat(fn, number=1, repeat=repeat, timer=time.process_time))


def main():
    lab = labels_image()
    ours = best(lambda: mutils.img.shape_features(lab), 5)
    theirs = best(lambda: peer(lab), 3)
    print("shape features, 1000 labels on 2048^2: mutils %.1f ms, skimage regionprops %.1f ms, ratio %.3f"
          % (ours * 1e3, theirs * 1e3, ours / theirs))


if __name__ == "__main__":
    main()
