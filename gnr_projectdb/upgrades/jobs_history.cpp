// Turns the eras of jobs_history_eras.cpp into table definitions.
#include "gnr_projectdb/upgrades/jobs_history.h"

#include "framework/yxdiag.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/upgrades/jobs_history_data.h"

#include <cwchar>
#include <deque>
#include <sstream>
#include <string>

namespace {

bool Same(const wchar_t* a, const wchar_t* b) { return a && b && std::wcscmp(a, b) == 0; }

std::vector<std::wstring> Tokens(const wchar_t* text) {
    std::vector<std::wstring> out;
    std::wistringstream in(text ? text : L"");
    std::wstring t;
    while (in >> t) out.push_back(t);
    return out;
}

struct SBuiltEra {
    int iFrom = 0;
    bool bExists = false;
    bool bFresh = false;
    std::vector<SYxSqliteColDef> cols;
    SYxSqliteTableDef def{};
};

struct SBuiltTable {
    const wchar_t* wszName = nullptr;
    std::deque<SBuiltEra> eras;  // deque: the definitions point into their own era
};

class CYxJobsHistory {
public:
    static const CYxJobsHistory& Get() {
        static const CYxJobsHistory history;
        return history;
    }

    const SBuiltTable* Find(const wchar_t* table) const {
        for (const SBuiltTable& t : m_tables)
            if (Same(t.wszName, table)) return &t;
        return nullptr;
    }

    // The era in force at `version`, or null before the first one.
    static const SBuiltEra* EraAt(const SBuiltTable& t, int version) {
        const SBuiltEra* found = nullptr;
        for (const SBuiltEra& e : t.eras)
            if (e.iFrom <= version) found = &e;
        return found;
    }

    const std::deque<SBuiltTable>& Tables() const { return m_tables; }

private:
    CYxJobsHistory() {
        for (int i = 0; i < g_yxJobsEraCount; ++i) {
            const SYxJobsEra& era = g_yxJobsEras[i];
            SBuiltTable* table = const_cast<SBuiltTable*>(Find(era.wszTable));
            if (!table) {
                m_tables.emplace_back();
                table = &m_tables.back();
                table->wszName = era.wszTable;
            }
            table->eras.emplace_back();
            Build(era, table->eras.back());
        }
    }

    const wchar_t* Keep(const std::wstring& s) {
        m_strings.push_back(s);
        return m_strings.back().c_str();
    }

    static const SYxSqliteColDef* Legacy(const wchar_t* table, const std::wstring& token) {
        for (int i = 0; i < g_yxJobsLegacyColumnCount; ++i) {
            const SYxJobsLegacyColumn& c = g_yxJobsLegacyColumns[i];
            if (Same(c.wszTable, table) && token == c.wszToken) return &c.col;
        }
        return nullptr;
    }

    static bool HasAll(const std::vector<SYxSqliteColDef>& cols, const wchar_t* const* group) {
        for (int i = 0; group[i]; ++i) {
            bool found = false;
            for (const SYxSqliteColDef& c : cols) found = found || Same(c.wszName, group[i]);
            if (!found) return false;
        }
        return true;
    }

    static void CopyGroup(const wchar_t* const* from, const wchar_t** to) {
        for (int i = 0; i <= YX_SQLITE_MAX_GROUP_COLS; ++i) to[i] = nullptr;
        for (int i = 0; from[i] && i < YX_SQLITE_MAX_GROUP_COLS; ++i) to[i] = from[i];
    }

