#include "provider_scenario.h"

#include "byte_reader.h"
#include "tests/support/countries.h"

namespace {

constexpr size_t kMaxRows = 256;

struct SwitchName {
    uint32_t iCountry;
    const wchar_t* pLetters;
    const wchar_t* pLong;   // a longer value that still selects it: only two letters count
};
constexpr SwitchName kSwitchNames[] = {
    {QRNP_COUNTRY_FR, L"FR", L"FRANCE"}, {QRNP_COUNTRY_IT, L"IT", L"Italia"},
    {QRNP_COUNTRY_UK, L"UK", L"uk-gb"},  {QRNP_COUNTRY_ES, L"ES", L"Espana"},
    {QRNP_COUNTRY_US, L"US", L"usa"},    {QRNP_COUNTRY_CA, L"CA", L"Canada"},
};

// Names no country has: a two-letter code of no country, one letter, none,
// a name whose first two letters are no code.
constexpr const wchar_t* kUnknownSwitches[] = {L"GB", L"F", L"", L"Spain", L"DE", L"\x00C9S", L"F\x0152"};

constexpr int16_t kColumnTypes[16] = {
    CHAR, VARCHAR, VARCHAR_SZ, WCHAR, WVARCHAR, WVARCHAR_SZ,           // every country
    U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD, ORA_VARNUM,          // numeric: Canada, United States
    0, LONG_LONG, ODBC_DATE, DATETIME_SZ, -1,                           // none
};

constexpr uint16_t kOperandKeys[16] = {
    QRNP_OPR_METHOD,       QRNP_OPR_FR_PARTS,     QRNP_OPR_ES_PARTS,     QRNP_OPR_IT_FLAGS,
    QRNP_OPR_UK_DATA,      QRNP_OPR_US_SLOT3,     QRNP_OPR_CA_PARTS,     QRNP_OPR_FR_SEPARATOR,
    QRNP_OPR_ES_SEPARATOR, QRNP_OPR_IT_SEPARATOR, QRNP_OPR_UK_SEPARATOR, QRNP_OPR_US_SEPARATOR,
    QRNP_OPR_CA_SEPARATOR, QRNP_OPR_UK_FORM,      QRNP_OPR_US_FLAGS,     0,  // 0: a key
};

std::wstring SwitchValue(uint32_t iCountry, int iStyle) {
    for (const SwitchName& name : kSwitchNames) {
        if (name.iCountry != iCountry) continue;
        std::wstring value = name.pLetters;
        switch (iStyle) {
            case 1: for (auto& c : value) c = static_cast<wchar_t>(c - L'A' + L'a'); break;
            case 2: value[1] = static_cast<wchar_t>(value[1] - L'A' + L'a'); break;
            case 3: value = name.pLong; break;
            default: break;
        }
        return value;
    }
    return L"";
}

}  // namespace

