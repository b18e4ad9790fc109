"""A folder of images processed by a dask.distributed cluster.

Every file is one task: a worker reads it, finds its Canny edges and labels the regions of the
edge map, writes the edges next to the others in the output folder, and returns the file's
name and region count. Here the cluster is a LocalCluster of two worker processes; on many
machines start `dask scheduler` on one and `dask worker tcp://<scheduler>:8786` on each of the
others (each with mutils installed and the folders shared), and pass that address instead:

    python3 image_folder.py <input folder> <output folder> [tcp://scheduler:8786]
"""
import os
import sys

import numpy as np
from dask.distributed import Client, LocalCluster

import mutils


def process_file(src, dst_dir):
    image = mutils.io.read_pgm(src)
    edges = mutils.img.edge_canny(image, sigma=1.5, low=2.0, high=6.0, fg=255, bg=0)
    _, count = mutils.img.connected_components(edges, connectivity="eight", value=255)
    dst = os.path.join(dst_dir, os.path.basename(src))
    mutils.io.write_pgm(dst, edges)
    return os.path.basename(src), int(count) - 1


def process_folder(src_dir, dst_dir, address=None, workers=2):
    """(file name, regions) for every .pgm of src_dir, computed on the cluster at `address`
    (a LocalCluster of `workers` processes when None)."""
    os.makedirs(dst_dir, exist_ok=True)
    paths = sorted(os.path.join(src_dir, f) for f in os.listdir(src_dir) if f.endswith(".pgm"))
    cluster = None
    if address is None:
        cluster = LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=":0")
        address = cluster
    try:
        with Client(address) as client:
            futures = client.map(process_file, paths, dst_dir=dst_dir, pure=False)
            return sorted(client.gather(futures))
    finally:
        if cluster is not None:
            cluster.close()


def make_folder(path, count=6, size=(96, 128), seed=0):
    """A folder of synthetic greymaps: bright discs on a noisy background."""
    os.makedirs(path, exist_ok=True)
    rng = np.random.default_rng(seed)
    for i in range(count):
        r, c = np.mgrid[0:size[0], 0:size[1]]
        img = rng.normal(40, 4, size)
        for _ in range(i + 1):
            cr, cc, rad = rng.integers(10, size[0] - 10), rng.integers(10, size[1] - 10), rng.integers(4, 9)
            img[(r - cr) ** 2 + (c - cc) ** 2 <= rad ** 2] = 200
        mutils.io.write_pgm(os.path.join(path, "img%02d.pgm" % i), img.clip(0, 255).astype(np.uint8))


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    for name, regions in process_folder(sys.argv[1], sys.argv[2], *sys.argv[3:4]):
        print(name, regions)
