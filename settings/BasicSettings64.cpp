#include "settings/BasicSettings64.h"

#include "platform/Data.h"
#include "platform/Exception.h"

namespace kal {

template <class Value>
bool BasicSettings64::readValue(const std::string &subkey, const std::string &name, Value &value,
                                uint32_t selector) const {
    RegistryKey64 key(KEY_READ);
    return key.tryOpen(keyPath(subkey, selector).c_str(), root_) == ERROR_SUCCESS && key.getValue(name, value);
}

template <class Value, class WriteDefault>
bool BasicSettings64::readOrCreateValue(const std::string &subkey, const std::string &name, Value &value,
                                        uint32_t selector, WriteDefault writeDefault) {
    try {
        RegistryKey64 base(KEY_READ);
        if (base.tryOpen(keyPath("", selector).c_str(), root_) != ERROR_SUCCESS) {
            return false;
        }
        if (read(subkey, name, value, selector)) {
            return true;
        }
        RegistryKey64 created(access_);
        openForWriting(created, subkey, selector);
        writeDefault(created);
        return true;
    } catch (const Win32Exception &exception) {
        SetLastError(exception.code());
        return false;
    }
}

void BasicSettings64::openForWriting(RegistryKey64 &key, const std::string &subkey, uint32_t selector) const {
    key.open(keyPath(subkey, selector), true, root_);
}

bool BasicSettings64::readOrCreate(const std::string &subkey, const std::string &name, std::vector<uint8_t> &value,
                                   const Data &defaultValue, uint32_t selector) {
    return readOrCreateValue(subkey, name, value, selector, [&](RegistryKey64 &key) {
        key.setValue(name, defaultValue.current(), defaultValue.remaining());
        value.assign(defaultValue.current(), defaultValue.current() + defaultValue.remaining());
    });
}

bool BasicSettings64::read(const std::string &subkey, const std::string &name, std::vector<uint8_t> &value,
                           uint32_t selector) const {
    return readValue(subkey, name, value, selector);
}

bool BasicSettings64::readOrCreate(const std::string &subkey, const std::string &name, uint32_t &value,
                                   uint32_t defaultValue, uint32_t selector) {
    return readOrCreateValue(subkey, name, value, selector, [&](RegistryKey64 &key) {
        key.setValue(name, defaultValue);
        value = defaultValue;
    });
}

bool BasicSettings64::read(const std::string &subkey, const std::string &name, uint32_t &value,
                           uint32_t selector) const {
    return readValue(subkey, name, value, selector);
}

bool BasicSettings64::readOrCreate(const std::string &subkey, const std::string &name, std::string &value,
                                   const std::string &defaultValue, uint32_t selector) {
    return readOrCreateValue(subkey, name, value, selector, [&](RegistryKey64 &key) {
        key.setValue(name, defaultValue);
        value = defaultValue;
    });
}

bool BasicSettings64::read(const std::string &subkey, const std::string &name, std::string &value,
                           uint32_t selector) const {
    return readValue(subkey, name, value, selector);
}

void BasicSettings64::write(const std::string &subkey, const std::string &name, const std::string &value,
                            uint32_t selector) {
    RegistryKey64 key(access_);
    openForWriting(key, subkey, selector);
    key.setValue(name, value);
}

void BasicSettings64::write(const std::string &subkey, const std::string &name, uint32_t value, uint32_t selector) {
    RegistryKey64 key(access_);
    openForWriting(key, subkey, selector);
    key.setValue(name, value);
}

std::vector<std::string> BasicSettings64::valueNames(const std::string &subkey, uint32_t selector) const {
    RegistryKey64 key(KEY_READ);
    if (key.tryOpen(keyPath(subkey, selector).c_str(), root_) != ERROR_SUCCESS) {
        return {};
    }
    return key.getValueNames();
}

std::vector<std::string> BasicSettings64::childrenNames(const std::string &subkey, uint32_t selector,
                                                        size_t limit) const {
    RegistryKey64 key(KEY_READ);
    if (key.tryOpen(keyPath(subkey, selector).c_str(), root_) != ERROR_SUCCESS) {
        return {};
    }
    return key.getChildrenNames(limit);
}

void BasicSettings64::deleteKey(const std::string &subkey, uint32_t selector) {
    RegistryKey64::recurseDeleteKey(keyPath(subkey, selector), root_);
}

void BasicSettings64::deleteValue(const std::string &subkey, const std::string &name, uint32_t selector) {
    RegistryKey64 key(access_);
    if (key.tryOpen(keyPath(subkey, selector).c_str(), root_) == ERROR_SUCCESS) {
        key.deleteValue(name);
    }
}

bool BasicSettings64::removeStores() {
    const std::vector<std::string> stores = childrenNames("", 0, SIZE_MAX);
    for (const std::string &store : stores) {
        deleteKey(store, 0);
    }
    return !stores.empty();
}

std::string BasicSettings64::keyPath(const std::string &subkey, uint32_t) const {
    return std::string(basePath_).append(subkey);
}

} // namespace kal
