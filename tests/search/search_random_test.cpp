// Randomised search expressions: each is generated as a tree, written out as
// text (with random spelling: keyword case, quoting, spacing, parentheses)
// and evaluated by brute force over the in-memory rows; the search over the
// database must give exactly the same frames and objects.
#include "search_model.h"

#include "gnr_projectdb/search.h"

#include <algorithm>
#include <charconv>
#include <functional>

namespace {

bool AsciiEqualNoCase(const std::wstring& a, const std::wstring& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        wchar_t x = a[i], y = b[i];
        if (x >= L'A' && x <= L'Z') x = static_cast<wchar_t>(x + 32);
        if (y >= L'A' && y <= L'Z') y = static_cast<wchar_t>(y + 32);
        if (x != y) return false;
    }
    return true;
}

struct SExpr {
    enum EKind { eAnd, eOr, eNot, eLeaf } kind = eLeaf;
    std::vector<SExpr> kids;
    enum ESubj { eProp, eQual, eTag, eWell, eFrame, eLoop, eLayer } subj = eProp;
    std::wstring name, group;
    bool withGroup = false;
    int loopType = 0;
    std::string op;  // = != < <= > >= in "not in" between "not between"
    std::vector<double> nums;
    std::vector<std::wstring> texts;
};

class CGenerator {
public:
    CGenerator(std::mt19937& rng, const std::vector<SSearchPropdef>& props,
               const std::vector<SSearchPropdef>& quals, const std::vector<std::wstring>& qualTexts,
               const std::vector<std::wstring>& tags, const std::vector<std::wstring>& wells,
               const std::vector<std::wstring>& layers, const std::vector<double>& numbers, bool objects)
        : m_rng(rng), m_props(props), m_quals(quals), m_qualTexts(qualTexts), m_tags(tags), m_wells(wells),
          m_layers(layers), m_numbers(numbers), m_objects(objects) {}

    SExpr Tree(int depth) {
        const int r = Int(0, 9);
        if (depth == 0 || r < 4) return Leaf();
        SExpr e;
        if (r < 6) {
            e.kind = SExpr::eNot;
            e.kids.push_back(Tree(depth - 1));
            return e;
        }
        e.kind = r < 8 ? SExpr::eAnd : SExpr::eOr;
        const int n = Int(2, 3);
        for (int i = 0; i < n; ++i) e.kids.push_back(Tree(depth - 1));
        return e;
    }

private:
    int Int(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_rng); }
    template <class T>
    const T& Pick(const std::vector<T>& v) {
        return v[static_cast<std::size_t>(Int(0, static_cast<int>(v.size()) - 1))];
    }
    double Number() { return Int(0, 9) == 0 ? 5.0 : Pick(m_numbers); }  // 5 is nobody's value
    std::wstring Text(const std::vector<std::wstring>& from) { return Int(0, 9) == 0 ? L"zz" : Pick(from); }
    // Any-case spelling where the search compares without regard to ASCII case.
    std::wstring Recase(std::wstring s) {
        for (wchar_t& c : s)
            if (Int(0, 3) == 0) {
                if (c >= L'a' && c <= L'z') c = static_cast<wchar_t>(c - 32);
                else if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c + 32);
            }
        return s;
    }

    void NumericOp(SExpr& e) {
        static const char* ops[] = {"=", "!=", "<", "<=", ">", ">=", "in", "not in", "between", "not between"};
        e.op = ops[Int(0, 9)];
        const int n = e.op == "in" || e.op == "not in" ? Int(1, 3) : e.op.find("between") != std::string::npos ? 2 : 1;
        for (int i = 0; i < n; ++i) e.nums.push_back(Number());
        if (n == 2 && e.op.find("between") != std::string::npos && Int(0, 4) != 0) std::sort(e.nums.begin(), e.nums.end());
    }
    void TextOp(SExpr& e, const std::vector<std::wstring>& from, bool recase) {
        static const char* ops[] = {"=", "!=", "in", "not in"};
        e.op = ops[Int(0, 3)];
        const int n = e.op == "in" || e.op == "not in" ? Int(1, 3) : 1;
        for (int i = 0; i < n; ++i) e.texts.push_back(recase ? Recase(Text(from)) : Text(from));
    }

    SExpr Leaf() {
        SExpr e;
        const int r = Int(0, m_objects ? 8 : 7);
        if (r <= 1) {
            e.subj = SExpr::eProp;
            const SSearchPropdef& d = Pick(m_props);
            e.name = d.name;
            e.withGroup = !d.group.empty() && Int(0, 1) == 0;
            e.group = Recase(d.group);
            NumericOp(e);
        } else if (r == 2) {
            e.subj = SExpr::eQual;
            const SSearchPropdef& d = Pick(m_quals);
            e.name = d.name;
            e.withGroup = !d.group.empty() && Int(0, 1) == 0;
            e.group = Recase(d.group);
            TextOp(e, m_qualTexts, false);
        } else if (r == 3) {
            e.subj = SExpr::eTag;
            TextOp(e, m_tags, true);
        } else if (r == 4) {
            e.subj = SExpr::eWell;
            TextOp(e, m_wells, true);
        } else if (r == 5) {
            e.subj = SExpr::eFrame;
            NumericOp(e);
            for (double& v : e.nums) v = Int(-2, 130) + (Int(0, 5) == 0 ? 0.5 : 0);
        } else if (r <= 7) {
            e.subj = SExpr::eLoop;
            static const int types[] = {1, 2, 7};
            e.loopType = types[Int(0, 2)];
            NumericOp(e);
            for (double& v : e.nums) v = Int(-1, 6);
        } else {
            e.subj = SExpr::eLayer;
            TextOp(e, m_layers, false);
        }
        return e;
    }

    std::mt19937& m_rng;
    const std::vector<SSearchPropdef>& m_props;
    const std::vector<SSearchPropdef>& m_quals;
    const std::vector<std::wstring>& m_qualTexts;
    const std::vector<std::wstring>& m_tags;
    const std::vector<std::wstring>& m_wells;
    const std::vector<std::wstring>& m_layers;
    const std::vector<double>& m_numbers;
    bool m_objects;
};

