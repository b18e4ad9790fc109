"""The two Dask examples: chunked equals whole, and a folder on a two-worker LocalCluster."""
import os
import sys

import numpy as np
import pytest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "examples", "python"))
import image_folder  # noqa: E402
import large_image  # noqa: E402

import mutils  # noqa: E402


@pytest.mark.parametrize("name", sorted(large_image.OPERATIONS))
def test_chunked_equals_whole_image(name):
    image = large_image.scene(300, 220, seed=3)
    src = (image > 120).astype(np.uint8) if name == "erode" else image
    got = large_image.chunked(src, name, chunks=(64, 80))
    assert got.numblocks == (5, 3)
    np.testing.assert_array_equal(got.compute(scheduler="threads"), large_image.OPERATIONS[name][0](src))


def test_folder_on_a_local_cluster(tmp_path):
    image_folder.make_folder(tmp_path / "in", count=4, size=(64, 80))
    results = image_folder.process_folder(str(tmp_path / "in"), str(tmp_path / "out"), workers=2)
    (tmp_path / "again").mkdir()
    assert [n for n, _ in results] == ["img%02d.pgm" % i for i in range(4)]
    for name, regions in results:
        edges = mutils.io.read_pgm(str(tmp_path / "out" / name))
        local = image_folder.process_file(str(tmp_path / "in" / name), str(tmp_path / "again"))
        assert local == (name, regions) and regions >= 1
        np.testing.assert_array_equal(edges, mutils.io.read_pgm(str(tmp_path / "again" / name)))
