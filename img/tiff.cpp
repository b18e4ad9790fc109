#include "tiff.h"

#include <sys/stat.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>

#include "detail_pixels.h"

namespace mutils {
namespace detail {
namespace {

int quiet(TIFF*, void*, const char*, const char*, va_list) { return 1; }  // handled: nothing printed

// The UTF-8 form of a wide path; false for a value that is no Unicode scalar.
bool narrow_path(const wchar_t* w, std::string& out) {
    for (; *w; ++w) {
        const uint32_t c = static_cast<uint32_t>(*w);
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6)), out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            if (c >= 0xD800 && c <= 0xDFFF) return false;
            out += char(0xE0 | (c >> 12)), out += char(0x80 | ((c >> 6) & 0x3F)), out += char(0x80 | (c & 0x3F));
        } else if (c < 0x110000) {
            out += char(0xF0 | (c >> 18)), out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F)), out += char(0x80 | (c & 0x3F));
        } else {
            return false;
        }
    }
    return true;
}

// An open TIFF file with quiet handlers, closed when the holder goes out of scope.
class TiffFile {
public:
    TiffFile(const wchar_t* path, const char* mode) {
        std::string narrow;
        if (!narrow_path(path, narrow)) return;
        TIFFOpenOptions* opts = TIFFOpenOptionsAlloc();
        if (!opts) return;
        TIFFOpenOptionsSetErrorHandlerExtR(opts, quiet, nullptr);
        TIFFOpenOptionsSetWarningHandlerExtR(opts, quiet, nullptr);
        m_tif = TIFFOpenExt(narrow.c_str(), mode, opts);
        TIFFOpenOptionsFree(opts);
    }
    ~TiffFile() {
        if (m_tif) TIFFClose(m_tif);
    }
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;
    TIFF* get() const { return m_tif; }

private:
    TIFF* m_tif = nullptr;
};

// A libtiff buffer released when the holder goes out of scope.
struct TiffBuffer {
    explicit TiffBuffer(uint64_t bytes)
        : p(bytes > 0 && bytes < (uint64_t(1) << 40) ? _TIFFmalloc(tmsize_t(bytes)) : nullptr) {}
    ~TiffBuffer() {
        if (p) _TIFFfree(p);
    }
    TiffBuffer(const TiffBuffer&) = delete;
    TiffBuffer& operator=(const TiffBuffer&) = delete;
    unsigned char* bytes() const { return static_cast<unsigned char*>(p); }
    void* p;
};

// ---- writing --------------------------------------------------------------------------------

int writable_bits(int32_t type) {
    switch (type) {
        case MUTIL_UINT8: return 8;
        case MUTIL_UINT16: return 16;
        case MUTIL_UINT32: return 32;
        default: return 0;
    }
}

// Writes n equally sized matrices of one writable type as the samples of one directory.
const char* write_samples(const wchar_t* path, const _univ_mat* mats, int32_t n, void* intrp) {
    const int bits = writable_bits(mats[0].type);
    const uint32_t rows = uint32_t(mats[0].nrow), cols = uint32_t(mats[0].ncol);
    TiffFile file(path, "w");
    TIFF* tif = file.get();
    if (!tif) return msg::io_error;
    const uint16_t colour = n >= 3 ? 3 : 1, extras = uint16_t(n - colour);
    bool ok = TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, uint16_t(n)) &&
              TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, uint16_t(bits)) &&
              TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, colour == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK) &&
              TIFFSetField(tif, TIFFTAG_IMAGELENGTH, rows) && TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, cols) &&
              TIFFSetField(tif, TIFFTAG_PLANARCONFIG, n == 1 ? PLANARCONFIG_CONTIG : PLANARCONFIG_SEPARATE);
    if (ok && extras > 0) {
        uint16_t* kinds = work_array_zero<uint16_t>(extras);  // EXTRASAMPLE_UNSPECIFIED
        ok = TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, extras, kinds);
    }
    if (!ok) return msg::io_error;
    const std::size_t row_bytes = std::size_t(cols) * std::size_t(bits / 8);
    TiffBuffer line(bits > 8 ? row_bytes : 0);
    if (bits > 8 && !line.p) return msg::out_of_memory;
    Poll poll(intrp);
    for (int32_t s = 0; s < n; ++s) {
        const unsigned char* plane = static_cast<const unsigned char*>(mats[s].data);
        for (uint32_t y = 0; y < rows; ++y) {
            const unsigned char* src = plane + y * row_bytes;
            void* out = const_cast<unsigned char*>(src);  // 8-bit rows are written straight from the image
            if (bits > 8) out = std::memcpy(line.p, src, row_bytes);
            if (TIFFWriteScanline(tif, out, y, uint16_t(s)) < 0) return msg::io_error;
            MUTILS_TRY(poll.add(double(row_bytes) + 8.0));
        }
    }
    return TIFFWriteDirectory(tif) ? nullptr : msg::io_error;
}

