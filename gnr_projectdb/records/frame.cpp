// Frames (records_frame.h).
#include "gnr_projectdb/records_frame.h"

#include "gnr_projectdb/records/table_ops.h"

#include <sqlite3.h>

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kFrame = YxJobsDef_frame;

int InsertFrame(const Conn& conn, const wchar_t* clause, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                std::int32_t frameIndex, double cTime, std::int64_t fileKey, std::int32_t fileFrameIndex,
                std::int64_t* key) {
    if (!conn) return YXPDB_E_NOCONNECTION;  // key untouched
    SYxProjectDbRow_frame row{0, jobrunKey, jobtaskKey, frameIndex, cTime, fileKey, fileFrameIndex};
    return Insert(conn, row, key, clause, eStampNone);
}

template <class T>
void BindValueOrNull(CYxSqliteCmd& cmd, int pos, const T& v) {
    if constexpr (std::is_same_v<T, std::int64_t>) {
        if (v == 0) {
            cmd.Bind(pos);
            return;
        }
    }
    cmd.Bind(pos, v);
}

// Creates the frame with two of its columns, or sets those two columns of the
// existing frame (run, index).
template <class A, class B>
int AttachToFrame(const Conn& conn, std::int64_t jobrunKey, std::int32_t frameIndex, const wchar_t* colA,
                  const A& a, const wchar_t* colB, const B& b) {
    if (!conn) return YXPDB_E_NOCONNECTION;
    const CYxSqliteNullValueVector& nulls = NullsOf<SYxProjectDbRow_frame>();
    int rc;
    {
        CYxSqliteInsert ins(conn.Stmts(), kFrame, {L"iJobrunKeyRef", L"iFrameIndex", colA, colB}, L"OR ABORT");
        // An existing frame is the expected case, not an error to report.
        ins.IgnoreConstraintError();
        ins.Row(nulls, jobrunKey, frameIndex, a, b);
        rc = ins.Result();
        if ((ins.LastStep() & 0xFF) == SQLITE_CONSTRAINT) rc = SQLITE_CONSTRAINT;
    }
    if (rc != SQLITE_CONSTRAINT) return rc;
    CYxSqliteCmd upd(conn.Stmts(),
                     CYxStringW::Format(L"UPDATE %s SET %s = ?, %s = ? WHERE %s = ? AND %s = ?;", kFrame.wszName, colA,
                                        colB, L"iJobrunKeyRef", L"iFrameIndex"));
    // References of 0 stay NULL here too.
    BindValueOrNull(upd, 1, a);
    BindValueOrNull(upd, 2, b);
    upd.Bind(3, jobrunKey);
    upd.Bind(4, frameIndex);
    upd.Next();
    return upd.Result();
}

}  // namespace

int YxProjectDb_Frame_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                             std::int32_t frameIndex, double cTime, std::int64_t fileKey, std::int32_t fileFrameIndex,
                             std::int64_t* key) {
    return InsertFrame(handle, nullptr, jobrunKey, jobtaskKey, frameIndex, cTime, fileKey, fileFrameIndex, key);
}

int YxProjectDb_Frame_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                                     std::int32_t frameIndex, double cTime, std::int64_t fileKey,
                                     std::int32_t fileFrameIndex, std::int64_t* key) {
    return InsertFrame(handle, L"OR IGNORE", jobrunKey, jobtaskKey, frameIndex, cTime, fileKey, fileFrameIndex, key);
}

int YxProjectDb_Frame_InsertOrReplace(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t jobtaskKey,
                                      std::int32_t frameIndex, double cTime, std::int64_t fileKey,
                                      std::int32_t fileFrameIndex, std::int64_t* key) {
    return InsertFrame(handle, L"OR REPLACE", jobrunKey, jobtaskKey, frameIndex, cTime, fileKey, fileFrameIndex, key);
}

int YxProjectDb_Frame_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                             std::int64_t fileKey, std::int32_t fileFrameIndex) {
    return AttachToFrame(handle, jobrunKey, frameIndex, L"iFileKeyRef", fileKey, L"iFileFrameIndex", fileFrameIndex);
}

int YxProjectDb_Frame_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                             std::int64_t jobtaskKey, double cTime) {
    return AttachToFrame(handle, jobrunKey, frameIndex, L"iJobtaskKeyRef", jobtaskKey, L"dCTime", cTime);
}

int YxProjectDb_Frame_Update(YxProjectDbHandle handle, std::int64_t key, std::int64_t jobrunKey,
                             std::int64_t jobtaskKey, std::int32_t frameIndex, double cTime, std::int64_t fileKey,
                             std::int32_t fileFrameIndex) {
    SYxProjectDbRow_frame row{key, jobrunKey, jobtaskKey, frameIndex, cTime, fileKey, fileFrameIndex};
    return Update(handle, row, eStampNone);
}

int YxProjectDb_Frame_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frame>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Frame_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                              std::vector<SYxProjectDbRow_frame>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kFrame.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Frame_GetCount(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t& count) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    int rc = 0;
    const std::int64_t n = ReadInt64(
        handle,
        CYxStringW::Format(L"SELECT COUNT(%s) FROM %s WHERE %s=%I64d", L"iKey", kFrame.wszName, L"iJobrunKeyRef",
                           jobrunKey),
        &rc);
    if (rc == 0) count = n;
    return rc;
}

int YxProjectDb_Frame_ReplaceTaskKeyRefMany(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* mapTable) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    // The map table's name is spliced as a name: it must be an identifier.
    const wchar_t* m = mapTable ? mapTable : L"";
    if (const int rc = YxSqlite_CheckIdentifier(m)) return rc;
    return Execute(conn, CYxStringW::Format(L"UPDATE %s SET %s=ifnull((SELECT %s.%s FROM %s WHERE %s.%s=%s), %s) "
                                              L"WHERE %s=%I64d;",
                                              kFrame.wszName, L"iJobtaskKeyRef", m, L"iValue", m, m, L"iKey",
                                              L"iJobtaskKeyRef", L"iJobtaskKeyRef", L"iJobrunKeyRef", jobrunKey));
}
