// projectdb holders: the sample holder catalog and user-defined holders.
//
//   holders list [--db FILE] [--json]
//   holders show HOLDER [--db FILE] [--json] [--svg OUT.svg] [--run UUID]
//   holders export HOLDER [--db FILE] [--out FILE.json]
//   holders import FILE.json --db FILE
//
// Without --db the built-in catalog is used. HOLDER is a uuid, the full name
// or any part of it that only one holder contains ("96"). --run marks, in the
// picture, the elements that hold frames of that run of the database.
#include "tool.h"

#include "holders_json.h"
#include "holders_svg.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/holders.h"
#include "gnr_projectdb/records_jobrun.h"

#include <QByteArray>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cwctype>
#include <fstream>

namespace {

struct SHolderArgs {
    std::string action;
    std::vector<std::string> positional;
    bool json = false;
    std::string db, svg, run, out;
};

const char* KindText(EYxHolderKind k) { return k == eYxHolderPlate ? "plate" : k == eYxHolderDish ? "dish" : "slide"; }

// The holders to work on: the database's (all but removed ones) or the
// built-in catalog.
class CHolderSource {
public:
    ~CHolderSource() {
        if (m_h) YxProjectDb_Db_Disconnect(m_h);
    }
    int Open(const std::string& db, bool write) {
        if (db.empty()) return 0;
        const std::wstring path = YxTool_Wide(db);
        m_h = write ? YxProjectDb_Db_Jobs_Connect(path.c_str()) : YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
        return m_h ? 0 : YXPDB_E_NOCONNECTION;
    }
    YxProjectDbHandle Handle() const { return m_h; }
    int List(std::vector<SYxHolderEntry>& out) const {
        if (!m_h) {
            out = YxHolder_Catalog();
            return 0;
        }
        return YxProjectDb_Holder_GetAll(m_h, false, out);
    }
    int Find(const std::string& text, SYxHolderEntry& out) const {
        const std::wstring w = YxTool_Wide(text);
        return m_h ? YxProjectDb_Holder_Find(m_h, w.c_str(), out) : YxHolder_FindIn(YxHolder_Catalog(), w.c_str(), out);
    }

private:
    YxProjectDbHandle m_h = 0;
};

bool IsUuidText(const std::string& s) {
    if (s.size() != 32) return false;
    for (char c : s)
        if (!std::iswxdigit(static_cast<wint_t>(static_cast<unsigned char>(c)))) return false;
    return true;
}

int Print(const QJsonDocument& doc) {
    std::printf("%s", doc.toJson(QJsonDocument::Indented).constData());
    return 0;
}

int List(const SHolderArgs& a) {
    CHolderSource src;
    if (int rc = src.Open(a.db, false)) return YxTool_Fail("cannot open " + a.db, rc);
    std::vector<SYxHolderEntry> all;
    const int rc = src.List(all);
    if (rc != 0 && rc != YXPDB_E_HOLDER_DATA) return YxTool_Fail("cannot list the holders", rc);
    if (a.json) {
        QJsonArray arr;
        for (const SYxHolderEntry& e : all)
            arr.append(QJsonObject{{"uuid", QString::fromStdWString(e.wszUuid.str())},
                                   {"kind", KindText(e.eKind)},
                                   {"name", QString::fromStdWString(YxHolder_FullName(e).str())},
                                   {"elements", static_cast<int>(e.layout.elements.size())},
                                   {"userImported", e.iUserImported != 0}});
        Print(QJsonDocument(arr));
    } else {
        for (const SYxHolderEntry& e : all)
            std::printf("%s  %-5s %5zu  %s%s\n", YxTool_Narrow(e.wszUuid.str()).c_str(), KindText(e.eKind),
                        e.layout.elements.size(), YxTool_Narrow(YxHolder_FullName(e).str()).c_str(),
                        e.iUserImported ? "  (user)" : "");
    }
    if (rc == YXPDB_E_HOLDER_DATA)
        std::fprintf(stderr, "projectdb: some holders of %s could not be read (status %d)\n", a.db.c_str(), rc);
    return rc == 0 ? 0 : 1;
}

int FindFailure(const std::string& text, int rc) {
    if (rc == YXPDB_E_AMBIGUOUS) return YxTool_Fail("\"" + text + "\" matches several holders; be more precise", rc);
    if (rc == YXPDB_E_NOTFOUND) return YxTool_Fail("no holder matches \"" + text + "\"", rc);
    return YxTool_Fail("cannot look up \"" + text + "\"", rc);
}

int Show(const SHolderArgs& a) {
    if (a.positional.size() != 1) return YxTool_Fail("expected one HOLDER argument", -1);
    if (!a.run.empty() && a.db.empty()) return YxTool_Fail("--run needs --db FILE", -1);
    CHolderSource src;
    if (int rc = src.Open(a.db, false)) return YxTool_Fail("cannot open " + a.db, rc);
    SYxHolderEntry e;
    if (int rc = src.Find(a.positional[0], e)) return FindFailure(a.positional[0], rc);
    std::set<std::wstring> marked;
    if (!a.run.empty()) {
        if (!IsUuidText(a.run)) return YxTool_Fail("--run takes the run's uuid (32 hexadecimal digits)", -1);
        SYxProjectDbRow_jobrun run;
        const std::wstring uuid = YxTool_Wide(a.run);
        int rc = YxProjectDb_Jobrun_GetOne(src.Handle(), uuid.c_str(), run);
        if (rc == 0 && run.iKey == 0) rc = YXPDB_E_NOTFOUND;
        if (rc != 0) return YxTool_Fail("no run " + a.run + " in " + a.db, rc);
        std::vector<CYxStringW> names;
        rc = YxProjectDb_Holder_GetRunFrameWells(src.Handle(), run.iKey, names);
        if (rc != 0) return YxTool_Fail("cannot read the wells of the run", rc);
        for (const CYxStringW& n : names) marked.insert(n.str());
    }
    if (!a.svg.empty()) {
        std::ofstream out(a.svg, std::ios::binary | std::ios::trunc);
        out << YxTool_HolderSvg(e.layout, YxHolder_FullName(e).str(), marked);
        if (!out) return YxTool_Fail("cannot write " + a.svg, -1);
    }
    if (a.json) return Print(QJsonDocument(YxTool_HolderToJson(e)));
    if (!a.svg.empty()) {
        std::printf("wrote %s (%d x %d pixels)\n", a.svg.c_str(), YxTool_SvgWidth(e.layout), YxTool_SvgHeight(e.layout));
        return 0;
    }
    const SYxHolderLayout& l = e.layout;
    std::printf("name:      %s\nuuid:      %s\nkind:      %s%s\nsize:      %s x %s mm\nelements:  %zu\n",
                YxTool_Narrow(YxHolder_FullName(e).str()).c_str(), YxTool_Narrow(e.wszUuid.str()).c_str(),
                KindText(e.eKind), e.iUserImported ? " (user-defined)" : "",
                QString::number(l.dWidth).toUtf8().constData(), QString::number(l.dHeight).toUtf8().constData(),
                l.elements.size());
    if (l.iRows > 0)
        std::printf("grid:      %d x %d, A1 at (%s, %s) mm, pitch %s mm\n", l.iRows, l.iCols,
                    QString::number(l.first.x).toUtf8().constData(), QString::number(l.first.y).toUtf8().constData(),
                    QString::number(l.dPitchX).toUtf8().constData());
    return 0;
}

int Export(const SHolderArgs& a) {
    if (a.positional.size() != 1) return YxTool_Fail("expected one HOLDER argument", -1);
    CHolderSource src;
    if (int rc = src.Open(a.db, false)) return YxTool_Fail("cannot open " + a.db, rc);
    SYxHolderEntry e;
    if (int rc = src.Find(a.positional[0], e)) return FindFailure(a.positional[0], rc);
    const QByteArray json = QJsonDocument(YxTool_HolderToJson(e)).toJson(QJsonDocument::Indented);
    if (a.out.empty()) {
        std::fwrite(json.constData(), 1, static_cast<std::size_t>(json.size()), stdout);
        return 0;
    }
    QFile f(QString::fromStdString(a.out));
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(json) != json.size())
        return YxTool_Fail("cannot write " + a.out, -1);
    std::printf("exported %s to %s\n", YxTool_Narrow(YxHolder_FullName(e).str()).c_str(), a.out.c_str());
    return 0;
}

