// The bridge: the provider loaded once per backend, a small cache of
// initialised instances, and one-row rowsets served through the host kit.
//
// Each cached instance keeps its rowset, its value and its result buffers
// from call to call, so that a call in the steady state allocates nothing:
// the value is decoded into the same wide string, encoded into the same
// arena, and the result comes back in the same buffers.
#include "pg_bridge.h"

#include <dlfcn.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <qrnp/qrnp_os.h>

#include "column_types.h"
#include "host_messages.h"
#include "hostkit.h"
#include "masking_settings.h"
#include "message_text.h"
#include "pg_options.h"

namespace {

// The longest value a VARCHAR cell holds, its 16-bit byte count included
// (as the host kit encodes it).
constexpr size_t kMaxVarcharCell = 0x7FFF;

// True when every byte is ASCII: then UTF-8, ISO-8859-1 and the column's
// single bytes are the same bytes.
bool IsAscii(const char* p, size_t n) {
    unsigned char any = 0;
    for (size_t i = 0; i < n; ++i) any |= static_cast<unsigned char>(p[i]);
    return any < 0x80;
}


struct Entry {
    uint64_t serial = 0;
    uint64_t lastUse = 0;
    std::string cacheKey;  // holds the key's bytes: wiped when the entry goes
    hostkit::ResolvedMasking resolved;
    std::unique_ptr<hostkit::Instance> instance;
    hostkit::Batch batch;
    std::vector<hostkit::CellValue> values = std::vector<hostkit::CellValue>(1);
    bool bShaped = false;                 // the batch holds its one row (FillBatch ran)
    std::vector<unsigned char> source;    // a raw value's cell, when the row is refilled in place
};

// Puts a raw cell (values[0].raw) into the entry's one row. The first time
// FillBatch shapes the row; afterwards only the source pointer, its length
// and what the provider wrote last time are reset, the destination buffer
// staying where FillBatch put it.
void FillRawRow(Entry& entry) {
    hostkit::Batch& batch = entry.batch;
    if (!entry.bShaped) {
        hostkit::FillBatch(*entry.instance, entry.values, &batch);
        entry.bShaped = true;
        return;
    }
    entry.source.swap(entry.values[0].raw);  // both buffers keep their memory for the next calls
    Row& row = batch.rows[0];
    row.bTaken = 0;
    row.bError = 0;
    FieldDef& cell = batch.fields[static_cast<size_t>(batch.sourceCell)];
    cell.bNullInd = 0;
    cell.bDstNull = 0;
    cell.iStatus = 0;
    cell.iDstLen = 0;
    cell.pSrc = entry.source.data();
    cell.iSrcLen = static_cast<int32_t>(entry.source.size());
    batch.encodeFailed[0] = 0;
    batch.rowset.iCurrentRow = 0;
}

// FillBatch for any value.
void FillRow(Entry& entry) {
    hostkit::FillBatch(*entry.instance, entry.values, &entry.batch);
    entry.bShaped = true;
}

struct Bridge {
    bool bLoaded = false;
    hostkit::EntryPoints entryPoints;
    std::vector<std::unique_ptr<Entry>> entries;
    Entry* pLast = nullptr;  // the entry of the last call, looked at first
    uint64_t iNextSerial = 1;
    uint64_t iClock = 0;
    int iUsAreaTable = 0;    // the backend's United States area table, once one was used
    std::wstring wide;       // the result, decoded
    std::string text;        // the result as UTF-8
    std::string error;
    std::vector<hostkit::Message> messages;
    std::vector<std::string> checkTexts, checkTokens;
};

// Never destroyed: instances are terminated by nidmask_release_all at
// backend exit, not by destructors whose order nobody controls.
Bridge& TheBridge() {
    static Bridge* pBridge = new Bridge;
    return *pBridge;
}

void Wipe(std::string& text) {
    if (!text.empty()) OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

void Wipe(std::vector<uint8_t>& bytes) {
    if (!bytes.empty()) OPENSSL_cleanse(bytes.data(), bytes.size());
    bytes.clear();
}

void Wipe(std::vector<hostkit::Operand>& operands) {
    if (!operands.empty()) OPENSSL_cleanse(operands.data(), operands.size() * sizeof(operands[0]));
    operands.clear();
}

// Terminates the entry's instance and wipes what held its key.
void Release(Entry& entry) {
    if (entry.instance) {
        hostkit::TerminateInstance(*entry.instance);
        if (!entry.instance->operands.empty())
            OPENSSL_cleanse(entry.instance->operands.data(), entry.instance->operands.size() * sizeof(OprDef));
        Wipe(entry.instance->options.operands);
        entry.instance.reset();
    }
    Wipe(entry.resolved.instance.operands);
    Wipe(entry.cacheKey);
}

NidmaskStatus Fail(NidmaskStatus status, std::string message, NidmaskOutcome* pOutcome) {
    Bridge& bridge = TheBridge();
    bridge.error = std::move(message);
    pOutcome->error = bridge.error.c_str();
    return status;
}

// The provider beside the extension: $libdir/nidmask/libQRNNIDPrvLib.so.
std::string ProviderBesideExtension() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&nidmask_open_rule), &info) == 0 || info.dli_fname == nullptr)
        return hostkit::kProviderFileName;
    std::string dir = info.dli_fname;
    const size_t iSlash = dir.rfind('/');
    dir = iSlash == std::string::npos ? "." : dir.substr(0, iSlash);
    return dir + "/nidmask/" + hostkit::kProviderFileName;
}

