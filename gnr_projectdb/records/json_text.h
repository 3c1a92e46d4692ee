// JSON columns of the application database: a QJsonObject crosses the SQLite
// boundary as the compact UTF-8 text of its document. Objects that the
// library writes member by member keep their members in the order written
// (QJsonObject itself would sort them). Internal header.
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <initializer_list>
#include <utility>

namespace yxrec {

// Compact document text of an object; a null pointer gives "{}".
inline QByteArray JsonText(const QJsonObject* object) {
    return QJsonDocument(object ? *object : QJsonObject()).toJson(QJsonDocument::Compact);
}

// An object text with the members in the given order.
inline QByteArray JsonTextOrdered(std::initializer_list<std::pair<const char*, QJsonValue>> members) {
    QByteArray text("{");
    bool first = true;
    for (const auto& m : members) {
        if (!first) text += ',';
        first = false;
        // A one-element array gives Qt's own text of the name and the value.
        QByteArray name = QJsonDocument(QJsonArray{QString::fromUtf8(m.first)}).toJson(QJsonDocument::Compact);
        QByteArray value = QJsonDocument(QJsonArray{m.second}).toJson(QJsonDocument::Compact);
        text += name.mid(1, name.size() - 2);
        text += ':';
        text += value.mid(1, value.size() - 2);
    }
    text += '}';
    return text;
}

inline void BindJson(CYxSqliteCmd& cmd, int pos, const QByteArray& text) {
    cmd.BindUtf8(pos, text.constData(), text.size());
}

// The object of a JSON column; empty for NULL or text that is not an object.
inline QJsonObject ColumnJson(const CYxSqliteCmd& cmd, int col) {
    const char* text = cmd.ColumnUtf8(col);
    if (!text) return QJsonObject();
    return QJsonDocument::fromJson(QByteArray(text)).object();
}

}  // namespace yxrec
