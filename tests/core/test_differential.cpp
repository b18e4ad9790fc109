// Differential checks of the universal members: for every element type, random inputs give exactly
// what the typed member of that type gives (same message, same result bytes), and a type without a
// typed member gets "Illegal data type". One row per family lists the arguments once; a typed member
// exists for T when the overload set built from the family's name accepts T's records.
//
// The same rows make the hostile sweep: each row runs again with a third of its input elements
// replaced by NaN, infinities, denormals and the extremes of the type, with 1 x 1, 1 x N and N x 1
// inputs and results, and with results sharing storage with an input of the same type and shape.
// There the universal and typed calls must still agree, and every outcome must be success or one
// of the library's messages; the sanitizer build runs the sweep too.
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <tuple>

#include "support.h"

namespace mutils::test {
namespace {

std::mt19937 rng;

/// How the rows' inputs are made: as written, or one of the hostile sweeps.
enum Mode { plain, hostile_values, one_by_one, one_row, one_column, aliased };
Mode mode = plain;
/// The last input made in the aliased sweep: a copy for each call, which a result of the same type
/// and shape then shares.
_univ_mat *last_u = nullptr, *last_t = nullptr;

/// A row's dimensions as the current mode shapes them.
std::pair<int32_t, int32_t> dims(int32_t r, int32_t c) {
    if (mode == one_by_one) return {1, 1};
    if (mode == one_row) return {1, c};
    if (mode == one_column) return {r, 1};
    return {r, c};
}

/// A value a careless caller may pass: NaN, infinities, denormals, signed zero, the type's extremes.
template <class T> T hostile_value() {
    if constexpr (std::is_same_v<T, _dcomplex>) {
        const double re = hostile_value<double>();
        return {re, rng() % 2 ? 0.0 : hostile_value<double>()};
    } else if constexpr (std::is_floating_point_v<T>) {
        using L = std::numeric_limits<T>;
        const T pool[] = {L::quiet_NaN(), L::infinity(), -L::infinity(), L::denorm_min(), -L::denorm_min(),
                          L::max(),       L::lowest(),   L::min(),       T(-0.0)};
        return pool[rng() % std::size(pool)];
    } else {
        using L = std::numeric_limits<T>;
        const T pool[] = {L::min(), L::max(), T(L::max() - 1), T(L::min() + 1), T(0), T(1)};
        return pool[rng() % std::size(pool)];
    }
}

/// Whether an outcome is success or one of the library's messages (raised or returned).
bool documented(std::string m) {
    if (m.rfind("raised ", 0) == 0) m = m.substr(7);
    for (const char* known :
         {"", msg::null_pointer, msg::array_size_mismatch, msg::illegal_data_type, msg::illegal_data_value,
          msg::illegal_memory_address, msg::interrupted, msg::overflow, msg::index_out_of_bounds, msg::not_converging,
          msg::singular_matrix, msg::roundoff, msg::divide_by_zero, msg::out_of_memory, msg::io_error})
        if (m == known) return true;
    return false;
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
        p[i] = below > 0 ? val<T>(double(std::uniform_int_distribution<int>(0, below - 1)(rng))) : random_value<T>(rng);
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
template <class X> bool same_bytes(const X& a, const X& b) { return std::memcmp(&a, &b, sizeof(X)) == 0; }

/// How a universal member relates to the typed members for one element type: `exact` (same
/// outcome as the typed member, or "Illegal data type" when there is none), `wider` (documented
/// to accept this type without a typed member of its own: it converts or shares bits), `refused`
/// (documented to refuse this type although a typed member exists), `may_refuse` (either gives
/// "Illegal data type" or the same outcome).
enum Policy { exact, wider, refused, may_refuse };
template <class T, class... W> constexpr Policy wider_for = (std::is_same_v<T, W> || ...) ? wider : exact;

/// Types of the current row that had a typed member to compare with.
int compared = 0;

/// Storage of the current type's arguments: records whose addresses the calls get, streams.
std::vector<std::shared_ptr<void>> pool;

template <class F> void each_type(F f) {
    auto one = [&](auto tag) {
        using T = typename decltype(tag)::type;
        SCOPED_TRACE(detail::elem<T>::code);
        rng.seed(12345);
        Hux::ArenaScope scope;
        last_u = last_t = nullptr;
        f(tag);
        pool.clear();
    };
    [&]<class... Ts>(detail::types<Ts...>) { (one(detail::type_tag<Ts>{}), ...); }(detail::all_types{});
}

// ---- row arguments ---------------------------------------------------------------------------
template <class X> X* keep(X x) {
    auto p = std::make_shared<X>(x);
    pool.push_back(p);
    return p.get();
}

/// A row argument: what the universal call gets, what the typed call gets, and a check that the
/// calls left the same outputs. Any other argument goes to both calls unchanged. An `Optional`
/// argument is dropped for the typed call when no typed member takes it (a flag some lack).
template <class A, class B, bool Optional = false> struct Arg {
    A u;
    B t;
    std::function<void()> same = [] {};
};
template <class A, class B> Arg<A, B> arg(
    A u, B t, std::function<void()> same = [] {}) {
    return {u, t, same};
}
template <class X> Arg<X, X, true> opt(X v) { return {v, v}; }
template <class T> auto sv(double v) { return arg(sc<T>(v), val<T>(v)); }  // a universal scalar
template <class T> auto dv(double v) { return arg(v, val<T>(v)); }         // a plain double

/// How a matrix reaches the calls: the universal record to the universal call and the typed view
/// to the typed call (split), or the same form to both.
enum Pass { split, both_univ, both_typed };
template <class T, Pass P> auto pass(_univ_mat* u, _univ_mat* t) {
    if constexpr (P == split)
        return arg(u, V<T>(*t));
    else if constexpr (P == both_univ)
        return arg(u, t);
    else
        return arg(V<T>(*u), V<T>(*t));
}
template <class T, Pass P = split> auto given(_univ_mat m) {
    _univ_mat* p = keep(m);
    return pass<T, P>(p, p);
}
/// In the hostile-values sweep, a third of m's elements replaced by hostile values.
template <class T> void spoil(_univ_mat& m) {
    if (mode == hostile_values)
        for (int32_t i = 0; i < m.nelem; ++i)
            if (rng() % 3 == 0) V<T>(m)->data[i] = hostile_value<T>();
}
template <class T, Pass P = split> auto in(int r, int c, int below = 0) {
    std::tie(r, c) = dims(r, c);
    _univ_mat m = rnd<T>(r, c, below);
    spoil<T>(m);
    if (mode != aliased) return given<T, P>(m);
    _univ_mat *u = keep(m), *t = keep(out<T>(r, c));
    std::memcpy(t->data, u->data, std::size_t(u->nelem) * sizeof(T));
    last_u = u;
    last_t = t;
    return pass<T, P>(u, t);
}
/// An input whose element i is g(i).
template <class T, Pass P = split, class G> auto gen(int32_t r, int32_t c, G g) {
    auto m = out<T>(r, c);
    for (int32_t i = 0; i < m.nelem; ++i) V<T>(m)->data[i] = val<T>(g(i));
    return given<T, P>(m);
}
enum Fill { zeros, noise, noise_in_univ };  // a result's contents before the calls
template <class T, Pass P = split> auto res(int32_t r, int32_t c, Fill fill = zeros) {
    std::tie(r, c) = dims(r, c);
    const bool share =
        mode == aliased && last_u && last_u->type == detail::elem<T>::tag && last_u->nrow == r && last_u->ncol == c;
    _univ_mat *u = share ? last_u : keep(out<T>(r, c)), *t = share ? last_t : keep(out<T>(r, c));
    if (share) fill = zeros;
    const auto n = rnd<T>(r, c);
    if (fill != zeros) std::memcpy(u->data, n.data, std::size_t(n.nelem) * sizeof(T));
    if (fill == noise) std::memcpy(t->data, n.data, std::size_t(n.nelem) * sizeof(T));
    auto a = pass<T, P>(u, t);
    a.same = [=] { EXPECT_TRUE(same_bytes(*u, *t)) << "outputs differ"; };
    return a;
}
/// A value each call writes through a pointer.
template <class X> auto val_out() {
    X *u = keep(X{}), *t = keep(X{});
    return arg(u, t, [=] { EXPECT_TRUE(same_bytes(*u, *t)) << "outputs differ"; });
}
template <class T> auto scalar_out() {
    _univ_scalar* u = keep(_univ_scalar{});
    T* t = keep(T{});
    return arg(u, t, [=] { EXPECT_EQ(std::memcmp(&u->val, t, sizeof(T)), 0); });
}
/// A matrix each call reads into storage of its own.
template <class T> auto parsed() {
    _univ_mat* u = keep(_univ_mat{});
    auto* t = keep(detail::mat_t<T>{});
    return arg(u, t, [=] {
        _univ_mat w;
        matuniv_wrap_matrix(&w, t, detail::elem<T>::tag);
        EXPECT_TRUE(same_bytes(*u, w)) << "outputs differ";
    });
}

/// The bytes on a stream up to its position.
std::string contents(FILE* f) {
    std::string bytes(std::size_t(std::ftell(f)), '\0');
    std::rewind(f);
    if (!bytes.empty()) {
        EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), f), bytes.size());
    }
    return bytes;
}
/// A temporary stream for each call holding `bytes`; the calls must leave the same bytes behind.
auto stream(const std::string& bytes = "") {
    FILE* f[2];
    for (FILE*& s : f) {
        s = std::tmpfile();
        pool.push_back(std::shared_ptr<FILE>(s, std::fclose));
        std::fwrite(bytes.data(), 1, bytes.size(), s);
        std::rewind(s);
    }
    return arg(f[0], f[1], [=] { EXPECT_EQ(contents(f[0]), contents(f[1])); });
}

