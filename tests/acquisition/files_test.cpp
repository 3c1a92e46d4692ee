// Files of runs and their sizes, planes, and files without run.
#include "acq_fixture.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/records_file.h"

#include <QJsonObject>

#include <fstream>
#include <list>

namespace {
void WriteBytes(const std::string& path, std::size_t n) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    const std::string block(n, 'x');
    out.write(block.data(), static_cast<std::streamsize>(n));
}
}  // namespace

using Files = AcqDbTest;

TEST_F(Files, KeyListReadsOneRecordPerKeyInOrderAndAnUnknownKeyFailsTheSize) {
    WriteBytes(dir.FileUtf8("a.raw"), 1572864);
    std::int64_t a = 0, b = 0;
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, dir.File("a.raw"), 1, 1, 1, 1, 8, 1, 1.0, 1.0, &a));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, dir.File("b.raw"), 1, 1, 1, 1, 8, 1, 1.0, 1.0, &b));
    const std::int64_t unknown = b + 1000;
    std::vector<std::int64_t> keys{b, unknown, a};
    std::vector<SYxProjectDbRow_file> rows(1);  // appended to, not cleared
    ASSERT_EQ(0, YxProjectDb_File_GetMany(h, &keys, rows));
    ASSERT_EQ(4u, rows.size());
    EXPECT_EQ(b, rows[1].iKey);
    EXPECT_EQ(0, rows[2].iKey);
    EXPECT_TRUE(rows[2].wszFileName.IsEmpty());
    EXPECT_EQ(a, rows[3].iKey);

    // The unknown key has no file whose size could be had.
    std::int64_t mib = 0;
    keys = {a, unknown};
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_File_GetImagesSize_FromIKeys(h, &keys, mib));
    EXPECT_EQ(2, mib);
}

TEST_F(Files, ImagesSizeRoundsEachFileAndAccumulates) {
    WriteBytes(dir.FileUtf8("big.raw"), 1572864);     // 1.5 MiB -> 2
    WriteBytes(dir.FileUtf8("small.raw"), 524287);    // just under 0.5 MiB -> 0
    WriteBytes(dir.FileUtf8("half.raw"), 524288);     // exactly 0.5 MiB -> 1 (half away from zero)
    std::int64_t big = 0, small = 0, half = 0, missing = 0;
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, dir.File("big.raw"), 1, 1, 1, 1, 8, 1, 1.0, 1.0, &big));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, dir.File("small.raw"), 1, 1, 1, 1, 8, 1, 1.0, 1.0, &small));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, dir.File("half.raw"), 1, 1, 1, 1, 8, 1, 1.0, 1.0, &half));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, dir.File("gone.raw"), 1, 1, 1, 1, 8, 1, 1.0, 1.0, &missing));

    std::int64_t mib = 0;
    std::vector<std::int64_t> keys{big};
    EXPECT_EQ(0, YxProjectDb_File_GetImagesSize_FromIKeys(h, &keys, mib));
    EXPECT_EQ(2, mib);
    EXPECT_EQ(0, YxProjectDb_File_GetImagesSize_FromIKeys(h, &keys, mib));
    EXPECT_EQ(4, mib);  // not cleared: it accumulates
    mib = 0;
    keys = {small};
    EXPECT_EQ(0, YxProjectDb_File_GetImagesSize_FromIKeys(h, &keys, mib));
    EXPECT_EQ(0, mib);
    keys = {small, small, half};  // rounded per file: 0 + 0 + 1, not round(1.5)
    EXPECT_EQ(0, YxProjectDb_File_GetImagesSize_FromIKeys(h, &keys, mib));
    EXPECT_EQ(1, mib);

    // A missing file ends the call; what was added before it stays.
    mib = 10;
    keys = {big, missing, half};
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_File_GetImagesSize_FromIKeys(h, &keys, mib));
    EXPECT_EQ(12, mib);
    mib = 5;
    EXPECT_EQ(0, YxProjectDb_File_GetImagesSize_FromIKeys(h, nullptr, mib));
    EXPECT_EQ(5, mib);
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_File_GetImagesSize_FromIKeys(kNoHandle, &keys, mib));
    EXPECT_EQ(5, mib);
}

