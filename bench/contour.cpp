// Geodesic distance on a 2048 x 2048 cost image against a textbook Dijkstra (a binary heap of
// (distance, pixel) pairs with stale entries skipped), and the point test of 10^6 points against a
// 1000-vertex polygon against OpenCV's pointPolygonTest called in a loop. The scikit-image and
// scipy comparisons (geodesic distance, Hausdorff distance) run in one Python process:
// bench/contour.py.
#include <mutils.h>

#include <cmath>
#include <functional>
#include <memory>
#include <queue>
#include <random>
#include <vector>

#include "peer_ratio.h"

#ifdef MUTILS_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace mutils;
constexpr int32_t kSide = 2048;

std::shared_ptr<std::vector<double>> random_costs() {
    auto c = std::make_shared<std::vector<double>>(std::size_t(kSide) * kSide);
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(0.5, 3.0);
    for (double& v : *c) v = u(rng);
    return c;
}

/// The reference: the same steps and costs, a std::priority_queue with lazy deletion.
void reference_dijkstra(const std::vector<double>& cost, std::vector<double>& dist) {
    using Entry = std::pair<double, int64_t>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> heap;
    std::fill(dist.begin(), dist.end(), INFINITY);
    dist[0] = 0;
    heap.push({0.0, 0});
    const double diag = std::sqrt(2.0);
    while (!heap.empty()) {
        auto [d, p] = heap.top();
        heap.pop();
        if (d > dist[p]) continue;
        const int64_t r = p / kSide, c = p % kSide;
        for (int dr = -1; dr <= 1; ++dr)
            for (int dc = -1; dc <= 1; ++dc) {
                const int64_t rr = r + dr, cc = c + dc;
                if ((!dr && !dc) || rr < 0 || rr >= kSide || cc < 0 || cc >= kSide) continue;
                const int64_t q = rr * kSide + cc;
                const double nd = d + 0.5 * (cost[p] + cost[q]) * (dr && dc ? diag : 1.0);
                if (nd < dist[q]) dist[q] = nd, heap.push({nd, q});
            }
    }
}

void add_geodesic() {
    auto cost = random_costs();
    auto ours = [cost](benchmark::State& st) {
        std::vector<double> out(cost->size());
        std::vector<int32_t> seed{0, 0};
        _double_mat c{kSide, kSide, kSide * kSide, cost->data()}, d{kSide, kSide, kSide * kSide, out.data()};
        _sint32_mat s{1, 2, 2, seed.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (imgdbl_minimal_path_cost(&c, &s, nullptr, &d)) st.SkipWithError("failed");
        }
    };
    auto peer = [cost](benchmark::State& st) {
        std::vector<double> out(cost->size());
        for (auto _ : st) reference_dijkstra(*cost, out);
    };
    peer_ratio::add("geodesic distance 2048^2", "reference dijkstra", 1.5, ours, peer);
}

/// A star-shaped polygon of 1000 vertices and 10^6 points over its bounding box.
struct PointTest {
    std::vector<double> polygon, points;
    std::vector<unsigned char> where;
    PointTest() : polygon(2000), points(2000000), where(1000000) {
        std::mt19937 rng(3);
        std::uniform_real_distribution<double> u(0, 1);
        for (int i = 0; i < 1000; ++i) {
            const double t = 2 * M_PI * i / 1000, r = 300 + 150 * u(rng);
            polygon[2 * i] = std::round(500 - r * std::sin(t)), polygon[2 * i + 1] = std::round(500 + r * std::cos(t));
        }
        for (double& v : points) v = std::round(1000 * u(rng) * 4) / 4;
    }
};

void add_point_test() {
    auto data = std::make_shared<PointTest>();
    auto ours = [data](benchmark::State& st) {
        _double_mat poly{1000, 2, 2000, data->polygon.data()}, pts{1000000, 2, 2000000, data->points.data()};
        _uint8_mat w{1000000, 1, 1000000, data->where.data()};
        for (auto _ : st) {
            Hux::ArenaScope scope;
            if (pgndbl_point_in_polygon(&poly, &pts, nullptr, &w)) st.SkipWithError("failed");
        }
    };
#ifdef MUTILS_HAVE_OPENCV
    auto peer = [data](benchmark::State& st) {
        cv::setNumThreads(1);
        std::vector<cv::Point2f> contour(1000);
        for (int i = 0; i < 1000; ++i) contour[i] = {float(data->polygon[2 * i + 1]), float(data->polygon[2 * i])};
        std::vector<double> out(1000000);
        for (auto _ : st)
            for (int i = 0; i < 1000000; ++i)
                out[i] =
                    cv::pointPolygonTest(contour, {float(data->points[2 * i + 1]), float(data->points[2 * i])}, false);
        benchmark::DoNotOptimize(out.data());
    };
    peer_ratio::add("point in polygon 10^6 x 1000", "opencv", 1.5, ours, peer);
#else
    benchmark::RegisterBenchmark("point in polygon 10^6 x 1000", ours)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
}

}  // namespace

int main(int argc, char** argv) {
    add_geodesic();
    add_point_test();
    return peer_ratio::main(argc, argv);
}
