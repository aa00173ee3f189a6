// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/comparison.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace host {
namespace {

std::string Label(const Told& told)
{
    std::string name = told.name.empty() ? "(no command)" : told.name;
    switch (told.kind) {
        case Told::Kind::Reply:
            return name;
        case Told::Kind::Message:
            return "message " + name;
        case Told::Kind::Did:
            return "verb " + name;
        case Told::Kind::Error:
            break;
    }
    return "error";
}

/// Where lines may meet: kind, name and page or block.
using GroupKey = std::tuple<std::size_t, Told::Kind, std::string>;
struct Group {
    std::vector<std::size_t> recorded;
    std::vector<std::size_t> replayed;
};

class Matching {
  public:
    Matching(const std::vector<Told>& recorded, const std::vector<Told>& replayed, const Rules& rules)
        : recorded_(recorded), replayed_(replayed), rules_(rules)
    {}

    Comparison Run()
    {
        std::map<GroupKey, Group> groups;
        for (std::size_t i = 0; i < recorded_.size(); ++i) {
            if (IsCompared(recorded_[i]))
                groups[KeyOf(recorded_[i])].recorded.push_back(i);
        }
        for (std::size_t i = 0; i < replayed_.size(); ++i) {
            if (IsCompared(replayed_[i]))
                groups[KeyOf(replayed_[i])].replayed.push_back(i);
        }
        FindCauses();
        for (const auto& [key, group] : groups)
            Match(group);
        CheckOrder();
        std::stable_sort(comparison_.findings.begin(), comparison_.findings.end(),
                         [](const Finding& a, const Finding& b) { return a.line < b.line; });
        return std::move(comparison_);
    }

  private:
    bool IsCompared(const Told& told) const
    {
        return !rules_.is_real_tv || told.kind == Told::Kind::Reply || told.kind == Told::Kind::Message;
    }
    /// What has no fixed time may come anywhere in its page's life.
    bool IsFree(const Told& told) const { return rules_.is_real_tv && told.kind == Told::Kind::Message; }
    GroupKey KeyOf(const Told& told) const
    {
        return {IsFree(told) ? static_cast<std::size_t>(told.page) : told.block, told.kind, told.name};
    }

    /// Of each name, the first message after a cause belongs to that.
    void FindCauses()
    {
        struct Open {
            const Rules::Cause* cause = nullptr;
            std::set<std::string> seen;
        };
        std::map<std::pair<std::string, bool>, Open> causes;
        auto next = rules_.causes.begin();
        for (std::size_t i = 0; i < recorded_.size(); ++i) {
            const Told& told = recorded_[i];
            for (; next != rules_.causes.end() && next->block <= told.block; ++next)
                causes[{next->messages.text, next->messages.is_pattern}] = {&*next, {}};
            if (!IsFree(told))
                continue;
            for (auto& [key, open] : causes) {
                if (open.cause->page == told.page && open.cause->messages.Has(told.name) &&
                    open.seen.insert(told.name).second)
                    caused_.insert(i);
            }
        }
    }

    using Places = std::vector<std::size_t>;
    /// Lines of one group that are alike, by their places in its lists.
    struct Alike {
        Places recorded;
        Places replayed;
    };
    /// How the lines of one group meet.
    struct Meeting {
        const Group& group;
        std::vector<std::optional<std::size_t>>
            partner;                ///< of each replayed line, its place among the recorded
        std::vector<bool> is_free;  ///< of each recorded line
    };
    enum class When { Soon, Ever };

    /// Mostly a TV has answered a command before the next of the kind comes: there a line looks first for one
    /// that is like it, then for any. What comes later is looked for after that.
    void Match(const Group& group)
    {
        Meeting meeting{group, std::vector<std::optional<std::size_t>>(group.replayed.size()),
                        std::vector<bool>(group.recorded.size(), true)};
        std::unordered_map<std::string, Alike> likes;
        Alike any;
        for (std::size_t i = 0; i < group.recorded.size(); ++i) {
            likes[CanonicalOf(recorded_[group.recorded[i]])].recorded.push_back(i);
            any.recorded.push_back(i);
        }
        for (std::size_t i = 0; i < group.replayed.size(); ++i) {
            likes[CanonicalOf(replayed_[group.replayed[i]])].replayed.push_back(i);
            any.replayed.push_back(i);
        }
        for (const When when : {When::Soon, When::Ever}) {
            for (const auto& [canonical, alike] : likes)
                Meet(meeting, alike, when);
            Meet(meeting, any, when);
        }
        for (const auto& [canonical, alike] : likes)
            Uncross(meeting, alike);
        for (std::size_t i = 0; i < group.replayed.size(); ++i)
            Settle(meeting, i);
        for (std::size_t i = 0; i < group.recorded.size(); ++i) {
            if (meeting.is_free[i])
                Missing(group.recorded[i]);
        }
    }

    /// Each of the replayed lines meets the first of the recorded ones that is free and comes no earlier than
    /// its cause. Causes are in order.
    void Meet(Meeting& meeting, const Alike& alike, When when) const
    {
        const auto block = [&](std::size_t place) { return recorded_[meeting.group.recorded[place]].block; };
        auto place = alike.recorded.begin();
        for (const std::size_t i : alike.replayed) {
            if (meeting.partner[i])
                continue;
            while (place != alike.recorded.end() &&
                   (!meeting.is_free[*place] || block(*place) < CauseOf(meeting, i)))
                ++place;
            if (place == alike.recorded.end())
                return;
            if (when == When::Soon && block(*place) >= NextCause(meeting, i))
                continue;
            meeting.partner[i] = *place;
            meeting.is_free[*place] = false;
        }
    }

