// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// The files that web mode gives out: the demo page with what belongs to it, and a person's own page.
/// Nothing outside of the two folders is ever found, whatever a path or a symbolic link says; neither is what
/// has a name that begins with a dot. Finding may be done on any thread.
class WebFiles {
  public:
    /// `web` holds the demo page, the script and the description of the page's interface. `app` may be
    /// empty: then the demo page is at `/`, too. Throws std::system_error for a folder that isn't there, or
    /// that lacks zelumo-embed.js or, of a page of one's own, index.html.
    WebFiles(const std::filesystem::path& web, const std::filesystem::path& app);

    struct Found {
        std::filesystem::path file;
        std::string type;      ///< its media type
        std::string redirect;  ///< when not empty: where the folder's page is
    };
    /// What is under a request's path, which may be percent-encoded. `wants_page`: a page is asked for, so
    /// that the person's own page is found wherever it has no file: it may route by itself.
    std::optional<Found> Find(std::string_view path, bool wants_page) const;

  private:
    std::filesystem::path web_;
    std::filesystem::path app_;  // empty: none
};

/// Whether the folder of the web files holds what plays DASH streams.
bool HasDashPlayer(const std::filesystem::path& web);

/// The folder of the web files, built or installed beside the program.
std::filesystem::path DefaultWebPath();

}  // namespace host
