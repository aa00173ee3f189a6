// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"

namespace test {
namespace {

/// A folder with a page of one's own, with things in it and beside it that are nobody's business.
class WebApp : public testing::Test {
  protected:
    WebApp()
    {
        namespace fs = std::filesystem;
        const fs::path app = folder_ / "app";
        for (const char* name : {"app/.git", "app/sub folder", "app/empty", "app/demo", "app-beside"})
            fs::create_directories(folder_ / name);
        for (const auto& [name, text] : std::vector<std::pair<std::string, std::string>>{
                 {"app/index.html", "own page"},
                 {"app/zelumo-embed.js", "not this one"},
                 {"app/demo/index.html", "not this one"},
                 {"app/demo/own.txt", "own"},
                 {"app/noextension", "?"},
                 {"app/sub folder/index.html", "sub"},
                 {"app/sub folder/ü+%.css", "style"},
                 {"app/video.MP4", "video"},
                 {"app/digits.txt", "0123456789"},
                 {"app/empty.txt", ""},
                 {"app/.env", "secret"},
                 {"app/.git/config", "secret"},
                 {"app-beside/x.txt", "secret"},
                 {"beside.txt", "secret"},
             })
            folder_.Write(name, text);
        for (const auto& [target, link] : std::vector<std::pair<const char*, const char*>>{
                 {"sub folder/index.html", "inside.html"},
                 {"../beside.txt", "escape.txt"},
                 {"../app-beside", "escape"},
                 {"../app-beside/x.txt", "beside.txt"},
                 {".env", "env.txt"},
                 {"../.git/config", "empty/config"},
                 {".git", "git"},
             })
            fs::create_symlink(target, app / link);
        if (mkfifo((app / "pipe").c_str(), 0600) != 0)
            throw std::runtime_error("no pipe");
        for (const char* name : {"digits.txt", "empty.txt"})
            fs::last_write_time(app / name, fs::file_time_type::clock::now() - std::chrono::hours(1));
        host::ServeOptions options;
        options.app = app;
        web_.emplace(options);
        client_.emplace(web_->port());
    }
    const TemporaryFolder folder_;
    std::optional<Web> web_;
    std::optional<WebClient> client_;
};

TEST_F(WebApp, FilesHaveTheirTypesAndTheServersOwnComeFirst)
{
    const std::string html = "text/html; charset=utf-8";
    const std::string js = "text/javascript; charset=utf-8";
    // A path, its type or where it leads, and the beginning of what it holds.
    for (const auto& [path, type, body] : std::vector<std::array<std::string, 3>>{
             {"/?x=/../", html, "own page"},
             {"/demo/", html, "<!doctype html>"},
             {"/demo/main.js", js, "// SPDX"},
             {"/demo/icon.svg", "image/svg+xml", "<!-- SPDX"},
             {"/demo/own.txt", "text/plain; charset=utf-8", "own"},
             {"/zelumo-embed.js", js, "// SPDX"},
             {"/zelumo.d.ts", "text/plain; charset=utf-8", "//"},
             {"/page-api.json", "application/json", "{"},
             {"/sub%20folder/", html, "sub"},
             {"/sub%20folder/%c3%BC+%25.css", "text/css; charset=utf-8", "style"},
             {"/inside.html", html, "sub"},
             {"/video.MP4", "video/mp4", "video"},
             {"/noextension", "application/octet-stream", "?"},
             {"/demo", "/demo/", ""},
             {"/sub%20folder", "/sub%20folder/", ""},
         }) {
        SCOPED_TRACE(path);
        const bool leads = type.front() == '/';
        const WebReply reply = client_->Get(path);
        EXPECT_EQ(reply.status, leads ? 301 : 200) << reply.body;
        EXPECT_EQ(reply.body.substr(0, body.size()), body);
        EXPECT_EQ(reply.Header(leads ? "location" : "content-type"), type);
        EXPECT_EQ(reply.Header("cache-control"), "no-cache");
        const WebReply head = client_->Send("HEAD", path);
        EXPECT_EQ(head.status, reply.status);
        EXPECT_EQ(head.Header("content-length"), reply.Header("content-length"));
    }
}

TEST_F(WebApp, NothingOutsideOfTheFoldersIsFound)
{
    for (const char* path : {"/empty/",
                             "/index.html/",
                             "/escape.txt",
                             "/escape/x.txt",
                             "/beside.txt",
                             "/pipe",
                             "/.env",
                             "/%2eenv",
                             "/env.txt",
                             "/empty/config",
                             "/git/config",
                             "/../beside.txt",
                             "/%2e%2e/beside.txt",
                             "/..%2fbeside.txt",
                             "/demo/%2e%2E%2f%2e%2e%2fbeside.txt",
                             "/%252e%252e/beside.txt",
                             "//etc/passwd",
                             "/%2fetc/passwd",
                             "/index.html%00.css",
                             "/index%2",
                             "/sub%2zfolder/"}) {
        const WebReply reply = client_->Get(path);
        EXPECT_EQ(reply.status, 404) << path;
        EXPECT_TRUE(J(reply.body)["error"].isString()) << path << ": " << reply.body;
    }
}

TEST_F(WebApp, APageThatRoutesByItselfIsFoundAnywhere)
{
    const Headers navigation{{"Accept", "text/html,application/xhtml+xml,*/*;q=0.8"}};
    for (const char* path : {"/channels/7", "/empty/"})
        EXPECT_EQ(client_->Send("GET", path, "", navigation).body, "own page") << path;
    for (const char* path : {"/page/7", "/tv/x", "/journal/x", "/demo/x", "/.env", "/%2e%2e/x"})
        EXPECT_EQ(client_->Send("GET", path, "", navigation).status, 404) << path;
    EXPECT_EQ(client_->Send("GET", "/channels/7", "", {{"Accept", "*/*"}}).status, 404);
    EXPECT_EQ(client_->Send("POST", "/channels/7", "", navigation).status, 404);

    EXPECT_EQ(client_->Get("/favicon.ico").Header("content-type"), "image/svg+xml");
    folder_.Write("app/favicon.ico", "own");
    EXPECT_EQ(client_->Get("/favicon.ico").body, "own");
    EXPECT_EQ(WebClient(Web().port()).Get("/favicon.ico").status, 200);
}

TEST_F(WebApp, PartsOfAFileAreServed)
{
    const auto part = [this](const std::string& range) {
        return client_->Send("GET", "/digits.txt", "", {{"Range", range}});
    };
    for (const auto& [range, body, content_range] : std::vector<std::array<std::string, 3>>{
             {"bytes=0-3", "0123", "bytes 0-3/10"},
             {"bytes=4-4", "4", "bytes 4-4/10"},
             {"bytes=7-", "789", "bytes 7-9/10"},
             {"bytes=8-99999999999999999999999", "89", "bytes 8-9/10"},
             {"bytes=-3", "789", "bytes 7-9/10"},
             {"bytes=-99", "0123456789", "bytes 0-9/10"},
         }) {
        const WebReply reply = part(range);
        EXPECT_EQ(reply.status, 206) << range;
        EXPECT_EQ(reply.body, body) << range;
        EXPECT_EQ(reply.Header("content-range"), content_range) << range;
        EXPECT_EQ(reply.Header("accept-ranges"), "bytes") << range;
        const WebReply head = client_->Send("HEAD", "/digits.txt", "", {{"Range", range}});
        EXPECT_EQ(head.Header("content-length"), "10") << range;
    }
    for (const char* range : {"bytes=10-", "bytes=99999999999999999999999-", "bytes=-0"}) {
        EXPECT_EQ(part(range).status, 416) << range;
        EXPECT_EQ(part(range).Header("content-range"), "bytes */10") << range;
    }
    // What isn't understood asks for the whole.
    for (const char* range :
         {"bytes=0-1,4-5", "bytes=5-4", "bytes=-", "bytes=a-b", "bytes=--1", "bytes 0-1", "lines=0-1"}) {
        EXPECT_EQ(part(range).status, 200) << range;
        EXPECT_EQ(part(range).body, "0123456789") << range;
        EXPECT_EQ(part(range).Header("content-range"), "") << range;
    }
    for (const char* range : {"bytes=0-", "bytes=-1"})
        EXPECT_EQ(client_->Send("GET", "/empty.txt", "", {{"Range", range}}).status, 416) << range;

    // A part of what the file no longer holds is no part of it.
    const auto part_if = [&](const std::string& tag) {
        return client_->Send("GET", "/digits.txt", "", {{"Range", "bytes=0-3"}, {"If-Range", tag}}).status;
    };
    const std::string tag = client_->Get("/digits.txt").Header("etag");
    EXPECT_EQ(part_if(tag), 206);
    EXPECT_EQ(part_if("\"another\""), 200);
    EXPECT_EQ(part_if("Wed, 21 Oct 2015 07:28:00 GMT"), 200);
    folder_.Write("app/digits.txt", "9876543210");
    EXPECT_EQ(part_if(tag), 200);
    // What has just been written may be written again within the same tick.
    EXPECT_EQ(client_->Get("/digits.txt").Header("etag"), "");
}

}  // namespace
}  // namespace test
