// SPDX-License-Identifier: Apache-2.0
#include "tvhost/compare/compare_report.h"

#include <algorithm>
#include <cstdio>

#include "core/nearest.h"
#include "tvhost/findings.h"

namespace host {
namespace {

/// So many members are told of one line.
constexpr std::size_t kMaxTold = 20;

void PrintFinding(const Finding& finding)
{
    std::printf("line %d: %s%s%s\n", finding.line, tv::Shortened(finding.what).c_str(),
                finding.how.empty() ? "" : ": ", finding.how.c_str());
    std::size_t told = 0;
    for (const JsonDifference& difference : finding.differences) {
        if (told++ == kMaxTold) {
            std::printf("  … and %s more\n",
                        Counted(finding.differences.size() - kMaxTold, "member").c_str());
            break;
        }
        std::printf("  %s%srecorded %s, replayed %s\n", tv::Shortened(difference.path).c_str(),
                    difference.path.empty() ? "" : ": ", difference.recorded.c_str(),
                    difference.replayed.c_str());
    }
    std::printf("\n");
}

}  // namespace

void PrintReport(const Comparison& comparison, const RecordingNotes& notes)
{
    std::for_each(comparison.findings.begin(), comparison.findings.end(), PrintFinding);
    std::size_t width = sizeof "command" - 1;
    for (const auto& [what, row] : comparison.rows)
        width = std::max(width, tv::Shortened(what).size());
    std::printf("%-*s  %6s  %6s  %6s", static_cast<int>(width), "command", "times", "same", "differ");
    std::printf(notes.is_real_tv ? "  by itself\n" : "\n");
    Row all;
    for (const auto& [what, row] : comparison.rows) {
        std::printf("%-*s  %6zu  %6zu  %6zu", static_cast<int>(width), tv::Shortened(what).c_str(),
                    row.same + row.differ + row.by_itself, row.same, row.differ);
        if (notes.is_real_tv)
            std::printf("  %9zu", row.by_itself);
        std::printf("\n");
        all.same += row.same;
        all.differ += row.differ;
        all.by_itself += row.by_itself;
    }
    std::printf("\n");
    if (notes.unanswered != 0)
        std::printf("%s without a reply in the recording\n", Counted(notes.unanswered, "message").c_str());
    if (notes.cut_off)
        std::printf("The recording was cut off: its last line in is compared as far as it goes\n");
    if (all.by_itself != 0)
        std::printf("%s told by the TV itself, not compared\n", Counted(all.by_itself, "message").c_str());
    std::printf("%zu of %s %s\n", all.differ, Counted(all.same + all.differ, "line").c_str(),
                all.differ == 1 ? "differs" : "differ");
}

}  // namespace host
