// The thumbnail database: get-or-render, sources and their changes, failure
// rows, damaged files, build, info and prune.
#include "thumb_fixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <atomic>
#include <fstream>

namespace {

// Sets a file's modification time (seconds since the epoch).
void SetMTime(const std::string& path, long seconds) {
    struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, 0));
}

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace

TEST(ThumbFile, NamedAfterTheJobsDatabase) {
    EXPECT_EQ(CYxStringW(L"/data/demo.gnrthumbs"), YxProjectDb_Thumb_FilePath(L"/data/demo.gnrdb"));
    EXPECT_EQ(CYxStringW(L"/data/v1.2/demo.gnrthumbs"), YxProjectDb_Thumb_FilePath(L"/data/v1.2/demo"));
    EXPECT_EQ(CYxStringW(L"/data/.hidden.gnrthumbs"), YxProjectDb_Thumb_FilePath(L"/data/.hidden"));
    EXPECT_EQ(CYxStringW(), YxProjectDb_Thumb_FilePath(nullptr));
}

TEST_F(ThumbDbTest, PageOfEachFramePlaneAndTheStoredCopy) {
    // Two planes, three frames: pages f*2+p, each with its own grey value.
    std::vector<STestPage> pages;
    for (int i = 0; i < 6; ++i) {
        STestPage p = ConstantPage(200, 100, 8, static_cast<std::uint16_t>(20 + 30 * i));
        p.pixels[0] = 0;   // keeps the value range wide enough for any stretch
        pages.push_back(p);
    }
    ASSERT_TRUE(WriteTiff(RunFile(L"pos01.tif"), pages));
    AddFile(L"pos01.tif", 2, 10, 3);
    OpenThumbs();
    for (int f = 0; f < 3; ++f)
        for (int p = 0; p < 2; ++p) {
            SYxThumbnail t;
            ASSERT_EQ(0, thumbs->Get(kRun, 10 + f, p, 128, &t)) << f << "/" << p;
            EXPECT_EQ(128, t.iWidth);
            EXPECT_EQ(64, t.iHeight);
            const std::vector<std::uint8_t> grey = DecodeThumb(t);
            EXPECT_EQ(20 + 30 * (f * 2 + p), grey[static_cast<std::size_t>(10) * 128 + 64]) << f << "/" << p;
        }
    EXPECT_EQ("6", ThumbQuery("SELECT count(*) FROM thumb"));
    EXPECT_EQ("1", ThumbQuery("SELECT count(DISTINCT iFormat) FROM thumb"));

    // A stored thumbnail is served as stored while its source is unchanged:
    // replace the stored picture and see it come back.
    std::vector<std::uint8_t> marker(4 * 4, 77), png;
    ASSERT_EQ(0, YxProjectDb_Thumb_EncodePng(marker.data(), marker.size(), 4, 4, &png));
    std::string hex;
    for (std::uint8_t b : png) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", b);
        hex += two;
    }
    ThumbQuery("UPDATE thumb SET pImage=x'" + hex + "', iWidth=4, iHeight=4 WHERE iFrameIndex=11 AND iPlane=1");
    SYxThumbnail t;
    ASSERT_EQ(0, thumbs->Get(kRun, 11, 1, 128, &t));
    EXPECT_EQ(4, t.iWidth);
    EXPECT_EQ(png, t.png);
    // A changed modification time renders it again.
    SetMTime(RunFile(L"pos01.tif"), 1000000);
    ASSERT_EQ(0, thumbs->Get(kRun, 11, 1, 128, &t));
    EXPECT_EQ(128, t.iWidth);
    EXPECT_EQ(20 + 30 * 3, DecodeThumb(t)[static_cast<std::size_t>(10) * 128 + 64]);
    // Levels are separate thumbnails.
    ASSERT_EQ(0, thumbs->Get(kRun, 11, 1, 512, &t));
    EXPECT_EQ(200, t.iWidth);
    EXPECT_EQ(100, t.iHeight);
    EXPECT_EQ("7", ThumbQuery("SELECT count(*) FROM thumb"));
}

