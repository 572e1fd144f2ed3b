#include "tests/faults/RunModel.h"

#include <algorithm>
#include <cstdio>

#include "tests/support/ExpectedTexts.h"
#include "tests/support/TextFile.h"

namespace {

constexpr const char* kException = "0x80020009";  // DISP_E_EXCEPTION in the log
constexpr const char* kRejectTime = "20000";      // milliseconds; longer than the rest of the session
// Long enough for one question: the second try, after 250 ms, is rejected, too, and the third is served.
constexpr const char* kShortRejectTime = "400";

// Date codes of the server: just below the oldest supported release, and the default.
constexpr long kTooOld = 1999249;
constexpr long kNewEnough = 2019250;

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
        case Fault::Kind::hang:
            return "hang";
        case Fault::Kind::rejectForSomeTime:
            return std::string("reject ") + (UnderWine() ? kRejectTime : kShortRejectTime);
        case Fault::Kind::rejectForever:
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
    if (cancelAt != 0) {
        // Comes before the faults: after a fault that makes the call fail, no other fault acts on the call.
        rules.insert(0, "fault nth=" + std::to_string(cancelAt) + " across hold-before\n");
    }
    if (startDelay != 0) {
        rules += "start-slow " + std::to_string(startDelay) + "\n";
    }
    if (lingerTime != 0) {
        rules += "linger " + std::to_string(lingerTime) + " status=" + StatusText(lingerStatus) + "\n";
    }
    return rules;
}

CRunModel::CRunModel(std::wstring mapped, std::vector<ModelRow> rows, Copies copies, bool callsMessageFilter)
    : m_mapped(std::move(mapped))
    , m_rows(std::move(rows))
    , m_copies(std::move(copies))
    , m_callsMessageFilter(callsMessageFilter)
{
}

RunOutcome CRunModel::Run(const ServerScript& script)
{
    m_outcome = {};
    m_script = &script;
    m_starts = 0;
    m_callsAcross = 0;
    m_givenUp = false;
    m_recordFailureShown = false;
    m_keyPending = false;
    m_cancelled = false;
    if (m_copyOnly || LoadOrReport()) {
        m_cancelEnabled = !m_copyOnly;
        WriteMapFile();
    }
    ReleaseCad();
    for (const ModelRow& row : m_rows) {
        m_outcome.marks += row.pending ? 'P' : 'c';
    }
    m_outcome.rows.resize(m_rows.size(), L"not reached");
    return std::move(m_outcome);
}

void CRunModel::WriteMapFile()
{
    if (!m_mapFileFailure.empty()) {
        m_outcome.shown.push_back(L"box " + m_mapFileFailure);
        m_outcome.end = "no map file";
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
        m_outcome.end = "finished";
        m_outcome.shown.emplace_back(L"view map file");
        m_outcome.shown.push_back(DescribeBox(expected::kFinished.Current(), MB_ICONINFORMATION, {}, 0));
    } else if (m_outcome.end.empty()) {
        m_outcome.end = "cancelled";
        m_outcome.shown.push_back(L"box " + std::wstring(expected::kCancelled.Current()));
        m_outcome.shown.emplace_back(L"view reload");
    }
}

// Returns false if the run ends with this row.
bool CRunModel::HandleRow(ModelRow& row)
{
    const std::wstring& name = row.texts.strRenamed;
    if (row.pending && !row.copyFailure.empty()) {
        m_outcome.shown.push_back(L"box " + row.copyFailure);
        m_outcome.rows.push_back(L"not copied: " + row.copyFailure);
    } else if (!CopyAndRecord(row)) {
        return false;
    }
    if (row.copyVanishes) {
        m_copies.erase(name);
    } else if (m_copies.contains(name)) {
        m_copies[name].readOnly = !row.staysWritable;
    }
    return true;
}

// Returns false if the run ends with this row. The copy then stays writable.
bool CRunModel::CopyAndRecord(ModelRow& row)
{
    const std::wstring& name = row.texts.strRenamed;
    if (row.pending || m_copies.contains(name)) {
        m_copies[name] = {row.pending ? row.source : m_copies[name].configurations, false};
    }
    if (!AddRecord(row)) {
        m_outcome.rows.push_back(L"not recorded: " + expected::RecordsMissing(MapPath()));
        return true;
    }
    m_outcome.rows.emplace_back(row.pending ? L"copied" : L"recorded only");
    if (!m_copyOnly && row.pending && !Update(row)) {
        return false;
    }
    row.pending = false;
    TakeKey();
    return !m_cancelled;
}

// Failures to write the map file are reported once per run.
void CRunModel::ShowRecordFailure()
{
    if (!std::exchange(m_recordFailureShown, true)) {
        m_outcome.shown.push_back(L"box " + expected::RecordsMissing(MapPath()));
    }
}

