#!/usr/bin/python3
"""Peer answers for the moments, shape features and region growing.

Computes, on seeded inputs, what scikit-image, OpenCV and scipy give (and, for the region
merging, which no package offers, a brute-force numpy merging that recomputes every pair's scale
after each merge), and writes tests/data/peers/shape.txt: one matrix per line,
"name rows cols v0 v1 ...". Regenerate with
    /usr/bin/python3 tests/peers/shape_region.py
"""
import math
import os

import cv2
import numpy as np
import scipy.ndimage as ndi
import scipy.spatial
import skimage.measure
import skimage.segmentation

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "peers")
SKIP = 1e300  # a value the peer does not define in our terms
NAN = -1e300  # NaN (the tests' reader takes numbers only)


def line(name, m):
    m = np.atleast_2d(np.asarray(m, dtype=float))
    m = np.where(np.isnan(m), NAN, m)
    return f"{name} {m.shape[0]} {m.shape[1]} " + " ".join(repr(float(v)) for v in m.ravel()) + "\n"


def moments(rng):
    img = ndi.gaussian_filter(rng.uniform(0, 255, (13, 17)), 2).astype(np.uint8)
    img[2:5, 3:9] = 250
    f = img.astype(float)
    out = [line("mom_img", img)]
    # skimage indexes [row power, column power]: ours is the transpose.
    out.append(line("mom_raw5", skimage.measure.moments(f, 5).T))
    out.append(line("mom_central3", skimage.measure.moments_central(f, order=3).T))
    nu = skimage.measure.moments_normalized(skimage.measure.moments_central(f, order=3), 3).T
    out.append(line("mom_normalised3", nu))
    out.append(line("mom_hu", cv2.HuMoments(cv2.moments(f)).ravel()))
    return out


def label_image(rng):
    lab = np.zeros((40, 50), np.uint32)
    lab[3:15, 4:20] = 1
    lab[6:10, 8:12] = 0          # a hole ...
    lab[7:9, 9:11] = 1           # ... holding a second component of the same label
    yy, xx = np.mgrid[:40, :50]
    lab[(yy - 25) ** 2 / 64 + (xx - 12) ** 2 / 20 <= 1] = 2
    lab[((yy - 20) ** 2 + (xx - 38) ** 2 <= 60) & (rng.uniform(size=(40, 50)) < 0.8)] = 3
    lab[30:38, 30:33] = 4
    lab[33, 28:36] = 4
    lab[0, 49] = 6               # a lone pixel at the corner; label 5 has no pixels
    for k in range(7, 11):       # random blobs
        r, c = rng.integers(2, 38), rng.integers(2, 48)
        blob = ndi.gaussian_filter(rng.uniform(size=(40, 50)), 1.5)
        m = (blob > np.quantile(blob, 0.97)) & ((yy - r) ** 2 + (xx - c) ** 2 < 40)
        lab[m & (lab == 0)] = k
    return lab


def features(lab):
    K = int(lab.max())
    rows = []
    props = {p.label: p for p in skimage.measure.regionprops(lab.astype(np.int64))}
    for k in range(1, K + 1):
        if k not in props:
            rows.append([0] + [math.nan] * 17)
            continue
        p = props[k]
        mask = (lab == k).astype(np.uint8)
        contours, hier = cv2.findContours(np.pad(mask, 1), cv2.RETR_CCOMP, cv2.CHAIN_APPROX_NONE)
        perim = sum(cv2.arcLength(c, True) for c, h in zip(contours, hier[0]) if h[3] < 0 and len(c) > 1)
        pts = np.argwhere(mask)
        try:
            hull = scipy.spatial.ConvexHull(pts)
            convex = skimage.measure.grid_points_in_poly(lab.shape, pts[hull.vertices]).sum()
        except scipy.spatial.QhullError:
            convex = len(pts)    # a point or a straight line of pixels
        a, b, _, c = p.inertia_tensor.ravel()
        orient = SKIP if a == c else (p.orientation - math.pi / 2 + math.pi / 2) % math.pi - math.pi / 2
        if orient == -math.pi / 2:
            orient = math.pi / 2
        r0, c0, r1, c1 = p.bbox
        area = p.area
        rows.append([area, p.centroid[0], p.centroid[1], r0, c0, r1 - 1, c1 - 1, perim, orient,
                     p.major_axis_length, p.minor_axis_length, p.eccentricity, p.equivalent_diameter,
                     p.extent, convex, area / convex, 0 if perim == 0 else 4 * math.pi * area / perim ** 2,
                     p.euler_number])
    return rows


