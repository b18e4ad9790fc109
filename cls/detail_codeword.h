// Nearest codeword of a vector codebook (not part of the installed interface): the full search
// shared by the palette mapping of colour images and the vector quantizers.
//
// The codebook is K rows of P doubles (row-major). The distance is the squared Euclidean
// distance; ties go to the lowest row. A row's sum stops as soon as it reaches the best distance
// so far (the terms are non-negative, so such a row can neither win nor tie earlier), which
// gives the answer of the plain full search at a fraction of its cost on large codebooks.
#pragma once

#include <cstdint>

namespace mutils {
namespace detail {

/// Index of the codebook row nearest to x (P values); K >= 1. A NaN component makes every
/// distance NaN: the answer is then row 0.
inline int64_t nearest_codeword(const double* x, const double* codebook, int64_t K, int64_t P) {
    int64_t best = 0;
    double best_d = 0;
    for (int64_t p = 0; p < P; ++p) {
        const double d = x[p] - codebook[p];
        best_d += d * d;
    }
    for (int64_t k = 1; k < K; ++k) {
        const double* c = codebook + k * P;
        double s = 0;
        int64_t p = 0;
        for (; p < P && s < best_d; ++p) {
            const double d = x[p] - c[p];
            s += d * d;
        }
        if (p == P && s < best_d) {
            best = k;
            best_d = s;
        }
    }
    return best;
}

}  // namespace detail
}  // namespace mutils
