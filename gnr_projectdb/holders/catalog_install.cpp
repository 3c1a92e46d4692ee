// Installing and updating the built-in holder catalog in a jobs database.
//
// Versions: the "plate" row of vesion holds the catalog version of the
// plates; the "dish" row that of dishes and slides together. The slide step
// writes the "dish" row, so the dish step (which runs before it) still sees
// the old version and does its part.
#include "gnr_projectdb/holders/holder_db.h"

#include <set>

using namespace yxholder;

namespace {

std::int64_t ReadCatalogVersion(sqlite3* db, const wchar_t* name, int& rc) {
    CYxSqliteCmd cmd(db, L"SELECT iVersion FROM vesion WHERE wszName=? LIMIT 1;");
    cmd.Bind(1, name);
    std::int64_t version = 0;
    if (cmd.Next()) cmd.Column(0, version);
    rc = cmd.Result();
    return version;
}

int WriteCatalogVersion(sqlite3* db, const wchar_t* name) {
    CYxSqliteCmd upd(db, L"UPDATE vesion SET iVersion=? WHERE wszName=?;");
    upd.Bind(1, static_cast<std::int64_t>(YX_HOLDER_CATALOG_VERSION));
    upd.Bind(2, name);
    upd.Next();
    if (upd.Result() != 0 || upd.Changes() > 0) return upd.Result();
    CYxSqliteCmd ins(db, L"INSERT INTO vesion (wszName, iVersion) VALUES (?, ?);");
    ins.Bind(1, name);
    ins.Bind(2, static_cast<std::int64_t>(YX_HOLDER_CATALOG_VERSION));
    ins.Next();
    return ins.Result();
}

// Writes a configuration row of the catalog: updates the row with the uuid
// in place, or inserts it. *key receives its key.
template <class Config, class ToRow>
int PutConfig(YxProjectDbHandle handle, sqlite3* db, const SYxHolderEntry& e, ToRow toRow, std::int64_t* key) {
    Config row;
    bool found = false;
    int rc = SelectOne(db, L"wszUuid=?", row, found, e.wszConfigUuid);
    if (rc != 0) return rc;
    rc = toRow(e.layout, row);
    if (rc != 0) return rc;
    row.wszUuid = e.wszConfigUuid;
    if (found) {
        *key = row.iKey;
        return yxrec::Update(handle, row, yxrec::eStampNone);
    }
    return yxrec::Insert(handle, row, key, nullptr, yxrec::eStampNone);
}

// Names of a catalog entry on its name row (plates, dishes) or slidedef row.
template <class Row>
void PutNames(const SYxHolderEntry& e, Row& row) {
    row.wszUuid = e.wszUuid;
    row.wszCompany = e.wszCompany;
    row.wszType = e.wszType;
    row.wszModel = e.wszModel;
    row.iUserImported = 0;
}

int PutPlate(YxProjectDbHandle handle, sqlite3* db, const SYxHolderEntry& e) {
    SYxProjectDbRow_wellplatename name;
    bool found = false;
    int rc = SelectOne(db, L"wszUuid=?", name, found, e.wszUuid);
    if (rc != 0 || (found && name.iUserImported)) return rc;
    std::int64_t configKey = 0;
    rc = PutConfig<SYxProjectDbRow_wellplateconfiguration>(handle, db, e, YxHolder_PlateToRow, &configKey);
    if (rc != 0) return rc;
    PutNames(e, name);
    name.iWellplateconfigKeyRef = configKey;
    return found ? yxrec::Update(handle, name, yxrec::eStampNone)
                 : yxrec::Insert(handle, name, nullptr, nullptr, yxrec::eStampNone);
}

int PutDish(YxProjectDbHandle handle, sqlite3* db, const SYxHolderEntry& e) {
    SYxProjectDbRow_dishname name;
    bool found = false;
    int rc = SelectOne(db, L"wszUuid=?", name, found, e.wszUuid);
    if (rc != 0 || (found && name.iUserImported)) return rc;
    std::int64_t configKey = 0;
    rc = PutConfig<SYxProjectDbRow_dishconfiguration>(handle, db, e, YxHolder_DishToRow, &configKey);
    if (rc != 0) return rc;
    PutNames(e, name);
    name.iDishKeyRef = configKey;
    return found ? yxrec::Update(handle, name, yxrec::eStampNone)
                 : yxrec::Insert(handle, name, nullptr, nullptr, yxrec::eStampNone);
}

int PutSlide(YxProjectDbHandle handle, sqlite3* db, const SYxHolderEntry& e) {
    SYxProjectDbRow_slidedef row;
    bool found = false;
    int rc = SelectOne(db, L"wszUuid=?", row, found, e.wszUuid);
    if (rc != 0 || (found && row.iUserImported)) return rc;
    rc = YxHolder_SlideToRow(e.layout, row);
    if (rc != 0) return rc;
    PutNames(e, row);
    row.iSlideKeyRef = 0;
    if (!e.wszSlideUuid.IsEmpty()) {
        SYxProjectDbRow_slidedef held;
        bool heldFound = false;
        rc = SelectOne(db, L"wszUuid=?", held, heldFound, e.wszSlideUuid);
        if (rc != 0) return rc;
        if (heldFound) row.iSlideKeyRef = held.iKey;
    }
    return found ? yxrec::Update(handle, row, yxrec::eStampNone)
                 : yxrec::Insert(handle, row, nullptr, nullptr, yxrec::eStampNone);
}

// Catalog rows of the database (not user-imported, not yet removed) whose
// uuid the catalog no longer lists get iRemoved 1.
template <class Row>
int MarkWithdrawn(YxProjectDbHandle handle, sqlite3* db, EYxHolderKind kind) {
    std::set<std::wstring> listed;
    for (const SYxHolderEntry& e : YxHolder_Catalog())
        if (e.eKind == kind) listed.insert(e.wszUuid.str());
    std::vector<Row> rows;
    int rc = SelectRows(db, L"ifnull(iUserImported, 0)=? AND ifnull(iRemoved, 0)=?", nullptr, rows, 0, 0);
    for (const Row& row : rows) {
        if (rc != 0) break;
        if (listed.count(row.wszUuid.str()) == 0)
            rc = yxrec::UpdateValues(handle, Row::Def(), row.iKey, {L"iRemoved"}, static_cast<std::int32_t>(1));
    }
    return rc;
}

int Install(YxProjectDbHandle handle, sqlite3* db, EYxHolderKind kind) {
    int rc = 0;
    for (const SYxHolderEntry& e : YxHolder_Catalog()) {
        if (e.eKind != kind) continue;
        if (kind == eYxHolderPlate) rc = PutPlate(handle, db, e);
        else if (kind == eYxHolderDish) rc = PutDish(handle, db, e);
        else rc = PutSlide(handle, db, e);
        if (rc != 0) return rc;
    }
    if (kind == eYxHolderPlate) return MarkWithdrawn<SYxProjectDbRow_wellplatename>(handle, db, kind);
    if (kind == eYxHolderDish) return MarkWithdrawn<SYxProjectDbRow_dishname>(handle, db, kind);
    return MarkWithdrawn<SYxProjectDbRow_slidedef>(handle, db, kind);
}

}  // namespace

int YxProjectDb_Holder_UpdateCatalog(YxProjectDbHandle handle, EYxHolderKind kind) {
    sqlite3* db = yxrec::Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    if (!NameTable(kind)) return YXPDB_E_GENERIC;
    const wchar_t* versionName = kind == eYxHolderPlate ? L"plate" : L"dish";
    CHolderWriteScope scope(db);
    if (scope.Status() != 0) return scope.Status();
    int rc = 0;
    const std::int64_t stored = ReadCatalogVersion(db, versionName, rc);
    if (rc != 0 || stored >= YX_HOLDER_CATALOG_VERSION) return scope.End(rc);
    rc = Install(handle, db, kind);
    if (rc == 0 && kind != eYxHolderDish) rc = WriteCatalogVersion(db, versionName);
    return scope.End(rc);
}

int YxProjectDb_Holder_UpdateCatalogs(YxProjectDbHandle handle) {
    int rc = 0;
    for (EYxHolderKind kind : {eYxHolderPlate, eYxHolderDish, eYxHolderSlide}) {
        rc = YxProjectDb_Holder_UpdateCatalog(handle, kind);
        if (rc != 0) break;
    }
    return rc;
}