// Returns false if the row cannot be recorded. Such a row does not count as converted.
bool CRunModel::AddRecord(const ModelRow& row)
{
    if (!row.recordFails) {
        m_outcome.records.push_back(RecordOf(row));
    } else {
        ShowRecordFailure();
        if (m_partialRecordStays && !m_outcome.partialRecord) {
            m_outcome.partialRecord = RecordOf(row);
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

// Returns false if there is no server to continue with.
bool CRunModel::Update(const ModelRow& row)
{
    m_cancelConfirmed = false;
    try {
        WriteBomNames(row);
        return true;
    } catch (const CallFailed& failure) {
        if (failure.report) {
            m_outcome.shown.push_back(*failure.report);
        }
    }
    ReleaseCad();
    m_cancelEnabled = false;  // until the next document has been closed
    const bool loaded = LoadOrReport();
    m_outcome.rows.back() += loaded ? L", failed, loaded again" : L", failed, lost";
    return loaded;
}

void CRunModel::WriteBomNames(const ModelRow& row)
{
    const std::string document = "document " + NameText(row);
    const std::string type = " I4=" + std::to_string(row.documentType);
    const std::string count = std::to_string(row.source.size());
    Call("application SetDocumentVisibility method BOOL=0" + type, "ok");
    // The log shows the error code after the call; if the call was not served, 0.
    Call("application OpenDocument method BSTR=" + PathText(row) + type + " BOOL=0 BOOL=0 BOOL=-1 I4&=",
         std::to_string(row.openCode) + " " + document,
         [&] { m_document = m_copies[row.texts.strRenamed].configurations; });
    if (row.openCode == 128) {
        Call(document + " CallMethod17 method", "ok");
    }
    Call(document + " GetConfigurationCount method", "I4=" + count);
    Call(document + " GetConfigurationNames method", NamesText(row.source));
    for (std::size_t index = 0; index < row.source.size(); ++index) {
        WriteConfiguration(row, index);
    }
    m_cancelEnabled = false;
    Call(document + " Save method BOOL=-1", "I4=0",
         [&] { m_copies[row.texts.strRenamed].configurations = m_document; });
    Call("application CloseDocument method BSTR=" + PathText(row), "ok");
    m_cancelEnabled = true;
    Call("application SetDocumentVisibility method BOOL=-1" + type, "ok");
}

void CRunModel::WriteConfiguration(const ModelRow& row, std::size_t index)
{
    const PartConfiguration& written = row.written.at(index);
    const std::string configuration = "configuration " + NameText(row) + "/" + ToUtf8(written.name);
    Call("document " + NameText(row) + " GetConfiguration method BSTR=" + ToUtf8(written.name),
         configuration);
    Call(configuration + (written.useAlternative ? " UseAlternativeBomName put BOOL=-1"
                                                 : " UseAlternativeBomName put BOOL=0"),
         "ok", [&] { m_document.at(index).useAlternative = written.useAlternative; });
    if (written.useAlternative) {
        Call(configuration + " AlternativeBomName put BSTR=" + ToUtf8(written.alternative), "ok",
             [&] { m_document.at(index).alternative = written.alternative; });
    }
    TakeKey();
    AskWhetherToCancel();
}

// Escape has no effect if the program takes it while the cancel button is disabled.
void CRunModel::TakeKey()
{
    if (std::exchange(m_keyPending, false) && m_cancelEnabled) {
        m_cancelled = true;
    }
}

// A confirmed cancel ends the run after the current row.
void CRunModel::AskWhetherToCancel()
{
    if (m_cancelled && !m_cancelConfirmed) {
        m_outcome.shown.push_back(
            DescribeBox(expected::kReallyCancel.Current(), MB_YESNO | MB_ICONQUESTION, {}, 0));
        m_cancelConfirmed = m_script->confirms;
        m_cancelled = m_script->confirms;
    }
}

// A server that does not return its version counts as unavailable.
CRunModel::Load CRunModel::LoadCad()
{
    if (m_givenUp || !Connect()) {
        return Load::failed;
    }
    try {
        const bool tooOld = m_script->oldFrom != 0 && m_starts >= m_script->oldFrom;
        Call("application GetDateCode method", "I4=" + std::to_string(tooOld ? kTooOld : kNewEnough));
        return tooOld ? Load::tooOld : Load::done;
    } catch (const CallFailed&) {
        return Load::failed;
    }
}

// Returns false, with a message, if there is no server to work with.
bool CRunModel::LoadOrReport()
{
    const Load load = LoadCad();
    if (load != Load::done) {
        m_outcome.end = load == Load::tooOld ? "too old" : "not loaded";
        const Text& message = load == Load::tooOld ? expected::kCadTooOld : expected::kCadNotLoaded;
        m_outcome.shown.push_back(L"box " + message.Current());
    }
    return load == Load::done;
}

// The server is released even if the Exit call fails; the release ends the server, too.
void CRunModel::ReleaseCad()
{
    try {
        if (m_alive) {
            Call("application Exit method", "ok");
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
    if (IsRejected()) {
        throw CallFailed{};
    }
    const Fault* const fault = Count();
    if (fault == nullptr || fault->kind == Fault::Kind::endAfter) {
        act();
        LogCall(what, result);
    } else if (fault->kind == Fault::Kind::endBefore) {
        LogCall(what, "not served");
    } else if (fault->kind == Fault::Kind::hang) {
        LogCall(what, "hangs");
    } else {
        LogCall(what, fault->kind == Fault::Kind::fail ? StatusText(fault->status) : kException);
    }
    if (fault != nullptr) {
        ThrowFailure(*fault);
    }
}

void CRunModel::Call(const std::string& what, const std::string& result)
{
    Call(what, result, [] {});
}

// The log appends the value of a by-reference argument directly to its name; 0 if the call was not served.
void CRunModel::LogCall(const std::string& what, const std::string& result)
{
    const bool servedByReference = what.ends_with("&=") && result.find(" document ") != std::string::npos;
    const std::string separator = !what.ends_with("&=") ? " " : servedByReference ? "" : "0 ";
    m_outcome.calls.push_back(std::to_string(m_calls) + " " + what + separator + result);
}

void CRunModel::ThrowFailure(const Fault& fault)
{
    if (fault.kind == Fault::Kind::exception) {
        const std::wstring text = (fault.source.empty() ? L"" : fault.source + L" - ") +
                                  (fault.description.empty() ? expected::kUnknownError : fault.description);
        const DWORD context = fault.helpFile.empty() ? 0 : fault.helpContext;
        throw CallFailed{DescribeBox(text, MB_OK, fault.helpFile, context)};
    }
    // An exception without exception information has no texts.
    if (fault.kind == Fault::Kind::fail && fault.status == DISP_E_EXCEPTION) {
        throw CallFailed{std::wstring(L"box ") + expected::kUnknownError};
    }
    if (fault.kind == Fault::Kind::hang) {
        ShowStalled();
        GiveUpServer();
        throw CallFailed{};
    }
    m_alive = fault.kind == Fault::Kind::fail;
    throw CallFailed{};
}

unsigned CRunModel::CallNumber(const Fault& fault) const
{
    return fault.across ? m_callsAcross : m_calls;
}

bool CRunModel::Hits(const Fault& fault, unsigned call)
{
    return call == fault.nth || (fault.lasting && call > fault.nth);
}

// Whether the run started the server.
bool CRunModel::IsOurs() const
{
    return m_life == ServerLife::perConnection || (m_life == ServerLife::reached && m_starts > 1);
}

void CRunModel::ShowStalled()
{
    const Text& question = IsOurs() ? expected::kEndCad : expected::kStopWaiting;
    m_outcome.shown.push_back(
        DescribeBox(question.Current(), MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2, {}, 0));
}

// The run ends a server that it started. On any other server it makes no more calls, and it does not connect
// again.
void CRunModel::GiveUpServer()
{
    m_alive = !IsOurs();
    m_givenUp = !IsOurs();
}

// A rejected call is not counted, so the next call is rejected as well. The program's message filter, if
// called, asks the user. The user waits for a server that is busy for some time, and gives up one that is
// busy forever. Wine does not call the filter: there, no question is asked, and the call fails at once.
bool CRunModel::IsRejected()
{
    if (m_givenUp) {
        return true;
    }
    for (const Fault& fault : m_script->faults) {
        if (!fault.IsRejection() || !Hits(fault, CallNumber(fault) + 1)) {
            continue;
        }
        if (!m_callsMessageFilter) {
            return true;
        }
        ShowStalled();
        if (fault.kind == Fault::Kind::rejectForever) {
            GiveUpServer();
        }
        return fault.kind == Fault::Kind::rejectForever;
    }
    return false;
}

// Counts the call. Returns the fault that hits it, or null.
const Fault* CRunModel::Count()
{
    ++m_calls;
    ++m_callsAcross;
    m_keyPending = m_keyPending || m_callsAcross == m_script->cancelAt;
    for (const Fault& fault : m_script->faults) {
        if (!fault.IsRejection() && Hits(fault, CallNumber(fault))) {
            return &fault;
        }
    }
    return nullptr;
}

std::string CRunModel::PathText(const ModelRow& row) const
{
    return ToUtf8(m_mapped + L"\\" + row.texts.strRenamed);
}
