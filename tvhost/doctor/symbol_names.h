// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

/// `BmsPlay(int)` for `_Z7BmsPlayi`; a name that is none of the compiler's stays as it is.
std::string Demangled(std::string_view name);

/// One of the TV's libraries, by what the plug-in uses of it.
struct TvLibrary {
    const char* about;    ///< "the player service"
    const char* library;  ///< as docs/integrating.md names it
};

/// All of them.
const std::vector<TvLibrary>& TvLibraries();
/// The one that is to define a symbol, by its readable name; null: none of them.
const TvLibrary* TvLibraryOf(const std::string& readable);

/// Whether a symbol is one of the C functions by which a runtime enters a plug-in that has Pepper's C++ layer
/// linked in; else they are the runtime's own.
bool IsEntryPoint(std::string_view name);
/// Whether a symbol, by its readable name, is one that a plug-in exports.
bool IsForExport(const std::string& readable);
/// What a plug-in has to export: the beginnings of readable names, up to the parameters. The first is the
/// module factory.
const std::vector<std::string>& RequiredExports();
/// Whether a readable name is, up to its parameters, that one.
bool IsNamed(const std::string& readable, const std::string& required);
/// Whether a symbol, as the compiler names it, belongs to the stand-ins' own code.
bool IsOfStandIns(std::string_view name);

}  // namespace host