    std::size_t CauseOf(const Meeting& meeting, std::size_t i) const
    {
        return replayed_[meeting.group.replayed[i]].cause;
    }
    /// The cause of what has a later one.
    std::size_t NextCause(const Meeting& meeting, std::size_t i) const
    {
        const std::vector<std::size_t>& replayed = meeting.group.replayed;
        const auto next = std::upper_bound(
            replayed.begin() + static_cast<std::ptrdiff_t>(i), replayed.end(), CauseOf(meeting, i),
            [this](std::size_t cause, std::size_t later) { return cause < replayed_[later].cause; });
        return next == replayed.end() ? std::numeric_limits<std::size_t>::max() : replayed_[*next].cause;
    }

    /// What is alike can't be told apart, so the first came first.
    static void Uncross(Meeting& meeting, const Alike& alike)
    {
        Places replayed;
        Places recorded;
        for (const std::size_t i : alike.replayed) {
            if (meeting.partner[i] &&
                std::binary_search(alike.recorded.begin(), alike.recorded.end(), *meeting.partner[i])) {
                replayed.push_back(i);
                recorded.push_back(*meeting.partner[i]);
            }
        }
        std::sort(recorded.begin(), recorded.end());
        for (std::size_t i = 0; i < replayed.size(); ++i)
            meeting.partner[replayed[i]] = recorded[i];
    }

    /// Counts a replayed line, and what differs from its partner.
    void Settle(const Meeting& meeting, std::size_t n)
    {
        const Told& told = replayed_[meeting.group.replayed[n]];
        if (!meeting.partner[n])
            return Additional(told);
        const std::size_t recorded = meeting.group.recorded[*meeting.partner[n]];
        if (Differ(recorded_[recorded], told))
            return;
        alike_.emplace_back(meeting.group.replayed[n], recorded);
        ++RowOf(told).same;
    }

    /// What came of one cause has an order, and so has what has one name.
    void CheckOrder()
    {
        std::sort(alike_.begin(), alike_.end());
        std::map<GroupKey, std::size_t> last;
        for (const auto& [replayed, recorded] : alike_) {
            const Told& told = recorded_[recorded];
            if (IsAnyNumber(told))
                continue;
            bool is_in_order = true;
            const std::size_t cause = rules_.is_real_tv ? replayed_[replayed].cause : told.block;
            for (const GroupKey& scope : {KeyOf(told), GroupKey(cause, Told::Kind::Did, "")}) {
                std::size_t& place = last.emplace(scope, recorded).first->second;
                is_in_order = is_in_order && recorded >= place;
                place = std::max(place, recorded);
            }
            if (is_in_order)
                continue;
            --RowOf(told).same;
            ++RowOf(told).differ;
            comparison_.findings.push_back({told.line, Label(told), "in another order", {}});
        }
    }

    std::string CanonicalOf(const Told& told) const { return Canonical(told.name, told.value, rules_.table); }
    Row& RowOf(const Told& told) { return comparison_.rows[Label(told)]; }
    bool IsAnyNumber(const Told& told) const
    {
        return told.kind == Told::Kind::Message && rules_.table.IsAnyNumberOf(told.name);
    }

    /// Whether they do; tells how.
    bool Differ(const Told& recorded, const Told& replayed)
    {
        std::vector<JsonDifference> differences =
            Differences(recorded.name, recorded.value, replayed.value, rules_.table);
        if (differences.empty())
            return false;
        ++RowOf(recorded).differ;
        comparison_.findings.push_back({recorded.line, Label(recorded), "", std::move(differences)});
        return true;
    }

    void Additional(const Told& told)
    {
        if (IsAnyNumber(told) || told.block == rules_.cut_off)
            return;
        ++RowOf(told).differ;
        comparison_.findings.push_back(
            {told.line, Label(told), "additional", {{"", "nothing", Shown(told.value)}}});
    }

    void Missing(std::size_t recorded)
    {
        const Told& told = recorded_[recorded];
        if (IsAnyNumber(told))
            return;
        if (IsFree(told) && rules_.posted.count(told.name) == 0 && caused_.count(recorded) == 0) {
            ++RowOf(told).by_itself;
            return;
        }
        ++RowOf(told).differ;
        comparison_.findings.push_back(
            {told.line, Label(told), "missing", {{"", Shown(told.value), "nothing"}}});
    }

    const std::vector<Told>& recorded_;
    const std::vector<Told>& replayed_;
    const Rules& rules_;
    std::set<std::size_t> caused_;  ///< messages of a TV's own for which a cause is known
    std::vector<std::pair<std::size_t, std::size_t>> alike_;  ///< replayed, recorded
    Comparison comparison_;
};

}  // namespace

Comparison Compare(const std::vector<Told>& recorded, const std::vector<Told>& replayed, const Rules& rules)
{
    return Matching(recorded, replayed, rules).Run();
}

}  // namespace host
