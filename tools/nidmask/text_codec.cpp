// ISO-8859-1 and UTF-8, with a fast path for ASCII.
#include "text_codec.h"

#include <cstdint>

namespace nidmask {

bool DecodeText(std::string_view bytes, Encoding encoding, std::wstring* pOut) {
    std::wstring& out = *pOut;
    out.resize(bytes.size());
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t n = bytes.size();
    size_t o = 0;
    if (encoding == Encoding::Latin1) {
        for (size_t i = 0; i < n; ++i) out[i] = static_cast<wchar_t>(p[i]);
        return true;
    }
    for (size_t i = 0; i < n;) {
        const unsigned char b = p[i];
        if (b < 0x80) {
            out[o++] = static_cast<wchar_t>(b);
            ++i;
            continue;
        }
        size_t extra = 0;
        uint32_t c = 0;
        uint32_t min = 0;
        if ((b & 0xE0) == 0xC0) {
            extra = 1, c = b & 0x1F, min = 0x80;
        } else if ((b & 0xF0) == 0xE0) {
            extra = 2, c = b & 0x0F, min = 0x800;
        } else if ((b & 0xF8) == 0xF0) {
            extra = 3, c = b & 0x07, min = 0x10000;
        } else {
            return false;
        }
        if (n - i <= extra) return false;
        for (size_t k = 1; k <= extra; ++k) {
            if ((p[i + k] & 0xC0) != 0x80) return false;
            c = (c << 6) | (p[i + k] & 0x3F);
        }
        if (c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return false;
        out[o++] = static_cast<wchar_t>(c);
        i += extra + 1;
    }
    out.resize(o);
    return true;
}

void AppendText(std::wstring_view text, Encoding encoding, std::string* pOut) {
    std::string& out = *pOut;
    if (encoding == Encoding::Latin1) {
        const size_t base = out.size();
        out.resize(base + text.size());
        for (size_t i = 0; i < text.size(); ++i) {
            const auto c = static_cast<uint32_t>(text[i]);
            out[base + i] = c <= 0xFF ? static_cast<char>(c) : '?';
        }
        return;
    }
    for (wchar_t wc : text) {
        auto c = static_cast<uint32_t>(wc);
        if (c < 0x80) {
            out += static_cast<char>(c);
            continue;
        }
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
        if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        }
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

bool SetValueText(std::string_view bytes, Encoding encoding, hostkit::CellValue* pValue) {
    hostkit::CellValue& value = *pValue;
    value.text.clear();
    value.bLatin1 = encoding == Encoding::Latin1;
    if (value.bLatin1) {
        value.latin1.assign(bytes);
        return true;
    }
    if (DecodeText(bytes, encoding, &value.text)) return true;
    value.text.clear();
    return false;
}

void AppendValueText(const hostkit::CellValue& value, Encoding encoding, std::string* pOut) {
    if (value.bLatin1 && encoding == Encoding::Latin1) {
        pOut->append(value.latin1);
        return;
    }
    std::wstring scratch;
    AppendText(hostkit::CellText(value, &scratch), encoding, pOut);
}

}  // namespace nidmask
