// SPDX-License-Identifier: Apache-2.0
#include "tv-service/TCServiceData.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "services/tv/service_record.h"

namespace tv {
namespace {

template <typename T>
bool ReadNumber(const TCServiceData& service, int field, T& value)
{
    const ServiceRecord::Value* const found = ServiceRecord::Find(service, field);
    const auto* const number = found == nullptr ? nullptr : std::get_if<unsigned long long>(found);
    if (number == nullptr)
        return false;
    value = static_cast<T>(*number);
    return true;
}

const std::string* FindText(const TCServiceData& service, int field)
{
    const ServiceRecord::Value* const found = ServiceRecord::Find(service, field);
    return found == nullptr ? nullptr : std::get_if<std::string>(found);
}

}  // namespace

void ServiceRecord::Set(TCServiceData& service, int field, Value value)
{
    const auto place = std::lower_bound(service.fields_.begin(), service.fields_.end(), field,
                                        [](const auto& one, int id) { return one.id < id; });
    if (place != service.fields_.end() && place->id == field)
        place->value = std::move(value);
    else
        service.fields_.insert(place, {field, std::move(value)});
}

const ServiceRecord::Value* ServiceRecord::Find(const TCServiceData& service, int field)
{
    const auto place = std::lower_bound(service.fields_.begin(), service.fields_.end(), field,
                                        [](const auto& one, int id) { return one.id < id; });
    return place != service.fields_.end() && place->id == field ? &place->value : nullptr;
}

TCServiceData ServiceRecord::Fetched(const TCServiceData& service, const TCCriteriaHelper& criteria)
{
    TCServiceData read;
    read.fields_.reserve(criteria.fetch_.size());
    for (const int field : criteria.fetch_) {
        if (const Value* const value = Find(service, field))
            Set(read, field, *value);
    }
    return read;
}

void ServiceRecord::SetMode(TCCriteriaHelper& criteria, ENavigationMode mode, ESortMode sort)
{
    criteria.mode_ = mode;
    criteria.sort_ = sort;
    criteria.value_.reset();
}

void ServiceRecord::SetMode(TCCriteriaHelper& criteria, ENavigationMode mode, unsigned long long value)
{
    criteria.mode_ = mode;
    criteria.sort_.reset();
    criteria.value_ = value;
}

}  // namespace tv

bool TCServiceData::Get(int field, int& value) const
{
    return tv::ReadNumber(*this, field, value);
}

bool TCServiceData::Get(int field, unsigned short& value) const
{
    return tv::ReadNumber(*this, field, value);
}

bool TCServiceData::Get(int field, unsigned long long& value) const
{
    return tv::ReadNumber(*this, field, value);
}

std::size_t TCServiceData::GetLength(int field) const
{
    const std::string* text = tv::FindText(*this, field);
    return text == nullptr ? 0 : text->size() / 2;
}

bool TCServiceData::Get(int field, unsigned short* units) const
{
    const std::string* text = tv::FindText(*this, field);
    if (text == nullptr)
        return false;
    std::memcpy(units, text->data(), text->size() / 2 * 2);
    return true;
}

bool TCServiceData::Get(int field, std::u16string& units) const
{
    const std::string* text = tv::FindText(*this, field);
    if (text == nullptr)
        return false;
    units.resize(text->size() / 2);
    std::memcpy(units.data(), text->data(), units.size() * 2);
    return true;
}
