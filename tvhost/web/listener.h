// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <memory>

#include "tvhost/web/channel.h"
#include "tvhost/web/connection.h"

namespace host {

/// Makes the connection a WebSocket that listens to a channel, unless that was closed. The server's thread.
void Listen(ServerState& server, TcpSocket socket,
            const boost::beast::http::request<boost::beast::http::empty_body>& request,
            Subscription subscription);

}  // namespace host
