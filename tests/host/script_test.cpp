// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tests/support/host_process.h"
#include "tests/support/page.h"

namespace test {
namespace {

std::string Nested(int depth)
{
    return std::string(static_cast<std::size_t>(depth), '[') +
           std::string(static_cast<std::size_t>(depth), ']');
}

TEST(Script, LinesInErrorAreNamedAndTheScriptGoesOn)
{
    const std::string mebibyte(std::size_t{1024} * 1024, 'x');
    // A line, and the beginning of its error behind "line 2: "; empty: none.
    for (const auto& [line, error] : std::vector<std::pair<std::string, std::string>>{
             {"nonsense", "not JSON: "},
             {"{\"await\":1", "not JSON: "},
             {"{\"await\":\"\xff\"}", "not UTF-8"},
             {"{\"await\":\"\xed\xa0\x80\"}", "not UTF-8"},
             {"5", "expected "},
             {"{}", "expected "},
             {R"({"await":1,"post":1})", "expected "},
             {R"({"await":1,"extra":1})", "expected "},
             {R"({"reply":1})", "expected "},
             {R"({"tv":"open"})", "an instance is open already"},
             {R"({"tv":"close","now":true})", "verb \"close\": \"now\" is not known"},
             {"{\"await\":" + Nested(64) + "}", ""},
             {"{\"await\":" + Nested(65) + "}", "nested too deeply"},
             {"{\"await\":\"" + mebibyte.substr(2) + "\"}", ""},
             {"{\"await\":\"" + mebibyte.substr(1) + "\"}", "the message is larger than 1 MiB"},
             {"{\"post\":\"" + mebibyte + mebibyte + "\"}", "the message is larger than 1 MiB"},
             {mebibyte + mebibyte + mebibyte + mebibyte + "x", "too long"},
         }) {
        const std::string shown = line.substr(0, 60);
        const HostResult result =
            RunHost("script", "# comment\n" + line + "\n\n{\"await\":{\"command\":\"GetVersion\"}}");
        const Lines lines = LinesOf(result.out);
        ASSERT_EQ(lines.size(), 2U) << shown << "\n" << result.err;
        EXPECT_EQ(lines[1], R"({"reply":{"code":0,"data":"1.00"}})") << shown;
        EXPECT_EQ(result.status, error.empty() ? 0 : 1) << shown;
        EXPECT_EQ(result.err, "") << shown;
        if (!error.empty()) {
            const std::string given = J(lines[0])["error"].asString();
            EXPECT_EQ(given.substr(0, 8 + error.size()), "line 2: " + error) << shown;
        }
    }
}

TEST(Script, EchoMakesAScriptForCheck)
{
    const TemporaryFolder folder;
    const std::string script = R"(# A session.
{"await":{"command":"AddVconfCallbackWithKey","key":"k"}}

{"await":{"command":"SetIntegerToVconfWithKey","key":"k","input":3}}
nonsense
{"post":{"command":"\ud800 \udc00 \ud83d\ude00"}}
{"tv":"poweroff","type":1073741824}
{"post":{"command":"GetVersion"}}
{"tv":"close"}
)";
    for (const char* flags : {"", " --calls", " --log", " --calls --log"}) {
        const HostResult printed = RunHost(std::string("script --echo") + flags, script);
        EXPECT_EQ(printed.status, 1);
        const std::string file = folder.Write("session.jsonl", printed.out);
        const HostResult checked = RunHost("script --check " + file);
        EXPECT_EQ(checked.status, 0) << flags;
        EXPECT_EQ(checked.out, "") << flags;
    }
}

TEST(Script, CheckPrintsWhatDiffers)
{
    for (const auto& [script, out] : std::vector<std::pair<const char*, const char*>>{
             // clang-format off
             {"{\"await\":{\"command\":\"GetVersion\"}}\n{ \"reply\": {\"data\":\"1.00\", \"code\":0} }\n", ""},
             {"{\"await\":{\"command\":\"GetVersion\"}}\n{\"reply\":{\"code\":0,\"data\":\"2.00\"}}\n",
              "line 2: expected {\"reply\":{\"code\":0,\"data\":\"2.00\"}}\n"
              "line 2: got {\"reply\":{\"code\":0,\"data\":\"1.00\"}}\n"},
             {"\n{\"await\":{\"command\":\"GetVersion\"}}\n", "line 2: expected nothing\nline 2: got {\"reply\":{\"code\":0,\"data\":\"1.00\"}}\n"},
             {"{\"tv\":\"close\"}\n{\"did\":\"close\"}\n{\"message\":1}\n", "line 3: expected {\"message\":1}\nline 3: got nothing\n"},
             {"bad\n{\"error\":\"line 1: not JSON: Line 1, Column 1: Syntax error: value, object or " "array " "expected.\"}\n", ""},
             // The last line was cut off: it is passed over, and what is there of its block must fit.
             {"{\"await\":{\"command\":\"GetVersion\"}}\n{\"repl", ""},
             {"{\"tv\":\"close\"}\n{\"did\":\"close\"}\n{\"tv\":\"op", ""},
             {"{\"tv\":\"close\"}\n{\"did\":\"open\"}\n{\"tv\":\"op", "line 2: expected {\"did\":\"open\"}\nline 2: got {\"did\":\"close\"}\n"},
             {"{\"tv\":\"close\"}\n{\"message\":1}\n{\"message\":2}\n{\"did\":\"cl",
              "line 2: expected {\"message\":1}\nline 2: got {\"did\":\"close\"}\n"
              "line 3: expected {\"message\":2}\nline 3: got nothing\n"},
             // clang-format on
         }) {
        const HostResult result = RunHost("script --check -", script);
        EXPECT_EQ(result.out, out) << script;
        EXPECT_EQ(result.status, *out == '\0' ? 0 : 1) << script;
    }
    // Calls are compared only where the script holds any: here all of the opening are missing.
    const HostResult calls =
        RunHost("script --check -", R"({"call":"ht_register_library","args":[],"result":null})");
    EXPECT_NE(calls.out.find("line 0: expected nothing\nline 0: got {\"call\":"), std::string::npos)
        << calls.out;
    EXPECT_EQ(calls.status, 1);
}

TEST(JsonText, IsUtf8WhateverIsWritten)
{
    for (const char* text :
         {"\xd8", "a\xd8", "\xe0\xa4", "\xf0\x90\x80", "\xed\xa0\x80", "\xff\xfe", "\xc3\xa9"}) {
        Json::Value value;
        value[text] = text;
        EXPECT_EQ(J(Text(value)).size(), 1U) << text;
    }
}

TEST(Host, WrongUsageAndUnusableFilesAreOneClearLine)
{
    const TemporaryFolder folder;
    const std::string text = folder.Write("text.so", "not a library");
    const std::string tv = folder.Write("tv.json", R"({"channels":[{"id":7}]})");
    const std::string folder_name = (folder / "").string();
    const std::string platform = (PluginPath().parent_path() / "../../libzelumo-platform.so").string();
    for (const auto& [arguments, error] : std::vector<std::pair<std::string, std::string>>{
             {"script /no/such/file", "zelumo-tv: /no/such/file: No such file or directory"},
             {"script " + folder_name, "Is a directory"},
             {"--plugin /no/such.so script", "zelumo-tv: plug-in /no/such.so: no such file"},
             {"--plugin " + folder_name + " script", ": is a directory"},
             {"--plugin " + text + " script", ": can't be loaded: "},
             {"--plugin " + platform + " script", ": exports no module factory (pp::CreateModule)"},
             {"--settings " + folder_name + " script", "unable to open database file"},
             {"--settings " + text + " script", "file is not a database"},
             {"", "a command is required"},
             {"script --dance", "--dance"},
             {"script a b", "b"},
             {"--tv " + tv + " script", "zelumo-tv: " + tv + ": channels[0].id: must be a string of "},
             {"--tv " + tv + ".none script", "zelumo-tv: " + tv + ".none: No such file or directory"},
             {"serve --port 0 --address nowhere", "zelumo-tv: nowhere: not an address"},
             {"serve --port 0 --address 192.0.2.1", ": 192.0.2.1:0: Cannot assign requested address"},
             {"serve --port 0 --app " + text, text},
             {"serve --port 0 --web /no/such", "/no/such"},
             {"serve --port 0 --record /no/such/file", "/no/such/file"},
             {"serve --port 65536", "--port"},
             {"serve --port 0 --speed -1", "--speed"},
             {"serve --port 0 --speed nan", "zelumo-tv: --speed: nan is not a number"},
             {"serve --port 0 --speed inf", "--speed"},
             {"serve --port 0 --date 2026-01-01T20:00:00",
              "zelumo-tv: --date: \"2026-01-01T20:00:00\" is no date; write it as "},
             {"serve --port 0 --date ''", "zelumo-tv: --date: \"\" is no date"},
             {"serve --record ''", "--record: must not be empty"},
             {"--trace '' script", "--trace: must not be empty"},
             {"--tv '' script", "--tv: must not be empty"},
             {"--settings '' script", "--settings: must not be empty"},
             {"serve --app ''", "--app: must not be empty"},
             {"serve --allow-origin http://a --allow-origin '*'", "--allow-origin: * would let every page"},
             {"serve --recrod x", "; did you mean --record?\n"},
             {"--trace=x --sttings=y script", "; did you mean --settings?\n"},
             {"serv --port 0", "; did you mean serve?\n"},
             {"serv", "; did you mean serve?\n"},
             {"--" + std::string(500, 'x') + " script",
              std::string(100, 'x') + "…; --help lists what there is\n"},
             {"--tv /dev/zero script", "zelumo-tv: /dev/zero: larger than 64 MiB\n"},
         })
        EXPECT_EQ(RefusalFault(arguments, error, "{\"await\":1}"), "") << arguments;
}

TEST(Host, AClosedStreamIsNotTakenForAFile)
{
    const TemporaryFolder folder;
    const std::string trace = (folder / "trace.json").string();
    const std::string script = folder.Write("script", "{\"await\":1}\n");
    // The files that are opened would get the numbers of the streams, and the streams' lines.
    const HostResult no_output = RunHost("--trace " + trace + " script " + script + " <&- >&-");
    EXPECT_EQ(no_output.err, "zelumo-tv: can't write to standard output: Bad file descriptor\n");
    EXPECT_EQ(no_output.status, 1);
    EXPECT_TRUE(J(ReadFile(trace)).isArray()) << ReadFile(trace);
    EXPECT_EQ(RefusalFault("script <&-", "zelumo-tv: standard input: Bad file descriptor\n"), "");
}

TEST(Host, AFullDiskIsToldOnceAndATvMayComeThroughAPipe)
{
    const TemporaryFolder folder;
    std::string script;
    for (int i = 0; i < 20; ++i)
        script += R"({"tv":"setting","key":")" + std::to_string(i) + R"(","value":")" +
                  std::string(4000, 'x') + "\"}\n";
    const std::string errors = (folder / "err").string();
    const std::string program = HostPath().string();
    const HostResult full =
        RunHost("--version; trap '' XFSZ; ulimit -f 80; " + program + " --settings " +
                (folder / "db").string() + " script " + folder.Write("script", script) + " 2>" + errors);
    EXPECT_EQ(full.status, 1);
    EXPECT_NE(ReadFile(errors), "");
    EXPECT_LE(LinesOf(ReadFile(errors)).size(), 1U) << ReadFile(errors);

    const HostResult piped =
        RunHost("--version; " + program + " tv | " + program + " --tv /dev/stdin script /dev/null");
    EXPECT_EQ(piped.status, 0) << piped.err;
}

TEST(Host, SettingsHaveABoundAndRoomAgainOnceOneIsShort)
{
    const auto set = [](int key, std::size_t bytes) {
        return R"({"tv":"setting","key":")" + std::to_string(key) + R"(","value":")" +
               std::string(bytes, 'x') + "\"}\n";
    };
    std::string script;
    for (int key = 0; key < 17; ++key)
        script += set(key, 4'000'000);
    Lines expected(19, R"({"did":"setting","delivered":0})");
    expected[16] = R"({"error":"line 17: verb \"setting\": the settings store refuses the write"})";
    EXPECT_EQ(LinesOf(RunHost("script", script + set(0, 1) + set(16, 4'000'000)).out), expected);
}

}  // namespace
}  // namespace test
