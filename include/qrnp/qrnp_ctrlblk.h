// Host ABI: the provider control block and the column definition.
//
// The engine owns a CtrlBlk per provider instance. The provider reads the
// fields below and writes exactly one of them, pProviderPrivate (Init stores
// its own state block there). The column definition describes the column
// being masked; its conversion block is filled by the country's column check
// with the pair of converters used for every row.
#ifndef QRNP_CTRLBLK_H
#define QRNP_CTRLBLK_H

#include "qrnp_types.h"

#ifdef __cplusplus
extern "C" {
#endif

struct EAB;
struct ColumnDef;

// Converts a column value into a NUL-terminated wide string.
//   pSrc      the cell's source data (with its length prefix for varying types)
//   iSrcLen   the cell's source length in bytes (prefix and terminator included;
//             0 or less when unknown, then the prefix or terminator decides)
//   pOut      wide output; iOutCap its capacity in bytes (terminator included)
//   piOutLen  receives the number of characters written, terminator excluded
//   pCtx      the column definition (may be null for plain text conversions)
// Returns 0 or a QRNP_CNV_* code (qrnp_datacnv.h).
typedef uint32_t (*QRNPToWideFn)(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                 int32_t* piOutLen, const struct ColumnDef* pCtx);

// Converts a NUL-terminated wide string of iInLen characters into the column's type.
//   pDst      destination buffer; iDstCap its capacity in bytes
//   piDstLen  receives the bytes used (length prefix and terminator included)
// Returns 0 or a QRNP_CNV_* code. Never writes past iDstCap bytes.
typedef uint32_t (*QRNPFromWideFn)(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                   int32_t* piDstLen, const struct ColumnDef* pCtx);

// The pair of converters chosen for a column, with the conversion library's ids.
typedef struct ConversionBlock {
    uint8_t bSrcTypeId;
    QRNPToWideFn pfnSrcToWide;
    uint8_t bDstTypeId;
    QRNPFromWideFn pfnWideToDst;
} ConversionBlock;

// Column definition: the column being masked (source and destination share it).
typedef struct ColumnDef {
    int16_t sDataType;          // QRNPDataType code
    int32_t iLength;            // characters for character types (fixed width of CHAR/WCHAR)
    int16_t sPrecision;         // digits of a DECIMAL_PKD column
    const wchar_t* pColName;    // column name, used as a message token
    ConversionBlock* pCnvBlk;   // filled by the column check; null means "none"
} ColumnDef;

// A typed parameter value: the country switch is one (value type 0x1001 = wide string).
typedef struct ParmRec {
    uint16_t sValueType;
    const void* pVal;
} ParmRec;

// The provider control block (owned by the engine).
typedef struct CtrlBlk {
    uint8_t bDestFlag;          // non-zero: results go to a separate destination buffer
    uint16_t sProcFlags;        // QRNP_PROC_VALIDATE_FULLY | QRNP_PROC_PASS_INVALID
    uint16_t sMethod;           // method used when Service is called with 0x1408
    int16_t sErrorLimit;        // > 0: Service stops once the error list holds this many entries
    void* pProviderPrivate;     // written by Init: the provider's NidCtrlBlk
    struct EAB* pEAB;           // the error list (qrnp_errors.h)
    ParmRec pSwitch;            // country switch
    int16_t sSrcColIndex;       // 0-based index of the source cell in each row
    ColumnDef* pColumnDef;      // the column being masked
} CtrlBlk;

#ifdef __cplusplus
}
#endif

#endif
