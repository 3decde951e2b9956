// Messages of nidmask's own, for rows it rejects or keeps before the
// provider sees them: values the column type cannot hold, text that is not
// UTF-8. Their numbers are above every provider message.
#ifndef NIDMASK_HOST_MESSAGES_H
#define NIDMASK_HOST_MESSAGES_H

#include <cstdint>

namespace nidmask {

inline constexpr uint32_t kHostMsgTooLong = 9001;         // longer than a fixed-width column
inline constexpr uint32_t kHostMsgNotANumber = 9002;      // not a decimal integer that fits a numeric column
inline constexpr uint32_t kHostMsgNotSingleByte = 9003;   // characters a single-byte column cannot hold
inline constexpr uint32_t kHostMsgInvalidUtf8 = 9004;     // the bytes are not UTF-8
inline constexpr uint32_t kHostMsgCannotEncode = 9005;    // any other value the column type cannot hold
inline constexpr uint32_t kHostMsgMissingField = 9006;    // a CSV record too short to have the column

// How a source tells the session why it could not read a value: the host
// message in the low 16 bits, a detail (the field count of a short record)
// in the high 16.
inline constexpr uint32_t RefusedValue(uint32_t iMessage, uint32_t iDetail = 0) {
    return iMessage | (iDetail << 16);
}

// The text of a host message with its {TOKEN} placeholders, or nullptr.
const char* HostMessageTemplate(uint32_t iMessage);

}  // namespace nidmask

#endif
