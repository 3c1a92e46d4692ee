// The parser of search expressions: recursive descent over the tokens of
// search_lexer.h into the tree of search_ast.h. Nested "and" and "or" nodes
// of the same kind are merged and "not not x" becomes x. Pure functions.
#pragma once

#include "gnr_projectdb/search/search_ast.h"

#include <memory>
#include <string>

namespace yxsearch {

enum { kMaxConditions = 200, kMaxDepth = 50 };

struct SParseError {
    int position = 0;
    std::wstring expected;
    std::wstring found;
};

// The tree of the expression, or null with *error filled.
std::unique_ptr<SNode> Parse(const std::wstring& expression, SParseError& error);

}  // namespace yxsearch
