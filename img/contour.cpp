#include "contour.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "../core/detail.h"
#include "../mat/linalg.h"

namespace mutils {
namespace detail {
namespace {

// ---- shared --------------------------------------------------------------------------------

/// The potential's gradient (d/drow, d/dcolumn) at pixel (i, j): central differences, one-sided
/// on the border, 0 along an axis of one pixel.
struct Gradient {
    const _double_mat* p;
    double at(int64_t i, int64_t j) const { return p->data[i * p->ncol + j]; }
    double rows(int64_t i, int64_t j) const {
        const int64_t n = p->nrow;
        if (n == 1) return 0.0;
        if (i == 0) return at(1, j) - at(0, j);
        if (i == n - 1) return at(n - 1, j) - at(n - 2, j);
        return (at(i + 1, j) - at(i - 1, j)) / 2.0;
    }
    double cols(int64_t i, int64_t j) const {
        const int64_t n = p->ncol;
        if (n == 1) return 0.0;
        if (j == 0) return at(i, 1) - at(i, 0);
        if (j == n - 1) return at(i, n - 1) - at(i, n - 2);
        return (at(i, j + 1) - at(i, j - 1)) / 2.0;
    }
    /// Both components bilinearly interpolated at (r, c), clamped into the image (a NaN
    /// position, which a NaN potential leaves behind, reads pixel 0 rather than no pixel).
    void sample(double r, double c, double* gr, double* gc) const {
        r = r > 0 ? std::min(r, double(p->nrow - 1)) : 0.0;
        c = c > 0 ? std::min(c, double(p->ncol - 1)) : 0.0;
        const int64_t i0 = int64_t(r), j0 = int64_t(c);
        const int64_t i1 = std::min<int64_t>(i0 + 1, p->nrow - 1), j1 = std::min<int64_t>(j0 + 1, p->ncol - 1);
        const double fr = r - double(i0), fc = c - double(j0);
        auto mix = [&](auto g) {
            const double top = (1 - fc) * (this->*g)(i0, j0) + fc * (this->*g)(i0, j1);
            const double bottom = (1 - fc) * (this->*g)(i1, j0) + fc * (this->*g)(i1, j1);
            return (1 - fr) * top + fr * bottom;
        };
        *gr = mix(&Gradient::rows);
        *gc = mix(&Gradient::cols);
    }
};

/// "array size mismatch" unless the snake is n x 2 with n >= 3 and the result of its size;
/// "Illegal data value" for a coordinate that is not finite.
const char* check_snake(const _double_mat* snake, const _double_mat* result) {
    if (snake->ncol != 2 || snake->nrow < 3) return msg::array_size_mismatch;
    MUTILS_TRY(require_same_size(snake, result));
    for (int64_t i = 0; i < snake->nelem; ++i)
        if (!std::isfinite(snake->data[i])) return msg::illegal_data_value;
    return nullptr;
}

inline bool finite_nonneg(double v) { return std::isfinite(v) && v >= 0.0; }

// ---- active contour (semi-implicit) ---------------------------------------------------------

/// The pentadiagonal matrix A + gamma I of the snake's internal energy, A = -alpha D2 + beta D4
/// (circulant differences), with the rows of fixed and free ends replaced in this order: fixed
/// start, fixed end, free start, free end.
_double_mat snake_matrix(int64_t n, double alpha, double beta, double gamma, int32_t boundary) {
    _double_mat a;
    matdbl_malloc(&a, int32_t(n), int32_t(n));
    std::fill(a.data, a.data + n * n, 0.0);
    auto at = [&](int64_t i, int64_t j) -> double& { return a.data[i * n + ((j % n) + n) % n]; };
    for (int64_t i = 0; i < n; ++i) {
        at(i, i - 1) += -alpha - 4 * beta, at(i, i + 1) += -alpha - 4 * beta;
        at(i, i) += 2 * alpha + 6 * beta;
        at(i, i - 2) += beta, at(i, i + 2) += beta;
    }
    auto row = [&](int64_t i, int64_t from, std::initializer_list<double> v) {
        std::fill(a.data + i * n, a.data + (i + 1) * n, 0.0);
        int64_t j = from;
        for (double x : v) {
            if (j >= 0 && j < n) a.data[i * n + j] = x;
            ++j;
        }
    };
    const bool start_fixed = boundary == IMG_SNAKE_FIXED || boundary == IMG_SNAKE_FIXED_FREE;
    const bool end_fixed = boundary == IMG_SNAKE_FIXED || boundary == IMG_SNAKE_FREE_FIXED;
    const bool start_free = boundary == IMG_SNAKE_FREE || boundary == IMG_SNAKE_FREE_FIXED;
    const bool end_free = boundary == IMG_SNAKE_FREE || boundary == IMG_SNAKE_FIXED_FREE;
    if (start_fixed) row(0, 0, {}), row(1, 0, {1, -2, 1});
    if (end_fixed) row(n - 1, 0, {}), row(n - 2, n - 3, {1, -2, 1});
    if (start_free) row(0, 0, {1, -2, 1}), row(1, 0, {-1, 3, -3, 1});
    if (end_free) row(n - 1, n - 3, {1, -2, 1}), row(n - 2, n - 4, {-1, 3, -3, 1});
    for (int64_t i = 0; i < n; ++i) a.data[i * n + i] += gamma;
    return a;
}

const char* active_contour(const _double_mat* potential, const _double_mat* snake, double alpha, double beta,
                           double gamma, double max_move, int32_t max_iterations, double convergence,
                           _img_snake_boundary boundary, void* intrp, _double_mat* result, int32_t* iterations) {
    validate(potential);
    validate(snake);
    validate(result);
    require_pointer(iterations);
    MUTILS_TRY(check_snake(snake, result));
    if (!finite_nonneg(alpha) || !finite_nonneg(beta) || !finite_nonneg(gamma) || gamma == 0.0 ||
        !finite_nonneg(max_move) || max_move == 0.0 || max_iterations < 1 || !finite_nonneg(convergence) ||
        boundary < IMG_SNAKE_PERIODIC || boundary > IMG_SNAKE_FIXED_FREE)
        return msg::illegal_data_value;
    const int64_t n = snake->nrow;
    Hux::ArenaScope scope;
    _double_mat a = snake_matrix(n, alpha, beta, gamma, boundary);
    _sint32_mat index;
    mats32_malloc(&index, int32_t(n), 1);
    MUTILS_TRY(matdbl_lu_decomposition(&a, intrp, &index, &a));
    const bool start_fixed = boundary == IMG_SNAKE_FIXED || boundary == IMG_SNAKE_FIXED_FREE;
    const bool end_fixed = boundary == IMG_SNAKE_FIXED || boundary == IMG_SNAKE_FREE_FIXED;
    const bool start_free = boundary == IMG_SNAKE_FREE || boundary == IMG_SNAKE_FREE_FIXED;
    const bool end_free = boundary == IMG_SNAKE_FREE || boundary == IMG_SNAKE_FIXED_FREE;
    constexpr int kKept = 10;  // configurations kept for the convergence test
    double *x = work_array<double>(n), *y = work_array<double>(n);
    double *bx = work_array<double>(n), *by = work_array<double>(n);
    double *saved_x = work_array<double>(kKept * n), *saved_y = work_array<double>(kKept * n);
    for (int64_t i = 0; i < n; ++i) y[i] = snake->data[2 * i], x[i] = snake->data[2 * i + 1];
    _double_mat vx{int32_t(n), 1, int32_t(n), bx}, vy{int32_t(n), 1, int32_t(n), by};
    const Gradient grad{potential};
    Poll poll(intrp);
    int32_t done = max_iterations;
    for (int32_t it = 0; it < max_iterations; ++it) {
        for (int64_t i = 0; i < n; ++i) {
            double gr, gc;
            grad.sample(y[i], x[i], &gr, &gc);
            bx[i] = gc, by[i] = gr;
        }
        if (start_fixed) bx[0] = by[0] = 0.0;
        if (end_fixed) bx[n - 1] = by[n - 1] = 0.0;
        if (start_free) bx[0] *= 2, by[0] *= 2;
        if (end_free) bx[n - 1] *= 2, by[n - 1] *= 2;
        for (int64_t i = 0; i < n; ++i) bx[i] += gamma * x[i], by[i] += gamma * y[i];
        MUTILS_TRY(matdbl_lu_solve(&a, &vx, &index, intrp, &vx));
        MUTILS_TRY(matdbl_lu_solve(&a, &vy, &index, intrp, &vy));
        for (int64_t i = 0; i < n; ++i) {
            const bool fixed = (i == 0 && start_fixed) || (i == n - 1 && end_fixed);
            if (fixed) continue;
            x[i] += max_move * std::tanh(bx[i] - x[i]);
            y[i] += max_move * std::tanh(by[i] - y[i]);
        }
        MUTILS_TRY(poll.add(double(n) * double(n) * 4.0));
        // Oscillations can keep a snake moving, so the test compares with the last ten
        // configurations: every eleventh iteration, stop when one of them is near enough.
        const int j = it % (kKept + 1);
        if (j < kKept) {
            std::copy(x, x + n, saved_x + j * n);
            std::copy(y, y + n, saved_y + j * n);
            continue;
        }
        double nearest = std::numeric_limits<double>::infinity();
        for (int k = 0; k < kKept; ++k) {
            double far = 0.0;
            for (int64_t i = 0; i < n; ++i)
                far = std::max(far, std::fabs(saved_x[k * n + i] - x[i]) + std::fabs(saved_y[k * n + i] - y[i]));
            nearest = std::min(nearest, far);
        }
        if (nearest < convergence) {
            done = it + 1;
            break;
        }
    }
    for (int64_t i = 0; i < n; ++i) result->data[2 * i] = y[i], result->data[2 * i + 1] = x[i];
    *iterations = done;
    return nullptr;
}

// ---- greedy snake ---------------------------------------------------------------------------

struct Pixel {
    int64_t r, c;
};
inline double norm(double r, double c) { return std::sqrt(r * r + c * c); }

/// Williams and Shah's curvature at point i: the squared difference of the unit directions of
/// the edges into and out of it (0 when either edge has zero length).
double bend(const Pixel* v, int64_t n, int64_t i) {
    const Pixel a = v[(i + n - 1) % n], b = v[i], c = v[(i + 1) % n];
    const double ur = double(b.r - a.r), uc = double(b.c - a.c), wr = double(c.r - b.r), wc = double(c.c - b.c);
    const double lu = norm(ur, uc), lw = norm(wr, wc);
    if (lu == 0.0 || lw == 0.0) return 0.0;
    const double dr = ur / lu - wr / lw, dc = uc / lu - wc / lw;
    return dr * dr + dc * dc;
}

const char* greedy(const _double_mat* potential, const _double_mat* snake, double alpha, double beta, double gamma,
                   int32_t w, double curvature_threshold, double potential_threshold, int32_t max_iterations,
                   double moved_fraction, bool closed, void* intrp, _double_mat* result, int32_t* iterations) {
    validate(potential);
    validate(snake);
    validate(result);
    require_pointer(iterations);
    MUTILS_TRY(check_snake(snake, result));
    if (!finite_nonneg(alpha) || !finite_nonneg(beta) || !finite_nonneg(gamma) || w < 3 || w % 2 == 0 ||
        !std::isfinite(curvature_threshold) || !std::isfinite(potential_threshold) || max_iterations < 1 ||
        !(moved_fraction >= 0.0 && moved_fraction <= 1.0))
        return msg::illegal_data_value;
    const int64_t n = snake->nrow, nrow = potential->nrow, ncol = potential->ncol, half = w / 2;
    Hux::ArenaScope scope;
    Pixel* v = work_array<Pixel>(n);
    for (int64_t i = 0; i < n; ++i) {
        const double r = std::floor(snake->data[2 * i] + 0.5), c = std::floor(snake->data[2 * i + 1] + 0.5);
        v[i] = {int64_t(std::clamp(r, 0.0, double(nrow - 1))), int64_t(std::clamp(c, 0.0, double(ncol - 1)))};
    }
    double* b = work_array<double>(n);  // beta per point: 0 at corners found so far
    double* curv = work_array<double>(n);
    std::fill(b, b + n, beta);
    const int64_t cand = int64_t(w) * w;
    double *e_cont = work_array<double>(cand), *e_curv = work_array<double>(cand), *e_img = work_array<double>(cand);
    Pixel* at = work_array<Pixel>(cand);
    auto P = [&](Pixel p) { return potential->data[p.r * ncol + p.c]; };
    Poll poll(intrp);
    int32_t pass = 0;
    while (pass < max_iterations) {
        ++pass;
        const int64_t edges = closed ? n : n - 1;
        double mean = 0.0;
        for (int64_t i = 0; i < edges; ++i) {
            const Pixel p = v[i], q = v[(i + 1) % n];
            mean += norm(double(q.r - p.r), double(q.c - p.c));
        }
        mean /= double(edges);
        int64_t moved = 0;
        for (int64_t i = closed ? 0 : 1; i < (closed ? n : n - 1); ++i) {
            const Pixel prev = v[(i + n - 1) % n], next = v[(i + 1) % n];
            int64_t k = 0;
            double max_cont = 0, max_curv = 0, lo = std::numeric_limits<double>::infinity(), hi = -lo;
            for (int64_t r = v[i].r - half; r <= v[i].r + half; ++r)
                for (int64_t c = v[i].c - half; c <= v[i].c + half; ++c) {
                    if (r < 0 || r >= nrow || c < 0 || c >= ncol) continue;
                    at[k] = {r, c};
                    e_cont[k] = std::fabs(mean - norm(double(r - prev.r), double(c - prev.c)));
                    const double cr = double(prev.r - 2 * r + next.r), cc = double(prev.c - 2 * c + next.c);
                    e_curv[k] = cr * cr + cc * cc;
                    e_img[k] = -P(at[k]);
                    max_cont = std::max(max_cont, e_cont[k]), max_curv = std::max(max_curv, e_curv[k]);
                    lo = std::min(lo, e_img[k]), hi = std::max(hi, e_img[k]);
                    ++k;
                }
            int64_t best = -1, stay = -1;
            double best_e = std::numeric_limits<double>::infinity();
            double* e = e_cont;  // the total, in place
            for (int64_t j = 0; j < k; ++j) {
                const double cont = max_cont > 0 ? e_cont[j] / max_cont : e_cont[j];
                const double cu = max_curv > 0 ? e_curv[j] / max_curv : e_curv[j];
                const double img = hi > lo ? (e_img[j] - lo) / (hi - lo) : 0.0;
                e[j] = alpha * cont + b[i] * cu + gamma * img;
                if (e[j] < best_e) best_e = e[j], best = j;
                if (at[j].r == v[i].r && at[j].c == v[i].c) stay = j;
            }
            if (best >= 0 && e[stay] != best_e) {
                v[i] = at[best];
                ++moved;
            }
            MUTILS_TRY(poll.add(double(cand) * 10.0));
        }
        // Corners: a strict local maximum of the curvature above its threshold, on a strong
        // enough potential, stops resisting bending for the rest of the run.
        std::fill(curv, curv + n, 0.0);
        for (int64_t i = closed ? 0 : 1; i < (closed ? n : n - 1); ++i) curv[i] = bend(v, n, i);
        for (int64_t i = closed ? 0 : 1; i < (closed ? n : n - 1); ++i) {
            const double before = curv[(i + n - 1) % n], after = curv[(i + 1) % n];
            if (curv[i] > before && curv[i] > after && curv[i] > curvature_threshold && P(v[i]) > potential_threshold)
                b[i] = 0.0;
        }
        if (double(moved) < moved_fraction * double(n)) break;
    }
    for (int64_t i = 0; i < n; ++i) result->data[2 * i] = double(v[i].r), result->data[2 * i + 1] = double(v[i].c);
    *iterations = pass;
    return nullptr;
}

// ---- minimal paths --------------------------------------------------------------------------

/// Dijkstra's search on the 8-neighbour grid with an indexed 4-ary heap keyed by (distance,
/// pixel index), so ties pop by row then column; a distance and its predecessor change only
/// for a strictly smaller one. A step between neighbours a, b costs l (C(a) + C(b)) / 2, l = 1
/// or sqrt(2); an infinite cost is impassable. Heap entries carry their keys, so sifting reads
/// no other array.
class Geodesic {
public:
    Geodesic(const _double_mat* cost, double* dist, int32_t* from)
        : m_cost(cost->data), m_nrow(cost->nrow), m_ncol(cost->ncol), m_dist(dist), m_from(from) {
        const int64_t n = m_nrow * m_ncol;
        m_heap = work_array<Entry>(n);
        m_pos = work_array<int32_t>(n);
        std::fill(m_pos, m_pos + n, kUnseen);
        std::fill(m_dist, m_dist + n, std::numeric_limits<double>::infinity());
    }

