#include "imagefile.h"

#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "../core/storage.h"
#include "../mat/rawio.h"
#include "../mat/stats.h"
#include "../mat/textio.h"
#include "../mat/tile.h"
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

// ---- anymap headers ----------------------------------------------------------------------------

// The header is read character by character following the conversions "P%d", "%ld", "%ld" and
// "%lf" of formatted input (blanks before each number skipped), so that no number can overflow
// and nothing past the header is consumed.
struct Anymap {
    int64_t magic = 0, width = 0, height = 0;
    double maxval = 1;
};

constexpr int64_t kSaturated = int64_t(1) << 40;  // larger sizes are refused anyway

void skip_blanks(FILE* f) {
    int c;
    do c = std::getc(f);
    while (c != EOF && std::isspace(c));
    if (c != EOF) std::ungetc(c, f);
}

// An optional sign and digits after blanks ("%ld"); magnitudes saturate at 2^40.
bool scan_integer(FILE* f, int64_t* v) {
    skip_blanks(f);
    int c = std::getc(f);
    const bool negative = c == '-';
    if (c == '+' || c == '-') c = std::getc(f);
    if (c == EOF || !std::isdigit(c)) {
        if (c != EOF) std::ungetc(c, f);
        return false;
    }
    int64_t x = 0;
    for (; c != EOF && std::isdigit(c); c = std::getc(f)) x = std::min(x * 10 + (c - '0'), kSaturated);
    if (c != EOF) std::ungetc(c, f);
    *v = negative ? -x : x;
    return true;
}

// A width or height: when none can be read, one comment line ("#" to the line end) is skipped
// and the number tried once more.
bool scan_size(FILE* f, int64_t* v) {
    if (scan_integer(f, v)) return true;
    int c = std::getc(f);
    if (c == '#') {
        while ((c = std::getc(f)) != EOF && c != '\n') {}
    } else if (c != EOF) {
        std::ungetc(c, f);
    }
    return scan_integer(f, v);
}

// A decimal number after blanks ("%lf"), then exactly one character (the blank that ends the
// header of a raw body).
bool scan_maxval(FILE* f, double* v) {
    skip_blanks(f);
    char buf[65];
    int n = 0, c;
    while (n < 64 && (c = std::getc(f)) != EOF) {
        if (!std::isdigit(c) && !std::strchr("+-.eE", c)) {
            std::ungetc(c, f);
            break;
        }
        buf[n++] = char(c);
    }
    buf[n] = '\0';
    char* end = nullptr;
    *v = std::strtod(buf, &end);
    return n > 0 && end == buf + n && std::getc(f) != EOF;
}

// Magic number, width and height. Blanks before the "P" are passed over, so images written one
// after another on a stream (a text body ends in " \n") read back one after another.
const char* read_header(FILE* f, Anymap* h) {
    skip_blanks(f);
    if (std::getc(f) != 'P' || !scan_integer(f, &h->magic)) return msg::io_error;
    if (!scan_size(f, &h->width) || !scan_size(f, &h->height)) return msg::io_error;
    return nullptr;
}

const char* read_maxval(FILE* f, Anymap* h) {
    if (!scan_maxval(f, &h->maxval)) return msg::io_error;
    return h->maxval > 0 && h->maxval <= 4294967295.0 ? nullptr : msg::illegal_data_value;
}

_mutil_data_type type_of_maxval(double maxval) {
    return maxval <= 255 ? MUTIL_UINT8 : maxval <= 65535 ? MUTIL_UINT16 : MUTIL_UINT32;
}

// Sizes of a body of width x samples columns: non-positive sizes are illegal values, more than
// 2^31 - 1 elements cannot be held by a matrix.
const char* check_sizes(const Anymap& h, int64_t samples) {
    if (h.width <= 0 || h.height <= 0) return msg::illegal_data_value;
    if (h.width > INT32_MAX || h.height > INT32_MAX) return msg::out_of_memory;
    return h.width * samples * h.height > INT32_MAX ? msg::out_of_memory : nullptr;
}

