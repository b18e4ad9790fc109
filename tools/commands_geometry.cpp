// Geometric transform subcommands: rotate, scale (by size or factor) and warp (by coefficients or
// by a tie-point file). Every plane of an input goes through the set member, keeping its type.
#include <cmath>
#include <memory>
#include <numbers>

#include "cli.h"

namespace cli {

using namespace mutils;

namespace {

struct GeometryOptions {
    BatchOptions batch;
    std::string interp = "bilinear";
    double fill = 0;
    double angle = 0;          // rotate
    bool expand = false;       // rotate: the whole rotated image
    int rows = 0, cols = 0;    // scale, warp: result size
    double factor = 0;         // scale
    std::string coefficients;  // warp
    std::string tiepoints;     // warp
    int degree = 1;            // warp
};

_img_interp_type interp_of(const std::string& name) {
    const char* names[] = {"nearest", "bilinear", "bicubic", "area"};
    for (int i = 0; i < 4; ++i)
        if (name == names[i]) return static_cast<_img_interp_type>(i);
    throw Failure("unknown interpolation " + name);
}

_mat_set set_of(std::vector<_univ_mat>& planes) {
    _mat_set s;
    int32_t n = int32_t(planes.size());
    mutils::matset_malloc(&s, 1, &n);
    for (int32_t i = 0; i < n; ++i) s.mats[i] = planes[i];
    return s;
}

/// The result's size: rotate keeps the image's or, expanded, holds the whole rotated image;
/// scale takes --rows/--cols or the factor; warp takes --rows/--cols or the image's.
std::pair<int32_t, int32_t> size_for(const GeometryOptions& o, const std::string& op, const _univ_mat& p) {
    if (op == "rotate" && o.expand) {
        const double a = o.angle * std::numbers::pi / 180.0, c = std::fabs(std::cos(a)), s = std::fabs(std::sin(a));
        // Within rounding of a whole number counts as that number (quarter turns stay exact).
        auto fit = [](double v) { return int32_t(std::ceil(v - 1e-9)); };
        return {fit(p.ncol * s + p.nrow * c), fit(p.ncol * c + p.nrow * s)};
    }
    if (op == "scale" && o.factor > 0)
        return {std::max(1, int32_t(std::lround(p.nrow * o.factor))),
                std::max(1, int32_t(std::lround(p.ncol * o.factor)))};
    if (op == "scale" && (o.rows <= 0 || o.cols <= 0)) throw Failure("scale needs --factor or --rows and --cols");
    return {o.rows > 0 ? o.rows : p.nrow, o.cols > 0 ? o.cols : p.ncol};
}

void transform(const GeometryOptions& o, const std::string& op, const std::string& in) {
    Data d = load(in), out;
    const auto [nr, nc] = size_for(o, op, d.planes.at(0));
    for (const _univ_mat& p : d.planes) out.planes.push_back(make(nr, nc, p.type));
    _mat_set s = set_of(d.planes), r = set_of(out.planes);
    const _img_interp_type interp = interp_of(o.interp);
    if (op == "rotate") {
        check(mutils::imgset_rotate(&s, o.angle, interp, o.fill, nullptr, &r));
    } else if (op == "scale") {
        check(mutils::imgset_scale(&s, interp, nullptr, &r));
    } else if (!o.tiepoints.empty()) {
        const _univ_mat ties = to_double(load(o.tiepoints).grey());
        const auto* t = reinterpret_cast<const _double_mat*>(&ties);
        _univ_mat coef = make(2, (o.degree + 1) * (o.degree + 2) / 2, MUTIL_DOUBLE);
        double rms = 0;
        if (o.degree >= 1 && o.degree <= 3)
            check(mutils::imgdbl_warp_tiepoint_fit(t, o.degree, nullptr, reinterpret_cast<_double_mat*>(&coef), &rms));
        check(mutils::imgset_warp_tiepoint(&s, t, o.degree, interp, o.fill, nullptr, &r));
        std::printf("%s: rms residual %.6g pixels\n", in.c_str(), rms);
    } else {
        const _univ_mat coef = to_double(load(o.coefficients).grey());
        check(mutils::imgset_warp_parameter(&s, reinterpret_cast<const _double_mat*>(&coef), interp, o.fill, nullptr,
                                            &r));
    }
    save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension(image_ext(out.planes.size()))), out);
}

/// Options every transform takes; `area` says whether the area interpolation is offered.
void add_common(CLI::App* sub, GeometryOptions& o, bool area) {
    add_batch_options(sub, o.batch);
    sub->add_option(
           "--interp", o.interp,
           area ? "nearest bilinear bicubic area (default bilinear)" : "nearest bilinear bicubic (default bilinear)")
        ->check(area ? CLI::IsMember({"nearest", "bilinear", "bicubic", "area"})
                     : CLI::IsMember({"nearest", "bilinear", "bicubic"}));
}

}  // namespace

void register_geometry_commands(CLI::App& app) {
    auto run = [](const char* name, std::shared_ptr<GeometryOptions> o) {
        return [name, o] {
            finish(run_batch(name, o->batch.inputs, o->batch.jobs,
                             [name, o](const std::string& i) { transform(*o, name, i); }));
        };
    };

    auto r = std::make_shared<GeometryOptions>();
    auto* ro = app.add_subcommand("rotate", "Rotate images counter-clockwise about their centre");
    add_common(ro, *r, false);
    ro->add_option("-a,--angle", r->angle, "Angle in degrees, counter-clockwise as displayed")->required();
    ro->add_option("--fill", r->fill, "Value outside the image (default 0)");
    ro->add_flag("--expand", r->expand, "Hold the whole rotated image (default: keep the size, cropping)");
    ro->callback(run("rotate", r));

    auto s = std::make_shared<GeometryOptions>();
    auto* so = app.add_subcommand("scale", "Resize images to a size or by a factor");
    add_common(so, *s, true);
    so->add_option("--rows", s->rows, "Result rows")->check(CLI::Range(1, 1 << 20));
    so->add_option("--cols", s->cols, "Result columns")->check(CLI::Range(1, 1 << 20));
    so->add_option("-f,--factor", s->factor, "Scale both sides by this factor (rounded to whole pixels)")
        ->check(CLI::Range(1e-6, 1e6));
    so->callback(run("scale", s));

    auto w = std::make_shared<GeometryOptions>();
    auto* wo = app.add_subcommand("warp", "Warp images by polynomial or projective coefficients, or by tie points");
    add_common(wo, *w, false);
    auto* coef = wo->add_option("--coefficients", w->coefficients,
                                "Matrix file: 2 x 3, 2 x 6 or 2 x 10 polynomial (result row, column to source) "
                                "or 3 x 3 projective");
    auto* ties = wo->add_option("--tiepoints", w->tiepoints,
                                "Matrix file, one tie point a row: output row, output column, input row, input column");
    coef->excludes(ties);
    wo->add_option("--degree", w->degree, "Polynomial degree fitted to the tie points, 1 ... 3 (default 1)");
    wo->add_option("--rows", w->rows, "Result rows (default the input's)")->check(CLI::Range(1, 1 << 20));
    wo->add_option("--cols", w->cols, "Result columns (default the input's)")->check(CLI::Range(1, 1 << 20));
    wo->add_option("--fill", w->fill, "Value outside the image (default 0)");
    wo->callback([w, run] {
        if (w->coefficients.empty() && w->tiepoints.empty())
            throw CLI::ValidationError("give --coefficients or --tiepoints");
        run("warp", w)();
    });
}

}  // namespace cli
