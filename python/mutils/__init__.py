"""mutils: numerical functions on dense matrices, from numpy.

Arrays of the library's eight element types (uint8, uint16, int16, uint32, int32, float32,
float64, complex128) go in and new arrays come out; a 2-D array is a matrix, a 3-D array a set
of matrices (planes first). Functions live in the submodules of the library's families:

    import numpy as np, mutils
    edges = mutils.img.edge_canny(image, sigma=1.5, low=2.0, high=6.0)
    spectrum = mutils.sig.transform_discrete_fourier(signal)

A function's name is the C++ member's without the family prefix and type code
(`imguniv_edge_canny` -> `mutils.img.edge_canny`), its arguments are the member's in the C++
order without `intrp_ptr` and the results, and it returns the results (a tuple when there are
several). Failures raise subclasses of `mutils.Error`. Calls release the GIL, so threads run
them in parallel, and Ctrl-C interrupts a long call.
"""
from ._errors import (Chain, DataOverflowError, DivideByZeroError, Error, IllegalAddressError, IllegalTypeError,
                      IllegalValueError, IndexOutOfBoundsError, InputOutputError, NotConvergingError,
                      NullPointerError, OutOfMemoryError, RoundoffError, SingularMatrixError, SizeMismatchError)
from . import cls, img, io, mat, pgn, sig, vid, wav

SUBMODULES = ("mat", "img", "sig", "wav", "pgn", "cls", "vid", "io")

__all__ = ["Error", "Chain", "IllegalValueError", "SizeMismatchError", "IllegalTypeError", "NullPointerError",
           "IllegalAddressError", "DataOverflowError", "OutOfMemoryError", "InputOutputError",
           "IndexOutOfBoundsError", "NotConvergingError", "SingularMatrixError", "RoundoffError",
           "DivideByZeroError", *SUBMODULES]
