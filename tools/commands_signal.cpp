// Signal subcommands on matrix files: transform, window, timefreq, modwt.
#include <cmath>
#include <cstdio>
#include <memory>

#include "cli.h"

namespace cli {

using namespace mutils;

namespace {

Data single(const _univ_mat& m) {
    Data d;
    d.planes.push_back(m);
    return d;
}

/// Complex results leave as their real and imaginary planes, or one derived plane.
Data complex_parts(const _univ_mat& c, const std::string& part) {
    _univ_mat re = make(c.nrow, c.ncol, MUTIL_DOUBLE), im = make(c.nrow, c.ncol, MUTIL_DOUBLE);
    const _dcomplex* p = static_cast<const _dcomplex*>(c.data);
    double* r = static_cast<double*>(re.data);
    double* i = static_cast<double*>(im.data);
    for (int32_t k = 0; k < c.nelem; ++k) {
        r[k] = p[k].re;
        i[k] = p[k].im;
    }
    if (part == "real") return single(re);
    if (part == "imag") return single(im);
    if (part == "abs") {
        for (int32_t k = 0; k < c.nelem; ++k) r[k] = std::hypot(p[k].re, p[k].im);
        return single(re);
    }
    Data d;
    d.planes = {re, im};
    return d;
}

struct TransformOptions {
    std::string kind;
    std::string input, output;
    bool inverse = false;
    std::string part = "both";
};

void transform(const TransformOptions& o) {
    Hux::ArenaScope scope;
    Data in = load(o.input);
    _univ_mat x = in.grey().type == MUTIL_DCOMPLEX ? in.grey() : to_double(in.grey());
    if (in.planes.size() == 2 && o.kind == "dft") {
        // Two planes read back from a transform's output are its real and imaginary parts.
        _univ_mat re = to_double(in.planes[0]), im = to_double(in.planes[1]);
        x = make(re.nrow, re.ncol, MUTIL_DCOMPLEX);
        _double_mat red = typed<_double_mat>(re), imd = typed<_double_mat>(im);
        _dcomplex_mat xc = typed<_dcomplex_mat>(x);
        mutils::matdbl_to_complex(&red, &imd, nullptr, &xc);
    }
    if (o.kind == "dft") {
        _univ_mat r = make(x.nrow, x.ncol, MUTIL_DCOMPLEX);
        check(mutils::siguniv_transform_discrete_fourier(&x, o.inverse ? 1 : 0, nullptr, &r));
        return save(o.output, complex_parts(r, o.part));
    }
    if (x.type == MUTIL_DCOMPLEX) throw Failure(o.kind + " needs real data");
    _double_mat xv = typed<_double_mat>(x);
    _double_mat* xd = &xv;
    _univ_mat r = make(x.nrow, x.ncol, MUTIL_DOUBLE);
    _double_mat rv = typed<_double_mat>(r);
    _double_mat* rd = &rv;
    if (o.kind == "dct") {
        check(o.inverse ? mutils::sigdbl_transform_discrete_cosine_II_inverse(xd, nullptr, rd)
                        : mutils::sigdbl_transform_discrete_cosine_II(xd, nullptr, rd));
    } else if (o.kind == "dct2d") {
        check(mutils::siguniv_transform_discrete_cosine_II_2d(&x, o.inverse ? 1 : 0, nullptr, &r));
    } else {
        check(mutils::sigdbl_transform_hartley(xd, nullptr, rd));
    }
    save(o.output, single(r));
}

struct WindowOptions {
    std::string name, output;
    int32_t length = 64;
    double parameter = NAN;
};

void window(const WindowOptions& o) {
    Hux::ArenaScope scope;
    _univ_mat w = make(o.length, 1, MUTIL_DOUBLE);
    _double_mat wv = typed<_double_mat>(w);
    _double_mat* wd = &wv;
    auto param = [&](double fallback) { return std::isnan(o.parameter) ? fallback : o.parameter; };
    const std::string& n = o.name;
    if (n == "rectangle")
        check(mutils::sigdbl_window_rectangle(nullptr, wd));
    else if (n == "triangle")
        check(mutils::sigdbl_window_triangle(nullptr, wd));
    else if (n == "hanning")
        check(mutils::sigdbl_window_hanning(nullptr, wd));
    else if (n == "hamming")
        check(mutils::sigdbl_window_hamming(nullptr, wd));
    else if (n == "blackman")
        check(mutils::sigdbl_window_blackman(nullptr, wd));
    else if (n == "nuttall")
        check(mutils::sigdbl_window_nuttall(nullptr, wd));
    else if (n == "born_jordan")
        check(mutils::sigdbl_window_born_jordan(nullptr, wd));
    else if (n == "raised_cosine")
        check(mutils::sigdbl_window_raised_cosine(param(0.5), nullptr, wd));
    else if (n == "gaussian")
        check(mutils::sigdbl_window_gaussian(param(2.5), nullptr, wd));
    else if (n == "kaiser")
        check(mutils::sigdbl_window_kaiser(param(8.0), nullptr, wd));
    else
        check(mutils::sigdbl_window_chebyshev(param(60.0), nullptr, wd));
    save(o.output, single(w));
}

struct TimeFreqOptions {
    std::string kind, input, output;
    int32_t step = 1;
    int32_t lags = 0;
    double sigma = 1.0;
    bool spectrum = false;
};

/// The autocorrelation matrix (lags x output times) of a vector signal.
_univ_mat autocorrelation(const TimeFreqOptions& o, const _univ_mat& x) {
    int32_t n = x.nelem;
    int32_t lags = o.lags > 0 ? o.lags : std::max(1, n / 2);
    int32_t cols = (n + o.step - 1) / o.step;
    _univ_mat r = make(lags, cols, MUTIL_DOUBLE);
    const std::string& k = o.kind;
    if (k == "wigner")
        check(mutils::siguniv_timefreq_autocorrelate_wigner(&x, o.step, nullptr, &r));
    else if (k == "margenau_hill")
        check(mutils::siguniv_timefreq_autocorrelate_margeneau_hill(&x, o.step, nullptr, &r));
    else if (k == "cone")
        check(mutils::siguniv_timefreq_autocorrelate_cone(&x, o.step, nullptr, &r));
    else if (k == "born_jordan")
        check(mutils::siguniv_timefreq_autocorrelate_born_jordan(&x, o.step, nullptr, &r));
    else
        check(mutils::siguniv_timefreq_autocorrelate_choi_williams(&x, o.sigma, o.step, nullptr, &r));
    return r;
}

void timefreq(const TimeFreqOptions& o) {
    Hux::ArenaScope scope;
    _univ_mat x = to_double(load(o.input).grey());
    _univ_mat r = autocorrelation(o, x);
    if (!o.spectrum) return save(o.output, single(r));
    // Each column's DFT over the lag gives that time's frequency content.
    _univ_mat f = make(r.nrow, r.ncol, MUTIL_DCOMPLEX);
    check(mutils::siguniv_transform_discrete_fourier(&r, 0, nullptr, &f));
    save(o.output, complex_parts(f, "abs"));
}

struct ModwtOptions {
    std::string input, output, filter = "haar";
    int32_t levels = 3;
    bool packet = false;
};

void modwt(const ModwtOptions& o) {
    Hux::ArenaScope scope;
    _univ_mat x = to_double(load(o.input).grey());
    if (x.ncol != 1) x.nrow = x.nelem, x.ncol = 1;  // a signal row becomes a column
    std::vector<double> g;
    if (o.filter == "haar") {
        g = {M_SQRT1_2, M_SQRT1_2};
    } else {  // Daubechies 4-tap
        const double s3 = std::sqrt(3.0), d = 4.0 * M_SQRT2;
        g = {(1 + s3) / d, (3 + s3) / d, (3 - s3) / d, (1 - s3) / d};
    }
    int32_t L = int32_t(g.size());
    _univ_mat gm = make(L, 1, MUTIL_DOUBLE), hm = make(L, 1, MUTIL_DOUBLE);
    for (int32_t l = 0; l < L; ++l) {
        static_cast<double*>(gm.data)[l] = g[l];
        static_cast<double*>(hm.data)[l] = ((l % 2) ? -1.0 : 1.0) * g[L - 1 - l];  // quadrature mirror
    }
    if (o.packet) {
        _univ_mat p = make(x.nrow, (1 << (o.levels + 1)) - 1, MUTIL_DOUBLE);
        check(mutils::wavuniv_transform_maximum_overlap_packet(&x, &hm, &gm, o.levels, nullptr, &p));
        return save(o.output, single(p));
    }
    _univ_mat w = make(x.nrow, o.levels, MUTIL_DOUBLE), v = make(x.nrow, o.levels, MUTIL_DOUBLE);
    check(mutils::wavuniv_transform_maximum_overlap(&x, &hm, &gm, o.levels, nullptr, &w, &v));
    Data d;
    d.planes = {w, v};
    save(o.output, d);
}

}  // namespace

void register_signal_commands(CLI::App& app) {
    auto t = std::make_shared<TransformOptions>();
    auto* tr = app.add_subcommand("transform", "DFT, DCT, 2-D DCT or Hartley transform of a matrix file (by columns)");
    tr->add_option("kind", t->kind, "dft, dct, dct2d or hartley")
        ->required()
        ->check(CLI::IsMember({"dft", "dct", "dct2d", "hartley"}));
    tr->add_option("input", t->input, "Matrix file (- for standard input)")->required();
    tr->add_option("-o,--output", t->output, "Output matrix file (- for standard output)")->required();
    tr->add_flag("--inverse", t->inverse, "Inverse transform");
    tr->add_option("--part", t->part, "dft: both (real and imaginary planes), real, imag or abs")
        ->check(CLI::IsMember({"both", "real", "imag", "abs"}));
    tr->footer(
        "dft transforms each column along the rows, so a matrix of one row (a 1 x N row vector) comes back "
        "unchanged: pass a signal as a column (one value per line of a .txt file).");
    tr->callback([t] { transform(*t); });

    auto w = std::make_shared<WindowOptions>();
    auto* wi = app.add_subcommand("window", "Write a window function as a column");
    wi->add_option("name", w->name,
                   "rectangle triangle hanning hamming blackman nuttall born_jordan raised_cosine "
                   "gaussian kaiser chebyshev")
        ->required()
        ->check(CLI::IsMember({"rectangle", "triangle", "hanning", "hamming", "blackman", "nuttall", "born_jordan",
                               "raised_cosine", "gaussian", "kaiser", "chebyshev"}));
    wi->add_option("-n,--length", w->length, "Length (default 64)")->check(CLI::Range(1, 1 << 24));
    wi->add_option("-p,--parameter", w->parameter, "raised_cosine ratio, gaussian alpha, kaiser beta, chebyshev dB");
    wi->add_option("-o,--output", w->output, "Output matrix file (- for standard output)")->required();
    wi->footer(
        "kaiser is the library's window, not the textbook taper: the first sample is 1/I0(beta*pi*(n-1)/n) "
        "and every other sample is exactly 1 (beta 0 gives all ones; n = 1 gives a non-number).");
    wi->callback([w] { window(*w); });

    auto f = std::make_shared<TimeFreqOptions>();
    auto* tf = app.add_subcommand("timefreq", "Time-frequency autocorrelation (or spectrum) of a signal");
    tf->add_option("kind", f->kind, "wigner, margenau_hill, cone, born_jordan or choi_williams")
        ->required()
        ->check(CLI::IsMember({"wigner", "margenau_hill", "cone", "born_jordan", "choi_williams"}));
    tf->add_option("input", f->input, "Signal (a vector matrix file)")->required();
    tf->add_option("-o,--output", f->output, "Output matrix file")->required();
    tf->add_option("--step", f->step, "Time step between columns (default 1)")->check(CLI::Range(1, 1 << 24));
    tf->add_option("--lags", f->lags, "Rows (lags); default half the signal length");
    tf->add_option("--sigma", f->sigma, "choi_williams: kernel width (default 1)");
    tf->add_flag("--spectrum", f->spectrum, "Output |DFT| over the lags: the distribution itself");
    tf->callback([f] { timefreq(*f); });

    auto m = std::make_shared<ModwtOptions>();
    auto* mo = app.add_subcommand("modwt", "Maximum-overlap wavelet transform of a signal");
    mo->add_option("input", m->input, "Signal (a vector matrix file)")->required();
    mo->add_option("-o,--output", m->output, "Output matrix file (W and V planes, or the packet table)")->required();
    mo->add_option("-J,--levels", m->levels, "Levels (default 3)")->check(CLI::Range(1, 30));
    mo->add_option("--filter", m->filter, "haar or d4 (default haar)")->check(CLI::IsMember({"haar", "d4"}));
    mo->add_flag("--packet", m->packet, "Packet transform (every node, sequency order)");
    mo->callback([m] { modwt(*m); });
}

}  // namespace cli
