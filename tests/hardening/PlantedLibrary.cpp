#include <windows.h>

// Stands in for a malicious library in a folder from which the program must not load libraries. When its code
// runs, the library creates the file that the environment variable TALVENOR_TEST_PLANTED names.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)
{
    wchar_t path[MAX_PATH] = {};
    if (reason == DLL_PROCESS_ATTACH &&
        GetEnvironmentVariableW(L"TALVENOR_TEST_PLANTED", path, MAX_PATH) != 0) {
        const HANDLE file =
            CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) {
            CloseHandle(file);
        }
    }
    return TRUE;
}
