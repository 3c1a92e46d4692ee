// Operations on the holder definition tables: look-ups, listing, user
// holders, removal marks (holders.h).
#include "gnr_projectdb/holders/holder_db.h"

#include "framework/yxnaturalcompare.h"

#include <algorithm>

using namespace yxholder;

namespace {

sqlite3* Connection(YxProjectDbHandle handle) { return yxrec::Db(handle); }

// Loads the holders of the name rows of one kind into entries. A row whose
// geometry does not decode is skipped; its status is kept in *damaged.
template <class Row, class Load>
int LoadAll(sqlite3* db, const std::vector<Row>& rows, Load load, std::vector<SYxHolderEntry>& out, int* damaged) {
    for (const Row& row : rows) {
        SYxHolderEntry e;
        const int rc = load(db, row, e);
        if (rc == YXPDB_E_HOLDER_DATA) {
            if (damaged) *damaged = rc;
            continue;
        }
        if (rc != 0) return rc;
        out.push_back(std::move(e));
    }
    return 0;
}

// The holders of every kind whose name row matches the condition (the same
// condition and values for the three tables).
template <class... V>
int LoadWhere(sqlite3* db, const wchar_t* where, std::vector<SYxHolderEntry>& out, int* damaged, const V&... values) {
    std::vector<SYxProjectDbRow_wellplatename> plates;
    std::vector<SYxProjectDbRow_dishname> dishes;
    std::vector<SYxProjectDbRow_slidedef> slides;
    int rc = SelectRows(db, where, nullptr, plates, values...);
    if (rc == 0) rc = SelectRows(db, where, nullptr, dishes, values...);
    if (rc == 0) rc = SelectRows(db, where, nullptr, slides, values...);
    if (rc == 0) rc = LoadAll(db, plates, LoadPlate, out, damaged);
    if (rc == 0) rc = LoadAll(db, dishes, LoadDish, out, damaged);
    if (rc == 0) rc = LoadAll(db, slides, LoadSlide, out, damaged);
    return rc;
}

int FirstOf(std::vector<SYxHolderEntry>& found, int rc, int damaged, SYxHolderEntry& entry) {
    if (rc != 0) return rc;
    if (found.empty()) return damaged ? damaged : YXPDB_E_NOTFOUND;
    entry = std::move(found.front());
    return YXPDB_OK;
}

bool ValidKind(EYxHolderKind kind) { return NameTable(kind) != nullptr; }

}  // namespace

