#include "bridge.h"

#include <new>

#include "detail.h"
#include "detail_bridge.h"

namespace mutils {
namespace detail {
namespace {

/// "array size mismatch" unless a column of the host matrix fits in its stride.
const char* require_host_layout(const Hux::aMatrix* m) {
    return m->m_stride >= m->m_rows ? nullptr : msg::array_size_mismatch;
}

/// Visits the places of an nrow x ncol block whose column 0 is host column c0:
/// f(library index r * ncol + c, host index of (r, c0 + c)). Host-contiguous order.
template <class F> void for_each_place(const Hux::aMatrix* m, int64_t c0, int64_t nrow, int64_t ncol, F f) {
    for (int64_t c = 0; c < ncol; ++c)
        for (int64_t r = 0; r < nrow; ++r) f(r * ncol + c, host_index(m, r, c0 + c));
}

/// Plane -> host real part from host column c0 on, converted exactly to double (complex planes
/// also write their imaginary parts).
template <class T> void to_host(const mat_t<T>* plane, int64_t c0, Hux::aMatrix* m) {
    const T* d = plane->data;
    if constexpr (is_complex_elem<T>) {
        for_each_place(m, c0, plane->nrow, plane->ncol, [&](int64_t i, int64_t h) { m->m_real[h] = d[i].re; });
        for (int64_t c = 0; c < plane->ncol; ++c)
            for (int64_t r = 0; r < plane->nrow; ++r)
                set_host_imag(m, int32_t(r), int32_t(c0 + c), d[r * plane->ncol + c].im);
    } else {
        for_each_place(m, c0, plane->nrow, plane->ncol, [&](int64_t i, int64_t h) { m->m_real[h] = double(d[i]); });
    }
}

/// Checks shared by both colour transfers, after the raised validation of the set and planes.
const char* check_color(const Hux::aMatrix* m, const _mat_set* s, bool one_plane_ok) {
    matset_verify_allsame(s);
    for (int32_t i = 0; i < s->nmat; ++i) validate_univ(&s->mats[i]);
    if (s->nmat != 3 && !(one_plane_ok && s->nmat == 1)) return msg::array_size_mismatch;
    const _univ_mat& p = s->mats[0];
    if (m->m_rows != p.nrow || int64_t(m->m_cols) != 3 * int64_t(p.ncol)) return msg::array_size_mismatch;
    return nullptr;
}

template <class T> T** column_pointers(const Hux::aMatrix* m, T* part) {
    if (!m) return nullptr;
    const std::size_t n = m->m_cols > 0 ? std::size_t(m->m_cols) : 0;
    T** cols = new (std::nothrow) T*[n];
    if (!cols) return nullptr;
    for (std::size_t c = 0; c < n; ++c) cols[c] = part ? part + host_index(m, 0, int64_t(c)) : nullptr;
    return cols;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* matuniv_assign_from_quirnel(const Hux::aMatrix* m, _univ_mat* u) {
    if (!m || !u) return msg::null_pointer;
    validate_univ(u);
    MUTILS_TRY(require_size(u, m->m_rows, m->m_cols));
    MUTILS_TRY(require_host_layout(m));
    if (u->type == MUTIL_DOUBLE) {
        if (m->m_imag) return msg::illegal_data_type;
        if (!m->m_real) return msg::null_pointer;
        double* d = as<double>(u)->data;
        for_each_place(m, 0, u->nrow, u->ncol, [&](int64_t i, int64_t h) { d[i] = m->m_real[h]; });
        return nullptr;
    }
    if (u->type == MUTIL_DCOMPLEX) {
        if (!m->m_real) return m->m_imag ? msg::illegal_data_type : msg::null_pointer;
        _dcomplex* d = as<_dcomplex>(u)->data;
        const double* im = m->m_imag;
        for_each_place(m, 0, u->nrow, u->ncol, [&](int64_t i, int64_t h) {
            d[i] = {m->m_real[h], im ? im[h] : Hux::array_val::m_zero};
        });
        return nullptr;
    }
    return msg::illegal_data_type;
}

const char* matuniv_assign_to_quirnel(const _univ_mat* u, Hux::aMatrix* m) {
    if (!u || !m) return msg::null_pointer;
    validate_univ(u);
    MUTILS_TRY(require_size(u, m->m_rows, m->m_cols));
    MUTILS_TRY(require_host_layout(m));
    if (u->type == MUTIL_DCOMPLEX && !(m->m_real && m->m_imag)) return msg::illegal_data_type;
    if (!m->m_real) return msg::null_pointer;
    return dispatch(u->type, all_types{}, [&](auto t) -> const char* {
        using T = typename decltype(t)::type;
        to_host<T>(as<T>(u), 0, m);
        return nullptr;
    });
}

const char* matset_assign_from_quirnel_color(const Hux::aMatrix* m, _mat_set* s) {
    if (!m || !s) return msg::null_pointer;
    MUTILS_TRY(check_color(m, s, false));
    if (s->mats[0].type != MUTIL_DOUBLE) return msg::illegal_data_type;
    MUTILS_TRY(require_host_layout(m));
    if (!m->m_real) return msg::null_pointer;
    for (int32_t i = 0; i < 3; ++i) {
        _double_mat* plane = as<double>(&s->mats[i]);
        for_each_place(m, int64_t(i) * plane->ncol, plane->nrow, plane->ncol,
                       [&](int64_t k, int64_t h) { plane->data[k] = m->m_real[h]; });
    }
    return nullptr;
}

const char* matset_assign_to_quirnel_color(const _mat_set* s, Hux::aMatrix* m) {
    if (!s || !m) return msg::null_pointer;
    MUTILS_TRY(check_color(m, s, true));
    using color_types = types<unsigned char, uint16_t, uint32_t, double>;
    const char* admitted = dispatch(s->mats[0].type, color_types{}, [](auto) -> const char* { return nullptr; });
    MUTILS_TRY(admitted);
    MUTILS_TRY(require_host_layout(m));
    if (!m->m_real) return msg::null_pointer;
    return dispatch(s->mats[0].type, color_types{}, [&](auto t) -> const char* {
        using T = typename decltype(t)::type;
        for (int32_t i = 0; i < 3; ++i) {
            const mat_t<T>* plane = as<T>(&s->mats[s->nmat == 1 ? 0 : i]);
            to_host<T>(plane, int64_t(i) * plane->ncol, m);
        }
        return nullptr;
    });
}

double** allocRealColArr(Hux::aMatrix* m) { return column_pointers<double>(m, m ? m->m_real : nullptr); }
const double** allocRealColArr(const Hux::aMatrix* m) {
    return column_pointers<const double>(m, m ? m->m_real : nullptr);
}
double** allocImagColArr(Hux::aMatrix* m) { return column_pointers<double>(m, m ? m->m_imag : nullptr); }
const double** allocImagColArr(const Hux::aMatrix* m) {
    return column_pointers<const double>(m, m ? m->m_imag : nullptr);
}

}  // namespace mutils

namespace mu = mutils;

MUTILS_PLAIN(matuniv_assign_from_quirnel, (const Hux::aMatrix* m, mu::_univ_mat* u), (m, u))
MUTILS_PLAIN(matuniv_assign_to_quirnel, (const mu::_univ_mat* u, Hux::aMatrix* m), (u, m))
MUTILS_PLAIN(matset_assign_from_quirnel_color, (const Hux::aMatrix* m, mu::_mat_set* s), (m, s))
MUTILS_PLAIN(matset_assign_to_quirnel_color, (const mu::_mat_set* s, Hux::aMatrix* m), (s, m))
