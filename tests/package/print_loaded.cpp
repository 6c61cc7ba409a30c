// Prints the file DOCUMENT to a printer of the simulator without an import library: every export is looked up by name.
#include <kal.h>

#include <windows.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

template <class Function>
Function *find(HMODULE library, const char *name) {
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(library, name)));
}

} // namespace

int main() {
    constexpr uint16_t printer = 0x6001;
    std::ifstream file("DOCUMENT", std::ios::binary);
    const std::string document{std::istreambuf_iterator<char>(file), {}};

    const HMODULE library = LoadLibraryA("kalclient.dll");
    if (!library) {
        return 1;
    }
#define FIND(name) const auto name##_ = find<decltype(name)>(library, #name)
    FIND(KalRegisterWithRpcServer);
    FIND(KalUnregisterApp);
    FIND(KalOpen);
    FIND(KalClose);
    FIND(KalStartDoc);
    FIND(KalWrite);
    FIND(KalEndDoc);
#undef FIND

    if (KalRegisterWithRpcServer_(nullptr) != 1 || KalOpen_(0, printer, 0) != KAL_OKAY ||
        KalStartDoc_(printer, KAL_PORT_TYPE_ANY, "DOCUMENT") != KAL_OKAY) {
        return 2;
    }
    for (size_t sent = 0; sent < document.size();) {
        auto count = static_cast<uint32_t>(document.size() - sent);
        if (KalWrite_(0, printer, KAL_PORT_TYPE_ANY, document.data() + sent, &count) != KAL_OKAY || count == 0) {
            return 3;
        }
        sent += count;
    }
    if (KalEndDoc_(printer, KAL_PORT_TYPE_ANY) != KAL_OKAY || KalClose_(0, printer) != KAL_OKAY) {
        return 4;
    }
    KalUnregisterApp_(0);
    return FreeLibrary(library) ? 0 : 5;
}
