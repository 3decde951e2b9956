// FF1: ten Feistel rounds whose round function is a CBC-MAC of AES over the
// tweak, the round number and one half; the other half takes the sum modulo
// radix^m. Halves are kept as 64-bit numbers, sums as 128-bit ones.
#include "common/ff1.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <cmath>
#include <cstring>

namespace {

using u128 = unsigned __int128;

constexpr uint64_t kMinimumDomain = 1000000;  // radix^n at least this (the current draft of the standard)
constexpr uint32_t kMaxRadix = 65536;
constexpr uint64_t kLargestDomain = uint64_t{1} << 62;  // radix^n stays below 2^64

bool AesBlock(const Ff1Key& key, const uint8_t* pIn, uint8_t* pOut) {
    int iLen = 0;
    return EVP_EncryptUpdate(key.pCtx, pOut, &iLen, pIn, 16) == 1 && iLen == 16;
}

// radix^m, or 0 when it does not fit 64 bits.
uint64_t Power(uint64_t radix, uint32_t m) {
    u128 value = 1;
    for (uint32_t i = 0; i < m; ++i) {
        value *= radix;
        if (value > UINT64_MAX) return 0;
    }
    return static_cast<uint64_t>(value);
}

uint64_t Num(const uint16_t* p, uint32_t n, uint32_t radix) {
    uint64_t value = 0;
    for (uint32_t i = 0; i < n; ++i) value = value * radix + p[i];
    return value;
}

void Str(uint64_t value, uint32_t radix, uint16_t* p, uint32_t m) {
    for (uint32_t i = m; i-- > 0;) {
        p[i] = static_cast<uint16_t>(value % radix);
        value /= radix;
    }
}

// True when radix^n >= target.
bool Reaches(uint64_t radix, uint32_t n, uint64_t target) {
    u128 p = 1;
    for (uint32_t k = 0; k < n; ++k) {
        p *= radix;
        if (p >= target) return true;
    }
    return false;
}

// y mod m for the d-byte (d <= 12) number at R, with 64-bit divisions while m fits 32 bits.
uint64_t ModOfBytes(const uint8_t* R, uint32_t d, uint64_t m) {
    if (m <= UINT32_MAX) {
        uint64_t r = 0;
        for (uint32_t j = 0; j < d; j += 4) {
            const uint32_t chunk = (uint32_t{R[j]} << 24) | (uint32_t{R[j + 1]} << 16) | (uint32_t{R[j + 2]} << 8) | R[j + 3];
            r = ((r << 32) | chunk) % m;
        }
        return r;
    }
    u128 y = 0;
    for (uint32_t j = 0; j < d; ++j) y = (y << 8) | R[j];
    return static_cast<uint64_t>(y % m);
}

// The bytes b of a half of v numerals: ceil(ceil(v log2 radix) / 8).
uint32_t HalfBytes(uint64_t radixPowV) {
    uint64_t top = radixPowV - 1;
    uint32_t bits = 0;
    while (top != 0) {
        ++bits;
        top >>= 1;
    }
    return (bits + 7) / 8;
}

}  // namespace

bool Ff1SetKey(Ff1Key* pKey, const uint8_t* pKeyBytes, size_t iKeyBytes) {
    const EVP_CIPHER* pCipher = iKeyBytes == 16   ? EVP_aes_128_ecb()
                                : iKeyBytes == 24 ? EVP_aes_192_ecb()
                                : iKeyBytes == 32 ? EVP_aes_256_ecb()
                                                  : nullptr;
    if (pCipher == nullptr) return false;
    Ff1ClearKey(pKey);
    pKey->pCtx = EVP_CIPHER_CTX_new();
    if (pKey->pCtx == nullptr || EVP_EncryptInit_ex(pKey->pCtx, pCipher, nullptr, pKeyBytes, nullptr) != 1 ||
        EVP_CIPHER_CTX_set_padding(pKey->pCtx, 0) != 1) {
        Ff1ClearKey(pKey);
        return false;
    }
    return true;
}

void Ff1ClearKey(Ff1Key* pKey) {
    if (pKey->pCtx != nullptr) EVP_CIPHER_CTX_free(pKey->pCtx);  // it wipes the key schedule
    pKey->pCtx = nullptr;
    OPENSSL_cleanse(&pKey->prefix, sizeof pKey->prefix);
}

