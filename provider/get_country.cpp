#include "provider/get_country.h"

#include "common/trace.h"

namespace {

constexpr const char* kComponent = "QRNPNidS";

struct SwitchName {
    wchar_t first, second;
    uint32_t iCode;
};

// Tested in this order.
constexpr SwitchName kSwitchNames[] = {
    {L'F', L'R', QRNP_COUNTRY_FR}, {L'U', L'K', QRNP_COUNTRY_UK}, {L'E', L'S', QRNP_COUNTRY_ES},
    {L'I', L'T', QRNP_COUNTRY_IT}, {L'U', L'S', QRNP_COUNTRY_US}, {L'C', L'A', QRNP_COUNTRY_CA},
};

wchar_t Upper(wchar_t c) { return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - L'a' + L'A') : c; }

}  // namespace

int32_t GetCountry(const ParmRec* pSwitch, uint32_t* piCountry, int32_t* pbCallOnce) {
    TRC_ENTRY(kComponent, "GetCountry");
    if (pSwitch->sValueType != QRNP_PARM_WSTRING) {
        TRC_EXIT(kComponent, "GetCountry", 0);
        return 0;
    }
    const auto* pVal = static_cast<const wchar_t*>(pSwitch->pVal);
    if (pVal != nullptr && pVal[0] != L'\0') {
        const wchar_t first = Upper(pVal[0]);
        const wchar_t second = Upper(pVal[1]);
        for (const SwitchName& name : kSwitchNames) {
            if (first == name.first && second == name.second) {
                *piCountry = name.iCode;
                *pbCallOnce = 1;
                TRC_EXIT(kComponent, "GetCountry", 0);
                return 0;
            }
        }
    }
    TRC_VAR(kComponent, "SWITCHVAL.pVal", KNL_TRC_WSTR, pVal);
    TRC_EXIT(kComponent, "GetCountry", -1);
    return -1;
}
