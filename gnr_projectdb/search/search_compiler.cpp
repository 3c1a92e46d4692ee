// From the tree of a search expression to one SQL statement with every value
// bound.
#include "gnr_projectdb/search/search_compiler.h"

#include "framework/yxstring.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/status.h"

#include <utility>

namespace yxsearch {
namespace {

// The schema's column is missing: the statement cannot be built.
struct SSchemaGap {};

// "table.column" with both names as the schema spells them.
std::wstring Col(const SYxSqliteTableDef& def, const wchar_t* column) {
    const int i = YxSqliteTableDef_FindColumn(def, column);
    if (i < 0) throw SSchemaGap{};
    return CYxStringW::Format(L"%s.%s", def.wszName, def.pCols[i].wszName).str();
}

// Paren levels that a condition tree may take inside one statement before a
// part of it moves into a table expression of its own: SQLite's parser has a
// small fixed stack.
constexpr int kInlineDepth = 12;

class CCompiler {
public:
    CCompiler(bool objects, std::vector<SBoundValue>& values)
        : m_objects(objects), m_values(values), m_base(objects ? YxJobsDef_binobj : YxJobsDef_frame),
          m_key(Col(m_base, objects ? L"iKey" : L"iFrameIndex")) {}

    // The whole statement.
    std::wstring Statement(const SNode& root) {
        const std::wstring where = Rows(root);
        std::wstring sql = L"WITH ";
        for (std::size_t i = 0; i < m_tables.size(); ++i) sql += (i ? L", " : L"") + m_tables[i];
        return sql + L" " + where + L" ORDER BY " + m_key;
    }

    bool m_layerInFrames = false;
    int m_layerPosition = 0;

private:
    // "SELECT <key> FROM <base> WHERE <base>.iJobrunKeyRef=?1 AND (<condition>)"
    std::wstring Rows(const SNode& n) {
        return CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=?1 AND (", m_key, m_base.wszName,
                                  Col(m_base, L"iJobrunKeyRef"))
                   .str() +
               Bool(n, 1) + L")";
    }

    // A named table expression "s<n> AS (<select>)"; returns its name.
    std::wstring Table(const std::wstring& select) {
        const std::wstring name = CYxStringW::Format(L"s%d", static_cast<int>(m_tables.size()) + 1).str();
        m_tables.push_back(name + L" AS (" + select + L")");
        return name;
    }

    // The condition over the base row, at a paren depth.
    std::wstring Bool(const SNode& n, int depth) {
        switch (n.kind) {
        case SNode::eCondition:
            return Condition(n.condition);
        case SNode::eNot:
            return L"NOT " + Nested(*n.children.front(), depth, n.children.front()->kind != SNode::eCondition);
        case SNode::eAnd:
        case SNode::eOr: {
            // AND binds tighter than OR: only an "or" inside an "and" needs
            // its parentheses; "not" binds tighter than both.
            std::wstring s;
            for (const auto& c : n.children) {
                if (!s.empty()) s += n.kind == SNode::eAnd ? L" AND " : L" OR ";
                s += Nested(*c, depth, n.kind == SNode::eAnd && c->kind == SNode::eOr);
            }
            return s;
        }
        }
        return L"0";
    }

    std::wstring Nested(const SNode& n, int depth, bool paren) {
        if (!paren) return Bool(n, depth);
        if (depth >= kInlineDepth) return m_key + L" IN " + Table(Rows(n));
        return L"(" + Bool(n, depth + 1) + L")";
    }

    // "<key> IN s<n>" with the table expression of the rows that satisfy the
    // condition.
    std::wstring Condition(const SCondition& c) {
        const bool objectsOwn = c.subject == eSubjectProperty || c.subject == eSubjectQualifier ||
                                c.subject == eSubjectLayer;
        if (c.subject == eSubjectLayer && !m_objects) {
            if (!m_layerInFrames || c.position < m_layerPosition) m_layerPosition = c.position;
            m_layerInFrames = true;
            return L"0";
        }
        if (m_objects && !objectsOwn) return Col(YxJobsDef_binobj, L"iFrameIndex") + L" IN " + Table(FrameCondition(c));
        return m_key + L" IN " + Table(m_objects ? ObjectCondition(c) : FrameCondition(c));
    }

