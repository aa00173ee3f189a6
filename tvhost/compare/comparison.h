// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tvhost/compare/json_difference.h"
#include "tvhost/compare/likeness_table.h"

namespace host {

/// A line out, as it was recorded or as it came now, with the texts in it opened.
struct Told {
    enum class Kind { Reply, Message, Did, Error };

    Kind kind;
    std::string name;  ///< of the command, the message or the verb
    Json::Value value;
    int line;           ///< where it stands in the recording, or the line in that caused it
    std::size_t block;  ///< the number of that line in; both lists have them in order
    std::size_t cause;  ///< that of the line in that set it off: a player reports some time after its command
    int page;           ///< how many pages were opened before
};

/// How two lists are set against each other.
struct Rules {
    const LikenessTable& table;
    /// A TV of its own made the recording. What it tells by itself has no cause there and comes when it
    /// likes.
    bool is_real_tv = false;
    std::set<std::string> posted;  ///< commands that the page posted, whose answers are messages
    /// What makes a TV post a message: a command that it has carried out.
    struct Cause {
        std::size_t block = 0;
        int page = 0;
        LikenessTable::Names messages;
    };
    std::vector<Cause> causes = {};  ///< in the order of their blocks
    /// The block with which the recording breaks off: there may be more than it holds.
    std::optional<std::size_t> cut_off = std::nullopt;
};

/// Something that differs.
struct Finding {
    int line;
    std::string what;  ///< "GetProgram", "message X", "verb key"
    std::string how;
    std::vector<JsonDifference> differences;
};

/// What came of all lines of one name.
struct Row {
    std::size_t same = 0;
    std::size_t differ = 0;
    std::size_t by_itself = 0;  ///< the TV told it without a cause in the recording, which is no difference
};

struct Comparison {
    std::vector<Finding> findings;    ///< by their lines
    std::map<std::string, Row> rows;  ///< by what they are of
};

/// Lines out meet those of their name: in a TV's own recording those of the same page that come no earlier
/// than their cause, first of all before the next cause, else those of the same block; first the ones that
/// are like them, then the others in their order. Of a TV's own, what it did and what was in error is left
/// out.
Comparison Compare(const std::vector<Told>& recorded, const std::vector<Told>& replayed, const Rules& rules);

}  // namespace host
