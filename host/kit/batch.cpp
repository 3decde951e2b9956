// Rowsets: cells encoded in the column's type, served, and read back.
#include <algorithm>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__)
#define HOSTKIT_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HOSTKIT_ASAN 1
#endif
#endif
#ifdef HOSTKIT_ASAN
#include <sanitizer/asan_interface.h>
#endif

#include "hostkit.h"

namespace hostkit {

namespace {

constexpr size_t kGuardBytes = 16;
constexpr unsigned char kGuard = 0xA5;

void WriteRaw16(unsigned char* p, int16_t v) { std::memcpy(p, &v, sizeof v); }

// Writes one run of guard bytes (a fixed-size copy: a store or two, no call).
void PutGuard(unsigned char* p) {
    static constexpr unsigned char kPattern[kGuardBytes] = {kGuard, kGuard, kGuard, kGuard, kGuard, kGuard,
                                                             kGuard, kGuard, kGuard, kGuard, kGuard, kGuard,
                                                             kGuard, kGuard, kGuard, kGuard};
    std::memcpy(p, kPattern, kGuardBytes);
}

struct Converters {
    QRNPToWideFn toWide;
    QRNPFromWideFn fromWide;
};

// The converter pair for a column type, as the engine's conversion library provides.
Converters ConvertersFor(int16_t sDataType) {
    switch (sDataType) {
        case CHAR: return {QRNPCnvCharToWVarcharSz, QRNPCnvWVarcharSzToChar};
        case VARCHAR: return {QRNPCnvVarcharToWVarcharSz, QRNPCnvWVarcharSzToVarchar};
        case VARCHAR_SZ: return {QRNPCnvVarcharSzToWVarcharSz, QRNPCnvWVarcharSzToVarcharSz};
        case WCHAR: return {QRNPCnvWCharToWVarcharSz, QRNPCnvWVarcharSzToWChar};
        case WVARCHAR: return {QRNPCnvWVarcharToWVarcharSz, QRNPCnvWVarcharSzToWVarchar};
        case WVARCHAR_SZ: return {QRNPCnvWVarcharSzToWVarcharSz, QRNPCnvWVarcharSzToWVarcharSzOut};
        case U_LONG_LONG: return {QRNPCnvULONGLONGToWVarcharSz, QRNPCnvWVarcharSzToULONGLONG};
        case INTEGER:
        case U_INTEGER: return {QRNPCnvUIntToWVarcharSz, QRNPCnvWVarcharSzToUInt};
        case DECIMAL_PKD: return {QRNPCnvDecPKDToWVarcharSz, QRNPCnvWVarcharSzToDecPKD};
        case ORA_VARNUM: return {QRNPCnvOraVarnumToWVarcharSz_Unsigned, QRNPCnvWVarcharSz_UnsignedToOraVarnum};
        default: return {nullptr, nullptr};
    }
}

bool IsNumeric(int16_t sDataType) {
    return sDataType == U_LONG_LONG || sDataType == INTEGER || sDataType == U_INTEGER ||
           sDataType == DECIMAL_PKD || sDataType == ORA_VARNUM;
}

// Bytes a value of n characters takes as a source cell of the type.
size_t SourceBytes(const ColumnDef& column, size_t n) {
    switch (column.sDataType) {
        case CHAR: return static_cast<size_t>(std::max(column.iLength, 0));
        case VARCHAR: return 2 + n;
        case VARCHAR_SZ: return n + 1;
        case WCHAR: return static_cast<size_t>(std::max(column.iLength, 0)) * 4;
        case WVARCHAR: return 2 + 4 * n;
        case WVARCHAR_SZ: return 4 * (n + 1);
        case U_LONG_LONG: return 8;
        case INTEGER:
        case U_INTEGER: return 4;
        case DECIMAL_PKD: return 16;
        case ORA_VARNUM: return 22;
        default: return n;
    }
}

// SourceBytes of one column as a rule, worked out once per rowset: a fixed
// size, or a prefix or terminator plus a size per character.
struct SourceSize {
    bool bFixed;
    size_t iBase;
    size_t iPerChar;
    explicit SourceSize(const ColumnDef& column)
        : bFixed(SourceBytes(column, 0) == SourceBytes(column, 1)),
          iBase(SourceBytes(column, 0)),
          iPerChar(SourceBytes(column, 1) - SourceBytes(column, 0)) {}
    size_t Of(size_t n) const { return bFixed ? iBase : iBase + iPerChar * n; }
};

// Capacity of a destination cell: the column's declared width.
size_t DestinationBytes(const ColumnDef& column) {
    const size_t n = static_cast<size_t>(std::max(column.iLength, 0));
    switch (column.sDataType) {
        case VARCHAR: return 2 + n;
        case VARCHAR_SZ: return n + 1;
        case WVARCHAR: return 2 + 4 * n;
        case WVARCHAR_SZ: return 4 * (n + 1);
        default: return SourceBytes(column, n);
    }
}

// Varying and NUL-terminated types: their bytes say how long the value is.
bool HasOwnLength(int16_t sDataType) {
    return sDataType == VARCHAR || sDataType == VARCHAR_SZ || sDataType == WVARCHAR || sDataType == WVARCHAR_SZ;
}


// Varying and single-byte types whose cells hold at most a 16-bit byte count.
bool HasShortPrefix(int16_t sDataType) { return sDataType == VARCHAR || sDataType == WVARCHAR; }

// Encodes n characters in the column's type at p, whose iBytes =
// SourceBytes(column, n) bytes are zero. Returns 0 and sets *piSize to the
// bytes the cell takes, or returns the converter's code with the bytes zero
// again. Fixed-width types are blank-padded; numeric types keep their full
// size.
uint32_t EncodeAt(const ColumnDef& column, const Converters& converters, const wchar_t* pText, size_t n,
                  unsigned char* p, size_t iBytes, size_t* piSize) {
    int32_t iUsed = 0;
    const uint32_t iCode = converters.fromWide(pText, static_cast<int32_t>(n), p, static_cast<int32_t>(iBytes),
                                               &iUsed, &column);
    if (iCode != 0) {
        if (iBytes > 0) std::memset(p, 0, iBytes);  // whatever a converter wrote before it failed (p may be null for none)
        return iCode;
    }
    if (column.sDataType == CHAR) {
        std::fill(p + iUsed, p + iBytes, ' ');
    } else if (column.sDataType == WCHAR) {
        for (size_t i = static_cast<size_t>(iUsed) / 4; i < iBytes / 4; ++i) {
            const wchar_t blank = L' ';
            std::memcpy(p + 4 * i, &blank, 4);
        }
    } else if (!IsNumeric(column.sDataType)) {
        iBytes = static_cast<size_t>(iUsed);
    }
    *piSize = iBytes;
    return 0;
}

// The code a value of iBytes source bytes fails with before any conversion, or 0.
uint32_t EncodeRefusal(const ColumnDef& column, const Converters& converters, size_t iBytes) {
    if (converters.fromWide == nullptr) return QRNP_CNV_UNDEFINED;
    if (iBytes > INT32_MAX) return QRNP_CNV_BUFFER_TOO_SMALL;
    if (HasShortPrefix(column.sDataType) && iBytes > 0x7FFF) return QRNP_CNV_BUFFER_TOO_SMALL;  // the prefix is 16-bit
    return 0;
}

// Appends the text encoded in the column's type to *pBuf and returns 0, or
// returns the converter's code and leaves *pBuf as it was.
uint32_t AppendEncoded(const ColumnDef& column, const Converters& converters, const std::wstring& text,
                       std::vector<unsigned char>* pBuf) {
    const size_t iBytes = SourceBytes(column, text.size());
    if (const uint32_t iCode = EncodeRefusal(column, converters, iBytes); iCode != 0) return iCode;
    const size_t iStart = pBuf->size();
    pBuf->resize(iStart + iBytes);  // zero-filled
    size_t iSize = 0;
    const uint32_t iCode = EncodeAt(column, converters, text.c_str(), text.size(), pBuf->data() + iStart, iBytes, &iSize);
    pBuf->resize(iCode == 0 ? iStart + iSize : iStart);
    return iCode;
}

// ISO-8859-1 bytes straight into a single-byte cell (CHAR, VARCHAR,
// VARCHAR_SZ) at p, whose SourceBytes(column, n) bytes are zero: the bytes
// the column's converter writes for the same characters widened, and the
// same refusals (a value longer than a CHAR column, a NUL in a terminated
// one). Returns 0 and the cell's size, or a non-zero code with p untouched.
uint32_t EncodeLatin1At(const ColumnDef& column, const std::string& bytes, unsigned char* p, size_t* piSize) {
    const size_t n = bytes.size();
    switch (column.sDataType) {
        case VARCHAR:
            WriteRaw16(p, static_cast<int16_t>(n));
            std::memcpy(p + 2, bytes.data(), n);
            *piSize = n + 2;
            return 0;
        case VARCHAR_SZ:
            if (std::memchr(bytes.data(), 0, n) != nullptr) return QRNP_CNV_UNDEFINED;
            std::memcpy(p, bytes.data(), n);  // the terminator is there already
            *piSize = n + 1;
            return 0;
        default: {  // CHAR
            const size_t iWidth = static_cast<size_t>(std::max(column.iLength, 0));
            if (n > iWidth) return QRNP_CNV_BUFFER_TOO_SMALL;
            std::memcpy(p, bytes.data(), n);
            std::memset(p + n, ' ', iWidth - n);
            *piSize = iWidth;
            return 0;
        }
    }
}

bool IsSingleByte(int16_t sDataType) { return sDataType == CHAR || sDataType == VARCHAR || sDataType == VARCHAR_SZ; }

}  // namespace

const std::wstring& CellText(const CellValue& value, std::wstring* pScratch) {
    if (!value.bLatin1) return value.text;
    pScratch->resize(value.latin1.size());
    for (size_t i = 0; i < value.latin1.size(); ++i)
        (*pScratch)[i] = static_cast<wchar_t>(static_cast<unsigned char>(value.latin1[i]));
    return *pScratch;
}

uint32_t EncodeCell(const Instance& instance, const std::wstring& text, std::vector<unsigned char>* pOut) {
    const ColumnDef& column = instance.column;
    pOut->clear();
    const uint32_t iCode = AppendEncoded(column, ConvertersFor(column.sDataType), text, pOut);
    if (iCode != 0) pOut->assign(SourceBytes(column, text.size()), 0);
    return iCode;
}

void FillBatch(const Instance& instance, const std::vector<CellValue>& values, Batch* pBatch,
               const BatchOptions& batchOptions) {
    Batch& batch = *pBatch;
    ProtectGuards(batch, false);  // the arena's memory is reused
    const ColumnDef& column = instance.column;
    const size_t nRows = values.size();
    const size_t cellsPerRow = static_cast<size_t>(batchOptions.iExtraCellsBefore) + 1;
    batch.cellsPerRow = static_cast<int>(cellsPerRow);
    batch.sourceCell = batchOptions.iExtraCellsBefore;
    batch.rows.assign(nRows, Row{});
    batch.fields.assign(nRows * cellsPerRow, FieldDef{});
    batch.encodeFailed.assign(nRows, 0);
    batch.srcGuard.resize(nRows);
    batch.dstGuard.resize(nRows);

    const bool bSeparate = instance.ctrl.bDestFlag != 0;
    const size_t iDstBytes = !bSeparate || batchOptions.bNoDestination ? 0
                             : batchOptions.iDstCapacityOverride >= 0
                                 ? static_cast<size_t>(batchOptions.iDstCapacityOverride)
                                 : DestinationBytes(column);
    const Converters converters = ConvertersFor(column.sDataType);
    const bool bLatin1Direct = IsSingleByte(column.sDataType) && converters.fromWide != nullptr;
    const bool bOwnLength = HasOwnLength(column.sDataType);

    // The arena is sized once, for every value encoded at full length (one
    // that fails takes less), and zero-filled: the cells are then encoded in
    // place and never move, so their pointers are set in the same pass.
    // Each row: the source, its guard, the destination (zero bytes, or
    // none) and its guard.
    const SourceSize sourceSize(column);
    size_t iBound = 0;
    for (const CellValue& value : values) {
        size_t iSrc = 0;
        if (value.bNull) {
            iSrc = 0;
        } else if (value.bRaw) {
            iSrc = value.raw.size();
        } else {
            iSrc = sourceSize.Of(CellLength(value));
            if (EncodeRefusal(column, converters, iSrc) != 0) iSrc = sourceSize.Of(0);
        }
        iBound += iSrc + kGuardBytes + iDstBytes + kGuardBytes;
    }
    batch.arena.clear();
    batch.arena.resize(iBound);  // zero-filled
    unsigned char* const pArena = batch.arena.data();

    std::wstring scratch;
    size_t at = 0;
    for (size_t r = 0; r < nRows; ++r) {
        const CellValue& value = values[r];
        Row& row = batch.rows[r];
        FieldDef& cell = batch.fields[r * cellsPerRow + static_cast<size_t>(batch.sourceCell)];
        const size_t iSrcOffset = at;
        if (value.bNull) {
            cell.bNullInd = batchOptions.bNullSourcePointer ? 0 : 1;
            cell.iSrcLen = 0;
        } else if (value.bRaw) {
            if (!value.raw.empty()) std::memcpy(pArena + at, value.raw.data(), value.raw.size());
            at += value.raw.size();
            cell.iSrcLen = static_cast<int32_t>(value.raw.size());
        } else {
            const size_t iBytes = sourceSize.Of(CellLength(value));
            size_t iSize = 0;
            uint32_t iCode = EncodeRefusal(column, converters, iBytes);
            if (iCode == 0) {
                if (value.bLatin1 && bLatin1Direct) {
                    iCode = EncodeLatin1At(column, value.latin1, pArena + at, &iSize);
                } else {
                    const std::wstring& text = CellText(value, &scratch);
                    iCode = EncodeAt(column, converters, text.c_str(), text.size(), pArena + at, iBytes, &iSize);
                }
            }
            if (iCode != 0) {
                batch.encodeFailed[r] = 1;
                iSize = sourceSize.Of(0);  // zero bytes
            }
            at += iSize;
            cell.iSrcLen = batchOptions.bSourceLengthUnknown && bOwnLength ? 0 : static_cast<int32_t>(iSize);
        }
        const bool bNullPointer = value.bNull && batchOptions.bNullSourcePointer;
        cell.pSrc = bNullPointer ? nullptr : pArena + iSrcOffset;
        batch.srcGuard[r] = at;
        PutGuard(pArena + at);
        at += kGuardBytes;
        if (iDstBytes > 0) {
            cell.iDstCap = static_cast<int32_t>(iDstBytes);
            cell.pDst = pArena + at;
        } else if (bSeparate && !batchOptions.bNoDestination) {
            cell.pDst = pArena + at;  // a destination of no bytes
        }
        at += iDstBytes;
        batch.dstGuard[r] = at;
        PutGuard(pArena + at);
        at += kGuardBytes;

        row.sColCount = static_cast<int16_t>(cellsPerRow);
        row.pFields = &batch.fields[r * cellsPerRow];
        if (batchOptions.bRowsAsList && r + 1 < nRows) row.pNext = &batch.rows[r + 1];
    }
    batch.arena.resize(at);  // shrinks: nothing moves
    batch.rowset.iRowCount = static_cast<int32_t>(nRows);
    batch.rowset.iCurrentRow = 0;
    batch.rowset.pRows = nRows > 0 ? batch.rows.data() : nullptr;
}

int32_t ServiceBatch(Instance& instance, Batch& batch, uint16_t sMethod) {
    return instance.pEntryPoints->Service(sMethod, &instance.ctrl, &batch.rowset);
}

bool ReadRowOutput(const Instance& instance, const Batch& batch, int iRow, std::wstring* pText) {
    const FieldDef& cell = RowSourceCell(batch, iRow);
    const void* pData = instance.ctrl.bDestFlag ? cell.pDst : cell.pSrc;
    const int32_t iLen = instance.ctrl.bDestFlag ? cell.iDstLen : (cell.iDstLen > 0 ? cell.iDstLen : cell.iSrcLen);
    const Converters converters = ConvertersFor(instance.column.sDataType);
    if (pData == nullptr || converters.toWide == nullptr) return false;
    std::wstring& text = *pText;
    text.resize(static_cast<size_t>(std::max(iLen, 0)) + 8);
    int32_t iOutLen = 0;
    const uint32_t iCode = converters.toWide(pData, iLen, text.data(), static_cast<int32_t>(text.size() * 4),
                                             &iOutLen, &instance.column);
    if (iCode == QRNP_CNV_EMPTY && IsNumeric(instance.column.sDataType)) {
        text.assign(L"0");
    } else if (iCode == 0 || iCode == QRNP_CNV_EMPTY) {
        text.resize(iCode == 0 ? static_cast<size_t>(iOutLen) : 0);
    } else {
        text.clear();
        return false;
    }
    return true;
}

RowResult ReadRow(const Instance& instance, const Batch& batch, int iRow) {
    RowResult result = ReadRowStatus(instance, batch, iRow);
    std::wstring text;
    if (ReadRowOutput(instance, batch, iRow, &text)) result.output = std::move(text);
    return result;
}

bool GuardsIntact(const Batch& batch) {
    ProtectGuards(batch, false);
    const auto intact = [&](size_t iOffset) {
        for (size_t k = 0; k < kGuardBytes; ++k)
            if (batch.arena[iOffset + k] != kGuard) return false;
        return true;
    };
    for (size_t r = 0; r < batch.rows.size(); ++r)
        if (!intact(batch.srcGuard[r]) || !intact(batch.dstGuard[r])) return false;
    return true;
}

void ProtectGuards(const Batch& batch, bool bProtect) {
#ifdef HOSTKIT_ASAN
    for (size_t r = 0; r < batch.rows.size(); ++r) {
        for (size_t iOffset : {batch.srcGuard[r], batch.dstGuard[r]}) {
            const void* p = batch.arena.data() + iOffset;
            if (bProtect)
                ASAN_POISON_MEMORY_REGION(p, kGuardBytes);
            else
                ASAN_UNPOISON_MEMORY_REGION(p, kGuardBytes);
        }
    }
#else
    (void)batch;
    (void)bProtect;
#endif
}

}  // namespace hostkit
