// The extension module `mutils._core`: conversions between numpy and the library's records,
// the mapping of messages to Python exceptions, and the interrupt poll behind Ctrl-C.
#include <signal.h>

#include <atomic>
#include <cstring>
#include <mutex>

#include "call.h"

namespace mutils_py {

// ---- messages -> exceptions -------------------------------------------------------------------

namespace {
py::dict& error_classes() {  // message text -> class; filled by mutils._errors
    static py::dict* d = new py::dict();
    return *d;
}
py::object& base_error() {
    static py::object* o = new py::object();
    return *o;
}
py::object& chain_type() {
    static py::object* o = new py::object();
    return *o;
}
}  // namespace

void raise_message(const char* message) {
    if (std::strcmp(message, msg::interrupted) == 0) {
        // Run Python's own SIGINT handler where it can run (the main thread); whatever it
        // raises is the answer, and KeyboardInterrupt otherwise: the call has no result.
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        PyErr_SetNone(PyExc_KeyboardInterrupt);
        throw py::error_already_set();
    }
    py::str text(message);
    py::object cls = error_classes().contains(text) ? py::object(error_classes()[text]) : base_error();
    if (!cls) cls = py::reinterpret_borrow<py::object>(PyExc_RuntimeError);
    PyErr_SetObject(cls.ptr(), text.ptr());
    throw py::error_already_set();
}

// ---- interrupt --------------------------------------------------------------------------------

namespace {
std::atomic<unsigned long long> g_sigint{0};
struct sigaction g_previous;
std::mutex g_handler_mutex;
thread_local Interrupt* t_state = nullptr;
thread_local bool t_checked = false;

void on_sigint(int sig, siginfo_t* info, void* context) {
    g_sigint.fetch_add(1, std::memory_order_relaxed);
    if (g_previous.sa_flags & SA_SIGINFO) {
        if (g_previous.sa_sigaction) g_previous.sa_sigaction(sig, info, context);
    } else if (g_previous.sa_handler != SIG_DFL && g_previous.sa_handler != SIG_IGN) {
        g_previous.sa_handler(sig);
    }
}

/// Puts on_sigint in front of the current SIGINT handler (Python's) unless it is there already.
/// A default or ignored SIGINT is left alone: Ctrl-C then ends the process, or does nothing.
void chain_handler() {
    std::lock_guard<std::mutex> lock(g_handler_mutex);
    struct sigaction current;
    if (sigaction(SIGINT, nullptr, &current) != 0) return;
    if ((current.sa_flags & SA_SIGINFO) && current.sa_sigaction == on_sigint) return;
    if (!(current.sa_flags & SA_SIGINFO) && (current.sa_handler == SIG_DFL || current.sa_handler == SIG_IGN)) return;
    g_previous = current;
    struct sigaction ours = current;
    ours.sa_sigaction = on_sigint;
    ours.sa_flags = current.sa_flags | SA_SIGINFO;
    sigaction(SIGINT, &ours, nullptr);
}

/// The host poll: true when SIGINT arrived since the calling thread's current call began.
unsigned char poll(void* intrp) {
    Interrupt* s = t_state;
    if (!s || intrp != s) return 0;  // not a call of this module
    if (!t_checked) {
        chain_handler();  // Python may have installed a new handler since
        t_checked = true;
    }
    return g_sigint.load(std::memory_order_relaxed) != s->start;
}
}  // namespace

Interrupt begin_interrupt() { return Interrupt{g_sigint.load(std::memory_order_relaxed)}; }
void end_interrupt() { t_state = nullptr; }
void set_current_interrupt(Interrupt* s) {
    t_state = s;
    t_checked = false;
}

// ---- arrays -----------------------------------------------------------------------------------

int type_of_dtype(int num) {
    switch (num) {
        case 2: return MUTIL_UINT8;      // NPY_UBYTE
        case 4: return MUTIL_UINT16;     // NPY_USHORT
        case 3: return MUTIL_SINT16;     // NPY_SHORT
        case 6: return MUTIL_UINT32;     // NPY_UINT
        case 5: return MUTIL_SINT32;     // NPY_INT
        case 11: return MUTIL_FLOAT;     // NPY_FLOAT
        case 12: return MUTIL_DOUBLE;    // NPY_DOUBLE
        case 15: return MUTIL_DCOMPLEX;  // NPY_CDOUBLE
        default: return -1;
    }
}

py::dtype dtype_of_type(int type) {
    static const char* names[] = {"uint8", "int8",    "uint16",  "int16",     "uint32",
                                  "int32", "float32", "float64", "complex128"};
    if (type < 0 || type > 8) raise_message(msg::illegal_data_type);
    return py::dtype(names[type]);
}

py::array as_library_array(py::handle h) {
    py::array a;
    if (py::isinstance<py::array>(h)) {
        a = py::reinterpret_borrow<py::array>(h);
    } else {
        a = py::array::ensure(h);
        if (!a) raise_message(msg::illegal_data_type);
    }
    py::dtype dt = a.dtype();
    if (dt.num() == 0)
        a = py::array(a.attr("astype")("uint8"));  // booleans as 0/1 bytes
    else if (type_of_dtype(dt.num()) < 0)
        raise_message(msg::illegal_data_type);
    if (a.dtype().byteorder() == '>') a = py::array(a.attr("astype")(a.dtype().attr("newbyteorder")("=")));
    if (!(a.flags() & py::array::c_style)) a = py::array::ensure(a, py::array::c_style);
    if (a.size() > INT32_MAX) raise_message(msg::array_size_mismatch);
    return a;
}

_univ_mat mat_record(const py::array& a, py::ssize_t plane) {
    _univ_mat u{};
    const py::ssize_t nd = a.ndim();
    if (nd == 0 || nd > 3) raise_message(msg::array_size_mismatch);
    if (nd == 1) {
        u.nrow = 1;
        u.ncol = int32_t(a.shape(0));
    } else {
        u.nrow = int32_t(a.shape(nd - 2));
        u.ncol = int32_t(a.shape(nd - 1));
    }
    u.nelem = u.nrow * u.ncol;
    u.type = static_cast<_mutil_data_type>(type_of_dtype(a.dtype().num()));
    char* base = static_cast<char*>(const_cast<void*>(a.data()));
    if (plane > 0) base += plane * py::ssize_t(u.nelem) * a.itemsize();
    u.data = base;
    return u;
}

py::array typed_input(py::handle h, int type) {
    py::array a = as_library_array(h);
    const int have = type_of_dtype(a.dtype().num());
    if (have == type) return a;
    const char kind = a.dtype().kind();
    const bool integer = kind == 'u' || kind == 'i';
    if (type == MUTIL_DOUBLE && (integer || kind == 'f')) return py::array(a.attr("astype")("float64"));
    if (integer && type != MUTIL_DOUBLE) {
        py::array c = py::array(a.attr("astype")(dtype_of_type(type)));
        if (!py::cast<bool>(c.attr("__eq__")(a).attr("all")())) raise_message(msg::illegal_data_value);
        return c;
    }
    raise_message(msg::illegal_data_type);
}

// ---- scalars ----------------------------------------------------------------------------------

double to_double(py::handle h) {
    if (PyComplex_Check(h.ptr()) || py::isinstance<py::str>(h)) raise_message(msg::illegal_data_type);
    const double v = PyFloat_AsDouble(h.ptr());
    if (v == -1.0 && PyErr_Occurred()) {
        PyErr_Clear();
        raise_message(msg::illegal_data_type);
    }
    return v;
}

namespace {
/// An integer-like Python value as a long long ("Illegal data type" when it is not one);
/// `overflow` is set when it does not fit.
long long index_value(py::handle h, int& overflow) {
    PyObject* i = PyNumber_Index(h.ptr());
    if (!i) {
        PyErr_Clear();
        raise_message(msg::illegal_data_type);
    }
    overflow = 0;
    const long long v = PyLong_AsLongLongAndOverflow(i, &overflow);
    Py_DECREF(i);
    return v;
}
}  // namespace

long long to_integer(py::handle h, long long lo, long long hi) {
    int overflow = 0;
    const long long v = index_value(h, overflow);
    if (overflow || v < lo || v > hi) raise_message(msg::illegal_data_value);
    return v;
}

namespace {
bool fits(int type, long long v) {
    switch (type) {
        case MUTIL_UINT8: return v >= 0 && v <= 255;
        case MUTIL_UINT16: return v >= 0 && v <= 65535;
        case MUTIL_SINT16: return v >= -32768 && v <= 32767;
        case MUTIL_UINT32: return v >= 0 && v <= 4294967295LL;
        case MUTIL_SINT32: return v >= INT32_MIN && v <= INT32_MAX;
        case MUTIL_FLOAT:
        case MUTIL_DOUBLE:
        case MUTIL_DCOMPLEX: return true;
        default: return false;
    }
}

_univ_scalar make_scalar(int type, long long i, double d, double im, bool integer) {
    _univ_scalar s{};
    s.type = static_cast<_mutil_data_type>(type);
    switch (type) {
        case MUTIL_UINT8: s.val.u8 = (unsigned char)i; break;
        case MUTIL_UINT16: s.val.u16 = (uint16_t)i; break;
        case MUTIL_SINT16: s.val.s16 = (int16_t)i; break;
        case MUTIL_UINT32: s.val.u32 = (uint32_t)i; break;
        case MUTIL_SINT32: s.val.s32 = (int32_t)i; break;
        case MUTIL_FLOAT: s.val.flt = float(integer ? double(i) : d); break;
        case MUTIL_DOUBLE: s.val.dbl = integer ? double(i) : d; break;
        case MUTIL_DCOMPLEX: s.val.cpx = {integer ? double(i) : d, im}; break;
        default: raise_message(msg::illegal_data_type);
    }
    return s;
}
}  // namespace

_univ_scalar scalar_from(py::handle h, int type) {
    // A numpy scalar of a library type keeps its type.
    if (py::isinstance<py::array>(h) || PyObject_HasAttrString(h.ptr(), "dtype")) {
        py::array a = py::array::ensure(h);
        if (a && a.ndim() == 0) {
            const int t = type_of_dtype(a.dtype().num());
            if (t >= 0) {
                if (t == MUTIL_DCOMPLEX) {
                    std::complex<double> c = py::cast<std::complex<double>>(h);
                    return make_scalar(t, 0, c.real(), c.imag(), false);
                }
                if (t <= MUTIL_SINT32) return make_scalar(t, to_integer(h, LLONG_MIN, LLONG_MAX), 0, 0, true);
                return make_scalar(t, 0, to_double(h), 0, false);
            }
        } else if (!a) {
            PyErr_Clear();
        }
    }
    if (PyComplex_Check(h.ptr())) {
        std::complex<double> c = py::cast<std::complex<double>>(h);
        return make_scalar(MUTIL_DCOMPLEX, 0, c.real(), c.imag(), false);
    }
    if (PyLong_Check(h.ptr()) || (PyIndex_Check(h.ptr()) && !PyFloat_Check(h.ptr()))) {
        int overflow = 0;
        const long long v = index_value(h, overflow);
        if (overflow) return make_scalar(MUTIL_DOUBLE, 0, to_double(h), 0, false);
        if (fits(type, v)) return make_scalar(type, v, 0, 0, true);
        if (fits(MUTIL_SINT32, v)) return make_scalar(MUTIL_SINT32, v, 0, 0, true);
        if (fits(MUTIL_UINT32, v)) return make_scalar(MUTIL_UINT32, v, 0, 0, true);
        return make_scalar(MUTIL_DOUBLE, 0, double(v), 0, false);
    }
    const double d = to_double(h);
    if (type == MUTIL_FLOAT || type == MUTIL_DOUBLE || type == MUTIL_DCOMPLEX) return make_scalar(type, 0, d, 0, false);
    return make_scalar(MUTIL_DOUBLE, 0, d, 0, false);
}

py::object scalar_object(const _univ_scalar& s) {
    py::object t = dtype_of_type(s.type).attr("type");
    switch (s.type) {
        case MUTIL_UINT8: return t(s.val.u8);
        case MUTIL_SINT8: return t(s.val.s8);
        case MUTIL_UINT16: return t(s.val.u16);
        case MUTIL_SINT16: return t(s.val.s16);
        case MUTIL_UINT32: return t(s.val.u32);
        case MUTIL_SINT32: return t(s.val.s32);
        case MUTIL_FLOAT: return t(s.val.flt);
        case MUTIL_DOUBLE: return t(s.val.dbl);
        case MUTIL_DCOMPLEX: return t(std::complex<double>(s.val.cpx.re, s.val.cpx.im));
        default: raise_message(msg::illegal_data_type);
    }
}

// ---- paths and streams ------------------------------------------------------------------------

namespace {
py::object fspath(py::handle h) {
    try {
        return py::module_::import("os").attr("fspath")(h);
    } catch (py::error_already_set&) {
        raise_message(msg::illegal_data_type);
    }
}
}  // namespace

void Arg<const wchar_t*>::load(py::handle h, Ctx&) {
    py::object p = fspath(h);
    if (!py::isinstance<py::str>(p)) p = p.attr("decode")();
    v = py::cast<std::wstring>(p);
}

void Arg<FILE*>::load(py::handle h, Ctx&) {
    py::tuple t = py::reinterpret_borrow<py::tuple>(h);
    py::object p = fspath(t[0]);
    if (py::isinstance<py::str>(p))
        p = p.attr("encode")(py::module_::import("sys").attr("getfilesystemencoding")(), "surrogateescape");
    const std::string path = py::cast<std::string>(p);
    const std::string mode = py::cast<std::string>(t[1]);
    f = std::fopen(path.c_str(), mode.c_str());
    if (!f) raise_message(msg::io_error);
}

// ---- sets, chains and results -----------------------------------------------------------------

void Arg<const _mat_set*>::load(py::handle h, Ctx&) {
    if (h.is_none()) {
        null = true;
        return;
    }
    keep = as_library_array(h);
    if (keep.ndim() != 3) raise_message(msg::array_size_mismatch);
    const py::ssize_t n = keep.shape(0);
    if (n < 1) raise_message(msg::array_size_mismatch);
    mats.resize(n);
    for (py::ssize_t p = 0; p < n; ++p) mats[p] = mat_record(keep, p);
    dims[0] = int32_t(n);
    set = _mat_set{1, dims, int32_t(n), mats.data()};
}

void Arg<const _pgn_chain*>::load(py::handle h, Ctx&) {
    if (!py::isinstance<py::sequence>(h) || py::len(h) != 4) raise_message(msg::illegal_data_type);
    py::sequence s = py::reinterpret_borrow<py::sequence>(h);
    chain.start_row = int32_t(to_integer(s[0], INT32_MIN, INT32_MAX));
    chain.start_col = int32_t(to_integer(s[1], INT32_MIN, INT32_MAX));
    runs = typed_input(s[2], MUTIL_SINT32);
    dirs = typed_input(s[3], MUTIL_UINT8);
    if (runs.size() != dirs.size()) raise_message(msg::array_size_mismatch);
    chain.nrun = int32_t(runs.size());
    chain.run_length = static_cast<int32_t*>(runs.mutable_data());
    chain.direction = static_cast<unsigned char*>(dirs.mutable_data());
}

void Arg<_univ_mat*>::load(py::handle h, Ctx&) {
    keep = py::reinterpret_borrow<py::object>(h);
    if (h.is_none()) return;
    py::array a = py::reinterpret_borrow<py::array>(h);
    rec = mat_record(a);
}

py::object Arg<_univ_mat*>::result() {
    if (keep.is_none()) {  // allocated by the operation: copy it out of the arena
        if (!rec.data || rec.nrow < 1 || rec.ncol < 1) return py::none();
        py::array a(dtype_of_type(rec.type), std::vector<py::ssize_t>{rec.nrow, rec.ncol});
        std::memcpy(a.mutable_data(), rec.data, std::size_t(rec.nelem) * a.itemsize());
        return py::object(a);
    }
    py::array a = py::reinterpret_borrow<py::array>(keep);
    const _univ_mat before = mat_record(a);
    if (before.nrow == rec.nrow && before.ncol == rec.ncol) return keep;
    // The operation changed the record's shape (unique values, an in-place transpose).
    return a.attr("reshape")(-1)[py::slice(0, rec.nelem, 1)].attr("reshape")(rec.nrow, rec.ncol);
}

void Arg<_mat_set*>::load(py::handle h, Ctx&) {
    keep = py::reinterpret_borrow<py::object>(h);
    if (h.is_none()) return;
    py::array a = py::reinterpret_borrow<py::array>(h);
    const py::ssize_t n = a.shape(0);
    mats.resize(n);
    for (py::ssize_t p = 0; p < n; ++p) mats[p] = mat_record(a, p);
    dims[0] = int32_t(n);
    set = _mat_set{1, dims, int32_t(n), mats.data()};
}

py::object Arg<_mat_set*>::result() {
    if (!keep.is_none()) return keep;
    if (set.nmat < 1 || !set.mats) return py::none();
    const _univ_mat& first = set.mats[0];
    py::array a(dtype_of_type(first.type), std::vector<py::ssize_t>{set.nmat, first.nrow, first.ncol});
    char* out = static_cast<char*>(a.mutable_data());
    const std::size_t plane = std::size_t(first.nelem) * a.itemsize();
    for (int32_t p = 0; p < set.nmat; ++p) {
        const _univ_mat& m = set.mats[p];
        if (m.type != first.type || m.nelem != first.nelem) raise_message(msg::array_size_mismatch);
        std::memcpy(out + p * plane, m.data, plane);
    }
    return py::object(a);
}

py::object Arg<_pgn_chain*>::result() {
    py::array_t<int32_t> runs(chain.nrun);
    py::array_t<uint8_t> dirs(chain.nrun);
    if (chain.nrun > 0) {
        std::memcpy(runs.mutable_data(), chain.run_length, std::size_t(chain.nrun) * 4);
        std::memcpy(dirs.mutable_data(), chain.direction, std::size_t(chain.nrun));
    }
    return chain_type()(chain.start_row, chain.start_col, runs, dirs);
}

void register_mat(py::module_&);
void register_img(py::module_&);
void register_sig(py::module_&);
void register_wav(py::module_&);
void register_pgn(py::module_&);
void register_cls(py::module_&);
void register_vid(py::module_&);

}  // namespace mutils_py

PYBIND11_MODULE(_core, m) {
    using namespace mutils_py;
    m.doc() = "The library's universal and set members, called by the functions of the mutils package.";
    register_mat(m);
    register_img(m);
    register_sig(m);
    register_wav(m);
    register_pgn(m);
    register_cls(m);
    register_vid(m);
    m.def("_configure", [](py::dict errors, py::object base, py::object chain) {
        error_classes() = errors;
        base_error() = base;
        chain_type() = chain;
    });
    chain_handler();
    Hux::set_interrupt_poll(&poll);
}
