#include <windows.h>

#include <bcrypt.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/selfcheck/Looks.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/TextFile.h"

namespace {

std::string DigestOf(const std::wstring& path)
{
    std::string bytes = BytesOf(path);
    std::array<UCHAR, 32> digest{};
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0);
    BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0);
    BCryptHashData(hash, reinterpret_cast<UCHAR*>(bytes.data()), static_cast<ULONG>(bytes.size()), 0);
    BCryptFinishHash(hash, digest.data(), static_cast<ULONG>(digest.size()), 0);
    BCryptDestroyHash(hash);
    BCryptCloseAlgorithmProvider(algorithm, 0);
    std::string text;
    for (const UCHAR byte : digest) {
        constexpr const char* kDigits = "0123456789abcdef";
        text += {kDigits[byte / 16], kDigits[byte % 16]};
    }
    return text;
}

template <class Number>
Number NumberAt(const std::string& bytes, std::size_t at)
{
    Number number{};
    if (at + sizeof number <= bytes.size()) {
        std::memcpy(&number, bytes.data() + at, sizeof number);
    }
    return number;
}

}  // namespace

Finding LookAtChecksums()
{
    const std::wstring list = OwnFolder() + L"\\SHA256SUMS";
    if (!std::filesystem::exists(std::filesystem::path(list))) {
        return NotTried("there is no SHA256SUMS here");
    }
    int count = 0;
    for (const std::wstring& line : ReadLines(list)) {
        const std::wstring digest = line.substr(0, 64);
        const std::wstring name = line.size() > 66 ? line.substr(66) : L"";
        if (FromUtf8(DigestOf(OwnFolder() + L"\\" + name)) != digest) {
            return No(ToUtf8(name) + " differs from the file that was built");
        }
        ++count;
    }
    return YesIf(count != 0, std::to_string(count) + " files compared");
}

Finding LookAtMitigations()
{
    constexpr std::size_t kFlagsInHeader = 24 + 70;  // from the signature "PE"
    constexpr WORD kWanted = IMAGE_DLLCHARACTERISTICS_NX_COMPAT | IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE |
                             IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA;
    for (const wchar_t* const name : {L"talvenor_german.exe", L"talvenor_english.exe"}) {
        const std::string bytes = BytesOf(OwnFolder() + L"\\" + name);
        const auto header = NumberAt<std::uint32_t>(bytes, 0x3C);
        const auto flags = NumberAt<std::uint16_t>(bytes, header + kFlagsInHeader);
        if ((flags & kWanted) != kWanted) {
            return No(ToUtf8(name) + ": the header has only the flags " + std::to_string(flags));
        }
    }
    return Yes("both editions");
}
