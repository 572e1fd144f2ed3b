#include "run/RunReport.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cwchar>

#include "core/ColumnHeaders.h"
#include "files/Paths.h"
#include "framework/Language.h"
#include "framework/MessageText.h"

namespace {

constexpr Text kLanguageCode{L"de", L"en"};
constexpr Text kTitle{L"Bericht der Umsetzung", L"Conversion report"};
constexpr Text kSomeRows{L"Zeilen: %1, mit Fehlern: %2, nur mit Warnungen: %3.",
                         L"Rows: %1, with errors: %2, with warnings only: %3."};
constexpr Text kNoRows{L"Keine Zeile braucht Aufmerksamkeit.", L"No row needs attention."};
constexpr Text kErrors{L"Fehler", L"Errors"};
constexpr Text kWarnings{L"Warnungen", L"Warnings"};
constexpr Text kTheRun{L"Der ganze Lauf", L"The whole run"};
constexpr Text kAllRows{L"Alle Zeilen", L"All rows"};

// Columns besides those of the conversion table
constexpr Text kNumber{L"Nr.", L"No."};
constexpr Text kResult{L"Ergebnis", L"Result"};
constexpr Text kNote{L"Hinweis", L"Note"};
constexpr Text kConfigurations{L"Konfigurationen", L"Configurations"};
constexpr Text kOpenCode{L"Code beim Öffnen", L"Code on opening"};
constexpr Text kSaveValue{L"Wert beim Speichern", L"Value on saving"};
constexpr Text kSeconds{L"Dauer in s", L"Time in s"};
constexpr Text kWrittenOf{L"%1 von %2", L"%1 of %2"};
constexpr Text kSeeNote{L"siehe Hinweis", L"see note"};

// Indexed by RowOutcome
constexpr std::array kOutcomes{Text{L"kopiert", L"copied"}, Text{L"nur festgehalten", L"recorded only"},
                               Text{L"nicht kopiert", L"not copied"},
                               Text{L"nicht festgehalten", L"not recorded"},
                               Text{L"nicht erreicht", L"not reached"}};

// The run as a whole
constexpr Text kEnd{L"Ende", L"End"};
constexpr Text kStart{L"Beginn", L"Start"};
constexpr Text kDuration{L"Dauer", L"Duration"};
constexpr Text kRows{L"Zeilen", L"Rows"};
constexpr Text kReloads{L"SOLIDWORKS neu geladen", L"SOLIDWORKS loaded again"};
constexpr Text kGivenUpCalls{L"Nicht abgewartete Befehle", L"Commands given up"};
constexpr Text kVersion{L"SOLIDWORKS-Version", L"SOLIDWORKS version"};
constexpr Text kNoCad{L"keine, nur kopiert", L"none, copied only"};
constexpr Text kNoVersion{L"keine gefunden", L"none found"};
constexpr Text kFolder{L"Quellordner", L"Standard part folder"};
constexpr Text kTarget{L"Zielordner", L"Target folder"};
constexpr Text kProgram{L"Version von Talvenor", L"Version of Talvenor"};

// Indexed by RunEnd
constexpr std::array kEnds{
    Text{L"bis zum Schluss gelaufen", L"went on to the end"},
    Text{L"vom Benutzer abgebrochen", L"cancelled by the user"},
    Text{L"mit der Windows-Sitzung beendet", L"ended with the Windows session"},
    Text{L"SOLIDWORKS wurde nicht geladen", L"SOLIDWORKS was not loaded"},
    Text{L"SOLIDWORKS ist zu alt", L"SOLIDWORKS is too old"},
    Text{L"die Map-Datei ließ sich nicht öffnen", L"the map file could not be opened"}};

constexpr Text kDecimalPoint{L",", L"."};

// System colours follow dark mode and high contrast.
constexpr const char* kStyle = R"(
:root { color-scheme: light dark; }
body { font: 14px/1.5 "Segoe UI", system-ui, sans-serif; margin: 2rem; background: Canvas; color: CanvasText; }
h1 { font-size: 1.7rem; margin: 0; }
h2 { font-size: 1.2rem; margin: 2rem 0 .5rem; }
table { border-collapse: collapse; }
.wide { width: 100%; }
th, td { text-align: left; vertical-align: top; padding: .3rem .6rem; border-bottom: 1px solid GrayText; }
bdi, li { overflow-wrap: anywhere; }
.wide :is(th, td):first-child, .all :is(th, td):nth-child(n+6):nth-child(-n+9) { text-align: right;
  font-variant-numeric: tabular-nums; }
.all td:nth-child(6) { white-space: nowrap; }
thead th { border-bottom-width: 2px; }
th button { font: inherit; color: inherit; background: none; border: 0; padding: 0; text-align: inherit; }
th[aria-sort=ascending] button::after { content: " \25B2"; }
th[aria-sort=descending] button::after { content: " \25BC"; }
ul { margin: 0; padding-left: 1.1rem; }
a { color: LinkText; }
@media screen {
  .wide td:nth-child(2), .wide td:nth-child(3) { min-width: min(15em, 18vw); }
  ul { min-width: min(24em, 28vw); }
  thead th { position: sticky; top: 0; background: Canvas; }
  th button { cursor: pointer; text-decoration: underline dotted; }
}
@media print {
  body { margin: 0; font-size: 8pt; }
  .wide td:nth-child(2), .wide td:nth-child(3) { min-width: 9em; }
  th button { display: contents; }
  tr, thead { break-inside: avoid; }
}
)";

