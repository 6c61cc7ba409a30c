// The document that the window prints.
#pragma once

#include <string>
#include <string_view>

/// Makes a page in PostScript: a frame, a heading and a grey ramp, whose 128 KiB make sending worth watching. Put here
/// what your printers understand; the library passes any document on unchanged.
/// @param port  name of the printer's port, for the page's second line
[[nodiscard]] std::string testPage(std::wstring_view port);
