#include "Platform/ZKNotificationCenter.h"

#include "Platform/ZKLog.h"

#include <atomic>
#include <exception>

struct ZKNotificationCenter::Entry {
    ZKNotificationToken token;
    std::string name;
    ZKNotificationObserver observer;
    std::atomic<bool> alive {true};
};

ZKNotificationCenter& ZKNotificationCenter::DefaultCenter()
{
    static ZKNotificationCenter* center = new ZKNotificationCenter;
    return *center;
}

ZKNotificationToken ZKNotificationCenter::AddObserver(const std::string& name, ZKNotificationObserver observer)
{
    auto entry = std::make_shared<Entry>();
    entry->name = name;
    entry->observer = std::move(observer);
    std::lock_guard<std::mutex> lock(mMutex);
    entry->token = mNextToken++;
    mEntries.push_back(entry);
    return entry->token;
}

bool ZKNotificationCenter::RemoveObserver(ZKNotificationToken token)
{
    std::lock_guard<std::mutex> lock(mMutex);
    for (auto it = mEntries.begin(); it != mEntries.end(); ++it) {
        if ((*it)->token == token) {
            (*it)->alive = false;
            mEntries.erase(it);
            return true;
        }
    }
    return false;
}

size_t ZKNotificationCenter::Post(const std::string& name, const TGenDict& details)
{
    // A snapshot, so that observers can add and remove while we deliver.
    std::vector<std::shared_ptr<Entry>> targets;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        for (const auto& e : mEntries) {
            if (e->name.empty() || e->name == name)
                targets.push_back(e);
        }
    }
    size_t called = 0;
    for (const auto& e : targets) {
        if (!e->alive || !e->observer)
            continue;
        ++called;
        try {
            e->observer(name, details);
        } catch (const std::exception& ex) {
            ZKLogf(ZKLogCategory_GeneratorStorage, ZKLogLevel_Error, "Observer of notification %{public}s threw: %{public}s",
                {name, ex.what()});
        } catch (...) {
            ZKLogf(ZKLogCategory_GeneratorStorage, ZKLogLevel_Error, "Observer of notification %{public}s threw", {name});
        }
    }
    return called;
}

size_t ZKNotificationCenter::ObserverCount() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mEntries.size();
}
