// A module with string tables: one block in three languages, one in two, one in one.
#include "platform/resources.h"

extern "C" [[gnu::visibility("default")]] const Platform::StringTable Module_StringTables[] = {
    {2, 0x0407, u"\0\5zwei!"},
    {2, 0x0409, u"\0\3two"},
    {2, 0x0000, u"\0\2ii"},
    {3, 0x0407, u"\4drei"},
    {3, 0x0409, u"\5three"},
    {4, 0x0407, u"\4vier"},
    {},
};
