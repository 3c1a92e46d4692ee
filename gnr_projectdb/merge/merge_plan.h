// The merge plan: for every table of the jobs schema that a merge copies,
// its references (declared ones and the i<Table>KeyRef columns that name a
// table without declaring it), how its rows are matched, and an order in
// which every referenced table comes before the tables that refer to it.
// Built once from the table definitions; immutable, shared by all threads.
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

#include <string>
#include <vector>

namespace yxmerge {

struct SRef {
    int iCol = 0;                     // position of the column in its table
    int iTarget = 0;                  // index of the referenced table in the plan
    bool bDeclared = true;            // a declared reference (else found by name)
    bool bOwner = false;              // the row belongs to the referenced row
};

enum EIdentity { eByUuid, eByUniqueGroup, eByAllColumns };

struct STable {
    const SYxSqliteTableDef* pDef = nullptr;
    std::wstring name;
    std::vector<SRef> refs;
    EIdentity eIdentity = eByAllColumns;
    std::vector<int> identityCols;    // columns compared when not by uuid
    bool bIdentityUnique = false;     // the schema keeps the identity unique
    bool bDefinition = false;         // always matched, even when duplicates are copied
    bool bReferenced = false;         // some table (possibly itself) refers to it
    bool bSelfReferencing = false;
};

// Tables in copy order. The version, settings and identity tables of a
// database are never merged and are not in the plan.
const std::vector<STable>& Plan();
// Index of a table in the plan, or -1.
int PlanIndex(const wchar_t* table);

}  // namespace yxmerge
