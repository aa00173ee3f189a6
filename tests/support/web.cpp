// SPDX-License-Identifier: Apache-2.0
#include "tests/support/web.h"

#include <future>
#include <utility>

#include "tests/support/page.h"
#include "tests/support/web_client.h"

namespace test {

Web::Web(host::ServeOptions options)
{
    options.plugin = PluginPath();
    options.port = 0;
    options.speed = 0;
    if (options.web.empty())
        options.web = ZELUMO_WEB;
    host_ = std::make_unique<host::WebHost>(options);
    const std::string url = host_->url();
    port_ = static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1)));
    std::promise<void> ready;
    thread_ = std::thread([this, &ready] { host_->Run([&ready] { ready.set_value(); }); });
    ready.get_future().wait();
}

Web::~Web()
{
    host_->Stop();
    thread_.join();
}

std::string Web::OpenPage() const
{
    return WebClient(port_).OpenPage();
}

}  // namespace test
