#include "run/RunRecorder.h"

#include <iterator>
#include <utility>

namespace {

std::chrono::milliseconds Since(std::chrono::steady_clock::time_point began)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - began);
}

}  // namespace

void CRunRecorder::BeginRun(RunRecord run)
{
    m_run = std::move(run);
    m_runBegan = Clock::now();
}

void CRunRecorder::BeginRow(const UTtab_entry& entry, bool pending)
{
    m_row = {};
    m_row.entry = entry;
    m_row.pending = pending;
    m_configurations.clear();
    m_rowBegan = Clock::now();
}

void CRunRecorder::SetOutcome(RowOutcome outcome, std::wstring reason)
{
    m_row.outcome = outcome;
    m_row.reason = std::move(reason);
}

void CRunRecorder::EndRow(int givenUpCalls)
{
    KeepUnwrittenNames();
    m_row.duration = Since(m_rowBegan);
    m_row.givenUp = givenUpCalls != m_run.givenUpCalls;
    m_run.givenUpCalls = givenUpCalls;
    m_run.rows.push_back(m_row);
}

void CRunRecorder::NoteStep(CadStep step)
{
    Cad().step = step;
}

void CRunRecorder::NoteOpened(bool opened, long code)
{
    Cad().opened = opened;
    Cad().openCode = code;
}

void CRunRecorder::NoteConfigurations(long count, const std::vector<std::wstring>& names)
{
    Cad().configurations = count;
    m_configurations = names;
}

void CRunRecorder::NoteConfigurationWritten()
{
    ++Cad().written;
}

void CRunRecorder::NoteSaved(std::optional<long> result)
{
    Cad().saveResult = result;
}

void CRunRecorder::NoteFailure(std::wstring error)
{
    Cad().failed = true;
    m_row.reason = std::move(error);
}

void CRunRecorder::NoteReload(bool loaded)
{
    m_row.cadReloaded = loaded;
    m_row.cadLost = !loaded;
}

void CRunRecorder::AddNotReached(const UTtab_entry& entry, bool pending)
{
    RunRow row;
    row.entry = entry;
    row.pending = pending;
    m_run.rows.push_back(row);
}

RunRecord CRunRecorder::EndRun(RunEnd end)
{
    m_run.end = end;
    m_run.duration = Since(m_runBegan);
    return std::move(m_run);
}

CadRecord& CRunRecorder::Cad()
{
    std::optional<CadRecord>& cad = m_row.cad;
    return cad ? *cad : cad.emplace();
}

// Only the unwritten names are kept: a library has many thousands of configurations.
void CRunRecorder::KeepUnwrittenNames()
{
    const std::size_t written = m_row.cad ? static_cast<std::size_t>(m_row.cad->written) : 0;
    if (written < m_configurations.size()) {
        const auto first = m_configurations.begin() + static_cast<std::ptrdiff_t>(written);
        m_row.unwritten.assign(std::make_move_iterator(first),
                               std::make_move_iterator(m_configurations.end()));
    }
}
