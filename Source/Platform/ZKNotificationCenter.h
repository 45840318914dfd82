#pragma once

#include "Platform/TGenDict.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// Notifications by name with a dictionary of details, for the authoring views.
//
// Post calls the observers of the name synchronously, on the posting thread,
// in the order they were added. Observers added during a delivery wait for
// the next post; an observer removed during a delivery (also by itself) is
// not called again, not even later in the same delivery. Observers may post.
// An observer that throws is reported in the log and the delivery goes on.
// Centers are thread-safe; the lock is never held while an observer runs.

using ZKNotificationObserver = std::function<void(const std::string& name, const TGenDict& details)>;
// Identifies an observer for removal; never 0.
using ZKNotificationToken = uint64_t;

class ZKNotificationCenter {
public:
    ZKNotificationCenter() = default;
    ZKNotificationCenter(const ZKNotificationCenter&) = delete;
    ZKNotificationCenter& operator=(const ZKNotificationCenter&) = delete;

    // The process-wide center.
    static ZKNotificationCenter& DefaultCenter();

    // Observes notifications called `name`; an empty name observes all.
    ZKNotificationToken AddObserver(const std::string& name, ZKNotificationObserver observer);
    // False when the token is unknown (or already removed).
    bool RemoveObserver(ZKNotificationToken token);
    // Delivers and returns the number of observers called.
    size_t Post(const std::string& name, const TGenDict& details = {});

    size_t ObserverCount() const;

private:
    struct Entry;
    mutable std::mutex mMutex;
    std::vector<std::shared_ptr<Entry>> mEntries;
    ZKNotificationToken mNextToken = 1;
};