// ---- reading --------------------------------------------------------------------------------

enum class Kind { direct, scaled_grey, palette };

struct Layout {
    uint16_t bits = 1, spp = 1, photometric = 0, planar = PLANARCONFIG_CONTIG, format = SAMPLEFORMAT_UINT;
    uint32_t rows = 0, cols = 0, tile_rows = 0, tile_cols = 0;
    bool tiled = false;
    uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    Kind kind = Kind::direct;
    _mutil_data_type type = MUTIL_UINT8;  // the type of the stored samples
    int32_t planes = 1;                   // matrices of the result
};

// Tags in the documented order; false when one without a TIFF default is missing.
bool read_tags(TIFF* tif, Layout& l) {
    if (!TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &l.bits) ||
        !TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &l.spp) ||
        !TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &l.photometric) ||
        !TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &l.planar) ||
        !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &l.rows) || !TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &l.cols))
        return false;
    if (l.photometric == PHOTOMETRIC_PALETTE && !TIFFGetField(tif, TIFFTAG_COLORMAP, &l.red, &l.green, &l.blue))
        return false;
    l.tiled = TIFFIsTiled(tif) != 0;
    if (l.tiled &&
        (!TIFFGetField(tif, TIFFTAG_TILELENGTH, &l.tile_rows) || !TIFFGetField(tif, TIFFTAG_TILEWIDTH, &l.tile_cols)))
        return false;
    if (!TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &l.format)) l.format = SAMPLEFORMAT_UINT;
    return true;
}

// The stored type and the result shape of a supported layout; false for the others.
bool classify(Layout& l) {
    if (l.rows == 0 || l.cols == 0 || l.spp == 0) return false;
    if (l.planar != PLANARCONFIG_CONTIG && l.planar != PLANARCONFIG_SEPARATE) return false;
    if (l.tiled && (l.tile_rows == 0 || l.tile_cols == 0)) return false;
    const bool sub_byte = l.bits == 1 || l.bits == 2 || l.bits == 4;
    if (l.format == SAMPLEFORMAT_UINT && (sub_byte || l.bits == 8))
        l.type = MUTIL_UINT8;
    else if (l.format == SAMPLEFORMAT_UINT && l.bits == 16)
        l.type = MUTIL_UINT16;
    else if (l.format == SAMPLEFORMAT_UINT && l.bits == 32)
        l.type = MUTIL_UINT32;
    else if (l.format == SAMPLEFORMAT_INT && l.bits == 16)
        l.type = MUTIL_SINT16;
    else if (l.format == SAMPLEFORMAT_INT && l.bits == 32)
        l.type = MUTIL_SINT32;
    else if (l.format == SAMPLEFORMAT_IEEEFP && l.bits == 32)
        l.type = MUTIL_FLOAT;
    else if (l.format == SAMPLEFORMAT_IEEEFP && l.bits == 64)
        l.type = MUTIL_DOUBLE;
    else
        return false;
    l.planes = l.spp;
    switch (l.photometric) {
        case PHOTOMETRIC_MINISBLACK:
        case PHOTOMETRIC_MINISWHITE:
            if (sub_byte) {
                l.kind = Kind::scaled_grey;
                return l.spp == 1;
            }
            return l.photometric == PHOTOMETRIC_MINISBLACK || l.format == SAMPLEFORMAT_UINT;
        case PHOTOMETRIC_RGB: return l.spp >= 3 && !sub_byte;
        case PHOTOMETRIC_PALETTE:
            l.kind = Kind::palette;
            l.planes = 3;
            return l.spp == 1 && (sub_byte || l.bits == 8) && l.format == SAMPLEFORMAT_UINT;
        default: return false;
    }
}