def shapes(rng):
    lab = label_image(rng)
    return [line("shape_labels", lab), line("shape_features", features(lab))]


def seeded(rng):
    img = np.round(ndi.gaussian_filter(rng.uniform(0, 100, (24, 30)), 2) * 4)
    seeds = np.array([[3, 4], [20, 25], [12, 15], [3, 5], [0, 29]])
    out = [line("seed_img", img), line("seeds", seeds)]
    for conn, t in ((1, 6.0), (2, 6.0), (2, 0.0), (1, 30.0)):
        lab = np.zeros(img.shape)
        for k, (r, c) in enumerate(seeds, 1):
            m = skimage.segmentation.flood(img, (r, c), tolerance=t, connectivity=conn)
            lab[(lab == 0) & m] = k
        out.append(line(f"seeded_c{conn}_t{t:g}", lab))
    return out


def klm_reference(bands, gr, gc, scale, keep):
    """Merging by brute force: every pair's scale recomputed before each merge, same tie rule."""
    B, H, W = bands.shape
    bc = -(-W // gc)
    block = (np.arange(H)[:, None] // gr) * bc + np.arange(W)[None, :] // gc
    size, sums = {}, {}
    for i in np.unique(block):
        m = block == i
        size[i] = float(m.sum())
        sums[i] = [float(bands[b][m].sum()) for b in range(B)]
    length = {}
    for a, b in ((block[:, :-1], block[:, 1:]), (block[:-1, :], block[1:, :])):
        for x, y in zip(a.ravel(), b.ravel()):
            if x != y:
                key = (min(x, y), max(x, y))
                length[key] = length.get(key, 0) + 1
    parent = {i: i for i in size}
    while len(size) > keep and length:
        def lam(key):
            i, j = key
            num = 0.0
            for b in range(B):
                d = sums[i][b] * size[j] - sums[j][b] * size[i]
                num += d * d
            return num / (size[i] * size[j] * (size[i] + size[j]) * float(length[key]))
        best = min(length, key=lambda k: (lam(k), k))
        if lam(best) > scale:
            break
        a, b = best
        size[a] += size.pop(b)
        sums[a] = [s + t for s, t in zip(sums[a], sums.pop(b))]
        parent[b] = a
        merged = {}
        for (x, y), l in length.items():
            x, y = (a if x == b else x), (a if y == b else y)
            if x != y:
                key = (min(x, y), max(x, y))
                merged[key] = merged.get(key, 0) + l
        length = merged

    def root(i):
        while parent[i] != i:
            i = parent[i]
        return i
    labels = np.zeros((H, W))
    approx = np.zeros((B, H, W))
    number = {}
    for r in range(H):
        for c in range(W):
            k = root(block[r, c])
            number.setdefault(k, len(number) + 1)
            labels[r, c] = number[k]
            approx[:, r, c] = [s / size[k] for s in sums[k]]
    return labels, approx, len(number)


def merging(rng):
    img = rng.integers(0, 6, (12, 14)).astype(float)
    img[:6, :7] += 20
    bands = np.stack([img, rng.integers(0, 4, (12, 14)).astype(float)])
    out = [line("klm_img", img), line("klm_band1", bands[1])]
    cases = [("g11_s0", img[None], 1, 1, 0.0, 1), ("g11_s2", img[None], 1, 1, 2.0, 1),
             ("g23_inf", img[None], 2, 3, math.inf, 5), ("g11_inf", img[None], 1, 1, math.inf, 3),
             ("set_g12_s3", bands, 1, 2, 3.0, 1)]
    for name, b, gr, gc, scale, keep in cases:
        labels, approx, count = klm_reference(b, gr, gc, scale, keep)
        out += [line(f"klm_{name}_labels", labels), line(f"klm_{name}_count", [count])]
        out += [line(f"klm_{name}_approx{i}", approx[i]) for i in range(len(b))]
    return out


def main():
    os.makedirs(OUT, exist_ok=True)
    rng = np.random.default_rng(20240721)
    with open(os.path.join(OUT, "shape.txt"), "w") as f:
        f.writelines(moments(rng) + shapes(rng) + seeded(rng) + merging(rng))


if __name__ == "__main__":
    main()
