#include "tests/support/PartReader.h"

#include <windows.h>

#include <objbase.h>

#include <comdef.h>
#include <comip.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "tests/support/TextFile.h"

namespace {

using StoragePointer = _com_ptr_t<_com_IIID<IStorage, &IID_IStorage>>;
using StreamPointer = _com_ptr_t<_com_IIID<IStream, &IID_IStream>>;
using NamesPointer = _com_ptr_t<_com_IIID<IEnumSTATSTG, &IID_IEnumSTATSTG>>;

void Require(HRESULT result, const char* what)
{
    if (result != S_OK) {
        throw std::runtime_error(std::string("part file: cannot ") + what);
    }
}

std::string ReadStream(IStorage& storage, const std::wstring& name, std::size_t size)
{
    StreamPointer stream;
    Require(storage.OpenStream(name.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &stream), "open");
    std::string bytes(size, '\0');
    ULONG read = 0;
    Require(stream->Read(bytes.data(), static_cast<ULONG>(size), &read), "read");
    bytes.resize(read);
    return bytes;
}

std::map<std::wstring, std::string> ReadStreams(const std::wstring& path)
{
    StoragePointer storage;
    Require(StgOpenStorage(path.c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, &storage),
            ("open " + ToUtf8(path)).c_str());
    NamesPointer names;
    Require(storage->EnumElements(0, nullptr, 0, &names), "list the streams");
    std::map<std::wstring, std::string> streams;
    STATSTG element{};
    while (names->Next(1, &element, nullptr) == S_OK) {
        const std::wstring name = element.pwcsName;
        CoTaskMemFree(element.pwcsName);
        streams[name] = ReadStream(*storage, name, static_cast<std::size_t>(element.cbSize.QuadPart));
    }
    return streams;
}

std::uint32_t NumberAt(const std::string& bytes, std::size_t at)
{
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.substr(at).append(4, '\0').data(), sizeof number);
    return number;
}

std::wstring TextAt(const std::string& bytes, std::size_t at, std::uint32_t length)
{
    if (at + length * sizeof(wchar_t) > bytes.size()) {
        throw std::runtime_error("part file: a configuration is cut off");
    }
    std::wstring text(length, L'\0');
    std::memcpy(text.data(), bytes.data() + at, length * sizeof(wchar_t));
    return text;
}

// A configuration's stream: flag, length and text of the name, length and text of the alternative name.
BomEntry ParseConfiguration(const std::string& bytes)
{
    BomEntry entry;
    entry.useAlternative = NumberAt(bytes, 0) != 0;
    const std::uint32_t nameLength = NumberAt(bytes, 4);
    entry.configuration = TextAt(bytes, 8, nameLength);
    const std::size_t second = 8 + nameLength * sizeof(wchar_t);
    entry.alternative = TextAt(bytes, second + 4, NumberAt(bytes, second));
    return entry;
}

}  // namespace

PartContents ReadPart(const std::wstring& path)
{
    PartContents contents;
    for (auto& [name, bytes] : ReadStreams(path)) {
        if (name.starts_with(L"Configuration")) {
            contents.bomEntries.push_back(ParseConfiguration(bytes));  // the map is sorted by their numbers
        } else {
            contents.otherStreams[name] = std::move(bytes);
        }
    }
    return contents;
}
