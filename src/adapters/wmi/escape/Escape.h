#pragma once

#include "Os/Windows/Platform.h"

// How an exception leaves a request.
//
// A host may be compiled by the platform's own compiler and guard its calls with __try/__except. Such a host regains
// control only when no frame between the raise and its own has anything to clean up: the first destructor on the way
// runs, and then nothing brings the exception further. So a request first unwinds itself as a whole, and then raises
// the same exception again from frames that hold nothing. A C++ host catches it by its type, as without all this.
namespace wa {

// The result of a request. The type is trivial on purpose: a frame that holds one has nothing to clean up.
struct Outcome
{
    HRESULT status;
    // The exception that is to leave the request; owns one reference. Null when nothing escapes.
    void* escaping;
};

// Frees what the last exception that escaped on this thread has left behind. A __try host does not report that it has
// handled an exception, so the next request on the thread cleans up.
void settleLastEscape() noexcept;

// The exception that is being handled, with a reference that the caller owns. Call it from a catch block. Null for an
// exception that no C++ code has thrown.
void* keepCurrentException() noexcept;

// Runs a request, and keeps the exception that escapes it, if any.
template <class Request>
Outcome contain(const Request& request) noexcept
{
    settleLastEscape();
    try {
        return {request(), nullptr};
    } catch (...) {
        return {static_cast<HRESULT>(WBEM_E_UNEXPECTED), keepCurrentException()};
    }
}

// Returns the request's status, or raises what escaped it. Call it from a frame without destructors.
HRESULT leave(Outcome outcome);

}  // namespace wa
