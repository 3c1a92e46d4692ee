// Results of measurements, in the application database
// (records_measurement.h).
#include "gnr_projectdb/records_measurement.h"

#include "gnr_projectdb/records/json_text.h"
#include "gnr_projectdb/records/table_ops.h"
#include "gnr_projectdb/schema/app_schema.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kRes = YxAppDef_results;
}  // namespace

int YxProjectDb_Results_Insert(YxProjectDbHandle handle, std::int64_t measurementKey, const QJsonObject* metadata,
                               std::uint32_t dataSize, const void* data, std::int64_t* key) {
    if (key) *key = 0;
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    const CYxStringW uuid = YxProjectDb_Sys_UuidAsText();
    CYxSqliteInsert ins(db, kRes, {L"iMeasurementKeyRef", L"jsonMetadata", L"pData", L"wszUuid"});
    ins.Bind(1, measurementKey);
    BindJson(ins, 2, JsonText(metadata));
    ins.Bind(3, data, static_cast<int>(dataSize));
    ins.Bind(4, uuid);
    const std::int64_t newKey = ins.Execute();
    if (key && ins.Result() == 0) *key = newKey;
    return ins.Result();
}

int YxProjectDb_Results_Update(YxProjectDbHandle handle, std::int64_t key, const SYxProjectDbRow_results& row) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteUpdate upd(db, kRes, {L"iMeasurementKeyRef", L"jsonMetadata", L"pData"});
    upd.Bind(1, row.iMeasurementKeyRef);
    BindJson(upd, 2, JsonText(&row.jsonMetadata));
    upd.Bind(3, row.pData);
    upd.BindInt64(4, key);
    upd.Execute();
    return upd.Result();
}

int YxProjectDb_Results_Update(YxProjectDbHandle handle, std::int64_t key, const QJsonObject* metadata,
                               const CYxByteArray& data) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteUpdate upd(db, kRes, {L"jsonMetadata", L"pData"});
    BindJson(upd, 1, JsonText(metadata));
    upd.Bind(2, data);
    upd.BindInt64(3, key);
    upd.Execute();
    return upd.Result();
}

int YxProjectDb_Results_GetMany(YxProjectDbHandle handle, std::int64_t measurementKey,
                                std::vector<SYxProjectDbRow_results>& rows) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(db, kRes,
                        CYxStringW::Format(L"%s.%s=%I64d", kRes.wszName, L"iMeasurementKeyRef", measurementKey));
    while (sel.Next()) {
        SYxProjectDbRow_results row;
        sel.Column(0, row.iKey);
        sel.Column(1, row.iMeasurementKeyRef);
        row.jsonMetadata = ColumnJson(sel, 2);
        sel.Column(3, row.pData);
        rows.push_back(std::move(row));
    }
    return sel.Result();
}
