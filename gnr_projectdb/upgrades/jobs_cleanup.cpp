// The jobs database's clean-up: obsolete records are deleted in one
// transaction, then the file is compacted and analysed.
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrades/upgrade_driver.h"

#include "framework/yxdiag.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"

namespace {
// Empty qualifier strings; binary objects that have neither a property nor a
// qualifier row; the run statistics counts (recomputed later); tasks that
// belong to no program and that no assay run uses.
const wchar_t* const kCleanupScript =
    L"DELETE FROM qualstr WHERE wszName='';\n"
    L"CREATE TEMP TABLE _ref_object(iKey INTEGER PRIMARY KEY);\n"
    L"INSERT INTO _ref_object(iKey) SELECT DISTINCT binobjprop.iBinobjKeyRef FROM binobjprop;\n"
    L"INSERT OR IGNORE INTO _ref_object(iKey) SELECT DISTINCT binobjqual.iBinobjKeyRef FROM binobjqual;\n"
    L"DELETE FROM binobj WHERE binobj.iKey NOT IN (SELECT _ref_object.iKey FROM _ref_object);\n"
    L"DROP TABLE _ref_object;\n"
    L"UPDATE OR IGNORE jobrunpropstat SET iCount=NULL;\n"
    L"UPDATE OR IGNORE jobrunqualstat SET iCount=NULL;\n"
    L"DELETE FROM jobtask WHERE iJobprogramKeyRef IS NULL AND iKey NOT IN (SELECT iJobtaskKeyRef FROM assayrun);\n";
}  // namespace

int YxProjectDb_Upgrade_JobsCleanupWorker(const wchar_t* path) {
    sqlite3* db = nullptr;
    int status = YxSqlite_Open(path, &db, 2);
    if (status != 0) {
        YxSqlite_Close(db);
        return status;
    }
    {
        // Foreign keys stay as the connection has them; the clean-up keeps
        // whatever the script did, even when a later statement failed -
        // except after a confirmed cancel, which leaves the file unchanged.
        CYxSqliteTransaction transaction(db, true, 30);
        YxProjectDb_Upgrade_InstallProgressHandler(db);
        status = YxSqlite_Execute(db, kCleanupScript, nullptr, false);
        if (YxProjectDb_Upgrade_AbortFlag().load() != 0) transaction.SetRollback();
        const int end = transaction.End();
        if (status == 0 && end != 0) status = end;
    }
    if (status == 0) YxProjectDb_Upgrade_CompactAndAnalyse(db);
    YxSqlite_Close(db);
    return status;
}

int YxProjectDb_Db_Jobs_Cleanup(const wchar_t* path, CYxProgressDialog* dialog) {
    if (!path || !*path) return YXPDB_E_PATH;
    if (!dialog) return YxProjectDb_Upgrade_JobsCleanupWorker(path);
    return YxProjectDb_Upgrade_RunWithDialog(path, dialog, &YxProjectDb_Upgrade_JobsCleanupWorker,
                                             eYxUpgradeRunCleanup);
}
