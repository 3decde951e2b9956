// The hosts' own messages: texts, and the tokens each names.
#include "host_messages.h"

#include <algorithm>

#include "column_types.h"

namespace hostkit {

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

uint32_t EncodeFailure(const InstanceOptions& instance, const std::wstring& text) {
    if (IsNumericType(instance.sDataType)) return kHostMsgNotANumber;
    if (text.size() > static_cast<size_t>(instance.iLength)) return kHostMsgTooLong;
    if (!IsWideType(instance.sDataType) && std::any_of(text.begin(), text.end(), [](wchar_t c) { return c > 0xFF; }))
        return kHostMsgNotSingleByte;
    return kHostMsgCannotEncode;
}

Message HostMessage(uint32_t iMessage, const CellValue& value, const InstanceOptions& instance, uint32_t iDetail) {
    Message message;
    message.iMessage = iMessage;
    std::wstring scratch;
    const std::wstring& text = CellText(value, &scratch);  // single-byte values travel as bytes
    const auto add = [&](int32_t iTokenId, std::wstring text) { message.tokens.emplace_back(iTokenId, std::move(text)); };
    switch (iMessage) {
        case kHostMsgTooLong:
            add(QRNP_TOKID_SRCLEN, std::to_wstring(text.size()));
            add(QRNP_TOKID_COLLEN, std::to_wstring(instance.iLength));
            break;
        case kHostMsgNotANumber:
        case kHostMsgNotSingleByte:
        case kHostMsgCannotEncode:
            add(QRNP_TOKID_SRCDATA, text);
            add(QRNP_TOKID_SRC_DATATYPE, std::to_wstring(instance.sDataType));
            break;
        case kHostMsgMissingField: add(QRNP_TOKID_COL_COUNT, std::to_wstring(iDetail)); break;
        default: break;
    }
    message.sDeclaredTokens = static_cast<uint16_t>(message.tokens.size());
    return message;
}

}  // namespace hostkit
