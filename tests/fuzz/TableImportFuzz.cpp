#include "core/TableImport.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "core/TableText.h"
#include "core/TextTools.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

using Rows = std::vector<UTtab_entry>;
using Cells = std::vector<std::wstring>;

constexpr NameCase kCase{&EqualIgnoringCase,
                         [](std::wstring_view name) { return PlainUpper(std::wstring(name)); }};

// A table with up to eight rows. Cells end at a field separator.
Rows ReadRows(CFuzzInput& input)
{
    Rows rows(input.Choice(9));
    for (UTtab_entry& row : rows) {
        row = {input.Field(), input.Field(), input.Field()};
    }
    return rows;
}

bool HasControlCharacter(const std::wstring& text)
{
    return std::ranges::any_of(text, [](wchar_t character) {
        return character < L' ' || (character >= L'\x7F' && character <= L'\x9F');
    });
}

void RequireRules(const UTtab_entry& before, const RowNames& after)
{
    if (after.renamed != before.strRenamed) {
        std::wstring name = after.renamed;
        Require(SanitizeFileName(name) == 0 && name == after.renamed, "an imported file name is sanitised");
        Require(EqualIgnoringCase(name.substr(name.size() < 6 ? 0 : name.size() - 6), L"sldprt"),
                "an imported file name has its extension");
        Require(!HasControlCharacter(name), "an imported file name has no control characters");
    }
    if (after.bomName != before.strBomName) {
        std::wstring name = after.bomName;
        Require(SanitizeFeatureName(name) == 0, "an imported BOM name is sanitised");
        Require(!HasControlCharacter(name), "an imported BOM name has no control characters");
    }
}

Rows Changed(Rows rows, const TableImport& taken)
{
    for (const RowNames& names : taken.changes) {
        UTtab_entry& row = rows.at(static_cast<std::size_t>(names.row));
        Require(names.renamed != row.strRenamed || names.bomName != row.strBomName,
                "every change changes its row");
        RequireRules(row, names);
        row.strRenamed = names.renamed;
        row.strBomName = names.bomName;
    }
    return rows;
}

// For each name, the number of rows that have it.
std::map<std::wstring, int> Uses(const Rows& rows)
{
    std::map<std::wstring, int> uses;
    for (const UTtab_entry& row : rows) {
        ++uses[row.strRenamed];
    }
    return uses;
}

void RequireNoCollision(const Rows& before, const Rows& after)
{
    std::map<std::wstring, int> usesBefore = Uses(before);
    for (const auto& [name, uses] : Uses(after)) {
        Require(uses == 1 || uses <= usesBefore[name], "no two rows collide that did not collide before");
    }
}

std::vector<Cells> Read(std::wstring_view text)
{
    CTableReader reader(text);
    std::vector<Cells> rows;
    for (Cells cells; reader.ReadRow(cells, 3);) {
        rows.push_back(cells);
    }
    return rows;
}

// The reader skips a row without any text.
void RequireRoundTrip(const Rows& rows, wchar_t separator)
{
    std::vector<Cells> expected;
    std::wstring text;
    for (const UTtab_entry& row : rows) {
        const Cells cells{row.strOriginal, row.strRenamed, row.strBomName};
        AppendTableRow(text, cells, separator);
        if (!cells[0].empty() || !cells[1].empty() || !cells[2].empty()) {
            expected.push_back(cells);
        }
    }
    Require(Read(text) == expected, "a table is read as it was written");
    Require(ImportTable(rows, text, kCase).changes.empty(), "a table's own text changes nothing");
}

bool IsSurrogate(wchar_t character, unsigned first)
{
    return static_cast<unsigned>(character) / 0x400U == first / 0x400U;
}

// What becomes of a text that is encoded and decoded again.
std::wstring WithoutUnpairedSurrogates(std::wstring text)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool high = IsSurrogate(text[at], 0xD800U);
        if (high && at + 1 < text.size() && IsSurrogate(text[at + 1], 0xDC00U)) {
            ++at;
        } else if (high || IsSurrogate(text[at], 0xDC00U)) {
            text[at] = L'\uFFFD';
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzInput input(data, size);
    const Rows rows = ReadRows(input);
    const std::wstring text = input.Rest();
    for (const wchar_t separator : {kTab, L';', L','}) {
        RequireRoundTrip(rows, separator);
    }
    const Rows after = Changed(rows, ImportTable(rows, text, kCase));
    RequireNoCollision(rows, after);
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const std::optional<std::wstring> decoded = DecodeUnicode(bytes)) {
        Require(DecodeUnicode(EncodeUtf8WithMark(*decoded)) == WithoutUnpairedSurrogates(*decoded),
                "a text is decoded as it was encoded");
        Read(*decoded);
    }
    return 0;
}
