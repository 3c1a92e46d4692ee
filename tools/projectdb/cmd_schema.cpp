// projectdb schema [FILE] [--xml | --dot]: the built-in jobs schema as SQL,
// as XML or as a Graphviz graph of the tables and their references; with
// FILE, the CREATE statements that the file holds.
#include "tool.h"

#include "gnr_projectdb/db.h"
#include "gnr_projectdb/diagnostics.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sys.h"

#include <cstdio>

namespace {
int PrintFileSchema(CYxToolCall& call) {
    const std::string& file = call.Arg(0);
    const std::wstring path = call.WideArg(0);
    const YxProjectDbHandle h = YxProjectDb_Db_Jobs_ConnectForRead(path.c_str());
    if (!h) return call.Fail(file, "cannot open the database", YxTool_OpenFailure(file));
    CYxStringW sql;
    const int rc = YxProjectDb_Diag_FileSchemaSql(h, &sql);
    YxProjectDb_Db_Disconnect(h);
    if (rc != 0) return call.Fail(file, "cannot read the schema", rc);
    std::fputs(YxTool_Narrow(sql.str()).c_str(), stdout);
    return 0;
}

int RunSchema(CYxToolCall& call) {
    const bool xml = call.Flag("xml"), dot = call.Flag("dot");
    if (xml && dot) return call.Usage("--xml and --dot exclude each other");
    if (call.ArgCount() > 0) {
        if (xml || dot) return call.Usage("--xml and --dot describe the built-in schema; give no FILE");
        return PrintFileSchema(call);
    }
    if (xml) {
        std::fputs(YxTool_Narrow(YxProjectDb_Sys_ExportSchemaAsXml().str()).c_str(), stdout);
        return 0;
    }
    if (dot) {
        std::fputs(YxTool_Narrow(YxProjectDb_Diag_SchemaDot(eYxFlavourJobs).str()).c_str(), stdout);
        return 0;
    }
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    for (int i = 0; i < count; ++i)
        std::fputs(YxTool_Narrow(YxProjectDb_Schema_CreateSql(defs[i]).str()).c_str(), stdout);
    return 0;
}

void Declare(CYxToolSyntax& s) {
    s.OptionalArgument("FILE", "a database file: print the schema it holds");
    s.Flag("xml", "print the built-in schema as XML");
    s.Flag("dot", "print the tables and their references as a Graphviz graph (dot -Tsvg)");
}
}  // namespace

YX_TOOL_COMMAND("schema", 25, "print the jobs schema as SQL, XML (--xml) or a Graphviz graph (--dot), or a file's own schema",
                &Declare, &RunSchema);
