// Forged sizes in files: the readers allocate no more than the bytes of the file can justify
// (every reader of outside data in one place; the TIFF reader's own cases are with its tests).
#include <cstring>

#include "support.h"

namespace mutils::test {
namespace {

/// A seekable stream holding `text`, closed with the test.
struct Text {
    explicit Text(const std::string& text) : f(std::tmpfile()) {
        std::fwrite(text.data(), 1, text.size(), f);
        std::rewind(f);
    }
    ~Text() { std::fclose(f); }
    operator FILE*() const { return f; }
    FILE* f;
};

class Forged : public ArenaTest {
protected:
    /// Bytes the test's arena gained since the test started.
    std::size_t grown() { return m_scope.arena().reserved() - m_before; }
    std::size_t m_before = m_scope.arena().reserved();
};

TEST_F(Forged, PrintedHeadersOfEveryTypePromisingMoreThanTheFileHolds) {
    for (const char* word : {"double", "float", "uint8", "uint16", "uint32", "sint16", "sint32"}) {
        SCOPED_TRACE(word);
        Text f(std::string(word) + " Matrix: nrow=46000, ncol=46000  {\n    Row[0]:  1 2 \n}\n");
        _univ_mat m{};
        EXPECT_EQ(message(mutils::matuniv_parse(f, nullptr, &m)), "Input-output error");
        // 46000 x 46000 > 2^31 - 1 elements: refused as a value, before any reading.
        Text g(std::string(word) + " Matrix: nrow=2147483647, ncol=2147483647  {\n}\n");
        EXPECT_EQ(message(mutils::matuniv_parse(g, nullptr, &m)), "Illegal data value");
    }
    EXPECT_LT(grown(), std::size_t(1) << 20);
}

TEST_F(Forged, RawAndBitReadersFillOnlyTheCallersMatrix) {
    // The raw and bit readers take their size from the caller's matrix; offsets and short
    // bodies cost nothing.
    _univ_mat m;
    matuniv_malloc(&m, 4, 4, MUTIL_UINT16);
    const std::size_t before = grown();
    Text small("0123456789");
    EXPECT_EQ(message(mutils::matuniv_read_raw(small, 2147483647, 0, nullptr, &m)), "Input-output error");
    EXPECT_EQ(message(mutils::matuniv_read_raw(small, 0, 0, nullptr, &m)), "Input-output error");
    _univ_mat b;
    matuniv_malloc(&b, 30, 30, MUTIL_UINT8);
    Text bits("\xff\xff\xff");
    EXPECT_EQ(message(imguniv_read_from_bits(bits, scalar_u8(1), 1, 2147483647, ' ', '#', nullptr, &b)),
              "Input-output error");
    EXPECT_EQ(message(imguniv_read_from_bits(bits, scalar_u8(1), 1, 0, ' ', '#', nullptr, &b)), "Input-output error");
    EXPECT_LT(grown() - before, std::size_t(64) << 10);
}

}  // namespace
}  // namespace mutils::test
