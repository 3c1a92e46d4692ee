// projectdb thumbs: build makes the demo's thumbnails once, info counts them,
// sheet draws the run's frames as a labelled grid that a PNG decoder reads
// back, prune empties the file; wrong use and unknown runs get one error line.
#include "tool_runner.h"

#include "test_support.h"

#include "gnr_projectdb/thumbnails.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

// The number after `label` in `text` (-1 when it is not there).
long long NumberAfter(const std::string& text, const std::string& label) {
    const std::size_t at = text.find(label);
    if (at == std::string::npos) return -1;
    return std::stoll(text.substr(at + label.size()));
}

// The demo database of a fresh folder and its run's uuid.
struct SDemo {
    CYxTempDir dir;
    std::string db, run;
    SDemo() {
        const SToolResult r = RunTool({"demo", dir.Path()});
        EXPECT_EQ(0, r.exitCode) << r.err;
        db = dir.Path() + "/demo.gnrdb";
        const SToolResult q = RunTool({"sql", db, "SELECT wszUuid FROM jobrun"});
        EXPECT_EQ(0, q.exitCode) << q.err;
        run = q.out.substr(0, q.out.find('\n'));
        EXPECT_EQ(32u, run.size()) << q.out;
    }
};

struct SCounts {
    long long made = -1, current = -1, failed = -1;
};

SCounts Build(const std::vector<std::string>& args) {
    const SToolResult r = RunTool(args);
    EXPECT_EQ(0, r.exitCode) << r.out << r.err;
    EXPECT_TRUE(r.err.empty()) << r.err;
    // Without a terminal: plain lines, no bar.
    EXPECT_EQ(std::string::npos, r.out.find('\r')) << r.out;
    EXPECT_EQ(std::string::npos, r.out.find('\x1b')) << r.out;
    SCounts c;
    c.made = NumberAfter(r.out, ": ");
    c.current = NumberAfter(r.out, "made, ");
    c.failed = NumberAfter(r.out, "current, ");
    return c;
}

TEST(ThumbsCommand, BuildMakesTheThumbnailsOnceAndInfoCountsThem) {
    SDemo demo;
    // 48 frames of two planes.
    SCounts c = Build({"thumbs", "build", demo.db});
    EXPECT_EQ(96, c.made);
    EXPECT_EQ(0, c.current);
    EXPECT_EQ(0, c.failed);
    SToolResult info = RunTool({"thumbs", "info", demo.db});
    ASSERT_EQ(0, info.exitCode) << info.err;
    EXPECT_EQ(96, NumberAfter(info.out, "thumbnails: ")) << info.out;
    EXPECT_EQ(96, NumberAfter(info.out, "level 128: ")) << info.out;
    EXPECT_EQ(0, NumberAfter(info.out, "failures:   ")) << info.out;
    EXPECT_GT(NumberAfter(info.out, "thumbnails: 96 ("), 96 * 100) << info.out;  // PNG bytes
    EXPECT_NE(std::string::npos, info.out.find("demo.gnrthumbs")) << info.out;

    // Nothing changed: nothing to make.
    c = Build({"thumbs", "build", demo.db});
    EXPECT_EQ(0, c.made);
    EXPECT_EQ(96, c.current);

    // Another level, one plane, one run: only those.
    c = Build({"thumbs", "build", demo.db, "--run", demo.run, "--level", "256", "--plane", "1", "--quiet"});
    EXPECT_EQ(48, c.made);
    EXPECT_EQ(0, c.current);
    info = RunTool({"thumbs", "info", demo.db});
    EXPECT_EQ(144, NumberAfter(info.out, "thumbnails: ")) << info.out;
    EXPECT_EQ(48, NumberAfter(info.out, "level 256: ")) << info.out;

    // A budget of nothing removes them all; info agrees.
    const SToolResult prune = RunTool({"thumbs", "prune", demo.db, "--budget", "0"});
    ASSERT_EQ(0, prune.exitCode) << prune.err;
    EXPECT_EQ(144, NumberAfter(prune.out, "that are gone, ") + NumberAfter(prune.out, "removed ")) << prune.out;
    EXPECT_EQ(0, NumberAfter(prune.out, "-> ")) << prune.out;
    info = RunTool({"thumbs", "info", demo.db});
    EXPECT_EQ(0, NumberAfter(info.out, "thumbnails: ")) << info.out;
}

