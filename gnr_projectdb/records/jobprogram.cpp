// Job programs and their properties (records_jobprogram.h).
#include "gnr_projectdb/records_jobprogram.h"

#include "framework/yxlitevariant.h"
#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kProgram = YxJobsDef_jobprogram;

// Reads the stored property bytes of a program. 0 with found set when the row
// exists; the statement's status otherwise.
int ReadProperties(sqlite3* db, std::int64_t key, CYxByteArray& bytes, bool& found) {
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=%I64d;", L"pProperties", kProgram.wszName,
                                            L"iKey", key));
    found = cmd.Next();
    if (found) cmd.Column(0, bytes);
    return cmd.Result();
}

int StoreProperties(sqlite3* db, std::int64_t key, const CYxByteArray& bytes) {
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"UPDATE %s SET %s=? WHERE %s=%I64d;", kProgram.wszName, L"pProperties",
                                            L"iKey", key));
    cmd.Bind(1, bytes);
    cmd.Next();
    return cmd.Result();
}

// Opens the root group of the program's tree; 0 or -13, or a read status.
int OpenRoot(const Conn& conn, std::int64_t key, CYxLiteVariantR& reader) {
    sqlite3* db = conn.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxByteArray bytes;
    bool found = false;
    const int rc = ReadProperties(db, key, bytes, found);
    if (!found) return rc ? rc : YXPDB_E_NOTFOUND;
    if (reader.Load(bytes) != YXLV_OK) return YXPDB_E_NOTFOUND;
    if (reader.EnterGroup(L"") != YXLV_OK) return YXPDB_E_NOTFOUND;
    return 0;
}
}  // namespace

int YxProjectDb_Jobprogram_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* summary,
                                  std::int64_t* key) {
    const CYxByteArray empty;
    return YxProjectDb_Jobprogram_Insert(handle, jobdefKey, summary, &empty, key);
}

int YxProjectDb_Jobprogram_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* summary,
                                  const CYxByteArray* properties, std::int64_t* key) {
    const Conn conn(handle);
    if (!conn) {
        if (key) *key = 0;
        return YXPDB_E_NOCONNECTION;
    }
    return YxProjectDb_Jobprogram_Insert(handle, jobdefKey, summary, properties, YxProjectDb_Sys_UuidAsText(), key);
}

int YxProjectDb_Jobprogram_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* summary,
                                  const CYxByteArray* properties, const wchar_t* uuid, std::int64_t* key) {
    const Conn conn(handle);
    if (!conn) {
        if (key) *key = 0;
        return YXPDB_E_NOCONNECTION;
    }
    return YxProjectDb_Jobprogram_Insert(handle, jobdefKey, summary, properties, uuid, YxProjectDb_Sys_JdnNow(), key);
}

int YxProjectDb_Jobprogram_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, const wchar_t* summary,
                                  const CYxByteArray* properties, const wchar_t* uuid, double mTime,
                                  std::int64_t* key) {
    SYxProjectDbRow_jobprogram row{0, jobdefKey, CYxStringW(summary), properties ? *properties : CYxByteArray(),
                                   CYxStringW(uuid), mTime};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Jobprogram_Update(YxProjectDbHandle handle, std::int64_t key, const wchar_t* summary,
                                  const CYxByteArray* properties) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const double now = YxProjectDb_Sys_JdnNow();
    if (properties)
        return UpdateValues(conn, kProgram, key, {L"wszSummary", L"pProperties", L"dMTime"}, CYxStringW(summary),
                            *properties, now);
    return UpdateValues(conn, kProgram, key, {L"wszSummary", L"dMTime"}, CYxStringW(summary), now);
}

int YxProjectDb_Jobprogram_RemoveOne(YxProjectDbHandle handle, const wchar_t* uuid) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteDelete del(db, kProgram, {L"wszUuid"});
    del.Row(CYxStringW(uuid));
    return del.Result();
}

int YxProjectDb_Jobprogram_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_jobprogram& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneWhere(conn, CYxStringW::Format(L"%s=%I64d", L"iKey", key), row);
}

int YxProjectDb_Jobprogram_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_jobprogram& row) {
    return GetOneByUuid(handle, uuid, row);
}

