// projectdb schema [--xml]: the jobs schema as SQL or as XML.
#include "tool.h"

#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sys.h"

#include <cstdio>

namespace {
int RunSchema(CYxToolCall& call) {
    const bool xml = call.Flag("xml");
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    if (xml) {
        std::fputs(YxTool_Narrow(YxProjectDb_Sys_ExportSchemaAsXml().str()).c_str(), stdout);
        return 0;
    }
    for (int i = 0; i < count; ++i)
        std::fputs(YxTool_Narrow(YxSqlite_CreateTableWithIndexesSqlCommand(*defs[i]).str()).c_str(), stdout);
    return 0;
}

void Declare(CYxToolSyntax& s) { s.Flag("xml", "print the schema as XML"); }
}  // namespace

YX_TOOL_COMMAND("schema", 25, "print the jobs schema as SQL, or as XML with --xml", &Declare, &RunSchema);
