// TIFF files: round trips, files checked and made by libtiff's and netpbm's tools, hostile files.
#include <random>

#include "file_support.h"
#include "support.h"

namespace mutils::test {
namespace {

using TiffTest = ArenaTest;

// Random samples over the type's whole range.
template <class T> _univ_mat random_image(int32_t rows, int32_t cols, unsigned seed) {
    std::mt19937 gen(seed);
    auto m = random_mat<T>(gen, rows, cols);
    _univ_mat u;
    matuniv_wrap_matrix(&u, &m, detail::elem<T>::tag);
    return u;
}

_mat_set read_tiff(const std::string& path, const char* expect = "") {
    _mat_set s{};
    EXPECT_EQ(message(imgset_read_tiff(wide(path).c_str(), nullptr, &s)), expect) << path;
    return s;
}

template <class T> void expect_plane(const _mat_set& s, int32_t i, const _univ_mat& want) {
    ASSERT_LT(i, s.nmat);
    EXPECT_EQ(s.mats[i].type, want.type);
    EXPECT_EQ(s.mats[i].nrow, want.nrow);
    EXPECT_EQ(s.mats[i].ncol, want.ncol);
    EXPECT_EQ(values_of<T>(s.mats[i]), values_of<T>(want)) << "plane " << i;
}

TEST_F(TiffTest, UnsignedImagesAndGreyWithAnExtraSampleRoundTrip) {
    const std::string path = scratch("round.tif");
    auto round_trip = [&]<class T>(T, int32_t rows, int32_t cols, unsigned seed) {
        auto a = random_image<T>(rows, cols, seed);
        ASSERT_EQ(::imguniv_write_tiff(wide(path).c_str(), &a, nullptr), MUTIL_ERR_OK);
        expect_plane<T>(read_tiff(path), 0, a);
    };
    round_trip((unsigned char)0, 7, 5, 1);
    round_trip(uint16_t{}, 3, 9, 2);
    round_trip(uint32_t{}, 4, 4, 3);
    _mat_set set{};
    const int32_t two = 2;
    matset_malloc(&set, 1, &two);
    for (int i = 0; i < 2; ++i) set.mats[i] = random_image<uint32_t>(3, 3, 20 + i);
    ASSERT_EQ(message(imgset_write_tiff(wide(path).c_str(), &set, nullptr)), "");
    auto back = read_tiff(path);
    ASSERT_EQ(back.nmat, 2);
    for (int i = 0; i < 2; ++i) expect_plane<uint32_t>(back, i, set.mats[i]);
}

TEST_F(TiffTest, WrittenGreyAndRgbFilesAreReadByLibtiffAndNetpbmTools) {
    if (!have_tools({"tiffinfo", "tifftopnm"})) GTEST_SKIP() << "libtiff or netpbm tools absent";
    const std::string grey = scratch("grey.tif"), rgb = scratch("rgb.tif");
    auto a8 = random_image<unsigned char>(3, 5, 5);
    ASSERT_EQ(message(imguniv_write_tiff(wide(grey).c_str(), &a8, nullptr)), "");
    const auto bytes = values_of<unsigned char>(a8);
    EXPECT_EQ(run("tifftopnm " + grey), "P5\n5 3\n255\n" + std::string(bytes.begin(), bytes.end()));
    auto a16 = random_image<uint16_t>(6, 9, 6);
    ASSERT_EQ(message(imguniv_write_tiff(wide(grey).c_str(), &a16, nullptr)), "");
    const std::string grey_info = run("tiffinfo " + grey);
    for (const char* field : {"Image Width: 9 Image Length: 6", "Bits/Sample: 16", "Compression Scheme: None",
                              "min-is-black", "Samples/Pixel: 1", "single image plane"})
        EXPECT_NE(grey_info.find(field), std::string::npos) << field << "\n" << grey_info;

    _mat_set set{};
    const int32_t three = 3;
    matset_malloc(&set, 1, &three);
    for (int i = 0; i < 3; ++i) set.mats[i] = random_image<unsigned char>(2, 4, 10 + i);
    ASSERT_EQ(message(imgset_write_tiff(wide(rgb).c_str(), &set, nullptr)), "");
    const std::string rgb_info = run("tiffinfo " + rgb);
    EXPECT_NE(rgb_info.find("RGB color"), std::string::npos) << rgb_info;
    EXPECT_NE(rgb_info.find("separate image planes"), std::string::npos);
    std::string pixels;
    for (int p = 0; p < 8; ++p)
        for (int i = 0; i < 3; ++i) pixels += char(static_cast<unsigned char*>(set.mats[i].data)[p]);
    EXPECT_EQ(run("tifftopnm " + rgb), "P6\n4 2\n255\n" + pixels);
    auto back = read_tiff(rgb);
    ASSERT_EQ(back.nmat, 3);
    for (int i = 0; i < 3; ++i) expect_plane<unsigned char>(back, i, set.mats[i]);
}

TEST_F(TiffTest, WritersRefuseOtherTypesAndMismatchedSets) {
    const std::string path = scratch("refused.tif");
    auto d = make_univ<double>(2, 2);
    EXPECT_EQ(message(imguniv_write_tiff(wide(path).c_str(), &d, nullptr)), "Illegal data type");
    EXPECT_FALSE(std::filesystem::exists(path));
    auto u8 = make_univ<unsigned char>(2, 2);
    EXPECT_EQ(message(imguniv_write_tiff(nullptr, &u8, nullptr)), "null pointer");
    EXPECT_EQ(message(imguniv_write_tiff(L"no/such/folder/x.tif", &u8, nullptr)), "Input-output error");

    _mat_set set{};
    const int32_t two = 2;
    matset_malloc(&set, 1, &two);
    set.mats[0] = u8;
    set.mats[1] = make_univ<unsigned char>(2, 3);
    EXPECT_EQ(message(imgset_write_tiff(wide(path).c_str(), &set, nullptr)), "array size mismatch");
    set.mats[1] = make_univ<uint16_t>(2, 2);
    EXPECT_EQ(message(imgset_write_tiff(wide(path).c_str(), &set, nullptr)), "Illegal data type");
}

// ---- files made by the tools ----------------------------------------------------------------

class ToolFileTest : public TiffTest {
protected:
    void SetUp() override {
        if (!have_tools({"pnmtotiff", "tiffcp", "tiffinfo"})) GTEST_SKIP() << "netpbm or libtiff tools absent";
    }
};

std::string random_bytes(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::string s(n, '\0');
    for (char& c : s) c = char(gen() & 0xFF);
    return s;
}

TEST_F(ToolFileTest, GreyImagesOfEightAndSixteenBits) {
    const std::string pgm = scratch("g.pgm"), tif = scratch("g.tif"), tiled = scratch("gt.tif");
    const std::string body = random_bytes(13 * 7, 1);
    put_pnm(pgm, 5, 13, 7, 255, body);
    run("pnmtotiff " + pgm + " > " + tif);
    auto want = make_univ<unsigned char>(7, 13, std::vector<unsigned char>(body.begin(), body.end()));
    expect_plane<unsigned char>(read_tiff(tif), 0, want);
    // Tiles of 16 x 16 over 7 x 13 pixels: one partial tile, LZW-compressed.
    run("tiffcp -t -w 16 -l 16 -c lzw " + tif + " " + tiled);
    ASSERT_NE(run("tiffinfo " + tiled).find("Tile Width: 16"), std::string::npos);
    expect_plane<unsigned char>(read_tiff(tiled), 0, want);

    const std::string body16 = random_bytes(5 * 3 * 2, 2);
    put_pnm(pgm, 5, 5, 3, 65535, body16);
    run("pnmtotiff " + pgm + " > " + tif);
    std::vector<uint16_t> v;
    for (size_t i = 0; i < body16.size(); i += 2)
        v.push_back(uint16_t((unsigned char)body16[i] << 8 | (unsigned char)body16[i + 1]));
    expect_plane<uint16_t>(read_tiff(tif), 0, make_univ<uint16_t>(3, 5, v));
}

TEST_F(ToolFileTest, RgbContiguousSeparateAndTiled) {
    const std::string ppm = scratch("c.ppm"), tif = scratch("c.tif"), sep = scratch("cs.tif"),
                      tiled = scratch("ct.tif"), chunky = scratch("cc.tif");
    const int w = 37, h = 21;
    const std::string body = random_bytes(size_t(w) * h * 3, 3);
    put_pnm(ppm, 6, w, h, 255, body);
    run("pnmtotiff -truecolor " + ppm + " > " + tif);
    run("tiffcp -p separate " + tif + " " + sep);
    run("tiffcp -p separate -t -w 16 -l 32 -c zip " + tif + " " + tiled);
    run("tiffcp -t -w 16 -l 16 -c lzw " + tif + " " + chunky);  // interleaved tiles
    ASSERT_NE(run("tiffinfo " + chunky).find("Tile Width: 16"), std::string::npos);
    std::vector<unsigned char> planes[3];
    for (size_t p = 0; p < body.size(); ++p) planes[p % 3].push_back((unsigned char)body[p]);
    for (const std::string& file : {tif, sep, tiled, chunky}) {
        auto s = read_tiff(file);
        ASSERT_EQ(s.nmat, 3) << file;
        for (int i = 0; i < 3; ++i) expect_plane<unsigned char>(s, i, make_univ<unsigned char>(h, w, planes[i]));
    }
}

TEST_F(ToolFileTest, PaletteIsExpandedIntoThreePlanes) {
    const std::string ppm = scratch("p.ppm"), tif = scratch("p.tif");
    const unsigned char colours[5][3] = {{0, 0, 0}, {255, 128, 1}, {12, 200, 90}, {255, 255, 255}, {7, 7, 250}};
    std::mt19937 gen(4);
    std::string body;
    std::vector<unsigned char> planes[3];
    for (int p = 0; p < 20 * 9; ++p) {
        const unsigned char* c = colours[gen() % 5];
        for (int i = 0; i < 3; ++i) body += char(c[i]), planes[i].push_back(c[i]);
    }
    put_pnm(ppm, 6, 20, 9, 255, body);
    run("pnmtotiff " + ppm + " > " + tif);
    ASSERT_NE(run("tiffinfo " + tif).find("palette"), std::string::npos);
    auto s = read_tiff(tif);
    ASSERT_EQ(s.nmat, 3);
    for (int i = 0; i < 3; ++i) expect_plane<unsigned char>(s, i, make_univ<unsigned char>(9, 20, planes[i]));
}

TEST_F(ToolFileTest, BilevelReadsBlackAsZeroUnderBothInterpretations) {
    const std::string pbm = scratch("b.pbm"), white = scratch("bw.tif"), black = scratch("bb.tif");
    const int w = 19, h = 5, stride = (w + 7) / 8;
    std::mt19937 gen(5);
    std::string body(size_t(stride) * h, '\0');
    std::vector<unsigned char> want;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool dark = gen() % 2;
            if (dark) body[size_t(y) * stride + x / 8] |= char(0x80 >> (x % 8));
            want.push_back(dark ? 0 : 255);
        }
    put_pnm(pbm, 4, w, h, 0, body);
    run("pnmtotiff -miniswhite " + pbm + " > " + white);
    run("pnmtotiff -minisblack " + pbm + " > " + black);
    ASSERT_NE(run("tiffinfo " + white).find("min-is-white"), std::string::npos);
    for (const std::string& file : {white, black})
        expect_plane<unsigned char>(read_tiff(file), 0, make_univ<unsigned char>(h, w, want));
}

// ---- broken and hostile files ---------------------------------------------------------------

std::vector<TiffEntry> grey_entries(uint32_t width, uint32_t height, uint32_t bytes, uint16_t compression = 1,
                                    uint16_t photometric = 1, uint16_t spp = 1, uint16_t format = 1) {
    return {{256, 4, 1, width},       {257, 4, 1, height},      {258, 3, 1, 8},     {259, 3, 1, compression},
            {262, 3, 1, photometric}, {273, 4, 1, kDataOffset}, {277, 3, 1, spp},   {278, 4, 1, height},
            {279, 4, 1, bytes},       {284, 3, 1, 1},           {339, 3, 1, format}};
}

TEST_F(TiffTest, HandMadeFileIsReadAndItsTruncationRefused) {
    const std::string path = scratch("hand.tif");
    put_file(path, tiff_bytes(grey_entries(4, 2, 8), "abcdefgh"));
    auto s = read_tiff(path);
    expect_plane<unsigned char>(s, 0, make_univ<unsigned char>(2, 4, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'}));
    put_file(path, tiff_bytes(grey_entries(4, 2, 8), "abc"));
    read_tiff(path, "Input-output error");
}

TEST_F(TiffTest, ForgedSizesAreRefusedWithoutLargeAllocations) {
    const std::string path = scratch("forged.tif");
    const std::size_t before = m_scope.arena().reserved();
    put_file(path, tiff_bytes(grey_entries(40000, 40000, 16), std::string(16, 'x')));
    read_tiff(path, "Input-output error");
    put_file(path, tiff_bytes(grey_entries(40000, 40000, 16, 8), std::string(16, 'x')));  // deflate
    read_tiff(path, "out of memory");
    put_file(path, tiff_bytes(grey_entries(70000, 40000, 16, 8), std::string(16, 'x')));  // > 2^31 pixels
    read_tiff(path, "out of memory");
    EXPECT_LT(m_scope.arena().reserved() - before, std::size_t(16) << 20);
}

// A one-pixel image in one forged 65536 x 65536 tile: the tile buffer alone would be 4 GiB, so
// the tile's full size is held against the file before anything is allocated.
TEST_F(TiffTest, ForgedTileSizesAreRefusedBeforeTheTileBufferIsAllocated) {
    const std::string path = scratch("tile.tif");
    auto tiled = [](uint16_t compression) {
        return std::vector<TiffEntry>{{256, 4, 1, 1},           {257, 4, 1, 1},     {258, 3, 1, 8},
                                      {259, 3, 1, compression}, {262, 3, 1, 1},     {277, 3, 1, 1},
                                      {284, 3, 1, 1},           {322, 4, 1, 65536}, {323, 4, 1, 65536},
                                      {324, 4, 1, kDataOffset}, {325, 4, 1, 16}};
    };
    put_file(path, tiff_bytes(tiled(1), std::string(16, 'x')));
    read_tiff(path, "Input-output error");
    put_file(path, tiff_bytes(tiled(8), std::string(16, 'x')));  // deflate
    read_tiff(path, "out of memory");
    // The same file with an honest 16 x 16 tile reads.
    auto honest = tiled(1);
    honest[7].value = honest[8].value = 16;
    honest[10].value = 256;
    put_file(path, tiff_bytes(honest, std::string(256, 'x')));
    expect_plane<unsigned char>(read_tiff(path), 0, make_univ<unsigned char>(1, 1, {'x'}));
}

TEST_F(TiffTest, UnsupportedGarbageAndBrokenFilesGetTheirMessagesSilently) {
    const std::string path = scratch("broken.tif");
    std::string runaway = tiff_bytes(grey_entries(4, 2, 8), "abcdefgh");
    runaway[10] = '\x07';  // first tag number becomes 7, out of order and unknown
    runaway[8] = '\x40';   // 64 entries claimed: the directory runs past the end of the file
    const std::pair<std::string, const char*> cases[] = {
        {tiff_bytes(grey_entries(2, 2, 4, 1, 5, 1), "abcd"), "Illegal data value"},     // separated (CMYK)
        {tiff_bytes(grey_entries(2, 2, 4, 1, 1, 1, 2), "abcd"), "Illegal data value"},  // signed 8-bit
        {tiff_bytes(grey_entries(2, 2, 4, 1, 2, 1), "abcd"), "Illegal data value"},     // RGB with one sample
        {"", "Input-output error"},
        {"hello, not a tiff at all", "Input-output error"},
        {std::string("II*\0\xF0\xFF\x00\x00", 8), "Input-output error"},  // directory offset past the end
        {runaway, "Input-output error"},
    };
    testing::internal::CaptureStderr();
    for (const auto& [bytes, expect] : cases) {
        put_file(path, bytes);
        read_tiff(path, expect);
    }
    read_tiff("no/such/file.tif", "Input-output error");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    _mat_set s{};
    EXPECT_EQ(message(imgset_read_tiff(nullptr, nullptr, &s)), "null pointer");
    EXPECT_EQ(message(imgset_read_tiff(L"x.tif", nullptr, nullptr)), "null pointer");
}

}  // namespace
}  // namespace mutils::test
