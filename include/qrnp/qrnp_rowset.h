// Host ABI: rowsets, rows and cells.
//
// Rows and cells are walked like operands: follow the next pointer, or, where
// it is null, step to the record that follows in memory.
#ifndef QRNP_ROWSET_H
#define QRNP_ROWSET_H

#include "qrnp_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// One cell. Byte lengths include a varying type's length prefix and a _SZ type's terminator.
typedef struct FieldDef {
    struct FieldDef* pNext;
    uint8_t bNullInd;           // 1: the source value is NULL
    uint8_t bDstNull;           // set to 1 by the provider: the destination is NULL
    int32_t iSrcLen;            // source length in bytes
    int32_t iDstCap;            // destination capacity in bytes
    int32_t iDstLen;            // destination length in bytes (written by the provider)
    int32_t iStatus;            // 0 or the message number of the cell's failure
    void* pSrc;                 // source data
    void* pDst;                 // destination buffer (unused when masking in place)
} FieldDef;

typedef struct Row {
    struct Row* pNext;
    uint8_t bTaken;             // 1: already served, skipped
    uint8_t bError;             // set to 1 when the row is rejected
    int16_t sColCount;
    FieldDef* pFields;
} Row;

typedef struct Rowset {
    int32_t iRowCount;
    int32_t iCurrentRow;        // written by Service: 0-based index of the row being served
    Row* pRows;
} Rowset;

#ifdef __cplusplus
}
#endif

#endif
