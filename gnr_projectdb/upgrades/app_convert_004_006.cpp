// The application database's conversion from version 4 to 6: the analysis
// model (analysis, analysisrun, result with its data tables) becomes the
// file, definition, measurement and result model with JSON metadata.
//
//   analysis     -> a files row for its image (geometry from the old `file`
//                   row of the same name, 0 when there is none; calibration
//                   from the analysis) and a definitions row with the same key
//   analysisrun  -> a measurements row with the same key; its image, named
//                   relative to the analysis's data folder
//                   "analysisdata\<analysis uuid>\", gets a files row of its
//                   own (geometry and calibration from the old `file` row of
//                   the run's file name, else those of the analysis); a run
//                   without a file name points at the analysis's file
//   result       -> a results row whose blob is the key-value tree
//                     ""                       root group
//                       "_systemFlags"         the result's flags (decimal)
//                       "table"                one group per resultdef row, in
//                         "<n>"                key order, named 0, 1, ...
//                           "iDatatableKeyRef" the data table's key (decimal)
//                           "pValue"           the resultdef's value (bytes)
//                           "columns"          the table's columns of the run
//                             "<m>"            0, 1, ... in key order
//                               "wszName", "iFlags" (decimal), "pMetadata"
//                               "values"       "<k>": the values, in key order
//
// Texts are spliced into the statements between quotes with the quotes in
// them doubled, so any name or description converts.
#include "gnr_projectdb/upgrade.h"
#include "gnr_projectdb/upgrades/app_frozen_schema.h"
#include "gnr_projectdb/upgrades/app_steps_common.h"

#include "framework/yxdiag.h"
#include "framework/yxlitevariant.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <map>

namespace {
CYxStringW Quoted(const CYxStringW& text, const wchar_t* quote) {
    CYxStringW s = text;
    s.Replace(quote, (CYxStringW(quote) + quote).c_str());
    return s;
}
CYxStringW Sq(const CYxStringW& text) { return Quoted(text, L"'"); }
CYxStringW Dq(const CYxStringW& text) { return Quoted(text, L"\""); }

CYxStringW Decimal(std::int64_t v) { return CYxStringW::Format(L"%I64d", v); }

struct SGeometry {
    int iWidth = 0, iHeight = 0, iBpc = 0, iPlanes = 0;
    double dCalibration = 0.0;
    bool bFound = false;
};

struct SAnalysisFile {
    std::int64_t iFileKey = 0;
    double dCalibration = 0.0;
};

class CConversion {
public:
    explicit CConversion(sqlite3* db)
        : m_db(db),
          m_geometry(db, L"SELECT iWidth, iHeight, iBpc, iPlanes, dCalibration FROM file WHERE wszFileName=? "
                         L"ORDER BY iKey LIMIT 1;") {}

    int Run() {
        CYxStringW create;
        for (const wchar_t* table : {L"files", L"definitions", L"measurements", L"results"})
            create += YxProjectDb_AppStep_Create(6, table);
        int rc = YxSqlite_Execute(m_db, create, nullptr, false);
        if (rc == 0) rc = ConvertAnalyses();
        if (rc == 0) rc = ConvertRuns();
        if (rc == 0) {
            CYxStringW script =
                L"DROP TABLE IF EXISTS analysis;DROP TABLE IF EXISTS analysisrun;DROP TABLE IF EXISTS datatable;"
                L"DROP TABLE IF EXISTS result;";
            script += L"ALTER TABLE vesion RENAME TO version;";
            script += YxProjectDb_AppStep_Bump(6);
            rc = YxSqlite_Execute(m_db, script, nullptr, false);
        }
        if (rc != 0) YX_DIAG_WARN(L"Upgrade database error %d", rc);
        return rc;
    }

private:
    SGeometry Geometry(const CYxStringW& fileName) {
        SGeometry g;
        if (!m_geometry.IsPrepared()) return g;
        m_geometry.Reset();
        m_geometry.Bind(1, fileName);
        if (m_geometry.Next()) {
            m_geometry.Column(0, g.iWidth);
            m_geometry.Column(1, g.iHeight);
            m_geometry.Column(2, g.iBpc);
            m_geometry.Column(3, g.iPlanes);
            m_geometry.Column(4, g.dCalibration);
            g.bFound = true;
        }
        m_geometry.Reset();  // an active statement would lock the tables against the drops
        return g;
    }

    int InsertFile(const CYxStringW& fileName, const SGeometry& g, double calibration, std::int64_t* key) {
        CYxStringW sql = L"INSERT INTO files (wszFileName, jsonMetadata)";
        sql.AppendFormat(
            L" VALUES('%s', json_object('iWidth', %d, 'iHeight', %d, 'iBpc', %d, 'iPlanes', %d, 'dCalibration', %lf))",
            Sq(fileName), g.iWidth, g.iHeight, g.iBpc, g.iPlanes, calibration);
        CYxSqliteCmd insert(m_db, sql);
        insert.Next(key);
        return insert.Result();
    }

