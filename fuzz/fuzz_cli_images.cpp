// The command-line program's own image decoders: PNG and JPEG (through libpng and libjpeg, whose
// errors come back by longjmp), and the re-layout of row-padded raw bitmaps. The first byte picks
// the decoder (0 PNG, 1 PNG keeping alpha, 2 JPEG, 3 PBM); the rest is the file.
#include "harness.h"
#include "tools/cli.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    Hux::ArenaScope scope;
    FILE* f = fmemopen(bytes.data(), bytes.size(), "rb");
    if (!f) return 0;
    try {
        bool alpha = false;
        switch (data[0] % 4) {
            case 0: cli::read_png(f, false, &alpha); break;
            case 1: cli::read_png(f, true, &alpha); break;
            case 2: cli::read_jpeg(f); break;
            default: {
                std::string library = cli::pbm_to_library_layout(bytes);
                FILE* g = fmemopen(library.data(), library.size(), "rb");
                mutils::_univ_mat m;
                if (g) mutils::imguniv_read_pgm(g, nullptr, &m), std::fclose(g);
            }
        }
    } catch (const cli::Failure&) {
    } catch (const Hux::Error&) {}
    std::fclose(f);
    return 0;
}
