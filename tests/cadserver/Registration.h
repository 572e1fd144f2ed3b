#pragma once

#include <windows.h>

#include <optional>
#include <vector>

inline constexpr int kFirstVersion = 20;
inline constexpr int kLastVersion = 45;

// The class identifier of a major version.
CLSID ClassOf(int version);

// Registers this executable as the automation server of the versions, and the current version (if any) under
// the version-independent ProgID. Removes earlier registrations first. Throws std::runtime_error if a ProgID
// belongs to another program (nothing is changed then) or the registry cannot be written.
void RegisterVersions(const std::vector<int>& versions, std::optional<int> current);

// Removes every registration that RegisterVersions made, and nothing else.
void UnregisterVersions();
