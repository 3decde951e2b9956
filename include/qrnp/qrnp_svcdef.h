// Host ABI: the service definition and its operands.
//
// Operands are walked one way everywhere: follow pNext, or, where it is null,
// step to the record that follows in memory. So the engine may pass a linked
// list or a plain array of OprDef records; exactly sOperandCount are read.
#ifndef QRNP_SVCDEF_H
#define QRNP_SVCDEF_H

#include "qrnp_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct OprDef {
    struct OprDef* pNext;
    uint16_t sKeyId;
    uint32_t iValue;            // read as 32 bits, kept as its low 16 bits
} OprDef;

typedef struct SvcDef {
    uint16_t sOperandCount;
    OprDef* pOperands;
} SvcDef;

// Operand keys.
#define QRNP_OPR_METHOD 0x100Bu         // service method (0x1406 default)
#define QRNP_OPR_FR_PARTS 0x1801u       // France: parts to mask
#define QRNP_OPR_ES_PARTS 0x1802u       // Spain: parts (never read)
#define QRNP_OPR_IT_FLAGS 0x1803u       // Italy: parts to mask
#define QRNP_OPR_UK_DATA 0x1804u        // United Kingdom: mask the prefix
#define QRNP_OPR_US_SLOT3 0x1805u       // United States: unused slot
#define QRNP_OPR_CA_PARTS 0x1806u       // Canada: mask the head
#define QRNP_OPR_FR_SEPARATOR 0x1807u
#define QRNP_OPR_ES_SEPARATOR 0x1808u
#define QRNP_OPR_IT_SEPARATOR 0x1809u
#define QRNP_OPR_UK_SEPARATOR 0x180Au
#define QRNP_OPR_US_SEPARATOR 0x180Bu
#define QRNP_OPR_CA_SEPARATOR 0x180Cu
#define QRNP_OPR_UK_FORM 0x180Du        // United Kingdom: form flags
#define QRNP_OPR_US_FLAGS 0x180Eu       // United States: area options

// Extensions: absent (or 0), the provider behaves exactly as without them.
#define QRNP_OPR_OFFICIAL_RULES 0x1920u // 1: the identifiers' current official rules
#define QRNP_OPR_KEY_FIRST 0x1901u      // the 256-bit key: sixteen 16-bit words, most significant first,
#define QRNP_OPR_KEY_LAST 0x1910u       //   0x1901 to 0x1910 (all sixteen, or no key)
#define QRNP_OPR_TWEAK_FIRST 0x1911u    // the tweak: the first 16 bytes of the SHA-256 digest of its text,
#define QRNP_OPR_TWEAK_LAST 0x1918u     //   eight 16-bit words, most significant first (none: no tweak)

// United Kingdom form-flag bits (operand 0x180D).
#define QRNP_FLAG_UK_FORM_3_PART 0x0001u
#define QRNP_FLAG_UK_FORM_5_PART 0x0002u
#define QRNP_FLAG_UK_MASK_ALLOWED 0x0004u
#define QRNP_FLAG_UK_RANDOM_ALLOWED 0x0008u

#ifdef __cplusplus
}
#endif

#endif
