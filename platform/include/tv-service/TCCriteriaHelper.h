#pragma once

#include <optional>
#include <vector>

#include "tv-service/TVServiceTypes.h"
#include "zelumo-platform/export.h"

/// Which services a query is about, and which of their fields it fills. One thread at a time.
class PLATFORM_API TCCriteriaHelper {
  public:
    /// Adds a field to those that the query fills.
    void Fetch(int field) { fetch_.push_back(field); }

    /// For the TV service: what a navigation mode made of these criteria.
    void SetMode(ENavigationMode mode, ESortMode sort)
    {
        mode_ = mode;
        sort_ = sort;
        value_.reset();
    }
    void SetMode(ENavigationMode mode, unsigned long long value)
    {
        mode_ = mode;
        sort_.reset();
        value_ = value;
    }
    const std::optional<ENavigationMode>& mode() const { return mode_; }
    const std::optional<ESortMode>& sort() const { return sort_; }
    const std::optional<unsigned long long>& value() const { return value_; }
    /// In the order of the Fetch calls.
    const std::vector<int>& fetch() const { return fetch_; }

  private:
    std::optional<ENavigationMode> mode_;
    std::optional<ESortMode> sort_;
    std::optional<unsigned long long> value_;
    std::vector<int> fetch_;
};

/// Fills criteria from a navigation mode. Any thread. True on success; criteria are untouched otherwise.
class PLATFORM_API TCNavigationModeHelper {
  public:
    static bool GetNavigationCriteria(ENavigationMode mode, TCCriteriaHelper& criteria, ESortMode sort);
    static bool GetNavigationCriteria(ENavigationMode mode, unsigned long long value,
                                      TCCriteriaHelper& criteria);
};
