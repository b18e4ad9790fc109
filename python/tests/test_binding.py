"""Conversions between numpy and the library, exceptions, coverage of the members, and a fuzz run."""
import inspect
import os
import re
import subprocess

import numpy as np
import pytest

import mutils
import mutils._signatures
import mutils._table

DTYPES = ["uint8", "uint16", "int16", "uint32", "int32", "float32", "float64", "complex128"]
REAL = DTYPES[:-1]


@pytest.mark.parametrize("dtype", REAL)
def test_dtype_round_trip(dtype):
    a = np.arange(12, dtype=dtype).reshape(3, 4)
    r = mutils.mat.add(a, a)
    assert r.dtype == np.dtype(dtype) and r.shape == (3, 4)
    np.testing.assert_array_equal(r, (a + a).astype(dtype))
    s = mutils.mat.sum(a)
    assert np.asarray(s).dtype == np.dtype(dtype) and s == a.sum().astype(dtype)
    assert mutils.mat.transpose(a).dtype == np.dtype(dtype)


def test_complex_and_result_dtype_keyword():
    x = np.arange(8.0)
    np.testing.assert_allclose(mutils.sig.transform_discrete_fourier(x), np.fft.fft(x), atol=1e-12)
    np.testing.assert_allclose(mutils.sig.transform_discrete_fourier(np.c_[x, x])[:, 1], np.fft.fft(x), atol=1e-12)
    r = mutils.mat.add(np.arange(4, dtype=np.uint8).reshape(2, 2), np.ones((2, 2), np.uint8), dtype=np.float64)
    assert r.dtype == np.float64 and r.tolist() == [[1, 2], [3, 4]]


@pytest.mark.parametrize("make", [
    lambda a: a.T,                                  # Fortran order
    lambda a: a[::2, ::3],                          # strided view
    lambda a: a.astype(a.dtype.newbyteorder(">")),  # foreign byte order
    lambda a: a.tolist(),                           # nested lists (float64)
])
def test_inputs_are_copied_not_misread(make):
    a = np.arange(48.0).reshape(6, 8)
    x = make(a)
    np.testing.assert_array_equal(mutils.mat.flip_left_right(x), np.asarray(x, np.float64)[:, ::-1])


def test_bool_is_bytes_and_1d_is_a_row():
    m = np.array([[True, False], [True, True]])
    assert mutils.img.connected_components(m)[1] == 2
    assert mutils.mat.transpose(np.arange(3.0)).shape == (3, 1)


@pytest.mark.parametrize("call, cls, base, text", [
    (lambda: mutils.mat.add(np.zeros((2, 2), np.int64), np.zeros((2, 2), np.int64)),
     mutils.IllegalTypeError, TypeError, "Illegal data type"),
    (lambda: mutils.mat.add("abc", "abc"), mutils.IllegalTypeError, TypeError, "Illegal data type"),
    (lambda: mutils.mat.add(np.zeros((2, 2)), np.zeros((3, 2))), mutils.SizeMismatchError, ValueError,
     "array size mismatch"),
    (lambda: mutils.mat.add(np.zeros((2, 2, 2, 2)), np.zeros((2, 2, 2, 2))), mutils.SizeMismatchError,
     ValueError, "array size mismatch"),
    (lambda: mutils.mat.add(np.zeros((0, 2)), np.zeros((0, 2))), mutils.SizeMismatchError, ValueError,
     "array size mismatch"),
    (lambda: mutils.sig.window_hanning(-4), mutils.SizeMismatchError, ValueError, "array size mismatch"),
    (lambda: mutils.img.edge_canny(np.zeros((9, 9)), sigma=float("nan")), mutils.IllegalValueError, ValueError,
     "Illegal data value"),
    (lambda: mutils.img.convolve(np.zeros((4, 4)), np.ones((3, 3)), boundary=7), mutils.IllegalValueError,
     ValueError, "Illegal data value"),
    (lambda: mutils.img.convolve(np.zeros((4, 4)), np.ones((3, 3)), boundary="sideways"),
     mutils.IllegalValueError, ValueError, "Illegal data value"),
    (lambda: mutils.img.edge_canny(np.zeros((9, 9)), sigma="wide"), mutils.IllegalTypeError, TypeError,
     "Illegal data type"),
    (lambda: mutils.mat.cast(np.full((1, 1), 300.0), dtype=np.uint8), mutils.Error, OverflowError, "overflow"),
    (lambda: mutils.sig.window_hanning(10 ** 13), mutils.OutOfMemoryError, MemoryError, "out of memory"),
    (lambda: mutils.img.connected_components_3d(np.zeros((4, 4), np.uint8)), mutils.SizeMismatchError, ValueError,
     "array size mismatch"),
    (lambda: mutils.io.read_pgm("/nonexistent/x.pgm"), mutils.InputOutputError, OSError, "Input-output error"),
])
def test_errors_map_to_python_exceptions(call, cls, base, text):
    with pytest.raises(cls) as info:
        call()
    assert isinstance(info.value, base) and isinstance(info.value, mutils.Error)
    assert str(info.value) == text


