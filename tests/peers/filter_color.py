#!/usr/bin/python3
"""Peer answers for the neighbourhood filters and the colour operations.

Computes, on seeded inputs, what scipy, numpy, scikit-image and OpenCV give, and writes them to
tests/data/peers/filter.txt and color.txt: one matrix per line, "name rows cols v0 v1 ...".
The unit tests read these files, so running the tests needs no Python. Regenerate with
    /usr/bin/python3 tests/peers/filter_color.py
"""
import os

import cv2
import numpy as np
import scipy.cluster.vq
import scipy.ndimage as ndi
import scipy.signal
import skimage.color
from numpy.lib.stride_tricks import sliding_window_view

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "peers")
NUMPY_PAD = {0: "constant", 1: "wrap", 2: "symmetric", 3: "edge"}
SCIPY_MODE = {0: "constant", 3: "nearest"}


def line(name, m):
    m = np.atleast_2d(np.asarray(m, dtype=float))
    return f"{name} {m.shape[0]} {m.shape[1]} " + " ".join(repr(float(v)) for v in m.ravel()) + "\n"


def windows(img, wr, wc, b):
    pad = ((wr // 2, wr - 1 - wr // 2), (wc // 2, wc - 1 - wc // 2))
    return sliding_window_view(np.pad(img, pad, NUMPY_PAD[b]), (wr, wc))


def round_half_up(v):
    return np.floor(v + 0.5)


def filters(rng):
    u8 = rng.integers(0, 256, (9, 11)).astype(np.uint8)
    dbl = rng.uniform(-50, 50, (9, 11))
    s32 = rng.integers(-100000, 100000, (9, 11)).astype(np.int32)
    u16 = rng.integers(0, 65536, (9, 11)).astype(np.uint16)
    out = [line("u8", u8), line("dbl", dbl), line("s32", s32), line("u16", u16)]
    for wr, wc in [(3, 3), (4, 5), (1, 7), (15, 4)]:
        for b in (0, 3):
            key = f"{wr}x{wc}_b{b}"
            size = (wr, wc)
            # Local mean: exact integer sums for the 8-bit result, scipy's filter for double.
            s = windows(u8.astype(np.int64), wr, wc, b).sum(axis=(-2, -1))
            n = wr * wc
            out.append(line(f"mean_u8_{key}", (2 * s + n) // (2 * n)))
            out.append(line(f"mean_dbl_{key}", ndi.uniform_filter(dbl, size, mode=SCIPY_MODE[b])))
            f = u8.astype(float)
            var = ndi.uniform_filter(f * f, size, mode=SCIPY_MODE[b]) - ndi.uniform_filter(f, size, mode=SCIPY_MODE[b]) ** 2
            out.append(line(f"var_u8_{key}", var))
    for wr, wc in [(3, 3), (3, 5), (5, 5)]:
        for noise in (None, 100.0):
            tag = "est" if noise is None else "100"
            out.append(line(f"wiener_dbl_{wr}x{wc}_{tag}", scipy.signal.wiener(dbl * 5, (wr, wc), noise)))
    for wr, wc in [(3, 3), (4, 4), (5, 7), (20, 3)]:
        for b in range(4):
            for q in (0.0, 0.25, 0.5, 0.75, 1.0):
                key = f"{wr}x{wc}_b{b}_q{q}"
                for name, img in (("u8", u8), ("s32", s32), ("u16", u16), ("dbl", dbl)):
                    v = np.quantile(windows(img.astype(float), wr, wc, b), q, axis=(-2, -1))
                    out.append(line(f"quantile_{name}_{key}", v if name == "dbl" else round_half_up(v)))
    # The median filter of scipy agrees with q = 0.5 on odd windows.
    out.append(line("median_scipy_u8_5x7_b2", ndi.median_filter(u8, (5, 7), mode="reflect")))
    return out


def colours(rng):
    u8 = rng.integers(0, 256, (6, 7, 3)).astype(np.uint8)
    dbl = rng.uniform(0.02, 0.98, (6, 7, 3))
    out = [line(f"rgb_u8_{i}", u8[:, :, i]) for i in range(3)]
    out += [line(f"rgb_dbl_{i}", dbl[:, :, i]) for i in range(3)]
    out.append(line("gray_u8", cv2.cvtColor(u8, cv2.COLOR_RGB2GRAY)))
    out.append(line("gray_flt", cv2.cvtColor(dbl.astype(np.float32), cv2.COLOR_RGB2GRAY)))
    spaces = {"hsv": skimage.color.rgb2hsv(dbl), "xyz": skimage.color.rgb2xyz(dbl), "lab": skimage.color.rgb2lab(dbl)}
    ycrcb = cv2.cvtColor(dbl.astype(np.float32), cv2.COLOR_RGB2YCrCb)
    spaces["ycbcr"] = ycrcb[:, :, [0, 2, 1]]
    for name, m in spaces.items():
        out += [line(f"{name}_{i}", m[:, :, i]) for i in range(3)]
    palette = rng.integers(0, 256, (12, 3)).astype(float)
    palette[5] = palette[2]  # a repeated colour: ties go to the first row
    out.append(line("palette", palette))
    idx, _ = scipy.cluster.vq.vq(u8.reshape(-1, 3).astype(float), palette)
    out.append(line("palette_index", idx.reshape(6, 7)))
    return out


def main():
    os.makedirs(OUT, exist_ok=True)
    rng = np.random.default_rng(20240611)
    with open(os.path.join(OUT, "filter.txt"), "w") as f:
        f.writelines(filters(rng))
    with open(os.path.join(OUT, "color.txt"), "w") as f:
        f.writelines(colours(rng))


if __name__ == "__main__":
    main()
