// Grey-level maps: window/level, inversion, automatic thresholds, discrete levels, equalisation.
#include <algorithm>
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using WindowLevelTest = ArenaTest;

/// The values of a fresh R result of a's shape after op(result) succeeds.
template <class R, class F> std::vector<R> mapped(const _univ_mat& a, F op) {
    auto r = make_univ<R>(a.nrow, a.ncol);
    EXPECT_EQ(message(op(&r)), "");
    return values_of<R>(r);
}

std::vector<unsigned char> window(const std::vector<double>& x, double low, double high) {
    auto a = make_univ<double>(1, int32_t(x.size()), x);
    return mapped<unsigned char>(a, [&](_univ_mat* r) { return imguniv_map_window_level(&a, low, high, nullptr, r); });
}

TEST_F(WindowLevelTest, MapsTheWindowOntoEightBitsAndInvertsWhenBoundsAreExchanged) {
    EXPECT_EQ(window({10, 15, 19.99, 20, 5, 25}, 10, 20), (std::vector<unsigned char>{0, 128, 255, 255, 0, 255}));
    EXPECT_EQ(window({10, 15, 19.99, 20, 5, 25}, 20, 10), (std::vector<unsigned char>{255, 128, 0, 0, 255, 0}));
    EXPECT_EQ(window({-1e300, 2.9, 3, 3.1, NAN}, 3, 3), (std::vector<unsigned char>{0, 0, 0, 255, 0}));
    // A range of exactly 256 steps is the identity on its integers.
    EXPECT_EQ(window({0, 1, 127, 255, 256}, 0, 256), (std::vector<unsigned char>{0, 1, 127, 255, 255}));
    // Any input type, but the result must be 8-bit.
    auto a = make_univ<uint32_t>(1, 2, {5, 4000000000u}), r16 = make_univ<uint16_t>(1, 2);
    EXPECT_EQ(mapped<unsigned char>(a, [&](_univ_mat* r) { return imguniv_map_window_level(&a, 0, 1e9, nullptr, r); }),
              (std::vector<unsigned char>{0, 255}));
    EXPECT_EQ(message(imguniv_map_window_level(&a, 0, 1, nullptr, &r16)), "Illegal data type");
}

using ThresholdTest = ArenaTest;

struct Split {
    double threshold;
    std::vector<unsigned char> pixels;
};

Split split(const std::vector<unsigned char>& x, int32_t bins, _img_thresh_type criterion) {
    auto a = make<unsigned char>(1, int32_t(x.size()), x);
    auto r = make<unsigned char>(1, int32_t(x.size()));
    Split s{-1, {}};
    EXPECT_EQ(message(imgu8_threshold_auto(&a, bins, criterion, nullptr, &r, &s.threshold)), "");
    s.pixels = values(r);
    return s;
}

TEST_F(ThresholdTest, MinimumErrorCasesForTwoAndThreeLevelsAndTheDefaultBinCount) {
    auto two = split({5, 9, 9, 5}, 4, IMG_THRESH_MINIMUM_ERROR);  // bins 0 and 3: the first
    EXPECT_DOUBLE_EQ(two.threshold, 6);
    EXPECT_EQ(two.pixels, (std::vector<unsigned char>{0, 1, 1, 0}));
    // Bins 0, 2, 9: the middle one is nearer the first; bins 0, 7, 9: nearer the last, so the first is taken.
    EXPECT_DOUBLE_EQ(split({0, 3, 10}, 10, IMG_THRESH_MINIMUM_ERROR).threshold, 3);
    EXPECT_DOUBLE_EQ(split({0, 8, 10}, 10, IMG_THRESH_MINIMUM_ERROR).threshold, 1);
    // Zero (or fewer) bins means a hundred.
    const std::vector<unsigned char> x{0, 0, 200, 200, 0};
    EXPECT_DOUBLE_EQ(split(x, 0, IMG_THRESH_BETWEEN_CLASS).threshold, 2);  // upper edge of bin 0 of 100
    EXPECT_DOUBLE_EQ(split(x, -5, IMG_THRESH_BETWEEN_CLASS).threshold, 2);
    EXPECT_DOUBLE_EQ(split(x, 10, IMG_THRESH_BETWEEN_CLASS).threshold, 20);
}

