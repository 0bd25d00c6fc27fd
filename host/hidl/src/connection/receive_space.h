// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <android-base/unique_fd.h>
#include <sys/types.h>
#include <transport/message.h>
#include <transport/wire.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace android::hardware::transport {

class ReceiveSpace;

/**
 * How much of the process's receive buffer one link takes. Lives as long as the process; a
 * link has it from open() to close(). Any thread.
 */
class SpaceShare {
  public:
    /** Index of the link's slot in the shared memory. */
    uint32_t slot() const;

    /** A message that claimed `size` bytes was received. */
    void take(uint32_t size, bool oneway);
    /** The message is handled. */
    void release(uint32_t size, bool oneway);
    /** The peer is gone. Claims whose message was not received end now, the others as they are handled. */
    void close();

  private:
    friend class ReceiveSpace;

    struct Audit {
        uint32_t claimed[kSpaceTotals];  // at the last audit
        bool known = false;
        int misses = 0;  // audits in a row that missed messages claimed before the audit before
        int waits = 0;   // audits in a row that missed any
    };

    bool idle() const;

    ReceiveSpace* space_ = nullptr;
    std::atomic<uint32_t> taken_[kSpaceTotals] = {};
    std::atomic<bool> closed_{false};
    // With the space's mutex held:
    bool inUse_ = false;
    pid_t peer_ = -1;
    Audit audit_;
};

/**
 * The receive buffer of this process, which all its peers share: the receiver's side. The
 * senders claim room in shared memory before they send, so that nobody needs to ask the
 * receiver, which may be busy. What a peer writes there is not trusted: it decides whether
 * senders fail early, and nothing else. Any thread.
 *
 * A hostile peer can claim room and send nothing, in its own slot or in that of another.
 * Senders that are refused report it to the receiver, which then compares the claims with
 * what it received, and stops counting a slot whose claims are not followed by messages.
 * That takes some tenths of a second of refusals, or some seconds if the peer hides the
 * claims behind messages that it does send. After kMaxExcluded such slots, the slots of new
 * links are not counted either: a peer that comes again and again cannot go on for ever. A
 * slot that is not counted has no limit but that of its channels.
 */
class ReceiveSpace {
  public:
    static ReceiveSpace& own();

    /** A share for a new link; nullptr if there is no slot or no memory: its messages are not counted. */
    SpaceShare* open(pid_t peer);
    /** The descriptors that a peer needs: the books, the claims. */
    std::vector<int> descriptors();

    /**
     * A sender was refused. `look` is what it read in the books then: if no audit came in
     * between, messages that were claimed before the last one were sent before this notice,
     * and are received by now. Without `look` a reply brought the notice.
     */
    void audit(std::optional<uint32_t> look = std::nullopt);

  private:
    friend class SpaceShare;

    static constexpr int kMaxMisses = 3;
    static constexpr int kMaxWaits = 100;
    static constexpr int kMaxExcluded = 8;

    ReceiveSpace() = default;
    bool makeMemory() REQUIRES(mutex_);
    void auditShare(SpaceShare& share) REQUIRES(mutex_);
    void retireIfIdle(SpaceShare& share);

    std::mutex mutex_;
    base::unique_fd booksFd_ GUARDED_BY(mutex_);
    base::unique_fd claimsFd_ GUARDED_BY(mutex_);
    SpaceBooks* books_ = nullptr;  // set before the first share is given out
    SpaceClaims* claims_ = nullptr;
    SpaceShare shares_[kSpaceSlots];
    int64_t lastAudit_ GUARDED_BY(mutex_) = 0;
    int excluded_ GUARDED_BY(mutex_) = 0;
};

/** The receive buffer of a peer, as the senders of this process see it. Any thread. */
class PeerSpace {
  public:
    enum class Claim { Granted, Refused, NotCounted };

    /** Whether the descriptors and the slot are such as a peer may send. */
    static bool isSane(int books, int claims, uint32_t slot);
    /** Maps them; nullptr if the process has no address space left. */
    static std::unique_ptr<PeerSpace> map(int books, int claims, uint32_t slot);

    PeerSpace(const SpaceBooks* books, SpaceClaims* claims, uint32_t slot)
        : books_(*books), claims_(*claims), slot_(slot) {}
    ~PeerSpace();
    PeerSpace(const PeerSpace&) = delete;
    PeerSpace& operator=(const PeerSpace&) = delete;

    /** Claims room for a message of `size` bytes. */
    Claim claim(uint32_t size, bool oneway);
    /** The message was not sent after all. */
    void giveBack(uint32_t size, bool oneway);

    /** Returns whether to report a refused claim now. Stores the `look` that the report must carry. */
    bool reportDue(uint32_t* look);

  private:
    uint32_t inFlight(SpaceTotal total) const;
    bool fits(uint32_t size, bool oneway) const;
    void add(uint32_t size, bool oneway);

    const SpaceBooks& books_;
    SpaceClaims& claims_;
    const uint32_t slot_;
    std::atomic<bool> refused_{false};
    std::atomic<int64_t> lastReport_{0};
};

}  // namespace android::hardware::transport
