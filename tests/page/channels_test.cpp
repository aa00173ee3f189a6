// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <map>

#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

using test::Text;

TEST(Channels, ALineUpIsReadAsFetchedAndWalkedRound)
{
    test::Page page;
    const auto ask = [&page](const std::string& command) {
        return page.Await(R"({"command":")" + command + "\"}");
    };
    IServiceNavigation* navigation = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateServiceNavigation(EPROFILE_TV, 0, &navigation), 1);
    tv::LoadTv(tv::ParseTv(R"({"channels":[{"id":"7","name":"A","major":1,"200":-5},{"id":"8"},{"id":"9"}]})",
                           tv::SampleTv()));
    for (const auto& [fetch, fields] : std::map<std::vector<int>, std::string>{
             {{}, "{}"}, {{12}, R"({"12":"7"})"}, {{14, 16, 200, 1, 16}, R"({"16":"A","200":-5})"}}) {
        TCCriteriaHelper criteria;
        for (const int field : fetch)
            criteria.Fetch(field);
        TCServiceData service;
        EXPECT_EQ(navigation->GetCurrentService(TSTvMode(), criteria, service), 1);
        EXPECT_EQ(Text(tv::ToJson(service)), fields);
        // Records are appended to what the caller has.
        std::list<TCServiceData*> list{new TCServiceData};
        EXPECT_EQ(navigation->GetServiceList(criteria, list, TSTvMode(), 0, 0), 0);
        ASSERT_EQ(list.size(), 4U);
        EXPECT_EQ(Text(tv::ToJson(**std::next(list.begin()))), fields);
        for (const TCServiceData* one : list)
            delete one;
    }
    for (const char* id : {"8", "9", "7"}) {
        EXPECT_EQ(ask("SetNextService")["data"], true);
        EXPECT_EQ(tv::TvService::Get().CurrentJson()["serviceId"], id);
    }
    tv::LoadTv(tv::ParseTv(R"({"channels":[]})", tv::SampleTv()));
    EXPECT_EQ(ask("GetCurrentChannelInfo")["code"], 28);
    EXPECT_EQ(ask("SetNextService")["data"], false);
    EXPECT_EQ(test::J(ask("GetZELumoServices")["data"].asString())["TCServiceData"], Json::Value());
    EXPECT_TRUE(tv::TvService::Get().CurrentJson().isNull());
    tv::LoadTv(tv::SampleTv());
}

}  // namespace
