// Column type names and kinds.
#include "column_types.h"

#include <cctype>

#include <qrnp/qrnp.h>

#include "number_text.h"

namespace hostkit {

namespace {

struct TypeName {
    const char* pName;
    int16_t sType;
};

constexpr TypeName kTypes[] = {
    {"CHAR", CHAR},
    {"VARCHAR", VARCHAR},
    {"VARCHAR_SZ", VARCHAR_SZ},
    {"WCHAR", WCHAR},
    {"WVARCHAR", WVARCHAR},
    {"WVARCHAR_SZ", WVARCHAR_SZ},
    {"INTEGER", INTEGER},
    {"U_INTEGER", U_INTEGER},
    {"U_LONG_LONG", U_LONG_LONG},
    {"DECIMAL_PKD", DECIMAL_PKD},
    {"VARNUM", ORA_VARNUM},
};

std::string Upper(const std::string& text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

}  // namespace

bool ParseColumnType(const std::string& text, int16_t* pType) {
    const std::string upper = Upper(text);
    for (const TypeName& type : kTypes) {
        if (upper == type.pName) {
            *pType = type.sType;
            return true;
        }
    }
    uint64_t value = 0;
    if (!ParseUnsigned(text, 0x7FFF, &value)) return false;
    *pType = static_cast<int16_t>(value);
    return true;
}

std::string ColumnTypeName(int16_t sType) {
    for (const TypeName& type : kTypes)
        if (type.sType == sType) return type.pName;
    return std::to_string(sType);
}

const char* ColumnTypeNames() {
    return "CHAR, VARCHAR, VARCHAR_SZ, WCHAR, WVARCHAR, WVARCHAR_SZ, INTEGER, U_INTEGER, U_LONG_LONG, "
           "DECIMAL_PKD, VARNUM";
}

bool IsNumericType(int16_t sType) {
    return sType == INTEGER || sType == U_INTEGER || sType == U_LONG_LONG || sType == DECIMAL_PKD ||
           sType == ORA_VARNUM;
}

bool IsWideType(int16_t sType) { return sType == WCHAR || sType == WVARCHAR || sType == WVARCHAR_SZ; }

bool IsFixedWidthType(int16_t sType) { return sType == CHAR || sType == WCHAR; }

}  // namespace hostkit
