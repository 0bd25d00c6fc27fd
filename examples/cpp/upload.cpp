// SPDX-License-Identifier: Apache-2.0
#include "upload.h"

#include <algorithm>

using android::sp;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;

namespace {

class ResultListener : public audio::V5_0::IHeadphoneVirtualizerCallback {
  public:
    ResultListener(const sp<Events>& events, uint64_t link) : events_(events), link_(link) {}

    Return<void> onApplyResult(int32_t result) override {
        events_->add({Event::Kind::Uploaded, "", result, link_});
        return Void();
    }

  private:
    const sp<Events> events_;
    const uint64_t link_;
};

}  // namespace

Upload::Upload(const Connection& connection, const sp<Events>& events, std::vector<uint8_t> data)
    : connection_(connection), events_(events), data_(std::move(data)) {
    const Return<int32_t> piece = connection.virtualizer->getMaxAppendSize();
    const Return<int32_t> handle = connection.virtualizer->allocateParameterBuffer(
        audio::V5_0::ParamType::HRTF, static_cast<int32_t>(data_.size()));
    if (!piece.isOk() || !handle.isOk() || handle == 0) {
        state_ = State::Failed;
        return;
    }
    piece_ = static_cast<size_t>(static_cast<int32_t>(piece));
    handle_ = handle;
}

void Upload::step() {
    if (appended_ == data_.size()) return start();
    const size_t count = std::min(piece_, data_.size() - appended_);
    hidl_vec<uint8_t> piece;
    piece.setToExternal(const_cast<uint8_t*>(data_.data()) + appended_, count);
    appended_ += count;
    proceed(connection_.virtualizer->append(handle_, piece), State::Appending);
}

void Upload::start() {
    const sp<ResultListener> listener = new ResultListener(events_, connection_.link);
    proceed(connection_.virtualizer->apply(handle_, listener), State::Waiting);
}

void Upload::proceed(const Return<int32_t>& result, State next) {
    if (result.isOk() && result == 0) {
        state_ = next;
    } else if (!result.isOk() && result.isDeadObject()) {
        state_ = State::Waiting;
    } else {
        discard();
    }
}

void Upload::cancel() {
    if (state_ == State::Appending) return discard();
    // The result is not needed: an upload that cannot be cancelled any more reports its own result.
    static_cast<void>(connection_.virtualizer->cancel(handle_).isOk());
}

void Upload::discard() {
    static_cast<void>(connection_.virtualizer->discardParameterBuffer(handle_).isOk());
    state_ = State::Failed;
}

int Upload::percent() const {
    return data_.empty() ? 100 : static_cast<int>(100 * appended_ / data_.size());
}
