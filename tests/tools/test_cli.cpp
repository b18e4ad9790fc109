// End-to-end runs of the mutils program on small files: outputs, exit codes and error lines.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#ifndef MUTILS_CLI
#define MUTILS_CLI "mutils"
#endif

namespace {

struct CliRun {
    int status;
    std::string out, err;
};

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
long lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

class Cli : public ::testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/mutils-cli-XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        m_dir = tmpl;
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    std::string path(const std::string& name) const { return m_dir + "/" + name; }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }
    std::string read(const std::string& name) const {
        std::stringstream s;
        s << std::ifstream(path(name), std::ios::binary).rdbuf();
        return s.str();
    }
    bool exists(const std::string& name) const { return std::filesystem::exists(path(name)); }
    int shell(const std::string& command) const { return std::system(("cd " + m_dir + " && " + command).c_str()); }

    CliRun run(const std::string& args) const {
        const int raw = shell(MUTILS_CLI " " + args + " >out.txt 2>err.txt </dev/null");
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, read("out.txt"), read("err.txt")};
    }

    std::string m_dir;
};

// A 4 x 4 greymap with a bright 2 x 2 square in the middle.
const std::string kSquare = "P2 4 4 255\n0 0 0 0\n0 200 200 0\n0 200 200 0\n0 0 0 0\n";

TEST_F(Cli, VersionHelpAndUsageErrors) {
    CliRun v = run("--version");
    EXPECT_EQ(v.status, 0);
    EXPECT_TRUE(has(v.out, "mutils"));
    for (const char* args : {"--help", "convert --help"}) EXPECT_EQ(run(args).status, 0) << args;
    for (const char* args : {"", "no-such-command", "window kaiser -n 0 -o w.txt"}) EXPECT_EQ(run(args).status, 2) << args;
    CliRun bogus = run("convert --bogus in.pgm -o out.pgm");
    EXPECT_EQ(bogus.status, 2);
    EXPECT_EQ(bogus.err.rfind("mutils convert: ", 0), 0u) << bogus.err;
    EXPECT_EQ(lines(bogus.err), 1) << bogus.err;
}

TEST_F(Cli, MissingAndMalformedInputsFailWithOneLine) {
    CliRun missing = run("info nothere.pgm");
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(has(missing.err, "mutils info: nothere.pgm: cannot open")) << missing.err;
    write("bad.pgm", "P5 3");
    CliRun bad = run("convert bad.pgm -o out.pgm");
    EXPECT_EQ(bad.status, 1);
    EXPECT_TRUE(has(bad.err, "mutils convert: bad.pgm:")) << bad.err;
    EXPECT_EQ(lines(bad.err), 1);
    EXPECT_FALSE(exists("out.pgm"));  // no partial output under the requested name
}

TEST_F(Cli, InfoAndConvertRoundTripsThroughMatrixFilesAndCasts) {
    write("sq.pgm", kSquare);
    CliRun info = run("info sq.pgm");
    EXPECT_EQ(info.status, 0) << info.err;
    EXPECT_TRUE(has(info.out, "uint8, 4 rows x 4 columns") && has(info.out, "range [0, 200]")) << info.out;
    ASSERT_EQ(run("convert sq.pgm -o sq.mat").status, 0);
    ASSERT_EQ(run("convert sq.mat -o back.pgm").status, 0);
    EXPECT_EQ(read("back.pgm").substr(0, 11), "P5 4 4 200\n");  // maxval is the image's maximum
    CliRun r = run("convert sq.pgm -o sq.txt --type double");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(has(read("sq.txt"), "200"));
    // Standard input and output.
    ASSERT_EQ(shell("cat sq.pgm | " MUTILS_CLI " convert - -o - > piped.mat"), 0);
    EXPECT_TRUE(has(read("piped.mat"), "uint8"));
    write("big.txt", "300 1\n2 3\n");
    CliRun overflow = run("convert big.txt -o big.pgm --type u8");
    EXPECT_EQ(overflow.status, 1);
    EXPECT_TRUE(has(overflow.err, "overflow")) << overflow.err;
    EXPECT_EQ(run("convert big.txt -o big.pgm --type u8 --clip").status, 0);
}

