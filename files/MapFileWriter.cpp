#include "files/MapFileWriter.h"

#include <exception>

#include "files/FileMisc.h"
#include "files/MapCodePage.h"
#include "files/MapLine.h"

CMapFileWriter::~CMapFileWriter()
{
    try {
        RemoveLastPartialRecord();
    } catch (const std::exception&) {
        // Out of memory: the partial record stays.
    }
}

bool CMapFileWriter::Open(const std::wstring& path)
{
    m_codePage = MapCodePage();
    if (CFileMisc::OpenOutputFile(m_stream, CFileMisc::PathToBytes(path, m_codePage), true) != 0) {
        return false;
    }
    m_path = path;
    // Opened now: the path may be gone when the run ends, although no record is lost.
    static_cast<void>(m_flushed.Open(path, CFile::modeWrite | CFile::shareDenyNone, nullptr));
    return true;
}

bool CMapFileWriter::AppendHeader()
{
    return AppendText(FormatMapHeader(CFileMisc::PathToBytes(m_path, m_codePage).bytes));
}

bool CMapFileWriter::Append(const UTtab_entry& record)
{
    return AppendText(FormatMapRecord(record, MapByteRuleOf(m_codePage)) + '\n');
}

bool CMapFileWriter::AppendText(const std::string& text)
{
    if (m_hasPartialRecord && !RemovePartialRecord()) {
        return false;
    }
    m_stream << text << std::flush;
    if (m_stream.good()) {
        m_size = static_cast<std::uintmax_t>(std::streamoff(m_stream.tellp()));
        return true;
    }
    static_cast<void>(RemovePartialRecord());
    return false;
}

// Truncates the file to its last whole record. False while the system refuses, as it does while another
// program has the file mapped into memory, and for good once the file is shorter than what was written.
bool CMapFileWriter::RemovePartialRecord()
{
    m_hasPartialRecord = true;
    // A failed stream would write what is left in its buffer at the next chance, so it is opened again, but
    // not created: the file may have been deleted meanwhile.
    m_stream.close();
    const bool truncated = CFile::Truncate(m_path, m_size);
    m_stream.clear();
    m_stream.open(m_path.c_str(), std::ios::in | std::ios::ate);
    m_hasPartialRecord = !truncated || !m_stream.is_open();
    return !m_hasPartialRecord;
}

// The last attempt before the file is closed.
void CMapFileWriter::RemoveLastPartialRecord()
{
    if (m_hasPartialRecord) {
        static_cast<void>(RemovePartialRecord());
        m_hasPartialRecord = false;
    }
}

// On network drives write errors may surface only on flush; closing does not report them.
bool CMapFileWriter::Close()
{
    if (m_path.empty()) {
        return true;
    }
    RemoveLastPartialRecord();
    const bool flushed = m_flushed.Flush();
    m_flushed = CFile();
    m_stream.close();
    m_path.clear();
    return flushed && !m_stream.fail();
}