TEST_F(Files, SizesOfTheRunFoldersUnderTheProjectRoot) {
    // The stored names are relative, with backslashes, below the project root.
    const CYxStringW root = YxProjectDb_Db_ProjectRootFolder(h);
    ASSERT_EQ(0, YxFs_CreateDirectories(root + L"P/run1"));
    ASSERT_EQ(0, YxFs_CreateDirectories(root + L"P/run2"));
    WriteBytes((root + L"P/run1/a.raw").ToUtf8(), 1000);
    WriteBytes((root + L"P/run1/b.raw").ToUtf8(), 24);
    WriteBytes((root + L"P/run2/c.raw").ToUtf8(), 7);
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, L"a.raw", 1, 1, 1, 1, 8, 1, 1.0, 1.0));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, L"b.raw", 1, 1, 1, 1, 8, 1, 1.0, 1.0));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, L"absent.raw", 1, 1, 1, 1, 8, 1, 1.0, 1.0));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey2, L"c.raw", 1, 1, 1, 1, 8, 1, 1.0, 1.0));
    EXPECT_EQ(1024u, YxProjectDb_File_GetManyFilesSize(h, runKey));
    EXPECT_EQ(7u, YxProjectDb_File_GetManyFilesSize(h, runKey2));
    EXPECT_EQ(1031u, YxProjectDb_File_GetAllFilesSize(h));
    EXPECT_EQ(0u, YxProjectDb_File_GetAllFilesSize(kNoHandle));
}

TEST_F(Files, RowsUpdatesAndLookups) {
    std::int64_t a = 0, b = 0;
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, L"a.tif", 640, 480, 2, 1, 16, 0, 0.5, 1.0, &a));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey2, L"b.tif", 64, 48, 1, 3, 8, 0, 0.5, 1.0, &b));
    EXPECT_EQ(0, YxProjectDb_File_Update(h, a, 12));
    EXPECT_EQ(0, YxProjectDb_File_Update(h, a, 0.25));
    SYxProjectDbRow_file row;
    ASSERT_EQ(0, YxProjectDb_File_GetOne(h, a, row));
    EXPECT_EQ(12, row.iFrameCount);
    EXPECT_DOUBLE_EQ(0.25, row.dCalibration);
    EXPECT_EQ(480, row.iHeight);
    EXPECT_TRUE(row.wszUuid.IsEmpty());

    std::vector<SYxProjectDbRow_file> rows(1);  // appended after what is there
    ASSERT_EQ(0, YxProjectDb_File_GetMany(h, runKey2, rows));
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ(b, rows[1].iKey);
    rows.clear();
    const std::vector<std::int64_t> keys{b, 12345, a};
    ASSERT_EQ(0, YxProjectDb_File_GetMany(h, &keys, rows));
    ASSERT_EQ(3u, rows.size());  // one record per key, the unknown one empty
    EXPECT_EQ(b, rows[0].iKey);
    EXPECT_EQ(0, rows[1].iKey);
    EXPECT_EQ(a, rows[2].iKey);

    AcqQuery(h, "UPDATE file SET wszUuid='abc' WHERE iKey=" + std::to_string(b));
    bool exists = false;
    EXPECT_EQ(0, Yx_ProjectDb_File_Exists(h, L"abc", exists));
    EXPECT_TRUE(exists);
    EXPECT_EQ(0, Yx_ProjectDb_File_Exists(h, L"nope", exists));
    EXPECT_FALSE(exists);
    // A quote in the spliced uuid fails the statement; the flag is cleared.
    exists = true;
    EXPECT_NE(0, Yx_ProjectDb_File_Exists(h, L"it's", exists));
    EXPECT_FALSE(exists);
}