constexpr const char* kScript = R"(
for (const table of document.querySelectorAll("table.wide")) {
  const heads = [...table.tHead.rows[0].cells];
  const body = table.tBodies[0];
  const order = new Intl.Collator(document.documentElement.lang, { numeric: true }).compare;
  heads.forEach((head, column) => {
    const button = document.createElement("button");
    button.type = "button";
    button.append(...head.childNodes);
    head.append(button);
    button.onclick = () => {
      const sign = head.getAttribute("aria-sort") === "ascending" ? -1 : 1;
      heads.forEach(each => each.removeAttribute("aria-sort"));
      head.setAttribute("aria-sort", sign > 0 ? "ascending" : "descending");
      const rows = [...body.rows].map(row => [row.cells[column].textContent, row]);
      rows.sort((left, right) => sign * order(left[0], right[0]));
      for (const [, row] of rows) body.append(row);
    };
  });
}
)";

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendUtf8(std::string& bytes, char32_t character)
{
    const auto append = [&](char32_t lead, int shift) {
        bytes += static_cast<char>(lead | (character >> shift));
        for (shift -= 6; shift >= 0; shift -= 6) {
            bytes += static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
        }
    };
    if (character < 0x80) {
        append(0, 0);
    } else if (character < 0x800) {
        append(0xC0, 6);
    } else if (character < 0x10000) {
        append(0xE0, 12);
    } else {
        append(0xF0, 18);
    }
}

// Replaces what HTML cannot hold. Control characters have pictures from U+2400 on.
char32_t Visible(char32_t character)
{
    if (character < 0x20) {
        return 0x2400 + character;
    }
    if (character == 0x7F) {
        return 0x2421;
    }
    const bool isControl = character >= 0x80 && character <= 0x9F;
    const bool isHalf = IsHighSurrogate(character) || IsLowSurrogate(character);
    return isControl || isHalf || character > 0x10FFFF ? kReplacement : character;
}

void AppendCharacter(std::string& html, char32_t character)
{
    switch (character) {
        case U'&':
            html += "&amp;";
            break;
        case U'<':
            html += "&lt;";
            break;
        case U'>':
            html += "&gt;";
            break;
        case U'"':
            html += "&quot;";
            break;
        case U'\'':
            html += "&#39;";
            break;
        default:
            AppendUtf8(html, Visible(character));
            break;
    }
}

// Builds the page. Leaves out optional end tags to keep the page small: a library has many rows.
class CPage
{
public:
    CPage(const RunRecord& run, const RunFindings& findings) : m_run(run), m_findings(findings) {}

    std::string Build(std::wstring_view programVersion);

private:
    void Head();
    void Summary();
    void Attention(const Text& title, bool (RowFindings::*isListed)() const);
    void WholeRun(std::wstring_view programVersion);
    [[nodiscard]] std::wstring CadVersion() const;
    void Results();
    void AllRows();

    void BeginTable(const Text& title, const char* kind, std::initializer_list<Text> headers);
    void AttentionRow(std::size_t row);
    void Row(std::size_t row);
    void CadCells(const RunRow& row);
    void Fact(const Text& name, const std::wstring& value);
    void Count(const Text& name, std::size_t count);
    void Cell(std::wstring_view text, const char* tag = "<td>");
    void Items(const std::vector<std::wstring>& texts);
    void Isolated(std::wstring_view text);
    void Words(const Text& text) { AppendHtml(m_html, text.Current()); }

    const RunRecord& m_run;
    const RunFindings& m_findings;
    std::string m_html;
};

