// Pieces shared by the application database's steps.
#pragma once

#include "framework/yxstring.h"

struct sqlite3;

// "UPDATE version SET iVersion=<version> WHERE wszName='main';\n"
CYxStringW YxProjectDb_AppStep_Bump(int version);
// CREATE TABLE (and CREATE INDEX) of a table as it was at `version`.
CYxStringW YxProjectDb_AppStep_Create(int version, const wchar_t* table);
// Executes a step's script; a failure is reported as "Upgrade database error".
int YxProjectDb_AppStep_Execute(sqlite3* db, const CYxStringW& script);
// A new identity: 32 lower-case hexadecimal digits.
CYxStringW YxProjectDb_AppStep_NewUuid();
