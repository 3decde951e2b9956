// Keyed encryption, every country: values generated in each form encrypt
// exactly when full validation accepts them (and fail with its message when
// it does not), keep their layout, stay valid, never collide, and decrypt
// back; one whole US area is checked exhaustively; keys and tweaks give
// unrelated results; without a key the methods are unknown to the provider.
#include <gtest/gtest.h>

#include <algorithm>

#include "countries/us/QRNPNidUsAlgo.h"
#include "masking_settings.h"
#include "support/run_rows.h"

namespace {

using Values = std::vector<std::optional<std::wstring>>;

std::vector<uint8_t> TestKey(uint8_t seed) {
    std::vector<uint8_t> key(32);
    for (size_t i = 0; i < key.size(); ++i) key[i] = static_cast<uint8_t>(seed * 37 + i * 11);
    return key;
}

struct Config {
    const char* pCountry;
    hostkit::NamedSettings named;  // parts, form, area table; the separator is kept
    bool bOfficial = false;
    std::string generatedSeparator = "";  // the form the sources are generated in
};

// Values a form: 100,000 (about 12 s of CPU for the whole test in the release
// build). The sanitizers' build (unoptimised) runs ten times slower; what it
// checks, memory and undefined behaviour, 40,000 values a form exercise as
// well, in about a minute of CPU (100,000 would take two and a half).
#if defined(__SANITIZE_ADDRESS__)
constexpr size_t kRowsAForm = 40000;
#else
constexpr size_t kRowsAForm = 100000;
#endif

hostkit::ResolvedMasking Resolve(const Config& c, const std::string& method, const std::vector<uint8_t>& key = {},
                                 const std::string& tweak = "", const std::string& separator = "keep") {
    hostkit::MaskingSettings settings;
    settings.country = c.pCountry;
    settings.method = method;
    settings.named = c.named;
    settings.named.separator = separator;
    settings.bOfficial = c.bOfficial;
    settings.bValidate = method == "mask";
    settings.key = key;
    settings.tweak = tweak;
    hostkit::ResolvedMasking resolved;
    std::string error;
    EXPECT_TRUE(hostkit::ResolveMasking(settings, VARCHAR, &resolved, &error)) << error;
    return resolved;
}

testsupport::RunResult RunResolved(const hostkit::ResolvedMasking& resolved, const Values& values) {
    return testsupport::RunRows(resolved.instance, values, resolved.sServiceMethod);
}

Values Outputs(const testsupport::RunResult& result) {
    Values outputs;
    for (const auto& row : result.rows) outputs.push_back(row.output);
    return outputs;
}

size_t DistinctCount(Values values) {
    std::sort(values.begin(), values.end());
    return static_cast<size_t>(std::unique(values.begin(), values.end()) - values.begin());
}

// The layout of a value: letters and digits as '#', anything else itself;
// lower-case letters as 'a'.
std::wstring Shape(const std::wstring& v) {
    std::wstring shape = v;
    for (wchar_t& c : shape) c = std::iswlower(c) ? L'a' : std::iswalnum(c) ? L'#' : c;
    return shape;
}

// Lower-case letters here and there, as some tables hold them (the names of
// a codice fiscale, an NIE's letters, a NINO's prefix).
std::wstring SomeLowerCase(std::wstring v, size_t i, const char* pCountry) {
    if (i % 3 != 0) return v;
    const std::string country = pCountry;
    const size_t iLast = v.size() - 1;
    for (size_t k = 0; k < v.size(); ++k) {
        const bool bName = country == "IT" && k < 6 && (k + i) % 2 == 0;
        const bool bEnds = (country == "ES" || country == "UK") && (k == 0 || k == iLast);
        if (bName || bEnds) v[k] = static_cast<wchar_t>(std::towlower(v[k]));
    }
    return v;
}

TEST(Keyed, EncryptsWhatValidationAcceptsIntoValidDistinctValuesThatDecryptBack) {
    const std::vector<Config> configs = {
        {"FR", {}},
        {"FR", {"sex,year,month,dept,commune", "", "", ""}, false, "dash"},
        {"FR", {"month", "", "", ""}},
        {"FR", {"dept", "", "", ""}, true, "space"},
        {"FR", {}, true},
        {"IT", {}},
        {"IT", {"names,date,region", "", "", ""}, false, "dash"},
        {"IT", {"names", "", "", ""}, true},
        {"UK", {}},
        {"UK", {"prefix", "", "5", ""}, false, "space"},
        {"UK", {"prefix", "", "3", ""}, true, "dash"},
        {"ES", {}},
        {"ES", {}, false, "dash"},
        {"ES", {}, true, "space"},
        {"US", {}},
        {"US", {"area", "", "", ""}, false, "dash"},
        {"US", {"area", "", "", ""}, true},
        {"CA", {}},
        {"CA", {"head", "", "", ""}, false, "space"},
        {"CA", {"head", "", "", ""}, true},
    };
    const std::vector<uint8_t> key = TestKey(1);
    for (const Config& c : configs) {
        SCOPED_TRACE(std::string(c.pCountry) + " parts '" + c.named.parts + "' form '" + c.generatedSeparator + "'" +
                     (c.bOfficial ? " official" : ""));
        const auto generated = RunResolved(Resolve(c, "random", {}, "", c.generatedSeparator), Values(kRowsAForm));
        Values sources = Outputs(generated);
        for (size_t i = 0; i < sources.size(); ++i) sources[i] = SomeLowerCase(*sources[i], i, c.pCountry);

        const auto validated = RunResolved(Resolve(c, "mask"), sources);
        const auto encrypted = RunResolved(Resolve(c, "encrypt", key), sources);
        ASSERT_EQ(encrypted.iInit, 0);
        Values accepted, ciphertexts;
        for (size_t i = 0; i < sources.size(); ++i) {
            // Refused exactly when full validation refuses, with its message.
            ASSERT_EQ(encrypted.rows[i].iStatus, validated.rows[i].iStatus) << hostkit::ToUtf8(*sources[i]);
            if (validated.rows[i].iStatus != 0) continue;
            ASSERT_EQ(Shape(*encrypted.rows[i].output), Shape(*sources[i])) << hostkit::ToUtf8(*sources[i]);
            accepted.push_back(sources[i]);
            ciphertexts.push_back(encrypted.rows[i].output);
        }
        EXPECT_GT(accepted.size(), kRowsAForm / 2);

        EXPECT_EQ(DistinctCount(ciphertexts), DistinctCount(accepted));

        const auto revalidated = RunResolved(Resolve(c, "mask"), ciphertexts);
        EXPECT_TRUE(revalidated.messages.empty()) << hostkit::ToUtf8(revalidated.messages[0].tokens[0].second);
        const auto decrypted = RunResolved(Resolve(c, "decrypt", key), ciphertexts);
        EXPECT_EQ(Outputs(decrypted), accepted);
    }
}

// Whatever separator is asked for, every result passes full validation and
// decrypts back to its source (written with that separator). A Spanish
// eight-digit NIF, which the provider's own rules know only compact, is
// written compact.
TEST(Keyed, EverySeparatorGivesValuesThatValidateAndDecryptBack) {
    const std::vector<std::pair<const char*, std::vector<std::string>>> countries = {
        {"FR", {"none", "dash", "space"}}, {"IT", {"none", "dash", "space"}},
        {"UK", {"none", "dot", "dash", "space"}}, {"ES", {"none", "dash", "space"}},
        {"US", {"none", "dot", "dash", "space"}}, {"CA", {"none", "dot", "dash", "space"}},
    };
    const std::vector<uint8_t> key = TestKey(6);
    const auto Alnum = [](const std::optional<std::wstring>& v) {
        std::wstring text = *v;
        std::erase_if(text, [](wchar_t c) { return !std::iswalnum(c); });
        return text;
    };
    for (const auto& [pCountry, separators] : countries) {
        // Spain: eight-digit NIFs and X NIEs too, as the official rules generate them.
        Values sources = Outputs(RunResolved(Resolve({pCountry, {}}, "random"), Values(3000)));
        if (std::string(pCountry) == "ES") {
            const Values official = Outputs(RunResolved(Resolve({pCountry, {}, true}, "random"), Values(3000)));
            sources.insert(sources.end(), official.begin(), official.end());
        }
        const auto validated = RunResolved(Resolve({pCountry, {}}, "mask"), sources);
        for (const std::string& separator : separators) {
            SCOPED_TRACE(std::string(pCountry) + " " + separator);
            const auto encrypted = RunResolved(Resolve({pCountry, {}}, "encrypt", key, "", separator), sources);
            Values accepted, ciphertexts;
            for (size_t i = 0; i < sources.size(); ++i) {
                ASSERT_EQ(encrypted.rows[i].iStatus, validated.rows[i].iStatus) << hostkit::ToUtf8(*sources[i]);
                if (validated.rows[i].iStatus != 0) continue;
                accepted.push_back(sources[i]);
                ciphertexts.push_back(encrypted.rows[i].output);
            }
            EXPECT_GT(accepted.size(), sources.size() / 2);
            const auto revalidated = RunResolved(Resolve({pCountry, {}}, "mask"), ciphertexts);
            ASSERT_TRUE(revalidated.messages.empty()) << hostkit::ToUtf8(revalidated.messages[0].tokens[0].second);
            const Values decrypted = Outputs(RunResolved(Resolve({pCountry, {}}, "decrypt", key, "", separator), ciphertexts));
            for (size_t i = 0; i < accepted.size(); ++i)
                ASSERT_EQ(Alnum(decrypted[i]), Alnum(accepted[i])) << hostkit::ToUtf8(*accepted[i]);
        }
    }
}

// Every number of a US area whose 99 groups are all in use (in the 2010
// table) encrypts to another number of the area: the 989,901 results are the
// 989,901 sources again, in another order.
TEST(Keyed, PermutesAWholeUsArea) {
    int32_t iArea = 0;
    for (int32_t a = 1; a <= US_AREA_COUNT && iArea == 0; ++a)
        if (MaxGrpAreaTable[a - 1].cHighGroup > 0 && IssuanceRank(MaxGrpAreaTable[a - 1].cHighGroup) == 99) iArea = a;
    ASSERT_NE(iArea, 0);
    Values sources;
    wchar_t text[12];
    for (int32_t g = 1; g <= 99; ++g)
        for (int32_t s = 1; s <= 9999; ++s) {
            std::swprintf(text, 12, L"%03d%02d%04d", iArea, g, s);
            sources.emplace_back(text);
        }
    ASSERT_EQ(sources.size(), 989901u);
    const Config us{"US", {}};
    const auto encrypted = RunResolved(Resolve(us, "encrypt", TestKey(2)), sources);
    ASSERT_TRUE(encrypted.messages.empty());
    Values outputs = Outputs(encrypted);
    std::sort(outputs.begin(), outputs.end());
    EXPECT_EQ(outputs, sources);
}

// A SIN's body alone is a domain of 10^5 values, which an instance tables
// once its walks have cost as much: the values served after that (the last
// of 150,000 here) encrypt and decrypt as a fresh instance's walks do.
TEST(Keyed, ASmallDomainsTableGivesWhatTheWalksGive) {
    const Config ca{"CA", {}};
    const std::vector<uint8_t> key = TestKey(5);
    const Values sources = Outputs(RunResolved(Resolve(ca, "random"), Values(150000)));
    const Values last(sources.end() - 10000, sources.end());
    for (const char* pMethod : {"encrypt", "decrypt"}) {
        SCOPED_TRACE(pMethod);
        const Values all = Outputs(RunResolved(Resolve(ca, pMethod, key), sources));
        EXPECT_EQ(Values(all.end() - 10000, all.end()), Outputs(RunResolved(Resolve(ca, pMethod, key), last)));
    }
}

// Values encrypted under two keys, or one key and two tweaks, agree no more
// often than chance would have them agree.
TEST(Keyed, KeysAndTweaksGiveUnrelatedResults) {
    const Config config{"ES", {}};
    const Values sources = Outputs(RunResolved(Resolve(config, "random"), Values(5000)));
    const auto Encrypt = [&](uint8_t seed, const std::string& tweak) {
        return Outputs(RunResolved(Resolve(config, "encrypt", TestKey(seed), tweak), sources));
    };
    const Values base = Encrypt(3, "");
    for (const auto& [seed, tweak] : std::vector<std::pair<uint8_t, std::string>>{{4, ""}, {3, "people.nif"}, {3, "people.nie"}}) {
        const Values other = Encrypt(seed, tweak);
        size_t iSame = 0;
        for (size_t i = 0; i < sources.size(); ++i) iSame += base[i] == other[i] ? 1 : 0;
        EXPECT_LE(iSame, 2u) << "seed " << int{seed} << " tweak '" << tweak << "'";
    }
    EXPECT_EQ(Encrypt(3, "people.nif"), Encrypt(3, "people.nif"));
}

// An engine that knows nothing of keys gets what it always got: 0x1409 and
// 0x140A are unknown Service methods (4357).
TEST(Keyed, WithoutAKeyTheMethodsAreUnknown) {
    for (const uint16_t sMethod : {QRNP_METHOD_ENCRYPT, QRNP_METHOD_DECRYPT}) {
        hostkit::InstanceOptions options;
        options.countrySwitch = L"US";
        options.sMethod = sMethod;
        const auto result = testsupport::RunRows(options, {std::wstring(L"078051121")}, sMethod);
        ASSERT_EQ(result.iInit, 0);
        EXPECT_EQ(result.iService, QRNP_MSG_INVALID_METHOD);
        EXPECT_EQ(testsupport::MessageNumbers(result), std::vector<uint32_t>{QRNP_MSG_INVALID_METHOD});
    }
}

}  // namespace
