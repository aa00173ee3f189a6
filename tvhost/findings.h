// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace host {

/// What was found, printed on standard output as it is found.
class Findings {
  public:
    void Fine(const std::string& text) const;
    void Note(const std::string& text);
    /// `remedy`: what to do about it.
    void Fault(const std::string& text, const std::string& remedy);

    int faults() const { return faults_; }
    int notes() const { return notes_; }

  private:
    int faults_ = 0;
    int notes_ = 0;
};

/// "a, b, c and 4 more": the first few of a list.
std::string FirstOf(const std::vector<std::string>& texts, std::size_t count = 5);
/// "1 symbol", "2 symbols".
std::string Counted(std::size_t count, const std::string& what);

}  // namespace host
