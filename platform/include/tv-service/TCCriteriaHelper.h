// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "tv-service/TVServiceTypes.h"
#include "zelumo-platform/export.h"

namespace tv {
class ServiceRecord;
}  // namespace tv

/// Which services a query is about, and which of their fields it fills. One thread at a time.
class ZELUMO_PLATFORM_API TCCriteriaHelper {
  public:
    /// Adds a field to those that the query fills.
    void Fetch(int field) { fetch_.push_back(field); }

  private:
    friend class tv::ServiceRecord;
    // What a navigation mode made of these criteria, once one did.
    std::optional<ENavigationMode> mode_;
    std::optional<ESortMode> sort_;
    std::optional<unsigned long long> value_;
    std::vector<int> fetch_;  // in the order of the Fetch calls
};

/// Fills criteria from a navigation mode. Any thread. True on success; criteria are untouched otherwise.
class ZELUMO_PLATFORM_API TCNavigationModeHelper {
  public:
    static bool GetNavigationCriteria(ENavigationMode mode, TCCriteriaHelper& criteria, ESortMode sort);
    static bool GetNavigationCriteria(ENavigationMode mode, unsigned long long value,
                                      TCCriteriaHelper& criteria);
};