// A criterion evaluated from scratch for the split after bin c (bins numbered from 1), as a cost:
// minus the between-class variance, or the minimum-error cost.
double split_cost(const std::vector<double>& h, int64_t c, _img_thresh_type criterion) {
    double n[2] = {}, s[2] = {}, q[2] = {}, cost = 0;
    for (size_t i = 0; i < h.size(); ++i) n[int64_t(i) > c] += h[i], s[int64_t(i) > c] += (i + 1.0) * h[i];
    const double m[2] = {s[0] / n[0], s[1] / n[1]}, p[2] = {n[0] / (n[0] + n[1]), n[1] / (n[0] + n[1])};
    if (criterion == IMG_THRESH_BETWEEN_CLASS) return -p[0] * p[1] * (m[0] - m[1]) * (m[0] - m[1]);
    for (size_t i = 0; i < h.size(); ++i) {
        const int k = int64_t(i) > c;
        q[k] += (i + 1.0 - m[k]) * (i + 1.0 - m[k]) * h[i];
    }
    for (int k = 0; k < 2; ++k) cost += p[k] * 0.5 * std::log(q[k] / n[k]) - p[k] * std::log(p[k]);
    return cost;
}

/// The first cheapest split: between classes after bin 0 or any non-empty bin but the last;
/// minimum error after the second to the third-last non-empty bin.
int64_t reference_split(const std::vector<double>& h, _img_thresh_type criterion) {
    std::vector<int64_t> ne, candidates;
    for (size_t i = 0; i < h.size(); ++i)
        if (h[i] > 0) ne.push_back(int64_t(i));
    if (criterion == IMG_THRESH_BETWEEN_CLASS) {
        candidates.assign(ne.begin() + (ne[0] == 0), ne.end() - 1);
        candidates.insert(candidates.begin(), 0);
    } else {
        candidates.assign(ne.begin() + 1, ne.end() - 2);
    }
    int64_t k = candidates[0];
    for (int64_t c : candidates)
        if (split_cost(h, c, criterion) < split_cost(h, k, criterion)) k = c;
    return k;
}

TEST_F(ThresholdTest, CriteriaAgreeWithFromScratchEvaluationOnRandomImages) {
    std::mt19937 gen(17);
    for (int trial = 0; trial < 60; ++trial) {
        const int bins = 2 + int(gen() % 40), n = 50 + int(gen() % 300);
        std::normal_distribution<double> dark(60 + gen() % 20, 5 + gen() % 15), light(170 + gen() % 40, 5 + gen() % 25);
        std::vector<unsigned char> x(n);
        for (auto& v : x) v = (unsigned char)std::clamp(std::lround(gen() % 3 ? dark(gen) : light(gen)), 0L, 255L);
        auto [lo, hi] = std::minmax_element(x.begin(), x.end());
        if (*lo == *hi) continue;
        std::vector<double> h(bins);
        const double a = *lo, b = *hi, factor = bins / (b - a);
        for (unsigned char v : x) h[v == a ? 0 : v == b ? bins - 1 : int(std::ceil((v - a) * factor)) - 1] += 1;
        for (auto criterion : {IMG_THRESH_BETWEEN_CLASS, IMG_THRESH_MINIMUM_ERROR}) {
            if (criterion == IMG_THRESH_MINIMUM_ERROR && std::count(h.begin(), h.end(), 0.0) > bins - 4) continue;
            const double want = a + (b - a) * (reference_split(h, criterion) + 1) / bins;
            EXPECT_DOUBLE_EQ(split(x, bins, criterion).threshold, want) << trial << " criterion " << criterion;
        }
    }
}

TEST_F(ThresholdTest, DoubleImagesSplitAtTheUpperEdgeOfTheChosenBin) {
    auto a = make_univ<double>(1, 6, {0.1, 0.15, 0.2, 0.9, 0.95, 1.1});
    auto r = make_univ<double>(1, 6);
    double t = 0;
    ASSERT_EQ(message(imguniv_threshold_auto(&a, 10, IMG_THRESH_BETWEEN_CLASS, nullptr, &r, &t)), "");
    EXPECT_NEAR(t, 0.1 + 1.0 * 1 / 10, 1e-12);  // bin 1 of [0.1, 1.1]: 0.15 and 0.2 land there
    EXPECT_EQ(values_of<double>(r), (std::vector<double>{0, 0, 0, 1, 1, 1}));
    auto flat = make_univ<double>(1, 6, std::vector<double>(6, 0.5));  // constant: no split
    EXPECT_EQ(message(imguniv_threshold_auto(&flat, 10, IMG_THRESH_BETWEEN_CLASS, nullptr, &r, &t)),
              "Illegal data value");
}

