// A registry key of the test's own, removed with everything below it at the end.
#pragma once

#include <stdexcept>
#include <string>

#include <windows.h>

namespace kal::test {

class ScratchKey {
  public:
    ScratchKey() {
        static int number = 0;
        path_ = "Software\\KalTests\\scratch-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number);
        if (RegCreateKeyExA(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_, nullptr))
            throw std::runtime_error("cannot create " + path_);
    }
    ~ScratchKey() {
        RegCloseKey(key_);
        RegDeleteTreeA(HKEY_CURRENT_USER, path_.c_str());
    }
    ScratchKey(const ScratchKey &) = delete;
    ScratchKey &operator=(const ScratchKey &) = delete;

    HKEY key() const { return key_; }
    /// Below HKEY_CURRENT_USER.
    const std::string &path() const { return path_; }
    std::string pathOf(const std::string &subkey) const { return path_ + "\\" + subkey; }

    void makeKey(const std::string &subkey) const {
        HKEY key = nullptr;
        if (RegCreateKeyExA(key_, subkey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != 0)
            throw std::runtime_error("cannot create " + subkey);
        RegCloseKey(key);
    }
    bool hasKey(const std::string &subkey) const {
        HKEY key = nullptr;
        const bool opened = RegOpenKeyExA(key_, subkey.c_str(), 0, KEY_READ, &key) == 0;
        if (opened)
            RegCloseKey(key);
        return opened;
    }

    /// A value of any type with exactly these bytes; strings are not completed by a zero.
    void setRaw(const std::string &name, DWORD type, const std::string &bytes) const {
        RegSetValueExA(key_, name.c_str(), 0, type, reinterpret_cast<const BYTE *>(bytes.data()),
                       static_cast<DWORD>(bytes.size()));
    }
    void setRaw(const std::wstring &name, DWORD type, const std::wstring &characters) const {
        RegSetValueExW(key_, name.c_str(), 0, type, reinterpret_cast<const BYTE *>(characters.data()),
                       static_cast<DWORD>(characters.size() * sizeof(wchar_t)));
    }
    void setNumber(const std::string &name, DWORD value) const {
        setRaw(name, REG_DWORD, std::string(reinterpret_cast<const char *>(&value), sizeof value));
    }
    void setText(const std::string &name, const std::string &text) const { setRaw(name, REG_SZ, text + '\0'); }

    struct Value {
        DWORD type;
        std::string bytes;
        bool operator==(const Value &) const = default;
    };
    /// A value as it lies there; type REG_NONE and no bytes when it does not.
    Value value(const std::string &name, const std::string &subkey = "") const {
        char bytes[1024] = {};
        DWORD size = sizeof bytes;
        DWORD type = REG_NONE;
        if (RegGetValueA(key_, subkey.empty() ? nullptr : subkey.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND,
                         &type, bytes, &size) != 0)
            return {REG_NONE, ""};
        return {type, std::string(bytes, size)};
    }

  private:
    std::string path_;
    HKEY key_ = nullptr;
};

} // namespace kal::test