TEST_F(ThumbDbTest, UnknownAddressesAndBadArguments) {
    ASSERT_TRUE(WriteTiff(RunFile(L"a.tif"), {ConstantPage(16, 16, 16, 3)}));
    AddFile(L"a.tif", 1, 0, 1);
    ASSERT_EQ(0, YxProjectDb_Frame_Insert(h, runKey, 5, 0, 0));   // a frame without a file
    OpenThumbs();
    SYxThumbnail t;
    t.iWidth = 9;
    EXPECT_EQ(YXPDB_E_NOTFOUND, thumbs->Get(L"ffffffffffffffffffffffffffffffff", 0, 0, 128, &t));
    EXPECT_EQ(0, t.iWidth);   // cleared on failure
    EXPECT_EQ(YXPDB_E_NOTFOUND, thumbs->Get(kRun, 1, 0, 128, &t));
    EXPECT_EQ(YXPDB_E_NOTFOUND, thumbs->Get(kRun, 0, 1, 128, &t));
    EXPECT_EQ(YXPDB_E_NOTFOUND, thumbs->Get(kRun, 5, 0, 128, &t));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, thumbs->Get(kRun, 0, 0, 100, &t));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, thumbs->Get(kRun, -1, 0, 128, &t));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, thumbs->Get(kRun, 0, -1, 128, &t));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, thumbs->Get(nullptr, 0, 0, 128, &t));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, thumbs->Get(kRun, 0, 0, 128, nullptr));
    // A quote in the uuid is data, not SQL.
    EXPECT_EQ(YXPDB_E_NOTFOUND, thumbs->Get(L"x' OR '1'='1", 0, 0, 128, &t));
    // A frame added after the first look is found.
    ASSERT_EQ(0, thumbs->Get(kRun, 0, 0, 128, &t));
    ASSERT_TRUE(WriteTiff(RunFile(L"b.tif"), {ConstantPage(16, 16, 16, 3)}));
    AddFile(L"b.tif", 1, 7, 1);
    EXPECT_EQ(0, thumbs->Get(kRun, 7, 0, 128, &t));
}

