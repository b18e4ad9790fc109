"""Geodesic and Hausdorff distances against their Python peers, in one process (figures printed
as ratios: below 1, mutils is faster):

1. geodesic distance from one seed on a 2048 x 2048 cost image against
   skimage.graph.MCP_Geometric(fully_connected=True).find_costs (limit 1.5);
2. Hausdorff distance between two sets of 10^5 points against the larger of scipy's
   directed_hausdorff both ways (limit 1).

    PYTHONPATH=<build>/python /usr/bin/python3 bench/contour.py
"""
import time

import numpy as np
import scipy.spatial.distance
import skimage.graph

import mutils


def best(fn, repeat):
    times = []
    for _ in range(repeat):
        t0 = time.perf_counter()
        fn()
        times.append(time.perf_counter() - t0)
    return min(times)


def report(label, ours, peer, peer_name, limit):
    ratio = ours / peer
    print("%-36s mutils %8.1f ms  %-22s %8.1f ms  ratio %.2f (limit %.1f)%s"
          % (label, ours * 1e3, peer_name, peer * 1e3, ratio, limit, "  OVER" if ratio > limit else ""))


def main():
    rng = np.random.default_rng(7)
    cost = rng.uniform(0.5, 3.0, (2048, 2048))
    seeds = np.array([[0, 0]], np.int32)
    ours = best(lambda: mutils.img.minimal_path_cost(cost, seeds), 3)
    peer = best(lambda: skimage.graph.MCP_Geometric(cost, fully_connected=True).find_costs([(0, 0)]), 3)
    report("geodesic distance 2048^2", ours, peer, "skimage MCP_Geometric", 1.5)

    for name, a, b in [("Hausdorff 10^5, overlapping sets", rng.normal(0, 100, (100000, 2)),
                        rng.normal(5, 100, (100000, 2))),
                       ("Hausdorff 10^5, curves apart", np.stack([np.linspace(0, 1000, 100000), np.zeros(100000)], 1),
                        np.stack([np.linspace(0, 1000, 100000), 3 + np.sin(np.linspace(0, 30, 100000))], 1))]:
        got = mutils.pgn.hausdorff_distance(a, b)
        want = max(scipy.spatial.distance.directed_hausdorff(a, b)[0],
                   scipy.spatial.distance.directed_hausdorff(b, a)[0])
        assert abs(got - want) <= 1e-9 * want, (got, want)
        ours = best(lambda: mutils.pgn.hausdorff_distance(a, b), 3)
        peer = best(lambda: max(scipy.spatial.distance.directed_hausdorff(a, b)[0],
                                scipy.spatial.distance.directed_hausdorff(b, a)[0]), 3)
        report(name, ours, peer, "scipy directed_hausdorff", 1.0)


if __name__ == "__main__":
    main()
