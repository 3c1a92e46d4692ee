// Merging whole jobs databases: content, idempotence, shared definitions,
// folders, refusals.
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/merge.h"
#include "merge_fixture.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace {

std::int64_t Scalar(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* s = nullptr;
    std::int64_t v = -1;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &s, nullptr) == SQLITE_OK && sqlite3_step(s) == SQLITE_ROW)
        v = sqlite3_column_int64(s, 0);
    sqlite3_finalize(s);
    sqlite3_close(db);
    return v;
}

void Exec(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    char* err = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &err)) << (err ? err : "");
    sqlite3_free(err);
    sqlite3_close(db);
}

// A fresh jobs database made the way the source was (same version rows).
std::string MakeTarget(const CYxTempDir& dir, const std::string& source, const char* name) {
    const CYxStringW path = dir.File(name);
    const bool catalog = Scalar(source, "SELECT count(*) FROM vesion WHERE wszName='dish'") > 0;
    EXPECT_EQ(0, catalog ? YxProjectDb_Db_Jobs_CreateWithUpgrades(path) : YxProjectDb_Db_Jobs_Create(path));
    return dir.FileUtf8(name);
}

std::string ProjectRoot(const std::string& dbFile) {
    std::filesystem::path p(dbFile);
    return (p.parent_path() / (p.stem().string() + " Projects")).string();
}

struct SPair {
    YxProjectDbHandle src = 0, dst = 0;
    SPair(const std::string& s, const std::string& d) {
        src = YxProjectDb_Db_Jobs_ConnectForRead(CYxStringW::FromUtf8(s));
        dst = YxProjectDb_Db_Jobs_Connect(CYxStringW::FromUtf8(d));
    }
    ~SPair() {
        YxProjectDb_Db_Disconnect(src);
        YxProjectDb_Db_Disconnect(dst);
    }
    SYxProjectDbMerge_DuplicateOptions Options() const {
        SYxProjectDbMerge_DuplicateOptions o;
        o.hSource = src;
        o.hTarget = dst;
        return o;
    }
};

std::int64_t Copied(const SYxProjectDbMergeReport& r) {
    std::int64_t n = 0;
    for (const auto& t : r.tables) n += t.iCopied;
    return n;
}

class MergeDemo : public ::testing::Test {
protected:
    void SetUp() override {
        src = MergeTest_MakeDemo(dir.Path() + "/acq", 2);
        dst = MakeTarget(dir, src, "target.gnrdb");
    }
    CYxTempDir dir;
    std::string src, dst;
};

}  // namespace

TEST_F(MergeDemo, FreshTargetGetsTheSameContentAndFolders) {
    SYxProjectDbMergeReport report;
    {
        SPair p(src, dst);
        ASSERT_EQ(0, YxProjectDb_Merge_Run(p.Options(), {}, &report));
    }
    EXPECT_EQ(MergeTest_CanonicalDump(src), MergeTest_CanonicalDump(dst));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) = 0 FROM pragma_foreign_key_check"));
    EXPECT_EQ(1, Scalar(dst, "SELECT integrity_check = 'ok' FROM pragma_integrity_check"));
    EXPECT_GT(Scalar(dst, "SELECT count(*) FROM frame"), 0);
    // The run folders and their files, byte for byte.
    const auto srcFiles = MergeTest_FolderListing(ProjectRoot(src));
    EXPECT_FALSE(srcFiles.empty());
    EXPECT_EQ(srcFiles, MergeTest_FolderListing(ProjectRoot(dst)));
    EXPECT_FALSE(report.folders.empty());
    EXPECT_GT(Copied(report), 0);
    // No work tables stay behind in the target.
    EXPECT_EQ(0, Scalar(dst, "SELECT count(*) FROM sqlite_master WHERE name LIKE 'gnr_%'"));
}

TEST_F(MergeDemo, SecondMergeAddsNothing) {
    SPair p(src, dst);
    SYxProjectDbMergeReport first, second;
    ASSERT_EQ(0, YxProjectDb_Merge_Run(p.Options(), {}, &first));
    const std::string before = MergeTest_ExactDump(dst);
    const auto files = MergeTest_FolderListing(ProjectRoot(dst));
    ASSERT_EQ(0, YxProjectDb_Merge_Run(p.Options(), {}, &second));
    EXPECT_EQ(0, Copied(second));
    // Every row of the source is matched now: those copied the first time
    // and those (the holder catalog) that the target had from the start.
    std::int64_t matched = 0, firstMatched = 0;
    for (const auto& t : second.tables) matched += t.iMatched;
    for (const auto& t : first.tables) firstMatched += t.iMatched;
    EXPECT_EQ(Copied(first) + firstMatched, matched);
    EXPECT_EQ(before, MergeTest_ExactDump(dst));
    EXPECT_EQ(files, MergeTest_FolderListing(ProjectRoot(dst)));
}

