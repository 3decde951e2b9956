// Fuzz target: every converter of the stand-in conversion library, both ways.
//
// Each input picks a converter, how it is called and the bytes it gets:
//    0    converter (modulo the table below)
//    1    bit 0 the source length is left to the data (0, or -1 with bit 1),
//         bit 2 null source, bit 3 no length out-parameter, bit 4 null output
//    2-3  output capacity in bytes (signed; negative and odd values included)
//    4    packed-decimal precision (signed)
//    5    bit 0-1 date, time or timestamp record, bit 2 no column definition
//    6-7  for the digit reader: start and digit count (signed)
//    rest the source bytes (for wide input: 32-bit characters)
// Every buffer is allocated at its exact size, followed by guard bytes that
// AddressSanitizer is told to refuse, so reading or writing one byte past any
// of them stops the run. Checked after each call: the result is one the
// library documents for that direction; a success leaves a terminated string
// (or as many bytes as it says) within the capacity; a failure leaves the
// destination as it was; and a success converts back to what went in.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <sanitizer/asan_interface.h>

#include <qrnp/qrnp.h>

#include "byte_reader.h"
#include "fuzz_check.h"

namespace {

constexpr size_t kGuard = 16;
constexpr unsigned char kGuardByte = 0xA5;
constexpr unsigned char kUntouched = 0x5A;

// A heap buffer of exactly `size` usable bytes followed by poisoned guard bytes.
class GuardedBuffer {
public:
    explicit GuardedBuffer(size_t size, unsigned char fill = kUntouched) : size_(size) {
        p_ = static_cast<unsigned char*>(std::malloc(size + kGuard));
        std::memset(p_, fill, size);
        std::memset(p_ + size, kGuardByte, kGuard);
        ASAN_POISON_MEMORY_REGION(p_ + size, kGuard);
    }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;
    ~GuardedBuffer() {
        ASAN_UNPOISON_MEMORY_REGION(p_ + size_, kGuard);
        std::free(p_);
    }
    unsigned char* data() { return p_; }
    size_t size() const { return size_; }
    bool GuardIntact() {
        ASAN_UNPOISON_MEMORY_REGION(p_ + size_, kGuard);
        bool bIntact = true;
        for (size_t i = 0; i < kGuard; ++i) bIntact &= p_[size_ + i] == kGuardByte;
        ASAN_POISON_MEMORY_REGION(p_ + size_, kGuard);
        return bIntact;
    }
    bool AllUntouched() const {
        for (size_t i = 0; i < size_; ++i)
            if (p_[i] != kUntouched) return false;
        return true;
    }

private:
    unsigned char* p_;
    size_t size_;
};

enum class Kind { Text, Integer, Packed, Varnum, DateTime };

struct SourceConverter {
    const char* pName;
    QRNPToWideFn pfn;
    QRNPFromWideFn pfnBack;    // the destination converter of the same type, or null
    Kind kind;
    int iUnit;                 // text: bytes per character; numbers: bytes read when the length is unknown
    bool bPrefix, bTerminator;
};

const SourceConverter kSources[] = {
    {"CharToWVarcharSz", QRNPCnvCharToWVarcharSz, QRNPCnvWVarcharSzToChar, Kind::Text, 1, false, false},
    {"VarcharToWVarcharSz", QRNPCnvVarcharToWVarcharSz, QRNPCnvWVarcharSzToVarchar, Kind::Text, 1, true, false},
    {"VarcharSzToWVarcharSz", QRNPCnvVarcharSzToWVarcharSz, QRNPCnvWVarcharSzToVarcharSz, Kind::Text, 1, false, true},
    {"WCharToWVarcharSz", QRNPCnvWCharToWVarcharSz, QRNPCnvWVarcharSzToWChar, Kind::Text, 4, false, false},
    {"WVarcharToWVarcharSz", QRNPCnvWVarcharToWVarcharSz, QRNPCnvWVarcharSzToWVarchar, Kind::Text, 4, true, false},
    {"WVarcharSzToWVarcharSz", QRNPCnvWVarcharSzToWVarcharSz, QRNPCnvWVarcharSzToWVarcharSzOut, Kind::Text, 4, false,
     true},
    {"ULONGLONGToWVarcharSz", QRNPCnvULONGLONGToWVarcharSz, QRNPCnvWVarcharSzToULONGLONG, Kind::Integer, 8, false,
     false},
    {"UIntToWVarcharSz", QRNPCnvUIntToWVarcharSz, QRNPCnvWVarcharSzToUInt, Kind::Integer, 4, false, false},
    {"IntToWVarcharSz", QRNPCnvIntToWVarcharSz, nullptr, Kind::Integer, 4, false, false},
    {"IntToWVarcharSz1", QRNPCnvIntToWVarcharSz1, nullptr, Kind::Integer, 4, false, false},
    {"SmallIntToWVarcharSz", QRNPCnvSmallIntToWVarcharSz, nullptr, Kind::Integer, 2, false, false},
    {"SmallUIntToWVarcharSz", QRNPCnvSmallUIntToWVarcharSz, nullptr, Kind::Integer, 2, false, false},
    {"DecPKDToWVarcharSz", QRNPCnvDecPKDToWVarcharSz, QRNPCnvWVarcharSzToDecPKD, Kind::Packed, 16, false, false},
    {"OraVarnumToWVarcharSz_Unsigned", QRNPCnvOraVarnumToWVarcharSz_Unsigned, QRNPCnvWVarcharSz_UnsignedToOraVarnum,
     Kind::Varnum, 22, false, false},
    {"GetStringFromTS", QRNPGetStringFromTS, nullptr, Kind::DateTime, 16, false, false},
};

struct DestinationConverter {
    const char* pName;
    QRNPFromWideFn pfn;
    QRNPToWideFn pfnBack;
    bool bNumeric;
    bool bSingleByte, bTerminator;
};

const DestinationConverter kDestinations[] = {
    {"WVarcharSzToChar", QRNPCnvWVarcharSzToChar, QRNPCnvCharToWVarcharSz, false, true, false},
    {"WVarcharSzToVarchar", QRNPCnvWVarcharSzToVarchar, QRNPCnvVarcharToWVarcharSz, false, true, false},
    {"WVarcharSzToVarcharSz", QRNPCnvWVarcharSzToVarcharSz, QRNPCnvVarcharSzToWVarcharSz, false, true, true},
    {"WVarcharSzToWChar", QRNPCnvWVarcharSzToWChar, QRNPCnvWCharToWVarcharSz, false, false, false},
    {"WVarcharSzToWVarchar", QRNPCnvWVarcharSzToWVarchar, QRNPCnvWVarcharToWVarcharSz, false, false, false},
    {"WVarcharSzToWVarcharSzOut", QRNPCnvWVarcharSzToWVarcharSzOut, QRNPCnvWVarcharSzToWVarcharSz, false, false, true},
    {"WVarcharSzToULONGLONG", QRNPCnvWVarcharSzToULONGLONG, QRNPCnvULONGLONGToWVarcharSz, true, false, false},
    {"WVarcharSzToUInt", QRNPCnvWVarcharSzToUInt, QRNPCnvUIntToWVarcharSz, true, false, false},
    {"WVarcharSzToDecPKD", QRNPCnvWVarcharSzToDecPKD, QRNPCnvDecPKDToWVarcharSz, true, false, false},
    {"WVarcharSz_UnsignedToOraVarnum", QRNPCnvWVarcharSz_UnsignedToOraVarnum, QRNPCnvOraVarnumToWVarcharSz_Unsigned,
     true, false, false},
};

constexpr size_t kSourceCount = std::size(kSources);
constexpr size_t kDestinationCount = std::size(kDestinations);
constexpr size_t kHelperCount = 3;  // digit reader, blank trimming, blank filling

bool IsSourceCode(uint32_t rc) {
    return rc == 0 || rc == QRNP_CNV_NULL_SOURCE || rc == QRNP_CNV_BUFFER_TOO_SMALL || rc == QRNP_CNV_EMPTY ||
           rc == QRNP_CNV_UNDEFINED;
}
bool IsDestinationCode(uint32_t rc) {
    return rc == 0 || rc == QRNP_CNV_BUFFER_TOO_SMALL || rc == QRNP_CNV_NOT_A_NUMBER || rc == QRNP_CNV_UNDEFINED;
}

std::wstring WideAt(const unsigned char* p, size_t nChars) {
    std::wstring s(nChars, L'\0');
    if (nChars > 0) std::memcpy(s.data(), p, nChars * 4);
    return s;
}

std::wstring StripLeadingZeros(const std::wstring& digits) {
    const size_t i = digits.find_first_not_of(L'0');
    return i == std::wstring::npos ? L"" : digits.substr(i);
}

// How a call is made: the common header of every input.
struct Call {
    bool bLengthUnknown, bNegativeLength, bNullSource, bNoLength, bNullOutput;
    int32_t iCap;
    ColumnDef column{};
    bool bNoColumn;
    int32_t iStart, iDigits;
};

// Converts text back with a source converter into a wide string (for round trips).
bool ToWide(QRNPToWideFn pfn, const unsigned char* p, int32_t n, const ColumnDef* pColumn, std::wstring* pOut,
            uint32_t* pRc) {
    // Room for the longest number text too (a varnum holds up to 126 digits).
    GuardedBuffer out((static_cast<size_t>(std::max(n, 0)) + 160) * 4);
    int32_t iLen = -1;
    *pRc = pfn(p, n, reinterpret_cast<wchar_t*>(out.data()), static_cast<int32_t>(out.size()), &iLen, pColumn);
    FUZZ_CHECK(out.GuardIntact(), "round trip wrote past its output");
    if (*pRc != 0) return false;
    *pOut = WideAt(out.data(), static_cast<size_t>(iLen));
    return true;
}

void RunSource(const SourceConverter& cnv, const Call& call, std::vector<uint8_t> bytes) {
    const ColumnDef* pColumn = call.bNoColumn ? nullptr : &call.column;
    // With the length left to the data (a length of 0 says so too), the data
    // must be whole: a prefix that fits, a terminator, the full size of a number record.
    const bool bLengthUnknown = call.bLengthUnknown || bytes.empty();
    if (bLengthUnknown) {
        if (cnv.kind == Kind::Text && cnv.bPrefix) {
            while (bytes.size() < 2) bytes.push_back(0);
            int16_t n;
            std::memcpy(&n, bytes.data(), 2);
            if (n > static_cast<int32_t>(bytes.size()) - 2) n = static_cast<int16_t>(bytes.size() - 2);
            std::memcpy(bytes.data(), &n, 2);
        } else if (cnv.kind == Kind::Text && cnv.bTerminator) {
            const size_t iUnit = static_cast<size_t>(cnv.iUnit);
            bytes.resize((bytes.size() + iUnit - 1) / iUnit * iUnit + iUnit, 0);  // whole characters, terminated
        } else if (cnv.kind != Kind::Text && bytes.size() < static_cast<size_t>(cnv.iUnit)) {
            bytes.resize(static_cast<size_t>(cnv.iUnit), 0);
        }
    }
    GuardedBuffer src(bytes.size());
    if (!bytes.empty()) std::memcpy(src.data(), bytes.data(), bytes.size());
    const int32_t iSrcLen = bLengthUnknown ? (call.bNegativeLength ? -1 : 0) : static_cast<int32_t>(bytes.size());
    GuardedBuffer out(static_cast<size_t>(std::max(call.iCap, 0)));
    int32_t iLen = -7;
    const uint32_t rc = cnv.pfn(call.bNullSource ? nullptr : src.data(), iSrcLen,
                                call.bNullOutput ? nullptr : reinterpret_cast<wchar_t*>(out.data()), call.iCap,
                                call.bNoLength ? nullptr : &iLen, pColumn);
    FUZZ_CHECK(src.GuardIntact() && out.GuardIntact(), "%s wrote past a buffer", cnv.pName);
    FUZZ_CHECK(IsSourceCode(rc), "%s returned %u", cnv.pName, rc);
    FUZZ_CHECK((rc == QRNP_CNV_NULL_SOURCE) == call.bNullSource, "%s: result %u for a %s source", cnv.pName, rc,
               call.bNullSource ? "null" : "present");
    if (call.bNoLength || call.bNullOutput) return;
    if (rc != 0) {
        FUZZ_CHECK(iLen == 0, "%s failed with %u and length %d", cnv.pName, rc, iLen);
        if (call.iCap >= 4 && (rc == QRNP_CNV_NULL_SOURCE || rc == QRNP_CNV_EMPTY))
            FUZZ_CHECK(reinterpret_cast<const wchar_t*>(out.data())[0] == 0, "%s: empty result not terminated", cnv.pName);
        return;
    }
    FUZZ_CHECK(iLen > 0 && (static_cast<int64_t>(iLen) + 1) * 4 <= call.iCap, "%s: length %d in %d bytes", cnv.pName,
               iLen, call.iCap);
    const auto* pWide = reinterpret_cast<const wchar_t*>(out.data());
    FUZZ_CHECK(pWide[iLen] == 0, "%s: result not terminated", cnv.pName);
    const std::wstring text = WideAt(out.data(), static_cast<size_t>(iLen));
    if (cnv.kind != Kind::Text && cnv.kind != Kind::DateTime) {
        for (size_t i = 0; i < text.size(); ++i)
            FUZZ_CHECK((text[i] >= L'0' && text[i] <= L'9') || (i == 0 && text[i] == L'-' && text.size() > 1),
                       "%s: character %zu of a number is %u", cnv.pName, i, static_cast<unsigned>(text[i]));
    }
    if (cnv.pfnBack == nullptr) return;

    // Back to the column type, and again to text: the same text.
    GuardedBuffer back(static_cast<size_t>(iLen) * 4 + 64);
    int32_t iBackLen = -7;
    const uint32_t rcBack = cnv.pfnBack(pWide, iLen, back.data(), static_cast<int32_t>(back.size()), &iBackLen, pColumn);
    FUZZ_CHECK(back.GuardIntact(), "%s's reverse wrote past its buffer", cnv.pName);
    if (cnv.kind == Kind::Text && cnv.bTerminator) {
        // A NUL inside a wide value cannot go into a terminated column.
        if (text.find(L'\0') != std::wstring::npos) return;
    }
    FUZZ_CHECK(rcBack == 0, "%s: its text \"%ls\" does not convert back (%u)", cnv.pName, text.c_str(), rcBack);
    FUZZ_CHECK(iBackLen > 0 && iBackLen <= static_cast<int32_t>(back.size()), "%s: reverse length %d", cnv.pName,
               iBackLen);
    std::wstring again;
    uint32_t rcAgain = 0;
    FUZZ_CHECK(ToWide(cnv.pfn, back.data(), iBackLen, pColumn, &again, &rcAgain) && again == text,
               "%s: \"%ls\" converts back and forth to something else (%u)", cnv.pName, text.c_str(), rcAgain);
}

void RunDestination(const DestinationConverter& cnv, const Call& call, const std::vector<uint8_t>& bytes) {
    const ColumnDef* pColumn = call.bNoColumn ? nullptr : &call.column;
    // Wide input: whole 32-bit characters, terminated.
    const size_t nChars = bytes.size() / 4;
    GuardedBuffer in((nChars + 1) * 4);
    if (nChars > 0) std::memcpy(in.data(), bytes.data(), nChars * 4);
    std::memset(in.data() + nChars * 4, 0, 4);
    const auto* pIn = reinterpret_cast<const wchar_t*>(in.data());
    const std::wstring input = WideAt(in.data(), nChars);
    // A negative length means "up to the terminator".
    const int32_t iInLen = call.bLengthUnknown ? -1 : static_cast<int32_t>(nChars);
    const std::wstring effective = call.bLengthUnknown ? std::wstring(input.c_str()) : input;

    GuardedBuffer out(static_cast<size_t>(std::max(call.iCap, 0)));
    int32_t iLen = -7;
    const uint32_t rc = cnv.pfn(call.bNullSource ? nullptr : pIn, iInLen, call.bNullOutput ? nullptr : out.data(),
                                call.iCap, call.bNoLength ? nullptr : &iLen, pColumn);
    FUZZ_CHECK(in.GuardIntact() && out.GuardIntact(), "%s wrote past a buffer", cnv.pName);
    FUZZ_CHECK(IsDestinationCode(rc), "%s returned %u", cnv.pName, rc);
    if (call.bNullSource || call.bNullOutput) {
        FUZZ_CHECK(rc == QRNP_CNV_UNDEFINED, "%s with a null buffer returned %u", cnv.pName, rc);
        return;
    }
    if (rc != 0) {
        FUZZ_CHECK(out.AllUntouched(), "%s failed with %u but wrote to its destination", cnv.pName, rc);
        if (!call.bNoLength) FUZZ_CHECK(iLen == 0, "%s failed with %u and length %d", cnv.pName, rc, iLen);
        if (!cnv.bNumeric && rc == QRNP_CNV_UNDEFINED) {
            // Text is refused only for a character the column cannot hold or a length its prefix cannot.
            bool bUnwritable = false;
            for (wchar_t c : effective)
                bUnwritable |= (cnv.bSingleByte && static_cast<uint32_t>(c) > 0xFF) || (cnv.bTerminator && c == 0);
            const int64_t iBytes = static_cast<int64_t>(effective.size()) * (cnv.bSingleByte ? 1 : 4);
            FUZZ_CHECK(bUnwritable || iBytes > INT16_MAX, "%s refused \"%ls\"", cnv.pName, effective.c_str());
        }
        return;
    }
    if (call.bNoLength) return;
    FUZZ_CHECK(iLen >= 0 && iLen <= call.iCap, "%s: length %d in %d bytes", cnv.pName, iLen, call.iCap);

    std::wstring again;
    uint32_t rcAgain = 0;
    const bool bBack = ToWide(cnv.pfnBack, out.data(), iLen, pColumn, &again, &rcAgain);
    if (cnv.bNumeric) {
        const std::wstring expected = StripLeadingZeros(effective);
        if (expected.empty()) {
            FUZZ_CHECK(!bBack && rcAgain == QRNP_CNV_EMPTY, "%s: zero reads back as %u", cnv.pName, rcAgain);
        } else {
            FUZZ_CHECK(bBack && again == expected, "%s: \"%ls\" reads back as \"%ls\" (%u)", cnv.pName,
                       effective.c_str(), again.c_str(), rcAgain);
        }
        return;
    }
    if (effective.empty()) {
        FUZZ_CHECK(!bBack && rcAgain == QRNP_CNV_EMPTY, "%s: the empty string reads back as %u", cnv.pName, rcAgain);
        return;
    }
    FUZZ_CHECK(bBack && again == effective, "%s: \"%ls\" reads back as \"%ls\" (%u)", cnv.pName, effective.c_str(),
               again.c_str(), rcAgain);
}

void RunHelper(size_t iHelper, const Call& call, const std::vector<uint8_t>& bytes) {
    const size_t nChars = bytes.size() / 4;
    GuardedBuffer buf((nChars + 1) * 4);
    if (nChars > 0) std::memcpy(buf.data(), bytes.data(), nChars * 4);
    std::memset(buf.data() + nChars * 4, 0, 4);
    auto* pStr = reinterpret_cast<wchar_t*>(buf.data());
    const std::wstring input = WideAt(buf.data(), nChars);
    if (iHelper == 0) {
        int32_t iValue = -7;
        const uint32_t rc = QRNPCnvWVarcharSzToInt(pStr, &iValue, call.iStart, call.iDigits);
        FUZZ_CHECK(buf.GuardIntact(), "the digit reader wrote past its string");
        FUZZ_CHECK(rc == 0 || rc == QRNP_CNV_NOT_A_NUMBER, "the digit reader returned %u", rc);
        const std::wstring terminated(input.c_str());
        const bool bFits = call.iStart >= 0 && call.iDigits >= 1 && call.iDigits <= 9 &&
                           static_cast<size_t>(call.iStart) + static_cast<size_t>(call.iDigits) <= terminated.size();
        bool bDigits = bFits;
        int32_t iExpected = 0;
        for (int32_t i = 0; bDigits && i < call.iDigits; ++i) {
            const wchar_t c = terminated[static_cast<size_t>(call.iStart + i)];
            bDigits = c >= L'0' && c <= L'9';
            if (bDigits) iExpected = iExpected * 10 + (c - L'0');
        }
        FUZZ_CHECK((rc == 0) == bDigits && (rc != 0 || iValue == iExpected),
                   "digits %d..+%d of \"%ls\": result %u, value %d", call.iStart, call.iDigits, input.c_str(), rc, iValue);
    } else if (iHelper == 1) {
        int32_t iLen = call.bLengthUnknown ? -1 : static_cast<int32_t>(nChars);
        const std::wstring effective = call.bLengthUnknown ? std::wstring(input.c_str()) : input;
        const bool bLeading = (call.iStart & 1) != 0, bTrailing = (call.iStart & 2) != 0;
        TrimSpacesW(pStr, &iLen, bLeading, bTrailing);
        FUZZ_CHECK(buf.GuardIntact(), "trimming wrote past its string");
        size_t b = 0, e = effective.size();
        if (bTrailing)
            while (e > 0 && effective[e - 1] == L' ') --e;
        if (bLeading)
            while (b < e && effective[b] == L' ') ++b;
        FUZZ_CHECK(iLen == static_cast<int32_t>(e - b) && WideAt(buf.data(), static_cast<size_t>(iLen)) ==
                                                               effective.substr(b, e - b) &&
                       pStr[iLen] == 0,
                   "trimming \"%ls\" gave %d characters", effective.c_str(), iLen);
    } else {
        GuardedBuffer out(static_cast<size_t>(std::max(call.iCap, 0)));
        InitializeCharBufferWithSpaces(call.bNullOutput ? nullptr : out.data(), call.iCap, nullptr);
        FUZZ_CHECK(out.GuardIntact(), "blank filling wrote past its buffer");
        for (size_t i = 0; !call.bNullOutput && i < out.size(); ++i)
            FUZZ_CHECK(out.data()[i] == ' ', "blank filling left byte %zu", i);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t iSize) {
    ByteReader in(pData, iSize);
    const size_t iChoice = in.U8() % (kSourceCount + kDestinationCount + kHelperCount);
    const uint8_t bMode = in.U8();
    Call call{};
    call.bLengthUnknown = (bMode & 1) != 0;
    call.bNegativeLength = (bMode & 2) != 0;
    call.bNullSource = (bMode & 4) != 0;
    call.bNoLength = (bMode & 8) != 0;
    call.bNullOutput = (bMode & 16) != 0;
    call.iCap = static_cast<int16_t>(in.U16());
    call.column.sPrecision = static_cast<int8_t>(in.U8());
    const uint8_t bColumn = in.U8();
    constexpr int16_t kRecords[4] = {ODBC_DATE, ODBC_TIME, ODBC_TIMESTAMP, CHAR};
    call.column.sDataType = kRecords[bColumn & 3];
    call.bNoColumn = (bColumn & 4) != 0;
    call.iStart = static_cast<int8_t>(in.U8());
    call.iDigits = static_cast<int8_t>(in.U8());
    const std::vector<uint8_t> bytes = in.Bytes(in.Remaining());

    if (iChoice < kSourceCount) {
        RunSource(kSources[iChoice], call, bytes);
    } else if (iChoice < kSourceCount + kDestinationCount) {
        RunDestination(kDestinations[iChoice - kSourceCount], call, bytes);
    } else {
        RunHelper(iChoice - kSourceCount - kDestinationCount, call, bytes);
    }
    return 0;
}
