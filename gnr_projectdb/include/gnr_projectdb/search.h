/// \file
/// Search expressions: find the frames or the binary objects of one job run
/// with a small query language, for example
///
///   "Mean Intensity" > 1200 and tag = mitosis and well in (A1, B2) and t between 10 and 20
///
/// An expression is compiled into one SQL statement in which every value of
/// the expression is bound; no text of the caller ever becomes part of the
/// statement's text, and the names of tables and columns come from the
/// schema's table definitions only.
///
/// ---- The language
///
///   expression := term { "or" term }
///   term       := factor { "and" factor }
///   factor     := "not" factor | "(" expression ")" | condition
///   condition  := subject "=" value | subject "!=" value
///               | subject "<" number | subject "<=" number | subject ">" number | subject ">=" number
///               | subject [ "not" ] "in" "(" value { "," value } ")"
///               | subject [ "not" ] "between" number "and" number
///   subject    := "tag" | "well" | "frame" | "layer" | "t" | "p" | "loop<N>" | name [ "." name ]
///
/// Keywords are matched without regard to ASCII case. "==" may be written for
/// "=" and "<>" for "!=".
///
/// Names and texts are bare words or quoted. A bare word starts with a letter
/// or "_" (any non-ASCII character counts as a letter) and goes on with
/// letters, digits and "_". A quoted text stands between '...' or "..."; the
/// quote itself is written twice inside ("it''s"). A quoted name is never a
/// keyword: a property called t is written "t". Numbers are decimal with an
/// optional sign, fraction and exponent (-1.5e3), read the same in every
/// locale. A number given where a text is expected (tag = 7) stands for its
/// own spelling.
///
/// Subjects:
///  - A name compared with a number is a property: the frame (object) has a
///    value of a property definition whose feature name is the name that
///    satisfies the comparison. "Group"."Feature" names the group as well
///    (compared without regard to ASCII case); without a group every group
///    counts. In a frame search these are the frame's properties (frameprop,
///    acquisition and assay values alike), in an object search the object's
///    own (binobjprop).
///  - A name compared with texts (=, !=, in) is a qualifier: the frame
///    (object) has a value of the qualifier definition of that name (and
///    group) whose qualifier string is one of the texts (framequal,
///    binobjqual). Mixing numbers and texts in one list is an error.
///  - tag: the frame carries a tag of that name (case-insensitive, as the tag
///    definitions compare names).
///  - well: the frame was taken in a well of that name (A1, b2: without regard
///    to ASCII case).
///  - frame: the frame index.
///  - t, p, loop<N>: the frame's index in a loop of the run of that loop type:
///    t is type 1 (time), p type 2 (position), loop<N> type N (loop7).
///  - layer: object searches only: the name of the object's binary layer.
/// In an object search, tag, well, frame and the loops describe the object's
/// frame.
///
/// Every condition asks whether such a value exists: a frame without the
/// property "Area" satisfies neither Area > 5 nor Area <= 5. "!=" is the
/// negation of "=", and "not in" / "not between" the negation of "in" /
/// "between": Area != 5 holds for a frame without any Area value.
///
/// Limits: at most 200 conditions and a nesting depth of 50 (parentheses and
/// "not" together).
///
/// ---- Threads
///
/// The functions hold no state; a handle is used by one thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

/// Where and why an expression was refused.
struct SYxProjectDbSearchError {
    /// Offset of the offending character or word from the start of the
    /// expression, in characters (code points), from 0; the length of the
    /// expression when it ended too early.
    int iPosition = -1;
    /// What the parser expected there: "a value", "')'", "a comparison
    /// operator", ...
    CYxStringW wszExpected;
    /// What it found: the word or character at iPosition, or "the end".
    CYxStringW wszFound;
};

/// Checks an expression without running it. 0 when it is well formed;
/// YXPDB_E_SEARCH_SYNTAX with *error filled (when given) otherwise. A null
/// expression is the empty one, which is refused. Conditions that belong to
/// object searches only (layer) are accepted here.
GNR_API int YxProjectDb_Search_Check(const wchar_t* expression, SYxProjectDbSearchError* error = nullptr);

/// Appends to frameIndexes, in ascending order, the index of every frame of
/// the run (a row of frame) that satisfies the expression. The frame
/// addresses are (jobrunKey, index).
/// Statuses: 0; YXPDB_E_SEARCH_SYNTAX when the expression does not parse (or
/// uses layer), *error filled when given (the expression is checked before
/// the handle); -9 when the handle has no connection; otherwise the SQLite
/// result code of the statement. On any failure frameIndexes is left as it
/// was. Nothing is written to the file. A name that no definition of the file
/// carries is no error: its conditions hold for no frame.
GNR_API int YxProjectDb_Search_Frames(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* expression,
                                      std::vector<std::int32_t>& frameIndexes,
                                      SYxProjectDbSearchError* error = nullptr);

/// Appends to objectKeys, in ascending order, the key of every binary object
/// (a row of binobj) of the run that satisfies the expression. Statuses and
/// failures as for YxProjectDb_Search_Frames (layer is allowed here).
GNR_API int YxProjectDb_Search_Objects(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* expression,
                                       std::vector<std::int64_t>& objectKeys,
                                       SYxProjectDbSearchError* error = nullptr);

/// The statement that a search would run, for inspection (EXPLAIN QUERY
/// PLAN, diagnostics): 0 with the SQL text in *sql and the number of values
/// it binds in *boundCount, or YXPDB_E_SEARCH_SYNTAX as above. Parameter ?1
/// is the run key.
GNR_API int YxProjectDb_Search_Explain(const wchar_t* expression, bool objects, CYxStringW* sql,
                                       int* boundCount = nullptr, SYxProjectDbSearchError* error = nullptr);
