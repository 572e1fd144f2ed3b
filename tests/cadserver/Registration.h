#pragma once

#include <windows.h>

#include <optional>
#include <vector>

#include "tests/cadserver/ClassFamily.h"

// Registers this executable as the automation server of the versions, and the current version (if any) under
// the version-independent ProgID. Removes earlier registrations first. Throws std::runtime_error if the
// registry cannot be written, and, before it changes anything, if any ProgID of the CAD system belongs to
// another program.
void RegisterVersions(const std::vector<int>& versions, std::optional<int> current);

// Removes every registration that RegisterVersions made, and nothing else.
void UnregisterVersions();
