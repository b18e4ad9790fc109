// Agreement with the usual command-line image tools: files we write are read correctly by netpbm
// and libtiff's tools, and files those tools make are read correctly by us. Each test is skipped
// when a tool it needs is not installed.
#include <cstring>
#include <random>
#include <sstream>

#include "file_support.h"
#include "support.h"

namespace mutils::test {
namespace {

using InteropTest = ArenaTest;

#define REQUIRE_TOOLS(...) \
    if (!have_tools({__VA_ARGS__})) GTEST_SKIP() << "tool absent"

template <class F> void write_file(const std::string& path, F&& write) {
    FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(message(write(f)), "");
    std::fclose(f);
}

_univ_mat read_pgm_file(const std::string& path) {
    _univ_mat r{};
    FILE* f = std::fopen(path.c_str(), "rb");
    EXPECT_EQ(message(mutils::imguniv_read_pgm(f, nullptr, &r)), "") << path;
    std::fclose(f);
    return r;
}

_mat_set read_ppm_file(const std::string& path) {
    _mat_set s{};
    FILE* f = std::fopen(path.c_str(), "rb");
    EXPECT_EQ(message(mutils::imgset_read_ppm(f, nullptr, &s)), "") << path;
    std::fclose(f);
    return s;
}

_mat_set read_tiff_file(const std::string& path) {
    _mat_set s{};
    EXPECT_EQ(message(imgset_read_tiff(wide(path).c_str(), nullptr, &s)), "") << path;
    return s;
}

// The numbers of a plain anymap as the tools print it: magic, width, height, [maxval,] samples.
std::vector<double> plain_numbers(const std::string& text) {
    std::istringstream in(text.substr(2));
    std::vector<double> v;
    for (double x; in >> x;) v.push_back(x);
    return v;
}

template <class T> std::vector<double> as_doubles(const _univ_mat& m) {
    const auto v = values_of<T>(m);
    return std::vector<double>(v.begin(), v.end());
}

template <class T> _univ_mat random_univ(int32_t rows, int32_t cols, uint32_t top, unsigned seed) {
    std::mt19937 gen(seed);
    auto m = make_univ<T>(rows, cols);
    for (int32_t i = 0; i < m.nelem; ++i) static_cast<T*>(m.data)[i] = T(gen() % (uint64_t(top) + 1));
    return m;
}

// ---- files we write, read by the tools --------------------------------------------------------

TEST_F(InteropTest, NetpbmReadsOurGreymaps) {
    REQUIRE_TOOLS("pamfile", "pamtopnm", "pnmtoplainpnm");
    const std::string raw = scratch("raw.pgm"), text = scratch("text.pgm"), wide16 = scratch("wide.pgm");
    auto img = random_univ<unsigned char>(7, 19, 200, 1);
    const auto bytes = values_of<unsigned char>(img);
    const std::string top = std::to_string(*std::max_element(bytes.begin(), bytes.end()));
    for (unsigned char plain : {0, 1}) {
        const std::string& path = plain ? text : raw;
        write_file(path, [&](FILE* f) { return mutils::imguniv_write_pgm(f, &img, plain, nullptr); });
        const std::string kind = plain ? "PGM plain" : "PGM raw";
        EXPECT_NE(run("pamfile " + path).find(kind + ", 19 by 7  maxval " + top), std::string::npos);
        EXPECT_EQ(run("pamtopnm " + path), "P5\n19 7\n" + top + "\n" + std::string(bytes.begin(), bytes.end()));
    }

    // 16-bit images are written as text; netpbm gives them back raw and big-endian.
    auto w = random_univ<uint16_t>(3, 4, 65535, 2);
    write_file(wide16, [&](FILE* f) { return mutils::imguniv_write_pgm(f, &w, 0, nullptr); });
    const auto plain = plain_numbers(run("pnmtoplainpnm " + wide16));
    ASSERT_EQ(plain.size(), 3u + 12u);
    EXPECT_EQ(plain[0], 4);
    EXPECT_EQ(plain[1], 3);
    EXPECT_EQ(std::vector<double>(plain.begin() + 3, plain.end()), as_doubles<uint16_t>(w));
}

TEST_F(InteropTest, NetpbmReadsOurPixmaps) {
    REQUIRE_TOOLS("pamfile", "pamtopnm");
    _mat_set s{};
    const int32_t three = 3;
    matset_malloc(&s, 1, &three);
    for (int p = 0; p < 3; ++p) s.mats[p] = random_univ<unsigned char>(5, 11, 255, 10 + p);
    std::string interleaved;
    for (int i = 0; i < 55; ++i)
        for (int p = 0; p < 3; ++p) interleaved += char(static_cast<unsigned char*>(s.mats[p].data)[i]);
    double top = 0;
    for (int p = 0; p < 3; ++p)
        for (unsigned char v : values_of<unsigned char>(s.mats[p])) top = std::max(top, double(v));
    for (unsigned char text : {0, 1}) {
        const std::string path = scratch(text ? "text.ppm" : "raw.ppm");
        write_file(path, [&](FILE* f) { return mutils::imgset_write_ppm(f, &s, text, nullptr); });
        EXPECT_NE(run("pamfile " + path).find(std::string("PPM ") + (text ? "plain" : "raw") + ", 11 by 5"),
                  std::string::npos);
        EXPECT_EQ(run("pamtopnm " + path), "P6\n11 5\n" + std::to_string(int(top)) + "\n" + interleaved);
    }
}

TEST_F(InteropTest, LibtiffToolsReadOurTiffs) {
    REQUIRE_TOOLS("tiffdump");
    const std::string path = scratch("grey.tif");
    auto img = random_univ<uint16_t>(6, 9, 65535, 3);
    ASSERT_EQ(message(imguniv_write_tiff(wide(path).c_str(), &img, nullptr)), "");
    const std::string dump = run("tiffdump " + path);
    for (const char* tag : {"ImageWidth (256) SHORT (3) 1<9>", "ImageLength (257) SHORT (3) 1<6>",
                            "BitsPerSample (258) SHORT (3) 1<16>", "Compression (259) SHORT (3) 1<1>",
                            "Photometric (262) SHORT (3) 1<1>", "SamplesPerPixel (277) SHORT (3) 1<1>",
                            "PlanarConfig (284) SHORT (3) 1<1>"})
        EXPECT_NE(dump.find(tag), std::string::npos) << tag << "\n" << dump;
}

// ---- files the tools make, read by us -----------------------------------------------------------

TEST_F(InteropTest, WeReadNetpbmGreymapsRawAndPlain) {
    REQUIRE_TOOLS("pgmramp", "pnmtoplainpnm");
    for (const char* args : {"-lr 37 5", "-diag 64 3", "-lr -maxval 1000 9 4", "-tb -maxval 65535 3 300"}) {
        const std::string raw = scratch("ramp.pgm"), plain = scratch("ramp_plain.pgm");
        put_file(raw, run(std::string("pgmramp ") + args));
        put_file(plain, run("pnmtoplainpnm " + raw));
        const auto numbers = plain_numbers(file_text(plain));
        const _univ_mat a = read_pgm_file(raw), b = read_pgm_file(plain);
        EXPECT_EQ(a.ncol, numbers[0]) << args;
        EXPECT_EQ(a.nrow, numbers[1]) << args;
        EXPECT_EQ(a.type, numbers[2] <= 255 ? MUTIL_UINT8 : MUTIL_UINT16) << args;
        const std::vector<double> samples(numbers.begin() + 3, numbers.end());
        for (const _univ_mat* m : {&a, &b})
            EXPECT_EQ(m->type == MUTIL_UINT8 ? as_doubles<unsigned char>(*m) : as_doubles<uint16_t>(*m), samples)
                << args;
    }
}

TEST_F(InteropTest, WeReadNetpbmPixmapsAndBitmaps) {
    REQUIRE_TOOLS("ppmmake", "pbmmake", "pnmtoplainpnm");
    const std::string ppm = scratch("c.ppm"), plain = scratch("c_plain.ppm");
    put_file(ppm, run("ppmmake rgb:12/34/56 4 3"));
    put_file(plain, run("pnmtoplainpnm " + ppm));
    for (const std::string& path : {ppm, plain}) {
        const _mat_set s = read_ppm_file(path);
        ASSERT_EQ(s.nmat, 3);
        const unsigned char want[3] = {0x12, 0x34, 0x56};
        for (int p = 0; p < 3; ++p) {
            ASSERT_EQ(s.mats[p].type, MUTIL_UINT8);
            EXPECT_EQ(values_of<unsigned char>(s.mats[p]), std::vector<unsigned char>(12, want[p])) << path;
        }
    }
    // Bitmaps: plain ones of any width, raw ones whose width is a multiple of 8 (other widths are
    // packed as one run here, on purpose).
    const std::string pbm = scratch("g.pbm");
    for (const char* args : {"-g 16 3", "-g 13 4"}) {
        put_file(pbm, run(std::string("pbmmake ") + args));
        put_file(plain, run("pnmtoplainpnm " + pbm));
        // Plain bitmap digits may run together: read the header numbers, then digit by digit.
        std::istringstream in(file_text(plain).substr(2));
        int width = 0, height = 0;
        in >> width >> height;
        std::vector<unsigned char> want;
        for (char c; in.get(c);)
            if (c == '0' || c == '1') want.push_back(c == '0' ? 255 : 0);
        ASSERT_EQ(int(want.size()), width * height) << args;
        EXPECT_EQ(values_of<unsigned char>(read_pgm_file(plain)), want) << args;
        if (width % 8 == 0) {
            EXPECT_EQ(values_of<unsigned char>(read_pgm_file(pbm)), want) << args;
        }
    }
}

TEST_F(InteropTest, WeReadLibtiffsOwnConversionOfOurPixmapsStripedAndTiled) {
    // (Tool-made grey, palette, bilevel and separate-plane files are covered with the TIFF tests.)
    REQUIRE_TOOLS("ppm2tiff", "tiffcp", "tiffinfo");
    _mat_set s{};
    const int32_t three = 3;
    matset_malloc(&s, 1, &three);
    for (int p = 0; p < 3; ++p) s.mats[p] = random_univ<unsigned char>(13, 21, 255, 20 + p);
    static_cast<unsigned char*>(s.mats[0].data)[0] = 255;  // maxval 255, as ppm2tiff wants
    const std::string ppm = scratch("c.ppm"), rgb = scratch("rgb.tif"), tiled = scratch("rgbt.tif");
    write_file(ppm, [&](FILE* f) { return mutils::imgset_write_ppm(f, &s, 0, nullptr); });
    run("ppm2tiff " + ppm + " " + rgb);
    run("tiffcp -t -w 16 -l 16 -c lzw " + rgb + " " + tiled);
    ASSERT_NE(run("tiffinfo " + tiled).find("Tile Width: 16"), std::string::npos);
    for (const std::string& path : {rgb, tiled}) {
        const _mat_set back = read_tiff_file(path);
        ASSERT_EQ(back.nmat, 3) << path;
        for (int p = 0; p < 3; ++p)
            EXPECT_EQ(values_of<unsigned char>(back.mats[p]), values_of<unsigned char>(s.mats[p])) << path << p;
    }
}

}  // namespace
}  // namespace mutils::test
