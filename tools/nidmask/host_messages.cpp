// Texts of nidmask's own messages.
#include "host_messages.h"

namespace nidmask {

const char* HostMessageTemplate(uint32_t iMessage) {
    switch (iMessage) {
        case kHostMsgTooLong: return "the value has {SRCLEN} characters, more than the column length {COLLEN}";
        case kHostMsgNotANumber: return "the value {SRCDATA} is not a decimal integer that fits {SRC_DATATYPE}";
        case kHostMsgNotSingleByte:
            return "the value {SRCDATA} has characters that a single-byte {SRC_DATATYPE} column cannot hold "
                   "(ISO-8859-1)";
        case kHostMsgInvalidUtf8: return "the value is not valid UTF-8";
        case kHostMsgCannotEncode: return "the value {SRCDATA} cannot be held by a {SRC_DATATYPE} column";
        case kHostMsgMissingField: return "the record has {COL_COUNT} fields; the masked column is missing";
        default: return nullptr;
    }
}

}  // namespace nidmask
