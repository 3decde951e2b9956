// Trace line formatting (see trace_line.h).
#include "trace_line.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string_view>

#include <qrnp/qrnp_os.h>

namespace qrnp_trace {

namespace {

// Appends one code point as UTF-8; surrogates and values past U+10FFFF become U+FFFD.
void AppendUtf8(std::string& line, uint32_t c) {
    if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) c = 0xFFFD;
    if (c < 0x80) {
        line += static_cast<char>(c);
    } else if (c < 0x800) {
        line += static_cast<char>(0xC0 | (c >> 6));
        line += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        line += static_cast<char>(0xE0 | (c >> 12));
        line += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        line += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        line += static_cast<char>(0xF0 | (c >> 18));
        line += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        line += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        line += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Appends "[26... 15 characters]" for a value of n characters whose first
// two are `firstTwo` (shown only when there are more than four).
void AppendRedacted(std::string& line, std::string_view firstTwo, size_t n) {
    line += '[';
    if (n > 4) {
        line += firstTwo;
        line += "... ";
    }
    line += std::to_string(n);
    line += n == 1 ? " character]" : " characters]";
}

// Appends a number read through pValue with the printf format given, or
// <NULL>; redacted when bRedact and it has five or more digits.
template <typename T>
void AppendNumber(std::string& line, const void* pValue, const char* pFormat, bool bRedact) {
    if (pValue == nullptr) {
        line += "<NULL>";
        return;
    }
    T value;
    std::memcpy(&value, pValue, sizeof value);
    char buf[32];
    const int n = std::snprintf(buf, sizeof buf, pFormat, value);
    const std::string_view text(buf, n > 0 ? static_cast<size_t>(n) : 0);
    const size_t nDigits = text.size() - (text.starts_with('-') ? 1 : 0);
    if (bRedact && nDigits >= 5) {
        AppendRedacted(line, text.substr(0, 2), text.size());
    } else {
        line += text;
    }
}

// Appends a string value redacted: its length in characters (bytes for a
// narrow string), its first two (UTF-8 for a wide string) when it has more
// than four.
void AppendRedactedString(std::string& line, int32_t iKind, const void* pValue) {
    std::string firstTwo;
    if (iKind == KNL_TRC_STR) {
        const std::string_view text(static_cast<const char*>(pValue));
        AppendRedacted(line, text.substr(0, 2), text.size());
        return;
    }
    const auto* pWide = static_cast<const wchar_t*>(pValue);
    const size_t n = std::wcslen(pWide);
    if (n > 4) AppendWide(firstTwo, std::wstring(pWide, 2).c_str());
    AppendRedacted(line, firstTwo, n);
}

}  // namespace

void AppendHead(std::string& line, const char* pTag, const char* pComponent) {
    line += pTag;
    line.append(6 - std::strlen(pTag), ' ');
    AppendText(line, pComponent);
}

void AppendText(std::string& line, const char* pText) {
    line += pText != nullptr ? pText : "<NULL>";
}

void AppendWide(std::string& line, const wchar_t* pText) {
    if (pText == nullptr) {
        line += "<NULL>";
        return;
    }
    for (; *pText != 0; ++pText) AppendUtf8(line, static_cast<uint32_t>(*pText));
}

void AppendVariable(std::string& line, const char* pName, int32_t iKind, const void* pValue, bool bRedact) {
    AppendText(line, pName);
    line += '=';
    switch (iKind) {
        case KNL_TRC_STR:
        case KNL_TRC_WSTR:
            if (pValue == nullptr) {
                line += "<NULL>";
                return;
            }
            if (bRedact) {
                AppendRedactedString(line, iKind, pValue);
                return;
            }
            line += '"';
            if (iKind == KNL_TRC_STR) {
                line += static_cast<const char*>(pValue);
            } else {
                AppendWide(line, static_cast<const wchar_t*>(pValue));
            }
            line += '"';
            return;
        case KNL_TRC_I16: AppendNumber<int16_t>(line, pValue, "%" PRId16, bRedact); return;
        case KNL_TRC_U16: AppendNumber<uint16_t>(line, pValue, "%" PRIu16, bRedact); return;
        case KNL_TRC_I32: AppendNumber<int32_t>(line, pValue, "%" PRId32, bRedact); return;
        case KNL_TRC_U32: AppendNumber<uint32_t>(line, pValue, "%" PRIu32, bRedact); return;
        case KNL_TRC_I64: AppendNumber<int64_t>(line, pValue, "%" PRId64, bRedact); return;
        case KNL_TRC_U64: AppendNumber<uint64_t>(line, pValue, "%" PRIu64, bRedact); return;
        case KNL_TRC_PTR: {
            char buf[32];
            std::snprintf(buf, sizeof buf, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(pValue));
            line += buf;
            return;
        }
        default: {
            char buf[32];
            std::snprintf(buf, sizeof buf, "<kind %" PRId32 ">", iKind);
            line += buf;
            return;
        }
    }
}

}  // namespace qrnp_trace