    int ConvertAnalyses() {
        CYxSqliteCmd select(m_db,
                            L"SELECT iKey, iRecipeKeyRef, wszUuid, wszName, wszDesc, wszModule, wszFileName, "
                            L"wszChannels, dCalibration, iFlags, dCTime, dMTime, pData  FROM analysis");
        while (select.Next()) {
            std::int64_t key = 0, recipe = 0;
            CYxStringW uuid, name, desc, module, fileName, channels;
            double calibration = 0.0, ctime = 0.0, mtime = 0.0;
            int flags = 0;
            CYxByteArray data;
            select.Column(0, key);
            select.Column(1, recipe);
            select.Column(2, uuid);
            select.Column(3, name);
            select.Column(4, desc);
            select.Column(5, module);
            select.Column(6, fileName);
            select.Column(7, channels);
            select.Column(8, calibration);
            select.Column(9, flags);
            select.Column(10, ctime);
            select.Column(11, mtime);
            select.Column(12, data);

            std::int64_t fileKey = 0;
            int rc = InsertFile(fileName, Geometry(fileName), calibration, &fileKey);
            if (rc != 0) return rc;
            m_analysisFiles[key] = SAnalysisFile{fileKey, calibration};

            CYxStringW sql = L"INSERT INTO definitions (iKey, iFileKeyRef, iRecipeKeyRef, wszModule, jsonMetadata, pData)";
            sql.AppendFormat(
                L" VALUES(%I64d, %I64d, %s, '%s', json_object('wszName', '%s', 'wszDesc', \"%s\", 'wszUuid', '%s', "
                L"'iFlags', %d, 'wszChannels', '%s', 'dCTime', %lf, 'dMTime', %lf), ?)",
                key, fileKey, recipe != 0 ? Decimal(recipe) : CYxStringW(L"NULL"), Sq(module), Sq(name), Dq(desc),
                Sq(uuid), flags, Sq(channels), ctime, mtime);
            CYxSqliteCmd insert(m_db, sql);
            insert.Bind(1, data);
            insert.Next();
            if (insert.Result() != 0) return insert.Result();
        }
        return select.Result();
    }

    int ConvertRuns() {
        CYxSqliteCmd select(m_db,
                            L"SELECT iKey, iAnalysisKeyRef, wszFileName, wszName, wszDesc, iFlags, iBtachNumber, "
                            L"dCTime, dMTime, pData  FROM analysisrun");
        CYxSqliteCmd uuidOf(m_db, L"SELECT wszUuid FROM analysis WHERE iKey=?;");
        while (select.Next()) {
            std::int64_t key = 0, analysis = 0;
            CYxStringW fileName, name, desc;
            int flags = 0, batch = 0;
            double ctime = 0.0, mtime = 0.0;
            CYxByteArray data;
            select.Column(0, key);
            select.Column(1, analysis);
            select.Column(2, fileName);
            select.Column(3, name);
            select.Column(4, desc);
            select.Column(5, flags);
            select.Column(6, batch);
            select.Column(7, ctime);
            select.Column(8, mtime);
            select.Column(9, data);

            const SAnalysisFile analysisFile = m_analysisFiles[analysis];
            std::int64_t fileKey = analysisFile.iFileKey;
            if (!fileName.IsEmpty()) {
                CYxStringW uuid;
                uuidOf.Reset();
                uuidOf.Bind(1, analysis);
                if (uuidOf.Next()) uuidOf.Column(0, uuid);
                if (uuidOf.Result() != 0) return uuidOf.Result();
                SGeometry g = Geometry(fileName);
                const double calibration = g.bFound ? g.dCalibration : analysisFile.dCalibration;
                const CYxStringW path = CYxStringW(L"analysisdata\\") + uuid + L"\\" + fileName;
                const int rc = InsertFile(path, g, calibration, &fileKey);
                if (rc != 0) return rc;
            }

            CYxStringW sql = L"INSERT INTO measurements (iKey, iDefinitionKeyRef, iFileKeyRef, jsonMetadata, pData)";
            sql.AppendFormat(
                L" VALUES(%I64d, %I64d, %s, json_object('wszName', '%s', 'wszDesc', \"%s\", 'iFlags', %d, "
                L"'iBatchNumber', %d, 'dCTime', %lf, 'dMTime', %lf), ?)",
                key, analysis, fileKey != 0 ? Decimal(fileKey) : CYxStringW(L"NULL"), Sq(name), Dq(desc), flags,
                batch, ctime, mtime);
            CYxSqliteCmd insert(m_db, sql);
            insert.Bind(1, data);
            insert.Next();
            if (insert.Result() != 0) return insert.Result();

            const int rc = ConvertResults(key);
            if (rc != 0) return rc;
        }
        return select.Result();
    }

