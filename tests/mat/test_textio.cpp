// Printed form, parse and plain text: byte-exact layouts, round trips for every type, malformed input.
#include <unistd.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <thread>

#include "mat_support.h"

namespace mutils::test {
namespace {

using TextTest = ArenaTest;

/// A stream over a copy of `text` (a temporary file when empty), closed at the end of the test.
struct Stream {
    std::string text;
    FILE* f;
    explicit Stream(std::string s = "") : text(std::move(s)) {
        f = text.empty() ? std::tmpfile() : fmemopen(text.data(), text.size(), "r");
    }
    explicit Stream(FILE* file) : f(file) {}
    Stream(const Stream&) = delete;
    ~Stream() {
        if (f) std::fclose(f);
    }
    operator FILE*() const { return f; }
    std::string contents() const {
        std::rewind(f);
        std::string s;
        for (int c; (c = std::getc(f)) != EOF;) s += char(c);
        return s;
    }
};

template <class F> std::string written(F&& write) {
    Stream s;
    write(s.f);
    return s.contents();
}

#define PRINTS(call, expected) EXPECT_EQ(written([&](FILE* f) { EXPECT_EQ(message(call), ""); }), expected)

TEST_F(TextTest, PrintLayoutIsExact) {
    auto d = make<double>(2, 3, {1, 2.5, -3, 4, 5, 6e10});
    PRINTS(matdbl_print(f, &d, nullptr, 0, nullptr),
           "double Matrix: nrow=2, ncol=3  {\n    Row[0]:  1 2.5 -3 \n    Row[1]:  4 5 6e+10 \n}\n");
    _double_mat none{0, 3, 0, nullptr};
    PRINTS(matdbl_print(f, &none, nullptr, 0, nullptr), "double Matrix: nrow=0, ncol=3  {\n}\n");
    // Row labels are max(floor(log10(nrow)), 1) wide.
    for (auto [rows, first, last] : {std::tuple{12, "[0]", "[11]"}, {100, "[ 0]", "[99]"}}) {
        auto m = make<unsigned char>(rows, 1);
        std::string out = written([&](FILE* f) { matu8_print(f, &m, nullptr, 0, nullptr); });
        EXPECT_NE(out.find(std::string("\n    Row") + first + ":  0 \n"), std::string::npos) << rows;
        EXPECT_NE(out.find(std::string("\n    Row") + last + ":  0 \n"), std::string::npos) << rows;
    }
}

TEST_F(TextTest, PrintWrapsLongRowsUnderTheFirstValue) {
    // The label is 13 characters; a value goes on while the column is at most 30 - 2.
    auto m = make<unsigned char>(1, 10, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0});
    PRINTS(matu8_print(f, &m, nullptr, 30, nullptr),
           "uint8 Matrix: nrow=1, ncol=10  {\n    Row[0]:  1 2 3 4 5 6 7 8 \n             9 0 \n}\n");
    // A width below 1 means 75: 31 values of "0 " fit after the label.
    auto wide = make<unsigned char>(1, 40);
    std::string out = written([&](FILE* f) { matu8_print(f, &wide, nullptr, -5, nullptr); });
    const std::size_t first = out.find("    Row[0]:  ");
    EXPECT_EQ(out.find('\n', first) - first, 13u + 31 * 2);
}

TEST_F(TextTest, PrintFormatsAndRefusals) {
    auto d = make<double>(1, 2, {3.14159, -1});
    PRINTS(matdbl_print(f, &d, "[%6.2f] ", 0, nullptr),
           "double Matrix: nrow=1, ncol=2  {\n    Row[0]:  [  3.14] [ -1.00] \n}\n");
    // Each value is passed as the type its conversion reads.
    auto s = make<int32_t>(1, 2, {INT32_MIN, 255});
    const std::pair<const char*, const char*> cases[] = {{"%d|", "-2147483648|255|"},
                                                         {"%lx 100%% ", "ffffffff80000000 100% ff 100% "},
                                                         {"%.1e ", "-2.1e+09 2.6e+02 "},
                                                         {"%hhu ", "0 255 "}};
    for (auto [fmt, text] : cases) {
        std::string out = written([&](FILE* f) { EXPECT_EQ(message(mats32_print(f, &s, fmt, 0, nullptr)), ""); });
        EXPECT_NE(out.find(std::string("Row[0]:  ") + text + "\n"), std::string::npos) << fmt;
    }
    for (const char* bad : {"%s", "%n", "%d %d", "plain", "%*d", "%Lg", "%", "%hhg", "%zd", "%c"}) {
        auto print = [&](FILE* f) { EXPECT_EQ(message(mats32_print(f, &s, bad, 0, nullptr)), "Illegal data value"); };
        EXPECT_EQ(written(print), "") << bad;  // refused before anything is written
    }
    EXPECT_EQ(message(matdbl_print(stdout, &d, "%d ", 0, nullptr)), "Illegal data value");
    _double_mat bad{2, 2, 3, d.data};
    EXPECT_EQ(raised([&] { matdbl_print(stdout, &bad, nullptr, 0, nullptr); }), "array size mismatch");
    Stream read_only("x");
    EXPECT_EQ(message(matdbl_print(read_only, &d, nullptr, 0, nullptr)), "Input-output error");
}

// ---- print and parse round trips ----------------------------------------------------------------

template <class T> void expect_round_trip(const std::vector<T>& v, int32_t rows, const char* format, int width) {
    auto m = make_univ<T>(rows, int32_t(v.size()) / rows, v);
    Stream s;
    ASSERT_EQ(message(matuniv_print(s, &m, format, width, nullptr)), "");
    std::rewind(s);
    _univ_mat back;
    ASSERT_EQ(message(matuniv_parse(s, nullptr, &back)), "") << s.contents();
    EXPECT_EQ(back.type, detail::elem<T>::tag);
    EXPECT_EQ(back.nrow, m.nrow);
    EXPECT_EQ(back.ncol, m.ncol);
    EXPECT_EQ(values_of<T>(back), v);
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
    std::vector<double> many(150);  // wrapped rows, hex floats
    for (std::size_t i = 0; i < many.size(); ++i) many[i] = std::sin(double(i)) * 1e5;
    expect_round_trip<double>(many, 10, "%a ", 40);
}

TEST_F(TextTest, ParseStopsRightAfterTheMatrix) {
    auto a = make<uint16_t>(1, 2, {1, 2});
    auto b = make<double>(2, 1, {3, 4});
    Stream s;  // two matrices and some text
    matu16_print(s, &a, nullptr, 0, nullptr);
    matdbl_print(s, &b, nullptr, 0, nullptr);
    std::fputs("tail", s);
    std::rewind(s);
    _univ_mat first, second;
    ASSERT_EQ(message(matuniv_parse(s, nullptr, &first)), "");
    EXPECT_EQ(std::getc(s), '\n');
    ASSERT_EQ(message(matuniv_parse(s, nullptr, &second)), "");
    EXPECT_EQ(values_of<double>(second), (std::vector<double>{3, 4}));
    EXPECT_EQ(std::getc(s), '\n');
}

// ---- malformed printed text ---------------------------------------------------------------------

std::string parse_text(const std::string& text) {
    Stream s(text);
    _univ_mat m;
    return message(matuniv_parse(s, nullptr, &m));
}

TEST_F(TextTest, ParseRefusesMalformedText) {
    const std::string head = "double Matrix: nrow=1, ncol=2  {\n    Row[0]:  ";
    EXPECT_EQ(parse_text(head + "1 2 \n}\n"), "");
    EXPECT_EQ(parse_text("sint32\nMatrix:nrow= 2,ncol=1{Row[0]:5\n  Row[ 1 ]:  -6 }"), "");  // blanks are free
    for (const char* text : {"double Matrix: nrow=1", "double Matrix: nrow=1, ncol=2\n    Row[0]:  1 2 \n}\n",
                             "double Matrix: nrow=x, ncol=2  {", "double Matrix: nrow=1.5, ncol=2  {\n",
                             "sint32 Matrix: nrow=1, ncol=1  {\n    Row[ 0 ] :  5 \n}\n", ""})
        EXPECT_EQ(parse_text(text), "Input-output error") << text;
    for (const char* rows : {"1 \n}\n", "1 2 \n", "1 2x \n}\n", "1 2 \n]\n"})
        EXPECT_EQ(parse_text(head + rows), "Input-output error") << rows;
    EXPECT_EQ(parse_text(head + std::string(200, '1') + " 2 }"), "Input-output error");
    EXPECT_EQ(parse_text("double Matrix: nrow=1, ncol=2  {\n    Col[0]:  1 2 \n}\n"), "Input-output error");
    EXPECT_EQ(parse_text(head + "1 2e37 \n}\n"), "Illegal data value");
    for (const char* value : {"float -inf", "uint8 256", "uint8 -1", "sint16 1.5", "uint32 nan"}) {
        std::string v(value), word = v.substr(0, v.find(' '));
        EXPECT_EQ(parse_text(word + " Matrix: nrow=1, ncol=1  {\n    Row[0]: " + v.substr(word.size()) + "\n}\n"),
                  "Illegal data value")
            << value;
    }
    EXPECT_EQ(parse_text("complex Matrix: nrow=1, ncol=1  {\n    Row[0]:  1 \n}\n"), "Illegal data type");
    EXPECT_EQ(parse_text("doubles Matrix: nrow=1, ncol=1  {\n"), "Illegal data type");
    EXPECT_EQ(raised([] { parse_text("double Matrix: nrow=0, ncol=2  {\n}\n"); }), "array size mismatch");
    EXPECT_EQ(raised([] { parse_text("double Matrix: nrow=2, ncol=-1  {\n}\n"); }), "array size mismatch");

    Stream s("float Matrix: nrow=1, ncol=1  {\n    Row[0]:  1 \n}\n");
    _double_mat d;
    EXPECT_EQ(message(matdbl_parse(s, nullptr, &d)), "Illegal data type");
    EXPECT_EQ(message(matdbl_parse(nullptr, nullptr, &d)), "null pointer");
    EXPECT_EQ(message(matuniv_parse(s, nullptr, nullptr)), "null pointer");
    Stream blank("   \n  ");  // no word: the position is restored
    std::fseek(blank, 2, SEEK_SET);
    _univ_mat m;
    EXPECT_EQ(message(matuniv_parse(blank, nullptr, &m)), "Input-output error");
    EXPECT_EQ(std::ftell(blank), 2);
}

TEST_F(TextTest, ParseOfAPipeGrowsStorageWithTheValuesThatArrive) {
    // A pipe cannot tell how much follows: a forged size allocates nothing up front, and a real
    // matrix larger than the first block still comes through. (Seekable files with forged
    // headers: Forged.PrintedHeadersOfEveryType...)
    auto through_pipe = [](auto write, _uint16_mat* back) {
        int fds[2];
        EXPECT_EQ(pipe(fds), 0);
        std::thread writer([&] {
            FILE* out = fdopen(fds[1], "w");
            write(out);
            std::fclose(out);
        });
        Stream in(fdopen(fds[0], "r"));
        const std::string err = message(matu16_parse(in, nullptr, back));
        writer.join();
        return err;
    };
    const char* forged = "uint16 Matrix: nrow=40000, ncol=40000  {\n    Row[0]:  1 2 3 \n}\n";
    const std::size_t before = m_scope.arena().reserved();
    _uint16_mat back;
    EXPECT_EQ(through_pipe([&](FILE* out) { std::fputs(forged, out); }, &back), "Input-output error");
    EXPECT_LT(m_scope.arena().reserved() - before, std::size_t(4) << 20);
    auto a = make<uint16_t>(300, 300);
    for (int32_t i = 0; i < a.nelem; ++i) a.data[i] = uint16_t(i * 7);
    EXPECT_EQ(through_pipe([&](FILE* out) { matu16_print(out, &a, nullptr, 0, nullptr); }, &back), "");
    EXPECT_EQ(values(back), values(a));
}

// ---- plain text ----------------------------------------------------------------------------------

TEST_F(TextTest, WriteAsciiLayout) {
    auto d = make<double>(2, 2, {1, -2.5, 1e-7, 123456789});
    PRINTS(matdbl_write_ascii(f, &d, ",", 0, nullptr), "         1,      -2.5,\n     1e-07,1.23457e+08,\n");
    auto s = make<int32_t>(1, 3, {-1, 0, INT32_MAX});
    PRINTS(mats32_write_ascii(f, &s, " ", 0, nullptr), "-1 0 2147483647 \n");
    // "255 " is 4 characters: 17 fit in 70, then the row's remaining 13.
    auto m = make<unsigned char>(2, 30);
    for (int i = 0; i < m.nelem; ++i) m.data[i] = 255;
    std::string full, rest;
    for (int i = 0; i < 17; ++i) full += "255 ";
    rest = full.substr(0, 13 * 4);
    PRINTS(matu8_write_ascii(f, &m, " ", 70, nullptr), full + "\n" + rest + "\n" + full + "\n" + rest + "\n");
    EXPECT_EQ(message(matdbl_write_ascii(stdout, &d, nullptr, 0, nullptr)), "null pointer");
}

TEST_F(TextTest, ReadAsciiSkipsSeparatorsAndComments) {
    Stream s("# a comment line\n1, 2,3\n\n  # another\n# and another\n4 ,5,\t6e0 # trailing\n7");
    auto m = make<double>(2, 3);
    ASSERT_EQ(message(matdbl_read_ascii(s, ',', '#', nullptr, &m)), "");
    EXPECT_EQ(values(m), (std::vector<double>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(std::getc(s), ' ');  // stopped right after the sixth value
    EXPECT_EQ(std::getc(s), '#');
}

TEST_F(TextTest, ReadAsciiFailures) {
    auto m = make<double>(1, 4);
    for (const char* text : {"1 2 3", "1 2 x 4", "1 2 3.5.5 4"}) {
        Stream s(text);
        EXPECT_EQ(message(matdbl_read_ascii(s, ' ', '#', nullptr, &m)), "Input-output error") << text;
        EXPECT_EQ((std::vector<double>(m.data, m.data + 2)), (std::vector<double>{1, 2}));  // kept
    }
    auto u = make_univ<unsigned char>(1, 2), fl = make_univ<float>(1, 2);
    Stream big("255 256"), huge("1 1e39");
    EXPECT_EQ(message(matuniv_read_ascii(big, ' ', '#', nullptr, &u)), "Illegal data value");
    EXPECT_EQ(message(matuniv_read_ascii(huge, ' ', '#', nullptr, &fl)), "Illegal data value");
    _double_mat none{0, 0, 0, nullptr};
    Stream empty;
    EXPECT_EQ(message(matdbl_read_ascii(empty, ' ', '#', nullptr, &none)), "");
    EXPECT_EQ(message(matdbl_read_ascii(nullptr, ' ', '#', nullptr, &m)), "null pointer");
}

template <class T> void expect_ascii_round_trip(const std::vector<T>& v) {
    auto m = make_univ<T>(2, int32_t(v.size() / 2), v), back = make_univ<T>(2, int32_t(v.size() / 2));
    Stream s;
    ASSERT_EQ(message(matuniv_write_ascii(s, &m, " ", 70, nullptr)), "");
    std::rewind(s);
    ASSERT_EQ(message(matuniv_read_ascii(s, ' ', '#', nullptr, &back)), "");
    EXPECT_EQ(values_of<T>(back), v);
}

TEST_F(TextTest, PlainTextRoundTrips) {
    each_real_type([](auto z) {
        using T = decltype(z);
        if constexpr (std::is_integral_v<T>) {
            expect_ascii_round_trip<T>({std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max(), 7, 8});
        } else {
            expect_ascii_round_trip<T>({1, T(-2.5), T(0.125), T(1e10), T(1e-5), 3});
        }
    });
}

}  // namespace
}  // namespace mutils::test
