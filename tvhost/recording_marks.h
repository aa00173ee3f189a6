// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace host {

/// The comments by which a recording is told from any other script, and one that is whole from one that was
/// cut off: its first line begins with the one, its last line is the other. One of a real TV says so among
/// its first lines.
constexpr char kRecordingBegins[] = "Recorded by zelumo-tv ";
constexpr char kRecordingRelayed[] = "What answers is a real TV, behind a relay";
constexpr char kRecordingEnds[] = "The recording ends here";

}  // namespace host
