// Image subcommands: edges, morph, label, threshold, distance, hull, chain, flow.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "cli.h"

namespace cli {

using namespace mutils;

namespace {

/// One grey plane: colour planes are averaged (in double).
_univ_mat grey_of(const Data& d) {
    if (d.planes.size() == 1) return d.planes[0];
    _univ_mat sum = to_double(d.planes[0]);
    double* s = static_cast<double*>(sum.data);
    for (std::size_t p = 1; p < d.planes.size(); ++p) {
        if (d.planes[p].nrow != sum.nrow || d.planes[p].ncol != sum.ncol) throw Failure("planes differ in size");
        _univ_mat x = to_double(d.planes[p]);
        const double* q = static_cast<const double*>(x.data);
        for (int32_t i = 0; i < sum.nelem; ++i) s[i] += q[i];
    }
    for (int32_t i = 0; i < sum.nelem; ++i) s[i] /= double(d.planes.size());
    return sum;
}

/// Binary operations want a binary image of a supported type: anything else is turned into
/// one (pixels above `level` are foreground 255, others 0, as u8).
_univ_mat binary_of(const _univ_mat& m, double fg, double level) {
    // Already two-valued (background 0 and the foreground value) in a type the binary operations
    // take: used as it is. A 0/1 mask (what the thresholds write) gets the foreground value for
    // its ones; anything else is cut at `level`.
    bool supported =
        m.type == MUTIL_UINT8 || m.type == MUTIL_UINT16 || m.type == MUTIL_SINT32 || m.type == MUTIL_DOUBLE;
    _univ_mat d = to_double(m);
    const double* p = static_cast<const double*>(d.data);
    bool two_valued = true, zero_one = true;
    for (int32_t i = 0; i < d.nelem; ++i) {
        two_valued = two_valued && (p[i] == 0 || p[i] == fg);
        zero_one = zero_one && (p[i] == 0 || p[i] == 1);
    }
    if (two_valued && supported) return m;
    if (fg < 1 || fg > 255) throw Failure("the foreground value of a non-binary image must lie in 1 ... 255");
    _univ_mat out = make(m.nrow, m.ncol, MUTIL_UINT8);
    auto* q = static_cast<unsigned char*>(out.data);
    const double cut = zero_one ? 0.5 : level;
    for (int32_t i = 0; i < d.nelem; ++i) q[i] = p[i] > cut ? static_cast<unsigned char>(fg) : 0;
    return out;
}

Data single(const _univ_mat& m) {
    Data d;
    d.planes.push_back(m);
    return d;
}

// ---- edges ----------------------------------------------------------------------------------

struct EdgeOptions {
    BatchOptions batch;
    std::string method = "canny";
    double sigma = 1.5, low = 4.0, high = 10.0;
};

void edges(const EdgeOptions& o, const std::string& in) {
    _univ_mat g = to_double(grey_of(load(in)));
    _univ_mat r = make(g.nrow, g.ncol, MUTIL_UINT8);
    _univ_scalar fg = scalar_u8(255), bg = scalar_u8(0);
    if (o.method == "canny") {
        check(mutils::imguniv_edge_canny(&g, o.sigma, o.low, o.high, fg, bg, nullptr, &r));
    } else {
        check(mutils::imguniv_edge_sobel(&g, o.low, o.high, fg, bg, nullptr, &r));
    }
    save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension("pgm")), single(r), o.batch.save());
}

// ---- morphology -------------------------------------------------------------------------------

struct MorphOptions {
    BatchOptions batch;
    std::string op = "erode";
    std::string element = "disk";
    double radius = 2.0;
    int height = 3, width = 3;
    double foreground = 255, level = 127.5;
    bool grey = false;
    int border = 3;
};

