// The file's schema against the schema of its recorded version.
#include "gnr_projectdb/diagnostics.h"

#include "gnr_projectdb/core/db_internal.h"
#include "gnr_projectdb/diagnostics/expected_schema.h"
#include "gnr_projectdb/diagnostics/file_schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/upgrades/upgrade_driver.h"

#include <algorithm>

namespace {

CYxStringW Quoted(const wchar_t* text) {
    CYxStringW q(text);
    q.Replace(L"'", L"''");
    return L"'" + q + L"'";
}

// The action of "ON DELETE CASCADE ON UPDATE SET NULL" after `clause`
// ("ON DELETE "), or "" when the text names none.
CYxStringW RefAction(const wchar_t* actions, const wchar_t* clause) {
    const CYxStringW text(actions);
    const long long at = text.Find(clause);
    if (at < 0) return CYxStringW();
    CYxStringW rest = text.Mid(static_cast<std::size_t>(at) + std::wcslen(clause));
    const long long next = rest.Find(L" ON ");
    if (next >= 0) rest = rest.Left(static_cast<std::size_t>(next));
    return rest.Trim();
}

// One description for both sides, so that equal columns give equal texts.
CYxStringW Describe(const CYxStringW& type, bool primaryKey, bool notNull, const CYxStringW& dflt,
                    const CYxStringW& collation, const CYxStringW& refTable, const CYxStringW& refColumn,
                    CYxStringW onDelete, CYxStringW onUpdate) {
    CYxStringW s = type;
    if (primaryKey) s += L" PRIMARY KEY";
    if (notNull) s += L" NOT NULL";
    if (!dflt.IsEmpty()) s += L" DEFAULT " + dflt;
    if (!collation.IsEmpty() && !collation.EqualsNoCase(L"BINARY")) s += L" COLLATE " + collation;
    if (!refTable.IsEmpty()) {
        s.AppendFormat(L" REFERENCES %s(%s)", refTable, refColumn);
        if (!onDelete.IsEmpty() && !onDelete.EqualsNoCase(L"NO ACTION")) s += L" ON DELETE " + onDelete.MakeUpper();
        if (!onUpdate.IsEmpty() && !onUpdate.EqualsNoCase(L"NO ACTION")) s += L" ON UPDATE " + onUpdate.MakeUpper();
    }
    return s;
}

CYxStringW DescribeExpected(const SYxSqliteColDef& c) {
    const bool pk = c.eRole == eYxColPrimaryKey;
    CYxStringW dflt;
    if (c.wszDefault)
        dflt = c.eType == eYxTypeText || c.eType == eYxTypeBlob ? Quoted(c.wszDefault) : CYxStringW(c.wszDefault);
    CYxStringW collation(c.wszCollation ? c.wszCollation : L"");
    collation.MakeUpper();
    const bool ref = c.eRole == eYxColReference && c.wszRefTable;
    return Describe(pk ? L"INTEGER" : YxSqlite_TypeName(c.eType), pk, false, dflt, collation,
                    ref ? c.wszRefTable : L"", L"iKey", RefAction(c.wszRefAction, L"ON DELETE "),
                    RefAction(c.wszRefAction, L"ON UPDATE "));
}

CYxStringW DescribeFound(const SYxDiagFileColumn& c) {
    return Describe(c.type, c.bPrimaryKey, c.bNotNull, c.dflt, c.collation, c.refTable, c.refColumn, c.onDelete,
                    c.onUpdate);
}

template <class List>
CYxStringW ColumnList(const List& columns) {
    CYxStringW s;
    for (const auto& c : columns) {
        if (!s.IsEmpty()) s += L", ";
        s += c;
    }
    return s;
}

CYxStringW DescribeIndex(bool unique, const CYxStringW& columns) {
    return (unique ? L"UNIQUE (" : L"(") + columns + L")";
}

void Add(std::vector<SYxProjectDbFinding>& out, EYxProjectDbFindingKind kind, const CYxStringW& table,
         const CYxStringW& name, const CYxStringW& expected, const CYxStringW& found) {
    SYxProjectDbFinding f;
    f.eKind = kind;
    f.wszTable = table;
    f.wszName = name;
    f.wszExpected = expected;
    f.wszFound = found;
    out.push_back(f);
}

const SYxDiagFileColumn* FindColumn(const SYxDiagFileTable& table, const wchar_t* name) {
    for (const SYxDiagFileColumn& c : table.columns)
        if (c.name.EqualsNoCase(name)) return &c;
    return nullptr;
}

void CompareColumns(const SYxDiagExpectedTable& expected, const SYxDiagFileTable& file,
                    std::vector<SYxProjectDbFinding>& out) {
    const SYxSqliteTableDef& def = *expected.pDef;
    std::vector<const SYxSqliteColDef*> columns;
    for (int i = 0; i < def.nCols; ++i) {
        const wchar_t* name = def.pCols[i].wszName;
        const bool left = std::any_of(expected.withoutColumns.begin(), expected.withoutColumns.end(),
                                      [&](const wchar_t* w) { return std::wcscmp(w, name) == 0; });
        if (!left) columns.push_back(&def.pCols[i]);
    }
    columns.insert(columns.end(), expected.extraColumns.begin(), expected.extraColumns.end());

    for (const SYxSqliteColDef* c : columns) {
        const CYxStringW want = DescribeExpected(*c);
        const SYxDiagFileColumn* have = FindColumn(file, c->wszName);
        if (!have) Add(out, eYxFindingColumnMissing, def.wszName, c->wszName, want, L"");
        else if (DescribeFound(*have) != want)
            Add(out, eYxFindingColumnDifferent, def.wszName, c->wszName, want, DescribeFound(*have));
    }
    for (const SYxDiagFileColumn& have : file.columns) {
        const bool wanted = std::any_of(columns.begin(), columns.end(),
                                        [&](const SYxSqliteColDef* c) { return have.name.EqualsNoCase(c->wszName); });
        if (!wanted) Add(out, eYxFindingColumnExtra, def.wszName, have.name, L"", DescribeFound(have));
    }
}

void CompareUniqueGroups(const SYxSqliteTableDef& def, const SYxDiagFileTable& file,
                         std::vector<SYxProjectDbFinding>& out) {
    std::vector<CYxStringW> wanted, found;
    if (def.apUnique[0]) {
        std::vector<const wchar_t*> group;
        for (int i = 0; def.apUnique[i]; ++i) group.push_back(def.apUnique[i]);
        wanted.push_back(ColumnList(group));
    }
    for (const SYxDiagFileIndex& index : file.indexes)
        if (index.bConstraint) found.push_back(ColumnList(index.columns));
    for (const CYxStringW& w : wanted)
        if (std::find(found.begin(), found.end(), w) == found.end())
            Add(out, eYxFindingUniqueMissing, def.wszName, w, DescribeIndex(true, w), L"");
    for (const CYxStringW& f : found)
        if (std::find(wanted.begin(), wanted.end(), f) == wanted.end())
            Add(out, eYxFindingUniqueExtra, def.wszName, f, L"", DescribeIndex(true, f));
}

void CompareIndexes(const SYxSqliteTableDef& def, const SYxDiagFileTable& file, std::vector<SYxProjectDbFinding>& out) {
    const std::vector<SYxSqliteIndexDef> wanted = YxSqlite_IndexList(def);
    for (const SYxSqliteIndexDef& w : wanted) {
        const CYxStringW want = DescribeIndex(w.bUnique, ColumnList(w.columns));
        const auto have = std::find_if(file.indexes.begin(), file.indexes.end(), [&](const SYxDiagFileIndex& i) {
            return !i.bConstraint && i.name.EqualsNoCase(w.name);
        });
        if (have == file.indexes.end()) {
            Add(out, eYxFindingIndexMissing, def.wszName, w.name, want, L"");
            continue;
        }
        const CYxStringW got = DescribeIndex(have->bUnique, ColumnList(have->columns));
        if (got != want) Add(out, eYxFindingIndexDifferent, def.wszName, w.name, want, got);
    }
    for (const SYxDiagFileIndex& have : file.indexes) {
        if (have.bConstraint) continue;
        const bool known = std::any_of(wanted.begin(), wanted.end(),
                                       [&](const SYxSqliteIndexDef& w) { return have.name.EqualsNoCase(w.name); });
        if (!known)
            Add(out, eYxFindingIndexExtra, def.wszName, have.name, L"",
                DescribeIndex(have.bUnique, ColumnList(have.columns)));
    }
}

// An application database has tables of its own and no runs.
bool LooksLikeApplicationDb(sqlite3* db) {
    if (YxSqlite_HasTable(db, L"jobrun")) return false;
    for (const wchar_t* t : {L"definitions", L"analysis", L"reciperun", L"datatable"})
        if (YxSqlite_HasTable(db, t)) return true;
    return false;
}

void ReadVersions(sqlite3* db, EYxProjectDbFlavour flavour, SYxProjectDbSchemaReport& report) {
    int error = 0;
    const wchar_t* table = flavour == eYxFlavourApplication && YxSqlite_HasTable(db, L"version") ? L"version"
                                                                                                   : L"vesion";
    report.iVersion = YxProjectDb_Upgrade_ReadVersion(db, table, L"main", &error);
    if (error) report.iVersion = 0;
    if (flavour != eYxFlavourJobs) return;
    report.iSilentVersion = YxProjectDb_Upgrade_ReadVersion(db, L"vesion", L"silent", &error);
    if (error) report.iSilentVersion = 0;
}

}  // namespace

