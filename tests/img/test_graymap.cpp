// Grey-level maps: window/level, inversion, automatic thresholds, discrete levels, equalisation.
#include <algorithm>
#include <cmath>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

using WindowLevelTest = ArenaTest;

std::vector<unsigned char> window(const std::vector<double>& x, double low, double high) {
    auto a = make<double>(1, int32_t(x.size()), x);
    auto r = make<unsigned char>(1, int32_t(x.size()));
    EXPECT_EQ(message(imgdbl_map_window_level(&a, low, high, nullptr, &r)), "");
    return values(r);
}

TEST_F(WindowLevelTest, MapsTheWindowOntoEightBitsAndInvertsWhenBoundsAreExchanged) {
    EXPECT_EQ(window({10, 15, 19.99, 20, 5, 25}, 10, 20), (std::vector<unsigned char>{0, 128, 255, 255, 0, 255}));
    EXPECT_EQ(window({10, 15, 19.99, 20, 5, 25}, 20, 10), (std::vector<unsigned char>{255, 128, 0, 0, 255, 0}));
    EXPECT_EQ(window({-1e300, 2.9, 3, 3.1, NAN}, 3, 3), (std::vector<unsigned char>{0, 0, 0, 255, 0}));
    // A range of exactly 256 steps is the identity on its integers.
    EXPECT_EQ(window({0, 1, 127, 255, 256}, 0, 256), (std::vector<unsigned char>{0, 1, 127, 255, 255}));
}

TEST_F(WindowLevelTest, UniversalMemberNeedsAnEightBitResult) {
    auto a = make_univ<uint32_t>(1, 2, {5, 4000000000u});
    auto r = make_univ<unsigned char>(1, 2);
    ASSERT_EQ(message(imguniv_map_window_level(&a, 0, 1e9, nullptr, &r)), "");
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{0, 255}));
    auto r16 = make_univ<uint16_t>(1, 2);
    EXPECT_EQ(message(imguniv_map_window_level(&a, 0, 1, nullptr, &r16)), "Illegal data type");
    EXPECT_EQ(message(imguniv_map_window_level(&a, 0, 1, nullptr, nullptr)), "null pointer");
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
    // Bins 0, 2, 9: the middle one is nearer the first.
    EXPECT_DOUBLE_EQ(split({0, 3, 10}, 10, IMG_THRESH_MINIMUM_ERROR).threshold, 3);
    // Bins 0, 7, 9: the middle one is nearer the last, so the first is taken.
    auto far = split({0, 8, 10}, 10, IMG_THRESH_MINIMUM_ERROR);
    EXPECT_DOUBLE_EQ(far.threshold, 1);
    EXPECT_EQ(far.pixels, (std::vector<unsigned char>{0, 1, 1}));
    // Zero (or fewer) bins means a hundred.
    const std::vector<unsigned char> x{0, 0, 200, 200, 0};
    EXPECT_DOUBLE_EQ(split(x, 0, IMG_THRESH_BETWEEN_CLASS).threshold, 2);  // upper edge of bin 0 of 100
    EXPECT_DOUBLE_EQ(split(x, -5, IMG_THRESH_BETWEEN_CLASS).threshold, 2);
    EXPECT_DOUBLE_EQ(split(x, 10, IMG_THRESH_BETWEEN_CLASS).threshold, 20);
}

// Reference criteria evaluated from scratch for every candidate (bins numbered from 1).
int64_t reference_between_class(const std::vector<double>& h) {
    int64_t last = -1;
    for (size_t i = 0; i < h.size(); ++i)
        if (h[i] > 0) last = int64_t(i);
    double best = -1;
    int64_t k = 0;
    for (int64_t c = 0; c < last; ++c) {
        if (c > 0 && h[c] == 0) continue;
        double n0 = 0, s0 = 0, n1 = 0, s1 = 0;
        for (size_t i = 0; i < h.size(); ++i) (int64_t(i) <= c ? n0 : n1) += h[i], (int64_t(i) <= c ? s0 : s1) += (i + 1.0) * h[i];
        double w = n0 / (n0 + n1), d = s0 / n0 - s1 / n1, score = w * (1 - w) * d * d;
        if (score > best) best = score, k = c;
    }
    return k;
}

