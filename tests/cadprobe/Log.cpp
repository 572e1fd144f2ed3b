#include "tests/cadprobe/Log.h"

void LogCall(const std::string& name, HRESULT status, ULONGLONG began, const std::string& seen)
{
    std::printf("call\t%s\t0x%08lx\t%llu ms\t%s\n", name.c_str(), static_cast<unsigned long>(status),
                GetTickCount64() - began, seen.c_str());
}

void LogFinding(const std::string& id, const char* found, const std::string& detail)
{
    std::printf("finding\t%s\t%s\t%s\n", id.c_str(), found, detail.c_str());
}

void LogFailure(const std::string& what)
{
    std::printf("failure\t%s\n", what.c_str());
}
