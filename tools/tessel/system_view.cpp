#include "tools/tessel/system_view.h"

#include <tessel/tessel.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <set>

namespace Tool {

namespace {

std::string Narrow(const WideString& text)
{
    const Binary bytes = StringToUtf8(text); // terminated
    return bytes.IsEmpty() ? std::string() : reinterpret_cast<const char*>(bytes.GetData());
}

// The library names files by drive and backslash; drive C is the root of the file tree.
WideString PathText(const std::string& file)
{
    std::string path = "C:" + std::filesystem::absolute(file).lexically_normal().string();
    std::replace(path.begin(), path.end(), '/', '\\');
    return StringFromUtf8(path.c_str());
}

std::string FileName(const WideString& path)
{
    const std::string text = Narrow(path);
    return text.substr(text.rfind('\\') + 1);
}

// What a static constructor throws cannot pass the system's loader, and ends every process that loads the
// file.
[[noreturn]] void TellOfThrow()
{
    std::cout << "throws while it is loaded";
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const Error& error) {
        std::cout << ": " << Narrow(error.Format());
    } catch (const std::exception& failure) {
        std::cout << ": " << failure.what();
    } catch (...) { // there is no more to tell
    }
    std::cout << std::endl;
    std::_Exit(1);
}

void PrintClass(const Object::ClassInfo& described)
{
    const FacePtr<Object::Library> library = Object::FindLibrary(described.clsid);
    std::cout << Narrow(described.clsid) << '\n'
              << "    in " << (library ? FileName(library->GetPath()) : "the library itself") << '\n';
    std::set<WideString> seen; // bases stand behind each interface, so some repeatedly
    for (const WideString& interface : described.interfaces)
        if (seen.insert(interface).second)
            std::cout << "    " << Narrow(interface) << '\n';
}

} // namespace

void PrintClasses()
{
    TesselInitialize();
    const FacePtr<Object::Manager> manager(Object::managerClass);
    for (const Object::ClassInfo& described : manager->FindClasses({}, {}))
        PrintClass(described);
}

bool PrintWhy(const std::string& file)
{
    TesselInitialize();
    const FacePtr<Object::Library::Creator> creator(Object::libraryCreatorClass);
    std::cout << file << ": ";
    std::set_terminate(TellOfThrow);
    if (const FacePtr<Object::Library> library = creator->Create(PathText(file))) {
        Object::ClassInfoList classes;
        library->ListClasses(classes);
        std::cout << "is a module with " << classes.size() << " classes\n";
        return true;
    }
    const std::string failure = Narrow(Object::GetLoadFailure());
    std::cout << (failure.empty() ? "loads, but exports no factory of a module: see tessel check" : failure)
              << '\n';
    return false;
}

} // namespace Tool
