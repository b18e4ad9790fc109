#include "textio.h"

#include <cctype>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "detail_io.h"

namespace mutils {
namespace detail {
namespace {

/// How a value is handed to a printf conversion.
enum class Arg { Double, Int, UInt, Long, ULong, LLong, ULLong };

template <class T> struct text;
/// Per element type: the type word of the printed form, the printf conversions of the printed and
/// plain-text forms, and how a value is handed to them.
#define MUTILS_TEXT(T, WORD, PRINT, ASCII, ARG, ARG_T) \
    template <> struct text<T> {                       \
        static constexpr const char* word = WORD;      \
        static constexpr const char* print = PRINT;    \
        static constexpr const char* ascii = ASCII;    \
        static constexpr Arg arg = Arg::ARG;           \
        using arg_t = ARG_T;                           \
    };
MUTILS_TEXT(double, "double", "%g ", "%10g", Double, double)
MUTILS_TEXT(float, "float", "%g ", "%10g", Double, double)
MUTILS_TEXT(unsigned char, "uint8", "%u ", "%u", UInt, unsigned)
MUTILS_TEXT(uint16_t, "uint16", "%hu ", "%hu", Int, int)
MUTILS_TEXT(uint32_t, "uint32", "%lu ", "%lu", ULong, unsigned long)
MUTILS_TEXT(int16_t, "sint16", "%hd ", "%hd", Int, int)
MUTILS_TEXT(int32_t, "sint32", "%ld ", "%ld", Long, long)
#undef MUTILS_TEXT

/// Order in which the universal parse compares the type word.
using word_order = types<double, float, unsigned char, uint16_t, uint32_t, int16_t, int32_t>;

/// Calls out(format-arguments...) with v converted to what the conversion reads.
template <class T, class Out> int emit(Out&& out, Arg arg, T v) {
    switch (arg) {
        case Arg::Double: return out(double(v));
        case Arg::Int: return out(int(v));
        case Arg::UInt: return out(unsigned(v));
        case Arg::Long: return out(long(v));
        case Arg::ULong: return out((unsigned long)(v));
        case Arg::LLong: return out((long long)(v));
        case Arg::ULLong: return out((unsigned long long)(v));
    }
    return -1;
}

/// Checks a caller's value format (see the header) and finds how its conversion reads a value.
template <class T> const char* check_format(const char* format, Arg* arg) {
    int conversions = 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%') continue;
        ++p;
        if (*p == '%') continue;
        while (*p && std::strchr("-+ #0", *p)) ++p;
        while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
        if (*p == '.') {
            ++p;
            while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
        }
        int length = 0;  // 0 none, 1 h or hh, 2 l, 3 ll
        if (*p == 'h') {
            length = 1;
            if (*++p == 'h') ++p;
        } else if (*p == 'l') {
            length = 2;
            if (*++p == 'l') {
                length = 3;
                ++p;
            }
        }
        const char c = *p;
        if (c == '\0') return msg::illegal_data_value;
        if (std::strchr("aAeEfFgG", c)) {
            if (length != 0 && length != 2) return msg::illegal_data_value;
            *arg = Arg::Double;
        } else if (is_integer_elem<T> && std::strchr("diouxX", c)) {
            const bool is_signed = c == 'd' || c == 'i';
            *arg = length <= 1   ? (is_signed ? Arg::Int : Arg::UInt)
                   : length == 2 ? (is_signed ? Arg::Long : Arg::ULong)
                                 : (is_signed ? Arg::LLong : Arg::ULLong);
        } else {
            return msg::illegal_data_value;
        }
        ++conversions;
    }
    return conversions == 1 ? nullptr : msg::illegal_data_value;
}

/// Width of the row-number field: max(floor(log10(nrow)), 1).
int label_width(int64_t nrow) {
    int digits = 0;
    for (int64_t x = nrow; x >= 10; x /= 10) ++digits;
    return digits > 1 ? digits : 1;
}

template <class T> const char* print(FILE* f, const mat_t<T>* m, const char* format, int line_width, void* intrp) {
    empty_or_valid(m);
    if (!f) return msg::null_pointer;
    Arg arg = text<T>::arg;
    const char* fmt = text<T>::print;
    if (format) {
        MUTILS_TRY(check_format<T>(format, &arg));
        fmt = format;
    }
    Poll poll(intrp);  // counted, never stops a print
    (void)poll.add(30010.0);
    double chars = 0;
    auto count = [&](int n) {
        chars += n;
        return n >= 0;
    };
    if (!count(std::fprintf(f, "%s", text<T>::word))) return msg::io_error;
    if (!count(std::fprintf(f, " Matrix: nrow=%ld, ncol=%ld  {\n", long(m->nrow), long(m->ncol)))) return msg::io_error;
    if (m->nrow >= 1) {
        const int width = line_width < 1 ? 75 : line_width;
        const int w = label_width(m->nrow);
        for (int64_t r = 0; r < m->nrow; ++r) {
            int col = std::fprintf(f, "    Row[%*ld]:  ", w, long(r));
            if (!count(col)) return msg::io_error;
            int last = 1;
            for (int64_t c = 0; c < m->ncol; ++c) {
                if (col > width - last) {
                    col = std::fprintf(f, "\n%-*s", w + 12, " ");
                    if (!count(col)) return msg::io_error;
                }
                const int n = emit([&](auto v) { return std::fprintf(f, fmt, v); }, arg, m->data[r * m->ncol + c]);
                if (!count(n)) return msg::io_error;
                last = n;
                col += n;
            }
            if (std::fputc('\n', f) == EOF) return msg::io_error;
            (void)poll.add(1000.0 * (chars + 1));
            chars = 0;
        }
    }
    if (std::fputs("}\n", f) == EOF) return msg::io_error;
    (void)poll.add(2000.0 + 1000.0 * chars);
    return nullptr;
}

// ---- reading ----------------------------------------------------------------------------------

/// Character-level reading with one character of look-ahead (pushed back), so a read stops
/// exactly after what it consumed.
class Reader {
public:
    enum Status { ok, none, bad };
    static constexpr int kTokenMax = 128;

