// Matrix product, LU decomposition, solution and inverse against the single-threaded peers
// (OpenBLAS dgemm, LAPACKE dgetrf, dgesv, dgetrf + dgetri) on the same inputs.
#include <mutils.h>

#include <memory>
#include <random>
#include <vector>

#include "peer_ratio.h"

#if defined(MUTILS_HAVE_OPENBLAS)
#include <cblas.h>
#endif
#if defined(MUTILS_HAVE_LAPACKE)
#include <lapacke.h>
#endif

namespace {

using namespace mutils;
using Vec = std::vector<double>;

std::shared_ptr<const Vec> random_matrix(int n, unsigned seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    auto v = std::make_shared<Vec>(std::size_t(n) * n);
    for (double& x : *v) x = dist(gen);
    return v;
}

/// Registers ours (a call in its own arena) against the peer, or ours alone without the peers.
template <class F, class G> void add(const char* label, const char* peer_name, double limit, F ours, G peer) {
    auto run_ours = [=](benchmark::State& st) {
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (ours()) st.SkipWithError("failed");
        }
    };
#if defined(MUTILS_HAVE_LAPACKE) && defined(MUTILS_HAVE_OPENBLAS)
    auto run_peer = [=](benchmark::State& st) {
        openblas_set_num_threads(1);
        for (auto _ : st) peer();
    };
    peer_ratio::add(label, peer_name, limit, run_ours, run_peer);
#else
    (void)peer_name, (void)limit, (void)peer;
    benchmark::RegisterBenchmark(label, run_ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

void register_all() {
    constexpr int N = 1024, M = 512;
    auto a = random_matrix(N, 1), b = random_matrix(N, 2), s = random_matrix(M, 3);
    auto out = std::make_shared<Vec>(std::size_t(N) * N), rhs = std::make_shared<Vec>(a->begin(), a->begin() + N);
    auto x = std::make_shared<Vec>(N);
    auto index = std::make_shared<std::vector<int32_t>>(N);
    auto wrap = [](const Vec& v, int r, int c) { return _double_mat{r, c, r * c, const_cast<double*>(v.data())}; };
#if defined(MUTILS_HAVE_LAPACKE) && defined(MUTILS_HAVE_OPENBLAS)
    auto ipiv = std::make_shared<std::vector<lapack_int>>(N);
    auto copy = std::make_shared<Vec>(std::size_t(N) * N), bcopy = std::make_shared<Vec>(N);
#else
    int ipiv = 0, copy = 0, bcopy = 0;
#endif
    add(
        "product 1024^2", "openblas dgemm 1 thread", 1.25,
        [=] {
            _double_mat ma = wrap(*a, N, N), mb = wrap(*b, N, N), mp = wrap(*out, N, N);
            return matdbl_multiply(&ma, &mb, nullptr, &mp);
        },
        [=] {
#if defined(MUTILS_HAVE_LAPACKE) && defined(MUTILS_HAVE_OPENBLAS)
            cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, N, N, N, 1.0, a->data(), N, b->data(), N, 0.0,
                        out->data(), N);
#endif
        });
    add(
        "lu 1024^2", "lapack dgetrf", 1.25,
        [=] {
            _double_mat ma = wrap(*a, N, N), mlu = wrap(*out, N, N);
            _sint32_mat mi{N, 1, N, index->data()};
            return matdbl_lu_decomposition(&ma, nullptr, &mi, &mlu);
        },
        [=] {
#if defined(MUTILS_HAVE_LAPACKE) && defined(MUTILS_HAVE_OPENBLAS)
            *copy = *a;
            LAPACKE_dgetrf(LAPACK_ROW_MAJOR, N, N, copy->data(), N, ipiv->data());
#endif
        });
    add(
        "solve 1024^2", "lapack dgesv", 1.25,
        [=] {
            _double_mat ma = wrap(*a, N, N), mlu = wrap(*out, N, N), mb = wrap(*rhs, N, 1), mx = wrap(*x, N, 1);
            _sint32_mat mi{N, 1, N, index->data()};
            if (const char* err = matdbl_lu_decomposition(&ma, nullptr, &mi, &mlu)) return err;
            return matdbl_lu_solve(&mlu, &mb, &mi, nullptr, &mx);
        },
        [=] {
#if defined(MUTILS_HAVE_LAPACKE) && defined(MUTILS_HAVE_OPENBLAS)
            *copy = *a;
            *bcopy = *rhs;
            LAPACKE_dgesv(LAPACK_ROW_MAJOR, N, 1, copy->data(), N, ipiv->data(), bcopy->data(), 1);
#endif
        });
    add(
        "inverse 512^2", "lapack dgetrf+dgetri", 1.5,
        [=] {
            _double_mat ms = wrap(*s, M, M), mr = wrap(*out, M, M);
            return matdbl_inverse(&ms, nullptr, &mr);
        },
        [=] {
#if defined(MUTILS_HAVE_LAPACKE) && defined(MUTILS_HAVE_OPENBLAS)
            std::copy(s->begin(), s->end(), copy->begin());
            LAPACKE_dgetrf(LAPACK_ROW_MAJOR, M, M, copy->data(), M, ipiv->data());
            LAPACKE_dgetri(LAPACK_ROW_MAJOR, M, copy->data(), M, ipiv->data());
#endif
        });
    (void)ipiv, (void)copy, (void)bcopy;
}

}  // namespace

int main(int argc, char** argv) {
    register_all();
    return peer_ratio::main(argc, argv);
}
