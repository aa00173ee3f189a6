#include "tv/tv_file.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "core/clock.h"
#include "core/json_node.h"
#include "core/json_text.h"
#include "tv/sample_tv_text.h"

namespace tv {
namespace {

constexpr int kMaxDepth = 64;

}  // namespace

TvConfig ParseTv(std::string_view text, const TvConfig& base)
{
    try {
        const Json::Value json = ParseJsonFile(text, kMaxDepth);
        JsonObject file(JsonNode(json, JsonPlaces::Path));
        TvConfig config = base;
        if (const auto date = file.Find("date"))
            config.date = std::chrono::milliseconds(date->Whole(0, kLastDate));
        TvConfig::ForEachSection(config, [&](auto& section, const auto&) { section.Read(file); });
        file.End();
        config.line_up.Check(file.node());
        return config;
    } catch (const JsonError& error) {
        throw TvFileError(error.what());
    } catch (const JsonMistake& mistake) {
        throw TvFileError(mistake.what());
    }
}

TvConfig ReadTvFile(const std::filesystem::path& file)
{
    const auto fail = [&file](const std::string& why) -> TvFileError {
        return TvFileError(file.string() + ": " + why);
    };
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        throw fail(std::generic_category().message(EISDIR));
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    if (!stream.is_open() || stream.bad())
        throw fail(std::generic_category().message(errno != 0 ? errno : EIO));
    try {
        return ParseTv(text, SampleTv());
    } catch (const TvFileError& mistake) {
        throw fail(mistake.what());
    }
}

std::string_view SampleTvText()
{
    return {reinterpret_cast<const char*>(kSampleTvText), kSampleTvTextSize};
}

const TvConfig& SampleTv()
{
    static const TvConfig sample = ParseTv(SampleTvText(), TvConfig());
    return sample;
}

}  // namespace tv
