// Fixtures of the merge tests: demo databases made by the projectdb tool,
// and two dumps of a jobs database file:
//  - the canonical dump: every row of every merged table with its key left
//    out and each reference replaced by the identity of the row it names
//    (its uuid, else its unique group, else all its columns, recursively),
//    sorted; two databases with the same content give the same dump
//    whatever keys their rows have;
//  - the exact dump: every row with its keys, and the schema, in key order;
//    equal only when nothing at all changed.
#pragma once

#include "framework/yxstring.h"
#include "test_support.h"

#include <map>
#include <string>
#include <vector>

// Table name -> sorted canonical rows. Tables without rows are left out.
std::map<std::string, std::vector<std::string>> MergeTest_CanonicalDump(const std::string& file);
std::string MergeTest_ExactDump(const std::string& file);

// Runs `projectdb demo DIR` (count times) and returns DIR/demo.gnrdb.
std::string MergeTest_MakeDemo(const std::string& dir, int count = 1);

// First column of the first row of a query, as text ("" when none).
std::string MergeTest_Text(const std::string& file, const std::string& sql);

// Every regular file below a folder as "relative path|size|content hash",
// sorted; empty for a missing folder.
std::vector<std::string> MergeTest_FolderListing(const std::string& folder);
