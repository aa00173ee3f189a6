// SPDX-License-Identifier: Apache-2.0
#include "core/json_scan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "core/nearest.h"

namespace tv {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// As JSON has it: -? (0 | [1-9][0-9]*) (.[0-9]+)? ([eE][+-]?[0-9]+)?
bool IsNumber(std::string_view text)
{
    std::size_t at = 0;
    const auto take = [&](std::string_view any) {
        const bool there = at < text.size() && any.find(text[at]) != std::string_view::npos;
        at += there ? 1 : 0;
        return there;
    };
    const auto take_digits = [&] {
        const std::size_t begin = at;
        while (at < text.size() && IsDigit(text[at]))
            ++at;
        return at > begin;
    };
    take("-");
    if (!take("0") && !take_digits())
        return false;
    if (take(".") && !take_digits())
        return false;
    if (take("eE")) {
        take("+-");
        if (!take_digits())
            return false;
    }
    return at == text.size();
}

enum class Kind : unsigned char { Plain, Control, Quote, Escape, Number, Open, Close, Beyond };

constexpr std::array<Kind, 256> MakeKinds()
{
    std::array<Kind, 256> kinds{};
    for (std::size_t i = 0; i < 0x20; ++i)
        kinds[i] = Kind::Control;
    for (std::size_t i = 0x80; i < kinds.size(); ++i)
        kinds[i] = Kind::Beyond;
    for (const char c : std::string_view("0123456789+-."))
        kinds[static_cast<unsigned char>(c)] = Kind::Number;
    for (const char c : {'{', '['})
        kinds[static_cast<unsigned char>(c)] = Kind::Open;
    for (const char c : {'}', ']'})
        kinds[static_cast<unsigned char>(c)] = Kind::Close;
    kinds['"'] = Kind::Quote;
    kinds['\\'] = Kind::Escape;
    return kinds;
}

constexpr std::array<Kind, 256> kKinds = MakeKinds();

Kind KindOf(char c)
{
    return kKinds[static_cast<unsigned char>(c)];
}

/// Some readers make infinity of it, others refuse it.
bool IsBeyondDouble(std::string_view number)
{
    constexpr std::size_t kMostDigits = 308;  // that no double is too small for
    const bool may_be = number.size() > kMostDigits || number.find_first_of("eE") != std::string_view::npos;
    return may_be && std::isinf(std::strtod(std::string(number).c_str(), nullptr));
}

class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) {}

    JsonScan Scan()
    {
        if (text_.substr(0, kByteOrderMark.size()) == kByteOrderMark)
            Mistake(0, "a byte order mark is none of JSON's characters");
        while (at_ < text_.size()) {
            switch (KindOf(text_[at_])) {
                case Kind::Quote:
                    ++at_;
                    String();
                    continue;
                case Kind::Number:
                    Number();
                    continue;
                case Kind::Beyond:
                    Character();
                    continue;
                case Kind::Open:
                    scan_.depth = std::max(scan_.depth, ++depth_);
                    break;
                case Kind::Close:
                    --depth_;
                    break;
                case Kind::Control:
                    if (text_[at_] == '\0')
                        Mistake(at_, "a NUL is none of JSON's characters");
                    break;
                case Kind::Escape:
                case Kind::Plain:
                    break;
            }
            ++at_;
        }
        return std::move(scan_);
    }

  private:
    /// From behind the quote that begins it to behind the one that ends it.
    void String()
    {
        while (at_ < text_.size()) {
            switch (KindOf(text_[at_])) {
                case Kind::Quote:
                    ++at_;
                    return;
                case Kind::Escape:
                    Escape();
                    continue;
                case Kind::Beyond:
                    Character();
                    continue;
                case Kind::Control:
                    Mistake(at_, "a control character in a string must be escaped");
                    break;
                default:
                    break;
            }
            ++at_;
        }
    }
    void Escape()
    {
        ++at_;
        if (at_ == text_.size())
            return;
        scan_.has_escapes = scan_.has_escapes || text_[at_] == 'u';
        // What else may be escaped is looked at for itself.
        if (text_[at_] == '"' || text_[at_] == '\\')
            ++at_;
    }
    void Number()
    {
        const std::size_t begin = at_;
        while (at_ < text_.size() &&
               (KindOf(text_[at_]) == Kind::Number || text_[at_] == 'e' || text_[at_] == 'E'))
            ++at_;
        const std::string_view number = text_.substr(begin, at_ - begin);
        if (number == "-0")
            scan_.has_bare_negative_zero = true;
        else if (!IsNumber(number) || IsBeyondDouble(number))
            Mistake(begin, '\'' + Shortened(number) + "' is not a number.");
    }
    void Character()
    {
        const std::size_t length = Utf8Length(text_.substr(at_));
        scan_.is_utf8 = scan_.is_utf8 && length != 0;
        at_ += std::max<std::size_t>(length, 1);
    }
    void Mistake(std::size_t at, std::string what)
    {
        if (!scan_.mistake)
            scan_.mistake = JsonScan::Mistake{at, std::move(what)};
    }

    const std::string_view text_;
    std::size_t at_ = 0;
    int depth_ = 0;
    JsonScan scan_;
};

}  // namespace

JsonScan ScanJson(std::string_view text)
{
    return Scanner(text).Scan();
}

std::size_t Utf8Length(std::string_view text)
{
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned>(static_cast<unsigned char>(text[i])) : 0U;
    };
    const unsigned first = byte(0);
    if (first < 0x80)
        return text.empty() ? 0 : 1;
    const std::size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                               : first >= 0xE0 && first <= 0xEF ? 3
                               : first >= 0xF0 && first <= 0xF4 ? 4
                                                                : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80)
            return 0;
    }
    // What is written longer than need be, surrogates, and what is beyond U+10FFFF.
    const unsigned second = byte(1);
    const bool is_none = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                         (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    return is_none ? 0 : length;
}

}  // namespace tv
