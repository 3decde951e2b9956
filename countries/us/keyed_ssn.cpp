// The numbers of a table as one domain: the (area, group) pairs of the areas
// in use, ranked in issuance order, then the serial.
#include "countries/us/keyed_ssn.h"

#include <array>

#include <qrnp/qrnp_messages.h>

#include "countries/us/QRNPNidUsAlgo.h"

namespace {

constexpr int32_t kSerials = 9999;
constexpr int32_t kHighestArea = 899;      // official rules: 001-899 ...
constexpr int32_t kNeverIssuedArea = 666;  // ... but 666
constexpr int32_t kAllRanks = 99;
constexpr int32_t kVoided[2] = {78051120, 457555462};

// The highest issuance rank of each area (0: not in use), and the number of
// ranks before each area: for the three tables, and for the official rules.
struct AreaRanks {
    std::array<int32_t, US_AREA_COUNT + 1> highest{};  // by area number
    std::array<uint64_t, US_AREA_COUNT + 2> before{};  // ranks of the areas below
    std::array<int32_t, US_AREA_COUNT + 1> areaOfSlot{};  // the areas in use, in order
    int32_t iAreas = 0;
};

AreaRanks MakeRanks(const AreaEntry* pTable) {
    AreaRanks ranks;
    for (int32_t a = 1; a <= US_AREA_COUNT; ++a) {
        int32_t iHighest = 0;
        if (pTable == nullptr)
            iHighest = a <= kHighestArea && a != kNeverIssuedArea ? kAllRanks : 0;
        else if (pTable[a - 1].cHighGroup > 0)
            iHighest = IssuanceRank(pTable[a - 1].cHighGroup);
        ranks.highest[a] = iHighest;
        ranks.before[a + 1] = ranks.before[a] + static_cast<uint64_t>(iHighest);
        if (iHighest > 0) ranks.areaOfSlot[ranks.iAreas++] = a;
    }
    return ranks;
}

const AreaRanks& RanksFor(uint64_t lOptionFlags) {
    static const AreaRanks kOfficial = MakeRanks(nullptr);
    static const AreaRanks k2006 = MakeRanks(DistAreaTable);
    static const AreaRanks k2008 = MakeRanks(Y2008AreaTable);
    static const AreaRanks k2010 = MakeRanks(MaxGrpAreaTable);
    if (lOptionFlags & US_FLAG_OFFICIAL) return kOfficial;
    if (lOptionFlags & US_FLAG_TABLE_2006) return k2006;
    if (lOptionFlags & US_FLAG_TABLE_2008) return k2008;
    return k2010;
}

// The domain's filter: the voided numbers are never results.
struct SsnContext {
    const AreaRanks* pRanks;
    bool bArea;
    int32_t iArea;       // when the area is kept
};

int32_t SsnOf(const SsnContext& c, uint64_t iValue) {
    MixedRadix domain;
    domain.iValue = iValue;
    const int32_t iSerial = static_cast<int32_t>(domain.Pop(kSerials)) + 1;
    int32_t iArea = c.iArea, iRank = 0;
    if (c.bArea) {
        // The pair index: the area whose ranks hold it.
        const uint64_t iPair = domain.iValue;
        int32_t lo = 1, hi = US_AREA_COUNT;
        while (lo < hi) {
            const int32_t mid = (lo + hi + 1) / 2;
            if (c.pRanks->before[mid] <= iPair) lo = mid; else hi = mid - 1;
        }
        iArea = lo;
        iRank = static_cast<int32_t>(iPair - c.pRanks->before[iArea]) + 1;
    } else {
        iRank = static_cast<int32_t>(domain.iValue) + 1;
    }
    return iArea * 1000000 + GroupOfRank(iRank) * 10000 + iSerial;
}

bool NotVoided(uint64_t iValue, const void* pContext) {
    const int32_t iSsn = SsnOf(*static_cast<const SsnContext*>(pContext), iValue);
    return iSsn != kVoided[0] && iSsn != kVoided[1];
}

}  // namespace

uint32_t ValidateKeyedSsn(int32_t iSsn, uint64_t lOptionFlags) {
    const AreaRanks& ranks = RanksFor(lOptionFlags);
    const int32_t iArea = iSsn / 1000000, iGroup = iSsn / 10000 % 100, iSerial = iSsn % 10000;
    if (iArea < 1 || iArea > US_AREA_COUNT) return QRNP_MSG_US_INVALID_AREA;
    if (ranks.highest[iArea] == 0) return QRNP_MSG_US_AREA_NOT_IN_USE;
    const int32_t iRank = IssuanceRank(iGroup);
    if (iRank < 1 || iRank > ranks.highest[iArea]) return QRNP_MSG_US_INVALID_GROUP;
    if (iSerial < 1 || iSsn == kVoided[0] || iSsn == kVoided[1]) return QRNP_MSG_US_INVALID_SERIAL;
    return 0;
}

uint32_t KeyedSSN(RowContext& ctx, int32_t iSsn, bool bDecrypt, int32_t* piOut) {
    const AreaRanks& ranks = RanksFor(ctx.lRowFlags);
    const int32_t iArea = iSsn / 1000000, iRank = IssuanceRank(iSsn / 10000 % 100), iSerial = iSsn % 10000;
    const SsnContext c{&ranks, (ctx.lRowFlags & US_FLAG_REPLACE_AREA) != 0, iArea};
    MixedRadix domain;
    if (c.bArea)
        domain.Push(ranks.before[iArea] + static_cast<uint64_t>(iRank - 1), ranks.before[US_AREA_COUNT + 1]);
    else
        domain.Push(static_cast<uint64_t>(iRank - 1), static_cast<uint64_t>(ranks.highest[iArea]));
    domain.Push(static_cast<uint64_t>(iSerial - 1), kSerials);
    // Only the areas of the two voided numbers need the filter.
    const bool bFilter = c.bArea || iArea == kVoided[0] / 1000000 || iArea == kVoided[1] / 1000000;
    if (const uint32_t iCode = KeyedPermute(ctx, bDecrypt, &domain, bFilter ? NotVoided : nullptr, &c); iCode != 0)
        return iCode;
    *piOut = SsnOf(c, domain.iValue);
    return 0;
}
