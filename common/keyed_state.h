// The key of an instance that encrypts (an extension): read from operands
// 0x1901-0x1918 by Init, kept in the instance heap right after the state
// block (which Init acquires that much larger), never traced, wiped and
// released by Terminate.
#ifndef QRNP_COMMON_KEYED_STATE_H
#define QRNP_COMMON_KEYED_STATE_H

#include <qrnp/qrnp.h>

#include "common/ff1.h"

// A domain too small for FF1 on its own (below 10^6 values, each value
// walks through about 10^6 / N numerals) is served from a table of its
// permutation once the walks have cost as much as the table does (about a
// quarter of a pass over the 10^6 numerals, see KeyedPermute). At most twice
// the least work, whatever the rows.
struct SmallDomainTable {
    uint64_t iDomain = 0;     // the small domain counted or tabled
    uint64_t iPasses = 0;     // FF1 passes its values have cost so far
    uint32_t* pForward = nullptr;   // iDomain encrypted values, then iDomain decrypted ones (instance heap)
};

struct KeyedState {
    Ff1Key key;
    uint8_t tweak[16];
    size_t iTweakBytes;     // 16, or 0 without a tweak
    // FF1's round function for domains of up to 10^6 values (instance heap),
    // filled when the instance first meets one (tried once): their passes,
    // and so their walks, cost a small part of a pass through AES.
    Ff1RoundTable* pSmallRounds = nullptr;
    bool bSmallRoundsTried = false;
    SmallDomainTable small;
};

// True when every key operand (0x1901-0x1910) is given.
bool KeyOperandsGiven(const SvcDef* pSvcDef);

// Bytes Init acquires for the state block and, with a key, the keyed state.
uint64_t StateBlockBytes(const SvcDef* pSvcDef);

// Reads the key and tweak operands into the keyed state after the block and
// sets QRNP_EXT_KEYED. False (nothing set) when libcrypto refuses the key.
bool SetUpKeyedState(const SvcDef* pSvcDef, NidCtrlBlk* pNidCtrlBlk);

// The keyed state of an instance, or nullptr without a key.
KeyedState* KeyedStateOf(const NidCtrlBlk* pNidCtrlBlk);

// Wipes the key and releases libcrypto's context (before the heap goes).
void ReleaseKeyedState(NidCtrlBlk* pNidCtrlBlk);

#endif
