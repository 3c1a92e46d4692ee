#include "gnr_projectdb/merge/merge_plan.h"

#include "gnr_projectdb/schema.h"

#include <algorithm>
#include <cwchar>

namespace yxmerge {
namespace {

// Per-database tables: the schema versions, the connection settings and the
// database's own identity stay as the target has them.
bool IsPerDatabase(const std::wstring& name) {
    return name == L"vesion" || name == L"settings" || name == L"dbinfo";
}

// Definitions that two databases share by meaning: matched by identity even
// when records with an existing uuid are copied as new rows.
bool IsDefinition(const std::wstring& name) {
    static const wchar_t* const kDefinitions[] = {
        L"propdef", L"qualdef", L"qualstr", L"tagdef", L"jobuser", L"planeinfo", L"graphsettings",
        L"jobclasslaststate", L"assayrecipe", L"wellplateconfiguration", L"wellplatename",
        L"dishconfiguration", L"dishname", L"slidedef"};
    for (const wchar_t* d : kDefinitions)
        if (name == d) return true;
    return false;
}

bool IsCascade(const SYxSqliteColDef& col) {
    return col.wszRefAction && std::wcsstr(col.wszRefAction, L"ON DELETE CASCADE") != nullptr;
}

std::wstring Lower(std::wstring s) {
    for (auto& c : s)
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    return s;
}

// "iTraceKeyRef" -> "trace" when such a table exists.
int TableNamedByColumn(const std::vector<STable>& tables, const wchar_t* column) {
    std::wstring c = column;
    if (c.size() < 8 || c[0] != L'i' || c.compare(c.size() - 6, 6, L"KeyRef") != 0) return -1;
    std::wstring t = Lower(c.substr(1, c.size() - 7));
    for (std::size_t i = 0; i < tables.size(); ++i)
        if (tables[i].name == t) return static_cast<int>(i);
    return -1;
}

std::vector<STable> Build() {
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    std::vector<STable> tables;
    for (int i = 0; i < count; ++i) {
        STable t;
        t.pDef = defs[i];
        t.name = defs[i]->wszName;
        if (IsPerDatabase(t.name)) continue;
        t.bDefinition = IsDefinition(t.name);
        tables.push_back(std::move(t));
    }
    auto indexOf = [&](const wchar_t* name) {
        for (std::size_t i = 0; i < tables.size(); ++i)
            if (tables[i].name == name) return static_cast<int>(i);
        return -1;
    };
    for (auto& t : tables) {
        const SYxSqliteTableDef& d = *t.pDef;
        for (int c = 0; c < d.nCols; ++c) {
            const SYxSqliteColDef& col = d.pCols[c];
            int target = -1;
            bool declared = false;
            if (col.eRole == eYxColReference && col.wszRefTable) {
                target = indexOf(col.wszRefTable);
                declared = true;
            } else if (col.eRole == eYxColPlain && col.eType == eYxTypeInt64) {
                target = TableNamedByColumn(tables, col.wszName);
            }
            if (target < 0) continue;
            SRef r;
            r.iCol = c;
            r.iTarget = target;
            r.bDeclared = declared;
            // A row belongs to its run, its definition, its program, its parent
            // task, ... (deleting the parent deletes it) and to its project.
            r.bOwner = declared && (IsCascade(col) || std::wcscmp(col.wszName, L"iProjKeyRef") == 0 ||
                                    (t.name == L"jobtask" && std::wcscmp(col.wszName, L"iJobprogramKeyRef") == 0));
            t.refs.push_back(r);
        }
        if (YxSqliteTableDef_FindColumn(d, L"wszUuid") >= 0) {
            t.eIdentity = eByUuid;
            const int u = YxSqliteTableDef_FindColumn(d, L"wszUuid");
            t.identityCols.push_back(u);
            t.bIdentityUnique = std::wcscmp(d.pCols[u].wszIndex, YX_SQLITE_INDEX_UNIQUE) == 0 ||
                                (d.apUnique[0] && std::wcscmp(d.apUnique[0], L"wszUuid") == 0 && !d.apUnique[1]);
        } else if (d.apUnique[0]) {
            t.eIdentity = eByUniqueGroup;
            t.bIdentityUnique = true;
            for (int g = 0; d.apUnique[g]; ++g) t.identityCols.push_back(YxSqliteTableDef_FindColumn(d, d.apUnique[g]));
        } else {
            t.eIdentity = eByAllColumns;
            for (int c = 0; c < d.nCols; ++c)
                if (d.pCols[c].eRole != eYxColPrimaryKey) t.identityCols.push_back(c);
        }
    }
    // Mark referenced tables, using the indexes of this (schema) order.
    for (std::size_t i = 0; i < tables.size(); ++i)
        for (const auto& r : tables[i].refs) {
            tables[r.iTarget].bReferenced = true;
            if (r.iTarget == static_cast<int>(i)) tables[i].bSelfReferencing = true;
        }
    // Copy order: a referenced table before its referrers, schema order
    // among tables that are free to go.
    std::vector<int> order;
    std::vector<bool> placed(tables.size(), false);
    while (order.size() < tables.size()) {
        bool progress = false;
        for (std::size_t i = 0; i < tables.size(); ++i) {
            if (placed[i]) continue;
            bool ready = true;
            for (const auto& r : tables[i].refs)
                if (r.iTarget != static_cast<int>(i) && !placed[r.iTarget]) ready = false;
            if (!ready) continue;
            placed[i] = true;
            order.push_back(static_cast<int>(i));
            progress = true;
            break;
        }
        if (!progress) {  // a cycle: keep schema order for the rest
            for (std::size_t i = 0; i < tables.size(); ++i)
                if (!placed[i]) {
                    placed[i] = true;
                    order.push_back(static_cast<int>(i));
                }
        }
    }
    std::vector<int> newIndex(tables.size());
    for (std::size_t k = 0; k < order.size(); ++k) newIndex[order[k]] = static_cast<int>(k);
    std::vector<STable> sorted;
    for (int i : order) sorted.push_back(tables[i]);
    for (auto& t : sorted)
        for (auto& r : t.refs) r.iTarget = newIndex[r.iTarget];
    return sorted;
}

}  // namespace

const std::vector<STable>& Plan() {
    static const std::vector<STable> plan = Build();
    return plan;
}

int PlanIndex(const wchar_t* table) {
    if (!table) return -1;
    const auto& plan = Plan();
    for (std::size_t i = 0; i < plan.size(); ++i)
        if (plan[i].name == table) return static_cast<int>(i);
    return -1;
}

}  // namespace yxmerge