_univ_mat structuring_element(const MorphOptions& o, _mutil_data_type type, int32_t& orow, int32_t& ocol) {
    _univ_mat se;
    if (o.element == "disk") {
        int32_t r = int32_t(std::floor(o.radius));
        se = make(2 * r + 1, 2 * r + 1, type);
        check(mutils::imguniv_generate_disk(r, r, o.radius, scalar_of(type, 1), scalar_of(type, 0), nullptr, &se));
        orow = ocol = r;
    } else {
        se = make(o.height, o.width, type);
        check(mutils::imguniv_generate_rectangle(0, 0, o.height, o.width, scalar_of(type, 1), scalar_of(type, 0),
                                                 nullptr, &se));
        orow = o.height / 2;
        ocol = o.width / 2;
    }
    if (o.grey) {
        // A flat grey-scale element: every member adds or subtracts 0.
        std::memset(se.data, 0,
                    std::size_t(se.nelem) * (type == MUTIL_DOUBLE   ? 8
                                             : type == MUTIL_UINT8  ? 1
                                             : type == MUTIL_UINT16 ? 2
                                                                    : 4));
    }
    return se;
}

void morph(const MorphOptions& o, const std::string& in) {
    _univ_mat img = grey_of(load(in));
    if (o.grey) {
        if (img.type != MUTIL_UINT8 && img.type != MUTIL_UINT16 && img.type != MUTIL_SINT32 && img.type != MUTIL_DOUBLE)
            img = to_double(img);
        int32_t orow, ocol;
        _univ_mat se = structuring_element(o, img.type, orow, ocol);
        _univ_mat r = make(img.nrow, img.ncol, img.type);
        auto b = static_cast<_mutil_boundary_type>(o.border);
        if (o.op == "erode")
            check(mutils::imguniv_grayscale_erode(&img, &se, orow, ocol, b, nullptr, &r));
        else if (o.op == "dilate")
            check(mutils::imguniv_grayscale_dilate(&img, &se, orow, ocol, b, nullptr, &r));
        else if (o.op == "open")
            check(mutils::imguniv_grayscale_open(&img, &se, b, nullptr, &r));
        else if (o.op == "close")
            check(mutils::imguniv_grayscale_close(&img, &se, b, nullptr, &r));
        else
            throw Failure("grey-scale morphology has erode, dilate, open and close");
        save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension("pgm")), single(r),
             o.batch.save());
        return;
    }
    img = binary_of(img, o.foreground, o.level);
    _univ_scalar fg = scalar_of(img.type, o.foreground), bg = scalar_of(img.type, 0);
    _univ_mat r = make(img.nrow, img.ncol, img.type);
    if (o.op == "thin") {
        check(mutils::imguniv_binary_thin(&img, fg, bg, nullptr, &r));
    } else if (o.op == "skeleton") {
        check(mutils::imguniv_binary_skeleton(&img, fg, bg, nullptr, &r));
    } else {
        int32_t orow, ocol;
        _univ_mat se = structuring_element(o, MUTIL_UINT8, orow, ocol);
        if (o.op == "erode")
            check(mutils::imguniv_binary_erode(&img, &se, orow, ocol, fg, bg, nullptr, &r));
        else if (o.op == "dilate")
            check(mutils::imguniv_binary_dilate(&img, &se, orow, ocol, fg, bg, nullptr, &r));
        else if (o.op == "open")
            check(mutils::imguniv_binary_open(&img, &se, fg, bg, nullptr, &r));
        else
            check(mutils::imguniv_binary_close(&img, &se, fg, bg, nullptr, &r));
    }
    save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension("pgm")), single(r), o.batch.save());
}

// ---- labelling --------------------------------------------------------------------------------

struct LabelOptions {
    BatchOptions batch;
    double value = 255, level = 127.5;
    bool four = false;
    unsigned min_size = 0;
};

