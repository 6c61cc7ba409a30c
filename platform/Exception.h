#pragma once

#include <cstdint>
#include <string>

namespace kal {

/// A failed operating-system call: what was called, its error code and where it was thrown. The order of the virtual
/// operations is part of the binary interface.
class Exception {
  public:
    Exception(std::string message, uint32_t code, std::string sourceFile, uint32_t sourceLine);
    Exception(const Exception &) = default;
    Exception &operator=(const Exception &) = default;
    virtual ~Exception() = default;

    /// The code in decimal; empty when the code is 0.
    [[nodiscard]] virtual std::string errorText() const;
    [[nodiscard]] virtual uint32_t code() const { return code_; }
    [[nodiscard]] virtual std::string message() const { return message_; }

  private:
    std::string message_;
    uint32_t code_;

  public:
    std::string file; ///< ".\" and the source's name without extension; may be empty
    uint32_t line;    ///< fixed identifier of the throw site, not a place in the source (Thread: real line); 0 if none
};

/// An Exception whose text includes the system's message for its code.
class Win32Exception : public Exception {
  public:
    using Exception::Exception;

    /// "Win32(", the code and the system's message without a separator or a closing parenthesis; deliberate, since log
    /// readers know this form. Empty if the code is 0.
    [[nodiscard]] std::string errorText() const override;
};

/// Throws a Win32Exception with the calling thread's last error.
[[noreturn]] void throwLastError(const char *message, const char *file, uint32_t line);

} // namespace kal
