#include "settings/RegistryKey64.h"

#include "platform/Exception.h"
#include "platform/OsVersion.h"
#include "platform/SecurityEveryone.h"

namespace kal {

namespace {

enum ThrowSite : uint32_t {
    childNotListed = 98,
    valueNotListed = 131,
    valueNotDeleted = 147,
    numberNotRead = 200,
    textSizeNotRead = 234,
    textNotRead = 251,
    numberNotSet = 276,
    textNotSet = 298,
    keyToDeleteNotOpened = 323,
    keyNotDeleted = 347,
    bytesNotRead = 484,
    bytesNotSet = 513,
    keyNotOpened = 566,
    keyNotCreated = 591
};

constexpr DWORD nameBufferSize = 260;

[[noreturn]] void fail(const char *message, LSTATUS code, uint32_t line) {
    throw Win32Exception(message, static_cast<uint32_t>(code), ".\\RegistryKey64", line);
}

[[noreturn]] void failWrongType(const char *message, LSTATUS code, uint32_t line) {
    fail(std::string(message).append(" : incorrect value type").c_str(), code, line);
}

REGSAM withView(REGSAM access) noexcept {
    return OsVersion::is64BitWindows() ? access | KEY_WOW64_64KEY : access;
}

/// Messages and line numbers for failures to read the size or the data of a value.
struct ReadFailure {
    const char *sizeMessage;
    uint32_t sizeLine;
    const char *dataMessage;
    uint32_t dataLine;
};

/// Reads a value of one of two types: first its type and size, then its bytes.
bool readBytes(HKEY key, const std::string &name, DWORD type, DWORD otherType, const ReadFailure &failure,
               std::vector<uint8_t> &bytes) {
    DWORD foundType = REG_NONE;
    DWORD size = 0;
    LSTATUS code = RegQueryValueExA(key, name.c_str(), nullptr, &foundType, nullptr, &size);
    if (code == ERROR_FILE_NOT_FOUND) {
        return false;
    }
    if (code != ERROR_SUCCESS) {
        fail(failure.sizeMessage, code, failure.sizeLine);
    }
    if (foundType != type && foundType != otherType) {
        failWrongType(failure.sizeMessage, code, failure.sizeLine);
    }
    bytes.assign(size, 0);
    if (size == 0) {
        return true;
    }
    code = RegQueryValueExA(key, name.c_str(), nullptr, &foundType, bytes.data(), &size);
    if (code == ERROR_FILE_NOT_FOUND) {
        return false; // deleted between the two queries
    }
    if (code != ERROR_SUCCESS) {
        fail(failure.dataMessage, code, failure.dataLine);
    }
    bytes.resize(size);
    return true;
}

/// Reads names by increasing index until there are no more.
template <class EnumerateOne>
std::vector<std::string> namesByIndex(const char *message, uint32_t line, size_t limit, EnumerateOne enumerateOne) {
    std::vector<std::string> names;
    for (DWORD index = 0; names.size() < limit; ++index) {
        char name[nameBufferSize];
        DWORD size = nameBufferSize;
        const LSTATUS code = enumerateOne(index, name, &size);
        if (code == ERROR_NO_MORE_ITEMS) {
            break;
        }
        if (code != ERROR_SUCCESS) {
            fail(message, code, line);
        }
        names.emplace_back(name, size);
    }
    return names;
}

bool isSoftware(const std::string &subkey) {
    return lstrcmpiA(subkey.c_str(), "SOFTWARE") == 0;
}

} // namespace

RegistryKey64::RegistryKey64(REGSAM access) noexcept : access_(withView(access)) {}

RegistryKey64::~RegistryKey64() {
    close();
}

void RegistryKey64::close() noexcept {
    if (handle_ != nullptr) {
        RegCloseKey(handle_);
        handle_ = nullptr;
    }
}

void RegistryKey64::setAccess(REGSAM access) noexcept {
    access_ = withView(access);
}

LSTATUS RegistryKey64::regOpenKeyEx(const char *path, HKEY root) noexcept {
    HKEY opened = nullptr;
    const LSTATUS code = RegOpenKeyExA(root, path, 0, access_, &opened);
    if (code == ERROR_SUCCESS) {
        handle_ = opened;
    }
    return code;
}

void RegistryKey64::regCreateKeyEx(const std::string &path, HKEY root) {
    SecurityEveryone everyone(true);
    HKEY opened = nullptr;
    const LSTATUS code = RegCreateKeyExA(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, access_,
                                         everyone.securityAttributes(), &opened, nullptr);
    if (code != ERROR_SUCCESS) {
        fail("RegistryKey64::regCreateKeyEx()", code, keyNotCreated);
    }
    handle_ = opened;
}

LSTATUS RegistryKey64::tryOpen(const char *path, HKEY root) noexcept {
    close();
    return regOpenKeyEx(path, root);
}

void RegistryKey64::open(const std::string &path, bool createIfMissing, HKEY root) {
    const LSTATUS code = tryOpen(path.c_str(), root);
    if (code == ERROR_SUCCESS) {
        return;
    }
    if (!createIfMissing) {
        fail("RegistryKey64::regOpenKeyEx()", code, keyNotOpened);
    }
    regCreateKeyEx(path, root);
}

bool RegistryKey64::getValue(const std::string &name, uint32_t &value) const {
    constexpr const char *message = "RegistryKey64::getValue(ulong)";
    DWORD type = REG_NONE;
    DWORD number = 0;
    DWORD size = sizeof number;
    const LSTATUS code =
        RegQueryValueExA(handle_, name.c_str(), nullptr, &type, reinterpret_cast<BYTE *>(&number), &size);
    if (code == ERROR_FILE_NOT_FOUND) {
        return false;
    }
    // A longer value of another type does not fit into the number. The wrong type is the error to report.
    if ((code == ERROR_SUCCESS || code == ERROR_MORE_DATA) && type != REG_DWORD) {
        failWrongType(message, code, numberNotRead);
    }
    if (code != ERROR_SUCCESS) {
        fail(message, code, numberNotRead);
    }
    value = number;
    return true;
}

bool RegistryKey64::getValue(const std::string &name, std::string &value) const {
    constexpr ReadFailure failure = {"RegistryKey64::getValue() ", textSizeNotRead, "RegistryKey64::getValue(string) ",
                                     textNotRead};
    std::vector<uint8_t> bytes;
    if (!readBytes(handle_, name, REG_SZ, REG_EXPAND_SZ, failure, bytes)) {
        return false;
    }
    // A stored string may lack its terminator.
    const char *const characters = reinterpret_cast<const char *>(bytes.data());
    value.assign(characters, bytes.empty() ? 0 : strnlen(characters, bytes.size()));
    return true;
}

bool RegistryKey64::getValue(const std::string &name, std::vector<uint8_t> &value) const {
    constexpr const char *message = "RegistryKey64::getValue(binary)";
    constexpr ReadFailure failure = {message, bytesNotRead, message, bytesNotRead};
    std::vector<uint8_t> bytes;
    if (!readBytes(handle_, name, REG_BINARY, REG_BINARY, failure, bytes)) {
        return false;
    }
    value = std::move(bytes);
    return true;
}

void RegistryKey64::setValue(const std::string &name, uint32_t value) const {
    const LSTATUS code =
        RegSetValueExA(handle_, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE *>(&value), sizeof value);
    if (code != ERROR_SUCCESS) {
        fail("RegistryKey64::setValue(ulong): Unable to set ", code, numberNotSet);
    }
}

void RegistryKey64::setValue(const std::string &name, const std::string &value) const {
    const LSTATUS code = RegSetValueExA(handle_, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE *>(value.c_str()),
                                        static_cast<DWORD>(value.size() + 1));
    if (code != ERROR_SUCCESS) {
        fail("RegistryKey64::setValue(string): Unable to set ", code, textNotSet);
    }
}

void RegistryKey64::setValue(const std::string &name, const uint8_t *bytes, uint32_t count) const {
    const LSTATUS code = RegSetValueExA(handle_, name.c_str(), 0, REG_BINARY, bytes, count);
    if (code != ERROR_SUCCESS) {
        // Deliberately the message of the string setter; the line number differs.
        fail("RegistryKey64::setValue(string): Unable to set ", code, bytesNotSet);
    }
}

void RegistryKey64::deleteValue(const std::string &name) const {
    const LSTATUS code = RegDeleteValueA(handle_, name.c_str());
    if (code != ERROR_SUCCESS) {
        fail("RegistryKey64::deleteValue()", code, valueNotDeleted);
    }
}

std::vector<std::string> RegistryKey64::getChildrenNames(size_t limit) const {
    return namesByIndex("RegistryKey64::getChildrenNames()", childNotListed, limit,
                        [&](DWORD index, char *name, DWORD *size) {
                            return RegEnumKeyExA(handle_, index, name, size, nullptr, nullptr, nullptr, nullptr);
                        });
}

std::vector<std::string> RegistryKey64::getValueNames() const {
    // The single colon is deliberate: released libraries have it.
    return namesByIndex("RegistryKey64:getValueNames()", valueNotListed, SIZE_MAX,
                        [&](DWORD index, char *name, DWORD *size) {
                            return RegEnumValueA(handle_, index, name, size, nullptr, nullptr, nullptr, nullptr);
                        });
}

void RegistryKey64::recurseDeleteKey(const std::string &subkey, HKEY container) {
    constexpr REGSAM plainAccess = 31; // deliberately without the 64-bit view, unlike every other open here
    {
        RegistryKey64 key;
        key.access_ = plainAccess;
        const LSTATUS code = key.tryOpen(subkey.c_str(), container);
        if (code == ERROR_FILE_NOT_FOUND) {
            return;
        }
        if (code != ERROR_SUCCESS) {
            fail("RegistryKey64::recurseDeleteKey() RegOpenKey()", code, keyToDeleteNotOpened);
        }
        // The index stays the same as long as children can be deleted. It increases past a child that remains:
        // "SOFTWARE", a link without a target, or a name that the code page cannot express.
        DWORD index = 0;
        std::string previous;
        for (;;) {
            char name[256] = {};
            DWORD size = sizeof name;
            if (RegEnumKeyExA(key.get(), index, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
                break;
            }
            if (previous == name) {
                ++index;
                continue;
            }
            recurseDeleteKey(name, key.get());
            previous = name;
        }
    }
    if (isSoftware(subkey)) {
        return;
    }
    const LSTATUS code = RegDeleteKeyA(container, subkey.c_str());
    if (code != ERROR_SUCCESS) {
        fail("RegistryKey64::recurseDeleteKey() RegDeleteKey()", code, keyNotDeleted);
    }
}

} // namespace kal
