#pragma once

// Redirects an imported function of this executable to another function, by changing the import table. Calls
// within system libraries are not affected. Sets *original to the imported function before the first
// redirected call. Leaves a function alone that is redirected already. Returns false if the executable does
// not import the function, for example because it contains the runtime library.
bool RedirectImport(const char* name, void* function, void** original);

template <class Function>
bool RedirectImport(const char* name, Function* function, Function** original)
{
    return RedirectImport(name, reinterpret_cast<void*>(function), reinterpret_cast<void**>(original));
}
