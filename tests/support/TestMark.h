#pragma once

// The name of a registry value that marks a key as made by a test.
inline constexpr wchar_t kTestMark[] = L"TalvenorTest";
