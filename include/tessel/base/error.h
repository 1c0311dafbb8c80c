// Error: what every failure of the system is thrown as, by value, and caught as by reference.
//
// A stack of layers, each with a code and a text. The innermost failure lies at the bottom; every level that
// passes it on may add a layer that tells what it was doing:
//
//     catch (Error& error) {
//         error.AddLayer(Error::sameCode, u"The settings could not be read.", false);
//         throw;
//     }
//     catch (const Error& error) { Show(error.Format()); }
//
// One pointer wide, null while it has no layers; copies share one record until one of them is changed.
// Errors that share a record may be used in several threads; one object is for one thread at a time.
// Want of memory passes on as std::bad_alloc, but in copies and destruction, which cannot fail.
#pragma once

#include <tessel/base/binary.h>
#include <tessel/base/printf_format.h>
#include <tessel/base/string.h>

#include <cstdarg>
#include <cstdint>

class ReadArchive;
class WriteArchive;

class TESSEL_API Error {
public:
    // Codes of layers; any other is a system error number.
    static constexpr std::uint32_t sameCode = 0xE7210000; // asks AddLayer for the code of the layer below
    static constexpr std::uint32_t internal = 0xE7210001;
    static constexpr std::uint32_t cancelled = 0xE7210002; // by the user
    static constexpr std::uint32_t interrupted = 0xE7210003; // a wait or a thread
    static constexpr std::uint32_t badFormat = 0xE7210004; // data of wrong format
    static constexpr std::uint32_t notFound = 0xE7210005; // a file or path

    Error() noexcept = default;
    // An internal failure: a short token in printf form, not translated, and the tag of the subsystem that
    // raises it. The format is narrow, the texts among the arguments are wide.
    template <class... Arguments>
    Error(Formatting::Format<char, char16_t, std::type_identity_t<Arguments>...> format, const char* tag,
        const Arguments&... arguments)
        : Error() // so that the destructor runs if memory gives out below
    {
        AddInternalErrorLayer(format.text, internal, tag, Formatting::Passed(arguments)...);
    }
    Error(const Error& other) noexcept;
    Error(Error&& other) noexcept;
    ~Error();
    Error& operator=(const Error& other) noexcept;
    Error& operator=(Error&& other) noexcept;

    // Puts a layer on top. sameCode becomes the code of the layer below, if there is one. An empty text is
    // filled in by the resulting code, in the current language, where the system has a text for it. With
    // `show` this layer is the one that Format shows beside the newest.
    void AddLayer(std::uint32_t code, const WideString& text, bool show);
    // Takes layers and details away. Without layers nothing happens, and details that were set stay.
    void Clear() noexcept;

    // Layers are counted from the newest, which has index 0.
    std::uint32_t GetLayerCount() const noexcept;
    // 0 where there is no such layer.
    std::uint32_t GetLayerCode(std::uint32_t index) const noexcept;
    // Empty where there is no such layer.
    WideString GetLayerText(std::uint32_t index) const noexcept;
    // Whether a layer of any age has the code.
    bool HasCode(std::uint32_t code) const noexcept;

    // Further text that Format puts behind an empty line.
    WideString GetDetails() const noexcept;
    void SetDetails(const WideString& details);

    // The text for display: the newest layer's, the shown layer's in a line of its own if that is another
    // one, and the details. A newest layer without text and nothing shown gives its code as eight
    // hexadecimal digits; no code, or cancelled, gives nothing at all: a silent error.
    WideString Format() const;

private:
    struct Layer;
    struct Record;
    friend TESSEL_API WriteArchive& operator<<(WriteArchive& archive, const Error& error);
    friend TESSEL_API ReadArchive& operator>>(ReadArchive& archive, Error& error);

    void AddInternalErrorLayer(const char* format, std::uint32_t code, const char* tag, ...);
    void AddInternalErrorLayerV(const char* format, std::uint32_t code, const char* tag, std::va_list list);
    void MakeWritable(bool keepContents);
    bool TranslateIndex(std::uint32_t& index) const noexcept;

    Record* record = nullptr;
};
static_assert(sizeof(Error) == sizeof(void*));
