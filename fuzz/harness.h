// Shared pieces of the fuzz harnesses: a stream over the input bytes, an arena per run, and
// the rule that a raised Hux::Error is an accepted outcome (only crashes, hangs and sanitizer
// reports are findings).
#pragma once

#include <mutils.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace fuzz {

/// Runs body(stream) on a read-only stream over the bytes, inside a fresh arena.
template <class F> void with_stream(const uint8_t* data, size_t size, F&& body) {
    Hux::ArenaScope scope;
    FILE* f = fmemopen(const_cast<uint8_t*>(data), size, "rb");
    if (!f) return;
    try {
        body(f);
    } catch (const Hux::Error&) {}
    std::fclose(f);
}

/// Writes the bytes to a private temporary file with the given suffix; returns its path.
inline std::string temp_file(const uint8_t* data, size_t size, const char* suffix) {
    std::string path = "/tmp/mutils-fuzz-" + std::to_string(getpid()) + suffix;
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return "";
    std::fwrite(data, 1, size, f);
    std::fclose(f);
    return path;
}

}  // namespace fuzz
