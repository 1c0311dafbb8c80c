#include "host/memory_map.h"

#include <fstream>
#include <string>

// Each line of the map is an address range, and ends in the path of the file behind it, if there is one.
bool Demo::IsInMemory(std::string_view fileName)
{
    const std::string ending = '/' + std::string(fileName);
    std::ifstream map("/proc/self/maps");
    for (std::string line; std::getline(map, line);)
        if (line.ends_with(ending))
            return true;
    return false;
}
