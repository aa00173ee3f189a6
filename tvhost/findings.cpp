// SPDX-License-Identifier: Apache-2.0
#include "tvhost/findings.h"

#include <algorithm>
#include <cstdio>

namespace host {
namespace {

void Print(const char* kind, const std::string& text)
{
    std::string line = std::string(kind) + ": " + text + '\n';
    // A name in a damaged file may hold anything.
    std::replace_if(
        line.begin(), line.end() - 1,
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, '?');
    std::fputs(line.c_str(), stdout);
    std::fflush(stdout);
}

}  // namespace

void Findings::Fine(const std::string& text) const
{
    Print("ok", text);
}

void Findings::Note(const std::string& text)
{
    ++notes_;
    Print("note", text);
}

void Findings::Fault(const std::string& text, const std::string& remedy)
{
    ++faults_;
    Print("fault", remedy.empty() ? text : text + "; " + remedy);
}

std::string FirstOf(const std::vector<std::string>& texts, std::size_t count)
{
    std::string first;
    for (std::size_t i = 0; i < std::min(count, texts.size()); ++i)
        first += (i == 0 ? "" : ", ") + texts[i];
    return texts.size() > count ? first + " and " + std::to_string(texts.size() - count) + " more" : first;
}

std::string Counted(std::size_t count, const std::string& what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

}  // namespace host
