// The scripted service in the fake comc.dll, which records all calls.
#pragma once

#include "tests/support/ServiceHost.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kal::test {

/// One call of an entry point. Arguments are counted from 0, with the client identifier.
struct ServiceCall {
    std::string entryPoint;
    std::array<uint64_t, recordedArguments> arguments{};
    /// The memory at each pointer argument at the time of the call, up to the first zero byte (at most 1024 bytes).
    /// Empty for numbers and unreadable memory.
    std::array<std::string, recordedArguments> texts;
    DWORD thread = 0;
    /// The load of comc.dll in which the call was made, counted from 1.
    int load = 0;

    uint32_t number(size_t index) const { return static_cast<uint32_t>(arguments.at(index)); }
    const std::string &text(size_t index) const { return texts.at(index); }
    template <class Type>
    Type *pointer(size_t index) const {
        return reinterpret_cast<Type *>(static_cast<uintptr_t>(arguments.at(index)));
    }
    template <class Function>
    Function *callback(size_t index) const {
        return reinterpret_cast<Function *>(static_cast<uintptr_t>(arguments.at(index)));
    }
};

/// Script and recording of the fake. There can be one instance at a time. Make it before the first service operation
/// and destroy it after the last; the destructor frees a comc.dll that is still loaded. Any thread may call any
/// function, also in an action.
///
/// Entry points without a script return 0. OrxGetClientId assigns 101, 102, 103 ... by default.
class RecordedService {
  public:
    using Action = std::function<uint32_t(const ServiceCall &)>;

    RecordedService();
    ~RecordedService();
    RecordedService(const RecordedService &) = delete;
    RecordedService &operator=(const RecordedService &) = delete;

    /// Every further call returns the code.
    void answers(std::string_view entryPoint, uint32_t code);
    /// The next calls return one of these codes each; later calls follow the rest of the script.
    void answersInTurn(std::string_view entryPoint, std::initializer_list<uint32_t> codes);
    /// Runs the action on the calling thread, without a lock, and returns its value.
    void does(std::string_view entryPoint, Action action);
    /// Copies the bytes to the address in the pointer argument and returns the code.
    void fills(std::string_view entryPoint, size_t argument, std::string bytes, uint32_t code = 0);
    /// Removes the entry point from the export directory: immediately if comc.dll is loaded, and after every load.
    void lacks(std::string_view entryPoint);
    /// Ends the effect of `lacks` from the next load.
    void hasAgain(std::string_view entryPoint);

    /// The identifiers that OrxGetClientId assigns next, before it continues to count from 101.
    void handsOutClientIds(std::initializer_list<uint32_t> identifiers);

    /// Sets a property of every handle or of one. The getters (OrxGetString..., OrxGetLong..., OrxGetByteArray...)
    /// return it for a descriptor with "<Name>name</Name>". Strings are written with their terminator; the length
    /// argument receives the number of bytes. A getter with a small buffer sets only the length and returns 122.
    void stringProperty(std::string name, std::string value);
    void stringProperty(uint32_t handle, std::string name, std::string value);
    void bytesProperty(std::string name, std::string bytes);
    void bytesProperty(uint32_t handle, std::string name, std::string bytes);
    void longProperty(std::string name, uint32_t value);
    void longProperty(uint32_t handle, std::string name, uint32_t value);

    std::vector<ServiceCall> calls() const;
    std::vector<ServiceCall> calls(std::string_view entryPoint) const;
    /// The latest call of the entry point; throws if there was none.
    ServiceCall lastCall(std::string_view entryPoint) const;
    size_t count(std::string_view entryPoint) const;
    /// The names of all entry points called, in order.
    std::vector<std::string> sequence() const;
    /// As sequence(), without OrxInitialize, OrxUninitialize and OrxGetClientId.
    std::vector<std::string> operations() const;
    /// Deletes the recorded calls, but not the script and the loads.
    void forgetCalls();

    int loads() const;
    int unloads() const;
    bool isLoaded() const;

  private:
    struct Property {
        enum class Kind { text, bytes, number } kind;
        std::string bytes;
        uint32_t number;
    };
    struct Script {
        std::deque<uint32_t> turns;
        Action action;
    };

    static void attached(HMODULE module);
    static void detached(HMODULE module);
    static uint32_t called(EntryPoint entryPoint, const uint64_t *arguments);

    uint32_t answer(EntryPoint entryPoint, const uint64_t *arguments);
    uint32_t answerUnscripted(const ServiceCall &call);
    const Property *findProperty(uint32_t handle, const std::string &descriptor) const;

    static const ServiceHost host;
    static std::mutex instanceLock;
    static RecordedService *instance;

    mutable std::mutex lock_; // guards all members below
    std::map<std::string, Script, std::less<>> scripts_;
    std::map<std::pair<int64_t, std::string>, Property> properties_; // handle -1 means every handle
    std::set<std::string, std::less<>> lacking_;
    std::deque<uint32_t> clientIds_;
    uint32_t nextClientId_ = 101;
    std::vector<ServiceCall> calls_;
    std::vector<HMODULE> modules_;
    int loads_ = 0;
    int unloads_ = 0;
};

/// The names of all entry points of the fake.
const std::vector<std::string> &entryPointNames();
/// Argument kinds of an entry point: I client identifier, H handle, N number, P pointer.
std::string_view argumentKinds(std::string_view entryPoint);

} // namespace kal::test