int64_t reference_minimum_error(const std::vector<double>& h) {
    std::vector<int64_t> ne;
    for (size_t i = 0; i < h.size(); ++i)
        if (h[i] > 0) ne.push_back(int64_t(i));
    double best = INFINITY;
    int64_t k = ne[1];
    for (size_t j = 1; j + 2 < ne.size(); ++j) {
        double n[2] = {}, s[2] = {}, q[2] = {};
        for (size_t i = 0; i < h.size(); ++i) {
            int side = int64_t(i) <= ne[j] ? 0 : 1;
            n[side] += h[i], s[side] += (i + 1.0) * h[i];
        }
        for (size_t i = 0; i < h.size(); ++i) {
            int side = int64_t(i) <= ne[j] ? 0 : 1;
            double d = (i + 1.0) - s[side] / n[side];
            q[side] += d * d * h[i];
        }
        double total = n[0] + n[1], score = 0;
        for (int c = 0; c < 2; ++c) {
            double p = n[c] / total;
            score += p * 0.5 * std::log(q[c] / n[c]) - p * std::log(p);
        }
        if (score < best) best = score, k = ne[j];
    }
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
        int nonempty = 0;
        for (double c : h) nonempty += c > 0;
        const int64_t otsu = reference_between_class(h);
        EXPECT_DOUBLE_EQ(split(x, bins, IMG_THRESH_BETWEEN_CLASS).threshold, a + (b - a) * (otsu + 1) / bins)
            << "trial " << trial;
        if (nonempty >= 4) {
            const int64_t kittler = reference_minimum_error(h);
            EXPECT_DOUBLE_EQ(split(x, bins, IMG_THRESH_MINIMUM_ERROR).threshold, a + (b - a) * (kittler + 1) / bins)
                << "trial " << trial;
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
    auto flat = make_univ<double>(2, 3, {0.5, 0.5, 0.5, 0.5, 0.5, 0.5});
    auto rf = make_univ<double>(2, 3);
    EXPECT_EQ(message(imguniv_threshold_auto(&flat, 10, IMG_THRESH_BETWEEN_CLASS, nullptr, &rf, &t)),
              "Illegal data value");
}

TEST_F(ThresholdTest, LargeImagesGiveTheSameSplitInEightAndSixteenBits) {
    // Large 8-bit images are counted another way than small ones and than 16-bit images: in
    // slices, on several threads where there are several processors.
    const int side = 1030;
    std::mt19937 gen(23);
    std::normal_distribution<double> dark(60, 20), light(190, 15);
    auto a8 = make<unsigned char>(side, side + 3);
    auto a16 = make<uint16_t>(side, side + 3);
    for (int i = 0; i < a8.nelem; ++i) {
        a8.data[i] = (unsigned char)std::clamp(std::lround(gen() % 4 ? dark(gen) : light(gen)), 0L, 255L);
        a16.data[i] = a8.data[i];
    }
    auto r8 = make<unsigned char>(side, side + 3);
    auto r16 = make<uint16_t>(side, side + 3);
    for (auto criterion : {IMG_THRESH_BETWEEN_CLASS, IMG_THRESH_MINIMUM_ERROR}) {
        double t8 = -1, t16 = -2;
        ASSERT_EQ(message(imgu8_threshold_auto(&a8, 0, criterion, nullptr, &r8, &t8)), "");
        ASSERT_EQ(message(imgu16_threshold_auto(&a16, 0, criterion, nullptr, &r16, &t16)), "");
        EXPECT_EQ(t8, t16);
        EXPECT_TRUE(std::equal(r8.data, r8.data + r8.nelem, r16.data));
        EXPECT_GT(t8, 80.0);
        EXPECT_LT(t8, 170.0);
    }
}

TEST_F(ThresholdTest, RefusalsAndTheirMessages) {
    auto img = make_univ<unsigned char>(2, 2, {1, 2, 3, 9}), r = make_univ<unsigned char>(2, 2);
    auto small = make_univ<unsigned char>(1, 4), r16 = make_univ<uint16_t>(2, 2);
    double t = -1;
    auto refusal = [&](int32_t bins, _img_thresh_type criterion, _univ_mat* result, double* threshold) {
        return message(imguniv_threshold_auto(&img, bins, criterion, nullptr, result, threshold));
    };
    EXPECT_EQ(refusal(10, IMG_THRESH_BETWEEN_CLASS, &r, nullptr), "null pointer");
    EXPECT_EQ(refusal(1, IMG_THRESH_MINIMUM_ERROR, &r, &t), "array size mismatch");
    EXPECT_EQ(refusal(1, IMG_THRESH_BETWEEN_CLASS, &r, &t), "Illegal data value");
    EXPECT_EQ(refusal(10, IMG_THRESH_BETWEEN_CLASS, &small, &t), "array size mismatch");
    EXPECT_EQ(refusal(10, IMG_THRESH_BETWEEN_CLASS, &r16, &t), "Illegal data type");
    EXPECT_EQ(::imguniv_threshold_auto(&img, 1, IMG_THRESH_BETWEEN_CLASS, nullptr, &r, &t), MUTIL_ERR_ILLEGAL_VALUE);
}

// ---- inversion, discrete levels, equalisation ------------------------------------------------

using LevelTest = ArenaTest;

TEST_F(LevelTest, InversionKeepsAndReversesTheRange) {
    auto a = make<unsigned char>(1, 4, {2, 9, 5, 3});
    ASSERT_EQ(message(imgu8_map_invert(&a, nullptr, &a)), "");  // in place
    EXPECT_EQ(values(a), (std::vector<unsigned char>{9, 2, 6, 8}));
    auto w = make_univ<uint16_t>(1, 3, {65535, 0, 1000});
    auto rw = make_univ<uint16_t>(1, 3);
    ASSERT_EQ(::imguniv_map_invert(&w, nullptr, &rw), MUTIL_ERR_OK);
    EXPECT_EQ(values_of<uint16_t>(rw), (std::vector<uint16_t>{0, 65535, 64535}));
    auto d = make<double>(1, 4, {-1.5, NAN, 2.5, 0});
    auto rd = make<double>(1, 4);
    ASSERT_EQ(message(imgdbl_map_invert(&d, nullptr, &rd)), "");
    EXPECT_EQ(rd.data[0], 2.5);
    EXPECT_TRUE(std::isnan(rd.data[1]));
    EXPECT_EQ(rd.data[2], -1.5);
    EXPECT_EQ(rd.data[3], 1.0);

    auto r8 = make_univ<unsigned char>(1, 3);
    EXPECT_EQ(message(imguniv_map_invert(&w, nullptr, &r8)), "Illegal data type");
    auto r16 = make_univ<uint16_t>(3, 1);
    EXPECT_EQ(message(imguniv_map_invert(&w, nullptr, &r16)), "array size mismatch");
    EXPECT_EQ(::imguniv_map_invert(nullptr, nullptr, &r16), MUTIL_ERR_OK);  // "null pointer" has no code
}

// The nearest of ascending levels by brute force (ties to the lower level).
template <class T> T nearest(T x, const std::vector<double>& levels) {
    double best = levels[0];
    for (double l : levels)
        if (std::fabs(double(x) - l) < std::fabs(double(x) - best)) best = l;
    return T(best);
}

TEST_F(LevelTest, DiscreteLevelsTakeTheNearestLevelTiesGoingLow) {
    auto a = make_univ<unsigned char>(1, 6, {0, 50, 51, 149, 150, 255});
    auto levels = make_univ<int32_t>(3, 1, {200, 0, 100});  // any order, any integer type
    auto r = make_univ<unsigned char>(1, 6);
    ASSERT_EQ(::imguniv_map_discrete(&a, &levels, nullptr, &r), MUTIL_ERR_OK);
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{0, 0, 100, 100, 100, 200}));

    // Large 8- and 16-bit images go through a table of every value: same answers.
    std::mt19937 gen(5);
    const std::vector<double> lv{-300, -7, 0, 12, 12, 900};
    auto big = make<int16_t>(300, 300);
    for (int i = 0; i < big.nelem; ++i) big.data[i] = int16_t(int(gen() % 4000) - 2000);
    _univ_mat ub, rb = make_univ<int16_t>(300, 300), ul = make_univ<double>(6, 1, lv);
    matuniv_wrap_matrix(&ub, &big, MUTIL_SINT16);
    auto il = make_univ<int16_t>(6, 1, std::vector<int16_t>(lv.begin(), lv.end()));
    ASSERT_EQ(message(imguniv_map_discrete(&ub, &il, nullptr, &rb)), "");
    const auto got = values_of<int16_t>(rb);
    for (int i = 0; i < big.nelem; ++i) ASSERT_EQ(got[i], nearest<int16_t>(big.data[i], lv)) << i;
    // Floating levels are refused for integer images, taken for floating ones.
    EXPECT_EQ(message(imguniv_map_discrete(&ub, &ul, nullptr, &rb)), "Illegal data type");
    auto d = make_univ<double>(1, 3, {-1000, 6.5, 1e9});
    auto rd = make_univ<double>(1, 3);
    ASSERT_EQ(message(imguniv_map_discrete(&d, &ul, nullptr, &rd)), "");
    EXPECT_EQ(values_of<double>(rd), (std::vector<double>{-300, 12, 900}));

    auto row = make_univ<double>(1, 3, {0, 1, 2});
    EXPECT_EQ(message(imguniv_map_discrete(&d, &row, nullptr, &rd)), "array size mismatch");
    auto small = make_univ<double>(1, 2);
    EXPECT_EQ(message(imguniv_map_discrete(&d, &ul, nullptr, &small)), "array size mismatch");
    EXPECT_EQ(message(imguniv_map_discrete(&d, &ul, nullptr, &r)), "Illegal data type");
}

