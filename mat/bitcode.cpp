#include "bitcode.h"

#include <algorithm>
#include <type_traits>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

uint64_t low_mask(uint32_t nbits) { return (uint64_t(1) << nbits) - 1; }

template <class T> const char* compact(const T* src, int64_t n, uint32_t nbits, unsigned char* out, int64_t nout) {
    constexpr bool is_signed = std::is_signed_v<T>;
    const int64_t lo = is_signed ? -(int64_t(1) << (nbits - 1)) : 0;
    const int64_t hi = is_signed ? (int64_t(1) << (nbits - 1)) - 1 : int64_t(low_mask(nbits));
    std::fill(out, out + nout, 0);
    uint64_t acc = 0;  // fewer than 8 pending bits before each code
    uint32_t fill = 0;
    int64_t k = 0;
    for (int64_t i = 0; i < n; ++i) {
        const int64_t v = src[i];
        if (v < lo || v > hi) return msg::illegal_data_value;
        acc = (acc << nbits) | (uint64_t(v) & low_mask(nbits));
        fill += nbits;
        for (; fill >= 8; fill -= 8) out[k++] = static_cast<unsigned char>(acc >> (fill - 8));
        acc &= low_mask(fill);
    }
    if (fill > 0) out[k] = static_cast<unsigned char>(acc << (8 - fill));
    return nullptr;
}

template <class T> void expand(const unsigned char* in, int64_t ncodes, uint32_t nbits, T* dst, int64_t ndst) {
    uint64_t acc = 0;
    uint32_t fill = 0;
    int64_t k = 0;
    for (int64_t i = 0; i < ncodes; ++i) {
        for (; fill < nbits; fill += 8) acc = (acc << 8) | in[k++];
        const uint64_t code = (acc >> (fill - nbits)) & low_mask(nbits);
        fill -= nbits;
        acc &= low_mask(fill);
        int64_t v = int64_t(code);
        if (std::is_signed_v<T> && (code >> (nbits - 1)) != 0) v -= int64_t(1) << nbits;
        dst[i] = T(v);
    }
    std::fill(dst + ncodes, dst + ndst, T(0));
}

const char* bit_code(const _univ_mat* a, uint32_t nbits, uint32_t ncodes, bool unpack, void* intrp, _univ_mat* r) {
    if (!a || !r) return msg::null_pointer;
    validate_univ(a);
    validate_univ(r);
    if (nbits < 1 || nbits > 32) return msg::illegal_data_value;
    const _univ_mat* bytes = unpack ? a : r;
    const _univ_mat* values = unpack ? r : a;
    if (bytes->type != MUTIL_UINT8 || !is_integer_tag(values->type)) return msg::illegal_data_type;
    MUTILS_TRY(require_distinct(a, r));
    const int64_t n = ncodes ? int64_t(ncodes) : values->nelem;
    if (n > values->nelem || (n * nbits + 7) / 8 > bytes->nelem) return msg::array_size_mismatch;
    if (unpack && nbits > 8 * elem_size(values->type)) return msg::illegal_data_value;
    auto* packed = static_cast<unsigned char*>(bytes->data);
    MUTILS_TRY(dispatch(values->type, integer_types{}, [&](auto t) -> const char* {
        using T = typename decltype(t)::type;
        if (!unpack) return compact(static_cast<const T*>(a->data), n, nbits, packed, bytes->nelem);
        expand(packed, n, nbits, static_cast<T*>(r->data), r->nelem);
        return nullptr;
    }));
    return Poll(intrp).add(5.0 * double(n));
}

}  // namespace
}  // namespace detail

const char* matuniv_bit_compact_fixed_length_code(const _univ_mat* a, uint32_t nbits, uint32_t ncodes,
                                                  unsigned char expand, void* intrp, _univ_mat* r) {
    return detail::bit_code(a, nbits, ncodes, expand != 0, intrp, r);
}

}  // namespace mutils
