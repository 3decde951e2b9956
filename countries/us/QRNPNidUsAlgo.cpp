// United States Social Security numbers: masking and random generation.
//
// Masking keeps the area, moves the group one step along the order in which
// groups are issued (forward in odd areas, back in even ones) and shifts and
// reorders the serial's digits under the area as key, so the result is an
// issued-looking number derived from the value alone. On request the area is
// replaced by one of its block and the number becomes that area's next issued
// one. Random numbers are handed out area by area from a dated table, each
// area counting its serials up, so none repeats within a process.

#include "countries/us/QRNPNidUsAlgo.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include <qrnp/qrnp_common.h>
#include <qrnp/qrnp_messages.h>

#include "common/trace.h"

namespace {

constexpr const char* kComp = "QRNPNidUsAlgo";

constexpr int32_t kHighestRank = 99;
constexpr int16_t kLastSerial = 9999;
constexpr int32_t kSerialDigits = 4;
// Numbers that were published and must never pass as real ones.
constexpr int32_t kVoidedSsn1 = 78051120;    // 078-05-1120
constexpr int32_t kVoidedSsn2 = 457555462;   // 457-55-5462
constexpr int32_t kHighestIssuableArea = 899;  // 900-999 are not SSNs
constexpr int32_t kNeverIssuedArea = 666;

// Set until the first official random number has seeded rand().
bool bOfficialSeedPending = true;
// The serial's digit shift: odd areas, even areas.
constexpr int32_t kOddAreaOffset = 5;
constexpr int32_t kEvenAreaOffset = 3;

// The process-wide working copies, one per function, made on its first call.
SsnWorkingTable maskWorking;
bool bMaskReady = false;
SsnWorkingTable randomWorking;
bool bRandomReady = false;

// A non-negative draw below iCount.
inline int32_t Draw(int32_t iCount) { return std::abs(std::rand() % iCount); }

// Hands out the entry's current number: counts the serial up; past 9999 the
// serial starts again at 1 with the group one step back in issuance order;
// back past rank 1 the area is used up (current group 0).
void AdvanceSerial(SsnWorkingTable* pTable, AreaEntry* pEntry) {
    TRC_ENTRY(kComp, "AdvanceSerial");
    if (++pEntry->sSerial > kLastSerial) {
        pEntry->sSerial = 1;
        pEntry->cCurGroup = static_cast<int8_t>(GroupOfRank(IssuanceRank(pEntry->cCurGroup) - 1));
        if (pEntry->cCurGroup == 0) --pTable->iAreasLeft;
        TRC_VAR(kComp, "iAreasLeft", KNL_TRC_I32, &pTable->iAreasLeft);
    }
    TRC_EXIT(kComp, "AdvanceSerial", pEntry->sSerial);
}

// The area that replaces iArea (in use) under option flag 32: an area in use
// of the same block, or of the same side-table set for an area without block.
int32_t ReplacementArea(const SsnWorkingTable* pTable, int32_t iArea) {
    TRC_ENTRY(kComp, "ReplacementArea");
    TRC_VAR(kComp, "iArea", KNL_TRC_I32, &iArea);
    const int32_t iIndex = iArea - 1;
    const AreaEntry& entry = pTable->AreaTable[iIndex];
    // A block of one, and an area in use with neither a block nor a side-table
    // row (none of the dated tables has one), keep their own number.
    int32_t iNewArea = iArea;
    if (entry.cBlockSize >= 2) {
        const int32_t iFirst = iIndex - entry.cBlockPos;
        int32_t iNew = 0;
        do {
            iNew = iFirst + Draw(entry.cBlockSize);
        } while (pTable->AreaTable[iNew].cCurGroup == 0);
        iNewArea = iNew + 1;
    } else if (entry.cBlockSize == 0) {
        for (int32_t iRow = 0; iRow < US_SIDE_TABLE_ROWS; ++iRow) {
            const AreaSideRow& side = AreaSideTable[iRow];
            if (side.sArea != iArea) continue;
            const int32_t iFirstRow = iRow - side.bPos;
            do {
                iNewArea = AreaSideTable[iFirstRow + Draw(side.bCount)].sArea;
            } while (pTable->AreaTable[iNewArea - 1].cCurGroup == 0);
            break;
        }
    }
    TRC_EXIT(kComp, "ReplacementArea", iNewArea);
    return iNewArea;
}

// Shifts and reorders the four serial digits under the area. -1 when a
// conversion fails.
int32_t TransposeSerial(int32_t iSerial, int32_t iArea, int32_t iOffset, int32_t* piNewSerial) {
    TRC_ENTRY(kComp, "TransposeSerial");
    wchar_t digits[kSerialDigits + 1];
    wchar_t moved[kSerialDigits + 1] = {};
    int64_t lNewSerial = 0;
    int32_t iRc = -1;
    if (PXIntToNumW(iSerial, kSerialDigits, digits) == 0 &&
        PXTransposeNumW(digits, moved, kSerialDigits, iArea, iOffset) == 0 &&
        PXNumToLongW(moved, kSerialDigits, kSerialDigits, &lNewSerial) == 0) {
        *piNewSerial = static_cast<int32_t>(lNewSerial);
        iRc = 0;
    }
    TRC_EXIT(kComp, "TransposeSerial", iRc);
    return iRc;
}

// The officially issuable areas 001-899 but 666, numbered from 0, and back.
constexpr int32_t kOfficialAreas = kHighestIssuableArea - 1;
int32_t OfficialAreaIndex(int32_t iArea) { return iArea - 1 - (iArea > kNeverIssuedArea ? 1 : 0); }
int32_t OfficialAreaAt(int32_t iIndex) { return iIndex + 1 + (iIndex + 1 >= kNeverIssuedArea ? 1 : 0); }

// A number issued since the 2011 randomization (official rules), or one the
// table does not know: the group moves one step in issuance order (forward
// in odd areas, back in even ones) within 01-99 and the serial is
// transposed, as for any area. The area stays, unless it is to be replaced
// (bReplaceArea): then it moves round the officially issuable areas by 1 to
// 897 places, as many as the new group and serial say, so the result is
// derived from the value alone and never keeps its area.
int32_t MaskIssuedSince2011(int32_t iInSsn, int32_t* piOutSsn, bool bValidate, bool bReplaceArea) {
    const int32_t iArea = iInSsn / 1000000;
    const int32_t iGroup = (iInSsn - iArea * 1000000) / 10000;
    const int32_t iSerial = iInSsn % 10000;
    int32_t iRank = IssuanceRank(iGroup);
    if (bValidate) {
        if (iRank < 1) return QRNP_MSG_US_INVALID_GROUP;
        if (iSerial < 1 || iInSsn == kVoidedSsn1 || iInSsn == kVoidedSsn2) return QRNP_MSG_US_INVALID_SERIAL;
    }
    int32_t iOffset = kOddAreaOffset;
    if (iArea % 2 != 0) {
        iRank = iRank >= kHighestRank ? 1 : iRank + 1;
    } else {
        iRank = iRank <= 1 ? kHighestRank : iRank - 1;
        iOffset = kEvenAreaOffset;
    }
    int32_t iNewSerial = 0;
    if (TransposeSerial(iSerial, iArea, iOffset, &iNewSerial) != 0) return -1;
    const int32_t iNewGroup = GroupOfRank(iRank);
    int32_t iNewArea = iArea;
    if (bReplaceArea) {
        const int32_t iStep = 1 + (iNewGroup * 10000 + iNewSerial) % (kOfficialAreas - 1);
        iNewArea = OfficialAreaAt((OfficialAreaIndex(iArea) + iStep) % kOfficialAreas);
    }
    *piOutSsn = iNewArea * 1000000 + iNewGroup * 10000 + iNewSerial;
    return 0;
}

// MaskSSNIn without its traces (it has several exits).
int32_t MaskWithTable(SsnWorkingTable* pTable, int32_t iInSsn, int32_t* piOutSsn, uint64_t lOptionFlags,
                      bool bValidate) {
    const int32_t iArea = iInSsn / 1000000;
    const int32_t iGroup = (iInSsn - iArea * 1000000) / 10000;
    const int32_t iSerial = iInSsn % 10000;

    // The area must be one in use, validating or not. Since the 2011
    // randomization (the official rules) every area 001-899 but 666 may be
    // issued, with any group: a number the table does not know is masked
    // without it, its area kept.
    if ((lOptionFlags & US_FLAG_OFFICIAL) != 0) {
        if (iArea < 1 || iArea > kHighestIssuableArea || iArea == kNeverIssuedArea) return QRNP_MSG_US_INVALID_AREA;
        const int32_t iGroupRank = IssuanceRank(iGroup);
        const bool bTableKnows =
            iArea <= pTable->NumAreas && pTable->AreaTable[iArea - 1].cCurGroup != 0 &&
            (!bValidate || (iGroupRank >= 1 && iGroupRank <= pTable->AreaTable[iArea - 1].cHighGroup));
        if (!bTableKnows)
            return MaskIssuedSince2011(iInSsn, piOutSsn, bValidate, (lOptionFlags & US_FLAG_REPLACE_AREA) != 0);
    }
    if (iArea < 1 || iArea > pTable->NumAreas) return QRNP_MSG_US_INVALID_AREA;
    AreaEntry& entry = pTable->AreaTable[iArea - 1];
    if (entry.cCurGroup == 0) return QRNP_MSG_US_AREA_NOT_IN_USE;

    int32_t iRank = IssuanceRank(iGroup);
    const int32_t iHighRank = entry.cHighGroup;
    if (bValidate) {
        if (iRank < 1 || iRank > iHighRank) return QRNP_MSG_US_INVALID_GROUP;
        if (iSerial < 1 || iInSsn == kVoidedSsn1 || iInSsn == kVoidedSsn2) return QRNP_MSG_US_INVALID_SERIAL;
    }

    if (lOptionFlags & US_FLAG_REPLACE_AREA) {
        const int32_t iNewArea = ReplacementArea(pTable, iArea);
        AreaEntry& chosen = pTable->AreaTable[iNewArea - 1];
        // Never hand the source back unchanged: skip its number. The skip is
        // a full step (past 9999 the group moves back), so the result stays
        // a well-formed number even when the counter stood at 9999.
        if (iNewArea == iArea && chosen.cCurGroup == iGroup && chosen.sSerial == iSerial)
            AdvanceSerial(pTable, &chosen);
        *piOutSsn = iNewArea * 1000000 + chosen.cCurGroup * 10000 + chosen.sSerial;
        AdvanceSerial(pTable, &chosen);
        return 0;
    }

    // The group moves one step in issuance order: forward in odd areas, back in even ones.
    int32_t iOffset = 0;
    if (iArea % 2 != 0) {
        ++iRank;
        if (iRank > kHighestRank || (bValidate && iRank > iHighRank)) iRank = 1;
        iOffset = kOddAreaOffset;
    } else {
        --iRank;
        if (iRank < 1) iRank = bValidate ? iHighRank : kHighestRank;
        iOffset = kEvenAreaOffset;
    }
    int32_t iNewSerial = 0;
    if (TransposeSerial(iSerial, iArea, iOffset, &iNewSerial) != 0) return -1;
    *piOutSsn = iArea * 1000000 + GroupOfRank(iRank) * 10000 + iNewSerial;
    return 0;
}

}  // namespace

