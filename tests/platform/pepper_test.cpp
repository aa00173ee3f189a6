// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "plugin-support/simple_thread_await_loop.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/cpp/message_loop.h"
#include "ppapi/cpp/var_array.h"
#include "ppapi/cpp/var_dictionary.h"
#include "services/web-runtime/var_objects.h"
#include "services/web-runtime/web_runtime.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(Var, ReadsAsOtherTypesGiveNeutralValues)
{
    struct Case {
        pp::Var var;
        PP_VarType type;
        bool as_bool;
        int32_t as_int;
        double as_double;
        std::string as_string;
        std::string shown;
    };
    const std::string zero("a\0b", 3);
    for (const Case& c : {
             Case{pp::Var(), PP_VARTYPE_UNDEFINED, false, 0, 0.0, "", "Var(UNDEFINED)"},
             Case{pp::Var(pp::Var::Null()), PP_VARTYPE_NULL, false, 0, 0.0, "", "Var(NULL)"},
             Case{true, PP_VARTYPE_BOOL, true, 0, 0.0, "", "Var(true)"},
             Case{7, PP_VARTYPE_INT32, false, 7, 7.0, "", "Var(7)"},
             Case{-2.9, PP_VARTYPE_DOUBLE, false, -2, -2.9, "", "Var(-2.900000)"},
             Case{1e12, PP_VARTYPE_DOUBLE, false, 2147483647, 1e12, "", "Var(1000000000000.000000)"},
             Case{"7", PP_VARTYPE_STRING, false, 0, 0.0, "7", "Var<\"7\">"},
             Case{zero, PP_VARTYPE_STRING, false, 0, 0.0, zero, "Var<\"" + zero + "\">"},
             Case{pp::VarArray(), PP_VARTYPE_ARRAY, false, 0, 0.0, "", "Var(ARRAY)"},
             Case{pp::VarDictionary(), PP_VARTYPE_DICTIONARY, false, 0, 0.0, "", "Var(DICTIONARY)"},
         }) {
        EXPECT_EQ(c.var.DebugString(), c.shown);
        SCOPED_TRACE(c.shown);
        EXPECT_EQ(c.var.pp_var().type, c.type);
        EXPECT_EQ(c.var.AsBool(), c.as_bool);
        EXPECT_EQ(c.var.AsInt(), c.as_int);
        EXPECT_EQ(c.var.AsDouble(), c.as_double);
        EXPECT_EQ(c.var.AsString(), c.as_string);
    }
    EXPECT_EQ(pp::Var(kNan).AsInt(), 0);
}

TEST(Var, CopiesShareContentsAndCountReferences)
{
    pp::VarDictionary dictionary;
    pp::Var copy = dictionary;
    pp::VarDictionary(copy).Set("key", "value");
    EXPECT_EQ(dictionary.Get("key").AsString(), "value");
    EXPECT_TRUE(dictionary.HasKey("key") && !dictionary.HasKey("Key"));
    EXPECT_EQ(tv::CountReferences(dictionary.pp_var()), 2);
    pp::Var moved = std::move(copy);
    EXPECT_EQ(tv::CountReferences(dictionary.pp_var()), 2);
    static_cast<void>(pp::Var(pp::PASS_REF, moved.Detach()));
    EXPECT_TRUE(moved.is_undefined());
    EXPECT_EQ(tv::CountReferences(dictionary.pp_var()), 1);
    copy = dictionary;
    // cppcheck-suppress redundantPointerOp ; hides from the compiler that it is assigned to itself
    copy = *&copy;
    EXPECT_EQ(tv::CountReferences(dictionary.pp_var()), 2);
    dictionary.Delete("key");
    EXPECT_TRUE(dictionary.Get("key").is_undefined());
}

TEST(Var, ViewsOnOtherTypesDoNothing)
{
    pp::VarDictionary dictionary(pp::Var(5));
    EXPECT_FALSE(dictionary.Set("key", 1) || dictionary.HasKey("key"));
    EXPECT_TRUE(dictionary.Get("key").is_undefined());
    EXPECT_FALSE(pp::VarDictionary().Set(5, 1));
    pp::VarArray array(pp::Var("text"));
    EXPECT_FALSE(array.Set(0, 1) || array.SetLength(1) || array.GetLength() != 0);

    pp::VarArray grown;
    EXPECT_TRUE(grown.Set(2, 1));
    EXPECT_EQ(grown.GetLength(), 3U);
    for (const uint32_t hole : {0U, 3U})
        EXPECT_TRUE(grown.Get(hole).is_undefined());
    EXPECT_TRUE(grown.SetLength(1));
    EXPECT_EQ(grown.GetLength(), 1U);

    pp::VarDictionary keys;
    for (const char* key : {"b", "a", "B", "a"})
        EXPECT_TRUE(keys.Set(key, true));
    keys.Delete("A");
    std::string sorted;
    for (uint32_t i = 0; i < keys.GetKeys().GetLength(); ++i)
        sorted += keys.GetKeys().Get(i).AsString();
    EXPECT_EQ(sorted, "Bab");
}

