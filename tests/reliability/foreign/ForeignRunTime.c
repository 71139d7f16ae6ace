// A DLL with the name of a compiler's run time but without its functions. Another product's version may likewise lack
// functions that our modules need.
__declspec(dllexport) int foreignRunTime(void)
{
    return 1;
}
