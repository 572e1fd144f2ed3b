#include "run/RunFindings.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>
#include <utility>

#include "core/SameNames.h"
#include "core/TextTools.h"
#include "framework/Language.h"
#include "framework/MessageText.h"

namespace {

// The errors or the warnings of one row.
class CFindings
{
public:
    explicit CFindings(std::vector<std::wstring>& texts) : m_texts(texts) {}

    void Add(const Text& text, std::initializer_list<std::wstring_view> values = {})
    {
        m_texts.push_back(FillPlaceholders(text.Current(), values));
    }
    void AddIf(bool applies, const Text& text)
    {
        if (applies) {
            Add(text);
        }
    }
    void AddMessage(const std::wstring& message) { m_texts.push_back(message); }

private:
    std::vector<std::wstring>& m_texts;
};

constexpr Text kRowNotReached{L"Die Umsetzung endete vor dieser Zeile.",
                              L"The conversion ended before this row."};
constexpr Text kNotOpened{L"SOLIDWORKS hat die Kopie nicht geöffnet (Code %1).",
                          L"SOLIDWORKS did not open the copy (code %1)."};
constexpr Text kNotOpenedBecause{L"SOLIDWORKS hat die Kopie nicht geöffnet: %1 (Code %2).",
                                 L"SOLIDWORKS did not open the copy: %1 (code %2)."};
constexpr Text kNotOpenedWithoutReason{
    L"SOLIDWORKS hat die Kopie nicht geöffnet und keinen Grund genannt (Code 0).",
    L"SOLIDWORKS did not open the copy and gave no reason (code 0)."};
constexpr Text kNoConfigurations{L"SOLIDWORKS nennt keine Konfiguration. Die Kopie wurde nicht gespeichert.",
                                 L"SOLIDWORKS names no configuration. The copy was not saved."};
constexpr Text kUnnamedConfigurations{
    L"%1 von %2 Konfigurationen geschrieben. Die übrigen nennt SOLIDWORKS nicht.",
    L"%1 of %2 configurations written. SOLIDWORKS does not name the others."};
constexpr Text kUnwrittenConfigurations{
    L"%1 von %2 Konfigurationen geschrieben. Die Kopie wurde nicht gespeichert. Es fehlen: %3",
    L"%1 of %2 configurations written. The copy was not saved. Missing: %3"};
constexpr Text kSaveReturned{L"Das Speichern lieferte den Wert %1.", L"Saving returned the value %1."};
constexpr Text kGivenUp{L"Auf SOLIDWORKS wurde nicht länger gewartet.",
                        L"SOLIDWORKS was no longer waited for."};
constexpr Text kReloaded{L"Danach wurde SOLIDWORKS neu geladen.", L"Afterwards SOLIDWORKS was loaded again."};
constexpr Text kLost{L"Danach konnte SOLIDWORKS nicht neu geladen werden.",
                     L"Afterwards SOLIDWORKS could not be loaded again."};
constexpr Text kSameName{
    L"Zeile '%1' hat denselben neuen Namen; Groß- und Kleinschreibung zählen nicht. Es gibt nur eine Kopie: "
    L"die zuletzt geschriebene.",
    L"Row '%1' has the same new name; letter case does not count. There is only one copy: the one written "
    L"last."};
constexpr Text kMapLineTooLong{
    L"In der Map-Datei hat diese Zeile %1 Bytes, mehr als %2. Beim Lesen gehen sie und alle folgenden "
    L"verloren.",
    L"In the map file this row has %1 bytes, more than %2. On reading, it and all that follow are lost."};
constexpr Text kMapLineUnreadable{L"Die Map-Datei kann diese Zeile nicht wiedergeben.",
                                  L"The map file cannot reproduce this row."};
constexpr Text kMapLineChanged{L"In der Map-Datei steht diese Zeile verändert: %1 ; %2 ; %3",
                               L"The map file holds this row changed: %1 ; %2 ; %3"};
constexpr Text kNotInMapFile{L"Die Zeile fehlt in der Map-Datei. Erneutes Umsetzen nimmt sie wieder auf.",
                             L"The row is missing from the map file. Converting again records it."};
constexpr Text kOneNameForAll{L"Die Benennung enthält %2 nicht: Alle %1 Konfigurationen haben dieselbe.",
                              L"The BOM name does not contain %2: all %1 configurations have the same."};

// Indexed by CadStep.
constexpr std::array kFailedSteps{
    Text{L"Das Öffnen schlug fehl: %1", L"Opening failed: %1"},
    Text{L"Das Lesen der Konfigurationen schlug fehl: %1", L"Reading the configurations failed: %1"},
    Text{L"Das Schreiben einer Konfiguration schlug fehl: %1", L"Writing a configuration failed: %1"},
    Text{L"Das Speichern schlug fehl: %1", L"Saving failed: %1"},
    Text{L"Das Schließen schlug fehl: %1", L"Closing failed: %1"}};

struct OpenError
{
    unsigned long bit;
    Text name;
};

// The code on opening is a set of bits. The bits' names come from the help of the automation interface
// ("swFileLoadError_e Enumeration") and were never checked against SOLIDWORKS. Only the wording of the report
// depends on the names.
constexpr std::array kOpenErrors{
    OpenError{1, {L"allgemeiner Fehler", L"general error"}},
    OpenError{2, {L"Datei nicht gefunden", L"file not found"}},
    OpenError{8, {L"schreibgeschützt", L"read-only"}},
    OpenError{16, {L"von einem anderen Programm geöffnet", L"opened by another program"}},
    OpenError{512, {L"die Datei ist schon offen", L"the file is open already"}},
    OpenError{1024, {L"falscher Dateityp", L"wrong file type"}},
    OpenError{8192, {L"von einer neueren Version gespeichert", L"saved by a newer version"}},
    OpenError{
        65536,
        {L"eine Datei mit demselben Titel ist schon offen", L"a file with the same title is open already"}},
    OpenError{262144, {L"nicht genügend Ressourcen", L"not enough resources"}},
    OpenError{2097152, {L"die Datei muss repariert werden", L"the file needs repair"}},
    OpenError{4194304, {L"wichtige Daten müssen repariert werden", L"critical data need repair"}},
    OpenError{8388608, {L"SOLIDWORKS ist beschäftigt", L"SOLIDWORKS is busy"}}};

std::wstring Joined(const std::vector<std::wstring>& names)
{
    std::wstring text;
    for (const std::wstring& name : names) {
        text += (text.empty() ? L"" : L", ") + name;
    }
    return text;
}

// The message on one line: its line breaks become blanks.
std::wstring OnOneLine(std::wstring_view message)
{
    std::wstring line;
    for (const wchar_t character : message) {
        const bool isBreak = character == L'\n' || character == L'\r';
        if (!isBreak) {
            line += character;
        } else if (!line.empty() && line.back() != L' ') {
            line += L' ';
        }
    }
    return line;
}

void AddConfigurations(CFindings errors, const RunRow& row, const CadRecord& cad)
{
    const std::wstring written = std::to_wstring(cad.written);
    const std::wstring all = std::to_wstring(cad.configurations);
    if (!row.unwritten.empty()) {
        errors.Add(kUnwrittenConfigurations, {written, all, Joined(row.unwritten)});
    } else if (!cad.failed && cad.configurations <= 0) {
        errors.Add(kNoConfigurations);
    } else if (cad.written < cad.configurations && cad.step >= CadStep::writing) {
        errors.Add(kUnnamedConfigurations, {written, all});
    }
}

// The words for the known bits of a code; empty when there are none. A negative code is not a set of bits.
std::wstring OpenErrorsIn(long code)
{
    const auto bits = static_cast<unsigned long>(std::max(code, 0L));
    std::vector<std::wstring> names;
    for (const OpenError& error : kOpenErrors) {
        if ((bits & error.bit) != 0) {
            names.push_back(error.name.Current());
        }
    }
    return Joined(names);
}

void AddNotOpened(CFindings errors, long code)
{
    const std::wstring reasons = OpenErrorsIn(code);
    if (code == 0) {
        errors.Add(kNotOpenedWithoutReason);
    } else if (reasons.empty()) {
        errors.Add(kNotOpened, {std::to_wstring(code)});
    } else {
        errors.Add(kNotOpenedBecause, {reasons, std::to_wstring(code)});
    }
}

void AddCad(CFindings errors, const RunRow& row, const CadRecord& cad)
{
    if (cad.failed) {
        const Text& text = kFailedSteps.at(static_cast<std::size_t>(cad.step));
        errors.Add(text, {OnOneLine(row.reason)});
    }
    if (cad.opened) {
        AddConfigurations(errors, row, cad);
    } else if (!cad.failed) {
        AddNotOpened(errors, cad.openCode);
    }
    if (cad.saveResult.value_or(0) != 0) {
        errors.Add(kSaveReturned, {std::to_wstring(*cad.saveResult)});
    }
}

void AddOutcome(CFindings errors, const RunRow& row)
{
    errors.AddIf(row.outcome == RowOutcome::notReached && row.pending, kRowNotReached);
    if (row.outcome == RowOutcome::notCopied || row.outcome == RowOutcome::notRecorded) {
        errors.AddMessage(OnOneLine(row.reason));
    }
    if (row.cad) {
        AddCad(errors, row, *row.cad);
    }
    errors.AddIf(row.givenUp, kGivenUp);
    errors.AddIf(row.cadReloaded, kReloaded);
    errors.AddIf(row.cadLost, kLost);
}

// Whether the row has a copy: of this run or, if the row was not pending, of an earlier one. A row that was
// not reached has replaced no copy.
bool HasCopy(const RunRow& row)
{
    return row.outcome != RowOutcome::notCopied && row.outcome != RowOutcome::notReached;
}

bool IsRecorded(const RunRow& row)
{
    return row.outcome == RowOutcome::copied || row.outcome == RowOutcome::recordedOnly;
}

// Whether the row was converted earlier, and its record was lost with the old map file.
bool IsDropped(const RunRow& row, const RunRecord& run)
{
    return row.outcome == RowOutcome::notReached && !row.pending && run.mapFileReplaced;
}

void AddOneNameForAll(CFindings warnings, const RunRow& row)
{
    const std::wstring bomName = Trim(row.entry.strBomName);
    if (row.cad && row.cad->written > 1 && !bomName.empty() && bomName.find(L"%2") == std::wstring::npos) {
        warnings.Add(kOneNameForAll, {std::to_wstring(row.cad->configurations)});
    }
}

// The row as written to the map file: without its BOM name if files were copied only.
UTtab_entry Recorded(const RunRow& row, bool copyOnly)
{
    return {row.entry.strOriginal, row.entry.strRenamed, copyOnly ? std::wstring() : row.entry.strBomName};
}

void AddMapLine(CFindings warnings, UTtab_entry entry, const FindingRules& rules)
{
    const std::string line = FormatMapRecord(entry, rules.encoder);
    if (line.size() > kMapLineMaxBytes) {
        warnings.Add(kMapLineTooLong, {std::to_wstring(line.size()), std::to_wstring(kMapLineMaxBytes)});
        return;
    }
    const std::optional<UTtab_entry> read = ReadMapRecord(line, rules.decode);
    if (!read) {
        warnings.Add(kMapLineUnreadable);
        return;
    }
    // Blanks around a BOM name do not count: they are also trimmed before the name is written into the part.
    entry.strBomName = Trim(entry.strBomName);
    if (UTtab_entry{read->strOriginal, read->strRenamed, Trim(read->strBomName)} != entry) {
        warnings.Add(kMapLineChanged, {read->strOriginal, read->strRenamed, read->strBomName});
    }
}

void AddSameNames(RunFindings& findings, const RunRecord& run, const FindingRules& rules)
{
    CSameNames copies(rules.foldName, run.rows.size());
    for (std::size_t row = 0; row < run.rows.size(); ++row) {
        if (const RunRow content = run.rows.at(row); HasCopy(content)) {
            copies.Add(row, content.entry.strRenamed);
        }
    }
    const auto nameOf = [&run](std::size_t row) { return run.rows.at(row).entry.strRenamed; };
    for (const SameName& same : copies.Find(nameOf)) {
        const RunRow other = run.rows.at(same.otherRow);
        CFindings(findings[same.row].warnings).Add(kSameName, {other.entry.strOriginal});
    }
}

}  // namespace

RunFindings FindingsOf(const RunRecord& run, const FindingRules& rules)
{
    RunFindings findings(run.rows.size());
    AddSameNames(findings, run, rules);
    for (std::size_t row = 0; row < run.rows.size(); ++row) {
        const RunRow content = run.rows.at(row);
        AddOutcome(CFindings(findings[row].errors), content);
        CFindings warnings(findings[row].warnings);
        warnings.AddIf(IsDropped(content, run), kNotInMapFile);
        AddOneNameForAll(warnings, content);
        if (IsRecorded(content)) {
            AddMapLine(warnings, Recorded(content, run.copyOnly), rules);
        }
    }
    return findings;
}
