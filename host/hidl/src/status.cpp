// SPDX-License-Identifier: Apache-2.0
#include <hidl/Status.h>
#include <string.h>

namespace android::hardware {
namespace {

struct ExceptionName {
    int32_t code;
    const char* name;
};

constexpr ExceptionName kExceptionNames[] = {
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

std::string exceptionName(int32_t code) {
    for (const ExceptionName& entry : kExceptionNames) {
        if (entry.code == code) return entry.name;
    }
    return std::to_string(code);
}

// Debian's libutils declares statusToString and does not have it.
std::string errorText(status_t error) {
    switch (error) {
        case UNKNOWN_ERROR:
            return "UNKNOWN_ERROR";
        case BAD_TYPE:
            return "BAD_TYPE";
        case FAILED_TRANSACTION:
            return "FAILED_TRANSACTION";
        case DEAD_OBJECT:
            return "DEAD_OBJECT";
        case UNKNOWN_TRANSACTION:
            return "UNKNOWN_TRANSACTION";
        default:
            return error < 0 && error > -4096 ? strerror(-error) : std::to_string(error);
    }
}

}  // namespace

Status Status::fromExceptionCode(int32_t exceptionCode) {
    return fromExceptionCode(exceptionCode, "");
}

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
    mException = exceptionCode;
    mErrorCode = exceptionCode == EX_TRANSACTION_FAILED ? static_cast<status_t>(FAILED_TRANSACTION)
                                                        : static_cast<status_t>(OK);
    mMessage = message;
}

void Status::setFromStatusT(status_t status) {
    mException = status == OK ? EX_NONE : EX_TRANSACTION_FAILED;
    mErrorCode = status;
    mMessage.clear();
}

std::string Status::description() const {
    if (isOk()) return "No error";
    std::string text = "Status(" + exceptionName(mException) + "): '";
    if (mException == EX_TRANSACTION_FAILED) text += errorText(mErrorCode) + ": ";
    return text + mMessage + "'";
}

std::ostream& operator<<(std::ostream& stream, const Status& status) {
    return stream << status.description();
}

namespace details {

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this == &other) return *this;
    if (!mStatus.isOk() && !mExamined) unexamined();
    mStatus = std::move(other.mStatus);
    mExamined = other.mExamined;
    // The obligation to examine has moved.
    other.mExamined = true;
    return *this;
}

void return_status::unexamined() const {
    logAlwaysFatal(("Failed HIDL return status not checked: " + mStatus.description()).c_str());
}

void return_status::failed() const {
    logAlwaysFatal(("Failed HIDL return status used as a success: " + mStatus.description()).c_str());
}

}  // namespace details
}  // namespace android::hardware
