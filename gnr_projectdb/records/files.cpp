// Files without run, in the application database (records_file.h).
#include "gnr_projectdb/records_file.h"

#include "gnr_projectdb/records/json_text.h"
#include "gnr_projectdb/records/table_ops.h"
#include "gnr_projectdb/schema/app_schema.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kFiles = YxAppDef_files;

int InsertFiles(const Conn& conn, const wchar_t* fileName, const QByteArray& json, std::int64_t* key) {
    if (key) *key = 0;
    sqlite3* db = conn.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteInsert ins(db, kFiles, {L"wszFileName", L"jsonMetadata"});
    ins.Bind(1, fileName ? fileName : L"");
    BindJson(ins, 2, json);
    const std::int64_t newKey = ins.Execute();
    if (key && ins.Result() == 0) *key = newKey;
    return ins.Result();
}

}  // namespace

int YxProjectDb_Files_Insert(YxProjectDbHandle handle, const wchar_t* fileName, std::int32_t width,
                             std::int32_t height, std::int32_t /*unused*/, std::int32_t planes, double calibration,
                             std::int64_t* key) {
    return InsertFiles(handle, fileName,
                       JsonTextOrdered({{"iWidth", width},
                                        {"iHeight", height},
                                        {"iPlanes", planes},
                                        {"dCalibration", calibration}}),
                       key);
}

int YxProjectDb_Files_Insert(YxProjectDbHandle handle, const wchar_t* fileName, QJsonObject* metadata,
                             std::int64_t* key) {
    return InsertFiles(handle, fileName, JsonText(metadata), key);
}

int YxProjectDb_Files_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* fileName,
                             const QJsonObject* metadata) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteUpdate upd(db, kFiles, {L"wszFileName", L"jsonMetadata"});
    upd.Bind(1, fileName ? fileName : L"");
    BindJson(upd, 2, JsonText(metadata));
    upd.BindInt64(3, key);
    upd.Execute();
    return upd.Result();
}

int YxProjectDb_Files_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_files& row) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(db, kFiles, key);
    if (sel.Next()) {
        sel.Column(0, row.iKey);
        sel.Column(1, row.wszFileName);
        row.jsonMetadata = ColumnJson(sel, 2);
    }
    return sel.Result();
}
