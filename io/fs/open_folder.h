// Opening folders, and making them with all that is missing above.
#pragma once

#include <tessel/io/path.h>

namespace Io::Fs {

FacePtr<Folder> OpenFolder(
    const WideString& path, IfExists ifExists, IfMissing ifMissing, bool createParents);

} // namespace Io::Fs
