#pragma once

#include <windows.h>

#include <optional>
#include <set>
#include <string>

// The name of a registry value that marks a key as made by a test. The value also lists what tests have
// written below the key, so that no test deletes what another program has put there: an installer does not
// know that the key is a test's.
inline constexpr wchar_t kTestMark[] = L"TalvenorTest";

// The keys and values below a key, each as one line of text.
using KeyContents = std::set<std::wstring>;

// The contents of a key, without its mark. None if the key is null or not all of it can be read.
std::optional<KeyContents> ContentsOf(HKEY key);

// The line for a key in KeyContents. `path`: relative to the key whose contents they are.
std::wstring KeyLine(const std::wstring& path);

// Marks a key. An earlier mark keeps its list. Returns false on failure.
bool MarkKey(HKEY key);
bool IsMarked(HKEY key);

// Adds a value, and the keys that lead to it, to the list of a marked key. Call this before writing the
// value: a test may be killed in between. `path` is the value's key, relative to the marked one. Does nothing
// for a key without a mark. Returns false on failure.
bool NoteTestValue(HKEY key, const std::wstring& path, const std::wstring& name, DWORD type, const void* data,
                   DWORD size);

// What the key holds, without what a test has noted and without what is in `known`. Everything if the key
// has no mark; nullopt if the key cannot be read.
std::optional<KeyContents> ForeignContents(HKEY key, const KeyContents& known = {});

// Deletes a key and everything below it. Returns true also if there was no such key.
bool DeleteKey(HKEY hive, const std::wstring& path, REGSAM view = 0);
