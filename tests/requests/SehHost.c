// Clang compiles this file, because the cross compiler does not support __try.
static int take(unsigned long* to, unsigned long code)
{
    *to = code;
    return 1; /* EXCEPTION_EXECUTE_HANDLER */
}

unsigned long callGuarded(long (*call)(void* argument), void* argument, long* answer)
{
    unsigned long code = 0;
    __try
    {
        *answer = call(argument);
    } __except (take(&code, _exception_code()))
    {
    }
    return code;
}
