"""The library against scipy, scikit-image and numpy on the equivalences its C++ tests rely on."""
import numpy as np
import pytest
from scipy import fft, ndimage
from skimage import filters

import mutils


def test_between_class_threshold_is_otsu(rng):
    image = np.concatenate([rng.normal(60, 12, 5000), rng.normal(170, 20, 5000)]).clip(0, 255)
    image = image.astype(np.uint8).reshape(100, 100)
    image[0, :2] = 0, 255   # 256 bins over 0..255: bin k holds grey level k alone
    mask, t = mutils.img.threshold_auto(image, bins=256, criterion="between_class")
    np.testing.assert_array_equal(mask, image > t)
    np.testing.assert_array_equal(mask, image > filters.threshold_otsu(image, nbins=256))


@pytest.mark.parametrize("n", [8, 12, 64])
def test_dct_ii_matches_scipy(rng, n):
    x = rng.random(n)
    got = mutils.sig.transform_discrete_cosine_II(x).ravel()
    np.testing.assert_allclose(got, fft.dct(x, type=2, norm="ortho"), rtol=1e-10, atol=1e-12)
    np.testing.assert_allclose(mutils.sig.transform_discrete_cosine_II_inverse(got).ravel(), x, atol=1e-12)


@pytest.mark.parametrize("shape", [(3, 3), (5, 3), (1, 4)])
def test_binary_erosion_matches_scipy(rng, shape):
    image = rng.random((64, 80)) < 0.7
    se = np.ones(shape, np.uint8)
    got = mutils.img.binary_erode(image, se)
    # Both put element (rows // 2, cols // 2) over the pixel; outside pixels never match.
    want = ndimage.binary_erosion(image, structure=se.astype(bool), border_value=0)
    np.testing.assert_array_equal(got.astype(bool), want)


@pytest.mark.parametrize("connectivity, structure", [("four", None), ("eight", np.ones((3, 3)))])
def test_labels_match_scipy(rng, connectivity, structure):
    image = (rng.random((60, 70)) < 0.45).astype(np.uint8)
    labels, count = mutils.img.connected_components(image, connectivity=connectivity, value=1)
    want, n = ndimage.label(image, structure=structure)
    assert count == n + 1
    np.testing.assert_array_equal(labels, want)


def test_quantiles_and_median_match_numpy(rng):
    a = rng.random((37, 11))
    q = np.array([[0.0, 0.1, 0.5, 0.77, 1.0]])
    np.testing.assert_allclose(mutils.mat.quantiles(a, q), np.quantile(a, q), rtol=1e-12)
    assert mutils.mat.median(a) == pytest.approx(np.median(a), rel=1e-12)


@pytest.mark.parametrize("kernel_shape", [(3, 3), (3, 5), (4, 2), (1, 7)])
def test_signal_filters_match_scipy(rng, kernel_shape):
    x, k = rng.random((20, 30)), rng.random(kernel_shape)
    want = ndimage.convolve(x, k, mode="constant")
    origin = [-(s % 2 == 0) for s in kernel_shape]   # even correlation kernels: one element earlier
    np.testing.assert_allclose(mutils.sig.convolve(x, k), want, atol=1e-12)
    np.testing.assert_allclose(mutils.sig.convolve(np.stack([x, x]), np.stack([k, k]))[1], want, atol=1e-12)
    np.testing.assert_allclose(mutils.sig.correlate(x, k), ndimage.correlate(x, k, mode="constant", origin=origin),
                               atol=1e-12)
