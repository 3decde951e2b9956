// FF1: ten Feistel rounds whose round function is a CBC-MAC of AES over the
// tweak, the round number and one half; the other half takes the sum modulo
// radix^m. Halves are kept as 64-bit numbers, sums as 128-bit ones.
#include "common/ff1.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <bit>
#include <cmath>
#include <cstring>

namespace {

using u128 = unsigned __int128;

constexpr uint64_t kMinimumDomain = kFf1MinimumDomain;
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

// a mod m by multiplications, given M = ceil(2^128 / m) (m >= 2): the
// fraction a / m is (M a) mod 2^128, and m times it, shifted, is the
// remainder, exactly for every 64-bit a (Lemire, Kaser and Kurz, "Faster
// remainder by direct computation", 2019). A round's modulus is fixed, and
// a division waits on AES and AES on it: this shortens the wait.
inline uint64_t FastMod(uint64_t a, uint64_t m, u128 M) {
    const u128 fraction = M * a;  // modulo 2^128
    const u128 low = static_cast<u128>(static_cast<uint64_t>(fraction)) * m;
    const u128 high = static_cast<u128>(static_cast<uint64_t>(fraction >> 64)) * m + (low >> 64);
    return static_cast<uint64_t>(high >> 64);
}

void SetReciprocal(uint64_t m, uint64_t* pHalves) {
    const u128 M = ~u128{0} / m + 1;
    pHalves[0] = static_cast<uint64_t>(M);
    pHalves[1] = static_cast<uint64_t>(M >> 64);
}
inline u128 Reciprocal(const uint64_t* pHalves) { return (u128{pHalves[1]} << 64) | pHalves[0]; }

// 8 bytes in memory as a big-endian number.
inline uint64_t BigEndian8(const uint8_t* p) {
    uint64_t y = 0;
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(&y, p, 8);
        return __builtin_bswap64(y);
    }
    for (int j = 0; j < 8; ++j) y = (y << 8) | p[j];
    return y;
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

// The shape of n numerals of `radix`: false when radix is outside 2..65536,
// n < 2 or radix^v does not fit 64 bits.
bool MakeShape(uint32_t radix, uint32_t n, Ff1Shape* pShape) {
    if (radix < 2 || radix > kMaxRadix || n < 2) return false;
    Ff1Shape shape;
    shape.radix = radix;
    shape.n = n;
    shape.u = n / 2;
    shape.v = n - shape.u;
    shape.radixPowU = Power(radix, shape.u);
    shape.radixPowV = Power(radix, shape.v);
    if (shape.radixPowU == 0 || shape.radixPowV == 0) return false;
    shape.b = HalfBytes(shape.radixPowV);
    shape.d = 4 * ((shape.b + 3) / 4) + 4;  // at most 12: S is the first d bytes of R
    SetReciprocal(shape.radixPowU, shape.reciprocalU);
    SetReciprocal(shape.radixPowV, shape.reciprocalV);
    *pShape = shape;
    return true;
}

// Prepares the shape under the tweak into *pPrepared: P, and the MAC state
// after it and after the constant blocks of Q (the tweak and its zero
// padding); each round adds one block. False when libcrypto fails (nothing
// is kept then).
bool Prepare(const Ff1Key& key, const Ff1Shape& shape, const uint8_t* pTweak, size_t iTweakBytes,
             Ff1Prepared* pPrepared) {
    const uint32_t radix = shape.radix, n = shape.n;
    pPrepared->iDomain = 0;
    pPrepared->shape = Ff1Shape{};
    const uint8_t P[16] = {1, 2, 1, static_cast<uint8_t>(radix >> 16), static_cast<uint8_t>(radix >> 8),
                           static_cast<uint8_t>(radix), 10, static_cast<uint8_t>(shape.u % 256),
                           static_cast<uint8_t>(n >> 24), static_cast<uint8_t>(n >> 16),
                           static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n),
                           static_cast<uint8_t>(iTweakBytes >> 24), static_cast<uint8_t>(iTweakBytes >> 16),
                           static_cast<uint8_t>(iTweakBytes >> 8), static_cast<uint8_t>(iTweakBytes)};
    uint8_t state[16];
    if (!AesBlock(key, P, state)) return false;
    const size_t iPad = (16 - (iTweakBytes + shape.b + 1) % 16) % 16;
    const size_t iConstant = iTweakBytes + iPad;  // bytes of Q before the round number
    const size_t iFullBlocks = iConstant / 16;
    for (size_t k = 0; k < iFullBlocks; ++k) {
        for (size_t j = 0; j < 16; ++j) {
            const size_t at = 16 * k + j;
            state[j] ^= at < iTweakBytes ? pTweak[at] : 0;
        }
        if (!AesBlock(key, state, state)) return false;
    }
    // The last block: its constant bytes, then the round number and the half
    // (iRest + 1 + b is 16).
    pPrepared->iRest = iConstant - 16 * iFullBlocks;
    for (size_t j = 0; j < 16; ++j) {
        const size_t at = 16 * iFullBlocks + j;
        pPrepared->mask[j] = state[j] ^ (j < pPrepared->iRest && at < iTweakBytes ? pTweak[at] : 0);
    }
    OPENSSL_cleanse(state, sizeof state);
    pPrepared->shape = shape;
    pPrepared->pTweak = pTweak;
    pPrepared->iTweakBytes = iTweakBytes;
    return true;
}

