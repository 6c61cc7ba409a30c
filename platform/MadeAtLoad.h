#pragma once

#include <exception>
#include <optional>

namespace kal {

/// An object that is made while the library is loaded. A static initialiser must not throw, so get() rethrows an
/// exception of the constructor to the code that needs the object.
template <class Object>
class MadeAtLoad {
  public:
    template <class... Arguments>
    explicit MadeAtLoad(const Arguments &...arguments) noexcept {
        try {
            object_.emplace(arguments...);
        } catch (...) {
            failure_ = std::current_exception();
        }
    }
    MadeAtLoad(const MadeAtLoad &) = delete;
    MadeAtLoad &operator=(const MadeAtLoad &) = delete;
    ~MadeAtLoad() = default;

    [[nodiscard]] Object &get() {
        demand();
        return *object_;
    }
    [[nodiscard]] const Object &get() const {
        demand();
        return *object_;
    }

  private:
    void demand() const {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

    std::optional<Object> object_;
    std::exception_ptr failure_;
};

} // namespace kal
