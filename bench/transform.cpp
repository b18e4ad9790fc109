// Discrete transforms against FFTW (plans made with FFTW_ESTIMATE, or FFTW_MEASURE where the label
// says so, outside the timed loop). Our
// calls run as a caller would make them: each in its own arena, so work arrays are included.
#include <mutils.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "peer_ratio.h"

#ifdef MUTILS_HAVE_FFTW
#include <fftw3.h>
#endif

namespace {

using namespace mutils;

std::vector<double> random_doubles(size_t n) {
    std::mt19937 gen(42);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> v(n);
    for (double& x : v) x = u(gen);
    return v;
}

/// Complex Fourier transform of the columns of an nrow x ncol matrix.
void add_fourier(const char* label, int nrow, int ncol, double limit, bool measure = false) {
    auto data = std::make_shared<std::vector<double>>(random_doubles(2 * size_t(nrow) * ncol));
    auto ours = [=](benchmark::State& st) {
        std::vector<_dcomplex> out(size_t(nrow) * ncol);
        _dcomplex_mat in{nrow, ncol, nrow * ncol, reinterpret_cast<_dcomplex*>(data->data())};
        _dcomplex_mat res{nrow, ncol, nrow * ncol, out.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (sigcpx_transform_discrete_fourier(&in, 0, nullptr, &res)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_FFTW
    auto peer = [=](benchmark::State& st) {
        const unsigned flags = measure ? FFTW_MEASURE : FFTW_ESTIMATE;
        fftw_complex* in = fftw_alloc_complex(size_t(nrow) * ncol);
        fftw_complex* out = fftw_alloc_complex(size_t(nrow) * ncol);
        fftw_plan plan = ncol == 1 ? fftw_plan_dft_1d(nrow, in, out, FFTW_FORWARD, flags)
                                   : fftw_plan_many_dft(1, &nrow, ncol, in, nullptr, ncol, 1, out, nullptr, ncol, 1,
                                                        FFTW_FORWARD, flags);
        std::copy(data->begin(), data->end(), reinterpret_cast<double*>(in));
        for (auto _ : st) fftw_execute(plan);
        fftw_destroy_plan(plan);
        fftw_free(in);
        fftw_free(out);
    };
    peer_ratio::add(label, "fftw", limit, ours, peer);
#else
    (void)measure;
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

/// Orthonormal cosine transform of a column of length n (general or power-of-two member).
void add_cosine(const char* label, int n, bool pow2, double limit) {
    auto data = std::make_shared<std::vector<double>>(random_doubles(n));
    auto ours = [=](benchmark::State& st) {
        std::vector<double> out(n);
        _double_mat in{n, 1, n, data->data()}, res{n, 1, n, out.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            const char* err = pow2 ? sigdbl_transform_discrete_cosine_II_pow2(&in, nullptr, &res)
                                   : sigdbl_transform_discrete_cosine_II(&in, nullptr, &res);
            if (err) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_FFTW
    auto peer = [=](benchmark::State& st) {
        double* in = fftw_alloc_real(n);
        double* out = fftw_alloc_real(n);
        fftw_plan plan = fftw_plan_r2r_1d(n, in, out, FFTW_REDFT10, FFTW_ESTIMATE);
        std::copy(data->begin(), data->end(), in);
        for (auto _ : st) fftw_execute(plan);
        fftw_destroy_plan(plan);
        fftw_free(in);
        fftw_free(out);
    };
    peer_ratio::add(label, "fftw", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

/// Orthonormal 2-D cosine transform of an n x n matrix against FFTW's REDFT10 (unnormalised:
/// the scaling is a pass over the result, which FFTW leaves to its caller).
void add_cosine_2d(const char* label, int n, double limit) {
    auto data = std::make_shared<std::vector<double>>(random_doubles(size_t(n) * n));
    auto ours = [=](benchmark::State& st) {
        std::vector<double> out(size_t(n) * n);
        _double_mat in{n, n, n * n, data->data()}, res{n, n, n * n, out.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (sigdbl_transform_discrete_cosine_II_2d(&in, 0, nullptr, &res)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_FFTW
    auto peer = [=](benchmark::State& st) {
        double* in = fftw_alloc_real(size_t(n) * n);
        double* out = fftw_alloc_real(size_t(n) * n);
        fftw_plan plan = fftw_plan_r2r_2d(n, n, in, out, FFTW_REDFT10, FFTW_REDFT10, FFTW_MEASURE);
        std::copy(data->begin(), data->end(), in);
        for (auto _ : st) fftw_execute(plan);
        fftw_destroy_plan(plan);
        fftw_free(in);
        fftw_free(out);
    };
    peer_ratio::add(label, "fftw measure", limit, ours, peer);
#else
    benchmark::RegisterBenchmark(label, ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add_fourier("dft cpx 2^20 x 1", 1 << 20, 1, 3.0);
    add_fourier("dft cpx 10^6 x 1", 1000000, 1, 4.0);
    add_fourier("dft cpx 1024 x 1024 columns", 1024, 1024, 3.0);
    add_cosine("dct-II 2^20", 1 << 20, false, 4.0);
    add_cosine("dct-II pow2 2^20", 1 << 20, true, 4.0);
    add_fourier("dft cpx prime 99991 x 1 (fftw measure)", 99991, 1, 3.0, true);
    add_fourier("dft cpx 2^16 x 1 (fftw measure)", 1 << 16, 1, 1.5, true);
    add_cosine_2d("dct-II 2-D 1024^2", 1024, 1.2);
    return peer_ratio::main(argc, argv);
}
