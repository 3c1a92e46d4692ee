// Files of a run and their sizes on disk (records_file.h).
#include "gnr_projectdb/records_file.h"

#include "framework/yxfilesystem.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/records/table_ops.h"

#include <cmath>

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kFile = YxJobsDef_file;

// The stored relative paths "<project folder>\<run folder>\<file name>" of
// the files, with an optional " AND jobrun.iKey=<run>" filter.
CYxStringW FilePathsSql(const std::int64_t* jobrunKey) {
    CYxStringW sql = CYxStringW::Format(
        L"SELECT %s.%s || '\\' || %s.%s || '\\' || %s.%s FROM %s, %s, %s WHERE %s.%s=%s.%s AND %s.%s=%s.%s", L"project",
        L"wszFolderName", L"jobrun", L"wszFolderName", L"file", L"wszFileName", L"project", L"jobrun", L"file",
        L"jobrun", L"iKey", L"file", L"iJobrunKeyRef", L"project", L"iKey", L"jobrun", L"iProjKeyRef");
    if (jobrunKey) sql.AppendFormat(L" AND %s.%s=%I64d;", L"jobrun", L"iKey", *jobrunKey);
    else sql += L";";
    return sql;
}

std::uint64_t SumFileSizes(YxProjectDbHandle handle, const std::int64_t* jobrunKey) {
    const Conn conn(handle);
    if (!conn) return 0;
    std::vector<CYxStringW> paths;
    ReadStrings(conn, FilePathsSql(jobrunKey), paths, false);
    const CYxStringW root = YxFs_AddTrailingSeparator(YxProjectDb_Db_ProjectRootFolder(handle));
    std::uint64_t sum = 0;
    for (const CYxStringW& rel : paths) sum += YX_GetFileSizeFromName(root + rel);  // 0 when missing
    return sum;
}

}  // namespace

int YxProjectDb_File_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* fileName,
                            std::int32_t width, std::int32_t height, std::int32_t planes, std::int32_t components,
                            std::int32_t bitsPerComponent, std::int32_t frameCount, double calibration, double aspect,
                            std::int64_t* key) {
    SYxProjectDbRow_file row{0,      jobrunKey,        CYxStringW(fileName), width,       height, planes,
                             components, bitsPerComponent, frameCount,           calibration, aspect, CYxStringW()};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_File_Update(YxProjectDbHandle handle, std::int64_t key, std::int32_t frameCount) {
    return UpdateValues(handle, kFile, key, {L"iFrameCount"}, frameCount);
}

int YxProjectDb_File_Update(YxProjectDbHandle handle, std::int64_t key, double calibration) {
    return UpdateValues(handle, kFile, key, {L"dCalibration"}, calibration);
}

int YxProjectDb_File_GetOne(YxProjectDbHandle handle, std::int64_t key, SYxProjectDbRow_file& row) {
    return GetOne(handle, key, row);
}

int YxProjectDb_File_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey, std::vector<SYxProjectDbRow_file>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kFile.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_File_GetMany(YxProjectDbHandle handle, const std::vector<std::int64_t>* keys,
                             std::vector<SYxProjectDbRow_file>& rows) {
    if (!keys) return 0;
    // One record per key, in order; a key without a row appends its record
    // as it was (iKey 0), so that callers see which key has none.
    for (std::int64_t key : *keys) {
        SYxProjectDbRow_file row;
        if (YxProjectDb_File_GetOne(handle, key, row) != 0) return YXPDB_E_NOCONNECTION;
        rows.push_back(std::move(row));
    }
    return 0;
}

int Yx_ProjectDb_File_Exists(YxProjectDbHandle handle, const wchar_t* uuid, bool& exists) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    exists = false;
    std::vector<SYxProjectDbRow_file> rows;
    const int rc = GetManyFormatted(conn, rows, L"%s='%s'", L"wszUuid", uuid ? uuid : L"");
    for (const SYxProjectDbRow_file& r : rows)
        if (r.iKey != 0) exists = true;
    return rc;
}

std::uint64_t YxProjectDb_File_GetAllFilesSize(YxProjectDbHandle handle) { return SumFileSizes(handle, nullptr); }

std::uint64_t YxProjectDb_File_GetManyFilesSize(YxProjectDbHandle handle, std::int64_t jobrunKey) {
    return SumFileSizes(handle, &jobrunKey);
}

int YxProjectDb_File_GetImagesSize_FromIKeys(YxProjectDbHandle handle, const std::vector<std::int64_t>* keys,
                                             std::int64_t& sizeMiB) {
    std::vector<SYxProjectDbRow_file> rows;
    const int rc = YxProjectDb_File_GetMany(handle, keys, rows);
    if (rc != 0) return rc;
    for (const SYxProjectDbRow_file& row : rows) {
        // A size of 0 is only trusted for a file that is there.
        if (!YxFs_Exists(row.wszFileName) || YxFs_IsDirectory(row.wszFileName)) return YXPDB_E_NOCONNECTION;
        const double bytes = static_cast<double>(YX_GetFileSizeFromName(row.wszFileName));
        sizeMiB += static_cast<std::int64_t>(std::llround(bytes * (1.0 / 1048576.0)));
    }
    return 0;
}
