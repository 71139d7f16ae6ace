#pragma once

namespace bench {

// Makes each request, its floors, and the enumeration of the ports as they are shipped, for count_steps, which counts
// their instructions: of the provider, the broker, the C++ run time, the platform's heap, and the rest.
void stepRequests();

}  // namespace bench
