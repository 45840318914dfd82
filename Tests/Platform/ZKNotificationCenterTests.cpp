#include "Platform/ZKNotificationCenter.h"

#include "Platform/ZKLog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

TEST(ZKNotificationCenter, DeliversInRegistrationOrderByName)
{
    ZKNotificationCenter center;
    std::vector<std::string> calls;
    center.AddObserver("LibraryChanged", [&](const std::string& name, const TGenDict& details) {
        calls.push_back("first " + name + " " + details.StringForKey("genre"));
    });
    center.AddObserver("StyleChanged", [&](const std::string&, const TGenDict&) { calls.push_back("style"); });
    center.AddObserver("", [&](const std::string& name, const TGenDict&) { calls.push_back("all " + name); });
    center.AddObserver("LibraryChanged", [&](const std::string&, const TGenDict& details) {
        calls.push_back("second " + std::to_string(details.IntegerForKey(1)));
    });

    EXPECT_EQ(center.Post("LibraryChanged", TGenDict {{"genre", "Funk"}, {1, 7}}), 3u);
    EXPECT_EQ(center.Post("Unrelated"), 1u);
    const std::vector<std::string> expected = {"first LibraryChanged Funk", "all LibraryChanged", "second 7", "all Unrelated"};
    EXPECT_EQ(calls, expected);
}

TEST(ZKNotificationCenter, ObserversMayRemoveAndAddDuringDelivery)
{
    ZKNotificationCenter center;
    std::vector<std::string> calls;
    ZKNotificationToken self = 0, later = 0;
    self = center.AddObserver("n", [&](const std::string&, const TGenDict&) {
        calls.push_back("once");
        EXPECT_TRUE(center.RemoveObserver(self));
    });
    center.AddObserver("n", [&](const std::string&, const TGenDict&) {
        calls.push_back("remover");
        center.RemoveObserver(later);
        center.AddObserver("n", [&](const std::string&, const TGenDict&) { calls.push_back("added"); });
    });
    later = center.AddObserver("n", [&](const std::string&, const TGenDict&) { calls.push_back("later"); });

    EXPECT_EQ(center.Post("n"), 2u);
    EXPECT_EQ(calls, (std::vector<std::string> {"once", "remover"}));
    calls.clear();
    center.Post("n");
    // The remover adds one more each time; the first one added now runs.
    EXPECT_EQ(calls, (std::vector<std::string> {"remover", "added"}));
    EXPECT_FALSE(center.RemoveObserver(self));
    EXPECT_FALSE(center.RemoveObserver(12345));
    EXPECT_EQ(center.ObserverCount(), 3u);
}

TEST(ZKNotificationCenter, AThrowingObserverIsLoggedAndSkipped)
{
    ZKNotificationCenter center;
    int reached = 0;
    center.AddObserver("n", [](const std::string&, const TGenDict&) { throw std::runtime_error("broken view"); });
    center.AddObserver("n", [&](const std::string&, const TGenDict&) { ++reached; });
    ZKLogSetStderrLevel(ZKLogLevel_Off);
    ZKLogCapture capture;
    EXPECT_EQ(center.Post("n"), 2u);
    EXPECT_EQ(reached, 1);
    EXPECT_EQ(capture.Records(), (std::vector<ZKLogRecord> {{ZKLogCategory_GeneratorStorage, ZKLogLevel_Error,
                                     "Observer of notification n threw: broken view"}}));
}

TEST(ZKNotificationCenter, CentersAreIndependentAndThreadSafe)
{
    EXPECT_EQ(&ZKNotificationCenter::DefaultCenter(), &ZKNotificationCenter::DefaultCenter());
    ZKNotificationCenter a, b;
    int inA = 0;
    a.AddObserver("n", [&](const std::string&, const TGenDict&) { ++inA; });
    EXPECT_EQ(b.Post("n"), 0u);
    EXPECT_EQ(inA, 0);

    std::atomic<int> delivered {0};
    ZKNotificationCenter shared;
    shared.AddObserver("tick", [&](const std::string&, const TGenDict&) { ++delivered; });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&shared] {
            for (int i = 0; i < 500; ++i) {
                const auto token = shared.AddObserver("other", [](const std::string&, const TGenDict&) {});
                shared.Post("tick");
                shared.RemoveObserver(token);
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(delivered.load(), 2000);
    EXPECT_EQ(shared.ObserverCount(), 1u);
}
