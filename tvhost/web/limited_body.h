// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/optional.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

namespace host {

/// A body as far as the limit goes; what is over it is read and thrown away.
struct LimitedBody {
    // NOLINTNEXTLINE(readability-identifier-naming): a name that Beast asks for
    struct value_type {
        std::string text;
        std::size_t limit = 0;
        std::size_t size = 0;
    };
    /// Reserved at once for a body that says how long it is. The rest of a longer one is when so much has
    /// come.
    static constexpr std::size_t kReserved = std::size_t{16} * 1024;

    /// As the parser wants it.
    // NOLINTNEXTLINE(readability-identifier-naming): a name that Beast asks for
    class reader {
      public:
        template <bool is_request, typename Fields>
        reader(boost::beast::http::header<is_request, Fields>&, value_type& body) : body_(body)
        {}
        void init(const boost::optional<std::uint64_t>& length, boost::system::error_code& error)
        {
            error = {};
            if (length && *length <= body_.limit)
                length_ = static_cast<std::size_t>(*length);
            body_.text.reserve(std::min(length_, kReserved));
        }
        template <typename Buffers>
        std::size_t put(const Buffers& buffers, boost::system::error_code& error)
        {
            error = {};
            std::size_t size = 0;
            for (const boost::asio::const_buffer buffer : boost::beast::buffers_range_ref(buffers)) {
                size += buffer.size();
                if (body_.size + size > kReserved && body_.text.capacity() < length_)
                    body_.text.reserve(length_);
                if (body_.size + size <= body_.limit)
                    body_.text.append(static_cast<const char*>(buffer.data()), buffer.size());
            }
            body_.size += size;
            return size;
        }
        void finish(boost::system::error_code& error)
        {
            error = {};
            // It may have to wait, and takes no more then than it has to.
            if (body_.text.capacity() > kReserved + body_.text.size())
                body_.text.shrink_to_fit();
        }

      private:
        value_type& body_;
        std::size_t length_ = 0;  ///< 0: it doesn't say
    };
};

}  // namespace host
