#pragma once
// The headers that most tests for Windows read and that never change. CMake precompiles this file; nothing
// includes it.

#include <gtest/gtest.h>

#include <filesystem>

#include "cmake/Precompiled.h"
