#include "run/RunRows.h"

#include <utility>

namespace {

using Bytes = std::deque<std::uint8_t>;

constexpr unsigned kValueBits = 7;  // of a byte; the eighth bit says that more bytes follow
constexpr std::uint64_t kMoreFollows = 1U << kValueBits;

// Appends values to a row. Small numbers and ASCII letters take one byte.
class CPacker
{
public:
    explicit CPacker(Bytes& bytes) : m_bytes(bytes) {}

    void Add(std::uint64_t value)
    {
        for (; value >= kMoreFollows; value >>= kValueBits) {
            m_bytes.push_back(static_cast<std::uint8_t>(value | kMoreFollows));
        }
        m_bytes.push_back(static_cast<std::uint8_t>(value));
    }
    // The sign goes into the lowest bit.
    void AddSigned(std::int64_t value)
    {
        const auto doubled = static_cast<std::uint64_t>(value) << 1U;
        Add(value < 0 ? ~doubled : doubled);
    }
    void AddText(const std::wstring& text)
    {
        Add(text.size());
        for (const wchar_t character : text) {
            Add(static_cast<std::uint32_t>(character));
        }
    }

private:
    Bytes& m_bytes;
};

// Takes the values out of a row, in the order in which they were added.
class CUnpacker
{
public:
    CUnpacker(const Bytes& bytes, std::size_t at) : m_next(bytes.begin() + static_cast<std::ptrdiff_t>(at)) {}

    std::uint64_t Take()
    {
        std::uint64_t value = 0;
        for (unsigned shift = 0;; shift += kValueBits) {
            const std::uint64_t byte = *m_next++;
            value |= (byte & (kMoreFollows - 1)) << shift;
            if ((byte & kMoreFollows) == 0) {
                return value;
            }
        }
    }
    bool TakeFlag() { return Take() != 0; }
    std::int64_t TakeSigned()
    {
        const std::uint64_t value = Take();
        return static_cast<std::int64_t>((value & 1U) != 0 ? ~(value >> 1U) : value >> 1U);
    }
    std::wstring TakeText()
    {
        std::wstring text(static_cast<std::size_t>(Take()), L'\0');
        for (wchar_t& character : text) {
            character = static_cast<wchar_t>(Take());
        }
        return text;
    }

private:
    Bytes::const_iterator m_next;
};

void Pack(CPacker& packer, const CadRecord& cad)
{
    packer.Add(static_cast<std::uint64_t>(cad.step));
    packer.Add(cad.opened);
    packer.AddSigned(cad.openCode);
    packer.AddSigned(cad.configurations);
    packer.AddSigned(cad.written);
    packer.Add(cad.saveResult.has_value());
    packer.AddSigned(cad.saveResult.value_or(0));
    packer.Add(cad.failed);
}

CadRecord UnpackCad(CUnpacker& unpacker)
{
    CadRecord cad;
    cad.step = static_cast<CadStep>(unpacker.Take());
    cad.opened = unpacker.TakeFlag();
    cad.openCode = static_cast<long>(unpacker.TakeSigned());
    cad.configurations = static_cast<long>(unpacker.TakeSigned());
    cad.written = static_cast<int>(unpacker.TakeSigned());
    const bool hasResult = unpacker.TakeFlag();
    const auto result = static_cast<long>(unpacker.TakeSigned());
    cad.saveResult = hasResult ? std::optional(result) : std::nullopt;
    cad.failed = unpacker.TakeFlag();
    return cad;
}

}  // namespace

void CRunRows::push_back(const RunRow& row)
{
    m_begins.push_back(m_bytes.size());
    CPacker packer(m_bytes);
    for (const std::wstring* text :
         {&row.entry.strOriginal, &row.entry.strRenamed, &row.entry.strBomName, &row.reason}) {
        packer.AddText(*text);
    }
    packer.Add(row.pending);
    packer.Add(static_cast<std::uint64_t>(row.outcome));
    packer.Add(row.cadReloaded);
    packer.Add(row.cadLost);
    packer.Add(row.givenUp);
    packer.AddSigned(row.duration.count());
    packer.Add(row.unwritten.size());
    for (const std::wstring& name : row.unwritten) {
        packer.AddText(name);
    }
    packer.Add(row.cad.has_value());
    if (row.cad) {
        Pack(packer, *row.cad);
    }
}

RunRow CRunRows::at(std::size_t row) const
{
    CUnpacker unpacker(m_bytes, m_begins.at(row));
    RunRow unpacked;
    for (std::wstring* text : {&unpacked.entry.strOriginal, &unpacked.entry.strRenamed,
                               &unpacked.entry.strBomName, &unpacked.reason}) {
        *text = unpacker.TakeText();
    }
    unpacked.pending = unpacker.TakeFlag();
    unpacked.outcome = static_cast<RowOutcome>(unpacker.Take());
    unpacked.cadReloaded = unpacker.TakeFlag();
    unpacked.cadLost = unpacker.TakeFlag();
    unpacked.givenUp = unpacker.TakeFlag();
    unpacked.duration = std::chrono::milliseconds(unpacker.TakeSigned());
    unpacked.unwritten.resize(static_cast<std::size_t>(unpacker.Take()));
    for (std::wstring& name : unpacked.unwritten) {
        name = unpacker.TakeText();
    }
    if (unpacker.TakeFlag()) {
        unpacked.cad = UnpackCad(unpacker);
    }
    return unpacked;
}