// ---------------------------------------------------------------- text

class CWriter {
public:
    explicit CWriter(std::mt19937& rng) : m_rng(rng) {}

    std::wstring Write(const SExpr& e) {
        switch (e.kind) {
        case SExpr::eLeaf:
            return Leaf(e);
        case SExpr::eNot:
            return Keyword(L"not") + L" " + Operand(e.kids[0], true);
        case SExpr::eAnd:
        case SExpr::eOr: {
            std::wstring s;
            for (std::size_t i = 0; i < e.kids.size(); ++i) {
                if (i) s += Blank() + Keyword(e.kind == SExpr::eAnd ? L"and" : L"or") + Blank();
                // "a or b" inside "and" needs its parentheses; the others get
                // some at random.
                s += Operand(e.kids[i], e.kind == SExpr::eAnd && e.kids[i].kind == SExpr::eOr);
            }
            return s;
        }
        }
        return L"";
    }

private:
    int Int(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_rng); }
    std::wstring Blank() { return Int(0, 4) == 0 ? L"  " : L" "; }
    std::wstring Keyword(const wchar_t* k) {
        std::wstring s = k;
        const int style = Int(0, 3);
        for (std::size_t i = 0; i < s.size(); ++i)
            if (style == 1 || (style == 2 && i == 0)) s[i] = static_cast<wchar_t>(s[i] - 32);
        return s;
    }
    std::wstring Operand(const SExpr& e, bool needParens) {
        const bool composite = e.kind == SExpr::eAnd || e.kind == SExpr::eOr;
        if (needParens || (composite && e.kind == SExpr::eOr) || (composite && Int(0, 1) == 0) || Int(0, 5) == 0)
            return L"(" + Write(e) + L")";
        if (composite) return L"(" + Write(e) + L")";
        return Write(e);
    }
    static bool IsPlainWord(const std::wstring& s) {
        if (s.empty()) return false;
        static const wchar_t* keywords[] = {L"and", L"or", L"not", L"in", L"between", L"tag", L"well",
                                            L"frame", L"layer", L"t", L"p"};
        for (const wchar_t* k : keywords)
            if (AsciiEqualNoCase(s, k)) return false;
        if (s.size() > 4 && AsciiEqualNoCase(s.substr(0, 4), L"loop")) return false;
        for (std::size_t i = 0; i < s.size(); ++i) {
            const wchar_t c = s[i];
            const bool letter = (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' || c > 0x7f;
            if (!letter && !(i > 0 && c >= L'0' && c <= L'9')) return false;
        }
        return true;
    }
    std::wstring Quoted(const std::wstring& s) {
        if (IsPlainWord(s) && Int(0, 2) != 0) return s;
        const wchar_t q = Int(0, 1) ? L'\'' : L'"';
        std::wstring out(1, q);
        for (wchar_t c : s) {
            out += c;
            if (c == q) out += c;
        }
        return out + q;
    }
    static std::wstring Num(double v) {
        char buf[64];
        const auto r = std::to_chars(buf, buf + sizeof(buf), v);
        return std::wstring(buf, r.ptr);
    }
    std::wstring Op(const std::string& op) {
        if (op == "=") return Int(0, 1) ? L"=" : L"==";
        if (op == "!=") return Int(0, 1) ? L"!=" : L"<>";
        if (op == "in") return Keyword(L"in");
        if (op == "not in") return Keyword(L"not") + L" " + Keyword(L"in");
        if (op == "between") return Keyword(L"between");
        if (op == "not between") return Keyword(L"not") + L" " + Keyword(L"between");
        return std::wstring(op.begin(), op.end());
    }
    std::wstring Leaf(const SExpr& e) {
        std::wstring s;
        switch (e.subj) {
        case SExpr::eProp:
        case SExpr::eQual:
            s = (e.withGroup ? Quoted(e.group) + L"." : L"") + Quoted(e.name);
            break;
        case SExpr::eTag: s = Keyword(L"tag"); break;
        case SExpr::eWell: s = Keyword(L"well"); break;
        case SExpr::eFrame: s = Keyword(L"frame"); break;
        case SExpr::eLayer: s = Keyword(L"layer"); break;
        case SExpr::eLoop:
            s = e.loopType == 1 ? Keyword(L"t") : e.loopType == 2 ? Keyword(L"p") : Keyword(L"loop") + L"7";
            break;
        }
        s += Blank() + Op(e.op) + Blank();
        std::vector<std::wstring> values;
        for (double v : e.nums) values.push_back(Num(v));
        for (const std::wstring& t : e.texts) values.push_back(Quoted(t));
        if (e.op.find("between") != std::string::npos) return s + values[0] + L" " + Keyword(L"and") + L" " + values[1];
        if (e.op.find("in") != std::string::npos) {
            std::wstring list;
            for (const std::wstring& v : values) list += (list.empty() ? L"" : L"," + Blank()) + v;
            return s + L"(" + list + L")";
        }
        return s + values[0];
    }

    std::mt19937& m_rng;
};