// Loads the provider on first use: the setting, else $NIDMASK_PROVIDER,
// else the one installed beside the extension. A failure is not kept, so
// that a corrected setting is tried by the next call.
bool LoadOnce(const char* pSetting, std::string* pError) {
    Bridge& bridge = TheBridge();
    if (bridge.bLoaded) return true;
    std::string path;
    if (pSetting != nullptr && *pSetting != '\0') {
        path = pSetting;
    } else if (const char* pEnv = std::getenv("NIDMASK_PROVIDER"); pEnv != nullptr && *pEnv != '\0') {
        path = pEnv;
    } else {
        path = ProviderBesideExtension();
    }
    // A trace a server is started with (QRNP_TRACE) never shows a value: the
    // extension has no way to ask for them.
    KNL_Trace_SetRedaction(1);
    if (!hostkit::LoadProvider(path, &bridge.entryPoints, pError)) return false;
    bridge.bLoaded = true;
    return true;
}

// Every message of the instance's error list, rendered with values
// redacted, joined by "; ", and the list emptied.
std::string TakeMessages(hostkit::Instance& instance) {
    std::string text;
    for (const hostkit::Message& message : hostkit::ReadErrors(instance.ctrl.pEAB))
        text += (text.empty() ? "" : "; ") + std::to_string(message.iMessage) + ": " + hostkit::RenderMessage(message, false);
    hostkit::ResetErrors(instance);
    return text;
}

Entry* FindEntry(uint64_t serial) {
    Bridge& bridge = TheBridge();
    if (bridge.pLast != nullptr && bridge.pLast->serial == serial) return bridge.pLast;
    for (auto& entry : bridge.entries) {
        if (entry->serial == serial) {
            bridge.pLast = entry.get();
            return entry.get();
        }
    }
    return nullptr;
}

// The rule's entry for a call on one value, marked as the last used, with
// the previous call's messages dropped; null when the rule is stale.
Entry* StartCall(const NidmaskRule& rule) {
    Entry* pEntry = FindEntry(rule.serial);
    if (pEntry == nullptr) return nullptr;
    pEntry->lastUse = ++TheBridge().iClock;
    TheBridge().messages.clear();
    return pEntry;
}

void EvictLeastRecent() {
    Bridge& bridge = TheBridge();
    const auto it = std::min_element(bridge.entries.begin(), bridge.entries.end(),
                                     [](const auto& a, const auto& b) { return a->lastUse < b->lastUse; });
    if (it == bridge.entries.end()) return;
    if (bridge.pLast == it->get()) bridge.pLast = nullptr;
    Release(**it);
    bridge.entries.erase(it);
}

const char* MethodName(NidmaskMethod method) {
    switch (method) {
        case NIDMASK_RANDOM: return "random";
        case NIDMASK_ENCRYPT: return "encrypt";
        case NIDMASK_DECRYPT: return "decrypt";
        default: return "mask";
    }
}