/// A plug-in module whose instances only show the attributes of their element.
class BareModule : public pp::Module {
  public:
    struct Instance : pp::Instance {
        Instance(PP_Instance id, std::string& shown) : pp::Instance(id), attributes(shown) {}
        bool Init(uint32_t count, const char* names[], const char* values[]) override
        {
            for (uint32_t i = 0; i < count; ++i)
                attributes += std::string(names[i]) + '=' + values[i] + ' ';
            return true;
        }
        std::string& attributes;
    };
    pp::Instance* CreateInstance(PP_Instance id) override { return new Instance(id, attributes); }
    std::string attributes;
};

/// Answers blocking messages with their own value once `gate` opens. An int is thrown at once.
class Echo : public pp::MessageHandler {
  public:
    void HandleMessage(pp::InstanceHandle, const pp::Var&) override { ++posted; }
    pp::Var HandleBlockingMessage(pp::InstanceHandle, const pp::Var& message) override
    {
        if (message.is_int())
            throw message.AsInt();
        entered.set_value();
        gate.get_future().wait();
        return message;
    }
    void WasUnregistered(pp::InstanceHandle) override
    {
        unregistered_on = std::this_thread::get_id();
        ++unregistered;
    }

    std::promise<void> entered;
    std::promise<void> gate;
    std::atomic<int> posted{0};
    std::atomic<int> unregistered{0};
    std::thread::id unregistered_on;
};

void Ignore(const pp::Var&) {}

TEST(MessageLoop, RegistrationReportsPeppersErrors)
{
    BareModule module;
    Echo handler;
    auto element = std::make_unique<tv::EmbeddedInstance>(
        module, Ignore, tv::EmbeddedInstance::Attributes{{"type", "application/x-zelumo"}, {"id", "tv"}});
    EXPECT_EQ(module.attributes, "type=application/x-zelumo id=tv ");
    pp::Instance instance(element->pp_instance());
    pp::SimpleThreadAwaitLoop worker{pp::InstanceHandle(&instance)};

    pp::MessageLoop loop = worker.message_loop();
    EXPECT_EQ(instance.RegisterMessageHandler(&handler, loop), PP_ERROR_WRONG_THREAD);
    EXPECT_TRUE(worker.Start());
    EXPECT_FALSE(worker.Start());
    loop = worker.message_loop();
    EXPECT_EQ(instance.RegisterMessageHandler(nullptr, loop), PP_ERROR_BADARGUMENT);
    EXPECT_EQ(instance.RegisterMessageHandler(&handler, pp::MessageLoop::GetCurrent()), PP_ERROR_BADARGUMENT);
    for (const int result : {PP_OK, PP_ERROR_FAILED})
        EXPECT_EQ(instance.RegisterMessageHandler(&handler, loop), result);
    instance.UnregisterMessageHandler();
    element->Post(1);  // behind the unregistering, so both have been worked off
    EXPECT_EQ(handler.posted, 0);
    EXPECT_EQ(handler.unregistered, 1);
    EXPECT_NE(handler.unregistered_on, std::this_thread::get_id());
    EXPECT_TRUE(element->Await(1).is_undefined());
    EXPECT_EQ(instance.RegisterMessageHandler(&handler, loop), PP_OK);
    element.reset();
    EXPECT_EQ(instance.RegisterMessageHandler(&handler, loop), PP_ERROR_BADARGUMENT);
    instance.PostMessage(1);
}

TEST(MessageLoop, EndingAnswersWhatWaits)
{
    BareModule module;
    Echo handler;
    tv::EmbeddedInstance element(module, Ignore);
    pp::Instance instance(element.pp_instance());
    auto worker = std::make_unique<pp::SimpleThreadAwaitLoop>(pp::InstanceHandle(&instance));
    worker->Start();
    ASSERT_EQ(instance.RegisterMessageHandler(&handler, worker->message_loop()), PP_OK);

    std::atomic<int> told{0};
    const auto send = [&](const char* message, const pp::Var& expected) {
        element.Send(tv::EmbeddedInstance::Kind::Blocking, message,
                     [&told, expected](const tv::EmbeddedInstance::Outcome& outcome) {
                         EXPECT_EQ(outcome.reply.DebugString(), expected.DebugString());
                         EXPECT_EQ(outcome.failure, nullptr);
                         ++told;
                     });
    };
    send("first", "first");
    handler.entered.get_future().wait();
    std::vector<std::future<pp::Var>> waiting;
    for (int i = 0; i < 4; ++i) {
        waiting.push_back(std::async(std::launch::async, [&] { return element.Await("later"); }));
        send("later", pp::Var());
    }

    pp::MessageLoop loop = worker->message_loop();
    EXPECT_EQ(loop.PostQuit(true), PP_OK);
    EXPECT_TRUE(element.Await("refused").is_undefined());
    EXPECT_EQ(told, 0);
    send("refused", pp::Var());
    EXPECT_EQ(told, 1) << "told at once";
    handler.gate.set_value();
    worker.reset();
    for (std::future<pp::Var>& reply : waiting)
        EXPECT_TRUE(reply.get().is_undefined());
    EXPECT_EQ(handler.unregistered, 1);
    EXPECT_TRUE(element.Await("after").is_undefined());
    send("after", pp::Var());
    EXPECT_EQ(told, 7) << "each is told once";
    EXPECT_EQ(loop.PostQuit(true), PP_ERROR_FAILED);
    pp::MessageLoop none = pp::MessageLoop::GetCurrent();
    for (const int result :
         {none.PostQuit(true), none.Run(), none.AttachToCurrentThread(), none.PostWork({nullptr, nullptr})})
        EXPECT_EQ(result, PP_ERROR_BADARGUMENT) << "there is no loop";
}

