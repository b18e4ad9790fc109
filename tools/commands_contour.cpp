// Contour and polygon subcommands: contour (snake, greedy), path, and polygon (features,
// simplify, resample, smooth, render).
#include <cmath>
#include <memory>

#include "cli.h"

namespace cli {

using namespace mutils;

namespace {

_double_mat as_double_mat(const _univ_mat& m) { return typed<_double_mat>(m.type == MUTIL_DOUBLE ? m : to_double(m)); }

/// A polygon file: a matrix of two columns, (row, column) per line.
_double_mat load_polygon(const std::string& path) {
    const Data d = load(path);
    const _double_mat p = as_double_mat(d.grey());
    if (p.ncol != 2) throw Failure(path + ": a polygon file has two columns, row and column");
    return p;
}

Data one(const _univ_mat& m) { return Data{{m}}; }
Data one(const _double_mat& m) { return Data{{_univ_mat{m.nrow, m.ncol, m.nelem, m.data, MUTIL_DOUBLE}}}; }

/// The input as an 8-bit picture with a polyline drawn over it in white.
void save_drawing(const std::string& path, const _univ_mat& image, const _double_mat& line, bool closed) {
    _univ_mat view = to_viewable(image);
    check(mutils::pgnuniv_render_lines(&line, scalar_of(MUTIL_UINT8, 255), closed, nullptr, &view));
    save(path, one(view));
}

// ---- snakes ---------------------------------------------------------------------------------

struct ContourOptions {
    BatchOptions batch;
    std::string op, init, draw;
    double line = 0.0, edge = 1.0, sigma = 2.0;
    double alpha = 0.01, beta = 0.1, gamma = 0.01, max_move = 1.0, convergence = 0.1;
    int iterations = 2500, points = 100, window = 5;
    bool open = false;
    std::string boundary = "periodic";
};

/// The potential the snake climbs: line I + edge |gradient of the Gaussian-smoothed I|, with I
/// scaled to [0, 1].
_double_mat potential_of(const ContourOptions& o, const _univ_mat& image) {
    _univ_mat scaled = make(image.nrow, image.ncol, MUTIL_DOUBLE);
    check(mutils::matuniv_rescale(&image, scalar_of(MUTIL_DOUBLE, 0), scalar_of(MUTIL_DOUBLE, 1), nullptr, &scaled));
    _univ_mat v = make(image.nrow, image.ncol, MUTIL_DOUBLE), h = make(image.nrow, image.ncol, MUTIL_DOUBLE);
    if (o.edge != 0) check(mutils::imguniv_filter_derivative_of_gaussian(&scaled, o.sigma, nullptr, &v, &h));
    _double_mat p = typed<_double_mat>(scaled);
    const double *dv = static_cast<double*>(v.data), *dh = static_cast<double*>(h.data);
    for (int32_t i = 0; i < p.nelem; ++i)
        p.data[i] = o.line * p.data[i] + (o.edge != 0 ? o.edge * std::hypot(dv[i], dh[i]) : 0.0);
    return p;
}

/// The starting snake: a file, or a circle of `points` points around the image centre.
_double_mat initial_snake(const ContourOptions& o, const _univ_mat& image) {
    if (!o.init.empty()) return load_polygon(o.init);
    _univ_mat c = make(o.points, 2, MUTIL_DOUBLE);
    double* v = static_cast<double*>(c.data);
    const double r0 = (image.nrow - 1) / 2.0, c0 = (image.ncol - 1) / 2.0,
                 radius = 0.45 * std::min(image.nrow, image.ncol);
    for (int32_t i = 0; i < o.points; ++i) {
        const double t = 2 * std::acos(-1.0) * i / o.points;
        v[2 * i] = r0 - radius * std::sin(t), v[2 * i + 1] = c0 + radius * std::cos(t);
    }
    return typed<_double_mat>(c);
}

_img_snake_boundary boundary_of(const std::string& name) {
    const char* names[] = {"periodic", "free", "fixed", "free-fixed", "fixed-free"};
    for (int i = 0; i < 5; ++i)
        if (name == names[i]) return static_cast<_img_snake_boundary>(i);
    throw Failure("unknown boundary " + name);
}

void contour(const ContourOptions& o, const std::string& in) {
    const _univ_mat image = load(in).grey();
    const _double_mat p = potential_of(o, image), s = initial_snake(o, image);
    _univ_mat r = make(s.nrow, 2, MUTIL_DOUBLE);
    _double_mat result = typed<_double_mat>(r);
    int32_t done = 0;
    const bool closed = o.op == "greedy" ? !o.open : o.boundary == "periodic";
    if (o.op == "snake")
        check(mutils::imgdbl_active_contour(&p, &s, o.alpha, o.beta, o.gamma, o.max_move, o.iterations, o.convergence,
                                            boundary_of(o.boundary), nullptr, &result, &done));
    else
        check(mutils::imgdbl_active_contour_greedy(&p, &s, o.alpha, o.beta, o.gamma, o.window, 0.25, 0.0, o.iterations,
                                                   0.02, closed, nullptr, &result, &done));
    std::printf("%s: %d iterations\n", in.c_str(), done);
    const std::size_t n = o.batch.inputs.size();
    save(output_for(in, o.batch.output, n, o.batch.extension("txt")), one(result), o.batch.save());
    if (!o.draw.empty()) save_drawing(output_for(in, o.draw, n, "pgm"), image, result, closed);
}

// ---- paths ----------------------------------------------------------------------------------

struct PathOptions {
    BatchOptions batch;
    std::vector<int> from, to;
    std::string draw, cheap = "dark";
};

void path(const PathOptions& o, const std::string& in) {
    const _univ_mat image = load(in).grey();
    _double_mat cost = as_double_mat(image);
    if (o.cheap == "bright") {  // cost = max - value, so bright pixels are cheap
        double hi = 0;
        for (int32_t i = 0; i < cost.nelem; ++i) hi = std::max(hi, cost.data[i]);
        _univ_mat c = make(cost.nrow, cost.ncol, MUTIL_DOUBLE);
        double* v = static_cast<double*>(c.data);
        for (int32_t i = 0; i < cost.nelem; ++i) v[i] = hi - cost.data[i];
        cost = typed<_double_mat>(c);
    }
    _sint32_mat route;
    double total = 0;
    check(mutils::imgdbl_minimal_path(&cost, o.from[0], o.from[1], o.to[0], o.to[1], nullptr, &route, &total));
    std::printf("%s: %d pixels, cost %.17g\n", in.c_str(), route.nrow, total);
    _univ_mat r = make(route.nrow, 2, MUTIL_DOUBLE), s{route.nrow, 2, route.nelem, route.data, MUTIL_SINT32};
    mutils::matuniv_cast(&s, 0, nullptr, &r);
    const std::size_t n = o.batch.inputs.size();
    save(output_for(in, o.batch.output, n, o.batch.extension("txt")), one(r), o.batch.save());
    if (!o.draw.empty()) save_drawing(output_for(in, o.draw, n, "pgm"), image, typed<_double_mat>(r), false);
}

// ---- polygons -------------------------------------------------------------------------------

struct PolygonOptions {
    BatchOptions batch;
    std::string op;
    double tolerance = 1.0, sigma = 1.0;
    int points = 100, rows = 0, cols = 0;
    bool open = false, outline = false;
};

void polygon(const PolygonOptions& o, const std::string& in) {
    const _double_mat p = load_polygon(in);
    const unsigned char closed = o.open ? 0 : 1;
    Data out;
    std::string ext = "txt";
    if (o.op == "features") {
        _univ_mat f = make(16, 1, MUTIL_DOUBLE);
        _double_mat ft = typed<_double_mat>(f);
        check(mutils::pgndbl_shape_features(&p, nullptr, &ft));
        const char* names[] = {"area",      "perimeter", "centroid_row", "centroid_col", "min_row",    "min_col",
                               "max_row",   "max_col",   "orientation",  "major_axis",   "minor_axis", "eccentricity",
                               "hull_area", "solidity",  "circularity",  "winding"};
        if (o.batch.output.empty()) {
            for (int i = 0; i < 16; ++i) std::printf("%s %s %.17g\n", in.c_str(), names[i], ft.data[i]);
            return;
        }
        out = one(ft);
    } else if (o.op == "simplify") {
        _double_mat s;
        check(mutils::pgndbl_simplify(&p, o.tolerance, closed, nullptr, &s));
        out = one(s);
    } else if (o.op == "resample") {
        if (o.points < 2) throw Failure("--points must be 2 or more");
        _univ_mat r = make(o.points, 2, MUTIL_DOUBLE);
        _double_mat rt = typed<_double_mat>(r);
        check(mutils::pgndbl_resample(&p, closed, nullptr, &rt));
        out = one(rt);
    } else if (o.op == "smooth") {
        _univ_mat r = make(p.nrow, 2, MUTIL_DOUBLE);
        _double_mat rt = typed<_double_mat>(r);
        check(mutils::pgndbl_smooth(&p, o.sigma, closed, nullptr, &rt));
        out = one(rt);
    } else {
        // Render: an image just large enough for the polygon unless the size is given.
        int32_t rows = o.rows, cols = o.cols;
        for (int32_t i = 0; i < p.nrow; ++i) {
            if (!o.rows) rows = std::max(rows, int32_t(std::min(std::floor(p.data[2 * i] + 0.5) + 2, 65536.0)));
            if (!o.cols) cols = std::max(cols, int32_t(std::min(std::floor(p.data[2 * i + 1] + 0.5) + 2, 65536.0)));
        }
        _univ_mat image = make(std::max(rows, 1), std::max(cols, 1), MUTIL_UINT8);
        std::fill_n(static_cast<unsigned char*>(image.data), image.nelem, 0);
        if (o.outline)
            check(mutils::pgnuniv_render_lines(&p, scalar_of(MUTIL_UINT8, 255), closed, nullptr, &image));
        else
            check(mutils::pgnuniv_render_region(&p, scalar_of(MUTIL_UINT8, 255), nullptr, &image));
        out = one(image);
        ext = "pgm";
    }
    if (o.batch.output.empty()) throw Failure("polygon " + o.op + " needs -o");
    save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension(ext)), out, o.batch.save());
}

}  // namespace

