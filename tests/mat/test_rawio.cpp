// Raw element files: bytes and byte order, round trips for every type, offsets, short files.
#include <unistd.h>

#include <cfloat>
#include <climits>
#include <cstdio>
#include <cstring>
#include <algorithm>

#include "support.h"

namespace mutils::test {
namespace {

using RawTest = ArenaTest;

struct File {
    FILE* f = std::tmpfile();
    ~File() {
        if (f) std::fclose(f);
    }
    operator FILE*() const { return f; }
    std::vector<unsigned char> bytes() const {
        std::rewind(f);
        std::vector<unsigned char> b;
        for (int c; (c = std::getc(f)) != EOF;) b.push_back(static_cast<unsigned char>(c));
        std::rewind(f);
        return b;
    }
};

template <class T> std::vector<unsigned char> native_bytes(const std::vector<T>& v, bool reversed) {
    std::vector<unsigned char> b(v.size() * sizeof(T));
    std::memcpy(b.data(), v.data(), b.size());
    if (reversed)
        for (std::size_t i = 0; i < b.size(); i += sizeof(T)) std::reverse(b.begin() + i, b.begin() + i + sizeof(T));
    return b;
}

template <class T> void expect_raw_round_trip(const std::vector<T>& v) {
    for (unsigned char swap : {0, 1}) {
        auto m = make_univ<T>(2, int32_t(v.size() / 2), v);
        File file;
        ASSERT_EQ(message(matuniv_write_raw(file, &m, swap, nullptr)), "");
        // The flag reverses each element's bytes (u8 has nothing to reverse).
        EXPECT_EQ(file.bytes(), native_bytes(v, swap && sizeof(T) > 1));
        auto back = make_univ<T>(2, int32_t(v.size() / 2));
        ASSERT_EQ(message(matuniv_read_raw(file, 0, swap, nullptr, &back)), "");
        EXPECT_EQ(values_of<T>(back), v);
    }
}

TEST_F(RawTest, RoundTripsInBothByteOrders) {
    expect_raw_round_trip<double>({1.5, -0.0, DBL_MAX, 1e-310});
    expect_raw_round_trip<float>({1.5f, -2, FLT_MAX, 1e-40f});
    expect_raw_round_trip<unsigned char>({0, 1, 128, 255});
    expect_raw_round_trip<uint16_t>({0x0102, 0xfffe, 0, 7});
    expect_raw_round_trip<uint32_t>({0x01020304u, 0xfffffffeu, 0, 7});
    expect_raw_round_trip<int16_t>({-32768, 32767, -1, 1});
    expect_raw_round_trip<int32_t>({INT32_MIN, INT32_MAX, -1, 1});
}

TEST_F(RawTest, LargeSwappedWriteCrossesWorkBlocks) {
    auto m = make<uint32_t>(300, 301);
    for (int32_t i = 0; i < m.nelem; ++i) m.data[i] = uint32_t(i) * 2654435761u;
    File file;
    ASSERT_EQ(message(matu32_write_raw(file, &m, 1, nullptr)), "");
    std::rewind(file);
    auto back = make<uint32_t>(300, 301);
    ASSERT_EQ(message(matu32_read_raw(file, 0, 1, nullptr, &back)), "");
    EXPECT_EQ(values(back), values(m));
}

TEST_F(RawTest, OffsetSkipsBytesFromTheCurrentPosition) {
    File file;
    std::fputs("HEADER", file);
    auto m = make<int16_t>(1, 3, {1, -2, 3});
    ASSERT_EQ(message(mats16_write_raw(file, &m, 0, nullptr)), "");
    std::rewind(file);
    EXPECT_EQ(std::getc(file), 'H');
    auto back = make<int16_t>(1, 3);
    ASSERT_EQ(message(mats16_read_raw(file, 5, 0, nullptr, &back)), "");
    EXPECT_EQ(values(back), values(m));
    EXPECT_EQ(message(mats16_read_raw(file, -1, 0, nullptr, &back)), "Illegal data value");

    // A pipe cannot seek: the offset is read and dropped.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const unsigned char data[] = {9, 9, 9, 10, 20, 30};
    ASSERT_EQ(write(fds[1], data, sizeof data), ssize_t(sizeof data));
    close(fds[1]);
    FILE* in = fdopen(fds[0], "r");
    auto u = make<unsigned char>(1, 3);
    EXPECT_EQ(message(matu8_read_raw(in, 3, nullptr, &u)), "");
    EXPECT_EQ(values(u), (std::vector<unsigned char>{10, 20, 30}));
    std::fclose(in);
}

TEST_F(RawTest, ShortFilesAndRefusals) {
    File file;
    const unsigned char three[] = {1, 2, 3};
    std::fwrite(three, 1, 3, file);
    std::rewind(file);
    auto m = make<uint16_t>(1, 2, {0xaaaa, 0xaaaa});
    EXPECT_EQ(message(matu16_read_raw(file, 0, 0, nullptr, &m)), "Input-output error");
    std::rewind(file);
    EXPECT_EQ(message(matu16_read_raw(file, 4, 0, nullptr, &m)), "Input-output error");

    EXPECT_EQ(message(matdbl_write_raw(nullptr, nullptr, 0, nullptr)), "null pointer");
    auto d = make<double>(1, 1);
    EXPECT_EQ(message(matdbl_read_raw(nullptr, 0, 0, nullptr, &d)), "null pointer");
    _double_mat bad{1, 1, 2, d.data};
    EXPECT_EQ(raised([&] { matdbl_write_raw(file, &bad, 0, nullptr); }), "array size mismatch");
    _double_mat none{0, 5, 0, nullptr};
    EXPECT_EQ(message(matdbl_write_raw(file, &none, 0, nullptr)), "");
    EXPECT_EQ(message(matdbl_read_raw(file, 0, 0, nullptr, &none)), "");

    _univ_mat c = make_univ<_dcomplex>(1, 1);
    EXPECT_EQ(message(matuniv_write_raw(file, &c, 0, nullptr)), "Illegal data type");
    EXPECT_EQ(message(matuniv_read_raw(file, 0, 0, nullptr, nullptr)), "null pointer");
    char x[] = "x";
    FILE* ro = fmemopen(x, 1, "r");
    EXPECT_EQ(message(matdbl_write_raw(ro, &d, 0, nullptr)), "Input-output error");
    std::fclose(ro);
}

TEST_F(RawTest, PlainEntryPointsReturnCodes) {
    File file;
    auto u = make_univ<uint16_t>(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(::matuniv_write_raw(file, &u, 1, nullptr), MUTIL_ERR_OK);
    std::rewind(file);
    auto big = make_univ<uint16_t>(3, 3);
    EXPECT_EQ(::matuniv_read_raw(file, 0, 1, nullptr, &big), MUTIL_ERR_IO);
    _univ_mat c = make_univ<_dcomplex>(1, 1);
    EXPECT_EQ(::matuniv_write_raw(file, &c, 0, nullptr), MUTIL_ERR_ILLEGAL_TYPE);
    EXPECT_EQ(::matuniv_read_raw(file, -2, 0, nullptr, &u), MUTIL_ERR_ILLEGAL_VALUE);
    EXPECT_EQ(::matuniv_read_raw(nullptr, 0, 0, nullptr, &u), MUTIL_ERR_OK);  // "null pointer" has no code
}

}  // namespace
}  // namespace mutils::test
