#include "host/languages.h"

#include "host/narrator.h"

#include <tessel/module.h>
#include <tessel/tessel.h>

#include <algorithm>
#include <string>

using namespace Demo;

namespace {

struct Saying {
    std::uint32_t language;
    const char* name;
    const char* text;
};
constexpr Saying german{0x407, "German", "Falsches Datenformat."};
constexpr Saying sayings[] = {
    {0x409, "English", "The data have incorrect format."},
    {0x408, "Greek", "Τα δεδομένα έχουν εσφαλμένη μορφή."},
    {0x411, "Japanese", "データの形式が正しくありません。"},
    {0x40C, "French", "Les données ont un format incorrect."},
    german,
};

// What cannot be read as an archive is an error with a text of the system, in the language of the thread that
// makes it.
std::string MessageOfBadData()
{
    try {
        MemoryProperties bag;
        bag.Import(Binary("no archive", 10));
    } catch (const Error& error) {
        return Narrow(error.GetLayerText(0));
    }
    return "no error at all";
}

class Listener : public Face<Mt::Runnable> {
public:
    explicit Listener(std::string& message) : heard(message) { }
    void Initialize() override { heard = MessageOfBadData(); } // its creator waits for it
    void Run() override { }

private:
    std::string& heard;
};

} // namespace

void Demo::SpeakLanguages()
{
    Chapter("One error in several languages:");
    const FacePtr<Nls::Language::Creator> languages{Clsid(Nls::languageCreatorClass)};
    const FacePtr<Nls::Language> before = languages->GetCurrent();
    // The machine can have narrowed them.
    const std::vector<std::uint32_t> supported = languages->GetSupported();
    const auto isSupported = [&](const Saying& saying) {
        return std::find(supported.begin(), supported.end(), saying.language) != supported.end();
    };
    for (const Saying& saying : sayings) {
        if (!isSupported(saying))
            continue;
        languages->Create(saying.language)->Activate();
        Claim(MessageOfBadData() == saying.text, std::string(saying.name) + ": " + saying.text);
    }
    if (isSupported(german)) {
        constexpr std::uint32_t austrian = 0xC07;
        languages->Create(austrian)->Activate();
        Claim(
            MessageOfBadData() == german.text, "Austrian German has no texts of its own and speaks German.");
        std::string heard;
        const FacePtr<Mt::Runnable> listener = MakeFace<Impl<Listener, Module>>(heard);
        Mt::CurrentThread()->CreateThread(listener, 0)->Join(true);
        Claim(heard == german.text, "A thread speaks the language of the one that has created it.");
    }
    before->Activate();
}
