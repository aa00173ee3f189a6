#include <gtest/gtest.h>

#include <set>
#include <string>

#include "ZeLumoPluginHandler.h"
#include "src/ppapi/web_runtime.h"

namespace {

/// The numbers that have a name. Their names are held against the description of the page's interface;
/// only those of the content service lead back.
const std::set<int> kContentEvents{90000, 90001, 90002, 90003, 90004, 90007, 90008, 90009,
                                   90010, 90011, 90012, 90013, 90014, 90015, 90016, 90017};
const std::set<int> kSignals{90019, 90020, 90021, 90022, 90023, 90027, 90028};

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
        const bool content = kContentEvents.count(number) > 0;
        const bool named = content || kSignals.count(number) > 0;
        EXPECT_EQ(handler_.m_ePloomiaEventToStrEvent(event, name), named);
        EXPECT_EQ(name != "untouched", named);
        ePloomiaEvent back = static_cast<ePloomiaEvent>(5);
        EXPECT_EQ(handler_.m_StrEventToePloomiaEvent(name, back), content) << name;
        EXPECT_EQ(back, content ? number : 5);
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
