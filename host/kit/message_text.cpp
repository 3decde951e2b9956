// Rendering messages: the provider's catalogue, the hosts' own messages, redaction.
#include "message_text.h"

#include <algorithm>

#include "column_types.h"
#include "host_messages.h"
#include "message_catalogue.h"

namespace hostkit {

const char* AnyMessageTemplate(uint32_t iMessage) {
    if (const char* pHost = HostMessageTemplate(iMessage)) return pHost;
    return MessageTemplate(iMessage);
}

std::string RedactedValue(const std::wstring& value) {
    constexpr size_t kShown = 2;
    std::string text = "[";
    if (value.size() > 2 * kShown) text += ToUtf8(value.substr(0, kShown)) + "... ";
    return text + std::to_string(value.size()) + (value.size() == 1 ? " character]" : " characters]");
}

std::string ShownName(std::string_view name, bool bShowValues) {
    const auto nDigits = std::count_if(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (bShowValues || nDigits < 5) return std::string(name);
    std::wstring wide;
    if (!hostkit::FromUtf8(std::string(name), &wide)) wide.assign(name.begin(), name.end());
    return RedactedValue(wide);
}

std::string TokenText(const std::pair<int32_t, std::wstring>& token, bool bShowValues) {
    if (!bShowValues && token.first == QRNP_TOKID_SRCDATA) return RedactedValue(token.second);
    return ToUtf8(token.second);
}

std::string RenderMessage(const hostkit::Message& message, bool bShowValues) {
    const char* pTemplate = AnyMessageTemplate(message.iMessage);
    if (pTemplate == nullptr) {
        std::string text = "message " + std::to_string(message.iMessage);
        for (size_t i = 0; i < message.tokens.size(); ++i) {
            text += i == 0 ? " (" : ", ";
            text += TokenName(message.tokens[i].first) + "=" + TokenText(message.tokens[i], bShowValues);
        }
        if (!message.tokens.empty()) text += ")";
        return text;
    }
    return FillTemplate(pTemplate, [&](const std::string& name) {
        std::string value = "?";
        for (const auto& token : message.tokens) {
            if (TokenName(token.first) == name) {
                value = TokenText(token, bShowValues);
                break;
            }
        }
        // Type codes read better with their names: "9 (INTEGER)".
        if (name.find("DATATYPE") != std::string::npos && value.find_first_not_of("0123456789") == std::string::npos &&
            !value.empty() && value.size() < 6) {
            const std::string typeName = ColumnTypeName(static_cast<int16_t>(std::stoi(value)));
            if (typeName != value) value += " (" + typeName + ")";
        }
        return value;
    });
}

}  // namespace hostkit
