// The compiler of search expressions: a parsed tree becomes one SELECT
// statement over the run's frames or objects. Every value of the expression
// is a bound parameter; the statement's text holds only keywords, parameter
// numbers and the table and column names of the schema's definitions.
//
// Each condition becomes a named table expression (WITH s1 AS (...)) that
// selects the frame indexes (object keys) satisfying it through the
// attribute table's indexes; the main SELECT over the run's frames (objects)
// combines "x IN s1" tests with AND, OR and NOT as the expression does.
// Deeply nested parts move into table expressions of their own, so that the
// statement stays within SQLite's parser limits. Parameter ?1 is the run
// key, the values follow from ?2 on.
// Pure functions.
#pragma once

#include "gnr_projectdb/search/search_ast.h"
#include "gnr_projectdb/search/search_parser.h"

#include <string>
#include <vector>

namespace yxsearch {

struct SBoundValue {
    enum EKind { eDouble, eInt, eText };
    EKind kind = eDouble;
    double number = 0;
    long long integer = 0;
    std::wstring text;
};

struct SCompiled {
    std::wstring sql;
    std::vector<SBoundValue> values;  // bound to ?2, ?3, ...
};

// 0 with the statement in out; YXPDB_E_SEARCH_SYNTAX with *error for a
// condition the search cannot take (layer in a frame search); YXPDB_E_GENERIC
// when the schema lacks a table or column that the statement needs.
int Compile(const SNode& root, bool objects, SCompiled& out, SParseError& error);

}  // namespace yxsearch
