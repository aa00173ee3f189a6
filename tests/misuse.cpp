#include <gtest/gtest.h>

#include "tests/support/page.h"

namespace {

// Every test program links this: a page that is used wrongly fails its test, and the next one runs.
[[maybe_unused]] const bool kHandled = [] {
    test::OnMisuse([](const std::string& what) { ADD_FAILURE() << what; });
    return true;
}();

}  // namespace
