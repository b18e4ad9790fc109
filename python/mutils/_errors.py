"""The library's messages as Python exceptions.

Every failure of a call raises a subclass of `mutils.Error` whose text is the library's own
message. The classes also derive from the built-in exception a Python user would catch for that
kind of failure, so `except ValueError` catches a bad parameter value as it would in numpy.
"""
from . import _core


class Error(Exception):
    """Base class of every error the library reports."""


class IllegalValueError(Error, ValueError):
    """"Illegal data value": a parameter or element outside its domain."""


class SizeMismatchError(Error, ValueError):
    """"array size mismatch": operand or result sizes that do not fit together."""


class IllegalTypeError(Error, TypeError):
    """"Illegal data type": an element type (dtype) the operation has no member for."""


class NullPointerError(Error, TypeError):
    """"null pointer": a required argument is missing (None)."""


class IllegalAddressError(Error, ValueError):
    """"Illegal memory address": a result sharing storage with an input."""


class DataOverflowError(Error, OverflowError):
    """"overflow": a value that does not fit the result's element type."""


class OutOfMemoryError(Error, MemoryError):
    """"out of memory"."""


class InputOutputError(Error, OSError):
    """"Input-output error": a file that cannot be opened, read or written."""


class IndexOutOfBoundsError(Error, IndexError):
    """"index out of bounds"."""


class NotConvergingError(Error, ArithmeticError):
    """"not converging"."""


class SingularMatrixError(Error, ArithmeticError):
    """"singular matrix"."""


class RoundoffError(Error, ArithmeticError):
    """"Cumulative roundoff errors"."""


class DivideByZeroError(Error, ZeroDivisionError):
    """"divide by zero"."""


CLASSES = {
    "Illegal data value": IllegalValueError,
    "array size mismatch": SizeMismatchError,
    "Illegal data type": IllegalTypeError,
    "null pointer": NullPointerError,
    "Illegal memory address": IllegalAddressError,
    "overflow": DataOverflowError,
    "out of memory": OutOfMemoryError,
    "Input-output error": InputOutputError,
    "index out of bounds": IndexOutOfBoundsError,
    "not converging": NotConvergingError,
    "singular matrix": SingularMatrixError,
    "Cumulative roundoff errors": RoundoffError,
    "divide by zero": DivideByZeroError,
}


def raise_message(message):
    """Raises the exception of a library message (as a call of the library would)."""
    raise CLASSES.get(message, Error)(message)


class Chain(tuple):
    """A boundary chain: (start_row, start_col, run_length, direction)."""
    __slots__ = ()
    _fields = ("start_row", "start_col", "run_length", "direction")

    def __new__(cls, start_row, start_col, run_length, direction):
        return tuple.__new__(cls, (start_row, start_col, run_length, direction))

    start_row = property(lambda self: self[0])
    start_col = property(lambda self: self[1])
    run_length = property(lambda self: self[2])
    direction = property(lambda self: self[3])

    def __repr__(self):
        return "Chain(start_row=%d, start_col=%d, nrun=%d)" % (self[0], self[1], len(self[2]))


_core._configure(CLASSES, Error, Chain)
