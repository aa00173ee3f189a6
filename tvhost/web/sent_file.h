// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tvhost/web/request.h"

namespace host {

/// A file that is being sent, whole or in part.
class SentFile {
  public:
    SentFile() = default;
    ~SentFile() { Close(); }
    SentFile(const SentFile&) = delete;
    SentFile& operator=(const SentFile&) = delete;

    /// Opens the response's file. The response becomes what is to be answered: the whole file, the part of it
    /// that was asked for, or that there is no such part. 0, or the errno that says why the file can't be
    /// had.
    int Open(WebResponse& response);
    /// How many bytes the answer's body has still.
    std::uint64_t left() const { return left_; }
    /// Appends the next bytes, at most so many. False when the file has become shorter, or can't be read on.
    bool Read(std::string& text, std::size_t most);
    void Close();

  private:
    int file_ = -1;
    std::uint64_t at_ = 0;
    std::uint64_t left_ = 0;
};

}  // namespace host