    void seed(int64_t p) {
        if (m_pos[p] == kUnseen) relax(p, 0.0, -1);
    }

    /// Runs until the heap empties or `stop` is settled; polls once per row's worth of pixels.
    const char* run(int64_t stop, void* intrp) {
        static constexpr int kDr[8] = {-1, -1, -1, 0, 0, 1, 1, 1}, kDc[8] = {-1, 0, 1, -1, 1, -1, 0, 1};
        const double diagonal = std::sqrt(2.0);
        Poll poll(intrp);
        int64_t settled = 0;
        while (m_size > 0) {
            const int64_t p = pop();
            if (p == stop) return nullptr;
            const int64_t r = p / m_ncol, c = p % m_ncol;
            const double cp = m_cost[p], dp = m_dist[p];
            const bool inner = r > 0 && r < m_nrow - 1 && c > 0 && c < m_ncol - 1;
            for (int k = 0; k < 8; ++k) {
                const int64_t rr = r + kDr[k], cc = c + kDc[k];
                if (!inner && (rr < 0 || rr >= m_nrow || cc < 0 || cc >= m_ncol)) continue;
                const int64_t q = rr * m_ncol + cc;
                if (m_pos[q] == kDone) continue;
                const double d = dp + 0.5 * (cp + m_cost[q]) * (kDr[k] != 0 && kDc[k] != 0 ? diagonal : 1.0);
                if (d < m_dist[q]) relax(q, d, int32_t(p));  // never for impassable (infinite) steps
            }
            if (++settled % m_ncol == 0) MUTILS_TRY(poll.add(double(m_ncol) * 60.0));
        }
        return nullptr;
    }

private:
    struct Entry {
        double d;
        int32_t p;
        bool operator<(const Entry& o) const { return d < o.d || (d == o.d && p < o.p); }
    };
    static constexpr int32_t kUnseen = -1, kDone = -2;
    static constexpr int64_t kArity = 4;

