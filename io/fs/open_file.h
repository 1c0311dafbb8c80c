// Opening files by two plain questions: what if it is there, and what if it is not.
#pragma once

#include <tessel/io/path.h>

namespace Io::Fs {

FacePtr<File> OpenFile(
    const WideString& path, AccessMode access, ShareMode share, IfExists ifExists, IfMissing ifMissing);

} // namespace Io::Fs