std::string CPage::Build(std::wstring_view programVersion)
{
    Head();
    Summary();
    Attention(kErrors, &RowFindings::HasFailed);
    Attention(kWarnings, &RowFindings::IsOnlyWarnedAbout);
    WholeRun(programVersion);
    AllRows();
    m_html += "</main>\n<script>";
    m_html += kScript;
    m_html += "</script>\n</body>\n</html>\n";
    return std::move(m_html);
}

std::wstring DateAndTime(const LocalTime& time)
{
    std::array<wchar_t, 80> text{};
    std::swprintf(text.data(), text.size(), L"%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day,
                  time.hour, time.minute, time.second);
    return text.data();
}

// The content security policy keeps the browser from loading anything, whatever a name contains.
void CPage::Head()
{
    m_html += "<!DOCTYPE html>\n<html lang=\"";
    Words(kLanguageCode);
    m_html +=
        "\">\n<head>\n<meta charset=\"utf-8\">\n<meta http-equiv=\"Content-Security-Policy\" "
        "content=\"default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'\">\n<title>";
    AppendHtml(m_html, kTitle.Current() + L" " + DateAndTime(m_run.start));
    m_html += "</title>\n<style>";
    m_html += kStyle;
    m_html += "</style>\n</head>\n<body>\n";
}

void CPage::Summary()
{
    m_html += "<header><h1>";
    Words(kTitle);
    m_html += "</h1>\n<p>";
    AppendHtml(m_html, DateAndTime(m_run.start) + L" – ");
    const auto failed = std::ranges::count_if(m_findings, &RowFindings::HasFailed);
    const auto warned = std::ranges::count_if(m_findings, &RowFindings::IsOnlyWarnedAbout);
    AppendHtml(m_html, failed + warned == 0
                           ? kNoRows.Current()
                           : FillPlaceholders(kSomeRows.Current(),
                                              {std::to_wstring(m_findings.size()), std::to_wstring(failed),
                                               std::to_wstring(warned)}));
    m_html += "</header>\n<main>\n";
}

// A table of the rows for which `isListed` holds; no table if there are none.
void CPage::Attention(const Text& title, bool (RowFindings::*isListed)() const)
{
    if (std::ranges::none_of(m_findings, isListed)) {
        return;
    }
    BeginTable(title, "wide", {kNumber, kColumnHeaders[0], kColumnHeaders[1], kResult, kNote});
    for (std::size_t row = 0; row < m_findings.size(); ++row) {
        if ((m_findings[row].*isListed)()) {
            AttentionRow(row);
        }
    }
    m_html += "</table>\n";
}

