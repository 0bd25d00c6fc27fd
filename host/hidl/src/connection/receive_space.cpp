// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "receive_space.h"

#include <errno.h>
#include <fcntl.h>
#include <log/log.h>
#include <string.h>
#include <sys/mman.h>

#include <algorithm>

#include "host/hidl/src/threads/spin.h"
#include "shared_memory.h"

namespace android::hardware::transport {
namespace {

constexpr size_t kPage = 4096;
static_assert(sizeof(SpaceBooks) <= kPage && sizeof(SpaceClaims) <= kPage);
static_assert(std::atomic<uint32_t>::is_always_lock_free && sizeof(std::atomic<uint32_t>) == 4,
              "the totals are shared between processes");

constexpr int64_t kReportInterval = 50'000'000;  // nanoseconds

// Senders that claim the same room at once all withdraw; one of the next attempts succeeds.
constexpr int kClaimAttempts = 32;

}  // namespace

uint32_t SpaceShare::slot() const {
    return static_cast<uint32_t>(this - space_->shares_);
}

void SpaceShare::take(uint32_t size, bool oneway) {
    taken_[kAllMessages] += size;
    if (oneway) taken_[kOnewayMessages] += size;
}

void SpaceShare::release(uint32_t size, bool oneway) {
    SpaceBooks::Slot& book = space_->books_->slots[slot()];
    book.released[kAllMessages] += size;
    if (oneway) book.released[kOnewayMessages] += size;
    if (closed_) space_->retireIfIdle(*this);
}

void SpaceShare::close() {
    SpaceClaims::Slot& claims = space_->claims_->slots[slot()];
    for (size_t total = 0; total < kSpaceTotals; ++total) claims.claimed[total] = taken_[total].load();
    closed_ = true;
    space_->retireIfIdle(*this);
}

bool SpaceShare::idle() const {
    return taken_[kAllMessages] == space_->books_->slots[slot()].released[kAllMessages];
}

ReceiveSpace& ReceiveSpace::own() {
    static ReceiveSpace* const space = new ReceiveSpace();
    return *space;
}

bool ReceiveSpace::makeMemory() {
    if (books_ != nullptr) return true;
    void* claims = createShared("hidl-space-claims", kPage, 0, &claimsFd_);
    void* books = createShared("hidl-space-books", kPage, F_SEAL_FUTURE_WRITE, &booksFd_);
    if (claims == nullptr || books == nullptr) {
        ALOGE("no memory to share the receive buffer, calls to this process are not counted: %s",
              strerror(errno));
        if (claims != nullptr) munmap(claims, kPage);
        if (books != nullptr) munmap(books, kPage);
        return false;
    }
    claims_ = static_cast<SpaceClaims*>(claims);
    books_ = static_cast<SpaceBooks*>(books);
    return true;
}

SpaceShare* ReceiveSpace::open(pid_t peer) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!makeMemory()) return nullptr;
    SpaceShare* share = std::find_if(std::begin(shares_), std::end(shares_),
                                     [](const SpaceShare& one) { return !one.inUse_; });
    if (share == std::end(shares_)) return nullptr;
    share->space_ = this;
    share->inUse_ = true;
    share->peer_ = peer;
    share->audit_ = {};
    const uint32_t slot = share->slot();
    SpaceBooks::Slot& book = books_->slots[slot];
    // A previous peer may still write to this slot: ignore all claims up to now.
    for (size_t total = 0; total < kSpaceTotals; ++total) {
        const uint32_t claimed = claims_->slots[slot].claimed[total];
        share->taken_[total] = claimed;
        book.released[total] = claimed;
    }
    share->closed_ = false;
    book.counts = excluded_ < kMaxExcluded ? 1 : 0;
    if (books_->slotsUsed <= slot) books_->slotsUsed = slot + 1;
    return share;
}

std::vector<int> ReceiveSpace::descriptors() {
    std::lock_guard<std::mutex> lock(mutex_);
    return {booksFd_.get(), claimsFd_.get()};
}

void ReceiveSpace::retireIfIdle(SpaceShare& share) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!share.inUse_ || !share.closed_ || !share.idle()) return;
    books_->slots[share.slot()].counts = 0;
    share.inUse_ = false;
}

