// Common helpers that the provider exports under their own names: the
// data-type table and buffer sizing, and the digit transposition, permutation
// and fixed-width number text used by the country algorithms.
#ifndef QRNP_COMMON_H
#define QRNP_COMMON_H

#include "qrnp_ctrlblk.h"
#include "qrnp_rowset.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- Data types and buffer sizing -------------------------------------------------

// Bytes a value of the column's type needs: 0; 48 when pColumnDef is null; 49 unknown code.
QRNP_EXPORT int32_t GetDataTypeBytes(const ColumnDef* pColumnDef, int32_t* piBytes);

// Display length: 0 with the length; 50 for character types 1-6 (nothing
// written); 65 for date-time strings (50 written); 49 unknown code.
QRNP_EXPORT int32_t GetDataTypeLengths(const ColumnDef* pColumnDef, int32_t* piLength);

// The type's name for codes 1-28 ("11" and "12" for those codes), else null.
QRNP_EXPORT const char* QRNPGetDataTypeName(int32_t iCode);

// 0 when the code is a single-byte character type (1, 2, 3, 17, 25, 26), else -1.
QRNP_EXPORT int32_t QRNP_IsCharacterDatatype(int32_t iCode);

// 0 when the code is a wide character type (4, 5, 6, 18, 27, 28), else -1.
QRNP_EXPORT int32_t QRNP_IsWideCharacterDatatype(int32_t iCode);

// The source value's length in characters (-1 for a NULL cell). Always returns 0.
QRNP_EXPORT int32_t QRNPGetSourceDataLen(const FieldDef* pFldDef, const ColumnDef* pColumnDef, int32_t* piLength);

// Fills the cell's source length in bytes for the type. 0, or -1 for an unknown code.
QRNP_EXPORT int32_t GetSrcBufLen(FieldDef* pFldDef, int32_t iCode);

// (Re)allocates *ppBuffer to iNewSize bytes with the standard allocator, all
// zeroed. 0; 106 out of memory (the pointer is then null); 107 iNewSize < 1.
QRNP_EXPORT int32_t QRNPAllocateBuffer(void** ppBuffer, int32_t* piSize, int32_t iNewSize);

// As QRNPAllocateBuffer; with bKeep 1 only the bytes past the old size are zeroed.
QRNP_EXPORT int32_t QRNPAllocateBuffer1(void** ppBuffer, int32_t* piSize, int32_t iNewSize, int32_t bKeep);

// Passes an empty (or numeric zero) source through: status 74 for character and
// date-time string columns, 75 for numeric ones, -1 otherwise; copies the
// source to a separate destination; sets the cell status, clears the row's
// error flag and returns the status.
QRNP_EXPORT int32_t QRNP_IsZeroOrZeroLength(const CtrlBlk* pCtrlBlk, FieldDef* pFldDef, Row* pRow);

// ---- Digits: permutation, transposition, number text -------------------------------

// Writes a permutation of 1..n (n <= 16) chosen by the seed (seed >= 0; 0 gives 1..n).
QRNP_EXPORT void PXGetPermutation(int32_t iSeed, int16_t n, int16_t* pOut);

// Shifts n digits by offset (when non-zero; again while they all become 0) and
// reorders each group of four by row (key mod 23) of the transposition table.
// The destination is not terminated. 0, or -1 when n >= 13.
QRNP_EXPORT int32_t PXTransposeNumW(const wchar_t* pSrc, wchar_t* pDst, int16_t n, int64_t lKey, int32_t iOffset);
QRNP_EXPORT int32_t PXTransposeNum(const char* pSrc, char* pDst, int16_t n, int64_t lKey, int32_t iOffset);

// Writes exactly `width` digits, zero-padded, and a terminator (PXLongToNum: no
// terminator). 0, or -1 when the value has more digits than the width.
QRNP_EXPORT int32_t PXIntToNumW(int32_t iValue, int16_t sWidth, wchar_t* pDst);
QRNP_EXPORT int32_t PXIntToNum(int32_t iValue, int16_t sWidth, char* pDst);
QRNP_EXPORT int32_t PXLongToNumW(int64_t lValue, int16_t sWidth, wchar_t* pDst);
QRNP_EXPORT int32_t PXLongToNum(int64_t lValue, int16_t sWidth, char* pDst);

// Reads n leading digits, then requires width - n blanks. 0, or -1.
QRNP_EXPORT int32_t PXNumToLongW(const wchar_t* pSrc, int16_t n, int16_t sWidth, int64_t* plValue);
QRNP_EXPORT int32_t PXNumToLong(const char* pSrc, int16_t n, int16_t sWidth, int64_t* plValue);

#ifdef __cplusplus
}
#endif

#endif
