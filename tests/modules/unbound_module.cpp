bool DefinedNowhere();

extern "C" bool Module_IsUnlocked(unsigned)
{
    return DefinedNowhere();
}
extern "C" void* Module_GetStaticList(int)
{
    return nullptr;
}
