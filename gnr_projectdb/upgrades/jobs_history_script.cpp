// Pieces of the migration step scripts of the jobs database.
#include "gnr_projectdb/upgrades/jobs_history_script.h"

#include "framework/yxdiag.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/upgrades/jobs_history.h"

#include <sqlite3.h>

#include <cwchar>
#include <set>
#include <string>
#include <vector>

namespace {

// First column of every row of a query, as text.
std::vector<CYxStringW> ReadNames(sqlite3* db, const wchar_t* query) {
    std::vector<CYxStringW> names;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, CYxStringW(query).ToUtf8().c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        sqlite3_finalize(stmt);
        return names;
    }
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
        if (text)
            names.push_back(CYxStringW::FromUtf8(
                std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(stmt, 0)))));
    }
    sqlite3_finalize(stmt);
    return names;
}

CYxStringW ColumnList(const SYxSqliteTableDef& def) {
    CYxStringW s;
    for (int i = 0; i < def.nCols; ++i) {
        if (i) s += L", ";
        s += def.pCols[i].wszName;
    }
    return s;
}

int Execute(sqlite3* db, const CYxStringW& script, int newVersion) {
    CYxStringW error;
    const int rc = YxSqlite_Execute(db, script, &error, false);
    if (rc != 0) YX_DIAG_WARN(L"Upgrade step to version %d failed (%d): %s", newVersion, rc, error);
    return rc;
}

}  // namespace

CYxStringW YxJobsStep_VersionBump(int newVersion) {
    return CYxStringW::Format(L"UPDATE %s SET %s=%d WHERE %s='main';\n", L"version", L"iVersion", newVersion,
                              L"wszName");
}

CYxStringW YxJobsStep_RenameForRebuild(sqlite3* db, const wchar_t* table, const wchar_t* oldName) {
    CYxStringW s = CYxStringW::Format(L"ALTER TABLE %s RENAME TO %s;\n", table, oldName);
    for (const CYxStringW& index :
         ReadNames(db, L"SELECT name FROM sqlite_master WHERE type='index' AND tbl_name='loopindex' AND NOT name "
                       L"LIKE 'sqlite_autoindex%';"))
        s.AppendFormat(L"DROP INDEX IF EXISTS %s;\n", index);
    return s;
}

int YxJobsStep_RebuildCurrentTables(sqlite3* db, int newVersion) {
    if (!db) return SQLITE_MISUSE;
    std::set<std::wstring> present;
    for (const CYxStringW& name : ReadNames(db, L"SELECT name FROM sqlite_master WHERE type='table';"))
        present.insert(name.str());
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    CYxStringW script;
    for (int i = 0; i < count; ++i) {
        const SYxSqliteTableDef& def = *defs[i];
        if (!present.count(def.wszName)) continue;
        const CYxStringW oldName = CYxStringW::Format(L"%s_old", def.wszName);
        const CYxStringW columns = ColumnList(def);
        script += YxJobsStep_RenameForRebuild(db, def.wszName, oldName);
        script += YxSqlite_CreateTableSqlCommand(def);
        script.AppendFormat(L"INSERT INTO %s (%s) SELECT %s FROM %s;\n", def.wszName, columns, columns, oldName);
        script.AppendFormat(L"DROP TABLE %s;\n", oldName);
    }
    script += YxJobsStep_VersionBump(newVersion);
    return Execute(db, script, newVersion);
}

CYxJobsStepScript::CYxJobsStepScript(sqlite3* db, int from) : m_db(db), m_from(from) {}

const SYxSqliteTableDef* CYxJobsStepScript::SourceDef(const wchar_t* table) const {
    return YxJobsHistory_Def(table, m_from);
}

const SYxSqliteTableDef* CYxJobsStepScript::TargetDef(const wchar_t* table) const {
    return YxJobsHistory_Def(table, YxJobsHistory_SchemaAfterStep(m_from));
}

CYxJobsStepScript& CYxJobsStepScript::Rebuild(const wchar_t* table, std::initializer_list<CYxJobsColumnFill> fills) {
    return RenameForRebuild(table).CreateTable(table).CopyBack(table, fills).DropOld(table);
}

std::vector<const SYxSqliteColDef*> CYxJobsStepScript::KeptColumns(const wchar_t* table) {
    std::vector<const SYxSqliteColDef*> kept;
    const SYxSqliteTableDef* source = SourceDef(table);
    const SYxSqliteTableDef* target = TargetDef(table);
    const SYxSqliteTableDef* current = YxProjectDb_Schema_FindJobsTable(table);
    if (!m_db || !source || !target || !current) return kept;
    // The table name is one of the schema's own, never a caller's text.
    for (const CYxStringW& name :
         ReadNames(m_db, CYxStringW::Format(L"SELECT name FROM pragma_table_info('%s') ORDER BY cid;", table))) {
        // A column of the step's own source version that the target lacks is
        // dropped on purpose; only columns from outside the chain are kept.
        if (YxSqliteTableDef_FindColumn(*source, name) >= 0 || YxSqliteTableDef_FindColumn(*target, name) >= 0)
            continue;
        const int i = YxSqliteTableDef_FindColumn(*current, name);
        if (i >= 0) kept.push_back(&current->pCols[i]);
    }
    return kept;
}

