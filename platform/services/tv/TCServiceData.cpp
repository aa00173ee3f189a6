#include "tv-service/TCServiceData.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

template <typename T>
bool ReadNumber(const TCServiceData& service, int field, T& value)
{
    const TCServiceData::Value* const found = service.Find(field);
    const auto* const number = found == nullptr ? nullptr : std::get_if<unsigned long long>(found);
    if (number == nullptr)
        return false;
    value = static_cast<T>(*number);
    return true;
}

const std::string* FindText(const TCServiceData& service, int field)
{
    const TCServiceData::Value* const found = service.Find(field);
    return found == nullptr ? nullptr : std::get_if<std::string>(found);
}

bool IsBefore(const TCServiceData::Field& one, int field)
{
    return one.id < field;
}

}  // namespace

void TCServiceData::Set(int field, Value value)
{
    const auto place = std::lower_bound(fields_.begin(), fields_.end(), field, IsBefore);
    if (place != fields_.end() && place->id == field)
        place->value = std::move(value);
    else
        fields_.insert(place, {field, std::move(value)});
}

const TCServiceData::Value* TCServiceData::Find(int field) const
{
    const auto place = std::lower_bound(fields_.begin(), fields_.end(), field, IsBefore);
    return place != fields_.end() && place->id == field ? &place->value : nullptr;
}

bool TCServiceData::Get(int field, int& value) const
{
    return ReadNumber(*this, field, value);
}

bool TCServiceData::Get(int field, unsigned short& value) const
{
    return ReadNumber(*this, field, value);
}

bool TCServiceData::Get(int field, unsigned long long& value) const
{
    return ReadNumber(*this, field, value);
}

std::size_t TCServiceData::GetLength(int field) const
{
    const std::string* text = FindText(*this, field);
    return text == nullptr ? 0 : text->size() / 2;
}

bool TCServiceData::Get(int field, unsigned short* units) const
{
    const std::string* text = FindText(*this, field);
    if (text == nullptr)
        return false;
    std::memcpy(units, text->data(), text->size() / 2 * 2);
    return true;
}

bool TCServiceData::Get(int field, std::u16string& units) const
{
    const std::string* text = FindText(*this, field);
    if (text == nullptr)
        return false;
    units.resize(text->size() / 2);
    std::memcpy(units.data(), text->data(), units.size() * 2);
    return true;
}
