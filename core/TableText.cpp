#include "core/TableText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <utility>

#include "core/ColumnHeaders.h"
#include "core/PartName.h"
#include "core/TextTools.h"

namespace {

constexpr wchar_t kQuote = L'"';
constexpr int kExaminedRows = 20;
constexpr int kPerfect = std::numeric_limits<int>::max();  // the score if every row has three columns
constexpr std::size_t kColumns = 3;

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LittleEndianMark = "\xFF\xFE";
constexpr std::string_view kUtf16BigEndianMark = "\xFE\xFF";
constexpr wchar_t kReplacement = L'\uFFFD';

constexpr std::uint32_t kFirstSurrogate = 0xD800;
constexpr std::uint32_t kFirstLowSurrogate = 0xDC00;
constexpr std::uint32_t kLastSurrogate = 0xDFFF;
constexpr std::uint32_t kFirstSupplementary = 0x10000;
constexpr std::uint32_t kLastCharacter = 0x10FFFF;

// In CSV, a cell with one of the other separators is quoted, too, so that a reader infers the right one. In
// text separated by tabs such a cell is not quoted, because programs other than spreadsheets show the quotes.
bool NeedsQuotes(std::wstring_view cell, wchar_t separator)
{
    return cell.find_first_of(separator == kTab ? L"\t\"\r\n" : L"\t;,\"\r\n") != std::wstring_view::npos;
}

void AppendCell(std::wstring& text, std::wstring_view cell, wchar_t separator)
{
    if (!NeedsQuotes(cell, separator)) {
        text += cell;
        return;
    }
    text += kQuote;
    for (const wchar_t character : cell) {
        text.append(character == kQuote ? 2 : 1, character);
    }
    text += kQuote;
}

bool HasText(const std::vector<std::wstring>& cells)
{
    return std::ranges::any_of(cells, [](const std::wstring& cell) { return !cell.empty(); });
}

std::uint32_t ByteAt(std::string_view bytes, std::size_t at)
{
    return static_cast<unsigned char>(bytes[at]);
}

// The character that begins at a byte, and its length in bytes. The length is 0 when the bytes are not UTF-8.
struct Utf8Character
{
    std::uint32_t code = 0;
    std::size_t length = 0;
};

Utf8Character ReadUtf8(std::string_view bytes, std::size_t at)
{
    struct Form
    {
        std::uint32_t mask, lead, smallest;
    };
    constexpr std::array kForms{Form{0x80, 0x00, 0}, Form{0xE0, 0xC0, 0x80}, Form{0xF0, 0xE0, 0x800},
                                Form{0xF8, 0xF0, kFirstSupplementary}};
    const std::uint32_t first = ByteAt(bytes, at);
    for (std::size_t more = 0; more < kForms.size(); ++more) {
        const Form& form = kForms[more];
        if ((first & form.mask) != form.lead) {
            continue;
        }
        std::uint32_t code = first & ~form.mask;
        for (std::size_t i = 1; i <= more; ++i) {
            if (at + i >= bytes.size() || (ByteAt(bytes, at + i) & 0xC0U) != 0x80U) {
                return {};
            }
            code = code << 6U | (ByteAt(bytes, at + i) & 0x3FU);
        }
        const bool surrogate = code >= kFirstSurrogate && code <= kLastSurrogate;
        const bool valid = code >= form.smallest && code <= kLastCharacter && !surrogate;
        return valid ? Utf8Character{code, more + 1} : Utf8Character{};
    }
    return {};
}

void AppendUtf16(std::wstring& text, std::uint32_t code)
{
    if (code < kFirstSupplementary) {
        text += static_cast<wchar_t>(code);
        return;
    }
    const std::uint32_t offset = code - kFirstSupplementary;
    text += static_cast<wchar_t>(kFirstSurrogate + (offset >> 10U));
    text += static_cast<wchar_t>(kFirstLowSurrogate + (offset & 0x3FFU));
}

// Returns nullopt for invalid bytes unless they are to be replaced.
std::optional<std::wstring> DecodeUtf8(std::string_view bytes, bool replaceInvalid)
{
    std::wstring text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const Utf8Character character = ReadUtf8(bytes, at);
        if (character.length > 0) {
            AppendUtf16(text, character.code);
            at += character.length;
        } else if (replaceInvalid) {
            text += kReplacement;
            ++at;
        } else {
            return std::nullopt;
        }
    }
    return text;
}

