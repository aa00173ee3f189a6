// SPDX-License-Identifier: Apache-2.0
// A Pepper that stops where a var is asked for a value of a type that it hasn't, as a debug build of the
// public interface does: what is linked with this, and with --wrap for the functions below, throws there.
#include <stdexcept>
#include <string>

#include "ppapi/cpp/var.h"
#include "ppapi/cpp/var_array.h"
#include "ppapi/cpp/var_dictionary.h"
#include "zelumo-platform/export.h"

// The linker's names: __wrap_ is called in place of a function, __real_ is the function.
#define WRAPPED(result, name, symbol, ...)                                        \
    ZELUMO_PLATFORM_API result Real##name(__VA_ARGS__) __asm__("__real_" symbol); \
    result Checked##name(__VA_ARGS__) __asm__("__wrap_" symbol)

WRAPPED(bool, AsBool, "_ZNK2pp3Var6AsBoolEv", const pp::Var* var);
WRAPPED(int32_t, AsInt, "_ZNK2pp3Var5AsIntEv", const pp::Var* var);
WRAPPED(double, AsDouble, "_ZNK2pp3Var8AsDoubleEv", const pp::Var* var);
WRAPPED(std::string, AsString, "_ZNK2pp3Var8AsStringB5cxx11Ev", const pp::Var* var);
// Constructors, which give the object on some machines.
WRAPPED(pp::VarArray*, Array, "_ZN2pp8VarArrayC1ERKNS_3VarE", pp::VarArray* array, const pp::Var& var);
WRAPPED(pp::VarDictionary*, Dictionary, "_ZN2pp13VarDictionaryC1ERKNS_3VarE", pp::VarDictionary* dictionary,
        const pp::Var& var);

namespace {

void Check(bool has_type, const char* type, const pp::Var& var)
{
    if (!has_type)
        throw std::logic_error(var.DebugString() + " is taken for " + type);
}

}  // namespace

bool CheckedAsBool(const pp::Var* var)
{
    Check(var->is_bool(), "a bool", *var);
    return RealAsBool(var);
}

int32_t CheckedAsInt(const pp::Var* var)
{
    Check(var->is_number(), "a number", *var);
    return RealAsInt(var);
}

double CheckedAsDouble(const pp::Var* var)
{
    Check(var->is_number(), "a number", *var);
    return RealAsDouble(var);
}

std::string CheckedAsString(const pp::Var* var)
{
    Check(var->is_string(), "a text", *var);
    return RealAsString(var);
}

pp::VarArray* CheckedArray(pp::VarArray* array, const pp::Var& var)
{
    Check(var.is_array(), "an array", var);
    RealArray(array, var);
    return array;
}

pp::VarDictionary* CheckedDictionary(pp::VarDictionary* dictionary, const pp::Var& var)
{
    Check(var.is_dictionary(), "a dictionary", var);
    RealDictionary(dictionary, var);
    return dictionary;
}
