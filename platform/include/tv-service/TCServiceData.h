// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include "zelumo-platform/export.h"

namespace tv {
class ServiceRecord;
}  // namespace tv

/// Identifiers of the fields of a service.
enum EServiceField : int {
    ESERVICE_FIELD_TYPE = 1,
    ESERVICE_FIELD_PTC = 2,
    ESERVICE_FIELD_FREQUENCY = 4,
    ESERVICE_FIELD_TUNE_MODE = 6,
    ESERVICE_FIELD_SERVICE_ID = 12,
    ESERVICE_FIELD_MAJOR = 13,
    ESERVICE_FIELD_MINOR = 14,
    ESERVICE_FIELD_PROGRAM_NUMBER = 15,
    ESERVICE_FIELD_NAME = 16,
    ESERVICE_FIELD_TRANSPORT_STREAM_ID = 18,
    ESERVICE_FIELD_LOCK = 22,
    ESERVICE_FIELD_SOURCE_ID = 37,
    ESERVICE_FIELD_ORIGINAL_NETWORK_ID = 41,
    ESERVICE_FIELD_EXTRA = 110,
};

/// One service (channel): numbers and texts under numeric field identifiers; any field may be absent.
/// A text is a run of 16-bit units in big-endian byte order. Not safe for concurrent changes.
class ZELUMO_PLATFORM_API TCServiceData {
  public:
    /// Reads a number. False, the value untouched, when the field is absent or holds a text; a number too
    /// large for the type keeps its low bits.
    bool Get(int field, int& value) const;
    bool Get(int field, unsigned short& value) const;
    bool Get(int field, unsigned long long& value) const;

    /// The 16-bit units of a text; 0 when the field is absent or holds a number.
    std::size_t GetLength(int field) const;
    /// Copies all GetLength(field) units of a text, each in big-endian byte order, to `units`, which has
    /// room for them. False when there is none.
    bool Get(int field, unsigned short* units) const;
    /// Replaces `units` by the units of a text, each in big-endian byte order. False, `units` untouched,
    /// when there is none.
    bool Get(int field, std::u16string& units) const;

  private:
    friend class tv::ServiceRecord;
    /// A number, or the bytes of a text in big-endian byte order; an odd last byte is kept but belongs to no
    /// unit.
    using Value = std::variant<unsigned long long, std::string>;
    struct Field {
        int id;
        Value value;
    };
    std::vector<Field> fields_;  // in the order of their identifiers
};