TEST(ThumbsCommand, PruneDropsTheThumbnailsOfARunThatIsGone) {
    SDemo demo;
    EXPECT_EQ(96, Build({"thumbs", "build", demo.db}).made);
    const SToolResult del = RunTool({"sql", demo.db, "DELETE FROM jobrun", "--write"});
    ASSERT_EQ(0, del.exitCode) << del.err;
    const SToolResult prune = RunTool({"thumbs", "prune", demo.db});
    ASSERT_EQ(0, prune.exitCode) << prune.err;
    EXPECT_EQ(96, NumberAfter(prune.out, "removed ")) << prune.out;
    EXPECT_EQ(0, NumberAfter(prune.out, "that are gone, ")) << prune.out;
}

// Reads back a sheet written by the tool.
struct SSheet {
    std::vector<std::uint8_t> grey;
    int width = 0, height = 0;
    std::uint8_t At(int x, int y) const {
        return grey[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
};

SSheet ReadSheet(const std::string& path) {
    SSheet s;
    const std::string bytes = ReadFileBytes(path);
    EXPECT_FALSE(bytes.empty()) << path;
    EXPECT_EQ(0, YxProjectDb_Thumb_DecodePng(bytes.data(), bytes.size(), &s.grey, &s.width, &s.height));
    return s;
}

TEST(ThumbsCommand, SheetIsAGridOfLabelledThumbnails) {
    SDemo demo;
    const std::string png = demo.dir.Path() + "/sheet.png";
    const SToolResult r = RunTool({"thumbs", "sheet", demo.db, "--run", demo.run, "-o", png, "--columns", "5"});
    ASSERT_EQ(0, r.exitCode) << r.out << r.err;
    EXPECT_TRUE(r.err.empty()) << r.err;

    // 48 frames in 5 columns: 10 rows, the last with 3 cells. The demo's
    // 512 x 512 frames give 128 x 128 thumbnails at level 128; cells are 8
    // pixels apart, and each has a label strip of 7 * 2 + 6 under it.
    const int thumb = 128, margin = 8, label = 20, columns = 5, rows = 10;
    const SSheet sheet = ReadSheet(png);
    ASSERT_EQ(columns * thumb + (columns + 1) * margin, sheet.width);
    ASSERT_EQ(rows * (thumb + label) + (rows + 1) * margin, sheet.height);
    EXPECT_NE(std::string::npos, r.out.find(std::to_string(sheet.width) + " x " + std::to_string(sheet.height))) << r.out;
    // The thumbnails it needed were rendered and stored: plane 0 of every frame.
    const SToolResult info = RunTool({"thumbs", "info", demo.db});
    EXPECT_EQ(48, NumberAfter(info.out, "level 128: ")) << info.out;

    // Frame i's cell shows frame i's thumbnail of plane 0, as the library
    // renders it, and a label; the slots after the last frame stay empty.
    std::unique_ptr<CYxThumbnailDb> thumbs;
    const std::wstring db(demo.db.begin(), demo.db.end());
    ASSERT_EQ(0, CYxThumbnailDb::Open(db.c_str(), &thumbs));
    const std::wstring run(demo.run.begin(), demo.run.end());
    std::set<std::vector<std::uint8_t>> labels;
    for (int i = 0; i < rows * columns; ++i) {
        SCOPED_TRACE("cell " + std::to_string(i));
        const int x0 = margin + (i % columns) * (thumb + margin);
        const int y0 = margin + (i / columns) * (thumb + label + margin);
        std::vector<std::uint8_t> cell, strip;
        for (int y = y0; y < y0 + thumb; ++y)
            for (int x = x0; x < x0 + thumb; ++x) cell.push_back(sheet.At(x, y));
        for (int y = y0 + thumb; y < y0 + thumb + label; ++y)
            for (int x = x0; x < x0 + thumb; ++x) strip.push_back(sheet.At(x, y));
        const auto [lo, hi] = std::minmax_element(cell.begin(), cell.end());
        if (i >= 48) {
            EXPECT_EQ(*lo, *hi) << "an empty slot is drawn on";
            EXPECT_TRUE(std::all_of(strip.begin(), strip.end(), [&](std::uint8_t v) { return v == *lo; }));
            continue;
        }
        // Not blank: dark background and bright cells.
        EXPECT_GT(*hi - *lo, 150);
        SYxThumbnail t;
        ASSERT_EQ(0, thumbs->Get(run.c_str(), i, 0, 128, &t));
        std::vector<std::uint8_t> grey;
        int w = 0, h = 0;
        ASSERT_EQ(0, YxProjectDb_Thumb_DecodePng(t.png.data(), t.png.size(), &grey, &w, &h));
        ASSERT_EQ(thumb, w);
        ASSERT_EQ(thumb, h);
        EXPECT_TRUE(grey == cell) << "the cell is not the frame's thumbnail";
        // The label is drawn in white, and differs from every other one.
        EXPECT_TRUE(std::any_of(strip.begin(), strip.end(), [](std::uint8_t v) { return v == 255; }));
        EXPECT_TRUE(labels.insert(strip).second) << "same label as another cell";
    }
}

TEST(ThumbsCommand, FramesWithoutAnImageAreCountedAndCrossedOut) {
    SDemo demo;
    // The fourth position's file (frames 3, 7, 11, ...) is gone.
    const SToolResult folder =
        RunTool({"sql", demo.db, "SELECT p.wszFolderName || '/' || replace(r.wszFolderName, '\\', '/') "
                                 "FROM jobrun r JOIN project p ON p.iKey=r.iProjKeyRef"});
    ASSERT_EQ(0, folder.exitCode) << folder.err;
    const std::string image = demo.dir.Path() + "/demo Projects/" + folder.out.substr(0, folder.out.find('\n')) + "/pos04.tif";
    ASSERT_TRUE(std::filesystem::remove(image)) << image;

    const SCounts c = Build({"thumbs", "build", demo.db});
    EXPECT_EQ(72, c.made);
    EXPECT_EQ(24, c.failed);
    const SToolResult info = RunTool({"thumbs", "info", demo.db});
    EXPECT_EQ(24, NumberAfter(info.out, "failures:   ")) << info.out;

    const std::string png = demo.dir.Path() + "/sheet.png";
    const SToolResult r = RunTool({"thumbs", "sheet", demo.db, "--run", demo.run, "-o", png});
    ASSERT_EQ(0, r.exitCode) << r.out << r.err;
    EXPECT_EQ(12, NumberAfter(r.out, "pixels\n")) << r.out;
    const SSheet sheet = ReadSheet(png);
    const int thumb = 128, margin = 8, label = 20, columns = 8;
    ASSERT_EQ(columns * thumb + (columns + 1) * margin, sheet.width);
    for (int i = 0; i < 48; ++i) {
        SCOPED_TRACE("cell " + std::to_string(i));
        const int x0 = margin + (i % columns) * (thumb + margin);
        const int y0 = margin + (i / columns) * (thumb + label + margin);
        // A cross: frame, both diagonals, nothing else.
        const bool crossed = sheet.At(x0, y0) == 128 && sheet.At(x0 + thumb - 1, y0 + thumb - 1) == 128 &&
                             sheet.At(x0 + thumb / 2, y0 + thumb / 2) == 128 &&
                             sheet.At(x0 + thumb / 2, y0 + thumb / 4) == 40;
        EXPECT_EQ(i % 4 == 3, crossed);
    }
}

TEST(ThumbsCommand, WrongUseIsOneLineAndExitTwo) {
    SDemo demo;
    const std::string png = demo.dir.Path() + "/x.png";
    const std::string zero(32, '0');
    const std::vector<std::vector<std::string>> calls = {
        {"thumbs"},
        {"thumbs", "build"},
        {"thumbs", "bake", demo.db},
        {"thumbs", "build", demo.db, "extra"},
        {"thumbs", "build", demo.db, "--level", "100"},
        {"thumbs", "build", demo.db, "--level", "12x"},
        {"thumbs", "build", demo.db, "--plane", "-1"},
        {"thumbs", "build", demo.db, "--run", "not-a-uuid"},
        {"thumbs", "build", demo.db, "--run", demo.run + "'; DROP TABLE frame; --"},
        {"thumbs", "build", demo.db, "-o", png},
        {"thumbs", "info", demo.db, "--budget", "5"},
        {"thumbs", "prune", demo.db, "--budget", "12Q"},
        {"thumbs", "prune", demo.db, "--budget", ""},
        {"thumbs", "sheet", demo.db, "-o", png},
        {"thumbs", "sheet", demo.db, "--run", demo.run},
        {"thumbs", "sheet", demo.db, "--run", demo.run, "-o", png, "--columns", "0"},
        {"thumbs", "sheet", demo.db, "--run", zero, "-o", png, "--bogus"},
    };
    for (const auto& args : calls) {
        std::string line;
        for (const std::string& a : args) line += a + ' ';
        SCOPED_TRACE(line);
        const SToolResult r = RunTool(args);
        EXPECT_EQ(2, r.exitCode);
        ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
        EXPECT_EQ(0u, r.ErrLines()[0].rfind("projectdb: thumbs: ", 0)) << r.err;
        EXPECT_NE(std::string::npos, r.err.find("usage: projectdb thumbs")) << r.err;
        EXPECT_TRUE(r.out.empty()) << r.out;
    }
    // Nothing was made or written.
    EXPECT_FALSE(std::filesystem::exists(png));
    EXPECT_FALSE(std::filesystem::exists(demo.dir.Path() + "/demo.gnrthumbs"));
    const SToolResult frames = RunTool({"sql", demo.db, "SELECT count(*) FROM frame"});
    EXPECT_EQ("48\n", frames.out);
}

TEST(ThumbsCommand, UnknownRunOrDatabaseFailsWithOneLine) {
    SDemo demo;
    const std::string png = demo.dir.Path() + "/x.png";
    const std::string zero(32, '0');
    const std::vector<std::vector<std::string>> calls = {
        {"thumbs", "build", demo.db, "--run", zero},
        {"thumbs", "sheet", demo.db, "--run", zero, "-o", png},
        {"thumbs", "info", demo.dir.Path() + "/absent.gnrdb"},
        {"thumbs", "build", demo.dir.Path() + "/absent.gnrdb"},
    };
    for (const auto& args : calls) {
        SCOPED_TRACE(args[1] + " " + args[2]);
        const SToolResult r = RunTool(args);
        EXPECT_EQ(1, r.exitCode);
        ASSERT_EQ(1u, r.ErrLines().size()) << r.err;
        EXPECT_EQ(0u, r.ErrLines()[0].rfind("projectdb: thumbs: ", 0)) << r.err;
    }
    EXPECT_NE(std::string::npos, RunTool(calls[0]).err.find("no run " + zero));
    EXPECT_FALSE(std::filesystem::exists(png));
    EXPECT_FALSE(std::filesystem::exists(demo.dir.Path() + "/absent.gnrdb"));
}

TEST(ThumbsCommand, BuildDrawsABarOnATerminal) {
    SDemo demo;
    const SToolResult r = RunToolOnTerminal({"thumbs", "build", demo.db}, [](const std::string&) { return ""; });
    ASSERT_EQ(0, r.exitCode) << r.out;
    EXPECT_NE(std::string::npos, r.out.find('\r')) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("] level 128 thumbnails")) << r.out;
    EXPECT_EQ(96, NumberAfter(r.out, "level 128: ")) << r.out;
}

}  // namespace
