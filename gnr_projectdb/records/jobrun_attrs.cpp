// Properties, qualifiers and tags of runs (records_jobrun.h).
#include "gnr_projectdb/records_jobrun.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

int YxProjectDb_Jobrunprop_Insert(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t propdefKey, double value,
                                  std::int64_t* key) {
    SYxProjectDbRow_jobrunprop row{0, runKey, propdefKey, value};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Jobrunprop_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t propdefKey,
                                          double value, std::int64_t* key) {
    SYxProjectDbRow_jobrunprop row{0, runKey, propdefKey, value};
    return Insert(handle, row, key, kOrIgnore, eStampNone);
}

int YxProjectDb_Jobrunprop_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                   std::vector<SYxProjectDbRow_jobrunprop>& rows) {
    return GetMany(handle, L"iJobrunKeyRef", runKey, rows);
}

int YxProjectDb_Jobrunprop_DeleteMany(YxProjectDbHandle handle, std::int64_t runKey) {
    return DeleteByParent(handle, YxJobsDef_jobrunprop, L"iJobrunKeyRef", runKey);
}

int YxProjectDb_Jobrunqual_Insert(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t qualdefKey,
                                  std::int64_t qualstrKey, std::int64_t* key) {
    SYxProjectDbRow_jobrunqual row{0, runKey, qualdefKey, qualstrKey};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Jobrunqual_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t qualdefKey,
                                          std::int64_t qualstrKey, std::int64_t* key) {
    SYxProjectDbRow_jobrunqual row{0, runKey, qualdefKey, qualstrKey};
    return Insert(handle, row, key, kOrIgnore, eStampNone);
}

int YxProjectDb_Jobrunqual_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                   std::vector<SYxProjectDbRow_jobrunqual>& rows) {
    return GetMany(handle, L"iJobrunKeyRef", runKey, rows);
}

int YxProjectDb_Jobrunqual_DeleteMany(YxProjectDbHandle handle, std::int64_t runKey) {
    return DeleteByParent(handle, YxJobsDef_jobrunqual, L"iJobrunKeyRef", runKey);
}

int YxProjectDb_Jobruntag_Insert(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t tagdefKey,
                                 std::int64_t* key) {
    SYxProjectDbRow_jobruntag row{0, runKey, tagdefKey};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Jobruntag_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t tagdefKey,
                                         std::int64_t* key) {
    SYxProjectDbRow_jobruntag row{0, runKey, tagdefKey};
    return Insert(handle, row, key, kOrIgnore, eStampNone);
}

int YxProjectDb_Jobruntag_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                  std::vector<SYxProjectDbRow_jobruntag>& rows) {
    return GetMany(handle, L"iJobrunKeyRef", runKey, rows);
}

int YxProjectDb_Jobruntag_DeleteMany(YxProjectDbHandle handle, std::int64_t runKey) {
    return DeleteByParent(handle, YxJobsDef_jobruntag, L"iJobrunKeyRef", runKey);
}
