// Portable anymap files and bit streams: exact headers and bodies, polarity, packing, hostile
// input, and agreement with netpbm's tools.
#include <cstring>
#include <random>
#include <sstream>
#include <tuple>

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
    EXPECT_EQ(written([&](FILE* f) { return imguniv_write_to_bits(f, &four, 3, 0, ",", 5, nullptr); }), "1,0,\n1,0,\n");
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
    auto big = make_univ<unsigned char>(4, 4);  // needs 2 bytes, the file holds 1
    EXPECT_EQ(message(imguniv_read_from_bits(f, scalar_u8(1), 1, 0, ' ', '#', nullptr, &big)), "Input-output error");
    std::fclose(f);

    auto flt = make_univ<float>(1, 1);
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &flt, 0, 0, nullptr); }, "Illegal data type"),
              "");
    EXPECT_EQ(::imguniv_write_pbm(nullptr, &flt, 0, 0, nullptr), MUTIL_ERR_OK);  // "null pointer" has no code
    FILE* ro = input("");
    EXPECT_EQ(message(mutils::imguniv_write_pbm(ro, &r, 0, 0, nullptr)), "Input-output error");
    std::fclose(ro);
}

// ---- greymaps and pixmaps ------------------------------------------------------------------

using AnymapTest = BitStreamTest;

// A set of three planes of one type.
template <class T> _mat_set pixmap(int32_t rows, int32_t cols, const std::vector<T> (&planes)[3]) {
    _mat_set s{};
    const int32_t three = 3;
    matset_malloc(&s, 1, &three);
    for (int p = 0; p < 3; ++p) s.mats[p] = make_univ<T>(rows, cols, planes[p]);
    return s;
}

// Reads a greymap from `content`, expecting `expect` as the message.
_univ_mat read_pgm_text(const std::string& content, const char* expect = "") {
    _univ_mat r{};
    FILE* f = input(content);
    EXPECT_EQ(message(mutils::imguniv_read_pgm(f, nullptr, &r)), expect) << content.substr(0, 40);
    std::fclose(f);
    return r;
}

TEST_F(AnymapTest, GreymapHeadersCarryTheImagesOwnMaximumAndBodiesAreExact) {
    auto img = make_univ<unsigned char>(2, 3, {0, 50, 100, 7, 8, 9});
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, &img, 1, nullptr); }),
              "P2 3 2 100\n0 50 100 \n7 8 9 \n");
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, &img, 0, nullptr); }),
              std::string("P5 3 2 100\n\x00\x32\x64\x07\x08\x09", 17));
    // Wider samples are always text; an image of zeros still gets a readable maxval.
    auto wide16 = make_univ<uint16_t>(1, 2, {300, 65535});
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, &wide16, 0, nullptr); }),
              "P2 2 1 65535\n300 65535 \n");
    auto wide32 = make_univ<uint32_t>(2, 1, {70000, 4});
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, &wide32, 0, nullptr); }),
              "P2 1 2 70000\n70000 \n4 \n");
    auto zeros = make_univ<unsigned char>(1, 2);
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, &zeros, 0, nullptr); }),
              std::string("P5 2 1 1\n\0\0", 11));
    // Text lines stop at 70 characters: 17 values of "255 " (68 characters) per line.
    auto row = make_univ<unsigned char>(1, 20, std::vector<unsigned char>(20, 255));
    std::string expect = "P2 20 1 255\n";
    for (int i = 0; i < 20; ++i) expect += std::string(i == 17 ? "\n" : "") + "255 ";
    EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, &row, 1, nullptr); }), expect + "\n");
}

