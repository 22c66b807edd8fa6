// The end of the server process when its client's references are gone.

#include <engine/server_module.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using namespace std::chrono_literals;

namespace {

// A module whose monitor runs; the monitor's thread never ends, so the module stays.
struct Watched {
    ServerModule& module = *new ServerModule;
    platform::Event& quit = *new platform::Event(platform::Event::Mode::kManualReset);

    explicit Watched(std::chrono::milliseconds grace) {
        module.StartMonitor([&event = quit] { event.Set(); }, grace);
    }
};

TEST(ServerModuleTest, TheLastReleaseEndsTheProcessAndNoEarlierOne) {
    Watched watched(1ms);
    EXPECT_EQ(watched.module.Lock(), 1u);
    EXPECT_EQ(watched.module.Lock(), 2u);
    EXPECT_EQ(watched.module.Unlock(), 1u);
    EXPECT_FALSE(watched.quit.WaitFor(50ms));
    EXPECT_EQ(watched.module.Unlock(), 0u);
    EXPECT_TRUE(watched.quit.WaitFor(60s));
}

TEST(ServerModuleTest, AClientThatComesBackInTimeKeepsTheProcess) {
    constexpr auto kGrace = 200ms;
    bool inTime = false;
    while (!inTime) {
        Watched watched(kGrace);
        watched.module.Lock();
        auto left = std::chrono::steady_clock::now();
        watched.module.Unlock();
        watched.module.Lock();
        // A machine that paused in between has not tried what is to be tried.
        inTime = std::chrono::steady_clock::now() - left < kGrace / 2;
        bool quit = watched.quit.WaitFor(3 * kGrace);
        EXPECT_TRUE(!inTime || !quit);
        watched.module.Unlock();
        EXPECT_TRUE(watched.quit.WaitFor(60s));
    }
}

} // namespace
