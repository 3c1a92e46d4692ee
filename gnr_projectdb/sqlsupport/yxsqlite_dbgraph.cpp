#include "gnr_projectdb/sqlsupport/yxsqlite_dbgraph.h"

#include <algorithm>
#include <cwchar>

void CYxSqliteDbGraph::Create() { m_nodes.clear(); }

int CYxSqliteDbGraph::Find(const wchar_t* table) const {
    if (!table) return -1;
    for (std::size_t i = 0; i < m_nodes.size(); ++i)
        if (std::wcscmp(m_nodes[i].pDef->wszName, table) == 0) return static_cast<int>(i);
    return -1;
}

int CYxSqliteDbGraph::Build(const SYxSqliteTableDef* const* defs, int count) {
    Create();
    if (!defs || count < 0) return -1;
    for (int i = 0; i < count; ++i) {
        if (!defs[i] || !defs[i]->wszName || Find(defs[i]->wszName) >= 0) {
            Create();
            return -1;
        }
        SYxSqliteDbGraphNode node;
        node.pDef = defs[i];
        m_nodes.push_back(node);
    }
    for (std::size_t child = 0; child < m_nodes.size(); ++child) {
        const SYxSqliteTableDef& def = *m_nodes[child].pDef;
        for (int c = 0; c < def.nCols; ++c) {
            const SYxSqliteColDef& col = def.pCols[c];
            if (col.eRole != eYxColReference) continue;
            const int parent = Find(col.wszRefTable);
            if (parent < 0 || parent == static_cast<int>(child)) continue;
            auto& parents = m_nodes[child].parents;
            if (std::find(parents.begin(), parents.end(), parent) != parents.end()) continue;
            parents.push_back(parent);
            m_nodes[static_cast<std::size_t>(parent)].children.push_back(static_cast<int>(child));
        }
    }
    return 0;
}

int CYxSqliteDbGraph::Walk(int color, PFYxSqliteDbGraphVisit visit, void* context) {
    const std::size_t n = m_nodes.size();
    // Parents not yet of the colour, per node.
    std::vector<int> waiting(n, 0);
    for (std::size_t i = 0; i < n; ++i)
        for (int p : m_nodes[i].parents)
            if (m_nodes[static_cast<std::size_t>(p)].iColor != color) ++waiting[i];

    for (;;) {
        // The first node in definition order that is due; when a cycle
        // leaves none due, the first one still unvisited.
        int next = -1;
        for (std::size_t i = 0; i < n && next < 0; ++i)
            if (m_nodes[i].iColor != color && waiting[i] == 0) next = static_cast<int>(i);
        for (std::size_t i = 0; i < n && next < 0; ++i)
            if (m_nodes[i].iColor != color) next = static_cast<int>(i);
        if (next < 0) return 0;

        SYxSqliteDbGraphNode& node = m_nodes[static_cast<std::size_t>(next)];
        node.iColor = color;
        for (int c : node.children) --waiting[static_cast<std::size_t>(c)];
        if (visit) {
            const int rc = visit(context, node, next);
            if (rc != 0) return rc;
        }
    }
}

void CYxSqliteDbGraph::SetColorToAllItems(int color) {
    for (auto& node : m_nodes) node.iColor = color;
}