template <class X> X ua(X x) { return x; }
template <class A, class B, bool O> A ua(const Arg<A, B, O>& a) { return a.u; }
template <class X> X ta(X x) { return x; }
template <class A, class B, bool O> B ta(const Arg<A, B, O>& a) { return a.t; }
template <class X> auto ta_unless_opt(const X& x) { return std::tuple(ta(x)); }
template <class A, class B> std::tuple<> ta_unless_opt(const Arg<A, B, true>&) { return {}; }
template <class X> void check(const X&) {}
template <class A, class B, bool O> void check(const Arg<A, B, O>& a) { a.same(); }

/// One row for one type: the universal member and the typed overload set on the same arguments.
template <class Typed, class F, class... A> void run(F univ, Policy policy, A... a) {
    const std::string u = outcome([&] { return univ(ua(a)...); });
    EXPECT_TRUE(documented(u)) << u;
    if (policy == may_refuse && u == msg::illegal_data_type) return;
    auto t = typed_outcome(Typed{}, ta(a)...);
    if (!t) t = std::apply([](auto... x) { return typed_outcome(Typed{}, x...); }, std::tuple_cat(ta_unless_opt(a)...));
    if (policy == refused || (!t && policy == exact)) {
        EXPECT_EQ(u, msg::illegal_data_type);
    } else if (t) {
        ++compared;
        EXPECT_EQ(u, *t);
        (check(a), ...);
    }
}