NidmaskStatus OpenRule(const NidmaskRuleRequest& request, NidmaskRule* pRule, NidmaskOutcome* pOutcome) {
    Bridge& bridge = TheBridge();
    hostkit::MaskingSettings settings;
    settings.country.assign(request.country, request.countryLen);
    if (hostkit::CountryCode(settings.country).empty())
        return Fail(NIDMASK_BAD_ARGUMENT, "country: '" + settings.country + "' is none of FR, IT, UK (or GB), ES, US, CA",
                    pOutcome);
    NidmaskOnReject onReject = NIDMASK_REJECT_ERROR;
    std::string error;
    if (!nidmask_pg::ParseOptions(std::string(request.optionsJson, request.optionsLen), &settings, &onReject, &error))
        return Fail(NIDMASK_BAD_ARGUMENT, error, pOutcome);
    settings.method = MethodName(request.method);
    if (request.method == NIDMASK_ENCRYPT || request.method == NIDMASK_DECRYPT) {
        if (request.keyLen != NIDMASK_KEY_BYTES)
            return Fail(NIDMASK_BAD_ARGUMENT,
                        "key: a key is " + std::to_string(NIDMASK_KEY_BYTES) + " bytes, this one has " +
                            std::to_string(request.keyLen),
                        pOutcome);
        settings.key.assign(request.key, request.key + request.keyLen);
        settings.tweak.assign(request.tweak, request.tweakLen);
    }
    settings.dataType = request.numeric ? int16_t{U_LONG_LONG} : int16_t{VARCHAR};
    hostkit::ResolvedMasking resolved;
    const bool bResolved = hostkit::ResolveMasking(settings, VARCHAR, &resolved, &error);
    Wipe(settings.key);
    Wipe(settings.tweak);
    if (!bResolved) return Fail(NIDMASK_BAD_ARGUMENT, error, pOutcome);

    std::string cacheKey = hostkit::DescribeMasking(resolved);
    cacheKey += '\x1f';
    if (request.keyLen == NIDMASK_KEY_BYTES) cacheKey.append(reinterpret_cast<const char*>(request.key), request.keyLen);
    cacheKey += '\x1f';
    cacheKey.append(request.tweak != nullptr ? request.tweak : "", request.tweak != nullptr ? request.tweakLen : 0);
    pRule->onReject = onReject;
    for (auto& entry : bridge.entries) {
        if (entry->cacheKey == cacheKey) {
            Wipe(cacheKey);
            Wipe(resolved.instance.operands);
            pRule->serial = entry->serial;
            return NIDMASK_OK;
        }
    }

    const int iAreaTable = hostkit::UsAreaTable(resolved);
    if (iAreaTable != 0 && bridge.iUsAreaTable != 0 && iAreaTable != bridge.iUsAreaTable) {
        Wipe(cacheKey);
        Wipe(resolved.instance.operands);
        return Fail(NIDMASK_CONFLICT,
                    "area_table: this backend uses the United States area table " + std::to_string(bridge.iUsAreaTable) +
                        " (its first United States call chose it, and the provider keeps one per process); this call "
                        "asks for " + std::to_string(iAreaTable) + ": use one table per session",
                    pOutcome);
    }
    if (!LoadOnce(request.providerPath, &error)) {
        Wipe(cacheKey);
        Wipe(resolved.instance.operands);
        return Fail(NIDMASK_FAILED, error, pOutcome);
    }
    if (bridge.entries.size() >= NIDMASK_CACHED_INSTANCES) EvictLeastRecent();

    auto entry = std::make_unique<Entry>();
    entry->serial = bridge.iNextSerial++;
    entry->lastUse = ++bridge.iClock;
    entry->cacheKey = std::move(cacheKey);
    entry->resolved = std::move(resolved);
    entry->instance = hostkit::MakeInstance(bridge.entryPoints, entry->resolved.instance);
    const int32_t iInit = hostkit::InitInstance(*entry->instance);
    if (iInit != QRNP_OK) {
        std::string messages = TakeMessages(*entry->instance);
        Release(*entry);
        return Fail(NIDMASK_FAILED,
                    "the provider could not set up " + settings.country + " " + settings.method + " (Init returned " +
                        std::to_string(iInit) + ")" + (messages.empty() ? "" : ": " + messages),
                    pOutcome);
    }
    if (iAreaTable != 0) bridge.iUsAreaTable = iAreaTable;
    pRule->serial = entry->serial;
    bridge.entries.push_back(std::move(entry));
    return NIDMASK_OK;
}