void register_contour_commands(CLI::App& app) {
    auto c = std::make_shared<ContourOptions>();
    auto* co = app.add_subcommand(
        "contour", "Active contours: a snake pulled onto the edges of each image, written as a polygon file");
    co->add_option("operation", c->op, "snake (Kass-Witkin-Terzopoulos) or greedy (Williams-Shah)")
        ->required()
        ->check(CLI::IsMember({"snake", "greedy"}));
    add_batch_options(co, c->batch);
    co->add_option("--init", c->init, "Starting polygon file (default: a circle around the image centre)");
    co->add_option("--points", c->points, "Points of the default circle (default 100)")->check(CLI::Range(3, 100000));
    co->add_option("--draw", c->draw, "Also write the image with the contour drawn over it (file or directory)");
    co->add_option("--line", c->line, "Weight of the image itself in the potential (default 0)");
    co->add_option("--edge", c->edge, "Weight of the gradient magnitude in the potential (default 1)");
    co->add_option("--sigma", c->sigma, "Smoothing of the gradient, in pixels (default 2)");
    co->add_option("--alpha", c->alpha, "Continuity weight (default 0.01)");
    co->add_option("--beta", c->beta, "Curvature weight (default 0.1)");
    co->add_option("--gamma", c->gamma, "snake: time step; greedy: potential weight (default 0.01)");
    co->add_option("--max-move", c->max_move, "snake: largest move per iteration in pixels (default 1)");
    co->add_option("--convergence", c->convergence, "snake: convergence threshold (default 0.1)");
    co->add_option("--boundary", c->boundary, "snake: periodic free fixed free-fixed fixed-free (default periodic)")
        ->check(CLI::IsMember({"periodic", "free", "fixed", "free-fixed", "fixed-free"}));
    co->add_option("--window", c->window, "greedy: odd neighbourhood size (default 5)");
    co->add_flag("--open", c->open, "greedy: an open contour (ends fixed)");
    co->add_option("--iterations", c->iterations, "Most iterations (default 2500)")->check(CLI::Range(1, 1 << 30));
    co->callback([c] {
        finish(run_batch("contour", c->batch.inputs, c->batch.jobs, [c](const std::string& i) { contour(*c, i); }));
    });

    auto p = std::make_shared<PathOptions>();
    auto* pa = app.add_subcommand(
        "path", "Least-cost path between two pixels of a cost image (8 neighbours), written as a polygon file");
    add_batch_options(pa, p->batch);
    pa->add_option("--from", p->from, "Start pixel: row column")->required()->expected(2);
    pa->add_option("--to", p->to, "End pixel: row column")->required()->expected(2);
    pa->add_option("--cheap", p->cheap, "dark: the pixel value is the cost (default); bright: max - value")
        ->check(CLI::IsMember({"dark", "bright"}));
    pa->add_option("--draw", p->draw, "Also write the image with the path drawn over it (file or directory)");
    pa->callback(
        [p] { finish(run_batch("path", p->batch.inputs, p->batch.jobs, [p](const std::string& i) { path(*p, i); })); });

    auto g = std::make_shared<PolygonOptions>();
    auto* po = app.add_subcommand("polygon",
                                  "Polygon files (row column per line): features, simplify, resample, "
                                  "smooth, render");
    po->add_option("operation", g->op, "features simplify resample smooth render")
        ->required()
        ->check(CLI::IsMember({"features", "simplify", "resample", "smooth", "render"}));
    add_batch_options(po, g->batch, false);
    po->add_flag("--open", g->open, "An open polyline (no edge from the last vertex to the first)");
    po->add_option("--tolerance", g->tolerance, "simplify: largest distance dropped, in pixels (default 1)");
    po->add_option("--points", g->points, "resample: points of the result (default 100)");
    po->add_option("--sigma", g->sigma, "smooth: Gaussian sigma, in vertices (default 1)");
    po->add_option("--rows", g->rows, "render: image rows (default: enough for the polygon)")
        ->check(CLI::Range(1, 65536));
    po->add_option("--cols", g->cols, "render: image columns (default: enough for the polygon)")
        ->check(CLI::Range(1, 65536));
    po->add_flag("--outline", g->outline, "render: draw the edges rather than fill the region");
    po->callback([g] {
        finish(run_batch("polygon", g->batch.inputs, g->batch.jobs, [g](const std::string& i) { polygon(*g, i); }));
    });
}

}  // namespace cli
