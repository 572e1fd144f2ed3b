#pragma once

#include <windows.h>

#include <optional>
#include <vector>

inline constexpr int kFirstVersion = 20;
inline constexpr int kLastVersion = 45;

// The class identifier of one major version.
CLSID ClassOf(int version);

// Registers this executable as the automation server of the versions, and the current one (if any) under the
// version-independent ProgID. Registrations that an earlier call made are removed first. Throws
// std::runtime_error, with nothing changed, when one of the ProgIDs belongs to another program, and when the
// registry cannot be written.
void RegisterVersions(const std::vector<int>& versions, std::optional<int> current);

// Removes every registration that RegisterVersions made, and nothing else.
void UnregisterVersions();
