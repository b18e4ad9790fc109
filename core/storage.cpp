#include "storage.h"

#include <cstring>

#include "detail.h"

namespace mutils {
namespace detail {

namespace {

void* host_alloc(std::size_t bytes) { return Hux::ImcAllocator::m_current->allocate_array(bytes); }

template <class M> void typed_malloc(M* m, int32_t nrow, int32_t ncol) {
    require_pointer(m);
    if (nrow <= 0 || ncol <= 0) raise(msg::array_size_mismatch);
    int64_t n = int64_t(nrow) * ncol;
    m->nrow = nrow;
    m->ncol = ncol;
    m->nelem = static_cast<int32_t>(static_cast<uint32_t>(n));  // wraps like the 32-bit product
    m->data = static_cast<elem_of<M>*>(host_alloc(std::size_t(n) * sizeof(elem_of<M>)));
}

template <class M> void typed_realloc(M* m, int32_t nrow, int32_t ncol) {
    validate(m);
    if (nrow <= 0 || ncol <= 0) raise(msg::array_size_mismatch);
    std::size_t old_bytes = std::size_t(m->nelem) * sizeof(elem_of<M>);
    int64_t n = int64_t(nrow) * ncol;
    std::size_t new_bytes = std::size_t(n) * sizeof(elem_of<M>);
    m->nrow = nrow;
    m->ncol = ncol;
    m->nelem = static_cast<int32_t>(static_cast<uint32_t>(n));
    if (new_bytes >= old_bytes) {
        void* block = host_alloc(new_bytes);
        std::memcpy(block, m->data, old_bytes);  // only the old bytes exist to be copied
        m->data = static_cast<elem_of<M>*>(block);
    }
}

template <class M> void typed_wrap(M* m, elem_of<M>* data, int32_t nrow, int32_t ncol) {
    require_pointer(m);
    m->nrow = nrow;
    m->ncol = ncol;
    m->nelem = static_cast<int32_t>(static_cast<uint32_t>(int64_t(nrow) * ncol));
    m->data = data;
    validate(m);
}

/// Calls f with the typed record of the universal matrix's element size.
template <class F> void by_size(_univ_mat* m, F&& f) {
    switch (m->type) {
        case MUTIL_UINT8: f(as<unsigned char>(m)); break;
        case MUTIL_UINT16:
        case MUTIL_SINT16: f(as<uint16_t>(m)); break;
        case MUTIL_UINT32:
        case MUTIL_SINT32:
        case MUTIL_FLOAT: f(as<uint32_t>(m)); break;
        case MUTIL_DOUBLE: f(as<double>(m)); break;
        case MUTIL_DCOMPLEX: f(as<_dcomplex>(m)); break;
        default: raise(msg::illegal_data_type);
    }
}

}  // namespace

void validate_univ(const _univ_mat* m) {
    require_pointer(m);
    by_size(const_cast<_univ_mat*>(m), [](auto* typed) { validate(typed); });
}

void validate_set(const _mat_set* s) {
    require_pointer(s);
    if (!s->dims || !s->mats) raise(msg::null_pointer);
    if (s->ndim <= 0 || s->nmat <= 0) raise(msg::array_size_mismatch);
    for (int32_t i = 0; i < s->ndim; ++i)
        if (s->dims[i] <= 0) raise(msg::array_size_mismatch);
    int64_t product = 1;
    for (int32_t i = 0; i < s->ndim && product <= INT32_MAX; ++i) product *= s->dims[i];
    if (product != s->nmat) raise(msg::illegal_data_value);
}

}  // namespace detail

using namespace detail;

#define MUTILS_STORAGE(CODE, REC)                                                                  \
    void mat##CODE##_malloc(REC* m, int32_t nrow, int32_t ncol) { typed_malloc(m, nrow, ncol); }   \
    void mat##CODE##_realloc(REC* m, int32_t nrow, int32_t ncol) { typed_realloc(m, nrow, ncol); } \
    void mat##CODE##_validate(const REC* m) { validate(m); }
MUTILS_STORAGE(dbl, _double_mat)
MUTILS_STORAGE(flt, _float_mat)
MUTILS_STORAGE(u8, _uint8_mat)
MUTILS_STORAGE(u16, _uint16_mat)
MUTILS_STORAGE(u32, _uint32_mat)
MUTILS_STORAGE(s16, _sint16_mat)
MUTILS_STORAGE(s32, _sint32_mat)
MUTILS_STORAGE(cpx, _dcomplex_mat)
#undef MUTILS_STORAGE

#define MUTILS_WRAP(CODE, REC)                                                           \
    void mat##CODE##_wrap_data(REC* m, elem_of<REC>* data, int32_t nrow, int32_t ncol) { \
        typed_wrap(m, data, nrow, ncol);                                                 \
    }
