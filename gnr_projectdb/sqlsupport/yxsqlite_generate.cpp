// SQL and XML generated from table definitions.
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <cwchar>

namespace {

bool HasIndexMark(const SYxSqliteColDef& c) { return c.wszIndex && *c.wszIndex; }
bool IsUniqueMark(const SYxSqliteColDef& c) { return c.wszIndex && std::wcscmp(c.wszIndex, YX_SQLITE_INDEX_UNIQUE) == 0; }

CYxStringW QuoteSql(const wchar_t* text) {
    CYxStringW q(text);
    q.Replace(L"'", L"''");
    return CYxStringW::Format(L"'%s'", q);
}

CYxStringW GroupList(const wchar_t* const* cols) {
    CYxStringW s;
    for (int i = 0; cols[i]; ++i) {
        if (i) s += L", ";
        s += cols[i];
    }
    return s;
}

CYxStringW GroupIndexName(const wchar_t* table, const wchar_t* const* cols) {
    CYxStringW s = CYxStringW::Format(L"idx_%s", table);
    for (int i = 0; cols[i]; ++i) s.AppendFormat(L"_%s", cols[i]);
    return s;
}

CYxStringW ColumnIndexName(const wchar_t* table, const SYxSqliteColDef& col) {
    return CYxStringW::Format(IsUniqueMark(col) ? L"uidx_%s_%s" : L"idx_%s_%s", table, col.wszName);
}

CYxStringW ColumnSql(const SYxSqliteColDef& c) {
    if (c.eRole == eYxColPrimaryKey) return CYxStringW::Format(L"%s INTEGER PRIMARY KEY", c.wszName);
    CYxStringW s = CYxStringW::Format(L"%s %s", c.wszName, YxSqlite_TypeName(c.eType));
    if (c.wszDefault) {
        if (c.eType == eYxTypeText || c.eType == eYxTypeBlob) s.AppendFormat(L" DEFAULT %s", QuoteSql(c.wszDefault));
        else s.AppendFormat(L" DEFAULT %s", c.wszDefault);
    }
    if (c.wszCollation && *c.wszCollation) s.AppendFormat(L" COLLATE %s", c.wszCollation);
    if (c.eRole == eYxColReference && c.wszRefTable) {
        s.AppendFormat(L" REFERENCES %s(iKey)", c.wszRefTable);
        if (c.wszRefAction && *c.wszRefAction) s.AppendFormat(L" %s", c.wszRefAction);
    }
    return s;
}

CYxStringW IndexStatements(const SYxSqliteTableDef& def, bool ifNotExists) {
    const wchar_t* ine = ifNotExists ? L"IF NOT EXISTS " : L"";
    CYxStringW s;
    for (int i = 0; i < def.nCols; ++i) {
        const SYxSqliteColDef& c = def.pCols[i];
        if (!HasIndexMark(c) || c.eRole == eYxColPrimaryKey) continue;
        s.AppendFormat(L"CREATE %sINDEX %s%s ON %s (%s);\n", IsUniqueMark(c) ? L"UNIQUE " : L"", ine,
                       ColumnIndexName(def.wszName, c), def.wszName, c.wszName);
    }
    for (const auto* group : {def.apIndex1, def.apIndex2}) {
        if (!group[0]) continue;
        s.AppendFormat(L"CREATE INDEX %s%s ON %s (%s);\n", ine, GroupIndexName(def.wszName, group), def.wszName,
                       GroupList(group));
    }
    return s;
}

CYxStringW XmlEscape(const wchar_t* text) {
    CYxStringW out;
    for (const wchar_t* p = text ? text : L""; *p; ++p) {
        switch (*p) {
        case L'&': out += L"&amp;"; break;
        case L'<': out += L"&lt;"; break;
        case L'>': out += L"&gt;"; break;
        case L'"': out += L"&quot;"; break;
        case L'\'': out += L"&apos;"; break;
        default: out += *p;
        }
    }
    return out;
}

const wchar_t* RoleName(EYxSqliteColRole role) {
    switch (role) {
    case eYxColPrimaryKey: return L"primarykey";
    case eYxColReference: return L"reference";
    default: return L"plain";
    }
}

const wchar_t* TypeTag(EYxSqliteColType t) {
    switch (t) {
    case eYxTypeInt32: return L"int32";
    case eYxTypeInt64: return L"int64";
    case eYxTypeDouble: return L"double";
    case eYxTypeText: return L"text";
    default: return L"blob";
    }
}

}  // namespace

const wchar_t* YxSqlite_TypeName(EYxSqliteColType type) {
    switch (type) {
    case eYxTypeInt32: return L"INT";
    case eYxTypeInt64: return L"INTEGER";
    case eYxTypeDouble: return L"REAL";
    case eYxTypeText: return L"TEXT";
    default: return L"BLOB";
    }
}

CYxStringW YxSqlite_CreateTableExSqlCommand(const SYxSqliteTableDef& def, const wchar_t* tableName) {
    CYxStringW s = CYxStringW::Format(L"CREATE TABLE %s (", tableName ? tableName : def.wszName);
    for (int i = 0; i < def.nCols; ++i) {
        if (i) s += L", ";
        s += ColumnSql(def.pCols[i]);
    }
    if (def.apUnique[0]) {
        s.AppendFormat(L", UNIQUE (%s)", GroupList(def.apUnique));
        if (def.wszUniqueConflict && *def.wszUniqueConflict) s.AppendFormat(L" %s", def.wszUniqueConflict);
    }
    s += L");\n";
    return s;
}

