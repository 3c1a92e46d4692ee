// Recursive descent over the grammar documented in search.h.
#include "gnr_projectdb/search/search_parser.h"

#include "gnr_projectdb/search/search_lexer.h"

#include <utility>

namespace yxsearch {
namespace {

// Thrown inside the parser only, caught in Parse.
struct SFailure {
    SParseError error;
};

class CParser {
public:
    explicit CParser(const std::wstring& expression) : m_tokens(Tokenize(expression)) {}

    std::unique_ptr<SNode> Run() {
        std::unique_ptr<SNode> root = Expression();
        if (Peek().kind != eEnd) Fail(Peek(), L"'and', 'or' or the end");
        return root;
    }

private:
    const SToken& Peek() const { return m_tokens[m_pos]; }
    const SToken& Take() { return m_tokens[m_pos < m_tokens.size() - 1 ? m_pos++ : m_pos]; }

    [[noreturn]] void Fail(const SToken& at, const std::wstring& expected) const {
        SFailure f;
        f.error.position = at.position;
        f.error.expected = at.unterminated ? L"a closing quote" : expected;
        f.error.found = at.kind == eEnd ? L"the end" : at.unterminated ? at.text : at.source;
        throw f;
    }

    static std::unique_ptr<SNode> Merge(SNode::EKind kind, std::vector<std::unique_ptr<SNode>> parts) {
        if (parts.size() == 1) return std::move(parts.front());
        auto node = std::make_unique<SNode>();
        node->kind = kind;
        for (auto& p : parts) {
            if (p->kind == kind)
                for (auto& c : p->children) node->children.push_back(std::move(c));
            else
                node->children.push_back(std::move(p));
        }
        return node;
    }

    // "a or b or ...", "a and b and ...": parts joined by the keyword.
    std::unique_ptr<SNode> Joined(SNode::EKind kind, const wchar_t* keyword, std::unique_ptr<SNode> (CParser::*part)()) {
        std::vector<std::unique_ptr<SNode>> parts;
        parts.push_back((this->*part)());
        while (IsKeyword(Peek(), keyword)) {
            Take();
            parts.push_back((this->*part)());
        }
        return Merge(kind, std::move(parts));
    }
    std::unique_ptr<SNode> Expression() { return Joined(SNode::eOr, L"or", &CParser::Term); }
    std::unique_ptr<SNode> Term() { return Joined(SNode::eAnd, L"and", &CParser::Factor); }

    void Enter(const SToken& at) {
        if (++m_depth > kMaxDepth) Fail(at, L"at most 50 levels of nesting");
    }

    std::unique_ptr<SNode> Factor() {
        const SToken& t = Peek();
        if (IsKeyword(t, L"not")) {
            Enter(Take());
            std::unique_ptr<SNode> inner = Factor();
            --m_depth;
            return Negate(std::move(inner));
        }
        if (t.kind == eLParen) {
            Enter(Take());
            std::unique_ptr<SNode> inner = Expression();
            if (Peek().kind != eRParen) Fail(Peek(), L"')'");
            Take();
            --m_depth;
            return inner;
        }
        return Condition();
    }

    static std::unique_ptr<SNode> Negate(std::unique_ptr<SNode> inner) {
        if (inner->kind == SNode::eNot) return std::move(inner->children.front());
        auto node = std::make_unique<SNode>();
        node->kind = SNode::eNot;
        node->children.push_back(std::move(inner));
        return node;
    }

    // A name of a property or qualifier: a word that is no operator keyword, or a quoted text.
    bool IsName(const SToken& t) const {
        if (t.kind == eQuoted) return true;
        return t.kind == eWord && !IsKeyword(t, L"and") && !IsKeyword(t, L"or") && !IsKeyword(t, L"not") &&
               !IsKeyword(t, L"in") && !IsKeyword(t, L"between");
    }

    // "loop7": the loop type 7, or -1 when the word is not of that form.
    static long long LoopType(const SToken& t) {
        if (t.kind != eWord || t.text.size() < 5 || t.text.size() > 13) return -1;
        SToken head = t;
        head.text = t.text.substr(0, 4);
        if (!IsKeyword(head, L"loop")) return -1;
        long long v = 0;
        for (std::size_t i = 4; i < t.text.size(); ++i) {
            if (t.text[i] < L'0' || t.text[i] > L'9') return -1;
            v = v * 10 + (t.text[i] - L'0');
        }
        return v;
    }

