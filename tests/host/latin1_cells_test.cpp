// Single-byte text handed over as its bytes must give the cells and results
// the widened text gives: the rowset's bytes, lengths and refusals when it is
// encoded, and the output when a result is read back as bytes.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "hostkit.h"
#include "hostkit_linked.h"

namespace {

using hostkit::CellValue;

std::wstring Widen(const std::string& bytes) {
    std::wstring text;
    for (const unsigned char c : bytes) text += static_cast<wchar_t>(c);
    return text;
}

struct Column {
    int16_t sDataType;
    int32_t iLength;
};

const Column kColumns[] = {
    {CHAR, 20}, {CHAR, 4}, {VARCHAR, 32}, {VARCHAR_SZ, 32}, {WVARCHAR, 32}, {WCHAR, 18}, {INTEGER, 32}, {U_LONG_LONG, 32},
};

// Values as a host reads them: empty, digits, blanks, ISO-8859-1 letters, a
// NUL, a value longer than a CHAR column, one that no 16-bit prefix can count.
std::vector<std::string> Values() {
    return {"", "185057800608491", "  123 ", "caf\xE9\xFF", std::string("ab\0cd", 5), std::string(40, '7'),
            std::string(40000, '9'), "123456789", "\\N"};
}

std::unique_ptr<hostkit::Instance> MakeColumn(const hostkit::EntryPoints& entryPoints, const Column& column,
                                              bool bSeparate) {
    hostkit::InstanceOptions options;
    options.sDataType = column.sDataType;
    options.iLength = column.iLength;
    options.bSeparateDestination = bSeparate;
    return hostkit::MakeInstance(entryPoints, options);
}

TEST(Latin1Cells, EncodeAsTheWidenedText) {
    const hostkit::EntryPoints entryPoints = hostkit::LinkedEntryPoints();
    for (const Column& column : kColumns) {
        for (const bool bSeparate : {true, false}) {
            const auto instance = MakeColumn(entryPoints, column, bSeparate);
            // All values in one rowset, NULLs between them, each way.
            std::vector<CellValue> wide, bytes;
            for (const std::string& value : Values()) {
                wide.push_back(CellValue{false, Widen(value)});
                CellValue cell;
                cell.bLatin1 = true;
                cell.latin1 = value;
                bytes.push_back(cell);
                wide.push_back(CellValue{true, L""});
                bytes.push_back(CellValue{true, L""});
            }
            hostkit::Batch fromWide, fromBytes;
            for (const bool bLengthUnknown : {false, true}) {
                hostkit::BatchOptions batchOptions;
                batchOptions.bSourceLengthUnknown = bLengthUnknown;
                hostkit::FillBatch(*instance, wide, &fromWide, batchOptions);
                hostkit::FillBatch(*instance, bytes, &fromBytes, batchOptions);
                SCOPED_TRACE("type " + std::to_string(column.sDataType) + " length " + std::to_string(column.iLength) +
                             (bSeparate ? " separate" : " in place"));
                EXPECT_EQ(fromWide.arena, fromBytes.arena);
                EXPECT_EQ(fromWide.encodeFailed, fromBytes.encodeFailed);
                EXPECT_EQ(fromWide.srcGuard, fromBytes.srcGuard);
                EXPECT_EQ(fromWide.dstGuard, fromBytes.dstGuard);
                for (size_t r = 0; r < wide.size(); ++r) {
                    const FieldDef& a = fromWide.fields[r];
                    const FieldDef& b = fromBytes.fields[r];
                    EXPECT_EQ(a.iSrcLen, b.iSrcLen) << "row " << r;
                    EXPECT_EQ(a.iDstCap, b.iDstCap) << "row " << r;
                    EXPECT_EQ(a.bNullInd, b.bNullInd) << "row " << r;
                    EXPECT_EQ(static_cast<const unsigned char*>(a.pSrc) - fromWide.arena.data(),
                              static_cast<const unsigned char*>(b.pSrc) - fromBytes.arena.data());
                }
                EXPECT_TRUE(hostkit::GuardsIntact(fromBytes));
            }
        }
    }
}

// A result read as bytes is the result read as text, whatever the provider
// left in the cell; where the bytes cannot be taken as they are, the reader
// says so and the text decides.
TEST(Latin1Cells, ResultBytesAreTheDecodedResult) {
    const hostkit::EntryPoints entryPoints = hostkit::LinkedEntryPoints();
    struct Layout {
        const char* pName;
        std::string bytes;  // what the destination holds
        int32_t iDstLen;
    };
    const auto prefixed = [](int16_t sPrefix, const std::string& text) {
        std::string bytes(2, '\0');
        std::memcpy(bytes.data(), &sPrefix, 2);
        return bytes + text;
    };
    const Layout layouts[] = {
        {"value", prefixed(15, "285057800608412"), 17},
        {"ISO-8859-1", prefixed(5, "caf\xE9\xFF"), 7},
        {"empty", prefixed(0, ""), 2},
        {"negative prefix", prefixed(-3, "abc"), 5},
        {"prefix past the length", prefixed(9, "abc"), 5},
        {"one byte", "x", 1},
        {"no length", prefixed(3, "abc"), 0},
        {"padded", "ABC   ", 6},
        {"only blanks", "      ", 6},
        {"terminated", std::string("abc\0def", 7), 7},
        {"unterminated", "abcdef", 6},
        {"starts with a NUL", std::string("\0abc", 4), 4},
    };
    for (const Column& column : kColumns) {
        for (const bool bSeparate : {true, false}) {
            const auto instance = MakeColumn(entryPoints, column, bSeparate);
            for (const Layout& layout : layouts) {
                hostkit::BatchOptions batchOptions;
                batchOptions.iDstCapacityOverride = 64;
                CellValue cell;
                cell.text = std::wstring(48, L'x');  // room for any layout in place
                hostkit::Batch batch;
                hostkit::FillBatch(*instance, {cell}, &batch, batchOptions);
                FieldDef& field = batch.fields[0];
                void* pCell = bSeparate ? field.pDst : field.pSrc;
                std::memcpy(pCell, layout.bytes.data(), layout.bytes.size());
                field.iDstLen = layout.iDstLen;
                std::string_view bytes;
                std::wstring text;
                const bool bText = hostkit::ReadRowOutput(*instance, batch, 0, &text);
                const bool bBytes = hostkit::ReadRowBytes(*instance, batch, 0, &bytes);
                if (column.sDataType == VARCHAR && layout.iDstLen > 2 && layout.bytes == prefixed(15, "285057800608412")) {
                    EXPECT_TRUE(bBytes) << "a plain result is read as bytes";
                }
                if (bBytes) {
                    SCOPED_TRACE(std::string(layout.pName) + ", type " + std::to_string(column.sDataType));
                    EXPECT_TRUE(bText);
                    EXPECT_EQ(Widen(std::string(bytes)), text);
                }
            }
        }
    }
}

}  // namespace
