// Bilevel images from bit streams, packed or as text, into a pre-sized result.
#include "harness.h"

using namespace mutils;  // calls are qualified: the plain entry points share their names

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    const int32_t rows = 1 + data[0] % 32, cols = 1 + data[1] % 32;
    const unsigned char packed = data[2] & 1;
    const int32_t offset = int32_t(data[2] >> 1) - 8;  // negative offsets are refused
    const char sep = char(data[3]);
    fuzz::with_stream(data + 4, size - 4, [&](FILE* f) {
        _univ_mat m;
        mutils::matuniv_malloc(&m, rows, cols, MUTIL_UINT8);
        mutils::imguniv_read_from_bits(f, scalar_u8(255), packed, offset, sep, '#', nullptr, &m);
    });
    return 0;
}
