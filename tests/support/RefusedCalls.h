#pragma once

#include <string>
#include <vector>

// Calls to the system that fail as if it had run out of memory or handles. Calls within system libraries are
// not affected.

enum class CallKind
{
    memory,  // malloc, on which the C++ allocation functions are built; automation strings, heap blocks,
             // global memory
    handles  // windows, device contexts, menus, images, cursors, files, searches, registry keys, mutexes,
             // heaps, processes and their snapshots, jobs
};

// Until the end of the scope, counts this thread's calls of one kind and makes one of them fail. Only one
// object may exist at a time.
class CRefusedCall
{
public:
    // `refused`: the call that fails, counted from 1; 0 for none.
    CRefusedCall(CallKind kind, int refused);
    ~CRefusedCall();
    CRefusedCall(const CRefusedCall&) = delete;
    CRefusedCall& operator=(const CRefusedCall&) = delete;

    // The number of calls so far.
    [[nodiscard]] static int Count();
    // The functions that were called so far.
    [[nodiscard]] static std::vector<std::string> Called();

    // All functions of this kind.
    [[nodiscard]] static std::vector<std::string> Functions(CallKind kind);
    // Those that the executable does not import, so that their calls are not seen. It does not import malloc
    // if it contains the runtime library.
    [[nodiscard]] static std::vector<std::string> NotImported(CallKind kind);
};

// The calls in this scope are neither counted nor made to fail. For test code that the program calls.
class CUncountedCalls
{
public:
    CUncountedCalls() { ++s_scopes; }
    ~CUncountedCalls() { --s_scopes; }
    CUncountedCalls(const CUncountedCalls&) = delete;
    CUncountedCalls& operator=(const CUncountedCalls&) = delete;

    [[nodiscard]] static bool AreActive() { return s_scopes > 0; }

private:
    static inline int s_scopes = 0;
};