int YxProjectDb_Holder_GetByUuid(YxProjectDbHandle handle, const wchar_t* uuid, SYxHolderEntry& entry) {
    sqlite3* db = Connection(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    if (!uuid || !*uuid) return YXPDB_E_GENERIC;
    std::vector<SYxHolderEntry> found;
    int damaged = 0;
    const int rc = LoadWhere(db, L"wszUuid=?", found, &damaged, uuid);
    return FirstOf(found, rc, damaged, entry);
}

int YxProjectDb_Holder_GetByName(YxProjectDbHandle handle, EYxHolderKind kind, const wchar_t* company,
                                 const wchar_t* type, const wchar_t* model, SYxHolderEntry& entry) {
    sqlite3* db = Connection(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    if (!ValidKind(kind) || !company || !type || !model) return YXPDB_E_GENERIC;
    const wchar_t* where = L"wszCompany=? AND wszType=? AND wszModel=?";
    std::vector<SYxHolderEntry> found;
    int damaged = 0;
    int rc = 0;
    if (kind == eYxHolderPlate) {
        std::vector<SYxProjectDbRow_wellplatename> rows;
        rc = SelectRows(db, where, L"LIMIT 1", rows, company, type, model);
        if (rc == 0) rc = LoadAll(db, rows, LoadPlate, found, &damaged);
    } else if (kind == eYxHolderDish) {
        std::vector<SYxProjectDbRow_dishname> rows;
        rc = SelectRows(db, where, L"LIMIT 1", rows, company, type, model);
        if (rc == 0) rc = LoadAll(db, rows, LoadDish, found, &damaged);
    } else {
        std::vector<SYxProjectDbRow_slidedef> rows;
        rc = SelectRows(db, where, L"LIMIT 1", rows, company, type, model);
        if (rc == 0) rc = LoadAll(db, rows, LoadSlide, found, &damaged);
    }
    return FirstOf(found, rc, damaged, entry);
}

int YxProjectDb_Holder_GetByKey(YxProjectDbHandle handle, EYxHolderKind kind, std::int64_t key,
                                SYxHolderEntry& entry) {
    sqlite3* db = Connection(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    if (!ValidKind(kind)) return YXPDB_E_GENERIC;
    std::vector<SYxHolderEntry> found;
    int damaged = 0;
    int rc = 0;
    if (kind == eYxHolderPlate) {
        std::vector<SYxProjectDbRow_wellplatename> rows;
        rc = SelectRows(db, L"iKey=?", nullptr, rows, key);
        if (rc == 0) rc = LoadAll(db, rows, LoadPlate, found, &damaged);
    } else if (kind == eYxHolderDish) {
        std::vector<SYxProjectDbRow_dishname> rows;
        rc = SelectRows(db, L"iKey=?", nullptr, rows, key);
        if (rc == 0) rc = LoadAll(db, rows, LoadDish, found, &damaged);
    } else {
        std::vector<SYxProjectDbRow_slidedef> rows;
        rc = SelectRows(db, L"iKey=?", nullptr, rows, key);
        if (rc == 0) rc = LoadAll(db, rows, LoadSlide, found, &damaged);
    }
    return FirstOf(found, rc, damaged, entry);
}

int YxProjectDb_Holder_GetAll(YxProjectDbHandle handle, bool includeRemoved, std::vector<SYxHolderEntry>& entries) {
    sqlite3* db = Connection(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    std::vector<SYxHolderEntry> found;
    int damaged = 0;
    const int rc = includeRemoved ? LoadWhere(db, nullptr, found, &damaged)
                                  : LoadWhere(db, L"ifnull(iRemoved, 0)=?", found, &damaged, 0);
    if (rc != 0) return rc;
    std::stable_sort(found.begin(), found.end(), [](const SYxHolderEntry& a, const SYxHolderEntry& b) {
        if (a.eKind != b.eKind) return a.eKind < b.eKind;
        return YxNaturalCompare(YxHolder_FullName(a), YxHolder_FullName(b)) < 0;
    });
    entries.insert(entries.end(), found.begin(), found.end());
    return damaged;
}

int YxProjectDb_Holder_Find(YxProjectDbHandle handle, const wchar_t* text, SYxHolderEntry& entry) {
    if (!Connection(handle)) return YXPDB_E_NOCONNECTION;
    if (!text || !*text) return YXPDB_E_GENERIC;
    SYxHolderEntry byUuid;
    int rc = YxProjectDb_Holder_GetByUuid(handle, text, byUuid);
    if (rc == 0) {
        entry = std::move(byUuid);
        return 0;
    }
    if (rc != YXPDB_E_NOTFOUND) return rc;
    std::vector<SYxHolderEntry> all;
    rc = YxProjectDb_Holder_GetAll(handle, false, all);
    if (rc != 0 && rc != YXPDB_E_HOLDER_DATA) return rc;
    return YxHolder_FindIn(all, text, entry);
}

int YxHolder_FindIn(const std::vector<SYxHolderEntry>& entries, const wchar_t* text, SYxHolderEntry& entry) {
    if (!text || !*text) return YXPDB_E_GENERIC;
    CYxStringW needle(text);
    needle.MakeLower();
    const SYxHolderEntry* match = nullptr;
    int matches = 0;
    for (const SYxHolderEntry& e : entries) {
        if (e.iRemoved) continue;
        CYxStringW name = YxHolder_FullName(e);
        if (e.wszUuid == text || name.EqualsNoCase(text)) {
            entry = e;
            return 0;
        }
        name.MakeLower();
        if (name.Find(needle) >= 0) {
            match = &e;
            ++matches;
        }
    }
    if (matches == 0) return YXPDB_E_NOTFOUND;
    if (matches > 1) return YXPDB_E_AMBIGUOUS;
    entry = *match;
    return 0;
}

int YxProjectDb_Holder_InsertUser(YxProjectDbHandle handle, SYxHolderEntry& entry) {
    sqlite3* db = Connection(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    if (!ValidKind(entry.eKind)) return YXPDB_E_GENERIC;
    SYxHolderEntry e = entry;
    if (e.wszUuid.IsEmpty()) e.wszUuid = YxProjectDb_Sys_UuidAsText();
    if (e.eKind != eYxHolderSlide && e.wszConfigUuid.IsEmpty()) e.wszConfigUuid = YxProjectDb_Sys_UuidAsText();
    e.iUserImported = 1;
    e.iRemoved = 0;
    // An empty name part gets the columns' default, as an insert without it would.
    for (CYxStringW* part : {&e.wszCompany, &e.wszType, &e.wszModel})
        if (part->IsEmpty()) *part = L"Unknown";
    e.layout.eKind = e.eKind;

    SYxProjectDbRow_wellplateconfiguration plateConfig;
    SYxProjectDbRow_dishconfiguration dishConfig;
    SYxProjectDbRow_slidedef slide;
    int rc = YXPDB_OK;
    if (e.eKind == eYxHolderPlate) rc = YxHolder_PlateToRow(e.layout, plateConfig);
    else if (e.eKind == eYxHolderDish) rc = YxHolder_DishToRow(e.layout, dishConfig);
    else rc = YxHolder_SlideToRow(e.layout, slide);
    if (rc != YXPDB_OK) return rc;

    std::int64_t slideRef = 0;
    if (e.eKind == eYxHolderSlide && !e.wszSlideUuid.IsEmpty()) {
        SYxProjectDbRow_slidedef held;
        bool found = false;
        rc = SelectOne(db, L"wszUuid=?", held, found, e.wszSlideUuid);
        if (rc != 0) return rc;
        if (found) slideRef = held.iKey;
    }

    CHolderWriteScope scope(db);
    if (scope.Status() != 0) return scope.Status();
    if (e.eKind == eYxHolderPlate) {
        plateConfig.wszUuid = e.wszConfigUuid;
        rc = yxrec::Insert(handle, plateConfig, &e.iConfigKey, nullptr, yxrec::eStampNone);
        SYxProjectDbRow_wellplatename name{0, e.wszUuid, e.iConfigKey, e.wszCompany, e.wszType, e.wszModel, 1, 0, 0};
        if (rc == 0) rc = yxrec::Insert(handle, name, &e.iKey, nullptr, yxrec::eStampNone);
    } else if (e.eKind == eYxHolderDish) {
        dishConfig.wszUuid = e.wszConfigUuid;
        rc = yxrec::Insert(handle, dishConfig, &e.iConfigKey, nullptr, yxrec::eStampNone);
        SYxProjectDbRow_dishname name{0, e.wszUuid, e.iConfigKey, e.wszCompany, e.wszType, e.wszModel, 1, 0};
        if (rc == 0) rc = yxrec::Insert(handle, name, &e.iKey, nullptr, yxrec::eStampNone);
    } else {
        slide.wszUuid = e.wszUuid;
        slide.wszCompany = e.wszCompany;
        slide.wszType = e.wszType;
        slide.wszModel = e.wszModel;
        slide.iUserImported = 1;
        slide.iRemoved = 0;
        slide.iSlideKeyRef = slideRef;
        rc = yxrec::Insert(handle, slide, &e.iKey, nullptr, yxrec::eStampNone);
    }
    rc = scope.End(rc);
    if (rc == 0) entry = std::move(e);
    return rc;
}

int YxProjectDb_Holder_MarkRemoved(YxProjectDbHandle handle, EYxHolderKind kind, std::int64_t key, bool removed) {
    if (!Connection(handle)) return YXPDB_E_NOCONNECTION;
    const SYxSqliteTableDef* def = NameTable(kind);
    if (!def) return YXPDB_E_GENERIC;
    return yxrec::UpdateValues(handle, *def, key, {L"iRemoved"}, static_cast<std::int32_t>(removed ? 1 : 0));
}
