// SPDX-License-Identifier: Apache-2.0
#include "tests/support/host_process.h"

#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace test {

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::filesystem::path HostPath()
{
    return ZELUMO_TV;
}

TemporaryFolder::TemporaryFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "zelumo-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("can't make a folder like " + name);
    path_ = name;
}

TemporaryFolder::~TemporaryFolder()
{
    std::filesystem::remove_all(path_);
}

std::string TemporaryFolder::Write(const std::string& name, const std::string& text) const
{
    const std::filesystem::path path = path_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
}

HostResult RunHost(const std::string& arguments, const std::string& input)
{
    const TemporaryFolder folder;
    const std::string in = folder.Write("in", input);
    const std::string out = (folder / "out").string();
    const std::string err = (folder / "err").string();
    // The redirections come first, so that the arguments may redirect again.
    const std::string command =
        "<" + in + " >" + out + " 2>" + err + " " + HostPath().string() + " " + arguments;
    const int status = std::system(command.c_str());
    const int exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {exit_status, ReadFile(out), ReadFile(err)};
}

std::string ReplayFault(const std::string& recording, const std::string& options)
{
    const HostResult replayed = RunHost("script " + options + " --check " + recording);
    const std::string fault = replayed.out.substr(0, 2000) + replayed.err;
    return replayed.status == 0 || !fault.empty() ? fault : "status " + std::to_string(replayed.status);
}

std::string RefusalFault(const std::string& arguments, const std::string& said, const std::string& input)
{
    const HostResult refused = RunHost(arguments, input);
    if (refused.status == 2 && refused.out.empty() && LinesOf(refused.err).size() == 1 &&
        refused.err.find(said) != std::string::npos)
        return "";
    return "status " + std::to_string(refused.status) + ": " + refused.out.substr(0, 2000) + refused.err;
}

bool ComesTrue(const std::function<bool()>& condition)
{
    const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > patience)
            return false;
        std::this_thread::yield();
    }
    return true;
}

ServeProcess::ServeProcess(const std::vector<std::string>& arguments, const std::string& before)
{
    // The shell tells its number, which the program takes over.
    std::string command = before + "; echo $$; exec " + HostPath().string() + " serve";
    if (std::find(arguments.begin(), arguments.end(), "--port") == arguments.end())
        command += " --port 0";
    for (const std::string& argument : arguments)
        command += " '" + argument + '\'';
    output_ = popen(command.c_str(), "re");
    if (output_ == nullptr)
        throw std::runtime_error("can't make a pipe");
    process_ = std::stoi(NextLine());
    line_ = NextLine();
    const std::size_t colon = line_.rfind(':');
    if (line_.compare(0, 11, "zelumo-tv: ") != 0 || colon == std::string::npos) {
        End(SIGKILL);
        throw std::runtime_error("the server did not start: " + line_);
    }
    port_ = static_cast<std::uint16_t>(std::stoi(line_.substr(colon + 1)));
}

std::string ServeProcess::NextLine()
{
    std::string text;
    for (int c = std::fgetc(output_); c != EOF && c != '\n'; c = std::fgetc(output_))
        text += static_cast<char>(c);
    return text;
}

ServeProcess::~ServeProcess()
{
    if (process_ > 0)
        End(SIGKILL);
}

double ServeProcess::PeakMebibytes() const
{
    const std::string status = ReadFile("/proc/" + std::to_string(process_) + "/status");
    const std::string name = "VmHWM:";
    return std::stod(status.substr(status.find(name) + name.size())) / 1024;
}

int ServeProcess::End(int signal)
{
    kill(process_, signal);
    const int status = pclose(output_);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace test
