// Matrix product and LU decomposition of 1024 x 1024 doubles against the single-threaded peers
// (OpenBLAS dgemm, LAPACKE dgetrf) on the same inputs. Prints the time ratios at the end.
#include <benchmark/benchmark.h>
#include <mutils.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#if defined(MUTILS_HAVE_OPENBLAS)
#include <cblas.h>
#endif
#if defined(MUTILS_HAVE_LAPACKE)
#include <lapacke.h>
#endif

namespace {

constexpr int N = 1024;

std::map<std::string, double> g_seconds;  // per-iteration time of each benchmark

std::vector<double> random_matrix(unsigned seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<double> v(std::size_t(N) * N);
    for (double& x : v) x = dist(gen);
    return v;
}

const std::vector<double>& input_a() {
    static const std::vector<double> a = random_matrix(1);
    return a;
}
const std::vector<double>& input_b() {
    static const std::vector<double> b = random_matrix(2);
    return b;
}

/// Runs body once per iteration and records the mean time under name.
template <class F> void timed(benchmark::State& state, const char* name, double flops, F&& body) {
    auto start = std::chrono::steady_clock::now();
    for (auto _ : state) body();
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    double per = seconds / double(state.iterations());
    g_seconds[name] = per;
    state.counters["GFLOPS"] = flops / per * 1e-9;
}

void BM_matdbl_multiply(benchmark::State& state) {
    Hux::ArenaScope scope;
    std::vector<double> a = input_a(), b = input_b(), p(std::size_t(N) * N);
    mutils::_double_mat ma, mb, mp;
    mutils::matdbl_wrap_data(&ma, a.data(), N, N);
    mutils::matdbl_wrap_data(&mb, b.data(), N, N);
    mutils::matdbl_wrap_data(&mp, p.data(), N, N);
    timed(state, "multiply", 2.0 * N * N * N, [&] {
        Hux::ArenaScope call;
        benchmark::DoNotOptimize(mutils::matdbl_multiply(&ma, &mb, nullptr, &mp));
    });
}
BENCHMARK(BM_matdbl_multiply)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_matdbl_lu_decomposition(benchmark::State& state) {
    Hux::ArenaScope scope;
    std::vector<double> a = input_a(), lu(std::size_t(N) * N);
    std::vector<int32_t> index(N);
    mutils::_double_mat ma, mlu;
    mutils::_sint32_mat mi;
    mutils::matdbl_wrap_data(&ma, a.data(), N, N);
    mutils::matdbl_wrap_data(&mlu, lu.data(), N, N);
    mutils::mats32_wrap_data(&mi, index.data(), N, 1);
    timed(state, "lu", 2.0 / 3.0 * N * N * N, [&] {
        Hux::ArenaScope call;
        benchmark::DoNotOptimize(mutils::matdbl_lu_decomposition(&ma, nullptr, &mi, &mlu));
    });
}
BENCHMARK(BM_matdbl_lu_decomposition)->Unit(benchmark::kMillisecond)->MinTime(2.0);

#if defined(MUTILS_HAVE_OPENBLAS)
void BM_cblas_dgemm(benchmark::State& state) {
    openblas_set_num_threads(1);
    std::vector<double> a = input_a(), b = input_b(), p(std::size_t(N) * N);
    timed(state, "dgemm", 2.0 * N * N * N, [&] {
        cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, N, N, N, 1.0, a.data(), N, b.data(), N, 0.0, p.data(),
                    N);
        benchmark::DoNotOptimize(p.data());
    });
}
BENCHMARK(BM_cblas_dgemm)->Unit(benchmark::kMillisecond)->MinTime(2.0);
#endif

#if defined(MUTILS_HAVE_LAPACKE) && defined(MUTILS_HAVE_OPENBLAS)
void BM_lapacke_dgetrf(benchmark::State& state) {
    openblas_set_num_threads(1);
    std::vector<double> a = input_a(), lu(std::size_t(N) * N);
    std::vector<lapack_int> ipiv(N);
    timed(state, "dgetrf", 2.0 / 3.0 * N * N * N, [&] {
        lu = a;
        benchmark::DoNotOptimize(LAPACKE_dgetrf(LAPACK_ROW_MAJOR, N, N, lu.data(), N, ipiv.data()));
    });
}
BENCHMARK(BM_lapacke_dgetrf)->Unit(benchmark::kMillisecond)->MinTime(2.0);
#endif

void ratio(const char* ours, const char* peer, const char* limit) {
    if (g_seconds.count(ours) && g_seconds.count(peer))
        std::printf("ratio %s / %s: %.2f (target at most %s)\n", ours, peer, g_seconds[ours] / g_seconds[peer], limit);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    ratio("multiply", "dgemm", "3");
    ratio("lu", "dgetrf", "4");
    return 0;
}
