#include "tests/support/host_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

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

ServeProcess::ServeProcess(const std::vector<std::string>& arguments)
{
    std::vector<std::string> words{HostPath().string(), "serve"};
    if (std::find(arguments.begin(), arguments.end(), "--port") == arguments.end())
        words.insert(words.end(), {"--port", "0"});
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("can't make a pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int error = posix_spawn(&process_, words[0].c_str(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    for (char c = 0; error == 0 && read(ends[0], &c, 1) == 1 && c != '\n';)
        line_ += c;
    close(ends[0]);
    const std::size_t colon = line_.rfind(':');
    if (line_.compare(0, 11, "zelumo-tv: ") != 0 || colon == std::string::npos) {
        if (error == 0)
            End(SIGKILL);
        throw std::runtime_error("the server did not start: " + line_);
    }
    port_ = static_cast<std::uint16_t>(std::stoi(line_.substr(colon + 1)));
}

ServeProcess::~ServeProcess()
{
    if (process_ > 0)
        End(SIGKILL);
}

int ServeProcess::End(int signal)
{
    kill(process_, signal);
    int status = 0;
    waitpid(process_, &status, 0);
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
