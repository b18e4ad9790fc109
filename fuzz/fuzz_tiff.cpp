// TIFF reading through libtiff on arbitrary file contents.
#include <cwchar>

#include "harness.h"

using namespace mutils;  // calls are qualified: the plain entry points share their names

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string path = fuzz::temp_file(data, size, ".tif");
    if (path.empty()) return 0;
    std::wstring wide(path.begin(), path.end());
    {
        Hux::ArenaScope scope;
        _mat_set s;
        try {
            mutils::imgset_read_tiff(wide.c_str(), nullptr, &s);
        } catch (const Hux::Error&) {}
    }
    std::remove(path.c_str());
    return 0;
}