TEST_F(MergeDemo, CopyDuplicatesDoublesRecordsButNotDefinitions) {
    SPair p(src, dst);
    ASSERT_EQ(0, YxProjectDb_Merge_Run(p.Options(), {}, nullptr));
    SYxProjectDbMerge_DuplicateOptions o = p.Options();
    o.eDuplicates = eYxMergeCopyDuplicates;
    ASSERT_EQ(0, YxProjectDb_Merge_Run(o, {}, nullptr));
    const std::int64_t runs = Scalar(src, "SELECT count(*) FROM jobrun");
    EXPECT_EQ(2 * runs, Scalar(dst, "SELECT count(*) FROM jobrun"));
    EXPECT_EQ(2 * runs, Scalar(dst, "SELECT count(DISTINCT wszUuid) FROM jobrun"));
    EXPECT_EQ(2 * Scalar(src, "SELECT count(*) FROM frame"), Scalar(dst, "SELECT count(*) FROM frame"));
    EXPECT_EQ(Scalar(src, "SELECT count(*) FROM propdef"), Scalar(dst, "SELECT count(*) FROM propdef"));
    // Each copy of a run has its own folder.
    EXPECT_EQ(2 * runs, Scalar(dst, "SELECT count(DISTINCT p.wszFolderName || '/' || r.wszFolderName) FROM jobrun r "
                                    "JOIN project p ON p.iKey = r.iProjKeyRef"));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) = 0 FROM pragma_foreign_key_check"));
}

TEST(Merge, TwoAcquisitionsShareTheirDefinitions) {
    CYxTempDir dir;
    const std::string a = MergeTest_MakeDemo(dir.Path() + "/a");
    const std::string b = MergeTest_MakeDemo(dir.Path() + "/b");
    const std::string dst = MakeTarget(dir, a, "target.gnrdb");
    for (const std::string& s : {a, b}) {
        SPair p(s, dst);
        ASSERT_EQ(0, YxProjectDb_Merge_Run(p.Options(), {}, nullptr));
    }
    EXPECT_EQ(Scalar(a, "SELECT count(*) FROM propdef"), Scalar(dst, "SELECT count(*) FROM propdef"));
    EXPECT_EQ(Scalar(a, "SELECT count(*) FROM tagdef"), Scalar(dst, "SELECT count(*) FROM tagdef"));
    EXPECT_EQ(Scalar(a, "SELECT count(*) FROM qualdef"), Scalar(dst, "SELECT count(*) FROM qualdef"));
    EXPECT_EQ(2 * Scalar(a, "SELECT count(*) FROM project"), Scalar(dst, "SELECT count(*) FROM project"));
    EXPECT_EQ(Scalar(a, "SELECT count(*) FROM frame") + Scalar(b, "SELECT count(*) FROM frame"),
              Scalar(dst, "SELECT count(*) FROM frame"));
    // Both projects came with the same folder name: the second got another one.
    EXPECT_EQ(2, Scalar(dst, "SELECT count(DISTINCT wszFolderName) FROM project"));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) = 0 FROM pragma_foreign_key_check"));
}

TEST_F(MergeDemo, ScopedToOneRunBringsWhatItRefersTo) {
    SPair p(src, dst);
    std::string uuid;
    {
        sqlite3* db = nullptr;
        sqlite3_open_v2(src.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db, "SELECT wszUuid FROM jobrun ORDER BY iKey DESC LIMIT 1", -1, &s, nullptr);
        ASSERT_EQ(SQLITE_ROW, sqlite3_step(s));
        uuid = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
        sqlite3_finalize(s);
        sqlite3_close(db);
    }
    SYxProjectDbMergeScope scope;
    scope.runUuids.push_back(CYxStringW::FromUtf8(uuid));
    SYxProjectDbMergeReport plan;
    ASSERT_EQ(0, YxProjectDb_Merge_Plan(p.Options(), scope, &plan));
    EXPECT_EQ(0, Scalar(dst, "SELECT count(*) FROM jobrun"));  // the plan wrote nothing
    ASSERT_EQ(0, YxProjectDb_Merge_Run(p.Options(), scope, nullptr));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) FROM jobrun"));
    EXPECT_EQ(Scalar(src, "SELECT count(*) FROM frame f JOIN jobrun r ON r.iKey = f.iJobrunKeyRef WHERE r.wszUuid = '" +
                              uuid + "'"),
              Scalar(dst, "SELECT count(*) FROM frame"));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) FROM project"));
    // The run's program comes whole, with every task; other programs stay.
    EXPECT_EQ(Scalar(src, "SELECT count(*) FROM jobtask t JOIN jobrun r ON r.iJobprogramKeyRef = t.iJobprogramKeyRef "
                          "WHERE r.wszUuid = '" + uuid + "'"),
              Scalar(dst, "SELECT count(*) FROM jobtask"));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) FROM jobprogram"));
    EXPECT_EQ(1, Scalar(dst, "SELECT count(*) = 0 FROM pragma_foreign_key_check"));
    std::int64_t planned = 0;
    for (const auto& t : plan.tables)
        if (t.wszTable == L"frame") planned = t.iCopied;
    EXPECT_EQ(Scalar(dst, "SELECT count(*) FROM frame"), planned);
    // An unknown uuid merges nothing.
    scope.runUuids.push_back(L"0123456789abcdef0123456789abcdef");
    const std::string before = MergeTest_ExactDump(dst);
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxProjectDb_Merge_Run(p.Options(), scope, nullptr));
    EXPECT_EQ(before, MergeTest_ExactDump(dst));
}

