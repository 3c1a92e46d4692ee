// Holder position of frames: well, plate and slide (records_frame.h). The
// three tables have the same shape (run, holder row, frame index).
#include "gnr_projectdb/records_frame.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {

template <class Row>
int HolderGetMany(const Conn& conn, std::int64_t jobrunKey, std::vector<Row>& rows) {
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", Row::Def().wszName, L"iJobrunKeyRef", jobrunKey),
                        rows);
}

template <class Row>
int HolderInsert(const Conn& conn, const wchar_t* clause, std::int64_t jobrunKey, std::int64_t holderKey,
                 std::int32_t frameIndex, std::int64_t* key) {
    if (!conn) return YXPDB_E_NOCONNECTION;  // key untouched
    Row row{0, jobrunKey, holderKey, frameIndex};
    return Insert(conn, row, key, clause, eStampNone);
}

template <class Row>
int HolderExists(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex, bool& exists) {
    Row row{};
    const int rc = GetOneByColumns(handle, row, {L"iJobrunKeyRef", L"iFrameIndex"}, jobrunKey, frameIndex);
    if (rc == YXPDB_E_NOCONNECTION) return rc;
    exists = row.iKey != 0;
    return rc;
}

}  // namespace

int YxProjectDb_Framewellinfo_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                      std::vector<SYxProjectDbRow_framewellinfo>& rows) {
    return HolderGetMany(handle, jobrunKey, rows);
}
int YxProjectDb_Framewellinfo_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t wellinfoKey,
                                     std::int32_t frameIndex, std::int64_t* key) {
    return HolderInsert<SYxProjectDbRow_framewellinfo>(handle, nullptr, jobrunKey, wellinfoKey, frameIndex, key);
}
int YxProjectDb_Framewellinfo_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t wellinfoKey,
                                             std::int32_t frameIndex, std::int64_t* key) {
    return HolderInsert<SYxProjectDbRow_framewellinfo>(handle, kOrIgnore, jobrunKey, wellinfoKey, frameIndex, key);
}
int YxProjectDb_Framewellinfo_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_framewellinfo>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Frameplateinfo_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                       std::vector<SYxProjectDbRow_frameplateinfo>& rows) {
    return HolderGetMany(handle, jobrunKey, rows);
}
int YxProjectDb_Frameplateinfo_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t plateinfoKey,
                                      std::int32_t frameIndex, std::int64_t* key) {
    return HolderInsert<SYxProjectDbRow_frameplateinfo>(handle, nullptr, jobrunKey, plateinfoKey, frameIndex, key);
}
int YxProjectDb_Frameplateinfo_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::int64_t plateinfoKey, std::int32_t frameIndex, std::int64_t* key) {
    return HolderInsert<SYxProjectDbRow_frameplateinfo>(handle, kOrIgnore, jobrunKey, plateinfoKey, frameIndex, key);
}
int YxProjectDb_Frameplateinfo_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frameplateinfo>& rows) {
    return InsertMany(handle, rows);
}
int YxProjectDb_Frameplateinfo_Exists(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                      bool& exists) {
    return HolderExists<SYxProjectDbRow_frameplateinfo>(handle, jobrunKey, frameIndex, exists);
}

int YxProjectDb_Frameslideinfo_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                       std::vector<SYxProjectDbRow_frameslideinfo>& rows) {
    return HolderGetMany(handle, jobrunKey, rows);
}
int YxProjectDb_Frameslideinfo_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t slideinfoKey,
                                      std::int32_t frameIndex, std::int64_t* key) {
    return HolderInsert<SYxProjectDbRow_frameslideinfo>(handle, nullptr, jobrunKey, slideinfoKey, frameIndex, key);
}
int YxProjectDb_Frameslideinfo_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                              std::int64_t slideinfoKey, std::int32_t frameIndex, std::int64_t* key) {
    return HolderInsert<SYxProjectDbRow_frameslideinfo>(handle, kOrIgnore, jobrunKey, slideinfoKey, frameIndex, key);
}
int YxProjectDb_Frameslideinfo_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frameslideinfo>& rows) {
    return InsertMany(handle, rows);
}
int YxProjectDb_Frameslideinfo_Exists(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                      bool& exists) {
    return HolderExists<SYxProjectDbRow_frameslideinfo>(handle, jobrunKey, frameIndex, exists);
}
