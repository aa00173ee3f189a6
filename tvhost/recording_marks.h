// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace host {

/// The comments by which a recording is told from any other script, and one that is whole from one that was
/// cut off: its first line begins with the one, its last line is the other.
constexpr char kRecordingBegins[] = "Recorded by zelumo-tv ";
constexpr char kRecordingEnds[] = "The recording ends here";
/// The comment, before its first line in, by which one of a TV's own is told from one of the stand-ins.
constexpr char kRecordingRelayed[] = "Of a real TV, relayed";

}  // namespace host
