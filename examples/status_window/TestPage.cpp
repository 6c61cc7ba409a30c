#include "TestPage.h"

#include <cwchar>

std::string testPage(std::wstring_view portName) {
    std::string port;
    for (const wchar_t character : portName) {
        const bool isPlain = character >= L' ' && character <= L'~' && std::wcschr(L"()\\", character) == nullptr;
        port += isPlain ? static_cast<char>(character) : '?';
    }
    std::string page = "%!PS-Adobe-3.0\n"
                       "%%Title: Test page\n"
                       "%%Pages: 1\n"
                       "%%EndComments\n"
                       "%%Page: 1 1\n"
                       "36 36 523 770 rectstroke\n"
                       "/Helvetica-Bold findfont 28 scalefont setfont 72 730 moveto (Test page) show\n"
                       "/Helvetica findfont 14 scalefont setfont 72 700 moveto (Printer: " +
                       port +
                       ") show\n"
                       "gsave 72 200 translate 451 451 scale\n"
                       "256 256 8 [256 0 0 -256 0 256] {currentfile 256 string readhexstring pop} image\n";
    constexpr const char *digits = "0123456789abcdef";
    for (unsigned row = 0; row < 256; ++row) {
        for (unsigned column = 0; column < 256; ++column) {
            const unsigned grey = (column + row) / 2 * 2 & 0xFF;
            page += digits[grey >> 4];
            page += digits[grey & 15];
        }
        page += '\n';
    }
    return page + "grestore\nshowpage\n%%EOF\n";
}
