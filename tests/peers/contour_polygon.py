#!/usr/bin/python3
"""Peer answers for the active contours, the minimal paths and the polygon operations.

Computes, on seeded inputs, what scipy, numpy, scikit-image, OpenCV and shapely give, and writes
them to tests/data/peers/contour.txt and polygon.txt: one matrix per line, "name rows cols v0 ...".
Where no packaged peer runs the same scheme (the snakes), a numpy transcription is the reference.
Regenerate with
    /usr/bin/python3 tests/peers/contour_polygon.py
(shapely comes from the Debian package python3-shapely).
"""
import os

import cv2
import numpy as np
import scipy.ndimage as ndi
import scipy.spatial
import shapely.geometry as sg
import skimage.draw
import skimage.graph
import skimage.measure
import skimage.segmentation

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "peers")


def line(name, m):
    m = np.atleast_2d(np.asarray(m, dtype=float))
    return f"{name} {m.shape[0]} {m.shape[1]} " + " ".join(repr(float(v)) for v in m.ravel()) + "\n"


def star(rng, n, centre, radius, jitter, step=0.125):
    """A star-shaped polygon (row, col) with coordinates on a dyadic grid (exact in float32)."""
    t = np.sort(rng.uniform(0, 2 * np.pi, n))
    r = radius * (1 - jitter * rng.random(n))
    p = np.stack([centre[0] - r * np.sin(t), centre[1] + r * np.cos(t)], axis=1)
    return np.round(p / step) * step


# ---- polygons ---------------------------------------------------------------------------------

