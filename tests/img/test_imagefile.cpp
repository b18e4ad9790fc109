// Portable anymap files and bit streams: exact headers and bodies, polarity, packing, hostile
// input, and agreement with netpbm's tools.
#include <random>

#include "file_support.h"
#include "support.h"

// Operations taking a FILE* are also found in the global namespace by argument-dependent lookup
// (FILE is a global type), so the calls of those that have a plain entry point are qualified.
namespace mutils::test {
namespace {

using BitStreamTest = ArenaTest;

// Runs a writer on a fresh scratch file and returns the bytes it wrote.
template <class F> std::string written(F&& write, const char* expect = "") {
    const std::string path = scratch("out.bin");
    FILE* f = std::fopen(path.c_str(), "wb");
    EXPECT_EQ(message(write(f)), expect);
    std::fclose(f);
    return file_text(path);
}

// Opens a scratch file holding `content` for reading (closed by the caller).
FILE* input(const std::string& content, const std::string& name = "in.bin") {
    const std::string path = scratch(name);
    put_file(path, content);
    return std::fopen(path.c_str(), "rb");
}

TEST_F(BitStreamTest, PlainBitmapHeaderAndDigitsAreExact) {
    auto img = make_univ<double>(2, 3, {0, 5, 0.5, 5, 5, 1});
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &img, 0.5, 1, nullptr); }),
              "P1 3 2\n1 0 1 0 0 0 \n");
    // Lines break before a pixel that would pass 70 characters: 35 pixels of "d " per line.
    auto row = make_univ<unsigned char>(1, 40);
    std::string expect = "P1 40 1\n";
    for (int i = 0; i < 40; ++i) expect += std::string(i == 35 ? "\n" : "") + "1 ";
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &row, 0, 1, nullptr); }), expect + "\n");
    // A custom separator and width; the separator is " " when none is given.
    auto four = make_univ<uint16_t>(1, 4, {0, 9, 0, 9});
    EXPECT_EQ(written([&](FILE* f) { return imguniv_write_to_bits(f, &four, 3, 0, ",", 5, nullptr); }),
              "1,0,\n1,0,\n");
    EXPECT_EQ(written([&](FILE* f) { return imguniv_write_to_bits(f, &four, 3, 0, nullptr, 0, nullptr); }),
              "1 \n0 \n1 \n0 \n");
}

TEST_F(BitStreamTest, PackedBitmapIsOneRunOfBitsWithOnlyTheLastBytePadded) {
    // 10 rows x 3 columns: 30 bits in 4 bytes (row padding would need 10).
    std::vector<unsigned char> v(30, 255);
    for (int i : {0, 7, 8, 9, 29}) v[i] = 0;  // dark pixels
    auto img = make_univ<unsigned char>(10, 3, v);
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &img, 100, 0, nullptr); }),
              std::string("P4 3 10\n\x81\xC0\x00\x04", 12));
}

TEST_F(BitStreamTest, BitsReadBackWithTheCallersValue) {
    std::mt19937 gen(9);
    auto img = make_univ<uint32_t>(7, 5);
    for (int i = 0; i < 35; ++i) static_cast<uint32_t*>(img.data)[i] = gen() % 2 ? 10 : 20;
    for (unsigned char packed : {0, 1}) {
        const std::string bytes =
            written([&](FILE* f) { return imguniv_write_to_bits(f, &img, 15, packed, " ", 70, nullptr); });
        FILE* f = input("xyz" + bytes);
        auto back = make_univ<uint16_t>(7, 5);
        if (!packed) std::fseek(f, 3, SEEK_SET);
        ASSERT_EQ(message(imguniv_read_from_bits(f, scalar_u16(7), packed, packed ? 3 : 0, ' ', '#', nullptr, &back)),
                  "");
        std::fclose(f);
        for (int i = 0; i < 35; ++i)
            EXPECT_EQ(values_of<uint16_t>(back)[i], values_of<uint32_t>(img)[i] == 20 ? 7 : 0) << int(packed) << i;
    }
}

