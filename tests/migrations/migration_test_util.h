// Helpers shared by the migration suites.
#pragma once

#include "migration_fixture.h"
#include "test_support.h"

#include "gnr_projectdb/upgrades/jobs_history.h"
#include "gnr_projectdb/upgrades/jobs_steps.h"
#include "gnr_projectdb/upgrades/upgrade_connection.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

// A temporary folder for the many small files of the migration suites, in
// memory-backed storage when the system has it (the upgrades commit and
// compact every file; on a busy disk that waiting dominates), removed at the
// end of the scope.
class CYxMigrationDir {
public:
    CYxMigrationDir() {
        std::error_code ec;
        const std::filesystem::path shm("/dev/shm");
        const std::filesystem::path base =
            std::filesystem::is_directory(shm, ec) ? shm : std::filesystem::temp_directory_path();
        std::string tmpl = (base / "gnrpdb-mig-XXXXXX").string();
        m_path = mkdtemp(tmpl.data()) ? tmpl : CYxTempDirFallback();
    }
    ~CYxMigrationDir() {
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    CYxMigrationDir(const CYxMigrationDir&) = delete;
    CYxMigrationDir& operator=(const CYxMigrationDir&) = delete;

    std::string FileUtf8(const char* name) const { return m_path + "/" + name; }
    CYxStringW File(const char* name) const { return CYxStringW::FromUtf8(FileUtf8(name)); }

private:
    std::string CYxTempDirFallback() {
        m_fallback = std::make_unique<CYxTempDir>();
        return m_fallback->Path();
    }
    std::unique_ptr<CYxTempDir> m_fallback;
    std::string m_path;
};

// An open connection that is closed at the end of the scope.
class CYxTestDb {
public:
    explicit CYxTestDb(const std::string& path, bool forUpgrade = false) {
        sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE, nullptr);
        Exec("PRAGMA synchronous=OFF;");
        if (forUpgrade) m_prepareStatus = YxProjectDb_Upgrade_PrepareConnection(m_db);
    }
    ~CYxTestDb() { sqlite3_close(m_db); }
    CYxTestDb(const CYxTestDb&) = delete;
    CYxTestDb& operator=(const CYxTestDb&) = delete;

    sqlite3* Get() const { return m_db; }
    int PrepareStatus() const { return m_prepareStatus; }
    std::vector<std::string> Rows(const std::string& query) const { return YxMigrationFixture_Rows(m_db, query); }
    std::string One(const std::string& query) const {
        const std::vector<std::string> rows = Rows(query);
        return rows.empty() ? std::string("<no row>") : rows.front();
    }
    int Exec(const std::string& sql) const { return sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr); }

private:
    sqlite3* m_db = nullptr;
    int m_prepareStatus = 0;
};

// Every version that has a step, in chain order.
inline std::vector<int> YxTest_StepVersions() {
    std::vector<int> versions;
    for (int v = YX_JOBS_HISTORY_FIRST_VERSION; v < YX_JOBS_HISTORY_LAST_VERSION; ++v)
        if (YxJobsHistory_NextVersion(v)) versions.push_back(v);
    return versions;
}

// Runs the step leaving `from` on the file in one transaction, the way the
// driver does. Returns the step's status (-1 when there is no step).
inline int YxTest_RunStep(const std::string& path, int from) {
    const PFYxJobsUpgradeStep step = YxProjectDb_Upgrade_FindJobsStep(from);
    if (!step) return -1;
    CYxTestDb db(path, true);
    if (db.PrepareStatus() != 0) return db.PrepareStatus();
    db.Exec("BEGIN;");
    const int rc = step(db.Get());
    db.Exec(rc == 0 ? "COMMIT;" : "ROLLBACK;");
    return rc;
}

inline std::string YxTest_Main(const CYxTestDb& db) {
    return db.One("SELECT iVersion FROM vesion WHERE wszName='main';");
}
