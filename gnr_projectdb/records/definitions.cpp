// Property, qualifier and tag definitions (records_definitions.h).
#include "gnr_projectdb/records_definitions.h"

#include "gnr_projectdb/records/definitions_common.h"

using namespace yxrec;

namespace {
template <class Row>
int RenameColumn(YxProjectDbHandle handle, std::int64_t key, const wchar_t* column, const wchar_t* name) {
    return UpdateValues(handle, Row::Def(), key, {column}, CYxStringW(name));
}
}  // namespace

// ---- get or insert

int YxProjectDb_Propdef_GetOrInsert(YxProjectDbHandle handle, SYxProjectDbRow_propdef& row, std::int64_t* key) {
    return GetOrInsert(handle, row, key);
}
int YxProjectDb_Qualdef_GetOrInsert(YxProjectDbHandle handle, SYxProjectDbRow_qualdef& row, std::int64_t* key) {
    return GetOrInsert(handle, row, key);
}
int YxProjectDb_Qualstr_GetOrInsert(YxProjectDbHandle handle, SYxProjectDbRow_qualstr& row, std::int64_t* key) {
    return GetOrInsert(handle, row, key);
}
int YxProjectDb_Tagdef_GetOrInsert(YxProjectDbHandle handle, SYxProjectDbRow_tagdef& row, std::int64_t* key) {
    return GetOrInsert(handle, row, key);
}
int YxProjectDb_Qualstr_GetOrInsert(YxProjectDbHandle handle, const wchar_t* name, std::int64_t* key) {
    SYxProjectDbRow_qualstr row{0, CYxStringW(name)};
    return GetOrInsert(handle, row, key);
}

// ---- find

int YxProjectDb_Propdef_Find(YxProjectDbHandle handle, const SYxProjectDbRow_propdef& row, std::int64_t* key) {
    return Find(handle, row, key);
}
int YxProjectDb_Qualdef_Find(YxProjectDbHandle handle, const SYxProjectDbRow_qualdef& row, std::int64_t* key) {
    return Find(handle, row, key);
}
int YxProjectDb_Qualstr_Find(YxProjectDbHandle handle, const SYxProjectDbRow_qualstr& row, std::int64_t* key) {
    return Find(handle, row, key);
}
int YxProjectDb_Tagdef_Find(YxProjectDbHandle handle, const SYxProjectDbRow_tagdef& row, std::int64_t* key) {
    return Find(handle, row, key);
}

// ---- used by a run

int YxProjectDb_Propdef_GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                            std::vector<SYxProjectDbRow_propdef>& rows) {
    return GetManyUsedByJobrun(handle, jobrunKey, rows);
}
int YxProjectDb_Qualdef_GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                            std::vector<SYxProjectDbRow_qualdef>& rows) {
    return GetManyUsedByJobrun(handle, jobrunKey, rows);
}
int YxProjectDb_Qualstr_GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                            std::vector<SYxProjectDbRow_qualstr>& rows) {
    return GetManyUsedByJobrun(handle, jobrunKey, rows);
}
int YxProjectDb_Tagdef_GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                           std::vector<SYxProjectDbRow_tagdef>& rows) {
    return GetManyUsedByJobrun(handle, jobrunKey, rows);
}

// ---- rename, colour

int YxProjectDb_Propdef_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* featureName) {
    return RenameColumn<SYxProjectDbRow_propdef>(handle, key, L"wszFeatureName", featureName);
}
int YxProjectDb_Qualdef_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name) {
    return RenameColumn<SYxProjectDbRow_qualdef>(handle, key, L"wszName", name);
}
int YxProjectDb_Qualstr_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name) {
    return RenameColumn<SYxProjectDbRow_qualstr>(handle, key, L"wszName", name);
}
int YxProjectDb_Tagdef_Rename(YxProjectDbHandle handle, std::int64_t key, const wchar_t* name) {
    return RenameColumn<SYxProjectDbRow_tagdef>(handle, key, L"wszName", name);
}
int YxProjectDb_Tagdef_SetColor(YxProjectDbHandle handle, std::int64_t key, std::int32_t color) {
    return UpdateValues(handle, YxJobsDef_tagdef, key, {L"iColor"}, color);
}

// ---- delete when unused

int YxProjectDb_Propdef_DeleteIfUnused(YxProjectDbHandle handle, std::int64_t key) {
    return DeleteIfUnused(handle, YxJobsDef_propdef, key);
}
int YxProjectDb_Qualdef_DeleteIfUnused(YxProjectDbHandle handle, std::int64_t key) {
    return DeleteIfUnused(handle, YxJobsDef_qualdef, key);
}
int YxProjectDb_Qualstr_DeleteIfUnused(YxProjectDbHandle handle, std::int64_t key) {
    return DeleteIfUnused(handle, YxJobsDef_qualstr, key);
}
int YxProjectDb_Tagdef_DeleteIfUnused(YxProjectDbHandle handle, std::int64_t key) {
    return DeleteIfUnused(handle, YxJobsDef_tagdef, key);
}
