// The module that holds this layer.
#pragma once

struct link_map;

namespace Platform {

link_map* OwnRecord() noexcept;
// The path that it was loaded by, as MakeOwnModuleGlobal noted it; empty before that.
const char* OwnDiskPath() noexcept;

} // namespace Platform
