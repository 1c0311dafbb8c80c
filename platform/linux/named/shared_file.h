// The file of a named object, open and mapped.
#pragma once

#include "platform/linux/files/descriptor.h"
#include "platform/linux/named/shared_object.h"

#include <string_view>

namespace Platform {

class SharedFile {
public:
    SharedFile() noexcept = default;
    ~SharedFile();
    SharedFile(const SharedFile&) = delete;
    SharedFile& operator=(const SharedFile&) = delete;

    enum class Mode { OpenOnly, MakeIfMissing };

    // How an object is that does not exist yet.
    struct NewObject {
        NamedKind kind;
        std::uint32_t word;
        bool isLocked; // its mutex, by the calling thread
    };

    // Opens the object of the name, or makes it as told, before anybody else can open it. *made tells which.
    // Without a file, false with the last error: ERROR_FILE_NOT_FOUND, ERROR_FILENAME_EXCED_RANGE above 260
    // chars, or what the system answers.
    bool Open(std::u16string_view name, Mode mode, const NewObject& missing, bool* made) noexcept;

    SharedObject* Get() const noexcept { return object; }

    // Takes the name from the file if nobody else uses it; whoever opens the name now makes a new one.
    void UnlinkIfAlone() noexcept;

private:
    enum class Outcome { Done, StartOver, Failed };

    Outcome TryOpen(const char* fileName, std::u16string_view name, Mode mode, const NewObject& missing,
        bool* made) noexcept;
    bool Make(std::u16string_view name, const NewObject& missing) noexcept;
    bool Map(std::size_t size) noexcept;

    int folder = -1; // in which the file was made
    Descriptor descriptor;
    SharedObject* object = nullptr;
    std::size_t mapped = 0; // bytes
};

} // namespace Platform