    std::unique_ptr<SNode> Condition() {
        const SToken& subject = Peek();
        if (!IsName(subject)) Fail(subject, L"a condition");
        if (++m_conditions > kMaxConditions) Fail(subject, L"at most 200 conditions");
        Take();
        auto node = std::make_unique<SNode>();
        SCondition& c = node->condition;
        c.position = subject.position;
        bool named = false;
        if (IsKeyword(subject, L"tag")) c.subject = eSubjectTag;
        else if (IsKeyword(subject, L"well")) c.subject = eSubjectWell;
        else if (IsKeyword(subject, L"frame")) c.subject = eSubjectFrame;
        else if (IsKeyword(subject, L"layer")) c.subject = eSubjectLayer;
        else if (IsKeyword(subject, L"t")) c.subject = eSubjectLoop, c.loopType = 1;
        else if (IsKeyword(subject, L"p")) c.subject = eSubjectLoop, c.loopType = 2;
        else if (LoopType(subject) >= 0) c.subject = eSubjectLoop, c.loopType = LoopType(subject);
        else named = true;
        if (named) {
            c.name = subject.text;
            if (Peek().kind == eDot) {
                Take();
                if (!IsName(Peek())) Fail(Peek(), L"a name");
                c.group = c.name;
                c.hasGroup = true;
                c.name = Take().text;
            }
        }
        const bool textual = c.subject == eSubjectTag || c.subject == eSubjectWell || c.subject == eSubjectLayer;
        const bool numeric = c.subject == eSubjectFrame || c.subject == eSubjectLoop;

        bool negated = false;
        const SToken& op = Peek();
        if (IsKeyword(op, L"not")) {
            Take();
            negated = true;
            if (!IsKeyword(Peek(), L"in") && !IsKeyword(Peek(), L"between")) Fail(Peek(), L"'in' or 'between'");
        }
        const SToken& verb = Peek();
        if (IsKeyword(verb, L"in")) {
            Take();
            c.op = eOpIn;
            if (Peek().kind != eLParen) Fail(Peek(), L"'('");
            Take();
            c.values.push_back(Value(c, textual, numeric));
            while (Peek().kind == eComma) {
                Take();
                c.values.push_back(Value(c, textual, numeric));
            }
            if (Peek().kind != eRParen) Fail(Peek(), L"',' or ')'");
            Take();
        } else if (IsKeyword(verb, L"between")) {
            Take();
            if (textual) Fail(verb, L"'=', '!=' or 'in'");
            c.op = eOpBetween;
            c.values.push_back(Number());
            if (!IsKeyword(Peek(), L"and")) Fail(Peek(), L"'and'");
            Take();
            c.values.push_back(Number());
        } else if (verb.kind == eOperator) {
            Take();
            const std::wstring& o = verb.text;
            if (o == L"=" || o == L"==" || o == L"!=" || o == L"<>") {
                c.op = eOpEq;
                negated = (o == L"!=" || o == L"<>");
                c.values.push_back(Value(c, textual, numeric));
            } else {
                if (textual) Fail(verb, L"'=', '!=' or 'in'");
                c.op = o == L"<" ? eOpLt : o == L"<=" ? eOpLe : o == L">" ? eOpGt : eOpGe;
                c.values.push_back(Number());
            }
        } else {
            Fail(verb, textual ? L"'=', '!=' or 'in'" : L"a comparison operator");
        }
        if (named) c.subject = c.values.front().isNumber ? eSubjectProperty : eSubjectQualifier;
        node->kind = SNode::eCondition;
        return negated ? Negate(std::move(node)) : std::move(node);
    }

    SValue Number() {
        const SToken& t = Peek();
        if (t.kind != eNumber) Fail(t, L"a number");
        Take();
        SValue v;
        v.isNumber = true;
        v.number = t.number;
        v.text = t.text;
        v.position = t.position;
        return v;
    }

    // One value of "=", "!=" or "in". Texts of tags, wells and layers may be
    // spelled as numbers; names take numbers (a property) or texts (a
    // qualifier), all alike within one condition.
    SValue Value(const SCondition& c, bool textual, bool numeric) {
        const SToken& t = Peek();
        if (numeric) return Number();
        if (t.kind == eNumber && !textual) {
            if (!c.values.empty() && !c.values.front().isNumber) Fail(t, L"a text");
            return Number();
        }
        if (t.kind != eWord && t.kind != eQuoted && t.kind != eNumber) Fail(t, L"a value");
        if (!textual && !c.values.empty() && c.values.front().isNumber) Fail(t, L"a number");
        Take();
        SValue v;
        v.text = t.text;
        v.position = t.position;
        return v;
    }

    std::vector<SToken> m_tokens;
    std::size_t m_pos = 0;
    int m_depth = 0;
    int m_conditions = 0;
};

}  // namespace

std::unique_ptr<SNode> Parse(const std::wstring& expression, SParseError& error) {
    try {
        CParser parser(expression);
        return parser.Run();
    } catch (const SFailure& f) {
        error = f.error;
        return nullptr;
    } catch (...) {
        // Out of memory while building the tree.
        error.position = 0;
        error.expected = L"a shorter expression";
        error.found = expression.empty() ? L"the end" : expression.substr(0, 1);
        return nullptr;
    }
}

}  // namespace yxsearch
