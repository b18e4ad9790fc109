// Internal: reading a universal scalar in a matrix's element type, by the rule that every
// universal operation with a scalar argument follows (not part of the installed interface).
#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

#include "../core/detail.h"

namespace mutils {
namespace detail {

/// The scalar's value as a double (u32 read as unsigned); complex scalars give their real part.
inline double scalar_value(const _univ_scalar& s) {
    switch (s.type) {
        case MUTIL_UINT8: return s.val.u8;
        case MUTIL_SINT8: return s.val.s8;
        case MUTIL_UINT16: return s.val.u16;
        case MUTIL_SINT16: return s.val.s16;
        case MUTIL_UINT32: return s.val.u32;
        case MUTIL_SINT32: return s.val.s32;
        case MUTIL_FLOAT: return s.val.flt;
        case MUTIL_DOUBLE: return s.val.dbl;
        default: return s.val.cpx.re;
    }
}

/// Brings s to element type T (a real matrix type): a scalar of T's own tag is taken as it is;
/// a complex scalar, a tag outside 0..7, or a float or double scalar for an integer T gives
/// "Illegal data type"; an integer scalar for an integer T must lie in T's symmetric range
/// (u8 [0, 255], u16 [0, 65535], s16 [-32767, 32767], u32 [0, 4294967295], s32 [-2147483647,
/// 2147483647]), else "Illegal data type"; a floating T takes any value.
template <class T> const char* read_scalar(const _univ_scalar& s, T* out) {
    if (s.type < 0 || s.type > MUTIL_DOUBLE) return msg::illegal_data_type;
    if constexpr (std::is_same_v<T, unsigned char>) {
        if (s.type == MUTIL_UINT8) return *out = s.val.u8, nullptr;
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        if (s.type == MUTIL_UINT16) return *out = s.val.u16, nullptr;
    } else if constexpr (std::is_same_v<T, int16_t>) {
        if (s.type == MUTIL_SINT16) return *out = s.val.s16, nullptr;
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        if (s.type == MUTIL_UINT32) return *out = s.val.u32, nullptr;
    } else if constexpr (std::is_same_v<T, int32_t>) {
        if (s.type == MUTIL_SINT32) return *out = s.val.s32, nullptr;
    } else if constexpr (std::is_same_v<T, float>) {
        if (s.type == MUTIL_FLOAT) return *out = s.val.flt, nullptr;
    } else {
        static_assert(std::is_same_v<T, double>, "a real element type");
        if (s.type == MUTIL_DOUBLE) return *out = s.val.dbl, nullptr;
    }
    const double v = scalar_value(s);
    if constexpr (std::is_integral_v<T>) {
        if (s.type == MUTIL_FLOAT || s.type == MUTIL_DOUBLE) return msg::illegal_data_type;
        const double hi = double(std::numeric_limits<T>::max());
        const double lo = std::is_signed_v<T> ? -hi : 0.0;
        if (!(v >= lo && v <= hi)) return msg::illegal_data_type;
    }
    *out = T(v);
    return nullptr;
}

}  // namespace detail
}  // namespace mutils