// ---------------------------------------------------------------- brute force

bool Compare(const SExpr& e, double v) {
    const std::string& op = e.op;
    if (op == "=" || op == "!=") return v == e.nums[0];
    if (op == "<") return v < e.nums[0];
    if (op == "<=") return v <= e.nums[0];
    if (op == ">") return v > e.nums[0];
    if (op == ">=") return v >= e.nums[0];
    if (op == "in" || op == "not in") return std::find(e.nums.begin(), e.nums.end(), v) != e.nums.end();
    return v >= e.nums[0] && v <= e.nums[1];
}
bool Negated(const SExpr& e) { return e.op == "!=" || e.op == "not in" || e.op == "not between"; }
bool TextIn(const SExpr& e, const std::wstring& t, bool noCase) {
    for (const std::wstring& x : e.texts)
        if (noCase ? AsciiEqualNoCase(x, t) : x == t) return true;
    return false;
}

class CEvaluator {
public:
    CEvaluator(const std::vector<SSearchPropdef>& props,
               const std::vector<SSearchPropdef>& quals, std::function<const SSearchItem*(int)> frameAt)
        : m_props(props), m_quals(quals), m_frameAt(std::move(frameAt)) {}

    // item: the frame, or the object (frame conditions then look at its frame).
    bool Eval(const SExpr& e, const SSearchItem& item, bool object) const {
        switch (e.kind) {
        case SExpr::eAnd:
            for (const SExpr& k : e.kids)
                if (!Eval(k, item, object)) return false;
            return true;
        case SExpr::eOr:
            for (const SExpr& k : e.kids)
                if (Eval(k, item, object)) return true;
            return false;
        case SExpr::eNot:
            return !Eval(e.kids[0], item, object);
        case SExpr::eLeaf:
            return Negated(e) != Exists(e, item, object);
        }
        return false;
    }

private:
    bool Exists(const SExpr& e, const SSearchItem& item, bool object) const {
        const SSearchItem* frame = object ? m_frameAt(item.frameIndex) : &item;
        switch (e.subj) {
        case SExpr::eProp:
            for (const SSearchValue& v : item.props) {
                const SSearchPropdef& d = m_props[static_cast<std::size_t>(v.def)];
                if (d.name == e.name && (!e.withGroup || AsciiEqualNoCase(d.group, e.group)) && Compare(e, v.value))
                    return true;
            }
            return false;
        case SExpr::eQual:
            for (const SSearchQual& q : item.quals) {
                const SSearchPropdef& d = m_quals[static_cast<std::size_t>(q.def)];
                if (d.name == e.name && (!e.withGroup || AsciiEqualNoCase(d.group, e.group)) && TextIn(e, q.text, false))
                    return true;
            }
            return false;
        case SExpr::eTag:
            for (const std::wstring& t : frame->tags)
                if (TextIn(e, t, true)) return true;
            return false;
        case SExpr::eWell:
            for (const std::wstring& w : frame->wells)
                if (TextIn(e, w, true)) return true;
            return false;
        case SExpr::eFrame:
            return Compare(e, frame->frameIndex);
        case SExpr::eLoop: {
            const auto it = frame->loops.find(e.loopType);
            if (it == frame->loops.end()) return false;
            for (int i : it->second)
                if (Compare(e, i)) return true;
            return false;
        }
        case SExpr::eLayer:
            return TextIn(e, item.layer, false);
        }
        return false;
    }

