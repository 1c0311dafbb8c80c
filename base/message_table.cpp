#include "base/message_table.h"

#include <tessel/module.h>

const char16_t* LookUp(std::span<const MessageRow> table) noexcept
{
    if (table.empty())
        return nullptr;
    const std::uint32_t language = Module::GetLangId();
    for (const MessageRow& row : table)
        if (row.language == language)
            return row.text;
    return table.front().text;
}
