// Decimal and 0x-hexadecimal numbers.
#include "number_text.h"

namespace hostkit {

bool ParseUnsigned(const std::string& text, uint64_t iMax, uint64_t* pValue) {
    size_t i = 0;
    uint64_t base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        i = 2;
    }
    if (i >= text.size()) return false;
    uint64_t value = 0;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        uint64_t digit = 0;
        if (c >= '0' && c <= '9') {
            digit = static_cast<uint64_t>(c - '0');
        } else if (base == 16 && c >= 'a' && c <= 'f') {
            digit = static_cast<uint64_t>(c - 'a' + 10);
        } else if (base == 16 && c >= 'A' && c <= 'F') {
            digit = static_cast<uint64_t>(c - 'A' + 10);
        } else {
            return false;
        }
        if (digit > iMax || value > (iMax - digit) / base) return false;
        value = value * base + digit;
    }
    *pValue = value;
    return true;
}

}  // namespace hostkit