    const std::vector<SSearchPropdef>& m_props;
    const std::vector<SSearchPropdef>& m_quals;
    std::function<const SSearchItem*(int)> m_frameAt;
};

}  // namespace

using SearchRandom = SearchDbTest;

TEST_F(SearchRandom, FiveHundredFrameExpressionsMatchBruteForce) {
    ASSERT_NO_FATAL_FAILURE(Fill(120, 1234));
    std::mt19937 rng(99);
    CGenerator gen(rng, propdefs, qualdefs, qualTexts, tagNames, wellNames, layerNames, numbers, false);
    CWriter writer(rng);
    CEvaluator eval(propdefs, qualdefs, [this](int i) { return FrameAt(i); });
    int nonEmpty = 0, notAll = 0;
    for (int n = 0; n < 500; ++n) {
        const SExpr tree = gen.Tree(n % 5);
        const std::wstring text = writer.Write(tree);
        std::vector<std::int32_t> expected;
        for (const SSearchItem& f : frames)
            if (f.inFrameTable && eval.Eval(tree, f, false)) expected.push_back(f.frameIndex);
        std::vector<std::int32_t> got{-7};  // appended to, never cleared
        SYxProjectDbSearchError error;
        ASSERT_EQ(0, YxProjectDb_Search_Frames(h, runKey, text.c_str(), got, &error))
            << CYxStringW(text).ToUtf8() << " at " << error.iPosition << ": expected "
            << error.wszExpected.ToUtf8();
        ASSERT_EQ(-7, got.front());
        got.erase(got.begin());
        ASSERT_EQ(expected, got) << "expression " << n << ": " << CYxStringW(text).ToUtf8();
        nonEmpty += !expected.empty();
        notAll += expected.size() < 100;
    }
    // The generated expressions tell rows apart, not only all or nothing.
    EXPECT_GT(nonEmpty, 250);
    EXPECT_GT(notAll, 250);
}

TEST_F(SearchRandom, ObjectExpressionsMatchBruteForce) {
    ASSERT_NO_FATAL_FAILURE(Fill(80, 4321));
    ASSERT_GT(objects.size(), 60u);
    std::mt19937 rng(7);
    CGenerator gen(rng, propdefs, qualdefs, qualTexts, tagNames, wellNames, layerNames, numbers, true);
    CWriter writer(rng);
    CEvaluator eval(propdefs, qualdefs, [this](int i) { return FrameAt(i); });
    int nonEmpty = 0;
    for (int n = 0; n < 200; ++n) {
        const SExpr tree = gen.Tree(n % 4);
        const std::wstring text = writer.Write(tree);
        std::vector<std::int64_t> expected;
        for (const SSearchItem& o : objects)
            if (eval.Eval(tree, o, true)) expected.push_back(o.key);
        std::sort(expected.begin(), expected.end());
        std::vector<std::int64_t> got;
        SYxProjectDbSearchError error;
        ASSERT_EQ(0, YxProjectDb_Search_Objects(h, runKey, text.c_str(), got, &error))
            << CYxStringW(text).ToUtf8() << " at " << error.iPosition;
        ASSERT_EQ(expected, got) << "expression " << n << ": " << CYxStringW(text).ToUtf8();
        nonEmpty += !expected.empty();
    }
    EXPECT_GT(nonEmpty, 100);
}
