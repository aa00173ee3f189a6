#include <gtest/gtest.h>

#include <set>

#include "BmsAdaptor.h"
#include "ZeLumoPluginHandler.h"
#include "tests/support/page.h"
#include "tv/tv.h"

namespace {

using test::J;
using test::Lines;

class Handler : public testing::Test {
  protected:
    pp::Instance instance_{PP_Instance{1}};
    std::unique_ptr<CZeLumoPluginHandler> handler_ = std::make_unique<CZeLumoPluginHandler>(&instance_);
};

TEST_F(Handler, LeadsFromEventNumbersToNamesAndBack)
{
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
        EXPECT_EQ(handler_->m_ePloomiaEventToStrEvent(event, name), named);
        EXPECT_EQ(name != "untouched", named);
        ePloomiaEvent back = static_cast<ePloomiaEvent>(5);
        EXPECT_EQ(handler_->m_StrEventToePloomiaEvent(name, back), content.count(number) > 0);
        EXPECT_EQ(back, content.count(number) > 0 ? number : 5);
    }
    for (std::string name : {"", "plomia_event_get_si_info", "PLOMIA_EVENT_GET_SI_INFO ", "PLOMIA_EVENT"}) {
        ePloomiaEvent back = static_cast<ePloomiaEvent>(5);
        EXPECT_FALSE(handler_->m_StrEventToePloomiaEvent(name, back)) << name;
    }
}

TEST_F(Handler, ConvertsEveryUnitOfAnExtraMember)
{
    const auto decoded = [](const std::u16string& units) {
        std::string text;
        for (const char16_t unit : units) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(unit));
            text += escape;
        }
        return J('"' + text + '"').asString();
    };
    const auto read = [this](const std::u16string& units) {
        std::string bytes;
        for (const char16_t unit : u"{\"k\":\"" + units + u"\"}") {
            bytes += static_cast<char>(unit >> 8);
            bytes += static_cast<char>(unit & 0xFF);
        }
        TCServiceData data;
        tv::ServiceRecord::Set(data, ESERVICE_FIELD_EXTRA, bytes);
        return J(handler_->t_GetChannelInfo(&data))["k"].asString();
    };
    for (unsigned block = 0; block < 0x10000; block += 0x40) {
        std::u16string units;
        for (unsigned unit = block; unit < block + 0x40; ++unit) {
            if (unit >= 0x20 && unit != '"' && unit != '\\')
                units += static_cast<char16_t>(unit);
        }
        const bool surrogates = block >= 0xD800 && block < 0xE000;
        EXPECT_EQ(read(units + u' '), (surrogates ? "" : decoded(units)) + ' ') << block;
    }
    // A high surrogate takes the unit behind it along, into one character or into nothing.
    for (const char16_t high : std::u16string(u"\xD800\xD801\xDBFF")) {
        for (const char16_t next : std::u16string(u"\x20\xD7FF\xD800\xDBFF\xDC00\xDC01\xDFFF\xE000")) {
            const std::u16string units{high, next};
            const bool pair = next >= 0xDC00 && next < 0xE000;
            EXPECT_EQ(read(units), pair ? decoded(units) : "") << std::hex << high << ' ' << next;
        }
    }
    EXPECT_EQ(handler_->t_GetChannelInfo(nullptr), "");
    EXPECT_EQ(handler_->UIntToString(4294967295U), "4294967295");
}

TEST(EventRelay, HandsOverToTheCallbackThatWasStoredLast)
{
    int first = 0;
    int second = 0;
    const BmsEventCallback count = [](int, std::string, std::string, void* user_data) {
        ++*static_cast<int*>(user_data);
    };
    BmsEventHandler relay;
    relay.Init();
    relay.SetCallback(5);
    const auto report = [] {
        return tv::PlayerService::Get().Report(5, BMS_EVENT_SEEK_COMPLETE, 1, 2, false);
    };
    EXPECT_EQ(report(), 1U);
    relay.RegisterSendEventCallback(5, count, &first);
    relay.RegisterSendEventCallback(7, count, &second);
    EXPECT_EQ(report(), 1U);
    // Without a callback what other players still report is dropped.
    relay.UnSetCallback(101);
    EXPECT_EQ(report(), 1U);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

}  // namespace
