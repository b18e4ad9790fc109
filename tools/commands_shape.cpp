// Shape and region subcommands: measure (region features as CSV) and segment (klm, seeded).
#include <memory>
#include <string>

#include "cli.h"

namespace cli {

using namespace mutils;

namespace {

// ---- measure --------------------------------------------------------------------------------

struct MeasureOptions {
    BatchOptions batch;
    bool mask = false, four = false;
};

const char* const kFeatureNames[18] = {"area",       "centroid_row", "centroid_col", "min_row",     "min_col",
                                       "max_row",    "max_col",      "perimeter",    "orientation", "major_axis",
                                       "minor_axis", "eccentricity", "eq_diameter",  "extent",      "convex_area",
                                       "solidity",   "circularity",  "euler_number"};

/// The label image of an input: its first plane as u32 labels, or with --mask the connected
/// components of its non-zero pixels.
_univ_mat labels_of(const MeasureOptions& o, const Data& d) {
    _univ_mat plane = d.grey();
    if (plane.type == MUTIL_DCOMPLEX) throw Failure("labels must be real");
    _univ_mat labels = make(plane.nrow, plane.ncol, MUTIL_UINT32);
    if (!o.mask) {
        mutils::matuniv_cast(&plane, 1, nullptr, &labels);
        return labels;
    }
    const _univ_mat dbl = to_double(plane);
    _univ_mat bin = make(plane.nrow, plane.ncol, MUTIL_UINT8);
    for (int32_t i = 0; i < bin.nelem; ++i)
        static_cast<unsigned char*>(bin.data)[i] = static_cast<const double*>(dbl.data)[i] != 0;
    uint32_t count = 0;
    check(mutils::imguniv_connected_components(&bin, o.four ? IMG_CONNECT_FOUR : IMG_CONNECT_EIGHT,
                                               scalar_of(MUTIL_UINT8, 1), 0, nullptr, &labels, &count));
    return labels;
}

/// One CSV table per input (a `file` column first when there are several), written in one
/// piece so that parallel jobs do not interleave lines.
void measure(const MeasureOptions& o, const std::string& in) {
    const _univ_mat labels = labels_of(o, load(in));
    const double hi = range_of(labels).second;
    const int32_t k = hi < 1 ? 1 : int32_t(hi);
    _univ_mat f = make(k, 18, MUTIL_DOUBLE);
    check(mutils::imguniv_shape_features(&labels, nullptr, &f));
    const bool named = o.batch.inputs.size() > 1;
    std::string text = named ? "file,label" : "label";
    for (const char* name : kFeatureNames) text += std::string(",") + name;
    text += "\n";
    const double* v = static_cast<const double*>(f.data);
    char buf[64];
    for (int32_t r = 0; r < k; ++r) {
        if (v[r * 18] == 0) continue;  // labels without pixels
        if (named) text += in + ",";
        text += std::to_string(r + 1);
        for (int j = 0; j < 18; ++j) {
            std::snprintf(buf, sizeof buf, ",%.10g", v[r * 18 + j]);
            text += buf;
        }
        text += "\n";
    }
    if (o.batch.output.empty() || o.batch.output == "-") {
        std::fwrite(text.data(), 1, text.size(), stdout);
        return;
    }
    const std::string path = output_for(in, o.batch.output, o.batch.inputs.size(), "csv");
    FILE* out = std::fopen(path.c_str(), "w");
    if (!out) throw Failure(path + ": cannot write");
    const bool ok = std::fwrite(text.data(), 1, text.size(), out) == text.size();
    if (std::fclose(out) != 0 || !ok) throw Failure(path + ": cannot write");
}

// ---- segment --------------------------------------------------------------------------------

struct SegmentOptions {
    BatchOptions batch;
    std::string op;
    int grid = 1;
    double scale = -1, tolerance = 10;
    int regions = 50;
    bool four = false;
    std::vector<std::string> seeds;
};

/// The approximation's file name: the labels' name with "-approx" before the extension.
std::string approx_name(const std::string& labels) {
    const std::size_t dot = labels.find_last_of('.'), slash = labels.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return labels + "-approx";
    return labels.substr(0, dot) + "-approx" + labels.substr(dot);
}

_sint32_mat seeds_of(const SegmentOptions& o) {
    if (o.seeds.empty()) throw Failure("seeded: give at least one --seed ROW,COL");
    _univ_mat s = make(int32_t(o.seeds.size()), 2, MUTIL_SINT32);
    int32_t* v = static_cast<int32_t*>(s.data);
    for (std::size_t i = 0; i < o.seeds.size(); ++i)
        if (std::sscanf(o.seeds[i].c_str(), "%d,%d", &v[2 * i], &v[2 * i + 1]) != 2)
            throw Failure("--seed takes ROW,COL, not " + o.seeds[i]);
    return typed<_sint32_mat>(s);
}

/// Labels and the piecewise-constant approximation (region means, in the input's element type
/// for integer inputs; seeded growing keeps the pixels outside every region).
void segment(const SegmentOptions& o, const std::string& in) {
    Data d = load(in), approx;
    const _univ_mat& first = d.grey();
    _univ_mat labels = make(first.nrow, first.ncol, MUTIL_UINT32);
    int32_t count = 0;
    if (o.op == "klm") {
        const double scale = o.scale < 0 ? INFINITY : o.scale;
        std::vector<_univ_mat> planes;
        for (std::size_t i = 0; i < d.planes.size(); ++i) planes.push_back(make(first.nrow, first.ncol, MUTIL_DOUBLE));
        if (d.planes.size() == 1) {
            check(mutils::imguniv_region_grow_klm(&first, o.grid, o.grid, scale, o.regions, nullptr, &labels,
                                                  &planes[0], &count));
        } else {
            int32_t dims[1] = {int32_t(d.planes.size())};
            _mat_set bands{1, dims, dims[0], d.planes.data()}, out{1, dims, dims[0], planes.data()};
            _uint32_mat l = typed<_uint32_mat>(labels);
            check(mutils::imgset_region_grow_klm(&bands, o.grid, o.grid, scale, o.regions, nullptr, &l, &out, &count));
        }
        approx.planes = planes;
    } else {
        const _sint32_mat seeds = seeds_of(o);
        check(mutils::imguniv_region_grow_seeded(&first, &seeds, o.tolerance,
                                                 o.four ? IMG_CONNECT_FOUR : IMG_CONNECT_EIGHT, nullptr, &labels));
        count = seeds.nrow;
        // Region means over the pixels each seed kept.
        _univ_mat grey = to_double(first);
        double* g = static_cast<double*>(grey.data);
        const uint32_t* l = static_cast<const uint32_t*>(labels.data);
        std::vector<double> sum(std::size_t(count) + 1, 0.0), n(std::size_t(count) + 1, 0.0);
        for (int32_t i = 0; i < grey.nelem; ++i) sum[l[i]] += g[i], n[l[i]] += 1;
        for (int32_t i = 0; i < grey.nelem; ++i)
            if (l[i]) g[i] = sum[l[i]] / n[l[i]];
        approx.planes.push_back(grey);
    }
    for (std::size_t i = 0; i < approx.planes.size(); ++i)
        if (d.planes[i].type != MUTIL_DOUBLE) {
            _univ_mat back = make(first.nrow, first.ncol, d.planes[i].type);
            mutils::matuniv_cast(&approx.planes[i], 1, nullptr, &back);
            approx.planes[i] = back;
        }
    std::printf("%s: %d regions\n", in.c_str(), count);
    const std::string path = output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension("pgm"));
    Data lab;
    lab.planes.push_back(labels);
    save(path, lab, o.batch.save());
    save(approx_name(path), approx, o.batch.save());
}

}  // namespace

