#include "tests/support/ImportTable.h"

#include <windows.h>

#include <cstring>

namespace {

template <class Structure>
Structure* At(DWORD offset)
{
    return reinterpret_cast<Structure*>(reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr)) + offset);
}

void Replace(void** entry, void* function, void** original)
{
    if (*entry == function) {
        return;
    }
    DWORD protection = 0;
    VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &protection);
    *original = *entry;
    *entry = function;
    VirtualProtect(entry, sizeof *entry, protection, &protection);
}

// Returns false for imports by ordinal.
bool IsNamed(const IMAGE_THUNK_DATA& imported, const char* name)
{
    if (IMAGE_SNAP_BY_ORDINAL(imported.u1.Ordinal)) {
        return false;
    }
    const auto* const byName = At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(imported.u1.AddressOfData));
    return std::strcmp(reinterpret_cast<const char*>(byName->Name), name) == 0;
}

}  // namespace

// The runtime library has several names, so a function may be imported more than once.
bool RedirectImport(const char* name, void* function, void** original)
{
    const auto* const headers = At<IMAGE_NT_HEADERS>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    bool found = false;
    const DWORD table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (const auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(table); library->Name != 0; ++library) {
        const auto* imported = At<IMAGE_THUNK_DATA>(library->OriginalFirstThunk);
        auto* entry = At<void*>(library->FirstThunk);
        for (; imported->u1.AddressOfData != 0; ++imported, ++entry) {
            if (IsNamed(*imported, name)) {
                Replace(entry, function, original);
                found = true;
            }
        }
    }
    return found;
}
