// A DLL that bears the name of a compiler's run time and has none of its functions, as another product's version may
// lack those that ours needs.
__declspec(dllexport) int foreignRunTime(void)
{
    return 1;
}
