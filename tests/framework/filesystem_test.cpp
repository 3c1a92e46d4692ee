// The file-system module on a real temporary folder.
#include "framework/yxfilesystem.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <string>

namespace {

void WriteFile(const std::string& path, std::size_t size) {
    std::ofstream f(path, std::ios::binary);
    f << std::string(size, 'x');
}

TEST(FileSystem, SeparatorsBecomeNative) {
    EXPECT_EQ(YxFs_Native(L"run\\2024-01-01 10\\file.tif").str(), L"run/2024-01-01 10/file.tif");
    EXPECT_EQ(YxFs_Native(L"/a/b").str(), L"/a/b");
    EXPECT_EQ(YxFs_Native(nullptr).str(), L"");
    EXPECT_EQ(YxFs_AddTrailingSeparator(L"/a/b").str(), L"/a/b/");
    EXPECT_EQ(YxFs_AddTrailingSeparator(L"/a/b/").str(), L"/a/b/");
    EXPECT_EQ(YxFs_AddTrailingSeparator(L"a\\b\\").str(), L"a\\b\\");
    EXPECT_EQ(YxFs_AddTrailingSeparator(L"").str(), L"");
}

TEST(FileSystem, ReadOnlyIsTheModeNotAccess) {
    CYxTempDir dir;
    const std::string file = dir.FileUtf8("db.sqlite");
    WriteFile(file, 10);
    const CYxStringW wfile = dir.File("db.sqlite");
    EXPECT_FALSE(YxFs_IsReadOnly(wfile));
    ASSERT_EQ(chmod(file.c_str(), 0444), 0);
    EXPECT_TRUE(YxFs_IsReadOnly(wfile));  // true even for root, who may write anyway
    ASSERT_EQ(chmod(file.c_str(), 0400), 0);
    EXPECT_TRUE(YxFs_IsReadOnly(wfile));
    ASSERT_EQ(chmod(file.c_str(), 0200), 0);  // a single write bit is enough
    EXPECT_FALSE(YxFs_IsReadOnly(wfile));
    EXPECT_FALSE(YxFs_IsReadOnly(dir.File("missing")));
    EXPECT_FALSE(YxFs_IsReadOnly(nullptr));
}

TEST(FileSystem, DirectoriesWithParentsAndDeletion) {
    CYxTempDir dir;
    // A stored relative name with backslashes creates real nested folders.
    const CYxStringW nested = CYxStringW(CYxStringW::FromUtf8(dir.Path())) + L"\\project\\run 1\\sub";
    EXPECT_EQ(YxFs_CreateDirectories(nested), 0);
    EXPECT_TRUE(YxFs_IsDirectory(dir.File("project/run 1/sub")));
    EXPECT_EQ(YxFs_CreateDirectories(nested), 0);  // existing: still success
    EXPECT_TRUE(YxFs_IsDirectoryEmpty(nested));

    WriteFile(dir.FileUtf8("project/run 1/sub/a.tif"), 5);
    WriteFile(dir.FileUtf8("project/b.txt"), 5);
    EXPECT_FALSE(YxFs_IsDirectoryEmpty(nested));
    // A file in the way of a folder is a failure.
    EXPECT_EQ(YxFs_CreateDirectories(dir.File("project/b.txt/c")), -1);
    EXPECT_EQ(YxFs_CreateDirectories(L""), -1);

    EXPECT_EQ(YxFs_DeleteWithContents(dir.File("project")), 0);
    EXPECT_FALSE(YxFs_Exists(dir.File("project")));
    EXPECT_TRUE(YxFs_IsDirectory(CYxStringW::FromUtf8(dir.Path())));  // only the named folder goes
    EXPECT_EQ(YxFs_DeleteWithContents(dir.File("project")), 0);       // already gone
    EXPECT_EQ(YxFs_DeleteWithContents(nullptr), -1);
}

TEST(FileSystem, FreeSiblingName) {
    CYxTempDir dir;
    CYxStringW free;
    ASSERT_TRUE(YxFs_FreeSiblingName(dir.File("Plate"), free));
    EXPECT_EQ(free, dir.File("Plate"));  // not taken: the name itself

    ASSERT_EQ(YxFs_CreateDirectories(dir.File("Plate")), 0);
    ASSERT_TRUE(YxFs_FreeSiblingName(dir.File("Plate"), free));
    EXPECT_EQ(free, dir.File("Plate (2)"));
    ASSERT_EQ(YxFs_CreateDirectories(free), 0);
    WriteFile(dir.FileUtf8("Plate (3)"), 1);  // a file takes a name as well
    ASSERT_TRUE(YxFs_FreeSiblingName(dir.File("Plate/"), free));
    EXPECT_EQ(free, dir.File("Plate (4)"));
    EXPECT_FALSE(YxFs_FreeSiblingName(L"", free));
}

TEST(FileSystem, FileSizeByName) {
    CYxTempDir dir;
    WriteFile(dir.FileUtf8("f.bin"), 12345);
    WriteFile(dir.FileUtf8("empty"), 0);
    EXPECT_EQ(YX_GetFileSizeFromName(dir.File("f.bin")), 12345u);
    EXPECT_EQ(YX_GetFileSizeFromName(dir.File("empty")), 0u);
    EXPECT_EQ(YX_GetFileSizeFromName(dir.File("missing")), 0u);
    EXPECT_EQ(YX_GetFileSizeFromName(CYxStringW::FromUtf8(dir.Path())), 0u);  // a folder has no file size
    // Through a stored relative name with a backslash.
    ASSERT_EQ(YxFs_CreateDirectories(dir.File("r")), 0);
    WriteFile(dir.FileUtf8("r/g.bin"), 7);
    EXPECT_EQ(YX_GetFileSizeFromName(CYxStringW::FromUtf8(dir.Path()) + L"\\r\\g.bin"), 7u);
}

TEST(FileSystem, LocalTemporaryFolderIsNoNetworkPath) {
    CYxTempDir dir;
    EXPECT_FALSE(YxFs_IsNetworkPath(CYxStringW::FromUtf8(dir.Path())));
    // A file not yet created is judged by its nearest existing parent.
    EXPECT_FALSE(YxFs_IsNetworkPath(dir.File("not/yet/there.db")));
    EXPECT_FALSE(YxFs_IsNetworkPath(nullptr));
}

}  // namespace
