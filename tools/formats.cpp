// The program's own image codecs: PNG through libpng, JPEG through libjpeg, and the standard
// row-padded layout of raw bitmaps (P4) beside the library's unpadded one.
//
// The PNG and JPEG readers parse files from anywhere: libpng and libjpeg report errors by a
// longjmp back into the decoding function, which then frees the decoder and returns the message.
// No C++ object with a destructor lives between a setjmp and its longjmp; pixel buffers belong to
// the caller's Raster.
#include <bit>
#include <cctype>
#include <csetjmp>
#include <cstdio>  // before jpeglib.h, which uses FILE and size_t without declaring them
#include <cstring>
#include <memory>
#include <new>

#include <jerror.h>
#include <jpeglib.h>
#include <png.h>

#include "cli.h"

namespace cli {

using namespace mutils;

namespace {

// Decoded images larger than this are refused before their pixels are allocated.
constexpr uint64_t kMaxDecodedBytes = uint64_t(1) << 30;

/// Interleaved pixels as a decoder leaves them: rows of width x channels samples of 1 or 2 bytes.
struct Raster {
    uint32_t width = 0, height = 0;
    int channels = 0, bytes = 1;
    std::unique_ptr<unsigned char[]> pixels;
    char message[JMSG_LENGTH_MAX > 200 ? JMSG_LENGTH_MAX : 200] = {};
};

const char* size_problem(uint64_t width, uint64_t height, uint64_t sample_bytes) {
    if (width == 0 || height == 0) return "empty image";
    if (width * height > uint64_t(INT32_MAX) || width * height * sample_bytes > kMaxDecodedBytes)
        return "image too large";
    return nullptr;
}

bool allocate(Raster* r, const char* problem) {
    if (problem) {
        std::snprintf(r->message, sizeof r->message, "%s", problem);
        return false;
    }
    r->pixels.reset(new (std::nothrow) unsigned char[std::size_t(r->width) * r->height * r->channels * r->bytes]);
    if (!r->pixels) std::snprintf(r->message, sizeof r->message, "out of memory");
    return bool(r->pixels);
}

// ---- PNG ------------------------------------------------------------------------------------------

void png_fail(png_structp png, png_const_charp text) {
    auto* r = static_cast<Raster*>(png_get_error_ptr(png));
    std::snprintf(r->message, sizeof r->message, "%s", text);
    png_longjmp(png, 1);
}

void png_warn(png_structp, png_const_charp) {}

/// Decodes a PNG to 8- or 16-bit grey, grey+alpha, RGB or RGBA samples (palettes expanded,
/// their transparency becoming alpha); returns false with r->message set on any error.
bool decode_png(FILE* f, Raster* r) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, r, png_fail, png_warn);
    if (!png) return std::snprintf(r->message, sizeof r->message, "out of memory"), false;
    png_infop info = png_create_info_struct(png);
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, info ? &info : nullptr, nullptr);
        return false;
    }
    png_init_io(png, f);
    png_read_info(png, info);
    const int type = png_get_color_type(png, info), depth = png_get_bit_depth(png, info);
    if (type == PNG_COLOR_TYPE_PALETTE) {
        png_set_palette_to_rgb(png);
        if (png_get_valid(png, info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png);
    }
    if (type == PNG_COLOR_TYPE_GRAY && depth < 8) png_set_expand_gray_1_2_4_to_8(png);
    if (depth == 16 && std::endian::native == std::endian::little) png_set_swap(png);
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    r->width = png_get_image_width(png, info);
    r->height = png_get_image_height(png, info);
    r->channels = png_get_channels(png, info);
    r->bytes = png_get_bit_depth(png, info) == 16 ? 2 : 1;
    if (!allocate(r, size_problem(r->width, r->height, uint64_t(r->channels) * r->bytes))) png_longjmp(png, 1);
    const std::size_t stride = std::size_t(r->width) * r->channels * r->bytes;
    if (png_get_rowbytes(png, info) != stride) png_error(png, "unexpected row size");
    for (int pass = 0; pass < passes; ++pass)
        for (uint32_t y = 0; y < r->height; ++y) png_read_row(png, r->pixels.get() + y * stride, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    return true;
}

// ---- JPEG -----------------------------------------------------------------------------------------

struct JpegErrors {
    jpeg_error_mgr manager;
    std::jmp_buf jump;
    Raster* raster;
};

[[noreturn]] void jpeg_fail(j_common_ptr c) {
    auto* e = reinterpret_cast<JpegErrors*>(c->err);
    if (c->err->msg_code == JERR_NO_BACKING_STORE)  // progressive buffers over the memory bound
        std::snprintf(e->raster->message, sizeof e->raster->message, "image too large");
    else
        (*c->err->format_message)(c, e->raster->message);
    std::longjmp(e->jump, 1);
}

// Warnings are ignored, except the image data ending early (at the end of the file or at the next
// marker): libjpeg would go on to pad the whole image, which for a forged size means decoding
// gigapixels of nothing.
void jpeg_note(j_common_ptr c, int level) {
    if (level < 0 && (c->err->msg_code == JWRN_JPEG_EOF || c->err->msg_code == JWRN_HIT_MARKER)) jpeg_fail(c);
}

/// Decodes a JPEG to 8-bit grey or RGB samples; returns false with r->message set on any error.
bool decode_jpeg(FILE* f, Raster* r) {
    jpeg_decompress_struct info;
    JpegErrors errors;
    errors.raster = r;
    info.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = jpeg_fail;
    errors.manager.emit_message = jpeg_note;
    if (setjmp(errors.jump)) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    jpeg_create_decompress(&info);
    info.mem->max_memory_to_use = long(kMaxDecodedBytes / 2);  // bounds progressive-mode buffers
    jpeg_stdio_src(&info, f);
    jpeg_read_header(&info, TRUE);
    if (info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK) {
        std::snprintf(r->message, sizeof r->message, "CMYK JPEG images are not supported");
        std::longjmp(errors.jump, 1);
    }
    info.out_color_space = info.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    if (const char* problem = size_problem(info.image_width, info.image_height, 3)) {
        std::snprintf(r->message, sizeof r->message, "%s", problem);
        std::longjmp(errors.jump, 1);
    }
    jpeg_start_decompress(&info);
    r->width = info.output_width;
    r->height = info.output_height;
    r->channels = info.output_components;
    if (!allocate(r, nullptr)) std::longjmp(errors.jump, 1);
    const std::size_t stride = std::size_t(r->width) * r->channels;
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = r->pixels.get() + info.output_scanline * stride;
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_destroy_decompress(&info);  // trailing markers after the last row are not needed
    return true;
}

/// Planes of a decoded raster: `colour` planes, then the alpha plane when it is kept.
Data planes_of(const Raster& r, int colour, bool keep_alpha) {
    Data d;
    const int n = keep_alpha ? r.channels : colour;
    for (int k = 0; k < n; ++k) {
        _univ_mat m = make(int32_t(r.height), int32_t(r.width), r.bytes == 2 ? MUTIL_UINT16 : MUTIL_UINT8);
        const std::size_t count = std::size_t(m.nelem);
        if (r.bytes == 2) {
            auto* q = static_cast<uint16_t*>(m.data);
            const auto* p = r.pixels.get();
            for (std::size_t i = 0; i < count; ++i)
                std::memcpy(&q[i], p + 2 * (i * std::size_t(r.channels) + std::size_t(k)), 2);
        } else {
            auto* q = static_cast<unsigned char*>(m.data);
            for (std::size_t i = 0; i < count; ++i) q[i] = r.pixels[i * std::size_t(r.channels) + std::size_t(k)];
        }
        d.planes.push_back(m);
    }
    return d;
}

// ---- Bitmap layouts ---------------------------------------------------------------------------------

bool bit(const unsigned char* p, uint64_t i) { return (p[i / 8] >> (7 - i % 8)) & 1; }
void set_bit(unsigned char* p, uint64_t i) { p[i / 8] = static_cast<unsigned char>(p[i / 8] | (0x80 >> (i % 8))); }

/// Position just past the P4 header (magic, width, height and the one white-space byte), or 0.
std::size_t pbm_header(const std::string& b, uint64_t& width, uint64_t& height) {
    std::size_t i = 2;
    auto skip = [&] {
        while (i < b.size() && (std::isspace(static_cast<unsigned char>(b[i])) || b[i] == '#')) {
            if (b[i] == '#')
                while (i < b.size() && b[i] != '\n' && b[i] != '\r') ++i;
            else
                ++i;
        }
    };
    auto number = [&](uint64_t& v) {
        skip();
        std::size_t start = i;
        for (v = 0; i < b.size() && std::isdigit(static_cast<unsigned char>(b[i])) && v < (uint64_t(1) << 40); ++i)
            v = v * 10 + uint64_t(b[i] - '0');
        return i > start;
    };
    if (b.compare(0, 2, "P4") != 0 || !number(width) || !number(height) || i >= b.size()) return 0;
    return std::isspace(static_cast<unsigned char>(b[i])) ? i + 1 : 0;
}

}  // namespace