MUTILS_WRAP(dbl, _double_mat)
MUTILS_WRAP(flt, _float_mat)
MUTILS_WRAP(u8, _uint8_mat)
MUTILS_WRAP(u16, _uint16_mat)
MUTILS_WRAP(u32, _uint32_mat)
MUTILS_WRAP(s16, _sint16_mat)
MUTILS_WRAP(s32, _sint32_mat)
#undef MUTILS_WRAP

void matuniv_malloc(_univ_mat* m, int32_t nrow, int32_t ncol, _mutil_data_type type) {
    require_pointer(m);
    m->type = type;
    by_size(m, [&](auto* typed) { typed_malloc(typed, nrow, ncol); });
}

void matuniv_realloc(_univ_mat* m, int32_t nrow, int32_t ncol) {
    require_pointer(m);
    by_size(m, [&](auto* typed) { typed_realloc(typed, nrow, ncol); });
}

void matuniv_validate(const _univ_mat* m) { validate_univ(m); }

void matuniv_wrap_data(_univ_mat* m, void* data, int32_t nrow, int32_t ncol, _mutil_data_type type) {
    require_pointer(m);
    require_pointer(data);
    m->type = type;
    if (int32_t(type) < 0 || int32_t(type) > 8) raise(msg::illegal_data_value);
    m->data = data;
    m->nrow = nrow;
    m->ncol = ncol;
    m->nelem = static_cast<int32_t>(static_cast<uint32_t>(int64_t(nrow) * ncol));
}

void matuniv_wrap_matrix(_univ_mat* m, void* typed, _mutil_data_type type) {
    require_pointer(m);
    require_pointer(typed);
    m->type = type;
    if (int32_t(type) < 0 || int32_t(type) > 8) raise(msg::illegal_data_value);
    // Every typed record has the same four fields; copy them as bytes of one layout.
    static_assert(sizeof(_double_mat) == sizeof(_uint8_mat) && sizeof(_double_mat) == sizeof(_dcomplex_mat));
    _double_mat t;
    std::memcpy(&t, typed, sizeof t);
    m->nrow = t.nrow;
    m->ncol = t.ncol;
    m->nelem = t.nelem;
    m->data = t.data;
}

void matset_malloc(_mat_set* s, int32_t ndim, const int32_t* dims) {
    require_pointer(s);
    require_pointer(dims);
    if (ndim <= 0) raise(msg::array_size_mismatch);
    s->dims = static_cast<int32_t*>(host_alloc(std::size_t(ndim) * sizeof(int32_t)));
    s->ndim = ndim;
    s->nmat = 1;
    int64_t product = 1;
    for (int32_t i = 0; i < ndim; ++i) {
        if (dims[i] <= 0) raise(msg::array_size_mismatch);
        s->dims[i] = dims[i];
        product *= dims[i];
        if (product > INT32_MAX) raise(msg::array_size_mismatch);
        s->nmat = static_cast<int32_t>(product);
    }
    s->mats = static_cast<_univ_mat*>(host_alloc(std::size_t(product) * sizeof(_univ_mat)));
}

void matset_malloc_matrices(_mat_set* s, int32_t nrow, int32_t ncol, _mutil_data_type type) {
    validate_set(s);
    for (int32_t i = 0; i < s->nmat; ++i) matuniv_malloc(&s->mats[i], nrow, ncol, type);
}

void matset_malloc_matrices_arbitrary_size(_mat_set* s, const _sint32_mat* nrows, const _sint32_mat* ncols,
                                           _mutil_data_type type) {
    validate_set(s);
    validate(nrows);
    validate(ncols);
    if (nrows->nelem != ncols->nelem) raise(msg::array_size_mismatch);
    if (s->nmat != nrows->nelem) raise(msg::array_size_mismatch);
    for (int32_t i = 0; i < s->nmat; ++i) matuniv_malloc(&s->mats[i], nrows->data[i], ncols->data[i], type);
}

