// One provider fuzz input decoded into everything a host decides: the
// country switch, the column, the options, the method, the rowsets and
// their cells, tracing and heap failure injection.
//
// Input layout (bytes past the end read as 0):
//    0      switch: below 0xC0 a country present (low 4 bits, modulo their
//           number) written in one of four ways (bits 4-5: "FR", "fr", "Fr",
//           "FRANCE"-like); 0xC0-0xDF a name no country has; 0xE0-0xFF a
//           switch that is not a wide string
//    1      method: bits 0-1 mask, random, take the CtrlBlk's, any other
//           value (bytes 2-3); bit 2 the CtrlBlk method and operand 0x100B
//           are bytes 2-3 rather than the method served; bit 3 no 0x100B operand;
//           bit 4 encrypt instead (bit 5: decrypt)
//    2-3    a 16-bit method value
//    4      column type (modulo 16: the six character types, five numeric
//           ones, five that no country takes)
//    5      column length (characters)
//    6      packed-decimal precision (signed)
//    7-8    processing flags
//    9      bit 0 separate destination, 1 rows linked by pointers, 2 NULL
//           cells with a null pointer, 3 operands linked by pointers, 4
//           source lengths left to the data, 5 tracing on, 6 destination
//           capacity from byte 10, 7 two Service calls (the rows split at byte 15)
//    10     destination capacity in bytes (with bit 6 of byte 9)
//    11-12  error limit (signed)
//    13     source column index: (value mod 6) - 1; bit 7 set puts no cells
//           before the source, so an index of 1 or more is out of range
//    14     bit 0 no destination buffers, bit 1 no conversion block, bit 2
//           fail the heap call numbered by byte 16 (1-32)
//    15     where the second Service call's rows start
//    16     heap call to fail
//    17-18  GetInfo request (signed); 19: its buffer size (255: none)
//    20     operand count (modulo 9), then 3 bytes each: key (below 16 one
//           of the option keys, 15 the 16 key operands made from the value
//           and, for an odd value, the tweak's; else 0x1800 + the byte),
//           16-bit value
//    rows, to the end of the input (at most 256): a control byte (bits 0-1:
//           text, NULL, raw cell bytes, text in a row already taken) and a
//           byte string (one length byte, or 255 and a 16-bit length);
//           text is decoded by DecodeText (byte_reader.h)
#ifndef QRNP_FUZZ_PROVIDER_SCENARIO_H
#define QRNP_FUZZ_PROVIDER_SCENARIO_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostkit.h"

struct ProviderScenario {
    uint32_t iCountry = 0;                  // CountryCode the switch names; 0 when none
    bool bUnknownSwitch = false;            // a wide switch naming no country
    hostkit::InstanceOptions options;
    hostkit::BatchOptions batchOptions;
    uint16_t sServiceMethod = 0;            // the method Service is called with
    bool bKeyed = false;                    // the key operands are given (encrypt and decrypt are methods)
    bool bTrace = false;
    int iFailHeapCall = 0;                  // 0: no injected heap failure
    int16_t sInfoRequest = 0;
    int iInfoBufferBytes = -1;              // -1: GetInfo without a buffer
    std::vector<hostkit::CellValue> cells;
    std::vector<uint8_t> taken;             // per row: marked taken before Service
    size_t iSecondCallStart = 0;            // rows from here go to a second Service call (0: one call)
};

ProviderScenario DecodeScenario(const uint8_t* pData, size_t iSize);

#endif
