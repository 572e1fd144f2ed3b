#include "tests/cadserver/PartFile.h"

#include <objbase.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "tests/cadserver/ComPointers.h"
#include "tests/support/TextFile.h"

namespace {

constexpr double kMinBodySize = 20'500;  // bytes
constexpr double kMaxFactor = 19;        // size of the largest body divided by that of the smallest
constexpr double kSkew = 2.1;            // skews the distribution: half of the bodies are below 41 KB

std::wstring StreamName(size_t index)
{
    wchar_t name[32];
    swprintf(name, 32, L"Configuration%04zu", index);
    return name;
}

void AppendNumber(std::string& bytes, uint32_t number)
{
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void AppendText(std::string& bytes, const std::wstring& text)
{
    AppendNumber(bytes, static_cast<uint32_t>(text.size()));
    bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

std::string Pack(const PartConfiguration& configuration)
{
    std::string bytes;
    AppendNumber(bytes, configuration.useAlternative ? 1 : 0);
    AppendText(bytes, configuration.name);
    AppendText(bytes, configuration.alternative);
    return bytes;
}

bool TakeNumber(std::string_view& bytes, uint32_t& number)
{
    if (bytes.size() < sizeof number) {
        return false;
    }
    std::memcpy(&number, bytes.data(), sizeof number);
    bytes.remove_prefix(sizeof number);
    return true;
}

bool TakeText(std::string_view& bytes, std::wstring& text)
{
    uint32_t length = 0;
    if (!TakeNumber(bytes, length) || bytes.size() / sizeof(wchar_t) < length) {
        return false;
    }
    text.resize(length);
    std::memcpy(text.data(), bytes.data(), length * sizeof(wchar_t));
    bytes.remove_prefix(length * sizeof(wchar_t));
    return true;
}

HRESULT Unpack(std::string_view bytes, PartConfiguration& configuration)
{
    uint32_t use = 0;
    const bool complete = TakeNumber(bytes, use) && TakeText(bytes, configuration.name) &&
                          TakeText(bytes, configuration.alternative) && bytes.empty();
    configuration.useAlternative = use != 0;
    return complete ? S_OK : STG_E_DOCFILECORRUPT;
}

HRESULT ReadStream(IStorage& storage, const std::wstring& name, std::string& bytes)
{
    IStreamPtr stream;
    HRESULT result = storage.OpenStream(name.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &stream);
    STATSTG status{};
    if (SUCCEEDED(result)) {
        result = stream->Stat(&status, STATFLAG_NONAME);
    }
    if (FAILED(result)) {
        return result;
    }
    bytes.resize(static_cast<size_t>(status.cbSize.QuadPart));
    ULONG read = 0;
    result = stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read);
    return SUCCEEDED(result) && read != bytes.size() ? STG_E_READFAULT : result;
}

HRESULT WriteAll(IStream& stream, std::string_view bytes)
{
    ULONG written = 0;
    const HRESULT result = stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written);
    return SUCCEEDED(result) && written != bytes.size() ? STG_E_WRITEFAULT : result;
}

HRESULT AddStream(IStorage& storage, const std::wstring& name, std::string_view bytes)
{
    IStreamPtr stream;
    const HRESULT result =
        storage.CreateStream(name.c_str(), STGM_CREATE | STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0, &stream);
    return FAILED(result) ? result : WriteAll(*stream, bytes);
}

HRESULT ReplaceStream(IStorage& storage, const std::wstring& name, std::string_view bytes)
{
    IStreamPtr stream;
    HRESULT result =
        storage.OpenStream(name.c_str(), nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &stream);
    ULARGE_INTEGER size{};
    size.QuadPart = bytes.size();
    if (SUCCEEDED(result)) {
        result = stream->SetSize(size);
    }
    return FAILED(result) ? result : WriteAll(*stream, bytes);
}

// The seed depends only on the file name, regardless of case and folder.
uint64_t SeedOf(const std::wstring& path)
{
    uint64_t seed = 0xcbf29ce484222325;
    for (const wchar_t character : LowerCase(FileNameOf(path))) {
        seed = (seed ^ character) * 0x100000001b3;
    }
    return seed;
}

uint64_t NextRandom(uint64_t& state)
{
    state += 0x9e3779b97f4a7c15;
    uint64_t value = state;
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
    value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
    return value ^ (value >> 31);
}

std::string MakeBody(const std::wstring& path)
{
    uint64_t state = SeedOf(path);
    const double uniform =
        static_cast<double>(NextRandom(state) >> 11) / 9007199254740992.0;  // 0 <= uniform < 1
    const auto size = static_cast<size_t>(kMinBodySize * std::pow(kMaxFactor, std::pow(uniform, kSkew)));
    std::string body(size, '\0');
    for (size_t at = 0; at < size; at += sizeof state) {
        const uint64_t value = NextRandom(state);
        std::memcpy(body.data() + at, &value, std::min(sizeof value, size - at));
    }
    return body;
}

HRESULT FillPart(IStorage& storage, const std::string& body, const std::vector<std::wstring>& names)
{
    HRESULT result = AddStream(storage, L"Body", body);
    for (size_t index = 0; SUCCEEDED(result) && index < names.size(); ++index) {
        result = AddStream(storage, StreamName(index), Pack({names[index], false, L""}));
    }
    return SUCCEEDED(result) ? storage.Commit(STGC_DEFAULT) : result;
}

HRESULT WriteFileFrom(ILockBytes& bytes, const std::wstring& path)
{
    HGLOBAL memory = nullptr;
    STATSTG status{};
    HRESULT result = GetHGlobalFromILockBytes(&bytes, &memory);
    if (SUCCEEDED(result)) {
        result = bytes.Stat(&status, STATFLAG_NONAME);
    }
    if (FAILED(result)) {
        return result;
    }
    FILE* file = _wfopen(path.c_str(), L"wb");
    if (file == nullptr) {
        return STG_E_ACCESSDENIED;
    }
    const auto size = static_cast<size_t>(status.cbSize.QuadPart);
    const bool written = fwrite(GlobalLock(memory), 1, size, file) == size;
    GlobalUnlock(memory);
    return fclose(file) == 0 && written ? S_OK : STG_E_WRITEFAULT;
}

}  // namespace