    explicit Reader(FILE* f) : m_f(f) {}

    void skip_space() {
        int c;
        do c = std::getc(m_f);
        while (c != EOF && std::isspace(c));
        unget(c);
    }

    /// Consumes `s` exactly; false at the first character that differs (left unread).
    bool literal(const char* s) {
        for (; *s; ++s) {
            const int c = std::getc(m_f);
            if (c != static_cast<unsigned char>(*s)) {
                unget(c);
                return false;
            }
        }
        return true;
    }

    /// Skips blanks and reads a word of at most `cap` non-blank characters; false when none.
    bool word(char* buf, int cap) {
        skip_space();
        int n = 0, c = 0;
        while (n < cap && (c = std::getc(m_f)) != EOF && !std::isspace(c)) buf[n++] = char(c);
        if (n < cap) unget(c);
        buf[n] = '\0';
        return n > 0;
    }

    /// Skips blanks, separator characters and, at the comment character, the rest of its line.
    void skip_comments(char separator, char comment) {
        for (;;) {
            int c = std::getc(m_f);
            if (c == EOF) return;
            if (std::isspace(c) || (separator && c == static_cast<unsigned char>(separator))) continue;
            if (comment && c == static_cast<unsigned char>(comment)) {
                do c = std::getc(m_f);
                while (c != EOF && c != '\n');
                continue;
            }
            unget(c);
            return;
        }
    }

