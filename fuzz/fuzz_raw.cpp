// Raw element bytes into a pre-sized matrix of any type, either byte order.
#include "harness.h"

using namespace mutils;  // calls are qualified: the plain entry points share their names

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    static const _mutil_data_type types[] = {MUTIL_UINT8,  MUTIL_UINT16, MUTIL_SINT16, MUTIL_UINT32,
                                             MUTIL_SINT32, MUTIL_FLOAT,  MUTIL_DOUBLE};
    const _mutil_data_type type = types[data[0] % 7];
    const int32_t rows = 1 + data[1] % 32, cols = 1 + data[2] % 32;
    const unsigned char swap = data[3] & 1;
    const int32_t offset = data[3] >> 1;
    fuzz::with_stream(data + 4, size - 4, [&](FILE* f) {
        _univ_mat m;
        mutils::matuniv_malloc(&m, rows, cols, type);
        mutils::matuniv_read_raw(f, offset, swap, nullptr, &m);
    });
    return 0;
}
