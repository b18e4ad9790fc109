// Randomized agreement of every universal member with its typed member, for every element type:
// same-type operands, and small integer operands of other types brought to the result's type.
#include <cstring>
#include <random>

#include "mat/detail_mat.h"
#include "support.h"

namespace mutils::test {
namespace {

template <class T> struct typed;
#define TYPED_MEMBERS(CODE, T, REC)                                          \
    template <> struct typed<T> {                                            \
        static constexpr auto add = mat##CODE##_add;                         \
        static constexpr auto subtract = mat##CODE##_subtract;               \
        static constexpr auto multiply_elem = mat##CODE##_multiply_elem;     \
        static constexpr auto add_scalar = mat##CODE##_add_scalar;           \
        static constexpr auto multiply_scalar = mat##CODE##_multiply_scalar; \
        static constexpr auto rescale = mat##CODE##_rescale;                 \
        static constexpr auto assign = mat##CODE##_assign;                   \
        static constexpr auto assign_scalar = mat##CODE##_assign_scalar;     \
    };
MUTILS_FOR_REAL_TYPES(TYPED_MEMBERS)
#undef TYPED_MEMBERS

template <class T> struct typed_bits;
#define BIT_MEMBERS(CODE, T, REC)                                        \
    template <> struct typed_bits<T> {                                   \
        static constexpr auto bit_and = mat##CODE##_bit_and;             \
        static constexpr auto bit_or = mat##CODE##_bit_or;               \
        static constexpr auto bit_xor = mat##CODE##_bit_xor;             \
        static constexpr auto bit_not = mat##CODE##_bit_not;             \
        static constexpr auto and_scalar = mat##CODE##_bit_and_scalar;   \
        static constexpr auto or_scalar = mat##CODE##_bit_or_scalar;     \
        static constexpr auto xor_scalar = mat##CODE##_bit_xor_scalar;   \
        static constexpr auto shift_left = mat##CODE##_bit_shift_left;   \
        static constexpr auto shift_right = mat##CODE##_bit_shift_right; \
    };
MUTILS_FOR_UNSIGNED_TYPES(BIT_MEMBERS)
#undef BIT_MEMBERS

/// Random values over the whole range of an integer type, or in [-1000, 1000] for floats.
template <class T> T draw(std::mt19937& rng) {
    if constexpr (std::is_integral_v<T>) {
        return T(std::uniform_int_distribution<int64_t>(std::numeric_limits<T>::lowest(),
                                                        std::numeric_limits<T>::max())(rng));
    } else {
        return T(std::uniform_real_distribution<double>(-1000, 1000)(rng));
    }
}

template <class T> std::vector<T> draws(std::mt19937& rng, int n) {
    std::vector<T> v(n);
    for (T& x : v) x = draw<T>(rng);
    return v;
}

template <class T> _univ_scalar scalar_of(T v) {
    _univ_scalar s{};
    std::memcpy(&s.val, &v, sizeof v);
    s.type = detail::elem<T>::tag;
    return s;
}

template <class T> bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

constexpr int kRows = 7, kCols = 9, kN = kRows * kCols;

template <class T> class UnivAgrees : public ArenaTest {
protected:
    std::mt19937 rng{1234u + unsigned(detail::elem<T>::tag)};
    _univ_mat a = make_univ<T>(kRows, kCols, draws<T>(rng, kN));
    _univ_mat b = make_univ<T>(kRows, kCols, draws<T>(rng, kN));
    _univ_mat ru = make_univ<T>(kRows, kCols);
    detail::mat_t<T> rt = make<T>(kRows, kCols);
    const detail::mat_t<T>* ta() const { return detail::as<T>(&a); }
    const detail::mat_t<T>* tb() const { return detail::as<T>(&b); }

    /// Runs both members (each returning a message) and compares messages and result bits.
    template <class U, class V> void agree(U univ_call, V typed_call, const char* what) {
        EXPECT_EQ(message(univ_call()), message(typed_call())) << what;
        EXPECT_TRUE(same_bits(values_of<T>(ru), values(rt))) << what;
    }
};

using RealTypes = ::testing::Types<unsigned char, uint16_t, int16_t, uint32_t, int32_t, float, double>;
TYPED_TEST_SUITE(UnivAgrees, RealTypes);

// One universal call on (a, b) into ru against one typed call on (A, B) into rt.
#define AGREE(UNIV, TYPED) t.agree([&] { return UNIV; }, [&] { return TYPED; }, #UNIV)
#define OPERANDS(T)                                                                  \
    auto& t = *this;                                                                 \
    [[maybe_unused]] _univ_mat *a = &t.a, *b = &t.b, *ru = &t.ru;                    \
    [[maybe_unused]] const detail::mat_t<T>*A = t.ta(), *B = t.tb();                 \
    [[maybe_unused]] detail::mat_t<T>* rt = &t.rt;                                   \
    [[maybe_unused]] const T s = draw<T>(t.rng)

TYPED_TEST(UnivAgrees, BinaryAndScalarMembers) {
    using T = TypeParam;
    using M = typed<T>;
    OPERANDS(T);
    AGREE(matuniv_add(a, b, nullptr, ru), M::add(A, B, nullptr, rt));
    AGREE(matuniv_subtract(a, b, nullptr, ru), M::subtract(A, B, nullptr, rt));
    AGREE(matuniv_multiply_elem(a, b, nullptr, ru), M::multiply_elem(A, B, nullptr, rt));
    AGREE(matuniv_add_scalar(a, scalar_of(s), nullptr, ru), M::add_scalar(A, s, nullptr, rt));
    AGREE(matuniv_multiply_scalar(a, scalar_of(s), nullptr, ru), M::multiply_scalar(A, s, nullptr, rt));
    T lo = draw<T>(t.rng), hi = draw<T>(t.rng);
    if (hi < lo) std::swap(lo, hi);
    AGREE(matuniv_rescale(a, scalar_of(lo), scalar_of(hi), nullptr, ru), M::rescale(A, lo, hi, nullptr, rt));
    AGREE(matuniv_assign(a, nullptr, ru), M::assign(A, nullptr, rt));
    AGREE(matuniv_assign_scalar(scalar_of(s), nullptr, ru), M::assign_scalar(s, nullptr, rt));
    EXPECT_TRUE(same_bits(values(t.rt), std::vector<T>(kN, s)));
}

TYPED_TEST(UnivAgrees, AbsoluteValue) {
    using T = TypeParam;
    OPERANDS(T);
    if constexpr (std::is_signed_v<T> || std::is_floating_point_v<T>) {
        const char* (*abs)(const detail::mat_t<T>*, void*, detail::mat_t<T>*) = nullptr;
        if constexpr (std::is_same_v<T, double>) abs = matdbl_abs;
        if constexpr (std::is_same_v<T, float>) abs = matflt_abs;
        if constexpr (std::is_same_v<T, int16_t>) abs = mats16_abs;
        if constexpr (std::is_same_v<T, int32_t>) abs = mats32_abs;
        AGREE(matuniv_abs(a, nullptr, ru), abs(A, nullptr, rt));
    } else {  // unsigned values are their own absolute values
        ASSERT_EQ(message(matuniv_abs(a, nullptr, ru)), "");
        EXPECT_TRUE(same_bits(values_of<T>(*ru), values_of<T>(*a)));
    }
}

TYPED_TEST(UnivAgrees, BitMembers) {
    using T = TypeParam;
    OPERANDS(T);
    if constexpr (std::is_unsigned_v<T>) {
        using M = typed_bits<T>;
        AGREE(matuniv_bit_and(a, b, nullptr, ru), M::bit_and(A, B, nullptr, rt));
        AGREE(matuniv_bit_or(a, b, nullptr, ru), M::bit_or(A, B, nullptr, rt));
        AGREE(matuniv_bit_xor(a, b, nullptr, ru), M::bit_xor(A, B, nullptr, rt));
        AGREE(matuniv_bit_not(a, nullptr, ru), M::bit_not(A, nullptr, rt));
        AGREE(matuniv_bit_and_scalar(a, scalar_of(s), nullptr, ru), M::and_scalar(A, s, nullptr, rt));
        AGREE(matuniv_bit_or_scalar(a, scalar_of(s), nullptr, ru), M::or_scalar(A, s, nullptr, rt));
        AGREE(matuniv_bit_xor_scalar(a, scalar_of(s), nullptr, ru), M::xor_scalar(A, s, nullptr, rt));
        for (unsigned char n : {0, 1, 5, 7, 8, 15, 16, 31, 32, 200}) {
            AGREE(matuniv_bit_shift_left(a, n, nullptr, ru), M::shift_left(A, T(n), nullptr, rt));
            AGREE(matuniv_bit_shift_right(a, n, nullptr, ru), M::shift_right(A, T(n), nullptr, rt));
        }
    } else {
        EXPECT_EQ(message(matuniv_bit_and(a, b, nullptr, ru)), "Illegal data type");
    }
}

using UnivSlices = ArenaTest;

TEST_F(UnivSlices, ConvertedOperandsSpanManySlices) {
    std::mt19937 rng(7);
    const int32_t rows = 70, cols = 100;  // more elements than one conversion slice
    std::vector<unsigned char> a8 = draws<unsigned char>(rng, rows * cols);
    std::vector<double> bd = draws<double>(rng, rows * cols);
    _univ_mat a = make_univ<unsigned char>(rows, cols, a8), b = make_univ<double>(rows, cols, bd),
              r = make_univ<double>(rows, cols);
    ASSERT_EQ(message(matuniv_subtract(&a, &b, nullptr, &r)), "");
    std::vector<double> got = values_of<double>(r);
    for (int i = 0; i < rows * cols; ++i) ASSERT_EQ(got[i], double(a8[i]) - bd[i]) << i;
    ASSERT_EQ(message(matuniv_add(&a, &r, nullptr, &r)), "");  // in place beside a converted operand
    got = values_of<double>(r);
    for (int i = 0; i < rows * cols; ++i) ASSERT_EQ(got[i], double(a8[i]) - bd[i] + double(a8[i])) << i;

    std::vector<int32_t> big(rows * cols, 1);
    big.back() = 70000;
    _univ_mat s32 = make_univ<int32_t>(rows, cols, big), s16 = make_univ<int16_t>(rows, cols);
    EXPECT_EQ(raised([&] { matuniv_abs(&s32, nullptr, &s16); }), "overflow");
    _univ_mat other = make_univ<int16_t>(cols, rows);
    EXPECT_EQ(message(matuniv_add(&a, &a, nullptr, &other)), "array size mismatch");
}

}  // namespace
}  // namespace mutils::test
