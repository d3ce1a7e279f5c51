// Simulated time: order and determinism of virtual time, paced time, switching.
#include "base/clock.h"
#include "support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace
{

// What happened, in order; "NAME@MILLISECONDS". Without a lock: in virtual time one thread is at work at a time.
struct Log {
    void add(const std::string& name)
    {
        lines.push_back(name + "@" + std::to_string((sim::now() - start) / 1000));
    }

    const sim::Microseconds start = sim::now();
    std::vector<std::string> lines;
};

class ClockTest : public testing::Test
{
protected:
    ClockTest()
    {
        sim::use_virtual_time();
        sim::wait(0); // this thread takes part: time stands still while it works
    }
    ~ClockTest() override
    {
        // Threads that ended have left by now or are about to.
        while (sim::taking_part() > 1) {
            std::this_thread::yield();
        }
    }
};

void ms(int milliseconds)
{
    sim::wait(sim::Microseconds{milliseconds} * 1000);
}

// Lets time pass until a thread has ended.
void join(std::thread& thread)
{
    sim::step_aside();
    thread.join();
    sim::wait(0);
}

TEST_F(ClockTest, EventsHappenInOrderAtEveryRun)
{
    const auto run = [] {
        Log log;
        const int tick = sim::every(10'000, [&] { log.add("tick"); });
        const auto waiter = [&log](const char* name, int milliseconds, int times) {
            return std::thread([=, &log] {
                for (int i = 0; i < times; ++i) {
                    ms(milliseconds);
                    log.add(name);
                }
            });
        };
        std::thread a = waiter("a", 10, 3);
        EXPECT_TRUE(bench::eventually([] { return sim::taking_part() >= 2; }));
        std::thread b = waiter("b", 15, 2);
        EXPECT_TRUE(bench::eventually([] { return sim::taking_part() >= 3; }));
        for (int i = 0; i < 1000; ++i) {
            std::this_thread::yield(); // time stands still while this thread works
        }
        EXPECT_TRUE(log.lines.empty());
        ms(35);
        log.add("main");
        sim::cancel(tick);
        join(a);
        join(b);
        return log.lines;
    };
    const std::vector<std::string> expected{"tick@10", "a@10", "b@15", "tick@20", "a@20",
                                            "tick@30", "b@30", "a@30", "main@35"};
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(run(), expected);
    }
}

TEST_F(ClockTest, TicksMayChangeTicks)
{
    Log log;
    int second = 0;
    int first = 0;
    first = sim::every(10'000, [&] {
        log.add("first");
        if (second == 0) {
            second = sim::every(5'000, [&] { log.add("second"); });
        } else {
            sim::cancel(first);
        }
    });
    ms(32);
    sim::cancel(second);
    ms(100);
    EXPECT_EQ(log.lines,
              (std::vector<std::string>{"first@10", "second@15", "first@20", "second@20", "second@25", "second@30"}));
}

// Threads wait throughout while the way time passes changes under them.
TEST_F(ClockTest, SwitchingLosesNoWakeUp)
{
    std::atomic<bool> stop{false};
    std::atomic<int> waits{0};
    std::vector<std::thread> threads;
    for (const int microseconds : {1000, 1077, 1154, 1231}) {
        threads.emplace_back([&, microseconds] {
            for (; !stop; ++waits) {
                sim::wait(microseconds);
            }
        });
    }
    std::atomic<int> ticks{0};
    const int tick = sim::every(3000, [&] { ++ticks; });
    EXPECT_TRUE(bench::eventually([] { return sim::taking_part() >= 5; }));
    sim::Microseconds last = sim::now();
    for (int i = 0; i < 40; ++i) {
        const int before = waits;
        i % 2 == 0 ? sim::use_paced_time(1000.0) : sim::use_virtual_time();
        sim::wait(5000);
        EXPECT_GE(sim::now(), last) << "time never goes back";
        last = sim::now();
        while (waits == before) { // hangs here if a wake-up was lost
            sim::wait(1000);
        }
    }
    for (const bool paced : {true, false, true, false}) { // a tick may switch too
        const int once = sim::every(1000, [=] { paced ? sim::use_paced_time(1000.0) : sim::use_virtual_time(); });
        sim::wait(2500);
        sim::cancel(once);
        sim::wait(2500);
    }
    sim::use_virtual_time();
    sim::cancel(tick);
    EXPECT_GT(ticks, 20);
    stop = true;
    std::ranges::for_each(threads, join);
}

} // namespace
