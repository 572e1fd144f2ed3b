#include <windows.h>

// A library that someone put where the program may look for one. When it runs, it leaves a file at the path
// that the environment variable TALVENOR_TEST_PLANTED names.
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
