#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/page.h"

namespace {

using Lines = std::vector<std::string>;

std::string Nested(int depth)
{
    return std::string(static_cast<std::size_t>(depth), '[') +
           std::string(static_cast<std::size_t>(depth), ']');
}

TEST(Script, LinesInErrorAreNamedAndTheScriptGoesOn)
{
    struct Case {
        std::string line;
        std::string error;  // the beginning of its text behind "line 2: "; empty: none
    };
    const std::string mebibyte(std::size_t{1024} * 1024, 'x');
    for (const Case& c : {
             Case{"nonsense", "not JSON: "},
             Case{"{\"await\":1", "not JSON: "},
             Case{"{'await':1}", "not JSON: "},
             Case{"{\"await\":\"\xff\"}", "not UTF-8"},
             Case{"{\"await\":\"\xed\xa0\x80\"}", "not UTF-8"},
             Case{"5", "expected "},
             Case{"{}", "expected "},
             Case{R"({"await":1,"post":1})", "expected "},
             Case{R"({"await":1,"extra":1})", "expected "},
             Case{R"({"reply":1})", "expected "},
             Case{R"({"tv":"dance"})", "there is no verb \"dance\""},
             Case{R"({"tv":"open"})", "an instance is open already"},
             Case{R"({"tv":"close","now":true})", "verb \"close\": \"now\" is not known"},
             Case{"{\"await\":" + Nested(64) + "}", ""},
             Case{"{\"await\":" + Nested(65) + "}", "nested too deeply"},
             Case{"{\"await\":" + Nested(5000) + "}", "nested too deeply"},
             Case{"{\"await\":\"" + mebibyte.substr(2) + "\"}", ""},
             Case{"{\"await\":\"" + mebibyte.substr(1) + "\"}", "the message is larger than 1 MiB"},
             Case{"{\"post\":\"" + mebibyte + mebibyte + "\"}", "the message is larger than 1 MiB"},
             Case{mebibyte + mebibyte + mebibyte + mebibyte + "x", "too long"},
         }) {
        const std::string shown = c.line.substr(0, 60);
        const test::HostResult result =
            test::RunHost("script", "# comment\n" + c.line + "\n\n{\"await\":{\"command\":\"GetVersion\"}}");
        const Lines lines = test::LinesOf(result.out);
        ASSERT_EQ(lines.size(), 2U) << shown << "\n" << result.err;
        EXPECT_EQ(lines[1], R"({"reply":{"code":0,"data":"1.00"}})") << shown;
        EXPECT_EQ(result.status, c.error.empty() ? 0 : 1) << shown;
        EXPECT_EQ(result.err, "") << shown;
        if (!c.error.empty()) {
            const std::string error = test::J(lines[0])["error"].asString();
            EXPECT_EQ(error.substr(0, 8 + c.error.size()), "line 2: " + c.error) << shown;
        }
    }
}

TEST(Script, ValuesCrossAsAPagesEngineWouldPassThem)
{
    // A parameter that must be a 32-bit integer tells the page's numbers apart.
    struct Case {
        const char* number;
        bool is_int;
    };
    for (const Case& c : {
             Case{"1", true},
             Case{"1.0", true},
             Case{"1e3", true},
             Case{"-2147483648", true},
             Case{"2147483648", false},
             Case{"1e300", false},
             Case{"-0.0", false},
             Case{"18446744073709551615", false},
             Case{"\"1\"", false},
         }) {
        const test::HostResult result = test::RunHost(
            "script", std::string(R"({"await":{"command":"UnRegisterEvent","event":)") + c.number + "}}");
        EXPECT_EQ(test::J(result.out)["reply"]["code"], c.is_int ? 0 : 26) << c.number;
    }
}

TEST(Script, CallsAndLogArePrintedInTheOrderOfTheirHappening)
{
    const test::HostResult result =
        test::RunHost("script --calls --log", R"({"await":{"command":"AddVconfCallbackWithKey","key":"k"}}
{"tv":"setting","key":"k","value":1}
)");
    EXPECT_EQ(result.status, 0);
    Lines kinds;
    for (const std::string& line : test::LinesOf(result.out)) {
        const Json::Value json = test::J(line);
        // The kind stands first in its line.
        EXPECT_EQ(line.substr(0, 2), "{\"");
        const std::string kind = line.substr(2, line.find('"', 2) - 2);
        if (kind == "call" && json["call"].asString().find("vconf") == std::string::npos)
            continue;
        if (kind == "log" && json["log"].asString().find("Settings") == std::string::npos)
            continue;
        kinds.push_back(kind);
    }
    const Lines expected{"call", "reply", "log", "message", "did", "log", "call", "log"};
    EXPECT_EQ(kinds, expected);
}

TEST(Script, EchoMakesAScriptForCheck)
{
    const test::TemporaryFolder folder;
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
        const test::HostResult printed = test::RunHost(std::string("script --echo") + flags, script);
        EXPECT_EQ(printed.status, 1);
        const std::string file = folder.Write("session.jsonl", printed.out);
        const test::HostResult checked = test::RunHost("script --check " + file);
        EXPECT_EQ(checked.status, 0) << flags;
        EXPECT_EQ(checked.out, "") << flags;
    }
}