TEST_F(LevelTest, UniformLevelsSpanTheImageRange) {
    std::vector<unsigned char> ramp(256);
    for (int v = 0; v < 256; ++v) ramp[v] = (unsigned char)v;
    auto a = make_univ<unsigned char>(16, 16, ramp);
    auto r = make_univ<unsigned char>(16, 16);
    ASSERT_EQ(message(imguniv_map_discrete_uniform(&a, 5, nullptr, &r)), "");
    const auto out = values_of<unsigned char>(r);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(out[v], nearest<unsigned char>((unsigned char)v, {0, 64, 128, 191, 255})) << v;
    // Two levels: the range's ends, split at its middle; one level: the middle.
    auto d = make_univ<double>(1, 4, {1, 2, 2.5, 4});
    auto rd = make_univ<double>(1, 4);
    ASSERT_EQ(message(imguniv_map_discrete_uniform(&d, 2, nullptr, &rd)), "");
    EXPECT_EQ(values_of<double>(rd), (std::vector<double>{1, 1, 1, 4}));
    ASSERT_EQ(message(imguniv_map_discrete_uniform(&d, 1, nullptr, &rd)), "");
    EXPECT_EQ(values_of<double>(rd), (std::vector<double>{2.5, 2.5, 2.5, 2.5}));
    EXPECT_EQ(message(imguniv_map_discrete_uniform(&d, 0, nullptr, &rd)), "Illegal data value");
    EXPECT_EQ(message(imguniv_map_discrete_uniform(&d, 3, nullptr, &r)), "Illegal data type");
}

