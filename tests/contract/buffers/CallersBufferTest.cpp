// Each export that takes memory of its caller, with every such argument in a buffer of exactly the size that kal.h
// documents, an inaccessible page right behind it. The table is held against the declarations in kal.h.

#include "comc/comc.h"
#include "tests/contract/RegisteredApplication.h"

#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

using testing::ContainerEq;

namespace kal::test {

namespace {

constexpr uint16_t handle = 5;

void ignoreFound(const PortInfoRecord *) {}

/// The guarded arguments of one call, by the names that kal.h gives them.
class Arguments {
  public:
    /// Room that the call fills.
    uint8_t *room(const std::string &parameter, size_t size) { return keep(parameter, size).data(); }
    /// Bytes without an end of their own.
    const uint8_t *bytes(const std::string &parameter, const std::string &content) {
        return fill(parameter, content).data();
    }
    const char *text(const std::string &parameter, const std::string &content) {
        return fill(parameter, content + '\0').as<const char>();
    }
    template <class Number>
    Number *number(const std::string &parameter, Number value) {
        auto *const place = keep(parameter, sizeof value).template as<Number>();
        *place = value;
        return place;
    }

    std::set<std::string> names() const {
        std::set<std::string> all;
        for (const auto &[name, buffer] : buffers_)
            all.insert(name);
        return all;
    }
    std::string content(const std::string &parameter) const { return buffers_.at(parameter)->bytes(); }

  private:
    GuardedBuffer &keep(const std::string &parameter, size_t size) {
        return *(buffers_[parameter] = std::make_unique<GuardedBuffer>(size));
    }
    GuardedBuffer &fill(const std::string &parameter, const std::string &content) {
        GuardedBuffer &buffer = keep(parameter, content.size());
        std::memcpy(buffer.data(), content.data(), content.size());
        return buffer;
    }

