// Helpers of the image-file tests: scratch paths, file bytes, external tools and hand-made files.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace mutils::test {

/// A path unique to the running test, under a scratch folder of the working directory.
inline std::string scratch(const std::string& name) {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string dir = std::string("scratch_") + info->test_suite_name();
    std::filesystem::create_directories(dir);
    return dir + "/" + info->name() + "_" + name;
}

inline std::wstring wide(const std::string& s) { return std::wstring(s.begin(), s.end()); }

inline std::string file_text(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void put_file(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
}

/// Runs a shell command and returns its standard output ("" and a test failure if it fails).
inline std::string run(const std::string& command) {
    std::string out;
    FILE* p = popen((command + " 2>/dev/null").c_str(), "r");
    if (!p) return out;
    char buf[4096];
    for (std::size_t n; (n = fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
    EXPECT_EQ(pclose(p), 0) << command;
    return out;
}

/// A portable anymap written by the test itself: header and raw body.
inline void put_pnm(const std::string& path, int magic, int width, int height, int maxval, const std::string& body) {
    char head[64];
    int n = maxval > 0 ? std::snprintf(head, sizeof head, "P%d\n%d %d\n%d\n", magic, width, height, maxval)
                       : std::snprintf(head, sizeof head, "P%d\n%d %d\n", magic, width, height);
    put_file(path, std::string(head, std::size_t(n)) + body);
}

/// Bytes of a little-endian classic TIFF: header, one directory (entries sorted by tag), then
/// `data`; entries whose value is the placeholder `kDataOffset` receive the data's offset.
struct TiffEntry {
    uint16_t tag, type;
    uint32_t count, value;
};
inline constexpr uint32_t kDataOffset = 0xFFFFFFFFu;
inline std::string tiff_bytes(const std::vector<TiffEntry>& entries, const std::string& data) {
    std::string out = "II";
    auto u16 = [&](uint32_t v) { out += char(v & 0xFF), out += char((v >> 8) & 0xFF); };
    auto u32 = [&](uint32_t v) { u16(v & 0xFFFF), u16(v >> 16); };
    u16(42);
    u32(8);
    const uint32_t data_at = uint32_t(8 + 2 + 12 * entries.size() + 4);
    u16(uint32_t(entries.size()));
    for (const TiffEntry& e : entries) {
        u16(e.tag), u16(e.type), u32(e.count);
        const uint32_t v = e.value == kDataOffset ? data_at : e.value;
        if (e.type == 3 && e.count == 1)
            u16(v), u16(0);  // SHORT values sit in the first half
        else
            u32(v);
    }
    u32(0);
    return out + data;
}

}  // namespace mutils::test