TEST_F(ThumbDbTest, UnreadableSourceGetsAFailureRowUntilItChanges) {
    const std::string path = RunFile(L"bad.tif");
    WriteBytes(path, std::string(4000, 'x'));
    SetMTime(path, 1500000000);
    AddFile(L"bad.tif", 1, 0, 1);
    AddFile(L"missing.tif", 1, 1, 1);
    OpenThumbs();
    SYxThumbnail t;
    EXPECT_EQ(YXPDB_E_THUMB_SOURCE, thumbs->Get(kRun, 0, 0, 128, &t));
    EXPECT_EQ(YXPDB_E_THUMB_SOURCE, thumbs->Get(kRun, 1, 0, 128, &t));
    EXPECT_EQ("2", ThumbQuery("SELECT count(*) FROM thumbfail"));
    EXPECT_EQ("4000", ThumbQuery("SELECT iSourceSize FROM thumbfail WHERE iFrameIndex=0"));
    EXPECT_EQ("-1", ThumbQuery("SELECT iSourceSize FROM thumbfail WHERE iFrameIndex=1"));
    EXPECT_EQ(std::to_string(YXPDB_E_IMAGE), ThumbQuery("SELECT iStatus FROM thumbfail WHERE iFrameIndex=0"));

    // A good picture of the same size and time is not tried: the failure
    // row still stands.
    ASSERT_TRUE(WriteTiff(path, {ConstantPage(16, 16, 8, 50)}));
    struct stat st;
    ASSERT_EQ(0, ::stat(path.c_str(), &st));
    ASSERT_LT(st.st_size, 4000);
    std::string good;
    {
        std::ifstream in(path, std::ios::binary);
        good.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    WriteBytes(path, good + std::string(4000 - good.size(), '\0'));
    SetMTime(path, 1500000000);
    EXPECT_EQ(YXPDB_E_THUMB_SOURCE, thumbs->Get(kRun, 0, 0, 128, &t));
    // Once its time changes it is read, and the failure row goes.
    SetMTime(path, 1500000001);
    ASSERT_EQ(0, thumbs->Get(kRun, 0, 0, 128, &t));
    EXPECT_EQ(16, t.iWidth);
    EXPECT_EQ("1", ThumbQuery("SELECT count(*) FROM thumbfail"));
    // The missing file appears.
    ASSERT_TRUE(WriteTiff(RunFile(L"missing.tif"), {ConstantPage(16, 8, 8, 50)}));
    ASSERT_EQ(0, thumbs->Get(kRun, 1, 0, 128, &t));
    EXPECT_EQ("0", ThumbQuery("SELECT count(*) FROM thumbfail"));
}

TEST_F(ThumbDbTest, DamagedMissingOrNewerFilesAreMadeAgain) {
    ASSERT_TRUE(WriteTiff(RunFile(L"a.tif"), {ConstantPage(32, 32, 8, 9)}));
    AddFile(L"a.tif", 1, 0, 1);
    const std::string thumbPath = YxFs_NativeUtf8(YxProjectDb_Thumb_FilePath(jobsPath));
    SYxThumbnail t;
    auto expectWorking = [&](const char* what) {
        OpenThumbs();
        ASSERT_EQ(0, thumbs->Get(kRun, 0, 0, 128, &t)) << what;
        SYxThumbInfo info;
        ASSERT_EQ(0, thumbs->GetInfo(&info));
        EXPECT_EQ(1, info.iThumbnails) << what;
        EXPECT_EQ(YX_THUMB_SCHEMA_VERSION, info.iVersion);
        thumbs.reset();
    };
    expectWorking("new");
    // Deleted.
    std::remove(thumbPath.c_str());
    expectWorking("deleted");
    // Garbage.
    WriteBytes(thumbPath, std::string(10000, 'g'));
    std::remove((thumbPath + "-wal").c_str());
    expectWorking("garbage");
    // The schema page of a real file overwritten.
    {
        OpenThumbs();
        for (int i = 0; i < 3; ++i) thumbs->Get(kRun, 0, 0, 128 << i, &t);
        thumbs.reset();   // closing checkpoints the WAL into the file
        std::fstream f(thumbPath, std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(100);
        const std::string junk(3000, '\x5a');
        f.write(junk.data(), static_cast<std::streamsize>(junk.size()));
    }
    expectWorking("overwritten schema page");
    // A newer version.
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open(thumbPath.c_str(), &db));
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(db, "UPDATE vesion SET iVersion=99", nullptr, nullptr, nullptr));
        sqlite3_close(db);
    }
    EXPECT_EQ(YXPDB_E_NEWER_MAIN, YxProjectDb_Thumb_Upgrade(CYxStringW::FromUtf8(thumbPath)));
    expectWorking("newer");
    EXPECT_EQ(0, YxProjectDb_Thumb_Upgrade(CYxStringW::FromUtf8(thumbPath)));
    // A database of something else is refused by the upgrade.
    const std::string other = dir.FileUtf8("other.db");
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open(other.c_str(), &db));
        ASSERT_EQ(SQLITE_OK, sqlite3_exec(db, "CREATE TABLE x (a)", nullptr, nullptr, nullptr));
        sqlite3_close(db);
    }
    EXPECT_EQ(SQLITE_NOTADB, YxProjectDb_Thumb_Upgrade(CYxStringW::FromUtf8(other)));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, YxProjectDb_Thumb_Upgrade(nullptr));
}

TEST_F(ThumbDbTest, OpenFailures) {
    std::unique_ptr<CYxThumbnailDb> out;
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, CYxThumbnailDb::Open(nullptr, &out));
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, CYxThumbnailDb::Open(jobsPath, nullptr));
    EXPECT_EQ(YXPDB_E_GENERIC, CYxThumbnailDb::Open(dir.File("none.gnrdb"), &out));
    EXPECT_EQ(nullptr, out);
}

