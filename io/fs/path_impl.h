// A place in the file system, as its normalised text.
#pragma once

#include <tessel/io/path.h>

namespace Io::Fs {

class PathImpl : public Face<Path> {
public:
    // The text is normalised already.
    explicit PathImpl(WideString normalised) noexcept : text(std::move(normalised)) { }

    WideString GetString() override { return text; }
    WideString GetName() override;
    FacePtr<Path> GetParent() override;
    FacePtr<Path> Append(const WideString& name) override;
    FacePtr<Path> GetRoot() override;

    PathKind GetKind() override;
    std::uint64_t GetTime(TimeKind kind) override;
    void SetTime(TimeKind kind, std::uint64_t time) override;

    FacePtr<File> OpenFile(
        AccessMode access, ShareMode share, IfExists ifExists, IfMissing ifMissing) override;
    FacePtr<Folder> OpenFolder(IfExists ifExists, IfMissing ifMissing, bool createParents) override;
    void Delete(bool recursive) override;

protected:
    ~PathImpl() = default;

private:
    const WideString text;
};

FacePtr<Path> MakePath(WideString normalised);

// What stands at the path. Leaves the thread's last error where the answer is Missing.
PathKind KindOf(const char16_t* path) noexcept;

} // namespace Io::Fs
