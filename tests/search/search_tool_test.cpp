// projectdb find: the same frames and objects as the library, as lines,
// JSON or CSV; parse errors and wrong use reported with their exit codes.
#include "search_model.h"

#include "gnr_projectdb/search.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

std::string Lines(const std::vector<long long>& values) {
    std::string s;
    for (long long v : values) s += std::to_string(v) + "\n";
    return s;
}

}  // namespace

class SearchTool : public SearchDbTest {
protected:
    void SetUp() override {
        SearchDbTest::SetUp();
        ASSERT_NO_FATAL_FAILURE(Fill(60, 11));
        // The run needs a uuid to be named on the command line.
        uuid = "00112233445566778899aabbccddeeff";
        ASSERT_EQ("", AcqOne(h, "UPDATE jobrun SET wszUuid='" + uuid + "' WHERE iKey=" + std::to_string(runKey) +
                                    " RETURNING ''"));
    }
    // Runs "projectdb find DB --run UUID <args>"; the expression is the last argument.
    int Find(const std::string& args, const std::string& expression, std::string* out) {
        std::string quoted = "'";
        for (char c : expression) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
        quoted += "'";
        return YxTest_RunCommand(std::string(YxTest_ToolPath()) + " find " + path.ToUtf8() + " --run " + uuid +
                                     " " + args + " " + quoted,
                                 out);
    }
    std::string uuid;
};

TEST_F(SearchTool, PrintsWhatTheLibraryFinds) {
    const std::string expression = "\"Mean Intensity\" >= 3 and tag != \"o'clock\" or well in (a1, C12)";
    const CYxStringW wide = CYxStringW::FromUtf8(expression);
    std::vector<std::int32_t> frames;
    ASSERT_EQ(0, YxProjectDb_Search_Frames(h, runKey, wide.c_str(), frames));
    ASSERT_FALSE(frames.empty());
    std::vector<long long> expected(frames.begin(), frames.end());

    std::string out;
    ASSERT_EQ(0, Find("", expression, &out)) << out;
    EXPECT_EQ(Lines(expected), out);
    ASSERT_EQ(0, Find("--csv", expression, &out)) << out;
    EXPECT_EQ("frame\n" + Lines(expected), out);
    ASSERT_EQ(0, Find("--json", expression, &out)) << out;
    const QJsonObject o = QJsonDocument::fromJson(QByteArray::fromStdString(out)).object();
    EXPECT_EQ(QString::fromStdString(uuid), o["run"].toString());
    EXPECT_EQ(QString::fromStdString(expression), o["expression"].toString());
    const QJsonArray list = o["frames"].toArray();
    ASSERT_EQ(static_cast<int>(expected.size()), list.size());
    for (int i = 0; i < list.size(); ++i) EXPECT_EQ(expected[static_cast<std::size_t>(i)], static_cast<long long>(list[i].toDouble()));

    std::vector<std::int64_t> objects;
    ASSERT_EQ(0, YxProjectDb_Search_Objects(h, runKey, L"layer = \"cells'\" and Area > 0", objects));
    ASSERT_EQ(0, Find("--objects", "layer = \"cells'\" and Area > 0", &out)) << out;
    EXPECT_EQ(Lines(std::vector<long long>(objects.begin(), objects.end())), out);
}

TEST_F(SearchTool, ParseErrorsAndWrongUse) {
    std::string out;
    EXPECT_EQ(1, Find("", "Area > 5 and (tag = x", &out));
    EXPECT_NE(std::string::npos, out.find("does not parse at character 22: expected ')', found the end")) << out;
    EXPECT_NE(std::string::npos, out.find("YXPDB_E_SEARCH_SYNTAX -90")) << out;
    // The caret line points at the place.
    EXPECT_NE(std::string::npos, out.find("\n  " + std::string(21, ' ') + "^\n")) << out;

    EXPECT_EQ(1, Find("", "layer = nuclei", &out));
    EXPECT_NE(std::string::npos, out.find("expected a condition on frames")) << out;

    EXPECT_EQ(2, Find("--json --csv", "frame = 1", &out));
    EXPECT_EQ(2, YxTest_RunCommand(std::string(YxTest_ToolPath()) + " find " + path.ToUtf8() + " 'frame = 1'", &out));
    EXPECT_NE(std::string::npos, out.find("--run UUID is required")) << out;

    uuid = "ffffffffffffffffffffffffffffffff";
    EXPECT_EQ(1, Find("", "frame = 1", &out));
    EXPECT_NE(std::string::npos, out.find("no run ffffffffffffffffffffffffffffffff")) << out;
}
