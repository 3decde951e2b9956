// The provider's own state block for one instance (NidCtrlBlk).
//
// Acquired from the instance heap by Init, zero-filled, hung on the CtrlBlk's
// pProviderPrivate, and released with the heap by Terminate. Its size (232
// bytes) and the six 32-byte country option blocks are fixed.
#ifndef QRNP_NIDCTRLBLK_H
#define QRNP_NIDCTRLBLK_H

#include "qrnp_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// One country's option block. Init copies operands into the 16-bit slots
// (the slot table is in provider/); the country's InitCountry decodes them
// into lOptionFlags and acquires the working buffer. The layout is the same
// for every country; what a slot means is the country's.
typedef struct CountryOptionBlock {
    uint16_t sSlot[4];          // 1st..4th option slots
    uint64_t lOptionFlags;      // decoded option word
    wchar_t* pWorkBuf;          // wide working buffer (instance heap)
    uint32_t iWorkBufSize;      // its size in bytes
    uint8_t bNumericSource;     // Canada/United States: the source column is numeric
    uint8_t bPad[3];
} CountryOptionBlock;

typedef struct NidCtrlBlk {
    uint32_t iCountryMask;      // CountryCode bits of the countries initialised
    int32_t FailedRowsCount;    // rows that failed over the instance's life
    CountryOptionBlock blockA;  // Spain
    CountryOptionBlock blockB;  // Italy
    CountryOptionBlock blockC;  // United Kingdom
    CountryOptionBlock blockD;  // France
    CountryOptionBlock blockE;  // United States
    CountryOptionBlock blockF;  // Canada
    void* HeapToken;            // the instance heap
    uint64_t HeapMinAlloc;      // smallest working-buffer size seen (232 at Init)
    uint64_t HeapMaxAlloc;      // largest working-buffer size seen (232 at Init)
    uint32_t SeviceCallCtr;     // Service calls that passed their checks
    uint32_t iExtensions;       // QRNP_EXT_* bits of the extension operands given (0: none)
} NidCtrlBlk;

#define QRNP_NIDCTRLBLK_SIZE 232u

// Extension bits of iExtensions.
#define QRNP_EXT_OFFICIAL_RULES 0x1u    // operand 0x1920 = 1: the current official rules
#define QRNP_EXT_KEYED 0x2u             // a key was given: the keyed state follows the block in its heap block

#ifdef __cplusplus
static_assert(sizeof(CountryOptionBlock) == 32, "a country option block is 32 bytes");
static_assert(offsetof(NidCtrlBlk, blockA) == 8, "NidCtrlBlk layout");
static_assert(offsetof(NidCtrlBlk, blockF) == 8 + 5 * 32, "NidCtrlBlk layout");
static_assert(offsetof(NidCtrlBlk, HeapToken) == 200, "NidCtrlBlk layout");
static_assert(sizeof(NidCtrlBlk) == QRNP_NIDCTRLBLK_SIZE, "NidCtrlBlk is 232 bytes");
#endif

#ifdef __cplusplus
}
#endif

#endif
