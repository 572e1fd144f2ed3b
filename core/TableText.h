#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Tables as the text that spreadsheets exchange: on the clipboard with tabs, in CSV files with semicolons or
// commas.

inline constexpr wchar_t kTab = L'\t';

// Appends a row, which ends in CR LF. A cell that would be read differently is enclosed in quotes, with its
// own quotes doubled.
void AppendTableRow(std::wstring& text, const std::vector<std::wstring>& cells, wchar_t separator);

// Reads the rows of such a text, which must outlive the reader. The separator (tab, semicolon or comma) is
// found from the first rows. Rows end in CR LF, CR or LF. A quote encloses a cell only from its first to its
// last character; any other quote is text. The time is linear in the length of the text.
class CTableReader
{
public:
    explicit CTableReader(std::wstring_view text);

    // Replaces `cells` by those of the next row that has any text, up to `limit` of them. Returns false at
    // the end of the text.
    bool ReadRow(std::vector<std::wstring>& cells, std::size_t limit);

    // Returns the separator; a tab when the text has none.
    [[nodiscard]] wchar_t Separator() const { return m_separator; }

private:
    [[nodiscard]] wchar_t FindSeparator();
    [[nodiscard]] int TrySeparator(wchar_t separator);
    void Begin(wchar_t separator);
    void ReadLine(std::vector<std::wstring>& cells, std::size_t limit);
    void ReadCell(std::wstring& cell);
    bool ReadQuoted(std::wstring& cell);
    [[nodiscard]] bool IsEndOfCell(std::size_t at) const;

    std::wstring_view m_text;
    std::size_t m_at = 0;
    wchar_t m_separator = kTab;
    std::wstring m_ends;     // the characters that end a cell
    std::wstring m_ignored;  // of a cell beyond the limit
    int m_plainQuotes = 0;   // cells read that have quotes without being enclosed in them
};

// Decodes UTF-16 with a byte order mark, and UTF-8 with or without one. None when there is no mark and the
// bytes are not UTF-8. Invalid bytes after a mark become U+FFFD. Each UTF-16 code unit is one wchar_t, also
// where wchar_t has 32 bits.
[[nodiscard]] std::optional<std::wstring> DecodeUnicode(std::string_view bytes);

// Returns the text in UTF-8, after a byte order mark: without one, spreadsheets take the ANSI code page.
[[nodiscard]] std::string EncodeUtf8WithMark(std::wstring_view text);