    int ConvertResults(std::int64_t run) {
        CYxSqliteCmd results(m_db, L"SELECT iKey, iAnalysisRunKeyRef, iFlags, wszType, wszName FROM result "
                                   L"WHERE iAnalysisRunKeyRef=?;");
        results.Bind(1, run);
        while (results.Next()) {
            std::int64_t key = 0;
            int flags = 0;
            CYxStringW type, name;
            results.Column(0, key);
            results.Column(2, flags);
            results.Column(3, type);
            results.Column(4, name);

            CYxByteArray packed;
            int rc = Pack(run, key, flags, packed);
            if (rc != 0) return rc;

            CYxStringW sql = L"INSERT INTO results (iMeasurementKeyRef, jsonMetadata, pData)";
            sql.AppendFormat(L" VALUES(%d, json_object('wszName', '%s', 'wszType', '%s', 'iFlags', %d), ?)",
                             static_cast<int>(run), Sq(name), Sq(type), flags);
            CYxSqliteCmd insert(m_db, sql);
            insert.Bind(1, packed);
            insert.Next();
            if (insert.Result() != 0) return insert.Result();
        }
        return results.Result();
    }

    int Pack(std::int64_t run, std::int64_t result, int flags, CYxByteArray& packed) {
        CYxLiteVariantW tree;
        tree.OpenGroup(L"");
        tree.AddText(L"_systemFlags", Decimal(flags));
        tree.OpenGroup(L"table");

        CYxSqliteCmd defs(m_db, L"SELECT iDatatableKeyRef, pValue FROM resultdef WHERE iAnalysisRunKeyRef=? AND "
                                L"iResultKeyRef=? ORDER BY iKey;");
        CYxSqliteCmd columns(m_db, L"SELECT iKey, iFlags, wszName, pMetadata FROM datacolumn WHERE "
                                   L"iAnalysisRunKeyRef=? AND iDatatableKeyRef=? ORDER BY iKey;");
        CYxSqliteCmd values(m_db, L"SELECT pValue FROM datavalue WHERE iColumnKeyRef=? ORDER BY iKey;");
        defs.Bind(1, run);
        defs.Bind(2, result);
        int n = 0;
        while (defs.Next()) {
            std::int64_t table = 0;
            CYxByteArray value;
            defs.Column(0, table);
            defs.Column(1, value);
            tree.OpenGroup(Decimal(n++));
            tree.AddText(L"iDatatableKeyRef", Decimal(table));
            tree.AddBytes(L"pValue", value);
            tree.OpenGroup(L"columns");
            columns.Reset();
            columns.Bind(1, run);
            columns.Bind(2, table);
            int m = 0;
            while (columns.Next()) {
                std::int64_t column = 0;
                int columnFlags = 0;
                CYxStringW columnName;
                CYxByteArray metadata;
                columns.Column(0, column);
                columns.Column(1, columnFlags);
                columns.Column(2, columnName);
                columns.Column(3, metadata);
                tree.OpenGroup(Decimal(m++));
                tree.AddText(L"wszName", columnName);
                tree.AddText(L"iFlags", Decimal(columnFlags));
                tree.AddBytes(L"pMetadata", metadata);
                tree.OpenGroup(L"values");
                values.Reset();
                values.Bind(1, column);
                int k = 0;
                while (values.Next()) {
                    CYxByteArray v;
                    values.Column(0, v);
                    tree.AddBytes(Decimal(k++), v);
                }
                if (values.Result() != 0) return values.Result();
                tree.CloseGroup();  // values
                tree.CloseGroup();  // column
            }
            if (columns.Result() != 0) return columns.Result();
            tree.CloseGroup();  // columns
            tree.CloseGroup();  // table entry
        }
        if (defs.Result() != 0) return defs.Result();
        tree.CloseGroup();  // table
        tree.CloseGroup();  // root group
        return tree.GetData(packed) == YXLV_OK ? 0 : YXPDB_E_NOCONNECTION;
    }

    sqlite3* m_db;
    CYxSqliteCmd m_geometry;
    std::map<std::int64_t, SAnalysisFile> m_analysisFiles;
};
}  // namespace

int YxProjectDb_Db_Upgrade_From_004_To_006(sqlite3* db) {
    if (!db) return 21;  // SQLITE_MISUSE
    return CConversion(db).Run();
}