int32_t IssuanceRank(int32_t iGroup) {
    TRC_ENTRY(kComp, "IssuanceRank");
    int32_t iRank = 0;  // group 00
    if (iGroup > 0 && iGroup % 2 != 0)
        iRank = iGroup < 11 ? (iGroup + 1) / 2 : (iGroup - 9) / 2 + 54;
    else if (iGroup > 0)
        iRank = iGroup <= 9 ? iGroup / 2 + 50 : (iGroup - 8) / 2 + 5;
    TRC_EXIT(kComp, "IssuanceRank", iRank);
    return iRank;
}

int32_t GroupOfRank(int32_t iRank) {
    TRC_ENTRY(kComp, "GroupOfRank");
    int32_t iGroup = 0;
    if (iRank < 1)
        iGroup = 0;
    else if (iRank < 6)
        iGroup = 2 * iRank - 1;     // odd 01-09
    else if (iRank < 51)
        iGroup = 2 * iRank - 2;     // even 10-98
    else if (iRank > 54)
        iGroup = 2 * iRank - 99;    // odd 11-99
    else
        iGroup = 2 * iRank - 100;   // even 02-08
    TRC_EXIT(kComp, "GroupOfRank", iGroup);
    return iGroup;
}

const AreaEntry* ChooseAreaTable(uint64_t lOptionFlags, const char** ppDate) {
    TRC_ENTRY(kComp, "ChooseAreaTable");
    const AreaEntry* pTable = MaxGrpAreaTable;
    *ppDate = "10/10/10";
    if (lOptionFlags & US_FLAG_TABLE_2006) {
        *ppDate = "11/01/06";
        pTable = DistAreaTable;
    } else if (lOptionFlags & US_FLAG_TABLE_2008) {
        *ppDate = "01/02/08";
        pTable = Y2008AreaTable;
    }
    TRC_VAR(kComp, "pDate", KNL_TRC_STR, *ppDate);
    TRC_EXIT(kComp, "ChooseAreaTable", 0);
    return pTable;
}

