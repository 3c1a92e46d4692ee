// SQLite's own checks of a file, as findings.
#include "gnr_projectdb/diagnostics.h"

#include "gnr_projectdb/core/db_internal.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

namespace {

int IntegrityFindings(sqlite3* db, std::vector<SYxProjectDbFinding>& out) {
    CYxSqliteCmd cmd(db, L"PRAGMA integrity_check;");
    while (cmd.Next()) {
        CYxStringW line;
        cmd.Column(0, line);
        if (line == L"ok") continue;
        SYxProjectDbFinding f;
        f.eKind = eYxFindingIntegrity;
        f.wszExpected = L"ok";
        f.wszFound = line;
        out.push_back(f);
    }
    return cmd.Result();
}

int ForeignKeyFindings(sqlite3* db, std::vector<SYxProjectDbFinding>& out) {
    // One row per reference to a missing row, with the referencing column.
    CYxSqliteCmd cmd(db, L"SELECT c.\"table\", c.rowid, c.parent, k.\"from\", k.\"to\" "
                         L"FROM pragma_foreign_key_check AS c "
                         L"LEFT JOIN pragma_foreign_key_list(c.\"table\", 'main') AS k ON k.id = c.fkid ORDER BY 1, 2;");
    while (cmd.Next()) {
        SYxProjectDbFinding f;
        f.eKind = eYxFindingForeignKey;
        cmd.Column(0, f.wszTable);
        std::int64_t rowid = 0;
        cmd.Column(1, rowid);
        CYxStringW parent, from, to;
        cmd.Column(2, parent);
        cmd.Column(3, from);
        cmd.Column(4, to);
        f.wszName = cmd.IsNull(1) ? CYxStringW(L"row") : CYxStringW::Format(L"rowid %I64d", rowid);
        if (!from.IsEmpty()) f.wszName.AppendFormat(L" %s", from);
        f.wszExpected = CYxStringW::Format(L"a row of %s", parent);
        f.wszFound = L"none";
        out.push_back(f);
    }
    return cmd.Result();
}

}  // namespace

int YxProjectDb_Diag_CheckIntegrity(YxProjectDbHandle handle, std::vector<SYxProjectDbFinding>* findings) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    std::vector<SYxProjectDbFinding> out;
    int rc = IntegrityFindings(db, out);
    if (!rc) rc = ForeignKeyFindings(db, out);
    if (findings) findings->insert(findings->end(), out.begin(), out.end());
    return rc;
}
