// FF1 against NIST's published samples and against FF1 as the standard
// writes it (for tweaks the samples lack), and the domain cipher's permutation.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <cmath>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "common/ff1.h"

namespace {

std::vector<uint8_t> Hex(const std::string& hex) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::vector<uint16_t> Numerals(const std::string& text) {
    std::vector<uint16_t> n;
    for (const char c : text) n.push_back(static_cast<uint16_t>(c <= '9' ? c - '0' : c - 'a' + 10));
    return n;
}

// The nine samples of data/ff1/nist_ff1_samples.csv.
struct Sample {
    const char* pKey;
    uint32_t radix;
    const char* pTweak;
    const char* pPlain;
    const char* pCipher;
};
const char* const k128 = "2B7E151628AED2A6ABF7158809CF4F3C";
const char* const k192 = "2B7E151628AED2A6ABF7158809CF4F3CEF4359D8D580AA4F";
const char* const k256 = "2B7E151628AED2A6ABF7158809CF4F3CEF4359D8D580AA4F7F036D6F04FC6A94";
const char* const kT10 = "39383736353433323130";
const char* const kT11 = "3737373770717273373737";
const Sample kSamples[] = {
    {k128, 10, "", "0123456789", "2433477484"},
    {k128, 10, kT10, "0123456789", "6124200773"},
    {k128, 36, kT11, "0123456789abcdefghi", "a9tv40mll9kdu509eum"},
    {k192, 10, "", "0123456789", "2830668132"},
    {k192, 10, kT10, "0123456789", "2496655549"},
    {k192, 36, kT11, "0123456789abcdefghi", "xbj3kv35jrawxv32ysr"},
    {k256, 10, "", "0123456789", "6657667009"},
    {k256, 10, kT10, "0123456789", "1001623463"},
    {k256, 36, kT11, "0123456789abcdefghi", "xs8a0azh2avyalyzuwd"},
};

TEST(Ff1, NistSamplesBothWays) {
    for (const Sample& s : kSamples) {
        SCOPED_TRACE(std::string(s.pKey) + " " + s.pTweak);
        Ff1Key key;
        const std::vector<uint8_t> keyBytes = Hex(s.pKey), tweak = Hex(s.pTweak);
        ASSERT_TRUE(Ff1SetKey(&key, keyBytes.data(), keyBytes.size()));
        const std::vector<uint16_t> plain = Numerals(s.pPlain), cipher = Numerals(s.pCipher);
        std::vector<uint16_t> out(plain.size());
        ASSERT_TRUE(Ff1Crypt(key, false, s.radix, plain.data(), static_cast<uint32_t>(plain.size()), tweak.data(),
                             tweak.size(), out.data()));
        EXPECT_EQ(out, cipher);
        ASSERT_TRUE(Ff1Crypt(key, true, s.radix, cipher.data(), static_cast<uint32_t>(cipher.size()), tweak.data(),
                             tweak.size(), out.data()));
        EXPECT_EQ(out, plain);
        Ff1ClearKey(&key);
    }
}

// FF1 step by step from the standard: numeral strings, the whole of P || Q
// through the CBC-MAC in every round, b from a logarithm.
std::vector<uint16_t> TextbookFf1(const std::vector<uint8_t>& key, uint32_t radix, const std::vector<uint8_t>& tweak,
                                  const std::vector<uint16_t>& x) {
    using u128 = unsigned __int128;
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(ctx, EVP_aes_256_ecb(), nullptr, key.data(), nullptr);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    const uint32_t n = static_cast<uint32_t>(x.size()), u = n / 2, v = n - u, t = static_cast<uint32_t>(tweak.size());
    const uint32_t b = static_cast<uint32_t>(std::ceil(std::ceil(v * std::log2(static_cast<double>(radix))) / 8));
    const uint32_t d = 4 * ((b + 3) / 4) + 4;
    const auto num = [radix](const std::vector<uint16_t>& s) {
        u128 value = 0;
        for (const uint16_t c : s) value = value * radix + c;
        return value;
    };
    const auto str = [radix](u128 value, uint32_t m) {
        std::vector<uint16_t> s(m);
        for (uint32_t i = m; i-- > 0; value /= radix) s[i] = static_cast<uint16_t>(value % radix);
        return s;
    };
    const std::vector<uint8_t> P = {1, 2, 1, uint8_t(radix >> 16), uint8_t(radix >> 8), uint8_t(radix), 10,
                                    uint8_t(u % 256), uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n),
                                    uint8_t(t >> 24), uint8_t(t >> 16), uint8_t(t >> 8), uint8_t(t)};
    std::vector<uint16_t> A(x.begin(), x.begin() + u), B(x.begin() + u, x.end());
    for (int i = 0; i < 10; ++i) {
        std::vector<uint8_t> PQ = P;
        PQ.insert(PQ.end(), tweak.begin(), tweak.end());
        PQ.resize(PQ.size() + (16 - (t + b + 1) % 16) % 16, 0);
        PQ.push_back(static_cast<uint8_t>(i));
        const u128 half = num(B);
        for (uint32_t k = b; k-- > 0;) PQ.push_back(static_cast<uint8_t>(half >> (8 * k)));
        uint8_t R[16] = {};
        for (size_t j = 0; j < PQ.size(); j += 16) {
            uint8_t block[16];
            for (int k = 0; k < 16; ++k) block[k] = R[k] ^ PQ[j + k];
            int len = 0;
            EVP_EncryptUpdate(ctx, R, &len, block, 16);
        }
        u128 y = 0;
        for (uint32_t k = 0; k < d; ++k) y = (y << 8) | R[k];
        const uint32_t m = i % 2 == 0 ? u : v;
        u128 space = 1;
        for (uint32_t k = 0; k < m; ++k) space *= radix;
        const std::vector<uint16_t> C = str((num(A) + y % space) % space, m);
        A = B;
        B = C;
    }
    EVP_CIPHER_CTX_free(ctx);
    A.insert(A.end(), B.begin(), B.end());
    return A;
}

