"""An image larger than one chunk, filtered chunk by chunk with dask.array.map_overlap.

Each chunk is handed to a library call together with a halo of its neighbours' pixels as deep as
the operation reaches (half the kernel or structuring element); the halo is cut off again
afterwards. Outside the image the halo reads 0, which is what the calls below read outside an
image themselves, so the chunked result equals the whole-image result exactly.

    python3 large_image.py            # a 3000 x 2000 scene in 512 x 512 chunks, on local threads

The same graph runs on a dask.distributed cluster: create a Client before calling compute().
"""
import numpy as np
import dask.array as da

import mutils

BOX = np.full((5, 5), 1.0 / 25)           # a 5 x 5 mean filter
SE = np.ones((7, 7), np.uint8)            # a 7 x 7 structuring element


def smooth(block):
    return mutils.img.convolve(block, BOX, boundary="zero")


def erode(block):
    return mutils.img.binary_erode(block, SE)


def sobel_vertical(block):
    return mutils.img.gradient_sobel(block)[0]


# Operation, halo (its reach in pixels) and the result's element type.
OPERATIONS = {
    "smooth": (smooth, BOX.shape[0] // 2, np.float64),
    "erode": (erode, SE.shape[0] // 2, np.uint8),
    "sobel": (sobel_vertical, 1, np.float64),
}


def chunked(image, name, chunks=512):
    """The operation `name` over `image` (numpy or dask) in chunks, as a dask array."""
    fn, depth, dtype = OPERATIONS[name]
    arr = da.from_array(image, chunks=chunks) if isinstance(image, np.ndarray) else image
    return arr.map_overlap(fn, depth=depth, boundary=0, dtype=dtype)


def scene(rows, cols, seed=0):
    rng = np.random.default_rng(seed)
    r, c = np.mgrid[0:rows, 0:cols]
    img = 100 + 60 * np.sin(r / 37.0) * np.cos(c / 53.0) + rng.normal(0, 5, (rows, cols))
    return img


def main():
    image = scene(3000, 2000)
    mask = (image > 120).astype(np.uint8)
    for name, src in (("smooth", image), ("erode", mask), ("sobel", image)):
        got = chunked(src, name).compute()
        whole = OPERATIONS[name][0](src)
        print("%-7s %s chunks: %s" % (name, "x".join(map(str, chunked(src, name).numblocks)),
                                      "equal" if np.array_equal(got, whole) else "DIFFERENT"))


if __name__ == "__main__":
    main()