void ReceiveSpace::audit(std::optional<uint32_t> audits) {
    std::lock_guard<std::mutex> lock(mutex_);
    const int64_t now = nowNanoseconds();
    if (books_ == nullptr || now - lastAudit_ < kReportInterval) return;
    if (audits.has_value() && *audits != books_->audits) return;
    lastAudit_ = now;
    for (SpaceShare& share : shares_) {
        if (share.inUse_ && !share.closed_) auditShare(share);
    }
    ++books_->audits;
}

void ReceiveSpace::auditShare(SpaceShare& share) {
    SpaceShare::Audit& audit = share.audit_;
    bool misses = false;
    bool waits = false;
    for (size_t total = 0; total < kSpaceTotals; ++total) {
        const uint32_t claimed = claims_->slots[share.slot()].claimed[total];
        const uint32_t taken = share.taken_[total];
        misses = misses || (audit.known && static_cast<int32_t>(audit.claimed[total] - taken) > 0);
        waits = waits || static_cast<int32_t>(claimed - taken) > 0;
        audit.claimed[total] = claimed;
    }
    audit.known = true;
    audit.misses = misses ? audit.misses + 1 : 0;
    audit.waits = waits ? audit.waits + 1 : 0;
    std::atomic<uint32_t>& counts = books_->slots[share.slot()].counts;
    if ((audit.misses < kMaxMisses && audit.waits < kMaxWaits) || counts == 0) return;
    counts = 0;
    ++excluded_;
    ALOGE(
        "room in the receive buffer is claimed for messages of process %d that do not come: they are not "
        "counted any more",
        share.peer_);
}

bool PeerSpace::isSane(int books, int claims, uint32_t slot) {
    return slot < kSpaceSlots && hasFixedSize(books, kPage) && hasFixedSize(claims, kPage);
}

std::unique_ptr<PeerSpace> PeerSpace::map(int books, int claims, uint32_t slot) {
    void* book = mapShared(books, kPage, PROT_READ);
    void* claim = mapShared(claims, kPage);
    if (book != nullptr && claim != nullptr) {
        return std::make_unique<PeerSpace>(static_cast<SpaceBooks*>(book), static_cast<SpaceClaims*>(claim),
                                           slot);
    }
    if (book != nullptr) munmap(book, kPage);
    if (claim != nullptr) munmap(claim, kPage);
    return nullptr;
}

PeerSpace::~PeerSpace() {
    munmap(const_cast<SpaceBooks*>(&books_), kPage);
    munmap(&claims_, kPage);
}

uint32_t PeerSpace::inFlight(SpaceTotal total) const {
    uint32_t sum = 0;
    const size_t slots = std::min<size_t>(books_.slotsUsed, kSpaceSlots);
    for (size_t slot = 0; slot < slots; ++slot) {
        const SpaceBooks::Slot& book = books_.slots[slot];
        if (book.counts == 0) continue;
        const uint32_t claimed = claims_.slots[slot].claimed[total];
        const auto room = static_cast<int32_t>(claimed - book.released[total]);
        sum += static_cast<uint32_t>(std::clamp<int32_t>(room, 0, 2 * kTransactionLimit));
    }
    return sum;
}

bool PeerSpace::fits(uint32_t size, bool oneway) const {
    return inFlight(kAllMessages) + size <= kTransactionLimit &&
           (!oneway || inFlight(kOnewayMessages) + size <= kTransactionLimit / 2);
}

void PeerSpace::add(uint32_t size, bool oneway) {
    claims_.slots[slot_].claimed[kAllMessages] += size;
    if (oneway) claims_.slots[slot_].claimed[kOnewayMessages] += size;
}

PeerSpace::Claim PeerSpace::claim(uint32_t size, bool oneway) {
    if (books_.slots[slot_].counts == 0) return Claim::NotCounted;
    for (int attempt = 0; attempt < kClaimAttempts; ++attempt) {
        if (attempt > 0 && !fits(size, oneway)) continue;
        add(size, oneway);
        if (fits(0, oneway)) return Claim::Granted;
        giveBack(size, oneway);
    }
    refused_ = true;
    return Claim::Refused;
}

void PeerSpace::giveBack(uint32_t size, bool oneway) {
    add(0 - size, oneway);
}

bool PeerSpace::reportDue(uint32_t* audits) {
    if (!refused_.exchange(false)) return false;
    const int64_t now = nowNanoseconds();
    int64_t last = lastReport_;
    if (now - last < kReportInterval || !lastReport_.compare_exchange_strong(last, now)) return false;
    *audits = books_.audits;
    return true;
}

}  // namespace android::hardware::transport