// Reads a body of rows x cols elements of `type` with read(view), each view covering a run of
// its elements in storage order. When the stream's remaining length is known, a body that needs
// more than it holds (`min_bytes`) is refused before anything is allocated and the body is read
// at once; from a pipe it is read in runs of about a megabyte (a multiple of `step` elements, so
// packed bits stay byte-aligned) into storage that grows with what actually arrives, so a forged
// size -- even a single forged row -- costs no more memory than the data sent.
template <class Read> const char* read_body(FILE* f, int32_t rows, int32_t cols, _mutil_data_type type,
                                            int64_t min_bytes, int64_t step, Read&& read, _univ_mat* out) {
    const int64_t size = int64_t(elem_size(type)), n = int64_t(rows) * cols, left = bytes_left(f);
    if (left >= 0 && left < min_bytes) return msg::io_error;
    int64_t block = n;
    if (left < 0) block = std::min(n, std::max(step, (int64_t(1) << 20) / size / step * step));
    int64_t capacity = block;
    unsigned char* data = work_array<unsigned char>(capacity * size);
    for (int64_t e = 0; e < n; e += block) {
        const int64_t k = std::min(block, n - e);
        if (e + k > capacity) {
            capacity = std::min(n, std::max(2 * capacity, e + k));
            unsigned char* grown = work_array<unsigned char>(capacity * size);
            std::memcpy(grown, data, std::size_t(e * size));
            data = grown;
        }
        _univ_mat view = block == n ? _univ_mat{rows, cols, int32_t(n), data, type}
                                    : _univ_mat{1, int32_t(k), int32_t(k), data + e * size, type};
        MUTILS_TRY(read(&view));
    }
    *out = _univ_mat{rows, cols, int32_t(n), data, type};
    return nullptr;
}

// Raw bodies wider than a byte are big-endian, as every anymap tool writes them.
constexpr unsigned char kSwapRaw = std::endian::native == std::endian::little ? 1 : 0;

// The body of a greymap or pixmap (magic 2, 3, 5, 6) as rows x cols samples of the maxval's type.
const char* read_samples(FILE* f, const Anymap& h, int64_t samples, void* intrp, _univ_mat* out) {
    const _mutil_data_type type = type_of_maxval(h.maxval);
    const int32_t rows = int32_t(h.height), cols = int32_t(h.width * samples);
    const int64_t n = int64_t(rows) * cols;
    if (h.magic == 2 || h.magic == 3)
        return read_body(
            f, rows, cols, type, 2 * n - 1, 1, [&](_univ_mat* v) { return matuniv_read_ascii(f, ' ', '#', intrp, v); },
            out);
    return read_body(
        f, rows, cols, type, n * int64_t(elem_size(type)), 1,
        [&](_univ_mat* v) { return mutils::matuniv_read_raw(f, 0, kSwapRaw, intrp, v); }, out);
}

// ---- anymap writing ---------------------------------------------------------------------------

using anymap_types = types<unsigned char, uint16_t, uint32_t>;

// Largest element of the matrices (0 when all are 0).
double largest(const _univ_mat* mats, int32_t n, void* intrp) {
    double top = 0;
    for (int32_t i = 0; i < n; ++i) {
        _univ_scalar lo, hi;
        if (matuniv_range(&mats[i], intrp, &lo, &hi)) continue;
        dispatch(hi.type, anymap_types{}, [&](auto t) -> const char* {
            top = std::max(top, double(scalar_get<typename decltype(t)::type>(hi)));
            return nullptr;
        });
    }
    return top;
}

// The header: "P<magic> <cols> <rows> <maxval>\n", then the interrupt charged per character.
// The maxval is the image's largest value, at least 1 so that the file stays readable.
const char* write_header(FILE* f, int magic, int32_t cols, int32_t rows, double top, Poll& poll) {
    const int n = std::fprintf(f, "P%d %ld %ld %ld\n", magic, long(cols), long(rows), long(std::max(top, 1.0)));
    if (n < 0) return msg::io_error;
    return poll.add(1000.0 * n);
}

// Text bodies: values separated by " ", lines of at most 70 characters, rows ending in "\n".
const char* write_samples(FILE* f, const _univ_mat* m, bool text, void* intrp) {
    return text ? matuniv_write_ascii(f, m, " ", 70, intrp) : mutils::matuniv_write_raw(f, m, 0, intrp);
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
        const T v = scalar_get<T>(value);
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
    if (std::fprintf(f, "P%d %ld %ld\n", text ? 1 : 4, long(image->ncol), long(image->nrow)) < 0) return msg::io_error;
    return imguniv_write_to_bits(f, image, threshold, !text, " ", 70, intrp);
}

const char* imguniv_read_pgm(FILE* f, void* intrp, _univ_mat* r) {
    if (!f || !r) return msg::null_pointer;
    Anymap h;
    MUTILS_TRY(read_header(f, &h));
    if (h.magic != 1 && h.magic != 2 && h.magic != 4 && h.magic != 5) return msg::illegal_data_value;
    if (h.magic == 2 || h.magic == 5) MUTILS_TRY(read_maxval(f, &h));
    MUTILS_TRY(check_sizes(h, 1));
    if (h.magic == 2 || h.magic == 5) return read_samples(f, h, 1, intrp, r);

    // Bitmaps: digits (P1) or one run of packed bits after the single blank ending the header (P4).
    const bool packed = h.magic == 4;
    if (packed && std::getc(f) == EOF) return msg::io_error;
    const int64_t n = h.width * h.height;
    return read_body(
        f, int32_t(h.height), int32_t(h.width), MUTIL_UINT8, packed ? (n + 7) / 8 : n, 8,
        [&](_univ_mat* v) { return imguniv_read_from_bits(f, scalar_u8(255), packed, 0, ' ', '#', intrp, v); }, r);
}