ProviderScenario DecodeScenario(const uint8_t* pData, size_t iSize) {
    ByteReader in(pData, iSize);
    ProviderScenario s;
    hostkit::InstanceOptions& o = s.options;

    const uint8_t bSwitch = in.U8();
    const std::vector<uint32_t>& countries = testsupport::CountriesPresent();
    if (bSwitch >= 0xE0) {
        o.bSwitchIsWide = false;
    } else if (bSwitch >= 0xC0) {
        o.countrySwitch = kUnknownSwitches[bSwitch % std::size(kUnknownSwitches)];
        s.bUnknownSwitch = true;
    } else {
        s.iCountry = countries[(bSwitch & 0x0F) % countries.size()];
        o.countrySwitch = SwitchValue(s.iCountry, (bSwitch >> 4) & 3);
    }

    const uint8_t bMethod = in.U8();
    const uint16_t sMethodValue = in.U16();
    constexpr uint16_t kServiceMethods[3] = {QRNP_METHOD_MASK, QRNP_METHOD_RANDOM, QRNP_METHOD_CTRLBLK};
    s.sServiceMethod = (bMethod & 3) == 3 ? sMethodValue : kServiceMethods[bMethod & 3];
    if ((bMethod & 0x10) != 0) s.sServiceMethod = (bMethod & 0x20) != 0 ? QRNP_METHOD_DECRYPT : QRNP_METHOD_ENCRYPT;
    if ((bMethod & 4) != 0 || s.sServiceMethod == QRNP_METHOD_CTRLBLK)
        o.sMethod = sMethodValue;
    else
        o.sMethod = s.sServiceMethod;
    o.bAddMethodOperand = (bMethod & 8) == 0;

    o.sDataType = kColumnTypes[in.U8() % 16];
    o.iLength = in.U8();
    o.sPrecision = static_cast<int8_t>(in.U8());
    o.sProcFlags = in.U16();

    const uint8_t bShape = in.U8();
    const uint8_t bDstCap = in.U8();
    o.bSeparateDestination = (bShape & 1) != 0;
    s.batchOptions.bRowsAsList = (bShape & 2) != 0;
    s.batchOptions.bNullSourcePointer = (bShape & 4) != 0;
    o.bOperandsAsList = (bShape & 8) != 0;
    s.batchOptions.bSourceLengthUnknown = (bShape & 16) != 0;
    s.bTrace = (bShape & 32) != 0;
    if (bShape & 64) s.batchOptions.iDstCapacityOverride = bDstCap;
    const bool bTwoCalls = (bShape & 128) != 0;

    o.sErrorLimit = static_cast<int16_t>(in.U16());
    const uint8_t bIndex = in.U8();
    o.sSrcColIndex = static_cast<int16_t>((bIndex & 0x7F) % 6) - 1;
    s.batchOptions.iExtraCellsBefore = (bIndex & 0x80) != 0 || o.sSrcColIndex < 0 ? 0 : o.sSrcColIndex;

    const uint8_t bRare = in.U8();
    s.batchOptions.bNoDestination = (bRare & 1) != 0;
    o.bNoConversionBlock = (bRare & 2) != 0;
    const uint8_t bSecondStart = in.U8();
    const uint8_t bFailCall = in.U8();
    if (bRare & 4) s.iFailHeapCall = bFailCall % 32 + 1;
    s.sInfoRequest = static_cast<int16_t>(in.U16());
    const uint8_t bInfoBuffer = in.U8();
    s.iInfoBufferBytes = bInfoBuffer == 255 ? -1 : bInfoBuffer % 9;

    const int nOperands = in.U8() % 9;
    for (int i = 0; i < nOperands; ++i) {
        const uint8_t bKey = in.U8();
        const uint16_t key = bKey < 16 ? kOperandKeys[bKey] : static_cast<uint16_t>(0x1800 + bKey);
        const uint16_t sValue = in.U16();
        if (key == 0) {
            // The whole key from the value, and a tweak when its low bit is set.
            for (uint16_t k = QRNP_OPR_KEY_FIRST; k <= QRNP_OPR_KEY_LAST; ++k)
                o.operands.emplace_back(k, static_cast<uint16_t>(sValue * (k - QRNP_OPR_KEY_FIRST + 1)));
            if (sValue & 1)
                for (uint16_t k = QRNP_OPR_TWEAK_FIRST; k <= QRNP_OPR_TWEAK_LAST; ++k) o.operands.emplace_back(k, k);
            s.bKeyed = true;
            continue;
        }
        o.operands.emplace_back(key, sValue);
    }

    while (!in.Empty() && s.cells.size() < kMaxRows) {
        const uint8_t bKind = in.U8() & 3;
        std::vector<uint8_t> bytes = in.Chunk();
        hostkit::CellValue cell;
        if (bKind == 1) {
            cell.bNull = true;
        } else if (bKind == 2 && !bytes.empty()) {
            // (No bytes would mean a source length of 0: "the data says how long it is".)
            cell.bRaw = true;
            cell.raw.assign(bytes.begin(), bytes.end());
        } else {
            cell.text = DecodeText(bytes);
        }
        s.cells.push_back(std::move(cell));
        s.taken.push_back(bKind == 3 ? 1 : 0);
    }
    if (bTwoCalls && !s.cells.empty()) s.iSecondCallStart = 1 + bSecondStart % s.cells.size();
    if (s.iSecondCallStart >= s.cells.size()) s.iSecondCallStart = 0;
    return s;
}
