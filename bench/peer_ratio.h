// Benchmark support: runs the registered pairs (ours, peer) and prints, after Google Benchmark's own
// table, one line per pair with the ratio of our time to the peer's (below 1: we are faster), and
// the same figures as tab-separated lines "RATIO<TAB>label<TAB>ours ms<TAB>peer<TAB>peer ms<TAB>ratio<TAB>limit"
// that scripts/bench.sh collects into one table.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace peer_ratio {

/// Collects the real time per benchmark name while printing the usual console table.
class Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs)
            if (r.run_type == Run::RT_Iteration && r.iterations > 0)
                times[r.run_name.function_name] = r.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> times;
};

/// Pairs registered by name: "ours" and "peer" benchmark names and a label for the ratio line.
struct Pair {
    std::string label, ours, peer, peer_name;
    double limit;
};
inline std::vector<Pair>& pairs() {
    static std::vector<Pair> p;
    return p;
}

/// Registers ours/peer under "<label>/mutils" and "<label>/<peer name>" with the given limit.
template <class F, class G>
void add(const std::string& label, const std::string& peer_name, double limit, F ours, G peer) {
    const std::string a = label + "/mutils", b = label + "/" + peer_name;
    benchmark::RegisterBenchmark(a.c_str(), ours)->Unit(benchmark::kMillisecond)->UseRealTime();
    benchmark::RegisterBenchmark(b.c_str(), peer)->Unit(benchmark::kMillisecond)->UseRealTime();
    pairs().push_back({label, a, b, peer_name, limit});
}

/// The shortest wall time of `runs` calls of f, in seconds (for ratios printed outside the table).
template <class F> double best_seconds(F f, int runs) {
    double best = 1e30;
    for (int i = 0; i < runs; ++i) {
        auto t0 = std::chrono::steady_clock::now();
        f();
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    return best;
}

inline int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    Reporter rep;
    benchmark::RunSpecifiedBenchmarks(&rep);
    std::printf("\n%-48s %10s %8s\n", "comparison", "ratio", "limit");
    for (const Pair& p : pairs()) {
        auto a = rep.times.find(p.ours), b = rep.times.find(p.peer);
        if (a == rep.times.end() || b == rep.times.end()) continue;
        std::printf("%-48s %10.2f %8.1f%s\n", p.label.c_str(), a->second / b->second, p.limit,
                    a->second / b->second > p.limit ? "  OVER" : "");
    }
    for (const Pair& p : pairs()) {
        auto a = rep.times.find(p.ours), b = rep.times.find(p.peer);
        if (a == rep.times.end() || b == rep.times.end()) continue;
        std::printf("RATIO\t%s\t%.4g\t%s\t%.4g\t%.3f\t%.2f\n", p.label.c_str(), a->second, p.peer_name.c_str(),
                    b->second, a->second / b->second, p.limit);
    }
    benchmark::Shutdown();
    return 0;
}

}  // namespace peer_ratio