// A rejected value: the message that says why, rendered with the value
// redacted. A message of the host's own (the provider never saw the value)
// is kept as the call's only message.
NidmaskStatus Reject(const hostkit::Message& message, NidmaskOutcome* pOutcome) {
    std::vector<hostkit::Message>& messages = TheBridge().messages;
    if (messages.empty()) messages.push_back(message);
    pOutcome->message = message.iMessage;
    return Fail(NIDMASK_REJECTED, hostkit::RenderMessage(message, false), pOutcome);
}

// A VARCHAR result of ASCII bytes is its own UTF-8: handed back as it is.
bool AsciiVarcharResult(const Entry& entry, NidmaskOutcome* pOutcome) {
    const FieldDef& cell = entry.batch.fields[static_cast<size_t>(entry.batch.sourceCell)];
    if (entry.instance->column.sDataType != VARCHAR || !entry.instance->ctrl.bDestFlag || cell.pDst == nullptr ||
        cell.iDstLen < 2)
        return false;
    const auto* pBytes = static_cast<const char*>(cell.pDst);
    int16_t sBytes = 0;
    std::memcpy(&sBytes, pBytes, sizeof sBytes);
    if (sBytes < 0 || sBytes + 2 > cell.iDstLen || !IsAscii(pBytes + 2, static_cast<size_t>(sBytes))) return false;
    Bridge& bridge = TheBridge();
    bridge.text.assign(pBytes + 2, static_cast<size_t>(sBytes));
    pOutcome->text = bridge.text.data();
    pOutcome->len = bridge.text.size();
    return true;
}

// Serves the entry's one row (already filled) and reads what became of it.
// bNumeric: the result is parsed into outcome.number, else left in outcome.text.
NidmaskStatus ServeRow(Entry& entry, bool bNumeric, NidmaskOutcome* pOutcome) {
    Bridge& bridge = TheBridge();
    hostkit::Instance& instance = *entry.instance;
    if (entry.batch.encodeFailed[0] != 0)
        return Reject(hostkit::HostMessage(hostkit::EncodeFailure(instance.options, entry.values[0].text),
                                           entry.values[0], instance.options),
                      pOutcome);
    const int32_t iService = hostkit::ServiceBatch(instance, entry.batch, entry.resolved.sServiceMethod);
    const hostkit::RowResult row = hostkit::ReadRowStatus(instance, entry.batch, 0);
    if (instance.ctrl.pEAB != nullptr && instance.ctrl.pEAB->pFirst != nullptr) {
        bridge.messages = hostkit::ReadErrors(instance.ctrl.pEAB);
        hostkit::ResetErrors(instance);
    }
    const auto why = [&]() {
        for (const hostkit::Message& message : bridge.messages)
            if (static_cast<int32_t>(message.iMessage) == row.iStatus) return message;
        if (!bridge.messages.empty()) return bridge.messages.front();
        hostkit::Message bare;
        bare.iMessage = static_cast<uint32_t>(row.iStatus);
        return bare;
    };
    if (iService != QRNP_OK && iService != QRNP_WARNING) {
        std::string text;
        for (const hostkit::Message& message : bridge.messages)
            text += (text.empty() ? "" : "; ") + std::to_string(message.iMessage) + ": " + hostkit::RenderMessage(message, false);
        return Fail(NIDMASK_FAILED, "Service returned " + std::to_string(iService) + (text.empty() ? "" : ": " + text),
                    pOutcome);
    }
    if (!row.bTaken) return Fail(NIDMASK_FAILED, "the provider did not serve the row", pOutcome);
    if (row.bRejected) return Reject(why(), pOutcome);
    if (row.iStatus != 0) {
        // NULL cannot reach the provider here (the functions are strict, and
        // random values have no source): anything else passes through.
        if (row.iStatus == QRNP_MSG_NULL_SOURCE) return Reject(why(), pOutcome);
        return NIDMASK_PASSED;
    }
    if (!bNumeric && AsciiVarcharResult(entry, pOutcome)) return NIDMASK_OK;
    if (!hostkit::ReadRowOutput(instance, entry.batch, 0, &bridge.wide)) {
        hostkit::Message unreadable;
        unreadable.iMessage = QRNP_MSG_DEST_CONVERSION;
        return Reject(unreadable, pOutcome);
    }
    if (bNumeric) {
        int64_t iValue = 0;
        bool bOk = !bridge.wide.empty() && bridge.wide.size() <= 18;
        for (const wchar_t c : bridge.wide) {
            bOk = bOk && c >= L'0' && c <= L'9';
            iValue = iValue * 10 + (c - L'0');
        }
        if (!bOk) {
            hostkit::Message notNumber;
            notNumber.iMessage = QRNP_MSG_NOT_A_NUMBER;
            return Reject(notNumber, pOutcome);
        }
        pOutcome->number = iValue;
        return NIDMASK_OK;
    }
    hostkit::ToUtf8(bridge.wide, &bridge.text);
    pOutcome->text = bridge.text.data();
    pOutcome->len = bridge.text.size();
    return NIDMASK_OK;
}

