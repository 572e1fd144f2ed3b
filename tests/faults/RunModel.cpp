#include "tests/faults/RunModel.h"

#include <algorithm>
#include <cstdio>

#include "tests/acceptance/ExpectedTexts.h"
#include "tests/cadserver/TextFile.h"

namespace {

constexpr const char* kException = "0x80020009";  // DISP_E_EXCEPTION, as the log writes it
constexpr const char* kWhile = "20000";           // milliseconds: longer than what is left of the session
constexpr const char* kShortWhile = "100";

// Versions that the server gives: one below the first that will do, and what it gives unless told otherwise.
constexpr long kTooOld = 1999249;
constexpr long kNewEnough = 2019250;

constexpr Text kBusy{
    L"Das andere Programm ist beschäftigt und nimmt keine Befehle an.\n\nSoll weiter gewartet werden?",
    L"The other program is busy and is not accepting commands.\n\nDo you want to keep waiting?"};

constexpr Text kRecordLead{L"FEHLER: Datei ", L"ERROR: File "};
constexpr Text kRecordEnd{
    L" kann nicht geschrieben werden!\nDie betroffenen Normteile fehlen in dieser Datei.",
    L" cannot be written!\nThe standard parts concerned are missing from this file."};

std::string StatusText(HRESULT status)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(status));
    return text;
}

std::string Option(const char* name, const std::wstring& value)
{
    return value.empty() ? std::string() : std::string(" ") + name + "=\"" + ToUtf8(value) + "\"";
}

std::string ActionText(const Fault& fault)
{
    switch (fault.kind) {
        case Fault::Kind::exception:
            return "exception" + Option("source", fault.source) + Option("description", fault.description) +
                   Option("help", fault.helpFile) + " context=" + std::to_string(fault.helpContext);
        case Fault::Kind::fail:
            return "fail " + StatusText(fault.status);
        case Fault::Kind::endBefore:
            return "end-before";
        case Fault::Kind::endAfter:
            return "end-after";
        case Fault::Kind::rejectForAWhile:
            return std::string("reject ") + (UnderWine() ? kWhile : kShortWhile);
        case Fault::Kind::rejectForGood:
            return "reject forever";
    }
    return {};
}

std::string NamesText(const std::vector<PartConfiguration>& configurations)
{
    std::string text;
    for (const PartConfiguration& configuration : configurations) {
        text += (text.empty() ? "" : "|") + ToUtf8(configuration.name);
    }
    return "BSTR[" + std::to_string(configurations.size()) + "]=" + text;
}

std::string NameText(const ModelRow& row)
{
    return ToUtf8(row.texts.strRenamed);
}

}  // namespace

std::wstring DescribeBox(const std::wstring& text, UINT type, const std::wstring& helpFile, DWORD helpContext)
{
    std::wstring described = L"box " + text;
    if (type != MB_OK) {
        described += L" [type " + std::to_wstring(type) + L"]";
    }
    if (!helpFile.empty() || helpContext != 0) {
        described += L" [help " + helpFile + L" " + std::to_wstring(helpContext) + L"]";
    }
    return described;
}

std::string ServerScript::Rules() const
{
    std::string rules;
    for (const Fault& fault : faults) {
        rules += "fault nth=" + std::to_string(fault.nth) + (fault.lasting ? " lasting " : " ") +
                 (fault.across ? "across " : "") + ActionText(fault) + "\n";
    }
    if (refuseFrom != 0) {
        rules += "start-refuse from=" + std::to_string(refuseFrom) + "\n";
    }
    if (oldFrom != 0) {
        rules += "datecode " + std::to_string(kTooOld) + " from=" + std::to_string(oldFrom) + "\n";
    }
    return rules;
}

CRunModel::CRunModel(std::wstring mapped, std::vector<ModelRow> rows, Copies copies, bool filterIsAsked)
    : m_mapped(std::move(mapped))
    , m_rows(std::move(rows))
    , m_copies(std::move(copies))
    , m_filterIsAsked(filterIsAsked)
{
}

RunOutcome CRunModel::Run(const ServerScript& script)
{
    m_outcome = {};
    m_script = &script;
    m_starts = 0;
    m_callsAcross = 0;
    m_recordFailureShown = false;
    if (m_copyOnly || LoadOrTell()) {
        WriteMapFile();
    }
    ReleaseCad();
    for (const ModelRow& row : m_rows) {
        m_outcome.marks += row.pending ? 'P' : 'c';
    }
    return std::move(m_outcome);
}

