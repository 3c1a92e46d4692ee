// The table graph: every table once, referenced tables first, self
// references and cycles without endless walks, colours as visit marks.
#include "framework/yxstring.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_dbgraph.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

#define REF(name, table) {eYxColReference, eYxTypeInt64, YX_SQLITE_INDEX_NONE, name, table, nullptr, nullptr, nullptr}
#define KEY {eYxColPrimaryKey, eYxTypeInt64, YX_SQLITE_INDEX_NONE, L"iKey", nullptr, nullptr, nullptr, nullptr}

const SYxSqliteColDef kA[] = {KEY};
const SYxSqliteColDef kB[] = {KEY, REF(L"iAKeyRef", L"a")};
const SYxSqliteColDef kC[] = {KEY, REF(L"iBKeyRef", L"b"), REF(L"iAKeyRef", L"a"), REF(L"iA2KeyRef", L"a")};
const SYxSqliteColDef kD[] = {KEY, REF(L"iDKeyRef", L"d"), REF(L"iCKeyRef", L"c"), REF(L"iXKeyRef", L"elsewhere")};
const SYxSqliteColDef kE[] = {KEY, REF(L"iFKeyRef", L"f")};
const SYxSqliteColDef kF[] = {KEY, REF(L"iEKeyRef", L"e"), REF(L"iAKeyRef", L"a")};
#define TABLE(n, cols) {n, static_cast<int>(sizeof(cols) / sizeof(cols[0])), cols, {nullptr}, nullptr, {nullptr}, {nullptr}}
const SYxSqliteTableDef kDefA = TABLE(L"a", kA), kDefB = TABLE(L"b", kB), kDefC = TABLE(L"c", kC),
                        kDefD = TABLE(L"d", kD), kDefE = TABLE(L"e", kE), kDefF = TABLE(L"f", kF);

struct SVisits {
    std::vector<std::wstring> names;
    int stopAfter = -1;
};

int Record(void* context, const SYxSqliteDbGraphNode& node, int) {
    auto* v = static_cast<SVisits*>(context);
    v->names.push_back(node.pDef->wszName);
    return static_cast<int>(v->names.size()) == v->stopAfter ? 5 : 0;
}

class DbGraph : public ::testing::Test {
protected:
    void SetUp() override {
        // Definitions out of dependency order on purpose.
        const SYxSqliteTableDef* defs[] = {&kDefC, &kDefD, &kDefB, &kDefE, &kDefF, &kDefA};
        ASSERT_EQ(m_graph.Build(defs, 6), 0);
    }
    CYxSqliteDbGraph m_graph;
};

TEST_F(DbGraph, EdgesFollowReferencesWithinTheSet) {
    ASSERT_EQ(m_graph.GetCount(), 6);
    const SYxSqliteDbGraphNode& c = m_graph.GetNode(m_graph.Find(L"c"));
    EXPECT_EQ(c.parents, (std::vector<int>{m_graph.Find(L"b"), m_graph.Find(L"a")}));  // two columns, one edge to a
    EXPECT_EQ(c.children, std::vector<int>{m_graph.Find(L"d")});
    const SYxSqliteDbGraphNode& d = m_graph.GetNode(m_graph.Find(L"d"));
    EXPECT_EQ(d.parents, std::vector<int>{m_graph.Find(L"c")});  // no self edge, no edge out of the set
    EXPECT_EQ(m_graph.GetNode(m_graph.Find(L"a")).children.size(), 3u);
    EXPECT_EQ(m_graph.Find(L"elsewhere"), -1);
    EXPECT_EQ(m_graph.Find(nullptr), -1);
}

TEST_F(DbGraph, WalkVisitsParentsFirstAndBreaksCycles) {
    SVisits v;
    EXPECT_EQ(m_graph.Walk(1, &Record, &v), 0);
    EXPECT_EQ(v.names, (std::vector<std::wstring>{L"a", L"b", L"c", L"d", L"e", L"f"}));
    for (int i = 0; i < m_graph.GetCount(); ++i) EXPECT_EQ(m_graph.GetNode(i).iColor, 1);

    // Every node has the colour now: the same walk visits nothing.
    SVisits again;
    EXPECT_EQ(m_graph.Walk(1, &Record, &again), 0);
    EXPECT_TRUE(again.names.empty());
    m_graph.SetColorToAllItems(0);
    EXPECT_EQ(m_graph.Walk(1, &Record, &again), 0);
    EXPECT_EQ(again.names, v.names);
}

TEST_F(DbGraph, StoppedWalkResumesWhereItStopped) {
    SVisits v;
    v.stopAfter = 3;
    EXPECT_EQ(m_graph.Walk(7, &Record, &v), 5);
    EXPECT_EQ(v.names.size(), 3u);
    v.stopAfter = -1;
    EXPECT_EQ(m_graph.Walk(7, &Record, &v), 0);
    EXPECT_EQ(v.names, (std::vector<std::wstring>{L"a", L"b", L"c", L"d", L"e", L"f"}));
    EXPECT_EQ(m_graph.Walk(8, nullptr, nullptr), 0);  // no visitor: only paints
    EXPECT_EQ(m_graph.GetNode(0).iColor, 8);
}

TEST(DbGraphBuild, RefusesBadInput) {
    CYxSqliteDbGraph g;
    EXPECT_EQ(g.Build(nullptr, 3), -1);
    const SYxSqliteTableDef* withNull[] = {&kDefA, nullptr};
    EXPECT_EQ(g.Build(withNull, 2), -1);
    EXPECT_EQ(g.GetCount(), 0);
    const SYxSqliteTableDef* twice[] = {&kDefA, &kDefB, &kDefA};
    EXPECT_EQ(g.Build(twice, 3), -1);
    EXPECT_EQ(g.GetCount(), 0);
    EXPECT_EQ(g.Build(twice, 2), 0);
    EXPECT_EQ(g.GetCount(), 2);
    g.Create();
    EXPECT_EQ(g.GetCount(), 0);
    EXPECT_EQ(g.Walk(1, &Record, nullptr), 0);
}

// The jobs schema: its only cycles are tables that reference themselves.
TEST(DbGraphJobs, EveryTableAfterTheTablesItReferences) {
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    CYxSqliteDbGraph g;
    ASSERT_EQ(g.Build(defs, count), 0);
    ASSERT_EQ(g.GetCount(), 59);
    SVisits v;
    ASSERT_EQ(g.Walk(1, &Record, &v), 0);
    ASSERT_EQ(v.names.size(), 59u);
    std::vector<int> position(59, -1);
    for (std::size_t i = 0; i < v.names.size(); ++i) {
        const int node = g.Find(v.names[i].c_str());
        ASSERT_GE(node, 0);
        EXPECT_EQ(position[static_cast<std::size_t>(node)], -1) << "visited twice";
        position[static_cast<std::size_t>(node)] = static_cast<int>(i);
    }
    int edges = 0;
    for (int n = 0; n < g.GetCount(); ++n) {
        for (int p : g.GetNode(n).parents) {
            ++edges;
            EXPECT_LT(position[static_cast<std::size_t>(p)], position[static_cast<std::size_t>(n)])
                << CYxStringW(g.GetNode(p).pDef->wszName).ToUtf8() << " after "
                << CYxStringW(g.GetNode(n).pDef->wszName).ToUtf8();
        }
    }
    EXPECT_GT(edges, 50);
    const SYxSqliteDbGraphNode& self = g.GetNode(g.Find(L"wellplatename"));
    EXPECT_EQ(self.parents, std::vector<int>{g.Find(L"wellplateconfiguration")});
}

}  // namespace
