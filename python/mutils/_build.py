"""Makes the Python functions of the package from the members' signatures and the table.

Each function is written out as Python source and compiled once at import, so a call runs
straight-line code: convert the array inputs, allocate the results at the size the table's rule
gives, and call the member in `_core` (which releases the GIL and maps messages to exceptions).
The generated source of a function is kept in its `__source__` attribute for reading.
"""
import inspect
import keyword

import numpy as np

from . import _core
from ._errors import Error, raise_message
from ._signatures import ENUMS, MEMBERS
from ._table import FILES_MODULE, REQUIRED, TABLE, Expr

TYPE_CODES = {np.dtype(n): i for i, n in enumerate(
    ["uint8", "int8", "uint16", "int16", "uint32", "int32", "float32", "float64", "complex128"]) if i != 1}
ARRAY_IN = ("const _univ_mat*", "const _mat_set*")
# Typed records and their numpy types: a typed result always has its record's type.
TYPED_OUT = {"_uint8_mat*": "uint8", "_uint16_mat*": "uint16", "_sint16_mat*": "int16", "_uint32_mat*": "uint32",
             "_sint32_mat*": "int32", "_float_mat*": "float32", "_double_mat*": "float64",
             "_dcomplex_mat*": "complex128"}
MATRIX_OUT = ("_univ_mat*", "_mat_set*") + tuple(TYPED_OUT)
TYPED_IN = tuple("const " + t for t in TYPED_OUT)
TYPE_ORDER = ("dbl", "flt", "s32", "u32", "s16", "u16", "u8", "cpx")
TYPE_OF_CODE = dict(zip(TYPE_ORDER, ["float64", "float32", "int32", "uint32", "int16", "uint16", "uint8",
                                     "complex128"]))

_dtypes = {}


def result_dtype(wanted):
    """The numpy dtype of a result type given as anything numpy understands."""
    try:
        return _dtypes[wanted]
    except (KeyError, TypeError):
        pass
    try:
        dt = np.dtype(wanted)
    except TypeError:
        raise_message("Illegal data type")
    if dt.newbyteorder("=") not in TYPE_CODES:
        raise_message("Illegal data type")
    try:
        _dtypes[wanted] = dt.newbyteorder("=")
    except TypeError:
        pass
    return dt.newbyteorder("=")


def new_result(shape, dtype):
    """A new (uninitialised) result array; sizes below 1 are the library's "array size mismatch"."""
    try:
        dt = _dtypes[dtype]
    except (KeyError, TypeError):
        dt = result_dtype(dtype)
    try:
        r = np.empty(shape, dt)   # TypeError for sizes that are not integers, ValueError below 0
    except TypeError:
        raise_message("Illegal data type")
    except (ValueError, OverflowError):
        raise_message("array size mismatch")
    except MemoryError:
        raise_message("out of memory")
    if r.size == 0:
        raise_message("array size mismatch")
    return r


_SCALAR_CODES = {**TYPE_CODES, np.dtype(bool): 0}   # booleans travel as bytes


def zero_result(shape, dtype):
    r = new_result(shape, dtype)
    r.fill(0)
    return r


def bad_arguments(error):
    """A result size that cannot be computed from the arguments: they have the wrong type."""
    if isinstance(error, Error):
        raise error
    raise_message("Illegal data type")


def type_code(dtype):
    return _SCALAR_CODES.get(dtype, 7)


def enum_value(table, value):
    if isinstance(value, str):
        try:
            return table[value]
        except KeyError:
            raise_message("Illegal data value")
    return value


def dtype_code(value):
    return TYPE_CODES[result_dtype(value)]


_BOOL = np.dtype(bool)


def as_array(x):
    """An array argument as numpy sees it; booleans as bytes 0 and 1 (a view, no copy)."""
    if x.__class__ is not np.ndarray:
        x = np.asarray(x)
    return x.view(np.uint8) if x.dtype is _BOOL else x


def rows(x):
    return x.shape[-2] if x.ndim >= 2 else 1


def cols(x):
    return x.shape[-1] if x.ndim >= 1 else 1


def stepped(data, rstep, cstep):
    """The size of a result that takes every rstep-th row and cstep-th column."""
    try:
        r, c = (rows(data) - 1) // int(rstep) + 1, (cols(data) - 1) // int(cstep) + 1
    except (TypeError, ValueError, ZeroDivisionError, OverflowError):
        return data.shape
    if r < 1 or c < 1:
        return data.shape
    return (c,) if data.ndim == 1 else (r, c)