Data read_png(FILE* f, bool keep_alpha, bool* had_alpha) {
    Raster r;
    if (!decode_png(f, &r)) throw Failure(std::string("PNG: ") + r.message);
    const int colour = r.channels == 2 || r.channels == 4 ? r.channels - 1 : r.channels;
    if (had_alpha) *had_alpha = colour != r.channels;
    return planes_of(r, colour, keep_alpha);
}

Data read_jpeg(FILE* f) {
    Raster r;
    if (!decode_jpeg(f, &r)) throw Failure(std::string("JPEG: ") + r.message);
    return planes_of(r, r.channels, false);
}

void write_png(FILE* f, const std::vector<_univ_mat>& planes) {
    if (planes.empty() || planes.size() > 4) throw Failure("a PNG image needs one to four planes");
    uint32_t top = 0;
    for (const auto& p : planes) {
        if (p.nrow != planes[0].nrow || p.ncol != planes[0].ncol) throw Failure("planes differ in size");
        if (p.type == MUTIL_UINT8) top = std::max<uint32_t>(top, 255);
        auto [lo, hi] = range_of(p);
        (void)lo;
        top = std::max(top, uint32_t(hi));
    }
    if (top > 65535) throw Failure("values above 65535 do not fit a PNG image (write .pgm, .tif or .mat)");
    const int bytes = top > 255 ? 2 : 1, channels = int(planes.size());
    const std::size_t w = std::size_t(planes[0].ncol), h = std::size_t(planes[0].nrow);
    std::vector<unsigned char> pixels(w * h * std::size_t(channels * bytes));
    std::vector<png_bytep> rows(h);
    for (int k = 0; k < channels; ++k) {
        _univ_mat d =
            planes[std::size_t(k)].type == MUTIL_DOUBLE ? planes[std::size_t(k)] : to_double(planes[std::size_t(k)]);
        const double* p = static_cast<const double*>(d.data);
        for (std::size_t i = 0; i < w * h; ++i) {
            const auto v = static_cast<uint16_t>(p[i]);
            unsigned char* q = &pixels[(i * std::size_t(channels) + std::size_t(k)) * std::size_t(bytes)];
            if (bytes == 2)
                q[0] = static_cast<unsigned char>(v >> 8), q[1] = static_cast<unsigned char>(v);
            else
                q[0] = static_cast<unsigned char>(v);
        }
    }
    for (std::size_t y = 0; y < h; ++y) rows[y] = &pixels[y * w * std::size_t(channels * bytes)];
    static const int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                PNG_COLOR_TYPE_RGBA};
    Raster errors;  // only its message is used
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &errors, png_fail, png_warn);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, info ? &info : nullptr);
        throw Failure(std::string("PNG: ") + (errors.message[0] ? errors.message : "out of memory"));
    }
    png_init_io(png, f);
    png_set_IHDR(png, info, png_uint_32(w), png_uint_32(h), 8 * bytes, types[channels - 1], PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
}