TEST_F(Files, PlanesAreSharedByNameAndComponents) {
    std::int64_t f1 = 0, f2 = 0;
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, L"1.tif", 8, 8, 2, 1, 16, 1, 1.0, 1.0, &f1));
    ASSERT_EQ(0, YxProjectDb_File_Insert(h, runKey, L"2.tif", 8, 8, 2, 1, 16, 1, 1.0, 1.0, &f2));
    SYxProjectDbRow_planeinfo dapi1{0, L"DAPI", 1, CYxByteArray("one", 3)};
    SYxProjectDbRow_planeinfo gfp{0, L"GFP", 1, CYxByteArray("g", 1)};
    SYxProjectDbRow_planeinfo dapi2{0, L"DAPI", 1, CYxByteArray("two!", 4)};
    SYxProjectDbRow_planeinfo dapiRgb{0, L"DAPI", 3, CYxByteArray("rgb", 3)};
    ASSERT_EQ(0, YxProjectDb_PlaneInfo_InsertOrReplace(h, f1, dapi1, 0));
    ASSERT_EQ(0, YxProjectDb_PlaneInfo_InsertOrReplace(h, f1, gfp, 1));
    ASSERT_EQ(0, YxProjectDb_PlaneInfo_InsertOrReplace(h, f2, dapi2, 0));
    ASSERT_EQ(0, YxProjectDb_PlaneInfo_InsertOrReplace(h, f2, dapiRgb, 1));
    EXPECT_EQ(dapi1.iKey, dapi2.iKey);
    EXPECT_NE(dapi1.iKey, dapiRgb.iKey);
    EXPECT_EQ(3, Count("planeinfo"));
    EXPECT_EQ(4, Count("fileplaneinfo"));

    SYxProjectDbRow_planeinfo read;
    ASSERT_EQ(0, YxProjectDb_PlaneInfo_GetOne(h, L"DAPI", 1, read));
    EXPECT_EQ(dapi1.iKey, read.iKey);
    EXPECT_EQ(CYxByteArray("two!", 4), read.pData);  // the newest description

    std::list<SYxProjectDbRow_planeinfo> planes;
    ASSERT_EQ(0, YxProjectDb_PlaneInfo_GetMany(h, planes, f1));
    EXPECT_EQ(2u, planes.size());
    planes.clear();
    ASSERT_EQ(0, YxProjectDb_PlaneInfo_GetAllReferencingJobrun(h, planes, runKey));
    EXPECT_EQ(3u, planes.size());  // distinct over both files
    planes.clear();
    ASSERT_EQ(0, YxProjectDb_PlaneInfo_GetAllReferencingJobrun(h, planes, runKey2));
    EXPECT_TRUE(planes.empty());

    std::list<SYxProjectDbRow_fileplaneinfo> links;
    ASSERT_EQ(0, YxProjectDb_FilePlaneInfo_GetMany(h, f2, links));
    ASSERT_EQ(2u, links.size());
    std::int64_t link = -1;
    ASSERT_EQ(0, YxProjectDb_FilePlaneInfo_GetIKey(h, f2, dapiRgb.iKey, 1, link));
    EXPECT_EQ(links.back().iKey, link);
    ASSERT_EQ(0, YxProjectDb_FilePlaneInfo_GetIKey(h, f2, dapiRgb.iKey, 0, link));
    EXPECT_EQ(0, link);

    // A quote in a plane name breaks the spliced look-up, which then finds
    // nothing: the first attach inserts the plane (its values are bound), the
    // next one meets the unique rule and writes no link.
    SYxProjectDbRow_planeinfo quoted{0, L"it's", 1, CYxByteArray()};
    EXPECT_EQ(0, YxProjectDb_PlaneInfo_InsertOrReplace(h, f1, quoted, 2));
    SYxProjectDbRow_planeinfo again{0, L"it's", 1, CYxByteArray()};
    EXPECT_EQ(19, YxProjectDb_PlaneInfo_InsertOrReplace(h, f2, again, 2));
    EXPECT_EQ(4, Count("planeinfo"));
    EXPECT_EQ(5, Count("fileplaneinfo"));
    EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_PlaneInfo_InsertOrReplace(kNoHandle, f1, again, 2));
}

class FilesApp : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(0, YxProjectDb_Db_Vasq_Create(dir.File("app.db")));
        h = YxProjectDb_Db_Vasq_Connect(dir.File("app.db"));
        ASSERT_NE(0u, h);
    }
    void TearDown() override { YxProjectDb_Db_Disconnect(h); }
    CYxTempDir dir;
    YxProjectDbHandle h = 0;
};

TEST_F(FilesApp, GeometryJsonKeepsItsMemberOrder) {
    std::int64_t key = 0;
    ASSERT_EQ(0, YxProjectDb_Files_Insert(h, L"/data/a.tif", 640, 480, 99, 3, 0.5, &key));
    EXPECT_EQ("{\"iWidth\":640,\"iHeight\":480,\"iPlanes\":3,\"dCalibration\":0.5}",
              AcqOne(h, "SELECT jsonMetadata FROM files WHERE iKey=" + std::to_string(key)));
    SYxProjectDbRow_files row;
    ASSERT_EQ(0, YxProjectDb_Files_GetOne(h, key, row));
    EXPECT_EQ(L"/data/a.tif", row.wszFileName);
    EXPECT_EQ(640, row.jsonMetadata.value("iWidth").toInt());
    EXPECT_DOUBLE_EQ(0.5, row.jsonMetadata.value("dCalibration").toDouble());
    EXPECT_FALSE(row.jsonMetadata.contains("unused"));
    EXPECT_EQ(4, row.jsonMetadata.size());

    QJsonObject meta{{"owner", "lab"}, {"n", 3}};
    ASSERT_EQ(0, YxProjectDb_Files_Update(h, key, L"/data/b.tif", &meta));
    SYxProjectDbRow_files again;
    ASSERT_EQ(0, YxProjectDb_Files_GetOne(h, key, again));
    EXPECT_EQ(L"/data/b.tif", again.wszFileName);
    EXPECT_EQ(meta, again.jsonMetadata);

    std::int64_t other = 0;
    ASSERT_EQ(0, YxProjectDb_Files_Insert(h, L"c.tif", nullptr, &other));
    EXPECT_EQ("{}", AcqOne(h, "SELECT jsonMetadata FROM files WHERE iKey=" + std::to_string(other)));
    SYxProjectDbRow_files none;
    ASSERT_EQ(0, YxProjectDb_Files_GetOne(h, 777, none));
    EXPECT_EQ(0, none.iKey);
}
