// Values of every length and odd text, for every country present, in the
// column types that can carry them: each gets its message (the length check,
// the blanks-only pass-through) or, with "pass invalid data through", reaches
// the destination byte for byte. Guard bytes after every buffer are checked,
// and refused outright under the sanitizer build. (Empty values of every
// column type: the row driver test and the provider fuzz target's oracle.)
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/countries.h"
#include "support/run_rows.h"

namespace {

using hostkit::CellValue;
using hostkit::InstanceOptions;

constexpr int32_t kMillion = 1000000;

// One Service call, kept for inspection.
struct Served {
    std::unique_ptr<hostkit::Instance> instance;
    hostkit::Batch batch;
    int32_t iService = 0;
    std::vector<hostkit::Message> messages;

    const FieldDef& Cell(size_t r) const {
        return batch.fields[r * static_cast<size_t>(batch.cellsPerRow) + static_cast<size_t>(batch.sourceCell)];
    }
    // The destination holds the source's bytes exactly.
    bool CarriedFaithfully(size_t r) const {
        const FieldDef& cell = Cell(r);
        return cell.iDstLen == cell.iSrcLen && cell.iSrcLen > 0 &&
               std::memcmp(cell.pDst, cell.pSrc, static_cast<size_t>(cell.iSrcLen)) == 0;
    }
};

std::unique_ptr<Served> Serve(const InstanceOptions& options, const std::vector<CellValue>& cells,
                              uint16_t sMethod = QRNP_METHOD_MASK) {
    auto pServed = std::make_unique<Served>();
    Served& s = *pServed;
    s.instance = hostkit::MakeInstance(testsupport::Linked(), options);
    EXPECT_EQ(hostkit::InitInstance(*s.instance), 0);
    hostkit::FillBatch(*s.instance, cells, &s.batch);
    for (size_t r = 0; r < cells.size(); ++r) EXPECT_FALSE(s.batch.encodeFailed[r]) << "row " << r + 1;
    hostkit::ProtectGuards(s.batch, true);
    s.iService = hostkit::ServiceBatch(*s.instance, s.batch, sMethod);
    EXPECT_TRUE(hostkit::GuardsIntact(s.batch));
    s.messages = hostkit::ReadErrors(s.instance->ctrl.pEAB);
    return pServed;
}

InstanceOptions Options(uint32_t iCountry, int16_t sDataType, int32_t iLength, uint16_t sProcFlags = 0) {
    InstanceOptions options;
    options.countrySwitch = testsupport::SwitchLetters(iCountry);
    options.sDataType = sDataType;
    options.iLength = iLength;
    options.sProcFlags = sProcFlags;
    return options;
}

// A character type that holds n characters of a value (VARCHAR's 16-bit prefix stops at 32767 bytes).
std::vector<int16_t> TypesFor(size_t n) {
    std::vector<int16_t> types = {CHAR, VARCHAR_SZ, WCHAR, WVARCHAR_SZ};
    if (n <= 0x7FFF - 2) types.push_back(VARCHAR);
    if (4 * n <= 0x7FFF - 2) types.push_back(WVARCHAR);
    return types;
}

TEST(LongValues, EveryLengthGetsItsMessage) {
    for (uint32_t iCountry : testsupport::CountriesPresent()) {
        const std::wstring country = FindCountry(iCountry)->pName;
        for (size_t n : {size_t{1}, size_t{1000}, size_t{kMillion}}) {
            for (int16_t sType : TypesFor(n)) {
                SCOPED_TRACE(hostkit::ToUtf8(country) + ", " + std::to_string(n) + " characters, type " +
                             std::to_string(sType));
                const std::wstring digits(n, L'1');
                const auto s = Serve(Options(iCountry, sType, static_cast<int32_t>(n)), {CellValue{false, digits}});
                EXPECT_EQ(s->iService, QRNP_WARNING);
                EXPECT_EQ(s->Cell(0).iStatus, QRNP_MSG_INVALID_LENGTH);
                EXPECT_EQ(s->batch.rows[0].bError, 1);
                ASSERT_EQ(s->messages.size(), 1u);
                EXPECT_EQ(testsupport::TokenText(s->messages[0], QRNP_TOKID_SRCLEN), std::to_wstring(n));
                EXPECT_EQ(testsupport::TokenText(s->messages[0], QRNP_TOKID_SRCDATA), digits);
                EXPECT_EQ(testsupport::TokenText(s->messages[0], QRNP_TOKID_COUNTRY), country);

                // Blanks only: passed through whole, not a failure of the value.
                const auto blanks = Serve(Options(iCountry, sType, static_cast<int32_t>(n)),
                                            {CellValue{false, std::wstring(n, L' ')}});
                EXPECT_EQ(blanks->Cell(0).iStatus, QRNP_MSG_SOURCE_ONLY_SPACES);
                EXPECT_EQ(blanks->batch.rows[0].bError, 0);
                EXPECT_TRUE(blanks->CarriedFaithfully(0));

                // Invalid data passed through arrives whole, however long.
                const auto passed = Serve(Options(iCountry, sType, static_cast<int32_t>(n), QRNP_PROC_PASS_INVALID),
                                            {CellValue{false, digits}});
                EXPECT_EQ(passed->Cell(0).iStatus, QRNP_MSG_INVALID_LENGTH);
                EXPECT_EQ(passed->batch.rows[0].bError, 0);
                EXPECT_TRUE(passed->CarriedFaithfully(0));
            }
        }
    }
}

TEST(LongValues, LongSourcesWithTheRandomMethodAreNotNeeded) {
    for (uint32_t iCountry : testsupport::CountriesPresent()) {
        SCOPED_TRACE(hostkit::ToUtf8(testsupport::SwitchLetters(iCountry)));
        InstanceOptions options = Options(iCountry, WVARCHAR_SZ, 32);
        options.sMethod = QRNP_METHOD_RANDOM;
        const auto s = Serve(options, {CellValue{false, std::wstring(kMillion, L'9')}}, QRNP_METHOD_RANDOM);
        EXPECT_EQ(s->iService, 0);
        EXPECT_EQ(s->Cell(0).iStatus, 0);
    }
}

// A generated identifier of the country, to spoil.
std::wstring GeneratedIdentifier(uint32_t iCountry) {
    return testsupport::Generated(Options(iCountry, WVARCHAR_SZ, 32), 1)[0].value_or(L"");
}

// Characters no identifier holds, put in place of its first digit: a NUL, a
// digit of another script, the largest code point, a lone surrogate, values
// beyond Unicode (the last one read as negative).
TEST(OddText, SpoiledIdentifiersAreRefusedOrCarriedFaithfully) {
    const wchar_t kOdd[] = {L'\0', L'\x0661', L'\xFF11', static_cast<wchar_t>(0x10FFFF), static_cast<wchar_t>(0xD800),
                            static_cast<wchar_t>(0x7FFFFFFF), static_cast<wchar_t>(0xFFFFFFFFu)};
    for (uint32_t iCountry : testsupport::CountriesPresent()) {
        const std::wstring valid = GeneratedIdentifier(iCountry);
        ASSERT_FALSE(valid.empty());
        const size_t iDigit = valid.find_first_of(L"0123456789");
        ASSERT_NE(iDigit, std::wstring::npos);
        for (wchar_t odd : kOdd) {
            std::wstring spoiled = valid;
            spoiled[iDigit] = odd;
            // A NUL fits the fixed-width and length-prefixed types only; the wide ones every character.
            std::vector<int16_t> types = {WCHAR, WVARCHAR};
            if (static_cast<uint32_t>(odd) <= 0xFF) types.insert(types.end(), {CHAR, VARCHAR});
            if (odd != 0) types.push_back(WVARCHAR_SZ);
            for (int16_t sType : types) {
                SCOPED_TRACE(hostkit::ToUtf8(valid) + " with U+" + std::to_string(static_cast<uint32_t>(odd)) +
                             ", type " + std::to_string(sType));
                const int32_t iLength = static_cast<int32_t>(spoiled.size());
                const auto refused = Serve(Options(iCountry, sType, iLength, QRNP_PROC_VALIDATE_FULLY),
                                             {CellValue{false, spoiled}});
                const int32_t iStatus = refused->Cell(0).iStatus;
                EXPECT_EQ(refused->batch.rows[0].bError, 1);
                EXPECT_TRUE(iStatus >= QRNP_MSG_INVALID_LENGTH && iStatus < 4600) << iStatus;
                ASSERT_FALSE(refused->messages.empty());
                EXPECT_EQ(refused->messages.back().iMessage, static_cast<uint32_t>(iStatus));
                EXPECT_EQ(refused->Cell(0).iDstLen, 0);

                const auto passed =
                    Serve(Options(iCountry, sType, iLength, QRNP_PROC_VALIDATE_FULLY | QRNP_PROC_PASS_INVALID),
                          {CellValue{false, spoiled}});
                EXPECT_EQ(passed->Cell(0).iStatus, iStatus);
                EXPECT_EQ(passed->batch.rows[0].bError, 0);
                EXPECT_TRUE(passed->CarriedFaithfully(0));
            }
        }
    }
}

// In a NUL-terminated column a NUL ends the value: what follows is not read
// as part of it, and passing it through copies the bytes the host gave.
TEST(OddText, TerminatedColumnsEndTheValueAtTheFirstNul) {
    for (uint32_t iCountry : testsupport::CountriesPresent()) {
        SCOPED_TRACE(hostkit::ToUtf8(testsupport::SwitchLetters(iCountry)));
        CellValue cell;
        cell.bRaw = true;
        const std::string bytes("1234\0" "5678901234567890", 21);
        cell.raw.assign(bytes.begin(), bytes.end());
        const auto s = Serve(Options(iCountry, VARCHAR_SZ, 24, QRNP_PROC_PASS_INVALID), {cell});
        EXPECT_EQ(s->Cell(0).iStatus, QRNP_MSG_INVALID_LENGTH);
        ASSERT_FALSE(s->messages.empty());
        EXPECT_EQ(testsupport::TokenText(s->messages.back(), QRNP_TOKID_SRCDATA), L"1234");
        EXPECT_TRUE(s->CarriedFaithfully(0));
    }
}

}  // namespace
