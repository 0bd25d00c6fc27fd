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
 * Counts how much of the process's receive buffer one link takes. It lives as long as the process; a
 * link uses it from open() to close(). Any thread.
 */
class SpaceShare {
  public:
    /** Returns the index of the link's slot in the shared memory. */
    uint32_t slot() const;

    /** Counts a received message that claimed `size` bytes. */
    void take(uint32_t size, bool oneway);
    /** Counts a message that has been handled. */
    void release(uint32_t size, bool oneway);
    /**
     * Called when the peer has ended. Claims whose message was not received end now, the others when
     * their message has been handled.
     */
    void close();

  private:
    friend class ReceiveSpace;

    struct Audit {
        uint32_t claimed[kSpaceTotals];  // at the last audit
        bool known = false;
        int misses = 0;  // consecutive audits that missed messages claimed before the previous audit
        int waits = 0;   // consecutive audits that missed any claimed message
    };

    bool idle() const;

    ReceiveSpace* space_ = nullptr;
    std::atomic<uint32_t> taken_[kSpaceTotals] = {};
    std::atomic<bool> closed_{false};
    // Guarded by the mutex of space_:
    bool inUse_ = false;
    pid_t peer_ = -1;
    Audit audit_;
};

/**
 * The receiver's side of this process's receive buffer, which all its peers share. Senders claim room
 * in shared memory before they send, so that they need not ask the receiver, which may be busy. The
 * values that peers write there are not trusted: they only decide whether senders fail early. Any
 * thread.
 *
 * A hostile peer can claim room and send nothing, in its own slot or in another peer's. Senders report
 * refused claims to the receiver, which compares the claims with the received messages, and stops
 * counting a slot whose claims are not followed by messages. That takes some tenths of a second of
 * refusals, or some seconds if the peer hides the claims behind messages that it does send. After
 * kMaxExcluded such slots, the slots of new links are not counted either, so that a peer cannot repeat
 * this for ever with new links. An uncounted slot is only limited by the number of its channels.
 */
class ReceiveSpace {
  public:
    static ReceiveSpace& own();

    /**
     * Returns a share for a new link, or `nullptr` if there is no free slot or no memory: the messages of
     * the link are not counted then.
     */
    SpaceShare* open(pid_t peer);
    /** Returns the descriptors to send to a peer: books, claims. */
    std::vector<int> descriptors();

    /**
     * Audits the claims of all slots after a sender's claim was refused, at most every 50 ms.
     *
     * @param audits number of audits that the sender read in the books. If there was another audit since,
     *               nothing is done: only without one in between is it certain that messages claimed
     *               before the last audit were sent before this report, and have been received. None if
     *               the refusal was reported by a reply
     */
    void audit(std::optional<uint32_t> audits = std::nullopt);

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

/** The receive buffer of a peer, for the senders of this process. Any thread. */
class PeerSpace {
  public:
    enum class Claim { Granted, Refused, NotCounted };

    /** Returns whether descriptors and slot, as received from a peer, are valid. */
    static bool isSane(int books, int claims, uint32_t slot);
    /** Maps the two pages. Returns `nullptr` and sets errno if no address space is left. */
    static std::unique_ptr<PeerSpace> map(int books, int claims, uint32_t slot);

    PeerSpace(const SpaceBooks* books, SpaceClaims* claims, uint32_t slot)
        : books_(*books), claims_(*claims), slot_(slot) {}
    ~PeerSpace();
    PeerSpace(const PeerSpace&) = delete;
    PeerSpace& operator=(const PeerSpace&) = delete;

    /** Claims room for a message of `size` bytes. */
    Claim claim(uint32_t size, bool oneway);
    /** Withdraws the claim of a message that was not sent. */
    void giveBack(uint32_t size, bool oneway);

    /** Returns whether to report a refused claim now, and stores the number of audits for the report. */
    bool reportDue(uint32_t* audits);

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
