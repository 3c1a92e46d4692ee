// The table-dependency graph of a schema as Graphviz DOT.
#include "gnr_projectdb/diagnostics.h"

#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/schema/app_schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_dbgraph.h"

#include <cwchar>

namespace {

// A DOT string literal.
CYxStringW DotQuoted(const wchar_t* text) {
    CYxStringW s(L"\"");
    for (const wchar_t* p = text ? text : L""; *p; ++p) {
        if (*p == L'"' || *p == L'\\') s += L'\\';
        s += *p;
    }
    return s + L"\"";
}

struct SDotWriter {
    const CYxSqliteDbGraph* graph;
    CYxStringW text;
};

// Nodes arrive referenced tables first; each writes its node and the edges
// from the tables it references, named by the referencing columns.
int WriteNode(void* context, const SYxSqliteDbGraphNode& node, int) {
    SDotWriter& w = *static_cast<SDotWriter*>(context);
    const SYxSqliteTableDef& def = *node.pDef;
    w.text.AppendFormat(L"  %s;\n", DotQuoted(def.wszName));
    for (const int p : node.parents) {
        const wchar_t* parent = w.graph->GetNode(p).pDef->wszName;
        CYxStringW columns;
        for (int c = 0; c < def.nCols; ++c) {
            const SYxSqliteColDef& col = def.pCols[c];
            if (col.eRole != eYxColReference || !col.wszRefTable || std::wcscmp(col.wszRefTable, parent) != 0) continue;
            if (!columns.IsEmpty()) columns += L", ";
            columns += col.wszName;
        }
        w.text.AppendFormat(L"  %s -> %s [dir=back, tooltip=%s];\n", DotQuoted(parent), DotQuoted(def.wszName),
                            DotQuoted(columns));
    }
    return 0;
}

}  // namespace

CYxStringW YxProjectDb_Diag_SchemaDot(EYxProjectDbFlavour flavour) {
    int count = 0;
    const bool app = flavour == eYxFlavourApplication;
    const SYxSqliteTableDef* const* defs = app ? YxProjectDb_Schema_GetAppTables(&count)
                                               : YxProjectDb_Schema_GetJobsTables(&count);
    CYxSqliteDbGraph graph;
    graph.Build(defs, count);
    SDotWriter writer{&graph, CYxStringW()};
    writer.text.AppendFormat(L"// The tables of the %s database (schema version %d). An arrow points from a\n"
                             L"// table to each table that it references; referenced tables stand left.\n",
                             app ? L"application" : L"jobs",
                             app ? int(YX_PROJECTDB_APP_SCHEMA_VERSION) : int(YX_PROJECTDB_JOBS_SCHEMA_VERSION));
    writer.text.AppendFormat(L"digraph %s {\n", app ? L"application_schema" : L"jobs_schema");
    writer.text += L"  graph [rankdir=LR, ranksep=1.2, nodesep=0.15, fontname=\"Helvetica\"];\n"
                   L"  node [shape=box, style=\"rounded,filled\", fillcolor=\"#eef3fb\", color=\"#5b7db1\", "
                   L"fontname=\"Helvetica\", fontsize=11];\n"
                   L"  edge [color=\"#7a8a9c\", arrowsize=0.6];\n";
    graph.Walk(1, &WriteNode, &writer);
    writer.text += L"}\n";
    return writer.text;
}