// The prepared MAC state (P and the tweak's full blocks kept between calls)
// gives what the standard's full MAC gives, for tweaks of every length
// around the block size, in shapes from radix 2 to 65536.
TEST(Ff1, MatchesTheStandardStepByStepForEveryTweakLength) {
    const std::vector<uint8_t> keyBytes = Hex(k256);
    Ff1Key key;
    ASSERT_TRUE(Ff1SetKey(&key, keyBytes.data(), keyBytes.size()));
    const struct {
        uint32_t radix, n;
    } shapes[] = {{2, 7}, {10, 6}, {10, 19}, {10, 36}, {36, 12}, {1000, 2}, {1001, 2}, {31623, 4}, {65536, 3}};
    std::mt19937 rng(18);
    for (const auto& shape : shapes) {
        for (uint32_t t = 0; t <= 40; t += t < 20 ? 1 : 7) {
            SCOPED_TRACE(std::to_string(shape.radix) + "^" + std::to_string(shape.n) + " tweak " + std::to_string(t));
            std::vector<uint8_t> tweak(t);
            for (uint8_t& c : tweak) c = static_cast<uint8_t>(rng());
            std::vector<uint16_t> x(shape.n), out(shape.n), back(shape.n);
            for (uint16_t& c : x) c = static_cast<uint16_t>(rng() % shape.radix);
            ASSERT_TRUE(Ff1Crypt(key, false, shape.radix, x.data(), shape.n, tweak.data(), t, out.data()));
            EXPECT_EQ(out, TextbookFf1(keyBytes, shape.radix, tweak, x));
            ASSERT_TRUE(Ff1Crypt(key, true, shape.radix, out.data(), shape.n, tweak.data(), t, back.data()));
            EXPECT_EQ(back, x);
        }
    }
    Ff1ClearKey(&key);
}

TEST(Ff1, RefusesWhatItCannotEncrypt) {
    Ff1Key key;
    EXPECT_FALSE(Ff1SetKey(&key, Hex(k128).data(), 15));
    ASSERT_TRUE(Ff1SetKey(&key, Hex(k128).data(), 16));
    uint16_t in[3] = {1, 2, 3}, out[3];
    EXPECT_FALSE(Ff1Crypt(key, false, 10, in, 1, nullptr, 0, out));      // too short
    EXPECT_FALSE(Ff1Crypt(key, false, 3, in, 3, nullptr, 0, out));       // a numeral not below the radix
    EXPECT_FALSE(Ff1Crypt(key, false, 70000, in, 3, nullptr, 0, out));   // radix above 65536
    Ff1ClearKey(&key);
}

