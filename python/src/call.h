// One generic caller for every member the package binds: `def<&mutils::imguniv_edge_canny>(m, name)`
// adds a vectorcall function that runs `Caller<F>`.
//
// The Python side passes the member's arguments in the C++ order, with None in the place of
// `intrp_ptr`, and then one more argument: the element type (a code) that universal scalars take
// when a Python number does not say. Each C++ parameter type has an `Arg<T>` that turns the
// Python object into the C++ argument (`load`, with the GIL) and, for results, back into a
// Python object (`result`). Result matrices come in as arrays the Python side allocated at the
// size the operation needs; scalar results and chains come in as None.
//
// The member runs without the GIL, inside its own arena scope, with an interrupt pointer that
// the host poll (module.cpp) answers from Python's pending SIGINT. Its message, or a raised
// `Hux::Error`, becomes the matching Python exception.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <climits>
#include <complex>
#include <limits>
#include <cstdio>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <mutils.h>

namespace mutils_py {

namespace py = pybind11;
using namespace mutils;

/// Raises the Python exception of a library message (the class is looked up by text).
[[noreturn]] void raise_message(const char* message);

/// The interrupt state of one call; its address is the call's `intrp_ptr`.
struct Interrupt {
    unsigned long long start;  // the SIGINT count when the call began
};
Interrupt begin_interrupt();
/// Makes `s` the calling thread's current call (the poll answers only for it) until end_interrupt.
void set_current_interrupt(Interrupt* s);
void end_interrupt();

/// Element-type code of a numpy dtype number (-1 when the library has no such type).
int type_of_dtype(int num);
/// numpy dtype of an element-type code.
py::dtype dtype_of_type(int type);

/// A C-contiguous, native-order array of a library element type, holding `h` (copied when it
/// is not one already). Raises "Illegal data type" for anything else.
py::array as_library_array(py::handle h);

/// The record of an array of 1 (a row) or 2 dimensions, or of one plane of 3.
_univ_mat mat_record(const py::array& a, py::ssize_t plane = -1);

/// Python value of a universal scalar.
py::object scalar_object(const _univ_scalar& s);
/// A universal scalar from a Python number; `type` is used when the number carries none.
_univ_scalar scalar_from(py::handle h, int type);

double to_double(py::handle h);
long long to_integer(py::handle h, long long lo, long long hi);

struct Ctx {
    int scalar_type;
};

template <class T> struct Arg;

/// By-value numbers: integers of a width, doubles, enumerations (passed as integers).
template <class T>
requires(std::is_integral_v<T> || std::is_enum_v<T>) struct Arg<T> {
    T v{};
    void load(py::handle h, Ctx&) {
        if constexpr (std::is_same_v<T, char>) {
            if (py::isinstance<py::str>(h)) {
                std::string s = py::cast<std::string>(h);
                if (s.size() != 1) raise_message(msg::illegal_data_value);
                v = s[0];
                return;
            }
            v = char(to_integer(h, -128, 127));
        } else if constexpr (std::is_enum_v<T>) {
            v = static_cast<T>(to_integer(h, INT32_MIN, INT32_MAX));
        } else {
            v = static_cast<T>(
                to_integer(h, (long long)std::numeric_limits<T>::min(), (long long)std::numeric_limits<T>::max()));
        }
    }
    T get() { return v; }
};

template <> struct Arg<double> {
    double v = 0;
    void load(py::handle h, Ctx&) { v = to_double(h); }
    double get() { return v; }
};

template <> struct Arg<float> {
    float v = 0;
    void load(py::handle h, Ctx&) { v = float(to_double(h)); }
    float get() { return v; }
};

template <> struct Arg<_dcomplex> {
    _dcomplex v{};
    void load(py::handle h, Ctx&) {
        if (py::isinstance<py::str>(h) || !PyNumber_Check(h.ptr())) raise_message(msg::illegal_data_type);
        const Py_complex c = PyComplex_AsCComplex(h.ptr());
        if (c.real == -1.0 && PyErr_Occurred()) {
            PyErr_Clear();
            raise_message(msg::illegal_data_type);
        }
        v = _dcomplex{c.real, c.imag};
    }
    _dcomplex get() { return v; }
};

template <> struct Arg<_univ_scalar> {
    _univ_scalar v{};
    void load(py::handle h, Ctx& c) { v = scalar_from(h, c.scalar_type); }
    _univ_scalar get() { return v; }
};

template <> struct Arg<const char*> {
    std::string v;
    void load(py::handle h, Ctx&) {
        if (!py::isinstance<py::str>(h)) raise_message(msg::illegal_data_type);
        v = py::cast<std::string>(h);
    }
    const char* get() { return v.c_str(); }
};

template <> struct Arg<const wchar_t*> {
    std::wstring v;
    void load(py::handle h, Ctx&);
    const wchar_t* get() { return v.c_str(); }
};

/// A stream: the Python side passes (path, mode); the file is closed when the call ends.
template <> struct Arg<FILE*> {
    FILE* f = nullptr;
    Arg() = default;
    Arg(const Arg&) = delete;
    ~Arg() {
        if (f) std::fclose(f);
    }
    void load(py::handle h, Ctx&);
    FILE* get() { return f; }
};

/// The interrupt pointer: the Python side passes None in its place.
template <> struct Arg<void*> {
    Interrupt* p = nullptr;
    void load(py::handle, Ctx&) {}
    void* get() { return p; }
};

/// Input matrices (None is a null pointer; the library then reports "null pointer").
template <> struct Arg<const _univ_mat*> {
    py::array keep;
    _univ_mat rec{};
    bool null = false;
    void load(py::handle h, Ctx&) {
        if (h.is_none()) {
            null = true;
            return;
        }
        keep = as_library_array(h);
        if (keep.ndim() > 2) raise_message(msg::array_size_mismatch);
        rec = mat_record(keep);
    }
    const _univ_mat* get() { return null ? nullptr : &rec; }
};

/// Typed input matrices of a fixed element type (an s32 index, a double matrix).
template <class Rec, class E> struct TypedIn {
    py::array keep;
    Rec rec{};
    bool null = false;
    void load(py::handle h, Ctx&);
    const Rec* get() { return null ? nullptr : &rec; }
};
py::array typed_input(py::handle h, int type);
template <class Rec, class E> void TypedIn<Rec, E>::load(py::handle h, Ctx&) {
    if (h.is_none()) {
        null = true;
        return;
    }
    keep = typed_input(h, E::value);
    if (keep.ndim() > 2) raise_message(msg::array_size_mismatch);
    const _univ_mat u = mat_record(keep);
    rec = Rec{u.nrow, u.ncol, u.nelem, static_cast<decltype(rec.data)>(u.data)};
}

/// Input sets: 3-D arrays, planes first.
template <> struct Arg<const _mat_set*> {
    py::array keep;
    std::vector<_univ_mat> mats;
    int32_t dims[1] = {0};
    _mat_set set{};
    bool null = false;
    void load(py::handle h, Ctx&);
    const _mat_set* get() { return null ? nullptr : &set; }
};

/// Input chains: (start_row, start_col, run_length, direction).
template <> struct Arg<const _pgn_chain*> {
    py::array runs, dirs;
    _pgn_chain chain{};
    void load(py::handle h, Ctx&);
    const _pgn_chain* get() { return &chain; }
};

/// Result matrices: the array allocated by the Python side, or None when the operation
/// allocates the result itself (readers, parse): it is then copied out of the arena.
template <> struct Arg<_univ_mat*> {
    py::object keep;
    _univ_mat rec{};
    void load(py::handle h, Ctx&);
    _univ_mat* get() { return &rec; }
    py::object result();
};

/// Typed results: the record shares the universal record's first four fields, so the result is
/// handled as a universal one of the fixed type (allocated by the Python side, or by the call).
template <class Rec, class E> struct TypedOut {
    Arg<_univ_mat*> u;
    void load(py::handle h, Ctx& c) {
        u.load(h, c);
        if (!h.is_none() && u.rec.type != E::value) raise_message(msg::illegal_data_type);
        u.rec.type = static_cast<_mutil_data_type>(E::value);
    }
    Rec* get() { return reinterpret_cast<Rec*>(&u.rec); }
    py::object result() { return u.result(); }
};
// Typed records, as inputs and as results, of every element type.
#define MUTILS_PY_TYPED(REC, TAG)                                                           \
    template <> struct Arg<const REC*> : TypedIn<REC, std::integral_constant<int, TAG>> {}; \
    template <> struct Arg<REC*> : TypedOut<REC, std::integral_constant<int, TAG>> {};
MUTILS_PY_TYPED(_uint8_mat, MUTIL_UINT8)
MUTILS_PY_TYPED(_uint16_mat, MUTIL_UINT16)
MUTILS_PY_TYPED(_sint16_mat, MUTIL_SINT16)
MUTILS_PY_TYPED(_uint32_mat, MUTIL_UINT32)
MUTILS_PY_TYPED(_sint32_mat, MUTIL_SINT32)
MUTILS_PY_TYPED(_float_mat, MUTIL_FLOAT)
MUTILS_PY_TYPED(_double_mat, MUTIL_DOUBLE)
MUTILS_PY_TYPED(_dcomplex_mat, MUTIL_DCOMPLEX)
#undef MUTILS_PY_TYPED

/// Result sets: a 3-D array, or None when the operation allocates the set (readers).
template <> struct Arg<_mat_set*> {
    py::object keep;
    std::vector<_univ_mat> mats;
    int32_t dims[1] = {0};
    _mat_set set{};
    void load(py::handle h, Ctx&);
    _mat_set* get() { return &set; }
    py::object result();
};

template <> struct Arg<_pgn_chain*> {
    _pgn_chain chain{};
    void load(py::handle, Ctx&) {}
    _pgn_chain* get() { return &chain; }
    py::object result();
};

/// Scalar results.
template <class T>
requires(std::is_arithmetic_v<T>) struct Arg<T*> {
    T v{};
    void load(py::handle, Ctx&) {}
    T* get() { return &v; }
    py::object result() {
        if constexpr (std::is_floating_point_v<T>)
            return py::float_(v);
        else
            return py::int_(v);
    }
};
template <> struct Arg<_univ_scalar*> {
    _univ_scalar v{};
    void load(py::handle, Ctx&) {}
    _univ_scalar* get() { return &v; }
    py::object result() { return scalar_object(v); }
};

/// Runs F on the arguments of a Python call and returns its results, in the C++ order: one
/// object, or a tuple when there are several (None when there is none).
template <auto F> struct Caller;
template <class R, class... Ts, R (*F)(Ts...)> struct Caller<F> {
    static py::object run(PyObject* const* args, Py_ssize_t nargs) {
        constexpr std::size_t n = sizeof...(Ts);
        if (std::size_t(nargs) != n + 1) {
            PyErr_SetString(PyExc_TypeError, "wrong number of arguments");
            throw py::error_already_set();
        }
        Ctx ctx{int(to_integer(args[n], 0, 8))};
        std::tuple<Arg<Ts>...> a;
        load(a, args, ctx, std::index_sequence_for<Ts...>{});
        return invoke(a, std::index_sequence_for<Ts...>{});
    }

    template <std::size_t... I>
    static void load(std::tuple<Arg<Ts>...>& a, PyObject* const* args, Ctx& ctx, std::index_sequence<I...>) {
        (std::get<I>(a).load(py::handle(args[I]), ctx), ...);
    }

    template <std::size_t... I> static py::object invoke(std::tuple<Arg<Ts>...>& a, std::index_sequence<I...>) {
        const char* message = nullptr;
        std::string raised;
        bool threw = false;
        {
            Hux::ArenaScope scope;  // everything the call allocates ends with this block
            {
                Interrupt state = begin_interrupt();
                set_current_interrupt(&state);
                ((set_interrupt(std::get<I>(a), &state)), ...);
                py::gil_scoped_release nogil;
                try {
                    if constexpr (std::is_void_v<R>)
                        F(std::get<I>(a).get()...);
                    else
                        message = F(std::get<I>(a).get()...);
                } catch (const Hux::Error& e) {
                    raised = e.what();
                    threw = true;
                } catch (const std::bad_alloc&) {
                    raised = msg::out_of_memory;
                    threw = true;
                } catch (const std::exception& e) {
                    raised = e.what();
                    threw = true;
                }
            }
            end_interrupt();
            if (threw) raise_message(raised.c_str());
            if (message) raise_message(message);
            // Results are taken while the arena still holds what the operation allocated.
            py::list out;
            ((collect(std::get<I>(a), out)), ...);
            if (out.size() == 0) return py::none();
            if (out.size() == 1) return out[0];
            return py::tuple(out);
        }
    }

    template <class A> static void set_interrupt(A& arg, Interrupt* s) {
        if constexpr (std::is_same_v<A, Arg<void*>>) arg.p = s;
    }
    template <class A> static void collect(A& arg, py::list& out) {
        if constexpr (requires { arg.result(); }) out.append(arg.result());
    }
};

/// The Python entry of F: a vectorcall function (no argument parsing beyond the count).
template <auto F> PyObject* fastcall(PyObject*, PyObject* const* args, Py_ssize_t nargs) {
    try {
        return Caller<F>::run(args, nargs).release().ptr();
    } catch (py::error_already_set& e) {
        e.restore();
    } catch (py::builtin_exception& e) {
        e.set_error();
    } catch (const std::exception& e) {
        PyErr_SetString(PyExc_RuntimeError, e.what());
    }
    return nullptr;
}

/// Adds F to the module under `name`.
template <auto F> void def(py::module_& m, const char* name) {
    static PyMethodDef method{name, reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&fastcall<F>)),
                              METH_FASTCALL, nullptr};
    m.add_object(name, py::reinterpret_steal<py::object>(PyCFunction_NewEx(&method, nullptr, nullptr)));
}

}  // namespace mutils_py