    void Build(const SYxJobsEra& era, SBuiltEra& out) {
        static const SYxSqliteColDef kPrimaryKey = {eYxColPrimaryKey, eYxTypeInt64, YX_SQLITE_INDEX_NONE, L"iKey",
                                                    nullptr,          nullptr,      nullptr,              nullptr};
        out.iFrom = era.iFrom;
        out.bFresh = era.bFresh;
        out.bExists = era.wszColumns != nullptr;
        if (!out.bExists) return;

        const SYxSqliteTableDef* current = YxProjectDb_Schema_FindJobsTable(era.wszTable);
        for (const std::wstring& token : Tokens(era.wszColumns)) {
            if (token == L"*" && current) {
                out.cols.insert(out.cols.end(), current->pCols, current->pCols + current->nCols);
            } else if (token.size() > 1 && token[0] == L'-') {
                const std::wstring name = token.substr(1);
                for (auto it = out.cols.begin(); it != out.cols.end(); ++it)
                    if (name == it->wszName) {
                        out.cols.erase(it);
                        break;
                    }
            } else if (const SYxSqliteColDef* legacy = Legacy(era.wszTable, token)) {
                out.cols.push_back(*legacy);
            } else if (current && YxSqliteTableDef_FindColumn(*current, token.c_str()) >= 0) {
                out.cols.push_back(current->pCols[YxSqliteTableDef_FindColumn(*current, token.c_str())]);
            } else if (token == L"iKey") {
                out.cols.push_back(kPrimaryKey);
            } else {
                YX_DIAG_WARN(L"jobs history: unknown column %s of %s", token, era.wszTable);
            }
        }

        SYxSqliteTableDef& def = out.def;
        def.wszName = era.wszTable;
        def.nCols = static_cast<int>(out.cols.size());
        def.pCols = out.cols.data();
        CopyGroup(kEmptyGroup, def.apUnique);
        CopyGroup(kEmptyGroup, def.apIndex1);
        CopyGroup(kEmptyGroup, def.apIndex2);
        def.wszUniqueConflict = nullptr;
        if (!era.wszUnique) {
            if (current && current->apUnique[0] && HasAll(out.cols, current->apUnique)) {
                CopyGroup(current->apUnique, def.apUnique);
                def.wszUniqueConflict = current->wszUniqueConflict;
            }
        } else if (*era.wszUnique) {
            int n = 0;
            for (const std::wstring& name : Tokens(era.wszUnique))
                if (n < YX_SQLITE_MAX_GROUP_COLS) def.apUnique[n++] = Keep(name);
            def.wszUniqueConflict = L"ON CONFLICT ABORT";
        }
        // Composite indexes are those of the current schema whose columns exist.
        if (current) {
            const wchar_t** slot = def.apIndex1;
            for (const auto* group : {current->apIndex1, current->apIndex2})
                if (group[0] && HasAll(out.cols, group)) {
                    CopyGroup(group, slot);
                    slot = def.apIndex2;
                }
        }
    }

    static constexpr const wchar_t* kEmptyGroup[1] = {nullptr};
    std::deque<SBuiltTable> m_tables;
    std::deque<std::wstring> m_strings;
};

}  // namespace

const SYxSqliteTableDef* YxJobsHistory_Def(const wchar_t* table, int version) {
    const SBuiltTable* t = CYxJobsHistory::Get().Find(table);
    if (!t) return nullptr;
    const SBuiltEra* era = CYxJobsHistory::EraAt(*t, version);
    return era && era->bExists ? &era->def : nullptr;
}

std::vector<const SYxSqliteTableDef*> YxJobsHistory_TablesAt(int version) {
    std::vector<const SYxSqliteTableDef*> out;
    for (const SBuiltTable& t : CYxJobsHistory::Get().Tables()) {
        const SBuiltEra* era = CYxJobsHistory::EraAt(t, version);
        if (era && era->bExists) out.push_back(&era->def);
    }
    return out;
}

std::vector<const wchar_t*> YxJobsHistory_AllTableNames() {
    std::vector<const wchar_t*> out;
    for (const SBuiltTable& t : CYxJobsHistory::Get().Tables()) out.push_back(t.wszName);
    return out;
}

bool YxJobsHistory_CreatedAt(const wchar_t* table, int version) {
    const SBuiltTable* t = CYxJobsHistory::Get().Find(table);
    if (!t) return false;
    const SBuiltEra* before = nullptr;
    for (const SBuiltEra& e : t->eras) {
        if (e.iFrom == version) return e.bExists && (e.bFresh || !before || !before->bExists);
        if (e.iFrom < version) before = &e;
    }
    return false;
}

bool YxJobsHistory_ValuesResetAt(const wchar_t* table, const wchar_t* column, int version) {
    for (int i = 0; i < g_yxJobsValueResetCount; ++i) {
        const SYxJobsValueReset& r = g_yxJobsValueResets[i];
        if (Same(r.wszTable, table) && Same(r.wszColumn, column) && r.iVersion == version) return true;
    }
    return false;
}

int YxJobsHistory_NextVersion(int version) {
    if (version == 14) return 16;
    if (version == 48) return 60;
    if (version == 79) return 100;
    if ((version >= 10 && version < 48) || (version >= 60 && version < 79) ||
        (version >= 100 && version < YX_JOBS_HISTORY_LAST_VERSION))
        return version + 1;
    return 0;
}

int YxJobsHistory_SchemaAfterStep(int version) {
    return version == 14 ? 15 : YxJobsHistory_NextVersion(version);
}
