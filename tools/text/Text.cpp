#include "tools/text/Text.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>

namespace tool {

namespace {

std::wstring decode(std::string_view text, UINT codePage) {
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0);
    std::wstring wide(length > 0 ? static_cast<size_t>(length) : 0, L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), size, wide.data(), length);
    return wide;
}

std::string encode(std::wstring_view wide, UINT codePage) {
    const int size = static_cast<int>(wide.size());
    const int length = WideCharToMultiByte(codePage, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    WideCharToMultiByte(codePage, 0, wide.data(), size, text.data(), length, nullptr, nullptr);
    return text;
}

bool isUtf8(std::string_view text) {
    return text.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                               static_cast<int>(text.size()), nullptr, 0) != 0;
}

/// The code page of programs that do not declare another one.
UINT systemCodePage() {
    DWORD codePage = CP_ACP;
    GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                   reinterpret_cast<LPWSTR>(&codePage), sizeof codePage / sizeof(wchar_t));
    return codePage;
}

struct LocalMemoryDeleter {
    void operator()(void *memory) const { LocalFree(memory); }
};

} // namespace

std::wstring toWide(std::string_view utf8) {
    return decode(utf8, CP_UTF8);
}

std::string fromWide(std::wstring_view wide) {
    return encode(wide, CP_UTF8);
}

std::string toNarrow(std::string_view utf8) {
    return GetACP() == CP_UTF8 ? std::string(utf8) : encode(toWide(utf8), CP_ACP);
}

std::string fromNarrow(std::string_view text) {
    return isUtf8(text) ? std::string(text) : fromWide(decode(text, systemCodePage()));
}

std::string printable(std::string_view text) {
    std::string shown(text);
    for (char &character : shown) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            character = '.';
        }
    }
    return shown;
}

std::vector<std::string> commandLineArguments() {
    int count = 0;
    const std::unique_ptr<LPWSTR, LocalMemoryDeleter> arguments(CommandLineToArgvW(GetCommandLineW(), &count));
    std::vector<std::string> texts;
    for (int at = 0; arguments && at < count; ++at) {
        texts.push_back(fromWide(arguments.get()[at]));
    }
    return texts;
}

std::string environmentVariable(const char *name) {
    const std::wstring wideName = toWide(name);
    std::wstring value(GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');
    const DWORD length = GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size()));
    value.resize(length < value.size() ? length : 0);
    return fromWide(value);
}

std::string systemErrorText(unsigned long code) {
    LPWSTR buffer = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, code, 0, reinterpret_cast<LPWSTR>(&buffer), 0, nullptr);
    const std::unique_ptr<wchar_t, LocalMemoryDeleter> owned(buffer);
    std::string text = length == 0 ? std::string("error") : fromWide(std::wstring_view(buffer, length));
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '.' || text.back() == ' ')) {
        text.pop_back();
    }
    return text + " (" + std::to_string(code) + ")";
}

} // namespace tool
