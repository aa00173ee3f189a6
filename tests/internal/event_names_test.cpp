#include <gtest/gtest.h>

#include <map>
#include <string>

#include "ZeLumoPluginHandler.h"
#include "src/ppapi/web_runtime.h"

namespace {

const std::map<int, std::string> kContentNames{
    {90000, "PLOOMIA_EVENT_GET_CONTENT_FROM_DATABASE_COMPLETE"},
    {90001, "PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE"},
    {90002, "PLOOMIA_EVENT_GET_RECOMMENDATION_FROM_SERVER_COMPLETE"},
    {90003, "PLOOMIA_EVENT_GET_TODAY_FROM_SERVER_COMPLETE"},
    {90004, "PLOOMIA_EVENT_CACHE_CERTRULE_COMPLETE"},
    {90007, "PLOOMIA_EVENT_MSO_INFO_SET"},
    {90008, "PLOOMIA_EVENT_MSO_INFO_RESET"},
    {90009, "PLOOMIA_EVENT_ACTIVATE_PROGRAM_GUIDE_DONE"},
    {90010, "PLOOMIA_EVENT_DEACTIVATE_PROGRAM_GUIDE_DONE"},
    {90011, "PLOOMIA_EVENT_ACTIVATE_TIMELINE_DONE"},
    {90012, "PLOOMIA_EVENT_LOAD_ADDITIONAL_PROGRAM_MAP_FROM_SERVER_DONE"},
    {90013, "PLOOMIA_EVENT_THUMBNAIL_DOWNLOAD_DONE"},
    {90014, "PLOMMIA_EVENT_GET_VIRTUAL_SERVICES_COMPLETE"},
    {90015, "PLOMMIA_EVENT_GET_VIRTUAL_PROGRAMMES_COMPLETE"},
    {90016, "PLOMIA_EVENT_GET_SI_INFO"},
    {90017, "PLOMMIA_EVENT_DELETE_INVALID_ZELUMO_REMIND_ITEMS"},
};
const std::map<int, std::string> kSignalNames{
    {90019, "ITVS_Signal_ZELumo_Control_State_ChLoad"},
    {90020, "ITVS_Signal_ZELumo_Control_State_ChEnter"},
    {90021, "ITVS_Signal_ZELumo_Control_State_ChPause"},
    {90022, "ITVS_Signal_ZELumo_Control_State_ChResume"},
    {90023, "ITVS_Signal_ZELumo_Control_State_ChLeave"},
    {90027, "ITVS_Signal_Instant_On"},
    {90028, "ITVS_Signal_Instant_Off"},
};

class EventNames : public testing::Test {
  protected:
    pp::Instance instance_{PP_Instance{1}};
    CZeLumoPluginHandler handler_{&instance_};
};

TEST_F(EventNames, LeadFromNumbersAndBack)
{
    for (int number = 89990; number <= 90040; ++number) {
        SCOPED_TRACE(number);
        ePloomiaEvent event = static_cast<ePloomiaEvent>(number);
        std::string name = "untouched";
        const auto content = kContentNames.find(number);
        const auto signal = kSignalNames.find(number);
        const bool named = content != kContentNames.end() || signal != kSignalNames.end();
        EXPECT_EQ(handler_.m_ePloomiaEventToStrEvent(event, name), named);
        EXPECT_EQ(name, content != kContentNames.end() ? content->second
                        : signal != kSignalNames.end() ? signal->second
                                                       : "untouched");
        ePloomiaEvent back = static_cast<ePloomiaEvent>(5);
        EXPECT_EQ(handler_.m_StrEventToePloomiaEvent(name, back), content != kContentNames.end());
        EXPECT_EQ(back, content != kContentNames.end() ? number : 5);
    }
    for (std::string name : {"", "plomia_event_get_si_info", "PLOMIA_EVENT_GET_SI_INFO ", "PLOMIA_EVENT"}) {
        ePloomiaEvent back = static_cast<ePloomiaEvent>(5);
        EXPECT_FALSE(handler_.m_StrEventToePloomiaEvent(name, back)) << name;
        EXPECT_EQ(back, 5);
    }
}

TEST_F(EventNames, CopiesOfTheInstanceNameIt)
{
    const pp::Instance first = handler_.GetInstance();
    {
        const pp::Instance second = handler_.GetInstance();
        EXPECT_NE(&first, &second);
        EXPECT_EQ(second.pp_instance(), instance_.pp_instance());
    }
    EXPECT_EQ(first.pp_instance(), instance_.pp_instance());
    handler_.WasUnregistered(pp::InstanceHandle(&instance_));
    EXPECT_EQ(handler_.UIntToString(4294967295U), "4294967295");
}

}  // namespace
