// Plain numeric text into a pre-sized matrix, with fuzzed separator and comment characters.
#include "harness.h"

using namespace mutils;  // calls are qualified: the plain entry points share their names

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    const int32_t rows = 1 + data[0] % 16, cols = 1 + data[1] % 16;
    const char sep = char(data[2]), comment = char(data[3]);
    fuzz::with_stream(data + 4, size - 4, [&](FILE* f) {
        _double_mat m;
        mutils::matdbl_malloc(&m, rows, cols);
        mutils::matdbl_read_ascii(f, sep, comment, nullptr, &m);
    });
    return 0;
}
