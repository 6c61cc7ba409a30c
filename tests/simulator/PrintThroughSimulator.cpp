// Prints a file through comc.dll beside this program: simulator_print HANDLE FILE. The exit code is the service's code.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include <windows.h>

namespace {

template <class Function>
Function *entryPoint(HMODULE module, const char *name) {
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(module, name)));
}

uint32_t print(HMODULE module, uint32_t handle, std::ifstream &file) {
    const auto start =
        entryPoint<uint32_t(uint32_t, uint32_t, uint32_t, const char *, const char *, const char *, const char *)>(
            module, "OrxStartJobPrinter");
    const auto write =
        entryPoint<uint32_t(uint32_t, uint32_t, const void *, uint32_t, uint32_t *)>(module, "OrxWritePrinter");
    const auto end = entryPoint<uint32_t(uint32_t, uint32_t)>(module, "OrxEndJobPrinter");
    if (const auto code = start(1, handle, 0, "", "", "p910nd", ""); code != 0)
        return code;
    std::vector<char> piece(10000);
    while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())) || file.gcount() > 0) {
        uint32_t written = 0;
        const auto code = write(1, handle, piece.data(), static_cast<uint32_t>(file.gcount()), &written);
        if (code != 0)
            return code;
    }
    return end(1, handle);
}

} // namespace

int main(int count, char **arguments) {
    if (count != 3) {
        std::fputs("usage: simulator_print HANDLE FILE\n", stderr);
        return 2;
    }
    std::ifstream file(arguments[2], std::ios::binary);
    const HMODULE module = LoadLibraryA("comc.dll");
    if (!file || module == nullptr)
        return 2;
    const auto handle = static_cast<uint32_t>(std::strtoul(arguments[1], nullptr, 0));
    entryPoint<uint32_t()>(module, "OrxInitialize")();
    auto code = entryPoint<uint32_t(uint32_t, uint32_t)>(module, "OrxOpenPrinter")(1, handle);
    if (code == 0)
        code = print(module, handle, file);
    entryPoint<uint32_t()>(module, "OrxUninitialize")();
    FreeLibrary(module);
    std::printf("code %u\n", code);
    return code == 0 ? 0 : 1;
}
