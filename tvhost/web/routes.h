// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "tvhost/web/files.h"
#include "tvhost/web/lines.h"
#include "tvhost/web/pages.h"
#include "tvhost/web/relay.h"
#include "tvhost/web/server.h"
#include "tvhost/web/turns.h"

namespace host {

/// What there is at which path. The server's thread.
class Routes {
  public:
    /// All of them outlive this object.
    /// `relay` may be null.
    Routes(const WebFiles& files, Turns& turns, Pages& pages, Lines& lines, WebJournal& journal,
           const Relay* relay);

    /// Answers a request, now or in its turn.
    void Answer(WebRequest request, WebAnswer answer);
    /// What a WebSocket listens to, or why there is nothing.
    std::variant<Subscription, WebResponse> Listen(WebRequest request);

  private:
    /// A request whose path fits a route.
    struct Asked {
        WebRequest& request;
        WebAnswer& answer;
        long long page = 0;                                  ///< N, where the path has one
        std::optional<WebFiles::Found> file = std::nullopt;  ///< where the path is a file's
    };
    struct Route;
    static const Route kRoutes[];

    bool Fits(const Route& route, Asked& asked) const;
    void Find(Asked& asked);

    // They leave the answer where they throw.
    void OpenPage(Asked& asked);
    void Await(Asked& asked);
    void Post(Asked& asked);
    void ClosePage(Asked& asked);
    void MessagesAreASocket(Asked& asked);
    Subscription Messages(Asked& asked);
    void RuntimeIsASocket(Asked& asked);
    Subscription Runtime(Asked& asked);
    void DoVerb(Asked& asked);
    void State(Asked& asked);
    void RelayAddress(Asked& asked);
    void Journal(Asked& asked);
    Subscription HearJournal(Asked& asked);
    void File(Asked& asked);

    void Send(tv::EmbeddedInstance::Kind kind, Asked& asked, WebAnswer& answer);

    const WebFiles& files_;
    Turns& turns_;
    Pages& pages_;
    Lines& lines_;
    WebJournal& journal_;
    const Relay* const relay_;
};

}  // namespace host
