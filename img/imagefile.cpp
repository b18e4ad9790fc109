#include "imagefile.h"

#include <sys/stat.h>

#include <cctype>
#include <cstring>

#include "detail_pixels.h"
#include "graymap.h"

namespace mutils {
namespace detail {
namespace {

using binarisable_types = types<unsigned char, uint16_t, uint32_t, int32_t, double>;
using bit_result_types = types<unsigned char, uint16_t, uint32_t, double>;

// Bytes left in a regular file after the current position; -1 when the stream has no known size.
int64_t bytes_left(FILE* f) {
    struct stat st;
    if (fstat(fileno(f), &st) != 0 || !S_ISREG(st.st_mode)) return -1;
    const long pos = std::ftell(f);
    return pos < 0 ? -1 : int64_t(st.st_size) - pos;
}

// Skips n bytes forward: a seek where the stream allows one, else reading them.
bool skip_bytes(FILE* f, int64_t n) {
    if (n == 0 || std::fseek(f, long(n), SEEK_CUR) == 0) return true;
    for (; n > 0; --n)
        if (std::getc(f) == EOF) return false;
    return true;
}

// Text assembled in blocks and written with fwrite; `failed` after the first short write.
class TextOut {
public:
    explicit TextOut(FILE* f) : m_f(f) {}
    void put(char c) {
        m_buf[m_n++] = c;
        if (m_n == sizeof m_buf) flush();
    }
    void put(const char* s, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) put(s[i]);
    }
    bool flush() {
        if (m_n && std::fwrite(m_buf, 1, m_n, m_f) != m_n) m_failed = true;
        m_n = 0;
        return !m_failed;
    }

private:
    FILE* m_f;
    char m_buf[1 << 16];
    std::size_t m_n = 0;
    bool m_failed = false;
};

// The image binarised to u8: 0 at or below the threshold, 255 above it.
const char* binarise(const _univ_mat* image, double threshold, void* intrp, _uint8_mat* out) {
    *out = work_matrix<unsigned char>(image->nrow, image->ncol);
    _univ_mat u{out->nrow, out->ncol, out->nelem, out->data, MUTIL_UINT8};
    return imguniv_map_window_level(image, threshold, threshold, intrp, &u);
}

const char* write_bits_text(FILE* f, const _uint8_mat& bin, const char* separator, uint16_t width, Poll& poll) {
    const char* sep = separator ? separator : " ";
    const std::size_t sep_len = std::strlen(sep), pixel_len = 1 + sep_len;
    TextOut out(f);
    std::size_t line = 0;
    for (int32_t i = 0; i < bin.nelem; ++i) {
        if (line > 0 && line + pixel_len > width) {  // a line holds at least one pixel
            out.put('\n');
            line = 0;
            MUTILS_TRY(poll.add(1000.0));
        }
        out.put(bin.data[i] == 0 ? '1' : '0');
        out.put(sep, sep_len);
        line += pixel_len;
    }
    out.put('\n');
    return out.flush() ? nullptr : msg::io_error;
}

const char* write_bits_packed(FILE* f, const _uint8_mat& bin, Poll& poll) {
    const int64_t n = bin.nelem, bytes = (n + 7) / 8;
    unsigned char* packed = work_array_zero<unsigned char>(bytes);
    for (int64_t i = 0; i < n; ++i)
        if (bin.data[i] == 0) packed[i >> 3] |= static_cast<unsigned char>(0x80u >> (i & 7));
    MUTILS_TRY(poll.add(5.0 * double(n)));
    return std::fwrite(packed, 1, std::size_t(bytes), f) == std::size_t(bytes) ? nullptr : msg::io_error;
}

// Reads n pixels as bits: zero[i] = 1 where the file holds a 0.
const char* read_bits_packed(FILE* f, int32_t offset, int64_t n, unsigned char* zero) {
    if (!skip_bytes(f, offset)) return msg::io_error;
    const int64_t bytes = (n + 7) / 8, left = bytes_left(f);
    if (left >= 0 && left < bytes) return msg::io_error;
    unsigned char* packed = work_array<unsigned char>(bytes);
    if (std::fread(packed, 1, std::size_t(bytes), f) != std::size_t(bytes)) return msg::io_error;
    for (int64_t i = 0; i < n; ++i) zero[i] = (packed[i >> 3] & (0x80u >> (i & 7))) == 0;
    return nullptr;
}

const char* read_bits_text(FILE* f, char separator, char comment, int64_t n, unsigned char* zero) {
    for (int64_t i = 0; i < n;) {
        const int c = std::getc(f);
        if (c == EOF) return msg::io_error;
        if (c == comment) {
            int d;
            while ((d = std::getc(f)) != EOF && d != '\n') {}
        } else if (c >= '0' && c <= '9') {
            zero[i++] = c == '0';
        } else if (!std::isspace(c) && c != separator) {
            return msg::io_error;
        }
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* imguniv_write_to_bits(FILE* f, const _univ_mat* image, double threshold, unsigned char packed,
                                  const char* separator, uint16_t line_width, void* intrp) {
    if (!f || !image) return msg::null_pointer;
    validate_univ(image);
    _uint8_mat bin;
    MUTILS_TRY(binarise(image, threshold, intrp, &bin));
    Poll poll(intrp);
    return packed ? write_bits_packed(f, bin, poll) : write_bits_text(f, bin, separator, line_width, poll);
}

const char* imguniv_read_from_bits(FILE* f, _univ_scalar value, unsigned char packed, int32_t offset, char separator,
                                   char comment, void* intrp, _univ_mat* r) {
    if (!f) return msg::null_pointer;
    if (packed && offset < 0) return msg::illegal_data_value;
    if (!r || r->type != value.type) return msg::illegal_data_type;
    validate_univ(r);
    return dispatch(r->type, bit_result_types{}, [&](auto t) -> const char* {
        using T = typename decltype(t)::type;
        const int64_t n = r->nelem;
        unsigned char* zero = work_array<unsigned char>(n);
        MUTILS_TRY(packed ? read_bits_packed(f, offset, n, zero) : read_bits_text(f, separator, comment, n, zero));
        Poll poll(intrp);
        MUTILS_TRY(poll.add(double(n)));
        const T v = scalar_value<T>(value);
        T* out = static_cast<T*>(r->data);
        for (int64_t i = 0; i < n; ++i) out[i] = zero[i] ? v : T(0);
        return poll.add(2.0 * double(n));
    });
}

const char* imguniv_write_pbm(FILE* f, const _univ_mat* image, double threshold, unsigned char text, void* intrp) {
    if (!f || !image) return msg::null_pointer;
    validate_univ(image);
    // Refused before the header goes out, so a failed call leaves no partial file behind.
    MUTILS_TRY(dispatch(image->type, binarisable_types{}, [](auto) -> const char* { return nullptr; }));
    if (std::fprintf(f, "P%d %ld %ld\n", text ? 1 : 4, long(image->ncol), long(image->nrow)) < 0)
        return msg::io_error;
    return imguniv_write_to_bits(f, image, threshold, !text, " ", 70, intrp);
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_write_pbm,
             (FILE * f, const mutils::_univ_mat* a, double t, unsigned char text, void* i), (f, a, t, text, i))
