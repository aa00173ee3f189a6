#include "tv-service/TCServiceData.h"

#include <cstring>

namespace {

template <typename T>
bool ReadNumber(const std::map<int, TCServiceData::Value>& fields, int field, T& value)
{
    const auto found = fields.find(field);
    if (found == fields.end() || !std::holds_alternative<unsigned long long>(found->second))
        return false;
    value = static_cast<T>(std::get<unsigned long long>(found->second));
    return true;
}

const std::string* FindText(const std::map<int, TCServiceData::Value>& fields, int field)
{
    const auto found = fields.find(field);
    return found == fields.end() ? nullptr : std::get_if<std::string>(&found->second);
}

}  // namespace

bool TCServiceData::Get(int field, int& value) const
{
    return ReadNumber(fields_, field, value);
}

bool TCServiceData::Get(int field, unsigned short& value) const
{
    return ReadNumber(fields_, field, value);
}

bool TCServiceData::Get(int field, unsigned long long& value) const
{
    return ReadNumber(fields_, field, value);
}

std::size_t TCServiceData::GetLength(int field) const
{
    const std::string* text = FindText(fields_, field);
    return text == nullptr ? 0 : text->size() / 2;
}

bool TCServiceData::Get(int field, unsigned short* units) const
{
    const std::string* text = FindText(fields_, field);
    if (text == nullptr)
        return false;
    std::memcpy(units, text->data(), text->size() / 2 * 2);
    return true;
}

bool TCServiceData::Get(int field, std::u16string& units) const
{
    const std::string* text = FindText(fields_, field);
    if (text == nullptr)
        return false;
    units.resize(text->size() / 2);
    std::memcpy(units.data(), text->data(), units.size() * 2);
    return true;
}
