#pragma once

// Redirects an imported function of this executable to another function, by changing its import table. Does
// not affect calls within system libraries. Sets *original to the imported function before the first
// redirected call; a function that is redirected already is left alone. Returns false when the executable
// imports no such function, as those of a runtime library that is part of it.
bool RedirectImport(const char* name, void* function, void** original);

template <class Function>
bool RedirectImport(const char* name, Function* function, Function** original)
{
    return RedirectImport(name, reinterpret_cast<void*>(function), reinterpret_cast<void**>(original));
}
