// Measurements, in the application database (records_measurement.h).
#include "gnr_projectdb/records_measurement.h"

#include "gnr_projectdb/records/json_text.h"
#include "gnr_projectdb/records/table_ops.h"
#include "gnr_projectdb/records_file.h"
#include "gnr_projectdb/schema/app_schema.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kMeas = YxAppDef_measurements;

int InsertMeasurement(const Conn& conn, std::int64_t definitionKey, std::int64_t fileKey,
                      const QByteArray& json, std::uint32_t dataSize, const void* data, std::int64_t* key) {
    if (key) *key = 0;
    sqlite3* db = conn.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteInsert ins(db, kMeas);
    ins.Bind(1, definitionKey);
    if (fileKey == 0) ins.Bind(2);
    else ins.Bind(2, fileKey);
    BindJson(ins, 3, json);
    ins.Bind(4, data, static_cast<int>(dataSize));
    const std::int64_t newKey = ins.Execute();
    if (key && ins.Result() == 0) *key = newKey;
    return ins.Result();
}

void ReadMeasurement(const CYxSqliteCmd& cmd, SYxProjectDbRow_measurements& row) {
    cmd.Column(0, row.iKey);
    cmd.Column(1, row.iDefinitionKeyRef);
    cmd.Column(2, row.iFileKeyRef);
    row.jsonMetadata = ColumnJson(cmd, 3);
    cmd.Column(4, row.pData);
}

}  // namespace

int YxProjectDb_Measurements_Insert(YxProjectDbHandle handle, std::int64_t definitionKey, std::int64_t fileKey,
                                    const wchar_t* name, const wchar_t* desc, std::int32_t batchNumber,
                                    std::int32_t flags, double cTime, double mTime, std::uint32_t dataSize,
                                    const void* data, std::int64_t* key) {
    const QByteArray json = JsonTextOrdered({{"wszName", QString::fromStdWString(name ? name : L"")},
                                             {"wszDesc", QString::fromStdWString(desc ? desc : L"")},
                                             {"iBatchNumber", batchNumber},
                                             {"iFlags", flags},
                                             {"dCTime", cTime},
                                             {"dMTime", mTime}});
    return InsertMeasurement(handle, definitionKey, fileKey, json, dataSize, data, key);
}

int YxProjectDb_Measurements_Insert(YxProjectDbHandle handle, std::int64_t definitionKey, std::int64_t fileKey,
                                    QJsonObject* metadata, std::uint32_t dataSize, const void* data,
                                    std::int64_t* key) {
    return InsertMeasurement(handle, definitionKey, fileKey, JsonText(metadata), dataSize, data, key);
}

int YxProjectDb_Measurements_Update(YxProjectDbHandle handle, std::int64_t key, std::int64_t fileKey,
                                    const QJsonObject* metadata) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteUpdate upd(db, kMeas, {L"iFileKeyRef", L"jsonMetadata"});
    if (fileKey == 0) upd.Bind(1);
    else upd.Bind(1, fileKey);
    BindJson(upd, 2, JsonText(metadata));
    upd.BindInt64(3, key);
    upd.Execute();
    return upd.Result();
}

int YxProjectDb_Measurements_ChangeFlags(YxProjectDbHandle handle, std::int64_t key, std::int32_t flags, bool set) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, set ? L"UPDATE measurements SET jsonMetadata = json_set(jsonMetadata, '$.iFlags', "
                               L"json_extract(jsonMetadata, '$.iFlags') | ?) WHERE iKey=?;"
                             : L"UPDATE measurements SET jsonMetadata = json_set(jsonMetadata, '$.iFlags', "
                               L"json_extract(jsonMetadata, '$.iFlags') & (~?)) WHERE iKey=?;");
    cmd.Bind(1, flags);
    cmd.Bind(2, key);
    cmd.Next();
    return cmd.Result();
}

int YxProjectDb_Measurements_Delete(YxProjectDbHandle handle, std::int64_t key) {
    return DeleteKey(handle, kMeas, key);
}

int YxProjectDb_Measurements_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_measurements& row) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(db, kMeas, key);
    if (sel.Next()) ReadMeasurement(sel, row);
    return sel.Result();
}

int YxProjectDb_Measurements_GetMany(YxProjectDbHandle handle, std::int64_t definitionKey,
                                     std::vector<SYxProjectDbRow_measurements>& rows) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(db, kMeas,
                        CYxStringW::Format(L"%s.%s=%I64d", kMeas.wszName, L"iDefinitionKeyRef", definitionKey));
    while (sel.Next()) {
        SYxProjectDbRow_measurements row;
        ReadMeasurement(sel, row);
        rows.push_back(std::move(row));
    }
    return sel.Result();
}

std::int64_t YxProjectDb_Measurements_GetAnalysisKeyRef(YxProjectDbHandle handle, std::int64_t key) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, L"SELECT iDefinitionKeyRef FROM measurements WHERE iKey=?;");
    cmd.Bind(1, key);
    std::int64_t value = 0;
    if (cmd.Next()) cmd.Column(0, value);
    return cmd.Result() == 0 ? value : 0;
}

CYxStringW YxProjectDb_Measurements_GetFileName(YxProjectDbHandle handle, std::int64_t key) {
    SYxProjectDbRow_measurements meas;
    if (YxProjectDb_Measurements_GetOne(handle, key, meas) != 0 || meas.iKey == 0) return CYxStringW();
    SYxProjectDbRow_files file;
    if (YxProjectDb_Files_GetOne(handle, meas.iFileKeyRef, file) != 0 || file.iKey == 0) return CYxStringW();
    return file.wszFileName;
}

std::int32_t YxProjectDb_Measurements_GetMaxBatchNumber(YxProjectDbHandle handle) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return 0;
    // The path keeps its historical "&." form.
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"SELECT max(json_extract(jsonMetadata, '&.%s')) FROM %s;",
                                            L"iBatchNumber", kMeas.wszName));
    std::int32_t value = 0;
    if (cmd.Next()) cmd.Column(0, value);
    return value;
}

int YxProjectDb_Measurements_GetAllNames(YxProjectDbHandle handle, std::vector<CYxStringW>& names,
                                         const std::vector<CYxStringW>& modules) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    CYxStringW sql(L"SELECT json_extract(measurements.jsonMetadata,'$.wszName') FROM measurements");
    if (modules.empty()) {
        sql += L";";
    } else {
        sql += L" WHERE iDefinitionKeyRef = (SELECT iKey FROM definitions WHERE ";
        for (std::size_t i = 0; i < modules.size(); ++i) {
            if (i) sql += L" OR ";
            if (const int rc = YxSqlite_AppendFormat(sql, L"wszModule=\"%s\"", modules[i])) return rc;
        }
        sql += L");";
    }
    return ReadStrings(conn, sql, names, false);
}
