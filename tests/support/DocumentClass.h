#pragma once

#include <string>
#include <vector>

// The registration of a program for all documents with an extension, such as ".pdf" or ".html".

// Has the command open these documents, until RestoreDocumentClasses. The earlier registration is noted in
// the registry first. Throws std::runtime_error on failure; the documents keep their earlier program then.
void RegisterDocumentClass(const std::wstring& extension, const std::wstring& command);

// Gives the extensions back to their earlier programs, unless somebody has chosen another one since. Returns
// what could not be undone, one line each.
std::vector<std::string> RestoreDocumentClasses();
