// Deleting what stands at a path.
#pragma once

#include <tessel/base/string.h>

namespace Io::Fs {

void Delete(const WideString& path, bool recursive);

} // namespace Io::Fs