std::wstring HoursMinutesSeconds(std::chrono::milliseconds duration)
{
    const auto seconds = static_cast<long long>(duration.count() / 1000);
    std::array<wchar_t, 40> text{};
    std::swprintf(text.data(), text.size(), L"%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
    return text.data();
}

void CPage::WholeRun(std::wstring_view programVersion)
{
    m_html += "<h2>";
    Words(kTheRun);
    m_html += "</h2>\n<table>\n";
    Fact(kEnd, kEnds.at(static_cast<std::size_t>(m_run.end)).Current());
    Fact(kStart, DateAndTime(m_run.start));
    Fact(kDuration, HoursMinutesSeconds(m_run.duration));
    Count(kRows, m_run.rows.size());
    Results();
    Count(kGivenUpCalls, static_cast<std::size_t>(m_run.givenUpCalls));
    Fact(kVersion, CadVersion());
    Fact(kFolder, m_run.folder);
    Fact(kTarget, MappedFolder(m_run.folder));
    Fact(kProgram, std::wstring(programVersion));
    m_html += "</table>\n";
}

std::wstring CPage::CadVersion() const
{
    if (m_run.copyOnly) {
        return kNoCad.Current();
    }
    return m_run.cadYear.empty() ? kNoVersion.Current() : m_run.cadYear;
}

void CPage::Results()
{
    std::array<std::size_t, kOutcomes.size()> counts{};
    std::size_t reloads = 0;
    for (std::size_t row = 0; row < m_run.rows.size(); ++row) {
        const RunRow content = m_run.rows.at(row);
        ++counts.at(static_cast<std::size_t>(content.outcome));
        reloads += content.cadReloaded ? 1 : 0;
    }
    for (std::size_t outcome = 0; outcome < counts.size(); ++outcome) {
        Count(kOutcomes.at(outcome), counts.at(outcome));
    }
    Count(kReloads, reloads);
}

void CPage::AllRows()
{
    BeginTable(kAllRows, "wide all",
               {kNumber, kColumnHeaders[0], kColumnHeaders[1], kColumnHeaders[2], kResult, kConfigurations,
                kOpenCode, kSaveValue, kSeconds, kNote});
    for (std::size_t row = 0; row < m_run.rows.size(); ++row) {
        Row(row);
    }
    m_html += "</table>\n";
}

// `kind`: the table's classes in the style sheet.
void CPage::BeginTable(const Text& title, const char* kind, std::initializer_list<Text> headers)
{
    m_html += "<h2>";
    Words(title);
    m_html += "</h2>\n<table class=\"";
    m_html += kind;
    m_html += "\">\n<thead><tr>";
    for (const Text& header : headers) {
        Cell(header.Current(), "<th scope=\"col\">");
    }
    m_html += "</thead>\n<tbody>\n";
}

// "see note" links to this row.
void CPage::AttentionRow(std::size_t row)
{
    const RunRow content = m_run.rows.at(row);
    const std::string number = std::to_string(row + 1);
    m_html += "<tr id=\"row" + number + "\"><td>" + number;
    Isolated(content.entry.strOriginal);
    Isolated(content.entry.strRenamed);
    Cell(kOutcomes.at(static_cast<std::size_t>(content.outcome)).Current());
    m_html += "<td><ul>";
    Items(m_findings[row].errors);
    Items(m_findings[row].warnings);
    m_html += "</ul>\n";
}

std::wstring Seconds(std::chrono::milliseconds duration)
{
    const auto hundredths = static_cast<long long>(duration.count() / 10);
    std::array<wchar_t, 40> text{};
    std::swprintf(text.data(), text.size(), L"%lld%ls%02lld", hundredths / 100,
                  kDecimalPoint.Current().c_str(), hundredths % 100);
    return text.data();
}

void CPage::Row(std::size_t row)
{
    const RunRow content = m_run.rows.at(row);
    const std::string number = std::to_string(row + 1);
    m_html += "<tr><td>" + number;
    Isolated(content.entry.strOriginal);
    Isolated(content.entry.strRenamed);
    Isolated(content.entry.strBomName);
    Cell(kOutcomes.at(static_cast<std::size_t>(content.outcome)).Current());
    CadCells(content);
    Cell(Seconds(content.duration));
    m_html += "<td>";
    if (m_findings[row].NeedsAttention()) {
        m_html += "<a href=\"#row" + number + "\">";
        Words(kSeeNote);
        m_html += "</a>";
    }
    m_html += '\n';
}

void CPage::CadCells(const RunRow& row)
{
    if (!row.cad) {
        m_html += "<td><td><td>";
        return;
    }
    const CadRecord& cad = *row.cad;
    Cell(cad.opened ? FillPlaceholders(kWrittenOf.Current(),
                                       {std::to_wstring(cad.written), std::to_wstring(cad.configurations)})
                    : std::wstring());
    Cell(std::to_wstring(cad.openCode));
    Cell(cad.saveResult ? std::to_wstring(*cad.saveResult) : std::wstring());
}

void CPage::Fact(const Text& name, const std::wstring& value)
{
    m_html += "<tr>";
    Cell(name.Current(), "<th scope=\"row\">");
    Isolated(value);
    m_html += '\n';
}

void CPage::Count(const Text& name, std::size_t count)
{
    Fact(name, std::to_wstring(count));
}

void CPage::Cell(std::wstring_view text, const char* tag)
{
    m_html += tag;
    AppendHtml(m_html, text);
}

void CPage::Items(const std::vector<std::wstring>& texts)
{
    for (const std::wstring& text : texts) {
        Cell(text, "<li>");
    }
}

// The bdi element keeps right-to-left characters in a name from reordering the rest of the row.
void CPage::Isolated(std::wstring_view text)
{
    Cell(text, "<td><bdi>");
    m_html += "</bdi>";
}

}  // namespace

void AppendHtml(std::string& html, std::wstring_view text)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        auto character = static_cast<char32_t>(text[at]);
        const auto next = at + 1 < text.size() ? static_cast<char32_t>(text[at + 1]) : char32_t{0};
        if (IsHighSurrogate(character) && IsLowSurrogate(next)) {
            character = 0x10000 + ((character - 0xD800) << 10U) + (next - 0xDC00);
            ++at;
        }
        AppendCharacter(html, character);
    }
}

std::string RunReportPage(const RunRecord& run, const RunFindings& findings, std::wstring_view programVersion)
{
    return CPage(run, findings).Build(programVersion);
}