TEST(Script, CheckPrintsWhatDiffers)
{
    struct Case {
        const char* script;
        const char* out;
    };
    for (const Case& c : {
             Case{
                 "{\"await\":{\"command\":\"GetVersion\"}}\n{ \"reply\": {\"data\":\"1.00\", \"code\":0} }\n",
                 ""},
             Case{"{\"await\":{\"command\":\"GetVersion\"}}\n{\"reply\":{\"code\":0,\"data\":\"2.00\"}}\n",
                  "line 2: expected {\"reply\":{\"code\":0,\"data\":\"2.00\"}}\n"
                  "line 2: got {\"reply\":{\"code\":0,\"data\":\"1.00\"}}\n"},
             Case{"\n{\"await\":{\"command\":\"GetVersion\"}}\n",
                  "line 2: expected nothing\nline 2: got {\"reply\":{\"code\":0,\"data\":\"1.00\"}}\n"},
             Case{"{\"tv\":\"close\"}\n{\"did\":\"close\"}\n{\"message\":1}\n",
                  "line 3: expected {\"message\":1}\nline 3: got nothing\n"},
             Case{"bad\n{\"error\":\"line 1: not JSON: Line 1, Column 1: Syntax error: value, object or "
                  "array "
                  "expected.\"}\n",
                  ""},
             // The last line was cut off: it is passed over, and what is there of its block must fit.
             Case{"{\"await\":{\"command\":\"GetVersion\"}}\n{\"repl", ""},
             Case{"{\"tv\":\"close\"}\n{\"did\":\"close\"}\n{\"tv\":\"op", ""},
             Case{"{\"tv\":\"close\"}\n{\"did\":\"open\"}\n{\"tv\":\"op",
                  "line 2: expected {\"did\":\"open\"}\nline 2: got {\"did\":\"close\"}\n"},
             Case{"{\"tv\":\"close\"}\n{\"message\":1}\n{\"message\":2}\n{\"did\":\"cl",
                  "line 2: expected {\"message\":1}\nline 2: got {\"did\":\"close\"}\n"
                  "line 3: expected {\"message\":2}\nline 3: got nothing\n"},
             // Calls are compared only where the script holds any: here all of the opening are missing.
             Case{"{\"call\":\"ht_register_library\",\"args\":[],\"result\":null}\n", nullptr},
         }) {
        const test::HostResult result = test::RunHost("script --check -", c.script);
        if (c.out == nullptr) {
            EXPECT_NE(result.out.find("line 0: expected nothing\nline 0: got {\"call\":"), std::string::npos)
                << result.out;
            EXPECT_EQ(result.status, 1);
            continue;
        }
        EXPECT_EQ(result.out, c.out) << c.script;
        EXPECT_EQ(result.status, *c.out == '\0' ? 0 : 1) << c.script;
    }
}

TEST(JsonText, IsUtf8WhateverIsWritten)
{
    for (const char* text :
         {"\xd8", "a\xd8", "\xe0\xa4", "\xf0\x90\x80", "\xed\xa0\x80", "\xff\xfe", "\xc3\xa9"}) {
        Json::Value value;
        value[text] = text;
        EXPECT_EQ(test::J(test::Text(value)).size(), 1U) << text;
    }
}

TEST(Host, WrongUsageAndUnusableFilesAreOneClearLine)
{
    const test::TemporaryFolder folder;
    const std::string text = folder.Write("text.so", "not a library");
    const std::string folder_name = (folder / "").string();
    const std::string platform = (test::PluginPath().parent_path() / "libzelumo-platform.so").string();
    struct Case {
        std::string arguments;
        std::string error;  // a part of the line
    };
    for (const Case& c : {
             Case{"script /no/such/file", "zelumo-tv: /no/such/file: No such file or directory"},
             Case{"script " + folder_name, "Is a directory"},
             Case{"--plugin /no/such.so script", "zelumo-tv: plug-in /no/such.so: no such file"},
             Case{"--plugin " + folder_name + " script", ": is a directory"},
             Case{"--plugin " + text + " script", ": can't be loaded: "},
             Case{"--plugin " + platform + " script", ": exports no module factory (pp::CreateModule)"},
             Case{"--settings " + folder_name + " script", "unable to open database file"},
             Case{"--settings " + text + " script", "file is not a database"},
             Case{"", "a command is required"},
             Case{"script --dance", "--dance"},
             Case{"script a b", "b"},
         }) {
        const test::HostResult result = test::RunHost(c.arguments, "{\"await\":1}");
        EXPECT_EQ(result.status, 2) << c.arguments;
        EXPECT_EQ(result.out, "") << c.arguments;
        EXPECT_NE(result.err.find(c.error), std::string::npos) << c.arguments << ": " << result.err;
        EXPECT_LE(test::LinesOf(result.err).size(), 2U) << result.err;
    }
}

TEST(Host, AClosedOutputEndsTheScript)
{
    const test::HostResult result = test::RunHost("script >&-", "{\"await\":1}\n{\"await\":1}\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "zelumo-tv: can't write to standard output: Bad file descriptor\n");
}

TEST(Host, SettingsLastInTheirDatabase)
{
    const test::TemporaryFolder folder;
    const std::string options = "--settings " + (folder / "settings.db").string() + " script";
    const test::HostResult written =
        test::RunHost(options, R"({"await":{"command":"SetStringToVconfWithKey","key":"s","input":"é"}}
{"await":{"command":"SetIntegerToVconfWithKey","key":"i","input":-7}}
{"await":{"command":"SetBooleanToVconfWithKey","key":"b","input":1}}
{"tv":"setting","key":"i","value":8}
)");
    EXPECT_EQ(written.status, 0) << written.err;
    const test::HostResult read =
        test::RunHost(options, R"({"await":{"command":"GetStringFromVconfWithKey","key":"s"}}
{"await":{"command":"GetIntegerFromVconfWithKey","key":"i"}}
{"await":{"command":"GetBooleanFromVconfWithKey","key":"b"}}
)");
    EXPECT_EQ(read.out, R"({"reply":{"code":0,"data":"é"}}
{"reply":{"code":0,"data":8}}
{"reply":{"code":0,"data":1}}
)");
}

}  // namespace
