// The table graph as DOT: every table once, one edge per referenced table,
// referenced tables written first, and Graphviz renders it.
#include "test_support.h"

#include "gnr_projectdb/diagnostics.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/schema/app_schema.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace {

struct SParsedDot {
    std::vector<std::string> nodes;                        // in order
    std::set<std::pair<std::string, std::string>> edges;  // (referenced, referencing)
};

SParsedDot Parse(const std::string& dot) {
    SParsedDot p;
    const std::regex node(R"re(^  "([^"]+)";$)re"), edge(R"re(^  "([^"]+)" -> "([^"]+)" \[.*\];$)re");
    std::istringstream in(dot);
    std::smatch m;
    for (std::string line; std::getline(in, line);) {
        if (std::regex_match(line, m, node)) p.nodes.push_back(m[1]);
        else if (std::regex_match(line, m, edge)) p.edges.insert({m[1], m[2]});
    }
    return p;
}

void ExpectGraphOf(const SYxSqliteTableDef* const* defs, int count, const std::string& dot) {
    const SParsedDot p = Parse(dot);
    ASSERT_EQ(static_cast<std::size_t>(count), p.nodes.size());
    std::map<std::string, std::size_t> position;
    for (std::size_t i = 0; i < p.nodes.size(); ++i) position[p.nodes[i]] = i;
    ASSERT_EQ(p.nodes.size(), position.size()) << "a table written twice";

    std::set<std::pair<std::string, std::string>> references;
    for (int i = 0; i < count; ++i) {
        const std::string child = CYxStringW(defs[i]->wszName).ToUtf8();
        ASSERT_EQ(1u, position.count(child)) << child;
        for (int c = 0; c < defs[i]->nCols; ++c) {
            const SYxSqliteColDef& col = defs[i]->pCols[c];
            if (col.eRole != eYxColReference || !col.wszRefTable) continue;
            const std::string parent = CYxStringW(col.wszRefTable).ToUtf8();
            if (parent == child || !position.count(parent)) continue;
            references.insert({parent, child});
            EXPECT_LT(position[parent], position[child]) << parent << " after " << child;
        }
    }
    EXPECT_EQ(references, p.edges);
}

TEST(SchemaDot, JobsAndApplicationGraphsFollowTheReferences) {
    int count = 0;
    const SYxSqliteTableDef* const* jobs = YxProjectDb_Schema_GetJobsTables(&count);
    const std::string dot = YxProjectDb_Diag_SchemaDot(eYxFlavourJobs).ToUtf8();
    ExpectGraphOf(jobs, count, dot);
    EXPECT_EQ(0u, dot.find("// The tables of the jobs database (schema version 136)"));
    // The edge from run to frame carries the referencing column.
    EXPECT_NE(std::string::npos, dot.find("\"jobrun\" -> \"frame\" [dir=back, tooltip=\"iJobrunKeyRef\"];"));

    const SYxSqliteTableDef* const* app = YxProjectDb_Schema_GetAppTables(&count);
    ExpectGraphOf(app, count, YxProjectDb_Diag_SchemaDot(eYxFlavourApplication).ToUtf8());
}

TEST(SchemaDot, GraphvizRendersItAndTheCommittedPictureShowsEveryTable) {
    CYxTempDir dir;
    const std::string dotFile = dir.FileUtf8("schema.dot"), svgFile = dir.FileUtf8("schema.svg");
    std::ofstream(dotFile) << YxProjectDb_Diag_SchemaDot(eYxFlavourJobs).ToUtf8();
    ASSERT_EQ(0, YxTest_RunCommand("dot -Tsvg '" + dotFile + "' -o '" + svgFile + "'"));
    std::stringstream rendered, committed;
    rendered << std::ifstream(svgFile).rdbuf();
    committed << std::ifstream(GNR_SOURCE_DIR "/docs/schema.svg").rdbuf();
    ASSERT_NE(std::string::npos, rendered.str().find("<svg"));
    ASSERT_NE(std::string::npos, committed.str().find("<svg")) << "docs/schema.svg is missing";
    int count = 0;
    const SYxSqliteTableDef* const* jobs = YxProjectDb_Schema_GetJobsTables(&count);
    for (int i = 0; i < count; ++i) {
        const std::string title = "<title>" + CYxStringW(jobs[i]->wszName).ToUtf8() + "</title>";
        EXPECT_NE(std::string::npos, rendered.str().find(title)) << title;
        EXPECT_NE(std::string::npos, committed.str().find(title)) << title << " not in docs/schema.svg";
    }
}

}  // namespace
