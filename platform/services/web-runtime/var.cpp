// SPDX-License-Identifier: Apache-2.0
#include "ppapi/cpp/var.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ppapi/cpp/var_array.h"
#include "ppapi/cpp/var_dictionary.h"
#include "services/web-runtime/var_objects.h"

namespace tv {
namespace {

bool IsCounted(const PP_Var& var)
{
    return var.type == PP_VARTYPE_STRING || var.type == PP_VARTYPE_ARRAY || var.type == PP_VARTYPE_DICTIONARY;
}

VarObject* ObjectOf(const PP_Var& var)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the C struct has room for a number only
    return reinterpret_cast<VarObject*>(static_cast<std::intptr_t>(var.value.as_id));
}

PP_Var MakeVar(PP_VarType type, VarObject* object)
{
    PP_Var var{type, 0, {}};
    var.value.as_id = static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(object));
    return var;
}

PP_Var MakeString(std::string text)
{
    return MakeVar(PP_VARTYPE_STRING, new StringObject(std::move(text)));
}

auto FindEntry(DictionaryObject& dictionary, const std::string& key)
{
    return std::lower_bound(
        dictionary.entries.begin(), dictionary.entries.end(), key,
        [](const auto& entry, const std::string& wanted) { return entry.first < wanted; });
}

}  // namespace

StringObject* AsStringObject(const PP_Var& var)
{
    return var.type == PP_VARTYPE_STRING ? static_cast<StringObject*>(ObjectOf(var)) : nullptr;
}

ArrayObject* AsArrayObject(const PP_Var& var)
{
    return var.type == PP_VARTYPE_ARRAY ? static_cast<ArrayObject*>(ObjectOf(var)) : nullptr;
}

DictionaryObject* AsDictionaryObject(const PP_Var& var)
{
    return var.type == PP_VARTYPE_DICTIONARY ? static_cast<DictionaryObject*>(ObjectOf(var)) : nullptr;
}

