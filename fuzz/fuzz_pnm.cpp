// PBM/PGM/PPM readers on arbitrary bytes.
#include "harness.h"

using namespace mutils;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::with_stream(data, size, [](FILE* f) {
        _univ_mat m;
        imguniv_read_pgm(f, nullptr, &m);
    });
    fuzz::with_stream(data, size, [](FILE* f) {
        _mat_set s;
        imgset_read_ppm(f, nullptr, &s);
    });
    return 0;
}
