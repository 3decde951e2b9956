// Generated numbers in every form: masked under separator code 2 with every
// row served, each output in its source's form, and every output passing the
// driver's checks again when masked in turn.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "countries/uk/QRNPNidUkAlgo.h"
#include "support/run_rows.h"

namespace {

constexpr int kValues = 100000;

// The compact value in the 3-part (parts = 3) or 5-part (parts = 5) form.
std::wstring Separated(const std::wstring& compact, int parts, wchar_t sep) {
    std::wstring out = compact.substr(0, 2) + sep;
    if (parts == 3) {
        out += compact.substr(2, 6);
    } else {
        out += compact.substr(2, 2) + sep + compact.substr(4, 2) + sep + compact.substr(6, 2);
    }
    if (compact.size() == 9) out += std::wstring(1, sep) + compact[8];
    return out;
}

bool IsSeparator(wchar_t c) { return c == L'-' || c == L'.' || c == L' '; }

// Same length, and the same separator characters at the same positions.
bool SameForm(const std::wstring& a, const std::wstring& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (IsSeparator(a[i]) != IsSeparator(b[i])) return false;
        if (IsSeparator(a[i]) && a[i] != b[i]) return false;
    }
    return true;
}

TEST(UkFormsRoundTripTest, GeneratedValuesKeepTheirFormAndMaskAgain) {
    std::vector<hostkit::CellValue> sources;
    sources.reserve(3 * kValues);
    static constexpr wchar_t kSeparators[3] = {L'-', L'.', L' '};
    for (int i = 0; i < kValues; ++i) {
        wchar_t compact[16];
        ASSERT_EQ(RandomNINO(compact), 0u);
        sources.push_back({false, compact});
        sources.push_back({false, Separated(compact, 3, kSeparators[i % 3])});
        sources.push_back({false, Separated(compact, 5, kSeparators[(i + 1) % 3])});
    }

    for (uint32_t iData : {0u, 1u}) {
        hostkit::InstanceOptions options;
        options.countrySwitch = L"UK";
        options.operands = {{QRNP_OPR_UK_SEPARATOR, 2}, {QRNP_OPR_UK_DATA, iData}};
        auto instance = hostkit::MakeInstance(testsupport::Linked(), options);
        ASSERT_EQ(hostkit::InitInstance(*instance), 0);
        hostkit::Batch batch;

        std::vector<hostkit::CellValue> values = sources;
        for (int pass = 0; pass < 2; ++pass) {
            hostkit::FillBatch(*instance, values, &batch);
            ASSERT_EQ(hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK), 0) << "data " << iData << " pass " << pass;
            int iWrongForm = 0;
            for (size_t i = 0; i < values.size(); ++i) {
                const hostkit::RowResult row = hostkit::ReadRow(*instance, batch, static_cast<int>(i));
                ASSERT_EQ(row.iStatus, 0) << hostkit::ToUtf8(values[i].text);
                ASSERT_TRUE(row.output.has_value());
                if (!SameForm(values[i].text, *row.output)) ++iWrongForm;
                values[i].text = *row.output;
            }
            EXPECT_EQ(iWrongForm, 0) << "data " << iData << " pass " << pass;
        }
        EXPECT_TRUE(hostkit::ReadErrors(instance->ctrl.pEAB).empty());
        EXPECT_EQ(hostkit::TerminateInstance(*instance), 0);
    }
}

}  // namespace
