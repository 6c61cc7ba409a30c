// A status window for printers: shows the printers found, their state and what they report, and prints a test page. It
// is meant to be copied; begin with PrinterService.cpp, which makes every call of the library.
#include "StatusWindow.h"

#include <windows.h>

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int showCmd) {
    return StatusWindow::show(instance, showCmd);
}