CYxJobsStepScript& CYxJobsStepScript::RenameForRebuild(const wchar_t* table) {
    if (!m_db) return *this;
    m_kept[table] = KeptColumns(table);
    m_script += YxJobsStep_RenameForRebuild(m_db, table, CYxStringW::Format(L"%s_old", table));
    return *this;
}

CYxJobsStepScript& CYxJobsStepScript::CreateTable(const wchar_t* table) {
    const SYxSqliteTableDef* def = TargetDef(table);
    if (!def) {
        YX_DIAG_WARN(L"Upgrade step from %d: no definition of %s", m_from, table);
        m_failed = true;
        return *this;
    }
    const auto kept = m_kept.find(table);
    if (kept == m_kept.end() || kept->second.empty()) {
        m_script += YxSqlite_CreateTableSqlCommand(*def);
        return *this;
    }
    std::vector<SYxSqliteColDef> cols(def->pCols, def->pCols + def->nCols);
    for (const SYxSqliteColDef* c : kept->second) cols.push_back(*c);
    SYxSqliteTableDef extended = *def;
    extended.nCols = static_cast<int>(cols.size());
    extended.pCols = cols.data();
    m_script += YxSqlite_CreateTableSqlCommand(extended);
    return *this;
}

CYxJobsStepScript& CYxJobsStepScript::CopyBack(const wchar_t* table, std::initializer_list<CYxJobsColumnFill> fills) {
    const SYxSqliteTableDef* target = TargetDef(table);
    const SYxSqliteTableDef* source = SourceDef(table);
    if (!target || !source) {
        YX_DIAG_WARN(L"Upgrade step from %d: cannot copy %s", m_from, table);
        m_failed = true;
        return *this;
    }
    CYxStringW columns, values;
    for (int i = 0; i < target->nCols; ++i) {
        const wchar_t* name = target->pCols[i].wszName;
        const wchar_t* value = nullptr;
        for (const CYxJobsColumnFill& fill : fills)
            if (std::wcscmp(fill.first, name) == 0) value = fill.second;
        if (!value && YxSqliteTableDef_FindColumn(*source, name) >= 0) value = name;
        if (!value) continue;  // a new column: its default
        if (!columns.IsEmpty()) {
            columns += L", ";
            values += L", ";
        }
        columns += name;
        values += value;
    }
    const auto kept = m_kept.find(table);
    if (kept != m_kept.end())
        for (const SYxSqliteColDef* c : kept->second) {
            if (!columns.IsEmpty()) {
                columns += L", ";
                values += L", ";
            }
            columns += c->wszName;
            values += c->wszName;
        }
    m_script.AppendFormat(L"INSERT INTO %s (%s) SELECT %s FROM %s_old;\n", table, columns, values, table);
    return *this;
}

CYxJobsStepScript& CYxJobsStepScript::DropOld(const wchar_t* table) {
    m_script.AppendFormat(L"DROP TABLE %s_old;\n", table);
    return *this;
}

CYxJobsStepScript& CYxJobsStepScript::Drop(const wchar_t* table) {
    m_script.AppendFormat(L"DROP TABLE %s;\n", table);
    return *this;
}

CYxJobsStepScript& CYxJobsStepScript::AddColumn(const wchar_t* table, const wchar_t* column) {
    const SYxSqliteTableDef* def = TargetDef(table);
    const int i = def ? YxSqliteTableDef_FindColumn(*def, column) : -1;
    if (i < 0) {
        YX_DIAG_WARN(L"Upgrade step from %d: no column %s in %s", m_from, column, table);
        m_failed = true;
        return *this;
    }
    const SYxSqliteColDef& c = def->pCols[i];
    m_script.AppendFormat(L"ALTER TABLE %s ADD COLUMN %s %s", table, c.wszName, YxSqlite_TypeName(c.eType));
    if (c.wszCollation && *c.wszCollation) m_script.AppendFormat(L" COLLATE %s", c.wszCollation);
    if (c.eRole == eYxColReference && c.wszRefTable) {
        m_script.AppendFormat(L" REFERENCES %s(iKey)", c.wszRefTable);
        if (c.wszRefAction && *c.wszRefAction) m_script.AppendFormat(L" %s", c.wszRefAction);
    }
    m_script += L";\n";
    return *this;
}

CYxJobsStepScript& CYxJobsStepScript::Sql(const wchar_t* text) {
    m_script += text;
    return *this;
}

int CYxJobsStepScript::Run() {
    if (!m_db) return SQLITE_MISUSE;
    if (m_failed) return SQLITE_ERROR;
    const int to = YxJobsHistory_NextVersion(m_from);
    m_script += YxJobsStep_VersionBump(to);
    return Execute(m_db, m_script, to);
}
