// United States Social Security numbers: the dated area tables, masking and
// random generation.
//
// An SSN is handled as a 32-bit integer: area = value / 1000000 (001-999),
// group = the next two digits (01-99), serial = the last four (0001-9999).
// MaskSSN and RandomSSN each keep a process-wide working copy of the area
// table chosen by the option flags of their first call.
#ifndef QRNP_COUNTRIES_US_QRNPNIDUSALGO_H
#define QRNP_COUNTRIES_US_QRNPNIDUSALGO_H

#include <cstdint>

#include <qrnp/qrnp.h>

#include "countries/us/QRNPNidUsFlags.h"

// One area's entry (entry n - 1 for area n). In the constant tables the last
// two fields are 0; a working copy keeps its state there.
struct AreaEntry {
    int8_t cBlockSize;      // areas in this area's block of consecutive areas (0: none)
    int8_t cBlockPos;       // this area's position in its block, from 0
    int8_t cHighGroup;      // highest group issued (0: not in use); a working copy holds its issuance rank
    int8_t cCurGroup;       // working copy: the group handed out next (0: none left)
    int16_t sSerial;        // working copy: the serial handed out next
};
static_assert(sizeof(AreaEntry) == 6, "an area entry is six bytes");

// A row of the side table: areas that belong together without being consecutive.
struct AreaSideRow {
    uint8_t bCount;         // areas in the set
    uint8_t bPos;           // this row's position in the set; the set's first row is this row - bPos
    int16_t sArea;
};

// Generated from data/us_area_tables.csv and data/us_area_side_table.csv into QRNPNidUsAlgoExt.cpp.
extern const AreaEntry DistAreaTable[US_AREA_COUNT];     // "11/01/06"
extern const AreaEntry Y2008AreaTable[US_AREA_COUNT];    // "01/02/08"
extern const AreaEntry MaxGrpAreaTable[US_AREA_COUNT];   // "10/10/10"
extern const AreaSideRow AreaSideTable[US_SIDE_TABLE_ROWS];

// A working copy of a dated table.
struct SsnWorkingTable {
    AreaEntry AreaTable[US_AREA_COUNT];
    int32_t NumAreas;       // the highest area in use
    int32_t iAreasLeft;     // areas whose groups are not used up
    char szDate[9];         // the chosen table's date, "MM/DD/YY"
};

// The table the option flags choose (64: "11/01/06", else 128: "01/02/08",
// else "10/10/10") and its date string.
const AreaEntry* ChooseAreaTable(uint64_t lOptionFlags, const char** ppDate);

// Makes a working copy of the table the flags choose: each area in use gets
// its highest group as current group, the rank of that group in place of it,
// and serial 1; NumAreas becomes the highest area in use.
void SetUpWorkingTable(uint64_t lOptionFlags, SsnWorkingTable* pTable);

// The rank of a group in issuance order (odd 01-09, even 10-98, even 02-08,
// odd 11-99 are ranks 1-99; group 00 is rank 0), and the group of a rank
// (rank 0 or below gives group 00).
int32_t IssuanceRank(int32_t iGroup);
int32_t GroupOfRank(int32_t iRank);

// MaskSSN and RandomSSN on a given working copy (the process-wide functions
// below use their own copies). Same results as those.
int32_t MaskSSNIn(SsnWorkingTable* pTable, int32_t iInSsn, int32_t* piOutSsn, uint64_t lOptionFlags,
                  bool bValidate);
int32_t RandomSSNIn(SsnWorkingTable* pTable, int32_t* piOutSsn);

// Masks iInSsn into *piOutSsn. Bit 1 (validate fully) of sProcFlags asks for
// the group and serial checks; option flag 32 replaces the area by another of
// its block (then the result draws on rand() and counts up per area). Without
// flag 32 the result is a deterministic function of the value, the flags and
// the validation bit. Under the official rules (US_FLAG_OFFICIAL) a number
// the table does not know is masked without it, deterministically, its
// area kept, or with flag 32 moved to another area of 001-899 but 666.
// pFldDef and pCtrlBlk are traced only.
// Returns 0; 4554 area 0 or above the highest area in use; 4555 area not in
// use; 4556 (validating) group 00 or not yet issued in the area; 4557
// (validating) serial 0000, 078051120 or 457555462; -1 when a digit
// conversion fails.
int32_t MaskSSN(int32_t iInSsn, int32_t* piOutSsn, uint64_t lOptionFlags, uint16_t sProcFlags,
                const FieldDef* pFldDef, const CtrlBlk* pCtrlBlk);

// Writes an issued number not handed out before in this process into
// *piOutSsn, from rand() (never seeded here). Returns 0; -1 only once every
// area's groups are used up.
int32_t RandomSSN(int32_t* piOutSsn, uint64_t lOptionFlags);

#endif
