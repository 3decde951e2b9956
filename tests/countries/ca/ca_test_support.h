// Helpers shared by the Canadian tests.
#ifndef QRNP_TESTS_CA_TEST_SUPPORT_H
#define QRNP_TESTS_CA_TEST_SUPPORT_H

#include <cstdint>
#include <cwchar>
#include <string>

namespace catest {

// An independent Luhn test: digits 2, 4, 6, 8 doubled, the sum a multiple of 10.
inline bool LuhnValid(const std::wstring& s) {
    int iSum = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        const int d = s[i] - L'0';
        iSum += i % 2 == 1 ? (d * 2 > 9 ? d * 2 - 9 : d * 2) : d;
    }
    return iSum % 10 == 0;
}

// The nine digits of a SIN held as a number.
inline std::wstring Nine(int32_t iSin) {
    wchar_t text[16];
    swprintf(text, 16, L"%09d", iSin);
    return text;
}

}  // namespace catest

#endif
