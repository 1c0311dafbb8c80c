// A host: starts the system, makes objects of classes that other people's modules offer, and lets the
// modules go again. Each line that begins with "+" was checked.
#include "host/class_table.h"
#include "host/files_copy.h"
#include "host/languages.h"
#include "host/memory_map.h"
#include "host/narrator.h"
#include "host/session_watch.h"
#include "host/settings.h"
#include "host/waits_mutex.h"
#include "host/waits_work.h"
#include "host/xml_settings.h"
#include "lamps/lamp.h"
#include "shop/till.h"

#include <tessel/tessel.h>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

using namespace Demo;

namespace {

const char* const cacheFile = "autoreg.dat"; // the library keeps it in its own folder

// The library looks for modules in the folder that it was loaded from itself.
std::filesystem::path ModuleFolder()
{
    const FacePtr<Object::Library> lamps = Object::FindLibrary(Lamps::deskLampClass);
    std::string path = lamps ? Narrow(lamps->GetPath()) : "";
    for (char& c : path) // "C:\home\x" is /home/x
        c = c == '\\' ? '/' : c;
    return path.empty() ? std::filesystem::path() : std::filesystem::path(path.substr(2)).parent_path();
}

void StartSystem(bool scanned)
{
    Chapter("The system starts.");
    TesselInitialize();
    if (scanned) {
        Claim(IsInMemory("lamps.dll") && IsInMemory("shop.dll"),
            "This is the first run: every module was loaded, to see what it offers.");
    } else {
        Claim(!IsInMemory("lamps.dll") && !IsInMemory("shop.dll"),
            "What the modules offer is known from the first run: none of them was loaded.");
    }
    Claim(!IsInMemory("notes.dll"), "notes.dll only has the name of a module and is not in memory.");

    std::ifstream file(ModuleFolder() / cacheFile, std::ios::binary);
    const std::string cache{std::istreambuf_iterator<char>(file), {}};
    Claim(cache.find("{lamps.dll|") != cache.npos && cache.find("{notes.dll|") != cache.npos,
        "autoreg.dat holds what the scan found.");
}

void UseLamp()
{
    Chapter("A lamp, from lamps.dll:");
    const FacePtr<Lamps::Lamp> lamp(Lamps::deskLampClass);
    Claim(IsInMemory("lamps.dll"), "Now that an object is wanted, its module is in memory.");
    lamp->Switch(true);
    Claim(lamp->IsOn(), "The lamp is on.");
    const auto dimmer = lamp.Cast<Lamps::Dimmer>("demo");
    dimmer->SetLevel(0);
    Claim(!lamp->IsOn(), "Its second interface, the dimmer, has turned it down.");
    Claim(!lamp.TryCast<Shop::Till>(), "A lamp is no till, and says so.");
}

// An Error that a module throws outlives the module.
Error CatchFailure()
{
    Chapter("A till, from shop.dll:");
    const FacePtr<Shop::Till> till(Shop::tillClass);
    till->Stock(u"lamp oil", 3, 450);
    Claim(till->Sell(u"lamp oil", 2) == 900, "Two cans of lamp oil are 9.00.");
    try {
        till->Sell(u"lamp oil", 2);
    } catch (const Error& error) {
        Say("Two more are refused, with an Error:");
        std::cout << Narrow(error.Format()) << '\n';
        Claim(error.HasCode(Error::internal) && error.GetLayerCount() == 2, "It has come out whole.");
        return error;
    }
    Claim(false, "Two more are refused.");
    return {};
}

void DropModules(const Error& caught)
{
    Chapter("A weak reference, the death of its object, and the end of its module:");
    FacePtr<Lamps::Lamp> lamp(Lamps::lanternClass);
    const WeakPtr<Lamps::Lamp> weak(lamp);
    Claim(weak.Lock() == lamp, "While the lantern lives, the weak reference leads to it.");
    Cleanup::Manager::Get()->Cleanup(true);
    Claim(IsInMemory("lamps.dll") && !IsInMemory("shop.dll"),
        "A cleanup takes shop.dll out of memory, and leaves lamps.dll for the lantern's sake.");
    Claim(!caught.GetLayerText(0).IsEmpty(),
        "The Error from shop.dll is still good: \"" + Narrow(caught.GetLayerText(0)) + "\"");
    lamp = nullptr;
    Claim(!weak.Lock(), "The lantern is gone, and the weak reference leads nowhere.");
    Cleanup::Manager::Get()->Cleanup(true);
    Claim(!IsInMemory("lamps.dll"), "The next cleanup takes lamps.dll out of memory, too.");
    Claim(!weak.Lock(), "The weak reference is still safe to ask.");

    lamp = Lamps::lanternClass;
    Claim(lamp && IsInMemory("lamps.dll"), "Another lantern: lamps.dll has come back for it.");
}

// Exit actions run in reverse order, so what is registered ahead of the start is run behind the stop.
void ReportStop()
{
    Chapter("The system has stopped.");
    Claim(!IsInMemory("lamps.dll") && !IsInMemory("shop.dll"), "No module has stayed in memory.");
    if (HasFailed())
        std::_Exit(1);
}

void Run(bool scanned)
{
    StartSystem(scanned);
    ListClasses();
    if (!scanned)
        Claim(!IsInMemory("lamps.dll") && !IsInMemory("shop.dll"),
            "To tell all this, still no module was loaded.");
    // In a registry of the demo's own, unless somebody has named another one.
    ::setenv("TESSEL_REGISTRY", (ModuleFolder() / "registry").c_str(), 0);
    if (scanned)
        WriteSettings();
    else
        ReadSettings();
    ChangeXmlSettings(ModuleFolder() / "settings.xml");
    CopyListAndDelete(ModuleFolder());
    UseLamp();
    DropModules(CatchFailure());
    ShowWaits();
    ShareMutex();
    SpeakLanguages();
}

} // namespace

// With the argument "first" the run expects to be the one that scans the folder.
int main(int argc, char** argv)
{
    if (argc > 1 && std::string_view(argv[1]) == holderCommand)
        return HoldMutex();
    if (argc > 1 && argv[1] == watchCommand)
        return WatchSession();
    std::atexit(ReportStop);
    try {
        Run(argc > 1 && std::string_view(argv[1]) == "first");
    } catch (const Error& error) {
        Claim(false, Narrow(error.Format()));
    } catch (const std::exception& failure) {
        Claim(false, failure.what());
    }
    return HasFailed() ? 1 : 0;
}