const char* YxProjectDb_Diag_FindingKindName(EYxProjectDbFindingKind kind) {
    switch (kind) {
    case eYxFindingTableMissing: return "table missing";
    case eYxFindingTableExtra: return "table extra";
    case eYxFindingColumnMissing: return "column missing";
    case eYxFindingColumnExtra: return "column extra";
    case eYxFindingColumnDifferent: return "column different";
    case eYxFindingIndexMissing: return "index missing";
    case eYxFindingIndexExtra: return "index extra";
    case eYxFindingIndexDifferent: return "index different";
    case eYxFindingUniqueMissing: return "unique group missing";
    case eYxFindingUniqueExtra: return "unique group extra";
    case eYxFindingIntegrity: return "integrity";
    case eYxFindingForeignKey: return "foreign key";
    }
    return "unknown";
}

int YxProjectDb_Diag_CompareSchema(YxProjectDbHandle handle, EYxProjectDbFlavour flavour,
                                   std::vector<SYxProjectDbFinding>* findings, SYxProjectDbSchemaReport* reportOut) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    SYxProjectDbSchemaReport local;
    SYxProjectDbSchemaReport& report = reportOut ? *reportOut : local;
    report = SYxProjectDbSchemaReport();
    if (flavour != eYxFlavourJobs && flavour != eYxFlavourApplication)
        flavour = LooksLikeApplicationDb(db) ? eYxFlavourApplication : eYxFlavourJobs;
    report.eFlavour = flavour;
    ReadVersions(db, flavour, report);

    const SYxDiagExpectedSchema expected = flavour == eYxFlavourApplication
                                               ? YxDiag_ExpectedAppSchema(report.iVersion)
                                               : YxDiag_ExpectedJobsSchema(report.iVersion, report.iSilentVersion);
    report.iComparedVersion = expected.iComparedVersion;
    report.bExactVersion = expected.bExactVersion;
    report.nTablesCompared = static_cast<int>(expected.tables.size());

    std::vector<SYxDiagFileTable> tables;
    if (const int rc = YxDiag_ReadFileSchema(db, &tables)) return rc;

    std::vector<SYxProjectDbFinding> out;
    for (const SYxDiagExpectedTable& want : expected.tables) {
        const auto have = std::find_if(tables.begin(), tables.end(), [&](const SYxDiagFileTable& t) {
            return t.name.EqualsNoCase(want.pDef->wszName);
        });
        if (have == tables.end()) {
            if (!want.bOptional) Add(out, eYxFindingTableMissing, want.pDef->wszName, want.pDef->wszName, L"table", L"");
            continue;
        }
        CompareColumns(want, *have, out);
        CompareUniqueGroups(*want.pDef, *have, out);
        CompareIndexes(*want.pDef, *have, out);
    }
    for (const SYxDiagFileTable& have : tables) {
        const bool known = std::any_of(expected.tables.begin(), expected.tables.end(), [&](const SYxDiagExpectedTable& t) {
            return have.name.EqualsNoCase(t.pDef->wszName);
        });
        if (!known) Add(out, eYxFindingTableExtra, have.name, have.name, L"", L"table");
    }
    std::stable_sort(out.begin(), out.end(), [](const SYxProjectDbFinding& a, const SYxProjectDbFinding& b) {
        if (const int t = a.wszTable.Compare(b.wszTable)) return t < 0;
        if (a.eKind != b.eKind) return a.eKind < b.eKind;
        return a.wszName.Compare(b.wszName) < 0;
    });
    if (findings) findings->insert(findings->end(), out.begin(), out.end());
    return 0;
}