TEST_F(MergeDemo, RefusalsWriteNothing) {
    const std::string before = MergeTest_ExactDump(dst);
    {
        SPair p(src, dst);
        SYxProjectDbMerge_DuplicateOptions o = p.Options();
        o.hSource = 0;
        EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Merge_Run(o, {}, nullptr));
        o.hSource = 987654;
        EXPECT_EQ(YXPDB_E_NOCONNECTION, YxProjectDb_Merge_Run(o, {}, nullptr));
        // The same file twice.
        const YxProjectDbHandle again = YxProjectDb_Db_Jobs_Connect(CYxStringW::FromUtf8(dst));
        o = p.Options();
        o.hSource = again;
        EXPECT_EQ(YXPDB_E_SAMEFILE, YxProjectDb_Merge_Run(o, {}, nullptr));
        YxProjectDb_Db_Disconnect(again);
        // Inside a transaction of the caller.
        ASSERT_EQ(0, YxProjectDb_Db_TransactionBegin(p.dst));
        EXPECT_EQ(SQLITE_ERROR, YxProjectDb_Merge_Run(p.Options(), {}, nullptr));
        EXPECT_EQ(0, YxProjectDb_Db_TransactionCommit(p.dst));
    }
    {
        // A read-only connection to the target.
        const YxProjectDbHandle s = YxProjectDb_Db_Jobs_ConnectForRead(CYxStringW::FromUtf8(src));
        const YxProjectDbHandle d = YxProjectDb_Db_Jobs_ConnectForRead(CYxStringW::FromUtf8(dst));
        SYxProjectDbMerge_DuplicateOptions o;
        o.hSource = s;
        o.hTarget = d;
        EXPECT_EQ(YXPDB_E_READONLY, YxProjectDb_Merge_Run(o, {}, nullptr));
        YxProjectDb_Db_Disconnect(s);
        YxProjectDb_Db_Disconnect(d);
    }
    // Different versions, both ways.
    Exec(src, "UPDATE vesion SET iVersion = iVersion - 1 WHERE wszName = 'main'");
    {
        SPair p(src, dst);
        EXPECT_EQ(YXPDB_E_OLDER, YxProjectDb_Merge_Run(p.Options(), {}, nullptr));
    }
    Exec(src, "UPDATE vesion SET iVersion = iVersion + 2 WHERE wszName = 'main'");
    {
        SPair p(src, dst);
        EXPECT_EQ(YXPDB_E_NEWER_MAIN, YxProjectDb_Merge_Run(p.Options(), {}, nullptr));
    }
    EXPECT_EQ(before, MergeTest_ExactDump(dst));
    EXPECT_TRUE(MergeTest_FolderListing(ProjectRoot(dst)).empty());
}

TEST_F(MergeDemo, ReadOnlyTargetFileIsRefused) {
    const std::string before = MergeTest_ExactDump(dst);
    ASSERT_EQ(0, ::chmod(dst.c_str(), 0444));
    {
        SPair p(src, dst);
        if (p.dst != 0) {
            const int rc = YxProjectDb_Merge_Run(p.Options(), {}, nullptr);
            EXPECT_TRUE(rc == YXPDB_E_READONLY || rc == SQLITE_READONLY) << rc;
        }
    }
    ::chmod(dst.c_str(), 0644);
    EXPECT_EQ(before, MergeTest_ExactDump(dst));
}

TEST_F(MergeDemo, RunFolderClashGetsAFreeNameAndKeepsTheExistingFiles) {
    // A first merge, then the copies of its runs' folders are emptied of
    // their rows but the folders stay: a second merge with copies must not
    // write into them.
    SPair p(src, dst);
    ASSERT_EQ(0, YxProjectDb_Merge_Run(p.Options(), {}, nullptr));
    const auto filesBefore = MergeTest_FolderListing(ProjectRoot(dst));
    SYxProjectDbMerge_DuplicateOptions o = p.Options();
    o.eDuplicates = eYxMergeCopyDuplicates;
    SYxProjectDbMergeReport report;
    ASSERT_EQ(0, YxProjectDb_Merge_Run(o, {}, &report));
    const auto filesAfter = MergeTest_FolderListing(ProjectRoot(dst));
    for (const auto& f : filesBefore)
        EXPECT_NE(filesAfter.end(), std::find(filesAfter.begin(), filesAfter.end(), f)) << f;
    EXPECT_GT(filesAfter.size(), filesBefore.size());
    for (const auto& f : report.folders) EXPECT_TRUE(std::filesystem::is_directory(f.ToUtf8())) << f.ToUtf8();
}
