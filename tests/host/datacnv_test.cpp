// The conversion library: the byte layout of every column type, the results
// of refused values and the capacity boundaries. Round trips, guard bytes,
// the results each direction may give, a failure that writes nothing and the
// text helpers against their model are fuzz/converters_fuzz.cpp's invariants.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <qrnp/qrnp_datacnv.h>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Latin1(const std::wstring& s) { return Bytes(s.begin(), s.end()); }
Bytes Wide(const std::wstring& s) {
    Bytes b(s.size() * 4);
    if (!b.empty()) std::memcpy(b.data(), s.data(), b.size());
    return b;
}
Bytes Prefixed(const Bytes& data) {
    Bytes b(2 + data.size());
    const auto n = static_cast<int16_t>(data.size());
    std::memcpy(b.data(), &n, 2);
    std::copy(data.begin(), data.end(), b.begin() + 2);
    return b;
}
Bytes Terminated(Bytes b, size_t iUnit) { return b.resize(b.size() + iUnit), b; }
template <typename T>
Bytes Raw(T v) {
    Bytes b(sizeof v);
    std::memcpy(b.data(), &v, sizeof v);
    return b;
}

struct ToWideResult {
    uint32_t rc;
    std::wstring text;
};

// Runs a source converter into iOutCap bytes.
ToWideResult ToWide(QRNPToWideFn fn, const Bytes& src, int32_t iSrcLen, const ColumnDef* pCtx = nullptr,
                    int32_t iOutCap = 400) {
    std::vector<wchar_t> out(iOutCap / 4 + 1);
    int32_t iLen = -1;
    const uint32_t rc = fn(src.data(), iSrcLen, out.data(), iOutCap, &iLen, pCtx);
    return {rc, std::wstring(out.data(), iLen > 0 ? iLen : 0)};
}

struct FromWideResult {
    uint32_t rc;
    Bytes bytes;  // the bytes reported used
};

// Runs a destination converter into iDstCap bytes.
FromWideResult FromWide(QRNPFromWideFn fn, const std::wstring& in, int32_t iDstCap = 200,
                        const ColumnDef* pCtx = nullptr) {
    Bytes dst(iDstCap + 1);
    int32_t iLen = -1;
    const uint32_t rc = fn(in.c_str(), static_cast<int32_t>(in.size()), dst.data(), iDstCap, &iLen, pCtx);
    return {rc, Bytes(dst.begin(), dst.begin() + (iLen > 0 ? iLen : 0))};
}

struct CharType {
    const char* pName;
    QRNPToWideFn toWide;
    QRNPFromWideFn fromWide;
    bool bWide;
    Bytes (*encode)(const std::wstring&);
};
const CharType CHAR_TYPES[] = {
    {"CHAR", QRNPCnvCharToWVarcharSz, QRNPCnvWVarcharSzToChar, false, Latin1},
    {"VARCHAR", QRNPCnvVarcharToWVarcharSz, QRNPCnvWVarcharSzToVarchar, false,
     [](const std::wstring& s) { return Prefixed(Latin1(s)); }},
    {"VARCHAR_SZ", QRNPCnvVarcharSzToWVarcharSz, QRNPCnvWVarcharSzToVarcharSz, false,
     [](const std::wstring& s) { return Terminated(Latin1(s), 1); }},
    {"WCHAR", QRNPCnvWCharToWVarcharSz, QRNPCnvWVarcharSzToWChar, true, Wide},
    {"WVARCHAR", QRNPCnvWVarcharToWVarcharSz, QRNPCnvWVarcharSzToWVarchar, true,
     [](const std::wstring& s) { return Prefixed(Wide(s)); }},
    {"WVARCHAR_SZ", QRNPCnvWVarcharSzToWVarcharSz, QRNPCnvWVarcharSzToWVarcharSzOut, true,
     [](const std::wstring& s) { return Terminated(Wide(s), 4); }},
};

