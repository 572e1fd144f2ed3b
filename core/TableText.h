#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

// Tables as the text that spreadsheets exchange. Cells are separated by tabs on the clipboard, and by
// semicolons, commas or tabs in files.

inline constexpr wchar_t kTab = L'\t';

// Appends a row, which ends in CR LF. A cell that contains a quote, a line break or a separator is enclosed
// in quotes, and its own quotes are doubled. If `separator` is a tab, only tabs count as separators,
// otherwise tabs, semicolons and commas.
void AppendTableRow(std::wstring& text, const std::vector<std::wstring>& cells, wchar_t separator);

// Reads the rows of a table from its text, which must outlive the reader. The separator (tab, semicolon or
// comma) is inferred from the first rows. Rows end in CR LF, CR or LF. Quotes enclose a cell only as its
// first and last character, with every quote between them doubled; otherwise they are text. The time is
// linear in the length of the text.
class CTableReader
{
public:
    explicit CTableReader(std::wstring_view text);

    // Replaces `cells` with the first `limit` cells of the next row. Rows in which these cells are all empty
    // are skipped. Returns false at the end of the text.
    bool ReadRow(std::vector<std::wstring>& cells, std::size_t limit);

private:
    // How well a separator fits the first rows. The members are compared in this order.
    struct Fit
    {
        // The first row has several cells, and the first of them is the header of the table's first column.
        bool header = false;
        // Most rows have several cells and begin with the name of a part file, and no cell has a plain-text
        // quote.
        bool parts = false;
        // The number of cuts between cells, less kColumns for each row with a plain-text quote; or kPerfect.
        int score = 0;

        bool operator>(const Fit& other) const
        {
            return std::tie(header, parts, score) > std::tie(other.header, other.parts, other.score);
        }
    };

    [[nodiscard]] wchar_t FindSeparator();
    [[nodiscard]] Fit FitOf(wchar_t separator);
    void Restart(wchar_t separator);
    void ReadRowCells(std::vector<std::wstring>& cells, std::size_t limit);
    void ReadCell(std::wstring& cell);
    bool ReadQuoted(std::wstring& cell);
    [[nodiscard]] bool IsEndOfCell(std::size_t at) const;

    std::wstring_view m_text;
    std::size_t m_at = 0;
    wchar_t m_separator = kTab;
    std::wstring m_ends;     // the characters that end a cell
    std::wstring m_ignored;  // receives the text of the cells beyond the limit
    int m_plainQuotes = 0;   // cells whose quotes are plain text; counted for FitOf
};

// Decodes UTF-16 with a byte order mark, and UTF-8 with or without one. Returns nullopt when there is no
// mark and the bytes are not UTF-8. After a mark, invalid UTF-8 and a left-over last byte of UTF-16 become
// U+FFFD; unpaired surrogates in UTF-16 stay. Each UTF-16 code unit is one wchar_t, even where wchar_t has 32
// bits.
[[nodiscard]] std::optional<std::wstring> DecodeUnicode(std::string_view bytes);

// Returns the text in UTF-8 with a byte order mark, without which spreadsheets assume the ANSI code page.
// Unpaired surrogates become U+FFFD.
[[nodiscard]] std::string EncodeUtf8WithMark(std::wstring_view text);
