// The set-up flow and the row flow with a small made-up country, so that what
// every country shares is pinned once: option decoding, the column check,
// empty and blank values, pass-through of invalid data, keeping the source's
// separator style, the method test, the destination, the working buffer.
//
// The made-up identifier is four digits, compact ("1234") or split by "-" or
// " " after the second ("12-34"); a leading 0 is a field check failure
// (invalid data), a leading 9 a masking failure. Masking reverses the digits.
#include <gtest/gtest.h>

#include "countries/country_setup.h"
#include "countries/row_driver.h"
#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;

constexpr uint64_t kFlagCompact = 1, kFlagHyphen = 2, kFlagBlank = 4;
constexpr uint32_t kFieldCheck = QRNP_MSG_FR_INVALID_SEX;  // any number: the made-up country's one field check
constexpr uint32_t kMaskFailure = QRNP_MSG_IT_MASK_FAILED;

CountryOptionBlock* Block(NidCtrlBlk* pNidCtrlBlk) { return &pNidCtrlBlk->blockD; }

uint32_t CheckLayout(RowContext& ctx) {
    wchar_t* s = ctx.pInBuf;
    if (ctx.iInLength == 5) {
        if (s[2] != L'-' && s[2] != L' ') return ReportRowError(ctx, QRNP_MSG_INVALID_SEPARATOR, nullptr, {RowToken::Value});
        NoteSourceSeparator(ctx, s[2]);
        RemoveCharAt(s, &ctx.iInLength, 2);
    } else if (ctx.iInLength == 4) {
        NoteSourceSeparator(ctx, L'\0');
    } else {
        return ReportRowError(ctx, QRNP_MSG_INVALID_LENGTH, nullptr, {RowToken::Value, RowToken::Length});
    }
    int32_t iValue = 0;
    if (!ReadDigits(s, 0, 4, &iValue)) return ReportRowError(ctx, QRNP_MSG_INVALID_SOURCE_DATA, nullptr, {});
    if (s[0] == L'0') return ReportRowError(ctx, kFieldCheck, nullptr, {RowToken::Value});
    return 0;
}

uint32_t Mask(RowContext& ctx) {
    if (ctx.pInBuf[0] == L'9') return ReportRowError(ctx, kMaskFailure, nullptr, {RowToken::Country});
    for (int i = 0; i < 4; ++i) ctx.pOutBuf[i] = ctx.pInBuf[3 - i];
    ctx.pOutBuf[4] = L'\0';
    return 0;
}

uint32_t Random(RowContext& ctx) {
    wcscpy(ctx.pOutBuf, L"5555");
    return 0;
}

uint32_t FormatOutput(RowContext& ctx) {
    if (ctx.lRowFlags & kFlagHyphen) InsertCharAt(ctx.pOutBuf, 2, L'-');
    if (ctx.lRowFlags & kFlagBlank) InsertCharAt(ctx.pOutBuf, 2, L' ');
    return 0;
}

uint32_t DecodeParts(CtrlBlk* pCtrlBlk, const CountryDriver& country, CountryOptionBlock* pBlock) {
    if (pBlock->sSlot[1] <= 1) return 0;
    return ReportSetupError(pCtrlBlk, country.pComponent, country.pCountryName, QRNP_MSG_INVALID_PARTS_OPTION,
                            nullptr, {RowToken::Country});
}

CountryDriver MadeUp(ColumnCheckKind column = kCharacterColumns) {
    return CountryDriver{
        .pComponent = "MadeUpS",
        .pCountryName = L"Made-up",
        .pfnBlock = Block,
        .pInitName = "InitCountryXX",
        .bTraceInitArguments = false,
        .pfnBeforeColumnCheck = nullptr,
        .column = column,
        .pfnDecodeParts = DecodeParts,
        .iSeparatorSlot = 2,
        .sSeparatorValueType = QRNP_TV_INT16,
        .bTraceSeparator = false,
        .separatorCodes = {{1, kFlagCompact}, {8, kFlagHyphen}, {16, kFlagBlank}},
        .pfnAfterSeparator = nullptr,
        .bTraceOptionFlags = false,
        .iWorkBufBytes = 40,
        .separatorStyles = {{L'\0', kFlagCompact}, {L'-', kFlagHyphen}, {L' ', kFlagBlank}},
        .iFirstFieldCheck = kFieldCheck,
        .iLastFieldCheck = kFieldCheck,
        .pfnBeforeMethod = nullptr,
        .pfnOtherMethod = nullptr,
        .pfnCheckLayout = CheckLayout,
        .pfnMask = Mask,
        .pfnRandom = Random,
        .pfnFormatOutput = FormatOutput,
        .pfnEncrypt = nullptr,
        .pfnDecrypt = nullptr,
        .pDstConversionTrace = "Error in dest conversion",
    };
}

// An instance whose Init ran (for its heap, state block and error list),
// set up again as the made-up country with these slots.
struct MadeUpInstance {
    std::unique_ptr<hostkit::Instance> instance;
    NidCtrlBlk* pNid = nullptr;
    uint32_t iSetup = 0;
    std::vector<hostkit::Message> setupMessages;