TEST_F(AnymapTest, GreymapsRoundTripInTheTypeTheirMaxvalChooses) {
    std::mt19937 gen(11);
    auto u8 = make_univ<unsigned char>(9, 14);
    auto u16 = make_univ<uint16_t>(5, 3);
    auto u32 = make_univ<uint32_t>(4, 6);
    for (int i = 0; i < u8.nelem; ++i) static_cast<unsigned char*>(u8.data)[i] = gen() % 201;
    for (int i = 0; i < u16.nelem; ++i) static_cast<uint16_t*>(u16.data)[i] = gen() % 65536;
    for (int i = 0; i < u32.nelem; ++i) static_cast<uint32_t*>(u32.data)[i] = gen();
    // Several images follow each other on one stream: each read stops right after its body.
    const std::string bytes = written([&](FILE* f) {
        for (const _univ_mat* m : {&u8, &u16, &u32})
            for (unsigned char text : {0, 1})
                if (const char* err = mutils::imguniv_write_pgm(f, m, text, nullptr)) return err;
        return static_cast<const char*>(nullptr);
    });
    FILE* f = input(bytes);
    for (const _univ_mat* m : {&u8, &u8, &u16, &u16, &u32, &u32}) {
        _univ_mat r{};
        ASSERT_EQ(message(mutils::imguniv_read_pgm(f, nullptr, &r)), "");
        ASSERT_EQ(r.type, m->type);
        ASSERT_EQ(r.nrow, m->nrow);
        ASSERT_EQ(r.ncol, m->ncol);
        EXPECT_EQ(std::memcmp(r.data, m->data, std::size_t(m->nelem) * detail::elem_size(m->type)), 0);
    }
    EXPECT_EQ(std::getc(f), ' ');  // what follows the last text value
    EXPECT_EQ(std::getc(f), '\n');
    EXPECT_EQ(std::getc(f), EOF);
    std::fclose(f);
}

TEST_F(AnymapTest, HeaderCommentsBlanksAndMaxvalTypes) {
    auto r = read_pgm_text("P2\n# made by hand\n3 # width\n2\n9\n1 2 3\n# body comment\n4 5 6\n");
    EXPECT_EQ(r.type, MUTIL_UINT8);
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
    read_pgm_text("P2 3 2\n# maxval next\n9\n1 2 3 4 5 6\n", "Input-output error");
    read_pgm_text("P2\n# one\n# two\n3 2 9\n1 2 3 4 5 6\n", "Input-output error");  // one comment line only
    EXPECT_EQ(read_pgm_text("P2 1 1 70000\n69999\n").type, MUTIL_UINT32);
    EXPECT_EQ(read_pgm_text("P2 1 1 256\n7\n").type, MUTIL_UINT16);
    // Raw 16-bit samples are big-endian; the single blank after the maxval ends the header even
    // when the body starts with a blank byte.
    r = read_pgm_text(std::string("P5 2 1 65535\n\x01\x02\x20\xFF", 17));
    EXPECT_EQ(values_of<uint16_t>(r), (std::vector<uint16_t>{0x0102, 0x20FF}));
    r = read_pgm_text(std::string("P5 2 1 255\n\x20\x0A", 13));
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{0x20, 0x0A}));
}

TEST_F(AnymapTest, BitmapsReadWhiteAsTwoHundredFiftyFive) {
    auto r = read_pgm_text("P1\n# bits\n3 2\n0 1 0\n110\n");
    EXPECT_EQ(r.type, MUTIL_UINT8);
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{255, 0, 255, 0, 0, 255}));
    // Our packed bitmaps read back exactly, whatever the width.
    std::mt19937 gen(3);
    auto img = make_univ<unsigned char>(10, 3);
    for (int i = 0; i < 30; ++i) static_cast<unsigned char*>(img.data)[i] = gen() % 2 ? 255 : 0;
    for (unsigned char text : {0, 1}) {
        r = read_pgm_text(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &img, 100, text, nullptr); }));
        EXPECT_EQ(values_of<unsigned char>(r), values_of<unsigned char>(img)) << int(text);
    }
}

