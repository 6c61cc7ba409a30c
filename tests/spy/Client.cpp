// spy_client SIZE: a client that prints a document of so many letters A in two writes. Its exit status is the count of
// calls that do not answer as they do without a spy.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <string>

int main(int, char **arguments) {
    const auto size = static_cast<uint32_t>(std::strtoul(arguments[1], nullptr, 10));
    std::string path(MAX_PATH, '\0');
    path.resize(GetModuleFileNameA(nullptr, path.data(), MAX_PATH));
    path.replace(path.rfind('\\') + 1, path.npos, "comc.dll");
    const HMODULE module = LoadLibraryA(path.c_str());
    if (module == nullptr) {
        return 97;
    }
    const auto find = [module](const char *name) { return reinterpret_cast<void *>(GetProcAddress(module, name)); };
    using Plain = uint32_t();
    using Write = uint32_t(uint32_t, uint32_t, const void *, uint32_t, uint32_t *);
    int wrong = 0;
    const auto expectZero = [&](uint32_t code) { wrong += code == 0 ? 0 : 1; };
    const std::string document(size, 'A');
    uint32_t written = 0;
    expectZero(reinterpret_cast<Plain *>(find("OrxInitialize"))());
    for (int half = 0; half < 2; ++half) {
        expectZero(reinterpret_cast<Write *>(find("OrxWritePrinter"))(1, 5, document.data() + size / 2 * half, size / 2,
                                                                      &written));
    }
    expectZero(reinterpret_cast<Plain *>(find("OrxUninitialize"))());
    FreeLibrary(module);
    return wrong;
}
