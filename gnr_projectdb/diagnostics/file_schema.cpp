// Reading a file's schema from its catalogue.
#include "gnr_projectdb/diagnostics/file_schema.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

#include <sqlite3.h>

#include <algorithm>

namespace {

CYxStringW Text(const CYxSqliteCmd& cmd, int col) {
    CYxStringW s;
    cmd.Column(col, s);
    return s;
}

int ReadColumns(sqlite3* db, SYxDiagFileTable& table) {
    CYxSqliteCmd cmd(db, L"SELECT name, type, \"notnull\", dflt_value, pk FROM pragma_table_info(?1, 'main') "
                         L"ORDER BY cid;");
    cmd.Bind(1, table.name);
    while (cmd.Next()) {
        SYxDiagFileColumn c;
        c.name = Text(cmd, 0);
        c.type = Text(cmd, 1);
        c.type.MakeUpper();
        int notNull = 0, pk = 0;
        cmd.Column(2, notNull);
        cmd.Column(4, pk);
        c.bNotNull = notNull != 0;
        c.bPrimaryKey = pk != 0;
        // "DEFAULT NULL" (as ALTER TABLE ... ADD COLUMN writes it) is the
        // same as no default.
        c.dflt = Text(cmd, 3);
        if (c.dflt.EqualsNoCase(L"NULL")) c.dflt.Empty();
        table.columns.push_back(c);
    }
    if (cmd.Result()) return cmd.Result();

    const std::string tableName = table.name.ToUtf8();
    for (SYxDiagFileColumn& c : table.columns) {
        const char* collation = nullptr;
        const int rc = sqlite3_table_column_metadata(db, "main", tableName.c_str(), c.name.ToUtf8().c_str(), nullptr,
                                                     &collation, nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK) return rc;
        c.collation = CYxStringW::FromUtf8(collation ? collation : "BINARY");
        c.collation.MakeUpper();
    }

    CYxSqliteCmd fks(db, L"SELECT \"from\", \"table\", \"to\", on_delete, on_update "
                         L"FROM pragma_foreign_key_list(?1, 'main') ORDER BY id, seq;");
    fks.Bind(1, table.name);
    while (fks.Next()) {
        const CYxStringW from = Text(fks, 0);
        for (SYxDiagFileColumn& c : table.columns) {
            if (!c.name.EqualsNoCase(from)) continue;
            c.refTable = Text(fks, 1);
            c.refColumn = fks.IsNull(2) ? CYxStringW(L"iKey") : Text(fks, 2);
            c.onDelete = Text(fks, 3);
            c.onUpdate = Text(fks, 4);
        }
    }
    return fks.Result();
}

int ReadIndexes(sqlite3* db, SYxDiagFileTable& table) {
    CYxSqliteCmd list(db, L"SELECT name, \"unique\", origin FROM pragma_index_list(?1, 'main') "
                          L"WHERE origin <> 'pk' ORDER BY name;");
    list.Bind(1, table.name);
    while (list.Next()) {
        SYxDiagFileIndex index;
        index.name = Text(list, 0);
        int unique = 0;
        list.Column(1, unique);
        index.bUnique = unique != 0;
        index.bConstraint = Text(list, 2) == L"u";
        table.indexes.push_back(index);
    }
    if (list.Result()) return list.Result();

    for (SYxDiagFileIndex& index : table.indexes) {
        CYxSqliteCmd info(db, L"SELECT name FROM pragma_index_info(?1, 'main') ORDER BY seqno;");
        info.Bind(1, index.name);
        while (info.Next()) index.columns.push_back(info.IsNull(0) ? CYxStringW(L"<expression>") : Text(info, 0));
        if (info.Result()) return info.Result();
    }
    return 0;
}

}  // namespace

int YxDiag_ReadFileSchema(sqlite3* db, std::vector<SYxDiagFileTable>* tables) {
    CYxSqliteCmd names(db, L"SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' "
                           L"ESCAPE '\\' ORDER BY name;");
    std::vector<SYxDiagFileTable> read;
    while (names.Next()) {
        SYxDiagFileTable t;
        t.name = Text(names, 0);
        read.push_back(t);
    }
    if (names.Result()) return names.Result();
    for (SYxDiagFileTable& t : read) {
        if (const int rc = ReadColumns(db, t)) return rc;
        if (const int rc = ReadIndexes(db, t)) return rc;
    }
    tables->insert(tables->end(), read.begin(), read.end());
    return 0;
}

int YxDiag_ReadSchemaSql(sqlite3* db, CYxStringW* sql) {
    CYxSqliteCmd cmd(db, L"SELECT sql FROM sqlite_master WHERE sql IS NOT NULL AND name NOT LIKE 'sqlite\\_%' "
                         L"ESCAPE '\\' ORDER BY rowid;");
    CYxStringW text;
    while (cmd.Next()) {
        CYxStringW statement;
        cmd.Column(0, statement);
        text += statement + L";\n";
    }
    if (cmd.Result()) return cmd.Result();
    *sql += text;
    return 0;
}
