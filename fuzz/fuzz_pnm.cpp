// PBM/PGM/PPM readers on arbitrary bytes.
#include "harness.h"

using namespace mutils;  // calls are qualified: the plain entry points share their names

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::with_stream(data, size, [](FILE* f) {
        _univ_mat m;
        mutils::imguniv_read_pgm(f, nullptr, &m);
    });
    fuzz::with_stream(data, size, [](FILE* f) {
        _mat_set s;
        mutils::imgset_read_ppm(f, nullptr, &s);
    });
    return 0;
}
