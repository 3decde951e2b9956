// Trace line formatting (see trace_line.h).
#include "trace_line.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

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

// Appends a number read through pValue with the printf format given, or <NULL>.
template <typename T>
void AppendNumber(std::string& line, const void* pValue, const char* pFormat) {
    if (pValue == nullptr) {
        line += "<NULL>";
        return;
    }
    T value;
    std::memcpy(&value, pValue, sizeof value);
    char buf[32];
    std::snprintf(buf, sizeof buf, pFormat, value);
    line += buf;
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

void AppendVariable(std::string& line, const char* pName, int32_t iKind, const void* pValue) {
    AppendText(line, pName);
    line += '=';
    switch (iKind) {
        case KNL_TRC_STR:
        case KNL_TRC_WSTR:
            if (pValue == nullptr) {
                line += "<NULL>";
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
        case KNL_TRC_I16: AppendNumber<int16_t>(line, pValue, "%" PRId16); return;
        case KNL_TRC_U16: AppendNumber<uint16_t>(line, pValue, "%" PRIu16); return;
        case KNL_TRC_I32: AppendNumber<int32_t>(line, pValue, "%" PRId32); return;
        case KNL_TRC_U32: AppendNumber<uint32_t>(line, pValue, "%" PRIu32); return;
        case KNL_TRC_I64: AppendNumber<int64_t>(line, pValue, "%" PRId64); return;
        case KNL_TRC_U64: AppendNumber<uint64_t>(line, pValue, "%" PRIu64); return;
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
