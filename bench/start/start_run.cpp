// start_run ours|dlopen|gio FOLDER MODULES
// Does one start in a process of its own, prints the seconds that it took, and ends. With "ours" the library
// is the one that is linked into the folder. The result is proved behind the clock: a class, a symbol or an
// extension point of the last module.
#include <tessel/tessel.h>

#include <gio/gio.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <string>

namespace {

std::string Number(int module)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, "%04d", module);
    return digits;
}

void Require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "start_run: %s\n", what);
        std::exit(1);
    }
}

bool AnyModuleIsInMemory()
{
    std::ifstream map("/proc/self/maps");
    for (std::string line; std::getline(map, line);)
        if (line.ends_with(".dll"))
            return true;
    return false;
}

template <class Start>
double SecondsOf(Start start)
{
    const auto begin = std::chrono::steady_clock::now();
    start();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double RunOurs(int modules, bool mayLoad)
{
    const double seconds = SecondsOf([] { TesselInitialize(); });
    Require(mayLoad || !AnyModuleIsInMemory(), "a module was loaded");
    const FacePtr<Object::Manager> manager(Object::managerClass);
    Require(manager->FindClasses({}, u"IID_Bench::Thing").size() == static_cast<std::size_t>(modules) * 10,
        "not all classes are known");
    return seconds;
}

double RunDlopen(const std::string& folder, int modules)
{
    void* last = nullptr;
    const double seconds = SecondsOf([&] {
        for (int module = 0; module < modules; ++module) {
            last = dlopen((folder + "/m" + Number(module) + ".dll").c_str(), RTLD_NOW | RTLD_LOCAL);
            Require(last != nullptr, "a module was not loaded");
        }
    });
    Require(dlsym(last, "Module_GetStaticList") != nullptr, "the last module is none");
    return seconds;
}

// The types of the process's own extension points are made before, as every program has them.
double RunGio(const std::string& folder, int modules)
{
    g_io_modules_scan_all_in_directory("/nowhere");
    const double seconds = SecondsOf([&] { g_io_modules_scan_all_in_directory(folder.c_str()); });
    const std::string last = "bench-m" + Number(modules - 1) + "-c9";
    Require(g_io_extension_point_lookup(last.c_str()) != nullptr, "not all extension points are known");
    return seconds;
}

} // namespace

int main(int argc, char** argv)
{
    Require(argc == 4, "usage: start_run scan|ours|dlopen|gio FOLDER MODULES");
    const std::string side = argv[1];
    const int modules = std::atoi(argv[3]);
    std::printf("%.9f\n",
        side == "dlopen"    ? RunDlopen(argv[2], modules)
            : side == "gio" ? RunGio(argv[2], modules)
                            : RunOurs(modules, side == "scan"));
}
