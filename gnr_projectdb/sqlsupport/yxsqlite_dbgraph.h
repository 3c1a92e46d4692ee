// CYxSqliteDbGraph: the tables of a schema as a graph joined by their
// references. A table is a parent of every table whose reference columns name
// it; references to tables outside the set and references of a table to
// itself add no edge.
//
// Every node carries a colour (an int). Walk visits the nodes whose colour
// differs from the one given, parents before children, and paints each
// visited node with that colour; SetColorToAllItems repaints every node, so
// a walk can be repeated. Tables that depend on each other in a cycle are
// visited in definition order once the walk can reach nothing else, so a walk
// always ends and visits every node once.
//
// Thread safety: a graph is a plain value used by one thread at a time; the
// definitions it points to are immutable constants.
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

#include <vector>

struct SYxSqliteDbGraphNode {
    const SYxSqliteTableDef* pDef = nullptr;
    std::vector<int> parents;   // node indexes of the referenced tables
    std::vector<int> children;  // node indexes of the referencing tables
    int iColor = 0;
};

// Visitor of Walk: non-zero stops the walk, and Walk returns that value.
typedef int (*PFYxSqliteDbGraphVisit)(void* context, const SYxSqliteDbGraphNode& node, int index);

class CYxSqliteDbGraph {
public:
    // Empties the graph.
    void Create();
    // Builds the graph of the definitions (nodes in the given order, colour
    // 0). Returns 0, or -1 for a null list or a null definition (the graph is
    // then empty). Two definitions of one table name: -1 as well.
    int Build(const SYxSqliteTableDef* const* defs, int count);

    // Visits, parents first, every node whose colour is not `color`, and gives
    // it that colour just before its visit. Returns 0, or the visitor's
    // non-zero answer (the remaining nodes keep their colour).
    int Walk(int color, PFYxSqliteDbGraphVisit visit, void* context);
    void SetColorToAllItems(int color);

    int GetCount() const { return static_cast<int>(m_nodes.size()); }
    const SYxSqliteDbGraphNode& GetNode(int index) const { return m_nodes[static_cast<std::size_t>(index)]; }
    // Index of the node of a table name, or -1.
    int Find(const wchar_t* table) const;

private:
    std::vector<SYxSqliteDbGraphNode> m_nodes;
};