void label(const LabelOptions& o, const std::string& in) {
    _univ_mat img = binary_of(grey_of(load(in)), o.value, o.level);
    _univ_mat labels = make(img.nrow, img.ncol, MUTIL_UINT32);
    uint32_t count = 0;
    check(mutils::imguniv_connected_components(&img, static_cast<_img_connected_type>(o.four ? 0 : 1),
                                               scalar_of(img.type, o.value), o.min_size, nullptr, &labels, &count));
    std::printf("%s: %u labels (background included)\n", in.c_str(), count);
    save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension("pgm")), single(labels),
         o.batch.save());
}

// ---- thresholds -------------------------------------------------------------------------------

struct ThresholdOptions {
    BatchOptions batch;
    std::string method = "auto";
    std::string criterion = "variance";
    int bins = 256;
    double low = 0, high = 255, foreground = 255;
};

void threshold(const ThresholdOptions& o, const std::string& in) {
    _univ_mat img = grey_of(load(in));
    _univ_mat r;
    if (o.method == "auto") {
        if (img.type != MUTIL_UINT8 && img.type != MUTIL_UINT16 && img.type != MUTIL_DOUBLE) img = to_double(img);
        r = make(img.nrow, img.ncol, img.type);
        double t = 0;
        int kind = o.criterion == "variance" ? 1 : 0;
        check(mutils::imguniv_threshold_auto(&img, o.bins, static_cast<_img_thresh_type>(kind), nullptr, &r, &t));
        std::printf("%s: threshold %g (%s criterion)\n", in.c_str(), t,
                    kind ? "between-class variance" : "minimum error");
    } else if (o.method == "hysteresis") {
        r = make(img.nrow, img.ncol, MUTIL_UINT8);
        check(mutils::imguniv_threshold_hysteresis(&img, o.low, o.high, scalar_u8(uint8_t(o.foreground)), scalar_u8(0),
                                                   nullptr, &r));
    } else {
        r = make(img.nrow, img.ncol, MUTIL_UINT8);
        check(mutils::imguniv_map_window_level(&img, o.low, o.high, nullptr, &r));
    }
    save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension("pgm")), single(r), o.batch.save());
}

// ---- distance and hull ------------------------------------------------------------------------

struct ObjectOptions {
    BatchOptions batch;
    double object = 255, level = 127.5;
    std::string metric = "euclidean";
};

void distance(const ObjectOptions& o, const std::string& in) {
    _univ_mat img = binary_of(grey_of(load(in)), o.object, o.level);
    if (img.type == MUTIL_UINT32) img = to_double(img);
    int kind = o.metric == "euclidean" ? 0 : o.metric == "cityblock" ? 1 : 2;
    _univ_mat r = make(img.nrow, img.ncol, MUTIL_DOUBLE);
    check(mutils::imguniv_transform_distance(&img, static_cast<_img_distance_type>(kind), scalar_of(img.type, o.object),
                                             nullptr, &r));
    save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension("mat")), single(r), o.batch.save());
}

void hull(const ObjectOptions& o, const std::string& in) {
    _univ_mat img = binary_of(grey_of(load(in)), o.object, o.level);
    _univ_mat r = make(img.nrow, img.ncol, img.type);
    check(mutils::imguniv_convex_hull(&img, scalar_of(img.type, o.object), nullptr, &r));
    save(output_for(in, o.batch.output, o.batch.inputs.size(), o.batch.extension("pgm")), single(r), o.batch.save());
}

// ---- chains and flow --------------------------------------------------------------------------

struct ChainOptions {
    std::string input;
    int32_t row = 0, col = 0;
};

void chain(const ChainOptions& o) {
    Hux::ArenaScope scope;
    _univ_mat img = grey_of(load(o.input));
    _pgn_chain c{};
    check(mutils::pgnuniv_boundary_chain_from_region(&img, o.row, o.col, nullptr, &c));
    std::printf("start (%d, %d), %d runs\n", c.start_row, c.start_col, c.nrun);
    int64_t length = 0;
    for (int32_t i = 0; i < c.nrun; ++i) {
        std::printf("%d:%d%s", int(c.direction[i]), c.run_length[i], (i + 1) % 12 == 0 ? "\n" : " ");
        length += c.run_length[i];
    }
    std::printf("%s%lld moves\n", c.nrun % 12 ? "\n" : "", static_cast<long long>(length));
}