// Each type's layout both ways; exactly the bytes needed is enough, one fewer is 64.
TEST(CharConverters, LayoutsAndCapacity) {
    for (const auto& t : CHAR_TYPES) {
        SCOPED_TRACE(t.pName);
        const std::wstring v = t.bWide ? L" 12\u0416\u20AC\U0001F600 " : L" 12\u00C9\u00FF\u00A0 ";
        const Bytes column = t.encode(v);
        const auto cap = static_cast<int32_t>(column.size());
        EXPECT_EQ(ToWide(t.toWide, column, cap).text, v);
        EXPECT_EQ(FromWide(t.fromWide, v).bytes, column);
        EXPECT_EQ(FromWide(t.fromWide, v, cap).rc, 0u);
        EXPECT_EQ(FromWide(t.fromWide, v, cap - 1).rc, QRNP_CNV_BUFFER_TOO_SMALL);
        const int32_t iNeeded = (static_cast<int32_t>(v.size()) + 1) * 4;
        EXPECT_EQ(ToWide(t.toWide, column, cap, nullptr, iNeeded).rc, 0u);
        EXPECT_EQ(ToWide(t.toWide, column, cap, nullptr, iNeeded - 1).rc, QRNP_CNV_BUFFER_TOO_SMALL);
    }
}