    explicit MadeUpInstance(InstanceOptions options, uint16_t sParts = 0, uint16_t sSeparator = 0,
                            const CountryDriver& country = MadeUp()) {
        const int16_t sType = options.sDataType;
        options.sDataType = VARCHAR;  // France's own set-up must pass
        instance = hostkit::MakeInstance(testsupport::Linked(), options);
        EXPECT_EQ(hostkit::InitInstance(*instance), 0);
        pNid = static_cast<NidCtrlBlk*>(instance->ctrl.pProviderPrivate);
        instance->column.sDataType = sType;
        Block(pNid)->sSlot[1] = sParts;
        Block(pNid)->sSlot[2] = sSeparator;
        iSetup = RunCountrySetup(country, &instance->ctrl, pNid);
        setupMessages = hostkit::ReadErrors(instance->ctrl.pEAB);
        hostkit::ResetErrors(*instance);
    }
    ~MadeUpInstance() { hostkit::TerminateInstance(*instance); }

    // Every value through the row driver with `sMethod`: the rows' results.
    std::vector<hostkit::RowResult> Serve(const std::vector<std::wstring>& values,
                                          uint16_t sMethod = QRNP_METHOD_MASK) {
        std::vector<hostkit::CellValue> cells;
        for (const std::wstring& value : values) cells.push_back({false, value});
        hostkit::FillBatch(*instance, cells, &batch);
        std::vector<hostkit::RowResult> results;
        const CountryDriver country = MadeUp();
        for (size_t i = 0; i < values.size(); ++i) {
            Row& row = batch.rows[i];
            RunRowDriver(country, sMethod, &instance->ctrl, &row, pNid, row.pFields, static_cast<int32_t>(i + 1));
            results.push_back(hostkit::ReadRow(*instance, batch, static_cast<int>(i)));
        }
        EXPECT_TRUE(hostkit::GuardsIntact(batch));
        return results;
    }
    hostkit::Batch batch;
};

TEST(RowDriverTest, SetUpDecodesTheSeparatorAndChecksTheColumn) {
    struct Case {
        uint16_t sParts;
        uint16_t sSeparator;
        int16_t sType;
        std::vector<uint32_t> captured;
        uint64_t lFlags;
        uint16_t sStoredSeparator;
    };
    const Case cases[] = {
        {0, 0, VARCHAR, {}, 0, 2},  // none given: as the source
        {0, 2, VARCHAR, {}, 0, 2},
        {0, 1, VARCHAR, {}, kFlagCompact, 1},
        {0, 16, WCHAR, {}, kFlagBlank, 16},
        {0, 4, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION}, 0, 4},
        {0, 0xFFFF, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION}, 0, 0xFFFF},
        {2, 8, VARCHAR, {QRNP_MSG_INVALID_PARTS_OPTION}, 0, 8},  // parts are decoded before the separator
        {0, 8, INTEGER, {QRNP_MSG_DATATYPE_NOT_SUPPORTED}, 0, 8},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << "parts " << c.sParts << " separator " << c.sSeparator);
        InstanceOptions options;
        options.sDataType = c.sType;
        MadeUpInstance x(options, c.sParts, c.sSeparator);
        EXPECT_EQ(x.iSetup, c.captured.empty() ? 0 : c.captured[0]);
        std::vector<uint32_t> captured;
        for (const auto& m : x.setupMessages) captured.push_back(m.iMessage);
        EXPECT_EQ(captured, c.captured);
        if (c.captured.empty()) {
            EXPECT_EQ(Block(x.pNid)->lOptionFlags, c.lFlags);
            EXPECT_EQ(Block(x.pNid)->iWorkBufSize, 40u);
        }
        EXPECT_EQ(Block(x.pNid)->sSlot[2], c.sStoredSeparator);
    }
    // The refused separator code is a token, with the country.
    MadeUpInstance refused(InstanceOptions{}, 0, 4);
    EXPECT_EQ(refused.setupMessages[0].tokens,
              (std::vector<std::pair<int32_t, std::wstring>>{{QRNP_TOKID_SEP, L"4"}, {QRNP_TOKID_COUNTRY, L"Made-up"}}));
    // A kind that takes numeric types accepts INTEGER and notes it.
    InstanceOptions integer;
    integer.sDataType = INTEGER;
    MadeUpInstance numeric(integer, 0, 0, MadeUp({"CheckColumnXX", true, true, false, false}));
    EXPECT_EQ(numeric.iSetup, 0u);
    EXPECT_EQ(Block(numeric.pNid)->bNumericSource, 1);
}

