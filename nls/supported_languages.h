// The languages that the product supports here.
#pragma once

#include <tessel/base/string.h>

#include <vector>

namespace Nls {

// Whether this system has the language of that locale.
using InstalledTest = bool (*)(std::uint32_t locale);

// Those of the full list, in its order, that are installed and that the text names, in either case and with
// anything or nothing between them; the empty text names all. Where none is left, English if it is installed,
// else the full list. So the result is never empty.
std::vector<std::uint32_t> SupportedLanguages(WideString langList, InstalledTest isInstalled);

// "LangList" of the machine; empty if it is missing or cannot be read.
WideString ReadLangList();

} // namespace Nls
