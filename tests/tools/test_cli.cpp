// End-to-end runs of the mutils program on small files: outputs, exit codes and error lines.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "support.h"

#ifndef MUTILS_CLI
#define MUTILS_CLI "mutils"
#endif
#ifndef MUTILS_CLI_DATA
#define MUTILS_CLI_DATA "tests/tools/data"
#endif

namespace {

using mutils::test::have_tools;

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
        s << std::ifstream(name[0] == '/' ? name : path(name), std::ios::binary).rdbuf();
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
    for (const char* args : {"", "no-such-command", "window kaiser -n 0 -o w.txt"})
        EXPECT_EQ(run(args).status, 2) << args;
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

TEST_F(Cli, MeasureWritesOneCsvRowPerRegionAndSegmentWritesLabelsAndMeans) {
    write("two.pgm", "P2 5 3 255\n255 255 0 0 255\n255 255 0 0 255\n0 0 0 0 0\n");
    CliRun m = run("measure --mask two.pgm");
    ASSERT_EQ(m.status, 0) << m.err;
    EXPECT_EQ(lines(m.out), 3) << m.out;
    EXPECT_TRUE(has(m.out, "label,area,centroid_row,centroid_col,min_row")) << m.out;
    EXPECT_TRUE(has(m.out, "\n1,4,0.5,0.5,0,0,1,1,4,")) << m.out;
    CliRun k = run("segment klm two.pgm --regions 2 -o seg.pgm");
    EXPECT_TRUE(k.status == 0 && has(k.out, "2 regions")) << k.out << k.err;
    EXPECT_TRUE(exists("seg.pgm") && exists("seg-approx.pgm"));
    CliRun s = run("segment seeded two.pgm --seed 0,4 --seed 2,0 --tolerance 0 -o s.pgm");
    EXPECT_TRUE(s.status == 0 && exists("s-approx.pgm")) << s.err;
    CliRun bad = run("segment seeded two.pgm --seed 9,9 -o s.pgm");
    EXPECT_EQ(bad.status, 1);
    EXPECT_TRUE(has(bad.err, "Illegal data value")) << bad.err;
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

TEST_F(Cli, GeometryRotatesScalesAndWarps) {
    write("a.pgm", "P2 4 3 255\n0 10 20 30\n40 50 60 70\n80 90 100 110\n");
    ASSERT_EQ(run("rotate a.pgm -a 90 --expand --interp nearest -o r.pgm").status, 0);
    ASSERT_EQ(run("convert r.pgm -o r.pgm --plain").status, 0);
    EXPECT_EQ(read("r.pgm"), "P2 3 4 110\n30 70 110 \n20 60 100 \n10 50 90 \n0 40 80 \n");
    ASSERT_EQ(run("scale a.pgm --rows 3 --cols 2 --interp area -o s.txt").status, 0);
    EXPECT_TRUE(has(read("s.txt"), "45         65")) << read("s.txt");
    // Tie points shifting one column left: the result shows the image from column 1.
    write("t.txt", "0 0 0 1\n0 3 0 4\n2 0 2 1\n2 3 2 4\n");
    CliRun w = run("warp a.pgm --tiepoints t.txt --interp nearest --fill 9 -o w.pgm");
    EXPECT_TRUE(has(w.out, "rms residual")) << w.err;
    ASSERT_EQ(run("convert w.pgm -o w.pgm --plain").status, 0);
    EXPECT_TRUE(has(read("w.pgm"), "10 20 30 9 \n")) << read("w.pgm");
    EXPECT_EQ(run("warp a.pgm --tiepoints t.txt --degree 5 -o x.pgm").err, "mutils warp: a.pgm: Illegal data value\n");
    EXPECT_EQ(run("warp a.pgm -o x.pgm").status, 2);
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
    EXPECT_TRUE(has(read("show/index.html"), "<img src=\"canny.png\">"));
    EXPECT_EQ(read("show/canny.png").substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_FALSE(exists("show/canny.bmp"));
    EXPECT_EQ(read("show/canny.pgm").substr(0, 2), "P5");
}

TEST_F(Cli, HistogramsCountThePixelsAtTheMinimum) {
    write("m.pgm", "P2 2 1 255\n0 255\n");
    CliRun r = run("stats m.pgm -b 2");
    EXPECT_TRUE(has(r.out, "histogram 1 1\n") && has(r.out, "entropy   1 bits")) << r.out;
    // A 0/255 mask of a photo-like scene (tests/tools/data/make_fixtures.sh): 179 + 205 pixels.
    CliRun mask = run("stats " MUTILS_CLI_DATA "/mask.png -b 2");
    EXPECT_TRUE(has(mask.out, "histogram 179 205\n")) << mask.out << mask.err;
    EXPECT_TRUE(has(run("info " MUTILS_CLI_DATA "/mask.png").out, "histogram (8 bins): 179 0 0 0 0 0 0 205"));
}

TEST_F(Cli, UnknownAndMalformedFilesGiveOneCleanLine) {
    write("x.bin", "hello\n");
    write("cut.png", read(MUTILS_CLI_DATA "/photo-rgb.png").substr(0, 120));
    write("cut.jpg", read(MUTILS_CLI_DATA "/photo-rgb.jpg").substr(0, 300));
    CliRun r = run("info x.bin");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err,
              "mutils info: x.bin: unrecognised image format (PNG, JPEG, PBM, PGM, PPM, TIFF or a matrix "
              "file expected)\n");
    EXPECT_TRUE(has(run("chain x.bin --row 0 --col 0").err, "mutils chain: x.bin: unrecognised image format"));
    for (const char* bad : {"cut.png", "cut.jpg"}) {
        CliRun b = run(std::string("edges canny ") + bad + " -o e.png");
        EXPECT_EQ(b.status, 1) << bad;
        EXPECT_EQ(lines(b.err), 1) << b.err;
        EXPECT_TRUE(has(b.err, std::string("mutils edges: ") + bad + ": ")) << b.err;
    }
    EXPECT_EQ(run("convert x.bin -o y.jpg").status, 1);  // JPEG is read, not written
}

TEST_F(Cli, PngAndJpegFromElsewhereDecodeLikeNetpbm) {
    if (!have_tools({"pngtopnm"})) GTEST_SKIP() << "netpbm not installed";
    for (const char* name : {"photo-grey.png", "photo-grey16.png", "photo-grey-alpha.png", "photo-rgb.png",
                             "photo-rgba.png", "photo-palette.png", "photo-interlaced.png", "mask-1bit.png",
                             "photo-grey.jpg", "photo-rgb.jpg", "photo-rgb-progressive.jpg"}) {
        const std::string in = std::string(MUTILS_CLI_DATA "/") + name;
        const char* tool = has(in, ".png") ? "pngtopnm" : "jpegtopnm";
        ASSERT_EQ(shell(std::string(tool) + " " + in + " > ref.pnm 2>/dev/null"), 0) << name;
        ASSERT_EQ(run("convert " + in + " -o ours.mat").status, 0) << name;
        ASSERT_EQ(run("convert ref.pnm -o ref.mat").status, 0) << name;
        EXPECT_EQ(read("ours.mat"), read("ref.mat")) << name;
    }
    CliRun g16 = run("info " MUTILS_CLI_DATA "/photo-grey16.png");
    EXPECT_TRUE(has(g16.out, "uint16")) << g16.out;
    CliRun rgba = run("info " MUTILS_CLI_DATA "/photo-rgba.png");
    EXPECT_TRUE(has(rgba.out, "3 planes") && has(rgba.err, "mutils info: note: ")) << rgba.out << rgba.err;
    EXPECT_TRUE(has(run("info --alpha " MUTILS_CLI_DATA "/photo-rgba.png").out, "4 planes"));
    // Written PNGs (8 and 16 bits, grey, RGB and RGBA) read back as they were.
    for (const char* name : {"photo-grey16.png", "photo-rgb.png", "photo-rgba.png"}) {
        const std::string in = std::string(MUTILS_CLI_DATA "/") + name;
        ASSERT_EQ(run("convert --alpha " + in + " -o out.png").status, 0) << name;
        ASSERT_EQ(shell("pngtopnm out.png > back.pnm 2>/dev/null && pngtopnm " + in + " > ref.pnm 2>/dev/null"), 0);
        EXPECT_EQ(read("back.pnm"), read("ref.pnm")) << name;
    }
}

TEST_F(Cli, EveryImageSubcommandTakesPngAndJpeg) {
    for (const char* name : {"photo-rgb.png", "photo-grey16.png", "photo-rgb.jpg"}) {
        const std::string in = std::string(MUTILS_CLI_DATA "/") + name;
        for (const std::string& args :
             {"info " + in, "stats " + in, "convert " + in + " -o c.png", "edges canny " + in + " -o e.png",
              "morph open " + in + " -o m.png", "morph erode --grey " + in + " -o g.png", "label " + in + " -o l.png",
              "threshold auto " + in + " -o t.png", "distance " + in + " -o d.mat", "hull " + in + " -o h.png",
              "chain " + in + " --row 7 --col 7", "flow " + in + " " + in + " -o f.mat"}) {
            CliRun r = run(args);
            EXPECT_EQ(r.status, 0) << args << ": " << r.err;
        }
        EXPECT_EQ(read("e.png").substr(1, 3), "PNG");
    }
    // The format follows the name unless --format says otherwise, for a file, a folder or stdout.
    const std::string in = MUTILS_CLI_DATA "/photo-grey.jpg";
    ASSERT_EQ(run("edges sobel " + in + " " + in + " -o outdir --format png").status, 0);
    EXPECT_TRUE(exists("outdir/photo-grey.png"));
    EXPECT_EQ(run("convert " + in + " -o - --format png").out.substr(1, 3), "PNG");
    ASSERT_EQ(run("convert " + in + " -o odd.name --format pgm").status, 0);
    EXPECT_EQ(read("odd.name").substr(0, 2), "P5");
}

TEST_F(Cli, BitmapsOfEveryWidthGoBothWaysWithNetpbm) {
    if (!have_tools({"pnmtoplainpnm"})) GTEST_SKIP() << "netpbm not installed";
    auto squeeze = [](std::string s) {  // plain PBM text without its white space
        s.erase(std::remove_if(s.begin(), s.end(), [](char c) { return std::isspace(static_cast<unsigned char>(c)); }),
                s.end());
        return s;
    };
    for (int w = 1; w <= 17; ++w) {
        std::string pgm = "P2 " + std::to_string(w) + " 3 255\n";
        for (int i = 0; i < 3 * w; ++i) pgm += (i * 7 % 5 < 2 ? "255 " : "0 ");
        write("in.pgm", pgm);
        ASSERT_EQ(run("convert in.pgm -o plain.pbm --plain").status, 0);
        const std::string expected = squeeze(read("plain.pbm"));
        // Ours, read by netpbm; netpbm's raw bitmap, read by us; the library layout, read back.
        ASSERT_EQ(run("convert in.pgm -o ours.pbm").status, 0);
        ASSERT_EQ(shell("pnmtoplainpnm ours.pbm > theirs.txt && pamtopnm plain.pbm > theirs.pbm"), 0);
        EXPECT_EQ(squeeze(read("theirs.txt")), expected) << "width " << w;
        ASSERT_EQ(run("convert in.pgm -o lib.pbm --pbm-layout library").status, 0);
        EXPECT_EQ(read("lib.pbm").size(), std::to_string(w).size() + 6 + std::size_t(3 * w + 7) / 8) << w;
        // Bodies of equal length in both layouts (3 rows of 6 or 7, 14 or 15) read as the standard one.
        const bool distinct = (3 * w + 7) / 8 != 3 * ((w + 7) / 8);
        for (const char* file : {"theirs.pbm", distinct ? "lib.pbm" : "ours.pbm"}) {
            ASSERT_EQ(run(std::string("convert ") + file + " -o back.pbm --plain").status, 0);
            EXPECT_EQ(squeeze(read("back.pbm")), expected) << file << " width " << w;
        }
    }
    // A row-padded bitmap written by Pillow.
    ASSERT_EQ(run("convert " MUTILS_CLI_DATA "/pillow-9x3.pbm -o back.pbm --plain").status, 0);
    ASSERT_EQ(shell("pnmtoplainpnm " MUTILS_CLI_DATA "/pillow-9x3.pbm > ref.txt"), 0);
    EXPECT_EQ(squeeze(read("back.pbm")), squeeze(read("ref.txt")));
}

TEST_F(Cli, HelpStatesTheKaiserAndRowVectorContracts) {
    EXPECT_TRUE(has(run("window kaiser --help").out, "first sample is 1/I0("));
    EXPECT_TRUE(has(run("transform dft --help").out, "row vector) comes back unchanged"));
}

TEST_F(Cli, WrittenImagesAreReadByNetpbm) {
    if (!have_tools({"pamfile"})) GTEST_SKIP() << "netpbm not installed";
    write("sq.pgm", kSquare);
    ASSERT_EQ(run("convert sq.pgm -o colour.ppm").status, 0);
    ASSERT_EQ(shell("pamfile colour.ppm > pam.txt 2>&1"), 0) << read("pam.txt");
    EXPECT_TRUE(has(read("pam.txt"), "4 by 4")) << read("pam.txt");
}

TEST_F(Cli, PathsPolygonsAndSnakesEndToEnd) {
    // A cheap middle row: the path runs along it; its drawing and its polygon file agree.
    write("cost.pgm", "P2 5 3 255\n9 9 9 9 9\n1 1 1 1 1\n9 9 9 9 9\n");
    CliRun p = run("path cost.pgm --from 1 0 --to 1 4 -o path.txt --draw path.pgm");
    ASSERT_EQ(p.status, 0) << p.err;
    EXPECT_EQ(p.out, "cost.pgm: 5 pixels, cost 4\n");
    ASSERT_EQ(run("polygon render path.txt --open --outline --rows 3 --cols 5 -o line.txt").status, 0);
    std::istringstream pixels(read("line.txt"));
    std::vector<int> v{std::istream_iterator<int>(pixels), std::istream_iterator<int>()};
    EXPECT_EQ(v, std::vector<int>({0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0}));
    EXPECT_EQ(run("path cost.pgm --from 1 0 --to 3 4 -o x.txt").err, "mutils path: cost.pgm: Illegal data value\n");
    // A square's features on standard output; a snake around a square writes one row per point.
    write("sq.txt", "0 0\n0 4\n4 4\n4 0\n");
    CliRun f = run("polygon features sq.txt");
    EXPECT_TRUE(has(f.out, "sq.txt area 16\n") && has(f.out, "sq.txt winding -1\n")) << f.out;
    write("sq.pgm", kSquare);
    ASSERT_EQ(run("contour greedy sq.pgm sq.pgm --points 8 --edge 0 --line 1 -o snakes --jobs 2").status, 0);
    EXPECT_EQ(lines(read("snakes/sq.txt")), 8);
    EXPECT_TRUE(has(run("contour --help").out, "free-fixed"));
}

}  // namespace
