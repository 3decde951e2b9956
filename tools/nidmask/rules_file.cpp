// Reading the rules file with toml++.
#include "rules_file.h"

#include <functional>
#include <map>

#include <toml++/toml.h>

#include "column_types.h"
#include "key_file.h"
#include "number_text.h"

namespace nidmask {

namespace {

// A mistake in the file: where, and what.
struct RulesError {
    std::string message;
};

std::string Where(const std::string& path, const toml::source_region& region) {
    return path + ":" + std::to_string(region.begin.line);
}

// The value of one key, read as the type its setting needs.
class KeyReader {
public:
    KeyReader(const std::string& path, const std::string& key, const toml::node& node)
        : path_(path), key_(key), node_(node) {}
    // The reader of a key nested in this one's table.
    KeyReader Child(const std::string& key, const toml::node& node) const { return KeyReader(path_, key_ + "." + key, node); }

    [[noreturn]] void Fail(const std::string& what) const {
        throw RulesError{Where(path_, node_.source()) + ": " + key_ + ": " + what};
    }
    std::string String() const {
        if (const auto* p = node_.as_string()) return p->get();
        Fail("a text is expected");
    }
    // A text, or a whole number written as one (form = 5, column = 3).
    std::string Text() const {
        if (const auto* p = node_.as_integer()) return std::to_string(p->get());
        return String();
    }
    bool Bool() const {
        if (const auto* p = node_.as_boolean()) return p->get();
        Fail("true or false is expected");
    }
    int64_t Integer(int64_t iMin, int64_t iMax) const {
        const auto* p = node_.as_integer();
        if (p == nullptr) Fail("a whole number is expected");
        if (p->get() < iMin || p->get() > iMax)
            Fail("must be between " + std::to_string(iMin) + " and " + std::to_string(iMax));
        return p->get();
    }
    std::string OneOf(const std::vector<std::string>& names) const {
        const std::string value = Text();
        if (const std::string problem = hostkit::NoneOfMessage(value, names); !problem.empty()) Fail(problem);
        return value;
    }
    const toml::node& Node() const { return node_; }

private:
    std::string path_;
    std::string key_;
    const toml::node& node_;
};

using RuleKey = std::function<void(const KeyReader&, ColumnRule&)>;

const std::map<std::string, RuleKey>& RuleKeys() {
    static const std::map<std::string, RuleKey> keys = {
        {"column", [](const KeyReader& k, ColumnRule& r) { r.column = k.Text(); }},
        {"table", [](const KeyReader& k, ColumnRule& r) { r.table = k.String(); }},
        {"country",
         [](const KeyReader& k, ColumnRule& r) {
             r.masking.country = k.String();
             if (hostkit::CountryCode(r.masking.country).empty())
                 k.Fail("'" + r.masking.country + "' is none of FR, IT, UK (or GB), ES, US, CA");
         }},
        {"method",
         [](const KeyReader& k, ColumnRule& r) { r.masking.method = k.OneOf({"mask", "random", "encrypt", "decrypt"}); }},
        {"key_file",
         [](const KeyReader& k, ColumnRule& r) {
             std::string error;
             if (!ReadKeyFile(k.String(), &r.masking.key, &error)) k.Fail(error);
             r.keyFile = k.String();
         }},
        {"tweak", [](const KeyReader& k, ColumnRule& r) { r.masking.tweak = k.String(); }},
        {"validate", [](const KeyReader& k, ColumnRule& r) { r.masking.bValidate = k.Bool(); }},
        {"pass_invalid", [](const KeyReader& k, ColumnRule& r) { r.masking.bPassInvalid = k.Bool(); }},
        {"parts", [](const KeyReader& k, ColumnRule& r) { r.masking.named.parts = k.String(); }},
        {"separator",
         [](const KeyReader& k, ColumnRule& r) {
             r.masking.named.separator = k.OneOf(hostkit::kSeparatorNames);
         }},
        {"form", [](const KeyReader& k, ColumnRule& r) { r.masking.named.form = k.OneOf(hostkit::kFormNames); }},
        {"area_table",
         [](const KeyReader& k, ColumnRule& r) { r.masking.named.areaTable = k.OneOf(hostkit::kAreaTableNames); }},
        {"type",
         [](const KeyReader& k, ColumnRule& r) {
             int16_t sType = 0;
             if (!hostkit::ParseColumnType(k.String(), &sType))
                 k.Fail("'" + k.String() + "' is none of " + hostkit::ColumnTypeNames());
             r.masking.dataType = sType;
         }},
        {"length", [](const KeyReader& k, ColumnRule& r) { r.masking.iLength = static_cast<int32_t>(k.Integer(1, 8191)); }},
        {"on_reject",
         [](const KeyReader& k, ColumnRule& r) {
             const std::string value = k.OneOf({"empty", "null", "drop", "fail"});
             r.onReject = value == "empty"  ? RejectAction::Empty
                          : value == "null" ? RejectAction::Null
                          : value == "drop" ? RejectAction::Drop
                                            : RejectAction::Fail;
         }},
        {"fill_null", [](const KeyReader& k, ColumnRule& r) { r.bFillNull = k.Bool(); }},
        {"official", [](const KeyReader& k, ColumnRule& r) { r.masking.bOfficial = k.Bool(); }},
        {"options",
         [](const KeyReader& k, ColumnRule& r) {
             const toml::table* pTable = k.Node().as_table();
             if (pTable == nullptr) k.Fail("a table of operands is expected, e.g. { \"0x1801\" = 31 }");
             for (auto&& [key, value] : *pTable) {
                 uint64_t iKey = 0;
                 const std::string name(key.str());
                 if (!hostkit::ParseUnsigned(name, 0xFFFF, &iKey)) k.Fail("'" + name + "' is not a 16-bit operand key");
                 const int64_t iValue = k.Child(name, value).Integer(0, 0xFFFFFFFF);
                 r.masking.rawOperands.emplace_back(static_cast<uint16_t>(iKey), static_cast<uint32_t>(iValue));
             }
         }},
    };
    return keys;
}

std::string KeyList(const std::map<std::string, RuleKey>& keys) {
    std::string list;
    for (const auto& [name, reader] : keys) list += (list.empty() ? "" : ", ") + name;
    return list;
}

void ReadSettings(const std::string& path, const toml::table& root, RulesFileSettings* pSettings) {
    for (auto&& [key, node] : root) {
        const std::string name(key.str());
        const KeyReader k(path, name, node);
        if (name == "rule") continue;
        if (name == "format") {
            pSettings->format = k.OneOf({"lines", "csv", "tsv"});
        } else if (name == "delimiter") {
            const std::string value = k.OneOf({",", ";", "|", "tab"});
            pSettings->cDelimiter = value == "tab" ? '\t' : value[0];
        } else if (name == "header") {
            pSettings->bHeader = k.Bool();
        } else if (name == "null") {
            pSettings->nullText = k.String();
        } else if (name == "batch") {
            pSettings->iBatch = static_cast<int>(k.Integer(1, 1000000));
        } else {
            throw RulesError{Where(path, key.source()) + ": '" + name +
                             "' is not a setting (file-wide: format, delimiter, header, null, batch; [[rule]] "
                             "tables for the columns)"};
        }
    }
}

ColumnRule ReadRule(const std::string& path, const toml::table& table) {
    ColumnRule rule;
    rule.origin = Where(path, table.source());
    for (auto&& [key, node] : table) {
        const std::string name(key.str());
        const auto it = RuleKeys().find(name);
        if (it == RuleKeys().end())
            throw RulesError{Where(path, key.source()) + ": '" + name + "' is not a rule key (keys: " +
                             KeyList(RuleKeys()) + ")"};
        it->second(KeyReader(path, name, node), rule);
        rule.keyOrigins[name] = Where(path, node.source());
    }
    if (rule.column.empty()) throw RulesError{rule.origin + ": the rule has no column"};
    if (rule.masking.country.empty()) throw RulesError{rule.origin + ": the rule has no country"};
    return rule;
}

}  // namespace

bool ReadRulesFile(const std::string& path, RulesFileSettings* pSettings, std::vector<ColumnRule>* pRules,
                   std::string* pError) {
    try {
        const toml::table root = toml::parse_file(path);
        ReadSettings(path, root, pSettings);
        const toml::node* pRuleNode = root.get("rule");
        const toml::array* pRules_ = pRuleNode != nullptr ? pRuleNode->as_array() : nullptr;
        if (pRules_ == nullptr || pRules_->empty()) {
            *pError = path + ": no [[rule]] table: each masked column needs one";
            return false;
        }
        for (const toml::node& node : *pRules_) {
            const toml::table* pTable = node.as_table();
            if (pTable == nullptr) throw RulesError{Where(path, node.source()) + ": rule: a [[rule]] table is expected"};
            pRules->push_back(ReadRule(path, *pTable));
        }
    } catch (const toml::parse_error& error) {
        *pError = Where(path, error.source()) + ": " + std::string(error.description());
        return false;
    } catch (const RulesError& error) {
        *pError = error.message;
        return false;
    }
    return true;
}

}  // namespace nidmask
