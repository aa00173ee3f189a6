#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "BmsAdaptor.h"
#include "tests/support/page.h"
#include "tv/tv.h"

namespace {

using test::Lines;

std::size_t Report(int player)
{
    return tv::PlayerService::Get().Report(player, BMS_EVENT_SEEK_COMPLETE, 1, 2, false);
}

struct Owner {
    std::unique_ptr<BmsEventHandler> relay;
    int calls = 0;
};

TEST(EventRelay, MayBeDestroyedByTheEventThatItHandsOver)
{
    Owner owner{std::make_unique<BmsEventHandler>()};
    owner.relay->Init();
    owner.relay->SetCallback(5);
    owner.relay->SetCallback(6);
    owner.relay->RegisterSendEventCallback(
        5,
        [](int, std::string, std::string, void* user_data) {
            Owner& of_relay = *static_cast<Owner*>(user_data);
            ++of_relay.calls;
            of_relay.relay.reset();
        },
        &owner);
    EXPECT_EQ(Report(5), 1U);
    EXPECT_EQ(owner.calls, 1);
    EXPECT_EQ(Report(5), 0U);
    EXPECT_EQ(Report(6), 0U);
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
    EXPECT_EQ(Report(5), 1U);
    relay.RegisterSendEventCallback(5, count, &first);
    relay.RegisterSendEventCallback(7, count, &second);
    EXPECT_EQ(Report(5), 1U);
    // Without a callback what other players still report is dropped.
    relay.UnSetCallback(101);
    EXPECT_EQ(Report(5), 1U);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST(PlayerSide, LeavesWhatIsNoCommandAlone)
{
    const std::string tag = "0/6 ZLP_BASE HandleBlockingMessageImp: ";
    const std::string called = tag + "BMSAdaptor::HandleBlockingMessageImp is called";
    BMSAdaptor player_side;
    test::Log log;
    pp::Var reply(7);
    EXPECT_FALSE(player_side.HandleBlockingMessageImp("Play", reply));
    EXPECT_EQ(log.Take(), (Lines{called, tag + "Incoming message is invalid"}));
    EXPECT_FALSE(player_side.HandleBlockingMessageImp(pp::VarDictionary(), reply));
    EXPECT_EQ(log.Take(), (Lines{called, tag + "Parameter command is invalid"}));
    EXPECT_EQ(reply.AsInt(), 7);
}

}  // namespace
