#pragma once

// Redirects an imported function of this executable to another function, by changing its import table. Does
// not affect calls within system libraries. Sets *original to the imported function before the first
// redirected call.
void RedirectImport(const char* name, void* function, void** original);

template <class Function>
void RedirectImport(const char* name, Function* function, Function** original)
{
    RedirectImport(name, reinterpret_cast<void*>(function), reinterpret_cast<void**>(original));
}
