#pragma once
// The headers that most tests for Windows include and that never change. CMake precompiles this file; no
// source includes it.

#include <gtest/gtest.h>

#include <filesystem>

#include "cmake/Precompiled.h"
