#!/usr/bin/python3
"""Peer answers for the geometric transforms: rotation, scaling, warps and the tie-point fit.

Computes, on seeded inputs, what scikit-image, OpenCV and numpy give, and writes them to
tests/data/peers/geometry.txt: one matrix per line, "name rows cols v0 v1 ...". The unit tests
read this file, so running the tests needs no Python. Regenerate with
    /usr/bin/python3 tests/peers/geometry.py
"""
import os

import cv2
import numpy as np
import skimage.transform as st

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "peers")
FILL = 7.25


def line(name, m):
    m = np.atleast_2d(np.asarray(m, dtype=float))
    return f"{name} {m.shape[0]} {m.shape[1]} " + " ".join(repr(float(v)) for v in m.ravel()) + "\n"


def rotation_matrix(shape, out_shape, angle):
    """Output (x, y) to input (x, y) of a rotation about the centres, as skimage's 3 x 3 matrix."""
    a = np.deg2rad(angle)
    c, s = np.cos(a), np.sin(a)
    cy, cx = (shape[0] - 1) / 2, (shape[1] - 1) / 2
    ry, rx = (out_shape[0] - 1) / 2, (out_shape[1] - 1) / 2
    return np.array([[c, -s, cx - rx * c + ry * s], [s, c, cy - rx * s - ry * c], [0, 0, 1]])


def terms(r, c, degree):
    return np.stack([r ** (j - i) * c ** i for j in range(degree + 1) for i in range(j + 1)], axis=-1)


def main():
    rng = np.random.default_rng(20)
    img = rng.uniform(0, 100, (13, 17))
    out = [line("img", img)]
    kw = dict(preserve_range=True, clip=False)
    # Rotation of the same size (skimage's rotate) and into the whole rotated size (warp).
    for angle in (30.0, -47.5):
        for order in (0, 1, 3):
            r = st.rotate(img, angle, order=order, mode="constant", cval=FILL, **kw)
            out.append(line(f"rotate_{angle}_{order}", r))
            shape = (22, 25)
            m = st.AffineTransform(matrix=rotation_matrix(img.shape, shape, angle))
            r = st.warp(img, m, order=order, mode="constant", cval=FILL, output_shape=shape, **kw)
            out.append(line(f"rotate_{angle}_{order}_22x25", r))
    # Scaling: nearest and bilinear by resize, bicubic by a centre-aligned warp, area by OpenCV.
    for shape in ((7, 9), (20, 30), (13, 40)):
        key = f"{shape[0]}x{shape[1]}"
        for order in (0, 1):
            r = st.resize(img, shape, order=order, mode="edge", anti_aliasing=False, **kw)
            out.append(line(f"scale_{key}_{order}", r))
        sr, sc = img.shape[0] / shape[0], img.shape[1] / shape[1]
        m = np.array([[sc, 0, 0.5 * sc - 0.5], [0, sr, 0.5 * sr - 0.5], [0, 0, 1]])
        r = st.warp(img, st.AffineTransform(matrix=m), order=3, mode="edge", output_shape=shape, **kw)
        out.append(line(f"scale_{key}_2", r))
    out.append(line("scale_7x9_3", cv2.resize(img, (9, 7), interpolation=cv2.INTER_AREA)))
    out.append(line("scale_5x6_3", cv2.resize(img, (6, 5), interpolation=cv2.INTER_AREA)))
    # Tie-point fits: noisy points of a known polynomial, numpy's least squares on the terms.
    for degree in (1, 2, 3):
        n = 25
        pts = rng.uniform(0, 40, (n, 2))
        t = terms(pts[:, 0], pts[:, 1], degree)
        true = rng.normal(0, 1, (2, t.shape[1])) / np.array([40.0 ** (j) for j in range(degree + 1)
                                                              for _ in range(j + 1)])
        true[:, 0] += (3, -2)
        src = t @ true.T + rng.normal(0, 0.05, (n, 2))
        ties = np.hstack([pts, src])
        coef = np.linalg.lstsq(t, src, rcond=None)[0].T
        rms = np.sqrt(np.mean(np.sum((t @ coef.T - src) ** 2, axis=1)))
        out += [line(f"ties_{degree}", ties), line(f"fit_{degree}", coef), line(f"rms_{degree}", rms)]
    # Polynomial warp (degree 2) through map_coordinates with the fill outside.
    a = np.array([[1.537, 0.913, 0.1071, 0.00413, -0.00317, 0.00229], [-0.471, 0.0533, 0.9517, -0.00211, 0.00437, 0.00103]])
    out.append(line("poly", a))
    rr, cc = np.mgrid[0:11, 0:19].astype(float)
    t = terms(rr, cc, 2)

    def poly_map(xy):
        tt = terms(xy[:, 1], xy[:, 0], 2)
        return np.stack([tt @ a[1], tt @ a[0]], axis=1)

    for order in (0, 1):
        r = st.warp(img, poly_map, order=order, mode="constant", cval=FILL, output_shape=(11, 19), **kw)
        out.append(line(f"poly_{order}", r))
    # Projective warp: our H acts on (row, column, 1); skimage's on (x, y, 1).
    h = np.array([[0.9, 0.1, 1.0], [-0.08, 1.05, -0.5], [0.004, -0.003, 1.0]])
    p = np.array([[0, 1, 0], [1, 0, 0], [0, 0, 1.0]])
    out.append(line("projective", h))
    for order in (0, 1, 3):
        r = st.warp(img, st.ProjectiveTransform(p @ h @ p), order=order, mode="constant", cval=FILL,
                    output_shape=(15, 16), **kw)
        out.append(line(f"projective_{order}", r))
    with open(os.path.join(OUT, "geometry.txt"), "w") as f:
        f.writelines(out)


if __name__ == "__main__":
    main()