def polygons(rng):
    out = []
    poly = star(rng, 40, (30, 35), 25, 0.6)
    out.append(line("poly", poly))
    xy = poly[:, ::-1]
    shp = sg.Polygon(xy)
    m = cv2.moments(xy.astype(np.float32))
    a = m["m00"]
    mu20, mu02, mu11 = m["mu20"] / a, m["mu02"] / a, m["mu11"] / a
    half, root = (mu20 + mu02) / 2, np.hypot((mu20 - mu02) / 2, mu11)
    l1, l2 = half + root, half - root
    theta = 0.5 * np.arctan2(-2 * mu11, mu20 - mu02)
    minx, miny, maxx, maxy = shp.bounds
    feats = [abs(cv2.contourArea(xy.astype(np.float32))), shp.length, shp.centroid.y, shp.centroid.x,
             miny, minx, maxy, maxx, theta, 4 * np.sqrt(l1), 4 * np.sqrt(l2), np.sqrt(1 - l2 / l1),
             shp.convex_hull.area, shp.area / shp.convex_hull.area, 4 * np.pi * shp.area / shp.length ** 2,
             -1.0 if shp.exterior.is_ccw else 1.0]
    out.append(line("features", feats))
    # Point sets for the distances, the hull and the polar conversion.
    a_pts, b_pts = rng.normal(0, 10, (300, 2)), rng.normal(3, 12, (250, 2))
    b_pts[17] = b_pts[5]   # a repeated vertex: ties go to the lower index
    a_pts[3] = b_pts[5]
    out += [line("set_a", a_pts), line("set_b", b_pts)]
    h = max(scipy.spatial.distance.directed_hausdorff(a_pts, b_pts)[0],
            scipy.spatial.distance.directed_hausdorff(b_pts, a_pts)[0])
    out.append(line("hausdorff", [h]))
    d, _ = scipy.spatial.cKDTree(b_pts).query(a_pts)
    # The tree does not promise which of equal neighbours it returns: the lowest index, by brute force.
    d2 = ((a_pts[:, None, :] - b_pts[None, :, :]) ** 2).sum(-1)
    i = np.array([np.flatnonzero(row == row.min()).min() for row in d2])
    out += [line("nearest_index", i), line("nearest_distance", d)]
    hull = scipy.spatial.ConvexHull(a_pts)
    out.append(line("hull_vertices", np.sort(hull.vertices)))
    dr, dc = a_pts[:, 0] - 1.5, a_pts[:, 1] + 2.0
    phi = np.arctan2(-dr, dc)
    out.append(line("polar", np.stack([np.hypot(dr, dc), np.where(phi == -np.pi, np.pi, phi)], axis=1)))
    # Point test: vertices, edge midpoints and grid points on the polygon's dyadic grid.
    edges_mid = (poly + np.roll(poly, -1, axis=0)) / 2
    grid = np.round(rng.uniform(0, 64, (400, 2)) * 4) / 4
    pts = np.concatenate([poly, edges_mid, grid])
    contour = xy.astype(np.float32).reshape(-1, 1, 2)
    where = [cv2.pointPolygonTest(contour, (float(c), float(r)), False) for r, c in pts]
    out += [line("test_points", pts), line("test_where", [{1.0: 1, -1.0: 0, 0.0: 2}[w] for w in where])]
    # Region and lines on a 64 x 70 image.
    out.append(line("region", skimage.measure.grid_points_in_poly((64, 70), poly)))
    lines = np.zeros((64, 70))
    v = np.floor(poly + 0.5).astype(int)
    for k in range(len(v)):
        rr, cc = skimage.draw.line(*v[k], *v[(k + 1) % len(v)])
        keep = (rr >= 0) & (rr < 64) & (cc >= 0) & (cc < 70)
        lines[rr[keep], cc[keep]] = 1
    out.append(line("lines", lines))
    # Resampling by arc length (closed), smoothing, simplification.
    closed = np.vstack([poly, poly[:1]])
    s = np.concatenate([[0], np.cumsum(np.hypot(*np.diff(closed, axis=0).T))])
    at = np.arange(57) * s[-1] / 57
    out.append(line("resample_closed", np.stack([np.interp(at, s, closed[:, 0]), np.interp(at, s, closed[:, 1])], 1)))
    s_open = s[:-1]
    at = np.arange(33) * s_open[-1] / 32
    out.append(line("resample_open", np.stack([np.interp(at, s_open, poly[:, 0]), np.interp(at, s_open, poly[:, 1])], 1)))
    for sigma in (0.7, 2.5):
        out.append(line(f"smooth_closed_{sigma}", ndi.gaussian_filter1d(poly, sigma, axis=0, mode="wrap", truncate=4.0)))
        out.append(line(f"smooth_open_{sigma}", ndi.gaussian_filter1d(poly, sigma, axis=0, mode="nearest", truncate=4.0)))
    wiggle = star(rng, 200, (50, 50), 40, 0.15)
    out.append(line("wiggle", wiggle))
    for tol in (0.5, 2.0, 6.0):
        out.append(line(f"simplify_open_{tol}", np.asarray(sg.LineString(wiggle[:, ::-1]).simplify(tol, False).coords)[:, ::-1]))
        ring = np.vstack([wiggle, wiggle[:1]])[:, ::-1]
        out.append(line(f"simplify_closed_{tol}", np.asarray(sg.LineString(ring).simplify(tol, False).coords)[:, ::-1]))
    return out


# ---- contours and paths -----------------------------------------------------------------------

def gradient_at(P, r, c):
    """Our gradient sampling: np.gradient (central, one-sided at the border), bilinear, clamped."""
    gr, gc = np.gradient(P)
    r, c = np.clip(r, 0, P.shape[0] - 1), np.clip(c, 0, P.shape[1] - 1)
    i0, j0 = np.floor(r).astype(int), np.floor(c).astype(int)
    i1, j1 = np.minimum(i0 + 1, P.shape[0] - 1), np.minimum(j0 + 1, P.shape[1] - 1)
    fr, fc = r - i0, c - j0

    def bil(g):
        top = (1 - fc) * g[i0, j0] + fc * g[i0, j1]
        return (1 - fr) * top + fr * ((1 - fc) * g[i1, j0] + fc * g[i1, j1])
    return bil(gr), bil(gc)


