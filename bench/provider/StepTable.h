#pragma once

namespace bench {

// Makes each request, its floors, and the enumeration of the shipped ports. count_steps counts their instructions in
// the provider, the broker, the C++ run time, the platform's heap, and the rest.
void stepRequests();

}  // namespace bench