TEST_F(AnymapTest, PixmapsInterleaveTheirPlanes) {
    const std::vector<unsigned char> planes[3] = {{1, 4}, {2, 5}, {3, 6}};
    _mat_set s = pixmap<unsigned char>(1, 2, planes);
    EXPECT_EQ(written([&](FILE* f) { return mutils::imgset_write_ppm(f, &s, 1, nullptr); }),
              "P3 2 1 6\n1 2 3 4 5 6 \n");
    EXPECT_EQ(written([&](FILE* f) { return mutils::imgset_write_ppm(f, &s, 0, nullptr); }),
              std::string("P6 2 1 6\n\1\2\3\4\5\6", 15));
    const std::vector<uint16_t> wide[3] = {{1000}, {0}, {7}};
    _mat_set w = pixmap<uint16_t>(1, 1, wide);
    EXPECT_EQ(written([&](FILE* f) { return mutils::imgset_write_ppm(f, &w, 0, nullptr); }),
              "P3 1 1 1000\n1000 0 7 \n");

    // Round trips of a larger set, raw and text, through the plain entry points.
    std::mt19937 gen(8);
    std::vector<unsigned char> big[3];
    for (auto& p : big)
        for (int i = 0; i < 300 * 7; ++i) p.push_back(static_cast<unsigned char>(gen()));
    _mat_set b = pixmap<unsigned char>(300, 7, big);
    for (unsigned char text : {0, 1}) {
        FILE* f = input(written([&](FILE* g) { return mutils::imgset_write_ppm(g, &b, text, nullptr); }));
        _mat_set back{};
        ASSERT_EQ(::imgset_read_ppm(f, nullptr, &back), MUTIL_ERR_OK);
        std::fclose(f);
        ASSERT_EQ(back.nmat, 3);
        for (int p = 0; p < 3; ++p) EXPECT_EQ(values_of<unsigned char>(back.mats[p]), big[p]) << int(text) << p;
    }
}

TEST_F(AnymapTest, WritersRefuseBeforeWritingAnything) {
    auto dbl = make_univ<double>(2, 2);
    auto s16 = make_univ<int16_t>(2, 2);
    for (const _univ_mat* m : {&dbl, &s16})
        EXPECT_EQ(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, m, 0, nullptr); }, "Illegal data type"),
                  "");
    EXPECT_EQ(::imguniv_write_pgm(nullptr, &dbl, 0, nullptr), MUTIL_ERR_OK);  // "null pointer" has no code

    const std::vector<unsigned char> planes[3] = {{1, 2}, {3, 4}, {5, 6}};
    _mat_set s = pixmap<unsigned char>(1, 2, planes);
    s.mats[1] = make_univ<unsigned char>(2, 1, {3, 4});
    EXPECT_EQ(written([&](FILE* f) { return mutils::imgset_write_ppm(f, &s, 0, nullptr); }, "array size mismatch"), "");
    s.mats[1] = make_univ<uint16_t>(1, 2, {3, 4});
    EXPECT_EQ(written([&](FILE* f) { return mutils::imgset_write_ppm(f, &s, 0, nullptr); }, "array size mismatch"), "");
    const std::vector<double> reals[3] = {{1}, {2}, {3}};
    _mat_set d = pixmap<double>(1, 1, reals);
    EXPECT_EQ(written([&](FILE* f) { return mutils::imgset_write_ppm(f, &d, 0, nullptr); }, "Illegal data type"), "");
    EXPECT_EQ(message(mutils::imgset_write_ppm(nullptr, &d, 0, nullptr)), "null pointer");
}

TEST_F(AnymapTest, HostileHeadersGetTheirMessages) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "Input-output error"},
        {"Q5 1 1 255\n\1", "Input-output error"},
        {"P5 x 1 255\n\1", "Input-output error"},
        {"P5 1", "Input-output error"},
        {"P5 1 1 \n", "Input-output error"},   // no maxval
        {"P5 1 1 255", "Input-output error"},  // nothing after the maxval
        {"P7 1 1 255\n\1", "Illegal data value"},
        {"P6 1 1 255\n\1\2\3", "Illegal data value"},  // a pixmap is no greymap
        {"P5 1 1 0\n\1", "Illegal data value"},
        {"P5 1 1 -3\n\1", "Illegal data value"},
        {"P5 1 1 4294967296\n\1", "Illegal data value"},
        {"P5 -1 1 255\n\1", "Illegal data value"},
        {"P5 1 0 255\n\1", "Illegal data value"},
        {"P5 99999999999999999999 99999999999 255\n\1", "out of memory"},
        {"P5 65536 32768 255\n\1", "out of memory"},
        {"P5 40000 40000 255\n\1\2\3", "Input-output error"},  // 1.6 GB promised, 3 bytes present
        {"P5 2 2 65535\n\1\2\3\4\5\6", "Input-output error"},
        {"P2 40000 40000 255\n1 2 3\n", "Input-output error"},
        {"P2 2 2 255\n1 2 3 x\n", "Input-output error"},
        {"P2 2 1 255\n1 256\n", "Illegal data value"},
        {"P4 40000 40000\n\1", "Input-output error"},
        {"P1 3 1\n01", "Input-output error"},
    };
    for (const auto& [content, expect] : cases) read_pgm_text(content, expect);
    EXPECT_EQ(message(mutils::imguniv_read_pgm(nullptr, nullptr, nullptr)), "null pointer");
    _mat_set s{};
    for (const auto& [content, expect] : {std::pair<const char*, const char*>{"P5 1 1 255\n\1", "Illegal data value"},
                                          {"P6 1 1 255\n\1\2", "Input-output error"},
                                          {"P3 1 1 255\n1 2 3\n", ""},
                                          {"P6 20000 20000 255\n\1\2\3", "Input-output error"},
                                          {"P6 40000 40000 255\n\1\2\3", "out of memory"}}) {
        FILE* f = input(content);
        EXPECT_EQ(message(mutils::imgset_read_ppm(f, nullptr, &s)), expect) << content;
        std::fclose(f);
    }
    EXPECT_EQ(::imgset_read_ppm(nullptr, nullptr, &s), MUTIL_ERR_OK);
}