NidmaskStatus ApplyText(const NidmaskRule& rule, const char* pValue, size_t iLen, NidmaskOutcome* pOutcome) {
    Entry* pEntry = StartCall(rule);
    if (pEntry == nullptr) return NIDMASK_STALE;
    hostkit::CellValue& value = pEntry->values[0];
    value.bNull = false;
    if (pEntry->instance->column.sDataType == VARCHAR && iLen + 2 <= kMaxVarcharCell && IsAscii(pValue, iLen)) {
        // The VARCHAR cell as a database hands it over: the byte count, then
        // the bytes (the text is kept for messages that need it).
        const int16_t sBytes = static_cast<int16_t>(iLen);
        value.bRaw = true;
        value.raw.resize(sizeof sBytes + iLen);
        std::memcpy(value.raw.data(), &sBytes, sizeof sBytes);
        std::memcpy(value.raw.data() + sizeof sBytes, pValue, iLen);
        value.text.clear();
        FillRawRow(*pEntry);
        return ServeRow(*pEntry, false, pOutcome);
    } else if (pEntry->instance->column.sDataType == VARCHAR && iLen > 4 * kMaxVarcharCell) {
        // More characters than any VARCHAR cell holds, whatever they are:
        // refused as the host kit would refuse it, without a wide copy of
        // a value that may be a gigabyte long.
        size_t nChars = 0;
        for (size_t i = 0; i < iLen; ++i) nChars += (static_cast<unsigned char>(pValue[i]) & 0xC0) != 0x80;
        hostkit::Message tooLong;
        tooLong.iMessage = hostkit::kHostMsgTooLong;
        tooLong.tokens = {{QRNP_TOKID_SRCLEN, std::to_wstring(nChars)},
                          {QRNP_TOKID_COLLEN, std::to_wstring(pEntry->instance->options.iLength)}};
        tooLong.sDeclaredTokens = 2;
        return Reject(tooLong, pOutcome);
    } else {
        value.bRaw = false;
        if (!hostkit::FromUtf8(std::string_view(pValue, iLen), &value.text)) {
            value.text.clear();
            return Reject(hostkit::HostMessage(hostkit::kHostMsgInvalidUtf8, value, pEntry->instance->options), pOutcome);
        }
    }
    FillRow(*pEntry);
    return ServeRow(*pEntry, false, pOutcome);
}

NidmaskStatus ApplyNumber(const NidmaskRule& rule, int64_t iValue, NidmaskOutcome* pOutcome) {
    Entry* pEntry = StartCall(rule);
    if (pEntry == nullptr) return NIDMASK_STALE;
    hostkit::CellValue& value = pEntry->values[0];
    value.bNull = false;
    if (iValue < 0) {
        value.bRaw = false;
        value.text = std::to_wstring(iValue);
        return Reject(hostkit::HostMessage(hostkit::kHostMsgNotANumber, value, pEntry->instance->options), pOutcome);
    }
    // The column's own format: the number's eight bytes, as a database hands them over.
    const uint64_t iUnsigned = static_cast<uint64_t>(iValue);
    value.bRaw = true;
    value.raw.resize(sizeof iUnsigned);
    std::memcpy(value.raw.data(), &iUnsigned, sizeof iUnsigned);
    value.text.clear();
    FillRawRow(*pEntry);
    return ServeRow(*pEntry, true, pOutcome);
}

