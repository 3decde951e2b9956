// FF1 format-preserving encryption (NIST SP 800-38G) with AES from OpenSSL's
// libcrypto, and a keyed permutation of the integers [0, N) built on it.
//
// FF1 here takes numeral strings whose halves fit 64 bits (radix^ceil(n/2)
// below 2^64), which covers every integer domain up to 2^62; any radix 2 to
// 65536 and any tweak length.
#ifndef QRNP_COMMON_FF1_H
#define QRNP_COMMON_FF1_H

#include <cstddef>
#include <cstdint>

struct evp_cipher_ctx_st;

// The numeral shape FF1 works on and what follows from it: the halves' u
// and v numerals (u + v = n), radix^u and radix^v and their reciprocals
// (ceil(2^128 / radix^u) ...), the bytes b of a half and the bytes d of a
// round's output that are used.
struct Ff1Shape {
    uint32_t radix = 0, n = 0, u = 0, v = 0, b = 0, d = 0;
    uint64_t radixPowU = 0, radixPowV = 0;
    uint64_t reciprocalU[2] = {}, reciprocalV[2] = {};  // low and high 64 bits (8-byte aligned)
};

// A numeral shape prepared under a tweak: the MAC state after P and the
// tweak's full blocks, XOR the last block's iRest constant bytes (zeros after
// them), which each round completes with its number and a half. iDomain is
// the domain of up to 2^62 values it serves (DomainCrypt), or 0.
struct Ff1Prepared {
    uint64_t iDomain = 0;
    const uint8_t* pTweak = nullptr;
    size_t iTweakBytes = 0;
    Ff1Shape shape;
    uint8_t mask[16] = {};
    size_t iRest = 0;
};

// A prepared AES key: the key schedule set up once, ECB without padding, and
// the shapes last prepared under it (the blocks that do not change from one
// encryption to the next): Ff1Crypt's last, and for DomainCrypt the last two
// domains of each of 128 sets (a column whose domain changes from row to
// row, as the communes of each French department do, meets about a hundred).
// A tweak is recognised by its address and length. One key serves one
// thread.
struct Ff1Key {
    evp_cipher_ctx_st* pCtx = nullptr;
    static constexpr size_t kDomainSets = 128;
    mutable Ff1Prepared last;
    mutable Ff1Prepared domains[kDomainSets][2];
    mutable uint8_t older[kDomainSets] = {};  // the way of each set to replace next
};

// Sets up an AES-128, -192 or -256 key (iKeyBytes 16, 24 or 32). False when
// the size is none of those or libcrypto fails. The bytes are not kept.
bool Ff1SetKey(Ff1Key* pKey, const uint8_t* pKeyBytes, size_t iKeyBytes);

// Wipes and frees the key schedule (nothing happens for a key never set).
void Ff1ClearKey(Ff1Key* pKey);

// FF1 encryption (bDecrypt false) or decryption of the numerals pIn[0..n) in
// `radix` under tweak pTweak[0..iTweakBytes) into pOut (may be pIn). False
// when radix is outside 2..65536, n < 2, a numeral is not below the radix, or
// radix^ceil(n/2) does not fit 64 bits. A tweak is recognised by its address
// and length: change its bytes only at a new address.
bool Ff1Crypt(const Ff1Key& key, bool bDecrypt, uint32_t radix, const uint16_t* pIn, uint32_t n,
              const uint8_t* pTweak, size_t iTweakBytes, uint16_t* pOut);

// FF1 needs at least this many numeral strings (radix^n): the current draft
// of the standard. Every domain up to this size has one shape, two numerals
// of radix 1000.
inline constexpr uint64_t kFf1MinimumDomain = 1000000;
inline constexpr uint32_t kFf1SmallRadix = 1000;

// The round function of FF1 over two numerals of radix 1000 under one key and
// tweak: each of the ten rounds adds to one numeral (modulo 1000) a value
// that depends only on the round and the other numeral, so the 10,000 values
// can be computed once, 10,000 AES blocks in a few calls, and a pass is then
// ten table lookups. The results are Ff1Crypt's, bit for bit. (20,000 bytes;
// as secret as the key.)
struct Ff1RoundTable {
    uint16_t y[10][kFf1SmallRadix];
};

// Fills the table for the key and tweak (see Ff1Crypt for the tweak). False
// when libcrypto fails.
bool Ff1FillRoundTable(const Ff1Key& key, const uint8_t* pTweak, size_t iTweakBytes, Ff1RoundTable* pTable);

// A keyed permutation of [0, N): the number is written as FF1 numerals in
// the radix and length DomainCipherShape gives and encrypted again until it
// falls inside the domain (cycle-walking), and, when `allowed` is given,
// until allowed(value) holds too, which makes it a permutation of the allowed
// values of the domain. Domains of up to 10^6 values are served from
// pSmallRounds when it is given (filled for the same key and tweak): the
// same results, at a small part of the cost, which matters most there, as a
// value walks about 10^6 / N passes.
struct DomainCipher {
    const Ff1Key* pKey;
    const uint8_t* pTweak;
    size_t iTweakBytes;
    const Ff1RoundTable* pSmallRounds = nullptr;
};

// The numeral shape of a domain of N values: the shortest length n >= 2 for
// which a radix <= 65536 reaches max(N, 10^6), and the smallest such radix.
// This choice is part of every ciphertext: it never changes.
void DomainCipherShape(uint64_t N, uint32_t* pRadix, uint32_t* pLength);

// The whole permutation DomainCrypt gives a domain of N <= 10^6 values
// under the round table (no filter): pForward[x] is x encrypted and
// pBackward[y] y decrypted (N entries each). Cheaper than N calls, as the
// walks run side by side. False when N is 0 or above 10^6.
bool SmallDomainPermutation(const Ff1RoundTable& table, uint32_t N, uint32_t* pForward, uint32_t* pBackward);

// Encrypts (bDecrypt false) or decrypts x (below N, allowed) into *pY. False
// when N is 0 or above 2^62, x is outside the domain, or libcrypto fails.
using DomainFilter = bool (*)(uint64_t iValue, const void* pContext);
// *piPasses, when given, gets the number of FF1 passes it took.
bool DomainCrypt(const DomainCipher& cipher, bool bDecrypt, uint64_t N, uint64_t x, uint64_t* pY,
                 DomainFilter allowed = nullptr, const void* pContext = nullptr, uint32_t* piPasses = nullptr);

#endif
