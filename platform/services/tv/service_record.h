// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/form.h"
#include "tv-service/TVServiceAPI.h"
#include "zelumo-platform/export.h"

/// The TV service's own view of its records, and the forms in which they stand in the journal, in answers and
/// in TV files. Any thread.
namespace tv {

/// What the TV service does with the records and criteria that its clients hold.
class ZELUMO_PLATFORM_API ServiceRecord {
  public:
    using Value = TCServiceData::Value;

    /// Replaces the field, or adds it.
    static void Set(TCServiceData& service, int field, Value value);
    /// Null when the field is absent; valid until a field is set.
    static const Value* Find(const TCServiceData& service, int field);
    /// The fields of `service` that `criteria` ask for.
    static TCServiceData Fetched(const TCServiceData& service, const TCCriteriaHelper& criteria);
    /// What a navigation mode makes of criteria.
    static void SetMode(TCCriteriaHelper& criteria, ENavigationMode mode, ESortMode sort);
    static void SetMode(TCCriteriaHelper& criteria, ENavigationMode mode, unsigned long long value);
    // As the forms below write them.
    static Json::Value Write(const TCServiceData& service);
    static Json::Value Write(const TCCriteriaHelper& criteria);
};

/// How the value of a field is written.
enum class FieldKind {
    Id,     ///< a decimal string
    Text,   ///< a string, or {"hex": its units in hexadecimal}
    Extra,  ///< the same; in TV files also the object that the text says
    Int32,
    Uint16,
    Number,  ///< any whole number: that of fields that have no name here
};

struct ServiceField {
    const char* name;  ///< in TV files
    int id;
    FieldKind kind;
};

/// The fields that have a name, in the order in which a TV file's are read.
ZELUMO_PLATFORM_API const std::vector<ServiceField>& ServiceFields();
ZELUMO_PLATFORM_API FieldKind KindOf(int field);
/// What a TV file may give: "a whole number of 32 bits".
ZELUMO_PLATFORM_API const char* WhatIs(FieldKind kind);
/// The value, or nothing for another form. An extra as an object is not read here.
ZELUMO_PLATFORM_API std::optional<ServiceRecord::Value> ReadField(FieldKind kind, const Json::Value& json);

template <>
struct ZELUMO_PLATFORM_API Form<TSTvMode> {
    static Json::Value Write(const TSTvMode& mode);
    static bool Read(const Json::Value& json, TSTvMode& mode);
    static constexpr char kWhat[] = "an object {\"antennaMode\", \"serviceMode\"} of whole numbers";
};

/// {"mode", "sort" or "value", "fetch"}: the first two only once a navigation mode filled the criteria.
template <>
struct Form<TCCriteriaHelper> {
    static Json::Value Write(const TCCriteriaHelper& criteria) { return ServiceRecord::Write(criteria); }
};

template <>
struct ZELUMO_PLATFORM_API Form<TCServiceData> {
    static Json::Value Write(const TCServiceData& service) { return ServiceRecord::Write(service); }
    static bool Read(const Json::Value& json, TCServiceData& service);
    static constexpr char kWhat[] = "an object from field identifier to value";
};

using ServiceList = std::list<std::unique_ptr<TCServiceData>>;
template <>
struct ZELUMO_PLATFORM_API Form<ServiceList> {
    static Json::Value Write(const ServiceList& services);
    static bool Read(const Json::Value& json, ServiceList& services);
    static constexpr char kWhat[] = "an array of services";
};

/// UTF-8 to 16-bit units in big-endian byte order; what is no UTF-8 becomes U+FFFD.
ZELUMO_PLATFORM_API std::string EncodeUnits(const std::string& utf8);
/// The way back; what is no UTF-16, and an odd last byte, is left out.
ZELUMO_PLATFORM_API std::string DecodeUnits(const std::string& bytes);

}  // namespace tv
