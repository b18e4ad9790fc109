// Printed form, parse, plain text: byte-exact layouts, round trips for every type, malformed input.
#include <unistd.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <thread>

#include "support.h"

namespace mutils::test {
namespace {

using TextTest = ArenaTest;

/// A stream closed when the test ends.
struct Stream {
    FILE* f;
    explicit Stream(FILE* file) : f(file) {}
    Stream(const Stream&) = delete;
    ~Stream() {
        if (f) std::fclose(f);
    }
    operator FILE*() const { return f; }
};

/// A read-only stream over a copy of s (seekable).
struct TextStream : Stream {
    std::string text;
    explicit TextStream(std::string s) : Stream(nullptr), text(std::move(s)) {
        f = text.empty() ? std::tmpfile() : fmemopen(text.data(), text.size(), "r");
        EXPECT_NE(f, nullptr);
    }
};

/// Everything written to a temporary file so far.
std::string contents(FILE* f) {
    std::rewind(f);
    std::string s;
    for (int c; (c = std::getc(f)) != EOF;) s += char(c);
    return s;
}

template <class F> std::string written(F&& write) {
    Stream s(std::tmpfile());
    write(s.f);
    return contents(s);
}

// ---- print layout ---------------------------------------------------------------------------

TEST_F(TextTest, PrintLayoutIsExact) {
    auto m = make<double>(2, 3, {1, 2.5, -3, 4, 5, 6e10});
    std::string out;
    out = written([&](FILE* f) { EXPECT_EQ(message(matdbl_print(f, &m, nullptr, 0, nullptr)), ""); });
    EXPECT_EQ(out,
              "double Matrix: nrow=2, ncol=3  {\n"
              "    Row[0]:  1 2.5 -3 \n"
              "    Row[1]:  4 5 6e+10 \n"
              "}\n");
    auto s = make<int16_t>(1, 2, {-32768, 7});
    out = written([&](FILE* f) { EXPECT_EQ(message(mats16_print(f, &s, nullptr, 0, nullptr)), ""); });
    EXPECT_EQ(out, "sint16 Matrix: nrow=1, ncol=2  {\n    Row[0]:  -32768 7 \n}\n");
    auto u = make<uint32_t>(1, 1, {4294967295u});
    out = written([&](FILE* f) { EXPECT_EQ(message(matu32_print(f, &u, nullptr, 0, nullptr)), ""); });
    EXPECT_EQ(out, "uint32 Matrix: nrow=1, ncol=1  {\n    Row[0]:  4294967295 \n}\n");
}

TEST_F(TextTest, PrintRowLabelWidthFollowsTheRowCount) {
    auto twelve = make<unsigned char>(12, 1);
    std::string out = written([&](FILE* f) { matu8_print(f, &twelve, nullptr, 0, nullptr); });
    EXPECT_NE(out.find("\n    Row[0]:  0 \n"), std::string::npos);
    EXPECT_NE(out.find("\n    Row[11]:  0 \n"), std::string::npos);
    auto hundred = make<unsigned char>(100, 1);
    out = written([&](FILE* f) { matu8_print(f, &hundred, nullptr, 0, nullptr); });
    EXPECT_NE(out.find("\n    Row[ 0]:  0 \n"), std::string::npos);
    EXPECT_NE(out.find("\n    Row[99]:  0 \n"), std::string::npos);
}

TEST_F(TextTest, PrintWrapsLongRowsUnderTheFirstValue) {
    auto m = make<unsigned char>(1, 10, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0});
    // Label 13 characters; a value goes on when the column is at most 30 - 2.
    std::string out = written([&](FILE* f) { matu8_print(f, &m, nullptr, 30, nullptr); });
    EXPECT_EQ(out,
              "uint8 Matrix: nrow=1, ncol=10  {\n"
              "    Row[0]:  1 2 3 4 5 6 7 8 \n"
              "             9 0 \n"
              "}\n");
    // A width below 1 means 75: 31 values of "1 " fit after the label.
    auto wide = make<unsigned char>(1, 40);
    out = written([&](FILE* f) { matu8_print(f, &wide, nullptr, -5, nullptr); });
    const std::size_t first = out.find("Row[0]:  ");
    const std::size_t wrap = out.find('\n', first);
    EXPECT_EQ(wrap - first, std::string("Row[0]:  ").size() + 31 * 2);
}

TEST_F(TextTest, PrintOfAnEmptyRecordWritesTheHeaderOnly) {
    _double_mat none{0, 3, 0, nullptr};
    std::string out = written([&](FILE* f) { EXPECT_EQ(message(matdbl_print(f, &none, nullptr, 0, nullptr)), ""); });
    EXPECT_EQ(out, "double Matrix: nrow=0, ncol=3  {\n}\n");
}

TEST_F(TextTest, PrintFormats) {
    auto d = make<double>(1, 2, {3.14159, -1});
    std::string out = written([&](FILE* f) { EXPECT_EQ(message(matdbl_print(f, &d, "[%6.2f] ", 0, nullptr)), ""); });
    EXPECT_EQ(out, "double Matrix: nrow=1, ncol=2  {\n    Row[0]:  [  3.14] [ -1.00] \n}\n");
    auto s = make<int32_t>(1, 2, {INT32_MIN, 255});
    out = written([&](FILE* f) { EXPECT_EQ(message(mats32_print(f, &s, "%d|", 0, nullptr)), ""); });
    EXPECT_NE(out.find("-2147483648|255|"), std::string::npos);
    out = written([&](FILE* f) { EXPECT_EQ(message(mats32_print(f, &s, "%lx 100%% ", 0, nullptr)), ""); });
    EXPECT_NE(out.find("ffffffff80000000 100% ff 100% "), std::string::npos);
    out = written([&](FILE* f) { EXPECT_EQ(message(mats32_print(f, &s, "%.1e ", 0, nullptr)), ""); });
    EXPECT_NE(out.find("-2.1e+09 2.6e+02 "), std::string::npos);

    for (const char* bad : {"%s", "%n", "%d %d", "plain", "%*d", "%Lg", "%", "%hhg", "%zd", "%c"})
        EXPECT_EQ(written([&](FILE* f) { EXPECT_EQ(message(mats32_print(f, &s, bad, 0, nullptr)), "Illegal data value"); }),
                  "")
            << bad;
    EXPECT_EQ(message(matdbl_print(stdout, &d, "%d ", 0, nullptr)), "Illegal data value");
}

TEST_F(TextTest, PrintRefusals) {
    auto d = make<double>(1, 1);
    EXPECT_EQ(message(matdbl_print(nullptr, &d, nullptr, 0, nullptr)), "null pointer");
    _double_mat bad{2, 2, 3, d.data};
    EXPECT_EQ(raised([&] { matdbl_print(stdout, &bad, nullptr, 0, nullptr); }), "array size mismatch");
    _univ_mat c = make_univ<_dcomplex>(1, 1);
    EXPECT_EQ(message(matuniv_print(stdout, &c, nullptr, 0, nullptr)), "Illegal data type");
    Stream ro(fmemopen(const_cast<char*>("x"), 1, "r"));
    EXPECT_EQ(message(matdbl_print(ro, &d, nullptr, 0, nullptr)), "Input-output error");
}

// ---- print and parse round trips ----------------------------------------------------------------

template <class T> void expect_round_trip(const std::vector<T>& v, int32_t rows, const char* format, int width) {
    auto m = make_univ<T>(rows, int32_t(v.size()) / rows, v);
    Stream s(std::tmpfile());
    ASSERT_EQ(message(matuniv_print(s, &m, format, width, nullptr)), "");
    std::rewind(s);
    _univ_mat back;
    ASSERT_EQ(message(matuniv_parse(s, nullptr, &back)), "") << contents(s);
    EXPECT_EQ(back.type, detail::elem<T>::tag);
    EXPECT_EQ(back.nrow, m.nrow);
    EXPECT_EQ(back.ncol, m.ncol);
    EXPECT_EQ(values_of<T>(back), v);
    std::rewind(s);
    detail::mat_t<T> typed;
    _univ_mat wrapped;
    ASSERT_EQ(message(matuniv_parse(s, nullptr, &wrapped)), "");
    typed = *detail::as<T>(&wrapped);
    EXPECT_EQ(values(typed), v);
}

TEST_F(TextTest, ParseGivesBackWhatPrintWrote) {
    expect_round_trip<double>({1, -2.5, 0.125, 1e-300, -1e37, 3.141592653589793, 0, -0.0}, 2, "%.17g ", 0);
    expect_round_trip<double>({1, -2.5, 0.125, 1e10, 7, 8}, 3, nullptr, 0);
    expect_round_trip<float>({1.1f, -2.5f, FLT_MIN, 1e37f, 0.1f, 3}, 2, "%.9g ", 0);
    expect_round_trip<unsigned char>({0, 1, 127, 128, 254, 255}, 1, nullptr, 20);
    expect_round_trip<uint16_t>({0, 1, 32768, 65535}, 4, nullptr, 0);
    expect_round_trip<uint32_t>({0, 1, 2147483648u, 4294967295u}, 2, nullptr, 0);
    expect_round_trip<int16_t>({-32768, -1, 0, 32767}, 2, nullptr, 0);
    expect_round_trip<int32_t>({INT32_MIN, -1, 0, INT32_MAX, 5, 6}, 2, "%+d ", 0);
    // Wrapped rows and hex floats come back exactly too.
    std::vector<double> many(150);
    for (std::size_t i = 0; i < many.size(); ++i) many[i] = std::sin(double(i)) * 1e5;
    expect_round_trip<double>(many, 10, "%a ", 40);
}

TEST_F(TextTest, ParseStopsRightAfterTheMatrix) {
    auto a = make<uint16_t>(1, 2, {1, 2});
    auto b = make<double>(2, 1, {3, 4});
    Stream s(std::tmpfile());
    matu16_print(s, &a, nullptr, 0, nullptr);
    matdbl_print(s, &b, nullptr, 0, nullptr);
    std::fputs("tail", s);
    std::rewind(s);
    _univ_mat first, second;
    ASSERT_EQ(message(matuniv_parse(s, nullptr, &first)), "");
    EXPECT_EQ(std::getc(s), '\n');
    ASSERT_EQ(message(matuniv_parse(s, nullptr, &second)), "");
    EXPECT_EQ(first.type, MUTIL_UINT16);
    EXPECT_EQ(second.type, MUTIL_DOUBLE);
    EXPECT_EQ(values_of<double>(second), (std::vector<double>{3, 4}));
    char rest[8] = {};
    EXPECT_EQ(std::fscanf(s, "%7s", rest), 1);
    EXPECT_STREQ(rest, "tail");
}

TEST_F(TextTest, ParseIsFlexibleAboutBlanks) {
    TextStream s("  sint32\nMatrix:nrow= 2,ncol=1{Row[0]:5\n  Row[ 1 ] :  -6 }");
    _sint32_mat m;
    // "]:" must be adjacent; the blank before ':' is refused.
    EXPECT_EQ(message(mats32_parse(s, nullptr, &m)), "Input-output error");
    TextStream t("  sint32\nMatrix:nrow= 2,ncol=1{Row[0]:5\n  Row[ 1 ]:  -6 }");
    ASSERT_EQ(message(mats32_parse(t, nullptr, &m)), "");
    EXPECT_EQ(values(m), (std::vector<int32_t>{5, -6}));
}

// ---- malformed printed text ---------------------------------------------------------------------

std::string parse_text(const std::string& text) {
    TextStream s(text);
    _univ_mat m;
    return message(matuniv_parse(s, nullptr, &m));
}

TEST_F(TextTest, ParseRefusesMalformedText) {
    const std::string ok = "double Matrix: nrow=1, ncol=2  {\n    Row[0]:  1 2 \n}\n";
    EXPECT_EQ(parse_text(ok), "");
    EXPECT_EQ(parse_text("complex Matrix: nrow=1, ncol=1  {\n    Row[0]:  1 \n}\n"), "Illegal data type");
    EXPECT_EQ(parse_text("doubles Matrix: nrow=1, ncol=1  {\n"), "Illegal data type");
    EXPECT_EQ(parse_text("double Matrix: nrow=1"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=2\n    Row[0]:  1 2 \n}\n"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=x, ncol=2  {"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1.5, ncol=2  {\n    Row[0]:  1 2 \n}\n"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=2  {\n    Row[0]:  1 \n}\n"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=2  {\n    Row[0]:  1 2 \n"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=2  {\n    Row[0]:  1 2x \n}\n"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=2  {\n    Col[0]:  1 2 \n}\n"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=2  {\n    Row[0]:  1 2 \n]\n"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=2  {\n    Row[0]:  1 2e37 \n}\n"), "Illegal data value");
    EXPECT_EQ(parse_text("float Matrix: nrow=1, ncol=1  {\n    Row[0]:  -inf \n}\n"), "Illegal data value");
    EXPECT_EQ(parse_text("uint8 Matrix: nrow=1, ncol=1  {\n    Row[0]:  256 \n}\n"), "Illegal data value");
    EXPECT_EQ(parse_text("uint8 Matrix: nrow=1, ncol=1  {\n    Row[0]:  -1 \n}\n"), "Illegal data value");
    EXPECT_EQ(parse_text("sint16 Matrix: nrow=1, ncol=1  {\n    Row[0]:  1.5 \n}\n"), "Illegal data value");
    EXPECT_EQ(parse_text("uint32 Matrix: nrow=1, ncol=1  {\n    Row[0]:  nan \n}\n"), "Illegal data value");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=1  {\n    Row[0]:  " + std::string(200, '1') + " \n}\n"),
              "Input-output error");
    EXPECT_EQ(parse_text(""), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=100000, ncol=100000  {\n"), "Illegal data value");
    EXPECT_EQ(raised([] { parse_text("double Matrix: nrow=0, ncol=2  {\n}\n"); }), "array size mismatch");
    EXPECT_EQ(raised([] { parse_text("double Matrix: nrow=2, ncol=-1  {\n}\n"); }), "array size mismatch");

    TextStream s("float Matrix: nrow=1, ncol=1  {\n    Row[0]:  1 \n}\n");
    _double_mat d;
    EXPECT_EQ(message(matdbl_parse(s, nullptr, &d)), "Illegal data type");
    EXPECT_EQ(message(matdbl_parse(nullptr, nullptr, &d)), "null pointer");
    EXPECT_EQ(message(matuniv_parse(s, nullptr, nullptr)), "null pointer");
}

TEST_F(TextTest, ParseOfAnEmptyStreamRestoresThePosition) {
    TextStream s("   \n  ");
    std::fseek(s, 2, SEEK_SET);
    _univ_mat m;
    EXPECT_EQ(message(matuniv_parse(s, nullptr, &m)), "Input-output error");
    EXPECT_EQ(std::ftell(s), 2);
}

TEST_F(TextTest, ForgedSizesDoNotAllocate) {
    const std::string forged = "double Matrix: nrow=40000, ncol=40000  {\n    Row[0]:  1 2 3 \n}\n";
    const std::size_t before = m_scope.arena().reserved();
    EXPECT_EQ(parse_text(forged), "Input-output error");
    EXPECT_LT(m_scope.arena().reserved() - before, std::size_t(1) << 20);

    // A pipe cannot tell how much follows: storage grows only with the values that arrive.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(write(fds[1], forged.data(), forged.size()), ssize_t(forged.size()));
    close(fds[1]);
    Stream in(fdopen(fds[0], "r"));
    _double_mat m;
    EXPECT_EQ(message(matdbl_parse(in, nullptr, &m)), "Input-output error");
    EXPECT_LT(m_scope.arena().reserved() - before, std::size_t(4) << 20);
}

TEST_F(TextTest, ParseOfAPipeGrowsStorageWithTheValues) {
    // More values than the first block holds, through a stream that cannot seek.
    auto a = make<uint16_t>(300, 300);
    for (int32_t i = 0; i < a.nelem; ++i) a.data[i] = uint16_t(i * 7);
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    std::thread writer([&] {
        FILE* out = fdopen(fds[1], "w");
        EXPECT_EQ(message(matu16_print(out, &a, nullptr, 0, nullptr)), "");
        std::fclose(out);
    });
    Stream in(fdopen(fds[0], "r"));
    _uint16_mat back;
    EXPECT_EQ(message(matu16_parse(in, nullptr, &back)), "");
    writer.join();
    EXPECT_EQ(values(back), values(a));
}

// ---- plain text ----------------------------------------------------------------------------------

TEST_F(TextTest, WriteAsciiLayout) {
    auto d = make<double>(2, 2, {1, -2.5, 1e-7, 123456789});
    std::string out = written([&](FILE* f) { EXPECT_EQ(message(matdbl_write_ascii(f, &d, ",", 0, nullptr)), ""); });
    EXPECT_EQ(out, "         1,      -2.5,\n     1e-07,1.23457e+08,\n");
    auto s = make<int32_t>(1, 3, {-1, 0, INT32_MAX});
    out = written([&](FILE* f) { EXPECT_EQ(message(mats32_write_ascii(f, &s, " ", 0, nullptr)), ""); });
    EXPECT_EQ(out, "-1 0 2147483647 \n");
}

TEST_F(TextTest, WriteAsciiKeepsLinesWithinTheWidth) {
    auto m = make<unsigned char>(2, 30);
    for (int i = 0; i < m.nelem; ++i) m.data[i] = 255;
    std::string out = written([&](FILE* f) { EXPECT_EQ(message(matu8_write_ascii(f, &m, " ", 70, nullptr)), ""); });
    // "255 " is 4 characters: 17 per line, then the row's remaining 13, twice.
    const std::string full = [] {
        std::string s;
        for (int i = 0; i < 17; ++i) s += "255 ";
        return s;
    }();
    const std::string rest = full.substr(0, 13 * 4);
    EXPECT_EQ(out, full + "\n" + rest + "\n" + full + "\n" + rest + "\n");
}

TEST_F(TextTest, ReadAsciiSkipsSeparatorsAndComments) {
    TextStream s("# a comment line\n1, 2,3\n\n  # another\n# and another\n4 ,5,\t6e0 # trailing\n7");
    auto m = make<double>(2, 3);
    ASSERT_EQ(message(matdbl_read_ascii(s, ',', '#', nullptr, &m)), "");
    EXPECT_EQ(values(m), (std::vector<double>{1, 2, 3, 4, 5, 6}));
    double next;
    EXPECT_EQ(std::fscanf(s, "%lf", &next), 0);  // stopped before the comment
}

TEST_F(TextTest, ReadAsciiFailures) {
    auto m = make<double>(1, 4);
    {
        TextStream s("1 2 3");
        EXPECT_EQ(message(matdbl_read_ascii(s, ' ', '#', nullptr, &m)), "Input-output error");
        EXPECT_EQ((std::vector<double>(m.data, m.data + 3)), (std::vector<double>{1, 2, 3}));
    }
    {
        TextStream s("1 2 x 4");
        EXPECT_EQ(message(matdbl_read_ascii(s, ' ', '#', nullptr, &m)), "Input-output error");
    }
    {
        TextStream s("1 2 3.5.5 4");
        EXPECT_EQ(message(matdbl_read_ascii(s, ' ', '#', nullptr, &m)), "Input-output error");
    }
    auto u = make<unsigned char>(1, 2);
    {
        TextStream s("255 256");
        EXPECT_EQ(message(matu8_read_ascii(s, ' ', '#', nullptr, &u)), "Illegal data value");
    }
    auto f = make<float>(1, 1);
    {
        TextStream s("1e39");
        EXPECT_EQ(message(matflt_read_ascii(s, ' ', '#', nullptr, &f)), "Illegal data value");
    }
    {
        _double_mat none{0, 0, 0, nullptr};
        TextStream s("");
        EXPECT_EQ(message(matdbl_read_ascii(s, ' ', '#', nullptr, &none)), "");
    }
    EXPECT_EQ(message(matdbl_read_ascii(nullptr, ' ', '#', nullptr, &m)), "null pointer");
    EXPECT_EQ(message(matdbl_write_ascii(stdout, &m, nullptr, 0, nullptr)), "null pointer");
}

template <class T> void expect_ascii_round_trip(const std::vector<T>& v) {
    auto m = make_univ<T>(2, int32_t(v.size() / 2), v);
    Stream s(std::tmpfile());
    ASSERT_EQ(message(matuniv_write_ascii(s, &m, " ", 70, nullptr)), "");
    std::rewind(s);
    auto back = make_univ<T>(2, int32_t(v.size() / 2));
    ASSERT_EQ(message(matuniv_read_ascii(s, ' ', '#', nullptr, &back)), "");
    EXPECT_EQ(values_of<T>(back), v);
}

TEST_F(TextTest, PlainTextRoundTrips) {
    expect_ascii_round_trip<double>({1, -2.5, 0.125, 1e10, 1e-5, 3});
    expect_ascii_round_trip<float>({1, -2.5f, 0.125f, 1e10f, 1e-5f, 3});
    expect_ascii_round_trip<unsigned char>({0, 255, 7, 8});
    expect_ascii_round_trip<uint16_t>({0, 65535, 7, 8});
    expect_ascii_round_trip<uint32_t>({0, 4294967295u, 7, 8});
    expect_ascii_round_trip<int16_t>({-32768, 32767, 7, 8});
    expect_ascii_round_trip<int32_t>({INT32_MIN, INT32_MAX, 7, 8});
    _univ_mat c = make_univ<_dcomplex>(1, 1);
    EXPECT_EQ(message(matuniv_write_ascii(stdout, &c, " ", 0, nullptr)), "Illegal data type");
    EXPECT_EQ(message(matuniv_read_ascii(stdin, ' ', '#', nullptr, &c)), "Illegal data type");
}

}  // namespace
}  // namespace mutils::test
