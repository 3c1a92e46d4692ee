// The common record operations of every table (records_generic.h), expanded
// from the schema list over the templates of table_ops.h.
#include "gnr_projectdb/records_generic.h"

#include "gnr_projectdb/records/table_ops.h"

#define YX_DEFINE_ROW_OPS(t)                                                                                         \
    int YxProjectDb_Row_GetOne(YxProjectDbHandle handle, std::int64_t key, YX_ROW_TYPE(t)& row) {               \
        return yxrec::GetOne(handle, key, row);                                                                      \
    }                                                                                                                \
    int YxProjectDb_Row_GetAll(YxProjectDbHandle handle, std::vector<YX_ROW_TYPE(t)>& rows) {                   \
        return yxrec::GetAll(handle, rows);                                                                          \
    }                                                                                                                \
    int YxProjectDb_Row_GetMany(YxProjectDbHandle handle, const wchar_t* column, std::int64_t key,                  \
                                std::vector<YX_ROW_TYPE(t)>& rows) {                                            \
        return yxrec::GetMany(handle, column ? column : L"", key, rows);                                             \
    }                                                                                                                \
    int YxProjectDb_Row_GetWhere(YxProjectDbHandle handle, const wchar_t* where,                                     \
                                 std::vector<YX_ROW_TYPE(t)>& rows) {                                           \
        return yxrec::GetManyWhere(handle, where, rows);                                                             \
    }                                                                                                                \
    int YxProjectDb_Row_Insert(YxProjectDbHandle handle, YX_ROW_TYPE(t)& row, std::int64_t* key) {              \
        return yxrec::Insert(handle, row, key, nullptr, yxrec::eStampAll);                                           \
    }                                                                                                                \
    int YxProjectDb_Row_Import(YxProjectDbHandle handle, YX_ROW_TYPE(t)& row, std::int64_t* key) {              \
        return yxrec::Insert(handle, row, key, nullptr, yxrec::eStampNone);                                          \
    }                                                                                                                \
    int YxProjectDb_Row_InsertMany(YxProjectDbHandle handle, std::vector<YX_ROW_TYPE(t)>& rows) {               \
        return yxrec::InsertMany(handle, rows);                                                                      \
    }                                                                                                                \
    int YxProjectDb_Row_InsertOrReplaceMany(YxProjectDbHandle handle, std::vector<YX_ROW_TYPE(t)>& rows) {      \
        return yxrec::InsertMany(handle, rows, yxrec::kOrReplace);                                                   \
    }                                                                                                                \
    int YxProjectDb_Row_Update(YxProjectDbHandle handle, YX_ROW_TYPE(t)& row) {                                 \
        return yxrec::Update(handle, row, yxrec::eStampMTime);                                                       \
    }                                                                                                                \
    int YxProjectDb_Row_Delete(YxProjectDbHandle handle, std::int64_t key, const YX_ROW_TYPE(t)*) {             \
        return yxrec::Delete<YX_ROW_TYPE(t)>(handle, key);                                                      \
    }

YX_JOBS_TABLE_LIST(YX_DEFINE_ROW_OPS)
#undef YX_DEFINE_ROW_OPS

int YxProjectDb_Table_DeleteByParent(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column,
                                     std::int64_t key) {
    const yxrec::Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const SYxSqliteTableDef* def = YxProjectDb_Schema_FindJobsTable(table ? table : L"");
    if (!def) return YXPDB_E_NOTFOUND;
    return yxrec::DeleteByParent(conn, *def, column ? column : L"", key);
}

int YxProjectDb_Table_DeleteManyByUuid(YxProjectDbHandle handle, const wchar_t* table,
                                       const std::vector<CYxStringW>* uuids) {
    const yxrec::Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const SYxSqliteTableDef* def = YxProjectDb_Schema_FindJobsTable(table ? table : L"");
    if (!def) return YXPDB_E_NOTFOUND;
    return yxrec::DeleteManyByUuid(conn, *def, uuids);
}

int YxProjectDb_Table_Count(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* where,
                            std::int64_t* count) {
    const yxrec::Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const SYxSqliteTableDef* def = YxProjectDb_Schema_FindJobsTable(table ? table : L"");
    if (!def) return YXPDB_E_NOTFOUND;
    CYxStringW sql = CYxStringW::Format(L"SELECT COUNT(%s) FROM %s", L"iKey", def->wszName);
    if (where && *where) sql.AppendFormat(L" WHERE %s", where);
    int status = 0;
    const std::int64_t n = yxrec::ReadInt64(conn, sql, &status);
    if (status == 0 && count) *count = n;
    return status;
}
