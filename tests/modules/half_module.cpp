extern "C" bool Module_IsUnlocked(unsigned)
{
    return true;
}