    std::map<std::string, std::unique_ptr<GuardedBuffer>> buffers_;
};

struct Row {
    const char *exportName;
    std::function<int32_t(Arguments &)> call;
    int32_t result;
    /// A buffer that the call fills to its last byte, and with what; none for buffers that are only read.
    const char *filled = "";
    std::string content = "";
};

// What the service answers: as many bytes as fit, each buffer to its last byte.
const std::string cacheBlock = "0123456789";
const std::string bidiResponse = "HEAD5answer"; // its head of five bytes is not the caller's
const std::string alertBytes("\xA5\x00\x15\x00\xF0\x73\x00\x00\x00\x00\x02warning", 18);

template <class Function>
std::function<int32_t(Arguments &)> startDoc(Function *function) {
    return [=](Arguments &given) { return function(handle, 0, given.text("documentName", "Letter")); };
}
template <class Function, class... Last>
std::function<int32_t(Arguments &)> write(Function *function, Last... last) {
    return [=](Arguments &given) {
        return function(0, handle, 0, given.bytes("data", "%!PS"), given.number<uint32_t>("byteCount", 4), last...);
    };
}
template <class Function>
std::function<int32_t(Arguments &)> find(Function *function, const char *parameter) {
    return [=](Arguments &given) { return function(0, 0xFFF, given.text(parameter, "USB001"), ignoreFound); };
}
template <class Function>
std::function<int32_t(Arguments &)> capture(Function *function) {
    return [=](Arguments &given) { return function(0, handle, given.number<uint32_t>("mask", 1), nullptr); };
}
template <class Function>
std::function<int32_t(Arguments &)> queryAlerts(Function *function) {
    return [=](Arguments &given) {
        const uint16_t stored = static_cast<uint16_t>(alertBytes.size() - 5);
        return function(0, 0, 0, 0, given.room("buffer", stored), given.number<uint16_t>("size", stored));
    };
}
template <class Function>
std::function<int32_t(Arguments &)> sendBidi(Function *function) {
    return [=](Arguments &given) {
        const auto size = static_cast<uint32_t>(bidiResponse.size());
        return function(0, handle, 0, 1, given.room("response", size), given.number<uint32_t>("responseSize", size),
                        given.bytes("data", "abc"), 3);
    };
}

std::string statusRecord() {
    const uint32_t words[] = {KAL_PRINTER_STATUS_SIZE - 4, 1, 0, 1};
    std::string record(KAL_PRINTER_STATUS_SIZE, '\0');
    std::memcpy(record.data(), words, sizeof words);
    return record;
}

const std::string storedAlert = alertBytes.substr(5);
// The bytes of the response move up over the head; what is behind them stays as the service wrote it.
const std::string movedResponse = "answer" + bidiResponse.substr(6);

const std::vector<Row> rows = {
    {"KalRegisterWithRpcServer",
     [](Arguments &given) {
         const int32_t result = KalRegisterWithRpcServer(given.text("serverName", ""));
         KalUnregisterApp(0);
         return result;
     },
     1},
    {"KalSetClientName",
     [](Arguments &given) {
         KalSetClientName(given.text("name", "application"));
         return 0;
     },
     0},
    {"KalStartDoc", startDoc(KalStartDoc), KAL_OKAY},
    {"KalStartDocLM", startDoc(KalStartDocLM), KAL_OKAY},
    {"KalWrite", write(KalWrite), KAL_OKAY, "byteCount", {"\x04\0\0\0", 4}},
    {"KalWriteLM", write(KalWriteLM), KAL_OKAY, "byteCount", {"\x04\0\0\0", 4}},
    {"KalWriteOverlapped", write(KalWriteOverlapped, 0u), KAL_OKAY, "byteCount", {"\x04\0\0\0", 4}},
    {"KalSetJobStringPrinter",
     [](Arguments &given) {
         return KalSetJobStringPrinter(0, handle, given.text("key", "Owner"), given.text("value", "Ada"));
     },
     KAL_OKAY},
    {"KalEnumSpecificPort", find(KalEnumSpecificPort, "portName"), NETTYPEUSB},
    {"KalEnumSpecificPortLM", find(KalEnumSpecificPortLM, "portName"), NETTYPEUSB},
    {"KalEnumByUNC", find(KalEnumByUNC, "name"), NETTYPEUSB},
    {"KalEnumByUNCLM", find(KalEnumByUNCLM, "name"), NETTYPEUSB},
    {"KalGetCache",
     [](Arguments &given) {
         const auto size = static_cast<uint32_t>(cacheBlock.size());
         return KalGetCache(0, handle, given.room("buffer", size), size, given.number<uint32_t>("length", 0));
     },
     KAL_OKAY, "buffer", cacheBlock},
    {"KalCaptureAlerts", capture(KalCaptureAlerts), KAL_OKAY},
    {"KalCaptureAlertsLM", capture(KalCaptureAlertsLM), KAL_OKAY},
    {"KalQueryAlerts", queryAlerts(KalQueryAlerts), KAL_OKAY, "buffer", storedAlert},
    {"KalQueryAlertsLM", queryAlerts(KalQueryAlertsLM), KAL_OKAY, "buffer", storedAlert},
    {"KalQueryPrinterStatus",
     [](Arguments &given) {
         return KalQueryPrinterStatus(0, handle, 0, given.room("buffer", KAL_PRINTER_STATUS_SIZE),
                                      KAL_PRINTER_STATUS_SIZE, given.number<uint32_t>("needed", 0));
     },
     KAL_OKAY, "buffer", statusRecord()},
    {"KalSendBidi", sendBidi(KalSendBidi), KAL_OKAY, "response", movedResponse},
    {"KalSendBidiLM", sendBidi(KalSendBidiLM), KAL_OKAY, "response", movedResponse},
};

void PrintTo(const Row &row, std::ostream *stream) {
    *stream << row.exportName;
}

/// The parameters of each export that point to memory of the caller, as kal.h declares them: export -> names. A window
/// is a handle, and a callback is code.
std::map<std::string, std::set<std::string>> declaredBuffers() {
    std::ifstream file(KAL_API_FOLDER "/kal.h");
    std::stringstream whole;
    whole << file.rdbuf();
    const std::string header = whole.str();
    std::map<std::string, std::set<std::string>> all;
    const std::regex declaration(R"(KAL_API\s+\w+\s+(\w+)\(([^)]*)\);)");
    const std::regex pointer(R"(\*\s*(\w+))");
    for (std::sregex_iterator each(header.begin(), header.end(), declaration), end; each != end; ++each) {
        const std::string parameters = (*each)[2];
        for (std::sregex_iterator one(parameters.begin(), parameters.end(), pointer); one != end; ++one)
            if ((*one)[1] != "window")
                all[(*each)[1]].insert((*one)[1]);
    }
    return all;
}

} // namespace

class CallersBuffer : public RegisteredApplication, public testing::WithParamInterface<Row> {
  protected:
    CallersBuffer() {
        Initialize(); // alert ids start at 0
        service.stringProperty("Device", "BpdPrinter");
        service.stringProperty("Transport", "USB1");
        service.does("OrxEnumSpecificPrinter",
                     [](const ServiceCall &call) { return *call.pointer<uint32_t>(2) = handle, 0; });
        service.does("OrxGetCachePrinter", [](const ServiceCall &call) {
            std::memcpy(call.pointer<char>(2), cacheBlock.data(), cacheBlock.size());
            *call.pointer<uint32_t>(4) = static_cast<uint32_t>(cacheBlock.size());
            return 0;
        });
        service.does("OrxExchangeBidiPrinter", [](const ServiceCall &call) {
            std::memcpy(call.pointer<char>(4), bidiResponse.data(), bidiResponse.size());
            *call.pointer<uint32_t>(6) = static_cast<uint32_t>(bidiResponse.size());
            return 0;
        });
        KalOpen(0, handle, 0);
        const uint32_t mask = 1;
        KalCaptureAlerts(0, handle, &mask, nullptr);
        const auto onAlert =
            service.lastCall("OrxRegisterForAlertsPrinter").callback<std::remove_pointer_t<OrxAlertCallback>>(3);
        const GuardedBuffer alert(alertBytes);
        onAlert(handle, alert.data(), static_cast<uint32_t>(alertBytes.size()));
    }
    ~CallersBuffer() override {
        while (KalReleaseAlerts(0, handle) == KAL_OKAY) {
        }
        while (KalClose(0, handle) == KAL_OKAY) {
        }
    }

    Arguments given;
};

TEST_P(CallersBuffer, OfItsDocumentedSizeIsEnough) {
    EXPECT_EQ(GetParam().call(given), GetParam().result);
    if (*GetParam().filled != '\0') {
        EXPECT_EQ(given.content(GetParam().filled), GetParam().content);
    }
}

TEST_P(CallersBuffer, IsGuardedForEachPointerOfTheDeclaration) {
    GetParam().call(given);
    EXPECT_THAT(given.names(), ContainerEq(declaredBuffers()[GetParam().exportName]));
}

INSTANTIATE_TEST_SUITE_P(Export, CallersBuffer, testing::ValuesIn(rows),
                         [](const auto &row) { return std::string(row.param.exportName); });

TEST(CallersBuffers, TableNamesEveryExportThatTakesOne) {
    std::set<std::string> declared, listed;
    for (const auto &[name, parameters] : declaredBuffers())
        declared.insert(name);
    for (const Row &row : rows)
        listed.insert(row.exportName);
    EXPECT_FALSE(declared.empty());
    EXPECT_THAT(listed, ContainerEq(declared));
}

} // namespace kal::test
