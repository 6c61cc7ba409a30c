// Prints a file by calling the service directly, in the pieces that `kal print` sends: the least that a program can do.

#include "comc/comc.h"

#include <windows.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

namespace {

constexpr size_t pieceSize = 4 * 1024 * 1024;

template <class... Arguments>
void call(HMODULE service, const char *name, Arguments... arguments) {
    auto *const function =
        reinterpret_cast<uint32_t (*)(Arguments...)>(reinterpret_cast<void *>(GetProcAddress(service, name)));
    const uint32_t code = function == nullptr ? ERROR_PROC_NOT_FOUND : function(arguments...);
    if (code != 0) {
        throw std::runtime_error(std::string(name) + " answered " + std::to_string(code));
    }
}

void print(uint32_t handle, const char *path) {
    const HMODULE service = LoadLibraryA("comc.dll");
    std::FILE *const file = std::fopen(path, "rb");
    if (service == nullptr || file == nullptr) {
        throw std::runtime_error("no comc.dll, or no such document");
    }
    std::setvbuf(file, nullptr, _IONBF, 0);
    uint32_t client = 0;
    call(service, "OrxInitialize");
    call(service, "OrxGetClientId", &client, "");
    call(service, "OrxOpenPrinter", client, handle);
    call(service, "OrxStartJobPrinter", client, handle, 0u, "", "", "document", "");
    std::vector<char> piece(pieceSize);
    while (const size_t size = std::fread(piece.data(), 1, piece.size(), file)) {
        for (size_t sent = 0; sent < size;) {
            uint32_t written = 0;
            call(service, "OrxWritePrinter", client, handle, static_cast<const void *>(piece.data() + sent),
                 static_cast<uint32_t>(size - sent), &written);
            sent += written;
        }
    }
    call(service, "OrxEndJobPrinter", client, handle);
    call(service, "OrxClosePrinter", client, handle);
    call(service, "OrxUninitialize");
    std::fclose(file);
    FreeLibrary(service);
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: direct_print FILE\n");
        return 2;
    }
    try {
        constexpr uint32_t usbPrinter = 3; // of the simulator's own four
        print(usbPrinter, arguments[1]);
        return 0;
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "direct_print: %s\n", exception.what());
        return 1;
    }
}