// `high`: the place of the high byte in each pair.
std::wstring DecodeUtf16(std::string_view bytes, std::size_t high)
{
    std::wstring text;
    text.reserve(bytes.size() / 2);
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        text += static_cast<wchar_t>(ByteAt(bytes, at + high) << 8U | ByteAt(bytes, at + 1 - high));
    }
    if (bytes.size() % 2 != 0) {
        text += kReplacement;
    }
    return text;
}

bool IsHighSurrogate(std::uint32_t code)
{
    return code >= kFirstSurrogate && code < kFirstLowSurrogate;
}

bool IsLowSurrogate(std::uint32_t code)
{
    return code >= kFirstLowSurrogate && code <= kLastSurrogate;
}

// A surrogate without its partner, which the file system allows, becomes U+FFFD: UTF-8 has no form for it.
std::uint32_t TakeCharacter(std::wstring_view text, std::size_t& at)
{
    const auto first = static_cast<std::uint32_t>(text[at++]);
    const std::uint32_t second = at < text.size() ? static_cast<std::uint32_t>(text[at]) : 0;
    if (IsHighSurrogate(first) && IsLowSurrogate(second)) {
        ++at;
        return kFirstSupplementary + ((first - kFirstSurrogate) << 10U) + (second - kFirstLowSurrogate);
    }
    return IsHighSurrogate(first) || IsLowSurrogate(first) ? kReplacement : first;
}

void AppendUtf8(std::string& bytes, std::uint32_t code)
{
    const auto append = [&bytes](std::uint32_t byte) { bytes += static_cast<char>(byte); };
    const auto continuation = [code](unsigned shift) { return 0x80U | (code >> shift & 0x3FU); };
    if (code < 0x80) {
        append(code);
    } else if (code < 0x800) {
        append(0xC0U | code >> 6U);
        append(continuation(0));
    } else if (code < kFirstSupplementary) {
        append(0xE0U | code >> 12U);
        append(continuation(6));
        append(continuation(0));
    } else {
        append(0xF0U | code >> 18U);
        append(continuation(12));
        append(continuation(6));
        append(continuation(0));
    }
}

}  // namespace

void AppendTableRow(std::wstring& text, const std::vector<std::wstring>& cells, wchar_t separator)
{
    for (std::size_t column = 0; column < cells.size(); ++column) {
        if (column > 0) {
            text += separator;
        }
        AppendCell(text, cells[column], separator);
    }
    text += L"\r\n";
}

CTableReader::CTableReader(std::wstring_view text) : m_text(text)
{
    Restart(FindSeparator());
}

// Chooses the separator that fits best (see Fit). Names may contain commas and semicolons, but only the right
// separator leaves the header or whole part file names in the first column. Where the first column does not
// decide, a separator that cuts each examined row into the table's columns wins. Otherwise the separator with
// the most cuts wins: commas are rarer within names than between cells.
wchar_t CTableReader::FindSeparator()
{
    wchar_t best = kTab;
    Fit highest = FitOf(kTab);
    if (highest.score == kPerfect) {
        return kTab;  // names hold no tabs
    }
    for (const wchar_t separator : {L';', L','}) {  // ties go to the earlier one
        const Fit fit = FitOf(separator);
        if (fit > highest) {
            best = separator;
            highest = fit;
        }
    }
    return best;
}