class ThumbBuildTest : public ThumbDbTest {
protected:
    void SetUp() override {
        ThumbDbTest::SetUp();
        // Run 1: 4 frames of 2 planes in one file and one unreadable file
        // with 1 frame; run 2: 3 frames of 1 plane.
        std::vector<STestPage> pages;
        for (int i = 0; i < 8; ++i) pages.push_back(ConstantPage(300, 150, 16, static_cast<std::uint16_t>(100 * i)));
        ASSERT_TRUE(WriteTiff(RunFile(L"a.tif"), pages));
        AddFile(L"a.tif", 2, 0, 4);
        WriteBytes(RunFile(L"bad.tif"), "II*\0garbage");
        AddFile(L"bad.tif", 1, 4, 1);
        run2 = AddRun(L"fedcba9876543210fedcba9876543210", L"run2");
        ASSERT_TRUE(WriteTiff(RunFile(L"b.tif", run2), {pages[0], pages[1], pages[2]}));
        AddFile(L"b.tif", 1, 0, 3, run2);
        OpenThumbs();
    }
    std::int64_t run2 = 0;
};

TEST_F(ThumbBuildTest, BuildsOnceAndCountsWhatIsCurrent) {
    SYxThumbBuildOptions options;
    options.wszRunUuid = kRun;
    options.iWorkers = 2;
    std::vector<SYxThumbBuildProgress> seen;
    options.fnProgress = [&](const SYxThumbBuildProgress& p) { seen.push_back(p); };
    SYxThumbBuildReport report;
    ASSERT_EQ(0, thumbs->Build(options, &report));
    EXPECT_EQ(8, report.iMade);
    EXPECT_EQ(0, report.iCurrent);
    EXPECT_EQ(1, report.iFailed);
    ASSERT_FALSE(seen.empty());
    for (std::size_t i = 1; i < seen.size(); ++i) EXPECT_LE(seen[i - 1].iDone, seen[i].iDone);
    EXPECT_EQ(9, seen.back().iDone);
    EXPECT_EQ(9, seen.back().iTotal);
    EXPECT_EQ("8", ThumbQuery("SELECT count(*) FROM thumb WHERE iLevel=128"));
    EXPECT_EQ("1", ThumbQuery("SELECT count(*) FROM thumbfail"));

    // Again: nothing to do.
    ASSERT_EQ(0, thumbs->Build(options, &report));
    EXPECT_EQ(0, report.iMade);
    EXPECT_EQ(8, report.iCurrent);
    EXPECT_EQ(1, report.iFailed);
    // One plane at another level.
    options.iLevel = 256;
    options.iPlane = 1;
    ASSERT_EQ(0, thumbs->Build(options, &report));
    EXPECT_EQ(4, report.iMade);
    EXPECT_EQ(0, report.iFailed);   // bad.tif has no plane 1: not asked for
    EXPECT_EQ(0, report.iCurrent);
    // Every run.
    options = SYxThumbBuildOptions();
    options.iWorkers = 1;
    ASSERT_EQ(0, thumbs->Build(options, &report));
    EXPECT_EQ(3, report.iMade);
    EXPECT_EQ(8, report.iCurrent);
    // A built thumbnail is what Get renders.
    SYxThumbnail t;
    ASSERT_EQ(0, thumbs->Get(kRun, 2, 1, 128, &t));
    EXPECT_EQ(128, t.iWidth);
    EXPECT_EQ(64, t.iHeight);

    SYxThumbInfo info;
    ASSERT_EQ(0, thumbs->GetInfo(&info));
    EXPECT_EQ(15, info.iThumbnails);
    EXPECT_EQ(1, info.iFailures);
    ASSERT_EQ(2u, info.levels.size());
    EXPECT_EQ(128, info.levels[0].iLevel);
    EXPECT_EQ(11, info.levels[0].iCount);
    EXPECT_EQ(256, info.levels[1].iLevel);
    EXPECT_EQ(4, info.levels[1].iCount);
    EXPECT_EQ(std::to_string(info.iImageBytes), ThumbQuery("SELECT sum(length(pImage)) FROM thumb"));
    EXPECT_GT(info.iFileBytes, 0);

    options.wszRunUuid = L"00000000000000000000000000000000";
    EXPECT_EQ(YXPDB_E_NOTFOUND, thumbs->Build(options, &report));
    options.wszRunUuid = kRun;
    options.iLevel = 64;
    EXPECT_EQ(YXPDB_E_THUMB_ARGUMENT, thumbs->Build(options, &report));
}

