// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tvhost/web/channel.h"
#include "tvhost/web/lines.h"
#include "tvhost/web/pages.h"
#include "tvhost/web/server.h"
#include "tvhost/web/turns.h"

namespace host {

/// What passes between the TV and the page's runtime beside messages, over the page's WebSocket for that:
/// keys and what is to be played go there, and what has become of that comes back.
class Runtime {
  public:
    /// All of them outlive this object.
    Runtime(WebServer& server, Turns& turns, Pages& pages, Lines& lines)
        : server_(server), turns_(turns), pages_(pages), lines_(lines)
    {}
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    /// From Begin to End what the TV does goes to the page that is open. The thread of the turns.
    void Begin();
    void End();

    /// What happens at the far end of that page's WebSocket.
    Channel::Events EventsOf(long long page);

  private:
    // The server's thread.
    /// The page says something: a line in, as JSON. What is wrong with it goes back. Nothing comes of it once
    /// the page was closed.
    void Hear(long long page, std::string text);
    /// Nobody listens any more: what plays there is out of reach.
    void OnUnheard(long long page);
    /// These players fail a little later, in a turn, unless the page was closed by then.
    void LoseSoon(long long page, const std::vector<int>& players);
    /// The same at once. Throws Refused where there is no room for a turn.
    void Lose(long long page, const std::vector<int>& players);

    WebServer& server_;
    Turns& turns_;
    Pages& pages_;
    Lines& lines_;
};

}  // namespace host
