// The printed matrix form: the universal parse (type word first) and every typed parse.
#include "harness.h"

using namespace mutils;  // calls are qualified: the plain entry points share their names

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t which = data[0] % 8;
    fuzz::with_stream(data + 1, size - 1, [&](FILE* f) {
        switch (which) {
            case 0: {
                _univ_mat m;
                mutils::matuniv_parse(f, nullptr, &m);
                break;
            }
            case 1: {
                _double_mat m;
                mutils::matdbl_parse(f, nullptr, &m);
                break;
            }
            case 2: {
                _float_mat m;
                mutils::matflt_parse(f, nullptr, &m);
                break;
            }
            case 3: {
                _uint8_mat m;
                mutils::matu8_parse(f, nullptr, &m);
                break;
            }
            case 4: {
                _uint16_mat m;
                mutils::matu16_parse(f, nullptr, &m);
                break;
            }
            case 5: {
                _uint32_mat m;
                mutils::matu32_parse(f, nullptr, &m);
                break;
            }
            case 6: {
                _sint16_mat m;
                mutils::mats16_parse(f, nullptr, &m);
                break;
            }
            default: {
                _sint32_mat m;
                mutils::mats32_parse(f, nullptr, &m);
                break;
            }
        }
    });
    return 0;
}
