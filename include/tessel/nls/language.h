// The language that the system talks in: one for each thread, which all messages to users follow.
//
//     const FacePtr<Nls::Language::Creator> languages{Clsid(Nls::languageCreatorClass)};
//     languages->Create(0x407)->Activate(); // from here on this thread talks German
//
// A language is told by its Windows language identifier: the lower 10 bits are the language, the next 6 its
// variety, such as 0x409 for English of the United States; 0 stands for the user's default. The product
// supports 19 languages, in a fixed order. The string "LangList" of the machine's bag "Palisade" narrows
// them, where it is not empty: it names those that are left, each by four hexadecimal digits. Of a list that
// leaves none, English alone counts.
//
// The first thread gets its language when the system starts, a created thread that of its creator, and any
// other thread the user's default when it first needs one. Messages are there in the supported languages
// alone, so a thread's language is always one of them, the one that comes nearest to what was wanted:
//
//     wanted itself;
//     else another member of its group: 0x404, 0xC04, 0x1404 are one, 0x804, 0x1004 the other;
//     else the first one of the same language, whatever its variety;
//     else the first one.
//
// Languages may be used from any thread.
#pragma once

#include <tessel/base/value.h>
#include <tessel/object/face_ptr.h>

#include <vector>

namespace Nls {

// One language. It never changes.
struct Language : Face<> {
    static constexpr Iid iid = u"IID_Nls::Language"_iid;

    struct Creator;

    // The one of the list that comes nearest to this language; of the supported ones, if the list is empty.
    // For who has texts in some languages.
    virtual FacePtr<Language> Select(const std::vector<std::uint32_t>& list) = 0;
    // Index 0 is the only one: the language identifier, as a number. Throws "bad-lng-prop(%d)", tag "nls".
    virtual Value GetProperty(std::uint32_t index) = 0;
    // Makes the supported language that comes nearest to this one that of the calling thread, and of the
    // threads which that one creates from now on.
    virtual void Activate() = 0;
};

// "CID_Nls::Language_Creator" gives it.
struct Language::Creator : Face<> {
    static constexpr Iid iid = u"IID_Nls::Language::Creator"_iid;

    // A language that need not be one of the supported ones. Throws "unsup-lng(%04x)", tag "nls", where it is
    // not 0 and this system has no such language installed.
    virtual FacePtr<Language> Create(std::uint32_t languageId) = 0;
    // Never empty. The list is made once, and knows no later change of "LangList".
    virtual std::vector<std::uint32_t> GetSupported() = 0;
    // That of the calling thread, which gets one if it has none. Throws "Cast<%s>", tag "nls", where
    // something else stands in its place among the thread's locals.
    virtual FacePtr<Language> GetCurrent() = 0;
};

constexpr const char16_t* languageCreatorClass = u"CID_Nls::Language_Creator";
// Made by the system when it starts.
constexpr const char16_t* initializerClass = u"CID_Nls::Initializer";

// The language identifier of the calling thread, at any time, before the start and behind the stop, too; the
// user's default, supported or not, where it cannot be told. The last error stays as it was.
TESSEL_API std::uint32_t TesselGetLangId() noexcept;

} // namespace Nls
