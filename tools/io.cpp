// Loading and saving the files the command-line program works on.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

#include "cli.h"

namespace cli {

using namespace mutils;

void check(const char* message) {
    if (message) throw Failure(message);
}

namespace {

struct FileCloser {
    void operator()(FILE* f) const {
        if (f) std::fclose(f);
    }
};
using File = std::unique_ptr<FILE, FileCloser>;

std::string lower_extension(const std::string& path) {
    auto slash = path.find_last_of('/');
    auto dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string ext = path.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return ext;
}

std::wstring widen(const std::string& s) {
    std::wstring w(s.size() + 1, L'\0');
    std::size_t n = std::mbstowcs(w.data(), s.c_str(), w.size());
    if (n == static_cast<std::size_t>(-1)) throw Failure("cannot convert the file name " + s);
    w.resize(n);
    return w;
}

Data single(const _univ_mat& m) {
    Data d;
    d.planes.push_back(m);
    return d;
}

Data from_set(const _mat_set& s) {
    Data d;
    d.planes.assign(s.mats, s.mats + s.nmat);
    return d;
}

_mat_set to_set(const std::vector<_univ_mat>& planes) {
    _mat_set s;
    int32_t n = int32_t(planes.size());
    mutils::matset_malloc(&s, 1, &n);
    for (int32_t i = 0; i < n; ++i) s.mats[i] = planes[i];
    return s;
}

// Plain numeric text: rows are the non-empty, non-comment lines; columns the values of the first.
Data load_text(FILE* f) {
    int32_t rows = 0, cols = 0;
    char line[1 << 16];
    while (std::fgets(line, sizeof line, f)) {
        char* p = line;
        while (*p == ' ' || *p == '\t' || *p == ',') ++p;
        if (*p == '#' || *p == '\n' || *p == '\r' || *p == '\0') continue;
        if (rows == 0) {
            std::istringstream in(p);
            double v;
            while (in >> v) {
                ++cols;
                while (in.peek() == ',' || in.peek() == ' ' || in.peek() == '\t') in.get();
            }
        }
        ++rows;
    }
    if (rows == 0 || cols == 0) throw Failure("no numbers in the text file");
    std::rewind(f);
    _univ_mat m = make(rows, cols, MUTIL_DOUBLE);
    _double_mat md = typed<_double_mat>(m);
    check(mutils::matdbl_read_ascii(f, ',', '#', nullptr, &md));
    return single(m);
}

const char* const kUnrecognised =
    "unrecognised image format (PNG, JPEG, PBM, PGM, PPM, TIFF or a matrix file expected)";

bool starts_with(const std::string& s, const char* prefix) { return s.compare(0, std::strlen(prefix), prefix) == 0; }

// The library's printed form opens with the element type's word: "double Matrix: nrow=...".
bool printed_matrix(const std::string& bytes) {
    std::size_t i = bytes.find_first_not_of(" \t\r\n");
    if (i == std::string::npos) return false;
    for (const char* word : {"uint8", "uint16", "sint16", "uint32", "sint32", "float", "double", "dcomplex"})
        if (bytes.compare(i, std::strlen(word), word) == 0) return true;
    return false;
}

struct Memory {
    File f;
    explicit Memory(std::string& bytes) : f(fmemopen(bytes.data(), bytes.size(), "rb")) {
        if (!f) throw Failure("cannot read the data in memory");
    }
};

Data load_bytes(std::string& bytes, const std::string& path, const LoadOptions& o) {
    if (starts_with(bytes, "\x89PNG\r\n\x1a\n")) {
        bool alpha = false;
        Data d = read_png(Memory(bytes).f.get(), o.alpha, &alpha);
        if (alpha && !o.alpha) note(path + ": alpha channel dropped (--alpha keeps it as a last plane)");
        return d;
    }
    if (starts_with(bytes, "\xff\xd8\xff")) return read_jpeg(Memory(bytes).f.get());
    if (bytes.size() >= 2 && bytes[0] == 'P' && bytes[1] >= '1' && bytes[1] <= '6') {
        if (bytes[1] == '4') bytes = pbm_to_library_layout(bytes);
        Memory m(bytes);
        if (bytes[1] == '3' || bytes[1] == '6') {
            _mat_set s;
            check(mutils::imgset_read_ppm(m.f.get(), nullptr, &s));
            return from_set(s);
        }
        _univ_mat u;
        check(mutils::imguniv_read_pgm(m.f.get(), nullptr, &u));
        return single(u);
    }
    std::string ext = lower_extension(path);
    const std::size_t first = bytes.find_first_not_of(" \t\r\n");
    const bool numeric = first != std::string::npos && std::strchr("0123456789+-.#", bytes[first]);
    if (ext == "txt" || ext == "csv" || ext == "dat" || (path == "-" && numeric))
        return load_text(Memory(bytes).f.get());
    if (ext == "mat" || printed_matrix(bytes)) {
        _univ_mat m;
        check(mutils::matuniv_parse(Memory(bytes).f.get(), nullptr, &m));
        return single(m);
    }
    throw Failure(kUnrecognised);
}

Data load_any(const std::string& path, const LoadOptions& o) {
    std::string bytes;
    char buf[65536];
    std::size_t n;
    if (path == "-") {
        // Standard input is read whole so its format can be told from the first bytes.
        while ((n = std::fread(buf, 1, sizeof buf, stdin)) > 0) bytes.append(buf, n);
        if (bytes.empty()) throw Failure("standard input is empty");
        if (bytes.compare(0, 4, std::string("II*\0", 4)) == 0 || bytes.compare(0, 4, std::string("MM\0*", 4)) == 0)
            throw Failure("TIFF cannot be read from standard input");
        return load_bytes(bytes, path, o);
    }
    File f(std::fopen(path.c_str(), "rb"));
    if (!f) throw Failure(std::string("cannot open (") + std::strerror(errno) + ")");
    unsigned char magic[4] = {};
    std::size_t got = std::fread(magic, 1, 4, f.get());
    bool tiff = got == 4 && ((magic[0] == 'I' && magic[1] == 'I' && magic[2] == 42 && magic[3] == 0) ||
                             (magic[0] == 'M' && magic[1] == 'M' && magic[2] == 0 && magic[3] == 42));
    if (tiff) {
        f.reset();
        _mat_set s;
        const char* message = mutils::imgset_read_tiff(widen(path).c_str(), nullptr, &s);
        // A TIFF whose sample layout the reader does not take is an unsupported image format.
        if (message && std::strcmp(message, "Illegal data value") == 0) throw Failure(kUnrecognised);
        check(message);
        return from_set(s);
    }
    bytes.assign(reinterpret_cast<const char*>(magic), got);
    while ((n = std::fread(buf, 1, sizeof buf, f.get())) > 0) bytes.append(buf, n);
    if (std::ferror(f.get())) throw Failure(std::string("cannot read (") + std::strerror(errno) + ")");
    if (bytes.empty()) throw Failure("empty file");
    return load_bytes(bytes, path, o);
}

}  // namespace

std::string program = "mutils";

void note(const std::string& text) { std::fprintf(stderr, "%s: note: %s\n", program.c_str(), text.c_str()); }

Format format_of(const std::string& path) {
    std::string ext = lower_extension(path);
    if (ext == "jpg" || ext == "jpeg")
        throw Failure("JPEG files are read, not written: write " + path.substr(0, path.size() - ext.size()) + "png");
    if (path == "-") return Format::printed;
    try {
        return format_named(ext);
    } catch (const Failure&) {
        throw Failure("unknown output format for " + path +
                      " (use .png .pgm .pbm .ppm .tif .mat or .txt, or --format)");
    }
}

Format format_named(const std::string& word) {
    if (word == "png") return Format::png;
    if (word == "pgm" || word == "pnm") return Format::pgm;
    if (word == "pbm") return Format::pbm;
    if (word == "ppm") return Format::ppm;
    if (word == "tif" || word == "tiff") return Format::tiff;
    if (word == "txt" || word == "csv" || word == "dat") return Format::text;
    if (word == "mat") return Format::printed;
    throw Failure("unknown format " + word + " (png pgm pbm ppm tif mat txt)");
}

const char* type_word(_mutil_data_type t) {
    switch (t) {
        case MUTIL_UINT8: return "uint8";
        case MUTIL_UINT16: return "uint16";
        case MUTIL_SINT16: return "sint16";
        case MUTIL_UINT32: return "uint32";
        case MUTIL_SINT32: return "sint32";
        case MUTIL_FLOAT: return "float";
        case MUTIL_DOUBLE: return "double";
        case MUTIL_DCOMPLEX: return "dcomplex";
        default: return "?";
    }
}

_mutil_data_type parse_type(const std::string& w) {
    if (w == "u8" || w == "uint8") return MUTIL_UINT8;
    if (w == "u16" || w == "uint16") return MUTIL_UINT16;
    if (w == "s16" || w == "sint16") return MUTIL_SINT16;
    if (w == "u32" || w == "uint32") return MUTIL_UINT32;
    if (w == "s32" || w == "sint32") return MUTIL_SINT32;
    if (w == "flt" || w == "float") return MUTIL_FLOAT;
    if (w == "dbl" || w == "double") return MUTIL_DOUBLE;
    throw Failure("unknown element type " + w);
}

Data load(const std::string& path, const LoadOptions& o) {
    const std::string name = path == "-" ? "standard input" : path;
    auto named = [&](const std::string& message) {
        return Failure(starts_with(message, (name + ": ").c_str()) ? message : name + ": " + message);
    };
    try {
        return load_any(path, o);
    } catch (const Failure& e) {
        throw named(e.what());
    } catch (const Hux::Error& e) {
        throw named(e.what());
    }
}

_univ_mat make(int32_t rows, int32_t cols, _mutil_data_type type) {
    _univ_mat m;
    mutils::matuniv_malloc(&m, rows, cols, type);
    return m;
}

_univ_mat to_double(const _univ_mat& m) {
    _univ_mat d = make(m.nrow, m.ncol, MUTIL_DOUBLE);
    mutils::matuniv_cast(&m, 1, nullptr, &d);
    return d;
}

std::pair<double, double> range_of(const _univ_mat& m) {
    _univ_mat d = m.type == MUTIL_DOUBLE ? m : to_double(m);
    const double* p = static_cast<const double*>(d.data);
    auto [lo, hi] = std::minmax_element(p, p + d.nelem);
    return {*lo, *hi};
}

_univ_mat to_viewable(const _univ_mat& m) {
    _univ_mat d = m.type == MUTIL_DOUBLE ? m : to_double(m);
    auto [lo, hi] = range_of(d);
    _univ_mat out = make(m.nrow, m.ncol, MUTIL_UINT8);
    const double* p = static_cast<const double*>(d.data);
    auto* q = static_cast<unsigned char*>(out.data);
    double scale = hi > lo ? 255.0 / (hi - lo) : 0.0;
    for (int32_t i = 0; i < d.nelem; ++i) {
        double v = std::isfinite(p[i]) ? (p[i] - lo) * scale : 0.0;
        q[i] = static_cast<unsigned char>(std::clamp(std::floor(v + 0.5), 0.0, 255.0));
    }
    return out;
}

_univ_scalar scalar_of(_mutil_data_type type, double v) {
    _univ_scalar s{};
    s.type = type;
    double r = std::floor(v + 0.5);
    switch (type) {
        case MUTIL_UINT8: s.val.u8 = static_cast<unsigned char>(std::clamp(r, 0.0, 255.0)); break;
        case MUTIL_UINT16: s.val.u16 = static_cast<uint16_t>(std::clamp(r, 0.0, 65535.0)); break;
        case MUTIL_SINT16: s.val.s16 = static_cast<int16_t>(std::clamp(r, -32768.0, 32767.0)); break;
        case MUTIL_UINT32: s.val.u32 = static_cast<uint32_t>(std::clamp(r, 0.0, 4294967295.0)); break;
        case MUTIL_SINT32: s.val.s32 = static_cast<int32_t>(std::clamp(r, -2147483648.0, 2147483647.0)); break;
        case MUTIL_FLOAT: s.val.flt = static_cast<float>(v); break;
        default:
            s.type = MUTIL_DOUBLE;
            s.val.dbl = v;
            break;
    }
    return s;
}

namespace {

bool is_unsigned_image(const _univ_mat& m) {
    return m.type == MUTIL_UINT8 || m.type == MUTIL_UINT16 || m.type == MUTIL_UINT32;
}

// Image writers take unsigned planes; anything else is stretched to 8 bits (colour planes
// jointly, so their balance is kept).
std::vector<_univ_mat> image_planes(const Data& data) {
    bool all_unsigned = std::all_of(data.planes.begin(), data.planes.end(), is_unsigned_image);
    bool same_type = std::all_of(data.planes.begin(), data.planes.end(),
                                 [&](const _univ_mat& m) { return m.type == data.planes[0].type; });
    if (all_unsigned && same_type) return data.planes;
    double lo = INFINITY, hi = -INFINITY;
    std::vector<_univ_mat> dbl;
    for (const auto& p : data.planes) {
        if (p.type == MUTIL_DCOMPLEX) throw Failure("complex data cannot be written as an image");
        dbl.push_back(p.type == MUTIL_DOUBLE ? p : to_double(p));
        auto [a, b] = range_of(dbl.back());
        lo = std::min(lo, a);
        hi = std::max(hi, b);
    }
    std::vector<_univ_mat> out;
    for (const auto& d : dbl) {
        _univ_mat u = make(d.nrow, d.ncol, MUTIL_UINT8);
        const double* p = static_cast<const double*>(d.data);
        auto* q = static_cast<unsigned char*>(u.data);
        double scale = hi > lo ? 255.0 / (hi - lo) : 0.0;
        for (int32_t i = 0; i < d.nelem; ++i) {
            double v = std::isfinite(p[i]) ? (p[i] - lo) * scale : 0.0;
            q[i] = static_cast<unsigned char>(std::clamp(std::floor(v + 0.5), 0.0, 255.0));
        }
        out.push_back(u);
    }
    return out;
}

void write_stream(FILE* f, Format format, const Data& data, const SaveOptions& o) {
    unsigned char text = o.plain ? 1 : 0;
    switch (format) {
        case Format::pgm: check(mutils::imguniv_write_pgm(f, &image_planes(data)[0], text, nullptr)); break;
        case Format::pbm: {
            if (data.grey().type == MUTIL_DCOMPLEX) throw Failure("complex data cannot be written as an image");
            if (text || o.pbm_library) {
                check(mutils::imguniv_write_pbm(f, &data.grey(), o.pbm_threshold, text, nullptr));
                break;
            }
            // The library packs the rows as one run of bits; other programs expect each row to
            // start on a byte, so the body is re-laid out before it is written.
            char* buffer = nullptr;
            std::size_t size = 0;
            File memory(open_memstream(&buffer, &size));
            if (!memory) throw Failure("out of memory");
            const char* message = mutils::imguniv_write_pbm(memory.get(), &data.grey(), o.pbm_threshold, 0, nullptr);
            memory.reset();
            std::string packed(buffer, size);
            std::free(buffer);
            check(message);
            const std::string padded = pbm_to_standard_layout(packed);
            if (std::fwrite(padded.data(), 1, padded.size(), f) != padded.size()) throw Failure("write failed");
            break;
        }
        case Format::png: write_png(f, image_planes(data)); break;
        case Format::ppm: {
            std::vector<_univ_mat> planes = image_planes(data);
            if (planes.size() == 1) planes = {planes[0], planes[0], planes[0]};
            if (planes.size() != 3) throw Failure("a PPM image needs one or three planes");
            _mat_set s = to_set(planes);
            check(mutils::imgset_write_ppm(f, &s, text, nullptr));
            break;
        }
        case Format::printed:
            for (const auto& p : data.planes) {
                if (p.type == MUTIL_DCOMPLEX) {
                    throw Failure("complex matrices have no printed form; take the real part with convert --real");
                }
                check(mutils::matuniv_print(f, &p, nullptr, 0, nullptr));
            }
            break;
        case Format::text:
            for (const auto& p : data.planes) {
                _univ_mat d = p.type == MUTIL_DOUBLE ? p : to_double(p);
                const _double_mat dd = typed<_double_mat>(d);
                check(mutils::matdbl_write_ascii(f, &dd, " ", 0, nullptr));
            }
            break;
        case Format::tiff: break;
    }
    if (std::fflush(f) != 0) throw Failure("write failed");
}

}  // namespace

void save(const std::string& path, const Data& data, const SaveOptions& o) {
    Format format = o.format.empty() ? format_of(path) : format_named(o.format);
    if (path == "-") return write_stream(stdout, format, data, o);
    // Write beside the target, then rename: a failure never leaves a partial file under the name.
    std::string tmp = path + ".partXXXXXX";
    int fd = mkstemp(tmp.data());
    if (fd < 0) throw Failure("cannot create " + path + ": " + std::strerror(errno));
    fchmod(fd, 0644);
    try {
        if (format == Format::tiff) {
            close(fd);
            std::vector<_univ_mat> planes = image_planes(data);
            if (planes.size() == 1) {
                check(mutils::imguniv_write_tiff(widen(tmp).c_str(), &planes[0], nullptr));
            } else {
                _mat_set s = to_set(planes);
                check(mutils::imgset_write_tiff(widen(tmp).c_str(), &s, nullptr));
            }
        } else {
            File f(fdopen(fd, "wb"));
            if (!f) {
                close(fd);
                throw Failure("cannot write " + path);
            }
            write_stream(f.get(), format, data, o);
            if (std::fclose(f.release()) != 0) throw Failure("cannot write " + path);
        }
        if (std::rename(tmp.c_str(), path.c_str()) != 0)
            throw Failure("cannot write " + path + ": " + std::strerror(errno));
    } catch (...) {
        std::remove(tmp.c_str());
        throw;
    }
}

std::string output_for(const std::string& input, const std::string& output, std::size_t n, const std::string& ext) {
    if (n == 1) return output;
    mkdir(output.c_str(), 0755);
    std::string base = input.substr(input.find_last_of('/') == std::string::npos ? 0 : input.find_last_of('/') + 1);
    auto dot = base.find_last_of('.');
    if (dot != std::string::npos) base = base.substr(0, dot);
    return output + "/" + base + "." + ext;
}

}  // namespace cli
