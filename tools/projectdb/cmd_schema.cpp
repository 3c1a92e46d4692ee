// projectdb schema [--xml]: the jobs schema as SQL or as XML.
#include "tool.h"

#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sys.h"

#include <cstdio>

namespace {
int RunSchema(const std::vector<std::string>& argsIn) {
    std::vector<std::string> args = argsIn;
    const bool xml = YxTool_TakeFlag(args, "--xml");
    if (!args.empty()) return YxTool_Fail("unexpected argument '" + args[0] + "'", -1);
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
}  // namespace

YX_TOOL_COMMAND("schema", "[--xml]", "print the jobs schema as SQL, or as XML with --xml", &RunSchema);
