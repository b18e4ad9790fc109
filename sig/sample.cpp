// Down- and up-sampling by integer factors.
#include "sample.h"

#include <algorithm>
#include <cstring>

#include "../core/detail.h"

namespace mutils {
namespace detail {
namespace {

/// One dimension of n samples under factor f and mode (0 down, 1 up): the new size, and the
/// number of source samples that are copied.
struct Axis {
    int64_t size, count;
    bool up;
    int64_t src(int64_t k, int64_t f) const { return up ? k : k * f; }
    int64_t dst(int64_t k, int64_t f) const { return up ? k * f : k; }
};

Axis axis(int64_t n, int64_t f, bool up) {
    if (up) return {n * f, n, true};
    const int64_t size = f == 1 ? n : std::max<int64_t>(1, (n + 1) / f);
    return {size, size, false};
}

template <class T> const char* sample(const mat_t<T>* in, int32_t rf, int32_t cf, unsigned char rmode,
                                      unsigned char cmode, void* intrp, mat_t<T>* out) {
    validate(in);
    require_pointer(out);
    if (rf < 1 || cf < 1) return msg::illegal_data_value;
    if (rmode > 1 || cmode > 1) return nullptr;
    const Axis rows = axis(in->nrow, rf, rmode == 1), cols = axis(in->ncol, cf, cmode == 1);
    if (rows.size > INT32_MAX || cols.size > INT32_MAX || rows.size * cols.size > INT32_MAX)
        return msg::illegal_data_value;
    _univ_mat u;
    matuniv_malloc(&u, int32_t(rows.size), int32_t(cols.size), elem<T>::tag);
    *out = *as<T>(&u);
    if (rows.up || cols.up) std::memset(static_cast<void*>(out->data), 0, sizeof(T) * std::size_t(out->nelem));
    Poll poll(intrp);
    const int64_t nc = in->ncol, oc = out->ncol;
    for (int64_t i = 0; i < rows.count; ++i) {
        const T* src = in->data + rows.src(i, rf) * nc;
        T* dst = out->data + rows.dst(i, rf) * oc;
        if (!cols.up && cf == 1) {
            std::memcpy(static_cast<void*>(dst), src, sizeof(T) * std::size_t(cols.count));
        } else {
            for (int64_t j = 0; j < cols.count; ++j) dst[cols.dst(j, cf)] = src[cols.src(j, cf)];
        }
        MUTILS_TRY(poll.add(6.0 * double(cols.count)));
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_SAMPLE(CODE, T)                                                                                    \
    const char* sig##CODE##_sample(const mat_t<T>* d, int32_t rf, int32_t cf, unsigned char rm, unsigned char cm, \
                                   void* i, mat_t<T>* r) {                                                        \
        return sample<T>(d, rf, cf, rm, cm, i, r);                                                                \
    }
MUTILS_SAMPLE(dbl, double)
MUTILS_SAMPLE(flt, float)
MUTILS_SAMPLE(s32, int32_t)
MUTILS_SAMPLE(s16, int16_t)
MUTILS_SAMPLE(u8, unsigned char)
MUTILS_SAMPLE(cpx, _dcomplex)
#undef MUTILS_SAMPLE

const char* siguniv_sample(const _univ_mat* d, int32_t rf, int32_t cf, unsigned char rm, unsigned char cm, void* i,
                           _univ_mat* r) {
    if (!d || !r) return msg::null_pointer;
    // Members of equal width share their body: the samples are only moved.
    const int32_t tag = d->type == MUTIL_UINT16 ? MUTIL_SINT16 : d->type == MUTIL_UINT32 ? MUTIL_SINT32 : d->type;
    const char* err = dispatch(tag, types<unsigned char, int16_t, int32_t, float, double, _dcomplex>{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return sample<T>(as<T>(d), rf, cf, rm, cm, i, as<T>(r));
    });
    if (!err) r->type = d->type;
    return err;
}

}  // namespace mutils