// ---- agreement with netpbm's tools ------------------------------------------------------------

// Width, height and samples of an anymap as pnmtoplainpnm prints it; bitmap digits (which may run
// together) become 255 for white and 0 for black, as we read them.
std::tuple<int, int, std::vector<double>> plain_anymap(const std::string& text) {
    std::istringstream in(text.substr(2));
    int width = 0, height = 0, maxval = 0;
    in >> width >> height;
    std::vector<double> v;
    if (text[1] == '1') {
        for (char c; in.get(c);)
            if (c == '0' || c == '1') v.push_back(c == '0' ? 255 : 0);
    } else {
        in >> maxval;
        for (double x; in >> x;) v.push_back(x);
    }
    return {width, height, v};
}

template <class T> std::vector<double> samples(const _univ_mat& m) {
    const auto v = values_of<T>(m);
    return std::vector<double>(v.begin(), v.end());
}
std::vector<double> samples(const _univ_mat& m) {
    return m.type == MUTIL_UINT8 ? samples<unsigned char>(m) : samples<uint16_t>(m);
}
std::vector<double> interleaved(const _mat_set& s) {
    std::vector<double> v;
    for (int32_t i = 0; i < s.mats[0].nelem; ++i)
        for (int p = 0; p < s.nmat; ++p) v.push_back(samples(s.mats[p])[std::size_t(i)]);
    return v;
}

TEST_F(AnymapTest, NetpbmReadsOurGreymapsAndPixmaps) {
    if (!have_tools({"pnmtoplainpnm"})) GTEST_SKIP() << "netpbm absent";
    std::mt19937 gen(1);
    auto random_univ = [&]<class T>(T, int32_t rows, int32_t cols) {
        auto m = random_mat<T>(gen, rows, cols);
        _univ_mat u;
        matuniv_wrap_matrix(&u, &m, detail::elem<T>::tag);
        return u;
    };
    const _univ_mat u8 = random_univ((unsigned char)0, 7, 19), u16 = random_univ(uint16_t{}, 3, 4);
    _mat_set rgb{};
    const int32_t three = 3;
    matset_malloc(&rgb, 1, &three);
    for (int p = 0; p < 3; ++p) rgb.mats[p] = random_univ((unsigned char)0, 5, 11);
    // Bitmaps of black (0) and white (255): packed ones have the usual layout when the width is a
    // multiple of 8.
    const _univ_mat b16 = random_univ((unsigned char)0, 3, 16), b13 = random_univ((unsigned char)0, 5, 13);
    for (const _univ_mat* b : {&b16, &b13})
        for (int32_t i = 0; i < b->nelem; ++i) {
            unsigned char& v = static_cast<unsigned char*>(b->data)[i];
            v = v & 0x80 ? 255 : 0;
        }
    const std::string path = scratch("ours.pnm");
    auto check = [&](const std::string& bytes, int32_t rows, int32_t cols, const std::vector<double>& want) {
        put_file(path, bytes);
        const auto [width, height, got] = plain_anymap(run("pnmtoplainpnm " + path));
        EXPECT_EQ(width, cols);
        EXPECT_EQ(height, rows);
        EXPECT_EQ(got, want);
    };
    for (unsigned char text : {0, 1}) {
        SCOPED_TRACE(int(text));
        check(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, &u8, text, nullptr); }), 7, 19, samples(u8));
        check(written([&](FILE* f) { return mutils::imguniv_write_pgm(f, &u16, text, nullptr); }), 3, 4, samples(u16));
        check(written([&](FILE* f) { return mutils::imgset_write_ppm(f, &rgb, text, nullptr); }), 5, 11,
              interleaved(rgb));
        check(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &b16, 100, text, nullptr); }), 3, 16,
              samples(b16));
    }
    check(written([&](FILE* f) { return mutils::imguniv_write_pbm(f, &b13, 100, 1, nullptr); }), 5, 13, samples(b13));
}

