// Places of frames in the loops of a run (records_frame.h).
#include "gnr_projectdb/records_frame.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kIndex = YxJobsDef_loopindex;

int InsertIndex(const Conn& conn, const wchar_t* clause, std::int64_t jobrunKey, std::int32_t frameIndex,
                std::int64_t runloopKey, std::int32_t loopIndex, std::int64_t* key) {
    if (!conn) return YXPDB_E_NOCONNECTION;  // key untouched
    SYxProjectDbRow_loopindex row{0, jobrunKey, frameIndex, runloopKey, loopIndex};
    return Insert(conn, row, key, clause, eStampNone);
}
}  // namespace

int YxProjectDb_Loopindex_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                 std::int64_t runloopKey, std::int32_t loopIndex, std::int64_t* key) {
    return InsertIndex(handle, nullptr, jobrunKey, frameIndex, runloopKey, loopIndex, key);
}

int YxProjectDb_Loopindex_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                         std::int64_t runloopKey, std::int32_t loopIndex, std::int64_t* key) {
    return InsertIndex(handle, kOrIgnore, jobrunKey, frameIndex, runloopKey, loopIndex, key);
}

int YxProjectDb_Loopindex_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_loopindex>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Loopindex_InsertOrIgnoreMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_loopindex>& rows) {
    return InsertMany(handle, rows, kOrIgnore);
}

int YxProjectDb_Loopindex_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                  std::vector<SYxProjectDbRow_loopindex>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kIndex.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Loopindex_GetAllForFrame(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                         std::vector<SYxProjectDbRow_loopindex>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* t = kIndex.wszName;
    return GetManyWhere(conn,
                        CYxStringW::Format(L"%s.%s=%I64d AND %s.%s=%d", t, L"iJobrunKeyRef", jobrunKey, t,
                                           L"iFrameIndex", frameIndex),
                        rows);
}

void YxProjectDb_Loopindex_GetFrameIndex(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                                         const std::vector<SYxProjectDbRow_loopindex>& coordinates,
                                         std::vector<std::int32_t>& frameIndexes) {
    frameIndexes.clear();
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return;
    // One alias per coordinate, each joined to the previous one on the frame.
    CYxStringW head(L"SELECT frame.iFrameIndex FROM frame JOIN loopindex AS l0 ON "
                    L"frame.iJobrunKeyRef=l0.iJobrunKeyRef AND frame.iFrameIndex=l0.iFrameIndex ");
    CYxStringW cond = CYxStringW::Format(L" WHERE frame.iJobrunKeyRef=%I64d AND frame.iJobtaskKeyRef=%I64d ",
                                         jobrunKey, jobtaskKey);
    if (!coordinates.empty())
        cond.AppendFormat(L" AND l0.iRunloopKeyRef=%I64d AND l0.iLoopIndex=%d", coordinates[0].iRunloopKeyRef,
                          coordinates[0].iLoopIndex);
    for (std::size_t i = 1; i < coordinates.size(); ++i) {
        const int k = static_cast<int>(i);
        head.AppendFormat(L" JOIN loopindex AS l%d ON l%d.iJobrunKeyRef=l%d.iJobrunKeyRef AND "
                          L"l%d.iFrameIndex=l%d.iFrameIndex",
                          k, k, k - 1, k, k - 1);
        cond.AppendFormat(L" AND l%d.iRunloopKeyRef=%I64d AND l%d.iLoopIndex=%d", k, coordinates[i].iRunloopKeyRef, k,
                          coordinates[i].iLoopIndex);
    }
    CYxSqliteCmd cmd(db, head + cond);
    std::vector<std::int32_t> found;
    while (cmd.Next()) {
        std::int32_t index = 0;
        cmd.Column(0, index);
        found.push_back(index);
    }
    if (cmd.Result() == 0) frameIndexes = std::move(found);
}
