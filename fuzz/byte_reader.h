// Reads a fuzz input from the front: fixed-size fields, then variable-length
// ones. Past the end every field reads as 0 and every byte string as empty,
// so any input, however short, describes a complete scenario.
#ifndef QRNP_FUZZ_BYTE_READER_H
#define QRNP_FUZZ_BYTE_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class ByteReader {
public:
    ByteReader(const uint8_t* pData, size_t iSize) : pData_(pData), iSize_(iSize) {}

    bool Empty() const { return iPos_ >= iSize_; }
    size_t Remaining() const { return Empty() ? 0 : iSize_ - iPos_; }

    uint8_t U8() { return Empty() ? 0 : pData_[iPos_++]; }
    uint16_t U16() {
        const uint16_t lo = U8();
        return static_cast<uint16_t>(lo | (U8() << 8));
    }
    uint32_t U32() {
        const uint32_t lo = U16();
        return lo | (static_cast<uint32_t>(U16()) << 16);
    }

    // Up to n bytes (fewer when the input ends first).
    std::vector<uint8_t> Bytes(size_t n) {
        if (n > Remaining()) n = Remaining();
        std::vector<uint8_t> out(pData_ + iPos_, pData_ + iPos_ + n);
        iPos_ += n;
        return out;
    }

    // A length-prefixed byte string: one length byte, or 255 and a 16-bit length.
    std::vector<uint8_t> Chunk() {
        size_t n = U8();
        if (n == 255) n = U16();
        return Bytes(n);
    }

private:
    const uint8_t* pData_;
    size_t iSize_;
    size_t iPos_ = 0;
};

// Bytes to a wide string: valid UTF-8 sequences become their code point, a
// byte 0xFF followed by four bytes becomes that 32-bit value as it is
// (reaching beyond U+10FFFF and the values read as negative), and any other
// byte stands for itself (ISO-8859-1).
inline std::wstring DecodeText(const std::vector<uint8_t>& bytes) {
    std::wstring out;
    size_t i = 0;
    const size_t n = bytes.size();
    while (i < n) {
        const uint8_t b = bytes[i];
        if (b == 0xFF && i + 4 < n) {
            uint32_t v = 0;
            for (int k = 0; k < 4; ++k) v |= static_cast<uint32_t>(bytes[i + 1 + k]) << (8 * k);
            out.push_back(static_cast<wchar_t>(v));
            i += 5;
            continue;
        }
        int iMore = 0;
        if (b >= 0xC2 && b < 0xE0)
            iMore = 1;
        else if (b >= 0xE0 && b < 0xF0)
            iMore = 2;
        else if (b >= 0xF0 && b < 0xF5)
            iMore = 3;
        uint32_t cp = iMore == 3 ? b & 0x07u : iMore == 2 ? b & 0x0Fu : b & 0x1Fu;
        bool bValid = iMore > 0 && i + static_cast<size_t>(iMore) < n;
        for (int k = 1; bValid && k <= iMore; ++k) {
            const uint8_t c = bytes[i + static_cast<size_t>(k)];
            if ((c & 0xC0) != 0x80) bValid = false;
            cp = (cp << 6) | (c & 0x3Fu);
        }
        if (bValid) {
            out.push_back(static_cast<wchar_t>(cp));
            i += static_cast<size_t>(iMore) + 1;
        } else {
            out.push_back(static_cast<wchar_t>(b));
            ++i;
        }
    }
    return out;
}

#endif
