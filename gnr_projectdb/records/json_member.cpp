// Single members of JSON columns through SQLite's JSON functions
// (json_member.h).
#include "gnr_projectdb/json_member.h"

#include "framework/yxclocale.h"
#include "gnr_projectdb/records/table_ops.h"
#include "gnr_projectdb/schema/app_schema.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <charconv>
#include <cmath>
#include <cwchar>

using namespace yxrec;

namespace {
// The schema's names of a JSON column, the connection and the bound path
// "$.\"member\"", or a failure status.
struct STarget {
    sqlite3* db = nullptr;
    const wchar_t* table = nullptr;
    const wchar_t* column = nullptr;
    CYxStringW path;
    int status = 0;
};

STarget Resolve(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column, const wchar_t* member) {
    STarget t;
    t.db = Db(handle);
    if (!t.db) {
        t.status = YXPDB_E_NOCONNECTION;
        return t;
    }
    t.status = YXPDB_E_NOTFOUND;
    const SYxSqliteTableDef* def = table ? YxProjectDb_Schema_FindAppTable(table) : nullptr;
    if (!def || !column || !member || std::wcschr(member, L'"')) return t;
    const int col = YxSqliteTableDef_FindColumn(*def, column);
    if (col < 0 || std::wcsncmp(def->pCols[col].wszName, L"json", 4) != 0) return t;
    t.table = def->wszName;
    t.column = def->pCols[col].wszName;
    t.path = CYxStringW::Format(L"$.\"%s\"", member);
    t.status = 0;
    return t;
}

QJsonValue ParseJson(const CYxStringW& text) {
    const QJsonDocument doc = QJsonDocument::fromJson(QByteArray::fromStdString(text.ToUtf8()));
    if (doc.isArray()) return doc.array();
    if (doc.isObject()) return doc.object();
    return QJsonValue();
}

// Runs an UPDATE of the column to `expr` on the row; -13 when no row.
template <class BindValue>
int UpdateMember(const STarget& t, std::int64_t key, const wchar_t* expr, BindValue bindValue) {
    CYxSqliteCmd up(t.db, CYxStringW::Format(L"UPDATE %s SET %s=%s WHERE %s=?2;", t.table, t.column, expr, L"iKey"));
    up.Bind(1, t.path);
    up.BindInt64(2, key);
    bindValue(up);
    up.Next();
    if (up.Result() != 0) return up.Result();
    return up.Changes() > 0 ? 0 : YXPDB_E_NOTFOUND;
}
}  // namespace

int YxProjectDb_Json_GetMember(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column,
                               std::int64_t key, const wchar_t* member, QJsonValue& value) {
    const STarget t = Resolve(handle, table, column, member);
    if (t.status) return t.status;
    // A real is read from its JSON text ("->"): SQLite's own conversion of a
    // JSON real follows the process locale (strtod) and stops at the point
    // under a comma-decimal locale.
    CYxSqliteCmd sel(t.db, CYxStringW::Format(L"SELECT json_type(%s, ?1), json_extract(%s, ?1), %s -> ?1 FROM %s "
                                              L"WHERE %s=?2;",
                                              t.column, t.column, t.column, t.table, L"iKey"));
    sel.Bind(1, t.path);
    sel.BindInt64(2, key);
    if (!sel.Next()) return sel.Result() ? sel.Result() : YXPDB_E_NOTFOUND;
    if (sel.IsNull(0)) return YXPDB_E_NOTFOUND;
    CYxStringW type;
    sel.Column(0, type);
    if (type == L"null") {
        value = QJsonValue(QJsonValue::Null);
    } else if (type == L"true" || type == L"false") {
        value = QJsonValue(type == L"true");
    } else if (type == L"integer") {
        std::int64_t v = 0;
        sel.Column(1, v);
        value = QJsonValue(static_cast<qint64>(v));
    } else if (type == L"real") {
        CYxStringW text;
        sel.Column(2, text);
        value = QJsonValue(YxWcstodC(text.c_str()));
    } else if (type == L"text") {
        CYxStringW v;
        sel.Column(1, v);
        value = QJsonValue(QString::fromStdWString(v.str()));
    } else {
        CYxStringW v;
        sel.Column(1, v);
        value = ParseJson(v);
    }
    return 0;
}

int YxProjectDb_Json_SetMember(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column,
                               std::int64_t key, const wchar_t* member, const QJsonValue& value) {
    if (value.isUndefined()) return YxProjectDb_Json_RemoveMember(handle, table, column, key, member);
    const STarget t = Resolve(handle, table, column, member);
    if (t.status) return t.status;
    const CYxStringW plain = CYxStringW::Format(L"json_set(ifnull(%s, '{}'), ?1, ?3)", t.column);
    const CYxStringW asJson = CYxStringW::Format(L"json_set(ifnull(%s, '{}'), ?1, json(?3))", t.column);
    if (value.isDouble()) {
        const double d = value.toDouble();
        const bool whole = std::isfinite(d) && std::floor(d) == d && std::fabs(d) <= 9007199254740992.0;
        if (whole)
            return UpdateMember(t, key, plain, [&](CYxSqliteCmd& cmd) { cmd.BindInt64(3, static_cast<std::int64_t>(d)); });
        if (!std::isfinite(d)) return UpdateMember(t, key, plain, [&](CYxSqliteCmd& cmd) { cmd.Bind(3, d); });
        // SQLite writes a bound real with 15 digits; the shortest text that
        // reads back as the same double keeps every bit.
        char buf[32];
        const std::to_chars_result r = std::to_chars(buf, buf + sizeof buf, d);
        const CYxStringW number = CYxStringW::FromUtf8(std::string_view(buf, static_cast<std::size_t>(r.ptr - buf)));
        return UpdateMember(t, key, asJson, [&](CYxSqliteCmd& cmd) { cmd.Bind(3, number); });
    }
    if (value.isString()) {
        const CYxStringW text(value.toString().toStdWString());
        return UpdateMember(t, key, plain, [&](CYxSqliteCmd& cmd) { cmd.Bind(3, text); });
    }
    CYxStringW json;
    if (value.isBool()) json = value.toBool() ? L"true" : L"false";
    else if (value.isNull()) json = L"null";
    else if (value.isArray()) json = CYxStringW::FromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact).toStdString());
    else json = CYxStringW::FromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact).toStdString());
    return UpdateMember(t, key, asJson, [&](CYxSqliteCmd& cmd) { cmd.Bind(3, json); });
}

int YxProjectDb_Json_RemoveMember(YxProjectDbHandle handle, const wchar_t* table, const wchar_t* column,
                                  std::int64_t key, const wchar_t* member) {
    const STarget t = Resolve(handle, table, column, member);
    if (t.status) return t.status;
    return UpdateMember(t, key, CYxStringW::Format(L"json_remove(ifnull(%s, '{}'), ?1)", t.column),
                        [](CYxSqliteCmd&) {});
}
