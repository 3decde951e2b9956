// Canadian SINs: validation, masking and random generation.
//
// Masking derives the new SIN from the old one alone: the body's first five
// digits are shifted by fixed increments and the head's key and reordered by
// a permutation of that key, again until neither the body's first group nor
// the SIN's last group reads "000"; the check digit is then recomputed. On
// request the head is shifted and reordered likewise, keyed by the new body,
// until its region digit is not 8 (moving the key on when a head cycles on 8).

#include "countries/ca/QRNPNidCaAlgo.h"

#include <array>

#include <cstdlib>
#include <ctime>

#include <qrnp/qrnp_common.h>
#include <qrnp/qrnp_datacnv.h>
#include <qrnp/qrnp_messages.h>

#include "common/trace.h"

namespace {

constexpr const char* kComp = "QRNPNidCaAlgo";
constexpr const wchar_t* kCountry = L"Canada";

constexpr int32_t kSequenceRows = 35;
constexpr int32_t kMaxTransposeLen = 16;   // PXGetPermutation's limit
constexpr int32_t kMaskOutChars = 50;

// Every head and key that can leave the region digit 8 does so within four
// passes. The others, all of them heads 8xx, cycle on 8 for ever (with k = 1
// a row that keeps the first place adds exactly ten to it each pass), so
// after four passes on 8 the key moves on by one; two steps at most free
// every head.
constexpr int32_t kHeadPassesPerKey = 4;

// The head's reorderings: each row gives, for the three output places, the
// 1-based place of the shifted digit that goes there. Only the head's three
// places are kept; the table is looked up by key mod 35.
constexpr int16_t sequence[kSequenceRows][CA_HEAD_LEN] = {
    {1, 2, 3}, {2, 3, 1}, {2, 1, 3}, {2, 3, 1}, {3, 2, 1}, {2, 1, 3}, {1, 3, 2},
    {1, 3, 2}, {3, 1, 2}, {3, 2, 1}, {2, 3, 1}, {1, 2, 3}, {3, 1, 2}, {1, 3, 2},
    {3, 1, 2}, {3, 2, 1}, {2, 1, 3}, {3, 1, 2}, {1, 2, 3}, {2, 1, 3}, {3, 2, 1},
    {3, 2, 1}, {1, 3, 2}, {2, 1, 3}, {1, 2, 3}, {2, 3, 1}, {1, 2, 3}, {3, 2, 1},
    {3, 1, 2}, {1, 3, 2}, {2, 3, 1}, {2, 1, 3}, {3, 1, 2}, {1, 3, 2}, {2, 3, 1},
};

constexpr bool EveryRowIsAPermutation() {
    for (const auto& row : sequence) {
        int iSeen = 0;
        for (int16_t sPlace : row) {
            if (sPlace < 1 || sPlace > CA_HEAD_LEN) return false;
            iSeen |= 1 << sPlace;
        }
        if (iSeen != 0b1110) return false;
    }
    return true;
}
static_assert(EveryRowIsAPermutation(), "each row of sequence reorders the three head digits");

// Set until the first random SIN of the process has seeded rand().
bool bSeedPending = true;

inline int32_t Digit(wchar_t c) { return static_cast<int32_t>(c - L'0'); }

// d less 10 until it is at most 9 (a value at most 9 is kept as it is).
inline wchar_t ReducedDigit(int32_t d) {
    if (d > 9) d = (d - 10) % 10;
    return static_cast<wchar_t>(L'0' + d);
}

// True when the three characters at p are "000".
inline bool IsZeroGroup(const wchar_t* p) { return p[0] == L'0' && p[1] == L'0' && p[2] == L'0'; }

// The Luhn remainder (0-9) of the string read from the left, the 2nd, 4th,
// ... character doubled. With bDigitsOnly other characters are skipped and
// do not count as a place; without it they enter as their code minus '0'.
int32_t LuhnRemainder(const wchar_t* p, bool bDigitsOnly) {
    int32_t iSum = 0;
    bool bDouble = false;
    for (; *p != L'\0'; ++p) {
        if (bDigitsOnly && (*p < L'0' || *p > L'9')) continue;
        int32_t iValue = Digit(*p);
        if (bDouble) {
            iValue *= 2;
            if (iValue > 9) iValue -= 9;
        }
        iSum += iValue;
        if (iSum > 9) iSum -= 10;
        bDouble = !bDouble;
    }
    return iSum;
}

int32_t Length(const wchar_t* p) {
    int32_t n = 0;
    while (p[n] != L'\0') ++n;
    return n;
}

}  // namespace