TEST_F(ThumbBuildTest, CancelledBuildWritesNothing) {
    std::atomic<bool> cancel{false};
    SYxThumbBuildOptions options;
    options.iWorkers = 2;
    options.pCancel = &cancel;
    // Cancel once the first thumbnail is stored: the queue must stop and
    // the transaction roll back.
    options.fnProgress = [&](const SYxThumbBuildProgress& p) {
        if (p.iDone >= 1) cancel = true;
    };
    SYxThumbBuildReport report;
    EXPECT_EQ(YXPDB_E_CANCELLED, thumbs->Build(options, &report));
    EXPECT_EQ("0", ThumbQuery("SELECT count(*) FROM thumb"));
    EXPECT_EQ("0", ThumbQuery("SELECT count(*) FROM thumbfail"));
    // Cancelled before it starts.
    EXPECT_EQ(YXPDB_E_CANCELLED, thumbs->Build(options, &report));
    cancel = false;
    options.fnProgress = nullptr;
    ASSERT_EQ(0, thumbs->Build(options, &report));
    EXPECT_EQ(11, report.iMade);
}

TEST_F(ThumbBuildTest, PruneDropsGoneRunsThenTheOldest) {
    SYxThumbBuildOptions options;
    options.iWorkers = 2;
    SYxThumbBuildReport report;
    ASSERT_EQ(0, thumbs->Build(options, &report));
    ASSERT_EQ(11, report.iMade);
    // Run 2 leaves the jobs database.
    ASSERT_EQ(0, YxProjectDb_Row_Delete(h, run2, static_cast<const SYxProjectDbRow_jobrun*>(nullptr)));
    SYxThumbPruneReport pruned;
    ASSERT_EQ(0, thumbs->Prune(-1, &pruned));
    EXPECT_EQ(3, pruned.iRemovedOrphans);
    EXPECT_EQ(0, pruned.iRemovedBudget);
    EXPECT_EQ("0", ThumbQuery("SELECT count(*) FROM thumb WHERE wszRunUuid<>'" + CYxStringW(kRun).ToUtf8() + "'"));
    EXPECT_EQ("8", ThumbQuery("SELECT count(*) FROM thumb"));
    EXPECT_EQ(1, pruned.iFailuresRemoved + std::stoi(ThumbQuery("SELECT count(*) FROM thumbfail")));

    // Ages: frame index = age order (0 oldest). A budget of the three newest.
    ThumbQuery("UPDATE thumb SET dCTime = 2460000 + iFrameIndex * 2 + iPlane");
    const std::int64_t newest3 =
        std::stoll(ThumbQuery("SELECT sum(length(pImage)) FROM (SELECT pImage FROM thumb ORDER BY dCTime DESC LIMIT 3)"));
    ASSERT_EQ(0, thumbs->Prune(newest3, &pruned));
    EXPECT_EQ(0, pruned.iRemovedOrphans);
    EXPECT_EQ(5, pruned.iRemovedBudget);
    EXPECT_EQ(newest3, pruned.iImageBytesAfter);
    EXPECT_EQ("3|2", ThumbQuery("SELECT count(*) || '|' || min(iFrameIndex) FROM thumb"));
    ASSERT_EQ(0, thumbs->Prune(0, &pruned));
    EXPECT_EQ("0", ThumbQuery("SELECT count(*) FROM thumb"));
    EXPECT_EQ(0, pruned.iImageBytesAfter);
}
