// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/compare.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "core/calls.h"
#include "tv/tv.h"
#include "tv/tv_file.h"
#include "tvhost/compare/carried_texts.h"
#include "tvhost/compare/compare_report.h"
#include "tvhost/compare/comparison.h"
#include "tvhost/compare/learn.h"
#include "tvhost/compare/page_texts.h"
#include "tvhost/interrupt.h"
#include "tvhost/lines_out.h"
#include "tvhost/output_file.h"
#include "tvhost/recording_marks.h"
#include "tvhost/script_file.h"
#include "tvhost/session.h"

namespace host {
namespace {

namespace fs = std::filesystem;

/// A recording that can't be compared; what() says why.
class RecordingError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

fs::path DefaultTable()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / ZELUMO_DATADIR_FROM_BINDIR / "zelumo" / "compare.json")
        .lexically_normal();
}

/// Throws RecordingError, std::system_error.
ScriptFile ReadRecording(const std::string& name)
{
    const InputFile file(name);
    LineReader reader(file.descriptor(), kMaxLineBytes, InterruptDescriptor());
    ScriptFile recording = ReadScriptFile(reader);
    if (IsInterrupted())
        throw Interrupted();
    for (const Block& block : recording.blocks) {
        try {
            if (block.line && !ParseLine(*block.line).isObject())
                throw LineError("no line of a recording");
        } catch (const LineError& error) {
            throw RecordingError(ErrorText(block.number, error.what()));
        }
    }
    if (recording.blocks.size() == 1)
        throw RecordingError("no line in that could be carried out");
    return recording;
}

/// A TV of its own makes nothing of what only a stand-in can do, so no such verb is recorded.
bool IsOfRealTv(const ScriptFile& recording)
{
    const auto is_relayed = [](const std::string& comment) { return comment == kRecordingRelayed; };
    if (std::any_of(recording.comments.begin(), recording.comments.end(), is_relayed))
        return true;
    return std::all_of(recording.blocks.begin(), recording.blocks.end(), [](const Block& block) {
        if (!block.line)
            return true;
        const Json::Value line = ParseLine(*block.line);
        const Json::Value& verb = line["tv"];
        return !line.isMember("tv") || verb == "key" || verb == "open" || verb == "close";
    });
}

bool HasMediaLines(const ScriptFile& recording)
{
    return std::any_of(recording.blocks.begin(), recording.blocks.end(), [](const Block& block) {
        return block.line && ParseLine(*block.line)["tv"] == "media";
    });
}

/// Replays a recording, and collects both sides.
class Replay {
  public:
    Replay(const ScriptFile& recording, const LikenessTable& table, bool is_real_tv)
        : recording_(recording), table_(table), is_real_tv_(is_real_tv)
    {}

    /// Throws PluginError, Interrupted.
    void Run(const fs::path& plugin)
    {
        const tv::Calls::NoDelay no_delay(tv::TheCalls(), nullptr);
        LinesOut lines_out;
        auto session = std::make_unique<Session>(
            plugin, [&lines_out](const LineOut& line) { lines_out.Add(line.Whole()); }, Session::Heard{});
        session->Open();
        for (std::size_t i = 0; i < recording_.blocks.size(); ++i) {
            if (IsInterrupted())
                throw Interrupted();
            const Block& block = recording_.blocks[i];
            const Json::Value line = block.line ? ParseLine(*block.line) : Json::Value();
            if (texts_.IsPlayers(CommandOf(line["await"])))
                players_command_ = i;
            try {
                if (block.line)
                    CarryOut(*session, line);
            } catch (const LineError& error) {
                lines_out.Add(ErrorLine(block.number, error.what()));
            }
            // The teardown belongs to the last line.
            if (i + 1 == recording_.blocks.size())
                session.reset();
            Collect(i, line, lines_out.Take());
        }
    }

    const std::vector<Told>& recorded() const { return recorded_; }
    const std::vector<Told>& replayed() const { return replayed_; }
    std::size_t unanswered() const { return unanswered_; }
    const std::set<std::string>& posted() const { return posted_; }
    const std::vector<Rules::Cause>& causes() const { return causes_; }

  private:
    void CarryOut(Session& session, const Json::Value& line)
    {
        // A page that a TV's own opened has no first one before it.
        if (is_real_tv_ && line["tv"] == "open" && session.is_open())
            session.Close();
        if (is_real_tv_ && line["tv"] == "close" && !session.is_open())
            return;
        if (line["tv"] == "open")
            ++page_;
        if (line.isMember("post"))
            posted_.insert(CommandOf(line["post"]));
        session.CarryOut(carried_.InPlace(line));
    }

    void Collect(std::size_t number, const Json::Value& line, const std::vector<std::string>& lines)
    {
        const Block& block = recording_.blocks[number];
        const std::size_t recorded_before = recorded_.size();
        const std::size_t replayed_before = replayed_.size();
        bool has_reply = false;
        for (const Block::Expected& expected : block.expected) {
            if (expected.line.isMember("call") || expected.line.isMember("log"))
                continue;
            has_reply = has_reply || expected.line.isMember("reply");
            const Json::Value& reply = expected.line["reply"];
            if (reply.isObject() && reply["code"] == 0 && reply["data"] != false) {
                for (const LikenessTable::Names& messages : table_.CausedBy(line["await"]))
                    causes_.push_back({number, page_, messages});
            }
            recorded_.push_back(Read(expected.line, line, expected.number, number));
        }
        for (const std::string& text : lines) {
            const Json::Value out = ParseJson(text, kMaxOutputDepth);
            // What the TV didn't answer, since it went away or the recording ends, has nothing to be like.
            if (out.isMember("reply") && !has_reply)
                ++unanswered_;
            else
                replayed_.push_back(Read(out, line, block.number, number));
        }
        NoteCarried(recorded_before, replayed_before);
    }

