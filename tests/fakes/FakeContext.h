#pragma once

#include "fakes/FakeUnknown.h"
#include "fakes/RefusingObjects.h"

namespace support {

// The context of a request. The provider only passes it on.
class FakeContext final : public FakeUnknown<IWbemContext, RefusingContext>
{
public:
    explicit FakeContext(CallLog& calls) : FakeUnknown(calls, "context") {}
};

}  // namespace support
