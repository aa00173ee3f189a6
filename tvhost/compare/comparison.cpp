// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/comparison.h"

#include <algorithm>
#include <deque>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "core/pattern.h"

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
            int page;
            std::set<std::string> seen;
        };
        std::map<std::string, Open> causes;
        auto next = rules_.causes.begin();
        for (std::size_t i = 0; i < recorded_.size(); ++i) {
            const Told& told = recorded_[i];
            for (; next != rules_.causes.end() && next->block <= told.block; ++next)
                causes[next->message] = {next->page, {}};
            if (!IsFree(told))
                continue;
            for (auto& [message, open] : causes) {
                if (open.page == told.page && tv::FitsPattern(message, told.name) &&
                    open.seen.insert(told.name).second)
                    caused_.insert(i);
            }
        }
    }

    void Match(const Group& group)
    {
        std::vector<bool> is_matched(group.replayed.size());
        std::set<std::size_t> left(group.recorded.begin(), group.recorded.end());
        std::unordered_map<std::string, std::deque<std::size_t>> like;
        for (const std::size_t i : group.recorded)
            like[CanonicalOf(recorded_[i])].push_back(i);
        // A cause comes no later than what it causes: what is too early for one is so for those after it.
        for (std::size_t n = 0; n < group.replayed.size(); ++n) {
            const Told& told = replayed_[group.replayed[n]];
            const auto found = like.find(CanonicalOf(told));
            if (found == like.end())
                continue;
            std::deque<std::size_t>& places = found->second;
            while (!places.empty() && recorded_[places.front()].block < told.cause)
                places.pop_front();
            if (places.empty())
                continue;
            is_matched[n] = true;
            left.erase(places.front());
            alike_.emplace_back(group.replayed[n], places.front());
            places.pop_front();
            ++RowOf(told).same;
        }
        auto next = left.begin();
        for (std::size_t n = 0; n < group.replayed.size(); ++n) {
            const Told& told = replayed_[group.replayed[n]];
            if (is_matched[n])
                continue;
            while (next != left.end() && recorded_[*next].block < told.cause)
                ++next;
            if (next == left.end()) {
                Additional(told);
                continue;
            }
            Differ(recorded_[*next], told);
            next = left.erase(next);
        }
        for (const std::size_t i : left)
            Missing(i);
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

    std::string CanonicalOf(const Told& told) const
    {
        return Canonical(told.name, told.value, rules_.by_form);
    }
    Row& RowOf(const Told& told) { return comparison_.rows[Label(told)]; }
    bool IsAnyNumber(const Told& told) const
    {
        return told.kind == Told::Kind::Message && rules_.by_form.IsAnyNumberOf(told.name);
    }

    void Differ(const Told& recorded, const Told& replayed)
    {
        std::vector<JsonDifference> differences =
            Differences(recorded.name, recorded.value, replayed.value, rules_.by_form);
        if (differences.empty()) {
            ++RowOf(recorded).same;
            return;
        }
        ++RowOf(recorded).differ;
        comparison_.findings.push_back({recorded.line, Label(recorded), "", std::move(differences)});
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
