// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

namespace test {

/// Runs `body` in a process of its own, in which nothing has happened yet; failures there are failures of the
/// test.
inline void InFreshProcess(const std::string& what, const std::function<void()>& body)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            body();
            // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody else ends this process
            std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "")
        << what;
}

}  // namespace test
