// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/files.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

namespace host {
namespace {

namespace fs = std::filesystem;

fs::path Folder(const fs::path& path)
{
    std::error_code error;
    fs::path folder = fs::canonical(path, error);
    if (!error && !fs::is_directory(folder, error) && !error)
        error = std::make_error_code(std::errc::not_a_directory);
    if (error)
        throw std::system_error(error, path.string());
    return folder;
}

std::string TypeOf(const fs::path& file)
{
    // clang-format off
    static constexpr std::array<std::pair<std::string_view, const char*>, 41> kTypes{{
        {".aac",         "audio/aac"},
        {".avif",        "image/avif"},
        {".css",         "text/css; charset=utf-8"},
        {".flac",        "audio/flac"},
        {".gif",         "image/gif"},
        {".htm",         "text/html; charset=utf-8"},
        {".html",        "text/html; charset=utf-8"},
        {".ico",         "image/x-icon"},
        {".jpeg",        "image/jpeg"},
        {".jpg",         "image/jpeg"},
        {".js",          "text/javascript; charset=utf-8"},
        {".json",        "application/json"},
        {".m3u8",        "application/vnd.apple.mpegurl"},
        {".m4a",         "audio/mp4"},
        {".m4s",         "video/iso.segment"},
        {".m4v",         "video/mp4"},
        {".map",         "application/json"},
        {".md",          "text/markdown; charset=utf-8"},
        {".mjs",         "text/javascript; charset=utf-8"},
        {".mov",         "video/quicktime"},
        {".mp3",         "audio/mpeg"},
        {".mp4",         "video/mp4"},
        {".mpd",         "application/dash+xml"},
        {".oga",         "audio/ogg"},
        {".ogg",         "audio/ogg"},
        {".ogv",         "video/ogg"},
        {".opus",        "audio/ogg"},
        {".otf",         "font/otf"},
        {".png",         "image/png"},
        {".svg",         "image/svg+xml"},
        {".ts",          "text/plain; charset=utf-8"},
        {".ttf",         "font/ttf"},
        {".txt",         "text/plain; charset=utf-8"},
        {".vtt",         "text/vtt; charset=utf-8"},
        {".wasm",        "application/wasm"},
        {".wav",         "audio/wav"},
        {".webm",        "video/webm"},
        {".webmanifest", "application/manifest+json"},
        {".webp",        "image/webp"},
        {".woff2",       "font/woff2"},
        {".xml",         "application/xml"},
    }};
    // clang-format on
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const auto found =
        std::find_if(kTypes.begin(), kTypes.end(), [&](const auto& type) { return type.first == extension; });
    return found == kTypes.end() ? "application/octet-stream" : found->second;
}

int HexDigit(char c)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    const std::size_t digit = kDigits.find(c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c);
    return digit == std::string_view::npos ? -1 : static_cast<int>(digit);
}

std::optional<std::string> Decode(std::string_view path)
{
    std::string text;
    for (std::size_t i = 0; i < path.size(); ++i) {
        char c = path[i];
        if (c == '%') {
            const int high = i + 2 < path.size() ? HexDigit(path[i + 1]) : -1;
            const int low = high < 0 ? -1 : HexDigit(path[i + 2]);
            if (low < 0)
                return std::nullopt;
            c = static_cast<char>(high * 16 + low);
            i += 2;
        }
        if (c == '\0')
            return std::nullopt;
        text += c;
    }
    return text;
}

/// The path's names, without a leading slash; nothing where one is empty or begins with a dot.
std::optional<fs::path> Names(const std::string& path)
{
    fs::path names;
    for (std::size_t start = 1; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        if (end == start || path[start] == '.')
            return std::nullopt;
        names /= path.substr(start, end - start);
        start = end + 1;
    }
    return names;
}

/// Whether the folder holds the file, with no name on the way that begins with a dot.
bool IsInside(const fs::path& folder, const fs::path& file)
{
    const auto [end, rest] = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
    return end == folder.end() &&
           std::none_of(rest, file.end(), [](const fs::path& name) { return name.native().front() == '.'; });
}

/// Paths that are the server's, whether or not there is something. Nothing is made up there.
bool IsOfServer(const fs::path& names)
{
    static constexpr std::array<std::string_view, 4> kFirst{"page", "tv", "journal", "demo"};
    return std::find(kFirst.begin(), kFirst.end(), names.begin()->native()) != kFirst.end();
}

std::optional<WebFiles::Found> FindIn(const fs::path& folder, const fs::path& names, std::string_view path)
{
    std::error_code error;
    fs::path file = fs::canonical(folder / names, error);
    if (error || !IsInside(folder, file))
        return std::nullopt;
    if (fs::is_directory(file, error)) {
        file = fs::canonical(file / "index.html", error);
        if (error || !IsInside(folder, file))
            return std::nullopt;
        if (path.back() != '/')
            return WebFiles::Found{{}, "text/plain", std::string(path) + '/'};
    } else if (path.back() == '/') {
        return std::nullopt;
    }
    // Nothing that would block, or has no end.
    if (!fs::is_regular_file(file, error))
        return std::nullopt;
    std::string type = TypeOf(file);
    return WebFiles::Found{std::move(file), std::move(type), {}};
}

}  // namespace

namespace {

/// A folder without its main file is another than was meant.
void Require(const fs::path& file)
{
    if (!fs::exists(file))
        throw std::system_error(ENOENT, std::generic_category(), file.string());
}

}  // namespace

WebFiles::WebFiles(const fs::path& web, const fs::path& app) : web_(Folder(web))
{
    Require(web_ / "zelumo-embed.js");
    if (app.empty())
        return;
    app_ = Folder(app);
    Require(app_ / "index.html");
}

std::optional<WebFiles::Found> WebFiles::Find(std::string_view path, bool wants_page) const
{
    const std::optional<std::string> decoded = Decode(path);
    if (!decoded || decoded->empty() || decoded->front() != '/')
        return std::nullopt;
    const std::optional<fs::path> names = Names(*decoded);
    if (!names)
        return std::nullopt;
    if (names->empty())
        return app_.empty() ? FindIn(web_, "demo/index.html", "index.html") : FindIn(app_, "", path);
    // The web folder's own names come first: the demo stays where it is whatever the person's page has. What
    // the relay gives to a TV isn't among them.
    if (*names->begin() != "relay") {
        if (std::optional<Found> found = FindIn(web_, *names, path))
            return found;
    }
    if (!app_.empty()) {
        if (std::optional<Found> found = FindIn(app_, *names, path))
            return found;
        if (wants_page && !IsOfServer(*names))
            return FindIn(app_, "index.html", "index.html");
    }
    return *names == "favicon.ico" ? FindIn(web_, "demo/icon.svg", path) : std::nullopt;
}

bool HasDashPlayer(const fs::path& web)
{
    std::error_code error;
    return fs::exists(web / "zelumo-media" / "shaka-player.dash.js", error);
}

fs::path DefaultWebPath()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / ZELUMO_DATADIR_FROM_BINDIR / "zelumo" / "web").lexically_normal();
}

}  // namespace host