void AddReference(const PP_Var& var)
{
    if (IsCounted(var))
        ObjectOf(var)->references.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseReference(const PP_Var& var)
{
    if (!IsCounted(var) || ObjectOf(var)->references.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    if (var.type == PP_VARTYPE_STRING)
        delete AsStringObject(var);
    else if (var.type == PP_VARTYPE_ARRAY)
        delete AsArrayObject(var);
    else
        delete AsDictionaryObject(var);
}

int CountReferences(const PP_Var& var)
{
    return IsCounted(var) ? ObjectOf(var)->references.load() : 0;
}

const std::string& TextOf(const pp::Var& var)
{
    static const std::string empty;
    const StringObject* object = AsStringObject(var.pp_var());
    return object != nullptr ? object->text : empty;
}

const std::vector<std::pair<std::string, pp::Var>>& EntriesOf(const pp::Var& dictionary)
{
    static const std::vector<std::pair<std::string, pp::Var>> empty;
    const DictionaryObject* object = AsDictionaryObject(dictionary.pp_var());
    return object != nullptr ? object->entries : empty;
}

const std::vector<pp::Var>& ElementsOf(const pp::Var& array)
{
    static const std::vector<pp::Var> empty;
    const ArrayObject* object = AsArrayObject(array.pp_var());
    return object != nullptr ? object->elements : empty;
}

}  // namespace tv

namespace pp {

Var::Var(bool value) noexcept : var_{PP_VARTYPE_BOOL, 0, {}}
{
    var_.value.as_bool = value ? PP_TRUE : PP_FALSE;
}

Var::Var(int32_t value) noexcept : var_{PP_VARTYPE_INT32, 0, {}}
{
    var_.value.as_int = value;
}

Var::Var(double value) noexcept : var_{PP_VARTYPE_DOUBLE, 0, {}}
{
    var_.value.as_double = value;
}

Var::Var(const char* utf8) : var_(tv::MakeString(utf8)) {}

Var::Var(const std::string& utf8) : var_(tv::MakeString(utf8)) {}

Var::Var(const PP_Var& var) noexcept : var_(var)
{
    tv::AddReference(var_);
}

Var::~Var()
{
    tv::ReleaseReference(var_);
}

Var& Var::operator=(const Var& other) noexcept
{
    tv::AddReference(other.var_);
    tv::ReleaseReference(var_);
    var_ = other.var_;
    return *this;
}

Var& Var::operator=(Var&& other) noexcept
{
    std::swap(var_, other.var_);
    return *this;
}

bool Var::AsBool() const
{
    return is_bool() && var_.value.as_bool != PP_FALSE;
}

int32_t Var::AsInt() const
{
    if (is_int())
        return var_.value.as_int;
    if (!is_double() || std::isnan(var_.value.as_double))
        return 0;
    constexpr double kLowest = std::numeric_limits<int32_t>::min();
    constexpr double kHighest = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(var_.value.as_double, kLowest, kHighest));
}

double Var::AsDouble() const
{
    if (is_double())
        return var_.value.as_double;
    return is_int() ? var_.value.as_int : 0.0;
}

std::string Var::AsString() const
{
    return tv::TextOf(*this);
}

PP_Var Var::Detach() noexcept
{
    const PP_Var var = var_;
    var_ = PP_Var{PP_VARTYPE_UNDEFINED, 0, {}};
    return var;
}

std::string Var::DebugString() const
{
    switch (var_.type) {
        case PP_VARTYPE_UNDEFINED:
            return "Var(UNDEFINED)";
        case PP_VARTYPE_NULL:
            return "Var(NULL)";
        case PP_VARTYPE_BOOL:
            return AsBool() ? "Var(true)" : "Var(false)";
        case PP_VARTYPE_INT32:
            return "Var(" + std::to_string(AsInt()) + ")";
        case PP_VARTYPE_DOUBLE:
            return "Var(" + std::to_string(AsDouble()) + ")";
        case PP_VARTYPE_STRING:
            return "Var<\"" + tv::TextOf(*this) + "\">";
        case PP_VARTYPE_OBJECT:
            return "Var(OBJECT)";
        case PP_VARTYPE_ARRAY:
            return "Var(ARRAY)";
        case PP_VARTYPE_DICTIONARY:
            return "Var(DICTIONARY)";
    }
    return "Var";
}

VarArray::VarArray() : Var(PASS_REF, tv::MakeVar(PP_VARTYPE_ARRAY, new tv::ArrayObject)) {}

VarArray::VarArray(const Var& var) : Var(var) {}

Var VarArray::Get(uint32_t index) const
{
    const tv::ArrayObject* array = tv::AsArrayObject(var_);
    return array != nullptr && index < array->elements.size() ? array->elements[index] : Var();
}

bool VarArray::Set(uint32_t index, const Var& value)
{
    tv::ArrayObject* array = tv::AsArrayObject(var_);
    if (array == nullptr)
        return false;
    if (index >= array->elements.size())
        array->elements.resize(std::size_t{index} + 1);
    array->elements[index] = value;
    return true;
}

uint32_t VarArray::GetLength() const
{
    const tv::ArrayObject* array = tv::AsArrayObject(var_);
    return array != nullptr ? static_cast<uint32_t>(array->elements.size()) : 0;
}

bool VarArray::SetLength(uint32_t length)
{
    tv::ArrayObject* array = tv::AsArrayObject(var_);
    if (array != nullptr)
        array->elements.resize(length);
    return array != nullptr;
}

VarDictionary::VarDictionary() : Var(PASS_REF, tv::MakeVar(PP_VARTYPE_DICTIONARY, new tv::DictionaryObject))
{}

VarDictionary::VarDictionary(const Var& var) : Var(var) {}

Var VarDictionary::Get(const Var& key) const
{
    tv::DictionaryObject* dictionary = tv::AsDictionaryObject(var_);
    if (dictionary == nullptr || !key.is_string())
        return Var();
    const auto entry = tv::FindEntry(*dictionary, tv::TextOf(key));
    return entry != dictionary->entries.end() && entry->first == tv::TextOf(key) ? entry->second : Var();
}

bool VarDictionary::Set(const Var& key, const Var& value)
{
    tv::DictionaryObject* dictionary = tv::AsDictionaryObject(var_);
    if (dictionary == nullptr || !key.is_string())
        return false;
    const auto entry = tv::FindEntry(*dictionary, tv::TextOf(key));
    if (entry != dictionary->entries.end() && entry->first == tv::TextOf(key))
        entry->second = value;
    else
        dictionary->entries.emplace(entry, tv::TextOf(key), value);
    return true;
}

void VarDictionary::Delete(const Var& key)
{
    tv::DictionaryObject* dictionary = tv::AsDictionaryObject(var_);
    if (dictionary == nullptr || !key.is_string())
        return;
    const auto entry = tv::FindEntry(*dictionary, tv::TextOf(key));
    if (entry != dictionary->entries.end() && entry->first == tv::TextOf(key))
        dictionary->entries.erase(entry);
}

bool VarDictionary::HasKey(const Var& key) const
{
    tv::DictionaryObject* dictionary = tv::AsDictionaryObject(var_);
    if (dictionary == nullptr || !key.is_string())
        return false;
    const auto entry = tv::FindEntry(*dictionary, tv::TextOf(key));
    return entry != dictionary->entries.end() && entry->first == tv::TextOf(key);
}

VarArray VarDictionary::GetKeys() const
{
    VarArray keys;
    uint32_t index = 0;
    for (const auto& entry : tv::EntriesOf(*this))
        keys.Set(index++, entry.first);
    return keys;
}

}  // namespace pp