int Import(const SHolderArgs& a) {
    if (a.positional.size() != 1) return YxTool_Fail("expected one FILE.json argument", -1);
    if (a.db.empty()) return YxTool_Fail("import needs --db FILE", -1);
    QFile f(QString::fromStdString(a.positional[0]));
    if (!f.open(QIODevice::ReadOnly)) return YxTool_Fail("cannot read " + a.positional[0], -1);
    QJsonParseError perr;
    const QJsonDocument doc = QJsonDocument::fromJson(f.readAll(), &perr);
    if (doc.isNull()) return YxTool_Fail(a.positional[0] + ": " + perr.errorString().toStdString(), -1);
    std::vector<QJsonObject> objects;
    if (doc.isArray())
        for (const QJsonValue& v : doc.array()) objects.push_back(v.toObject());
    else
        objects.push_back(doc.object());
    std::vector<SYxHolderEntry> entries;
    for (const QJsonObject& o : objects) {
        SYxHolderEntry e;
        std::string why;
        if (!YxTool_HolderFromJson(o, e, &why)) return YxTool_Fail(a.positional[0] + ": " + why, -1);
        entries.push_back(std::move(e));
    }
    CHolderSource src;
    if (int rc = src.Open(a.db, true)) return YxTool_Fail("cannot open " + a.db, rc);
    // All holders of the file or none.
    if (int rc = YxProjectDb_Db_TransactionBegin(src.Handle())) return YxTool_Fail("cannot begin a transaction", rc);
    for (SYxHolderEntry& e : entries) {
        const int rc = YxProjectDb_Holder_InsertUser(src.Handle(), e);
        if (rc != 0) {
            YxProjectDb_Db_TransactionRollback(src.Handle());
            return YxTool_Fail("cannot import " + YxTool_Narrow(YxHolder_FullName(e).str()) +
                                   (rc == YXPDB_E_GENERIC ? " (its layout is not valid)" : ""),
                               rc);
        }
    }
    if (int rc = YxProjectDb_Db_TransactionCommit(src.Handle())) return YxTool_Fail("cannot commit the import", rc);
    for (const SYxHolderEntry& e : entries)
        std::printf("imported %s (%s)\n", YxTool_Narrow(YxHolder_FullName(e).str()).c_str(),
                    YxTool_Narrow(e.wszUuid.str()).c_str());
    return 0;
}