void register_shape_commands(CLI::App& app) {
    auto m = std::make_shared<MeasureOptions>();
    auto* me = app.add_subcommand("measure", "Region features of a label image or a mask, as CSV");
    add_batch_options(me, m->batch, false);
    me->add_flag("--mask", m->mask, "The input is a mask: its non-zero pixels' connected components are the regions");
    me->add_flag("--four", m->four, "--mask: four neighbours instead of eight");
    me->footer("Columns: label, " + [] {
        std::string s;
        for (const char* n : kFeatureNames) s += std::string(s.empty() ? "" : ", ") + n;
        return s;
    }() + ". Without -o the tables go to standard output.");
    me->callback([m] {
        finish(run_batch("measure", m->batch.inputs, m->batch.jobs, [m](const std::string& i) { measure(*m, i); }));
    });

    auto s = std::make_shared<SegmentOptions>();
    auto* se = app.add_subcommand("segment", "Region merging (klm) or seeded growing: labels and region means");
    se->add_option("method", s->op, "klm or seeded")->required()->check(CLI::IsMember({"klm", "seeded"}));
    add_batch_options(se, s->batch);
    se->add_option("--grid", s->grid, "klm: initial square blocks of this size (default 1)")
        ->check(CLI::Range(1, 1 << 30));
    se->add_option("--scale", s->scale, "klm: largest merging scale (default: no limit)");
    se->add_option("--regions", s->regions, "klm: regions to keep at least (default 50)")
        ->check(CLI::Range(1, 1 << 30));
    se->add_option("--seed", s->seeds, "seeded: a seed pixel ROW,COL (repeat for more)");
    se->add_option("--tolerance", s->tolerance, "seeded: largest difference from the seed's value (default 10)");
    se->add_flag("--four", s->four, "seeded: four neighbours instead of eight");
    se->footer("The labels go to the output; the approximation beside it, named with -approx before the extension.");
    se->callback([s] {
        finish(run_batch("segment", s->batch.inputs, s->batch.jobs, [s](const std::string& i) { segment(*s, i); }));
    });
}

}  // namespace cli
