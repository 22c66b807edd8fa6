// The end of the server process when its client's references are gone.

#include <engine/server_module.h>

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <thread>

using namespace std::chrono_literals;

namespace {

// A module whose monitor runs. The monitor's thread may outlive the test, so what it uses stays.
struct Watched {
    struct Parts {
        ServerModule module;
        platform::Event quit{platform::Event::Mode::kManualReset};
    };

    explicit Watched(std::chrono::milliseconds grace) : parts(Kept().emplace_back()) {
        module.StartMonitor([&event = quit] { event.Set(); }, grace);
    }

    static std::deque<Parts>& Kept() {
        static auto& kept = *new std::deque<Parts>;
        return kept;
    }

    Parts& parts;
    ServerModule& module = parts.module;
    platform::Event& quit = parts.quit;
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
