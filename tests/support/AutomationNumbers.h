#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

// The numbers of the CAD system's automation calls, written down independently of the program. The logs of
// the stand-in CAD server and of CFakeDispatch show the names, and script clients of the server use them.
namespace automation {

struct Member
{
    std::wstring_view owner;
    long number;
    const wchar_t* name;

    constexpr operator long() const { return number; }
};

inline constexpr Member kExit{L"application", 6, L"Exit"};
inline constexpr Member kCloseDocument{L"application", 7, L"CloseDocument"};
inline constexpr Member kGetDateCode{L"application", 11, L"GetDateCode"};
inline constexpr Member kSetDocumentVisibility{L"application", 24, L"SetDocumentVisibility"};
inline constexpr Member kOpenDocument{L"application", 99, L"OpenDocument"};

inline constexpr Member kCallMethod17{L"document", 17, L"CallMethod17"};
inline constexpr Member kGetConfigurationCount{L"document", 65971, L"GetConfigurationCount"};
inline constexpr Member kGetConfigurationNames{L"document", 65972, L"GetConfigurationNames"};
inline constexpr Member kSave{L"document", 66019, L"Save"};
inline constexpr Member kGetConfiguration{L"document", 66048, L"GetConfiguration"};

inline constexpr Member kAlternativeBomName{L"configuration", 5, L"AlternativeBomName"};
inline constexpr Member kUseAlternativeBomName{L"configuration", 6, L"UseAlternativeBomName"};

// Returns the names of the open documents. Only the stand-in server has this call, for tests.
inline constexpr Member kOpenDocumentNames{L"application", 1001, L"OpenDocumentNames"};

// The members that the CAD system has.
inline constexpr std::array kMembers{
    kExit,         kCloseDocument,    kGetDateCode,           kSetDocumentVisibility,
    kOpenDocument, kCallMethod17,     kGetConfigurationCount, kGetConfigurationNames,
    kSave,         kGetConfiguration, kAlternativeBomName,    kUseAlternativeBomName};

// Returns the name of a member of an object such as "document a.sldprt", or the number if the object has no
// such member.
inline std::wstring NameOf(std::wstring_view object, long number)
{
    const auto found = std::ranges::find_if(kMembers, [&](const Member& member) {
        return member.number == number && object.starts_with(member.owner);
    });
    return found == kMembers.end() ? std::to_wstring(number) : found->name;
}

inline bool IsMember(std::wstring_view name)
{
    return std::ranges::any_of(kMembers, [name](const Member& member) { return name == member.name; });
}

}  // namespace automation
