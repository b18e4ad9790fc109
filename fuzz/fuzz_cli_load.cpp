// The command-line program's file loading (format detection, then the library's readers).
#include "harness.h"
#include "tools/cli.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    static const char* suffixes[] = {".pgm", ".ppm", ".tif", ".mat", ".txt"};
    std::string path = fuzz::temp_file(data + 1, size - 1, suffixes[data[0] % 5]);
    if (path.empty()) return 0;
    {
        Hux::ArenaScope scope;
        try {
            cli::load(path);
        } catch (const cli::Failure&) {
        } catch (const Hux::Error&) {}
    }
    std::remove(path.c_str());
    return 0;
}
