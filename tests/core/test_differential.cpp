// Differential checks of the universal members: for every element type, random inputs give
// exactly what the typed member of that type gives (same message, same result bytes), and a
// type without a typed member gets the refusal "Illegal data type". Universal members that
// accept operands of other types give what the same-type call gives on operands cast first.
//
// One table row per family: the row names the family and writes the universal call and the
// typed call once, generically; the harness runs it for all eight element types. A typed
// member exists for T when the overload set built from the family's name accepts T's records.
#include <cstring>
#include <functional>
#include <optional>
#include <random>

#include "support.h"

namespace mutils::test {
namespace {

std::mt19937 rng;

/// Random values over the whole range of an integer type, [-1000, 1000] for floating types.
template <class T> T draw() {
    if constexpr (std::is_integral_v<T>) {
        return T(std::uniform_int_distribution<int64_t>(std::numeric_limits<T>::lowest(),
                                                        std::numeric_limits<T>::max())(rng));
    } else if constexpr (std::is_same_v<T, _dcomplex>) {
        return {draw<double>(), draw<double>()};
    } else {
        return T(std::uniform_real_distribution<double>(-1000, 1000)(rng));
    }
}

/// T holding the (small, non-negative) value v.
template <class T> T val(double v) {
    if constexpr (std::is_same_v<T, _dcomplex>) {
        return {v, 0};
    } else {
        return T(v);
    }
}

template <class T> _univ_scalar sc(double v) {
    _univ_scalar s{};
    T x = val<T>(v);
    std::memcpy(&s.val, &x, sizeof x);
    s.type = detail::elem<T>::tag;
    return s;
}

/// A zero-filled matrix of T.
template <class T> _univ_mat out(int32_t r, int32_t c) {
    _univ_mat u;
    matuniv_malloc(&u, r, c, detail::elem<T>::tag);
    std::memset(u.data, 0, std::size_t(u.nelem) * sizeof(T));
    return u;
}

/// Random values of T; with `below` > 0 the values are small non-negative integers below it.
template <class T> _univ_mat rnd(int32_t r, int32_t c, int below = 0) {
    _univ_mat u = out<T>(r, c);
    T* p = static_cast<T*>(u.data);
    for (int32_t i = 0; i < u.nelem; ++i) {
        p[i] = below > 0 ? val<T>(double(std::uniform_int_distribution<int>(0, below - 1)(rng))) : draw<T>();
    }
    return u;
}

/// The typed view of a universal matrix.
template <class T> detail::mat_t<T>* V(_univ_mat& u) { return detail::as<T>(&u); }

/// The message an operation returned or raised ("" for success).
template <class F> std::string outcome(F f) {
    try {
        if constexpr (std::is_void_v<decltype(f())>) {
            f();
            return "";
        } else {
            return message(f());
        }
    } catch (const Hux::Error& e) {
        return std::string("raised ") + e.what();
    }
}

/// The typed member's outcome, or nothing when no typed member takes these arguments.
template <class F, class... A> std::optional<std::string> typed_outcome(F f, A... a) {
    if constexpr (std::is_invocable_v<F, A...>) {
        return outcome([&] { return f(a...); });
    } else {
        return std::nullopt;
    }
}

bool same_bytes(const _univ_mat& a, const _univ_mat& b) {
    return a.nrow == b.nrow && a.ncol == b.ncol && a.type == b.type &&
           std::memcmp(a.data, b.data, std::size_t(a.nelem) * detail::elem_size(a.type)) == 0;
}
bool same_bytes(const _pgn_chain& a, const _pgn_chain& b) {
    return a.start_row == b.start_row && a.start_col == b.start_col && a.nrun == b.nrun &&
           std::memcmp(a.run_length, b.run_length, std::size_t(a.nrun) * sizeof(int32_t)) == 0 &&
           std::memcmp(a.direction, b.direction, std::size_t(a.nrun)) == 0;
}
bool same_bytes(const std::string& a, const std::string& b) { return a == b; }
template <class X> bool same_bytes(const X& a, const X& b) { return std::memcmp(&a, &b, sizeof(X)) == 0; }

/// Outputs come in pairs (universal result, typed result).
void same_outputs() {}
template <class X, class... Rest> void same_outputs(const X& u, const X& t, const Rest&... rest) {
    EXPECT_TRUE(same_bytes(u, t)) << "outputs differ";
    same_outputs(rest...);
}

/// How a universal member relates to the typed members for one element type: `exact` (same
/// outcome as the typed member, or "Illegal data type" when there is none), `wider` (documented
/// to accept this type without a typed member of its own: it converts or shares bits), `refused`
/// (documented to refuse this type although a typed member exists).
enum Policy { exact, wider, refused };
template <class T, class... W> constexpr Policy wider_for = (std::is_same_v<T, W> || ...) ? wider : exact;

/// Types of the current row that had a typed member to compare with.
int compared = 0;

/// The verdict of one row for one type.
template <class... X>
void agree(const std::string& univ, const std::optional<std::string>& typed, Policy policy, const X&... outputs) {
    if (policy == refused || (!typed && policy == exact)) {
        EXPECT_EQ(univ, msg::illegal_data_type);
        return;
    }
    if (!typed) return;
    ++compared;
    EXPECT_EQ(univ, *typed);
    same_outputs(outputs...);
}

template <class F> void each_type(F f) {
    auto one = [&](auto tag) {
        using T = typename decltype(tag)::type;
        SCOPED_TRACE(detail::elem<T>::code);
        rng.seed(12345);
        Hux::ArenaScope scope;
        f(tag);
    };
    [&]<class... Ts>(detail::types<Ts...>) { (one(detail::type_tag<Ts>{}), ...); }(detail::all_types{});
}

// The typed members of a family as one overload set (a member that does not exist for a type
// is simply not found for that type's records).
#define MUTILS_TYPED_ONE(P, CODE, OP) \
    template <class... A> auto operator()(A... a) const -> decltype(P##CODE##_##OP(a...)) { return P##CODE##_##OP(a...); }
#define MUTILS_TYPED_SET(P, OP)                                                                          \
    struct typed_##P##_##OP {                                                                            \
        MUTILS_TYPED_ONE(P, u8, OP) MUTILS_TYPED_ONE(P, u16, OP) MUTILS_TYPED_ONE(P, s16, OP)            \
        MUTILS_TYPED_ONE(P, u32, OP) MUTILS_TYPED_ONE(P, s32, OP) MUTILS_TYPED_ONE(P, flt, OP)           \
        MUTILS_TYPED_ONE(P, dbl, OP) MUTILS_TYPED_ONE(P, cpx, OP)                                        \
    };

// ROW(prefix, family, policy, body): body sees T, `typed` (the overload set) and the helpers.
#define ROW(P, OP, POLICY, ...)                                               \
    MUTILS_TYPED_SET(P, OP)                                                  \
    TEST(Differential, P##_##OP) {                                           \
        compared = 0;                                                        \
        each_type([&](auto tag) {                                            \
            using T = typename decltype(tag)::type;                          \
            [[maybe_unused]] typed_##P##_##OP typed;                         \
            [[maybe_unused]] const Policy policy = POLICY;                   \
            __VA_ARGS__;                                                     \
        });                                                                  \
        EXPECT_GT(compared, 0) << "no typed member took the row's arguments"; \
    }
#define U(...) outcome([&] { return __VA_ARGS__; })
#define TY(...) typed_outcome(typed, __VA_ARGS__)

// Shapes: a, b: 5 x 4 random; r1 (universal) and r2 (typed) results of the same shape.
#define AB auto a = rnd<T>(5, 4), b = rnd<T>(5, 4), r1 = out<T>(5, 4), r2 = out<T>(5, 4)
#define A1 auto a = rnd<T>(5, 4), r1 = out<T>(5, 4), r2 = out<T>(5, 4)

// ---- element-wise and scalar arithmetic, bits ----------------------------------------------
ROW(mat, add, exact, AB; agree(U(matuniv_add(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, subtract, exact, AB; agree(U(matuniv_subtract(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, multiply_elem, exact, AB; agree(U(matuniv_multiply_elem(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, abs, std::is_unsigned_v<T> ? wider : exact, A1; agree(U(matuniv_abs(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, assign, (wider_for<T, _dcomplex>), A1; agree(U(matuniv_assign(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, assign_scalar, exact, auto r1 = out<T>(5, 4), r2 = out<T>(5, 4); agree(U(matuniv_assign_scalar(sc<T>(7), nullptr, &r1)), TY(val<T>(7), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, add_scalar, exact, A1; agree(U(matuniv_add_scalar(&a, sc<T>(9), nullptr, &r1)), TY(V<T>(a), val<T>(9), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, multiply_scalar, exact, A1; agree(U(matuniv_multiply_scalar(&a, sc<T>(3), nullptr, &r1)), TY(V<T>(a), val<T>(3), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, rescale, exact, A1; agree(U(matuniv_rescale(&a, sc<T>(2), sc<T>(90), nullptr, &r1)), TY(V<T>(a), val<T>(2), val<T>(90), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_and, exact, AB; agree(U(matuniv_bit_and(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_or, exact, AB; agree(U(matuniv_bit_or(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_xor, exact, AB; agree(U(matuniv_bit_xor(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_not, exact, A1; agree(U(matuniv_bit_not(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_and_scalar, exact, A1; agree(U(matuniv_bit_and_scalar(&a, sc<T>(93), nullptr, &r1)), TY(V<T>(a), val<T>(93), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_or_scalar, exact, A1; agree(U(matuniv_bit_or_scalar(&a, sc<T>(93), nullptr, &r1)), TY(V<T>(a), val<T>(93), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_xor_scalar, exact, A1; agree(U(matuniv_bit_xor_scalar(&a, sc<T>(93), nullptr, &r1)), TY(V<T>(a), val<T>(93), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_shift_left, exact, A1; agree(U(matuniv_bit_shift_left(&a, 3, nullptr, &r1)), TY(V<T>(a), (unsigned char)3, nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, bit_shift_right, exact, A1; agree(U(matuniv_bit_shift_right(&a, 3, nullptr, &r1)), TY(V<T>(a), (unsigned char)3, nullptr, V<T>(r2)), policy, r1, r2))

// ---- statistics ----------------------------------------------------------------------------
ROW(mat, cumulative_sum, exact, A1; agree(U(matuniv_cumulative_sum(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, sum_rows, exact, auto a = rnd<T>(5, 4); auto r1 = out<T>(1, 4), r2 = out<T>(1, 4);
    agree(U(matuniv_sum_rows(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, sum_cols, exact, auto a = rnd<T>(5, 4); auto r1 = out<T>(5, 1), r2 = out<T>(5, 1);
    agree(U(matuniv_sum_cols(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, min, exact, AB; agree(U(matuniv_min(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, max, exact, AB; agree(U(matuniv_max(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, sum, exact, auto a = rnd<T>(5, 4); _univ_scalar s1{}; T s2{};
    std::string u = U(matuniv_sum(&a, nullptr, &s1)); auto t = TY(V<T>(a), nullptr, &s2);
    agree(u, t, policy); if (t && u.empty()) { EXPECT_EQ(std::memcmp(&s1.val, &s2, sizeof(T)), 0); })
ROW(mat, range, exact, auto a = rnd<T>(5, 4); _univ_scalar lo{}, hi{}; T lo2{}, hi2{};
    std::string u = U(matuniv_range(&a, nullptr, &lo, &hi)); auto t = TY(V<T>(a), nullptr, &lo2, &hi2);
    agree(u, t, policy); if (t && u.empty()) { EXPECT_EQ(std::memcmp(&lo.val, &lo2, sizeof(T)) | std::memcmp(&hi.val, &hi2, sizeof(T)), 0); })
ROW(mat, range_robust, exact, auto a = rnd<T>(5, 4, 100); _univ_scalar lo{}, hi{}; T lo2{}, hi2{};
    std::string u = U(matuniv_range_robust(&a, 10, 80, nullptr, &lo, &hi)); auto t = TY(V<T>(a), val<T>(10), val<T>(80), nullptr, &lo2, &hi2);
    agree(u, t, policy); if (t && u.empty()) { EXPECT_EQ(std::memcmp(&lo.val, &lo2, sizeof(T)) | std::memcmp(&hi.val, &hi2, sizeof(T)), 0); })
ROW(mat, entropy, exact, auto a = rnd<T>(5, 4, 6); double e1 = 0, e2 = 0;
    agree(U(matuniv_entropy(&a, nullptr, &e1)), TY(V<T>(a), nullptr, &e2), policy, e1, e2))
ROW(mat, number_equal, exact, auto a = rnd<T>(5, 4, 3), b = rnd<T>(5, 4, 3); uint32_t n1 = 0, n2 = 0;
    agree(U(matuniv_number_equal(&a, &b, nullptr, &n1)), TY(V<T>(a), V<T>(b), nullptr, &n2), policy, n1, n2))
ROW(mat, number_equal_scalar, exact, auto a = rnd<T>(5, 4, 3); uint32_t n1 = 0, n2 = 0;
    agree(U(matuniv_number_equal_scalar(&a, sc<T>(1), nullptr, &n1)), TY(V<T>(a), val<T>(1), nullptr, &n2), policy, n1, n2))

// ---- histograms, thresholds, tables ----------------------------------------------------------
ROW(mat, histogram, wider, auto a = rnd<T>(5, 4, 50); auto c1 = out<uint32_t>(1, 10), c2 = out<uint32_t>(1, 10);
    agree(U(matuniv_histogram(&a, 0, 50, 1, nullptr, V<uint32_t>(c1))), TY(V<T>(a), 0.0, 50.0, (unsigned char)1, nullptr, V<uint32_t>(c2)), policy, c1, c2))
ROW(mat, threshold, exact, auto a = rnd<T>(5, 4, 50); auto r1 = out<T>(5, 4), r2 = out<T>(5, 4);
    agree(U(matuniv_threshold(&a, 10, 30, sc<T>(0), sc<T>(1), nullptr, &r1)), TY(V<T>(a), 10.0, 30.0, val<T>(0), val<T>(1), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, table_lookup, exact, auto a = rnd<T>(5, 4, 8); auto tab = rnd<T>(1, 8); auto r1 = out<T>(5, 4), r2 = out<T>(5, 4);
    agree(U(matuniv_table_lookup(&a, &tab, nullptr, &r1)), TY(V<T>(a), &tab, nullptr, V<T>(r2)), policy, r1, r2))

// ---- linear algebra -------------------------------------------------------------------------
ROW(mat, multiply, exact, auto a = rnd<T>(3, 4), b = rnd<T>(4, 2); auto r1 = out<T>(3, 2), r2 = out<T>(3, 2);
    agree(U(matuniv_multiply(&a, &b, nullptr, &r1)), TY(V<T>(a), V<T>(b), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, inverse, exact, auto a = rnd<T>(4, 4); auto r1 = out<T>(4, 4), r2 = out<T>(4, 4);
    agree(U(matuniv_inverse(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, lu_decomposition, exact, auto a = rnd<T>(4, 4); auto l1 = out<T>(4, 4), l2 = out<T>(4, 4);
    auto i1 = out<int32_t>(4, 1), i2 = out<int32_t>(4, 1);
    agree(U(matuniv_lu_decomposition(&a, nullptr, &i1, &l1)), TY(V<T>(a), nullptr, V<int32_t>(i2), V<T>(l2)), policy, l1, l2, i1, i2))
ROW(mat, lu_solve, exact, auto a = rnd<T>(4, 4), b = rnd<T>(4, 1); auto lu = out<double>(4, 4), x1 = out<T>(4, 1), x2 = out<T>(4, 1);
    auto idx = out<int32_t>(4, 1); auto ad = rnd<double>(4, 4); matuniv_lu_decomposition(&ad, nullptr, &idx, &lu);
    if (a.type == MUTIL_DOUBLE) a = lu;
    agree(U(matuniv_lu_solve(&a, &b, &idx, nullptr, &x1)), TY(V<T>(a), V<T>(b), V<int32_t>(idx), nullptr, V<T>(x2)), policy, x1, x2))

// ---- sorting ----------------------------------------------------------------------------------
ROW(mat, sort_index_partial, exact, auto a = rnd<T>(5, 4, 30); auto pos = out<int32_t>(1, 3); V<int32_t>(pos)->data[1] = 7; V<int32_t>(pos)->data[2] = 19;
    auto i1 = out<int32_t>(5, 4), i2 = out<int32_t>(5, 4);
    agree(U(matuniv_sort_index_partial(&a, V<int32_t>(pos), nullptr, V<int32_t>(i1))), TY(V<T>(a), V<int32_t>(pos), nullptr, V<int32_t>(i2)), policy, i1, i2))
ROW(mat, permute, exact, A1; auto idx = out<int32_t>(5, 4); for (int32_t i = 0; i < 20; ++i) V<int32_t>(idx)->data[i] = (i * 7) % 20;
    agree(U(matuniv_permute(&a, V<int32_t>(idx), nullptr, &r1)), TY(V<T>(a), V<int32_t>(idx), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, unique, exact, auto a = rnd<T>(5, 4, 6); auto r1 = out<T>(5, 4), r2 = out<T>(5, 4);
    agree(U(matuniv_unique(&a, 1, nullptr, &r1)), TY(V<T>(a), (unsigned char)1, nullptr, V<T>(r2)), policy, r1, r2))

// ---- structure --------------------------------------------------------------------------------
ROW(mat, assign_submat, exact, auto a = rnd<T>(2, 3); auto r1 = rnd<T>(5, 4); auto r2 = out<T>(5, 4); std::memcpy(r2.data, r1.data, 20 * sizeof(T));
    agree(U(matuniv_assign_submat(&a, 1, 1, nullptr, &r1)), TY(V<T>(a), 1, 1, nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, extract, exact, auto a = rnd<T>(5, 4); auto r1 = out<T>(2, 3), r2 = out<T>(2, 3);
    agree(U(matuniv_extract(&a, 2, 1, nullptr, &r1)), TY(V<T>(a), 2, 1, nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, assign_zeropad, exact, auto a = rnd<T>(2, 3); auto r1 = rnd<T>(5, 4); auto r2 = out<T>(5, 4);
    agree(U(matuniv_assign_zeropad(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, transpose, exact, auto a = rnd<T>(5, 4); auto r1 = out<T>(4, 5), r2 = out<T>(4, 5);
    agree(U(matuniv_transpose(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, translate, exact, A1; agree(U(matuniv_translate(&a, 2, -1, sc<T>(5), nullptr, &r1)), TY(V<T>(a), 2, -1, val<T>(5), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, flip_left_right, exact, A1; agree(U(matuniv_flip_left_right(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, flip_up_down, exact, A1; agree(U(matuniv_flip_up_down(&a, nullptr, &r1)), TY(V<T>(a), nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, tile, exact, auto a = rnd<T>(4, 6); auto r1 = out<T>(4, 6), r2 = out<T>(4, 6);
    agree(U(matuniv_tile(&a, 2, 3, nullptr, &r1)), TY(V<T>(a), 2, 3, nullptr, V<T>(r2)), policy, r1, r2))
ROW(mat, untile, exact, auto a = rnd<T>(4, 6); auto r1 = out<T>(4, 6), r2 = out<T>(4, 6);
    agree(U(matuniv_untile(&a, 2, 3, nullptr, &r1)), TY(V<T>(a), 2, 3, nullptr, V<T>(r2)), policy, r1, r2))

// ---- streams ------------------------------------------------------------------------------------
/// The bytes a writer puts on a fresh temporary stream.
template <class F> std::string written(F f, std::string* msg_out) {
    FILE* s = std::tmpfile();
    *msg_out = outcome([&] { return f(s); });
    std::string bytes(std::size_t(std::ftell(s)), '\0');
    std::rewind(s);
    if (!bytes.empty()) {
        EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), s), bytes.size());
    }
    std::fclose(s);
    return bytes;
}
/// A read-only stream over `bytes`.
FILE* over(const std::string& bytes) { return fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "rb"); }

ROW(mat, print, exact, auto a = rnd<T>(5, 4); std::string m1, m2;
    auto b1 = written([&](FILE* s) { return mutils::matuniv_print(s, &a, nullptr, 40, nullptr); }, &m1);
    std::optional<std::string> t; auto b2 = written([&](FILE* s) { t = TY(s, V<T>(a), (const char*)nullptr, 40, nullptr); return t ? nullptr : "none"; }, &m2);
    agree(m1, t, policy, b1, b2))
ROW(mat, write_ascii, exact, auto a = rnd<T>(5, 4); std::string m1, m2;
    auto b1 = written([&](FILE* s) { return mutils::matuniv_write_ascii(s, &a, ",", 30, nullptr); }, &m1);
    std::optional<std::string> t; auto b2 = written([&](FILE* s) { t = TY(s, V<T>(a), ",", (uint16_t)30, nullptr); return t ? nullptr : "none"; }, &m2);
    agree(m1, t, policy, b1, b2))
ROW(mat, write_raw, exact, auto a = rnd<T>(5, 4); std::string m1, m2; const bool u8 = a.type == MUTIL_UINT8;
    auto b1 = written([&](FILE* s) { return mutils::matuniv_write_raw(s, &a, 1, nullptr); }, &m1);
    std::optional<std::string> t; auto b2 = written([&](FILE* s) { t = u8 ? TY(s, V<T>(a), nullptr) : TY(s, V<T>(a), (unsigned char)1, nullptr); return t ? nullptr : "none"; }, &m2);
    agree(m1, t, policy, b1, b2))
ROW(mat, read_raw, exact, std::string bytes(5 * 4 * sizeof(T) + 3, '\0'); for (char& c : bytes) c = char(rng());
    auto r1 = out<T>(5, 4), r2 = out<T>(5, 4); const bool u8 = r1.type == MUTIL_UINT8;
    FILE* s1 = over(bytes); FILE* s2 = over(bytes);
    std::string u = U(mutils::matuniv_read_raw(s1, 3, 1, nullptr, &r1));
    auto t = u8 ? TY(s2, int32_t(3), nullptr, V<T>(r2)) : TY(s2, int32_t(3), (unsigned char)1, nullptr, V<T>(r2));
    std::fclose(s1); std::fclose(s2); agree(u, t, policy, r1, r2))
ROW(mat, read_ascii, exact, const std::string text = "1;2;3 # x\n4;5;6;7;8;9;10;11;12;13;14;15;16;17;18;19;20\n";
    auto r1 = out<T>(5, 4), r2 = out<T>(5, 4); FILE* s1 = over(text); FILE* s2 = over(text);
    std::string u = U(mutils::matuniv_read_ascii(s1, ';', '#', nullptr, &r1)); auto t = TY(s2, ';', '#', nullptr, V<T>(r2));
    std::fclose(s1); std::fclose(s2); agree(u, t, policy, r1, r2))
ROW(mat, parse, exact, auto a = rnd<T>(3, 2); std::string m; auto text = written([&](FILE* s) { return mutils::matuniv_print(s, &a, nullptr, 0, nullptr); }, &m);
    if (!m.empty()) text = std::string("double Matrix: nrow=1, ncol=1  {\n    Row[0]:  1 \n}\n");
    _univ_mat r1{}; detail::mat_t<T> r2{}; FILE* s1 = over(text); FILE* s2 = over(text);
    std::string u = U(mutils::matuniv_parse(s1, nullptr, &r1)); auto t = TY(s2, nullptr, &r2);
    std::fclose(s1); std::fclose(s2);
    if (!t) { EXPECT_NE(r1.type, detail::elem<T>::tag); return; }
    ++compared; EXPECT_EQ(u, *t); _univ_mat w; matuniv_wrap_matrix(&w, &r2, detail::elem<T>::tag); EXPECT_TRUE(same_bytes(r1, w)))

// ---- bit codes, casts -----------------------------------------------------------------------------
// Casts: the typed members take a clip flag only where values can fall outside the target.
#define CAST(CODE, R) ROW(mat, cast_to_##CODE, wider, auto a = rnd<T>(5, 4); auto d1 = out<R>(5, 4), d2 = out<R>(5, 4); \
    std::string u = U(matuniv_cast(&a, 1, nullptr, &d1)); auto t = TY(V<T>(a), (unsigned char)1, nullptr, V<R>(d2)); \
    if (!t) t = TY(V<T>(a), nullptr, V<R>(d2)); agree(u, t, policy, d1, d2))
CAST(u8, unsigned char)
CAST(u16, uint16_t)
CAST(s16, int16_t)
CAST(u32, uint32_t)
CAST(s32, int32_t)
CAST(flt, float)
CAST(dbl, double)
CAST(cpx, _dcomplex)

// ---- images -----------------------------------------------------------------------------------------
#define BIN auto a = rnd<T>(7, 6, 2); auto r1 = out<T>(7, 6), r2 = out<T>(7, 6); [[maybe_unused]] auto se = rnd<unsigned char>(3, 3, 2)
ROW(img, binary_erode, exact, BIN; agree(U(imguniv_binary_erode(&a, &se, 1, 1, sc<T>(1), sc<T>(0), nullptr, &r1)), TY(V<T>(a), V<unsigned char>(se), 1, 1, val<T>(1), val<T>(0), nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, binary_dilate, exact, BIN; agree(U(imguniv_binary_dilate(&a, &se, 1, 0, sc<T>(1), sc<T>(0), nullptr, &r1)), TY(V<T>(a), V<unsigned char>(se), 1, 0, val<T>(1), val<T>(0), nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, binary_open, exact, BIN; agree(U(imguniv_binary_open(&a, &se, sc<T>(1), sc<T>(0), nullptr, &r1)), TY(V<T>(a), V<unsigned char>(se), val<T>(1), val<T>(0), nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, binary_close, exact, BIN; agree(U(imguniv_binary_close(&a, &se, sc<T>(1), sc<T>(0), nullptr, &r1)), TY(V<T>(a), V<unsigned char>(se), val<T>(1), val<T>(0), nullptr, V<T>(r2)), policy, r1, r2))
#define GRAY auto a = rnd<T>(7, 6, 200); auto r1 = out<T>(7, 6), r2 = out<T>(7, 6); auto se = rnd<T>(3, 2, 3)
ROW(img, grayscale_erode, exact, GRAY; agree(U(imguniv_grayscale_erode(&a, &se, 1, 0, MUTIL_BOUNDARY_REFLECT, nullptr, &r1)), TY(V<T>(a), V<T>(se), 1, 0, MUTIL_BOUNDARY_REFLECT, nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, grayscale_dilate, exact, GRAY; agree(U(imguniv_grayscale_dilate(&a, &se, 1, 0, MUTIL_BOUNDARY_ZERO, nullptr, &r1)), TY(V<T>(a), V<T>(se), 1, 0, MUTIL_BOUNDARY_ZERO, nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, grayscale_open, exact, GRAY; agree(U(imguniv_grayscale_open(&a, &se, MUTIL_BOUNDARY_CONTINUE, nullptr, &r1)), TY(V<T>(a), V<T>(se), MUTIL_BOUNDARY_CONTINUE, nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, grayscale_close, exact, GRAY; agree(U(imguniv_grayscale_close(&a, &se, MUTIL_BOUNDARY_PERIODIC, nullptr, &r1)), TY(V<T>(a), V<T>(se), MUTIL_BOUNDARY_PERIODIC, nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, generate_disk, exact, auto r1 = out<T>(9, 8), r2 = out<T>(9, 8);
    agree(U(imguniv_generate_disk(4, 3, 2.5, sc<T>(1), sc<T>(0), nullptr, &r1)), TY(4, 3, 2.5, val<T>(1), val<T>(0), nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, generate_rectangle, exact, auto r1 = out<T>(9, 8), r2 = out<T>(9, 8);
    agree(U(imguniv_generate_rectangle(1, 2, 4, 3, sc<T>(1), sc<T>(0), nullptr, &r1)), TY(1, 2, 4, 3, val<T>(1), val<T>(0), nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, connected_components, (wider_for<T, uint16_t, int32_t>), auto a = rnd<T>(8, 7, 2); auto l1 = out<uint32_t>(8, 7), l2 = out<uint32_t>(8, 7); uint32_t n1 = 0, n2 = 0;
    agree(U(imguniv_connected_components(&a, IMG_CONNECT_EIGHT, sc<T>(1), 2, nullptr, &l1, &n1)), TY(V<T>(a), IMG_CONNECT_EIGHT, val<T>(1), 2u, nullptr, V<uint32_t>(l2), &n2), policy, l1, l2, n1, n2))
ROW(img, transform_distance, (wider_for<T, uint32_t>), auto a = rnd<T>(8, 7, 2); auto d1 = out<double>(8, 7), d2 = out<double>(8, 7);
    agree(U(imguniv_transform_distance(&a, IMG_DISTANCE_EUCLIDEAN, sc<T>(1), nullptr, &d1)), TY(V<T>(a), IMG_DISTANCE_EUCLIDEAN, val<T>(1), nullptr, V<double>(d2)), policy, d1, d2))
ROW(img, convex_hull, (std::is_same_v<T, int32_t> ? refused : exact), auto a = rnd<T>(8, 7, 2); auto r1 = out<T>(8, 7), r2 = out<T>(8, 7);
    agree(U(imguniv_convex_hull(&a, sc<T>(1), nullptr, &r1)), TY(V<T>(a), val<T>(1), nullptr, V<T>(r2)), policy, r1, r2))
ROW(img, map_window_level, exact, auto a = rnd<T>(5, 4, 200); auto r1 = out<unsigned char>(5, 4), r2 = out<unsigned char>(5, 4);
    agree(U(imguniv_map_window_level(&a, 20, 150, nullptr, &r1)), TY(V<T>(a), 20.0, 150.0, nullptr, V<unsigned char>(r2)), policy, r1, r2))
ROW(img, threshold_auto, exact, auto a = rnd<T>(8, 8, 200); auto r1 = out<T>(8, 8), r2 = out<T>(8, 8); double t1 = 0, t2 = 0;
    agree(U(imguniv_threshold_auto(&a, 32, IMG_THRESH_BETWEEN_CLASS, nullptr, &r1, &t1)), TY(V<T>(a), int32_t(32), IMG_THRESH_BETWEEN_CLASS, nullptr, V<T>(r2), &t2), policy, r1, r2, t1, t2))
ROW(img, edge_nonmaxima_suppress, exact, auto v = rnd<T>(6, 6), h = rnd<T>(6, 6); auto r1 = out<T>(6, 6), r2 = out<T>(6, 6);
    agree(U(imguniv_edge_nonmaxima_suppress(&v, &h, nullptr, &r1)), TY(V<T>(v), V<T>(h), nullptr, V<T>(r2)), policy, r1, r2))

// ---- signals, polygons, classes -------------------------------------------------------------------
#define SIG auto d = rnd<T>(6, 5, 9), f = rnd<T>(2, 3, 3); auto r1 = out<T>(3, 5), r2 = out<T>(3, 5)
ROW(sig, convolve, (wider_for<T, uint32_t>), SIG; agree(U(siguniv_convolve(&d, &f, 2, 1, 1, 2, MUTIL_BOUNDARY_REFLECT, nullptr, &r1)), TY(V<T>(d), V<T>(f), 2, 1, 1, 2, MUTIL_BOUNDARY_REFLECT, nullptr, V<T>(r2)), policy, r1, r2))
ROW(sig, correlate, (wider_for<T, uint32_t>), SIG; agree(U(siguniv_correlate(&d, &f, 2, 1, 2, 3, MUTIL_BOUNDARY_PERIODIC, nullptr, &r1)), TY(V<T>(d), V<T>(f), 2, 1, 2, 3, MUTIL_BOUNDARY_PERIODIC, nullptr, V<T>(r2)), policy, r1, r2))
ROW(sig, sample, (wider_for<T, uint16_t, uint32_t>), auto d = rnd<T>(6, 5); auto r1 = out<T>(3, 5), r2 = out<T>(3, 5);
    agree(U(siguniv_sample(&d, 2, 1, 0, 0, nullptr, &r1)), TY(V<T>(d), 2, 1, (unsigned char)0, (unsigned char)0, nullptr, V<T>(r2)), policy, r1, r2))
ROW(sig, transform_discrete_fourier, exact, auto x = rnd<T>(1, 8); auto r1 = out<_dcomplex>(1, 8), r2 = out<_dcomplex>(1, 8);
    agree(U(siguniv_transform_discrete_fourier(&x, 0, nullptr, &r1)), TY(V<T>(x), (unsigned char)0, nullptr, V<_dcomplex>(r2)), policy, r1, r2))
#define SIG1(OP, ...) ROW(sig, OP, exact, auto x = rnd<T>(1, 8); auto r1 = out<T>(1, 8), r2 = out<T>(1, 8); \
    agree(U(siguniv_##OP(&x, __VA_ARGS__ nullptr, &r1)), TY(V<T>(x), __VA_ARGS__ nullptr, V<T>(r2)), policy, r1, r2))
SIG1(transform_hartley)
SIG1(transform_discrete_cosine_II)
SIG1(transform_discrete_cosine_II_inverse)
SIG1(transform_discrete_cosine_II_pow2)
SIG1(transform_discrete_cosine_II_inverse_pow2)
SIG1(transform_discrete_cosine_II_2d, (unsigned char)1,)
SIG1(transform_discrete_cosine_II_2d_pow2, (unsigned char)0,)
#define TF(OP, ...) ROW(sig, timefreq_autocorrelate_##OP, exact, auto x = rnd<T>(1, 8); auto r1 = out<T>(8, 8), r2 = out<T>(8, 8); \
    agree(U(siguniv_timefreq_autocorrelate_##OP(&x, __VA_ARGS__, nullptr, &r1)), TY(V<T>(x), __VA_ARGS__, nullptr, V<T>(r2)), policy, r1, r2))
TF(wigner, int32_t(1))
TF(born_jordan, int32_t(1))
TF(cone, int32_t(2))
TF(margeneau_hill, int32_t(1))
TF(choi_williams, 0.5, int32_t(1))
ROW(sig, timefreq_autocorrelate_custom, exact, auto x = rnd<T>(1, 8); auto k = rnd<T>(8, 8, 3); auto r1 = out<T>(8, 8), r2 = out<T>(8, 8);
    agree(U(siguniv_timefreq_autocorrelate_custom(&x, 1, &k, nullptr, &r1)), TY(V<T>(x), int32_t(1), V<T>(k), nullptr, V<T>(r2)), policy, r1, r2))
ROW(sig, kernel_choi_williams, exact, auto k1 = out<T>(5, 9), k2 = out<T>(5, 9);
    agree(U(siguniv_kernel_choi_williams(5, 4, 0.7, nullptr, &k1, detail::elem<T>::tag)), TY(int32_t(5), int32_t(4), 0.7, nullptr, V<T>(k2)), policy, k1, k2))
#define WIN(OP, ...) ROW(sig, window_##OP, exact, auto r1 = out<T>(1, 9), r2 = out<T>(1, 9); \
    agree(U(siguniv_window_##OP(__VA_ARGS__ nullptr, &r1)), TY(__VA_ARGS__ nullptr, V<T>(r2)), policy, r1, r2))
WIN(rectangle)
WIN(triangle)
WIN(hanning)
WIN(hamming)
WIN(blackman)
WIN(nuttall)
WIN(born_jordan)
WIN(raised_cosine, 0.3,)
WIN(gaussian, 2.5,)
WIN(kaiser, 4.0,)
WIN(chebyshev, 50.0,)

ROW(pgn, boundary_chain_from_region, (wider_for<T, uint32_t>), auto a = out<T>(7, 6); for (int i : {8, 9, 14, 15, 16, 21, 26}) static_cast<T*>(a.data)[i] = val<T>(1);
    _pgn_chain c1{}, c2{};
    agree(U(pgnuniv_boundary_chain_from_region(&a, 1, 2, nullptr, &c1)), TY(V<T>(a), int32_t(1), int32_t(2), nullptr, &c2), policy, c1, c2))
ROW(pgn, boundary_chain_to_polygon, exact, auto im = out<unsigned char>(7, 6); for (int i : {8, 9, 14, 15, 16, 21}) static_cast<unsigned char*>(im.data)[i] = 1;
    _pgn_chain c{}; ASSERT_EQ(message(pgnuniv_boundary_chain_from_region(&im, 1, 2, nullptr, &c)), "");
    auto p1 = out<T>(2, c.nrun + 1), p2 = out<T>(2, c.nrun + 1);
    agree(U(pgnuniv_boundary_chain_to_polygon(&c, nullptr, &p1)), TY(&c, nullptr, V<T>(p2)), policy, p1, p2))
ROW(cls, scalar_quantize_linear, exact, auto d = rnd<T>(5, 4, 50); auto cb = out<T>(1, 4);
    for (int i = 0; i < 4; ++i) static_cast<T*>(cb.data)[i] = val<T>(5 + 12 * i);
    auto r1 = out<uint32_t>(5, 4), r2 = out<uint32_t>(5, 4);
    agree(U(clsuniv_scalar_quantize_linear(&d, &cb, nullptr, &r1)), TY(V<T>(d), V<T>(cb), nullptr, V<uint32_t>(r2)), policy, r1, r2))
ROW(cls, scalar_quantize_angle, exact, auto d = rnd<T>(5, 4, 6); auto cb = out<T>(1, 3);
    for (int i = 0; i < 3; ++i) static_cast<T*>(cb.data)[i] = val<T>(2 * i);
    auto r1 = out<uint32_t>(5, 4), r2 = out<uint32_t>(5, 4);
    agree(U(clsuniv_scalar_quantize_angle(&d, &cb, nullptr, &r1)), TY(V<T>(d), V<T>(cb), nullptr, V<uint32_t>(r2)), policy, r1, r2))

// ---- universal members without typed members ------------------------------------------------
// Members that read their input as double: an input of any element type holding small
// non-negative integers gives exactly what its double copy gives (complex inputs, with zero
// imaginary parts, may instead be refused as "Illegal data type").

/// The outcome of a member on inputs x and y (of one type): its message and its output bytes.
using AsDouble = std::function<std::pair<std::string, std::string>(const _univ_mat* x, const _univ_mat* y)>;

template <class... X> std::string bytes_of(const X&... xs) {
    std::string out;
    auto one = [&](const auto& v) {
        if constexpr (std::is_same_v<std::decay_t<decltype(v)>, _univ_mat>) {
            out.append(static_cast<const char*>(v.data), std::size_t(v.nelem) * detail::elem_size(v.type));
        } else {
            out.append(reinterpret_cast<const char*>(&v), sizeof v);
        }
    };
    (one(xs), ...);
    return out;
}

void reads_as_double(const char* name, const AsDouble& f, int32_t rows, int32_t cols) {
    SCOPED_TRACE(name);
    rng.seed(777);
    Hux::ArenaScope scope;
    auto xd = rnd<double>(rows, cols, 9), yd = rnd<double>(rows, cols, 9);
    const auto want = f(&xd, &yd);
    EXPECT_EQ(want.first, "");
    each_type([&](auto tag) {
        using T = typename decltype(tag)::type;
        auto x = out<T>(rows, cols), y = out<T>(rows, cols);
        matuniv_cast(&xd, 0, nullptr, &x);
        matuniv_cast(&yd, 0, nullptr, &y);
        const auto got = f(&x, &y);
        if (detail::is_complex_elem<T> && got.first == msg::illegal_data_type) return;
        EXPECT_EQ(got.first, want.first);
        EXPECT_TRUE(got.second == want.second) << "outputs differ";
    });
}

TEST(Differential, UniversalOnlyMembersReadAnyTypeAsDouble) {
    auto dbl = [](int32_t r, int32_t c) { return out<double>(r, c); };
    reads_as_double("matuniv_median", [](auto x, auto) {
        double m = 0;
        return std::pair{message(matuniv_median(x, nullptr, &m)), bytes_of(m)};
    }, 5, 4);
    reads_as_double("matuniv_quantiles", [&](auto x, auto) {
        auto q = dbl(1, 3), r = dbl(1, 3);
        const double qs[] = {0.1, 0.5, 0.85};
        std::memcpy(q.data, qs, sizeof qs);
        return std::pair{message(matuniv_quantiles(x, &q, nullptr, &r)), bytes_of(r)};
    }, 5, 4);
    reads_as_double("matuniv_mean_squared_error", [](auto x, auto y) {
        double e = 0;
        return std::pair{message(matuniv_mean_squared_error(x, y, nullptr, &e)), bytes_of(e)};
    }, 5, 4);
    reads_as_double("matuniv_signal_to_noise_ratio", [](auto x, auto y) {
        double ratio = 0;
        unsigned char infinite = 0;
        return std::pair{message(matuniv_signal_to_noise_ratio(x, y, nullptr, &ratio, &infinite)), bytes_of(ratio, infinite)};
    }, 5, 4);
    reads_as_double("imguniv_filter_derivative_of_gaussian", [&](auto x, auto) {
        auto v = dbl(9, 8), h = dbl(9, 8);
        return std::pair{message(imguniv_filter_derivative_of_gaussian(x, 1.0, nullptr, &v, &h)), bytes_of(v, h)};
    }, 9, 8);
    reads_as_double("imguniv_gradient_sobel", [&](auto x, auto) {
        auto v = dbl(9, 8), h = dbl(9, 8);
        return std::pair{message(imguniv_gradient_sobel(x, nullptr, &v, &h)), bytes_of(v, h)};
    }, 9, 8);
    reads_as_double("imguniv_edge_sobel", [&](auto x, auto) {
        auto r = dbl(9, 8);
        return std::pair{message(imguniv_edge_sobel(x, 4, 12, scalar_dbl(1), scalar_dbl(0), nullptr, &r)), bytes_of(r)};
    }, 9, 8);
    reads_as_double("imguniv_edge_canny", [&](auto x, auto) {
        auto r = dbl(9, 8);
        return std::pair{message(imguniv_edge_canny(x, 1.0, 1, 3, scalar_dbl(1), scalar_dbl(0), nullptr, &r)), bytes_of(r)};
    }, 9, 8);
    reads_as_double("imguniv_threshold_hysteresis", [&](auto x, auto) {
        auto r = dbl(9, 8);
        return std::pair{message(imguniv_threshold_hysteresis(x, 3, 6, scalar_dbl(1), scalar_dbl(0), nullptr, &r)), bytes_of(r)};
    }, 9, 8);
    auto filters = [&](_univ_mat* h, _univ_mat* g) {
        *h = dbl(2, 1), *g = dbl(2, 1);
        const double hv[] = {0.5, -0.5}, gv[] = {0.5, 0.5};
        std::memcpy(h->data, hv, sizeof hv);
        std::memcpy(g->data, gv, sizeof gv);
    };
    reads_as_double("wavuniv_transform_maximum_overlap", [&](auto x, auto) {
        _univ_mat h, g;
        filters(&h, &g);
        auto w = dbl(16, 2), v = dbl(16, 2);
        return std::pair{message(wavuniv_transform_maximum_overlap(x, &h, &g, 2, nullptr, &w, &v)), bytes_of(w, v)};
    }, 16, 1);
    reads_as_double("wavuniv_transform_maximum_overlap_packet", [&](auto x, auto) {
        _univ_mat h, g;
        filters(&h, &g);
        auto p = dbl(16, 7);
        return std::pair{message(wavuniv_transform_maximum_overlap_packet(x, &h, &g, 2, nullptr, &p)), bytes_of(p)};
    }, 16, 1);
}

// ---- operands of other types ---------------------------------------------------------------------
// An operand of type S with a result of type T gives what the same-type call gives on the operand
// cast to T first; a floating or complex operand with an integer result, and a complex operand
// with a result other than double or complex (or with the image filters, which take no complex
// operands), is "Illegal data type".
using Binary = std::function<std::string(const _univ_mat*, const _univ_mat*, _univ_mat*)>;

void mixed(const char* name, const Binary& op, int32_t rows, int32_t inner, int32_t cols, bool complex_ok = true) {
    SCOPED_TRACE(name);
    auto over_sources = [&](auto stag) {
        using S = typename decltype(stag)::type;
        each_type([&](auto ttag) {
            using T = typename decltype(ttag)::type;
            auto a = rnd<S>(rows, inner, 20), b = rnd<S>(inner, cols, 20);
            auto r1 = out<T>(rows, cols), r2 = out<T>(rows, cols);
            const std::string got = op(&a, &b, &r1);
            const bool integer_from_real = detail::is_integer_elem<T> && !detail::is_integer_elem<S>;
            const bool complex_to_real = detail::is_complex_elem<S> && ((!std::is_same_v<T, double> &&
                                         !detail::is_complex_elem<T>) || !complex_ok);
            if (integer_from_real || complex_to_real) {
                EXPECT_EQ(got, msg::illegal_data_type) << detail::elem<S>::code;
                return;
            }
            auto ca = out<T>(rows, inner), cb = out<T>(inner, cols);
            matuniv_cast(&a, 0, nullptr, &ca);
            matuniv_cast(&b, 0, nullptr, &cb);
            EXPECT_EQ(got, op(&ca, &cb, &r2)) << detail::elem<S>::code;
            EXPECT_TRUE(same_bytes(r1, r2)) << detail::elem<S>::code;
        });
    };
    [&]<class... Ss>(detail::types<Ss...>) { (over_sources(detail::type_tag<Ss>{}), ...); }(detail::all_types{});
}

TEST(Differential, MixedOperandsGoThroughTheResultType) {
    mixed("matuniv_add", [](auto a, auto b, auto r) { return message(matuniv_add(a, b, nullptr, r)); }, 4, 3, 3);
    mixed("matuniv_subtract", [](auto a, auto b, auto r) { return message(matuniv_subtract(a, b, nullptr, r)); }, 4, 3, 3);
    mixed("matuniv_multiply_elem", [](auto a, auto b, auto r) { return message(matuniv_multiply_elem(a, b, nullptr, r)); }, 4, 3, 3);
    mixed("matuniv_abs", [](auto a, auto, auto r) { return message(matuniv_abs(a, nullptr, r)); }, 4, 3, 3);
    mixed("matuniv_multiply", [](auto a, auto b, auto r) { return message(matuniv_multiply(a, b, nullptr, r)); }, 4, 3, 2);
    mixed("imguniv_convolve", [](auto a, auto b, auto r) { return message(imguniv_convolve(a, b, MUTIL_BOUNDARY_REFLECT, nullptr, r)); }, 3, 3, 3, false);
    mixed("imguniv_correlate", [](auto a, auto b, auto r) { return message(imguniv_correlate(a, b, MUTIL_BOUNDARY_ZERO, nullptr, r)); }, 3, 3, 3, false);
}

}  // namespace
}  // namespace mutils::test