// Whether the file can hold the image: uncompressed data must be all there ("Input-output
// error" otherwise); compressed data is taken to expand at most 2048 times ("out of memory").
// Tiled images count their full tiles.
const char* check_file_size(TIFF* tif, const Layout& l) {
    if (uint64_t(l.rows) * l.cols > uint64_t(INT32_MAX)) return msg::out_of_memory;
    struct stat st;
    if (fstat(TIFFFileno(tif), &st) != 0) return msg::io_error;
    const uint64_t file = uint64_t(st.st_size);
    const uint64_t row_bits = uint64_t(l.cols) * l.spp * l.bits;
    uint64_t raw = (row_bits + 7) / 8 * l.rows;  // decoded sample bytes, rows padded
    // Tiles are stored and decoded whole, so a forged tile size counts with all its padding:
    // one tile buffer can then never be larger than the file justifies.
    if (l.tiled) raw = std::max(raw, uint64_t(TIFFNumberOfTiles(tif)) * uint64_t(TIFFTileSize64(tif)));
    uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
    if (compression == COMPRESSION_NONE) return raw <= file ? nullptr : msg::io_error;
    return raw <= file * 2048 + 65536 ? nullptr : msg::out_of_memory;
}

// Copies the samples of one row segment (w pixels of k interleaved samples, `bits` wide) into
// planes[0..k) at row y from column x0.
template <class T>
void unpack(const unsigned char* src, int64_t w, int k, int bits, _univ_mat* planes, int64_t y, int64_t x0) {
    const int64_t at = y * planes[0].ncol + x0;
    if (bits < 8) {
        const unsigned mask = (1u << bits) - 1u;
        T* dst = static_cast<T*>(planes[0].data) + at;
        for (int64_t i = 0; i < w; ++i) {
            const int64_t bit = i * bits;
            dst[i] = T((src[bit >> 3] >> (8 - bits - (bit & 7))) & mask);
        }
        return;
    }
    if (k == 1) {
        std::memcpy(static_cast<T*>(planes[0].data) + at, src, std::size_t(w) * sizeof(T));
        return;
    }
    for (int j = 0; j < k; ++j) {
        T* dst = static_cast<T*>(planes[j].data) + at;
        for (int64_t i = 0; i < w; ++i) std::memcpy(&dst[i], src + (i * k + j) * int64_t(sizeof(T)), sizeof(T));
    }
}

// Reads every strip or tile of the first directory into the sample planes.
template <class T> const char* read_samples(TIFF* tif, const Layout& l, _univ_mat* planes, Poll& poll) {
    const bool separate = l.planar == PLANARCONFIG_SEPARATE && l.spp > 1;
    const int nsep = separate ? l.spp : 1, k = separate ? 1 : l.spp;
    if (l.tiled) {
        TiffBuffer tile(TIFFTileSize64(tif));
        const uint64_t row_bytes = TIFFTileRowSize64(tif);
        if (!tile.p) return msg::out_of_memory;
        for (int s = 0; s < nsep; ++s)
            for (uint32_t ty = 0; ty < l.rows; ty += l.tile_rows)
                for (uint32_t tx = 0; tx < l.cols; tx += l.tile_cols) {
                    if (TIFFReadTile(tif, tile.p, tx, ty, 0, uint16_t(s)) < 0) return msg::io_error;
                    const int64_t w = std::min<int64_t>(l.tile_cols, l.cols - tx);
                    const uint32_t y1 = uint32_t(std::min<uint64_t>(uint64_t(ty) + l.tile_rows, l.rows));
                    for (uint32_t y = ty; y < y1; ++y)
                        unpack<T>(tile.bytes() + (y - ty) * row_bytes, w, k, l.bits, planes + s * k, y, tx);
                    MUTILS_TRY(poll.add(double(row_bytes) * (y1 - ty) + 8.0));
                }
        return nullptr;
    }
    const uint64_t row_bytes = TIFFScanlineSize64(tif);
    TiffBuffer line(row_bytes);
    if (!line.p) return msg::out_of_memory;
    for (int s = 0; s < nsep; ++s)
        for (uint32_t y = 0; y < l.rows; ++y) {
            if (TIFFReadScanline(tif, line.p, y, uint16_t(s)) < 0) return msg::io_error;
            unpack<T>(line.bytes(), l.cols, k, l.bits, planes + s * k, y, 0);
            MUTILS_TRY(poll.add(double(row_bytes) + 8.0));
        }
    return nullptr;
}

