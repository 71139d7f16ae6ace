#include <pthread.h>

// The archived C++ library was compiled to import these two functions from a DLL of threads. Here they are part of the
// same DLL, so their import slots are defined by hand.
void* __imp_pthread_mutex_init = (void*)pthread_mutex_init;
void* __imp_pthread_mutex_destroy = (void*)pthread_mutex_destroy;