CYxStringW YxSqlite_CreateTableSqlCommand(const SYxSqliteTableDef& def) {
    return YxSqlite_CreateTableExSqlCommand(def, def.wszName);
}

CYxStringW YxSqlite_CreateTableWithIndexesSqlCommand(const SYxSqliteTableDef& def) {
    return YxSqlite_CreateTableSqlCommand(def) + IndexStatements(def, false);
}

CYxStringW YxSqlite_CreateColumnIndexSqlCommand(const wchar_t* tableName, const SYxSqliteColDef& col) {
    if (!HasIndexMark(col) || col.eRole == eYxColPrimaryKey || !tableName) return CYxStringW();
    return CYxStringW::Format(L"CREATE %sINDEX %s ON %s (%s);\n", IsUniqueMark(col) ? L"UNIQUE " : L"",
                              ColumnIndexName(tableName, col), tableName, col.wszName);
}

CYxStringW YxSqlite_CheckTableIndexesSqlCommand(const SYxSqliteTableDef& def) { return IndexStatements(def, true); }

std::vector<SYxSqliteIndexDef> YxSqlite_IndexList(const SYxSqliteTableDef& def) {
    std::vector<SYxSqliteIndexDef> list;
    for (int i = 0; i < def.nCols; ++i) {
        const SYxSqliteColDef& c = def.pCols[i];
        if (HasIndexMark(c) && c.eRole != eYxColPrimaryKey)
            list.push_back({ColumnIndexName(def.wszName, c), {c.wszName}, IsUniqueMark(c)});
    }
    for (const auto* group : {def.apIndex1, def.apIndex2}) {
        if (!group[0]) continue;
        SYxSqliteIndexDef index{GroupIndexName(def.wszName, group), {}, false};
        for (int i = 0; group[i]; ++i) index.columns.push_back(group[i]);
        list.push_back(index);
    }
    return list;
}

std::vector<CYxStringW> YxSqlite_IndexNames(const SYxSqliteTableDef& def) {
    std::vector<CYxStringW> names;
    for (const SYxSqliteIndexDef& index : YxSqlite_IndexList(def)) names.push_back(index.name);
    return names;
}

CYxStringW YxSqlite_DropTableAndIndexesSqlCommand(const SYxSqliteTableDef& def) {
    CYxStringW s;
    for (const CYxStringW& name : YxSqlite_IndexNames(def)) s.AppendFormat(L"DROP INDEX IF EXISTS %s;\n", name);
    s.AppendFormat(L"DROP TABLE IF EXISTS %s;\n", def.wszName);
    return s;
}

CYxStringW YxSqlite_GetAllDefsAsXml(int version, const SYxSqliteTableDef* const* defs, int count) {
    CYxStringW x(L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    x.AppendFormat(L"<schema version=\"%d\" tables=\"%d\">\n", version, defs ? count : 0);
    for (int t = 0; defs && t < count; ++t) {
        const SYxSqliteTableDef* def = defs[t];
        if (!def) continue;
        x.AppendFormat(L"  <table name=\"%s\">\n", XmlEscape(def->wszName));
        for (int i = 0; i < def->nCols; ++i) {
            const SYxSqliteColDef& c = def->pCols[i];
            x.AppendFormat(L"    <column name=\"%s\" type=\"%s\" role=\"%s\"", XmlEscape(c.wszName), TypeTag(c.eType),
                           RoleName(c.eRole));
            if (HasIndexMark(c)) x.AppendFormat(L" index=\"%s\"", XmlEscape(c.wszIndex));
            if (c.wszRefTable) x.AppendFormat(L" references=\"%s\"", XmlEscape(c.wszRefTable));
            if (c.wszRefAction) x.AppendFormat(L" action=\"%s\"", XmlEscape(c.wszRefAction));
            if (c.wszDefault) x.AppendFormat(L" default=\"%s\"", XmlEscape(c.wszDefault));
            if (c.wszCollation) x.AppendFormat(L" collation=\"%s\"", XmlEscape(c.wszCollation));
            x += L"/>\n";
        }
        if (def->apUnique[0]) {
            x.AppendFormat(L"    <unique conflict=\"%s\">\n", XmlEscape(def->wszUniqueConflict));
            for (int i = 0; def->apUnique[i]; ++i)
                x.AppendFormat(L"      <column name=\"%s\"/>\n", XmlEscape(def->apUnique[i]));
            x += L"    </unique>\n";
        }
        for (const auto* group : {def->apIndex1, def->apIndex2}) {
            if (!group[0]) continue;
            x.AppendFormat(L"    <index name=\"%s\">\n", XmlEscape(GroupIndexName(def->wszName, group)));
            for (int i = 0; group[i]; ++i) x.AppendFormat(L"      <column name=\"%s\"/>\n", XmlEscape(group[i]));
            x += L"    </index>\n";
        }
        x += L"  </table>\n";
    }
    x += L"</schema>\n";
    return x;
}
