// Shared pieces of the holder table operations: the write scope and the
// loading of a holder from its rows.
#include "gnr_projectdb/holders/holder_db.h"

namespace yxholder {

CHolderWriteScope::CHolderWriteScope(sqlite3* db) : m_db(db) {
    if (!db) {
        m_begin = YXPDB_E_NOCONNECTION;
        return;
    }
    m_savepoint = !sqlite3_get_autocommit(db);
    m_begin = sqlite3_exec(db, m_savepoint ? "SAVEPOINT holder_write;" : "BEGIN TRANSACTION;", nullptr, nullptr,
                           nullptr);
    m_open = m_begin == SQLITE_OK;
}

CHolderWriteScope::~CHolderWriteScope() {
    if (m_open) End(YXPDB_E_GENERIC);
}

int CHolderWriteScope::End(int rc) {
    if (!m_open) return rc ? rc : m_begin;
    m_open = false;
    if (rc == 0) {
        const int end = sqlite3_exec(m_db, m_savepoint ? "RELEASE SAVEPOINT holder_write;" : "COMMIT TRANSACTION;",
                                     nullptr, nullptr, nullptr);
        if (end == SQLITE_OK) return 0;
        rc = end;
    }
    // An error may have rolled the whole transaction back already; then
    // there is nothing left to undo (and a savepoint of ours is gone too).
    if (m_savepoint) {
        if (!sqlite3_get_autocommit(m_db)) {
            sqlite3_exec(m_db, "ROLLBACK TRANSACTION TO SAVEPOINT holder_write;", nullptr, nullptr, nullptr);
            sqlite3_exec(m_db, "RELEASE SAVEPOINT holder_write;", nullptr, nullptr, nullptr);
        }
    } else if (!sqlite3_get_autocommit(m_db)) {
        sqlite3_exec(m_db, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
    }
    return rc;
}

namespace {

template <class Name>
void FillNames(const Name& name, SYxHolderEntry& e) {
    e.iKey = name.iKey;
    e.wszUuid = name.wszUuid;
    e.wszCompany = name.wszCompany;
    e.wszType = name.wszType;
    e.wszModel = name.wszModel;
    e.iUserImported = name.iUserImported;
    e.iRemoved = name.iRemoved;
}

}  // namespace

int LoadPlate(sqlite3* db, const SYxProjectDbRow_wellplatename& name, SYxHolderEntry& entry) {
    SYxProjectDbRow_wellplateconfiguration config;
    bool found = false;
    const int rc = SelectOne(db, L"iKey=?", config, found, name.iWellplateconfigKeyRef);
    if (rc != 0) return rc;
    if (!found) return YXPDB_E_HOLDER_DATA;
    SYxHolderEntry e;
    e.eKind = eYxHolderPlate;
    FillNames(name, e);
    e.iConfigKey = config.iKey;
    e.wszConfigUuid = config.wszUuid;
    if (YxHolder_PlateFromRow(config, e.layout) != YXPDB_OK) return YXPDB_E_HOLDER_DATA;
    entry = std::move(e);
    return YXPDB_OK;
}

int LoadDish(sqlite3* db, const SYxProjectDbRow_dishname& name, SYxHolderEntry& entry) {
    SYxProjectDbRow_dishconfiguration config;
    bool found = false;
    const int rc = SelectOne(db, L"iKey=?", config, found, name.iDishKeyRef);
    if (rc != 0) return rc;
    if (!found) return YXPDB_E_HOLDER_DATA;
    SYxHolderEntry e;
    e.eKind = eYxHolderDish;
    FillNames(name, e);
    e.iConfigKey = config.iKey;
    e.wszConfigUuid = config.wszUuid;
    if (YxHolder_DishFromRow(config, e.layout) != YXPDB_OK) return YXPDB_E_HOLDER_DATA;
    entry = std::move(e);
    return YXPDB_OK;
}

int LoadSlide(sqlite3* db, const SYxProjectDbRow_slidedef& row, SYxHolderEntry& entry) {
    SYxHolderEntry e;
    e.eKind = eYxHolderSlide;
    FillNames(row, e);
    if (row.iSlideKeyRef) {
        SYxProjectDbRow_slidedef held;
        bool found = false;
        const int rc = SelectOne(db, L"iKey=?", held, found, row.iSlideKeyRef);
        if (rc != 0) return rc;
        if (found) e.wszSlideUuid = held.wszUuid;
    }
    if (YxHolder_SlideFromRow(row, e.layout) != YXPDB_OK) return YXPDB_E_HOLDER_DATA;
    entry = std::move(e);
    return YXPDB_OK;
}

const SYxSqliteTableDef* NameTable(EYxHolderKind kind) {
    switch (kind) {
    case eYxHolderPlate: return &YxJobsDef_wellplatename;
    case eYxHolderDish: return &YxJobsDef_dishname;
    case eYxHolderSlide: return &YxJobsDef_slidedef;
    }
    return nullptr;
}

}  // namespace yxholder
