// Storage path, folder deletion, network test and the schema export.
#include "gnr_projectdb/sys.h"

#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sys/stat.h>

namespace {
// Sets an environment variable for one scope.
class CEnvVar {
public:
    CEnvVar(const char* name, const char* value) : m_name(name) {
        const char* old = std::getenv(name);
        m_had = old != nullptr;
        if (old) m_old = old;
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~CEnvVar() {
        if (m_had)
            setenv(m_name.c_str(), m_old.c_str(), 1);
        else
            unsetenv(m_name.c_str());
    }

private:
    std::string m_name, m_old;
    bool m_had = false;
};

std::size_t CountOf(const std::wstring& text, const std::wstring& what) {
    std::size_t n = 0;
    for (std::size_t p = text.find(what); p != std::wstring::npos; p = text.find(what, p + 1)) ++n;
    return n;
}
}  // namespace

TEST(SysStoragePath, XdgDataHomeThenHome) {
    {
        CEnvVar xdg("XDG_DATA_HOME", "/data/xdg/");
        EXPECT_EQ(L"/data/xdg/gnr/Thumbs/", YxProjectDb_Sys_GetDefStoragePath(L"Thumbs"));
        EXPECT_EQ(L"/data/xdg/gnr/Thumbs/", YxProjectDb_Sys_GetDefStoragePath(L"Thumbs/"));
        EXPECT_EQ(L"/data/xdg/gnr/", YxProjectDb_Sys_GetDefStoragePath(L""));
        EXPECT_EQ(L"/data/xdg/gnr/", YxProjectDb_Sys_GetDefStoragePath(nullptr));
    }
    {
        CEnvVar xdg("XDG_DATA_HOME", "relative/ignored");
        CEnvVar home("HOME", "/home/op");
        EXPECT_EQ(L"/home/op/.local/share/gnr/Ä b/", YxProjectDb_Sys_GetDefStoragePath(L"Ä b"));
    }
    {
        CEnvVar xdg("XDG_DATA_HOME", nullptr);
        CEnvVar home("HOME", "/home/op");
        EXPECT_EQ(L"/home/op/.local/share/gnr/x/", YxProjectDb_Sys_GetDefStoragePath(L"x"));
    }
}

TEST(SysDeleteFolder, RemovesTheTreeAndAlwaysAnswersZero) {
    CYxTempDir tmp;
    const std::string root = tmp.Path() + "/Run 1";
    ASSERT_EQ(0, mkdir(root.c_str(), 0755));
    ASSERT_EQ(0, mkdir((root + "/sub").c_str(), 0755));
    std::ofstream(root + "/sub/frame.tif") << "pixels";
    std::ofstream(root + "/readonly.txt") << "x";
    chmod((root + "/readonly.txt").c_str(), 0444);

    EXPECT_EQ(0, YxProjectDb_Sys_DeleteFolder(CYxStringW::FromUtf8(root)));
    struct stat sb;
    EXPECT_NE(0, stat(root.c_str(), &sb));
    // Missing folder and null: still 0, nothing thrown.
    EXPECT_EQ(0, YxProjectDb_Sys_DeleteFolder(CYxStringW::FromUtf8(root)));
    EXPECT_EQ(0, YxProjectDb_Sys_DeleteFolder(nullptr));
}

TEST(SysNetworkPath, LocalFoldersAreNotNetwork) {
    CYxTempDir tmp;
    EXPECT_FALSE(YxProjectDb_Sys_IsNetworkPath(CYxStringW::FromUtf8(tmp.Path())));
    EXPECT_FALSE(YxProjectDb_Sys_IsNetworkPath(CYxStringW::FromUtf8(tmp.Path() + "/not/yet/there.db")));
    EXPECT_FALSE(YxProjectDb_Sys_IsNetworkPath(nullptr));
    EXPECT_FALSE(YxProjectDb_Sys_IsNetworkPath(L""));
}

TEST(SysSchemaXml, HoldsTheJobsSchema) {
    const std::wstring xml = YxProjectDb_Sys_ExportSchemaAsXml().str();
    EXPECT_EQ(59u, CountOf(xml, L"<table "));
    EXPECT_EQ(59u, CountOf(xml, L"</table>"));
    EXPECT_NE(std::wstring::npos, xml.find(L"version=\"136\""));
    EXPECT_NE(std::wstring::npos, xml.find(L"<table name=\"frame\">"));
    EXPECT_NE(std::wstring::npos, xml.find(L"<column name=\"iKey\""));
}
