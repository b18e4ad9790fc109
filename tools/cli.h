// The mutils command-line program: shared pieces of its subcommands.
//
// Data travels between files and operations as a `Data`: one plane for a greymap or a matrix
// file, three planes for a colour image (four with a kept alpha plane, or any number read from a
// TIFF). Loading picks the reader by the file's first bytes (PNG, JPEG, TIFF, PBM/PGM/PPM), then
// its extension (text) or its printed-matrix header; saving picks the writer by the output's
// extension (or --format) and writes to a temporary name first, renaming it into place only
// when complete.
#pragma once

#include <mutils.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace cli {

/// A failed operation: the message ends up as one line on stderr and exit status 1.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Thrown to end the program with a status after the errors were already reported.
struct ExitStatus {
    int status;
};

/// Throws Failure(message) when an operation returned a message.
void check(const char* message);

struct Data {
    std::vector<mutils::_univ_mat> planes;
    bool colour() const { return planes.size() == 3; }
    const mutils::_univ_mat& grey() const { return planes.at(0); }
};

/// Where the subcommand's messages start ("mutils convert"); set once by main.
extern std::string program;
/// One line on stderr: "<program>: note: <text>".
void note(const std::string& text);

enum class Format { pgm, pbm, ppm, tiff, printed, text, png };

/// The format implied by a file name's extension (throws Failure for an unknown one).
Format format_of(const std::string& path);
/// The format named by a --format word: png pgm pbm ppm tif tiff mat txt.
Format format_named(const std::string& word);
const char* type_word(mutils::_mutil_data_type t);
/// "u8", "uint8", "double", ... to a tag; throws Failure for an unknown word.
mutils::_mutil_data_type parse_type(const std::string& word);

struct LoadOptions {
    bool alpha = false;  // keep a PNG's alpha channel as a last plane (otherwise dropped, with a note)
};

/// Reads an image or matrix file; "-" reads standard input (any format but TIFF). Failures
/// carry the file name: "<file>: <message>".
Data load(const std::string& path, const LoadOptions& options = {});

struct SaveOptions {
    double pbm_threshold = 127.5;  // pixels at or below are written dark
    bool plain = false;            // text PNM bodies (P1/P2/P3)
    bool pbm_library = false;      // raw bitmap rows run on unpadded, as the library writes them
    std::string format;            // a --format word overriding the file name's extension
};

/// Writes `data` to `path` ("-" is standard output) through a temporary file and a rename.
/// Image formats need unsigned integer planes: others are mapped to 8 bits for viewing.
void save(const std::string& path, const Data& data, const SaveOptions& options = {});

// Codecs of the program itself (formats.cpp). The readers take untrusted files: every error,
// truncation or forged size is a Failure, never a crash.
/// PNG (1- to 16-bit grey, grey+alpha, RGB, RGBA, palette) to u8 or u16 planes; alpha is kept
/// as a last plane only when asked, and *had_alpha tells whether the file had one.
Data read_png(FILE* f, bool keep_alpha, bool* had_alpha);
/// Baseline or progressive JPEG, grey or colour, to u8 planes.
Data read_jpeg(FILE* f);
/// One to four unsigned planes (grey, grey+alpha, RGB, RGBA) as an 8- or 16-bit PNG.
void write_png(FILE* f, const std::vector<mutils::_univ_mat>& planes);
/// A raw bitmap file (P4) with rows padded to whole bytes, as other programs write them, in the
/// library's layout (one unpadded run of bits); other input comes back unchanged. The layouts
/// are told apart by the body's length.
std::string pbm_to_library_layout(const std::string& bytes);
/// The library's raw bitmap file in the row-padded layout.
std::string pbm_to_standard_layout(const std::string& bytes);

/// A typed view of a universal matrix's data (no copy; writes go to the same block).
template <class M> M typed(const mutils::_univ_mat& u) {
    return M{u.nrow, u.ncol, u.nelem, static_cast<decltype(M::data)>(u.data)};
}

/// A new matrix of the given size and type in the current arena.
mutils::_univ_mat make(int32_t rows, int32_t cols, mutils::_mutil_data_type type);
/// A double copy of any real matrix.
mutils::_univ_mat to_double(const mutils::_univ_mat& m);
/// An 8-bit view of any real matrix: its range stretched to 0..255 (constant -> 0).
mutils::_univ_mat to_viewable(const mutils::_univ_mat& m);
/// A scalar of the given element type holding `value` (rounded for integer types).
mutils::_univ_scalar scalar_of(mutils::_mutil_data_type type, double value);
/// Minimum and maximum of a real matrix, as doubles.
std::pair<double, double> range_of(const mutils::_univ_mat& m);

/// Runs `work` on every input, with `jobs` worker threads (each in its own arena) and a
/// progress bar on a terminal; returns the number of failures (each reported on stderr).
int run_batch(const std::string& command, const std::vector<std::string>& inputs, int jobs,
              const std::function<void(const std::string& input)>& work);

/// The output name for one input: `output` itself for a single input, otherwise a file in the
/// directory `output` (created) named after the input with extension `ext`.
std::string output_for(const std::string& input, const std::string& output, std::size_t n_inputs,
                       const std::string& ext);

/// Options common to the per-file subcommands.
struct BatchOptions {
    std::vector<std::string> inputs;
    std::string output;
    int jobs = 1;
    std::string format;                   // --format: output format, whatever the name says
    std::string pbm_layout = "standard";  // --pbm-layout: standard or library
    SaveOptions save() const;
    /// The extension of outputs written into a directory: the --format word, else `fallback`.
    std::string extension(const std::string& fallback) const { return format.empty() ? fallback : format; }
};
void add_batch_options(CLI::App* sub, BatchOptions& o, bool output_required = true);

/// Ends a batch subcommand with status 1 when any input failed (each failure was reported).
inline void finish(int failures) {
    if (failures) throw ExitStatus{1};
}

/// The image extension for an output of `planes` planes.
inline const char* image_ext(std::size_t planes) { return planes == 3 ? "ppm" : "pgm"; }

// Subcommand registration (one per source file group).
void register_image_commands(CLI::App& app);
void register_filter_commands(CLI::App& app);
void register_geometry_commands(CLI::App& app);
void register_contour_commands(CLI::App& app);
void register_matrix_commands(CLI::App& app);
void register_signal_commands(CLI::App& app);
void register_shape_commands(CLI::App& app);
void register_demo(CLI::App& app);

}  // namespace cli