    Told Read(const Json::Value& out, const Json::Value& line, int line_number, std::size_t block) const
    {
        const std::size_t cause = IsReport(out["message"]) ? players_command_ : block;
        Told told{
            Told::Kind::Reply, CommandOf(line["await"]), out["reply"], line_number, block, cause, page_};
        if (out.isMember("message")) {
            told.kind = Told::Kind::Message;
            told.name = NameOfMessage(out["message"]);
            told.value = out["message"];
        } else if (out.isMember("did")) {
            told.kind = Told::Kind::Did;
            told.name = out["did"].isString() ? out["did"].asString() : "";
            told.value = out;
        } else if (out.isMember("error")) {
            told.kind = Told::Kind::Error;
            told.name = "";
            told.value = Comparable(out);
        }
        told.value = texts_.Opened(told.name, std::move(told.value));
        return told;
    }

    /// Of what this block told from those places on, what a page hands back.
    void NoteCarried(std::size_t recorded, std::size_t replayed)
    {
        for (; recorded < recorded_.size(); ++recorded) {
            const Told& one = recorded_[recorded];
            const auto other = std::find_if(
                replayed_.begin() + static_cast<std::ptrdiff_t>(replayed), replayed_.end(),
                [&one](const Told& told) { return told.kind == one.kind && told.name == one.name; });
            if (other != replayed_.end())
                carried_.Note(Carried(one.name, one.value, other->value, table_));
        }
    }

    const ScriptFile& recording_;
    const LikenessTable& table_;
    const bool is_real_tv_;
    const PageTexts texts_;
    CarriedTexts carried_;
    std::vector<Told> recorded_;
    std::vector<Told> replayed_;
    std::set<std::string> posted_;
    std::vector<Rules::Cause> causes_;
    std::size_t unanswered_ = 0;
    std::size_t players_command_ = 0;  ///< the block of the last one
    int page_ = 0;
};

/// Throws FileError where the TV file would take the place of what is read.
void RefuseSameFile(const CompareOptions& options)
{
    const std::string recording = options.recording == "-" ? "/dev/stdin" : options.recording;
    std::vector<std::pair<std::string, const char*>> read{
        {recording, "the recording"}, {options.tv_file, "--tv"}, {options.plugin.string(), "--plugin"}};
    for (const std::string& file : options.by_form)
        read.emplace_back(file, "--by-form");
    for (const auto& [file, what] : read) {
        if (!file.empty() && IsSameFile(options.learn, file))
            throw FileError("--learn " + options.learn + " would overwrite the file of " + what);
    }
}

int CompareRecording(const CompareOptions& options)
{
    LikenessTable table;
    table.Read(DefaultTable());
    for (const std::string& file : options.by_form)
        table.Read(file);
    const ScriptFile recording = ReadRecording(options.recording);
    const bool is_real_tv = IsOfRealTv(recording);
    std::optional<tv::TvConfig> config =
        options.tv_file.empty() ? tv::SampleTv() : tv::ReadTvFile(options.tv_file, InterruptDescriptor());
    if (!config)
        throw Interrupted();
    // A TV of its own takes another time each time, so the stand-ins' reports have to be there before its.
    for (tv::StreamConfig& stream : config->streams.streams) {
        if (is_real_tv)
            stream.buffer = std::chrono::milliseconds(0);
    }
    tv::LoadTv(*config);
    tv::PlayerService::Get().SetMedia(HasMediaLines(recording) ? tv::MediaKind::Browser
                                                               : tv::MediaKind::Simulated);
    std::optional<OutputFile> learned;
    if (!options.learn.empty()) {
        RefuseSameFile(options);
        learned.emplace("TV file", options.learn,
                        options.overwrite ? OutputFile::Existing::Replace : OutputFile::Existing::Refuse);
    }
    Replay replay(recording, table, is_real_tv);
    replay.Run(options.plugin);
    Rules rules{table, is_real_tv, replay.posted(), replay.causes()};
    if (recording.blocks.back().cut_off)
        rules.cut_off = recording.blocks.size() - 1;
    const Comparison comparison = Compare(replay.recorded(), replay.replayed(), rules);
    PrintReport(comparison, {is_real_tv, rules.cut_off.has_value(), replay.unanswered()});
    if (learned) {
        const std::string text = LearnTv(recording);
        try {
            tv::ParseTv(text, tv::SampleTv());
        } catch (const tv::TvFileError& error) {
            throw FileError("what the recording tells makes no TV file: " + std::string(error.what()));
        }
        learned->Empty();
        if (const int error = learned->Write(text); error != 0)
            throw FileError(options.learn + ": " + std::generic_category().message(error));
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fprintf(stderr, "zelumo-tv: can't write to standard output\n");
        return 1;
    }
    return comparison.findings.empty() ? 0 : 1;
}

}  // namespace

int RunCompare(const CompareOptions& options)
{
    const std::string name = options.recording == "-" ? "standard input" : options.recording;
    try {
        return CompareRecording(options);
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "zelumo-tv: %s: %s\n", name.c_str(), error.code().message().c_str());
    } catch (const RecordingError& error) {
        std::fprintf(stderr, "zelumo-tv: %s: %s\n", name.c_str(), error.what());
    }
    return 2;
}

}  // namespace host