struct FlowOptions {
    std::vector<std::string> frames;
    std::string output;
    int iterations = 100;
    double alpha = 1.0, tolerance = 1e-3;
};

void flow(const FlowOptions& o) {
    Hux::ArenaScope scope;
    int32_t n = int32_t(o.frames.size());
    if (n != 2 && n != 3 && n != 5) throw Failure("flow needs two, three or five frames");
    _mat_set frames;
    mutils::matset_malloc(&frames, 1, &n);
    for (int32_t i = 0; i < n; ++i) frames.mats[i] = to_double(grey_of(load(o.frames[i])));
    _univ_mat u = make(frames.mats[0].nrow, frames.mats[0].ncol, MUTIL_DOUBLE);
    _univ_mat v = make(frames.mats[0].nrow, frames.mats[0].ncol, MUTIL_DOUBLE);
    int32_t iterations = 0;
    double change = 0;
    int kind = n == 2 ? 0 : n == 3 ? 1 : 2;
    check(mutils::vidset_optical_flow_horn_schunck(&frames, static_cast<_vid_gradient_type>(kind), o.iterations,
                                                   o.tolerance, o.alpha, nullptr, &u, &v, &iterations, &change));
    const double* pu = static_cast<const double*>(u.data);
    const double* pv = static_cast<const double*>(v.data);
    double mean = 0;
    for (int32_t i = 0; i < u.nelem; ++i) mean += std::hypot(pu[i], pv[i]);
    std::printf("%d iterations, last change %g, mean flow magnitude %g\n", iterations, change, mean / u.nelem);
    if (!o.output.empty()) {
        Data d;
        d.planes = {u, v};
        save(o.output, d);
    }
}

}  // namespace

