// Internal: universal scalars seen in an element type, by the rules every universal operation
// with a scalar argument follows (not part of the installed interface).
#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

#include "detail.h"

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

/// Brings a universal scalar to element type `target` (the tag of a result matrix):
/// - a complex scalar or a complex target gives "Illegal data type" unless `complex_ok`, and
///   even then a complex scalar goes only to a complex target;
/// - the same tag is taken as it is;
/// - otherwise a float or double scalar with an integer target gives "Illegal data type";
///   the value is read as a double (u32 as unsigned) and an integer target admits only the
///   symmetric ranges u8 [0, 255], s8 [-127, 127], u16 [0, 65535], s16 [-32767, 32767],
///   u32 [0, 4294967295], s32 [-2147483647, 2147483647] ("Illegal data type" outside);
///   a floating target takes any value, a complex one gets it as the real part.
/// A tag outside 0..8 on either side gives "Illegal data type".
const char* scalar_to(_univ_scalar s, int32_t target, bool complex_ok, _univ_scalar* out);

/// The member of a scalar that element type T reads.
template <class T> inline T scalar_get(const _univ_scalar& s) {
    if constexpr (std::is_same_v<T, unsigned char>)
        return s.val.u8;
    else if constexpr (std::is_same_v<T, uint16_t>)
        return s.val.u16;
    else if constexpr (std::is_same_v<T, int16_t>)
        return s.val.s16;
    else if constexpr (std::is_same_v<T, uint32_t>)
        return s.val.u32;
    else if constexpr (std::is_same_v<T, int32_t>)
        return s.val.s32;
    else if constexpr (std::is_same_v<T, float>)
        return s.val.flt;
    else if constexpr (std::is_same_v<T, double>)
        return s.val.dbl;
    else
        return s.val.cpx;
}

/// A scalar of element type T carrying T's tag.
template <class T> inline _univ_scalar make_scalar(T v) {
    _univ_scalar s{};
    s.type = elem<T>::tag;
    if constexpr (std::is_same_v<T, unsigned char>)
        s.val.u8 = v;
    else if constexpr (std::is_same_v<T, uint16_t>)
        s.val.u16 = v;
    else if constexpr (std::is_same_v<T, int16_t>)
        s.val.s16 = v;
    else if constexpr (std::is_same_v<T, uint32_t>)
        s.val.u32 = v;
    else if constexpr (std::is_same_v<T, int32_t>)
        s.val.s32 = v;
    else if constexpr (std::is_same_v<T, float>)
        s.val.flt = v;
    else
        s.val.dbl = v;
    return s;
}

}  // namespace detail
}  // namespace mutils
