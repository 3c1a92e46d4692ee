// The tree of a parsed search expression: "and", "or" and "not" nodes over
// conditions. A node owns its children. Built by the parser, read by the
// compiler; plain data, no locking.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace yxsearch {

// What a condition is about.
enum ESubject {
    eSubjectProperty,   // a named property, compared with numbers
    eSubjectQualifier,  // a named qualifier, compared with texts
    eSubjectTag,
    eSubjectWell,
    eSubjectFrame,      // the frame index
    eSubjectLoop,       // the index in a loop of a loop type
    eSubjectLayer,      // objects only: the name of the binary layer
};

// Comparisons; "!=", "not in" and "not between" are a "not" node above
// eOpEq, eOpIn and eOpBetween.
enum EOperator { eOpEq, eOpLt, eOpLe, eOpGt, eOpGe, eOpIn, eOpBetween };

struct SValue {
    bool isNumber = false;
    double number = 0;
    std::wstring text;  // texts; for numbers their spelling
    int position = 0;
};

struct SCondition {
    ESubject subject = eSubjectProperty;
    std::wstring name;       // property or qualifier name
    std::wstring group;      // its group, when hasGroup
    bool hasGroup = false;
    long long loopType = 0;  // eSubjectLoop
    EOperator op = eOpEq;
    std::vector<SValue> values;  // one; two for between; one or more for in
    int position = 0;            // of the subject
};

struct SNode {
    enum EKind { eAnd, eOr, eNot, eCondition };
    EKind kind = eCondition;
    std::vector<std::unique_ptr<SNode>> children;  // and, or: two or more; not: one
    SCondition condition;                          // eCondition
};

}  // namespace yxsearch
