// CSV end to end: only the masked field's bytes change; quoting, line ends
// and every other column come out byte for byte.
#include "nidmask_run.h"

#include "csv_reader.h"
#include "input_file.h"

namespace nidmask_test {
namespace {

using CsvTest = NidmaskTest;

// A CSV whose third column holds `nirs[i]` written as `fields[i]` (the raw
// field, quoted or not), with awkward neighbours and CRLF line ends.
std::string Csv(const std::vector<std::string>& fields, bool bHeader = true, bool bFinalNewline = true) {
    std::string text = bHeader ? "id,\"name, full\",nir,note\r\n" : "";
    for (size_t i = 0; i < fields.size(); ++i) {
        text += std::to_string(i + 1) + ",\"Nom \"\"" + std::to_string(i) + "\"\", Jean\"," + fields[i] +
                ",\"line one\r\nline two, still\"";
        if (i + 1 < fields.size() || bFinalNewline) text += "\r\n";
    }
    return text;
}

TEST_F(CsvTest, OnlyTheMaskedFieldChanges) {
    const std::vector<std::string> nirs = {kValidFr[0], kValidFr[1], kValidFr[2], kValidFr[3]};
    const std::vector<std::string> masked = Masked(nirs);
    // The same values, quoted or not in the source: the output keeps the quoting.
    const std::vector<std::string> fields = {nirs[0], "\"" + nirs[1] + "\"", "\"" + nirs[2] + "\"", nirs[3]};
    const std::vector<std::string> expected = {masked[0], "\"" + masked[1] + "\"", "\"" + masked[2] + "\"", masked[3]};
    struct Case {
        const char* pArgs;
        bool bHeader;
        bool bFinalNewline;
    };
    const Case cases[] = {
        {"--column nir", true, true},
        {"--column 3", true, false},
        {"--column 3 --no-header", false, true},
        {"--column nir --batch 1", true, false},
        {"--column nir --type WVARCHAR", true, true},
    };
    for (const Case& c : cases) {
        WriteFile(Path("in.csv"), Csv(fields, c.bHeader, c.bFinalNewline));
        const RunResult result = Run(std::string("--country FR --format csv --quiet in.csv ") + c.pArgs);
        EXPECT_EQ(result.iExit, 0) << c.pArgs << ": " << result.err;
        EXPECT_EQ(result.out, Csv(expected, c.bHeader, c.bFinalNewline)) << c.pArgs;
    }
}

TEST_F(CsvTest, NullEmptyAndRejectedFields) {
    const std::string valid = kValidFr[0];
    const std::string masked = Masked({valid})[0];
    const std::string input = "nir,x\n\\N,a\n\"\\N\",b\n,c\n12345,d\n" + valid + ",e\n";
    struct Case {
        const char* pArgs;
        std::string output;
        int iExit;
    };
    const Case cases[] = {
        // A quoted \N is a value (and too short), an unquoted one is NULL.
        {"", "nir,x\n\\N,a\n\"\",b\n,c\n,d\n" + masked + ",e\n", 1},
        {"--on-reject drop", "nir,x\n\\N,a\n,c\n" + masked + ",e\n", 1},
        {"--on-reject null", "nir,x\n\\N,a\n\\N,b\n,c\n\\N,d\n" + masked + ",e\n", 1},
        {"--on-reject fail", "", 1},
        {"--pass-invalid", input.substr(0, input.size() - valid.size() - 3) + masked + ",e\n", 0},
        // With an empty NULL text, an empty field is NULL, \\N a value, and an empty result is quoted.
        {"--null '' --on-reject empty", "nir,x\n\"\",a\n\"\",b\n,c\n\"\",d\n" + masked + ",e\n", 1},
    };
    for (const Case& c : cases) {
        const RunResult result = Run(std::string("--country FR --format csv --quiet ") + c.pArgs, input);
        EXPECT_EQ(result.iExit, c.iExit) << c.pArgs << ": " << result.err;
        EXPECT_EQ(result.out, c.output) << c.pArgs;
    }
}

TEST_F(CsvTest, MalformedInputNamesTheRecord) {
    struct Case {
        std::string input;
        const char* pArgs;
        int iExit;
        const char* pExpected;
    };
    const Case cases[] = {
        {"nir\n269037511604241\nab\"c\n", "", 4, "record 2 (line 3): malformed CSV"},
        {"nir\n\"269037511604241\"x\n", "", 4, "record 1 (line 2): malformed CSV"},
        {"n\"ir\n", "", 4, "the header (line 1): malformed CSV"},
        {"nir\n\"269037511604241\n", "", 4, "no closing quote"},
        {"a,nir\n1,269037511604241\n2\n", "--column nir", 1, "the record has 1 fields; the masked column is missing (row 2)"},
        {"a,nir\n", "--column nor", 2, "the header has no such column (it has a, nir)"},
        {"a,nir\n", "--column 3", 2, "the header has 2 columns"},
    };
    for (const Case& c : cases) {
        const RunResult result = Run(std::string("--country FR --format csv ") + c.pArgs, c.input);
        EXPECT_EQ(result.iExit, c.iExit) << c.input;
        EXPECT_NE(result.err.find(c.pExpected), std::string::npos) << c.input << ": " << result.err;
    }
    // A header alone, or nothing at all, is a valid empty table.
    EXPECT_EQ(Run("--country FR --format csv --quiet", "a,nir\r\n").out, "a,nir\r\n");
    EXPECT_EQ(Run("--country FR --format csv --quiet", "").out, "");
}

// Records without quotes are split without the parser: every record, its
// raw bytes, field spans, values and line comes out as the parser gives it,
// whatever the line ends, blank lines, delimiters and quoted neighbours.
TEST_F(CsvTest, PlainRecordsSplitAsTheParserSplitsThem) {
    const std::string inputs[] = {
        "n,nid\n1,185057800608491\n2,\n,3\n,\n",
        "\r\n\nn,nid\r\n1,a b \r\n\r\n2, c\r\r\n3,d",
        "a;b;c\n1;\"x;y\";2\n3;4;5\n\"q\"\"\";6;7\n8;9;10",
        "x\ty\n1\t2\r3\t4\n5\t\n\t\t\n",
        "1,caf\xE9,\\N\n2,\"\\N\",\x01\n" + std::string("3,a\0b,c\n", 9) + std::string(3000, 'z') + ",w\n",
        "single\n\nline\n",
    };
    for (const std::string& input : inputs) {
        const char cDelimiter = input.find(';') != std::string::npos ? ';'
                                : input.find('\t') != std::string::npos ? '\t'
                                                                        : ',';
        WriteFile(Path("in.csv"), input);
        std::vector<nidmask::CsvRecord> records[2];
        std::string errors[2];
        for (int bPlain = 0; bPlain < 2; ++bPlain) {
            nidmask::InputFile file;
            ASSERT_TRUE(file.Open(Path("in.csv").string(), &errors[bPlain]));
            nidmask::CsvReader reader(file, true, cDelimiter);
            reader.SetPlainSplitting(bPlain == 1);
            nidmask::CsvRecord record;
            while (reader.Next(&record, &errors[bPlain])) records[bPlain].push_back(record);
        }
        EXPECT_EQ(errors[0], errors[1]);
        ASSERT_EQ(records[0].size(), records[1].size()) << input;
        for (size_t i = 0; i < records[0].size(); ++i) {
            const nidmask::CsvRecord& a = records[0][i];
            const nidmask::CsvRecord& b = records[1][i];
            EXPECT_EQ(a.raw, b.raw) << input << ", record " << i;
            EXPECT_EQ(a.spans, b.spans) << input << ", record " << i;
            EXPECT_EQ(a.values, b.values) << input << ", record " << i;
            EXPECT_EQ(a.valueEnds, b.valueEnds) << input << ", record " << i;
            EXPECT_EQ(a.iLine, b.iLine) << input << ", record " << i;
        }
    }
}

}  // namespace
}  // namespace nidmask_test
