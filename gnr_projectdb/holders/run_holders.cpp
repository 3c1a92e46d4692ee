// The holders of a run: plateinfo with its wells (wellinfo), slideinfo, and
// the wells that hold frames (framewellinfo).
#include "gnr_projectdb/holders/holder_db.h"

#include <algorithm>

using namespace yxholder;

int YxProjectDb_Holder_AddRunPlate(YxProjectDbHandle handle, std::int64_t jobrunKey, const SYxHolderEntry& plate,
                                   const wchar_t* name, const wchar_t* barcode, const SYxHolderAlignment& alignment,
                                   const std::vector<int>& wells, std::int64_t* plateinfoKey,
                                   std::vector<std::int64_t>* wellKeys) {
    sqlite3* db = yxrec::Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    if (plate.eKind != eYxHolderPlate || plate.iKey == 0) return YXPDB_E_GENERIC;
    for (int w : wells)
        if (w < 0 || static_cast<std::size_t>(w) >= plate.layout.elements.size()) return YXPDB_E_GENERIC;
    SYxHolderAlignment check;
    if (YxHolder_InvertAlignment(alignment, &check) != YXPDB_OK) return YXPDB_E_GENERIC;

    CHolderWriteScope scope(db);
    if (scope.Status() != 0) return scope.Status();
    SYxProjectDbRow_plateinfo info{0,  jobrunKey, plate.iKey, name ? name : L"", barcode ? barcode : L"", L"",
                                   0,  YxHolder_EncodeAlignment(alignment)};
    int rc = yxrec::Insert(handle, info, nullptr, nullptr, yxrec::eStampNone);
    std::vector<SYxProjectDbRow_wellinfo> rows;
    for (int w : wells) rows.push_back({0, jobrunKey, w, plate.layout.elements[static_cast<std::size_t>(w)].wszName});
    if (rc == 0 && !rows.empty()) {
        // Inside the scope's transaction: one prepared insert for every well.
        CYxSqliteInsert ins(db, YxJobsDef_wellinfo);
        const CYxSqliteNullValueVector nulls = YxSqliteNullValueVector_Create(YxJobsDef_wellinfo);
        for (SYxProjectDbRow_wellinfo& row : rows) {
            yxrec::BindInsertRow(ins, row, nulls);
            row.iKey = ins.Execute();
            if (ins.Result() != 0) break;
        }
        rc = ins.Result();
    }
    rc = scope.End(rc);
    if (rc != 0) return rc;
    if (plateinfoKey) *plateinfoKey = info.iKey;
    if (wellKeys)
        for (const SYxProjectDbRow_wellinfo& row : rows) wellKeys->push_back(row.iKey);
    return 0;
}

int YxProjectDb_Holder_AddRunSlide(YxProjectDbHandle handle, std::int64_t jobrunKey, const SYxHolderEntry& slide,
                                   const wchar_t* name, const wchar_t* barcode, const SYxHolderAlignment& alignment,
                                   std::int64_t* slideinfoKey) {
    if (!yxrec::Db(handle)) return YXPDB_E_NOCONNECTION;
    if (slide.eKind != eYxHolderSlide || slide.iKey == 0) return YXPDB_E_GENERIC;
    SYxHolderAlignment check;
    if (YxHolder_InvertAlignment(alignment, &check) != YXPDB_OK) return YXPDB_E_GENERIC;
    SYxProjectDbRow_slideinfo info{0,          jobrunKey, name ? name : L"", barcode ? barcode : L"", L"",
                                   slide.iKey, 0,         YxHolder_EncodeAlignment(alignment)};
    std::int64_t key = 0;
    const int rc = yxrec::Insert(handle, info, &key, nullptr, yxrec::eStampNone);
    if (rc == 0 && slideinfoKey) *slideinfoKey = key;
    return rc;
}

int YxProjectDb_Holder_GetRunPlates(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                    std::vector<SYxHolderRunPlate>& plates) {
    sqlite3* db = yxrec::Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    std::vector<SYxProjectDbRow_plateinfo> rows;
    int rc = SelectRows(db, L"iJobrunKeyRef=?", L"ORDER BY iKey", rows, jobrunKey);
    if (rc != 0) return rc;
    int damaged = 0;
    for (SYxProjectDbRow_plateinfo& row : rows) {
        SYxHolderRunPlate p;
        const int m = YxHolder_DecodeAlignment(row.pAlignmentMatrix, &p.alignment);
        if (m == YXPDB_E_HOLDER_DATA) damaged = m;
        p.bHasAlignment = m == YXPDB_OK;
        if (row.iWellplatenameKeyRef) {
            rc = YxProjectDb_Holder_GetByKey(handle, eYxHolderPlate, row.iWellplatenameKeyRef, p.holder);
            if (rc == YXPDB_E_HOLDER_DATA) damaged = rc;
            else if (rc != 0 && rc != YXPDB_E_NOTFOUND) return rc;
        }
        p.row = std::move(row);
        plates.push_back(std::move(p));
    }
    return damaged;
}

int YxProjectDb_Holder_GetRunWells(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                   std::vector<SYxProjectDbRow_wellinfo>& wells) {
    sqlite3* db = yxrec::Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    return SelectRows(db, L"iJobrunKeyRef=?", L"ORDER BY iWellIndex, iKey", wells, jobrunKey);
}

int YxProjectDb_Holder_GetRunSlides(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                    std::vector<SYxProjectDbRow_slideinfo>& slides) {
    sqlite3* db = yxrec::Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    return SelectRows(db, L"iJobrunKeyRef=?", L"ORDER BY iKey", slides, jobrunKey);
}

int YxProjectDb_Holder_GetRunFrameWells(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                        std::vector<CYxStringW>& names) {
    sqlite3* db = yxrec::Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, L"SELECT DISTINCT wellinfo.wszName FROM framewellinfo JOIN wellinfo ON "
                         L"wellinfo.iKey = framewellinfo.iWellinfoKeyRef WHERE framewellinfo.iJobrunKeyRef=? "
                         L"ORDER BY wellinfo.iWellIndex;");
    cmd.Bind(1, jobrunKey);
    while (cmd.Next()) {
        CYxStringW name;
        cmd.Column(0, name);
        names.push_back(std::move(name));
    }
    return cmd.Result();
}