    void place(int64_t i, Entry e) {
        m_heap[i] = e;
        m_pos[e.p] = int32_t(i);
    }
    /// Gives p the distance d (smaller than its own) and moves it up the heap.
    void relax(int64_t p, double d, int32_t from) {
        m_dist[p] = d;
        if (m_from) m_from[p] = from;
        int64_t i = m_pos[p] == kUnseen ? m_size++ : m_pos[p];
        const Entry e{d, int32_t(p)};
        while (i > 0) {
            const int64_t parent = (i - 1) / kArity;
            if (!(e < m_heap[parent])) break;
            place(i, m_heap[parent]);
            i = parent;
        }
        place(i, e);
    }
    int64_t pop() {
        const int32_t top = m_heap[0].p;
        m_pos[top] = kDone;
        const Entry last = m_heap[--m_size];
        if (m_size > 0) {
            int64_t i = 0;
            for (;;) {
                const int64_t first = kArity * i + 1;
                if (first >= m_size) break;
                int64_t best = first;
                for (int64_t k = first + 1; k < std::min(first + kArity, m_size); ++k)
                    if (m_heap[k] < m_heap[best]) best = k;
                if (!(m_heap[best] < last)) break;
                place(i, m_heap[best]);
                i = best;
            }
            place(i, last);
        }
        return top;
    }