HRESULT ReadConfigurations(const std::wstring& path, std::vector<PartConfiguration>& configurations)
{
    configurations.clear();
    IStoragePtr storage;
    HRESULT result =
        StgOpenStorage(path.c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, &storage);
    for (size_t index = 0; SUCCEEDED(result); ++index) {
        std::string bytes;
        result = ReadStream(*storage, StreamName(index), bytes);
        if (result == STG_E_FILENOTFOUND) {
            return S_OK;
        }
        if (SUCCEEDED(result)) {
            result = Unpack(bytes, configurations.emplace_back());
        }
    }
    return result;
}

HRESULT SaveConfigurations(const std::wstring& path, const std::vector<PartConfiguration>& configurations)
{
    IStoragePtr storage;
    HRESULT result =
        StgOpenStorage(path.c_str(), nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr, 0, &storage);
    for (size_t index = 0; SUCCEEDED(result) && index < configurations.size(); ++index) {
        result = ReplaceStream(*storage, StreamName(index), Pack(configurations[index]));
    }
    return SUCCEEDED(result) ? storage->Commit(STGC_DEFAULT) : result;
}

HRESULT CreatePartFile(const std::wstring& path, const std::vector<std::wstring>& configurationNames)
{
    // The file is built in memory and written in one piece. A storage on disk would write block by block.
    ILockBytesPtr memory;
    IStoragePtr storage;
    HRESULT result = CreateILockBytesOnHGlobal(nullptr, TRUE, &memory);
    if (SUCCEEDED(result)) {
        result = StgCreateDocfileOnILockBytes(memory, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                                              &storage);
    }
    if (SUCCEEDED(result)) {
        result = FillPart(*storage, MakeBody(path), configurationNames);
    }
    storage = nullptr;
    return SUCCEEDED(result) ? WriteFileFrom(*memory, path) : result;
}
