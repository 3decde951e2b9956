// A large batch: well-formed NIFs and NIEs in every accepted form mask with
// every row served, keep their form when the source's style is kept, and
// every output passes the full validation again.
#include <gtest/gtest.h>

#include <random>

#include "support/run_rows.h"

namespace {

using testsupport::RunRows;

constexpr int kRows = 100000;
const char* kLetters = "TRWAGMYFPDXBNJZSQVHLCKE";

hostkit::InstanceOptions Spanish(uint16_t sProcFlags, uint32_t iSeparator) {
    hostkit::InstanceOptions options;
    options.countrySwitch = L"ES";
    options.sProcFlags = sProcFlags;
    options.operands = {{QRNP_OPR_ES_SEPARATOR, iSeparator}};
    return options;
}

wchar_t LetterOf(const std::wstring& digits) { return static_cast<wchar_t>(kLetters[std::stoull(digits) % 23]); }

// The accepted forms: the digits, then where they sit.
enum class Form { Nif8, Nif7, Nif7Hyphen, Nif7Blank, Nie, NieHyphen, NieBlank, Count };

std::wstring Make(Form form, std::mt19937& gen) {
    const size_t iDigits = form == Form::Nif8 ? 8 : 7;
    std::wstring digits;
    for (size_t i = 0; i < iDigits; ++i) digits += static_cast<wchar_t>(L'0' + gen() % 10);
    const wchar_t letter = LetterOf(digits);
    switch (form) {
        case Form::Nif8:
        case Form::Nif7: return digits + letter;
        case Form::Nif7Hyphen: return digits + L'-' + letter;
        case Form::Nif7Blank: return digits + L' ' + letter;
        case Form::Nie: return L'X' + digits + letter;
        case Form::NieHyphen: return L"X-" + digits + L'-' + letter;
        default: return L"X " + digits + L' ' + letter;
    }
}

// A well-formed identifier: the layout of one of the forms and the right letter.
bool WellFormed(const std::wstring& s) {
    auto digitsAt = [&](size_t pos, size_t n) {
        const std::wstring d = s.substr(pos, n);
        return d.size() == n && d.find_first_not_of(L"0123456789") == std::wstring::npos;
    };
    auto letterOk = [&](size_t pos, size_t n) { return digitsAt(pos, n) && s.back() == LetterOf(s.substr(pos, n)); };
    switch (s.size()) {
        case 8: return letterOk(0, 7);
        case 9:
            if (s[0] == L'X') return letterOk(1, 7);
            if (s[7] == L'-' || s[7] == L' ') return letterOk(0, 7);
            return letterOk(0, 8);
        case 11: return s[0] == L'X' && (s[1] == L'-' || s[1] == L' ') && s[9] == s[1] && letterOk(2, 7);
        default: return false;
    }
}

// The layout of a value with its digits and letter blanked out.
std::wstring Shape(const std::wstring& s) {
    std::wstring shape = s;
    for (size_t i = 0; i + 1 < shape.size(); ++i)
        if (shape[i] >= L'0' && shape[i] <= L'9') shape[i] = L'9';
    shape.back() = L'L';
    return shape;
}

std::vector<std::optional<std::wstring>> AsCells(const std::vector<std::wstring>& values) {
    return {values.begin(), values.end()};
}

TEST(SpainBulkTest, EveryFormMasksKeepsItsShapeAndRevalidates) {
    std::mt19937 gen(2024);
    std::vector<std::wstring> sources;
    for (int i = 0; i < kRows; ++i) sources.push_back(Make(static_cast<Form>(i % static_cast<int>(Form::Count)), gen));

    const auto masked = RunRows(Spanish(QRNP_PROC_VALIDATE_FULLY, 2), AsCells(sources));
    ASSERT_EQ(masked.iService, 0);
    ASSERT_TRUE(masked.messages.empty());
    std::vector<std::wstring> outputs;
    int iChanged = 0;
    for (int i = 0; i < kRows; ++i) {
        const auto& row = masked.rows[static_cast<size_t>(i)];
        ASSERT_EQ(row.iStatus, 0) << hostkit::ToUtf8(sources[static_cast<size_t>(i)]);
        const std::wstring& out = *row.output;
        ASSERT_EQ(Shape(out), Shape(sources[static_cast<size_t>(i)])) << hostkit::ToUtf8(out);
        ASSERT_TRUE(WellFormed(out)) << hostkit::ToUtf8(out);
        iChanged += out != sources[static_cast<size_t>(i)];
        outputs.push_back(out);
    }
    EXPECT_GT(iChanged, kRows * 99 / 100);

    const auto again = RunRows(Spanish(QRNP_PROC_VALIDATE_FULLY, 2), AsCells(outputs));
    EXPECT_EQ(again.iService, 0);
    EXPECT_TRUE(again.messages.empty());
}

}  // namespace
