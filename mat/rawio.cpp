#include "rawio.h"

#include <algorithm>
#include <cstring>

#include "detail_io.h"

namespace mutils {
namespace detail {
namespace {

/// Reverses the bytes of each of n elements of `size` bytes in place.
void reverse_elements(unsigned char* p, int64_t n, std::size_t size) {
    if (size < 2) return;
    for (int64_t i = 0; i < n; ++i, p += size) std::reverse(p, p + size);
}

/// Skips `offset` bytes from the current position.
bool skip(FILE* f, int32_t offset) {
    if (offset == 0) return true;
    if (std::fseek(f, offset, SEEK_CUR) == 0) return true;
    for (int32_t i = 0; i < offset; ++i)
        if (std::getc(f) == EOF) return false;
    return true;
}

template <class T> const char* read_raw(FILE* f, int32_t offset, bool swap, void* intrp, mat_t<T>* m) {
    if (!f) return msg::null_pointer;
    if (empty_or_valid(m)) return nullptr;
    if (offset < 0) return msg::illegal_data_value;
    if (!skip(f, offset)) return msg::io_error;
    const std::size_t n = std::size_t(m->nelem);
    const std::size_t got = std::fread(m->data, sizeof(T), n, f);
    if (swap) reverse_elements(reinterpret_cast<unsigned char*>(m->data), int64_t(got), sizeof(T));
    if (got != n) return msg::io_error;
    return Poll(intrp).add(2.0 * double(n) + 1000.0 * double(n * sizeof(T)));
}

template <class T> const char* write_raw(FILE* f, const mat_t<T>* m, bool swap, void* intrp) {
    if (!f) return msg::null_pointer;
    if (empty_or_valid(m)) return nullptr;
    const std::size_t n = std::size_t(m->nelem);
    if (!swap || sizeof(T) == 1) {
        if (std::fwrite(m->data, sizeof(T), n, f) != n) return msg::io_error;
    } else {
        // Reversed through a bounded work block rather than a copy of the whole matrix.
        constexpr std::size_t kBlock = 65536 / sizeof(T);
        T* block = work_array<T>(int64_t(std::min(n, kBlock)));
        for (std::size_t i = 0; i < n; i += kBlock) {
            const std::size_t k = std::min(kBlock, n - i);
            std::memcpy(block, m->data + i, k * sizeof(T));
            reverse_elements(reinterpret_cast<unsigned char*>(block), int64_t(k), sizeof(T));
            if (std::fwrite(block, sizeof(T), k, f) != k) return msg::io_error;
        }
    }
    return Poll(intrp).add(2.0 * double(n) + 1000.0 * double(n * sizeof(T)));
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_RAWIO(CODE, T)                                                                             \
    const char* mat##CODE##_read_raw(FILE* f, int32_t offset, unsigned char swap, void* i, mat_t<T>* m) { \
        return read_raw<T>(f, offset, swap != 0, i, m);                                                   \
    }                                                                                                     \
    const char* mat##CODE##_write_raw(FILE* f, const mat_t<T>* m, unsigned char swap, void* i) {          \
        return write_raw<T>(f, m, swap != 0, i);                                                          \
    }
MUTILS_RAWIO(dbl, double)
MUTILS_RAWIO(flt, float)
MUTILS_RAWIO(u16, uint16_t)
MUTILS_RAWIO(u32, uint32_t)
MUTILS_RAWIO(s16, int16_t)
MUTILS_RAWIO(s32, int32_t)
#undef MUTILS_RAWIO

const char* matu8_read_raw(FILE* f, int32_t offset, void* i, _uint8_mat* m) {
    return read_raw<unsigned char>(f, offset, false, i, m);
}
const char* matu8_write_raw(FILE* f, const _uint8_mat* m, void* i) { return write_raw<unsigned char>(f, m, false, i); }

const char* matuniv_read_raw(FILE* f, int32_t offset, unsigned char swap, void* intrp, _univ_mat* m) {
    if (!m) return msg::null_pointer;
    return dispatch(m->type, stream_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return read_raw<T>(f, offset, swap != 0, intrp, as<T>(m));
    });
}

const char* matuniv_write_raw(FILE* f, const _univ_mat* m, unsigned char swap, void* intrp) {
    if (!m) return msg::null_pointer;
    return dispatch(m->type, stream_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return write_raw<T>(f, as<T>(m), swap != 0, intrp);
    });
}

}  // namespace mutils

MUTILS_PLAIN(matuniv_read_raw, (FILE * f, int32_t offset, unsigned char swap, void* i, mutils::_univ_mat* m),
             (f, offset, swap, i, m))
MUTILS_PLAIN(matuniv_write_raw, (FILE * f, const mutils::_univ_mat* m, unsigned char swap, void* i), (f, m, swap, i))
