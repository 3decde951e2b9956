// Host ABI: the error list that the provider fills and the engine reads.
//
// The CtrlBlk's pEAB points at an anchor. Each failure appends one entry (the
// message number and the row it concerns) followed by its named tokens: the
// values the engine's message text shows, each as a wide string tagged with a
// token id (qrnp_tokens.h). Entries and token texts come from malloc; the
// engine reads them and releases the whole list, anchor included, with
// TermErrors.
#ifndef QRNP_ERRORS_H
#define QRNP_ERRORS_H

#include "qrnp_ctrlblk.h"
#include "qrnp_tokens.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct TokenSlot {
    int32_t iTokenId;           // 0 = free slot
    int32_t iPad;
    wchar_t* pText;             // malloc'ed wide text
} TokenSlot;

// One error entry; an entry declared with n tokens is 48 + (max(n,1) - 1) * 16
// bytes, and the provider allocates one spare slot beyond that (see TokenCapture).
typedef struct ErrorEntry {
    struct ErrorEntry* pNext;   // null for the newest entry
    char cEyeCatcher[4];        // "ECBD"
    uint16_t sVersion;          // 21
    uint16_t sHeaderLen;        // 48
    uint16_t sTokenCount;       // declared token count
    uint16_t sPad;
    uint32_t iMessage;          // message number
    uint32_t iRowNumber;        // 1-based row; 0 = bound to no row
    uint32_t iPad;
    TokenSlot tokens[1];        // sTokenCount slots, plus the spare
} ErrorEntry;

// Error anchor block.
typedef struct EAB {
    ErrorEntry* pFirst;
    ErrorEntry* pLast;
    uint32_t iEntryCount;
    uint32_t iLargestSize;      // the largest value iRunningSize has reached
    uint32_t iRunningSize;      // size of the newest entry, grown by each token
} EAB;

#define QRNP_ERROR_ENTRY_HEADER 48u
#define QRNP_ERROR_TOKEN_SLOT 16u
#define QRNP_ERROR_EYECATCHER "ECBD"

#ifdef __cplusplus
static_assert(offsetof(ErrorEntry, pNext) == 0, "error entry layout");
static_assert(offsetof(ErrorEntry, cEyeCatcher) == 8, "error entry layout");
static_assert(offsetof(ErrorEntry, sVersion) == 12, "error entry layout");
static_assert(offsetof(ErrorEntry, sHeaderLen) == 14, "error entry layout");
static_assert(offsetof(ErrorEntry, sTokenCount) == 16, "error entry layout");
static_assert(offsetof(ErrorEntry, iMessage) == 20, "error entry layout");
static_assert(offsetof(ErrorEntry, iRowNumber) == 24, "error entry layout");
static_assert(offsetof(ErrorEntry, tokens) == 32, "error entry layout");
static_assert(sizeof(TokenSlot) == 16, "token slot layout");
static_assert(sizeof(ErrorEntry) == QRNP_ERROR_ENTRY_HEADER, "an entry has room for one token");
#endif

// Token value types accepted by TokenCapture.
enum QRNPTokenValueType {
    QRNP_TV_CHAR = 1,           // fixed-length single-byte characters, `length` of them
    QRNP_TV_VARCHAR = 2,        // 16-bit length prefix, then single-byte characters
    QRNP_TV_VARCHAR_SZ = 3,     // NUL-terminated single-byte string
    QRNP_TV_WCHAR = 4,          // fixed-length wide characters, `length` of them
    QRNP_TV_WVARCHAR = 5,       // 16-bit byte-length prefix, then wide characters
    QRNP_TV_WVARCHAR_SZ = 6,    // NUL-terminated wide string
    QRNP_TV_INT32 = 9,
    QRNP_TV_UINT32 = 10,
    QRNP_TV_DATE = 14,
    QRNP_TV_TIME = 15,
    QRNP_TV_TIMESTAMP = 16,
    QRNP_TV_DATETIME_SZ = 17,
    QRNP_TV_DATETIME_WSZ = 18,
    QRNP_TV_INT16 = 21,
    QRNP_TV_UINT16 = 22,
    QRNP_TV_DATETIME_CHAR = 25,
    QRNP_TV_DATETIME_VARCHAR = 26,
    QRNP_TV_DATETIME_WCHAR = 27,
    QRNP_TV_DATETIME_WVARCHAR = 28
};

// Opens a new entry on pCtrlBlk's error list. Returns ErrorCaptureEAB's result.
QRNP_EXPORT int32_t ErrorCapture(CtrlBlk* pCtrlBlk, uint32_t iRowNumber, uint32_t iMessage, uint16_t sTokenCount);

// Opens a new entry: 0, or -1 when the anchor is null or memory runs out.
QRNP_EXPORT int32_t ErrorCaptureEAB(EAB* pEAB, uint32_t iRowNumber, uint32_t iMessage, uint16_t sTokenCount);

// Adds a token to the newest entry of pCtrlBlk's list: 1 when iTokenId > 90,
// else TokenCaptureEAB's result.
QRNP_EXPORT int32_t TokenCapture(CtrlBlk* pCtrlBlk, const void* pValue, uint16_t sValueType, int32_t iTokenId,
                                 int32_t iLength);

// Adds a token to the newest entry: 0; 1 id above 90; 2 no free slot; 3 value
// type not supported; -1 null anchor, no entry, out of memory, or a null value
// of a type that allows none. The slot just past the declared count is
// accepted too (one extra token fits); iLength is used by fixed-length types.
QRNP_EXPORT int32_t TokenCaptureEAB(EAB* pEAB, const void* pValue, uint16_t sValueType, int32_t iTokenId,
                                    int32_t iLength);

// Frees every entry, the texts of their declared slots, and the anchor itself. Returns 0.
QRNP_EXPORT int32_t TermErrors(EAB* pEAB);

#ifdef __cplusplus
}
#endif

#endif