TEST_F(ThresholdTest, LargeImagesGiveTheSameSplitInEightAndSixteenBits) {
    // 8-bit images are counted through interleaved byte tables, 16-bit ones value by value.
    const int side = 1030;
    std::mt19937 gen(23);
    std::normal_distribution<double> dark(60, 20), light(190, 15);
    auto a8 = make<unsigned char>(side, side + 3);
    for (int i = 0; i < a8.nelem; ++i)
        a8.data[i] = (unsigned char)std::clamp(std::lround(gen() % 4 ? dark(gen) : light(gen)), 0L, 255L);
    auto a16 = make<uint16_t>(side, side + 3, std::vector<uint16_t>(a8.data, a8.data + a8.nelem));
    auto r8 = make<unsigned char>(side, side + 3);
    auto r16 = make<uint16_t>(side, side + 3);
    for (auto criterion : {IMG_THRESH_BETWEEN_CLASS, IMG_THRESH_MINIMUM_ERROR}) {
        double t8 = -1, t16 = -2;
        ASSERT_EQ(message(imgu8_threshold_auto(&a8, 0, criterion, nullptr, &r8, &t8)), "");
        ASSERT_EQ(message(imgu16_threshold_auto(&a16, 0, criterion, nullptr, &r16, &t16)), "");
        EXPECT_EQ(t8, t16);
        EXPECT_TRUE(std::equal(r8.data, r8.data + r8.nelem, r16.data));
        EXPECT_TRUE(t8 > 80 && t8 < 170) << t8;
    }
}

TEST_F(ThresholdTest, RefusalsAndTheirMessages) {
    auto img = make_univ<unsigned char>(2, 2, {1, 2, 3, 9}), r = make_univ<unsigned char>(2, 2);
    auto r16 = make_univ<uint16_t>(2, 2);
    double t = -1;
    auto refusal = [&](int32_t bins, _img_thresh_type criterion, _univ_mat* result, double* threshold) {
        return message(imguniv_threshold_auto(&img, bins, criterion, nullptr, result, threshold));
    };
    EXPECT_EQ(refusal(10, IMG_THRESH_BETWEEN_CLASS, &r, nullptr), "null pointer");
    EXPECT_EQ(refusal(1, IMG_THRESH_MINIMUM_ERROR, &r, &t), "array size mismatch");
    EXPECT_EQ(refusal(1, IMG_THRESH_BETWEEN_CLASS, &r, &t), "Illegal data value");
    EXPECT_EQ(refusal(10, IMG_THRESH_BETWEEN_CLASS, &r16, &t), "Illegal data type");
}

// ---- inversion, discrete levels, equalisation ------------------------------------------------

using LevelTest = ArenaTest;

TEST_F(LevelTest, InversionKeepsAndReversesTheRange) {
    auto a = make<unsigned char>(1, 4, {2, 9, 5, 3});
    ASSERT_EQ(message(imgu8_map_invert(&a, nullptr, &a)), "");  // in place
    EXPECT_EQ(values(a), (std::vector<unsigned char>{9, 2, 6, 8}));
    auto w = make_univ<uint16_t>(1, 3, {65535, 0, 1000});
    EXPECT_EQ(mapped<uint16_t>(w, [&](_univ_mat* r) { return imguniv_map_invert(&w, nullptr, r); }),
              (std::vector<uint16_t>{0, 65535, 64535}));
    auto d = make_univ<double>(1, 4, {-1.5, NAN, 2.5, 0});
    const auto vd = mapped<double>(d, [&](_univ_mat* r) { return imguniv_map_invert(&d, nullptr, r); });
    EXPECT_TRUE(vd[0] == 2.5 && std::isnan(vd[1]) && vd[2] == -1.5 && vd[3] == 1.0);

    auto r8 = make_univ<unsigned char>(1, 3), r16 = make_univ<uint16_t>(3, 1);
    EXPECT_EQ(message(imguniv_map_invert(&w, nullptr, &r8)), "Illegal data type");
    EXPECT_EQ(message(imguniv_map_invert(&w, nullptr, &r16)), "array size mismatch");
}

// The nearest of ascending levels by brute force (ties to the lower level).
double nearest(double x, const std::vector<double>& levels) {
    double best = levels[0];
    for (double l : levels)
        if (std::fabs(x - l) < std::fabs(x - best)) best = l;
    return best;
}

