// The application database's schema steps other than the conversion to
// version 6 (app_convert_004_006.cpp): each builds one script from the
// step's frozen table definitions and executes it, ending with the version
// bump.
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrades/app_frozen_schema.h"
#include "gnr_projectdb/upgrades/app_steps_common.h"

#include "framework/yxdiag.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "framework/yxuuid.h"

#include <vector>

CYxStringW YxProjectDb_AppStep_Bump(int version) {
    return CYxStringW::Format(L"UPDATE %s SET %s=%d WHERE %s='main';\n", L"version", L"iVersion", version,
                              L"wszName");
}

CYxStringW YxProjectDb_AppStep_Create(int version, const wchar_t* table) {
    const SYxSqliteTableDef* def = YxProjectDb_AppFrozen_FindTable(version, table);
    return def ? YxSqlite_CreateTableWithIndexesSqlCommand(*def) : CYxStringW();
}

CYxStringW YxProjectDb_AppStep_NewUuid() {
    const SYxUuid u = YxUuid_Create();
    CYxStringW text = CYxStringW::Format(L"%08x%04x%04x", u.data1, static_cast<int>(u.data2), static_cast<int>(u.data3));
    for (std::uint8_t b : u.data4) text.AppendFormat(L"%02x", static_cast<int>(b));
    return text;
}

int YxProjectDb_AppStep_Execute(sqlite3* db, const CYxStringW& script) {
    const int rc = YxSqlite_Execute(db, script, nullptr, false);
    if (rc != 0) YX_DIAG_WARN(L"Upgrade database error %d", rc);
    return rc;
}

int YxProjectDb_Db_Upgrade_From_001_To_002(sqlite3* db) {
    CYxStringW script = L"DROP TABLE assayrecipe;\nDROP TABLE reciperun;\nDROP TABLE file;\n";
    script += YxProjectDb_AppStep_Create(2, L"assayrecipe");
    script += YxProjectDb_AppStep_Create(2, L"analysis");
    script += YxProjectDb_AppStep_Create(2, L"analysisrun");
    script += YxProjectDb_AppStep_Create(2, L"file");
    script += YxProjectDb_AppStep_Bump(2);
    return YxProjectDb_AppStep_Execute(db, script);
}

int YxProjectDb_Db_Upgrade_From_002_To_003(sqlite3* db) {
    CYxStringW script = L"DROP TABLE analysisrun;\nDROP TABLE analysis;\n";
    script += YxProjectDb_AppStep_Create(3, L"analysis");
    script += YxProjectDb_AppStep_Create(3, L"analysisrun");
    script += YxProjectDb_AppStep_Bump(3);
    return YxProjectDb_AppStep_Execute(db, script);
}

int YxProjectDb_Db_Upgrade_From_003_To_004(sqlite3* db) {
    CYxStringW script = L"DROP TABLE analysisrun;\nDROP TABLE analysis;\n";
    script += YxProjectDb_AppStep_Create(4, L"analysis");
    script += YxProjectDb_AppStep_Create(4, L"analysisrun");
    script += YxProjectDb_AppStep_Bump(4);
    return YxProjectDb_AppStep_Execute(db, script);
}

int YxProjectDb_Db_Upgrade_From_006_To_007(sqlite3* db) {
    std::vector<std::int64_t> keys;
    {
        CYxSqliteCmd select(db, L"SELECT iKey FROM results;");
        while (select.Next()) {
            std::int64_t key = 0;
            select.Column(0, key);
            keys.push_back(key);
        }
        if (select.Result() != 0) {
            YX_DIAG_WARN(L"Upgrade database error %d", select.Result());
            return select.Result();
        }
    }
    CYxStringW script = L"ALTER TABLE results ADD COLUMN wszUuid TEXT;\n";
    for (std::int64_t key : keys) {
        script.AppendFormat(L"UPDATE results SET wszUuid='%s' WHERE iKey=%d", YxProjectDb_AppStep_NewUuid(),
                            static_cast<int>(key));
        script += L";\n";
    }
    script += YxProjectDb_AppStep_Bump(7);
    return YxProjectDb_AppStep_Execute(db, script);
}

int YxProjectDb_Db_Downgrade_From_005_To_004(sqlite3* db) {
    CYxStringW script = CYxStringW::Format(L"ALTER TABLE %s RENAME TO %s;\n", L"analysis", L"analysis_old");
    // The indexes went with the renamed table; they are made again once it
    // is gone.
    const SYxSqliteTableDef* analysis4 = YxProjectDb_AppFrozen_FindTable(4, L"analysis");
    script += YxSqlite_CreateTableSqlCommand(*analysis4);
    script +=
        L"INSERT INTO analysis (iKey, iRecipeKeyRef, wszUuid, wszName, wszDesc, wszModule, wszFileName, "
        L"wszChannels, dCalibration, iFlags, dCTime, dMTime, pData) SELECT iKey, iRecipeKeyRef, wszUuid, wszName, "
        L"wszDesc, wszModule, wszFileName, wszChannels, dCalibration, iFlags, dCTime, dMTime, pData FROM "
        L"analysis_old;\nDROP TABLE analysis_old;\n";
    script += YxSqlite_CheckTableIndexesSqlCommand(*analysis4);
    script += YxProjectDb_AppStep_Bump(4);
    return YxProjectDb_AppStep_Execute(db, script);
}