    // "SELECT t.col FROM t WHERE t.iJobrunKeyRef=?1<and> AND +t.col IS NOT NULL":
    // the sets never hold NULL, so that "NOT x IN s" is true wherever "x IN s"
    // is false. The "+" keeps that test from steering the choice of index.
    static std::wstring Select(const SYxSqliteTableDef& def, const wchar_t* column, const std::wstring& and_) {
        const std::wstring col = Col(def, column);
        return CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=?1", col, def.wszName, Col(def, L"iJobrunKeyRef"))
                   .str() +
               and_ + L" AND +" + col + L" IS NOT NULL";
    }

    std::wstring Param(SBoundValue v) {
        m_values.push_back(std::move(v));
        return CYxStringW::Format(L"?%d", static_cast<int>(m_values.size()) + 1).str();
    }
    std::wstring Number(double d) {
        SBoundValue v;
        v.number = d;
        return Param(v);
    }
    std::wstring Text(const std::wstring& t) {
        SBoundValue v;
        v.kind = SBoundValue::eText;
        v.text = t;
        return Param(v);
    }
    std::wstring Integer(long long i) {
        SBoundValue v;
        v.kind = SBoundValue::eInt;
        v.integer = i;
        return Param(v);
    }

    // " <column> <op> <values>" for the comparison of a condition.
    std::wstring Comparison(const std::wstring& column, const SCondition& c, bool numbers) {
        auto value = [&](const SValue& v) { return numbers ? Number(v.number) : Text(v.text); };
        switch (c.op) {
        case eOpEq: return column + L"=" + value(c.values[0]);
        case eOpLt: return column + L"<" + value(c.values[0]);
        case eOpLe: return column + L"<=" + value(c.values[0]);
        case eOpGt: return column + L">" + value(c.values[0]);
        case eOpGe: return column + L">=" + value(c.values[0]);
        case eOpBetween: {
            std::wstring low = value(c.values[0]);
            return column + L" BETWEEN " + low + L" AND " + value(c.values[1]);
        }
        case eOpIn: {
            std::wstring list;
            for (const SValue& v : c.values) list += (list.empty() ? L"" : L",") + value(v);
            return column + L" IN (" + list + L")";
        }
        }
        return column;
    }

    // " AND <owner>.<ref> IN (SELECT <def>.iKey FROM <def> WHERE <where>)"
    static std::wstring KeysIn(const SYxSqliteTableDef& owner, const wchar_t* ref, const SYxSqliteTableDef& def,
                               const std::wstring& where) {
        return CYxStringW::Format(L" AND %s IN (SELECT %s FROM %s WHERE %s)", Col(owner, ref), Col(def, L"iKey"),
                                  def.wszName, where)
            .str();
    }
    // "<def>.iJobrunKeyRef=?1 AND "
    static std::wstring OfRun(const SYxSqliteTableDef& def) { return Col(def, L"iJobrunKeyRef") + L"=?1 AND "; }

    // The definitions of the condition's name (and group).
    std::wstring Named(const SYxSqliteTableDef& def, const wchar_t* nameColumn, const SCondition& c) {
        std::wstring where = Col(def, nameColumn) + L"=" + Text(c.name);
        if (c.hasGroup) where += L" AND " + Col(def, L"wszGroupName") + L"=" + Text(c.group);
        return where;
    }

    // Rows of a property value table (frameprop, binobjprop) with a value of
    // the named property that satisfies the comparison.
    std::wstring Property(const SYxSqliteTableDef& t, const wchar_t* key, const SCondition& c) {
        return Select(t, key,
                      KeysIn(t, L"iPropdefKeyRef", YxJobsDef_propdef, Named(YxJobsDef_propdef, L"wszFeatureName", c)) +
                          L" AND " + Comparison(Col(t, L"dValue"), c, true));
    }
    // Rows of a qualifier value table (framequal, binobjqual) with one of the
    // texts as the value of the named qualifier.
    std::wstring Qualifier(const SYxSqliteTableDef& t, const wchar_t* key, const SCondition& c) {
        const SYxSqliteTableDef& s = YxJobsDef_qualstr;
        return Select(t, key,
                      KeysIn(t, L"iQualdefKeyRef", YxJobsDef_qualdef, Named(YxJobsDef_qualdef, L"wszName", c)) +
                          KeysIn(t, L"iQualstrKeyRef", s, Comparison(Col(s, L"wszName"), c, false)));
    }

