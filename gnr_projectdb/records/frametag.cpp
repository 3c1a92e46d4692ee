// Tags of frames (records_frame.h).
#include "gnr_projectdb/records_frame.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kTag = YxJobsDef_frametag;
}  // namespace

int YxProjectDb_Frametag_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                 std::vector<SYxProjectDbRow_frametag>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kTag.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Frametag_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t tagdefKey,
                                std::int32_t frameIndex, std::int64_t* key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;  // key untouched
    SYxProjectDbRow_frametag row{0, jobrunKey, tagdefKey, frameIndex};
    return Insert(conn, row, key, nullptr, eStampNone);
}

int YxProjectDb_Frametag_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frametag>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Frametag_InsertOrIgnoreMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frametag>& rows) {
    return InsertMany(handle, rows, kOrIgnore);
}

int YxProjectDb_Frametag_RemoveMany(YxProjectDbHandle handle, const std::vector<SYxProjectDbRow_frametag>& rows) {
    return RemoveMany(handle, rows, {L"iJobrunKeyRef", L"iTagdefKeyRef", L"iFrameIndex"});
}

int YxProjectDb_Frametag_RemoveManyReferencingJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey) {
    return Execute(handle,
                   CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d", kTag.wszName, L"iJobrunKeyRef", jobrunKey));
}

int YxProjectDb_Frametag_RemoveManyReferencingJobrunTagdef(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                                           const std::vector<std::int64_t>& tagdefKeys) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    if (tagdefKeys.empty()) return 0;
    CYxSqliteCmd del(db, CYxStringW::Format(L"DELETE FROM %s WHERE %s=? AND %s=?", kTag.wszName, L"iJobrunKeyRef",
                                            L"iTagdefKeyRef"));
    for (std::int64_t tagdefKey : tagdefKeys) {
        del.Bind(1, jobrunKey);
        del.Bind(2, tagdefKey);
        del.Next();
        del.Reset();
    }
    return del.Result();
}
