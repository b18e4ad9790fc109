#include "graymap.h"

#include <algorithm>
#include <cmath>

#include "detail_pixels.h"

namespace mutils {
namespace detail {
namespace {

// ---- window / level -------------------------------------------------------------------------

struct Window {
    double low, high, scale;
    bool inverted;
    Window(double lo, double hi) : low(lo), high(hi), inverted(lo > hi) {
        if (inverted) std::swap(low, high);
        scale = high == low ? 0.0 : 256.0 / (high - low);
    }
    unsigned char operator()(double x) const {
        if (x <= low) return inverted ? 255 : 0;
        if (x >= high) return inverted ? 0 : 255;
        double f = inverted ? std::floor(256.0 - (x - low) * scale) : std::floor((x - low) * scale);
        if (!(f >= 0.0)) return 0;  // NaN pixels land here too
        return f >= 255.0 ? 255 : static_cast<unsigned char>(f);
    }
};

template <class T> const char* window_level(const mat_t<T>* a, double low, double high, void* intrp, _uint8_mat* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(a, r));
    const Window w(low, high);
    const int64_t n = a->nelem;
    if constexpr (std::is_same_v<T, unsigned char>) {
        unsigned char lut[256];
        for (int v = 0; v < 256; ++v) lut[v] = w(v);
        for (int64_t i = 0; i < n; ++i) r->data[i] = lut[a->data[i]];
    } else {
        for (int64_t i = 0; i < n; ++i) r->data[i] = w(double(a->data[i]));
    }
    return Poll(intrp).add(3.0 * double(n));
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_WINDOW(CODE, T)                                                                          \
    const char* img##CODE##_map_window_level(const mat_t<T>* a, double low, double high, void* intrp,  \
                                             _uint8_mat* r) {                                           \
        return window_level<T>(a, low, high, intrp, r);                                                 \
    }
MUTILS_WINDOW(u8, unsigned char)
MUTILS_WINDOW(u16, uint16_t)
MUTILS_WINDOW(u32, uint32_t)
MUTILS_WINDOW(s32, int32_t)
MUTILS_WINDOW(dbl, double)
#undef MUTILS_WINDOW

const char* imguniv_map_window_level(const _univ_mat* a, double low, double high, void* intrp, _univ_mat* r) {
    if (!a || !r) return msg::null_pointer;
    if (r->type != MUTIL_UINT8) return msg::illegal_data_type;
    return dispatch(a->type, types<unsigned char, uint16_t, uint32_t, int32_t, double>{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return window_level<T>(as<T>(a), low, high, intrp, as<unsigned char>(r));
    });
}

}  // namespace mutils