TEST_F(LevelTest, DiscreteLevelsTakeTheNearestLevelTiesGoingLow) {
    auto a = make_univ<unsigned char>(1, 6, {0, 50, 51, 149, 150, 255});
    auto levels = make_univ<int32_t>(3, 1, {200, 0, 100});  // any order, any integer type
    EXPECT_EQ(mapped<unsigned char>(a, [&](_univ_mat* r) { return imguniv_map_discrete(&a, &levels, nullptr, r); }),
              (std::vector<unsigned char>{0, 0, 100, 100, 100, 200}));

    // Large 8- and 16-bit images go through a table of every value: same answers.
    std::mt19937 gen(5);
    const std::vector<double> lv{-300, -7, 0, 12, 12, 900};
    std::vector<int16_t> big(300 * 300);
    for (auto& v : big) v = int16_t(int(gen() % 4000) - 2000);
    auto ub = make_univ<int16_t>(300, 300, big), rb = make_univ<int16_t>(300, 300);
    auto il = make_univ<int16_t>(6, 1, std::vector<int16_t>(lv.begin(), lv.end())), ul = make_univ<double>(6, 1, lv);
    ASSERT_EQ(message(imguniv_map_discrete(&ub, &il, nullptr, &rb)), "");
    const auto got = values_of<int16_t>(rb);
    for (size_t i = 0; i < big.size(); ++i) ASSERT_EQ(got[i], nearest(big[i], lv)) << i;
    // Floating levels are refused for integer images, taken for floating ones.
    EXPECT_EQ(message(imguniv_map_discrete(&ub, &ul, nullptr, &rb)), "Illegal data type");
    auto d = make_univ<double>(1, 3, {-1000, 6.5, 1e9}), row = make_univ<double>(1, 3, {0, 1, 2});
    EXPECT_EQ(mapped<double>(d, [&](_univ_mat* r) { return imguniv_map_discrete(&d, &ul, nullptr, r); }),
              (std::vector<double>{-300, 12, 900}));
    EXPECT_EQ(message(imguniv_map_discrete(&d, &row, nullptr, &d)), "array size mismatch");  // levels: one column
}

TEST_F(LevelTest, UniformLevelsSpanTheImageRange) {
    std::vector<unsigned char> ramp(256);
    for (int v = 0; v < 256; ++v) ramp[v] = (unsigned char)v;
    auto a = make_univ<unsigned char>(16, 16, ramp);
    const auto out =
        mapped<unsigned char>(a, [&](_univ_mat* r) { return imguniv_map_discrete_uniform(&a, 5, nullptr, r); });
    for (int v = 0; v < 256; ++v) ASSERT_EQ(out[v], nearest(v, {0, 64, 128, 191, 255})) << v;
    // Two levels: the range's ends, split at its middle; one level: the middle; none is refused.
    auto d = make_univ<double>(1, 4, {1, 2, 2.5, 4});
    auto uniform = [&](int32_t n) {
        return mapped<double>(d, [&](_univ_mat* r) { return imguniv_map_discrete_uniform(&d, n, nullptr, r); });
    };
    EXPECT_EQ(uniform(2), (std::vector<double>{1, 1, 1, 4}));
    EXPECT_EQ(uniform(1), (std::vector<double>{2.5, 2.5, 2.5, 2.5}));
    EXPECT_EQ(message(imguniv_map_discrete_uniform(&d, 0, nullptr, &d)), "Illegal data value");
}

TEST_F(LevelTest, EqualisationSpreadsTheCumulativeHistogramOverTheTypesRange) {
    // Level round((C(v) - C(min)) / (N - C(min)) x (levels - 1)), C the cumulative histogram.
    auto equalized = [](_univ_mat& a, int32_t levels, auto zero) {
        auto op = [&](_univ_mat* r) { return imguniv_histogram_equalize(&a, levels, nullptr, r); };
        return mapped<decltype(zero)>(a, op);
    };
    auto a = make_univ<unsigned char>(1, 4, {20, 10, 30, 20});
    EXPECT_EQ(equalized(a, 256, (unsigned char)0), (std::vector<unsigned char>{170, 0, 255, 170}));
    // Four levels over 0..65535 for u16; [0, 1] for double, NaN kept.
    auto w = make_univ<uint16_t>(1, 4, {10, 20, 30, 40});
    EXPECT_EQ(equalized(w, 4, uint16_t(0)), (std::vector<uint16_t>{0, 21845, 43690, 65535}));
    auto d = make_univ<double>(1, 5, {5, -1, NAN, 5, 100});
    const auto vd = equalized(d, 3, 0.0);  // 5: (3 - 1) / (4 - 1) x 2 = 1.33 -> level 1 of 0..2
    EXPECT_TRUE(vd[0] == 0.5 && vd[1] == 0.0 && std::isnan(vd[2]) && vd[4] == 1.0);
    // A constant image gives level 0.
    auto flat = make_univ<unsigned char>(1, 3, {7, 7, 7});
    EXPECT_EQ(equalized(flat, 256, (unsigned char)0), (std::vector<unsigned char>{0, 0, 0}));

    // The level count is checked before the image.
    auto rd = make_univ<double>(1, 5);
    EXPECT_EQ(message(imguniv_histogram_equalize(&d, 0, nullptr, &rd)), "Illegal data value");
    EXPECT_EQ(message(imguniv_histogram_equalize(nullptr, 0, nullptr, &rd)), "Illegal data value");
    EXPECT_EQ(message(imguniv_histogram_equalize(nullptr, 4, nullptr, &rd)), "null pointer");
    EXPECT_EQ(message(imguniv_histogram_equalize(&d, 4, nullptr, &w)), "Illegal data type");
}

}  // namespace
}  // namespace mutils::test