def kwt(P, snake, alpha, beta, gamma, max_move, max_iter, convergence, bc):
    """skimage 0.19's active_contour loop with the gradient sampled as above."""
    x, y = snake[:, 1].copy(), snake[:, 0].copy()
    n = len(x)
    eye = np.eye(n)
    a = np.roll(eye, -1, axis=0) + np.roll(eye, -1, axis=1) - 2 * eye
    b = (np.roll(eye, -2, axis=0) + np.roll(eye, -2, axis=1) - 4 * np.roll(eye, -1, axis=0)
         - 4 * np.roll(eye, -1, axis=1) + 6 * eye)
    A = -alpha * a + beta * b
    sfixed, efixed = bc.startswith("fixed"), bc.endswith("fixed")
    sfree, efree = bc.startswith("free"), bc.endswith("free")
    if sfixed:
        A[0, :] = 0
        A[1, :] = 0
        A[1, :3] = [1, -2, 1]
    if efixed:
        A[-1, :] = 0
        A[-2, :] = 0
        A[-2, -3:] = [1, -2, 1]
    if sfree:
        A[0, :] = 0
        A[0, :3] = [1, -2, 1]
        A[1, :] = 0
        A[1, :4] = [-1, 3, -3, 1]
    if efree:
        A[-1, :] = 0
        A[-1, -3:] = [1, -2, 1]
        A[-2, :] = 0
        A[-2, -4:] = [-1, 3, -3, 1]
    inv = np.linalg.inv(A + gamma * eye)
    xsave, ysave = np.empty((10, n)), np.empty((10, n))
    done = max_iter
    for i in range(max_iter):
        fy, fx = gradient_at(P, y, x)
        if sfixed:
            fx[0] = fy[0] = 0
        if efixed:
            fx[-1] = fy[-1] = 0
        if sfree:
            fx[0] *= 2
            fy[0] *= 2
        if efree:
            fx[-1] *= 2
            fy[-1] *= 2
        xn, yn = inv @ (gamma * x + fx), inv @ (gamma * y + fy)
        dx, dy = max_move * np.tanh(xn - x), max_move * np.tanh(yn - y)
        if sfixed:
            dx[0] = dy[0] = 0
        if efixed:
            dx[-1] = dy[-1] = 0
        x += dx
        y += dy
        j = i % 11
        if j < 10:
            xsave[j], ysave[j] = x, y
        elif np.min(np.max(np.abs(xsave - x) + np.abs(ysave - y), 1)) < convergence:
            done = i + 1
            break
    return np.stack([y, x], 1), done


def greedy(P, snake, alpha, beta, gamma, w, cthr, pthr, max_iter, frac, closed):
    """Williams and Shah's greedy snake, transcribed."""
    v = np.clip(np.floor(snake + 0.5), 0, np.array(P.shape) - 1).astype(int)
    n, h = len(v), w // 2
    b = np.full(n, float(beta))
    idx = range(n) if closed else range(1, n - 1)
    passes = 0
    while passes < max_iter:
        passes += 1
        d = np.hypot(*np.diff(np.vstack([v, v[:1]]) if closed else v, axis=0).T).mean()
        moved = 0
        for i in idx:
            prev, nxt = v[(i - 1) % n], v[(i + 1) % n]
            cands = [(r, c) for r in range(v[i][0] - h, v[i][0] + h + 1) for c in range(v[i][1] - h, v[i][1] + h + 1)
                     if 0 <= r < P.shape[0] and 0 <= c < P.shape[1]]
            p = np.array(cands)
            cont = np.abs(d - np.hypot(*(p - prev).T))
            curv = ((prev - 2 * p + nxt) ** 2).sum(1).astype(float)
            img = -P[p[:, 0], p[:, 1]]
            if cont.max() > 0:
                cont = cont / cont.max()
            if curv.max() > 0:
                curv = curv / curv.max()
            img = (img - img.min()) / (img.max() - img.min()) if img.max() > img.min() else np.zeros_like(img)
            e = alpha * cont + b[i] * curv + gamma * img
            stay = cands.index(tuple(v[i]))
            if e[stay] != e.min():
                v[i] = p[np.argmin(e)]
                moved += 1
        c = np.zeros(n)
        for i in idx:
            u, u2 = v[i] - v[(i - 1) % n], v[(i + 1) % n] - v[i]
            if np.hypot(*u) > 0 and np.hypot(*u2) > 0:
                c[i] = ((u / np.hypot(*u) - u2 / np.hypot(*u2)) ** 2).sum()
        for i in idx:
            if c[i] > c[(i - 1) % n] and c[i] > c[(i + 1) % n] and c[i] > cthr and P[tuple(v[i])] > pthr:
                b[i] = 0
        if moved < frac * n:
            break
    return v, passes


