#include "tests/support/host_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace test {
namespace {

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

}  // namespace

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

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace test
