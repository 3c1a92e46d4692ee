// Binary objects (records_binobj.h).
#include "gnr_projectdb/records_binobj.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kObj = YxJobsDef_binobj;

int InsertObj(YxProjectDbHandle handle, const wchar_t* clause, std::int64_t jobrunKey, std::int32_t frameIndex,
              std::int64_t binlayerKey, std::int32_t binObjId, std::int64_t traceKey, std::int32_t left,
              std::int32_t top, std::int32_t right, std::int32_t bottom, std::int32_t pixelCount, std::int64_t* key) {
    SYxProjectDbRow_binobj row{0, jobrunKey, frameIndex, binlayerKey, binObjId, traceKey,
                               left, top, right, bottom, pixelCount};
    return Insert(handle, row, key, clause, eStampNone);
}

}  // namespace

int YxProjectDb_Binobj_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                              std::int64_t binlayerKey, std::int32_t binObjId, std::int64_t traceKey, std::int32_t left,
                              std::int32_t top, std::int32_t right, std::int32_t bottom, std::int32_t pixelCount,
                              std::int64_t* key) {
    return InsertObj(handle, nullptr, jobrunKey, frameIndex, binlayerKey, binObjId, traceKey, left, top, right, bottom,
                     pixelCount, key);
}

int YxProjectDb_Binobj_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                      std::int64_t binlayerKey, std::int32_t binObjId, std::int64_t traceKey,
                                      std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom,
                                      std::int32_t pixelCount, std::int64_t* key) {
    return InsertObj(handle, kOrIgnore, jobrunKey, frameIndex, binlayerKey, binObjId, traceKey, left, top, right,
                     bottom, pixelCount, key);
}

int YxProjectDb_Binobj_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binobj>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Binobj_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                               std::vector<SYxProjectDbRow_binobj>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kObj.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_binobj_getOne(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                              std::int64_t binlayerKey, std::int32_t binObjId, SYxProjectDbRow_binobj& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneWhere(conn,
                       CYxStringW::Format(L"%s=%I64d AND %s=%I32d AND %s=%I64d AND %s=%I32d", L"iJobrunKeyRef",
                                          jobrunKey, L"iFrameIndex", frameIndex, L"iBinlayerKeyRef", binlayerKey,
                                          L"iBinObjId", binObjId),
                       row);
}
