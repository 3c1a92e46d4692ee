// Simple questions on an open database.
#include "framework/yxfilesystem.h"
#include "gnr_projectdb/core/db_internal.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "uisupport/yxpath.h"

#include <sqlite3.h>

namespace {

// The file name without folder and without its last extension.
CYxStringW BaseNameWithoutExtension(const wchar_t* path) {
    CYxStringW folder, name;
    YxPath_Split(path, folder, name);
    const long long dot = name.ReverseFind(L'.');
    if (dot > 0) name = name.Left(static_cast<std::size_t>(dot));
    return name;
}
}  // namespace

int YxProjectDb_Db_Backup(YxProjectDbHandle handle, sqlite3* target) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    return YxSqlite_Backup(db, target);
}

CYxStringW YxProjectDb_Db_Filename(YxProjectDbHandle handle) { return YxSqlite_Filename(YxDb_Conn(handle)); }

CYxStringW YxProjectDb_Db_Folder(YxProjectDbHandle handle) {
    const CYxStringW file = YxProjectDb_Db_Filename(handle);
    if (file.IsEmpty()) return file;
    CYxStringW folder, name;
    YxPath_Split(file, folder, name);
    return folder;
}

CYxStringW YxProjectDb_Db_ProjectFolderName(const wchar_t* path) {
    if (!path || !*path) return CYxStringW();
    return BaseNameWithoutExtension(path) + L" Projects";
}

CYxStringW YxProjectDb_Db_ProjectRootFolder(YxProjectDbHandle handle) {
    const CYxStringW file = YxProjectDb_Db_Filename(handle);
    if (file.IsEmpty()) return file;
    return YxFs_AddTrailingSeparator(YxProjectDb_Db_Folder(handle) + YxProjectDb_Db_ProjectFolderName(file));
}

std::uint64_t YxProjectDb_Db_GetSize(YxProjectDbHandle handle) {
    const CYxStringW file = YxProjectDb_Db_Filename(handle);
    return file.IsEmpty() ? 0 : YX_GetFileSizeFromName(file);
}

bool YxProjectDb_Db_HasTable(YxProjectDbHandle handle, const wchar_t* table) {
    return YxSqlite_HasTable(YxDb_Conn(handle), table);
}

int YxProjectDb_Db_IsWriteable(YxProjectDbHandle handle) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    const CYxStringW probe = CYxStringW::Format(L"UPDATE %s SET %s='dbuuid' WHERE %s=1", L"dbinfo", L"wszName", L"iKey");
    return YxSqlite_Execute(db, probe, nullptr, false) == SQLITE_OK ? YXPDB_OK : YXPDB_E_NOCONNECTION;
}

bool YxProjectDb_Db_IsInTransaction(YxProjectDbHandle handle) {
    sqlite3* db = YxDb_Conn(handle);
    return db && sqlite3_get_autocommit(db) == 0;
}
