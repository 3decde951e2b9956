// Every country, with and without the official rules: identifiers generated
// in each output form mask with every row served under full validation, keep
// their form when the source's separators are kept, and mask again with every
// row served.
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "countries/country_driver.h"
#include "countries/it/QRNPNidItAlgo.h"
#include "support/run_rows.h"

namespace {

using Operands = std::vector<std::pair<uint16_t, uint32_t>>;

constexpr size_t kRows = 30000;

// Italy: every tenth value made omocodic (its rightmost i mod 8 digits as
// letters, in the compact form); random days 00 and 40 are left out (the generator makes them,
// full validation refuses them).
bool ItalianVariant(size_t i, std::wstring* pValue) {
    std::wstring& v = *pValue;
    std::wstring compact = v;
    std::erase_if(compact, [](wchar_t c) { return c == L'-' || c == L' '; });
    const int iDay = std::stoi(compact.substr(9, 2));
    if (iDay == 0 || iDay == 40) return false;
    if (i % 10 == 0 && v.size() == 16) {
        const int kFromRight[7] = {14, 13, 12, 10, 9, 7, 6};
        for (size_t k = 0; k < (i / 10) % 8; ++k) v[kFromRight[k]] = L"LMNPQRSTUV"[v[kFromRight[k]] - L'0'];
        GetControlCharacter(v.data());
    }
    return true;
}

// One output form of the random method: its settings and the layouts it may give.
struct Form {
    Operands operands;
    std::set<std::wstring> shapes;
};

struct CountryRun {
    const wchar_t* pSwitch;
    std::vector<Form> generatedForms;
    uint16_t sSeparatorKey;
    std::vector<Operands> masks;           // settings masked under (the source's separators kept)
    std::function<bool(size_t, std::wstring*)> variant = nullptr;  // false leaves a value out
};

TEST(GeneratedValues, MaskInTheirFormAndMaskAgain) {
    const CountryRun runs[] = {
        {L"FR",
         {{{}, {L"###############"}},
          {{{QRNP_OPR_FR_SEPARATOR, 8}}, {L"#############-##"}},
          {{{QRNP_OPR_FR_SEPARATOR, 16}}, {L"############# ##"}}},
         QRNP_OPR_FR_SEPARATOR, {{}, {{QRNP_OPR_FR_PARTS, 31}}}},
        {L"IT",
         {{{}, {L"################"}},
          {{{QRNP_OPR_IT_SEPARATOR, 8}}, {L"###-###-#####-#####"}},
          {{{QRNP_OPR_IT_SEPARATOR, 16}}, {L"### ### ##### #####"}}},
         QRNP_OPR_IT_SEPARATOR, {{}, {{QRNP_OPR_IT_FLAGS, 7}}}, ItalianVariant},
        {L"UK",
         {{{{QRNP_OPR_UK_SEPARATOR, 1}}, {L"########", L"#########"}},
          {{{QRNP_OPR_UK_SEPARATOR, 8}, {QRNP_OPR_UK_FORM, 1}}, {L"##-######", L"##-######-#"}},
          {{{QRNP_OPR_UK_SEPARATOR, 16}, {QRNP_OPR_UK_FORM, 2}}, {L"## ## ## ##", L"## ## ## ## #"}}},
         QRNP_OPR_UK_SEPARATOR, {{}, {{QRNP_OPR_UK_DATA, 1}}}},
        {L"ES",
         {{{{QRNP_OPR_ES_SEPARATOR, 1}}, {L"########", L"#########"}},  // eight digits under the official rules
          {{{QRNP_OPR_ES_SEPARATOR, 8}}, {L"#######-#", L"########-#", L"#-#######-#"}},
          {{{QRNP_OPR_ES_SEPARATOR, 16}}, {L"####### #", L"######## #", L"# ####### #"}}},
         QRNP_OPR_ES_SEPARATOR, {{}}},
        {L"US",
         {{{}, {L"#########"}},
          {{{QRNP_OPR_US_SEPARATOR, 4}}, {L"###.##.####"}},
          {{{QRNP_OPR_US_SEPARATOR, 8}}, {L"###-##-####"}}},
         QRNP_OPR_US_SEPARATOR, {{}, {{QRNP_OPR_US_FLAGS, 1}}}},
        {L"CA",
         {{{}, {L"#########"}},
          {{{QRNP_OPR_CA_SEPARATOR, 4}}, {L"###.###.###"}},
          {{{QRNP_OPR_CA_SEPARATOR, 16}}, {L"### ### ###"}}},
         QRNP_OPR_CA_SEPARATOR, {{}, {{QRNP_OPR_CA_PARTS, 1}}}},
    };
    for (const bool bOfficial : {false, true}) {
    for (const CountryRun& run : runs) {
        for (const Form& form : run.generatedForms) {
            SCOPED_TRACE(hostkit::ToUtf8(run.pSwitch) + " form " + std::to_string(&form - run.generatedForms.data()) +
                         (bOfficial ? " official" : ""));
            const Operands official = bOfficial ? Operands{{QRNP_OPR_OFFICIAL_RULES, 1}} : Operands{};
            hostkit::InstanceOptions options;
            options.countrySwitch = run.pSwitch;
            options.operands = form.operands;
            options.operands.insert(options.operands.end(), official.begin(), official.end());
            const auto generated = testsupport::Generated(options, kRows);
            std::vector<std::optional<std::wstring>> values;
            for (size_t i = 0; i < kRows; ++i) {
                std::wstring v = *generated[i];
                ASSERT_EQ(form.shapes.count(testsupport::Shape(v)), 1u) << hostkit::ToUtf8(v);
                if (run.variant == nullptr || run.variant(i, &v)) values.push_back(v);
            }
            for (const Operands& mask : run.masks) {
                options.operands = mask;
                options.operands.emplace_back(run.sSeparatorKey, QRNP_SEPARATOR_AS_SOURCE);
                options.operands.insert(options.operands.end(), official.begin(), official.end());
                options.sProcFlags = QRNP_PROC_VALIDATE_FULLY;
                std::vector<std::optional<std::wstring>> current = values;
                for (int pass = 0; pass < 2; ++pass) {
                    const auto masked = testsupport::RunRows(options, current);
                    ASSERT_EQ(masked.iService, 0) << "pass " << pass;
                    EXPECT_TRUE(masked.messages.empty());
                    for (size_t i = 0; i < current.size(); ++i) {
                        ASSERT_EQ(testsupport::Shape(*masked.rows[i].output), testsupport::Shape(*current[i])) << hostkit::ToUtf8(*current[i]);
                        current[i] = masked.rows[i].output;
                    }
                }
            }
        }
    }
    }
}

}  // namespace
