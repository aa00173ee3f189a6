// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "ZeLumoPluginHandler.h"
#include "ppapi/cpp/var_array.h"
#include "ppapi/cpp/var_dictionary.h"

namespace {

TEST(Handler, LeadsFromEventNumbersToNamesAndBack)
{
    pp::Instance instance(PP_Instance{1});
    CZeLumoPluginHandler handler(&instance);
    // The names are held against the description of the page's interface; only those of the content
    // service lead back.
    const std::set<int> content{90000, 90001, 90002, 90003, 90004, 90007, 90008, 90009,
                                90010, 90011, 90012, 90013, 90014, 90015, 90016, 90017};
    const std::set<int> signals{90019, 90020, 90021, 90022, 90023, 90027, 90028};
    for (int number = 89990; number <= 90040; ++number) {
        SCOPED_TRACE(number);
        ePloomiaEvent event = static_cast<ePloomiaEvent>(number);
        std::string name = "untouched";
        const bool named = content.count(number) + signals.count(number) > 0;
        EXPECT_EQ(handler.m_ePloomiaEventToStrEvent(event, name), named);
        EXPECT_EQ(name != "untouched", named);
        ePloomiaEvent back = static_cast<ePloomiaEvent>(5);
        EXPECT_EQ(handler.m_StrEventToePloomiaEvent(name, back), content.count(number) > 0);
        EXPECT_EQ(back, content.count(number) > 0 ? number : 5);
    }
}

/// What this program is linked with finds what it is there for.
TEST(Pepper, StopsWhereAVarIsTakenForAnotherType)
{
    for (const pp::Var& var : {pp::Var(), pp::Var(pp::Var::Null()), pp::Var(true), pp::Var(7), pp::Var(2.5),
                               pp::Var("7"), pp::Var(pp::VarArray()), pp::Var(pp::VarDictionary())}) {
        SCOPED_TRACE(var.DebugString());
        const auto asks = [](bool has_type, auto ask) {
            if (has_type)
                EXPECT_NO_THROW(ask());
            else
                EXPECT_THROW(ask(), std::logic_error);
        };
        asks(var.is_bool(), [&] { return var.AsBool(); });
        asks(var.is_number(), [&] { return var.AsInt(); });
        asks(var.is_number(), [&] { return var.AsDouble(); });
        asks(var.is_string(), [&] { return var.AsString(); });
        asks(var.is_array(), [&] { return pp::VarArray(var); });
        asks(var.is_dictionary(), [&] { return pp::VarDictionary(var); });
    }
}

}  // namespace
