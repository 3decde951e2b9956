// The hosts' own messages, for rows a host rejects or keeps before the
// provider sees them: values the column type cannot hold, text that is not
// UTF-8. Their numbers are above every provider message.
#ifndef QRNP_HOSTKIT_HOST_MESSAGES_H
#define QRNP_HOSTKIT_HOST_MESSAGES_H

#include <cstdint>
#include <string>

#include "hostkit.h"

namespace hostkit {

inline constexpr uint32_t kHostMsgTooLong = 9001;         // longer than a fixed-width column
inline constexpr uint32_t kHostMsgNotANumber = 9002;      // not a decimal integer that fits a numeric column
inline constexpr uint32_t kHostMsgNotSingleByte = 9003;   // characters a single-byte column cannot hold
inline constexpr uint32_t kHostMsgInvalidUtf8 = 9004;     // the bytes are not UTF-8
inline constexpr uint32_t kHostMsgCannotEncode = 9005;    // any other value the column type cannot hold
inline constexpr uint32_t kHostMsgMissingField = 9006;    // a CSV record too short to have the column

// How a host's record source tells the session why it could not read a value: the host
// message in the low 16 bits, a detail (the field count of a short record)
// in the high 16.
inline constexpr uint32_t RefusedValue(uint32_t iMessage, uint32_t iDetail = 0) {
    return iMessage | (iDetail << 16);
}

// The text of a host message with its {TOKEN} placeholders, or nullptr.
const char* HostMessageTemplate(uint32_t iMessage);

// Why `text` could not be encoded in the instance's column type (FillBatch's
// encodeFailed): kHostMsgNotANumber, kHostMsgTooLong, kHostMsgNotSingleByte
// or kHostMsgCannotEncode.
uint32_t EncodeFailure(const InstanceOptions& instance, const std::wstring& text);

// A host message about `value` with the tokens its text names; iDetail is
// the field count of kHostMsgMissingField.
Message HostMessage(uint32_t iMessage, const CellValue& value, const InstanceOptions& instance, uint32_t iDetail = 0);

}  // namespace hostkit

#endif
