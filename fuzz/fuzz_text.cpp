// Plain numeric text into a pre-sized matrix of any type, with fuzzed separator and comment
// characters (the high bits of the first byte pick the element type).
#include "harness.h"

using namespace mutils;  // calls are qualified: the plain entry points share their names

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    static const _mutil_data_type types[] = {MUTIL_DOUBLE, MUTIL_FLOAT,  MUTIL_UINT8, MUTIL_UINT16,
                                             MUTIL_SINT16, MUTIL_UINT32, MUTIL_SINT32};
    const int32_t rows = 1 + data[0] % 16, cols = 1 + data[1] % 16;
    const _mutil_data_type type = types[(data[0] / 16) % 7];
    const char sep = char(data[2]), comment = char(data[3]);
    fuzz::with_stream(data + 4, size - 4, [&](FILE* f) {
        _univ_mat m;
        mutils::matuniv_malloc(&m, rows, cols, type);
        mutils::matuniv_read_ascii(f, sep, comment, nullptr, &m);
    });
    return 0;
}