    // A SELECT of the object keys of the run that satisfy a condition on
    // the objects themselves.
    std::wstring ObjectCondition(const SCondition& c) {
        if (c.subject == eSubjectProperty) return Property(YxJobsDef_binobjprop, L"iBinobjKeyRef", c);
        if (c.subject == eSubjectQualifier) return Qualifier(YxJobsDef_binobjqual, L"iBinobjKeyRef", c);
        const SYxSqliteTableDef& l = YxJobsDef_binlayer;
        return Select(YxJobsDef_binobj, L"iKey",
                      KeysIn(YxJobsDef_binobj, L"iBinlayerKeyRef", l, OfRun(l) + Comparison(Col(l, L"wszName"), c, false)));
    }

    // A SELECT of the frame indexes of the run that satisfy a condition.
    std::wstring FrameCondition(const SCondition& c) {
        switch (c.subject) {
        case eSubjectProperty:
            return Property(YxJobsDef_frameprop, L"iFrameIndex", c);
        case eSubjectQualifier:
            return Qualifier(YxJobsDef_framequal, L"iFrameIndex", c);
        case eSubjectTag: {
            // tagdef.wszName compares without regard to case by its own collation.
            const SYxSqliteTableDef& d = YxJobsDef_tagdef;
            return Select(YxJobsDef_frametag, L"iFrameIndex",
                          KeysIn(YxJobsDef_frametag, L"iTagdefKeyRef", d, Comparison(Col(d, L"wszName"), c, false)));
        }
        case eSubjectWell: {
            const SYxSqliteTableDef& w = YxJobsDef_wellinfo;
            return Select(YxJobsDef_framewellinfo, L"iFrameIndex",
                          KeysIn(YxJobsDef_framewellinfo, L"iWellinfoKeyRef", w,
                                 OfRun(w) + Comparison(Col(w, L"wszName") + L" COLLATE NOCASE", c, false)));
        }
        case eSubjectLoop: {
            const SYxSqliteTableDef& t = YxJobsDef_loopindex;
            const SYxSqliteTableDef& r = YxJobsDef_runloop;
            return Select(t, L"iFrameIndex",
                          KeysIn(t, L"iRunloopKeyRef", r, OfRun(r) + Col(r, L"iLoopType") + L"=" + Integer(c.loopType)) +
                              L" AND " + Comparison(Col(t, L"iLoopIndex"), c, true));
        }
        case eSubjectFrame:
        default: {
            const SYxSqliteTableDef& t = YxJobsDef_frame;
            return Select(t, L"iFrameIndex", L" AND " + Comparison(Col(t, L"iFrameIndex"), c, true));
        }
        }
    }

    bool m_objects;
    std::vector<SBoundValue>& m_values;
    const SYxSqliteTableDef& m_base;  // frame or binobj
    const std::wstring m_key;         // its frame index or key column
    std::vector<std::wstring> m_tables;
};

}  // namespace

int Compile(const SNode& root, bool objects, SCompiled& out, SParseError& error) {
    try {
        SCompiled result;
        CCompiler compiler(objects, result.values);
        result.sql = compiler.Statement(root);
        if (compiler.m_layerInFrames) {
            error.position = compiler.m_layerPosition;
            error.expected = L"a condition on frames";
            error.found = L"layer";
            return YXPDB_E_SEARCH_SYNTAX;
        }
        out = std::move(result);
        return 0;
    } catch (const SSchemaGap&) {
        return YXPDB_E_GENERIC;
    }
}

}  // namespace yxsearch