TEST_F(BitStreamTest, TextBitsAreSingleDigitsWithCommentsAndSeparators) {
    auto r = make_univ<double>(2, 4);
    for (const char* text : {"0110\n1001", "0 1 1 0 1 0 0 1", "# made by hand\n01;10 # row one\n;10;01\n"}) {
        FILE* f = input(text);
        ASSERT_EQ(message(imguniv_read_from_bits(f, scalar_dbl(2.5), 0, 0, ';', '#', nullptr, &r)), "") << text;
        std::fclose(f);
        EXPECT_EQ(values_of<double>(r), (std::vector<double>{2.5, 0, 0, 2.5, 0, 2.5, 2.5, 0})) << text;
    }
    for (const char* bad : {"0110 1x01", "0110 100"}) {
        FILE* f = input(bad);
        EXPECT_EQ(message(imguniv_read_from_bits(f, scalar_dbl(1), 0, 0, ' ', '#', nullptr, &r)), "Input-output error");
        std::fclose(f);
    }
}

TEST_F(BitStreamTest, RefusalsComeBeforeAnyReadingOrWriting) {
    auto r = make_univ<unsigned char>(2, 2);
    FILE* f = input("\x0F");
    EXPECT_EQ(message(imguniv_read_from_bits(f, scalar_u8(1), 1, -1, ' ', '#', nullptr, &r)), "Illegal data value");
    EXPECT_EQ(message(imguniv_read_from_bits(f, scalar_u16(1), 1, 0, ' ', '#', nullptr, &r)), "Illegal data type");
    EXPECT_EQ(message(imguniv_read_from_bits(f, scalar_u8(1), 1, 0, ' ', '#', nullptr, nullptr)), "Illegal data type");
    auto s16 = make_univ<int16_t>(2, 2);
    EXPECT_EQ(message(imguniv_read_from_bits(f, scalar_s16(1), 1, 0, ' ', '#', nullptr, &s16)), "Illegal data type");
    EXPECT_EQ(message(imguniv_read_from_bits(nullptr, scalar_u8(1), 1, 0, ' ', '#', nullptr, &r)), "null pointer");
    auto big = make_univ<unsigned char>(4, 4);  // needs 2 bytes, the file holds 1
    EXPECT_EQ(message(imguniv_read_from_bits(f, scalar_u8(1), 1, 0, ' ', '#', nullptr, &big)), "Input-output error");
    std::fclose(f);

    auto cpx = make_univ<_dcomplex>(1, 1);
    auto flt = make_univ<float>(1, 1);
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &cpx, 0, 1, nullptr); }, "Illegal data type"), "");
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &flt, 0, 0, nullptr); }, "Illegal data type"), "");
    EXPECT_EQ(::imguniv_write_pbm(nullptr, &flt, 0, 0, nullptr), MUTIL_ERR_OK);  // "null pointer" has no code
    FILE* ro = input("");
    EXPECT_EQ(message(mutils::imguniv_write_pbm(ro, &r, 0, 0, nullptr)), "Input-output error");
    std::fclose(ro);
}

TEST_F(BitStreamTest, NetpbmReadsOurBitmaps) {
    if (!have_tool("pnmtopnm") || !have_tool("pamfile")) GTEST_SKIP() << "netpbm absent";
    std::mt19937 gen(2);
    const int w = 13, h = 5;
    auto img = make_univ<unsigned char>(h, w);
    for (int i = 0; i < w * h; ++i) static_cast<unsigned char*>(img.data)[i] = gen() % 2 ? 200 : 10;
    const std::string path = scratch("plain.pbm");
    put_file(path, written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &img, 100, 1, nullptr); }));
    EXPECT_NE(run("pamfile " + path).find("PBM plain, 13 by 5"), std::string::npos);
    std::string rows;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) rows += static_cast<unsigned char*>(img.data)[y * w + x] == 10 ? '1' : '0';
        rows += '\n';
    }
    EXPECT_EQ(run("pnmtopnm -plain " + path), "P1\n13 5\n" + rows);

    // Packed bitmaps whose width is a multiple of 8 have the usual raw layout.
    auto wide_img = make_univ<unsigned char>(3, 16);
    for (int i = 0; i < 48; ++i) static_cast<unsigned char*>(wide_img.data)[i] = gen() % 2 ? 255 : 0;
    put_file(path, written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &wide_img, 0, 0, nullptr); }));
    EXPECT_NE(run("pamfile " + path).find("PBM raw, 16 by 3"), std::string::npos);
    std::string wide_rows;
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 16; ++x) wide_rows += static_cast<unsigned char*>(wide_img.data)[y * 16 + x] ? '0' : '1';
        wide_rows += '\n';
    }
    EXPECT_EQ(run("pnmtopnm -plain " + path), "P1\n16 3\n" + wide_rows);
}

}  // namespace
}  // namespace mutils::test
