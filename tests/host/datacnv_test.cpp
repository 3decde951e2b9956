// The conversion library: round trips of every column type, result codes of
// refused values, and no write past the capacity given (guard bytes).
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <qrnp/qrnp_datacnv.h>

namespace {

using Bytes = std::vector<unsigned char>;
constexpr unsigned char GUARD = 0xAB;

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

// Runs a source converter into iOutCap bytes followed by guard characters, which must survive.
ToWideResult ToWide(QRNPToWideFn fn, const Bytes& src, int32_t iSrcLen, const ColumnDef* pCtx = nullptr,
                    int32_t iOutCap = 400) {
    std::vector<wchar_t> out(iOutCap / 4 + 4, static_cast<wchar_t>(0x7E7E7E7E));
    int32_t iLen = -1;
    const unsigned char none = 0;  // an empty value still has an address
    const uint32_t rc = fn(src.empty() ? &none : src.data(), iSrcLen, out.data(), iOutCap, &iLen, pCtx);
    for (size_t i = iOutCap / 4; i < out.size(); ++i) EXPECT_EQ(out[i], 0x7E7E7E7E) << "written past capacity";
    return {rc, std::wstring(out.data(), iLen > 0 ? iLen : 0)};
}

struct FromWideResult {
    uint32_t rc;
    Bytes bytes;  // the bytes reported used
    Bytes all;    // the whole destination, capacity and guard
};

// Runs a destination converter into iDstCap bytes followed by guard bytes, which must survive.
FromWideResult FromWide(QRNPFromWideFn fn, const std::wstring& in, int32_t iDstCap = 200,
                        const ColumnDef* pCtx = nullptr) {
    Bytes dst(iDstCap + 8, GUARD);
    int32_t iLen = -1;
    const uint32_t rc = fn(in.c_str(), static_cast<int32_t>(in.size()), dst.data(), iDstCap, &iLen, pCtx);
    for (size_t i = iDstCap; i < dst.size(); ++i) EXPECT_EQ(dst[i], GUARD) << "written past capacity";
    return {rc, Bytes(dst.begin(), dst.begin() + (iLen > 0 ? iLen : 0)), dst};
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

TEST(CharConverters, RoundTripBothWays) {
    const std::wstring values[] = {L"046454286", L"  123-456 782  ", L"\u00C9l\u00E8ve \u00FF\u00A0", L"Ж€\U0001F600"};
    for (const auto& t : CHAR_TYPES) {
        for (const auto& v : values) {
            const bool bLatin1 = v.find_first_of(L"Ж€") == std::wstring::npos;
            if (!t.bWide && !bLatin1) continue;
            SCOPED_TRACE(std::string(t.pName) + " " + std::to_string(v.size()));
            const Bytes column = t.encode(v);
            const auto w = ToWide(t.toWide, column, static_cast<int32_t>(column.size()));
            EXPECT_EQ(w.rc, 0u);
            EXPECT_EQ(w.text, v);
            const auto c = FromWide(t.fromWide, v);
            EXPECT_EQ(c.rc, 0u);
            EXPECT_EQ(c.bytes, column);
            // Exactly the bytes needed is enough; one fewer is 64 with nothing written.
            const auto cap = static_cast<int32_t>(column.size());
            EXPECT_EQ(FromWide(t.fromWide, v, cap).rc, 0u);
            const auto small = FromWide(t.fromWide, v, cap - 1);
            EXPECT_EQ(small.rc, QRNP_CNV_BUFFER_TOO_SMALL);
            EXPECT_EQ(small.all, Bytes(cap - 1 + 8, GUARD));
            const int32_t iNeeded = (static_cast<int32_t>(v.size()) + 1) * 4;
            EXPECT_EQ(ToWide(t.toWide, column, cap, nullptr, iNeeded).rc, 0u);
            EXPECT_EQ(ToWide(t.toWide, column, cap, nullptr, iNeeded - 1).rc, QRNP_CNV_BUFFER_TOO_SMALL);
        }
        SCOPED_TRACE(t.pName);
        wchar_t out[4] = {L'x'};
        int32_t iLen = -1;
        EXPECT_EQ(t.toWide(nullptr, 8, out, sizeof out, &iLen, nullptr), QRNP_CNV_NULL_SOURCE);
        EXPECT_EQ(out[0], 0);
        EXPECT_EQ(iLen, 0);
        const Bytes empty = t.encode(L"");
        EXPECT_EQ(ToWide(t.toWide, empty, static_cast<int32_t>(empty.size())).rc, QRNP_CNV_EMPTY);
        EXPECT_EQ(FromWide(t.fromWide, L"ab", 200).rc, 0u);
        EXPECT_EQ(t.fromWide(L"ab", 2, nullptr, 200, &iLen, nullptr), QRNP_CNV_UNDEFINED);
        if (!t.bWide) {
            const auto r = FromWide(t.fromWide, L"ab\u0100");
            EXPECT_EQ(r.rc, QRNP_CNV_UNDEFINED);
            EXPECT_EQ(r.all, Bytes(208, GUARD)) << "a refused value writes nothing";
        }
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
        if (c.rc != 0) {
            EXPECT_EQ(r.all, Bytes(c.iCap + 8, GUARD)) << "a refused value writes nothing";
        }
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
        EXPECT_EQ(FromWide(QRNPCnvWVarcharSz_UnsignedToOraVarnum, L"000" + digits, 22).bytes, varnum);
        const auto back = ToWide(QRNPCnvOraVarnumToWVarcharSz_Unsigned, varnum, 22);
        EXPECT_EQ(back.rc, digits == L"0" ? QRNP_CNV_EMPTY : 0u);
        EXPECT_EQ(back.text, digits == L"0" ? L"" : digits);
    }
}

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
        {L"\tab \u00A0", true, true, L"\tab \u00A0"}, {L"", true, true, L""},
    };
    for (const auto& c : cases) {
        wchar_t buf[16] = {};
        c.in.copy(buf, c.in.size());
        int32_t iLen = static_cast<int32_t>(c.in.size());
        EXPECT_EQ(TrimSpacesW(buf, &iLen, c.bLeading, c.bTrailing), 0u);
        EXPECT_EQ(std::wstring(buf), c.out);
        EXPECT_EQ(iLen, static_cast<int32_t>(c.out.size()));
    }
    Bytes buf(10, GUARD);
    InitializeCharBufferWithSpaces(buf.data(), 7, nullptr);
    EXPECT_EQ(buf, (Bytes{' ', ' ', ' ', ' ', ' ', ' ', ' ', GUARD, GUARD, GUARD}));
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