bool SameShape(const Ff1Shape& a, const Ff1Shape& b) { return a.radix == b.radix && a.n == b.n; }

// key.last for the shape and tweak, prepared unless it holds them already;
// null when libcrypto fails.
const Ff1Prepared* PreparedFor(const Ff1Key& key, const Ff1Shape& shape, const uint8_t* pTweak, size_t iTweakBytes) {
    Ff1Prepared& last = key.last;
    if (SameShape(last.shape, shape) && last.pTweak == pTweak && last.iTweakBytes == iTweakBytes) return &last;
    return Prepare(key, shape, pTweak, iTweakBytes, &last) ? &last : nullptr;
}

// The block round i encrypts for the b-byte half: the MAC state XOR the last
// block of Q (its constant bytes, i, the half in its last b bytes; b <= 8 and
// the half is below 2^8b, so it is XOR-ed as the last 8 bytes). It is
// written with one 16-byte store: AES reads it with one 16-byte load, which
// a byte store and an 8-byte one in its place would hold up until they reach
// the cache (a fifth of a round's time).
inline void RoundInput(const Ff1Prepared& prepared, int i, uint64_t half, uint8_t* pBlock) {
    if constexpr (std::endian::native == std::endian::little) {
        using Block = uint64_t __attribute__((vector_size(16)));
        uint64_t low = 0, high = 0;  // bytes 0-7 and 8-15, the first in the lowest bits
        std::memcpy(&low, prepared.mask, 8);
        std::memcpy(&high, prepared.mask + 8, 8);
        const size_t iRest = prepared.iRest;
        const uint64_t round = static_cast<uint8_t>(i);
        if (iRest < 8)
            low ^= round << (8 * iRest);
        else
            high ^= round << (8 * (iRest - 8));
        high ^= __builtin_bswap64(half);
        const Block block = {low, high};
        std::memcpy(pBlock, &block, 16);
        return;
    }
    std::memcpy(pBlock, prepared.mask, 16);
    pBlock[prepared.iRest] ^= static_cast<uint8_t>(i);
    for (int j = 15; j >= 8; --j, half >>= 8) pBlock[j] ^= static_cast<uint8_t>(half);
}

