// IsValidRegionCode against the generated table of refused region codes (its
// shape and agreement with data/ are the generator's --check, run by ctest).

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "countries/it/QRNPNidItAlgo.h"

namespace {

// Of every letter and three digits, exactly the table's entries are refused.
TEST(ItRegionTable, EveryEntryIsRefusedAndOnlyThose) {
    int iRefused = 0;
    for (const wchar_t letter : std::wstring(REGION_INITIALS)) {
        for (int n = 1; n <= 999; ++n) {
            wchar_t code[5];
            swprintf(code, 5, L"%lc%03d", letter, n);
            iRefused += IsValidRegionCode(code) == 0;
        }
    }
    EXPECT_EQ(iRefused, IT_INVALID_REGION_CODES);
    for (const auto& entry : InvalidRegionCodes) EXPECT_EQ(IsValidRegionCode(entry), 0) << entry;
    EXPECT_EQ(IsValidRegionCode(nullptr), 0);
}

// Codes of any characters answer as a case-insensitive search of the table's
// first four characters would: only a letter and three digits can match an
// entry, and the letter must be a capital of REGION_INITIALS.
TEST(ItRegionTable, CodesOfAnyCharacters) {
    const std::pair<const wchar_t*, int32_t> kCodes[] = {
        {L"A002", 0}, {L"A003", 0}, {L"A004", 1}, {L"Z999", 0}, {L"H501", 1},     // digits, in the table or not
        {L"A002x", 0}, {L"A00a", 1}, {L"Aa02", 1}, {L"A0O2", 1}, {L"A00 ", 1},   // other characters after the letter
        {L"A-02", 1}, {L"A00", 1}, {L"A0", 1}, {L"A", 1},                        // ... and shorter codes
        {L"A000", 0}, {L"a002", 0}, {L"a562", 0}, {L"J123", 0}, {L"N123", 0},   // 000, or refused by the letter
        {L"\u0100002", 0}, {L"\u0141562", 0},
    };
    for (const auto& [pCode, iExpected] : kCodes) EXPECT_EQ(IsValidRegionCode(pCode), iExpected) << pCode;
}

}  // namespace
