// Running a subcommand over many files: worker threads, each with its own arena, and a
// progress bar on stderr when it is a terminal.
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <thread>

#include "cli.h"

namespace cli {

namespace {

void draw_progress(std::size_t done, std::size_t total) {
    const int width = 40;
    int filled = total ? int(width * done / total) : width;
    std::fprintf(stderr, "\r[%.*s%*s] %zu/%zu", filled, "########################################", width - filled, "",
                 done, total);
    if (done == total) std::fputc('\n', stderr);
    std::fflush(stderr);
}

}  // namespace

int run_batch(const std::string& command, const std::vector<std::string>& inputs, int jobs,
              const std::function<void(const std::string&)>& work) {
    std::atomic<std::size_t> next{0}, done{0};
    std::atomic<int> failures{0};
    std::mutex out;
    const bool progress = inputs.size() > 1 && isatty(STDERR_FILENO);
    auto worker = [&] {
        for (std::size_t i; (i = next++) < inputs.size();) {
            std::string error;
            try {
                Hux::ArenaScope scope;  // everything this file needed is released here
                work(inputs[i]);
            } catch (const Failure& e) {
                error = e.what();
            } catch (const Hux::Error& e) {
                error = e.what();
            } catch (const std::exception& e) {
                error = e.what();
            }
            std::lock_guard<std::mutex> lock(out);
            if (!error.empty()) {
                ++failures;
                if (progress) std::fputc('\n', stderr);
                // Loading failures already name their file.
                const std::string name = inputs[i] == "-" ? "standard input" : inputs[i];
                if (error.compare(0, name.size() + 2, name + ": ") != 0) error = name + ": " + error;
                std::fprintf(stderr, "mutils %s: %s\n", command.c_str(), error.c_str());
            }
            ++done;
            if (progress) draw_progress(done, inputs.size());
        }
    };
    int n = std::max(1, std::min<int>(jobs, int(inputs.size())));
    std::vector<std::thread> pool;
    for (int t = 1; t < n; ++t) pool.emplace_back(worker);
    worker();
    for (auto& t : pool) t.join();
    return failures;
}

void add_batch_options(CLI::App* sub, BatchOptions& o, bool output_required) {
    sub->add_option("inputs", o.inputs, "Input files (- for standard input)")->required();
    auto* out = sub->add_option("-o,--output", o.output,
                                "Output file; a directory when there are several inputs (- for standard output)");
    if (output_required) out->required();
    sub->add_option("-j,--jobs", o.jobs, "Files processed in parallel")->check(CLI::Range(1, 256));
    sub->add_option("--format", o.format, "Output format, whatever the output name says: png pgm pbm ppm tif mat txt")
        ->check(CLI::IsMember({"png", "pgm", "pbm", "ppm", "tif", "tiff", "mat", "txt"}));
    sub->add_option("--pbm-layout", o.pbm_layout,
                    "Raw PBM rows: standard (each row padded to a byte, as netpbm and Pillow read them) or "
                    "library (one unpadded run of bits, as the library writes them); default standard. Either is read: "
                    "a body of equal length in both layouts is read as standard")
        ->check(CLI::IsMember({"standard", "library"}));
}

SaveOptions BatchOptions::save() const {
    SaveOptions s;
    s.format = format;
    s.pbm_library = pbm_layout == "library";
    return s;
}

}  // namespace cli
