// Deposits of job definitions (records_deposit.h).
#include "gnr_projectdb/records_deposit.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kDep = YxJobsDef_deposit;

int ReadDeposits(YxProjectDbHandle handle, const wchar_t* where, std::list<SYxProjectDbRow_deposit>& rows) {
    std::vector<SYxProjectDbRow_deposit> read;
    const int rc = GetManyWhere(handle, where, read);
    rows.insert(rows.end(), read.begin(), read.end());
    return rc;
}

}  // namespace

int YxProjectDb_Deposit_Insert(YxProjectDbHandle handle, std::int64_t jobdefKey, double cTime, double mTime,
                               const wchar_t* uuid, std::uint32_t dataSize, const void* data, std::int64_t* key) {
    SYxProjectDbRow_deposit row{0, jobdefKey, cTime, mTime, CYxStringW(uuid), CYxByteArray(data, data ? dataSize : 0)};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Deposit_Update(YxProjectDbHandle handle, std::int64_t key, std::int64_t jobdefKey, double cTime,
                               double mTime, const wchar_t* uuid, CYxByteArray& data) {
    SYxProjectDbRow_deposit row{key, jobdefKey, cTime, mTime, CYxStringW(uuid), data};
    return Update(handle, row, eStampNone);
}

int YxProjectDb_Deposit_GetOne(YxProjectDbHandle handle, const wchar_t* uuid, SYxProjectDbRow_deposit& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneFormatted(conn, row, L" %s='%s'", L"wszUuid", uuid ? uuid : L"");
}

int YxProjectDb_Deposit_GetMany(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                std::list<SYxProjectDbRow_deposit>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return ReadDeposits(handle, CYxStringW::Format(L"%s.%s=%I64d", kDep.wszName, L"iJobdefKeyRef", jobdefKey), rows);
}

int YxProjectDb_Deposit_GetManyReferencingJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                                 std::list<SYxProjectDbRow_deposit>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return ReadDeposits(handle, CYxStringW::Format(L"%s=%I64d", L"iJobdefKeyRef", jobdefKey), rows);
}
