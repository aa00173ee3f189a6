// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace host {

/// A file that can't be written; what() says why in one line.
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A file that is written anew. It is opened at once, so that what is wrong with it shows early, and keeps
/// what it holds until it is emptied: a program that can't start destroys nothing. One that was made is taken
/// away again where it wasn't emptied. One thread at a time.
class OutputFile {
  public:
    /// What becomes of a file that holds something.
    enum class Existing { Replace, Refuse };

    /// Makes the file where there is none. `what` names it in errors: "recording". For a pipe, waits until
    /// somebody reads from it. Throws FileError, or Interrupted from such a wait.
    OutputFile(const char* what, std::filesystem::path file, Existing existing = Existing::Replace);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Before the first Write. Throws FileError.
    void Empty();
    /// Writes all of the text. 0, or the errno that stopped it. Once there was an interrupt, a pipe that
    /// nobody empties is not waited for any longer than a second.
    int Write(std::string_view text);

  private:
    void Check() const;
    [[noreturn]] void Fail(const std::string& why) const;

    const char* const what_;
    const std::filesystem::path path_;
    const Existing existing_;
    int descriptor_ = -1;
    bool is_regular_ = false;
    bool is_left_over_ = false;  ///< made here, and nothing came of it so far
};

/// Whether both names lead to one file, by whatever links; false where one leads to none, or both to a
/// device, such as /dev/null, that any number of writers can share.
bool IsSameFile(const std::filesystem::path& a, const std::filesystem::path& b);

}  // namespace host