def compact_size(a, nbits, ncodes, expand, count):
    """Bytes of `ncodes` packed codes, or the number of codes a byte stream holds."""
    try:
        if not expand:
            return max(1, -(-int(ncodes or a.size) * int(nbits) // 8))
        return max(1, int(count or ncodes or a.size * 8 // max(int(nbits), 1)))
    except (TypeError, ValueError, OverflowError):
        return 1


def per_plane(value, n):
    return np.full(n, value, np.int32) if np.ndim(value) == 0 else value


def column(x):
    return x.reshape(-1, 1) if x.ndim == 1 else x


def enum_names(cname):
    """Python names of an enumeration's values: the enumerator names after their common prefix."""
    names = list(ENUMS[cname])
    prefix = names[0]
    for n in names[1:]:
        while not n.startswith(prefix):
            prefix = prefix[:-1]
    prefix = prefix[: prefix.rfind("_") + 1]
    return {n[len(prefix):].lower(): v for n, v in ENUMS[cname].items()}


def pyname(name):
    return name + "_" if keyword.iskeyword(name) else name


def split_member(cname):
    fam, rest = cname[:3], cname[3:]
    kind, op = rest.split("_", 1)
    return fam, kind, op


def as_optional_array(x):
    return None if x is None else as_array(x)


def module_of(cname):
    params = MEMBERS[cname][4]
    if any(t in ("FILE*", "const wchar_t*") for _, t in params):
        return FILES_MODULE
    return split_member(cname)[0]


def make_function(cname):
    """The Python function of one member."""
    void, params = MEMBERS[cname][3:]
    fam, kind, op = split_member(cname)
    entry = dict(TABLE.get(cname, {}))
    doc = entry.pop("doc", None)
    dtype_default = entry.pop("dtype", None)
    scalar_expr = entry.pop("scalar", None)
    columns = entry.pop("columns", ())
    planes = entry.pop("per_plane", ())
    flat = entry.pop("flat", False)
    allocate = "_zero" if entry.pop("zero", False) else "_new"
    ns = {"_c": getattr(_core, cname), "_new": new_result, "_code": type_code, "_en": enum_value,
          "_dc": dtype_code, "_a": as_array, "_ao": as_optional_array, "_rdt": result_dtype, "np": np,
          "_rows": rows, "_cols": cols, "_stepped": stepped, "_compact_size": compact_size,
          "_plane": per_plane, "_column": column, "_bad": bad_arguments,
          "_zero": zero_result}
    inputs = [(pyname(n), t) for n, t in params if t != "void*" and not (t in MATRIX_OUT or
              (t.endswith("*") and not t.startswith("const") and t not in ("FILE*",)))]
    outputs = [(pyname(n), t) for n, t in params if t in MATRIX_OUT]
    input_names = {n for n, _ in inputs}
    out_names = {n for n, _ in outputs}
    arrays = [n for n, t in inputs if t in ARRAY_IN + TYPED_IN]
    extras = [k for k in entry if k not in input_names and k not in out_names]

    sig, body = [], []
    computed = []
    for n in [n for n, _ in inputs] + extras:
        if n not in entry or entry[n] is REQUIRED:
            sig.append(n)
        elif isinstance(entry[n], Expr):
            sig.append("%s=None" % n)
            computed.append("if %s is None: %s = %s" % (n, n, entry[n]))
        else:
            sig.append("%s=_d_%s" % (n, n))
            ns["_d_" + n] = entry[n]
    # Reorder so that parameters without defaults come first (Python's rule), keeping order.
    required = [s for s in sig if "=" not in s]
    optional = [s for s in sig if "=" in s]
    if optional and sig != required + optional:
        sig = required + optional

    for n, t in inputs:
        if t in ARRAY_IN:
            body.append("%s = _a(%s)" % (n, n))
            if flat and n == arrays[0]:
                body.append("_flat = %s.ndim == 1" % n)
            if n in columns:
                body.append("%s = _column(%s)" % (n, n))
        elif t in TYPED_IN:
            body.append("%s = _ao(%s)" % (n, n))
        elif t.startswith("_") and t != "_mutil_data_type" and t in ENUMS:
            ns["_E_" + n] = enum_names(t)
            body.append("%s = _en(_E_%s, %s)" % (n, n, n))
        elif t == "_mutil_data_type":
            body.append("%s = _dc(%s)" % (n, n))
        elif t == "FILE*":
            mode = "wb" if ("write" in op or "print" in op) else "rb"
            body.append("%s = (%s, %r)" % (n, n, mode))

    guarded_from = len(body)
    body.extend(computed)
    body.extend("%s = _plane(%s, %s.shape[0])" % (n, n, arrays[0]) for n in planes)
    uses_dtype = False
    for n, t in outputs:
        rule = entry.get(n, "like " + arrays[0] if arrays and t in MATRIX_OUT else None)
        if rule is None:
            body.append("%s = None" % n)
            continue
        if rule.startswith("like "):
            shape, dt = rule[5:].strip() + ".shape", "dtype"
        else:
            shape, dt = (s.strip() for s in rule.split(" : "))
        if t in TYPED_OUT and dt == "dtype":
            dt = repr(TYPED_OUT[t])
        if "dtype" in dt.split("."):
            uses_dtype = True
        body.append("%s = %s(%s, %s)" % (n, allocate, shape, dt))
    if uses_dtype:
        sig.append("*")
        sig.append("dtype=None")
        default = dtype_default or (arrays[0] + ".dtype" if arrays else "'float64'")
        body.insert(len(body) - len(outputs), "if dtype is None: dtype = %s" % default)

    if len(body) > guarded_from:   # sizes and types computed from the arguments
        body[guarded_from:] = ["try:"] + ["    " + line for line in body[guarded_from:]] + [
            "except Exception as e: _bad(e)"]
    first_type = dict(inputs).get(arrays[0]) if arrays else None
    if scalar_expr is None and first_type in TYPED_IN:   # a typed record: its type is fixed
        scalar_expr = str(TYPE_CODES[np.dtype(TYPED_OUT[first_type[6:]])])
    if scalar_expr is None:
        ref = arrays[0] + ".dtype" if arrays else (outputs[0][0] + ".dtype" if outputs and
                                                 entry.get(outputs[0][0], "") is not None else "None")
        scalar_expr = "_code(%s)" % ref if ref != "None" else "7"
    args = []
    for n, t in params:
        n = pyname(n)
        args.append("None" if (t == "void*" or (n not in input_names and n not in out_names)) else n)
    call = "_c(%s, %s)" % (", ".join(args), scalar_expr)
    body.extend(["_r = " + call, "return _r.reshape(-1) if _flat else _r"] if flat else ["return " + call])
    if any(s == "*" for s in sig) and sig[-1] == "*":
        sig.pop()
    src = "def %s(%s):\n    %s\n" % (op, ", ".join(sig), "\n    ".join(body))
    exec(compile(src, "<mutils.%s>" % op, "exec"), ns)
    fn = ns[op]
    fn.__source__ = src
    fn.__qualname__ = op
    declaration = "%s(%s)" % (cname, ", ".join("%s %s" % (t, n) for n, t in params))
    results = [n for n, t in params if t in MATRIX_OUT or (t.endswith("*") and not t.startswith("const")
                                                            and t not in ("FILE*", "void*"))]
    fn.__doc__ = (doc or "The library's `%s`: its header documents the contract." % cname) + (
        "\n\nC++: %s\nReturns: %s" % (declaration, ", ".join(pyname(n) for n in results) or "None"))
    fn.__wrapped_member__ = cname
    return fn


def first_array(fn):
    """Position and name of a function's first array argument."""
    params = dict(MEMBERS[fn.__wrapped_member__][4])
    names = fn.__code__.co_varnames[:fn.__code__.co_argcount]
    for i, n in enumerate(names):
        if params.get(n.rstrip("_")) in ARRAY_IN + TYPED_IN:
            return i, n
    return 0, names[0]


def dispatch(univ, setf):
    """One function for a universal and a set member: 3-D arrays go to the set member."""
    pos, name = first_array(univ)
    set_name = first_array(setf)[1]

    def fn(*args, **kwargs):
        x = args[pos] if len(args) > pos else kwargs.get(name, kwargs.get(set_name))
        if np.ndim(x) == 3:
            if name in kwargs and name != set_name:
                kwargs[set_name] = kwargs.pop(name)
            return setf(*args, **kwargs)
        return univ(*args, **kwargs)

    fn.__name__ = fn.__qualname__ = univ.__name__
    fn.__signature__ = inspect.signature(univ)
    fn.__doc__ = "2-D arrays: %s\n\n3-D arrays (sets, planes first): %s\n\n%s\n%s" % (
        univ.__wrapped_member__, setf.__wrapped_member__, univ.__source__, setf.__source__)
    fn.__wrapped_member__ = univ.__wrapped_member__
    fn.__set_member__ = setf.__wrapped_member__
    fn.__source__ = univ.__source__ + setf.__source__
    return fn


def typed_dispatch(fns):
    """One function for the typed members of an operation without a universal member: the
    member of the first array's element type, else the first of dbl, flt, s32, ... (the array
    is then converted to its type where that is exact)."""
    order = [fns[k] for k in TYPE_ORDER if k in fns]
    by_dtype = {np.dtype(TYPE_OF_CODE[k]): fns[k] for k in fns}
    pos, name = first_array(order[0])

    def fn(*args, **kwargs):
        x = args[pos] if len(args) > pos else kwargs.get(name)
        return by_dtype.get(getattr(x, "dtype", None), order[0])(*args, **kwargs)

    fn.__name__ = fn.__qualname__ = order[0].__name__
    fn.__signature__ = inspect.signature(order[0])
    fn.__doc__ = "Typed members by the first array's type: " + ", ".join(f.__wrapped_member__ for f in order)
    fn.__wrapped_member__ = order[0].__wrapped_member__
    fn.__source__ = "".join(f.__source__ for f in order)
    return fn


def build(module):
    """name -> function for the members of one submodule ('mat', 'img', ..., or 'io')."""
    names = sorted(n for n in MEMBERS if module_of(n) == module)
    by_op = {}
    for n in names:
        fam, kind, op = split_member(n)
        by_op.setdefault(op, {})[kind] = n
    out = {}
    for op, kinds in by_op.items():
        fns = {k: make_function(n) for k, n in kinds.items()}
        if "univ" in fns and "set" in fns:
            out[op] = dispatch(fns["univ"], fns["set"])
        elif "univ" in fns or "set" in fns:
            out[op] = fns.get("univ", fns.get("set"))
        elif len(fns) == 1:
            out[op] = next(iter(fns.values()))
        else:
            out[op] = typed_dispatch(fns)
    for fn in out.values():
        fn.__module__ = "mutils." + module
    return out
