// UTF-8 for the wide strings the kit carries.
#include "hostkit.h"

namespace hostkit {

std::string ToUtf8(const std::wstring& text) {
    std::string out;
    ToUtf8(text, &out);
    return out;
}

void ToUtf8(const std::wstring& text, std::string* pOut) {
    std::string& out = *pOut;
    out.clear();
    out.reserve(text.size());
    for (wchar_t wc : text) {
        auto c = static_cast<uint32_t>(wc);
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
}

bool FromUtf8(std::string_view text, std::wstring* pOut) {
    pOut->clear();
    pOut->reserve(text.size());
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const size_t n = text.size();
    for (size_t i = 0; i < n;) {
        const unsigned char b = p[i];
        uint32_t c = 0;
        size_t extra = 0;
        uint32_t min = 0;
        if (b < 0x80) {
            c = b;
        } else if ((b & 0xE0) == 0xC0) {
            c = b & 0x1F, extra = 1, min = 0x80;
        } else if ((b & 0xF0) == 0xE0) {
            c = b & 0x0F, extra = 2, min = 0x800;
        } else if ((b & 0xF8) == 0xF0) {
            c = b & 0x07, extra = 3, min = 0x10000;
        } else {
            return false;
        }
        if (i + extra >= n && extra > 0) return false;
        for (size_t k = 1; k <= extra; ++k) {
            if ((p[i + k] & 0xC0) != 0x80) return false;
            c = (c << 6) | (p[i + k] & 0x3F);
        }
        if (extra > 0 && (c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))) return false;
        pOut->push_back(static_cast<wchar_t>(c));
        i += extra + 1;
    }
    return true;
}

}  // namespace hostkit