void SetUpWorkingTable(uint64_t lOptionFlags, SsnWorkingTable* pTable) {
    TRC_ENTRY(kComp, "SetUpWorkingTable");
    const char* pDate = nullptr;
    const AreaEntry* pSource = ChooseAreaTable(lOptionFlags, &pDate);
    std::memcpy(pTable->AreaTable, pSource, sizeof pTable->AreaTable);
    std::memcpy(pTable->szDate, pDate, sizeof pTable->szDate);
    pTable->NumAreas = 0;
    pTable->iAreasLeft = 0;
    for (int32_t i = 0; i < US_AREA_COUNT; ++i) {
        AreaEntry& entry = pTable->AreaTable[i];
        entry.cCurGroup = entry.cHighGroup;
        if (entry.cCurGroup > 0) {
            pTable->NumAreas = i;
            ++pTable->iAreasLeft;
            entry.cHighGroup = static_cast<int8_t>(IssuanceRank(entry.cCurGroup));
            entry.sSerial = 1;
        }
    }
    pTable->NumAreas += 1;  // from the index of the highest area in use to its number
    TRC_VAR(kComp, "AreaTable date", KNL_TRC_STR, pTable->szDate);
    TRC_VAR(kComp, "NumAreas", KNL_TRC_I32, &pTable->NumAreas);
    TRC_EXIT(kComp, "SetUpWorkingTable", 0);
}