void CRunModel::WriteMapFile()
{
    if (!m_mapFileFailure.empty()) {
        m_outcome.shown.push_back(L"box " + m_mapFileFailure);
        return;
    }
    m_outcome.mapFileWritten = true;
    m_outcome.headerWritten = !m_headerFails;
    if (m_headerFails) {
        ShowRecordFailure();
    }
    const bool finished = std::ranges::all_of(m_rows, [this](ModelRow& row) { return HandleRow(row); });
    if (m_mapFailsLate) {
        ShowRecordFailure();
    }
    if (finished) {
        m_outcome.shown.emplace_back(L"view map file");
        m_outcome.shown.push_back(DescribeBox(expected::kFinished.Current(), MB_ICONINFORMATION, {}, 0));
    }
}

// False when the run ends with this row.
bool CRunModel::HandleRow(ModelRow& row)
{
    const std::wstring& name = row.texts.strRenamed;
    if (row.pending && !row.copyFailure.empty()) {
        m_outcome.shown.push_back(L"box " + row.copyFailure);
        return true;
    }
    if (row.pending) {
        m_copies[name] = {row.source, false};
    }
    if (Record(row)) {
        if (!m_copyOnly && row.pending && !Update(row)) {
            return false;
        }
        row.pending = false;
    }
    if (row.copyVanishes) {
        m_copies.erase(name);
    } else if (m_copies.contains(name)) {
        m_copies[name].readOnly = !row.staysWritable;
    }
    return true;
}

// What cannot be written to the map file is told once a run.
void CRunModel::ShowRecordFailure()
{
    if (!std::exchange(m_recordFailureShown, true)) {
        m_outcome.shown.push_back(L"box " + kRecordLead.Current() + MapPath() + kRecordEnd.Current());
    }
}

// A row that is not on record is not taken for handled.
bool CRunModel::Record(const ModelRow& row)
{
    if (!row.recordFails) {
        m_outcome.records.push_back(RecordOf(row));
    } else {
        ShowRecordFailure();
        if (m_halfRecordStays && !m_outcome.halfRecord) {
            m_outcome.halfRecord = RecordOf(row);
        }
    }
    return !row.recordFails;
}

UTtab_entry CRunModel::RecordOf(const ModelRow& row) const
{
    UTtab_entry record = row.texts;
    if (m_copyOnly) {
        record.strBomName.clear();
    }
    return record;
}

// False when there is no server to go on with.
bool CRunModel::Update(const ModelRow& row)
{
    try {
        WriteBomNames(row);
        return true;
    } catch (const CallFailed& failure) {
        if (failure.report) {
            m_outcome.shown.push_back(*failure.report);
        }
    }
    ReleaseCad();
    return LoadOrTell();
}

void CRunModel::WriteBomNames(const ModelRow& row)
{
    const std::string document = "document " + NameText(row);
    const std::string type = " I4=" + std::to_string(row.documentType);
    const std::string count = std::to_string(row.source.size());
    Call("application 24 method BOOL=0" + type, "ok");
    // The error code stands in the log as it is after the call: a call that is not served leaves it at 0.
    Call("application 99 method BSTR=" + PathText(row) + type + " BOOL=0 BOOL=0 BOOL=-1 I4&=",
         std::to_string(row.openCode) + " " + document,
         [&] { m_document = m_copies[row.texts.strRenamed].configurations; });
    if (row.openCode == 128) {
        Call(document + " 17 method", "ok");
    }
    Call(document + " 65971 method", "I4=" + count);
    Call(document + " 65972 method", NamesText(row.source));
    for (std::size_t index = 0; index < row.source.size(); ++index) {
        WriteConfiguration(row, index);
    }
    Call(document + " 66019 method BOOL=-1", "I4=0",
         [&] { m_copies[row.texts.strRenamed].configurations = m_document; });
    Call("application 7 method BSTR=" + PathText(row), "ok");
    Call("application 24 method BOOL=-1" + type, "ok");
}

void CRunModel::WriteConfiguration(const ModelRow& row, std::size_t index)
{
    const PartConfiguration& written = row.written.at(index);
    const std::string configuration = "configuration " + NameText(row) + "/" + ToUtf8(written.name);
    Call("document " + NameText(row) + " 66048 method BSTR=" + ToUtf8(written.name), configuration);
    Call(configuration + (written.useAlternative ? " 6 put BOOL=-1" : " 6 put BOOL=0"), "ok",
         [&] { m_document.at(index).useAlternative = written.useAlternative; });
    if (written.useAlternative) {
        Call(configuration + " 5 put BSTR=" + ToUtf8(written.alternative), "ok",
             [&] { m_document.at(index).alternative = written.alternative; });
    }
}