const char* imguniv_write_pgm(FILE* f, const _univ_mat* image, unsigned char text, void* intrp) {
    if (!f || !image) return msg::null_pointer;
    validate_univ(image);
    MUTILS_TRY(dispatch(image->type, anymap_types{}, [](auto) -> const char* { return nullptr; }));
    const bool plain = text || image->type != MUTIL_UINT8;  // wider samples are always written as text
    Poll poll(intrp);
    MUTILS_TRY(write_header(f, plain ? 2 : 5, image->ncol, image->nrow, largest(image, 1, intrp), poll));
    return write_samples(f, image, plain, intrp);
}

const char* imgset_write_ppm(FILE* f, const _mat_set* set, unsigned char text, void* intrp) {
    if (!f || !set) return msg::null_pointer;
    validate_set(set);
    if (set->nmat != 3) return msg::array_size_mismatch;
    const _univ_mat* planes = set->mats;
    for (int32_t p = 0; p < 3; ++p) validate_univ(&planes[p]);
    for (int32_t p = 1; p < 3; ++p)
        if (require_same_size(&planes[p], &planes[0]) || planes[p].type != planes[0].type)
            return msg::array_size_mismatch;
    const _mutil_data_type type = planes[0].type;
    MUTILS_TRY(dispatch(type, anymap_types{}, [](auto) -> const char* { return nullptr; }));
    const int32_t rows = planes[0].nrow, cols = planes[0].ncol;
    if (3 * int64_t(cols) > INT32_MAX) return msg::out_of_memory;
    const bool plain = text || type != MUTIL_UINT8;
    Poll poll(intrp);
    MUTILS_TRY(write_header(f, plain ? 3 : 6, cols, rows, largest(planes, 3, intrp), poll));

    // The planes are interleaved (r g b r g b ...) a block of rows at a time, so the copy stays
    // small; text rows break exactly as they would for the whole interleaved matrix.
    const int64_t size = int64_t(elem_size(type)), block = std::max<int64_t>(1, (int64_t(1) << 18) / (3 * cols));
    unsigned char* buffer = work_array<unsigned char>(std::min<int64_t>(block, rows) * 3 * cols * size);
    int32_t dims[1] = {3};
    for (int64_t r = 0; r < rows; r += block) {
        const int32_t k = int32_t(std::min<int64_t>(block, rows - r));
        _univ_mat part[3];
        for (int p = 0; p < 3; ++p)
            part[p] = {k, cols, k * cols, static_cast<unsigned char*>(planes[p].data) + r * cols * size, type};
        _mat_set view{1, dims, 3, part};
        _univ_mat interleaved{k, 3 * cols, 3 * k * cols, buffer, type};
        matset_tile(&view, intrp, &interleaved);
        MUTILS_TRY(write_samples(f, &interleaved, plain, intrp));
    }
    return nullptr;
}

const char* imgset_read_ppm(FILE* f, void* intrp, _mat_set* result) {
    if (!f || !result) return msg::null_pointer;
    Anymap h;
    MUTILS_TRY(read_header(f, &h));
    if (h.magic != 3 && h.magic != 6) return msg::illegal_data_value;
    MUTILS_TRY(read_maxval(f, &h));
    MUTILS_TRY(check_sizes(h, 3));
    _univ_mat interleaved;
    MUTILS_TRY(read_samples(f, h, 3, intrp, &interleaved));
    _mat_set set;
    const int32_t three = 3;
    matset_malloc(&set, 1, &three);
    matset_malloc_matrices(&set, int32_t(h.height), int32_t(h.width), interleaved.type);
    matset_untile(&interleaved, intrp, &set);
    *result = set;
    return nullptr;
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_write_pbm, (FILE * f, const mutils::_univ_mat* a, double t, unsigned char text, void* i),
             (f, a, t, text, i))
MUTILS_PLAIN(imguniv_write_pgm, (FILE * f, const mutils::_univ_mat* a, unsigned char text, void* i), (f, a, text, i))
MUTILS_PLAIN(imguniv_read_pgm, (FILE * f, void* i, mutils::_univ_mat* r), (f, i, r))
MUTILS_PLAIN(imgset_write_ppm, (FILE * f, const mutils::_mat_set* s, unsigned char text, void* i), (f, s, text, i))
MUTILS_PLAIN(imgset_read_ppm, (FILE * f, void* i, mutils::_mat_set* r), (f, i, r))
