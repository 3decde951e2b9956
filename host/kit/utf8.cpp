// UTF-8 for the wide strings the kit carries.
#include "hostkit.h"

namespace hostkit {

std::string ToUtf8(const std::wstring& text) {
    std::string out;
    ToUtf8(text, &out);
    return out;
}

void ToUtf8(const std::wstring& text, std::string* pOut) {
    // Written through a pointer into room for the longest encoding, then
    // cut to size: no capacity check per byte.
    std::string& out = *pOut;
    out.resize(4 * text.size());
    char* q = out.data();
    for (wchar_t wc : text) {
        auto c = static_cast<uint32_t>(wc);
        if (c < 0x80) {
            *q++ = static_cast<char>(c);
            continue;
        }
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
        if (c < 0x800) {
            *q++ = static_cast<char>(0xC0 | (c >> 6));
            *q++ = static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            *q++ = static_cast<char>(0xE0 | (c >> 12));
            *q++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            *q++ = static_cast<char>(0x80 | (c & 0x3F));
        } else {
            *q++ = static_cast<char>(0xF0 | (c >> 18));
            *q++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            *q++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            *q++ = static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    out.resize(static_cast<size_t>(q - out.data()));
}

bool FromUtf8(std::string_view text, std::wstring* pOut) {
    // As ToUtf8: room for one character per byte, cut to size at the end.
    std::wstring& out = *pOut;
    out.resize(text.size());
    wchar_t* q = out.data();
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const size_t n = text.size();
    for (size_t i = 0; i < n;) {
        const unsigned char b = p[i];
        if (b < 0x80) {
            *q++ = static_cast<wchar_t>(b);
            ++i;
            continue;
        }
        uint32_t c = 0;
        size_t extra = 0;
        uint32_t min = 0;
        if ((b & 0xE0) == 0xC0) {
            c = b & 0x1F, extra = 1, min = 0x80;
        } else if ((b & 0xF0) == 0xE0) {
            c = b & 0x0F, extra = 2, min = 0x800;
        } else if ((b & 0xF8) == 0xF0) {
            c = b & 0x07, extra = 3, min = 0x10000;
        } else {
            out.clear();
            return false;
        }
        bool bValid = i + extra < n;
        for (size_t k = 1; bValid && k <= extra; ++k) {
            bValid = (p[i + k] & 0xC0) == 0x80;
            c = (c << 6) | (p[i + k] & 0x3F);
        }
        if (!bValid || c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            out.clear();
            return false;
        }
        *q++ = static_cast<wchar_t>(c);
        i += extra + 1;
    }
    out.resize(static_cast<size_t>(q - out.data()));
    return true;
}

}  // namespace hostkit
