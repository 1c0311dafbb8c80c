// A folder, as the text of its path.
#pragma once

#include <tessel/io/path.h>

namespace Io::Fs {

class FolderImpl : public Face<Folder> {
public:
    explicit FolderImpl(WideString normalised) noexcept : path(std::move(normalised)) { }

    std::vector<FacePtr<Path>> Enumerate(
        const WideString& pattern, const FacePtr<EntryFilter>& filter) override;

protected:
    ~FolderImpl() = default;

private:
    const WideString path;
};

} // namespace Io::Fs
