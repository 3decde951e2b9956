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


// Appends the text encoded in the column's type to *pBuf and returns 0, or
// returns the converter's code and leaves *pBuf as it was. Fixed-width
// types are blank-padded; numeric types keep their full size.
uint32_t AppendEncoded(const ColumnDef& column, const Converters& converters, const std::wstring& text,
                       std::vector<unsigned char>* pBuf) {
    const size_t iBytes = SourceBytes(column, text.size());
    if (converters.fromWide == nullptr) return QRNP_CNV_UNDEFINED;
    if (iBytes > INT32_MAX) return QRNP_CNV_BUFFER_TOO_SMALL;
    if ((column.sDataType == VARCHAR && iBytes > 0x7FFF) || (column.sDataType == WVARCHAR && iBytes > 0x7FFF))
        return QRNP_CNV_BUFFER_TOO_SMALL;  // the length prefix is 16-bit
    const size_t iStart = pBuf->size();
    pBuf->resize(iStart + iBytes);  // zero-filled
    unsigned char* p = pBuf->data() + iStart;
    int32_t iUsed = 0;
    const uint32_t iCode = converters.fromWide(text.c_str(), static_cast<int32_t>(text.size()), p,
                                               static_cast<int32_t>(iBytes), &iUsed, &column);
    if (iCode != 0) {
        pBuf->resize(iStart);
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
        pBuf->resize(iStart + static_cast<size_t>(iUsed));
    }
    return 0;
}

}  // namespace

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
    const size_t nRows = values.size();
    batch.cellsPerRow = batchOptions.iExtraCellsBefore + 1;
    batch.sourceCell = batchOptions.iExtraCellsBefore;
    batch.rows.assign(nRows, Row{});
    batch.fields.assign(nRows * static_cast<size_t>(batch.cellsPerRow), FieldDef{});
    batch.encodeFailed.assign(nRows, 0);
    batch.srcGuard.assign(nRows, 0);
    batch.dstGuard.assign(nRows, 0);
    batch.arena.clear();

    const size_t iDstCap = batchOptions.iDstCapacityOverride >= 0
                               ? static_cast<size_t>(batchOptions.iDstCapacityOverride)
                               : DestinationBytes(instance.column);
    const bool bSeparate = instance.ctrl.bDestFlag != 0;

    // Offsets first: the arena may move while it grows. Cells are encoded
    // straight into it (its capacity stays from batch to batch).
    std::vector<size_t>& srcOffset = batch.srcOffset;
    std::vector<size_t>& dstOffset = batch.dstOffset;
    srcOffset.resize(nRows);
    dstOffset.resize(nRows);
    const Converters converters = ConvertersFor(instance.column.sDataType);
    for (size_t r = 0; r < nRows; ++r) {
        FieldDef& cell = batch.fields[r * static_cast<size_t>(batch.cellsPerRow) + static_cast<size_t>(batch.sourceCell)];
        srcOffset[r] = batch.arena.size();
        if (values[r].bNull) {
            cell.bNullInd = batchOptions.bNullSourcePointer ? 0 : 1;
            cell.iSrcLen = 0;
        } else if (values[r].bRaw) {
            batch.arena.insert(batch.arena.end(), values[r].raw.begin(), values[r].raw.end());
            cell.iSrcLen = static_cast<int32_t>(values[r].raw.size());
        } else {
            if (AppendEncoded(instance.column, converters, values[r].text, &batch.arena) != 0) {
                batch.encodeFailed[r] = 1;
                batch.arena.resize(srcOffset[r] + SourceBytes(instance.column, 0));  // zero-filled
            }
            cell.iSrcLen = batchOptions.bSourceLengthUnknown && HasOwnLength(instance.column.sDataType)
                               ? 0
                               : static_cast<int32_t>(batch.arena.size() - srcOffset[r]);
        }
        // The source's guard, the destination (zero bytes, or none) and its guard, in one step.
        const size_t iDstBytes = bSeparate && !batchOptions.bNoDestination ? iDstCap : 0;
        if (iDstBytes > 0) cell.iDstCap = static_cast<int32_t>(iDstCap);
        batch.srcGuard[r] = batch.arena.size();
        dstOffset[r] = batch.srcGuard[r] + kGuardBytes;
        batch.dstGuard[r] = dstOffset[r] + iDstBytes;
        batch.arena.resize(batch.dstGuard[r] + kGuardBytes);
        std::memset(batch.arena.data() + batch.srcGuard[r], kGuard, kGuardBytes);
        std::memset(batch.arena.data() + batch.dstGuard[r], kGuard, kGuardBytes);
    }

    for (size_t r = 0; r < nRows; ++r) {
        Row& row = batch.rows[r];
        row.sColCount = static_cast<int16_t>(batch.cellsPerRow);
        row.pFields = &batch.fields[r * static_cast<size_t>(batch.cellsPerRow)];
        if (batchOptions.bRowsAsList && r + 1 < nRows) row.pNext = &batch.rows[r + 1];
        FieldDef& cell = batch.fields[r * static_cast<size_t>(batch.cellsPerRow) + static_cast<size_t>(batch.sourceCell)];
        const bool bNullPointer = values[r].bNull && batchOptions.bNullSourcePointer;
        cell.pSrc = bNullPointer ? nullptr : batch.arena.data() + srcOffset[r];
        if (bSeparate && !batchOptions.bNoDestination) cell.pDst = batch.arena.data() + dstOffset[r];
    }
    batch.rowset.iRowCount = static_cast<int32_t>(nRows);
    batch.rowset.iCurrentRow = 0;
    batch.rowset.pRows = nRows > 0 ? batch.rows.data() : nullptr;
}

int32_t ServiceBatch(Instance& instance, Batch& batch, uint16_t sMethod) {
    return instance.pEntryPoints->Service(sMethod, &instance.ctrl, &batch.rowset);
}

namespace {

const FieldDef& SourceCell(const Batch& batch, int iRow) {
    return batch.fields[static_cast<size_t>(iRow) * static_cast<size_t>(batch.cellsPerRow) +
                        static_cast<size_t>(batch.sourceCell)];
}

}  // namespace

RowResult ReadRowStatus(const Instance& instance, const Batch& batch, int iRow) {
    (void)instance;
    RowResult result;
    const Row& row = batch.rows[static_cast<size_t>(iRow)];
    const FieldDef& cell = SourceCell(batch, iRow);
    result.iStatus = cell.iStatus;
    result.bRejected = row.bError != 0;
    result.bTaken = row.bTaken != 0;
    result.bDstNull = cell.bDstNull != 0;
    return result;
}

bool ReadRowOutput(const Instance& instance, const Batch& batch, int iRow, std::wstring* pText) {
    const FieldDef& cell = SourceCell(batch, iRow);
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
