#include <gtest/gtest.h>

#include "ZeLumoPluginHandler.h"
#include "tests/support/page.h"
#include "tv/tv.h"

namespace {

TEST(DestroyedHandler, DropsWhatStillArrives)
{
    // Between the flag and the end of a subscription callbacks may still come.
    pp::Instance instance{PP_Instance{1}};
    CZeLumoPluginHandler handler(&instance);
    std::string key = "destroyed/key";
    ASSERT_TRUE(handler.RegisterEvent(PLOOMIA_EVENT_MSO_INFO_SET));
    ASSERT_TRUE(handler.AddVconfCallbackWithKey(key));
    handler.SetDestroyed();
    test::Log log;
    EXPECT_EQ(tv::Tv::Get().event_proxy().Notify(PLOOMIA_EVENT_MSO_INFO_SET, false), std::vector<int>{-1});
    EXPECT_EQ(log.Take(), (std::vector<std::string>{
                              "0/6 zelumo-pepper t_VordaOnEvent:  CZeLumoPluginHandler::t_onEvent is called",
                              "0/6 zelumo-pepper t_VordaOnEvent:  pluginVorda is destroyed"}));
    EXPECT_EQ(tv::Tv::Get().settings().SetAndTell(key, 1, false), 1U);
    EXPECT_EQ(log.Take(),
              std::vector<std::string>{"0/6 zelumo-pepper t_VconfChangedCallBack: "
                                       "[CZeLumoPluginHandler::t_VconfChangedCallBack] pluginVorda is "
                                       "destroyed"});
}

}  // namespace