void register_image_commands(CLI::App& app) {
    auto e = std::make_shared<EdgeOptions>();
    auto* ed = app.add_subcommand("edges", "Edge maps (canny or sobel) of greyscale images");
    ed->add_option("method", e->method, "canny or sobel")->required()->check(CLI::IsMember({"canny", "sobel"}));
    add_batch_options(ed, e->batch);
    ed->add_option("--sigma", e->sigma, "Canny: Gaussian width (default 1.5)");
    ed->add_option("--low", e->low, "Low gradient threshold (default 4)");
    ed->add_option("--high", e->high, "High gradient threshold (default 10)");
    ed->callback([e] {
        finish(run_batch("edges", e->batch.inputs, e->batch.jobs, [e](const std::string& i) { edges(*e, i); }));
    });

    auto m = std::make_shared<MorphOptions>();
    auto* mo = app.add_subcommand("morph", "Binary or grey-scale morphology");
    mo->add_option("operation", m->op, "erode dilate open close thin skeleton")
        ->required()
        ->check(CLI::IsMember({"erode", "dilate", "open", "close", "thin", "skeleton"}));
    add_batch_options(mo, m->batch);
    mo->add_option("--element", m->element, "disk or rect (default disk)")->check(CLI::IsMember({"disk", "rect"}));
    mo->add_option("--radius", m->radius, "Disk radius (default 2)");
    mo->add_option("--height", m->height, "Rectangle height (default 3)")->check(CLI::Range(1, 1000));
    mo->add_option("--width", m->width, "Rectangle width (default 3)")->check(CLI::Range(1, 1000));
    mo->add_option("--foreground", m->foreground, "Foreground value (default 255)");
    mo->add_option("--level", m->level, "Non-binary input: pixels above are foreground (default 127.5)");
    mo->add_flag("--grey", m->grey, "Grey-scale morphology with a flat element");
    mo->add_option("--border", m->border, "Grey-scale border: 0 zero, 3 replicate (default 3)");
    mo->callback([m] {
        finish(run_batch("morph", m->batch.inputs, m->batch.jobs, [m](const std::string& i) { morph(*m, i); }));
    });

    auto l = std::make_shared<LabelOptions>();
    auto* la = app.add_subcommand("label", "Connected components: a label image and the count");
    add_batch_options(la, l->batch);
    la->add_option("--value", l->value, "Object value (default 255)");
    la->add_option("--level", l->level, "Non-binary input: pixels above are objects (default 127.5)");
    la->add_flag("--four", l->four, "Four neighbours instead of eight");
    la->add_option("--min-size", l->min_size, "Smaller components are dropped");
    la->callback([l] {
        finish(run_batch("label", l->batch.inputs, l->batch.jobs, [l](const std::string& i) { label(*l, i); }));
    });

    auto t = std::make_shared<ThresholdOptions>();
    auto* th = app.add_subcommand("threshold", "Automatic, hysteresis or window/level thresholds");
    th->add_option("method", t->method, "auto, hysteresis or window")
        ->required()
        ->check(CLI::IsMember({"auto", "hysteresis", "window"}));
    add_batch_options(th, t->batch);
    th->add_option("--criterion", t->criterion, "auto: variance or error (default variance)")
        ->check(CLI::IsMember({"variance", "error"}));
    th->add_option("--bins", t->bins, "auto: histogram bins (default 256)");
    th->add_option("--low", t->low, "hysteresis/window: low bound");
    th->add_option("--high", t->high, "hysteresis/window: high bound");
    th->callback([t] {
        finish(run_batch("threshold", t->batch.inputs, t->batch.jobs, [t](const std::string& i) { threshold(*t, i); }));
    });

    auto d = std::make_shared<ObjectOptions>();
    auto* di = app.add_subcommand("distance", "Chamfer distance to the nearest object pixel (matrix output)");
    add_batch_options(di, d->batch);
    di->add_option("--metric", d->metric, "euclidean, cityblock or chessboard")
        ->check(CLI::IsMember({"euclidean", "cityblock", "chessboard"}));
    di->add_option("--object", d->object, "Object value (default 255)");
    di->callback([d] {
        finish(run_batch("distance", d->batch.inputs, d->batch.jobs, [d](const std::string& i) { distance(*d, i); }));
    });

    auto h = std::make_shared<ObjectOptions>();
    auto* hu = app.add_subcommand("hull", "Filled convex hull of the object pixels");
    add_batch_options(hu, h->batch);
    hu->add_option("--object", h->object, "Object value (default 255)");
    hu->callback(
        [h] { finish(run_batch("hull", h->batch.inputs, h->batch.jobs, [h](const std::string& i) { hull(*h, i); })); });

    auto c = std::make_shared<ChainOptions>();
    auto* ch = app.add_subcommand("chain", "Boundary chain of the region containing a pixel");
    ch->add_option("input", c->input, "Image file")->required();
    ch->add_option("--row", c->row, "Seed row")->required();
    ch->add_option("--col", c->col, "Seed column")->required();
    ch->callback([c] { chain(*c); });

    auto f = std::make_shared<FlowOptions>();
    auto* fl = app.add_subcommand("flow", "Horn-Schunck optical flow between 2, 3 or 5 frames");
    fl->add_option("frames", f->frames, "Frame images in time order")->required();
    fl->add_option("-o,--output", f->output, "Matrix file for the u and v planes");
    fl->add_option("--iterations", f->iterations, "Iteration limit (default 100)");
    fl->add_option("--alpha", f->alpha, "Smoothness weight (default 1)");
    fl->add_option("--tolerance", f->tolerance, "Stop when the change falls below (default 1e-3)");
    fl->callback([f] { flow(*f); });
}

}  // namespace cli