// FF1's ten rounds on the halves *pA (below radix^u) and *pB (below radix^v)
// in a prepared shape.
bool CryptHalves(const Ff1Key& key, bool bDecrypt, const Ff1Prepared& prepared, uint64_t* pA, uint64_t* pB) {
    const Ff1Shape& shape = prepared.shape;
    uint64_t A = *pA, B = *pB;
    for (int r = 0; r < 10; ++r) {
        const int i = bDecrypt ? 9 - r : r;
        uint8_t R[16];
        RoundInput(prepared, i, bDecrypt ? A : B, R);
        if (!AesBlock(key, R, R)) return false;
        // (d is a multiple of 4; the half added to is below the modulus.)
        const bool bU = i % 2 == 0;
        const uint64_t modulus = bU ? shape.radixPowU : shape.radixPowV;
        const uint64_t yMod = shape.d == 8
                                  ? FastMod(BigEndian8(R), modulus, Reciprocal(bU ? shape.reciprocalU : shape.reciprocalV))
                                  : ModOfBytes(R, shape.d, modulus);
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
    *pA = A;
    *pB = B;
    return true;
}

// Ff1Crypt over two numerals of radix 1000 (the number z = 1000 A + B) with
// the round function looked up.
inline uint32_t SmallRound(uint32_t A, uint32_t y) {
    const uint32_t c = A + y;
    return c >= kFf1SmallRadix ? c - kFf1SmallRadix : c;
}
inline uint32_t SmallUnround(uint32_t B, uint32_t y) { return B >= y ? B - y : B + kFf1SmallRadix - y; }

inline uint64_t SmallPass(const Ff1RoundTable& table, bool bDecrypt, uint64_t z) {
    uint32_t A = static_cast<uint32_t>(z / kFf1SmallRadix), B = static_cast<uint32_t>(z % kFf1SmallRadix);
    if (!bDecrypt) {
#pragma GCC unroll 10
        for (int i = 0; i < 10; ++i) {
            const uint32_t c = SmallRound(A, table.y[i][B]);
            A = B;
            B = c;
        }
    } else {
#pragma GCC unroll 10
        for (int i = 9; i >= 0; --i) {
            const uint32_t c = SmallUnround(B, table.y[i][A]);
            B = A;
            A = c;
        }
    }
    return uint64_t{A} * kFf1SmallRadix + B;
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
    OPENSSL_cleanse(&pKey->last, sizeof pKey->last);
    OPENSSL_cleanse(pKey->domains, sizeof pKey->domains);
    OPENSSL_cleanse(pKey->older, sizeof pKey->older);
}

bool Ff1Crypt(const Ff1Key& key, bool bDecrypt, uint32_t radix, const uint16_t* pIn, uint32_t n,
              const uint8_t* pTweak, size_t iTweakBytes, uint16_t* pOut) {
    Ff1Shape shape;
    if (key.pCtx == nullptr || !MakeShape(radix, n, &shape)) return false;
    for (uint32_t i = 0; i < n; ++i)
        if (pIn[i] >= radix) return false;
    const Ff1Prepared* pPrepared = PreparedFor(key, shape, pTweak, iTweakBytes);
    uint64_t A = Num(pIn, shape.u, radix), B = Num(pIn + shape.u, shape.v, radix);
    if (pPrepared == nullptr || !CryptHalves(key, bDecrypt, *pPrepared, &A, &B)) return false;
    Str(A, radix, pOut, shape.u);
    Str(B, radix, pOut + shape.u, shape.v);
    return true;
}

bool Ff1FillRoundTable(const Ff1Key& key, const uint8_t* pTweak, size_t iTweakBytes, Ff1RoundTable* pTable) {
    constexpr uint32_t radix = kFf1SmallRadix;
    Ff1Shape shape;
    if (key.pCtx == nullptr || !MakeShape(radix, 2, &shape)) return false;
    const Ff1Prepared* pPrepared = PreparedFor(key, shape, pTweak, iTweakBytes);
    if (pPrepared == nullptr) return false;
    const uint32_t d = shape.d;
    // A round's 1000 blocks in one call: ECB encrypts each block on its own.
    uint8_t blocks[16 * radix];
    bool bDone = true;
    for (int i = 0; i < 10 && bDone; ++i) {
        for (uint32_t half = 0; half < radix; ++half) RoundInput(*pPrepared, i, half, blocks + 16 * half);
        int iLen = 0;
        bDone = EVP_EncryptUpdate(key.pCtx, blocks, &iLen, blocks, sizeof blocks) == 1 && iLen == sizeof blocks;
        for (uint32_t half = 0; half < radix && bDone; ++half)
            pTable->y[i][half] = static_cast<uint16_t>(ModOfBytes(blocks + 16 * half, d, radix));
    }
    OPENSSL_cleanse(blocks, sizeof blocks);
    return bDone;
}

bool SmallDomainPermutation(const Ff1RoundTable& table, uint32_t N, uint32_t* pForward, uint32_t* pBackward) {
    if (N == 0 || N > kFf1MinimumDomain) return false;
    // Eight walks side by side, every lane every round (an idle one idly):
    // each round of one lane waits for its last round, and the others'
    // rounds fill the wait.
    constexpr uint32_t kLanes = 8;
    constexpr uint32_t kIdle = UINT32_MAX;
    uint32_t start[kLanes], A[kLanes], B[kLanes];
    uint32_t iNext = 0, iActive = 0;
    const auto Take = [&](uint32_t l) {
        start[l] = iNext < N ? iNext++ : kIdle;
        iActive += start[l] != kIdle ? 1 : 0;
        A[l] = start[l] != kIdle ? start[l] / kFf1SmallRadix : 0;
        B[l] = start[l] != kIdle ? start[l] % kFf1SmallRadix : 0;
    };
    for (uint32_t l = 0; l < kLanes; ++l) Take(l);
    while (iActive > 0) {
        for (int i = 0; i < 10; ++i) {
            const uint16_t* y = table.y[i];
#pragma GCC unroll 8
            for (uint32_t l = 0; l < kLanes; ++l) {
                const uint32_t c = SmallRound(A[l], y[B[l]]);
                A[l] = B[l];
                B[l] = c;
            }
        }
        for (uint32_t l = 0; l < kLanes; ++l) {
            const uint32_t z = A[l] * kFf1SmallRadix + B[l];
            if (start[l] == kIdle || z >= N) continue;  // idle, or walking on
            pForward[start[l]] = z;
            pBackward[z] = start[l];
            --iActive;
            Take(l);
        }
    }
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
    // The domain's shape, prepared, from its set (or into its older way).
    static_assert(Ff1Key::kDomainSets == 128, "the set is the hash's top 7 bits");
    const size_t iSet = (N * 0x9E3779B97F4A7C15u) >> 57;
    Ff1Prepared* const set = cipher.pKey->domains[iSet];
    const auto Holds = [&](const Ff1Prepared& p) {
        return p.iDomain == N && p.pTweak == cipher.pTweak && p.iTweakBytes == cipher.iTweakBytes;
    };
    uint8_t& iOlder = cipher.pKey->older[iSet];
    const size_t iWay = Holds(set[0]) ? 0 : Holds(set[1]) ? 1 : iOlder;
    Ff1Prepared& prepared = set[iWay];
    if (!Holds(prepared)) {
        uint32_t radix = 0, n = 0;
        Ff1Shape shape;
        DomainCipherShape(N, &radix, &n);
        if (!MakeShape(radix, n, &shape) || !Prepare(*cipher.pKey, shape, cipher.pTweak, cipher.iTweakBytes, &prepared))
            return false;
        prepared.iDomain = N;
    }
    iOlder = static_cast<uint8_t>(1 - iWay);
    const Ff1Shape& shape = prepared.shape;
    uint64_t value = x;
    uint32_t iPasses = 0;
    if (cipher.pSmallRounds != nullptr && shape.radix == kFf1SmallRadix && shape.n == 2) {
        do {
            value = SmallPass(*cipher.pSmallRounds, bDecrypt, value);
            ++iPasses;
        } while (value >= N || (allowed != nullptr && !allowed(value, pContext)));
        *pY = value;
        if (piPasses != nullptr) *piPasses = iPasses;
        return true;
    }
    // The number's numerals are its halves' (value = A radix^v + B).
    do {
        uint64_t A = value / shape.radixPowV, B = value % shape.radixPowV;
        if (!CryptHalves(*cipher.pKey, bDecrypt, prepared, &A, &B)) return false;
        value = A * shape.radixPowV + B;
        ++iPasses;
    } while (value >= N || (allowed != nullptr && !allowed(value, pContext)));
    *pY = value;
    if (piPasses != nullptr) *piPasses = iPasses;
    return true;
}