NidmaskStatus Generate(const NidmaskRule& rule, NidmaskOutcome* pOutcome) {
    Entry* pEntry = StartCall(rule);
    if (pEntry == nullptr) return NIDMASK_STALE;
    hostkit::CellValue& value = pEntry->values[0];
    value.bNull = true;
    value.bRaw = false;
    value.text.clear();
    FillRow(*pEntry);
    return ServeRow(*pEntry, false, pOutcome);
}

NidmaskStatus Check(const NidmaskRule& rule, const char* pValue, size_t iLen, size_t* pCount, NidmaskOutcome* pOutcome) {
    Bridge& bridge = TheBridge();
    NidmaskStatus status = ApplyText(rule, pValue, iLen, pOutcome);
    if (status == NIDMASK_REJECTED) {
        status = NIDMASK_OK;
        pOutcome->error = nullptr;
    }
    if (status != NIDMASK_OK && status != NIDMASK_PASSED) return status;
    // What the provider captured, or the host's own message.
    std::vector<hostkit::Message> messages = std::move(bridge.messages);
    bridge.messages.clear();
    bridge.checkTexts.clear();
    bridge.checkTokens.clear();
    for (const hostkit::Message& message : messages) {
        nlohmann::json tokens = nlohmann::json::object();
        for (const auto& token : message.tokens) {
            const std::string name = hostkit::TokenName(token.first);
            if (!tokens.contains(name)) tokens[name] = hostkit::ToUtf8(token.second);
        }
        bridge.checkTexts.push_back(hostkit::RenderMessage(message, true));
        bridge.checkTokens.push_back(tokens.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
        bridge.messages.push_back(message);
    }
    *pCount = bridge.messages.size();
    return status;
}

void ClearOutcome(NidmaskOutcome* pOutcome) { *pOutcome = NidmaskOutcome{nullptr, 0, 0, 0, nullptr}; }

// Runs `body`, turning any exception into NIDMASK_FAILED.
template <typename Body>
NidmaskStatus Guarded(NidmaskOutcome* pOutcome, Body body) noexcept {
    try {
        ClearOutcome(pOutcome);
        return body();
    } catch (const std::bad_alloc&) {
        pOutcome->error = "out of memory";
    } catch (...) {
        pOutcome->error = "unexpected failure in the provider bridge";
    }
    return NIDMASK_FAILED;
}

}  // namespace

extern "C" {

NidmaskStatus nidmask_open_rule(const NidmaskRuleRequest* request, NidmaskRule* rule, NidmaskOutcome* outcome) noexcept {
    return Guarded(outcome, [&] { return OpenRule(*request, rule, outcome); });
}

NidmaskStatus nidmask_apply_text(const NidmaskRule* rule, const char* value, size_t len,
                                 NidmaskOutcome* outcome) noexcept {
    return Guarded(outcome, [&] { return ApplyText(*rule, value, len, outcome); });
}

NidmaskStatus nidmask_apply_number(const NidmaskRule* rule, int64_t value, NidmaskOutcome* outcome) noexcept {
    return Guarded(outcome, [&] { return ApplyNumber(*rule, value, outcome); });
}

NidmaskStatus nidmask_generate(const NidmaskRule* rule, NidmaskOutcome* outcome) noexcept {
    return Guarded(outcome, [&] { return Generate(*rule, outcome); });
}

NidmaskStatus nidmask_validate(const NidmaskRule* rule, const char* value, size_t len, size_t* count,
                            NidmaskOutcome* outcome) noexcept {
    *count = 0;
    return Guarded(outcome, [&] { return Check(*rule, value, len, count, outcome); });
}

void nidmask_check_message(size_t i, uint32_t* message, const char** text, const char** tokensJson) noexcept {
    const Bridge& bridge = TheBridge();
    *message = bridge.messages[i].iMessage;
    *text = bridge.checkTexts[i].c_str();
    *tokensJson = bridge.checkTokens[i].c_str();
}

void nidmask_release_all(void) noexcept {
    try {
        Bridge& bridge = TheBridge();
        bridge.pLast = nullptr;
        for (auto& entry : bridge.entries) Release(*entry);
        bridge.entries.clear();
    } catch (...) {
        // At exit: nothing left to tell anyone.
    }
}

}  // extern "C"
