// Pictures and colours of the printers' states. Each state has its own shape, because not everybody sees the colours.
#pragma once

#include "PrinterService.h"

#include <windows.h>

#include <commctrl.h>

/// Draws the pictures of all states in squares of this size. The caller frees the list with ImageList_Destroy.
[[nodiscard]] HIMAGELIST makeStateIcons(int size);

/// Index of the state's picture in the list.
[[nodiscard]] int stateIcon(PrinterState state);

/// Colour of the state's picture and name; it can be read on white.
[[nodiscard]] COLORREF stateColour(PrinterState state);