TEST(MessageLoop, GoesOnAfterAHandlerThatThrows)
{
    BareModule module;
    Echo handler;
    handler.gate.set_value();
    tv::EmbeddedInstance element(module, Ignore);
    pp::Instance instance(element.pp_instance());
    pp::SimpleThreadAwaitLoop worker{pp::InstanceHandle(&instance)};
    worker.Start();
    ASSERT_EQ(instance.RegisterMessageHandler(&handler, worker.message_loop()), PP_OK);
    EXPECT_THROW(element.Await(7), int);
    std::promise<std::exception_ptr> failure;
    element.Send(tv::EmbeddedInstance::Kind::Blocking, 8,
                 [&](const tv::EmbeddedInstance::Outcome& outcome) { failure.set_value(outcome.failure); });
    EXPECT_THROW(std::rethrow_exception(failure.get_future().get()), int);
    EXPECT_EQ(element.Await("still there").AsString(), "still there");
    instance.UnregisterMessageHandler();
}

TEST(MessageLoop, WorkRunsInOrderAndIsAbortedAtTheEnd)
{
    using Work = std::function<void(int32_t)>;
    std::deque<Work> works;
    const auto work = [&works](Work does) {
        const auto run = [](void* user_data, int32_t result) { (*static_cast<Work*>(user_data))(result); };
        return pp::CompletionCallback(run, &works.emplace_back(std::move(does)));
    };
    std::string ran;
    const auto note = [&](const std::string& name) {
        return work([&ran, name](int32_t result) { ran += name + std::to_string(result) + ' '; });
    };
    pp::MessageLoop loop{pp::InstanceHandle(PP_Instance{1})};
    EXPECT_EQ(loop.Run(), PP_ERROR_WRONG_THREAD);
    EXPECT_EQ(loop.PostWork(note("never"), std::int64_t{3600} * 1000), PP_OK);
    loop.PostWork(note("late"), 1);
    loop.PostWork(note("a"));
    loop.PostWork(note("b"));
    // The quit is posted behind the late work, by the work itself; what was posted before it still runs.
    loop.PostWork(work([&](int32_t) {
                      loop.PostWork(note("last"));
                      loop.PostQuit(true);
                      loop.PostWork(note("behind"));
                  }),
                  20);
    std::thread([&] {
        EXPECT_EQ(loop.AttachToCurrentThread(), PP_OK);
        EXPECT_EQ(loop.AttachToCurrentThread(), PP_ERROR_INPROGRESS);
        EXPECT_EQ(pp::MessageLoop::GetCurrent().Run(), PP_OK) << "it names the same loop";
    }).join();
    // When the late work is due, beside the other, is up to the machine.
    const std::size_t at = ran.find("late0 ");
    ASSERT_NE(at, std::string::npos) << ran;
    const std::string aborted = std::to_string(PP_ERROR_ABORTED) + ' ';
    EXPECT_EQ(ran.erase(at, 6), "a0 b0 last0 behind" + aborted + "never" + aborted);
    for (const int delay : {0, 1})
        EXPECT_EQ(loop.PostWork(note("a"), delay), PP_ERROR_FAILED);
    ran.clear();
    pp::MessageLoop(pp::InstanceHandle(PP_Instance{1})).PostWork(note("never run"));
    pp::MessageLoop other{pp::InstanceHandle(PP_Instance{1})};
    other.PostWork(note("a"));
    std::thread worker([other]() mutable {
        if (other.AttachToCurrentThread() == PP_OK)
            other.Run();
    });
    // A loop that is not woken stands still, and so does this test.
    for (int i = 0; i < 80; ++i) {
        std::promise<void> done;
        other.PostWork(work([&](int32_t) { done.set_value(); }), i % 2);
        done.get_future().wait();
    }
    other.PostQuit(true);
    worker.join();
    EXPECT_EQ(ran, "never run" + aborted + "a0 ");
}

}  // namespace
