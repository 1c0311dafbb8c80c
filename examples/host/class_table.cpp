#include "host/class_table.h"

#include "host/narrator.h"
#include "lamps/lamp.h"
#include "shop/till.h"

#include <tessel/tessel.h>

#include <set>

using namespace Demo;

namespace {

std::string NameOfServer(const Clsid& clsid)
{
    const FacePtr<Object::Library> library = Object::FindLibrary(clsid);
    if (!library)
        return "the library itself";
    const std::string path = Narrow(library->GetPath());
    return path.substr(path.rfind('\\') + 1);
}

std::string Joined(const std::vector<WideString>& interfaces)
{
    std::string line;
    for (const WideString& interface : interfaces)
        line += (line.empty() ? "" : ", ") + Narrow(interface);
    return line;
}

} // namespace

void Demo::ListClasses()
{
    Chapter("Every class, who serves it, and its interfaces with their bases:");
    const FacePtr<Object::Manager> manager(Object::managerClass);
    std::set<WideString> seen;
    for (const Object::ClassInfo& described : manager->FindClasses({}, {})) {
        const bool isNew = seen.insert(described.clsid).second;
        Claim(isNew && manager->GetClassInfo(described.clsid).interfaces == described.interfaces,
            Narrow(described.clsid) + "  -  " + NameOfServer(described.clsid));
        Say("    " + Joined(described.interfaces));
    }
    Claim(seen.count(Lamps::deskLampClass) == 1 && seen.count(Shop::tillClass) == 1,
        "The classes of both modules are among them.");
    const Object::ClassInfoList started = manager->FindClasses({}, Object::Startup::iid.text);
    Claim(started.size() == 1 && started.front().clsid == Nls::initializerClass,
        "One of them is made when the system starts: that which chooses the language.");
}
