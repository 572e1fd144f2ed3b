#pragma once

// Puts a function of the test's own in the place of one of the system's, in the running program's import
// table, wherever the program imports it under that name. The program's own code stays as it is, and so do
// the calls that the system's libraries make among themselves. `original` becomes the system's function, and
// is that before the first call can come.
void RedirectImport(const char* name, void* function, void** original);

template <class Function>
void RedirectImport(const char* name, Function* function, Function** original)
{
    RedirectImport(name, reinterpret_cast<void*>(function), reinterpret_cast<void**>(original));
}
