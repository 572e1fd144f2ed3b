#pragma once
// The headers that most sources for Windows read and that never change. CMake precompiles this file; nothing
// includes it.

#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
