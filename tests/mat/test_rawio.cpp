// Raw element files: bytes and byte order, round trips for every type, offsets, short files.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "mat_support.h"

namespace mutils::test {
namespace {

using RawTest = ArenaTest;

struct File {
    FILE* f = std::tmpfile();
    ~File() { std::fclose(f); }
    operator FILE*() const { return f; }
    std::vector<unsigned char> bytes() const {
        std::rewind(f);
        std::vector<unsigned char> b;
        for (int c; (c = std::getc(f)) != EOF;) b.push_back(static_cast<unsigned char>(c));
        std::rewind(f);
        return b;
    }
};

template <class T> void expect_raw_round_trip(const std::vector<T>& v) {
    for (unsigned char swap : {0, 1}) {
        auto m = make_univ<T>(2, int32_t(v.size() / 2), v), back = make_univ<T>(2, int32_t(v.size() / 2));
        File file;
        ASSERT_EQ(message(matuniv_write_raw(file, &m, swap, nullptr)), "");
        // The flag reverses each element's bytes.
        std::vector<unsigned char> expected(v.size() * sizeof(T));
        std::memcpy(expected.data(), v.data(), expected.size());
        for (std::size_t i = 0; swap && i < expected.size(); i += sizeof(T))
            std::reverse(expected.begin() + i, expected.begin() + i + sizeof(T));
        EXPECT_EQ(file.bytes(), expected);
        ASSERT_EQ(message(matuniv_read_raw(file, 0, swap, nullptr, &back)), "");
        EXPECT_EQ(values_of<T>(back), v);
    }
}

TEST_F(RawTest, RoundTripsInBothByteOrders) {
    each_real_type([](auto z) {  // extremes, subnormals and -0 keep every byte
        using T = decltype(z);
        using L = std::numeric_limits<T>;
        expect_raw_round_trip<T>({L::lowest(), L::max(), L::denorm_min(), T(-z), 1, T(0x0102)});
    });
    std::vector<uint32_t> many(90300);  // a swapped write crosses several work blocks
    for (std::size_t i = 0; i < many.size(); ++i) many[i] = uint32_t(i) * 2654435761u;
    expect_raw_round_trip<uint32_t>(many);
}

TEST_F(RawTest, OffsetSkipsBytesFromTheCurrentPosition) {
    File file;
    std::fputs("HEADER", file);
    auto m = make<int16_t>(1, 3, {1, -2, 3}), back = make<int16_t>(1, 3);
    ASSERT_EQ(message(mats16_write_raw(file, &m, 0, nullptr)), "");
    std::rewind(file);
    EXPECT_EQ(std::getc(file), 'H');
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

TEST_F(RawTest, EmptyMatricesAndRefusals) {
    // (Short files and huge offsets: Forged.RawAndBitReadersFillOnlyTheCallersMatrix.)
    File file;
    auto d = make<double>(1, 1);
    EXPECT_EQ(message(matdbl_read_raw(nullptr, 0, 0, nullptr, &d)), "null pointer");
    EXPECT_EQ(message(matdbl_write_raw(nullptr, &d, 0, nullptr)), "null pointer");
    _double_mat bad{1, 1, 2, d.data}, none{0, 5, 0, nullptr};
    EXPECT_EQ(raised([&] { matdbl_write_raw(file, &bad, 0, nullptr); }), "array size mismatch");
    EXPECT_EQ(message(matdbl_write_raw(file, &none, 0, nullptr)), "");
    EXPECT_EQ(message(matdbl_read_raw(file, 0, 0, nullptr, &none)), "");
    EXPECT_EQ(message(matuniv_read_raw(file, 0, 0, nullptr, nullptr)), "null pointer");
    char x[] = "x";
    FILE* read_only = fmemopen(x, 1, "r");
    EXPECT_EQ(message(matdbl_write_raw(read_only, &d, 0, nullptr)), "Input-output error");
    std::fclose(read_only);
}

}  // namespace
}  // namespace mutils::test