    const double* m_cost;
    int64_t m_nrow, m_ncol;
    double* m_dist;
    int32_t* m_from;
    Entry* m_heap;
    int32_t* m_pos;
    int64_t m_size = 0;
};

/// "Illegal data value" for a negative or NaN cost.
const char* check_cost(const _double_mat* cost) {
    for (int64_t i = 0; i < cost->nelem; ++i)
        if (!(cost->data[i] >= 0.0)) return msg::illegal_data_value;
    return nullptr;
}

const char* minimal_path_cost(const _double_mat* cost, const _sint32_mat* seeds, void* intrp, _double_mat* distance) {
    validate(cost);
    validate(seeds);
    validate(distance);
    if (seeds->ncol != 2) return msg::array_size_mismatch;
    MUTILS_TRY(require_same_size(cost, distance));
    MUTILS_TRY(require_distinct(cost, distance));
    MUTILS_TRY(check_cost(cost));
    for (int64_t i = 0; i < seeds->nrow; ++i) {
        const int32_t r = seeds->data[2 * i], c = seeds->data[2 * i + 1];
        if (r < 0 || r >= cost->nrow || c < 0 || c >= cost->ncol) return msg::illegal_data_value;
    }
    Hux::ArenaScope scope;
    Geodesic g(cost, distance->data, nullptr);
    for (int64_t i = 0; i < seeds->nrow; ++i) g.seed(int64_t(seeds->data[2 * i]) * cost->ncol + seeds->data[2 * i + 1]);
    return g.run(-1, intrp);
}

const char* minimal_path(const _double_mat* cost, int32_t start_row, int32_t start_col, int32_t end_row,
                         int32_t end_col, void* intrp, _sint32_mat* path, double* total) {
    validate(cost);
    require_pointer(path);
    require_pointer(total);
    MUTILS_TRY(check_cost(cost));
    auto outside = [&](int32_t r, int32_t c) { return r < 0 || r >= cost->nrow || c < 0 || c >= cost->ncol; };
    if (outside(start_row, start_col) || outside(end_row, end_col)) return msg::illegal_data_value;
    const int64_t n = int64_t(cost->nrow) * cost->ncol, end = int64_t(end_row) * cost->ncol + end_col;
    Hux::ImcAllocator* caller = Hux::ImcAllocator::m_current;  // where the path goes
    Hux::ArenaScope scope;
    double* dist = work_array<double>(n);
    int32_t* pred = work_array<int32_t>(n);
    Geodesic g(cost, dist, pred);
    g.seed(int64_t(start_row) * cost->ncol + start_col);
    MUTILS_TRY(g.run(end, intrp));
    if (std::isinf(dist[end])) return msg::illegal_data_value;
    int32_t steps = 0;
    for (int64_t p = end; p >= 0; p = pred[p]) ++steps;
    std::swap(Hux::ImcAllocator::m_current, caller);
    mats32_malloc(path, steps, 2);
    std::swap(Hux::ImcAllocator::m_current, caller);
    int64_t k = steps;
    for (int64_t p = end; p >= 0; p = pred[p]) {
        --k;
        path->data[2 * k] = int32_t(p / cost->ncol), path->data[2 * k + 1] = int32_t(p % cost->ncol);
    }
    *total = dist[end];
    return nullptr;
}

}  // namespace
}  // namespace detail

using namespace detail;

const char* imgdbl_active_contour(const _double_mat* potential, const _double_mat* snake, double alpha, double beta,
                                  double gamma, double max_move, int32_t max_iterations, double convergence,
                                  _img_snake_boundary boundary, void* intrp, _double_mat* result, int32_t* iterations) {
    return active_contour(potential, snake, alpha, beta, gamma, max_move, max_iterations, convergence, boundary, intrp,
                          result, iterations);
}
const char* imgdbl_active_contour_greedy(const _double_mat* potential, const _double_mat* snake, double alpha,
                                         double beta, double gamma, int32_t neighbourhood, double curvature_threshold,
                                         double potential_threshold, int32_t max_iterations, double moved_fraction,
                                         unsigned char closed, void* intrp, _double_mat* result, int32_t* iterations) {
    return greedy(potential, snake, alpha, beta, gamma, neighbourhood, curvature_threshold, potential_threshold,
                  max_iterations, moved_fraction, closed != 0, intrp, result, iterations);
}
const char* imgdbl_minimal_path_cost(const _double_mat* cost, const _sint32_mat* seeds, void* intrp,
                                     _double_mat* distance) {
    return minimal_path_cost(cost, seeds, intrp, distance);
}
const char* imgdbl_minimal_path(const _double_mat* cost, int32_t start_row, int32_t start_col, int32_t end_row,
                                int32_t end_col, void* intrp, _sint32_mat* path, double* total) {
    return minimal_path(cost, start_row, start_col, end_row, end_col, intrp, path, total);
}

// The universal members take an image of any real type, read as doubles.
namespace {
template <class F, class... A> const char* on_doubles(const _univ_mat* image, void* intrp, F&& f, A*... others) {
    return univ_call(real_types{}, with(image, others...), [&](auto, auto*, auto*...) -> const char* {
        validate_univ(image);
        _univ_mat d;
        MUTILS_TRY(to_common(image, MUTIL_DOUBLE, intrp, &d));
        return f(as<double>(&d));
    });
}
}  // namespace

const char* imguniv_active_contour(const _univ_mat* potential, const _double_mat* snake, double alpha, double beta,
                                   double gamma, double max_move, int32_t max_iterations, double convergence,
                                   _img_snake_boundary boundary, void* intrp, _double_mat* result,
                                   int32_t* iterations) {
    return on_doubles(
        potential, intrp,
        [&](const _double_mat* p) {
            return active_contour(p, snake, alpha, beta, gamma, max_move, max_iterations, convergence, boundary, intrp,
                                  result, iterations);
        },
        snake, result, iterations);
}
const char* imguniv_active_contour_greedy(const _univ_mat* potential, const _double_mat* snake, double alpha,
                                          double beta, double gamma, int32_t neighbourhood, double curvature_threshold,
                                          double potential_threshold, int32_t max_iterations, double moved_fraction,
                                          unsigned char closed, void* intrp, _double_mat* result, int32_t* iterations) {
    return on_doubles(
        potential, intrp,
        [&](const _double_mat* p) {
            return greedy(p, snake, alpha, beta, gamma, neighbourhood, curvature_threshold, potential_threshold,
                          max_iterations, moved_fraction, closed != 0, intrp, result, iterations);
        },
        snake, result, iterations);
}
const char* imguniv_minimal_path_cost(const _univ_mat* cost, const _sint32_mat* seeds, void* intrp,
                                      _double_mat* distance) {
    return on_doubles(
        cost, intrp, [&](const _double_mat* c) { return minimal_path_cost(c, seeds, intrp, distance); }, seeds,
        distance);
}
const char* imguniv_minimal_path(const _univ_mat* cost, int32_t start_row, int32_t start_col, int32_t end_row,
                                 int32_t end_col, void* intrp, _sint32_mat* path, double* total) {
    return on_doubles(
        cost, intrp,
        [&](const _double_mat* c) {
            return minimal_path(c, start_row, start_col, end_row, end_col, intrp, path, total);
        },
        path, total);
}

}  // namespace mutils
