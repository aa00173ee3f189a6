#include <gtest/gtest.h>
#include <json/reader.h>

#include <random>
#include <string>

#include "ZeLumoPluginHandler.h"

namespace {

/// UTF-8 of units, unit by unit as the page is promised: a pair of surrogates is one character, a high one
/// takes the unit behind it along when it is dropped, any other one is dropped alone.
std::string Utf8(const std::u16string& units)
{
    std::string text;
    const auto put = [&text](unsigned lead, unsigned point, int more) {
        text += static_cast<char>(lead | (point >> (6 * more)));
        while (more-- > 0)
            text += static_cast<char>(0x80U | ((point >> (6 * more)) & 0x3FU));
    };
    for (std::size_t i = 0; i < units.size(); ++i) {
        const unsigned unit = units[i];
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            if (++i == units.size())
                break;
            const unsigned next = units[i];
            if (next >= 0xDC00 && next <= 0xDFFF)
                put(0xF0, 0x10000U + (((unit & 0x3FFU) << 10) | (next & 0x3FFU)), 3);
        } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
            continue;
        } else if (unit < 0x80) {
            put(0, unit, 0);
        } else if (unit < 0x800) {
            put(0xC0, unit, 1);
        } else {
            put(0xE0, unit, 2);
        }
    }
    return text;
}

std::string BigEndian(const std::u16string& units)
{
    std::string bytes;
    for (const char16_t unit : units) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    return bytes;
}

class ExtraMembers : public testing::Test {
  protected:
    pp::Instance instance_{PP_Instance{1}};
    CZeLumoPluginHandler handler_{&instance_};
};

/// Any unit, those around the borders of the ranges more often than the rest. None that JSON gives a meaning.
char16_t AnyUnit(std::mt19937& random)
{
    static constexpr unsigned kBorders[] = {0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800, 0xD801,
                                            0xDBFF, 0xDC00, 0xDC01, 0xDFFF, 0xE000, 0xFFFE, 0xFFFF};
    for (;;) {
        std::mt19937::result_type unit = 0;
        switch (random() % 4) {
            case 0:
                unit = kBorders[random() % std::size(kBorders)];
                break;
            case 1:
                unit = 0xD800U + random() % 0x800U;
                break;
            case 2:
                unit = random() % 0x100U;
                break;
            default:
                unit = random() % 0x10000U;
        }
        if (unit >= 0x20 && unit != '"' && unit != '\\')
            return static_cast<char16_t>(unit);
    }
}

TEST_F(ExtraMembers, ConvertAnyUnits)
{
    std::mt19937 random(110);
    for (int round = 0; round < 20000; ++round) {
        std::u16string units;
        for (auto left = random() % 24; left > 0; --left)
            units += AnyUnit(random);
        // The blank is what a last high surrogate takes along, so that the quote stays.
        const std::u16string extra = u"{\"k\":\"" + units + u" \"}";
        TCServiceData data;
        data.Set(ESERVICE_FIELD_EXTRA, BigEndian(extra));
        const std::string record = handler_.t_GetChannelInfo(&data);
        Json::Value read;
        ASSERT_TRUE(Json::Reader().parse(record, read)) << record;
        const std::string whole = Utf8(extra);
        ASSERT_EQ(read["k"].asString(), whole.substr(6, whole.size() - 8)) << record;
    }
}

TEST_F(ExtraMembers, NoServiceIsNoRecord)
{
    EXPECT_EQ(handler_.t_GetChannelInfo(nullptr), "");
    EXPECT_EQ(handler_.UIntToString(0), "0");
    EXPECT_EQ(handler_.UIntToString(4294967295U), "4294967295");
}

}  // namespace