// The typed members of a family as one overload set (a member that does not exist for a type
// is simply not found for that type's records).
// clang-format off
#define MUTILS_TYPED_ONE(P, CODE, OP) \
    template <class... A> auto operator()(A... a) const -> decltype(P##CODE##_##OP(a...)) { return P##CODE##_##OP(a...); }
#define MUTILS_TYPED_SET(P, OP)                                                          \
    struct typed_##P##_##OP {                                                            \
        MUTILS_TYPED_ONE(P, u8, OP)  MUTILS_TYPED_ONE(P, u16, OP) MUTILS_TYPED_ONE(P, s16, OP) \
        MUTILS_TYPED_ONE(P, u32, OP) MUTILS_TYPED_ONE(P, s32, OP) MUTILS_TYPED_ONE(P, flt, OP) \
        MUTILS_TYPED_ONE(P, dbl, OP) MUTILS_TYPED_ONE(P, cpx, OP)                         \
    };
// clang-format on

/// A row run in each hostile mode.
void sweep(void (*row)()) {
    for (Mode m : {hostile_values, one_by_one, one_row, one_column, aliased}) {
        SCOPED_TRACE(m);
        mode = m;
        row();
    }
    mode = plain;
}

// ROW_AS(prefix, family, universal member, policy, arguments...); ROW names the universal member
// after the family. The arguments may use T, the element type.
#define MUTILS_ROW_TEST(P, OP, UNIV, POLICY, ...)                                                     \
    void row_##P##_##OP() {                                                                           \
        compared = 0;                                                                                 \
        each_type([&](auto tag) {                                                                     \
            using T = typename decltype(tag)::type;                                                   \
            run<typed_##P##_##OP>([](auto... x) { return mutils::UNIV(x...); }, POLICY, __VA_ARGS__); \
        });                                                                                           \
    }                                                                                                 \
    TEST(Differential, P##_##OP) {                                                                    \
        row_##P##_##OP();                                                                             \
        EXPECT_GT(compared, 0) << "no typed member took the row's arguments";                         \
    }                                                                                                 \
    TEST(Hostile, P##_##OP) { sweep(row_##P##_##OP); }
#define ROW_AS(P, OP, UNIV, POLICY, ...) MUTILS_TYPED_SET(P, OP) MUTILS_ROW_TEST(P, OP, UNIV, POLICY, __VA_ARGS__)
#define ROW(P, OP, POLICY, ...) ROW_AS(P, OP, P##univ_##OP, POLICY, __VA_ARGS__)

// ROWS(prefix, policy, (arguments), family...): one row per family, all on the same arguments.
#define MUTILS_UNPAREN(...) __VA_ARGS__
#define MUTILS_ROW_OF(P, POLICY, ARGS, OP) ROW(P, OP, POLICY, MUTILS_UNPAREN ARGS)
#define MUTILS_EACH1(P, POL, A, X) MUTILS_ROW_OF(P, POL, A, X)
#define MUTILS_EACH2(P, POL, A, X, ...) MUTILS_ROW_OF(P, POL, A, X) MUTILS_EACH1(P, POL, A, __VA_ARGS__)
#define MUTILS_EACH3(P, POL, A, X, ...) MUTILS_ROW_OF(P, POL, A, X) MUTILS_EACH2(P, POL, A, __VA_ARGS__)
#define MUTILS_EACH4(P, POL, A, X, ...) MUTILS_ROW_OF(P, POL, A, X) MUTILS_EACH3(P, POL, A, __VA_ARGS__)
#define MUTILS_EACH5(P, POL, A, X, ...) MUTILS_ROW_OF(P, POL, A, X) MUTILS_EACH4(P, POL, A, __VA_ARGS__)
#define MUTILS_EACH6(P, POL, A, X, ...) MUTILS_ROW_OF(P, POL, A, X) MUTILS_EACH5(P, POL, A, __VA_ARGS__)
#define MUTILS_EACH7(P, POL, A, X, ...) MUTILS_ROW_OF(P, POL, A, X) MUTILS_EACH6(P, POL, A, __VA_ARGS__)
#define MUTILS_EACH8(P, POL, A, X, ...) MUTILS_ROW_OF(P, POL, A, X) MUTILS_EACH7(P, POL, A, __VA_ARGS__)
#define MUTILS_EACH(_1, _2, _3, _4, _5, _6, _7, _8, NAME, ...) NAME
#define ROWS(P, POLICY, ARGS, ...)                                                                               \
    MUTILS_EACH(__VA_ARGS__, MUTILS_EACH8, MUTILS_EACH7, MUTILS_EACH6, MUTILS_EACH5, MUTILS_EACH4, MUTILS_EACH3, \
                MUTILS_EACH2, MUTILS_EACH1)                                                                      \
    (P, POLICY, ARGS, __VA_ARGS__)

// ---- element-wise and scalar arithmetic, bits ----------------------------------------------
ROWS(mat, exact, (in<T>(5, 4), in<T>(5, 4), nullptr, res<T>(5, 4)), add, subtract, multiply_elem, bit_and, bit_or,
     bit_xor, min, max)
ROWS(mat, exact, (in<T>(5, 4), nullptr, res<T>(5, 4)), bit_not, cumulative_sum, flip_left_right, flip_up_down)
ROW(mat, abs, std::is_unsigned_v<T> ? wider : exact, in<T>(5, 4), nullptr, res<T>(5, 4))
ROW(mat, assign, (wider_for<T, _dcomplex>), in<T>(5, 4), nullptr, res<T>(5, 4))
ROW(mat, assign_scalar, exact, sv<T>(7), nullptr, res<T>(5, 4))
ROWS(mat, exact, (in<T>(5, 4), sv<T>(93), nullptr, res<T>(5, 4)), bit_and_scalar, bit_or_scalar, bit_xor_scalar)
ROWS(mat, exact, (in<T>(5, 4), sv<T>(9), nullptr, res<T>(5, 4)), add_scalar, multiply_scalar)
ROW(mat, translate, exact, in<T>(5, 4), 2, -1, sv<T>(5), nullptr, res<T>(5, 4))
ROW(mat, rescale, exact, in<T>(5, 4), sv<T>(2), sv<T>(90), nullptr, res<T>(5, 4))
ROWS(mat, exact, (in<T>(5, 4), (unsigned char)3, nullptr, res<T>(5, 4)), bit_shift_left, bit_shift_right)

// ---- statistics ----------------------------------------------------------------------------
ROW(mat, sum_rows, exact, in<T>(5, 4), nullptr, res<T>(1, 4))
ROW(mat, sum_cols, exact, in<T>(5, 4), nullptr, res<T>(5, 1))
ROW(mat, sum, exact, in<T>(5, 4), nullptr, scalar_out<T>())
ROW(mat, range, exact, in<T>(5, 4), nullptr, scalar_out<T>(), scalar_out<T>())
ROW(mat, range_robust, exact, in<T>(5, 4, 100), dv<T>(10), dv<T>(80), nullptr, scalar_out<T>(), scalar_out<T>())
ROW(mat, entropy, exact, in<T>(5, 4, 6), nullptr, val_out<double>())
ROW(mat, number_equal, exact, in<T>(5, 4, 3), in<T>(5, 4, 3), nullptr, val_out<uint32_t>())
ROW(mat, number_equal_scalar, exact, in<T>(5, 4, 3), sv<T>(1), nullptr, val_out<uint32_t>())

// ---- histograms, thresholds, tables ----------------------------------------------------------
ROW(mat, histogram, wider, in<T>(5, 4, 50), 0.0, 50.0, (unsigned char)1, nullptr, res<uint32_t, both_typed>(1, 10))
ROW(mat, threshold, exact, in<T>(5, 4, 50), 10.0, 30.0, sv<T>(0), sv<T>(1), nullptr, res<T>(5, 4))
ROW(mat, table_lookup, exact, in<T>(5, 4, 8), in<T, both_univ>(1, 8), nullptr, res<T>(5, 4))

// ---- linear algebra -------------------------------------------------------------------------
/// The LU factors (cast to T) or the pivots of a fixed diagonally dominant 4 x 4 matrix.
template <class T> _univ_mat lu_part(bool pivots) {
    _univ_mat* a = gen<double>(4, 4, [](int i) { return i % 5 ? i % 3 : 10; }).u;
    auto lu = out<double>(4, 4), idx = out<int32_t>(4, 1), r = out<T>(4, 4);
    EXPECT_TRUE(message(matuniv_lu_decomposition(a, nullptr, &idx, &lu)).empty() || mode != plain);
    matuniv_cast(&lu, 0, nullptr, &r);
    return pivots ? idx : r;
}
ROW(mat, multiply, exact, in<T>(3, 4), in<T>(4, 2), nullptr, res<T>(3, 2))
ROW(mat, inverse, exact, in<T>(4, 4), nullptr, res<T>(4, 4))
ROW(mat, lu_decomposition, exact, in<T>(4, 4), nullptr, res<int32_t>(4, 1), res<T>(4, 4))
ROW(mat, lu_solve, exact, given<T>(lu_part<T>(false)), in<T>(4, 1), given<int32_t>(lu_part<T>(true)), nullptr,
    res<T>(4, 1))

// ---- sorting ----------------------------------------------------------------------------------
ROW(mat, sort_index_partial, exact, in<T>(5, 4, 30), gen<int32_t, both_typed>(1, 3, [](int i) { return 7 * i; }),
    nullptr, res<int32_t, both_typed>(5, 4))
ROW(mat, permute, exact, in<T>(5, 4), gen<int32_t, both_typed>(5, 4, [](int i) { return i * 7 % 20; }), nullptr,
    res<T>(5, 4))
ROW(mat, unique, exact, in<T>(5, 4, 6), (unsigned char)1, nullptr, res<T>(5, 4))

// ---- structure: results that start as noise show what a member leaves alone -------------------
ROW(mat, assign_submat, exact, in<T>(2, 3), 1, 1, nullptr, res<T>(5, 4, noise))
ROW(mat, extract, exact, in<T>(5, 4), 2, 1, nullptr, res<T>(2, 3))
ROW(mat, assign_zeropad, exact, in<T>(2, 3), nullptr, res<T>(5, 4, noise_in_univ))
ROW(mat, transpose, exact, in<T>(5, 4), nullptr, res<T>(4, 5))
ROWS(mat, exact, (in<T>(4, 6), 2, 3, nullptr, res<T>(4, 6)), tile, untile)

// ---- streams ------------------------------------------------------------------------------------
/// The text the universal print gives for a random 3 x 2 matrix of T, or a printed double matrix.
template <class T> std::string printed() {
    auto a = rnd<T>(3, 2);
    FILE* s = stream().u;
    if (outcome([&] { return mutils::matuniv_print(s, &a, nullptr, 0, nullptr); }).empty()) return contents(s);
    return "double Matrix: nrow=1, ncol=1  {\n    Row[0]:  1 \n}\n";
}
/// `n` random bytes.
std::string noise_bytes(std::size_t n) {
    std::string bytes(n, '\0');
    for (char& c : bytes) c = char(rng());
    return bytes;
}
ROW(mat, print, exact, stream(), in<T>(5, 4), (const char*)nullptr, 40, nullptr)
ROW(mat, write_ascii, exact, stream(), in<T>(5, 4), ",", (uint16_t)30, nullptr)
ROW(mat, write_raw, exact, stream(), in<T>(5, 4), opt((unsigned char)1), nullptr)
ROW(mat, read_raw, exact, stream(noise_bytes(5 * 4 * sizeof(T) + 3)), int32_t(3), opt((unsigned char)1), nullptr,
    res<T>(5, 4))
ROW(mat, read_ascii, exact, stream("1;2;3 # x\n4;5;6;7;8;9;10;11;12;13;14;15;16;17;18;19;20\n"), ';', '#', nullptr,
    res<T>(5, 4))
// Types without a typed reader get a double matrix.
ROW(mat, parse, wider, stream(printed<T>()), nullptr, parsed<T>())

// ---- casts: the typed members take a clip flag only where values can fall outside the target ----
#define CAST(CODE, R) \
    ROW_AS(mat, cast_to_##CODE, matuniv_cast, wider, in<T>(5, 4), opt((unsigned char)1), nullptr, res<R>(5, 4))
CAST(u8, unsigned char)
CAST(u16, uint16_t)
CAST(s16, int16_t)
CAST(u32, uint32_t)
CAST(s32, int32_t)
CAST(flt, float)
CAST(dbl, double)
CAST(cpx, _dcomplex)

// ---- images -----------------------------------------------------------------------------------------
#define BIN in<T>(7, 6, 2), in<unsigned char>(3, 3, 2)
ROWS(img, exact, (BIN, 1, 0, sv<T>(1), sv<T>(0), nullptr, res<T>(7, 6)), binary_erode, binary_dilate)
ROWS(img, exact, (BIN, sv<T>(1), sv<T>(0), nullptr, res<T>(7, 6)), binary_open, binary_close)
ROWS(img, exact, (in<T>(7, 6, 200), in<T>(3, 2, 3), 1, 0, MUTIL_BOUNDARY_REFLECT, nullptr, res<T>(7, 6)),
     grayscale_erode, grayscale_dilate)
ROWS(img, exact, (in<T>(7, 6, 200), in<T>(3, 2, 3), MUTIL_BOUNDARY_PERIODIC, nullptr, res<T>(7, 6)), grayscale_open,
     grayscale_close)
ROW(img, generate_disk, exact, 4, 3, 2.5, sv<T>(1), sv<T>(0), nullptr, res<T>(9, 8))
ROW(img, generate_rectangle, exact, 1, 2, 4, 3, sv<T>(1), sv<T>(0), nullptr, res<T>(9, 8))
ROW(img, connected_components, (wider_for<T, uint16_t, int32_t>), in<T>(8, 7, 2), IMG_CONNECT_EIGHT, sv<T>(1), 2u,
    nullptr, res<uint32_t>(8, 7), val_out<uint32_t>())
ROW(img, transform_distance, (wider_for<T, uint32_t>), in<T>(8, 7, 2), IMG_DISTANCE_EUCLIDEAN, sv<T>(1), nullptr,
    res<double>(8, 7))
ROW(img, convex_hull, (std::is_same_v<T, int32_t> ? refused : exact), in<T>(8, 7, 2), sv<T>(1), nullptr, res<T>(8, 7))
ROW(img, map_window_level, exact, in<T>(5, 4, 200), 20.0, 150.0, nullptr, res<unsigned char>(5, 4))
ROW(img, threshold_auto, exact, in<T>(8, 8, 200), int32_t(32), IMG_THRESH_BETWEEN_CLASS, nullptr, res<T>(8, 8),
    val_out<double>())
ROW(img, edge_nonmaxima_suppress, exact, in<T>(6, 6), in<T>(6, 6), nullptr, res<T>(6, 6))
// The window filters run every real type through the universal member; typed members exist for four.
#define WINDOW_TYPES (wider_for<T, int16_t, uint32_t, float>)
ROW(img, filter_local_mean, WINDOW_TYPES, in<T>(7, 6), 3, 4, MUTIL_BOUNDARY_CONTINUE, nullptr, res<T>(7, 6))
ROW(img, filter_local_variance, WINDOW_TYPES, in<T>(7, 6), 4, 3, MUTIL_BOUNDARY_ZERO, nullptr, res<double>(7, 6))
ROW(img, filter_wiener, WINDOW_TYPES, in<T>(7, 6), 3, 3, -1.0, MUTIL_BOUNDARY_ZERO, nullptr, res<T>(7, 6))
// Quantiles of 30 values slide a histogram; of 9 values, they go through the comparator network.
ROW(img, filter_quantile, WINDOW_TYPES, in<T>(7, 6), 5, 6, 0.7, MUTIL_BOUNDARY_PERIODIC, nullptr, res<T>(7, 6))
struct typed_img_filter_quantile_small : typed_img_filter_quantile {};
MUTILS_ROW_TEST(img, filter_quantile_small, imguniv_filter_quantile, WINDOW_TYPES, in<T>(7, 6), 3, 3, 0.3,
                MUTIL_BOUNDARY_REFLECT, nullptr, res<T>(7, 6))
// Geometric transforms, like the window filters: every real type, typed members for four.
ROW(img, rotate, WINDOW_TYPES, in<T>(7, 6), 33.0, IMG_INTERP_BICUBIC, 2.5, nullptr, res<T>(8, 9))
ROW(img, scale, WINDOW_TYPES, in<T>(8, 6), IMG_INTERP_AREA, nullptr, res<T>(3, 4))
ROW(img, warp_parameter, WINDOW_TYPES, in<T>(7, 6),
    gen<double, both_typed>(2, 3, [](int i) { return std::array{0.5, 0.9, 0.2, -0.5, -0.1, 1.1}[i]; }),
    IMG_INTERP_BILINEAR, 1.0, nullptr, res<T>(6, 7))
ROW(img, warp_tiepoint, WINDOW_TYPES, in<T>(7, 6), gen<double, both_typed>(4, 4, [](int i) { return i * i % 7; }),
    int32_t(1), IMG_INTERP_NEAREST, 3.0, nullptr, res<T>(6, 7))
// Moments and region growing compute in double: the universal members take every real type.
ROW(img, moments, WINDOW_TYPES, in<T>(7, 6, 50), IMG_MOMENT_NORMALISED, nullptr, res<double>(4, 4))
ROW(img, moment_invariant, WINDOW_TYPES, in<T>(7, 6, 50), nullptr, res<double>(7, 1))
ROW(img, shape_features, (wider_for<T, int32_t>), in<T>(9, 8, 4), nullptr, res<double>(3, 18))
#define DOUBLE_ONLY (wider_for<T, unsigned char, uint16_t, int16_t, uint32_t, int32_t, float>)
ROW(img, region_grow_klm, DOUBLE_ONLY, in<T>(7, 6, 5), 1, 2, 3.0, 2, nullptr, res<uint32_t>(7, 6), res<double>(7, 6),
    val_out<int32_t>())
ROW(img, region_grow_seeded, DOUBLE_ONLY, in<T>(7, 6, 5), keep(make<int32_t>(2, 2, {1, 1, 5, 4})), 1.0,
    IMG_CONNECT_FOUR, nullptr, res<uint32_t>(7, 6))

// ---- signals, polygons, classes -------------------------------------------------------------------
#define SIG in<T>(6, 5, 9), in<T>(2, 3, 3)
ROW(sig, convolve, (wider_for<T, uint32_t>), SIG, 2, 1, 1, 2, MUTIL_BOUNDARY_REFLECT, nullptr, res<T>(3, 5))
ROW(sig, correlate, (wider_for<T, uint32_t>), SIG, 2, 1, 2, 3, MUTIL_BOUNDARY_PERIODIC, nullptr, res<T>(3, 5))
ROW(sig, sample, (wider_for<T, uint16_t, uint32_t>), in<T>(6, 5), 2, 1, (unsigned char)0, (unsigned char)0, nullptr,
    res<T>(3, 5))
ROW(sig, transform_discrete_fourier, exact, in<T>(1, 8), (unsigned char)0, nullptr, res<_dcomplex>(1, 8))
ROWS(sig, exact, (in<T>(1, 8), nullptr, res<T>(1, 8)), transform_hartley, transform_discrete_cosine_II,
     transform_discrete_cosine_II_inverse, transform_discrete_cosine_II_pow2, transform_discrete_cosine_II_inverse_pow2)
ROWS(sig, exact, (in<T>(1, 8), (unsigned char)1, nullptr, res<T>(1, 8)), transform_discrete_cosine_II_2d,
     transform_discrete_cosine_II_2d_pow2)
ROWS(sig, exact, (in<T>(1, 8), int32_t(2), nullptr, res<T>(8, 8)), timefreq_autocorrelate_wigner,
     timefreq_autocorrelate_born_jordan, timefreq_autocorrelate_margeneau_hill, timefreq_autocorrelate_cone)
ROW(sig, timefreq_autocorrelate_choi_williams, exact, in<T>(1, 8), 0.5, int32_t(1), nullptr, res<T>(8, 8))
ROW(sig, timefreq_autocorrelate_custom, exact, in<T>(1, 8), int32_t(1), in<T>(8, 8, 3), nullptr, res<T>(8, 8))
// The universal member names the element type of its result; the typed ones need not.
ROW(sig, kernel_choi_williams, exact, int32_t(5), int32_t(4), 0.7, nullptr, res<T>(5, 9), opt(detail::elem<T>::tag))
ROWS(sig, exact, (nullptr, res<T>(1, 9)), window_rectangle, window_triangle, window_hanning, window_hamming,
     window_blackman, window_nuttall, window_born_jordan)
ROW(sig, window_raised_cosine, exact, 0.3, nullptr, res<T>(1, 9))
ROW(sig, window_gaussian, exact, 2.5, nullptr, res<T>(1, 9))
ROW(sig, window_kaiser, exact, 4.0, nullptr, res<T>(1, 9))
ROW(sig, window_chebyshev, exact, 50.0, nullptr, res<T>(1, 9))

/// A region of ones on zeros in a 7 x 6 image, and its boundary chain.
bool in_region(int i) { return i == 8 || i == 9 || i == 14 || i == 15 || i == 16 || i == 21 || i == 26; }
auto region_chain() {
    _pgn_chain* c = keep(_pgn_chain{});
    const char* m = pgnuniv_boundary_chain_from_region(gen<unsigned char>(7, 6, in_region).u, 1, 2, nullptr, c);
    EXPECT_TRUE(!m || mode != plain) << m;
    return arg(c, c);
}
ROW(pgn, boundary_chain_from_region, (wider_for<T, uint32_t>), gen<T>(7, 6, in_region), int32_t(1), int32_t(2), nullptr,
    val_out<_pgn_chain>())
ROW(pgn, boundary_chain_to_polygon, exact, region_chain(), nullptr, res<T>(2, region_chain().u->nrun + 1))
// Snakes and paths: the double member against the universal one; other real types are read as
// doubles, complex ones refused.
template <class T> constexpr Policy as_dbl = detail::is_complex_elem<T> ? exact : wider;
template <class T> auto allocated() {  // a record each call allocates
    auto *u = keep(detail::mat_t<T>{}), *t = keep(detail::mat_t<T>{});
    return arg(u, t, [=] { EXPECT_EQ(values(*u), values(*t)) << "outputs differ"; });
}
auto snake5() {
    return gen<double, both_typed>(5, 2, [](int i) { return 2 + (i * 7) % 9; });
}
ROW(img, active_contour, as_dbl<T>, in<T>(12, 12, 9), snake5(), 0.01, 0.1, 0.05, 1.0, 30, 0.1, IMG_SNAKE_FREE, nullptr,
    res<double, both_typed>(5, 2), val_out<int32_t>())
ROW(img, active_contour_greedy, as_dbl<T>, in<T>(12, 12, 9), snake5(), 1.0, 1.0, 1.0, 3, 0.25, 0.0, 10, 0.1,
    (unsigned char)1, nullptr, res<double, both_typed>(5, 2), val_out<int32_t>())
ROW(img, minimal_path_cost, as_dbl<T>, in<T>(9, 8, 9), gen<int32_t, both_typed>(1, 2, [](int i) { return 2 + i; }),
    nullptr, res<double, both_typed>(9, 8))
ROW(img, minimal_path, as_dbl<T>, in<T>(9, 8, 9), 0, 0, 8, 7, nullptr, allocated<int32_t>(), val_out<double>())
ROW(cls, scalar_quantize_linear, exact, in<T>(5, 4, 50), gen<T>(1, 4, [](int i) { return 5 + 12 * i; }), nullptr,
    res<uint32_t>(5, 4))
ROW(cls, scalar_quantize_angle, exact, in<T>(5, 4, 6), gen<T>(1, 3, [](int i) { return 2 * i; }), nullptr,
    res<uint32_t>(5, 4))

// ---- universal members without typed members ------------------------------------------------
// Members that read their input as double: inputs of any element type holding small non-negative
// integers give exactly what their double copies give (complex inputs may instead be refused as
// "Illegal data type"). The median is compared with a reference for every type in the sorting tests.

/// Small non-negative integers as T for the universal call, as double for the reference call.
template <class T> auto as_double(int r, int c) {
    std::tie(r, c) = dims(r, c);
    _univ_mat *d = keep(rnd<double>(r, c, 9)), *x = keep(out<T>(r, c));
    matuniv_cast(d, 0, nullptr, x);
    if constexpr (!detail::is_complex_elem<T>) {  // hostile values of T, and their exact double copies
        spoil<T>(*x);
        matuniv_cast(x, 0, nullptr, d);
    }
    return arg(x, d);
}
// ON_DOUBLE(prefix, family, arguments...): the reference is the member itself on the double copies.
#define ON_DOUBLE(P, OP, ...)                                                                         \
    struct typed_##P##_##OP {                                                                         \
        template <class... A> auto operator()(A... a) const -> decltype(mutils::P##univ_##OP(a...)) { \
            const char* m = mutils::P##univ_##OP(a...);                                               \
            EXPECT_TRUE(!m || mode != plain) << "on double: " << m;                                   \
            return m;                                                                                 \
        }                                                                                             \
    };                                                                                                \
    MUTILS_ROW_TEST(P, OP, P##univ_##OP, detail::is_complex_elem<T> ? may_refuse : exact, __VA_ARGS__)
/// A double result handed to both calls as a universal record.
auto dres(int r, int c) { return res<double, both_univ>(r, c); }
#define SCALARS scalar_dbl(1), scalar_dbl(0)
ON_DOUBLE(mat, quantiles, as_double<T>(5, 4), gen<double, both_univ>(1, 3, [](int i) { return 0.1 + 0.35 * i; }),
          nullptr, dres(1, 3))
ON_DOUBLE(mat, mean_squared_error, as_double<T>(5, 4), as_double<T>(5, 4), nullptr, val_out<double>())
ON_DOUBLE(mat, signal_to_noise_ratio, as_double<T>(5, 4), as_double<T>(5, 4), nullptr, val_out<double>(),
          val_out<unsigned char>())
ON_DOUBLE(img, filter_derivative_of_gaussian, as_double<T>(9, 8), 1.0, nullptr, dres(9, 8), dres(9, 8))
ON_DOUBLE(img, gradient_sobel, as_double<T>(9, 8), nullptr, dres(9, 8), dres(9, 8))
ON_DOUBLE(img, edge_sobel, as_double<T>(9, 8), 4, 12, SCALARS, nullptr, dres(9, 8))
// A small sigma: with a wider filter the edges of a 9 x 8 image do not depend on its values.
ON_DOUBLE(img, edge_canny, as_double<T>(9, 8), 0.6, 1, 3, SCALARS, nullptr, dres(9, 8))
ON_DOUBLE(img, threshold_hysteresis, as_double<T>(9, 8), 3, 6, SCALARS, nullptr, dres(9, 8))
// Haar filters over two levels.
#define HAAR                                                            \
    gen<double, both_univ>(2, 1, [](int i) { return i ? -0.5 : 0.5; }), \
        gen<double, both_univ>(2, 1, [](int) { return 0.5; }), 2
ON_DOUBLE(wav, transform_maximum_overlap, as_double<T>(16, 1), HAAR, nullptr, dres(16, 2), dres(16, 2))
ON_DOUBLE(wav, transform_maximum_overlap_packet, as_double<T>(16, 1), HAAR, nullptr, dres(16, 7))

// ---- operands of other types ---------------------------------------------------------------------
// An operand of type S with a result of type T gives what the same-type call gives on the operand
// cast to T first; a floating or complex operand with an integer result, and a complex operand
// with a result other than double or complex (or with the image filters, which take no complex
// operands), is "Illegal data type".
using Binary = std::function<const char*(const _univ_mat*, const _univ_mat*, _univ_mat*)>;

void mixed(const char* name, const Binary& op, int32_t rows, int32_t inner, int32_t cols, bool complex_ok = true) {
    SCOPED_TRACE(name);
    auto over_sources = [&](auto stag) {
        using S = typename decltype(stag)::type;
        each_type([&](auto ttag) {
            using T = typename decltype(ttag)::type;
            auto a = rnd<S>(rows, inner, 20), b = rnd<S>(inner, cols, 20);
            auto r1 = out<T>(rows, cols), r2 = out<T>(rows, cols);
            const std::string got = message(op(&a, &b, &r1));
            const bool integer_from_real = detail::is_integer_elem<T> && !detail::is_integer_elem<S>;
            const bool complex_to_real = detail::is_complex_elem<S> &&
                                         ((!std::is_same_v<T, double> && !detail::is_complex_elem<T>) || !complex_ok);
            if (integer_from_real || complex_to_real) {
                EXPECT_EQ(got, msg::illegal_data_type) << detail::elem<S>::code;
                return;
            }
            auto ca = out<T>(rows, inner), cb = out<T>(inner, cols);
            matuniv_cast(&a, 0, nullptr, &ca);
            matuniv_cast(&b, 0, nullptr, &cb);
            EXPECT_EQ(got, message(op(&ca, &cb, &r2))) << detail::elem<S>::code;
            EXPECT_TRUE(same_bytes(r1, r2)) << detail::elem<S>::code;
        });
    };
    [&]<class... Ss>(detail::types<Ss...>) { (over_sources(detail::type_tag<Ss>{}), ...); }(detail::all_types{});
}

TEST(Differential, MixedOperandsGoThroughTheResultType) {
    using C = const _univ_mat*;
    using M = _univ_mat*;
    mixed(
        "matuniv_add", [](C a, C b, M r) { return matuniv_add(a, b, nullptr, r); }, 4, 3, 3);
    mixed(
        "matuniv_subtract", [](C a, C b, M r) { return matuniv_subtract(a, b, nullptr, r); }, 4, 3, 3);
    mixed(
        "matuniv_multiply_elem", [](C a, C b, M r) { return matuniv_multiply_elem(a, b, nullptr, r); }, 4, 3, 3);
    mixed(
        "matuniv_abs", [](C a, C, M r) { return matuniv_abs(a, nullptr, r); }, 4, 3, 3);
    mixed(
        "matuniv_multiply", [](C a, C b, M r) { return matuniv_multiply(a, b, nullptr, r); }, 4, 3, 2);
    mixed(
        "imguniv_convolve", [](C a, C b, M r) { return imguniv_convolve(a, b, MUTIL_BOUNDARY_REFLECT, nullptr, r); }, 3,
        3, 3, false);
    mixed(
        "imguniv_filter_local_mean",
        [](C a, C, M r) { return imguniv_filter_local_mean(a, 2, 3, MUTIL_BOUNDARY_ZERO, nullptr, r); }, 3, 3, 3,
        false);
    mixed(
        "imguniv_correlate", [](C a, C b, M r) { return imguniv_correlate(a, b, MUTIL_BOUNDARY_ZERO, nullptr, r); }, 3,
        3, 3, false);
}

}  // namespace
}  // namespace mutils::test
