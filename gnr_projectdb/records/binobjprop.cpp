// Properties of binary objects (records_binobj.h).
#include "gnr_projectdb/records_binobj.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kProp = YxJobsDef_binobjprop;

int InsertProp(YxProjectDbHandle handle, const wchar_t* clause, std::int64_t binobjKey, std::int64_t propdefKey,
               std::int64_t jobrunKey, std::int32_t frameIndex, double value, std::int64_t* key) {
    SYxProjectDbRow_binobjprop row{0, binobjKey, propdefKey, jobrunKey, frameIndex, value};
    return Insert(handle, row, key, clause, eStampNone);
}

}  // namespace

int YxProjectDb_Binobjprop_Insert(YxProjectDbHandle handle, std::int64_t binobjKey, std::int64_t propdefKey,
                                  std::int64_t jobrunKey, std::int32_t frameIndex, double value, std::int64_t* key) {
    return InsertProp(handle, nullptr, binobjKey, propdefKey, jobrunKey, frameIndex, value, key);
}

int YxProjectDb_Binobjprop_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t binobjKey, std::int64_t propdefKey,
                                          std::int64_t jobrunKey, std::int32_t frameIndex, double value,
                                          std::int64_t* key) {
    return InsertProp(handle, kOrIgnore, binobjKey, propdefKey, jobrunKey, frameIndex, value, key);
}

int YxProjectDb_Binobjprop_InsertOrReplace(YxProjectDbHandle handle, std::int64_t binobjKey, std::int64_t propdefKey,
                                           std::int64_t jobrunKey, std::int32_t frameIndex, double value,
                                           std::int64_t* key) {
    return InsertProp(handle, kOrReplace, binobjKey, propdefKey, jobrunKey, frameIndex, value, key);
}

int YxProjectDb_Binobjprop_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binobjprop>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Binobjprop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                   std::vector<SYxProjectDbRow_binobjprop>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kProp.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Binobjprop_RemoveMany(YxProjectDbHandle handle, const std::vector<SYxProjectDbRow_binobjprop>& rows) {
    return RemoveMany(handle, rows, {L"iBinobjKeyRef", L"iPropdefKeyRef"});
}
