// SPDX-License-Identifier: Apache-2.0
// A plug-in that answers GetVersion and does nothing else, or is wrong as the variable PLUGIN_FAULT says.
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "plugin-support/simple_thread_await_loop.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/cpp/instance.h"
#include "ppapi/cpp/message_handler.h"
#include "ppapi/cpp/module.h"
#include "ppapi/cpp/var_dictionary.h"
#include "scope-tracing/ht_library.h"
#include "settings/vconf.h"

#define EXPORTED __attribute__((visibility("default")))

namespace {

bool HasFault(std::string_view fault)
{
    const char* const wanted = std::getenv("PLUGIN_FAULT");  // NOLINT(concurrency-mt-unsafe)
    return wanted != nullptr && fault == wanted;
}

/// Does not come back where it is to fail at that time.
void MayEnd(const char* when)
{
    const std::string_view time(when);
    const char* const wanted = std::getenv("PLUGIN_FAULT");  // NOLINT(concurrency-mt-unsafe)
    const std::string_view fault = wanted == nullptr ? "" : wanted;
    if (fault.substr(0, time.size()) != time)
        return;
    const std::string_view how = fault.substr(time.size());
    if (how == " crashes")
        std::abort();
    while (how == " hangs")
        pause();
    if (how == " exits")
        _exit(3);
}

void MayFail(const char* when)
{
    MayEnd(when);
    if (HasFault(std::string(when) + " throws"))
        throw std::runtime_error("this is\nwhat it throws");
}

#ifndef NO_HOOKS
ht_enabled_flag enabled{0};
__attribute__((constructor)) void Load()
{
    if (!HasFault("no register"))
        ht_register_library(&enabled);
    if (HasFault("registers twice"))
        ht_register_library(&enabled);
}
__attribute__((destructor)) void Unload()
{
    if (!HasFault("no deregister"))
        ht_deregister_library(&enabled);
}
#endif

struct Constructed {
    Constructed() { MayFail("constructor"); }
    ~Constructed() { MayEnd("destructor"); }
} constructed;

class Handler : public pp::MessageHandler {
  public:
    void HandleMessage(pp::InstanceHandle, const pp::Var&) override {}
    pp::Var HandleBlockingMessage(pp::InstanceHandle, const pp::Var&) override
    {
        MayFail("message");
        if (HasFault("no answer"))
            return {};
        pp::VarDictionary reply;
        reply.Set("code", HasFault("wrong answer") ? 9 : 0);
        reply.Set("data", "1.00");
        return reply;
    }
    void WasUnregistered(pp::InstanceHandle) override {}
};

class Instance : public pp::Instance {
  public:
    explicit Instance(PP_Instance instance) : pp::Instance(instance), loop_(pp::InstanceHandle(instance))
    {
        MayFail("instance");
        loop_.Start();
        if (!HasFault("no handler"))
            RegisterMessageHandler(&handler_, loop_.message_loop());
        if (HasFault("leaves a watch"))
            vconf_notify_key_changed(
                "k", [](keynode_t*, void*) {}, this);
    }

  private:
    Handler handler_;
    pp::SimpleThreadAwaitLoop loop_;
};

class Module : public pp::Module {
  public:
    bool Init() override { return !HasFault("init fails"); }
    pp::Instance* CreateInstance(PP_Instance instance) override { return new Instance(instance); }
};

}  // namespace

namespace pp {

EXPORTED Module* CreateModule()
{
    MayFail("factory");
    return HasFault("no module") ? nullptr : new ::Module;
}

// As much of the extension classes as can be seen from outside.
struct EXPORTED ExtensionSystemHalvorn {
    ExtensionSystemHalvorn();
    void GetEmbedderName();
    void GetCurrentExtensionInfo();
    void GenericSyncCall();
};
struct EXPORTED ExtensionSystemHalvornOrvex {
    ExtensionSystemHalvornOrvex();
    void SetIMERecommendedWords();
    void SetIMERecommendedWordsType();
    void GetWindowId();
    void CheckPrivilege();
};
struct EXPORTED ExtensionSystemHalvornWRT {
    ExtensionSystemHalvornWRT();
    void IsValid();
};
ExtensionSystemHalvorn::ExtensionSystemHalvorn() = default;
void ExtensionSystemHalvorn::GetEmbedderName() {}
void ExtensionSystemHalvorn::GetCurrentExtensionInfo() {}
void ExtensionSystemHalvorn::GenericSyncCall() {}
ExtensionSystemHalvornOrvex::ExtensionSystemHalvornOrvex() = default;
void ExtensionSystemHalvornOrvex::SetIMERecommendedWords() {}
void ExtensionSystemHalvornOrvex::SetIMERecommendedWordsType() {}
void ExtensionSystemHalvornOrvex::GetWindowId() {}
void ExtensionSystemHalvornOrvex::CheckPrivilege() {}
ExtensionSystemHalvornWRT::ExtensionSystemHalvornWRT() = default;
void ExtensionSystemHalvornWRT::IsValid() {}

}  // namespace pp
