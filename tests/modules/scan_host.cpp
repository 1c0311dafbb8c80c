// A host that does what its arguments say and prints what comes of it, a line each:
//     start             starts the system
//     host              starts this program's own module, with a factory of its own
//     classes           every class that is known
//     loaded            the names of all files in memory that end in .dll
//     create CLASS      makes an object, keeps it, and prints the Error if there is one
//     drop              lets go all objects
//     cleanup           forces a cleanup
#include <tessel/tessel.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <string>
#include <vector>

namespace {

struct HostClass : Face<> {
    static constexpr const char16_t* clsid = u"CID_Host::Own";
};
struct HostFactory : Object::ClassFactory<HostClass> {
    ~HostFactory() { std::printf("host factory gone\n"); }
};
const auto hosts = Object::FactoryRegistration::Of<HostFactory>("host");

struct Witness {
    ~Witness() { std::printf("host static gone\n"); }
} witness;

void PrintLoaded()
{
    std::ifstream maps("/proc/self/maps");
    std::set<std::string> names;
    for (std::string line; std::getline(maps, line);)
        if (line.ends_with(".dll") || line.ends_with(".DLL"))
            names.insert(line.substr(line.rfind('/') + 1));
    for (const std::string& name : names)
        std::printf("loaded %s\n", name.c_str());
}

void Obey(int& i, char** arguments, std::vector<FacePtr<BaseFace>>& objects)
{
    const std::string command = arguments[i];
    const FacePtr<Object::Manager> manager{Clsid(Object::managerClass)};
    if (command == "start")
        std::printf("start %d\n", TesselInitialize());
    else if (command == "host")
        Module::Start();
    else if (command == "classes")
        for (const auto& described : manager->FindClasses({}, {}))
            std::printf("class %s\n", NarrowString(described.clsid.c_str()).c_str());
    else if (command == "loaded")
        PrintLoaded();
    else if (command == "create")
        objects.push_back(Object::CreateObject(WideString(arguments[++i]), BaseFace::iid));
    else if (command == "drop")
        objects.clear();
    else if (command == "cleanup")
        Cleanup::Manager::Get()->Cleanup(true);
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments)
{
    std::vector<FacePtr<BaseFace>> objects;
    for (int i = 1; i < count; ++i) {
        try {
            Obey(i, arguments, objects);
        } catch (const Error& error) {
            std::printf("error %s\n", NarrowString(error.Format().c_str()).c_str());
        }
    }
    std::printf("main returns\n");
}