int32_t MaskSSNIn(SsnWorkingTable* pTable, int32_t iInSsn, int32_t* piOutSsn, uint64_t lOptionFlags,
                  bool bValidate) {
    TRC_ENTRY(kComp, "MaskSSNIn");
    const int32_t iRc = MaskWithTable(pTable, iInSsn, piOutSsn, lOptionFlags, bValidate);
    TRC_EXIT(kComp, "MaskSSNIn", iRc);
    return iRc;
}

int32_t RandomSSNIn(SsnWorkingTable* pTable, int32_t* piOutSsn) {
    TRC_ENTRY(kComp, "RandomSSNIn");
    // Once every area is used up nothing new is left to hand out.
    int32_t iRc = -1;
    if (pTable->iAreasLeft > 0) {
        int32_t iIndex = 0;
        do {
            iIndex = Draw(pTable->NumAreas);
        } while (pTable->AreaTable[iIndex].cCurGroup == 0);
        AreaEntry& entry = pTable->AreaTable[iIndex];
        *piOutSsn = (iIndex + 1) * 1000000 + entry.cCurGroup * 10000 + entry.sSerial;
        AdvanceSerial(pTable, &entry);
        iRc = 0;
    }
    TRC_EXIT(kComp, "RandomSSNIn", iRc);
    return iRc;
}

int32_t MaskSSN(int32_t iInSsn, int32_t* piOutSsn, uint64_t lOptionFlags, uint16_t sProcFlags,
                const FieldDef* pFldDef, const CtrlBlk* pCtrlBlk) {
    TRC_ENTRY(kComp, "MaskSSN");
    TRC_VAR(kComp, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(kComp, "pFldDef", KNL_TRC_PTR, pFldDef);
    TRC_VAR(kComp, "iInSsn", KNL_TRC_I32, &iInSsn);
    TRC_VAR(kComp, "lFlags", KNL_TRC_U64, &lOptionFlags);
    if (!bMaskReady) {
        SetUpWorkingTable(lOptionFlags, &maskWorking);
        bMaskReady = true;
    }
    const int32_t iRc = MaskSSNIn(&maskWorking, iInSsn, piOutSsn, lOptionFlags,
                                  (sProcFlags & QRNP_PROC_VALIDATE_FULLY) != 0);
    if (iRc == 0) TRC_VAR(kComp, "iOutSsn", KNL_TRC_I32, piOutSsn);
    TRC_EXIT(kComp, "MaskSSN", iRc);
    return iRc;
}

int32_t RandomSSN(int32_t* piOutSsn, uint64_t lOptionFlags) {
    TRC_ENTRY(kComp, "RandomSSN");
    TRC_VAR(kComp, "lFlags", KNL_TRC_U64, &lOptionFlags);
    if ((lOptionFlags & US_FLAG_OFFICIAL) != 0) {
        // Since the 2011 randomization: any area 001-899 but 666, group
        // 01-99, serial 0001-9999, drawn from rand() (seeded once).
        if (bOfficialSeedPending) {
            std::srand(static_cast<unsigned>(std::time(nullptr)));
            bOfficialSeedPending = false;
        }
        int32_t iSsn = 0;
        do {
            int32_t iArea = 0;
            do {
                iArea = Draw(kHighestIssuableArea) + 1;
            } while (iArea == kNeverIssuedArea);
            iSsn = iArea * 1000000 + (Draw(99) + 1) * 10000 + Draw(9999) + 1;
        } while (iSsn == kVoidedSsn1 || iSsn == kVoidedSsn2);
        *piOutSsn = iSsn;
        TRC_VAR(kComp, "iOutSsn", KNL_TRC_I32, piOutSsn);
        TRC_EXIT(kComp, "RandomSSN", 0);
        return 0;
    }
    if (!bRandomReady) {
        SetUpWorkingTable(lOptionFlags, &randomWorking);
        bRandomReady = true;
    }
    const int32_t iRc = RandomSSNIn(&randomWorking, piOutSsn);
    if (iRc == 0) TRC_VAR(kComp, "iOutSsn", KNL_TRC_I32, piOutSsn);
    TRC_EXIT(kComp, "RandomSSN", iRc);
    return iRc;
}
