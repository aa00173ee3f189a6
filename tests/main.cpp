// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/page.h"

// Of every test program. A page that is used wrongly fails its test, and the next one runs.
int main(int argc, char** argv)
{
    test::OnMisuse([](const std::string& what) { ADD_FAILURE() << what; });
    // As this program is started, which tests in a process of their own do once more.
    std::vector<std::string> emulator{ZELUMO_EMULATOR};
    std::vector<char*> arguments;
    for (std::string& word : emulator)
        arguments.push_back(word.data());
    arguments.insert(arguments.end(), argv, argv + argc);
    arguments.push_back(nullptr);
    int count = static_cast<int>(arguments.size()) - 1;
    testing::InitGoogleTest(&count, arguments.data());
    return RUN_ALL_TESTS();
}