TEST_F(LevelTest, EqualisationSpreadsTheCumulativeHistogramOverTheTypesRange) {
    // Level round((C(v) - C(min)) / (N - C(min)) x (levels - 1)), C the cumulative histogram.
    auto a = make_univ<unsigned char>(1, 4, {20, 10, 30, 20});
    auto r = make_univ<unsigned char>(1, 4);
    ASSERT_EQ(message(imguniv_histogram_equalize(&a, 256, nullptr, &r)), "");
    EXPECT_EQ(values_of<unsigned char>(r), (std::vector<unsigned char>{170, 0, 255, 170}));

    // Four levels over 0..65535 for u16; [0, 1] for double, NaN kept.
    auto w = make_univ<uint16_t>(1, 4, {10, 20, 30, 40});
    auto rw = make_univ<uint16_t>(1, 4);
    ASSERT_EQ(message(imguniv_histogram_equalize(&w, 4, nullptr, &rw)), "");
    EXPECT_EQ(values_of<uint16_t>(rw), (std::vector<uint16_t>{0, 21845, 43690, 65535}));
    auto d = make_univ<double>(1, 5, {5, -1, NAN, 5, 100});
    auto rd = make_univ<double>(1, 5);
    ASSERT_EQ(message(imguniv_histogram_equalize(&d, 3, nullptr, &rd)), "");
    const auto vd = values_of<double>(rd);
    EXPECT_EQ(vd[0], 0.5);  // (3 - 1) / (4 - 1) x 2 = 1.33 -> level 1 of 0..2
    EXPECT_EQ(vd[1], 0.0);
    EXPECT_TRUE(std::isnan(vd[2]));
    EXPECT_EQ(vd[4], 1.0);
    // A constant image and a single level give level 0.
    auto flat = make_univ<unsigned char>(1, 3, {7, 7, 7});
    ASSERT_EQ(message(imguniv_histogram_equalize(&flat, 256, nullptr, &flat)), "");
    EXPECT_EQ(values_of<unsigned char>(flat), (std::vector<unsigned char>{0, 0, 0}));

    EXPECT_EQ(message(imguniv_histogram_equalize(&d, 0, nullptr, &rd)), "Illegal data value");
    EXPECT_EQ(message(imguniv_histogram_equalize(nullptr, 0, nullptr, &rd)), "Illegal data value");
    EXPECT_EQ(message(imguniv_histogram_equalize(nullptr, 4, nullptr, &rd)), "null pointer");
    EXPECT_EQ(message(imguniv_histogram_equalize(&d, 4, nullptr, &rw)), "Illegal data type");
    auto longer = make_univ<double>(1, 6);
    EXPECT_EQ(message(imguniv_histogram_equalize(&d, 4, nullptr, &longer)), "array size mismatch");
}

}  // namespace
}  // namespace mutils::test