TEST(CharConverters, SourceLayouts) {
    struct Case {
        QRNPToWideFn fn;
        Bytes src;
        int32_t iSrcLen;
        uint32_t rc;
        std::wstring text;
    };
    const Case cases[] = {
        {QRNPCnvCharToWVarcharSz, {'a', 0, 'b', ' '}, 4, 0, std::wstring(L"a\0b ", 4)},
        {QRNPCnvWCharToWVarcharSz, Wide(std::wstring(L"a\0b", 3)), 12, 0, std::wstring(L"a\0b", 3)},
        {QRNPCnvVarcharToWVarcharSz, {2, 0, 'a', 'b', 'c'}, 5, 0, L"ab"},
        {QRNPCnvVarcharToWVarcharSz, {2, 0, 'a', 'b'}, 0, 0, L"ab"},  // unknown length: the prefix decides
        {QRNPCnvVarcharToWVarcharSz, {0xFF, 0xFF, 'a'}, 3, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvVarcharToWVarcharSz, {9, 0, 'a', 'b'}, 4, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvVarcharToWVarcharSz, {2}, 1, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvVarcharSzToWVarcharSz, {'a', 'b', 'c', 0}, 2, 0, L"ab"},
        {QRNPCnvVarcharSzToWVarcharSz, {'a', 'b', 0, 'c'}, 0, 0, L"ab"},
        {QRNPCnvWVarcharToWVarcharSz, Prefixed(Wide(L"xy")), 0, 0, L"xy"},
        {QRNPCnvWVarcharToWVarcharSz, {6, 0, 'a', 0, 0, 0, 'b', 0}, 8, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvWVarcharToWVarcharSz, Prefixed(Wide(L"xy")), 9, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvWVarcharSzToWVarcharSz, Wide(L"xyz"), 8, 0, L"xy"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto r = ToWide(c.fn, c.src, c.iSrcLen);
        EXPECT_EQ(r.rc, c.rc);
        EXPECT_EQ(r.text, c.text);
    }
}

TEST(NumericSources, DigitsAndCodes) {
    ColumnDef pkd9{DECIMAL_PKD, 0, 9, nullptr, nullptr};
    ColumnDef pkd10{DECIMAL_PKD, 0, 10, nullptr, nullptr};
    ColumnDef pkd32{DECIMAL_PKD, 0, 32, nullptr, nullptr};
    struct Case {
        QRNPToWideFn fn;
        Bytes src;
        const ColumnDef* pCtx;
        uint32_t rc;
        std::wstring text;
    };
    const Case cases[] = {
        {QRNPCnvULONGLONGToWVarcharSz, Raw<uint64_t>(46454286), nullptr, 0, L"46454286"},
        {QRNPCnvULONGLONGToWVarcharSz, Raw<uint64_t>(UINT64_MAX), nullptr, 0, L"18446744073709551615"},
        {QRNPCnvULONGLONGToWVarcharSz, Raw<uint64_t>(0), nullptr, QRNP_CNV_EMPTY, L""},
        {QRNPCnvUIntToWVarcharSz, Raw<uint32_t>(UINT32_MAX), nullptr, 0, L"4294967295"},
        {QRNPCnvUIntToWVarcharSz, Raw<uint32_t>(0), nullptr, QRNP_CNV_EMPTY, L""},
        {QRNPCnvIntToWVarcharSz, Raw<int32_t>(INT32_MIN), nullptr, 0, L"-2147483648"},
        {QRNPCnvIntToWVarcharSz, Raw<int32_t>(0), nullptr, QRNP_CNV_EMPTY, L""},
        {QRNPCnvIntToWVarcharSz1, Raw<int32_t>(0), nullptr, 0, L"0"},
        {QRNPCnvIntToWVarcharSz1, Raw<int32_t>(-45), nullptr, 0, L"-45"},
        {QRNPCnvSmallIntToWVarcharSz, Raw<int16_t>(-32768), nullptr, 0, L"-32768"},
        {QRNPCnvSmallIntToWVarcharSz, Raw<int16_t>(0), nullptr, 0, L"0"},
        {QRNPCnvSmallUIntToWVarcharSz, Raw<uint16_t>(65535), nullptr, 0, L"65535"},
        {QRNPCnvDecPKDToWVarcharSz, {0x04, 0x64, 0x54, 0x28, 0x6C}, &pkd9, 0, L"46454286"},
        {QRNPCnvDecPKDToWVarcharSz, {0x00, 0x04, 0x64, 0x54, 0x28, 0x6F}, &pkd10, 0, L"46454286"},
        {QRNPCnvDecPKDToWVarcharSz, {0x10, 0x04, 0x64, 0x54, 0x28, 0x6C}, &pkd10, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvDecPKDToWVarcharSz, {0x04, 0x64, 0x54, 0x28, 0x6D}, &pkd9, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvDecPKDToWVarcharSz, {0x04, 0x6A, 0x54, 0x28, 0x6C}, &pkd9, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvDecPKDToWVarcharSz, {0x00, 0x00, 0x00, 0x00, 0x0C}, &pkd9, QRNP_CNV_EMPTY, L""},
        {QRNPCnvDecPKDToWVarcharSz, Bytes(16, 0x99), &pkd32, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvDecPKDToWVarcharSz, [] { Bytes b(16, 0); b[14] = 0x12; b[15] = 0x3C; return b; }(), nullptr, 0,
         L"123"},
        {QRNPCnvOraVarnumToWVarcharSz_Unsigned, {1, 0x80}, nullptr, QRNP_CNV_EMPTY, L""},
        {QRNPCnvOraVarnumToWVarcharSz_Unsigned, {3, 0x3E, 100, 102}, nullptr, QRNP_CNV_UNDEFINED, L""},  // -1
        {QRNPCnvOraVarnumToWVarcharSz_Unsigned, {2, 0xC0, 51}, nullptr, QRNP_CNV_UNDEFINED, L""},        // 0.5
        {QRNPCnvOraVarnumToWVarcharSz_Unsigned, {3, 0xC1, 2, 51}, nullptr, QRNP_CNV_UNDEFINED, L""},     // 1.5
        {QRNPCnvOraVarnumToWVarcharSz_Unsigned, {2, 0xC1, 101}, nullptr, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvOraVarnumToWVarcharSz_Unsigned, {22, 0xC1, 2}, nullptr, QRNP_CNV_UNDEFINED, L""},
        {QRNPCnvOraVarnumToWVarcharSz_Unsigned, {1, 0xC1}, nullptr, QRNP_CNV_UNDEFINED, L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto r = ToWide(c.fn, c.src, static_cast<int32_t>(c.src.size()), c.pCtx);
        EXPECT_EQ(r.rc, c.rc);
        EXPECT_EQ(r.text, c.text);
    }
    // A source length shorter than the value, or an output too small, is refused.
    EXPECT_EQ(ToWide(QRNPCnvUIntToWVarcharSz, Raw<uint32_t>(7), 3).rc, QRNP_CNV_UNDEFINED);
    EXPECT_EQ(ToWide(QRNPCnvDecPKDToWVarcharSz, {0x04, 0x64, 0x54, 0x28, 0x6C}, 4, &pkd9).rc, QRNP_CNV_UNDEFINED);
    EXPECT_EQ(ToWide(QRNPCnvOraVarnumToWVarcharSz_Unsigned, {2, 0xC1, 2}, 2).rc, QRNP_CNV_UNDEFINED);
    EXPECT_EQ(ToWide(QRNPCnvULONGLONGToWVarcharSz, Raw<uint64_t>(46454286), 8, nullptr, 35).rc,
              QRNP_CNV_BUFFER_TOO_SMALL);
    EXPECT_EQ(ToWide(QRNPCnvULONGLONGToWVarcharSz, Raw<uint64_t>(46454286), 8, nullptr, 36).rc, 0u);
}

TEST(NumericDestinations, ValuesAndCodes) {
    ColumnDef pkd9{DECIMAL_PKD, 0, 9, nullptr, nullptr};
    ColumnDef pkd4{DECIMAL_PKD, 0, 4, nullptr, nullptr};
    struct Case {
        QRNPFromWideFn fn;
        std::wstring in;
        const ColumnDef* pCtx;
        int32_t iCap;
        uint32_t rc;
        Bytes bytes;
    };
    const Case cases[] = {
        {QRNPCnvWVarcharSzToULONGLONG, L"046454286", nullptr, 8, 0, Raw<uint64_t>(46454286)},
        {QRNPCnvWVarcharSzToULONGLONG, L"18446744073709551615", nullptr, 8, 0, Raw<uint64_t>(UINT64_MAX)},
        {QRNPCnvWVarcharSzToULONGLONG, L"18446744073709551616", nullptr, 8, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSzToULONGLONG, L"", nullptr, 8, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSzToULONGLONG, L"12a", nullptr, 8, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSzToULONGLONG, L"-1", nullptr, 8, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSzToULONGLONG, L"1", nullptr, 7, QRNP_CNV_BUFFER_TOO_SMALL, {}},
        {QRNPCnvWVarcharSzToUInt, L"46454286", nullptr, 4, 0, Raw<uint32_t>(46454286)},
        {QRNPCnvWVarcharSzToUInt, L"4294967296", nullptr, 4, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSzToUInt, L" 1", nullptr, 4, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSzToUInt, L"1", nullptr, 3, QRNP_CNV_BUFFER_TOO_SMALL, {}},
        {QRNPCnvWVarcharSzToDecPKD, L"046454286", &pkd9, 5, 0, {0x04, 0x64, 0x54, 0x28, 0x6C}},
        {QRNPCnvWVarcharSzToDecPKD, L"0001234", &pkd4, 3, 0, {0x01, 0x23, 0x4C}},
        {QRNPCnvWVarcharSzToDecPKD, L"12345", &pkd4, 3, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSzToDecPKD, L"1-2", &pkd4, 3, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSzToDecPKD, L"1234", &pkd4, 2, QRNP_CNV_BUFFER_TOO_SMALL, {}},
        {QRNPCnvWVarcharSz_UnsignedToOraVarnum, L"123456789", nullptr, 6, QRNP_CNV_BUFFER_TOO_SMALL, {}},
        {QRNPCnvWVarcharSz_UnsignedToOraVarnum, std::wstring(41, L'7'), nullptr, 22, QRNP_CNV_NOT_A_NUMBER, {}},
        {QRNPCnvWVarcharSz_UnsignedToOraVarnum, L"1e5", nullptr, 22, QRNP_CNV_NOT_A_NUMBER, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto r = FromWide(c.fn, c.in, c.iCap, c.pCtx);
        EXPECT_EQ(r.rc, c.rc);
        EXPECT_EQ(r.bytes, c.bytes);
    }
}

TEST(NumericDestinations, VarnumBothWays) {
    const std::pair<std::wstring, Bytes> cases[] = {
        {L"0", {1, 0x80}},
        {L"1", {2, 0xC1, 2}},
        {L"99", {2, 0xC1, 100}},
        {L"100", {2, 0xC2, 2}},
        {L"1000000", {2, 0xC4, 2}},
        {L"46454286", {5, 0xC4, 47, 46, 43, 87}},
        {L"123456789", {6, 0xC5, 2, 24, 46, 68, 90}},
        {L"18446744073709551615", {11, 0xCA, 19, 45, 68, 45, 8, 38, 10, 56, 17, 16}},
    };
    for (const auto& [digits, varnum] : cases) {
        SCOPED_TRACE(std::string(digits.begin(), digits.end()));
        EXPECT_EQ(FromWide(QRNPCnvWVarcharSz_UnsignedToOraVarnum, digits, 22).bytes, varnum);
        const auto back = ToWide(QRNPCnvOraVarnumToWVarcharSz_Unsigned, varnum, 22);
        EXPECT_EQ(back.rc, digits == L"0" ? QRNP_CNV_EMPTY : 0u);
        EXPECT_EQ(back.text, digits == L"0" ? L"" : digits);
    }
}

// Edge cases the fuzz target's model of these helpers is not sure to meet.
TEST(TextHelpers, WVarcharSzToInt) {
    struct Case {
        const wchar_t* pStr;
        int32_t iStart, iDigits;
        uint32_t rc;
        int32_t iValue;
    };
    const Case cases[] = {
        {L"123456789", 0, 9, 0, 123456789}, {L"AB12CD", 2, 2, 0, 12}, {L"007", 0, 3, 0, 7},
        {L"12", 0, 3, QRNP_CNV_NOT_A_NUMBER, -1}, {L"12", 5, 1, QRNP_CNV_NOT_A_NUMBER, -1},
        {L"1a3", 0, 3, QRNP_CNV_NOT_A_NUMBER, -1}, {L"1234567890", 0, 10, QRNP_CNV_NOT_A_NUMBER, -1},
        {L"1", 0, 0, QRNP_CNV_NOT_A_NUMBER, -1}, {nullptr, 0, 1, QRNP_CNV_NOT_A_NUMBER, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        int32_t v = -1;
        EXPECT_EQ(QRNPCnvWVarcharSzToInt(c.pStr, &v, c.iStart, c.iDigits), c.rc);
        EXPECT_EQ(v, c.iValue);
    }
}

TEST(TextHelpers, TrimSpacesW) {
    struct Case {
        std::wstring in;
        bool bLeading, bTrailing;
        std::wstring out;
    };
    const Case cases[] = {
        {L"  ab c  ", true, true, L"ab c"}, {L"  ab c  ", true, false, L"ab c  "},
        {L"  ab c  ", false, true, L"  ab c"}, {L"    ", true, true, L""},
        {L"\tab \u00A0\t ", true, true, L"\tab \u00A0\t"}, {L"", true, true, L""},
    };
    for (const auto& c : cases) {
        wchar_t buf[16] = {};
        c.in.copy(buf, c.in.size());
        int32_t iLen = static_cast<int32_t>(c.in.size());
        EXPECT_EQ(TrimSpacesW(buf, &iLen, c.bLeading, c.bTrailing), 0u);
        EXPECT_EQ(std::wstring(buf), c.out);
        EXPECT_EQ(iLen, static_cast<int32_t>(c.out.size()));
    }
}

TEST(TextHelpers, DateAndTimeText) {
    const QRNPDate date{2024, 2, 29};
    const QRNPTime time{7, 5, 9};
    const QRNPTimestamp ts{1999, 12, 31, 23, 59, 58, 1234};
    ColumnDef dateCol{ODBC_DATE, 0, 0, nullptr, nullptr};
    ColumnDef timeCol{ODBC_TIME, 0, 0, nullptr, nullptr};
    ColumnDef charCol{CHAR, 0, 0, nullptr, nullptr};
    EXPECT_EQ(ToWide(QRNPGetStringFromTS, Raw(date), 0, &dateCol).text, L"2024-02-29");
    EXPECT_EQ(ToWide(QRNPGetStringFromTS, Raw(time), 0, &timeCol).text, L"07:05:09");
    EXPECT_EQ(ToWide(QRNPGetStringFromTS, Raw(ts), 0, nullptr).text, L"1999-12-31 23:59:58.001234");
    EXPECT_EQ(ToWide(QRNPGetStringFromTS, Raw(ts), 0, nullptr, 26 * 4).rc, QRNP_CNV_BUFFER_TOO_SMALL);
    EXPECT_EQ(ToWide(QRNPGetStringFromTS, Raw(ts), 0, &charCol).rc, QRNP_CNV_UNDEFINED);
}

}  // namespace