// A plain-text quote counts against the separator: it has probably cut a quoted cell in two.
CTableReader::Fit CTableReader::FitOf(wchar_t separator)
{
    constexpr int kMostCuts = static_cast<int>(kColumns) - 1;
    Restart(separator);
    std::vector<std::wstring> cells;
    Fit fit;
    int rows = 0;
    int partRows = 0;
    int plainQuotes = 0;
    for (; rows < kExaminedRows && ReadRow(cells, kColumns); ++rows) {
        const bool cut = cells.size() > 1;
        fit.header = fit.header || (rows == 0 && cut && IsFirstColumnHeader(cells.front()));
        partRows += cut && HasPartExtension(TrimView(cells.front())) ? 1 : 0;
        fit.score += static_cast<int>(cells.size()) - 1;
        const int quotes = std::exchange(m_plainQuotes, 0);
        fit.score -= quotes > 0 ? static_cast<int>(kColumns) : 0;
        plainQuotes += quotes;
    }
    fit.parts = plainQuotes == 0 && 2 * partRows > rows;
    fit.score = fit.score == rows * kMostCuts ? kPerfect : fit.score;
    return fit;
}

void CTableReader::Restart(wchar_t separator)
{
    m_at = 0;
    m_separator = separator;
    m_ends = std::wstring(L"\r\n") + separator;
    m_plainQuotes = 0;
}

bool CTableReader::ReadRow(std::vector<std::wstring>& cells, std::size_t limit)
{
    // Skips empty rows, and the LF after the CR of the previous row.
    while ((m_at = m_text.find_first_not_of(L"\r\n", m_at)) != std::wstring_view::npos) {
        ReadRowCells(cells, limit);
        if (HasText(cells)) {
            return true;
        }
    }
    return false;
}

void CTableReader::ReadRowCells(std::vector<std::wstring>& cells, std::size_t limit)
{
    for (std::size_t column = 0;; ++column) {
        if (column < limit) {
            cells.resize(column + 1);
        }
        ReadCell(column < limit ? cells[column] : m_ignored);
        if (m_at == m_text.size() || m_text[m_at] != m_separator) {
            break;
        }
        ++m_at;
    }
}

void CTableReader::ReadCell(std::wstring& cell)
{
    cell.clear();
    if (m_at < m_text.size() && m_text[m_at] == kQuote && ReadQuoted(cell)) {
        return;
    }
    const std::size_t end = std::min(m_text.find_first_of(m_ends, m_at), m_text.size());
    cell = m_text.substr(m_at, end - m_at);
    m_plainQuotes += cell.find(kQuote) != std::wstring::npos ? 1 : 0;
    m_at = end;
}

// Returns false, with the position unchanged, when the quotes do not enclose the whole cell: it may begin
// with "M8" and continue without quotes. Spreadsheets copy such a text as it is.
bool CTableReader::ReadQuoted(std::wstring& cell)
{
    std::size_t from = m_at + 1;
    for (;;) {
        const std::size_t quote = m_text.find(kQuote, from);
        if (quote == std::wstring_view::npos) {
            return false;
        }
        cell.append(m_text, from, quote - from);
        if (IsEndOfCell(quote + 1)) {
            m_at = quote + 1;
            return true;
        }
        if (m_text[quote + 1] != kQuote) {
            return false;
        }
        cell += kQuote;
        from = quote + 2;
    }
}

bool CTableReader::IsEndOfCell(std::size_t at) const
{
    return at == m_text.size() || m_ends.find(m_text[at]) != std::wstring::npos;
}

std::optional<std::wstring> DecodeUnicode(std::string_view bytes)
{
    if (bytes.starts_with(kUtf8Mark)) {
        return DecodeUtf8(bytes.substr(kUtf8Mark.size()), true);
    }
    if (bytes.starts_with(kUtf16LittleEndianMark)) {
        return DecodeUtf16(bytes.substr(kUtf16LittleEndianMark.size()), 1);
    }
    if (bytes.starts_with(kUtf16BigEndianMark)) {
        return DecodeUtf16(bytes.substr(kUtf16BigEndianMark.size()), 0);
    }
    return DecodeUtf8(bytes, false);
}

std::string EncodeUtf8WithMark(std::wstring_view text)
{
    std::string bytes(kUtf8Mark);
    for (std::size_t at = 0; at < text.size();) {
        AppendUtf8(bytes, TakeCharacter(text, at));
    }
    return bytes;
}
