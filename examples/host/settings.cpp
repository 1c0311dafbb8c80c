#include "host/settings.h"

#include "host/narrator.h"

#include <tessel/tessel.h>

#include <string>
#include <unistd.h>

namespace {

const WideString bagPath = u"tessel demo";

// A window as a bag of its own, which goes into the other one as bytes.
MemoryProperties Window()
{
    MemoryProperties window;
    window.SetNumber(u"Width", 1280);
    window.SetNumber(u"Height", 720);
    window.SetString(u"Title", u"Größe zählt");
    return window;
}

} // namespace

void Demo::WriteSettings()
{
    Chapter("Settings, for the next process:");
    PersistentProperties settings;
    settings.Open(bagPath, true);
    settings.SetNumber(u"Writer", static_cast<std::uint32_t>(::getpid()));
    settings.SetString(u"Greeting", u"Good evening");
    settings.SetBinary(u"Window", Window().Export());
    Claim(!settings.IsBagNew() && settings.GetType(u"greeting") == Properties::PropertyType::string,
        "A number, a text and a whole bag in an archive are in the registry.");
}

void Demo::ReadSettings()
{
    Chapter("Settings, from the process before:");
    PersistentProperties settings;
    settings.Open(bagPath, true);
    const std::uint32_t writer = settings.GetNumber(u"Writer");
    Claim(writer != static_cast<std::uint32_t>(::getpid()),
        "Process " + std::to_string(writer) + " has left them: \"" + Narrow(settings.GetString(u"Greeting"))
            + "\"");
    MemoryProperties window;
    window.Import(settings.GetBinary(u"Window"));
    Claim(window.IsSubsetOf(Window(), true) && Window().IsSubsetOf(window, true),
        "The bag with the window has come out of its archive as it went in.");
    settings.DeleteBag();
    Claim(settings.IsBagNew() && settings.GetNumber(u"Writer", 0) == 0, "They are gone again.");
}