bool Ff1Crypt(const Ff1Key& key, bool bDecrypt, uint32_t radix, const uint16_t* pIn, uint32_t n,
              const uint8_t* pTweak, size_t iTweakBytes, uint16_t* pOut) {
    if (key.pCtx == nullptr || radix < 2 || radix > kMaxRadix || n < 2) return false;
    for (uint32_t i = 0; i < n; ++i)
        if (pIn[i] >= radix) return false;
    const uint32_t u = n / 2, v = n - u;
    const uint64_t radixPowU = Power(radix, u), radixPowV = Power(radix, v);
    if (radixPowU == 0 || radixPowV == 0) return false;
    const uint32_t b = HalfBytes(radixPowV);
    const uint32_t d = 4 * ((b + 3) / 4) + 4;  // at most 12: S is the first d bytes of R

    // P, and the MAC state after it and after the constant blocks of Q (the
    // tweak and its zero padding), kept for the next call of the same shape;
    // each round adds one block.
    Ff1Key::Prefix& prefix = key.prefix;
    if (prefix.radix != radix || prefix.n != n || prefix.pTweak != pTweak || prefix.iTweakBytes != iTweakBytes) {
        prefix.radix = 0;
        prefix.n = 0;
        const uint8_t P[16] = {1, 2, 1, static_cast<uint8_t>(radix >> 16), static_cast<uint8_t>(radix >> 8),
                               static_cast<uint8_t>(radix), 10, static_cast<uint8_t>(u % 256),
                               static_cast<uint8_t>(n >> 24), static_cast<uint8_t>(n >> 16),
                               static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n),
                               static_cast<uint8_t>(iTweakBytes >> 24), static_cast<uint8_t>(iTweakBytes >> 16),
                               static_cast<uint8_t>(iTweakBytes >> 8), static_cast<uint8_t>(iTweakBytes)};
        if (!AesBlock(key, P, prefix.state)) return false;
        const size_t iPad = (16 - (iTweakBytes + b + 1) % 16) % 16;
        const size_t iConstant = iTweakBytes + iPad;  // bytes of Q before the round number
        const size_t iFullBlocks = iConstant / 16;
        for (size_t k = 0; k < iFullBlocks; ++k) {
            for (size_t j = 0; j < 16; ++j) {
                const size_t at = 16 * k + j;
                prefix.state[j] ^= at < iTweakBytes ? pTweak[at] : 0;
            }
            if (!AesBlock(key, prefix.state, prefix.state)) return false;
        }
        prefix.iRest = iConstant - 16 * iFullBlocks;  // constant bytes in the last block
        for (size_t j = 0; j < prefix.iRest; ++j) {
            const size_t at = 16 * iFullBlocks + j;
            prefix.last[j] = at < iTweakBytes ? pTweak[at] : 0;
        }
        prefix.radix = radix;
        prefix.n = n;
        prefix.pTweak = pTweak;
        prefix.iTweakBytes = iTweakBytes;
    }
    const uint8_t* state = prefix.state;
    uint8_t last[16];
    const size_t iRest = prefix.iRest;
    std::memcpy(last, prefix.last, iRest);

    uint64_t A = Num(pIn, u, radix), B = Num(pIn + u, v, radix);
    for (int r = 0; r < 10; ++r) {
        const int i = bDecrypt ? 9 - r : r;
        const uint64_t half = bDecrypt ? A : B;
        last[iRest] = static_cast<uint8_t>(i);
        for (uint32_t j = 0; j < b; ++j) last[iRest + 1 + j] = static_cast<uint8_t>(half >> (8 * (b - 1 - j)));
        uint8_t R[16];
        for (size_t j = 0; j < 16; ++j) R[j] = state[j] ^ last[j];
        if (!AesBlock(key, R, R)) return false;
        // (d is a multiple of 4; the half added to is below the modulus.)
        const uint64_t modulus = (i % 2 == 0) ? radixPowU : radixPowV;
        const uint64_t yMod = ModOfBytes(R, d, modulus);
        if (!bDecrypt) {
            const uint64_t c = A >= modulus - yMod ? A - (modulus - yMod) : A + yMod;
            A = B;
            B = c;
        } else {
            const uint64_t c = B >= yMod ? B - yMod : B + (modulus - yMod);
            B = A;
            A = c;
        }
    }
    Str(A, radix, pOut, u);
    Str(B, radix, pOut + u, v);
    return true;
}

void DomainCipherShape(uint64_t N, uint32_t* pRadix, uint32_t* pLength) {
    const uint64_t target = N > kMinimumDomain ? N : kMinimumDomain;
    // The shortest length whose radix fits, and the smallest radix reaching the target.
    for (uint32_t n = 2;; ++n) {
        uint64_t radix = static_cast<uint64_t>(std::ceil(std::pow(static_cast<double>(target), 1.0 / n)));
        while (radix > 2 && Reaches(radix - 1, n, target)) --radix;
        while (!Reaches(radix, n, target)) ++radix;
        if (radix <= kMaxRadix) {
            *pRadix = static_cast<uint32_t>(radix);
            *pLength = n;
            return;
        }
    }
}

bool DomainCrypt(const DomainCipher& cipher, bool bDecrypt, uint64_t N, uint64_t x, uint64_t* pY, DomainFilter allowed,
                 const void* pContext, uint32_t* piPasses) {
    if (N == 0 || x >= N || N > kLargestDomain) return false;
    // The shape of the last domain is kept with the key.
    Ff1Key::Prefix& prefix = cipher.pKey->prefix;
    if (prefix.iShapeDomain != N) {
        DomainCipherShape(N, &prefix.iShapeRadix, &prefix.iShapeLength);
        prefix.iShapeDomain = N;
    }
    const uint32_t radix = prefix.iShapeRadix, n = prefix.iShapeLength;
    uint16_t numerals[64];
    uint64_t value = x;
    uint32_t iPasses = 0;
    do {
        Str(value, radix, numerals, n);
        if (!Ff1Crypt(*cipher.pKey, bDecrypt, radix, numerals, n, cipher.pTweak, cipher.iTweakBytes, numerals))
            return false;
        value = Num(numerals, n, radix);
        ++iPasses;
    } while (value >= N || (allowed != nullptr && !allowed(value, pContext)));
    *pY = value;
    if (piPasses != nullptr) *piPasses = iPasses;
    return true;
}