# Members with no Python function: storage (numpy owns the arrays) and the host bridge (the
# host's own matrices, which Python does not have).
EXCLUDED = re.compile(r"^mat(univ|set)_(malloc\w*|realloc|free\w*|validate|verify_\w+|wrap_\w+|resize"
                      r"|assign_(from|to)_quirnel\w*)$")


def exported_members():
    lib = os.path.join(os.path.dirname(mutils._core.__file__), "..", "..", "libmutils.so")
    if not os.path.exists(lib):
        lib = subprocess.run(["ldd", mutils._core.__file__], capture_output=True, text=True).stdout
        lib = re.search(r"libmutils\.so\S* => (\S+)", lib).group(1)
    out = subprocess.run(["nm", "-D", "--defined-only", "-C", lib], capture_output=True, text=True, check=True)
    return sorted(set(re.findall(r"mutils::([a-z]{3}(?:univ|set)_\w+)\(", out.stdout)))


def test_every_universal_member_has_a_function():
    bound = set()
    for name in mutils.SUBMODULES:
        for fn in vars(getattr(mutils, name)).values():
            bound |= {getattr(fn, "__wrapped_member__", None), getattr(fn, "__set_member__", None)}
    members = exported_members()
    assert len(members) > 100
    assert sorted(set(mutils._table.TABLE) - set(mutils._signatures.MEMBERS)) == []   # no stale entries
    assert [m for m in members if m not in bound and not EXCLUDED.match(m)] == []


def random_value(rng, tmp_path, ctype):
    """Mostly a value of the parameter's kind (an array, a number, a path) with awkward contents."""
    kind = rng.integers(9) if ctype is None or rng.random() < 0.2 else (
        int(rng.choice([3, 5, 6, 7, 8])) if "mat" in ctype else 2 if ctype in ("FILE*", "const wchar_t*")
        else int(rng.integers(2)))
    if kind == 0:
        return float(rng.choice([np.nan, np.inf, -1.0, 0.0, 0.5, 3.0]))
    if kind == 1:
        return int(rng.integers(-3, 12))
    if kind == 2:
        return rng.choice([None, "zero", "x", str(tmp_path / "f")])
    shape = tuple(int(s) for s in rng.integers(0 if kind == 3 else 1, 9, size=rng.integers(1, 4)))
    dtype = rng.choice(DTYPES + ["int64", "bool"])
    a = (rng.random(shape) * 10).astype(dtype)
    return a.T if kind == 4 else a


def test_fuzz_arguments_never_crash(rng, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)   # writers given a plain word write it here
    (tmp_path / "f").write_bytes(b"P5 3 2 255\n" + bytes(range(6)))
    for name in mutils.SUBMODULES:
        for fname, fn in sorted(vars(getattr(mutils, name)).items()):
            if not hasattr(fn, "__wrapped_member__"):
                continue
            ctypes = dict(mutils._signatures.MEMBERS[fn.__wrapped_member__][4])
            try:
                names = [p.name for p in inspect.signature(fn).parameters.values()
                         if p.default is p.empty and p.kind == p.POSITIONAL_OR_KEYWORD]
            except ValueError:
                names = list(ctypes)[:2]
            for _ in range(25):
                args = [random_value(rng, tmp_path, ctypes.get(n.rstrip("_"))) for n in names or ["x"]]
                try:
                    fn(*args)
                except mutils.Error:
                    pass
                except TypeError as e:   # Python's own argument binding (a dispatcher's count)
                    assert "argument" in str(e), (fname, e)
