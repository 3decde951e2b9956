// JSON Lines report.
#include "report.h"

#include <cstdio>
#include <utility>

#include "message_text.h"

namespace nidmask {

void AppendJsonString(const std::string& text, std::string* pOut) {
    std::string& out = *pOut;
    out += '"';
    for (const char c : text) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    char escape[8];
                    std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
                    out += escape;
                } else {
                    out += c;
                }
        }
    }
    out += '"';
}

bool ReportWriter::Open(const std::string& path, bool bShowValues, std::string* pError) {
    bShowValues_ = bShowValues;
    bOpen_ = file_.Open(path, false, pError);
    return bOpen_;
}

void ReportWriter::AppendMessages(const std::vector<const hostkit::Message*>& messages) {
    std::string& out = Out();
    out += "\"messages\":[";
    for (size_t i = 0; i < messages.size(); ++i) {
        const hostkit::Message& message = *messages[i];
        if (i > 0) out += ',';
        out += "{\"id\":" + std::to_string(message.iMessage) + ",\"tokens\":{";
        for (size_t k = 0; k < message.tokens.size(); ++k) {
            if (k > 0) out += ',';
            AppendJsonString(hostkit::TokenName(message.tokens[k].first), &out);
            out += ':';
            AppendJsonString(hostkit::TokenText(message.tokens[k], bShowValues_), &out);
        }
        out += "},\"text\":";
        AppendJsonString(hostkit::RenderMessage(message, bShowValues_), &out);
        out += '}';
    }
    out += "]}\n";
}

void ReportWriter::AppendPlace(const Place& place) {
    std::string& out = Out();
    out += '{';
    if (!place.table.empty()) {
        out += "\"table\":";
        AppendJsonString(place.table, &out);
        out += ',';
    }
    if (!place.column.empty()) {
        out += "\"column\":";
        AppendJsonString(place.column, &out);
        out += ',';
    }
}

void ReportWriter::WriteRow(const Place& place, uint64_t iRow, int32_t iStatus, bool bRejected,
                            const std::vector<const hostkit::Message*>& messages) {
    if (!bOpen_) return;
    AppendPlace(place);
    std::string& out = Out();
    out += "\"row\":" + std::to_string(iRow) + ",\"status\":" + std::to_string(iStatus) +
           ",\"rejected\":" + (bRejected ? "true," : "false,");
    AppendMessages(messages);
    MaybeFlush();
}

void ReportWriter::WriteUnbound(const Place& place, const std::vector<const hostkit::Message*>& messages) {
    if (!bOpen_ || messages.empty()) return;
    AppendPlace(place);
    Out() += "\"row\":0,";
    AppendMessages(messages);
    MaybeFlush();
}

void ReportWriter::CaptureInMemory() {
    if (!bOpen_) return;
    bCapture_ = true;
    file_.Buffer().clear();  // the parent's to write
}

std::string ReportWriter::TakeCaptured() { return std::exchange(captured_, {}); }

void ReportWriter::AppendCaptured(std::string_view lines) {
    if (!bOpen_ || lines.empty()) return;
    file_.Write(lines);
}

bool ReportWriter::Close(std::string* pError) {
    if (!bOpen_) return true;
    bOpen_ = false;
    return file_.Commit(pError);
}

}  // namespace nidmask
