// `mutils demo`: makes its own inputs, runs a pipeline across the subsystems, writes every input
// and output as viewable images into ./mutils-demo/ with an index.html, and prints a summary.
#include <sys/stat.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <utility>
#include <vector>
#include <memory>

#include "cli.h"

namespace cli {

using namespace mutils;

namespace {

constexpr int32_t kSize = 256;

struct Step {
    std::string operation, input_file, output_file, parameters, figure;
    std::string size;
    double ms = 0;
};

/// A deterministic scene: a soft gradient, a disk, a rectangle, a ring and a triangle, with noise.
_univ_mat make_scene() {
    _univ_mat m = make(kSize, kSize, MUTIL_UINT8);
    auto* p = static_cast<unsigned char*>(m.data);
    uint32_t seed = 12345;
    for (int32_t r = 0; r < kSize; ++r) {
        for (int32_t c = 0; c < kSize; ++c) {
            double v = 30.0 + 40.0 * c / kSize;
            if (std::hypot(r - 80.0, c - 70.0) < 40.0) v = 200;
            if (r > 150 && r < 220 && c > 40 && c < 120) v = 170;
            double d = std::hypot(r - 180.0, c - 185.0);
            if (d > 25.0 && d < 45.0) v = 220;
            if (r > 40 && r < 120 && c > 150 + (120 - r) / 2 && c < 230 - (120 - r) / 2) v = 150;
            seed = seed * 1664525u + 1013904223u;
            v += ((seed >> 24) % 17) - 8.0;
            p[r * kSize + c] = static_cast<unsigned char>(std::clamp(v, 0.0, 255.0));
        }
    }
    return m;
}

/// A smooth pattern shifted by (dy, dx) pixels.
_univ_mat make_frame(double dy, double dx) {
    _univ_mat m = make(128, 128, MUTIL_DOUBLE);
    double* p = static_cast<double*>(m.data);
    for (int32_t r = 0; r < 128; ++r)
        for (int32_t c = 0; c < 128; ++c)
            p[r * 128 + c] = 128 + 60 * std::sin((c - dx) * 0.12) * std::cos((r - dy) * 0.09) +
                             30 * std::sin((r - dy + c - dx) * 0.05);
    return m;
}

Data one(const _univ_mat& m) {
    Data d;
    d.planes.push_back(m);
    return d;
}

int64_t count_nonzero(const _univ_mat& m) {
    _univ_mat d = to_double(m);
    const double* p = static_cast<const double*>(d.data);
    int64_t n = 0;
    for (int32_t i = 0; i < d.nelem; ++i) n += p[i] != 0;
    return n;
}

std::string fmt(const char* f, double v) {
    char b[64];
    std::snprintf(b, sizeof b, f, v);
    return b;
}

/// A tall matrix (samples x levels) drawn as a strip image: each column becomes a band of rows.
_univ_mat bands(const _univ_mat& m, int32_t band) {
    _univ_mat d = to_double(m);
    _univ_mat out = make(d.ncol * band, d.nrow, MUTIL_DOUBLE);
    const double* p = static_cast<const double*>(d.data);
    double* q = static_cast<double*>(out.data);
    for (int32_t j = 0; j < d.ncol; ++j)
        for (int32_t k = 0; k < band; ++k)
            for (int32_t t = 0; t < d.nrow; ++t) q[(j * band + k) * d.nrow + t] = p[t * d.ncol + j];
    return out;
}

// A PNG copy of a PGM/PPM output, so that a browser shows it in index.html (browsers do not
// display netpbm files): 8-bit planes, other types stretched to their range.
std::string write_png_copy(const std::string& dir, const std::string& name) {
    Hux::ArenaScope scope;
    Data d = load(dir + "/" + name);
    for (auto& p : d.planes) p = p.type == MUTIL_UINT8 ? p : to_viewable(p);
    const std::string png = name.substr(0, name.rfind('.')) + ".png";
    save(dir + "/" + png, d);
    return png;
}

void write_index(const std::string& dir, const std::vector<Step>& steps) {
    FILE* f = std::fopen((dir + "/index.html").c_str(), "w");
    if (!f) throw Failure("cannot write " + dir + "/index.html");
    std::fprintf(f,
                 "<!doctype html>\n<html><head><meta charset=\"utf-8\"><title>mutils demo</title>\n"
                 "<style>body{font-family:sans-serif;margin:2em}figure{display:inline-block;margin:0 1em 1em 0}"
                 "img{image-rendering:pixelated;border:1px solid #ccc;max-width:384px}"
                 "td,th{padding:2px 10px;text-align:left}</style></head><body>\n<h1>mutils demo</h1>\n"
                 "<p>Every image is a PGM/PPM file (linked under each picture); the pictures shown are PNG copies."
                 "</p>\n<table><tr><th>operation</th><th>input size</th><th>ms</th><th>key figure</th></tr>\n");
    for (const auto& s : steps)
        std::fprintf(f, "<tr><td>%s</td><td>%s</td><td>%.2f</td><td>%s</td></tr>\n", s.operation.c_str(),
                     s.size.c_str(), s.ms, s.figure.c_str());
    std::fprintf(f, "</table>\n");
    for (const auto& s : steps) {
        std::fprintf(f, "<h2>%s</h2>\n<p>%s</p>\n", s.operation.c_str(), s.parameters.c_str());
        for (const auto& [role, file] : {std::pair{"input", s.input_file}, std::pair{"output", s.output_file}})
            std::fprintf(f, "<figure><img src=\"%s\"><figcaption>%s: <a href=\"%s\">%s</a></figcaption></figure>\n",
                         write_png_copy(dir, file).c_str(), role, file.c_str(), file.c_str());
    }
    std::fprintf(f, "</body></html>\n");
    std::fclose(f);
}

void demo(const std::string& dir) {
    Hux::ArenaScope scope;
    mkdir(dir.c_str(), 0755);
    std::vector<Step> steps;
    auto path = [&](const std::string& name) { return dir + "/" + name; };
    auto view = [&](const std::string& name, const _univ_mat& m) { save(path(name), one(to_viewable(m))); };
    auto timed = [&](Step s, const std::function<std::string()>& body) {
        auto t0 = std::chrono::steady_clock::now();
        s.figure = body();
        s.ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
        steps.push_back(s);
    };
    const std::string sz = std::to_string(kSize) + "x" + std::to_string(kSize);

    // Inputs.
    _univ_mat scene = make_scene();
    save(path("scene.pgm"), one(scene));
    Data colour;
    for (int k = 0; k < 3; ++k) {
        _univ_mat plane = make(kSize, kSize, MUTIL_UINT8);
        const auto* s = static_cast<const unsigned char*>(scene.data);
        auto* q = static_cast<unsigned char*>(plane.data);
        for (int32_t i = 0; i < plane.nelem; ++i)
            q[i] = static_cast<unsigned char>(
                std::min(255.0, s[i] * (0.6 + 0.2 * k) + 20.0 * ((i / kSize + 40 * k) % 128 < 64)));
        colour.planes.push_back(plane);
    }
    save(path("scene-colour.ppm"), colour);
    _univ_mat scene_d = to_double(scene);

    _univ_mat canny = make(kSize, kSize, MUTIL_UINT8);
    timed({"Canny edges", "scene.pgm", "canny.pgm", "sigma 1.5, low 4, high 10", "", sz}, [&] {
        check(mutils::imguniv_edge_canny(&scene_d, 1.5, 4.0, 10.0, scalar_u8(255), scalar_u8(0), nullptr, &canny));
        return std::to_string(count_nonzero(canny)) + " edge pixels";
    });
    save(path("canny.pgm"), one(canny));

    _univ_mat sobel = make(kSize, kSize, MUTIL_UINT8);
    timed({"Sobel edges", "scene.pgm", "sobel.pgm", "low 60, high 120 (gradient magnitude)", "", sz}, [&] {
        check(mutils::imguniv_edge_sobel(&scene_d, 60.0, 120.0, scalar_u8(255), scalar_u8(0), nullptr, &sobel));
        return std::to_string(count_nonzero(sobel)) + " edge pixels";
    });
    save(path("sobel.pgm"), one(sobel));

    _univ_mat mask = make(kSize, kSize, MUTIL_UINT8);
    timed({"Automatic threshold", "scene.pgm", "mask.pgm", "256 bins, between-class variance", "", sz}, [&] {
        double t = 0;
        check(mutils::imguniv_threshold_auto(&scene, 256, static_cast<_img_thresh_type>(1), nullptr, &mask, &t));
        return "threshold " + fmt("%.1f", t);
    });
    // The thresholded image holds the image's own values; make it a 0/255 mask.
    {
        auto* m = static_cast<unsigned char*>(mask.data);
        const auto* s = static_cast<const unsigned char*>(scene.data);
        (void)s;
        unsigned char top = 0;
        for (int32_t i = 0; i < mask.nelem; ++i) top = std::max(top, m[i]);
        for (int32_t i = 0; i < mask.nelem; ++i) m[i] = m[i] == top ? 255 : 0;
    }
    save(path("mask.pgm"), one(mask));

    _univ_mat labels = make(kSize, kSize, MUTIL_UINT32);
    timed({"Connected components", "mask.pgm", "labels.pgm", "eight neighbours, value 255", "", sz}, [&] {
        uint32_t count = 0;
        check(mutils::imguniv_connected_components(&mask, static_cast<_img_connected_type>(1), scalar_u8(255), 0,
                                                   nullptr, &labels, &count));
        return std::to_string(count) + " labels (with background)";
    });
    view("labels.pgm", labels);

    _univ_mat hull_mask = make(kSize, kSize, MUTIL_UINT8);
    timed(
        {"Shape features", "labels.pgm", "solidity.pgm", "18 features per region; regions shaded by solidity", "", sz},
        [&] {
            const int32_t k = std::max<int32_t>(1, int32_t(range_of(labels).second));
            _univ_mat f = make(k, 18, MUTIL_DOUBLE);
            check(mutils::imguniv_shape_features(&labels, nullptr, &f));
            const double* v = static_cast<const double*>(f.data);
            const uint32_t* l = static_cast<const uint32_t*>(labels.data);
            for (int32_t i = 0; i < hull_mask.nelem; ++i)
                static_cast<unsigned char*>(hull_mask.data)[i] =
                    l[i] ? static_cast<unsigned char>(55 + 200 * v[(l[i] - 1) * 18 + 15]) : 0;
            int32_t best = 0;
            for (int32_t r = 1; r < k; ++r)
                if (v[r * 18] > v[best * 18]) best = r;
            return "largest region " + fmt("%.0f px, ", v[best * 18]) + fmt("circularity %.2f", v[best * 18 + 16]);
        });
    save(path("solidity.pgm"), one(hull_mask));

    _univ_mat klm_labels = make(kSize, kSize, MUTIL_UINT32), klm = make(kSize, kSize, MUTIL_DOUBLE);
    timed({"Region merging", "scene.pgm", "regions.pgm", "1 x 1 grid, merged down to 8 regions", "", sz}, [&] {
        int32_t count = 0;
        check(mutils::imguniv_region_grow_klm(&scene, 1, 1, INFINITY, 8, nullptr, &klm_labels, &klm, &count));
        return std::to_string(count) + " regions of constant grey";
    });
    view("regions.pgm", klm);

    _univ_mat dist = make(kSize, kSize, MUTIL_DOUBLE);
    timed({"Distance transform", "mask.pgm", "distance.pgm", "Euclidean chamfer to value 255", "", sz}, [&] {
        check(mutils::imguniv_transform_distance(&mask, static_cast<_img_distance_type>(0), scalar_u8(255), nullptr,
                                                 &dist));
        auto [lo, hi] = range_of(dist);
        (void)lo;
        return "max distance " + fmt("%.2f", hi);
    });
    view("distance.pgm", dist);

    _univ_mat thin = make(kSize, kSize, MUTIL_UINT8);
    timed({"Thinning", "mask.pgm", "thin.pgm", "foreground 255, background 0", "", sz}, [&] {
        check(mutils::imguniv_binary_thin(&mask, scalar_u8(255), scalar_u8(0), nullptr, &thin));
        return std::to_string(count_nonzero(thin)) + " pixels left";
    });
    save(path("thin.pgm"), one(thin));

    _univ_mat hull = make(kSize, kSize, MUTIL_UINT8);
    timed({"Convex hull", "mask.pgm", "hull.pgm", "object value 255", "", sz}, [&] {
        check(mutils::imguniv_convex_hull(&mask, scalar_u8(255), nullptr, &hull));
        return std::to_string(count_nonzero(hull)) + " pixels inside";
    });
    save(path("hull.pgm"), one(hull));

    _univ_mat median = make(kSize, kSize, MUTIL_UINT8);
    timed({"Median filter", "scene.pgm", "median.pgm", "5 x 5 window, replicated edges", "", sz}, [&] {
        check(mutils::imguniv_filter_quantile(&scene, 5, 5, 0.5, MUTIL_BOUNDARY_CONTINUE, nullptr, &median));
        _univ_mat var = make(kSize, kSize, MUTIL_DOUBLE);
        check(mutils::imguniv_filter_local_variance(&median, 3, 3, MUTIL_BOUNDARY_CONTINUE, nullptr, &var));
        auto [lo, hi] = range_of(var);
        (void)lo;
        return "largest 3x3 variance after it " + fmt("%.0f", hi);
    });
    save(path("median.pgm"), one(median));

    _univ_mat grey = make(kSize, kSize, MUTIL_UINT8);
    timed({"Colour to grey", "scene-colour.ppm", "grey.pgm", "BT.601 luma 0.299 R + 0.587 G + 0.114 B", "", sz}, [&] {
        _mat_set rgb;
        int32_t three = 3;
        mutils::matset_malloc(&rgb, 1, &three);
        for (int k = 0; k < 3; ++k) rgb.mats[k] = colour.planes[k];
        check(mutils::imgset_color_to_grayscale(&rgb, nullptr, &grey));
        auto [lo, hi] = range_of(grey);
        return "grey levels " + fmt("%.0f", lo) + " ... " + fmt("%.0f", hi);
    });
    save(path("grey.pgm"), one(grey));

    // The whole scene turned by 17 degrees: the result grows to hold the rotated corners.
    const double turn = 17 * M_PI / 180;
    const int32_t side = int32_t(std::ceil(kSize * (std::cos(turn) + std::sin(turn))));
    _univ_mat rotated = make(side, side, MUTIL_UINT8);
    timed({"Rotation", "scene.pgm", "rotated.pgm", "17 degrees counter-clockwise, bilinear, whole image", "", sz}, [&] {
        check(mutils::imguniv_rotate(&scene, 17.0, IMG_INTERP_BILINEAR, 0, nullptr, &rotated));
        return std::to_string(side) + "x" + std::to_string(side) + " result";
    });
    save(path("rotated.pgm"), one(rotated));

    _univ_mat dct = make(kSize, kSize, MUTIL_DOUBLE);
    timed({"2-D DCT", "scene.pgm", "dct.pgm", "orthonormal DCT-II; shown as log(1 + |c|)", "", sz}, [&] {
        check(mutils::siguniv_transform_discrete_cosine_II_2d(&scene_d, 0, nullptr, &dct));
        const double* c = static_cast<const double*>(dct.data);
        double all = 0, low = 0;
        for (int32_t r = 0; r < kSize; ++r)
            for (int32_t k = 0; k < kSize; ++k) {
                all += c[r * kSize + k] * c[r * kSize + k];
                if (r < 16 && k < 16) low += c[r * kSize + k] * c[r * kSize + k];
            }
        return fmt("%.2f%% of the energy in 16x16 coefficients", 100.0 * low / all);
    });
    {
        double* c = static_cast<double*>(dct.data);
        for (int32_t i = 0; i < dct.nelem; ++i) c[i] = std::log1p(std::fabs(c[i]));
        view("dct.pgm", dct);
    }

    // A snake pulled from a circle onto the disk's edge, then a least-cost path across the scene;
    // both drawn over it.
    _univ_mat snake_view = to_viewable(scene), path_view = to_viewable(scene);
    timed({"Snake", "scene.pgm", "snake.pgm",
           "80 points from a circle of radius 50 about the disk (radius 40); "
           "potential |gradient|, sigma 3; simplified to 1 pixel",
           "", sz},
          [&] {
              _univ_mat gv = make(kSize, kSize, MUTIL_DOUBLE), gh = make(kSize, kSize, MUTIL_DOUBLE);
              check(mutils::imguniv_filter_derivative_of_gaussian(&scene_d, 3.0, nullptr, &gv, &gh));
              _double_mat pot = typed<_double_mat>(gv);
              for (int32_t i = 0; i < pot.nelem; ++i)
                  pot.data[i] = std::hypot(pot.data[i], static_cast<double*>(gh.data)[i]);
              _univ_mat start = make(80, 2, MUTIL_DOUBLE), fit = make(80, 2, MUTIL_DOUBLE);
              for (int32_t i = 0; i < 80; ++i) {
                  static_cast<double*>(start.data)[2 * i] = 80 - 50 * std::sin(2 * M_PI * i / 80);
                  static_cast<double*>(start.data)[2 * i + 1] = 70 + 50 * std::cos(2 * M_PI * i / 80);
              }
              _double_mat s = typed<_double_mat>(start), f = typed<_double_mat>(fit), corners;
              int32_t it = 0;
              check(mutils::imgdbl_active_contour(&pot, &s, 0.01, 0.1, 0.01, 1.0, 2500, 0.1, IMG_SNAKE_PERIODIC,
                                                  nullptr, &f, &it));
              check(mutils::pgndbl_simplify(&f, 1.0, 1, nullptr, &corners));
              check(mutils::pgnuniv_render_lines(&f, scalar_of(MUTIL_UINT8, 255), 1, nullptr, &snake_view));
              double r = 0;
              for (int32_t i = 0; i < 80; ++i) r += std::hypot(f.data[2 * i] - 80, f.data[2 * i + 1] - 70) / 80;
              return fmt("mean radius %.1f", r) + " after " + std::to_string(it) + " iterations, " +
                     std::to_string(corners.nrow - 1) + " vertices simplified";
          });
    save(path("snake.pgm"), one(snake_view));
    timed(
        {"Least-cost path", "scene.pgm", "path.pgm", "(0, 0) to (255, 255), cost = grey level, 8 neighbours", "", sz},
        [&] {
            _sint32_mat route;
            double total = 0;
            check(mutils::imguniv_minimal_path(&scene, 0, 0, kSize - 1, kSize - 1, nullptr, &route, &total));
            _univ_mat line = make(route.nrow, 2, MUTIL_DOUBLE), r{route.nrow, 2, route.nelem, route.data, MUTIL_SINT32};
            mutils::matuniv_cast(&r, 0, nullptr, &line);
            const _double_mat l = typed<_double_mat>(line);
            check(mutils::pgnuniv_render_lines(&l, scalar_of(MUTIL_UINT8, 255), 0, nullptr, &path_view));
            return std::to_string(route.nrow) + " pixels, cost " + fmt("%.0f", total);
        });
    save(path("path.pgm"), one(path_view));

    // A chirp: frequency rising linearly from 0 to a quarter of the sampling rate.
    const int32_t N = 512;
    _univ_mat chirp = make(N, 1, MUTIL_DOUBLE);
    for (int32_t t = 0; t < N; ++t) static_cast<double*>(chirp.data)[t] = std::cos(M_PI * 0.25 * t * t / N);
    view("chirp.pgm", bands(chirp, 32));

    _univ_mat w = make(N, 4, MUTIL_DOUBLE), v = make(N, 4, MUTIL_DOUBLE);
    timed({"MODWT", "chirp.pgm", "modwt.pgm", "4 levels, Daubechies 4-tap; rows: W1..W4", "", "512x1"}, [&] {
        const double s3 = std::sqrt(3.0), d = 4.0 * M_SQRT2;
        double g[4] = {(1 + s3) / d, (3 + s3) / d, (3 - s3) / d, (1 - s3) / d};
        _univ_mat gm = make(4, 1, MUTIL_DOUBLE), hm = make(4, 1, MUTIL_DOUBLE);
        for (int l = 0; l < 4; ++l) {
            static_cast<double*>(gm.data)[l] = g[l];
            static_cast<double*>(hm.data)[l] = ((l % 2) ? -1.0 : 1.0) * g[3 - l];
        }
        check(mutils::wavuniv_transform_maximum_overlap(&chirp, &hm, &gm, 4, nullptr, &w, &v));
        const double* p = static_cast<const double*>(w.data);
        double e[4] = {}, all = 0;
        for (int32_t t = 0; t < N; ++t)
            for (int j = 0; j < 4; ++j) e[j] += p[t * 4 + j] * p[t * 4 + j];
        for (double x : e) all += x;
        return fmt("%.1f%% of detail energy at level 1", 100.0 * e[0] / all);
    });
    view("modwt.pgm", bands(w, 24));

    _univ_mat tfd = make(N / 2, N / 4, MUTIL_DCOMPLEX);
    timed({"Wigner distribution", "chirp.pgm", "wigner.pgm", "step 4, 256 lags, |DFT| over lags", "", "512x1"}, [&] {
        _univ_mat r = make(N / 2, N / 4, MUTIL_DOUBLE);
        check(mutils::siguniv_timefreq_autocorrelate_wigner(&chirp, 4, nullptr, &r));
        check(mutils::siguniv_transform_discrete_fourier(&r, 0, nullptr, &tfd));
        return std::string("a rising line: the chirp");
    });
    {
        _univ_mat mag = make(tfd.nrow, tfd.ncol, MUTIL_DOUBLE);
        const _dcomplex* c = static_cast<const _dcomplex*>(tfd.data);
        for (int32_t i = 0; i < tfd.nelem; ++i) static_cast<double*>(mag.data)[i] = std::hypot(c[i].re, c[i].im);
        view("wigner.pgm", mag);
    }

    _univ_mat f0 = make_frame(0, 0), f1 = make_frame(0.5, 0.75);
    view("frame0.pgm", f0);
    view("frame1.pgm", f1);
    _univ_mat u = make(128, 128, MUTIL_DOUBLE), vv = make(128, 128, MUTIL_DOUBLE);
    timed({"Optical flow", "frame0.pgm", "flow.pgm", "Horn-Schunck, alpha 10, 200 iterations; true shift (0.5, 0.75)",
           "", "128x128"},
          [&] {
              _mat_set frames;
              int32_t two = 2;
              mutils::matset_malloc(&frames, 1, &two);
              frames.mats[0] = f0;
              frames.mats[1] = f1;
              int32_t it = 0;
              double change = 0;
              check(mutils::vidset_optical_flow_horn_schunck(&frames, static_cast<_vid_gradient_type>(0), 200, 1e-6,
                                                             10.0, nullptr, &u, &vv, &it, &change));
              double su = 0, sv = 0;
              int n = 0;
              for (int32_t r = 16; r < 112; ++r)
                  for (int32_t c = 16; c < 112; ++c, ++n) {
                      su += static_cast<double*>(u.data)[r * 128 + c];
                      sv += static_cast<double*>(vv.data)[r * 128 + c];
                  }
              return fmt("mean flow (%.2f, ", sv / n) + fmt("%.2f) in the interior", su / n);
          });
    {
        _univ_mat mag = make(128, 128, MUTIL_DOUBLE);
        for (int32_t i = 0; i < mag.nelem; ++i)
            static_cast<double*>(mag.data)[i] =
                std::hypot(static_cast<double*>(u.data)[i], static_cast<double*>(vv.data)[i]);
        view("flow.pgm", mag);
    }

    write_index(dir, steps);
    std::printf("%-22s %-10s %9s  %s\n", "operation", "input", "ms", "key figure");
    double total = 0;
    for (const auto& s : steps) {
        std::printf("%-22s %-10s %9.2f  %s\n", s.operation.c_str(), s.size.c_str(), s.ms, s.figure.c_str());
        total += s.ms;
    }
    std::printf("%-22s %-10s %9.2f\nwrote %s/index.html and %zu images\n", "total", "", total, dir.c_str(),
                steps.size() * 2);
}

}  // namespace

void register_demo(CLI::App& app) {
    auto dir = std::make_shared<std::string>("mutils-demo");
    auto* d = app.add_subcommand("demo", "Run a showcase pipeline on generated inputs; writes ./mutils-demo/");
    d->add_option("-o,--output", *dir, "Output directory (default mutils-demo)");
    d->callback([dir] { demo(*dir); });
}

}  // namespace cli
