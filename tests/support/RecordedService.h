// The scripted, recording service behind the test double comc.dll.
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

/// One call of an entry point as it arrived. Arguments are counted from 0, the client identifier included.
struct ServiceCall {
    std::string entryPoint;
    std::array<uint64_t, recordedArguments> arguments{};
    /// What a pointer argument pointed to when the call arrived, up to the first zero byte (at most 1024 bytes); empty
    /// for numbers and for memory that cannot be read.
    std::array<std::string, recordedArguments> texts;
    DWORD thread = 0;
    /// The load of comc.dll that the call went into, counted from 1.
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

/// Script and recording of the double. One instance at a time; make it before the first service operation and destroy
/// it after the last: a comc.dll that is still loaded then is freed. Everything may be called from any thread, from
/// within an action too.
///
/// Unscripted entry points answer 0. OrxGetClientId hands out 101, 102, 103 ... unless told otherwise.
class RecordedService {
  public:
    using Action = std::function<uint32_t(const ServiceCall &)>;

    RecordedService();
    ~RecordedService();
    RecordedService(const RecordedService &) = delete;
    RecordedService &operator=(const RecordedService &) = delete;

    /// Every further call answers the code.
    void answers(std::string_view entryPoint, uint32_t code);
    /// The next calls answer these codes, one each; the calls after them answer as scripted otherwise.
    void answersInTurn(std::string_view entryPoint, std::initializer_list<uint32_t> codes);
    /// Runs the action on the calling thread, with no lock held; its value is the answer.
    void does(std::string_view entryPoint, Action action);
    /// Copies the bytes to where the pointer argument points, then answers the code.
    void fills(std::string_view entryPoint, size_t argument, std::string bytes, uint32_t code = 0);
    /// The entry point is absent from the export directory: at once when comc.dll is loaded, and after every later
    /// load.
    void lacks(std::string_view entryPoint);
    /// Takes `lacks` back from the next load on.
    void hasAgain(std::string_view entryPoint);

    /// The identifiers that OrxGetClientId hands out next, before the counting from 101 goes on.
    void handsOutClientIds(std::initializer_list<uint32_t> identifiers);

    /// Answers the property getters (OrxGetString..., OrxGetLong..., OrxGetByteArray...) whose descriptor holds
    /// "<Name>name</Name>", for every handle or for one. A string is written with its terminator; the length argument
    /// receives the bytes written. A buffer that is too small gets nothing, the length needed, and the answer 122.
    void stringProperty(std::string name, std::string value);
    void stringProperty(uint32_t handle, std::string name, std::string value);
    void bytesProperty(std::string name, std::string bytes);
    void bytesProperty(uint32_t handle, std::string name, std::string bytes);
    void longProperty(std::string name, uint32_t value);
    void longProperty(uint32_t handle, std::string name, uint32_t value);

    std::vector<ServiceCall> calls() const;
    std::vector<ServiceCall> calls(std::string_view entryPoint) const;
    /// The latest call of the entry point; throws when there was none.
    ServiceCall lastCall(std::string_view entryPoint) const;
    size_t count(std::string_view entryPoint) const;
    /// The names of all entry points called, in order.
    std::vector<std::string> sequence() const;
    /// As sequence(), without OrxInitialize, OrxUninitialize and OrxGetClientId.
    std::vector<std::string> operations() const;
    /// Forgets the calls recorded so far (not the script, not the loads).
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

    mutable std::mutex lock_; // all members below
    std::map<std::string, Script, std::less<>> scripts_;
    std::map<std::pair<int64_t, std::string>, Property> properties_; // handle -1: every handle
    std::set<std::string, std::less<>> lacking_;
    std::deque<uint32_t> clientIds_;
    uint32_t nextClientId_ = 101;
    std::vector<ServiceCall> calls_;
    std::vector<HMODULE> modules_;
    int loads_ = 0;
    int unloads_ = 0;
};

/// The names of all entry points of the double.
const std::vector<std::string> &entryPointNames();
/// Argument kinds of an entry point: I client identifier, H handle, N number, P pointer.
std::string_view argumentKinds(std::string_view entryPoint);

} // namespace kal::test
