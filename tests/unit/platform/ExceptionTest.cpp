#include "platform/Exception.h"

#include "tests/unit/platform/FailingCall.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace kal;
using namespace kal::test;

namespace {

using FormatMessageSignature = DWORD(DWORD, LPCVOID, DWORD, DWORD, LPSTR, DWORD, void *);

/// The system's words for every code are these.
class SystemText {
  public:
    explicit SystemText(std::string text)
        : text_(std::move(text)),
          hook_(GetModuleHandleA(nullptr),
                [this](DWORD flags, LPCVOID source, DWORD code, DWORD language, LPSTR buffer, DWORD size, void *) {
                    flags_ = flags;
                    source_ = source;
                    code_ = code;
                    language_ = language;
                    size_ = size;
                    std::memcpy(buffer, text_.c_str(), text_.size());
                    return static_cast<DWORD>(text_.size());
                }) {}

    DWORD flags_ = 0, code_ = 0, language_ = 0, size_ = 0;
    LPCVOID source_ = &flags_;

  private:
    std::string text_;
    ImportHook<"FormatMessageA", FormatMessageSignature> hook_;
};

Win32Exception failure(uint32_t code) {
    return {"Thing::act() Call failed", code, ".\\Thing", 17};
}

std::string plainText(uint32_t code) {
    return Exception("", code, "", 0).errorText();
}

} // namespace

TEST(Exception, KeepsWhatItWasThrownWith) {
    EXPECT_EQ(thrownBy([] { throw failure(5); }), (Thrown{"Thing::act() Call failed", 5, ".\\Thing", 17}));
}

TEST(Exception, ErrorTextIsTheCodeInDecimal) {
    EXPECT_EQ(plainText(4294967295u), "4294967295");
}

TEST(Exception, ErrorTextWithoutCodeIsEmpty) {
    EXPECT_EQ(plainText(0), "");
}

TEST(Exception, MembersFollowTheVirtualTableInOrder) {
    const Exception exception("message", 7, "file", 9);
    const size_t message = sizeof(void *);
    const size_t code = message + sizeof(std::string);
    EXPECT_EQ(memberAt<const char *>(exception, message)[0], 'm');
    EXPECT_EQ(memberAt<uint32_t>(exception, code), 7u);
    EXPECT_EQ(reinterpret_cast<const char *>(&exception.file) - reinterpret_cast<const char *>(&exception),
              static_cast<ptrdiff_t>(code + sizeof(void *)));
    EXPECT_GT(&exception.line, reinterpret_cast<const void *>(&exception.file));
}

TEST(Exception, SlotsAreErrorTextCodeMessage) {
    const Exception exception("message", 7, "file", 9);
    EXPECT_EQ(operationSlot<std::string(const Exception *)>(exception, 1)(&exception), "7");
    EXPECT_EQ(operationSlot<uint32_t(const Exception *)>(exception, 2)(&exception), 7u);
    EXPECT_EQ(operationSlot<std::string(const Exception *)>(exception, 3)(&exception), "message");
}

TEST(Win32Exception, OverridesTheErrorTextSlotOnly) {
    const Exception base("message", 7, "file", 9);
    const Win32Exception derived("message", 7, "file", 9);
    const auto slot = [](const Exception &object, size_t operation) {
        return reinterpret_cast<void *>(operationSlot<void()>(object, operation));
    };
    EXPECT_NE(slot(base, 1), slot(derived, 1));
    EXPECT_EQ(slot(base, 2), slot(derived, 2));
    EXPECT_EQ(slot(base, 3), slot(derived, 3));
    EXPECT_EQ(sizeof base, sizeof derived);
}

TEST(Win32Exception, IsCaughtAsException) {
    EXPECT_THROW(throw failure(5), Exception);
}

TEST(Win32Exception, CaughtAsExceptionStillKnowsTheSystemText) {
    SystemText text("words");
    try {
        throw failure(5);
    } catch (const Exception &exception) {
        EXPECT_EQ(exception.errorText(), "Win32(5words");
    }
}

TEST(Win32Exception, ErrorTextWithoutCodeIsEmpty) {
    EXPECT_EQ(failure(0).errorText(), "");
}

TEST(Win32Exception, ErrorTextAsksTheSystemInEnglish) {
    SystemText text("words");
    static_cast<void>(failure(1234).errorText());
    EXPECT_EQ(text.flags_, 0x1200u);
    EXPECT_EQ(text.source_, nullptr);
    EXPECT_EQ(text.code_, 1234u);
    EXPECT_EQ(text.language_, 1033u);
    EXPECT_EQ(text.size_, 256u);
}

TEST(Win32Exception, ErrorTextEndsBeforeCarriageReturnAndLineFeed) {
    SystemText text("Access denied.\r\n");
    EXPECT_EQ(failure(5).errorText(), "Win32(5Access denied.");
}

TEST(Win32Exception, ErrorTextIsCutAtALineFeedBeforeTheCarriageReturn) {
    SystemText text("first\nsecond\r\n");
    EXPECT_EQ(failure(5).errorText(), "Win32(5first");
}

TEST(Win32Exception, ErrorTextIsCutAtACarriageReturnBeforeALineFeed) {
    SystemText text("first\rsecond\nthird");
    EXPECT_EQ(failure(5).errorText(), "Win32(5first");
}

TEST(Win32Exception, ErrorTextIsCutAtALineFeedWithoutCarriageReturn) {
    SystemText text("first\nsecond");
    EXPECT_EQ(failure(5).errorText(), "Win32(5first");
}

TEST(Win32Exception, ErrorTextWithoutLineBreakIsWhole) {
    SystemText text("only words");
    EXPECT_EQ(failure(5).errorText(), "Win32(5only words");
}

TEST(Win32Exception, ErrorTextOfALineBreakAloneIsTheCode) {
    SystemText text("\r\n");
    EXPECT_EQ(failure(5).errorText(), "Win32(5");
}

TEST(Win32Exception, ErrorTextWithoutSystemTextNamesThatFailure) {
    FailingCall<"FormatMessageA", FormatMessageSignature> format(0, 317);
    EXPECT_EQ(failure(987654).errorText(), "Win32(987654Error getting message:317");
}

TEST(Win32Exception, UnknownCodeIsReportedByTheRealSystem) {
    EXPECT_TRUE(failure(0xEFFFFFFF).errorText().starts_with("Win32(4026531839Error getting message:"));
}

TEST(Win32Exception, KnownCodeHasOneLineOfTheRealSystem) {
    const std::string text = failure(5).errorText();
    EXPECT_TRUE(text.starts_with("Win32(5"));
    EXPECT_GT(text.size(), std::strlen("Win32(5"));
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
}

TEST(ThrowLastError, CarriesTheThreadsLastError) {
    EXPECT_EQ(thrownBy([] {
                  SetLastError(1450);
                  throwLastError("Thing::act() Call failed", ".\\Thing", 3);
              }),
              (Thrown{"Thing::act() Call failed", 1450, ".\\Thing", 3}));
}