int Holders(CYxToolCall& call) {
    SHolderArgs a;
    a.json = call.Flag("json");
    a.db = call.Value("db");
    a.svg = call.Value("svg");
    a.run = call.Value("run");
    a.out = call.Value("out");
    a.action = call.Arg(0);
    for (std::size_t i = 1; i < call.ArgCount(); ++i) a.positional.push_back(call.Arg(i));
    if (a.action == "list") return a.positional.empty() ? List(a) : call.Usage("list takes no arguments");
    if (a.action == "show") return Show(a);
    if (a.action == "export") return Export(a);
    if (a.action == "import") return Import(a);
    return call.Usage("unknown holders action '" + a.action + "' (list, show, export, import)");
}

void Declare(CYxToolSyntax& s) {
    s.Argument("ACTION", "list, show HOLDER, export HOLDER or import FILE.json");
    s.MoreArguments("ARG", "the holder (name, part of it, or uuid), or the file to import");
    s.Value("db", "FILE", "work on the holders of this jobs database instead of the built-in catalog");
    s.Flag("json", "print JSON");
    s.Value("svg", "OUT", "show: also draw the holder as SVG into OUT");
    s.Value("run", "UUID", "show: mark the wells that this run of --db visited");
    s.Value("out", "FILE", "export: write to FILE instead of standard output");
}

}  // namespace

YX_TOOL_COMMAND("holders", 50,
                "the sample holder catalog (or a database's holders): list, show as text, JSON or SVG, export, import",
                &Declare, &Holders);