// A server whose version cannot be had counts as one that is not there.
CRunModel::Load CRunModel::LoadCad()
{
    if (!Connect()) {
        return Load::failed;
    }
    try {
        const bool tooOld = m_script->oldFrom != 0 && m_starts >= m_script->oldFrom;
        Call("application 11 method", "I4=" + std::to_string(tooOld ? kTooOld : kNewEnough));
        return tooOld ? Load::tooOld : Load::done;
    } catch (const CallFailed&) {
        return Load::failed;
    }
}

// False when there is no server to work with, which the user is told.
bool CRunModel::LoadOrTell()
{
    const Load load = LoadCad();
    if (load != Load::done) {
        const Text& message = load == Load::tooOld ? expected::kCadTooOld : expected::kCadNotLoaded;
        m_outcome.shown.push_back(L"box " + message.Current());
    }
    return load == Load::done;
}

// Whatever becomes of the call, the server is let go, and that ends it.
void CRunModel::ReleaseCad()
{
    try {
        if (m_alive) {
            Call("application 6 method", "ok");
        }
    } catch (const CallFailed&) {
    }
    m_alive = false;
}

bool CRunModel::Connect()
{
    ++m_starts;
    m_calls = 0;
    m_alive = m_script->refuseFrom == 0 || m_starts < m_script->refuseFrom;
    return m_alive;
}

template <class Act>
void CRunModel::Call(const std::string& what, const std::string& result, Act act)
{
    if (IsTurnedAway()) {
        throw CallFailed{};
    }
    const Fault* const fault = Count();
    if (fault == nullptr || fault->kind == Fault::Kind::endAfter) {
        act();
        Note(what, result);
    } else if (fault->kind == Fault::Kind::endBefore) {
        Note(what, "not served");
    } else {
        Note(what, fault->kind == Fault::Kind::fail ? StatusText(fault->status) : kException);
    }
    if (fault != nullptr) {
        Suffer(*fault);
    }
}

void CRunModel::Call(const std::string& what, const std::string& result)
{
    Call(what, result, [] {});
}

// A result that belongs to a by-reference argument follows it at once; for a call that is not served, the
// argument's 0 does.
void CRunModel::Note(const std::string& what, const std::string& result)
{
    const bool servedByReference = what.ends_with("&=") && result.find(" document ") != std::string::npos;
    const std::string gap = !what.ends_with("&=") ? " " : servedByReference ? "" : "0 ";
    m_outcome.calls.push_back(std::to_string(m_calls) + " " + what + gap + result);
}

void CRunModel::Suffer(const Fault& fault)
{
    if (fault.kind == Fault::Kind::exception) {
        const std::wstring text = (fault.source.empty() ? L"" : fault.source + L" - ") +
                                  (fault.description.empty() ? expected::kUnknownError : fault.description);
        const DWORD context = fault.helpFile.empty() ? 0 : fault.helpContext;
        throw CallFailed{DescribeBox(text, MB_OK, fault.helpFile, context)};
    }
    // An exception without any report is one of which nothing is known.
    if (fault.kind == Fault::Kind::fail && fault.status == DISP_E_EXCEPTION) {
        throw CallFailed{std::wstring(L"box ") + expected::kUnknownError};
    }
    m_alive = fault.kind == Fault::Kind::fail;
    throw CallFailed{};
}

unsigned CRunModel::Seen(const Fault& fault) const
{
    return fault.across ? m_callsAcross : m_calls;
}

bool CRunModel::Hits(const Fault& fault, unsigned call)
{
    return call == fault.nth || (fault.lasting && call > fault.nth);
}

// A call that is turned away is not counted, so that the next one is turned away as well. The program's
// filter, where it is asked, asks the user, who waits until a while is over and gives up on a server that is
// busy for good.
bool CRunModel::IsTurnedAway()
{
    for (const Fault& fault : m_script->faults) {
        if (!fault.TurnsAway() || !Hits(fault, Seen(fault) + 1)) {
            continue;
        }
        if (m_filterIsAsked) {
            m_outcome.shown.push_back(
                DescribeBox(kBusy.Current(), MB_RETRYCANCEL | MB_ICONEXCLAMATION, {}, 0));
        }
        return !m_filterIsAsked || fault.kind == Fault::Kind::rejectForGood;
    }
    return false;
}

// Counts the call and tells what hits it.
const Fault* CRunModel::Count()
{
    ++m_calls;
    ++m_callsAcross;
    for (const Fault& fault : m_script->faults) {
        if (!fault.TurnsAway() && Hits(fault, Seen(fault))) {
            return &fault;
        }
    }
    return nullptr;
}

std::string CRunModel::PathText(const ModelRow& row) const
{
    return ToUtf8(m_mapped + L"\\" + row.texts.strRenamed);
}
