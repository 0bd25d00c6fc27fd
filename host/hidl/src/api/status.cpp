// SPDX-License-Identifier: Apache-2.0
#include <hidl/Status.h>
#include <string.h>

#include <algorithm>

namespace android::hardware {
namespace {

struct Name {
    int32_t code;
    const char* name;
};

constexpr Name kExceptionNames[] = {
    {Status::EX_NONE, "EX_NONE"},
    {Status::EX_SECURITY, "EX_SECURITY"},
    {Status::EX_BAD_PARCELABLE, "EX_BAD_PARCELABLE"},
    {Status::EX_ILLEGAL_ARGUMENT, "EX_ILLEGAL_ARGUMENT"},
    {Status::EX_NULL_POINTER, "EX_NULL_POINTER"},
    {Status::EX_ILLEGAL_STATE, "EX_ILLEGAL_STATE"},
    {Status::EX_NETWORK_MAIN_THREAD, "EX_NETWORK_MAIN_THREAD"},
    {Status::EX_UNSUPPORTED_OPERATION, "EX_UNSUPPORTED_OPERATION"},
    {Status::EX_TRANSACTION_FAILED, "EX_TRANSACTION_FAILED"},
};

// Debian's libutils declares statusToString() but does not define it.
constexpr Name kErrorNames[] = {
    {OK, "OK"},
    {UNKNOWN_ERROR, "UNKNOWN_ERROR"},
    {NO_MEMORY, "NO_MEMORY"},
    {INVALID_OPERATION, "INVALID_OPERATION"},
    {BAD_VALUE, "BAD_VALUE"},
    {BAD_TYPE, "BAD_TYPE"},
    {NAME_NOT_FOUND, "NAME_NOT_FOUND"},
    {PERMISSION_DENIED, "PERMISSION_DENIED"},
    {NO_INIT, "NO_INIT"},
    {ALREADY_EXISTS, "ALREADY_EXISTS"},
    {DEAD_OBJECT, "DEAD_OBJECT"},
    {FAILED_TRANSACTION, "FAILED_TRANSACTION"},
    {BAD_INDEX, "BAD_INDEX"},
    {NOT_ENOUGH_DATA, "NOT_ENOUGH_DATA"},
    {WOULD_BLOCK, "WOULD_BLOCK"},
    {TIMED_OUT, "TIMED_OUT"},
    {UNKNOWN_TRANSACTION, "UNKNOWN_TRANSACTION"},
    {FDS_NOT_ALLOWED, "FDS_NOT_ALLOWED"},
    {UNEXPECTED_NULL, "UNEXPECTED_NULL"},
};

template <size_t SIZE>
const char* nameOf(const Name (&names)[SIZE], int32_t code) {
    const Name* found =
        std::find_if(names, names + SIZE, [code](const Name& entry) { return entry.code == code; });
    return found != names + SIZE ? found->name : nullptr;
}

std::string exceptionName(int32_t code) {
    const char* name = nameOf(kExceptionNames, code);
    return name != nullptr ? name : std::to_string(code);
}

std::string errorText(status_t error) {
    const char* name = nameOf(kErrorNames, error);
    if (name != nullptr) return name;
    return error < 0 && error > -4096 ? strerror(-error) : std::to_string(error);
}

}  // namespace

Status Status::fromExceptionCode(int32_t exceptionCode, const char* message) {
    Status status;
    status.setException(exceptionCode, message);
    return status;
}

Status Status::fromStatusT(status_t error) {
    Status status;
    status.setFromStatusT(error);
    return status;
}

void Status::setException(int32_t exceptionCode, const char* message) {
    exception_ = exceptionCode;
    errorCode_ = exceptionCode == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK;
    message_ = message;
}

void Status::setFromStatusT(status_t status) {
    exception_ = status == OK ? EX_NONE : EX_TRANSACTION_FAILED;
    errorCode_ = status;
    message_.clear();
}

std::string Status::description() const {
    if (isOk()) return "No error";
    std::string text = "Status(" + exceptionName(exception_) + "): '";
    if (exception_ == EX_TRANSACTION_FAILED) text += errorText(errorCode_) + ": ";
    return text + message_ + "'";
}

std::ostream& operator<<(std::ostream& stream, const Status& status) {
    return stream << status.description();
}

namespace details {

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this == &other) return *this;
    if (!status_.isOk() && !examined_) unexamined();
    status_ = std::move(other.status_);
    examined_ = other.examined_;
    // The obligation to examine the error moves with it.
    other.examined_ = true;
    return *this;
}

void return_status::unexamined() const {
    logAlwaysFatal(("Failed HIDL return status not checked: " + status_.description()).c_str());
}

void return_status::failed() const {
    logAlwaysFatal(("Failed HIDL return status used as a success: " + status_.description()).c_str());
}

}  // namespace details
}  // namespace android::hardware