// Sub-byte grey levels spread over 0..255 (black 0, white 255 for both interpretations), and
// min-is-white grey levels turned into min-is-black.
void to_min_is_black(const Layout& l, _univ_mat* plane) {
    const int64_t n = plane->nelem;
    if (l.kind == Kind::scaled_grey) {
        const unsigned top = (1u << l.bits) - 1u;
        unsigned char lut[256];
        for (unsigned v = 0; v <= top; ++v) {
            unsigned level = l.photometric == PHOTOMETRIC_MINISWHITE ? top - v : v;
            lut[v] = static_cast<unsigned char>(level * 255u / top);
        }
        unsigned char* p = static_cast<unsigned char*>(plane->data);
        for (int64_t i = 0; i < n; ++i) p[i] = lut[p[i]];
        return;
    }
    if (l.photometric != PHOTOMETRIC_MINISWHITE) return;
    auto invert = [n](auto* p) {
        using E = std::remove_pointer_t<decltype(p)>;
        for (int64_t i = 0; i < n; ++i) p[i] = E(~p[i]);  // max - v for unsigned samples
    };
    switch (plane->type) {
        case MUTIL_UINT8: invert(static_cast<unsigned char*>(plane->data)); break;
        case MUTIL_UINT16: invert(static_cast<uint16_t*>(plane->data)); break;
        default: invert(static_cast<uint32_t*>(plane->data)); break;
    }
}

// Palette indices expanded into red, green and blue planes of 8 bits.
void expand_palette(const Layout& l, const _uint8_mat& index, _mat_set* result) {
    const int entries = 1 << l.bits;
    uint16_t* map[3] = {l.red, l.green, l.blue};
    bool eight_bit = true;
    for (int c = 0; c < 3; ++c)
        for (int e = 0; e < entries; ++e) eight_bit = eight_bit && map[c][e] < 256;
    for (int c = 0; c < 3; ++c) {
        unsigned char lut[256] = {};
        for (int e = 0; e < entries; ++e) lut[e] = static_cast<unsigned char>(eight_bit ? map[c][e] : map[c][e] >> 8);
        unsigned char* dst = static_cast<unsigned char*>(result->mats[c].data);
        for (int32_t i = 0; i < index.nelem; ++i) dst[i] = lut[index.data[i]];
    }
}

const char* read_tiff(const wchar_t* path, void* intrp, _mat_set* result) {
    TiffFile file(path, "r");
    TIFF* tif = file.get();
    if (!tif) return msg::io_error;
    Layout l;
    if (!read_tags(tif, l)) return msg::io_error;
    if (!classify(l)) return msg::illegal_data_value;
    MUTILS_TRY(check_file_size(tif, l));

    const int32_t dims[1] = {l.planes};
    matset_malloc(result, 1, dims);
    matset_malloc_matrices(result, int32_t(l.rows), int32_t(l.cols), l.kind == Kind::palette ? MUTIL_UINT8 : l.type);
    _uint8_mat index{};
    _univ_mat index_plane{};
    _univ_mat* planes = result->mats;
    if (l.kind == Kind::palette) {
        index = work_matrix<unsigned char>(int32_t(l.rows), int32_t(l.cols));
        index_plane = {index.nrow, index.ncol, index.nelem, index.data, MUTIL_UINT8};
        planes = &index_plane;
    }
    Poll poll(intrp);
    MUTILS_TRY(dispatch(l.type, real_types{},
                        [&](auto t) { return read_samples<typename decltype(t)::type>(tif, l, planes, poll); }));
    if (l.kind == Kind::palette)
        expand_palette(l, index, result);
    else if (l.format == SAMPLEFORMAT_UINT)
        to_min_is_black(l, &result->mats[0]);
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* imguniv_write_tiff(const wchar_t* path, const _univ_mat* image, void* intrp) {
    if (!path || !image) return msg::null_pointer;
    validate_univ(image);
    if (!writable_bits(image->type)) return msg::illegal_data_type;
    return write_samples(path, image, 1, intrp);
}

const char* imgset_write_tiff(const wchar_t* path, const _mat_set* set, void* intrp) {
    if (!path || !set) return msg::null_pointer;
    validate_set(set);
    if (set->nmat > 65535) return msg::illegal_data_value;
    for (int32_t i = 0; i < set->nmat; ++i) {
        validate_univ(&set->mats[i]);
        MUTILS_TRY(require_same_size(&set->mats[i], &set->mats[0]));
        if (set->mats[i].type != set->mats[0].type) return msg::illegal_data_type;
    }
    if (!writable_bits(set->mats[0].type)) return msg::illegal_data_type;
    return write_samples(path, set->mats, set->nmat, intrp);
}

const char* imgset_read_tiff(const wchar_t* path, void* intrp, _mat_set* result) {
    if (!path || !result) return msg::null_pointer;
    return read_tiff(path, intrp, result);
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_write_tiff, (const wchar_t* p, const mutils::_univ_mat* a, void* i), (p, a, i))
MUTILS_PLAIN(imgset_write_tiff, (const wchar_t* p, const mutils::_mat_set* s, void* i), (p, s, i))
MUTILS_PLAIN(imgset_read_tiff, (const wchar_t* p, void* i, mutils::_mat_set* r), (p, i, r))
