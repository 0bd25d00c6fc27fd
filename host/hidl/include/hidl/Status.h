// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlInternal.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <utility>

namespace android::hardware {

/** Outcome of a call: success, a transport error or an exception of the callee. */
class Status final {
  public:
    enum Exception : int32_t {
        EX_NONE = 0,
        EX_SECURITY = -1,
        EX_BAD_PARCELABLE = -2,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        EX_ILLEGAL_STATE = -5,
        EX_NETWORK_MAIN_THREAD = -6,
        EX_UNSUPPORTED_OPERATION = -7,
        EX_TRANSACTION_FAILED = -129,
    };

    Status() = default;
    static Status ok() { return Status(); }
    static Status fromExceptionCode(int32_t exceptionCode, const char* message = "");
    /** Returns the status of a transport error, or an ok status for OK. */
    static Status fromStatusT(status_t status);

    void setException(int32_t exceptionCode, const char* message);
    void setFromStatusT(status_t status);

    int32_t exceptionCode() const { return exception_; }
    const char* exceptionMessage() const { return message_.c_str(); }
    status_t transactionError() const { return exception_ == EX_TRANSACTION_FAILED ? errorCode_ : OK; }
    bool isOk() const { return exception_ == EX_NONE; }
    std::string description() const;

  private:
    int32_t exception_ = EX_NONE;
    status_t errorCode_ = OK;
    std::string message_;
};

std::ostream& operator<<(std::ostream& stream, const Status& status);

template <typename T>
class Return;

namespace details {

/**
 * A status that the caller must examine. The process aborts if an error is destroyed or overwritten
 * unexamined, and if the value of a failed call is read.
 */
class return_status {
  public:
    return_status() = default;
    return_status(const Status& status) : status_(status) {}  // NOLINT: as on the platform
    return_status(return_status&& other) noexcept { *this = std::move(other); }
    return_status& operator=(return_status&& other) noexcept;
    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;
    ~return_status() {
        if (!status_.isOk() && !examined_) unexamined();
    }

    /** Returns whether the call succeeded. Marks the status as examined. */
    bool isOk() const {
        examined_ = true;
        return status_.isOk();
    }
    /** Marks the status as examined only if it returns true. */
    bool isDeadObject() const {
        const bool dead = status_.transactionError() == DEAD_OBJECT;
        examined_ = examined_ || dead;
        return dead;
    }
    /** Like isOk(), but does not mark the status as examined. */
    bool isOkUnchecked() const { return status_.isOk(); }
    std::string description() const { return status_.description(); }

    /** Aborts the process on an error. For the generated code. */
    void assertOk() const {
        if (!isOk()) failed();
    }

  private:
    template <typename From, typename To>
    friend Return<To> StatusOf(const Return<From>& failed);

    [[noreturn]] void unexamined() const;
    [[noreturn]] void failed() const;

    Status status_;
    mutable bool examined_ = false;
};

}  // namespace details

/** Result of a call: a value or an error. */
template <typename T>
class [[nodiscard]] Return : public details::return_status {
  public:
    Return(T value) : value_(std::move(value)) {}                               // NOLINT: as on the platform
    Return(const Status& status) : details::return_status(status), value_{} {}  // NOLINT
    Return(Return&&) noexcept = default;
    Return& operator=(Return&&) noexcept = default;
    ~Return() = default;

    operator T() const {  // NOLINT
        assertOk();
        return value_;
    }
    /** Returns the value, or `fallback` on an error. Marks the status as examined. */
    T withDefault(T fallback) { return isOk() ? value_ : std::move(fallback); }

  private:
    T value_;
};

template <>
class [[nodiscard]] Return<void> : public details::return_status {
  public:
    Return() = default;
    Return(const Status& status) : details::return_status(status) {}  // NOLINT
    Return(Return&&) noexcept = default;
    Return& operator=(Return&&) noexcept = default;
    ~Return() = default;
};

static inline Return<void> Void() {
    return Return<void>();
}

namespace details {

/** Returns the error of a call as a result of another type. */
template <typename From, typename To>
Return<To> StatusOf(const Return<From>& failed) {
    return Return<To>(failed.status_);
}

}  // namespace details

}  // namespace android::hardware
