#include "tools/tessel/module_check.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>

namespace Tool {

namespace {

// A function of the system that a module calls, and what follows from that when it is unloaded.
struct CallRule {
    const char* name;
    bool isFatal;
    const char* reason;
    const char* cure;
};

constexpr const char* threadLocalReason =
    "a thread_local object with a destructor pins the module until its thread has ended and the module has "
    "been loaded and let go once more";
constexpr const char* threadLocalCure =
    "keep what belongs to a thread in a thread_local of plain type, or in an object that somebody holds";

constexpr CallRule callRules[] = {
    {"__cxa_thread_atexit", true, threadLocalReason, threadLocalCure},
    {"__cxa_thread_atexit_impl", true, threadLocalReason, threadLocalCure},
    {"pthread_key_create", true,
        "the destructor of a thread key is called when a thread ends, also when the module has left: a crash",
        "keep what belongs to a thread in a thread_local of plain type"},
    {"on_exit", true, "the action is called when the process ends, also when the module has left: a crash",
        "use atexit, which runs when the module is unloaded"},
    {"pthread_create", false, "a thread that still runs when the module leaves crashes",
        "join each thread before the last object of the module goes"},
    {"sigaction", false, "a signal handler that is still set when the module leaves crashes",
        "put the old handler back before the last object of the module goes"},
    {"signal", false, "a signal handler that is still set when the module leaves crashes",
        "put the old handler back before the last object of the module goes"},
};

constexpr const char* exportNames[] = {"Module_GetStaticList", "Module_IsUnlocked"};

std::string Readable(std::string_view name)
{
    const std::string mangled(name);
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), &std::free);
    return status == 0 && readable ? readable.get() : mangled;
}

void CheckFlags(const DynamicSection& module, std::vector<Finding>& out)
{
    if (module.isNeverUnloaded)
        out.push_back(
            {true, "-z nodelete", "the system never unloads a module that was linked so", "link without it"});
    if (module.isSymbolic)
        out.push_back({true, "-Bsymbolic",
            "the module uses type information of its own for Error, and an Error kept by others dangles when "
            "it has left",
            "link without it"});
}

void CheckExports(const DynamicSection& module, std::vector<Finding>& out)
{
    for (const char* const name : exportNames) {
        bool found = false;
        for (const Symbol& symbol : module.visible)
            found = found || (symbol.isDefined && symbol.name == name);
        if (!found)
            out.push_back({true, name, "the library takes no file for a module that does not export it",
                "link tessel::module, best through tessel_add_module"});
    }
}

void CheckUnique(const DynamicSection& module, std::vector<Finding>& out)
{
    for (const Symbol& symbol : module.visible)
        if (symbol.isDefined && symbol.isUnique)
            out.push_back({true, Readable(symbol.name), "a unique symbol pins the module for ever",
                "compile with -fno-gnu-unique, best through tessel_add_module"});
}

void CheckCalls(const DynamicSection& module, std::vector<Finding>& out)
{
    for (const CallRule& rule : callRules)
        for (const Symbol& symbol : module.visible)
            if (!symbol.isDefined && symbol.name == rule.name)
                out.push_back({rule.isFatal, rule.name, rule.reason, rule.cure});
}

// The thunk is a function of the module, which every std::exception_ptr made so calls when the last one goes.
void CheckExceptionPointers(const DynamicSection& module, std::vector<Finding>& out)
{
    for (const auto* symbols : {&module.visible, &module.local})
        for (const Symbol& symbol : *symbols)
            if (symbol.isDefined && symbol.name.find("__dest_thunk") != std::string_view::npos) {
                out.push_back({false, "std::make_exception_ptr",
                    "the std::exception_ptr calls into the module when it goes: a crash if the module left "
                    "before",
                    "throw, catch and take std::current_exception instead"});
                return;
            }
}

} // namespace

std::vector<Finding> CheckModule(const DynamicSection& module)
{
    std::vector<Finding> findings;
    CheckFlags(module, findings);
    CheckExports(module, findings);
    CheckUnique(module, findings);
    CheckCalls(module, findings);
    CheckExceptionPointers(module, findings);
    return findings;
}

} // namespace Tool
