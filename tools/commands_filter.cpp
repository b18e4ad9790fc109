// Neighbourhood filter and colour subcommands: filter (mean, variance, wiener, quantile, median)
// and color (gray, convert, palette).
#include <cmath>
#include <memory>

#include "cli.h"

namespace cli {

using namespace mutils;

namespace {

// ---- filters --------------------------------------------------------------------------------

struct FilterOptions {
    BatchOptions batch;
    std::string op;
    int rows = 3, cols = 3, size = 0;
    int border = 3;
    double noise = -1, quantile = 0.5;
};

/// Filters every plane of the input on its own; the result keeps the plane's type (variance:
/// double, written stretched to 8 bits for viewing).
void filter(const FilterOptions& o, const std::string& in) {
    Data d = load(in), out;
    const int32_t wr = o.size ? o.size : o.rows, wc = o.size ? o.size : o.cols;
    const auto b = static_cast<_mutil_boundary_type>(o.border);
    for (const _univ_mat& p : d.planes) {
        _univ_mat r = make(p.nrow, p.ncol, o.op == "variance" ? MUTIL_DOUBLE : p.type);
        if (o.op == "mean")
            check(mutils::imguniv_filter_local_mean(&p, wr, wc, b, nullptr, &r));
        else if (o.op == "variance")
            check(mutils::imguniv_filter_local_variance(&p, wr, wc, b, nullptr, &r));
        else if (o.op == "wiener")
            check(mutils::imguniv_filter_wiener(&p, wr, wc, o.noise, b, nullptr, &r));
        else
            check(mutils::imguniv_filter_quantile(&p, wr, wc, o.op == "median" ? 0.5 : o.quantile, b, nullptr, &r));
        out.planes.push_back(r);
    }
    save(output_for(in, o.batch.output, o.batch.inputs.size(), image_ext(out.planes.size())), out);
}

// ---- colour ---------------------------------------------------------------------------------

struct ColorOptions {
    BatchOptions batch;
    std::string op;
    std::string from = "rgb", to = "hsv";
    std::string palette;
    int levels = 4;
};

_img_color_space space_of(const std::string& name) {
    const char* names[] = {"rgb", "hsv", "ycbcr", "xyz", "lab"};
    for (int i = 0; i < 5; ++i)
        if (name == names[i]) return static_cast<_img_color_space>(i);
    throw Failure("unknown colour space " + name);
}

_mat_set set_of(std::vector<_univ_mat>& planes) {
    _mat_set s;
    int32_t n = int32_t(planes.size());
    mutils::matset_malloc(&s, 1, &n);
    for (int32_t i = 0; i < n; ++i) s.mats[i] = planes[i];
    return s;
}

/// The palette of a file (K x 3 or K x 1 matrix), or the levels^3 colours of a uniform RGB
/// cube in the planes' units.
_univ_mat palette_for(const ColorOptions& o, const _univ_mat& plane) {
    if (!o.palette.empty()) return to_double(load(o.palette).grey());
    if (o.levels < 2 || o.levels > 40) throw Failure("--levels must lie in 2 ... 40");
    const double full = plane.type == MUTIL_UINT8 ? 255 : plane.type == MUTIL_UINT16 ? 65535 : 1;
    const int32_t n = o.levels, k = n * n * n;
    _univ_mat p = make(k, 3, MUTIL_DOUBLE);
    double* v = static_cast<double*>(p.data);
    for (int32_t i = 0; i < k; ++i) {
        v[3 * i] = full * (i / (n * n)) / (n - 1);
        v[3 * i + 1] = full * (i / n % n) / (n - 1);
        v[3 * i + 2] = full * (i % n) / (n - 1);
    }
    return p;
}

void color(const ColorOptions& o, const std::string& in) {
    Data d = load(in), out;
    _mat_set s = set_of(d.planes);
    const _univ_mat& first = d.planes.at(0);
    if (o.op == "gray") {
        _univ_mat g = make(first.nrow, first.ncol, first.type);
        check(mutils::imgset_color_to_grayscale(&s, nullptr, &g));
        out.planes.push_back(g);
    } else if (o.op == "convert") {
        // RGB output keeps integer planes; every other space is written in double.
        const _img_color_space from = space_of(o.from), to = space_of(o.to);
        const bool keep = to == IMG_COLOR_RGB && from == IMG_COLOR_RGB;
        const _mutil_data_type type = keep                                           ? first.type
                                      : to == IMG_COLOR_RGB && from != IMG_COLOR_RGB ? MUTIL_UINT8
                                                                                     : MUTIL_DOUBLE;
        for (int i = 0; i < 3; ++i) out.planes.push_back(make(first.nrow, first.ncol, type));
        _mat_set r = set_of(out.planes);
        check(mutils::imgset_color_convert(&s, from, to, nullptr, &r));
    } else {
        const _univ_mat palette = palette_for(o, first);
        _univ_mat index = make(first.nrow, first.ncol, MUTIL_UINT32);
        check(mutils::imgset_color_to_palette(&s, &palette, nullptr, &index));
        for (int32_t i = 0; i < palette.ncol; ++i) out.planes.push_back(make(first.nrow, first.ncol, MUTIL_DOUBLE));
        _mat_set r = set_of(out.planes);
        check(mutils::imgset_color_from_palette(&index, &palette, nullptr, &r));
        std::printf("%s: %d colours\n", in.c_str(), palette.nrow);
    }
    const bool image = out.planes[0].type != MUTIL_DOUBLE || o.op == "palette";
    save(output_for(in, o.batch.output, o.batch.inputs.size(), image ? image_ext(out.planes.size()) : "mat"), out);
}

}  // namespace

void register_filter_commands(CLI::App& app) {
    auto f = std::make_shared<FilterOptions>();
    auto* fi = app.add_subcommand("filter", "Neighbourhood filters: local mean, variance, Wiener, quantile, median");
    fi->add_option("operation", f->op, "mean variance wiener quantile median")
        ->required()
        ->check(CLI::IsMember({"mean", "variance", "wiener", "quantile", "median"}));
    add_batch_options(fi, f->batch);
    fi->add_option("--rows", f->rows, "Window rows (default 3)")->check(CLI::Range(1, 100000));
    fi->add_option("--cols", f->cols, "Window columns (default 3)")->check(CLI::Range(1, 100000));
    fi->add_option("--size", f->size, "Square window (sets rows and columns)")->check(CLI::Range(1, 100000));
    fi->add_option("--border", f->border,
                   "0 zero, 1 periodic, 2 reflect, 3 replicate (default 3; mean, variance "
                   "and wiener take 0 or 3)");
    fi->add_option("--noise", f->noise, "wiener: noise variance (default: the mean local variance)");
    fi->add_option("-q,--quantile", f->quantile, "quantile: 0 minimum, 0.5 median, 1 maximum (default 0.5)");
    fi->callback([f] {
        finish(run_batch("filter", f->batch.inputs, f->batch.jobs, [f](const std::string& i) { filter(*f, i); }));
    });

    auto c = std::make_shared<ColorOptions>();
    auto* co = app.add_subcommand("color", "Colour images: grey levels, colour spaces, palettes");
    co->add_option("operation", c->op, "gray convert palette")
        ->required()
        ->check(CLI::IsMember({"gray", "convert", "palette"}));
    add_batch_options(co, c->batch);
    co->add_option("--from", c->from, "convert: space of the input (rgb hsv ycbcr xyz lab; default rgb)");
    co->add_option("--to", c->to, "convert: space of the output (default hsv; other than rgb written as .mat)");
    co->add_option("--palette", c->palette, "palette: matrix file of colours, one per row");
    co->add_option("--levels", c->levels, "palette: levels per channel of a uniform palette (default 4)");
    co->callback([c] {
        finish(run_batch("color", c->batch.inputs, c->batch.jobs, [c](const std::string& i) { color(*c, i); }));
    });
}

}  // namespace cli
