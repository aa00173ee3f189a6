#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/// The built host program.
std::filesystem::path HostPath();

/// A folder of this process's own, removed with the object.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    /// Writes a file and returns its path.
    std::string Write(const std::string& name, const std::string& text) const;

  private:
    std::filesystem::path path_;
};

struct HostResult {
    int status;  ///< exit status; 128 and more: ended by a signal
    std::string out;
    std::string err;
};

/// Runs `zelumo-tv ARGUMENTS` in a shell, with `input` on its standard input, to its end.
HostResult RunHost(const std::string& arguments, const std::string& input = std::string());

/// The lines of a text.
std::vector<std::string> LinesOf(const std::string& text);

}  // namespace test