def contours(rng):
    out = []
    cost = rng.uniform(0.5, 3.0, (30, 40))
    cost[10, 5:35] = np.inf   # a wall with gaps at both ends
    seeds = np.array([[2, 3], [25, 30]])
    out += [line("cost", cost), line("seeds", seeds)]
    mcp = skimage.graph.MCP_Geometric(cost, fully_connected=True)
    dist, _ = mcp.find_costs(seeds)
    out.append(line("geodesic", dist))
    for k, (s, e) in enumerate([((0, 0), (29, 39)), ((3, 20), (20, 3)), ((15, 15), (15, 16))]):
        path, total = skimage.graph.route_through_array(cost, s, e, fully_connected=True, geometric=True)
        out += [line(f"path_{k}", path), line(f"path_total_{k}", [total])]
    # Snakes on a blurred disk: the potential is the image itself (w_line = 1).
    img = np.zeros((80, 90))
    rr, cc = skimage.draw.disk((40, 45), 20)
    img[rr, cc] = 1
    P = ndi.gaussian_filter(img, 3)
    out.append(line("disk", P))
    t = np.linspace(0, 2 * np.pi, 60, endpoint=False)
    circle = np.stack([40 - 30 * np.sin(t), 45 + 30 * np.cos(t)], 1)
    out.append(line("circle", circle))
    got = skimage.segmentation.active_contour(P, circle, alpha=0.01, beta=0.5, w_line=1, w_edge=0, gamma=0.01,
                                              max_px_move=1.0, max_num_iter=2500, convergence=0.1)
    out.append(line("kwt_skimage", got))
    opened = np.stack([np.linspace(10, 70, 25), 20 + 5 * np.sin(np.linspace(0, 3, 25))], 1)
    out.append(line("open_snake", opened))
    for bc_name, bc in (("periodic", 0), ("free", 1), ("fixed", 2), ("free-fixed", 3), ("fixed-free", 4)):
        s = circle if bc == 0 else opened
        ref, done = kwt(P, s, 0.015, 0.3, 0.02, 0.8, 600, 0.05, bc_name)
        out += [line(f"kwt_{bc}", ref), line(f"kwt_iterations_{bc}", [done])]
    for closed in (1, 0):
        s = circle if closed else opened
        ref, passes = greedy(P, s, 1.0, 1.0, 1.2, 5, 0.25, 0.1, 200, 0.02, closed)
        out += [line(f"greedy_{closed}", ref), line(f"greedy_passes_{closed}", [passes])]
    return out


def main():
    rng = np.random.default_rng(22)
    os.makedirs(OUT, exist_ok=True)
    with open(os.path.join(OUT, "polygon.txt"), "w") as f:
        f.writelines(polygons(rng))
    with open(os.path.join(OUT, "contour.txt"), "w") as f:
        f.writelines(contours(rng))


if __name__ == "__main__":
    main()
