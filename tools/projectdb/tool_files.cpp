// Texts for the ways a database file can be refused.
#include "tool.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/status.h"

#include <sqlite3.h>

std::string YxTool_InfoFailure(const SYxProjectDbFileInfo& info, int status, long long newest) {
    switch (status) {
    case YXPDB_E_GENERIC:
        if (info.iMainVersion > newest)
            return "version " + std::to_string(info.iMainVersion) + " is newer than this tool (newest " +
                   std::to_string(newest) + ")";
        return "no file name given";
    case YXPDB_E_NOCONNECTION: return "no such file";
    case YXPDB_E_READONLY:
        if (info.bDamaged) return "the file is damaged or not a database";
        return "the file is read-only";
    default: return "cannot open the file";
    }
}

int YxTool_OpenFailure(const std::string& file) {
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, "SELECT count(*) FROM sqlite_master;", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    return rc == SQLITE_OK ? SQLITE_CANTOPEN : rc;
}