    /// Skips blanks and reads one number: the longest run of letters, digits, '.', '+' and '-'
    /// (never the two excluded characters), which must convert entirely (strtod syntax).
    Status number(double* v, char ex1 = 0, char ex2 = 0) {
        skip_space();
        char buf[kTokenMax + 1];
        int n = 0;
        for (;;) {
            const int c = std::getc(m_f);
            const bool part = c != EOF && (std::isalnum(c) || c == '.' || c == '+' || c == '-') &&
                              !(ex1 && c == static_cast<unsigned char>(ex1)) &&
                              !(ex2 && c == static_cast<unsigned char>(ex2));
            if (!part) {
                unget(c);
                break;
            }
            if (n == kTokenMax) return bad;
            buf[n++] = char(c);
        }
        if (n == 0) return none;
        buf[n] = '\0';
        char* end = nullptr;
        const double x = std::strtod(buf, &end);
        if (end != buf + n) return bad;
        *v = x;
        return ok;
    }

private:
    void unget(int c) {
        if (c != EOF) std::ungetc(c, m_f);
    }
    FILE* m_f;
};

/// Stores v as an element of T; false when it does not fit. The printed form admits floating
/// values within [-1e37, 1e37] (NaN passes); plain text admits any double, and any float value
/// not beyond the float range. Integer types take integers of their range only.
template <class T> bool store(double v, bool printed_limits, T* out) {
    if constexpr (is_integer_elem<T>) {
        if (!(v == std::floor(v)) || v < double(std::numeric_limits<T>::lowest()) ||
            v > double(std::numeric_limits<T>::max()))
            return false;
        *out = T(v);
    } else {
        if (printed_limits ? (v < -1e37 || v > 1e37) : (std::isfinite(v) && std::fabs(v) > double(FLT_MAX)))
            return false;
        *out = T(v);
    }
    return true;
}

/// Bytes between the position and the end of a seekable stream; -1 when unknown.
int64_t remaining_bytes(FILE* f) {
    const long pos = std::ftell(f);
    if (pos < 0 || std::fseek(f, 0, SEEK_END) != 0) return -1;
    const long end = std::ftell(f);
    if (std::fseek(f, pos, SEEK_SET) != 0) return -1;
    return end >= pos ? end - pos : -1;
}

template <class T> const char* parse(FILE* f, void* intrp, mat_t<T>* m) {
    if (!f || !m) return msg::null_pointer;
    const int64_t avail = remaining_bytes(f);
    Reader in(f);
    char word[101];
    if (!in.word(word, 100)) return msg::io_error;
    if (std::strcmp(word, text<T>::word) != 0) return msg::illegal_data_type;
    double nr = 0, nc = 0;
    in.skip_space();
    if (!in.literal("Matrix:")) return msg::io_error;
    in.skip_space();
    if (!in.literal("nrow=") || in.number(&nr) != Reader::ok || !in.literal(",")) return msg::io_error;
    in.skip_space();
    if (!in.literal("ncol=") || in.number(&nc) != Reader::ok) return msg::io_error;
    in.skip_space();
    if (!in.literal("{")) return msg::io_error;
    if (!(nr == std::floor(nr)) || !(nc == std::floor(nc))) return msg::io_error;
    if (nr <= 0 || nc <= 0) raise(msg::array_size_mismatch);
    if (nr * nc > double(INT32_MAX)) return msg::illegal_data_value;
    const int32_t nrow = int32_t(nr), ncol = int32_t(nc);
    const int64_t nelem = int64_t(nrow) * ncol;
    // Every value takes at least two characters (itself and what ends it).
    if (avail >= 0 && nelem > avail / 2 + 1) return msg::io_error;

    int64_t cap = avail >= 0 ? nelem : std::min<int64_t>(nelem, 65536);
    T* data = work_array<T>(cap);
    int64_t k = 0;
    Poll poll(intrp);
    for (int64_t r = 0; r < nrow; ++r) {
        double label;
        in.skip_space();
        if (!in.literal("Row[") || in.number(&label) != Reader::ok) return msg::io_error;
        in.skip_space();
        if (!in.literal("]:")) return msg::io_error;
        for (int64_t c = 0; c < ncol; ++c, ++k) {
            double v;
            if (in.number(&v) != Reader::ok) return msg::io_error;
            if (k == cap) {  // storage grows with the values actually present
                const int64_t grown = std::min(nelem, 2 * cap);
                T* bigger = work_array<T>(grown);
                std::memcpy(bigger, data, std::size_t(cap) * sizeof(T));
                data = bigger;
                cap = grown;
            }
            if (!store(v, true, &data[k])) return msg::illegal_data_value;
        }
        MUTILS_TRY(poll.add(1000.0 * double(ncol)));
    }
    in.skip_space();
    if (!in.literal("}")) return msg::io_error;
    m->nrow = nrow;
    m->ncol = ncol;
    m->nelem = int32_t(nelem);
    m->data = data;
    return nullptr;
}

template <class... Ts> int32_t tag_of_word(const char* w, types<Ts...>) {
    int32_t tag = -1;
    ((std::strcmp(w, text<Ts>::word) == 0 ? (tag = elem<Ts>::tag, true) : false) || ...);
    return tag;
}

const char* parse_univ(FILE* f, void* intrp, _univ_mat* m) {
    if (!f || !m) return msg::null_pointer;
    const long pos = std::ftell(f);
    if (pos < 0) return msg::io_error;
    char word[101];
    if (!Reader(f).word(word, 100)) {
        std::fseek(f, pos, SEEK_SET);
        return msg::io_error;
    }
    const int32_t tag = tag_of_word(word, word_order{});
    if (tag < 0) return msg::illegal_data_type;
    if (std::fseek(f, pos, SEEK_SET) != 0) return msg::io_error;
    m->type = static_cast<_mutil_data_type>(tag);
    return dispatch(tag, stream_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return parse<T>(f, intrp, as<T>(m));
    });
}

template <class T> const char* read_ascii(FILE* f, char separator, char comment, void* intrp, mat_t<T>* m) {
    const bool empty = empty_or_valid(m);
    if (!f) return msg::null_pointer;
    if (empty) return nullptr;
    Reader in(f);
    Poll poll(intrp);
    for (int64_t i = 0; i < m->nelem; ++i) {
        double v = 0;
        Reader::Status st = in.number(&v, separator, comment);
        MUTILS_TRY(poll.add(1000.0));
        if (st == Reader::none) {
            in.skip_comments(separator, comment);
            st = in.number(&v, separator, comment);
            MUTILS_TRY(poll.add(1000.0));
        }
        if (st != Reader::ok) return msg::io_error;
        if (!store(v, false, &m->data[i])) return msg::illegal_data_value;
    }
    return nullptr;
}

template <class T>
const char* write_ascii(FILE* f, const mat_t<T>* m, const char* separator, uint16_t line_width, void* intrp) {
    const bool empty = empty_or_valid(m);
    if (!f || !separator) return msg::null_pointer;
    if (empty) return nullptr;
    const std::size_t seplen = std::strlen(separator);
    Poll poll(intrp);
    char buf[64];
    for (int64_t r = 0; r < m->nrow; ++r) {
        std::size_t line = 0;
        for (int64_t c = 0; c < m->ncol; ++c) {
            using A = typename text<T>::arg_t;
            const int n = std::snprintf(buf, sizeof buf, text<T>::ascii, A(m->data[r * m->ncol + c]));
            if (n < 0 || n >= int(sizeof buf)) return msg::io_error;
            if (line_width && line > 0 && line + std::size_t(n) + seplen > line_width) {
                if (std::fputc('\n', f) == EOF) return msg::io_error;
                line = 0;
            }
            if (std::fwrite(buf, 1, std::size_t(n), f) != std::size_t(n) || std::fputs(separator, f) == EOF)
                return msg::io_error;
            line += std::size_t(n) + seplen;
        }
        if (std::fputc('\n', f) == EOF) return msg::io_error;
        MUTILS_TRY(poll.add(1000.0 * double(m->ncol) + 8.0));
    }
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_TEXTIO(CODE, T)                                                                                  \
    const char* mat##CODE##_print(FILE* f, const mat_t<T>* m, const char* fmt, int width, void* i) {            \
        return print<T>(f, m, fmt, width, i);                                                                   \
    }                                                                                                           \
    const char* mat##CODE##_parse(FILE* f, void* i, mat_t<T>* m) { return parse<T>(f, i, m); }                  \
    const char* mat##CODE##_read_ascii(FILE* f, char sep, char comment, void* i, mat_t<T>* m) {                 \
        return read_ascii<T>(f, sep, comment, i, m);                                                            \
    }                                                                                                           \
    const char* mat##CODE##_write_ascii(FILE* f, const mat_t<T>* m, const char* sep, uint16_t width, void* i) { \
        return write_ascii<T>(f, m, sep, width, i);                                                             \
    }
