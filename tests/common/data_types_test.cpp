// Data-type table, source lengths, buffer sizing and the empty-value pass-through.
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <qrnp/qrnp_common.h>

namespace {

ColumnDef Column(int16_t sType, int32_t iLength = 10) {
    ColumnDef cd{};
    cd.sDataType = sType;
    cd.iLength = iLength;
    return cd;
}

TEST(DataTypeTable, NamesBytesAndLengths) {
    const struct {
        int16_t sType;
        const char* pName;
        int32_t iBytesRc, iBytes;    // for a column of length 10; -7: nothing written
        int32_t iLengthRc, iLength;
    } rows[] = {
        {CHAR, "CHAR", 0, 10, 50, -7},
        {WVARCHAR_SZ, "WVARCHAR_SZ", 0, 40, 50, -7},
        {12, "12", 49, -7, 49, -7},
        {DECIMAL_PKD, "DECIMAL_PKD", 0, 16, 0, 42},
        {DATETIME_SZ, "DATETIME_SZ", 0, 50, 65, 50},
        {DATETIME_WVARCHAR, "DATETIME_WVARCHAR", 0, 200, 65, 50},
        {ORA_VARNUM, nullptr, 0, 50, 0, 51},
        {29, nullptr, 49, -7, 49, -7},
        {102, nullptr, 49, -7, 49, -7},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE("type " + std::to_string(r.sType));
        const ColumnDef cd = Column(r.sType);
        const char* pName = QRNPGetDataTypeName(r.sType);
        EXPECT_STREQ(pName != nullptr ? pName : "(null)", r.pName != nullptr ? r.pName : "(null)");
        int32_t iBytes = -7, iLength = -7;
        EXPECT_EQ(GetDataTypeBytes(&cd, &iBytes), r.iBytesRc);
        EXPECT_EQ(iBytes, r.iBytes);
        EXPECT_EQ(GetDataTypeLengths(&cd, &iLength), r.iLengthRc);
        EXPECT_EQ(iLength, r.iLength);
    }
    int32_t iBytes = 0;
    EXPECT_EQ(GetDataTypeBytes(nullptr, &iBytes), 48);
}

TEST(DataTypeTable, CharacterClassesAnswerZeroForYes) {
    for (int32_t iCode = -1; iCode <= 102; iCode++) {
        const bool bNarrow = iCode == 1 || iCode == 2 || iCode == 3 || iCode == 17 || iCode == 25 || iCode == 26;
        const bool bWide = iCode == 4 || iCode == 5 || iCode == 6 || iCode == 18 || iCode == 27 || iCode == 28;
        EXPECT_EQ(QRNP_IsCharacterDatatype(iCode), bNarrow ? 0 : -1) << iCode;
        EXPECT_EQ(QRNP_IsWideCharacterDatatype(iCode), bWide ? 0 : -1) << iCode;
    }
}

struct Prefixed {
    int16_t sPrefix;
    char data[14];
};

TEST(SourceLengths, CharactersAndBufferBytesByType) {
    Prefixed varchar{5, "hello"};
    Prefixed wvarchar{10, {}};  // 10 bytes: two whole wide characters
    char narrowSz[] = "abc";
    wchar_t wideSz[] = L"abcd";
    const struct {
        int16_t sType;
        void* pSrc;
        int32_t iSrcLen;
        int32_t iChars;     // QRNPGetSourceDataLen
        int32_t iBufRc, iBufLen;  // GetSrcBufLen, from the same iSrcLen
    } cases[] = {
        {CHAR, narrowSz, 7, 7, 0, 7},
        {VARCHAR, &varchar, 0, 5, 0, 7},
        {DATETIME_VARCHAR, &varchar, 9, 5, 0, 9},  // a length the host gave is kept
        {VARCHAR_SZ, narrowSz, 0, 3, 0, 4},
        {WCHAR, wideSz, 12, 3, 0, 12},
        {WVARCHAR, &wvarchar, 0, 2, 0, 12},
        {WVARCHAR_SZ, wideSz, -1, 4, 0, 20},
        {INTEGER, narrowSz, 99, 11, 0, 4},          // fixed sizes always overwrite
        {ODBC_TIMESTAMP, narrowSz, 0, 50, 0, 24},
        {11, narrowSz, 6, 0, -1, 6},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("type " + std::to_string(c.sType));
        FieldDef fd{};
        fd.pSrc = c.pSrc;
        fd.iSrcLen = c.iSrcLen;
        const ColumnDef cd = Column(c.sType);
        int32_t iChars = -7;
        EXPECT_EQ(QRNPGetSourceDataLen(&fd, &cd, &iChars), 0);
        EXPECT_EQ(iChars, c.iChars);
        EXPECT_EQ(GetSrcBufLen(&fd, c.sType), c.iBufRc);
        EXPECT_EQ(fd.iSrcLen, c.iBufLen);
    }
    FieldDef nullCell{};
    nullCell.bNullInd = 1;
    nullCell.pSrc = narrowSz;
    FieldDef noSource{};
    const ColumnDef cd = Column(VARCHAR_SZ);
    for (const FieldDef* pFd : {&nullCell, &noSource}) {
        int32_t iChars = 0;
        EXPECT_EQ(QRNPGetSourceDataLen(pFd, &cd, &iChars), 0);
        EXPECT_EQ(iChars, -1);
    }
}

TEST(AllocateBuffer, GrowKeepsOrZeroesOldBytes) {
    void* pBuf = nullptr;
    int32_t iSize = 0;
    EXPECT_EQ(QRNPAllocateBuffer(&pBuf, &iSize, 0), 107);
    EXPECT_EQ(pBuf, nullptr);
    for (int32_t bKeep : {0, 1}) {
        SCOPED_TRACE(bKeep);
        ASSERT_EQ(QRNPAllocateBuffer(&pBuf, &iSize, 10), 0);
        EXPECT_EQ(iSize, 10);
        std::memset(pBuf, 0xAB, 10);
        ASSERT_EQ(QRNPAllocateBuffer1(&pBuf, &iSize, 20, bKeep), 0);
        EXPECT_EQ(iSize, 20);
        const auto* p = static_cast<const unsigned char*>(pBuf);
        for (int i = 0; i < 20; i++) EXPECT_EQ(p[i], bKeep && i < 10 ? 0xAB : 0) << i;
    }
    std::free(pBuf);
}

TEST(IsZeroOrZeroLength, StatusByTypeAndCopyToDestination) {
    const struct {
        int16_t sType;
        int32_t iStatus;
    } types[] = {{CHAR, 74}, {DATETIME_WVARCHAR, 74}, {U_LONG_LONG, 75}, {ORA_VARNUM, 75}, {ODBC_DATE, -1}, {11, -1}};
    for (const auto& t : types) {
        ColumnDef cd = Column(t.sType);
        CtrlBlk cb{};
        cb.pColumnDef = &cd;
        FieldDef fd{};
        Row row{};
        row.bError = 1;
        EXPECT_EQ(QRNP_IsZeroOrZeroLength(&cb, &fd, &row), t.iStatus) << t.sType;
        EXPECT_EQ(fd.iStatus, t.iStatus);
        EXPECT_EQ(row.bError, 0);
    }

    ColumnDef cd = Column(CHAR);
    CtrlBlk cb{};
    cb.pColumnDef = &cd;
    char src[] = "abcdefgh";
    const struct {
        uint8_t bDestFlag;
        int32_t iSrcLen, iDstCap, iDstLen;
        const char* pDst;
    } copies[] = {{1, 8, 5, 5, "abcde...."}, {1, 3, 8, 3, "abc......"}, {0, 8, 8, 0, "........."}};
    for (const auto& c : copies) {
        cb.bDestFlag = c.bDestFlag;
        char dst[] = ".........";
        FieldDef fd{};
        fd.pSrc = src;
        fd.pDst = dst;
        fd.iSrcLen = c.iSrcLen;
        fd.iDstCap = c.iDstCap;
        Row row{};
        EXPECT_EQ(QRNP_IsZeroOrZeroLength(&cb, &fd, &row), 74);
        EXPECT_EQ(fd.iDstLen, c.iDstLen);
        EXPECT_STREQ(dst, c.pDst);
    }
    FieldDef noBuffers{};  // missing buffers are not touched
    noBuffers.iSrcLen = noBuffers.iDstCap = 4;
    Row row{};
    cb.bDestFlag = 1;
    EXPECT_EQ(QRNP_IsZeroOrZeroLength(&cb, &noBuffers, &row), 74);
}

}  // namespace
