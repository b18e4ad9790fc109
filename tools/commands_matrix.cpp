// Subcommands on whole files: info, convert, stats.
#include <cmath>
#include <cstdio>
#include <memory>

#include "cli.h"
#include "core/detail_scalar.h"

namespace cli {

using namespace mutils;

namespace {

std::pair<double, double> library_range(const _univ_mat& m) {
    _univ_scalar lo, hi;
    check(mutils::matuniv_range(&m, nullptr, &lo, &hi));
    return {detail::scalar_value(lo), detail::scalar_value(hi)};
}

std::vector<uint32_t> histogram(const _univ_mat& m, double lo, double hi, int bins) {
    _uint32_mat counts;
    mutils::matu32_malloc(&counts, bins, 1);
    // The closed interval [lo, hi]: pixels equal to the minimum belong in the first bin.
    check(mutils::matuniv_histogram(&m, lo, hi, 1, nullptr, &counts));
    const uint32_t* c = counts.data;
    return std::vector<uint32_t>(c, c + bins);
}

void info(const std::string& path, const LoadOptions& options) {
    Data d = load(path, options);
    std::string text = path + ": " + std::to_string(d.planes.size()) + (d.planes.size() == 1 ? " plane" : " planes");
    for (std::size_t i = 0; i < d.planes.size(); ++i) {
        const _univ_mat& m = d.planes[i];
        char line[256];
        std::snprintf(line, sizeof line, "\n  plane %zu: %s, %d rows x %d columns", i, type_word(m.type), m.nrow,
                      m.ncol);
        text += line;
        if (m.type == MUTIL_DCOMPLEX) continue;
        auto [lo, hi] = library_range(m);
        std::snprintf(line, sizeof line, ", range [%g, %g]", lo, hi);
        text += line;
        if (hi > lo) {
            auto h = histogram(m, lo, hi, 8);
            text += "\n  histogram (8 bins):";
            for (uint32_t c : h) text += " " + std::to_string(c);
        }
    }
    std::printf("%s\n", text.c_str());
}

struct ConvertOptions {
    BatchOptions batch;
    std::string type;
    bool clip = false;
    bool plain = false;
    bool alpha = false;
    double threshold = 127.5;
};

void convert(const ConvertOptions& o, const std::string& input) {
    Data d = load(input, LoadOptions{o.alpha});
    if (!o.type.empty()) {
        _mutil_data_type t = parse_type(o.type);
        for (auto& p : d.planes) {
            if (p.type == t) continue;
            _univ_mat r = make(p.nrow, p.ncol, t);
            mutils::matuniv_cast(&p, o.clip ? 1 : 0, nullptr, &r);  // raises "overflow" unless clipped
            p = r;
        }
    }
    SaveOptions s = o.batch.save();
    s.plain = o.plain;
    s.pbm_threshold = o.threshold;
    std::string ext = o.batch.extension(o.batch.output.substr(o.batch.output.find_last_of('.') + 1));
    save(output_for(input, o.batch.output, o.batch.inputs.size(), ext), d, s);
}

struct StatsOptions {
    std::vector<std::string> inputs;
    std::vector<double> quantiles{0.25, 0.5, 0.75};
    int bins = 16;
    bool alpha = false;
};

void stats(const StatsOptions& o, const std::string& path) {
    Data d = load(path, LoadOptions{o.alpha});
    for (std::size_t i = 0; i < d.planes.size(); ++i) {
        const _univ_mat& m = d.planes[i];
        if (m.type == MUTIL_DCOMPLEX) throw Failure("statistics need real data");
        auto [lo, hi] = library_range(m);
        double median = 0;
        check(mutils::matuniv_median(&m, nullptr, &median));
        _univ_mat probs = make(1, int32_t(o.quantiles.size()), MUTIL_DOUBLE);
        std::copy(o.quantiles.begin(), o.quantiles.end(), static_cast<double*>(probs.data));
        _univ_mat q = make(1, int32_t(o.quantiles.size()), MUTIL_DOUBLE);
        check(mutils::matuniv_quantiles(&m, &probs, nullptr, &q));
        std::printf("%s plane %zu (%s %dx%d)\n", path.c_str(), i, type_word(m.type), m.nrow, m.ncol);
        std::printf("  range     %g .. %g\n  median    %g\n", lo, hi, median);
        for (std::size_t k = 0; k < o.quantiles.size(); ++k)
            std::printf("  quantile  %g: %g\n", o.quantiles[k], static_cast<double*>(q.data)[k]);
        if (hi > lo) {
            auto h = histogram(m, lo, hi, o.bins);
            _univ_mat counts = make(1, o.bins, MUTIL_UINT32);
            std::copy(h.begin(), h.end(), static_cast<uint32_t*>(counts.data));
            double entropy = 0;
            check(mutils::matuniv_entropy(&counts, nullptr, &entropy));
            std::printf("  entropy   %g bits (of the %d-bin histogram)\n  histogram", entropy, o.bins);
            for (uint32_t c : h) std::printf(" %u", c);
            std::printf("\n");
        }
    }
}

}  // namespace

void register_matrix_commands(CLI::App& app) {
    auto info_files = std::make_shared<std::vector<std::string>>();
    auto info_options = std::make_shared<LoadOptions>();
    auto* i = app.add_subcommand("info", "Type, size, range and a histogram summary of image or matrix files");
    i->add_option("inputs", *info_files, "Files to describe")->required();
    i->add_flag("--alpha", info_options->alpha, "Keep a PNG's alpha channel as a last plane");
    i->callback([info_files, info_options] {
        finish(run_batch("info", *info_files, 1, [info_options](const std::string& p) { info(p, *info_options); }));
    });

    auto c = std::make_shared<ConvertOptions>();
    auto* cv = app.add_subcommand("convert", "Convert between image formats and matrix files, with type casts");
    add_batch_options(cv, c->batch);
    cv->add_option("-t,--type", c->type, "Element type of the output: u8 u16 s16 u32 s32 float double");
    cv->add_flag("--clip", c->clip, "Clip values that do not fit the type instead of failing");
    cv->add_flag("--plain", c->plain, "Write PBM/PGM/PPM bodies as text");
    cv->add_flag("--alpha", c->alpha, "Keep a PNG's alpha channel as a last plane (a PNG output then has alpha)");
    cv->add_option("--threshold", c->threshold, "PBM: pixels at or below are dark (default 127.5)");
    cv->callback([c] {
        finish(run_batch("convert", c->batch.inputs, c->batch.jobs, [c](const std::string& in) { convert(*c, in); }));
    });

    auto s = std::make_shared<StatsOptions>();
    auto* st = app.add_subcommand("stats", "Range, median, quantiles, entropy and histogram of each plane");
    st->add_option("inputs", s->inputs, "Files")->required();
    st->add_option("-q,--quantiles", s->quantiles, "Probabilities of the quantiles")->delimiter(',');
    st->add_option("-b,--bins", s->bins, "Histogram bins")->check(CLI::Range(1, 65536));
    st->add_flag("--alpha", s->alpha, "Keep a PNG's alpha channel as a last plane");
    st->callback([s] { finish(run_batch("stats", s->inputs, 1, [s](const std::string& p) { stats(*s, p); })); });
}

}  // namespace cli