uint32_t CalculateLuhn(const wchar_t* wstr) {
    TRC_ENTRY(kComp, "CalculateLuhn");
    TRC_VAR(kComp, "wstr", KNL_TRC_WSTR, wstr);
    const uint32_t iRemainder = static_cast<uint32_t>(LuhnRemainder(wstr, false));
    TRC_EXIT(kComp, "CalculateLuhn", iRemainder);
    return iRemainder;
}

uint32_t ValidateSIN(CtrlBlk* pCtrlBlk, const wchar_t* pInSIN, int32_t iRownum) {
    TRC_ENTRY(kComp, "ValidateSIN");
    TRC_VAR(kComp, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(kComp, "pInSIN", KNL_TRC_WSTR, pInSIN);
    const auto* pNidCtrlBlk = pCtrlBlk != nullptr ? static_cast<const NidCtrlBlk*>(pCtrlBlk->pProviderPrivate) : nullptr;
    const uint32_t iRow = static_cast<uint32_t>(iRownum);
    uint32_t retVal = 0;
    if (pNidCtrlBlk == nullptr) {
        retVal = QRNP_MSG_NOT_INITIALISED;
        ErrorCapture(pCtrlBlk, iRow, retVal, 0);
    } else if (pInSIN[0] == CA_REFUSED_REGION) {
        retVal = QRNP_MSG_CA_INVALID_SIN;
        ErrorCapture(pCtrlBlk, iRow, retVal, 1);
        TokenCapture(pCtrlBlk, pInSIN, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0);
        TRC_TEXT(kComp, "Invalid Region");
    } else if (CalculateLuhn(pInSIN) != 0) {
        retVal = QRNP_MSG_INVALID_SOURCE_DATA;
        ErrorCapture(pCtrlBlk, iRow, retVal, 2);
        TokenCapture(pCtrlBlk, pInSIN, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0);
        TokenCapture(pCtrlBlk, kCountry, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
        TRC_TEXT(kComp, "Invalid Source Value");
    }
    if (retVal != 0 && QRNP_TRACE_ON()) {
        // Once rows have failed, or when invalid data passes through, a refusal is only information.
        const bool bInformation =
            pNidCtrlBlk == nullptr || pNidCtrlBlk->FailedRowsCount != 0 || (pCtrlBlk->sProcFlags & QRNP_PROC_PASS_INVALID) != 0;
        TRC_VAR(kComp, bInformation ? "InfoMsg" : "ErrorMsg", KNL_TRC_U32, &retVal);
    }
    TRC_EXIT(kComp, "ValidateSIN", retVal);
    return retVal;
}

void maskLuhn(const wchar_t* head, const wchar_t* body, wchar_t* out) {
    TRC_ENTRY(kComp, "maskLuhn");
    for (int32_t i = 0; i < CA_HEAD_LEN; ++i) out[i] = head[i];
    for (int32_t i = 0; i < CA_BODY_LEN; ++i) out[CA_HEAD_LEN + i] = body[i];
    out[CA_SIN_LEN] = L'\0';

    const int32_t iSum = LuhnRemainder(out, true);
    // The ninth digit is never doubled: taking the remainder off it makes the sum end in 0.
    if (iSum != 0) {
        int32_t iCheck = Digit(body[CA_BODY_LEN - 1]) - iSum;
        if (iCheck < 0) iCheck += 10;
        out[CA_SIN_LEN - 1] = static_cast<wchar_t>(L'0' + iCheck);
    }
    TRC_VAR(kComp, "out", KNL_TRC_WSTR, out);
    TRC_EXIT(kComp, "maskLuhn", 0);
}

// What transposeNum adds to the digit at each place besides the key: 1, then
// 2 more each place, 1 more after a multiple of 5, and 2 more again past a
// multiple of 10.
constexpr std::array<int32_t, kMaxTransposeLen> TransposeIncrements() {
    std::array<int32_t, kMaxTransposeLen> increments{};
    int32_t inc = 1;
    for (int32_t i = 0; i < kMaxTransposeLen; ++i) {
        increments[static_cast<size_t>(i)] = inc;
        inc += (inc % 5 == 0) ? 1 : 2;
        if (inc % 10 == 0) inc += 2;
    }
    return increments;
}
constexpr std::array<int32_t, kMaxTransposeLen> kTransposeIncrements = TransposeIncrements();

void transposeNum(wchar_t* str, int32_t key, int32_t k) {
    TRC_ENTRY(kComp, "transposeNum");
    TRC_VAR(kComp, "str", KNL_TRC_WSTR, str);
    TRC_VAR(kComp, "key", KNL_TRC_I32, &key);
    const int32_t n = Length(str) - 1;  // the last character is left out of the work
    if (n >= 2 && n <= kMaxTransposeLen) {
        int16_t perm[kMaxTransposeLen] = {};
        PXGetPermutation(key, static_cast<int16_t>(n - 1), perm);

        wchar_t tmp[kMaxTransposeLen] = {};
        for (int32_t i = 0; i < n; ++i) {
            const int32_t d = Digit(str[i]) + kTransposeIncrements[i] + ((i % 2 == 0) ? k : 2 * k);
            tmp[i] = ReducedDigit(d);
        }
        // The first digit stays in place, the next n - 1 are reordered, the last becomes '0'.
        str[0] = tmp[0];
        for (int32_t j = 0; j < n - 1; ++j) str[j + 1] = tmp[perm[j]];
        str[n] = L'0';
    }
    TRC_VAR(kComp, "str", KNL_TRC_WSTR, str);
    TRC_EXIT(kComp, "transposeNum", 0);
}

void transposeHead(wchar_t* str, int32_t key, int32_t k) {
    TRC_ENTRY(kComp, "transposeHead");
    TRC_VAR(kComp, "str", KNL_TRC_WSTR, str);
    TRC_VAR(kComp, "key", KNL_TRC_I32, &key);
    const int16_t* row = sequence[key % kSequenceRows];
    wchar_t tmp[CA_HEAD_LEN];
    int32_t add = 9;
    int32_t step = 2;
    for (int32_t i = 0; i < CA_HEAD_LEN; ++i) {
        const int32_t d = Digit(str[i]) + add + ((i % 2 == 0) ? k : 2 * k);
        add -= step;
        step += 1;
        tmp[i] = ReducedDigit(d);
    }
    for (int32_t i = 0; i < CA_HEAD_LEN; ++i) str[i] = tmp[row[i] - 1];
    str[CA_HEAD_LEN] = L'\0';
    TRC_VAR(kComp, "str", KNL_TRC_WSTR, str);
    TRC_EXIT(kComp, "transposeHead", 0);
}

void MaskHead(wchar_t* headStr, int32_t key2) {
    TRC_ENTRY(kComp, "MaskHead");
    int32_t iPasses = 0;
    // An all-zero head is allowed; only the region digit 8 is refused.
    do {
        if (iPasses == kHeadPassesPerKey) {
            key2 += 1;
            iPasses = 0;
            TRC_VAR(kComp, "key2", KNL_TRC_I32, &key2);
        }
        transposeHead(headStr, key2, key2 % 9);
        ++iPasses;
    } while (headStr[0] == CA_REFUSED_REGION);
    TRC_EXIT(kComp, "MaskHead", 0);
}

uint32_t MaskSIN(int32_t iInSin, int32_t* pOutSin, uint64_t lFlags, const FieldDef* pFldDef) {
    TRC_ENTRY(kComp, "MaskSIN");
    TRC_VAR(kComp, "iInSin", KNL_TRC_I32, &iInSin);
    TRC_VAR(kComp, "lFlags", KNL_TRC_U64, &lFlags);
    TRC_VAR(kComp, "pFldDef", KNL_TRC_PTR, pFldDef);

    const int32_t iHead = iInSin / 1000000;
    const int32_t iMiddle = (iInSin - iHead * 1000000) / 1000;
    const int32_t iTail = iInSin - iHead * 1000000 - iMiddle * 1000;
    // Heads above 800 key the body as if a hundred lower.
    const int32_t key = iHead > 800 ? iHead - 100 : iHead;

    wchar_t body[CA_BODY_LEN + 1];
    wchar_t headStr[CA_HEAD_LEN + 1];
    wchar_t out[kMaskOutChars];
    PXIntToNumW(iMiddle * 1000 + iTail, CA_BODY_LEN, body);
    PXIntToNumW(iHead, CA_HEAD_LEN, headStr);

    // Each pass works on the body the last one left, so a refused value moves
    // on; over every head and body no more than three passes are needed.
    do {
        transposeNum(body, key, key % 9);
        maskLuhn(headStr, body, out);
    } while (IsZeroGroup(body) || IsZeroGroup(out + CA_SIN_LEN - 3));

    uint32_t retVal = 0;
    if (lFlags & CA_FLAG_MASK_HEAD) {
        // The head's key is the new body's first group.
        wchar_t first3[10] = {};
        for (int32_t i = 0; i < CA_HEAD_LEN; ++i) first3[i] = body[i];
        int32_t key2 = 0;
        retVal = QRNPCnvWVarcharSzToInt(first3, &key2, 0, CA_HEAD_LEN);
        if (retVal != 0) {
            TRC_EXIT(kComp, "MaskSIN", retVal);
            return retVal;
        }
        TRC_VAR(kComp, "key2", KNL_TRC_I32, &key2);
        MaskHead(headStr, key2);
        maskLuhn(headStr, body, out);
    }

    retVal = QRNPCnvWVarcharSzToInt(out, pOutSin, 0, CA_SIN_LEN);
    TRC_VAR(kComp, "pOutSin", KNL_TRC_I32, pOutSin);
    TRC_EXIT(kComp, "MaskSIN", retVal);
    return retVal;
}

uint32_t RandomSIN(int32_t* pOutSin) {
    TRC_ENTRY(kComp, "RandomSIN");
    if (bSeedPending) {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        bSeedPending = false;
    }
    int32_t d1 = std::rand() % 9;
    if (d1 == 8) d1 = 9;                                      // no region digit 8
    const int32_t d23 = d1 != 0 ? std::rand() % 100 : std::rand() % 99 + 1;  // no head "000"
    const int32_t d456 = std::rand() % 999 + 1;               // no middle "000"
    const int32_t d78 = std::rand() % 100;
    int32_t value = d1 * 100000000 + d23 * 1000000 + d456 * 1000 + d78 * 10;

    // The check digit (still 0) sits in an undoubled place: add what the sum lacks.
    wchar_t digits[CA_SIN_LEN + 1];
    PXIntToNumW(value, CA_SIN_LEN, digits);
    const int32_t iRemainder = static_cast<int32_t>(CalculateLuhn(digits));
    if (iRemainder != 0) value += 10 - iRemainder;
    // A tail "000" becomes "026": the 2 doubles to 4, and 4 + 6 keeps the sum.
    if (value % 1000 == 0) value += 26;

    *pOutSin = value;
    TRC_VAR(kComp, "pOutSin", KNL_TRC_I32, pOutSin);
    TRC_EXIT(kComp, "RandomSIN", 0);
    return 0;
}
