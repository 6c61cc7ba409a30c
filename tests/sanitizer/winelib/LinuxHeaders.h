// Included before every source of a Winelib build: headers that would take the program for one of Windows though the
// libraries behind them are those of Linux.
#pragma once

#pragma push_macro("_WIN32")
#undef _WIN32
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>
#if __has_include(<gmock/gmock.h>)
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#endif
#pragma pop_macro("_WIN32")
