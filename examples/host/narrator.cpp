#include "host/narrator.h"

#include <tessel/base/utf8.h>

#include <iostream>

namespace {

bool failed = false;

} // namespace

void Demo::Chapter(std::string_view headline)
{
    std::cout << '\n' << headline << '\n';
}

void Demo::Say(std::string_view line)
{
    std::cout << "  " << line << '\n';
}

void Demo::Claim(bool holds, std::string_view line)
{
    failed = failed || !holds;
    std::cout << (holds ? "  + " : "  NOT TRUE: ") << line << std::endl;
}

bool Demo::HasFailed() noexcept
{
    return failed;
}

std::string Demo::Narrow(const WideString& text)
{
    const Binary bytes = StringToUtf8(text); // terminated
    return bytes.IsEmpty() ? std::string() : reinterpret_cast<const char*>(bytes.GetData());
}
