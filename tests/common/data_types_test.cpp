// Data-type table, source lengths, buffer sizing and the empty-value pass-through.
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <qrnp/qrnp_common.h>

namespace {

TEST(DataTypes, TableAndCharacterClasses) {
    const struct {
        int16_t sType;
        const char* pName;
        int32_t iBytesRc, iBytes, iLengthRc, iLength;  // column of length 10; -7: nothing written
        int32_t iNarrow, iWide;
    } rows[] = {
        {CHAR, "CHAR", 0, 10, 50, -7, 0, -1},
        {WVARCHAR_SZ, "WVARCHAR_SZ", 0, 40, 50, -7, -1, 0},
        {12, "12", 49, -7, 49, -7, -1, -1},
        {DECIMAL_PKD, "DECIMAL_PKD", 0, 16, 0, 42, -1, -1},
        {DATETIME_SZ, "DATETIME_SZ", 0, 50, 65, 50, 0, -1},
        {DATETIME_WCHAR, "DATETIME_WCHAR", 0, 200, 65, 50, -1, 0},
        {ORA_VARNUM, "(null)", 0, 50, 0, 51, -1, -1},
        {29, "(null)", 49, -7, 49, -7, -1, -1},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE("type " + std::to_string(r.sType));
        ColumnDef cd{};
        cd.sDataType = r.sType;
        cd.iLength = 10;
        const char* pName = QRNPGetDataTypeName(r.sType);
        EXPECT_STREQ(pName != nullptr ? pName : "(null)", r.pName);
        int32_t iBytes = -7, iLength = -7;
        EXPECT_EQ(GetDataTypeBytes(&cd, &iBytes), r.iBytesRc);
        EXPECT_EQ(iBytes, r.iBytes);
        EXPECT_EQ(GetDataTypeLengths(&cd, &iLength), r.iLengthRc);
        EXPECT_EQ(iLength, r.iLength);
        EXPECT_EQ(QRNP_IsCharacterDatatype(r.sType), r.iNarrow);
        EXPECT_EQ(QRNP_IsWideCharacterDatatype(r.sType), r.iWide);
    }
    int32_t iBytes = 0;
    EXPECT_EQ(GetDataTypeBytes(nullptr, &iBytes), 48);
}

TEST(DataTypes, SourceCharactersAndBufferBytes) {
    struct {
        int16_t sPrefix;
        char data[14];
    } varchar{5, "hello"}, wvarchar{10, {}};  // 10 bytes: two whole wide characters
    char narrowSz[] = "abc";
    wchar_t wideSz[] = L"abcd";
    char unterminated[6] = {'a', 'b', 'c', 'd', 'e', 'f'};
    const struct {
        int16_t sType;
        void* pSrc;
        int32_t iSrcLen, iChars, iBufRc, iBufLen;  // QRNPGetSourceDataLen, then GetSrcBufLen
    } cases[] = {
        {CHAR, narrowSz, 7, 7, 0, 7},
        {VARCHAR, &varchar, 0, 5, 0, 7},
        {DATETIME_VARCHAR, &varchar, 9, 5, 0, 9},  // a length the host gave is kept
        {VARCHAR_SZ, narrowSz, 0, 3, 0, 4},
        {WVARCHAR, &wvarchar, 0, 2, 0, 12},
        {WVARCHAR_SZ, wideSz, -1, 4, 0, 20},
        // A length the host gave bounds the search for the terminator, and a
        // prefix that does not fit in it is not read.
        {VARCHAR_SZ, unterminated, 3, 3, 0, 3},
        {WVARCHAR_SZ, wideSz, 8, 2, 0, 8},
        {WVARCHAR_SZ, wideSz, 3, 0, 0, 3},
        {VARCHAR, unterminated, 1, 0, 0, 1},
        {INTEGER, narrowSz, 99, 11, 0, 4},         // fixed sizes always overwrite
        {11, narrowSz, 6, 0, -1, 6},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("type " + std::to_string(c.sType));
        FieldDef fd{};
        fd.pSrc = c.pSrc;
        fd.iSrcLen = c.iSrcLen;
        ColumnDef cd{};
        cd.sDataType = c.sType;
        int32_t iChars = -7;
        EXPECT_EQ(QRNPGetSourceDataLen(&fd, &cd, &iChars), 0);
        EXPECT_EQ(iChars, c.iChars);
        EXPECT_EQ(GetSrcBufLen(&fd, c.sType), c.iBufRc);
        EXPECT_EQ(fd.iSrcLen, c.iBufLen);
        fd.bNullInd = 1;
        EXPECT_EQ(QRNPGetSourceDataLen(&fd, &cd, &iChars), 0);
        EXPECT_EQ(iChars, -1);
    }
}

// (A wide value at an address that is not a multiple of four, measured at
// its terminator, is fuzz/corpus/fuzz_provider/regress-unalignedwcslen-*.)

TEST(DataTypes, AllocateBufferKeepsOrZeroesOldBytes) {
    void* pBuf = nullptr;
    int32_t iSize = 0;
    EXPECT_EQ(QRNPAllocateBuffer(&pBuf, &iSize, 0), 107);
    for (int32_t bKeep : {0, 1}) {
        ASSERT_EQ(QRNPAllocateBuffer(&pBuf, &iSize, 10), 0);
        std::memset(pBuf, 0xAB, 10);
        ASSERT_EQ(QRNPAllocateBuffer1(&pBuf, &iSize, 20, bKeep), 0);
        EXPECT_EQ(iSize, 20);
        const auto* p = static_cast<const unsigned char*>(pBuf);
        for (int i = 0; i < 20; i++) EXPECT_EQ(p[i], bKeep && i < 10 ? 0xAB : 0) << "keep " << bKeep << " byte " << i;
    }
    std::free(pBuf);
}

TEST(DataTypes, ZeroOrZeroLengthStatusAndCopy) {
    char src[] = "abcdefgh";
    const struct {
        int16_t sType;
        uint8_t bDestFlag;
        void* pSrc;
        int32_t iSrcLen, iDstCap, iStatus, iDstLen;
        const char* pDst;
    } cases[] = {
        {CHAR, 1, src, 8, 5, 74, 5, "abcde...."},
        {DATETIME_WVARCHAR, 1, src, 3, 8, 74, 3, "abc......"},
        {U_LONG_LONG, 0, src, 8, 8, 75, 0, "........."},
        {ORA_VARNUM, 1, nullptr, 4, 4, 75, 4, "........."},  // no source: nothing copied
        {ODBC_DATE, 0, src, 4, 4, -1, 0, "........."},
    };
    for (const auto& c : cases) {
        ColumnDef cd{};
        cd.sDataType = c.sType;
        CtrlBlk cb{};
        cb.pColumnDef = &cd;
        cb.bDestFlag = c.bDestFlag;
        char dst[] = ".........";
        FieldDef fd{};
        fd.pSrc = c.pSrc;
        fd.pDst = dst;
        fd.iSrcLen = c.iSrcLen;
        fd.iDstCap = c.iDstCap;
        Row row{};
        row.bError = 1;
        EXPECT_EQ(QRNP_IsZeroOrZeroLength(&cb, &fd, &row), c.iStatus) << c.sType;
        EXPECT_EQ(fd.iStatus, c.iStatus);
        EXPECT_EQ(row.bError, 0);
        EXPECT_EQ(fd.iDstLen, c.iDstLen);
        EXPECT_STREQ(dst, c.pDst);
    }
}

}  // namespace
