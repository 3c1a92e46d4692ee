// Preparing a connection for schema upgrades.
//
// The version bump of every migration step writes to a table named
// `version`, while jobs databases (and application databases before their
// conversion to version 6) keep their versions in `vesion`. The bridge makes
// the name `version` writable without storing anything in the file:
//
//   ATTACH ':memory:' AS yxupgrade;
//   yxupgrade.version   a view with one row per version name ('main',
//                       'silent'), so that "UPDATE version ... WHERE
//                       wszName='main'" matches a row;
//   temp trigger        INSTEAD OF UPDATE on that view, writing the new
//                       value through to `vesion` (an unqualified name in a
//                       TEMP trigger resolves temp, then main).
//
// Name resolution searches temp, main, then the attached schemas. The view
// lives in the attached schema on purpose: once main has a real `version`
// table (after the application database renames `vesion`), unqualified
// `version` reaches that table and the bridge is no longer used. A TEMP view
// would shadow it. The view cannot see main's rows, so the bump must write
// the new version as a value ("SET iVersion=7"), as every step does.
#include "gnr_projectdb/upgrades/upgrade_connection.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <sqlite3.h>

#include <cstdint>

namespace {
const wchar_t* const kBridgeSchema = L"yxupgrade";

bool BridgeAttached(sqlite3* db) {
    int error = 0;
    const std::int64_t n = YxSqlite_ReadOneInt64(
        db, CYxStringW::Format(L"SELECT count(*) FROM pragma_database_list WHERE name='%s';", kBridgeSchema), &error);
    return error == 0 && n > 0;
}
}  // namespace

int YxProjectDb_Upgrade_PrepareConnection(sqlite3* db) {
    if (!db) return SQLITE_MISUSE;
    if (!sqlite3_get_autocommit(db)) return SQLITE_MISUSE;  // the pragmas below would be no-ops
    CYxStringW script = L"PRAGMA foreign_keys=0;\nPRAGMA legacy_alter_table=ON;\n";
    if (!BridgeAttached(db)) {
        script.AppendFormat(L"ATTACH ':memory:' AS %s;\n", kBridgeSchema);
        script.AppendFormat(
            L"CREATE VIEW %s.version AS SELECT 'main' AS wszName, 0 AS iVersion "
            L"UNION ALL SELECT 'silent', 0;\n",
            kBridgeSchema);
        script.AppendFormat(
            L"CREATE TEMP TRIGGER yxupgrade_version_bridge INSTEAD OF UPDATE ON %s.version\n"
            L"BEGIN\n"
            L"  UPDATE vesion SET iVersion=NEW.iVersion WHERE wszName=OLD.wszName;\n"
            L"END;\n",
            kBridgeSchema);
    }
    return YxSqlite_Execute(db, script, nullptr, false);
}