int YxProjectDb_Jobprogram_GetMany(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                   std::vector<SYxProjectDbRow_jobprogram>& rows) {
    return GetMany(handle, L"iJobdefKeyRef", jobdefKey, rows);
}

int YxProjectDb_Jobprogram_GetLatest(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                     SYxProjectDbRow_jobprogram& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneWhere(conn,
                       CYxStringW::Format(L"%s=%I64d ORDER BY %s DESC, %s DESC LIMIT 1", L"iJobdefKeyRef", jobdefKey,
                                          L"dMTime", L"iKey"),
                       row);
}

int YxProjectDb_Jobprogram_GetLatestTaskStateoOr(YxProjectDbHandle handle, std::int64_t jobdefKey, int& state) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, CYxStringW::Format(L"SELECT bitwiseor(%s.%s) FROM %s WHERE %s.%s=(SELECT %s.%s FROM %s WHERE "
                                            L"%s.%s=%I64d ORDER BY %s.%s DESC LIMIT 1);",
                                            L"jobtask", L"iState", L"jobtask", L"jobtask", L"iJobprogramKeyRef",
                                            L"jobprogram", L"iKey", L"jobprogram", L"jobprogram", L"iJobdefKeyRef",
                                            jobdefKey, L"jobprogram", L"iKey"));
    if (cmd.Next()) cmd.Column(0, state);
    return cmd.Result();
}

int YxProjectDb_Jobprogram_GetProperty(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name,
                                       CYxByteArray& value) {
    CYxLiteVariantR reader;
    const int rc = OpenRoot(handle, key, reader);
    if (rc != 0) return rc;
    return reader.GetBytes(name ? name : L"", value) == YXLV_OK ? 0 : YXPDB_E_NOTFOUND;
}

int YxProjectDb_Jobprogram_GetProperty(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name,
                                       CYxStringW& value) {
    CYxLiteVariantR reader;
    const int rc = OpenRoot(handle, key, reader);
    if (rc != 0) return rc;
    return reader.GetText(name ? name : L"", value) == YXLV_OK ? 0 : YXPDB_E_NOTFOUND;
}

int YxProjectDb_Jobprogram_InsertOrUpdateProperties(YxProjectDbHandle handle, const SYxProjectDbRow_jobprogram& row) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    return StoreProperties(db, row.iKey, row.pProperties);
}

int YxProjectDb_Jobprogram_InsertOrUpdateProperties(YxProjectDbHandle handle, std::int64_t key,
                                                    const std::vector<SYxProjectDbRow_jobprogram::_property>& props) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    if (props.empty()) return 0;
    CYxByteArray bytes;
    bool found = false;
    int rc = ReadProperties(db, key, bytes, found);
    if (rc != 0) return rc;
    if (!found) return YXPDB_E_NOTFOUND;
    CYxLiteVariantW writer;
    writer.Load(bytes);  // damaged bytes leave an empty tree, which is then rebuilt
    if (writer.OpenGroup(L"") != YXLV_OK) return YXPDB_E_NOTFOUND;
    for (const SYxProjectDbRow_jobprogram::_property& p : props) {
        if (p.bIsBytes) writer.AddBytes(p.name, p.pValue);
        else writer.AddText(p.name, p.wszValue);
    }
    writer.CloseGroup();
    CYxByteArray out;
    if (writer.GetData(out) != YXLV_OK) return YXPDB_E_NOTFOUND;
    return StoreProperties(db, key, out);
}

int YxProjectDb_Jobprogram_Duplicate(YxProjectDbHandle handle, std::int64_t key, std::int64_t* newKey) {
    if (newKey) *newKey = 0;
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    SYxProjectDbRow_jobprogram row{};
    const int rc = GetOne(conn, key, row);
    if (rc != 0) return rc;
    if (row.iKey == 0) return YXPDB_E_NOTFOUND;
    return YxProjectDb_Jobprogram_Insert(handle, row.iJobdefKeyRef, row.wszSummary, &row.pProperties,
                                         YxProjectDb_Sys_UuidAsText(), YxProjectDb_Sys_JdnNow(), newKey);
}
