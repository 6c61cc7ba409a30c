// Included before the sources of a module: its entry function is called by that of ModuleEnd.cpp.
#pragma once

#include <windows.h>

#define DllMain moduleMain
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);
