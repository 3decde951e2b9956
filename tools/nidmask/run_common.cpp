// Session set-up and the end of a run.
#include "run_common.h"

#include <cstdio>

#include <qrnp/qrnp.h>

#include "exit_codes.h"
#include "messages.h"
#include "text_codec.h"

namespace nidmask {

namespace {

// "the provider's Init failed with 4353: <text>", then the messages the
// call captured (the one that repeats the result only once).
void PrintFailure(const char* pEntryPoint, int32_t iResult, const std::vector<hostkit::Message>& messages) {
    const hostkit::Message* pResult = nullptr;
    for (const hostkit::Message& message : messages)
        if (message.iMessage == static_cast<uint32_t>(iResult)) pResult = &message;
    hostkit::Message bare;
    bare.iMessage = static_cast<uint32_t>(iResult);
    PrintError(std::string("the provider's ") + pEntryPoint + " failed with " + std::to_string(iResult) + ": " +
               RenderMessage(pResult != nullptr ? *pResult : bare));
    for (const hostkit::Message& message : messages)
        if (&message != pResult) PrintError("  " + std::to_string(message.iMessage) + ": " + RenderMessage(message));
}

}  // namespace

SessionSettings MakeSessionSettings(const Options& options, int16_t sType, const std::string& columnName) {
    SessionSettings settings;
    hostkit::InstanceOptions& instance = settings.instance;
    // The switch is UTF-8 on the command line; bytes that are not are taken one by one.
    if (!DecodeText(options.countrySwitch, Encoding::Utf8, &instance.countrySwitch))
        DecodeText(options.countrySwitch, Encoding::Latin1, &instance.countrySwitch);
    instance.sMethod = options.sCtrlMethod;
    instance.sProcFlags = options.sProcFlags;
    instance.bSeparateDestination = !options.bInPlace;
    instance.sDataType = sType;
    if (!columnName.empty()) DecodeText(columnName, Encoding::Utf8, &instance.columnName);
    instance.iLength = options.iLength;
    instance.operands = options.operands;
    settings.sServiceMethod = options.sServiceMethod;
    settings.iErrorLimit = options.iErrorLimit;
    return settings;
}

CellAction ActionFor(RowKind kind, RejectAction onReject) {
    switch (kind) {
        case RowKind::Masked: return CellAction::WriteResult;
        case RowKind::Null: return CellAction::WriteNull;
        case RowKind::Blank:
        case RowKind::Empty:
        case RowKind::Invalid: return CellAction::WriteSource;
        case RowKind::Unserved: return CellAction::StopUnserved;
        case RowKind::Rejected: break;
    }
    switch (onReject) {
        case RejectAction::Drop: return CellAction::Drop;
        case RejectAction::Empty: return CellAction::WriteEmpty;
        case RejectAction::Null: return CellAction::WriteNull;
        case RejectAction::Fail: break;
    }
    return CellAction::StopRejected;
}

void PrintError(const std::string& text) {
    std::fputs(("nidmask: " + text + "\n").c_str(), stderr);
}

int StartSession(MaskingSession& session) {
    const int32_t iResult = session.Start();
    if (iResult == QRNP_OK) return kExitOk;
    PrintFailure("Init", iResult, session.Messages());
    return kExitProvider;
}

int ReportServiceFailure(const MaskingSession& session) {
    PrintFailure("Service", session.ServiceResult(), session.Messages());
    return kExitProvider;
}

int FinishRun(MaskingSession& session, Progress& progress, const Options& options) {
    const int32_t iTerminate = session.Finish();
    progress.Finish();
    if (!options.bQuiet)
        std::fputs(Summary(session.Counts(), session.Tallies(), progress.Seconds(), options.IsRandom()).c_str(), stderr);
    if (iTerminate != QRNP_OK && iTerminate != QRNP_WARNING) {
        PrintFailure("Terminate", iTerminate, session.Messages());
        return kExitProvider;
    }
    return session.Counts().Failed() ? kExitRowsFailed : kExitOk;
}

}  // namespace nidmask
