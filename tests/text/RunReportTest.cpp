#include "run/RunReport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "framework/Language.h"

namespace {

std::string Html(const std::wstring& text)
{
    std::string html;
    AppendHtml(html, text);
    return html;
}

std::size_t CountOf(const std::string& text, const std::string& what)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

// The text between two others; empty if one of them is missing.
std::string Between(const std::string& text, const std::string& begin, const std::string& end)
{
    const std::size_t found = text.find(begin);
    const std::size_t from = found + begin.size();
    const std::size_t to = found == std::string::npos ? found : text.find(end, from);
    return to == std::string::npos ? std::string() : text.substr(from, to - from);
}

RunRow RowOf(UTtab_entry entry, RowOutcome outcome)
{
    RunRow row;
    row.entry = std::move(entry);
    row.outcome = outcome;
    return row;
}

// Three rows, of which the second failed.
RunRecord ThreeRows()
{
    RunRecord run;
    run.folder = L"C:\\Normteile & mehr";
    run.cadYear = L"2024";
    run.start = {2026, 11, 3, 4, 5, 6};
    run.duration = std::chrono::milliseconds(3'723'999);
    run.end = RunEnd::cancelled;
    run.givenUpCalls = 4;
    RunRow first = RowOf({L"a1.sldprt", L"b1.sldprt", L"Größe 1"}, RowOutcome::copied);
    first.duration = std::chrono::milliseconds(12'345);
    first.cad = {.step = CadStep::closing,
                 .opened = true,
                 .openCode = 128,
                 .configurations = 3,
                 .written = 2,
                 .saveResult = 9};
    run.rows.push_back(first);
    run.rows.push_back(RowOf({L"<a2>.sldprt", L"b2.sldprt", L"Norm 2"}, RowOutcome::notCopied));
    run.rows.push_back(RowOf({L"a3.sldprt", L"b3.sldprt", L"Norm 3"}, RowOutcome::recordedOnly));
    return run;
}
const RunFindings kSecondFailed{{}, {.errors = {L"\"x\" is missing", L"second"}, .warnings = {}}, {}};

class RunReportTest : public testing::Test
{
protected:
    ~RunReportTest() override { g_nLanguage = m_before; }

    static std::string Page(int language, const RunRecord& run = ThreeRows(),
                            const RunFindings& findings = kSecondFailed)
    {
        g_nLanguage = language;
        return RunReportPage(run, findings, L"1.2.3");
    }

private:
    int m_before = g_nLanguage;
};

// Escaping

TEST(AppendHtml, EscapesWhatHtmlReadsAsMarkup)
{
    EXPECT_EQ(Html(L"a<b>&\"c'd"), "a&lt;b&gt;&amp;&quot;c&#39;d");
    EXPECT_EQ(Html(L"</script><!-- &amp;"), "&lt;/script&gt;&lt;!-- &amp;amp;");
}

TEST(AppendHtml, WritesUtf8)
{
    EXPECT_EQ(Html(L"Größe"),
              "Gr\xC3\xB6\xC3\x9F"
              "e");
    EXPECT_EQ(Html(L"\u20AC\u4E2D"), "\xE2\x82\xAC\xE4\xB8\xAD");
    EXPECT_EQ(Html(L"\u07FF\u0800\uFFFF"), "\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
}

TEST(AppendHtml, JoinsSurrogatesAndReplacesHalves)
{
    EXPECT_EQ(Html({L'\xD83D', L'\xDE00'}), "\xF0\x9F\x98\x80");
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(Html({L'x', L'\xD83D'}), "x" + replaced);
    EXPECT_EQ(Html({L'\xDE00', L'x'}), replaced + "x");
    EXPECT_EQ(Html({L'\xD83D', L'x'}), replaced + "x");
}

TEST(AppendHtml, ShowsControlCharacters)
{
    EXPECT_EQ(Html({L'a', L'\0', L'\t', L'\x1F', L'\x7F'}),
              "a\xE2\x90\x80\xE2\x90\x89\xE2\x90\x9F\xE2\x90\xA1");
    EXPECT_EQ(Html(L"\u0080\u009F\u00A0"), "\xEF\xBF\xBD\xEF\xBF\xBD\xC2\xA0");
}

// The page

TEST_F(RunReportTest, IsAPageInTheLanguageOfTheProcess)
{
    const std::string german = Page(1);
    EXPECT_TRUE(german.starts_with("<!DOCTYPE html>\n<html lang=\"de\">"));
    EXPECT_NE(german.find("<title>Bericht der Umsetzung 2026-11-03 04:05:06</title>"), std::string::npos);
    EXPECT_NE(german.find("Zeilen: 3, mit Fehlern: 1, nur mit Warnungen: 0."), std::string::npos);
    EXPECT_EQ(german.find("errors"), std::string::npos);
    const std::string english = Page(0);
    EXPECT_TRUE(english.starts_with("<!DOCTYPE html>\n<html lang=\"en\">"));
    EXPECT_NE(english.find("<title>Conversion report 2026-11-03 04:05:06</title>"), std::string::npos);
    EXPECT_NE(english.find("Rows: 3, with errors: 1, with warnings only: 0."), std::string::npos);
    EXPECT_EQ(english.find("Zeilen"), std::string::npos);
}

TEST_F(RunReportTest, LoadsNothing)
{
    const std::string page = Page(1);
    EXPECT_NE(page.find("<meta charset=\"utf-8\">"), std::string::npos);
    EXPECT_NE(
        page.find("content=\"default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'\""),
        std::string::npos);
    for (const char* remote : {"http:", "https:", "//", "src=", "<link", "url(", "@import"}) {
        EXPECT_EQ(page.find(remote), std::string::npos) << remote;
    }
}

TEST_F(RunReportTest, ErrorsComeFirst)
{
    const std::string page = Page(0);
    const std::size_t attention = page.find("<h2>Errors</h2>");
    const std::size_t finding = page.find("<td><bdi>&lt;a2&gt;.sldprt</bdi>");
    const std::size_t allRows = page.find("<h2>All rows</h2>");
    ASSERT_NE(allRows, std::string::npos);
    EXPECT_LT(attention, finding);
    EXPECT_LT(finding, page.find("<li>&quot;x&quot; is missing<li>second</ul>"));
    EXPECT_LT(finding, page.find("<h2>The whole run</h2>"));
    EXPECT_LT(page.find("<li>second"), allRows);
    EXPECT_EQ(page.substr(attention, allRows - attention).find("a1.sldprt"), std::string::npos);
}

TEST_F(RunReportTest, WarningsFollowTheErrors)
{
    const std::string page =
        Page(0, ThreeRows(),
             {{.errors = {}, .warnings = {L"odd"}}, {}, {.errors = {L"broken"}, .warnings = {L"strange"}}});
    EXPECT_NE(page.find("Rows: 3, with errors: 1, with warnings only: 1."), std::string::npos);
    const std::size_t errors = page.find("<h2>Errors</h2>");
    const std::size_t warnings = page.find("<h2>Warnings</h2>");
    ASSERT_NE(warnings, std::string::npos);
    EXPECT_LT(errors, page.find("<tr id=\"row3\">"));
    EXPECT_LT(page.find("<li>broken<li>strange</ul>"), warnings);
    EXPECT_LT(warnings, page.find("<tr id=\"row1\">"));
    EXPECT_LT(page.find("<li>odd</ul>"), page.find("<h2>The whole run</h2>"));
    EXPECT_EQ(CountOf(page, "<li>"), 3U);
    EXPECT_EQ(CountOf(page, ">see note</a>"), 2U);
}

TEST_F(RunReportTest, LeavesOutAnEmptyTableOfErrorsOrWarnings)
{
    EXPECT_EQ(Page(1).find("<h2>Warnungen</h2>"), std::string::npos);
    const std::string onlyWarned = Page(1, ThreeRows(), {{}, {.errors = {}, .warnings = {L"odd"}}, {}});
    EXPECT_EQ(onlyWarned.find("<h2>Fehler</h2>"), std::string::npos);
    EXPECT_NE(onlyWarned.find("<h2>Warnungen</h2>"), std::string::npos);
    EXPECT_NE(onlyWarned.find("Zeilen: 3, mit Fehlern: 0, nur mit Warnungen: 1."), std::string::npos);
}

TEST_F(RunReportTest, AllRowsFollowInTheirOrder)
{
    const std::string page = Page(1);
    const std::string rows = page.substr(page.find("<h2>Alle Zeilen</h2>"));
    EXPECT_NE(rows.find("<tr><td>1<td><bdi>a1.sldprt</bdi><td><bdi>b1.sldprt</bdi>"
                        "<td><bdi>Gr\xC3\xB6\xC3\x9F"
                        "e 1</bdi><td>kopiert<td>2 von 3"
                        "<td>128<td>9<td>12,34<td>\n"),
              std::string::npos);
    EXPECT_NE(rows.find("<td>nicht kopiert<td><td><td><td>0,00<td><a href=\"#row2\">siehe "
                        "Hinweis</a>\n"),
              std::string::npos);
    EXPECT_LT(rows.find("a1.sldprt"), rows.find("&lt;a2&gt;.sldprt"));
    EXPECT_LT(rows.find("&lt;a2&gt;.sldprt"), rows.find("a3.sldprt"));
    EXPECT_EQ(CountOf(page, "id=\"row2\""), 1U);
}

TEST_F(RunReportTest, HeadersNameTheirColumnsAndRows)
{
    const std::string page = Page(0);
    EXPECT_NE(page.find("<th scope=\"col\">Original Standard-Part-Files<th scope=\"col\">Renamed to..."
                        "<th scope=\"col\">BOM names<th scope=\"col\">Result"),
              std::string::npos);
    EXPECT_NE(page.find("<tr><th scope=\"row\">Duration<td><bdi>1:02:03</bdi>"), std::string::npos);
}

// No browser runs here: this test and the next only look for what script, tables and styles must contain.
TEST_F(RunReportTest, TheScriptSortsTheTablesOfRows)
{
    const std::string page = Page(0);
    const std::string script = Between(page, "<script>", "</script>");
    for (const char* part : {"querySelectorAll(\"table.wide\")", "table.tHead.rows[0].cells",
                             "table.tBodies[0]", "createElement(\"button\")", "button.onclick = ",
                             "head.setAttribute(\"aria-sort\"", "rows.sort(", "body.append(row)"}) {
        EXPECT_EQ(CountOf(script, part), 1U) << part;
    }
    EXPECT_EQ(CountOf(page, "<table class=\"wide\">\n<thead><tr><th "), 1U);
    EXPECT_EQ(CountOf(page, "<table class=\"wide all\">\n<thead><tr><th "), 1U);
    EXPECT_EQ(CountOf(page, "</thead>\n<tbody>\n<tr"), 2U);
    EXPECT_EQ(CountOf(page, "<table>"), 1U) << "the facts of the run keep their order";
}

TEST_F(RunReportTest, TheStyleSheetHasRulesForTablesAndPrint)
{
    const std::string page = Page(0);
    const std::string style = Between(page, "<style>", "</style>");
    const std::string print = Between(style, "@media print {", "\n}\n");
    for (const char* rule : {"body {", ".wide td:nth-child(2), .wide td:nth-child(3) {",
                             "th button { display: contents; }", "tr, thead { break-inside: avoid; }"}) {
        EXPECT_EQ(CountOf(print, rule), 1U) << rule;
    }
    for (const char* rule : {"\n.wide {", "\n.all td:nth-child(6) {", "th[aria-sort=ascending] button::after",
                             "th[aria-sort=descending] button::after", "@media screen {"}) {
        EXPECT_EQ(CountOf(style, rule), 1U) << rule;
    }
}

TEST_F(RunReportTest, TellsOfTheWholeRun)
{
    const std::string page = Page(0);
    for (const char* fact :
         {"End<td><bdi>cancelled by the user", "Start<td><bdi>2026-11-03 04:05:06", "Rows<td><bdi>3",
          ">copied<td><bdi>1", "recorded only<td><bdi>1", "not copied<td><bdi>1", "not recorded<td><bdi>0",
          "not reached<td><bdi>0", "SOLIDWORKS loaded again<td><bdi>0", "Commands given up<td><bdi>4",
          "SOLIDWORKS version<td><bdi>2024", "Standard part folder<td><bdi>C:\\Normteile &amp; mehr",
          "Target folder<td><bdi>C:\\Normteile &amp; mehr\\Mapped", "Version of Talvenor<td><bdi>1.2.3"}) {
        EXPECT_EQ(CountOf(page, fact + std::string("</bdi>")), 1U) << fact;
    }
    RunRecord copied = ThreeRows();
    copied.copyOnly = true;
    copied.cadYear.clear();
    EXPECT_NE(Page(0, copied).find("SOLIDWORKS version<td><bdi>none, copied only"), std::string::npos);
    RunRecord withoutCad = ThreeRows();
    withoutCad.cadYear.clear();
    EXPECT_NE(Page(0, withoutCad).find("SOLIDWORKS version<td><bdi>none found</bdi>"), std::string::npos);
    EXPECT_NE(Page(1, withoutCad).find("SOLIDWORKS-Version<td><bdi>keine gefunden</bdi>"), std::string::npos);
}

TEST_F(RunReportTest, EveryEndHasItsWords)
{
    const std::vector<std::pair<RunEnd, std::string>> expected{
        {RunEnd::finished, "went on to the end"},
        {RunEnd::cancelled, "cancelled by the user"},
        {RunEnd::sessionEnded, "ended with the Windows session"},
        {RunEnd::cadNotLoaded, "SOLIDWORKS was not loaded"},
        {RunEnd::cadTooOld, "SOLIDWORKS is too old"},
        {RunEnd::mapFileNotOpened, "the map file could not be opened"}};
    for (const auto& [end, words] : expected) {
        RunRecord run;
        run.end = end;
        EXPECT_NE(Page(0, run, {}).find("End<td><bdi>" + words + "</bdi>"), std::string::npos) << words;
    }
}

TEST_F(RunReportTest, AnEmptyRunHasAPageWithoutRows)
{
    const std::string page = Page(0, {}, {});
    EXPECT_NE(page.find("No row needs attention."), std::string::npos);
    EXPECT_EQ(page.find("<h2>Errors</h2>"), std::string::npos);
    EXPECT_EQ(page.find("<h2>Warnings</h2>"), std::string::npos);
    EXPECT_NE(page.find("<h2>All rows</h2>"), std::string::npos);
    EXPECT_TRUE(page.ends_with("</body>\n</html>\n"));
}

// Twice the rows take twice the time in linear code and four times the time in quadratic code. The limit is
// three times the time plus 50 ms.
TEST_F(RunReportTest, TwentyThousandRowsTakeLinearTimeAndSpace)
{
    const auto measure = [](int count) {
        RunRecord run;
        for (int row = 0; row < count; ++row) {
            const std::wstring number = std::to_wstring(row);
            run.rows.push_back(RowOf({L"N_ISO_4017_M" + number + L"x50.sldprt",
                                      L"N_ISO_4017_M" + number + L"x50.changed.sldprt", L"Norm 4017 - %2"},
                                     RowOutcome::copied));
        }
        const RunFindings findings(run.rows.size());
        const auto began = std::chrono::steady_clock::now();
        const std::size_t size = Page(1, run, findings).size();
        return std::pair(size, std::chrono::steady_clock::now() - began);
    };
    measure(10'000);
    const auto [halfSize, halfTime] = measure(10'000);
    const auto [size, time] = measure(20'000);
    EXPECT_LT(size, 5'000'000U);
    EXPECT_LT(size, 2 * halfSize + 100'000);
    EXPECT_LT(time, 3 * halfTime + std::chrono::milliseconds(50));
}

}  // namespace
