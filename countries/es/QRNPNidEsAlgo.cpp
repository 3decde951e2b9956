// Spanish NIF and NIE numbers: masking and random generation.
//
// Masking shifts every digit by its position plus an offset chosen by the
// parity of the last digit, then keeps the first shifted digit in place and
// reorders the others by a permutation seeded from the shifted digits
// themselves, so the same number always masks to the same number. The driver
// recomputes the control letter from the result.

#include "countries/es/QRNPNidEsAlgo.h"

#include <cstdlib>
#include <ctime>

#include <qrnp/qrnp_common.h>

#include "common/trace.h"

namespace {

constexpr const char* kComp = "QRNPNidEsAlgo";

// The control letter of the remainder mod 23.
constexpr char kControlLetters[23] = {'T', 'R', 'W', 'A', 'G', 'M', 'Y', 'F', 'P', 'D', 'X', 'B',
                                      'N', 'J', 'Z', 'S', 'Q', 'V', 'H', 'L', 'C', 'K', 'E'};

// 7!, the number of orders of seven digits.
constexpr int32_t kSeedModulus = 5040;

// Set until the first random number of the process has seeded rand().
bool bSeedPending = true;

}  // namespace

char ControlLetter(uint64_t n) { return kControlLetters[n % 23]; }

void maskNIF(const wchar_t* digits, int16_t* output, int16_t count) {
    TRC_ENTRY(kComp, "maskNIF");
    TRC_VAR(kComp, "digits", KNL_TRC_WSTR, digits);
    TRC_VAR(kComp, "count", KNL_TRC_I16, &count);
    const int16_t k = static_cast<int16_t>(count - 1);
    int16_t a[ES_DIGITS_LONG];
    for (int16_t i = 0; i < count; ++i) a[i] = static_cast<int16_t>(digits[i] - L'0');

    // An odd last digit shifts by 1, an even one by 3, plus the position.
    const int16_t o = (a[k] % 2 != 0) ? 1 : 3;
    int16_t s = 1;
    for (int16_t i = 0; i < count; ++i) {
        a[i] = static_cast<int16_t>((a[i] + o + i) % 10);
        s = static_cast<int16_t>((static_cast<int32_t>(s) * (a[i] + 1)) % kSeedModulus);
    }
    TRC_VAR(kComp, "seed", KNL_TRC_I16, &s);

    // The first digit stays; the permutation's positions 1..k pick the rest.
    int16_t perm[ES_DIGITS_LONG - 1];
    PXGetPermutation(s, k, perm);
    output[0] = a[0];
    for (int16_t i = 0; i < k; ++i) output[i + 1] = a[perm[i]];
    TRC_EXIT(kComp, "maskNIF", 0);
}

void randomNIF(uint64_t* output, int16_t count) {
    TRC_ENTRY(kComp, "randomNIF");
    if (bSeedPending) {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        bSeedPending = false;
    }
    const uint64_t lHigh = static_cast<uint64_t>(std::rand() % 100);
    if (count == ES_DIGITS_SHORT)
        *output = lHigh * 100000 + static_cast<uint64_t>(std::rand() % 100000);
    else
        *output = lHigh * 1000000 + static_cast<uint64_t>(std::rand() % 1000000);
    TRC_VAR(kComp, "output", KNL_TRC_U64, output);
    TRC_EXIT(kComp, "randomNIF", 0);
}
