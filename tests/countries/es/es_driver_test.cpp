// Spain end to end through the entry points: layouts, the eight-digit mark,
// the control letter, exits, separator options and random generation.
#include <gtest/gtest.h>

#include <cstring>

#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::RunRows;

const char* kLetters = "TRWAGMYFPDXBNJZSQVHLCKE";

InstanceOptions Spanish(uint16_t sProcFlags = 0, uint32_t iSeparator = 0) {
    InstanceOptions options;
    options.countrySwitch = L"ES";
    options.sProcFlags = sProcFlags;
    options.operands = {{QRNP_OPR_ES_SEPARATOR, iSeparator}};
    return options;
}

std::string Narrow(const std::wstring& s) { return hostkit::ToUtf8(s); }

// The digits of an identifier and whether its letter is theirs.
bool LetterMatches(const std::wstring& digits, wchar_t letter) {
    return static_cast<wchar_t>(kLetters[std::stoull(digits) % 23]) == letter;
}

// 12345678 masks to 46488062 (letter W), 1234567 to 2044628 (letter C); the
// source's form is kept.
TEST(SpainDriverTest, LayoutsControlLetterAndMaskedForms) {
    testsupport::ExpectRows(Spanish(), {
        {L"12345678Z", 0, 0, L"46488062W"},    // converted length 9, eight digits: the mark
        {L"1234567L", 0, 0, L"2044628C"},      // length 8: a seven-digit NIF
        {L"1234567-L", 0, 0, L"2044628-C"},
        {L"1234567 L", 0, 0, L"2044628 C"},
        {L"X1234567L", 0, 0, L"X2044628C"},
        {L"X-1234567-L", 0, 0, L"X-2044628-C"},
        {L"X 1234567 L", 0, 0, L"X 2044628 C"},
        {L"1234567/L", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"12345678Z ", 0, QRNP_MSG_INVALID_SEPARATOR},   // converted length 10: no mark, so a separator is needed at 7
        {L" 12345678Z", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"1234567LL", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"X-1234567 L", 0, QRNP_MSG_INVALID_SEPARATOR},  // mixed separators
        {L"X/1234567/L", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"Y-1234567-L", 0, QRNP_MSG_INVALID_SEPARATOR},  // only X is an NIE prefix
        {L"x1234567L", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"X12345A7L", 0, QRNP_MSG_INVALID_SOURCE_DATA},
        {L"12345A7-L", 0, QRNP_MSG_INVALID_SOURCE_DATA},
        {L"X-12345A7-L", 0, QRNP_MSG_INVALID_SOURCE_DATA},
        {L"1234567", 0, QRNP_MSG_INVALID_LENGTH},
        {L"X-1234567-LL", 0, QRNP_MSG_INVALID_LENGTH},
        {L"ABCDEFGHIJ", 0, QRNP_MSG_INVALID_LENGTH},   // ten letters and digits
        {L"1-2-3-4-5-6", 0, QRNP_MSG_INVALID_LENGTH},  // six letters and digits
        // The control letter is checked only under a full validation, and never enters the mask.
        {L"12345678A", 0, 0, L"46488062W"},
        {L"123456789", 0, 0},       // the mark: eight digits, then any character
        {L"123456789", 1, QRNP_MSG_ES_INVALID_SUFFIX},
        {L"1234567A", 1, QRNP_MSG_ES_INVALID_SUFFIX},
        {L"1234567L", 1, 0},
        {L"1234567-A", 1, QRNP_MSG_ES_INVALID_SUFFIX},
        {L"X 1234567 A", 1, QRNP_MSG_ES_INVALID_SUFFIX},
        {L"1234567l", 1, QRNP_MSG_ES_INVALID_SUFFIX},     // the letter is a capital
    });
}