std::string pbm_to_library_layout(const std::string& bytes) {
    uint64_t w = 0, h = 0;
    const std::size_t body = pbm_header(bytes, w, h);
    if (body == 0 || w == 0 || h == 0 || w % 8 == 0 || h == 1) return bytes;  // the two layouts agree
    const uint64_t row = (w + 7) / 8;
    if (w > INT32_MAX || h > INT32_MAX || bytes.size() - body < row * h) return bytes;  // not the padded layout
    std::string out = "P4\n" + std::to_string(w) + " " + std::to_string(h) + "\n";
    const std::size_t head = out.size();
    out.resize(head + std::size_t((w * h + 7) / 8), '\0');
    auto* src = reinterpret_cast<const unsigned char*>(bytes.data() + body);
    auto* dst = reinterpret_cast<unsigned char*>(out.data() + head);
    for (uint64_t y = 0; y < h; ++y)
        for (uint64_t x = 0; x < w; ++x)
            if (bit(src, y * row * 8 + x)) set_bit(dst, y * w + x);
    return out;
}

std::string pbm_to_standard_layout(const std::string& bytes) {
    uint64_t w = 0, h = 0;
    const std::size_t body = pbm_header(bytes, w, h);
    if (body == 0 || w % 8 == 0 || h <= 1) return bytes;
    const uint64_t row = (w + 7) / 8;
    if (bytes.size() - body < (w * h + 7) / 8) throw Failure("short bitmap body");
    std::string out = bytes.substr(0, body);
    out.resize(body + std::size_t(row * h), '\0');
    auto* src = reinterpret_cast<const unsigned char*>(bytes.data() + body);
    auto* dst = reinterpret_cast<unsigned char*>(out.data() + body);
    for (uint64_t y = 0; y < h; ++y)
        for (uint64_t x = 0; x < w; ++x)
            if (bit(src, y * w + x)) set_bit(dst, y * row * 8 + x);
    return out;
}

}  // namespace cli
