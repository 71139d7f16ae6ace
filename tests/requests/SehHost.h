#pragma once

// A host as the platform's usual compiler builds one: it guards its calls with __try/__except.
extern "C" {

// Calls the function and stores its result in *answer. Returns 0, or the code of the exception that ended the call.
unsigned long callGuarded(long (*call)(void* argument), void* argument, long* answer);
}
