#include "tests/support/ResourceUse.h"

#include <psapi.h>
#include <winternl.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

struct WindowCount
{
    DWORD process;
    DWORD windows = 0;
};

BOOL CALLBACK CountChild(HWND, LPARAM count)
{
    ++*reinterpret_cast<DWORD*>(count);
    return TRUE;
}

BOOL CALLBACK CountTopWindow(HWND window, LPARAM parameter)
{
    auto& count = *reinterpret_cast<WindowCount*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == count.process) {
        ++count.windows;
        EnumChildWindows(window, &CountChild, reinterpret_cast<LPARAM>(&count.windows));
    }
    return TRUE;
}

DWORD WindowsOf(HANDLE process)
{
    WindowCount count{GetProcessId(process)};
    EnumWindows(&CountTopWindow, reinterpret_cast<LPARAM>(&count));
    return count.windows;
}

// A function of ntdll.dll. Linking to that library would bring in its copies of C functions as well.
template <class Function>
Function NtFunction(const char* name)
{
    const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

// An entry of the GDI handle table, which is mapped into each process.
struct GdiEntry
{
    ULONGLONG object;
    ULONG owner;
    USHORT unique;
    UCHAR type;  // 0: unused
    UCHAR flags;
    ULONGLONG userPointer;
};

// Wine does not implement GetGuiResources, but has a GDI handle table per process. Returns 0 if it cannot be
// read.
DWORD CountGdiTable(HANDLE process)
{
    constexpr std::size_t kTableOffset = 0xF8;  // in the process environment block (PEB)
    constexpr std::size_t kEntries = 0x4000;
    static const auto query = NtFunction<decltype(&::NtQueryInformationProcess)>("NtQueryInformationProcess");
    PROCESS_BASIC_INFORMATION information{};
    const BYTE* table = nullptr;
    std::vector<GdiEntry> entries(kEntries);
    if (query(process, ProcessBasicInformation, &information, sizeof information, nullptr) != 0 ||
        !ReadProcessMemory(process, reinterpret_cast<const BYTE*>(information.PebBaseAddress) + kTableOffset,
                           &table, sizeof table, nullptr) ||
        !ReadProcessMemory(process, table, entries.data(), kEntries * sizeof(GdiEntry), nullptr)) {
        return 0;
    }
    return static_cast<DWORD>(
        std::ranges::count_if(entries, [](const GdiEntry& entry) { return entry.type != 0; }));
}

// The committed private memory, whether it is in the working set or not.
std::size_t PrivateBytesOf(HANDLE process)
{
    std::size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const BYTE* address = nullptr; VirtualQueryEx(process, address, &region, sizeof region) != 0;
         address = static_cast<const BYTE*>(region.BaseAddress) + region.RegionSize) {
        bytes += region.State == MEM_COMMIT && region.Type == MEM_PRIVATE ? region.RegionSize : 0;
    }
    return bytes;
}

// Wine does not implement GetProcessHandleCount, but returns a table of the handles of all processes.
DWORD CountInHandleTable(DWORD process)
{
    constexpr auto kHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    constexpr NTSTATUS kInfoLengthMismatch = static_cast<NTSTATUS>(0xC0000004);
    struct Entry
    {
        ULONG process;
        BYTE type;
        BYTE flags;
        USHORT handle;
        void* object;
        ULONG access;
    };
    static const auto query = NtFunction<decltype(&::NtQuerySystemInformation)>("NtQuerySystemInformation");
    std::vector<BYTE> table(1U << 16);
    while (query(kHandleInformation, table.data(), static_cast<ULONG>(table.size()), nullptr) ==
           kInfoLengthMismatch) {
        table.resize(table.size() * 2);
    }
    ULONG count = 0;
    std::memcpy(&count, table.data(), sizeof count);
    DWORD found = 0;
    for (ULONG index = 0; index < count; ++index) {
        Entry entry{};
        std::memcpy(&entry, table.data() + sizeof(void*) + index * sizeof entry, sizeof entry);
        found += entry.process == process ? 1 : 0;
    }
    return found;
}

}  // namespace

ResourceUse UseOf(HANDLE process)
{
    ResourceUse use;
    use.privateBytes = PrivateBytesOf(process);
    PROCESS_MEMORY_COUNTERS memory{};
    if (GetProcessMemoryInfo(process, &memory, sizeof memory)) {
        use.workingSet = memory.WorkingSetSize;
    }
    GetProcessHandleCount(process, &use.handles);
    if (use.handles == 0) {
        use.handles = CountInHandleTable(GetProcessId(process));
    }
    use.gdiObjects = GetGuiResources(process, GR_GDIOBJECTS);
    use.userObjects = GetGuiResources(process, GR_USEROBJECTS);
    if (use.gdiObjects == 0) {
        use.gdiObjects = CountGdiTable(process);
    }
    use.windows = WindowsOf(process);
    return use;
}
