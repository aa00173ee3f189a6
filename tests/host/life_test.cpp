// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web_client.h"

namespace test {
namespace {

using namespace std::chrono_literals;

/// A pipe, its ends closed with it.
struct Pipe {
    Pipe()
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
    }
    ~Pipe()
    {
        close(ends[0]);
        close(ends[1]);
    }
    std::array<int, 2> ends{-1, -1};
};

/// In a child process: becomes the program.
[[noreturn]] void Become(std::vector<std::string> arguments, int input, int output)
{
    arguments.insert(arguments.begin(), HostPath().string());
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    execv(pointers[0], pointers.data());
    _exit(127);
}

int StatusOf(pid_t process)
{
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST(Life, AnInterruptEndsItInOrderFromTheFirstMomentOn)
{
    const TemporaryFolder folder;
    const std::string fifo = (folder / "fifo").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int none = open("/dev/null", O_RDWR | O_CLOEXEC);
    sigset_t signals;
    sigset_t before;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, signal);
    const std::vector<std::pair<std::vector<std::string>, int>> modes{
        {{"serve", "--port", "0"}, 0},
        {{"serve", "--port", "0", "--tv", fifo}, 0},
        {{"serve", "--port", "0", "--record", fifo}, 0},
        {{"script", fifo}, 1},
    };
    for (int delay = 0; delay < 60; ++delay) {
        const int signal = std::array{SIGINT, SIGTERM, SIGHUP}[static_cast<std::size_t>(delay % 3)];
        const auto& [arguments, status] = modes[delay % 4 == 0 ? static_cast<std::size_t>(delay / 4 % 4) : 0];
        // What comes before main waits until the program takes it.
        pthread_sigmask(SIG_BLOCK, &signals, &before);
        const pid_t process = fork();
        if (process == 0)
            Become(arguments, none, none);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        // Nothing is waited for: each moment of the start is to meet a signal.
        std::this_thread::sleep_for(delay * 1ms);
        kill(process, signal);
        EXPECT_EQ(StatusOf(process), status)
            << arguments.back() << ", signal " << signal << " after " << delay << " ms";
    }
    close(none);
}

TEST(Life, ASecondSignalEndsItAtOnceAndNohupHolds)
{
    const TemporaryFolder folder;
    std::string script;
    for (int i = 0; i < 4000; ++i)
        script += "{\"await\":{\"command\":\"GetVersion\"}}\n";
    const int input = open(folder.Write("script", script).c_str(), O_RDONLY | O_CLOEXEC);
    const Pipe output;
    const pid_t held_up = fork();
    if (held_up == 0)
        Become({"script"}, input, output.ends[1]);
    close(input);
    // Nobody reads the pipe: once it is full, the program can't end in order.
    pollfd room{output.ends[1], POLLOUT, 0};
    while (poll(&room, 1, 0) == 1)
        std::this_thread::yield();
    kill(held_up, SIGHUP);
    int status = 0;
    while (waitpid(held_up, &status, WNOHANG) == 0)
        kill(held_up, SIGINT);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;

    std::signal(SIGHUP, SIG_IGN);
    ServeProcess server({});
    std::signal(SIGHUP, SIG_DFL);
    kill(server.process(), SIGHUP);
    EXPECT_EQ(WebClient(server.port()).Get("/tv/state").status, 200);
    EXPECT_EQ(server.End(SIGTERM), 0);
}

TEST(Life, ItEndsWithItsInput)
{
    for (const char* input : {"<&-", "</dev/null", ""}) {
        const HostResult result =
            RunHost(std::string("serve --port 0 --end-with-input ") + input, "ignored\n");
        EXPECT_EQ(result.status, 0) << input;
        EXPECT_EQ(result.out.substr(0, 18), "zelumo-tv: http://") << input;
        EXPECT_EQ(result.err, "") << input;
    }
    Pipe output;
    const pid_t parent = fork();
    if (parent == 0) {
        const Pipe input;
        if (fork() == 0)
            Become({"serve", "--port", "0", "--end-with-input"}, input.ends[0], output.ends[1]);
        while (true)
            pause();
    }
    close(std::exchange(output.ends[1], -1));
    char c = '\0';
    while (read(output.ends[0], &c, 1) == 1 && c != '\n') {
    }
    ASSERT_EQ(c, '\n');
    kill(parent, SIGKILL);
    EXPECT_EQ(StatusOf(parent), 128 + SIGKILL);
    // The end of its output: it has ended. Else this waits for ever.
    EXPECT_EQ(read(output.ends[0], &c, 1), 0);
}

TEST(Life, FilesAreEmptiedOnlyWhenItStarts)
{
    const TemporaryFolder folder;
    const std::string recording = (folder / "recording").string();
    const std::string trace = folder.Write("trace", "a trace");
    ServeProcess server({"--record", recording});
    const std::string both = " --trace " + trace + " --record ";
    const std::string old = folder.Write("old", "an old recording");
    const std::string port = " --port " + std::to_string(server.port());
    const std::string tv = folder.Write("tv", "{}");
    const std::string script = folder.Write("script", "{\"tv\":\"close\"}\n");
    const std::string plugin = folder.Write("plugin", "none");
    const std::string settings = (folder / "settings").string();
    for (const char* link : {"tv", "trace", "settings", "plugin"})
        std::filesystem::create_symlink(folder / link, folder / (std::string("link-") + link));
    std::filesystem::create_hard_link(tv, folder / "hard-tv");
    std::filesystem::create_symlink(folder / "new", folder / "link-new");
    const auto link = [&](const char* name) { return (folder / name).string(); };
    const std::string free = "serve --port 0 --overwrite --end-with-input --record ";
    for (const auto& [arguments, error] : std::vector<std::pair<std::string, std::string>>{
             {"serve" + port + both + recording, "the file is not empty; --overwrite replaces it"},
             {"serve --overwrite" + port + both + recording, "the port is in use"},
             {"serve --overwrite" + port + both + old, "the port is in use"},
             {"serve --port 0 --overwrite --plugin " + plugin + both + old, "can't be loaded"},
             {"script --plugin " + plugin + " --trace " + trace, "can't be loaded"},
             {free + link("hard-tv") + " --tv " + tv, "would overwrite the file of --tv"},
             {free + link("link-tv") + " --tv " + tv, "would overwrite the file of --tv"},
             {free + link("link-trace") + " --trace " + trace, "would overwrite the file of --trace"},
             {free + link("link-new") + " --trace " + link("new"), "would overwrite the file of --trace"},
             {free + link("link-settings") + " --settings " + settings, "overwrite the file of --settings"},
             {free + settings + "-wal --settings " + settings, "overwrite the file of --settings"},
             {free + link("link-plugin") + " --plugin " + plugin, "would overwrite the file of --plugin"},
             {"script --trace " + script + ' ' + script, "would overwrite the file of the script"},
             {"script --trace " + script + " <" + script, "would overwrite the file of the script"},
         })
        EXPECT_EQ(RefusalFault(arguments, error), "") << arguments;
    EXPECT_EQ(ReadFile(trace), "a trace");
    EXPECT_EQ(ReadFile(old), "an old recording");
    EXPECT_EQ(ReadFile(tv), "{}");
    EXPECT_EQ(ReadFile(script), "{\"tv\":\"close\"}\n");
    EXPECT_NE(ReadFile(recording), "");
    EXPECT_EQ(RunHost("--trace " + trace + ' ' + free + old).status, 0);
    EXPECT_EQ(ReadFile(old).rfind("# Recorded by", 0), 0U);
    EXPECT_TRUE(J(ReadFile(trace)).isArray());
}

TEST(Life, AnAddressThatCannotBeWrittenEndsIt)
{
    EXPECT_EQ(RefusalFault("serve --port 0 >/dev/full",
                           "zelumo-tv: can't write to standard output: No space left on device\n"),
              "");
}

}  // namespace
}  // namespace test