MUTILS_TEXTIO(dbl, double)
MUTILS_TEXTIO(flt, float)
MUTILS_TEXTIO(u8, unsigned char)
MUTILS_TEXTIO(u16, uint16_t)
MUTILS_TEXTIO(u32, uint32_t)
MUTILS_TEXTIO(s16, int16_t)
MUTILS_TEXTIO(s32, int32_t)
#undef MUTILS_TEXTIO

const char* matuniv_print(FILE* f, const _univ_mat* m, const char* fmt, int width, void* intrp) {
    if (!m) return msg::null_pointer;
    return dispatch(m->type, stream_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return print<T>(f, as<T>(m), fmt, width, intrp);
    });
}

const char* matuniv_parse(FILE* f, void* intrp, _univ_mat* m) { return parse_univ(f, intrp, m); }

const char* matuniv_read_ascii(FILE* f, char sep, char comment, void* intrp, _univ_mat* m) {
    if (!m) return msg::null_pointer;
    return dispatch(m->type, stream_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return read_ascii<T>(f, sep, comment, intrp, as<T>(m));
    });
}

const char* matuniv_write_ascii(FILE* f, const _univ_mat* m, const char* sep, uint16_t width, void* intrp) {
    if (!m) return msg::null_pointer;
    return dispatch(m->type, stream_types{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return write_ascii<T>(f, as<T>(m), sep, width, intrp);
    });
}

}  // namespace mutils
