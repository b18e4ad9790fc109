// A short tour of the library: allocate matrices in an arena, run universal operations, read
// messages and error codes.
#include <mutils.h>

#include <cstdio>

int main() {
    Hux::ArenaScope scope;  // everything below is released when main returns

    mutils::_univ_mat a, b, r;
    mutils::matuniv_malloc(&a, 2, 3, mutils::MUTIL_UINT8);
    mutils::matuniv_malloc(&b, 2, 3, mutils::MUTIL_UINT8);
    mutils::matuniv_malloc(&r, 2, 3, mutils::MUTIL_DOUBLE);
    auto* pa = static_cast<unsigned char*>(a.data);
    auto* pb = static_cast<unsigned char*>(b.data);
    for (int i = 0; i < 6; ++i) {
        pa[i] = static_cast<unsigned char>(40 * i);
        pb[i] = 100;
    }

    // u8 operands into a double result: converted first, so nothing wraps.
    if (const char* err = mutils::matuniv_add(&a, &b, nullptr, &r)) {
        std::printf("add failed: %s\n", err);
        return 1;
    }
    std::printf("u8 + u8 into double:");
    for (int i = 0; i < 6; ++i) std::printf(" %g", static_cast<double>(static_cast<double*>(r.data)[i]));
    std::printf("\n");

    // The same sum in u8 wraps around.
    mutils::matuniv_add(&a, &b, nullptr, &b);
    std::printf("u8 + u8 into u8:    ");
    for (int i = 0; i < 6; ++i) std::printf(" %d", pb[i]);
    std::printf("\n");

    // A double operand cannot go into an integer result: a message, and its plain code.
    mutils::_univ_mat d;
    mutils::matuniv_malloc(&d, 2, 3, mutils::MUTIL_DOUBLE);
    const char* err = mutils::matuniv_subtract(&d, &d, nullptr, &a);
    mutils::_mutil_errcode code = ::matuniv_subtract(&d, &d, nullptr, &a);
    std::printf("double - double into u8: \"%s\" (code %d, host error %d)\n", err, int(code),
                int(mutil_err_translate(code)));

    // Storage failures raise Hux::Error.
    try {
        mutils::matuniv_malloc(&d, 0, 3, mutils::MUTIL_DOUBLE);
    } catch (const Hux::Error& e) {
        std::printf("malloc 0 x 3 raised: \"%s\" (code 0x%X)\n", e.what(), e.code());
    }
    return 0;
}
