#include "detail.h"

namespace mutils {
namespace detail {
namespace {

// Admitted scalar ranges of the integer tags 0..5, symmetric for the signed types on purpose:
// the most negative value of a signed type is refused although the type holds it.
constexpr double kScalarLo[6] = {0.0, -127.0, 0.0, -32767.0, 0.0, -2147483647.0};
constexpr double kScalarHi[6] = {255.0, 127.0, 65535.0, 32767.0, 4294967295.0, 2147483647.0};

}  // namespace

const char* common_refusal(int32_t from, int32_t to) {
    if (from == to) return nullptr;
    if (!is_matrix_tag(from) || !is_matrix_tag(to)) return msg::illegal_data_type;
    if (!is_integer_tag(from) && is_integer_tag(to)) return msg::illegal_data_type;
    if (from == MUTIL_DCOMPLEX && to != MUTIL_DOUBLE) return msg::illegal_data_type;
    return nullptr;
}

const char* scalar_to(_univ_scalar s, int32_t target, bool complex_ok, _univ_scalar* out) {
    if (s.type < 0 || s.type > 8 || target < 0 || target > 8) return msg::illegal_data_type;
    const bool complex_scalar = s.type == MUTIL_DCOMPLEX, complex_target = target == MUTIL_DCOMPLEX;
    if ((complex_scalar || complex_target) && !complex_ok) return msg::illegal_data_type;
    if (complex_scalar && !complex_target) return msg::illegal_data_type;
    *out = s;
    if (s.type == target) return nullptr;
    out->type = static_cast<_mutil_data_type>(target);
    const bool integer_target = is_integer_tag(target);
    if (integer_target && (s.type == MUTIL_FLOAT || s.type == MUTIL_DOUBLE)) return msg::illegal_data_type;
    const double v = scalar_value(s);
    if (integer_target && !(v >= kScalarLo[target] && v <= kScalarHi[target])) return msg::illegal_data_type;
    out->val = {};
    switch (target) {
        case MUTIL_UINT8: out->val.u8 = static_cast<unsigned char>(v); break;
        case MUTIL_SINT8: out->val.s8 = static_cast<signed char>(v); break;
        case MUTIL_UINT16: out->val.u16 = static_cast<uint16_t>(v); break;
        case MUTIL_SINT16: out->val.s16 = static_cast<int16_t>(v); break;
        case MUTIL_UINT32: out->val.u32 = static_cast<uint32_t>(v); break;
        case MUTIL_SINT32: out->val.s32 = static_cast<int32_t>(v); break;
        case MUTIL_FLOAT: out->val.flt = static_cast<float>(v); break;
        case MUTIL_DOUBLE: out->val.dbl = v; break;
        default: out->val.cpx = {v, 0.0}; break;
    }
    return nullptr;
}

}  // namespace detail
}  // namespace mutils