void matset_resize(int32_t ndim, const int32_t* dims, _mat_set* s) {
    validate_set(s);
    require_pointer(dims);
    if (ndim < 1) raise(msg::illegal_data_value);
    // Extents must be positive as well, so that the reshaped set still validates.
    int64_t product = 1;
    for (int32_t i = 0; i < ndim; ++i) {
        if (dims[i] <= 0) raise(msg::array_size_mismatch);
        product *= dims[i];
        if (product > INT32_MAX) raise(msg::array_size_mismatch);
    }
    if (product != s->nmat) raise(msg::array_size_mismatch);
    int32_t* copy = static_cast<int32_t*>(host_alloc(std::size_t(ndim) * sizeof(int32_t)));
    std::memcpy(copy, dims, std::size_t(ndim) * sizeof(int32_t));
    s->ndim = ndim;
    s->dims = copy;
}

void matset_validate(const _mat_set* s) { validate_set(s); }

void matset_verify_allsame(const _mat_set* s) {
    validate_set(s);
    const _univ_mat& first = s->mats[0];
    for (int32_t i = 1; i < s->nmat; ++i) {
        if (s->mats[i].type != first.type) raise(msg::illegal_data_type);
        if (s->mats[i].nrow != first.nrow || s->mats[i].ncol != first.ncol) raise(msg::array_size_mismatch);
    }
}

void matset_verify_aresame(const _mat_set* a, const _mat_set* b) {
    validate_set(a);
    validate_set(b);
    if (a->ndim != b->ndim) raise(msg::array_size_mismatch);
    for (int32_t i = 0; i < a->ndim; ++i)
        if (a->dims[i] != b->dims[i]) raise(msg::array_size_mismatch);
    if (a->nmat != b->nmat) raise(msg::array_size_mismatch);
    for (int32_t i = 0; i < a->nmat; ++i) {
        if (a->mats[i].type != b->mats[i].type) raise(msg::illegal_data_type);
        if (a->mats[i].nrow != b->mats[i].nrow || a->mats[i].ncol != b->mats[i].ncol) raise(msg::array_size_mismatch);
    }
}

void matset_free(_mat_set* s) {
    require_pointer(s);
    s->ndim = 0;
    s->dims = nullptr;
    s->nmat = 0;
    s->mats = nullptr;
}

void matset_free_matrices(_mat_set* s) { validate_set(s); }

void mutil_malloc(int32_t nbytes, void** out) {
    require_pointer(out);
    *out = host_alloc(std::size_t(uint32_t(nbytes)));
}

void mutil_calloc(int32_t count, uint32_t size, void** out) {
    require_pointer(out);
    *out = host_alloc(std::size_t(uint32_t(count)) * size);
}

void mutil_realloc(void** block, int32_t new_size, int32_t old_size) {
    require_pointer(block);
    if (new_size < old_size) return;
    void* fresh = host_alloc(std::size_t(uint32_t(new_size)));
    if (*block && old_size > 0) std::memcpy(fresh, *block, std::size_t(old_size));
    *block = fresh;
}

}  // namespace mutils

namespace mu = mutils;

MUTILS_PLAIN_VOID(matuniv_malloc, (mu::_univ_mat * m, int32_t r, int32_t c, mu::_mutil_data_type t), (m, r, c, t))
MUTILS_PLAIN_VOID(matdbl_malloc, (mu::_double_mat * m, int32_t r, int32_t c), (m, r, c))
MUTILS_PLAIN_VOID(matuniv_validate, (const mu::_univ_mat* m), (m))
MUTILS_PLAIN_VOID(matuniv_wrap_matrix, (mu::_univ_mat * m, void* t, mu::_mutil_data_type ty), (m, t, ty))
MUTILS_PLAIN_VOID(matuniv_wrap_data, (mu::_univ_mat * m, void* d, int32_t r, int32_t c, mu::_mutil_data_type t),
                  (m, d, r, c, t))
MUTILS_PLAIN_VOID(matset_malloc, (mu::_mat_set * s, int32_t n, const int32_t* d), (s, n, d))
MUTILS_PLAIN_VOID(matset_malloc_matrices, (mu::_mat_set * s, int32_t r, int32_t c, mu::_mutil_data_type t),
                  (s, r, c, t))
MUTILS_PLAIN_VOID(matset_free, (mu::_mat_set * s), (s))
MUTILS_PLAIN_VOID(matset_free_matrices, (mu::_mat_set * s), (s))
MUTILS_PLAIN_VOID(mutil_malloc, (int32_t n, void** out), (n, out))

mu::_mutil_errcode matdbl_free(mu::_double_mat*) { return mu::MUTIL_ERR_OK; }
mu::_mutil_errcode matuniv_free(mu::_univ_mat*) { return mu::MUTIL_ERR_OK; }
mu::_mutil_errcode mutil_free(void*) { return mu::MUTIL_ERR_OK; }
