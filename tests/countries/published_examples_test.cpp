// The example values that two open validators publish, with the verdict of
// this provider's full validation. Where the provider's rules differ from the
// identifiers' current official rules (Corsican NIR keys, NIRs of people born
// abroad, the printed NIR, UK prefixes added since, Y and Z NIEs), the
// difference is written down here and cannot drift: `bOfficiallyValid` is
// the verdict of the current official rules, which the provider follows
// with operand 0x1920 = 1.
#include <gtest/gtest.h>

#include "support/run_rows.h"

namespace {

struct Example {
    const wchar_t* pCountry;
    const wchar_t* pValue;
    uint32_t iStatus;       // this provider, validating fully: 0 or the message
    bool bOfficiallyValid;  // out of scope (companies, special groups) counts as not valid
};

const Example kExamples[] = {
        {L"FR", L"2 95 10 99 126 111 93", QRNP_MSG_INVALID_LENGTH, true},
        {L"FR", L"295109912611199", QRNP_MSG_FR_INVALID_DEPT, false},
        {L"FR", L"253072B07300470", QRNP_MSG_FR_INVALID_KEY, true},
        {L"FR", L"253072A07300443", QRNP_MSG_FR_INVALID_COMMUNE, true},
        {L"FR", L"253072C07300443", QRNP_MSG_FR_INVALID_DEPT, false},
        {L"FR", L"6546546546546703", QRNP_MSG_INVALID_SEPARATOR, false},
        {L"FR", L"295109912611193", QRNP_MSG_FR_INVALID_DEPT, true},
        {L"FR", L"186022A21532523", QRNP_MSG_FR_INVALID_KEY, true},
        {L"FR", L"12345678", QRNP_MSG_INVALID_LENGTH, false},
        {L"IT", L"MRTNTN23M02D969P", 0, true},
        {L"IT", L"RCCMNL83S18D969H", 0, true},
        {L"IT", L"MRSMSR81D60Z611H", 0, true},
        {L"IT", L"CNTCHR83T41D969D", 0, true},
        {L"IT", L"FOXDRA26C24H872Y", 0, true},
        {L"IT", L"MAILCU91A25F839D", 0, true},
        {L"IT", L"RSSMRA45C12F205C", 0, true},
        {L"IT", L"RSSMRA45C12F20RX", 0, true},
        {L"IT", L"RSSMRA45C12F2L5N", 0, true},
        {L"IT", L"RSSMRA45C12F2LRI", 0, true},
        {L"IT", L"RSSMRAQRCMNFNLRG", 0, true},
        {L"IT", L"CSTNGL22I10D086I", QRNP_MSG_IT_INVALID_BIRTH_DATE, false},
        {L"IT", L"FOXDRA26C24H872A", QRNP_MSG_IT_INVALID_CHECK, false},
        {L"IT", L"CNTCHR83T32D969H", QRNP_MSG_IT_INVALID_BIRTH_DATE, false},  // day 32: no man is born on the 32nd (one validator reads it as valid)
        {L"IT", L"RCDLSN84S16D969Z", 0, true},
        {L"IT", L"00743110157", QRNP_MSG_INVALID_LENGTH, false},  // an 11-digit company number: not a person's identifier
        {L"IT", L"00743110158", QRNP_MSG_INVALID_LENGTH, false},
        {L"IT", L"RCCMNL83S18D969", QRNP_MSG_INVALID_LENGTH, false},
        {L"IT", L"BNCSFN85T58G702W", 0, true},
        {L"IT", L"12345678", QRNP_MSG_INVALID_LENGTH, false},
        {L"IT", L"RCCMNL83S18D967H", QRNP_MSG_IT_INVALID_CHECK, false},
        {L"UK", L"HH 012345 D", 0, true},
        {L"UK", L"HH012345D", 0, true},
        {L"UK", L"TJ012345D", QRNP_MSG_UK_INVALID_PREFIX, true},
        {L"UK", L"hh012345d", 0, true},
        {L"UK", L"HH012345", 0, true},
        {L"UK", L"HH01234", QRNP_MSG_INVALID_LENGTH, false},
        {L"UK", L"HH0123456D", QRNP_MSG_INVALID_LENGTH, false},
        {L"UK", L"00012345D", QRNP_MSG_UK_INVALID_PREFIX, false},
        {L"UK", L"XO012345D", QRNP_MSG_UK_INVALID_PREFIX, false},
        {L"UK", L"XO012345", QRNP_MSG_UK_INVALID_PREFIX, false},
        {L"UK", L"HH01A345D", QRNP_MSG_UK_INVALID_NUMBER, false},
        {L"UK", L"HH012345E", QRNP_MSG_UK_INVALID_SUFFIX, false},
        {L"UK", L"TO012345D", QRNP_MSG_UK_INVALID_PREFIX, false},
        {L"ES", L"11111111H", 0, true},
        {L"ES", L"11111111T", QRNP_MSG_ES_INVALID_SUFFIX, false},
        {L"ES", L"A11111119", QRNP_MSG_INVALID_SEPARATOR, false},
        {L"ES", L"A11111118", QRNP_MSG_INVALID_SEPARATOR, false},
        {L"ES", L"X1111111G", 0, true},
        {L"ES", L"X1111111A", QRNP_MSG_ES_INVALID_SUFFIX, false},
        {L"ES", L"L1111111G", QRNP_MSG_INVALID_SEPARATOR, false},  // L, M: identifiers of a few special groups, not NIF or NIE
        {L"ES", L"L1111111C", QRNP_MSG_INVALID_SEPARATOR, false},
        {L"ES", L"54362315-K", QRNP_MSG_INVALID_SOURCE_DATA, true},
        {L"ES", L"54362315Z", QRNP_MSG_ES_INVALID_SUFFIX, false},
        {L"ES", L"54362315", QRNP_MSG_ES_INVALID_SUFFIX, false},
        {L"ES", L"x-2482300w", QRNP_MSG_INVALID_SOURCE_DATA, true},
        {L"ES", L"x-2482300a", QRNP_MSG_INVALID_SOURCE_DATA, false},
        {L"ES", L"X2482300", QRNP_MSG_INVALID_SOURCE_DATA, false},
        {L"ES", L"ES B-58378431", QRNP_MSG_INVALID_LENGTH, false},
        {L"ES", L"B64717838", QRNP_MSG_INVALID_SEPARATOR, false},
        {L"ES", L"B64717839", QRNP_MSG_INVALID_SEPARATOR, false},
        {L"ES", L"54362315K", 0, true},
        {L"ES", L"X-5253868-R", 0, true},
        {L"ES", L"M-1234567-L", QRNP_MSG_INVALID_SEPARATOR, false},
        {L"ES", L"ES B58378431", QRNP_MSG_INVALID_LENGTH, false},
        {L"US", L"536-90-4399", 0, true},
        {L"US", L"1112-23333", QRNP_MSG_INVALID_SEPARATOR, false},  // nine valid digits, but separators where no SSN has them
        {L"US", L"666-00-0000", QRNP_MSG_US_AREA_NOT_IN_USE, false},
        {L"US", L"078-05-1120", QRNP_MSG_US_INVALID_SERIAL, false},
        {L"US", L"1234-56-789", QRNP_MSG_INVALID_SEPARATOR, false},
        {L"US", L"111223333", 0, true},
        {L"US", L"536904399", 0, true},
        {L"US", L"1234567890123", QRNP_MSG_INVALID_LENGTH, false},
        {L"US", L"189092294", 0, true},  // no rule of the issuer excludes it (one validator lists it as used in advertising)
        {L"CA", L"123-456-782", 0, true},
        {L"CA", L"999-999-999", QRNP_MSG_INVALID_SOURCE_DATA, false},
        {L"CA", L"12345678Z", QRNP_MSG_INVALID_LENGTH, false},
        {L"CA", L"823456785", QRNP_MSG_CA_INVALID_SIN, false},  // 8: business numbers, not persons (one validator reads it as valid)
        {L"CA", L"123456782", 0, true},
        {L"CA", L"12345678", QRNP_MSG_INVALID_LENGTH, false},
        {L"ES", L"Y1714803Y", QRNP_MSG_INVALID_SEPARATOR, true},
        {L"ES", L"Z6067228V", QRNP_MSG_INVALID_SEPARATOR, true},
};

// Full validation of one value, with or without the official rules: 0 or the message.
int32_t Verdict(const Example& e, bool bOfficial) {
    hostkit::InstanceOptions options;
    options.countrySwitch = e.pCountry;
    options.sProcFlags = QRNP_PROC_VALIDATE_FULLY;
    if (bOfficial) options.operands = {{QRNP_OPR_OFFICIAL_RULES, 1}};
    return testsupport::RunRows(options, {std::wstring(e.pValue)}).rows[0].iStatus;
}

TEST(PublishedExamples, VerdictsOfBothRuleSets) {
    for (const Example& e : kExamples) {
        SCOPED_TRACE(hostkit::ToUtf8(e.pCountry) + " " + hostkit::ToUtf8(e.pValue));
        EXPECT_EQ(Verdict(e, false), static_cast<int32_t>(e.iStatus));
        EXPECT_EQ(Verdict(e, true) == 0, e.bOfficiallyValid);
    }
}

}  // namespace
