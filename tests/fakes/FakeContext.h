#pragma once

#include "fakes/FakeUnknown.h"
#include "fakes/RefusingObjects.h"

namespace support {

// The context of a request, which the provider only passes on.
class FakeContext final : public FakeUnknown<IWbemContext, RefusingContext>
{
public:
    explicit FakeContext(CallLog& calls) : FakeUnknown(calls, "context") {}
};

}  // namespace support