TEST(DomainCipher, ShapeIsJustAboveTheDomain) {
    struct Case {
        uint64_t N;
        uint32_t radix, length;
    };
    const Case cases[] = {{1, 1000, 2}, {989901, 1000, 2}, {1000001, 1001, 2}, {4294967296, 65536, 2},
                          {4294967297, 1626, 3}};
    for (const Case& c : cases) {
        uint32_t radix = 0, length = 0;
        DomainCipherShape(c.N, &radix, &length);
        EXPECT_EQ(radix, c.radix) << c.N;
        EXPECT_EQ(length, c.length) << c.N;
    }
}

// Every value of small domains comes out once and decrypts back, the same
// through AES, through the round table and from the whole permutation made
// at once; in a large one, distinct values stay distinct and other keys and
// tweaks give other results.
TEST(DomainCipher, PermutesTheDomain) {
    Ff1Key key, other;
    const std::vector<uint8_t> k1 = Hex(k256), k2 = Hex(k128);
    ASSERT_TRUE(Ff1SetKey(&key, k1.data(), k1.size()));
    ASSERT_TRUE(Ff1SetKey(&other, k2.data(), k2.size()));
    const uint8_t tweak[16] = {1, 2, 3};
    const DomainCipher cipher{&key, tweak, sizeof tweak};
    Ff1RoundTable rounds;
    ASSERT_TRUE(Ff1FillRoundTable(key, tweak, sizeof tweak, &rounds));
    const DomainCipher tabled{&key, tweak, sizeof tweak, &rounds};
    // The smallest, a SIN's body, and the largest domain of the table's shape.
    for (const uint32_t N : {1u, 1000u, 100000u, 1000000u}) {
        std::vector<uint32_t> forward(N), backward(N);
        ASSERT_TRUE(SmallDomainPermutation(rounds, N, forward.data(), backward.data()));
        std::vector<uint8_t> seen(N, 0);
        for (uint32_t x = 0; x < N; ++x) {
            const uint32_t y = forward[x];
            ASSERT_LT(y, N);
            ASSERT_EQ(seen[y], 0) << N << ": " << x;
            seen[y] = 1;
            ASSERT_EQ(backward[y], x);
            uint64_t z = 0, back = 0;
            ASSERT_TRUE(DomainCrypt(tabled, false, N, x, &z));
            ASSERT_EQ(z, y);
            ASSERT_TRUE(DomainCrypt(tabled, true, N, y, &back));
            ASSERT_EQ(back, x);
            if (x % 211 != 0 || N < 1000) continue;  // AES walks cost 10^6 / N passes a value
            ASSERT_TRUE(DomainCrypt(cipher, false, N, x, &z));
            ASSERT_EQ(z, y) << N << ": " << x;
            ASSERT_TRUE(DomainCrypt(cipher, true, N, y, &back));
            ASSERT_EQ(back, x);
        }
    }
    EXPECT_FALSE(SmallDomainPermutation(rounds, 1000001, nullptr, nullptr));
    const uint64_t N = 1000000007;
    const DomainCipher otherKey{&other, tweak, sizeof tweak}, otherTweak{&key, nullptr, 0};
    std::set<uint64_t> outputs;
    size_t iSame = 0;
    for (uint64_t x = 0; x < 20000; ++x) {
        uint64_t y = 0, back = 0, z = 0, w = 0;
        ASSERT_TRUE(DomainCrypt(cipher, false, N, x * 49999, &y));
        ASSERT_TRUE(DomainCrypt(cipher, true, N, y, &back));
        ASSERT_EQ(back, x * 49999);
        outputs.insert(y);
        DomainCrypt(otherKey, false, N, x * 49999, &z);
        DomainCrypt(otherTweak, false, N, x * 49999, &w);
        iSame += (y == x * 49999) + (z == y) + (w == y);
    }
    EXPECT_EQ(outputs.size(), 20000u);
    EXPECT_LT(iSame, 3u);
    Ff1ClearKey(&key);
    Ff1ClearKey(&other);
}

}  // namespace
