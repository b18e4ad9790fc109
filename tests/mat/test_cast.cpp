// Conversions between element types: half-up rounding, clipping, "overflow", exactness on the
// boundary values of every pair, complex conversions and the universal dispatch.
#include <cfloat>
#include <cmath>
#include <limits>

#include "support.h"

namespace mutils::test {
namespace {

using CastTest = ArenaTest;

template <class... Ts, class F> void each_type(detail::types<Ts...>, F f) { (f(detail::type_tag<Ts>{}), ...); }

/// Converts x (exactly representable in S) to D with and without clipping and compares with
/// the rule computed in long double: integers take floor(x + 1/2) and must lie in D's range;
/// double to float must stay within +-FLT_MAX; everything else is exact or nearest.
template <class S, class D> void check_pair(long double x) {
    const S sx = S(x);
    bool fits = true;
    D expected;
    if constexpr (std::is_integral_v<D>) {
        const long double v = std::is_floating_point_v<S> ? std::floor(x + 0.5L) : x;
        const long double lo = std::numeric_limits<D>::lowest(), hi = std::numeric_limits<D>::max();
        fits = v >= lo && v <= hi;
        expected = D(v < lo ? lo : (v > hi ? hi : v));
    } else if constexpr (std::is_same_v<S, double> && std::is_same_v<D, float>) {
        fits = std::fabs(x) <= FLT_MAX;
        expected = fits ? float(sx) : (x < 0 ? -FLT_MAX : FLT_MAX);
    } else {
        expected = D(sx);
    }
    const std::string pair =
        std::string(detail::elem<S>::code) + "->" + detail::elem<D>::code + " of " + std::to_string(double(x));
    for (unsigned char clip : {0, 1}) {
        _univ_mat a = make_univ<S>(1, 1, {sx}), r = make_univ<D>(1, 1);
        std::string err = raised([&] { matuniv_cast(&a, clip, nullptr, &r); });
        if (!fits && !clip) {
            EXPECT_EQ(err, "overflow") << pair;
        } else {
            EXPECT_EQ(err, "") << pair;
            EXPECT_EQ(values_of<D>(r)[0], expected) << pair << " clip " << int(clip);
        }
    }
}

template <class T> long double lowest() { return std::numeric_limits<T>::lowest(); }
template <class T> long double highest() { return std::numeric_limits<T>::max(); }

TEST_F(CastTest, EveryPairIsExactOnBoundaryValues) {
    each_type(detail::real_types{}, [](auto s) {
        using S = typename decltype(s)::type;
        each_type(detail::real_types{}, [](auto d) {
            using D = typename decltype(d)::type;
            std::vector<long double> xs = {lowest<S>(), highest<S>(), 0, 1, -1, 2.5, -2.5, -0.4, -0.6, 0.5};
            for (long double b : {lowest<D>(), highest<D>()})
                for (long double off : {-1.0L, -0.5L, -0.25L, 0.0L, 0.25L, 0.5L, 1.0L}) xs.push_back(b + off);
            if constexpr (std::is_floating_point_v<S>)
                xs.push_back(std::nextafter(S(highest<D>()), std::numeric_limits<S>::infinity()));
            for (long double x : xs) {
                if (!(x >= lowest<S>() && x <= highest<S>()) || (long double)(S(x)) != x) continue;
                check_pair<S, D>(x);
            }
        });
    });
}

// (Half-up rounding and clipping of finite values: EveryPairIsExactOnBoundaryValues.)
TEST_F(CastTest, NaNOverflowsOrClipsToTheMinimum) {
    _uint8_mat u = make<unsigned char>(1, 1);
    _double_mat nan = make<double>(1, 1, {NAN});
    EXPECT_EQ(raised([&] { matdbl_cast_to_u8(&nan, 0, nullptr, &u); }), "overflow");
    _sint16_mat s = make<int16_t>(1, 1);
    matdbl_cast_to_s16(&nan, 1, nullptr, &s);  // a clipped NaN takes the minimum
    EXPECT_EQ(s.data[0], -32768);
}

TEST_F(CastTest, TypedMembersCheckSizes) {
    _uint16_mat a = make<uint16_t>(1, 2, {1, 65535});
    _uint8_mat r = make<unsigned char>(2, 1);
    EXPECT_EQ(raised([&] { matu16_cast_to_u8(&a, 1, nullptr, &r); }), "array size mismatch");
    EXPECT_EQ(raised([&] { matu16_cast_to_u8(&a, 1, nullptr, nullptr); }), "null pointer");
    _sint32_mat s = make<int32_t>(1, 2);
    matu16_cast_to_s32(&a, nullptr, &s);
    EXPECT_EQ(values(s), (std::vector<int32_t>{1, 65535}));
}

TEST_F(CastTest, ComplexConversions) {
    _double_mat d = make<double>(1, 2, {1.5, -2});
    _dcomplex_mat z = make<_dcomplex>(1, 2);
    matdbl_cast_to_cpx(&d, nullptr, &z);
    EXPECT_EQ(z.data[0].re, 1.5);
    EXPECT_EQ(z.data[1].im, 0.0);
    z.data[1].im = 3;
    EXPECT_EQ(raised([&] { matcpx_cast_to_dbl(&z, 0, nullptr, &d); }), "overflow");
    matcpx_cast_to_dbl(&z, 1, nullptr, &d);  // the imaginary part is dropped
    EXPECT_EQ(values(d), (std::vector<double>{1.5, -2}));

    _univ_mat u8 = make_univ<unsigned char>(1, 1, {200}), uz = make_univ<_dcomplex>(1, 1), uf = make_univ<float>(1, 1);
    matuniv_cast(&u8, 0, nullptr, &uz);  // through double
    EXPECT_EQ(values_of<_dcomplex>(uz)[0].re, 200);
    EXPECT_EQ(raised([&] { matuniv_cast(&uz, 1, nullptr, &uf); }), "Illegal data type");
    _univ_mat tag1 = u8;
    tag1.type = MUTIL_SINT8;
    EXPECT_EQ(raised([&] { matuniv_cast(&tag1, 1, nullptr, &uf); }), "Illegal data type");
    EXPECT_EQ(::matuniv_cast(&u8, 0, nullptr, &uf), MUTIL_ERR_OK);
    EXPECT_EQ(values_of<float>(uf)[0], 200.0f);
}

}  // namespace
}  // namespace mutils::test
