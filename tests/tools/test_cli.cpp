// End-to-end runs of the mutils program on small files: outputs, exit codes and error lines.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
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

class Cli : public ::testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/mutils-cli-XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        m_dir = tmpl;
    }
    void TearDown() override { std::system(("rm -rf " + m_dir).c_str()); }

    std::string path(const std::string& name) const { return m_dir + "/" + name; }

    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }

    std::string read(const std::string& name) const {
        std::ifstream in(path(name), std::ios::binary);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }

    bool exists(const std::string& name) const {
        struct stat st;
        return stat(path(name).c_str(), &st) == 0;
    }

    CliRun run(const std::string& args) const {
        std::string cmd = "cd " + m_dir + " && " MUTILS_CLI " " + args + " >out.txt 2>err.txt </dev/null";
        int raw = std::system(cmd.c_str());
        CliRun r{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, read("out.txt"), read("err.txt")};
        return r;
    }

    std::string m_dir;
};

// A 4 x 4 greymap with a bright 2 x 2 square in the middle.
const std::string kSquare = "P2 4 4 255\n0 0 0 0\n0 200 200 0\n0 200 200 0\n0 0 0 0\n";

TEST_F(Cli, VersionHelpAndUsageErrors) {
    CliRun v = run("--version");
    EXPECT_EQ(v.status, 0);
    EXPECT_NE(v.out.find("mutils"), std::string::npos);
    EXPECT_EQ(run("--help").status, 0);
    EXPECT_EQ(run("convert --help").status, 0);
    EXPECT_EQ(run("").status, 2);
    EXPECT_EQ(run("no-such-command").status, 2);
    CliRun bogus = run("convert --bogus in.pgm -o out.pgm");
    EXPECT_EQ(bogus.status, 2);
    EXPECT_EQ(bogus.err.rfind("mutils convert: ", 0), 0u) << bogus.err;
    EXPECT_EQ(std::count(bogus.err.begin(), bogus.err.end(), '\n'), 1) << bogus.err;
}

TEST_F(Cli, InfoDescribesAnImage) {
    write("sq.pgm", kSquare);
    CliRun r = run("info sq.pgm");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("uint8, 4 rows x 4 columns"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("range [0, 200]"), std::string::npos) << r.out;
}

TEST_F(Cli, MissingAndMalformedInputsFailWithOneLine) {
    CliRun missing = run("info nothere.pgm");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("mutils info: nothere.pgm: cannot open"), std::string::npos) << missing.err;
    write("bad.pgm", "P5 3");
    CliRun bad = run("convert bad.pgm -o out.pgm");
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.err.find("mutils convert: bad.pgm:"), std::string::npos) << bad.err;
    EXPECT_EQ(std::count(bad.err.begin(), bad.err.end(), '\n'), 1);
    EXPECT_FALSE(exists("out.pgm"));  // no partial output under the requested name
}

TEST_F(Cli, ConvertRoundTripsThroughMatrixFilesAndCasts) {
    write("sq.pgm", kSquare);
    ASSERT_EQ(run("convert sq.pgm -o sq.mat").status, 0);
    ASSERT_EQ(run("convert sq.mat -o back.pgm").status, 0);
    EXPECT_EQ(read("back.pgm").substr(0, 11), "P5 4 4 200\n");  // maxval is the image's maximum
    CliRun r = run("convert sq.pgm -o sq.txt --type double");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(read("sq.txt").find("200"), std::string::npos);
    write("big.txt", "300 1\n2 3\n");
    CliRun overflow = run("convert big.txt -o big.pgm --type u8");
    EXPECT_EQ(overflow.status, 1);
    EXPECT_NE(overflow.err.find("overflow"), std::string::npos) << overflow.err;
    EXPECT_EQ(run("convert big.txt -o big.pgm --type u8 --clip").status, 0);
}

TEST_F(Cli, LabelCountsComponentsWithTheBackground) {
    write("two.pgm", "P2 5 3 255\n255 0 0 0 255\n255 0 0 0 255\n0 0 0 0 0\n");
    CliRun r = run("label two.pgm -o labels.pgm");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("3 labels"), std::string::npos) << r.out;
    // A greyscale image is cut at the level; a 0/1 mask from the threshold feeds the distance.
    write("grey.pgm", "P2 5 3 255\n200 10 10 10 180\n190 10 10 10 170\n10 10 10 10 10\n");
    CliRun g = run("label grey.pgm -o glabels.pgm");
    EXPECT_NE(g.out.find("3 labels"), std::string::npos) << g.out << g.err;
    ASSERT_EQ(run("threshold auto grey.pgm -o mask.pgm").status, 0);
    CliRun d = run("distance mask.pgm --metric cityblock -o d.txt");
    EXPECT_EQ(d.status, 0) << d.err;
}

TEST_F(Cli, BatchWritesOneOutputPerInput) {
    write("a.pgm", kSquare);
    write("b.pgm", kSquare);
    CliRun r = run("morph dilate a.pgm b.pgm -o outdir --element rect --jobs 2");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(exists("outdir/a.pgm"));
    EXPECT_TRUE(exists("outdir/b.pgm"));
}

TEST_F(Cli, TransformAndWindowWriteMatrixFiles) {
    write("x.txt", "1\n2\n3\n4\n");
    CliRun t = run("transform dft x.txt -o X.mat --part real");
    EXPECT_EQ(t.status, 0) << t.err;
    EXPECT_NE(read("X.mat").find("10"), std::string::npos);
    EXPECT_EQ(run("window hanning -n 8 -o w.txt").status, 0);
    EXPECT_EQ(run("window kaiser -n 0 -o w.txt").status, 2);
}

TEST_F(Cli, StandardInputAndOutput) {
    write("sq.pgm", kSquare);
    std::string cmd = "cd " + m_dir + " && cat sq.pgm | " MUTILS_CLI " convert - -o - > piped.mat";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
    EXPECT_NE(read("piped.mat").find("uint8"), std::string::npos);
}

TEST_F(Cli, DemoWritesItsPagePicturesAndTable) {
    CliRun r = run("demo -o show");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("Connected components"), std::string::npos) << r.out;
    const std::string page = read("show/index.html");
    EXPECT_NE(page.find("<img src=\"canny.bmp\">"), std::string::npos);
    EXPECT_EQ(read("show/canny.bmp").substr(0, 2), "BM");
    EXPECT_EQ(read("show/canny.pgm").substr(0, 2), "P5");
}

TEST_F(Cli, WrittenImagesAreReadByNetpbm) {
    if (std::system("command -v pamfile >/dev/null 2>&1") != 0) GTEST_SKIP() << "netpbm not installed";
    write("sq.pgm", kSquare);
    ASSERT_EQ(run("convert sq.pgm -o colour.ppm").status, 0);
    std::string cmd = "cd " + m_dir + " && pamfile colour.ppm > pam.txt 2>&1";
    ASSERT_EQ(std::system(cmd.c_str()), 0) << read("pam.txt");
    EXPECT_NE(read("pam.txt").find("4 by 4"), std::string::npos) << read("pam.txt");
}

}  // namespace
