// Reading the options object with nlohmann::json, key by key from one table.
#include "pg_options.h"

#include <functional>
#include <map>

#include <nlohmann/json.hpp>

namespace nidmask_pg {

namespace {

struct OptionsError {
    std::string message;
};

// The value of one key, read as the type its setting needs.
class KeyReader {
public:
    KeyReader(const std::string& key, const nlohmann::json& value) : key_(key), value_(value) {}

    [[noreturn]] void Fail(const std::string& what) const { throw OptionsError{"options: " + key_ + ": " + what}; }
    bool Bool() const {
        if (!value_.is_boolean()) Fail("true or false is expected");
        return value_.get<bool>();
    }
    std::string String() const {
        if (!value_.is_string()) Fail("a text is expected");
        return value_.get<std::string>();
    }
    // A text, or a whole number written as one (form 5, area_table 2008).
    std::string Text() const {
        if (value_.is_number_integer()) return std::to_string(value_.get<int64_t>());
        return String();
    }
    std::string OneOf(const std::vector<std::string>& names) const {
        const std::string value = Text();
        if (const std::string problem = hostkit::NoneOfMessage(value, names); !problem.empty()) Fail(problem);
        return value;
    }

private:
    std::string key_;
    const nlohmann::json& value_;
};

struct Target {
    hostkit::MaskingSettings& settings;
    NidmaskOnReject& onReject;
};

using OptionKey = std::function<void(const KeyReader&, Target&)>;

const std::map<std::string, OptionKey>& OptionKeys() {
    static const std::map<std::string, OptionKey> keys = {
        {"validate", [](const KeyReader& k, Target& t) { t.settings.bValidate = k.Bool(); }},
        {"pass_invalid", [](const KeyReader& k, Target& t) { t.settings.bPassInvalid = k.Bool(); }},
        {"official", [](const KeyReader& k, Target& t) { t.settings.bOfficial = k.Bool(); }},
        {"parts", [](const KeyReader& k, Target& t) { t.settings.named.parts = k.String(); }},
        {"separator",
         [](const KeyReader& k, Target& t) { t.settings.named.separator = k.OneOf(hostkit::kSeparatorNames); }},
        {"form", [](const KeyReader& k, Target& t) { t.settings.named.form = k.OneOf(hostkit::kFormNames); }},
        {"area_table", [](const KeyReader& k, Target& t) { t.settings.named.areaTable = k.OneOf(hostkit::kAreaTableNames); }},
        {"on_reject",
         [](const KeyReader& k, Target& t) {
             const std::string value = k.OneOf({"error", "null", "keep"});
             t.onReject = value == "error" ? NIDMASK_REJECT_ERROR : value == "null" ? NIDMASK_REJECT_NULL : NIDMASK_REJECT_KEEP;
         }},
    };
    return keys;
}

std::string KeyList() {
    std::string list;
    for (const auto& [name, reader] : OptionKeys()) list += (list.empty() ? "" : ", ") + name;
    return list;
}

}  // namespace

bool ParseOptions(const std::string& json, hostkit::MaskingSettings* pSettings, NidmaskOnReject* pOnReject,
                  std::string* pError) {
    const nlohmann::json root = nlohmann::json::parse(json, nullptr, false);
    if (!root.is_object()) {
        *pError = "options: a JSON object is expected, e.g. '{\"validate\": true}'";
        return false;
    }
    Target target{*pSettings, *pOnReject};
    try {
        for (const auto& [name, value] : root.items()) {
            const auto it = OptionKeys().find(name);
            if (it == OptionKeys().end())
                throw OptionsError{"options: '" + name + "' is not an option (options: " + KeyList() + ")"};
            it->second(KeyReader(name, value), target);
        }
    } catch (const OptionsError& error) {
        *pError = error.message;
        return false;
    }
    return true;
}

}  // namespace nidmask_pg
