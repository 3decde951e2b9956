// The --report file: record numbers across batches, statuses, tokens and texts.
#include <nlohmann/json.hpp>

#include "nidmask_run.h"

namespace nidmask_test {
namespace {

using ReportTest = NidmaskTest;
using nlohmann::json;

std::vector<json> ReadReport(const std::filesystem::path& path) {
    std::vector<json> lines;
    for (const std::string& line : Lines(ReadFile(path))) lines.push_back(json::parse(line));
    return lines;
}

TEST_F(ReportTest, OneLinePerRowWithAStatusNumberedAcrossBatches) {
    const std::vector<std::string> input = {"269037511604241", "\\N", "185057800608491", "", "   ",
                                            "12345678901234567", "186072B12001535", "385057800608491"};
    for (const char* pBatch : {"1", "3", "1000"}) {
        const RunResult result =
            Run(std::string("--country FR --quiet --report report.jsonl --batch ") + pBatch, JoinLines(input));
        ASSERT_EQ(result.iExit, 1) << result.err;
        const std::vector<json> report = ReadReport(Path("report.jsonl"));
        ASSERT_EQ(report.size(), 5u) << "batch " << pBatch;
        const std::pair<int, int> expected[] = {{2, 4408}, {4, 74}, {5, 4403}, {6, 4405}, {8, 4454}};
        for (size_t i = 0; i < report.size(); ++i) {
            EXPECT_EQ(report[i]["row"], expected[i].first) << "batch " << pBatch;
            EXPECT_EQ(report[i]["status"], expected[i].second);
            EXPECT_EQ(report[i]["rejected"], expected[i].second == 4405 || expected[i].second == 4454);
            ASSERT_EQ(report[i]["messages"].size(), 1u);
            EXPECT_EQ(report[i]["messages"][0]["id"], expected[i].second);
        }
        const json& length = report[3]["messages"][0];
        // Values are redacted unless --show-values.
        EXPECT_EQ(length["tokens"], (json{{"SRCDATA", "[12... 17 characters]"}, {"SRCLEN", "17"}, {"COUNTRY", "France"}}));
        EXPECT_EQ(length["text"],
                  "the value [12... 17 characters] has 17 characters, which is not a valid length for a France "
                  "identifier");
    }
}

TEST_F(ReportTest, InitFailureIsReportedAsRowZeroAndOnStandardError) {
    struct Case {
        const char* pArgs;
        std::vector<int> messages;
        const char* pText;
    };
    const Case cases[] = {
        {"--switch XY", {4409}, "the country switch names no known country"},
        {"--country FR --separator dot", {4360, 4453, 4353}, "separator option 4 is not valid for France"},
        {"--country FR --type INTEGER", {4354, 4453, 4353}, "data type 9 (INTEGER)"},
        {"--country FR --option 0x1801=32", {4362, 4453, 4353}, "names no part of a France identifier"},
    };
    for (const Case& c : cases) {
        const RunResult result = Run(std::string(c.pArgs) + " --report report.jsonl", "269037511604241\n");
        EXPECT_EQ(result.iExit, 3) << c.pArgs;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(c.pText), std::string::npos) << c.pArgs << ": " << result.err;
        const std::vector<json> report = ReadReport(Path("report.jsonl"));
        ASSERT_EQ(report.size(), 1u) << c.pArgs;
        EXPECT_EQ(report[0]["row"], 0);
        std::vector<int> ids;
        for (const json& message : report[0]["messages"]) ids.push_back(message["id"]);
        EXPECT_EQ(ids, c.messages) << c.pArgs;
    }
}

TEST_F(ReportTest, NamedSettingsReachTheProviderAndRawOperandsOverrideThem) {
    const std::string value = "1850578006084-91";
    // The separator setting rewrites the layout; a raw operand after it wins.
    EXPECT_EQ(Masked({value}, "--separator none")[0].size(), 15u);
    EXPECT_EQ(Masked({value}, "--separator none --option 0x1807=2")[0].size(), 16u);
    WriteFile(Path("one.txt"), value + "\n");
    EXPECT_EQ(Run("--country FR --option 0x1807=1 --option 0x1801=1 one.txt").iExit, 0);
    EXPECT_EQ(Masked({value}, "--separator space")[0][13], ' ');
    // Masking only the department keeps sex, year and month.
    const std::string dept = Masked({value}, "--parts dept")[0];
    EXPECT_EQ(dept.substr(0, 5), value.substr(0, 5));
}

}  // namespace
}  // namespace nidmask_test
