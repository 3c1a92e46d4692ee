// A caller outside the project: creates a jobs database in a temporary
// folder, opens it, writes two projects, reads them back and prints them.
// Exits 0 when everything read back is what was written.
#include <gnr_projectdb/db.h>
#include <gnr_projectdb/records_project.h>
#include <gnr_projectdb/status.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace {

int Fail(const char* what, int status) {
    std::fprintf(stderr, "projects: %s failed: %s (%d)\n", what, YxProjectDb_StatusName(status), status);
    return 1;
}

int Run(const std::filesystem::path& folder) {
    const CYxStringW file = CYxStringW::FromUtf8((folder / "example.gnrdb").u8string());
    int rc = YxProjectDb_Db_Jobs_Create(file);
    if (rc != 0) return Fail("creating the database", rc);

    const YxProjectDbHandle db = YxProjectDb_Db_Jobs_Connect(file);
    if (!db) return Fail("opening the database", YXPDB_E_NOCONNECTION);

    const wchar_t* const names[] = {L"Mitosis screen", L"Drug response"};
    std::vector<std::int64_t> keys;
    for (const wchar_t* name : names) {
        std::int64_t key = 0;
        rc = YxProjectDb_Proj_Insert(db, name, L"written by the example", name, &key);
        if (rc != 0) {
            YxProjectDb_Db_Disconnect(db);
            return Fail("inserting a project", rc);
        }
        keys.push_back(key);
    }

    std::vector<SYxProjectDbRow_project> rows;
    rc = YxProjectDb_Proj_GetAll(db, rows);
    YxProjectDb_Db_Disconnect(db);
    if (rc != 0) return Fail("reading the projects", rc);
    if (rows.size() != keys.size()) {
        std::fprintf(stderr, "projects: read %zu projects, wrote %zu\n", rows.size(), keys.size());
        return 1;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].iKey != keys[i] || rows[i].wszName != names[i]) {
            std::fprintf(stderr, "projects: project %zu does not read back as written\n", i);
            return 1;
        }
        std::printf("project %lld: %s (uuid %s, folder %s)\n", static_cast<long long>(rows[i].iKey),
                    rows[i].wszName.ToUtf8().c_str(), rows[i].wszUuid.ToUtf8().c_str(),
                    rows[i].wszFolderName.ToUtf8().c_str());
    }
    return 0;
}

}  // namespace

int main() {
    std::string pattern = (std::filesystem::temp_directory_path() / "gnr_projectdb_example.XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        std::perror("projects: mkdtemp");
        return 1;
    }
    const std::filesystem::path folder(pattern);
    const int result = Run(folder);
    std::error_code ec;
    std::filesystem::remove_all(folder, ec);
    return result;
}
