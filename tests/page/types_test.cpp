// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/support/host_process.h"
#include "tests/support/page.h"

namespace {

using test::J;
using test::Lines;
using test::Text;

/// A value, and the number that stands for it where a command takes whatever comes.
struct Value {
    const char* json;  ///< null: none at all
    int number;
};

constexpr Value kValues[] = {
    {nullptr, 0}, {"null", 0}, {"true", 0},  {"7", 7},   {"-2.9", -2},     {"1e12", 2147483647},
    {"-0", 0},    {"-0.0", 0}, {"\"7\"", 0}, {"[7]", 0}, {"{\"a\":7}", 0}, {"-1e12", -2147483648},
};

/// The plug-in with a Pepper that stops where a var is asked for what it hasn't.
class Types : public testing::Test {
  protected:
    Types()
    {
        // Each command gives the same again, however often.
        page_.Answer(R"("BmsCreatePlayer","result":-1)");
        page_.Answer(R"("BmsGetPlayTime","out":[1000])");
    }
    ~Types() override { page_.TakeMessages(); }

    /// The platform calls and the reply.
    Lines Outcome(const Json::Value& message)
    {
        SCOPED_TRACE(Text(message));
        test::Calls calls;
        Json::Value reply;
        EXPECT_NO_THROW(reply = page_.AwaitValue(message));
        EXPECT_NO_THROW(page_.Post(message));
        EXPECT_TRUE(reply["code"].isInt()) << Text(reply);
        Lines lines = calls.Take();
        lines.push_back(Text(reply));
        return lines;
    }

    test::Page page_{test::Page::Deliveries::Stepped, ZELUMO_ASKING_PLUGIN};
};

TEST_F(Types, AreAskedForBeforeValuesAre)
{
    const Json::Value description = J(test::ReadFile(ZELUMO_PAGE_API));
    ASSERT_EQ(description["commands"].size(), 49U);
    for (const Value& value : kValues) {
        Outcome(value.json != nullptr ? J(value.json) : Json::Value());
        for (const Json::Value& command : description["commands"]) {
            const auto changed = [&](const std::string& key, const char* json) {
                Json::Value message = command["example"];
                message.removeMember(key);
                if (json != nullptr)
                    message[key] = J(json);
                return message;
            };
            Outcome(changed("command", value.json));
            for (const Json::Value& parameter : command["parameters"]) {
                const std::string key = parameter["name"].asString();
                const auto outcome = Outcome(changed(key, value.json));
                const bool takes_any = parameter["type"] == "integer" && !parameter["typeChecked"].asBool();
                if (takes_any && value.json != nullptr) {
                    EXPECT_EQ(outcome, Outcome(changed(key, std::to_string(value.number).c_str())))
                        << Text(changed(key, value.json));
                }
            }
        }
    }
}

}  // namespace
