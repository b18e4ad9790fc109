// The mixed-radix complex FFT engine (see detail_fft.h).
//
// One pass of radix r over sequences of current length n_s = r * m, held at stride s (s
// interleaved problems), reads a_t = x[q + s (p + t m)] for t < r and writes
//     y[q + s (r p + u)] = w^{p u} * sum_t a_t e^{sign 2 pi i t u / r},   w = e^{sign 2 pi i / n_s},
// after which the data are s * r interleaved problems of length m (decimation in frequency,
// self-sorting). Index q runs innermost over contiguous memory, so batches of columns vectorise.
#include <cmath>
#include <cstring>
#include <new>
#include <utility>

#include "detail_fft.h"

namespace mutils {
namespace detail {
namespace {

constexpr double kTwoPi = 6.283185307179586476925286766559;
constexpr double kSin60 = 0.86602540378443864676372317075294;
constexpr double kCos72 = 0.30901699437494742410229341718282;
constexpr double kSin72 = 0.95105651629515357211643933337938;
constexpr double kCos144 = -0.80901699437494742410229341718282;
constexpr double kSin144 = 0.58778525229247312916870595463907;

// ---- radix passes ------------------------------------------------------------------------------

template <int Sg>
MUTILS_CLONES void pass2(const double* __restrict x, double* __restrict y, int64_t s, int64_t m, const _dcomplex* tw) {
    const int64_t row = 2 * s;
    for (int64_t p = 0; p < m; ++p) {
        const double wr = tw[p].re, wi = tw[p].im;
        const double* a0 = x + row * p;
        const double* a1 = a0 + row * m;
        double* b0 = y + row * 2 * p;
        double* b1 = b0 + row;
        for (int64_t q = 0; q < row; q += 2) {
            const double x0r = a0[q], x0i = a0[q + 1], x1r = a1[q], x1i = a1[q + 1];
            const double dr = x0r - x1r, di = x0i - x1i;
            b0[q] = x0r + x1r;
            b0[q + 1] = x0i + x1i;
            b1[q] = dr * wr - di * wi;
            b1[q + 1] = dr * wi + di * wr;
        }
    }
}

template <int Sg>
MUTILS_CLONES void pass3(const double* __restrict x, double* __restrict y, int64_t s, int64_t m, const _dcomplex* tw) {
    const int64_t row = 2 * s;
    const double sn = Sg * kSin60;
    for (int64_t p = 0; p < m; ++p) {
        const double w1r = tw[2 * p].re, w1i = tw[2 * p].im, w2r = tw[2 * p + 1].re, w2i = tw[2 * p + 1].im;
        const double* a0 = x + row * p;
        const double* a1 = a0 + row * m;
        const double* a2 = a1 + row * m;
        double* b0 = y + row * 3 * p;
        double* b1 = b0 + row;
        double* b2 = b1 + row;
        for (int64_t q = 0; q < row; q += 2) {
            const double x0r = a0[q], x0i = a0[q + 1];
            const double sr = a1[q] + a2[q], si = a1[q + 1] + a2[q + 1];
            const double dr = a1[q] - a2[q], di = a1[q + 1] - a2[q + 1];
            const double mr = x0r - 0.5 * sr, mi = x0i - 0.5 * si;
            const double nr = -sn * di, ni = sn * dr;  // i * sign * sin60 * (a1 - a2)
            b0[q] = x0r + sr;
            b0[q + 1] = x0i + si;
            const double c1r = mr + nr, c1i = mi + ni, c2r = mr - nr, c2i = mi - ni;
            b1[q] = c1r * w1r - c1i * w1i;
            b1[q + 1] = c1r * w1i + c1i * w1r;
            b2[q] = c2r * w2r - c2i * w2i;
            b2[q + 1] = c2r * w2i + c2i * w2r;
        }
    }
}

template <int Sg>
MUTILS_CLONES void pass4(const double* __restrict x, double* __restrict y, int64_t s, int64_t m, const _dcomplex* tw) {
    const int64_t row = 2 * s;
    for (int64_t p = 0; p < m; ++p) {
        const double w1r = tw[3 * p].re, w1i = tw[3 * p].im;
        const double w2r = tw[3 * p + 1].re, w2i = tw[3 * p + 1].im;
        const double w3r = tw[3 * p + 2].re, w3i = tw[3 * p + 2].im;
        const double* a0 = x + row * p;
        const double* a1 = a0 + row * m;
        const double* a2 = a1 + row * m;
        const double* a3 = a2 + row * m;
        double* b0 = y + row * 4 * p;
        double* b1 = b0 + row;
        double* b2 = b1 + row;
        double* b3 = b2 + row;
        for (int64_t q = 0; q < row; q += 2) {
            const double t0r = a0[q] + a2[q], t0i = a0[q + 1] + a2[q + 1];
            const double t1r = a0[q] - a2[q], t1i = a0[q + 1] - a2[q + 1];
            const double t2r = a1[q] + a3[q], t2i = a1[q + 1] + a3[q + 1];
            const double t3r = a1[q] - a3[q], t3i = a1[q + 1] - a3[q + 1];
            // e^{sign i pi / 2} * t3: -i t3 forward, +i t3 inverse
            const double ur = Sg < 0 ? t3i : -t3i, ui = Sg < 0 ? -t3r : t3r;
            b0[q] = t0r + t2r;
            b0[q + 1] = t0i + t2i;
            const double c1r = t1r + ur, c1i = t1i + ui;
            const double c2r = t0r - t2r, c2i = t0i - t2i;
            const double c3r = t1r - ur, c3i = t1i - ui;
            b1[q] = c1r * w1r - c1i * w1i;
            b1[q + 1] = c1r * w1i + c1i * w1r;
            b2[q] = c2r * w2r - c2i * w2i;
            b2[q + 1] = c2r * w2i + c2i * w2r;
            b3[q] = c3r * w3r - c3i * w3i;
            b3[q + 1] = c3r * w3i + c3i * w3r;
        }
    }
}

template <int Sg>
MUTILS_CLONES void pass5(const double* __restrict x, double* __restrict y, int64_t s, int64_t m, const _dcomplex* tw) {
    const int64_t row = 2 * s;
    const double s1 = Sg * kSin72, s2 = Sg * kSin144;
    for (int64_t p = 0; p < m; ++p) {
        const _dcomplex* w = tw + 4 * p;
        const double w1r = w[0].re, w1i = w[0].im, w2r = w[1].re, w2i = w[1].im;
        const double w3r = w[2].re, w3i = w[2].im, w4r = w[3].re, w4i = w[3].im;
        const double* a0 = x + row * p;
        const double* a1 = a0 + row * m;
        const double* a2 = a1 + row * m;
        const double* a3 = a2 + row * m;
        const double* a4 = a3 + row * m;
        double* b0 = y + row * 5 * p;
        double* b1 = b0 + row;
        double* b2 = b1 + row;
        double* b3 = b2 + row;
        double* b4 = b3 + row;
        for (int64_t q = 0; q < row; q += 2) {
            const double x0r = a0[q], x0i = a0[q + 1];
            const double t1r = a1[q] + a4[q], t1i = a1[q + 1] + a4[q + 1];
            const double t2r = a2[q] + a3[q], t2i = a2[q + 1] + a3[q + 1];
            const double t3r = a1[q] - a4[q], t3i = a1[q + 1] - a4[q + 1];
            const double t4r = a2[q] - a3[q], t4i = a2[q + 1] - a3[q + 1];
            b0[q] = x0r + t1r + t2r;
            b0[q + 1] = x0i + t1i + t2i;
            const double m1r = x0r + kCos72 * t1r + kCos144 * t2r, m1i = x0i + kCos72 * t1i + kCos144 * t2i;
            const double m2r = x0r + kCos144 * t1r + kCos72 * t2r, m2i = x0i + kCos144 * t1i + kCos72 * t2i;
            // i * (s1 t3 + s2 t4) and i * (s2 t3 - s1 t4)
            const double n1r = -(s1 * t3i + s2 * t4i), n1i = s1 * t3r + s2 * t4r;
            const double n2r = -(s2 * t3i - s1 * t4i), n2i = s2 * t3r - s1 * t4r;
            const double c1r = m1r + n1r, c1i = m1i + n1i, c4r = m1r - n1r, c4i = m1i - n1i;
            const double c2r = m2r + n2r, c2i = m2i + n2i, c3r = m2r - n2r, c3i = m2i - n2i;
            b1[q] = c1r * w1r - c1i * w1i;
            b1[q + 1] = c1r * w1i + c1i * w1r;
            b2[q] = c2r * w2r - c2i * w2i;
            b2[q + 1] = c2r * w2i + c2i * w2r;
            b3[q] = c3r * w3r - c3i * w3i;
            b3[q + 1] = c3r * w3i + c3i * w3r;
            b4[q] = c4r * w4r - c4i * w4i;
            b4[q + 1] = c4r * w4i + c4i * w4r;
        }
    }
}

// General odd radix r: b_u = m_u + i n_u and b_{r-u} = m_u - i n_u with
// m_u = a_0 + sum_t cos(2 pi t u / r) (a_t + a_{r-t}), n_u = sum_t sign sin(2 pi t u / r) (a_t - a_{r-t}).
// Polls once per leg, since one leg of a long prime costs about r * r operations.
const char* pass_odd(const _dcomplex* x, _dcomplex* y, int64_t s, int64_t m, int64_t r, const _dcomplex* tw,
                     const _dcomplex* rot, _dcomplex* scratch, Poll& poll) {
    const int64_t h = (r - 1) / 2;
    _dcomplex* sum = scratch;
    _dcomplex* dif = scratch + h + 1;
    for (int64_t p = 0; p < m; ++p) {
        for (int64_t q = 0; q < s; ++q) {
            const _dcomplex a0 = x[q + s * p];
            _dcomplex b0 = a0;
            for (int64_t t = 1; t <= h; ++t) {
                const _dcomplex lo = x[q + s * (p + t * m)], hi = x[q + s * (p + (r - t) * m)];
                sum[t] = {lo.re + hi.re, lo.im + hi.im};
                dif[t] = {lo.re - hi.re, lo.im - hi.im};
                b0.re += sum[t].re;
                b0.im += sum[t].im;
            }
            _dcomplex* out = y + q + s * r * p;
            out[0] = b0;
            for (int64_t u = 1; u <= h; ++u) {
                double mr = a0.re, mi = a0.im, nr = 0.0, ni = 0.0;
                int64_t j = 0;
                for (int64_t t = 1; t <= h; ++t) {
                    j += u;
                    if (j >= r) j -= r;
                    const double c = rot[j].re, sn = rot[j].im;
                    mr += c * sum[t].re;
                    mi += c * sum[t].im;
                    nr += sn * dif[t].re;
                    ni += sn * dif[t].im;
                }
                const _dcomplex bu{mr - ni, mi + nr}, bv{mr + ni, mi - nr};
                out[s * u] = cmul(bu, tw[p * (r - 1) + u - 1]);
                out[s * (r - u)] = cmul(bv, tw[p * (r - 1) + r - u - 1]);
            }
        }
        MUTILS_TRY(poll.add(double(r) * double(r) * double(s)));
    }
    return nullptr;
}

template <int Sg> const char* run_pass(int radix, const _dcomplex* x, _dcomplex* y, int64_t s, int64_t m,
                                       const _dcomplex* tw, const _dcomplex* rot, _dcomplex* scratch, Poll& poll) {
    const double* xd = reinterpret_cast<const double*>(x);
    double* yd = reinterpret_cast<double*>(y);
    switch (radix) {
        case 2: pass2<Sg>(xd, yd, s, m, tw); break;
        case 3: pass3<Sg>(xd, yd, s, m, tw); break;
        case 4: pass4<Sg>(xd, yd, s, m, tw); break;
        case 5: pass5<Sg>(xd, yd, s, m, tw); break;
        default: return pass_odd(x, y, s, m, radix, tw, rot, scratch, poll);
    }
    return poll.add(6.0 * double(radix) * double(m) * double(s));
}

// Radices of n: fours, then one two, threes, fives, then the other primes in increasing order.
int factor(int64_t n, int64_t* radices) {
    int k = 0;
    while (n % 4 == 0) radices[k++] = 4, n /= 4;
    if (n % 2 == 0) radices[k++] = 2, n /= 2;
    for (int64_t f = 3; f * f <= n; f += 2)
        while (n % f == 0) radices[k++] = f, n /= f;
    if (n > 1) radices[k++] = n;
    // 3 and 5 already come before larger primes since trial division is increasing.
    return k;
}

// The largest prime factor of n >= 1 (1 for n = 1).
int64_t largest_prime(int64_t n) {
    int64_t best = 1;
    for (int64_t f = 2; f * f <= n; ++f)
        while (n % f == 0) best = f, n /= f;
    return n > 1 ? n : best;
}

// The least 2^a 3^b 5^c at or above n.
int64_t smooth_at_least(int64_t n) {
    int64_t best = int64_t(1) << 62;
    for (int64_t p5 = 1; p5 < best; p5 *= 5)
        for (int64_t p35 = p5; p35 < best; p35 *= 3) {
            int64_t v = p35;
            while (v < n) v *= 2;
            if (v < best) best = v;
        }
    return best;
}

// The divisor of n nearest below sqrt(n) (1 when n is prime).
int64_t split_factor(int64_t n) {
    int64_t best = 1;
    for (int64_t d = 2; d * d <= n; ++d)
        if (n % d == 0) best = d;
    return best;
}

}  // namespace

UnitRoots::UnitRoots(int64_t count, double step) {
    if (count < 1) count = 1;
    int bits = 0;
    while ((int64_t(1) << bits) < count) ++bits;
    m_shift = (bits + 1) / 2;
    const int64_t nlo = int64_t(1) << m_shift;
    const int64_t nhi = ((count - 1) >> m_shift) + 1;
    m_mask = nlo - 1;
    m_lo = work_array<_dcomplex>(nlo);
    m_hi = work_array<_dcomplex>(nhi);
    for (int64_t k = 0; k < nlo; ++k) m_lo[k] = {std::cos(double(k) * step), std::sin(double(k) * step)};
    for (int64_t k = 0; k < nhi; ++k) {
        const double a = double(k << m_shift) * step;
        m_hi[k] = {std::cos(a), std::sin(a)};
    }
}

FftPlan::Passes FftPlan::make_passes(int64_t n, int sign) {
    Passes ps;
    ps.n = n;
    int64_t radices[64];
    ps.count = n > 1 ? factor(n, radices) : 0;
    ps.stages = work_array<Stage>(ps.count > 0 ? ps.count : 1);
    int64_t ns = n;
    const double dir = sign < 0 ? -1.0 : 1.0;
    for (int i = 0; i < ps.count; ++i) {
        Stage& st = ps.stages[i];
        const int64_t r = radices[i];
        st.radix = int(r);
        st.m = ns / r;
        st.tw = work_array<_dcomplex>(st.m * (r - 1));
        const UnitRoots w(ns, dir * kTwoPi / double(ns));
        for (int64_t p = 0; p < st.m; ++p)
            for (int64_t u = 1; u < r; ++u) st.tw[p * (r - 1) + u - 1] = w[p * u];
        st.rot = st.scratch = nullptr;
        if (r > 5) {
            st.scratch = work_array<_dcomplex>(r + 1);
            st.rot = work_array<_dcomplex>(r);
            for (int64_t j = 0; j < r; ++j) {
                const double a = kTwoPi * double(j) / double(r);
                st.rot[j] = {std::cos(a), dir * std::sin(a)};
            }
        }
        ns = st.m;
    }
    return ps;
}

FftPlan::FftPlan(int64_t n, int sign) : m_n(n), m_sign(sign < 0 ? -1 : 1) {
    if (largest_prime(n) > kChirpPrime) {
        plan_chirp();
        return;
    }
    if (n > kSplitMin) {
        const int64_t n1 = split_factor(n);
        if (n1 >= 16) {  // a usable split: both factors long enough to pay for the extra passes
            m_n1 = n1;
            m_n2 = n / n1;
            m_cols = make_passes(m_n1, m_sign);
            m_rows = make_passes(m_n2, m_sign);
            m_twiddle = UnitRoots(n, m_sign * kTwoPi / double(n));
            const int64_t longest = m_n1 > m_n2 ? m_n1 : m_n2;
            m_ta = work_array<_dcomplex>(longest * kSplitBlock);
            m_tb = work_array<_dcomplex>(longest * kSplitBlock);
            return;
        }
    }
    m_whole = make_passes(n, m_sign);
}

const char* FftPlan::run_passes(const Passes& ps, _dcomplex* a, _dcomplex* b, int64_t count, Poll& poll,
                                _dcomplex** result) const {
    int64_t s = count;
    for (int i = 0; i < ps.count; ++i) {
        const Stage& st = ps.stages[i];
        const char* err = m_sign < 0 ? run_pass<-1>(st.radix, a, b, s, st.m, st.tw, st.rot, st.scratch, poll)
                                     : run_pass<1>(st.radix, a, b, s, st.m, st.tw, st.rot, st.scratch, poll);
        MUTILS_TRY(err);
        s *= st.radix;
        std::swap(a, b);
    }
    *result = a;
    return nullptr;
}

// n = n1 * n2, input index i = n2 * i1 + i2, output index k = k1 + n1 * k2:
//   1. length-n1 transforms down the columns i2 (blocks of B columns at a time, interleaved),
//      each result multiplied by w_n^{i2 k1} and put back in place;
//   2. length-n2 transforms along the rows k1 (B rows at a time, interleaved), written transposed.
const char* FftPlan::run_split(_dcomplex* data, _dcomplex* work, Poll& poll, _dcomplex** result) const {
    constexpr int64_t B = kSplitBlock;
    const int64_t n1 = m_n1, n2 = m_n2;
    _dcomplex* ta = m_ta;
    _dcomplex* tb = m_tb;
    for (int64_t c0 = 0; c0 < n2; c0 += B) {
        const int64_t nb = c0 + B <= n2 ? B : n2 - c0;
        for (int64_t i1 = 0; i1 < n1; ++i1) std::memcpy(ta + i1 * nb, data + i1 * n2 + c0, sizeof(_dcomplex) * nb);
        _dcomplex* res;
        MUTILS_TRY(run_passes(m_cols, ta, tb, nb, poll, &res));
        for (int64_t k1 = 0; k1 < n1; ++k1) {
            _dcomplex* dst = data + k1 * n2 + c0;
            const _dcomplex* src = res + k1 * nb;
            for (int64_t b = 0; b < nb; ++b) dst[b] = cmul(src[b], m_twiddle[(c0 + b) * k1]);
        }
    }
    MUTILS_TRY(poll.add(8.0 * double(m_n)));
    for (int64_t r0 = 0; r0 < n1; r0 += B) {
        const int64_t nb = r0 + B <= n1 ? B : n1 - r0;
        for (int64_t b = 0; b < nb; ++b) {
            const _dcomplex* src = data + (r0 + b) * n2;
            for (int64_t k2 = 0; k2 < n2; ++k2) ta[k2 * nb + b] = src[k2];
        }
        _dcomplex* res;
        MUTILS_TRY(run_passes(m_rows, ta, tb, nb, poll, &res));
        for (int64_t k2 = 0; k2 < n2; ++k2) std::memcpy(work + r0 + n1 * k2, res + k2 * nb, sizeof(_dcomplex) * nb);
    }
    *result = work;
    return poll.add(4.0 * double(m_n));
}

// Chirp-z: with c_k = e^{sign pi i k^2 / n}, X_k = c_k sum_j (x_j c_j) conj(c_{k-j}), a convolution
// of length 2n - 1 done cyclically at length m. Only the forward transform of length m is kept:
// the inverse is conj(forward(conj(Y))) and its 1/m is folded into the filter. k^2 is reduced
// modulo 2n exactly, so the chirp's angles stay small and accurate for any n.
void FftPlan::plan_chirp() {
    const int64_t n = m_n, m = smooth_at_least(2 * n - 1);
    m_conv = new (work_array<FftPlan>(1)) FftPlan(m, -1);
    const UnitRoots roots(2 * n, m_sign * kTwoPi / double(2 * n));
    m_chirp = work_array<_dcomplex>(n);
    int64_t q = 0;  // k^2 mod 2n
    for (int64_t k = 0; k < n; ++k) {
        m_chirp[k] = roots[q];
        q += 2 * k + 1;
        while (q >= 2 * n) q -= 2 * n;
    }
    m_ta = work_array<_dcomplex>(m);
    m_tb = work_array<_dcomplex>(m);
    const double inv = 1.0 / double(m);
    std::memset(static_cast<void*>(m_ta), 0, sizeof(_dcomplex) * m);
    for (int64_t k = 0; k < n; ++k) {
        const _dcomplex h{m_chirp[k].re * inv, -m_chirp[k].im * inv};
        m_ta[k] = h;
        if (k) m_ta[m - k] = h;
    }
    _dcomplex* res;
    Poll none(nullptr);  // part of building the plan: not interruptible, so the message is always null
    m_conv->run(m_ta, m_tb, 1, none, &res);
    m_filter = res;
    (res == m_ta ? m_ta : m_tb) = work_array<_dcomplex>(m);
}

// Transforms the `count` interleaved sequences of `data` in place, one at a time.
const char* FftPlan::run_chirp(_dcomplex* data, int64_t count, Poll& poll) const {
    const int64_t n = m_n, m = m_conv->size();
    for (int64_t b = 0; b < count; ++b) {
        for (int64_t j = 0; j < n; ++j) m_ta[j] = cmul(data[j * count + b], m_chirp[j]);
        std::memset(static_cast<void*>(m_ta + n), 0, sizeof(_dcomplex) * (m - n));
        _dcomplex* a;
        MUTILS_TRY(m_conv->run(m_ta, m_tb, 1, poll, &a));
        for (int64_t k = 0; k < m; ++k) {
            const _dcomplex y = cmul(a[k], m_filter[k]);
            a[k] = {y.re, -y.im};
        }
        _dcomplex* z;
        MUTILS_TRY(m_conv->run(a, a == m_ta ? m_tb : m_ta, 1, poll, &z));
        for (int64_t k = 0; k < n; ++k) data[k * count + b] = cmul({z[k].re, -z[k].im}, m_chirp[k]);
        MUTILS_TRY(poll.add(16.0 * double(m)));
    }
    return nullptr;
}

const char* FftPlan::run(_dcomplex* data, _dcomplex* work, int64_t count, Poll& poll, _dcomplex** result) const {
    if (m_conv) {
        *result = data;
        return run_chirp(data, count, poll);
    }
    if (splits() && count == 1) return run_split(data, work, poll, result);
    if (splits()) {
        // Several interleaved long sequences: one at a time through the split.
        _dcomplex* one = work_array<_dcomplex>(m_n);
        _dcomplex* tmp = work_array<_dcomplex>(m_n);
        for (int64_t b = 0; b < count; ++b) {
            for (int64_t k = 0; k < m_n; ++k) one[k] = data[k * count + b];
            _dcomplex* res;
            MUTILS_TRY(run_split(one, tmp, poll, &res));
            for (int64_t k = 0; k < m_n; ++k) data[k * count + b] = res[k];
        }
        *result = data;
        return nullptr;
    }
    return run_passes(m_whole, data, work, count, poll, result);
}

bool is_pow2_length(int64_t n) {
    if (n < 1) return false;
    const double x = std::log10(double(n)) / std::log10(2.0);
    const double f = std::floor(x);
    const bool numeric = std::fabs(x - f) <= (std::fabs(f) + std::fabs(x)) * 1e-15;
    // The numeric test agrees with the exact one over every 32-bit length; both are required so a
    // rounding accident can never send a non-power of two into the power-of-two engines.
    return numeric && (n & (n - 1)) == 0;
}

}  // namespace detail
}  // namespace mutils
