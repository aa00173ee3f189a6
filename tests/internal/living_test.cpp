// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "ZeLumoLiving.h"

namespace {

using zelumo::Living;

TEST(Living, EndWaitsForTheVisitsOfOtherThreadsAlone)
{
    int object = 0;
    Living living(&object);
    const Living other(&living);
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> left{false};
    auto visitor = std::async(std::launch::async, [&] {
        const Living::Visit visit(&object);
        EXPECT_TRUE(visit);
        entered.set_value();
        leave.get_future().wait();
        left = true;
    });
    entered.get_future().wait();
    auto ended = std::async(std::launch::async, [&] {
        const Living::Visit own(&object);
        EXPECT_TRUE(own);
        living.End();
        EXPECT_FALSE(own);
        return left.load();
    });
    while (Living::Visit(&object))
        std::this_thread::yield();
    EXPECT_FALSE(Living::Visit(nullptr));
    EXPECT_TRUE(Living::Visit(&living)) << "of another object";
    leave.set_value();
    EXPECT_TRUE(ended.get());

    // One that is made anew at the same place is another.
    {
        Living again(&object);
        const Living::Visit visit(&object);
        again.End();
        const Living third(&object);
        EXPECT_FALSE(visit);
        EXPECT_TRUE(Living::Visit(&object));
    }
}

}  // namespace