TEST_F(Cli, LabelCountsComponentsWithTheBackground) {
    write("two.pgm", "P2 5 3 255\n255 0 0 0 255\n255 0 0 0 255\n0 0 0 0 0\n");
    CliRun r = run("label two.pgm -o labels.pgm");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(has(r.out, "3 labels")) << r.out;
    // A greyscale image is cut at the level; a 0/1 mask from the threshold feeds the distance.
    write("grey.pgm", "P2 5 3 255\n200 10 10 10 180\n190 10 10 10 170\n10 10 10 10 10\n");
    CliRun g = run("label grey.pgm -o glabels.pgm");
    EXPECT_TRUE(has(g.out, "3 labels")) << g.out << g.err;
    ASSERT_EQ(run("threshold auto grey.pgm -o mask.pgm").status, 0);
    CliRun d = run("distance mask.pgm --metric cityblock -o d.txt");
    EXPECT_EQ(d.status, 0) << d.err;
}

TEST_F(Cli, FiltersAndColourWriteImagesAndRefuseBadParameters) {
    write("sq.pgm", kSquare);
    CliRun m = run("filter median sq.pgm --size 3 --border 0 -o m.pgm");
    EXPECT_EQ(m.status, 0) << m.err;
    ASSERT_EQ(run("convert m.pgm -o m.pgm --plain").status, 0);
    // Each corner of the square sees four bright pixels out of nine: below the median.
    EXPECT_EQ(read("m.pgm"), "P2 4 4 1\n0 0 0 0 \n0 0 0 0 \n0 0 0 0 \n0 0 0 0 \n");
    CliRun bad = run("filter mean sq.pgm --border 2 -o x.pgm");
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.err, "mutils filter: sq.pgm: Illegal data value\n");
    write("c.ppm", "P3 2 1 255\n255 0 0 0 0 255\n");
    EXPECT_EQ(run("color gray c.ppm -o g.pgm").status, 0);
    ASSERT_EQ(run("convert g.pgm -o g.pgm --plain").status, 0);
    EXPECT_EQ(read("g.pgm"), "P2 2 1 76\n76 29 \n");
    EXPECT_EQ(run("color palette c.ppm --levels 2 -o p.ppm").status, 0);
    EXPECT_EQ(run("color convert c.ppm --to rgb -o same.ppm").status, 0);
    EXPECT_EQ(read("same.ppm"), read("p.ppm"));
}

TEST_F(Cli, BatchTransformAndWindowWriteTheirFiles) {
    write("a.pgm", kSquare);
    write("b.pgm", kSquare);
    CliRun r = run("morph dilate a.pgm b.pgm -o outdir --element rect --jobs 2");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(exists("outdir/a.pgm") && exists("outdir/b.pgm"));  // one output per input
    write("x.txt", "1\n2\n3\n4\n");
    CliRun t = run("transform dft x.txt -o X.mat --part real");
    EXPECT_EQ(t.status, 0) << t.err;
    EXPECT_TRUE(has(read("X.mat"), "10"));
    EXPECT_EQ(run("window hanning -n 8 -o w.txt").status, 0);
}

TEST_F(Cli, DemoWritesItsPagePicturesAndTable) {
    CliRun r = run("demo -o show");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(has(r.out, "Connected components")) << r.out;
    EXPECT_TRUE(has(read("show/index.html"), "<img src=\"canny.bmp\">"));
    EXPECT_EQ(read("show/canny.bmp").substr(0, 2), "BM");
    EXPECT_EQ(read("show/canny.pgm").substr(0, 2), "P5");
}

TEST_F(Cli, WrittenImagesAreReadByNetpbm) {
    if (std::system("command -v pamfile >/dev/null 2>&1") != 0) GTEST_SKIP() << "netpbm not installed";
    write("sq.pgm", kSquare);
    ASSERT_EQ(run("convert sq.pgm -o colour.ppm").status, 0);
    ASSERT_EQ(shell("pamfile colour.ppm > pam.txt 2>&1"), 0) << read("pam.txt");
    EXPECT_TRUE(has(read("pam.txt"), "4 by 4")) << read("pam.txt");
}

}  // namespace