TEST(SpainDriverTest, SeparatorOptions) {
    testsupport::ExpectSeparators(Spanish(), QRNP_OPR_ES_SEPARATOR, {
        {2, L"X-1234567-L", L"X-2044628-C"}, {2, L"1234567L", L"2044628C"},
        {1, L"X-1234567-L", L"X2044628C"},   {1, L"1234567 L", L"2044628C"},
        {8, L"1234567L", L"2044628-C"},      {8, L"X 1234567 L", L"X-2044628-C"},
        {8, L"12345678Z", L"46488062-W"},    {16, L"X1234567L", L"X 2044628 C"},
        {16, L"1234567-L", L"2044628 C"},
    });
    testsupport::ExpectInits(Spanish(), {
        {{{QRNP_OPR_ES_SEPARATOR, 3}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_ES_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED},
         {{QRNP_TOKID_SEP, L"3"}, {QRNP_TOKID_COUNTRY, L"Spain"}}},
        {{{QRNP_OPR_ES_SEPARATOR, 4}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_ES_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
    });
}

TEST(SpainDriverTest, MessagesAndPassThrough) {
    testsupport::ExpectMessages(Spanish(), {
        {L"1234567", 0, QRNP_MSG_INVALID_LENGTH,
         {{QRNP_TOKID_SRCDATA, L"1234567"}, {QRNP_TOKID_SRCLEN, L"7"}, {QRNP_TOKID_COUNTRY, L"Spain"}}},
        {L"X-1234567 L", 0, QRNP_MSG_INVALID_SEPARATOR, {{QRNP_TOKID_SRCDATA, L"X-1234567 L"}, {QRNP_TOKID_COUNTRY, L"Spain"}}},
        {L"12345678-Z", 0, QRNP_MSG_INVALID_SOURCE_DATA, {{QRNP_TOKID_SRCDATA, L"12345678-Z"}, {QRNP_TOKID_COUNTRY, L"Spain"}}},
        {L"12345678A", 1, QRNP_MSG_ES_INVALID_SUFFIX, {{QRNP_TOKID_SRCDATA, L"12345678A"}}},
    });
    testsupport::ExpectPassedThroughOnlyWhenAsked(Spanish(QRNP_PROC_VALIDATE_FULLY),
                                                  {L"12345678A", L"X-1234567 L", L"12345678-Z", L"1234567"});
}

// The mark comes from the converted length, before trimming: a fixed-width
// column wider than nine characters hands over its padding too.
TEST(SpainDriverTest, FixedWidthPaddingHidesTheMark) {
    for (int16_t sType : {CHAR, VARCHAR, VARCHAR_SZ, WCHAR, WVARCHAR, WVARCHAR_SZ}) {
        const bool bFixed = sType == CHAR || sType == WCHAR;
        for (int32_t iWidth : {9, 12}) {
            InstanceOptions options = Spanish();
            options.sDataType = sType;
            options.iLength = iWidth;
            const auto result = RunRows(options, {L"12345678Z"});
            SCOPED_TRACE("type " + std::to_string(sType) + " width " + std::to_string(iWidth));
            if (bFixed && iWidth == 12) {
                EXPECT_EQ(result.rows[0].iStatus, QRNP_MSG_INVALID_SEPARATOR);
                continue;
            }
            std::wstring expected = L"46488062W";
            if (bFixed) expected.resize(static_cast<size_t>(iWidth), L' ');
            EXPECT_EQ(result.rows[0].output, expected);
        }
    }
}

// Random identifiers: seven digits, or eight when the source carries the
// mark; numbers up to 929999 come out as NIEs of seven digits.
TEST(SpainDriverTest, RandomIdentifiers) {
    struct Case {
        std::optional<std::wstring> source;
        uint32_t iSeparator;
        const wchar_t* pNifShape;
        const wchar_t* pNieShape;
    };
    const Case cases[] = {
        {L"12345678Z", 0, L"#########", L"#########"},     {L"1234567L", 0, L"########", L"#########"},
        {std::nullopt, 0, L"########", L"#########"},      {L"X-1234567-L", 8, L"#######-#", L"#-#######-#"},
        {L"12345678Z", 16, L"######## #", L"# ####### #"},
    };
    for (const Case& c : cases) {
        constexpr int kRows = 20000;
        const auto result = RunRows(Spanish(0, c.iSeparator), std::vector(kRows, c.source), QRNP_METHOD_RANDOM);
        ASSERT_EQ(result.iService, 0);
        int iNIE = 0, iLeadingZero = 0;
        for (const auto& row : result.rows) {
            const std::wstring& out = *row.output;
            SCOPED_TRACE(Narrow(out));
            const bool bNIE = out[0] == L'X';
            ASSERT_EQ(testsupport::Shape(out), bNIE ? c.pNieShape : c.pNifShape);
            const size_t iDigits = bNIE ? 7 : out.size() - (c.iSeparator != 0 ? 2 : 1);
            const std::wstring digits = out.substr(out.find_first_of(L"0123456789"), iDigits);
            ASSERT_EQ(digits.find_first_not_of(L"0123456789"), std::wstring::npos);
            EXPECT_EQ(std::stoull(digits) <= 929999u, bNIE);
            EXPECT_TRUE(LetterMatches(digits, out.back()));
            iNIE += bNIE;
            iLeadingZero += bNIE && digits[0] == L'0';
        }
        EXPECT_GT(iNIE, 0);
        EXPECT_GT(iLeadingZero, 0);
        EXPECT_LT(iNIE, kRows / 4);
    }
}

// The mark is looked for before the method test: a source that cannot be
// converted fails a masked row once (4404) and does not stop a random one.
TEST(SpainDriverTest, UnconvertibleSourceFailsOnlyWhenMasked) {
    for (uint16_t sMethod : {QRNP_METHOD_MASK, QRNP_METHOD_RANDOM}) {
        auto instance = hostkit::MakeInstance(testsupport::Linked(), Spanish());
        ASSERT_EQ(hostkit::InitInstance(*instance), 0);
        hostkit::Batch batch;
        hostkit::FillBatch(*instance, {{false, L"12345678Z"}}, &batch);
        const int16_t sTooLong = 200;  // a VARCHAR length prefix past the source
        std::memcpy(batch.fields[0].pSrc, &sTooLong, sizeof sTooLong);
        const int32_t iService = hostkit::ServiceBatch(*instance, batch, sMethod);
        const auto row = hostkit::ReadRow(*instance, batch, 0);
        const auto messages = hostkit::ReadErrors(instance->ctrl.pEAB);
        if (sMethod == QRNP_METHOD_MASK) {
            EXPECT_EQ(iService, -2);
            EXPECT_EQ(row.iStatus, QRNP_MSG_SOURCE_CONVERSION);
            ASSERT_EQ(messages.size(), 1u);
            EXPECT_EQ(testsupport::TokenText(messages[0], QRNP_TOKID_COUNTRY), L"Spain");
        } else {
            EXPECT_EQ(iService, 0);
            EXPECT_EQ(row.iStatus, 0);
            EXPECT_TRUE(messages.empty());
            // No mark: a seven-digit NIF, or an NIE.
            EXPECT_EQ(row.output->size(), (*row.output)[0] == L'X' ? 9u : 8u);
        }
        hostkit::TerminateInstance(*instance);
    }
}

}  // namespace
