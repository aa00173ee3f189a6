// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
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

/// Plays a recording again: "" when all comes out as it was, else what does not.
std::string ReplayFault(const std::string& recording, const std::string& options = std::string());

/// Runs it with what it has to refuse: "" when that ends it with status 2, without output and with one line
/// of error, in which `said` stands, else what came of it.
std::string RefusalFault(const std::string& arguments, const std::string& said,
                         const std::string& input = std::string());

/// Waits until that holds; false when it doesn't within half a minute.
bool ComesTrue(const std::function<bool()>& condition);

/// `zelumo-tv serve --port 0 ARGUMENTS`, running beside the test.
class ServeProcess {
  public:
    /// Returns when it serves. Throws std::runtime_error when it ends instead. `before` is what its shell
    /// does first: `ulimit -n 64`.
    explicit ServeProcess(const std::vector<std::string>& arguments, const std::string& before = ":");
    /// Kills it, if it still runs.
    ~ServeProcess();
    ServeProcess(const ServeProcess&) = delete;
    ServeProcess& operator=(const ServeProcess&) = delete;

    std::uint16_t port() const { return port_; }
    int process() const { return process_; }
    /// What it has taken of the memory at most, in MiB.
    double PeakMebibytes() const;
    /// The line on its standard output.
    const std::string& line() const { return line_; }
    /// The next one, where there are more.
    std::string NextLine();
    /// Sends it a signal and waits for its end; the status is as in HostResult.
    int End(int signal);

  private:
    std::FILE* output_ = nullptr;
    int process_ = -1;
    std::string line_;
    std::uint16_t port_ = 0;
};

/// What a file holds.
std::string ReadFile(const std::filesystem::path& path);

/// The lines of a text.
std::vector<std::string> LinesOf(const std::string& text);

}  // namespace test
