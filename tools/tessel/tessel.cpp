// The `tessel` command: looks at client modules and at the folder that the library is in.
#include "tools/tessel/module_check.h"
#include "tools/tessel/system_view.h"

#include <tessel/base/error.h>
#include <tessel/base/utf8.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr const char* usage =
    R"(tessel check FILE...   looks for what would pin a module in memory, or make it crash once it has left
tessel classes         lists the classes of the library and of the modules in its folder
tessel why FILE        tries to load a module, and says why it is none

The folder is that of the library which this command loads: LD_LIBRARY_PATH=FOLDER tessel classes
looks at a product's own one. Exit codes: 0 all is well, 1 it is not, 2 the command could not be done.
)";

enum ExitCode { good = 0, bad = 1, notDone = 2 };

std::string ReadFile(const std::string& path)
{
    // A pipe or a device might never come to its end.
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(path, failure);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw std::runtime_error("is no regular file");
    std::ifstream file(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad())
        throw std::runtime_error("cannot be read");
    return bytes;
}

ExitCode Check(const std::string& path)
{
    try {
        ExitCode result = good;
        const std::string file = ReadFile(path);
        for (const Tool::Finding& finding : Tool::CheckModule(Tool::ReadDynamicSection(file))) {
            std::cerr << path << (finding.isFatal ? ": error: " : ": warning: ") << finding.what << ": "
                      << finding.reason << "\n    " << finding.cure << '\n';
            if (finding.isFatal)
                result = bad;
        }
        return result;
    } catch (const std::runtime_error& failure) {
        std::cerr << path << ": error: " << failure.what() << '\n';
        return bad;
    }
}

ExitCode Run(const std::vector<std::string>& words)
{
    const std::string command = words.empty() ? "" : words[0];
    if (command == "check" && words.size() > 1) {
        ExitCode result = good;
        for (std::size_t i = 1; i < words.size(); ++i)
            if (Check(words[i]) != good)
                result = bad;
        return result;
    }
    if (command == "classes" && words.size() == 1) {
        Tool::PrintClasses();
        return good;
    }
    if (command == "why" && words.size() == 2)
        return Tool::PrintWhy(words[1]) ? good : bad;
    const bool asked = command == "help" || command == "--help";
    (asked ? std::cout : std::cerr) << usage;
    return asked ? good : notDone;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const ExitCode result = Run({argv + 1, argv + argc});
        if (!std::cout.flush())
            throw std::runtime_error("the output cannot be written");
        return result;
    } catch (const Error& error) {
        const Binary text = StringToUtf8(error.Format()); // terminated
        std::cerr << "tessel: " << reinterpret_cast<const char*>(text.GetData()) << '\n';
    } catch (const std::exception& failure) {
        std::cerr << "tessel: " << failure.what() << '\n';
    }
    return notDone;
}