TEST(RowDriverTest, RowsThroughTheFlow) {
    struct Case {
        const wchar_t* pValue;
        uint16_t sProcFlags;
        uint16_t sSeparator;
        int32_t iStatus;
        bool bRejected;
        const wchar_t* pOutput;
    };
    const Case cases[] = {
        {L"1234", 0, 0, 0, false, L"4321"},
        {L"  12-34 ", 0, 0, 0, false, L"43-21"},  // trimmed; code 2 keeps the source's separator
        {L"12 34", 0, 0, 0, false, L"43 21"},
        {L"12 34", 0, 1, 0, false, L"4321"},
        {L"1234", 0, 8, 0, false, L"43-21"},
        {L"", 0, 0, QRNP_MSG_EMPTY_CHARACTER_VALUE, false, L""},
        {L"   ", 0, 0, QRNP_MSG_SOURCE_ONLY_SPACES, false, L"   "},  // blanks pass through as they are
        {L"12/34", 0, 0, QRNP_MSG_INVALID_SEPARATOR, true, L""},
        {L"12/34", QRNP_PROC_PASS_INVALID, 0, QRNP_MSG_INVALID_SEPARATOR, false, L"12/34"},
        {L"0123", 0, 0, kFieldCheck, true, L""},
        {L"0123", QRNP_PROC_PASS_INVALID, 0, kFieldCheck, false, L"0123"},
        // A masking failure is not invalid data.
        {L"9123", QRNP_PROC_PASS_INVALID, 0, kMaskFailure, true, L""},
    };
    for (bool bSeparate : {true, false}) {
        for (const Case& c : cases) {
            // In place, a result must fit where the source was.
            if (!bSeparate && std::wcslen(c.pOutput) > std::wcslen(c.pValue)) continue;
            SCOPED_TRACE(hostkit::ToUtf8(c.pValue) + (bSeparate ? " separate" : " in place"));
            InstanceOptions options;
            options.sProcFlags = c.sProcFlags;
            options.bSeparateDestination = bSeparate;
            MadeUpInstance x(options, 0, c.sSeparator);
            const hostkit::RowResult row = x.Serve({c.pValue})[0];
            EXPECT_EQ(row.iStatus, c.iStatus);
            EXPECT_EQ(row.bRejected, c.bRejected);
            // A rejected row's destination is left as it was (in place: the source).
            if (!c.bRejected || bSeparate) {
                EXPECT_EQ(row.output, std::wstring(c.pOutput));
            }
        }
    }
}

TEST(RowDriverTest, MethodsOtherThanMask) {
    MadeUpInstance x(InstanceOptions{}, 0, 8);
    EXPECT_EQ(x.Serve({L"x"}, QRNP_METHOD_RANDOM)[0].output, L"55-55") << "random does not read the source";
    const auto other = x.Serve({L"1234"}, 0x1409)[0];
    EXPECT_EQ(other.iStatus, QRNP_MSG_INVALID_METHOD_CODE);
    EXPECT_TRUE(other.bRejected);
    EXPECT_TRUE(hostkit::ReadErrors(x.instance->ctrl.pEAB).empty()) << "nothing is captured for it";
}

TEST(RowDriverTest, EveryCharacterTypeAndTheDestination) {
    for (int16_t sType : {CHAR, VARCHAR, VARCHAR_SZ, WCHAR, WVARCHAR, WVARCHAR_SZ}) {
        InstanceOptions options;
        options.sDataType = sType;
        options.iLength = 8;
        MadeUpInstance x(options);
        std::wstring expected = L"4321";
        if (sType == CHAR || sType == WCHAR) expected.resize(8, L' ');  // fixed width keeps its padding
        EXPECT_EQ(x.Serve({L"1234"})[0].output, expected) << "type " << sType;
    }
    // A result longer than the column fails at the destination.
    InstanceOptions narrow;
    narrow.sDataType = CHAR;
    narrow.iLength = 4;
    MadeUpInstance x(narrow, 0, 8);
    EXPECT_EQ(x.Serve({L"1234"})[0].iStatus, QRNP_CNV_BUFFER_TOO_SMALL);
}

TEST(RowDriverTest, WorkingBufferGrowsNeverShrinksAndMayFail) {
    MadeUpInstance x(InstanceOptions{});
    EXPECT_EQ(x.Serve({std::wstring(500, L'1'), L"1234"})[0].iStatus, QRNP_MSG_INVALID_LENGTH);
    EXPECT_EQ(Block(x.pNid)->iWorkBufSize, 501u * 4);
    EXPECT_EQ(x.pNid->HeapMaxAlloc, 501u * 4);
    x.Serve({L"1234"});
    EXPECT_EQ(Block(x.pNid)->iWorkBufSize, 501u * 4);

    hostkit::ResetErrors(*x.instance);
    KNL_Heap_FailNthCall(1);
    const auto row = x.Serve({std::wstring(900, L'1')})[0];
    KNL_Heap_FailNthCall(0);
    EXPECT_EQ(row.iStatus, QRNP_MSG_NO_MEMORY);
    EXPECT_TRUE(row.bRejected);
    const auto messages = hostkit::ReadErrors(x.instance->ctrl.pEAB);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(testsupport::TokenText(messages[0], QRNP_TOKID_PROVIDER), L"NID");
}

}  // namespace