TEST_F(AnymapTest, WeReadNetpbmsOwnFilesRawAndPlain) {
    if (!have_tools({"pgmramp", "ppmmake", "pbmmake", "pnmtoplainpnm"})) GTEST_SKIP() << "netpbm absent";
    const std::string raw = scratch("tool.pnm"), plain = scratch("tool_plain.pnm");
    // Raw bitmaps are read as one run of bits, so only those whose width is a multiple of 8 have
    // the usual layout.
    for (const char* cmd :
         {"pgmramp -lr 37 5", "pgmramp -diag 64 3", "pgmramp -lr -maxval 1000 9 4", "pgmramp -tb -maxval 65535 3 300",
          "ppmmake rgb:12/34/56 4 3", "pbmmake -g 16 3", "pbmmake -g 13 4"}) {
        SCOPED_TRACE(cmd);
        put_file(raw, run(cmd));
        put_file(plain, run("pnmtoplainpnm " + raw));
        const std::string text = file_text(plain);
        const auto [width, height, want] = plain_anymap(text);
        for (const std::string& path : {raw, plain}) {
            if (text[1] == '1' && width % 8 != 0 && path == raw) continue;
            FILE* f = std::fopen(path.c_str(), "rb");
            if (text[1] == '3') {
                _mat_set s{};
                ASSERT_EQ(message(mutils::imgset_read_ppm(f, nullptr, &s)), "");
                ASSERT_EQ(s.nmat, 3);
                EXPECT_EQ(s.mats[0].ncol, width);
                EXPECT_EQ(interleaved(s), want) << path;
            } else {
                _univ_mat r{};
                ASSERT_EQ(message(mutils::imguniv_read_pgm(f, nullptr, &r)), "");
                EXPECT_EQ(r.ncol, width);
                EXPECT_EQ(r.nrow, height);
                EXPECT_EQ(samples(r), want) << path;
            }
            std::fclose(f);
        }
    }
}

TEST_F(AnymapTest, ForgedSizesOnAPipeCostOnlyWhatArrives) {
    // From a pipe the remaining length is unknown: a header promising 1.6 GB followed by a few
    // bytes fails as a short body without reserving the promised size.
    for (const char* cmd : {"printf 'P5 40000 40000 255\\n\\001\\002'", "printf 'P2 40000 40000 255\\n1 2 3'",
                            "printf 'P4 40000 40000\\n\\001'",
                            // a single forged row of two billion samples
                            "printf 'P2 2088888881 1 515563\\n2 8'", "printf 'P5 2000000000 1 65535\\n\\001'"}) {
        FILE* p = popen(cmd, "r");
        ASSERT_NE(p, nullptr);
        _univ_mat r{};
        EXPECT_EQ(message(mutils::imguniv_read_pgm(p, nullptr, &r)), "Input-output error") << cmd;
        pclose(p);
    }
    // A genuine image larger than one block arrives whole through a pipe.
    const int w = 1500, h = 1000;
    std::string body(std::size_t(w) * h, '\0');
    for (std::size_t i = 0; i < body.size(); ++i) body[i] = char((i * 7 + i / w) & 0xFF);
    const std::string path = scratch("big.pgm");
    put_pnm(path, 5, w, h, 255, body);
    FILE* p = popen(("cat " + path).c_str(), "r");
    _univ_mat r{};
    ASSERT_EQ(message(mutils::imguniv_read_pgm(p, nullptr, &r)), "");
    pclose(p);
    ASSERT_EQ(r.nelem, w * h);
    EXPECT_EQ(std::memcmp(r.data, body.data(), body.size()), 0);
}

}  // namespace
}  // namespace mutils::test
