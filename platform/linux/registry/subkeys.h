// Making and deleting the folders of keys.
#pragma once

#include "platform/linux/registry/key_folder.h"

namespace Platform::Registry {

// Makes the subkey; if it is there, opens it and `made` is false. The parent's stamp and lock are used, so
// one thread at a time.
Code MakeSubkey(KeyFolder& parent, std::u16string_view name, KeyFolder& subkey, bool& made) noexcept;

// Deletes the subkey and its values. ERROR_ACCESS_DENIED if it has subkeys itself.
Code DeleteSubkey(KeyFolder& parent, std::u16string_view name) noexcept;

} // namespace Platform::Registry
