// Lines in, lines out, a batch at a time.
#include <qrnp/qrnp.h>

#include "column_types.h"
#include "exit_codes.h"
#include "input_file.h"
#include "line_reader.h"
#include "output_file.h"
#include "runs.h"
#include "text_codec.h"

namespace nidmask {

int RunLines(const RunContext& context) {
    const Options& options = context.options;
    const bool bGenerate = options.count.has_value();
    std::string error;

    InputFile input;
    if (!bGenerate && !input.Open(options.input, &error)) {
        PrintError(error);
        return kExitIo;
    }
    OutputFile output;
    if (!output.Open(options.output, true, &error)) {
        PrintError(error);
        return kExitIo;
    }

    const int16_t sType = options.dataType.value_or(VARCHAR);
    const Encoding encoding = IsWideType(sType) ? Encoding::Utf8 : Encoding::Latin1;
    MaskingSession session(context.entryPoints, MakeSessionSettings(options, sType, ""), context.pReport);
    if (const int iExit = StartSession(session); iExit != kExitOk) return iExit;

    Progress progress(options.bProgress, !options.bQuiet, options.output.empty() || options.output == "-",
                      input.TotalBytes(), options.count.value_or(0));
    LineReader reader(input);
    std::vector<hostkit::CellValue> values(static_cast<size_t>(options.iBatch));
    uint64_t iRecords = 0;  // records read before this batch
    std::string_view line;
    const auto moreInput = [&]() {
        if (bGenerate) return iRecords < *options.count;
        std::string ignored;
        return reader.Next(&line, &ignored);
    };

    for (;;) {
        // Read a batch.
        size_t n = 0;
        while (n < values.size()) {
            hostkit::CellValue& value = values[n];
            if (bGenerate) {
                if (iRecords + n >= *options.count) break;
                value.bNull = true;
                value.text.clear();
            } else {
                if (!reader.Next(&line, &error)) break;
                value.bNull = line == options.nullText;
                if (value.bNull) {
                    value.text.clear();
                } else if (!DecodeText(line, encoding, &value.text)) {
                    PrintError(input.Name() + ": record " + std::to_string(iRecords + n + 1) + ": invalid UTF-8");
                    return kExitIo;
                }
            }
            ++n;
        }
        if (!error.empty()) {
            PrintError(error);
            return kExitIo;
        }
        if (n == 0) break;
        if (n < values.size()) values.resize(n);

        // Serve it.
        const ServeResult result = session.Serve(values, iRecords + 1);
        if (result == ServeResult::EncodeFailed) {
            PrintError(input.Name() + ": record " + std::to_string(iRecords + session.EncodeFailedRow() + 1) + ": " +
                       session.EncodeFailure(values));
            return kExitIo;
        }
        if (result == ServeResult::ServiceFailed) return ReportServiceFailure(session);

        // Write it.
        bool bStop = false;
        for (size_t i = 0; i < n && !bStop; ++i) {
            if (ActionFor(session.Kind(i), options.onReject) == CellAction::StopRejected) bStop = true;
        }
        if (bStop) {
            output.Abandon();
            const int iExit = FinishRun(session, progress, options);
            PrintError("stopped at a rejected row (--on-reject fail); nothing written");
            return iExit == kExitProvider ? iExit : kExitRowsFailed;
        }
        std::string& out = output.Buffer();
        for (size_t i = 0; i < n; ++i) {
            const CellAction action = ActionFor(session.Kind(i), options.onReject);
            if (action == CellAction::StopUnserved) break;
            switch (action) {
                case CellAction::WriteResult: AppendText(session.Output(i), encoding, &out); break;
                case CellAction::WriteSource: AppendText(values[i].text, encoding, &out); break;
                case CellAction::WriteNull: out += options.nullText; break;
                case CellAction::Drop: continue;
                default: break;
            }
            out += '\n';
        }
        output.MaybeFlush();
        if (!output.Error().empty()) {
            PrintError(output.Error());
            return kExitIo;
        }
        iRecords += n;
        progress.Update(iRecords, input.BytesRead());
        if (session.LimitReached()) {
            if (session.Counts().iUnserved == 0 && moreInput()) session.NoteStopped();
            break;
        }
    }

    const int iExit = FinishRun(session, progress, options);
    if (!output.Commit(&error)) {
        PrintError(error);
        return kExitIo;
    }
    return iExit;
}

}  // namespace nidmask
