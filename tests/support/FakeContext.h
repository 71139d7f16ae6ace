#pragma once

#include "support/FakeUnknown.h"
#include "support/RefusingObjects.h"

namespace support {

// The context of a request, which the provider only passes on.
class FakeContext final : public FakeUnknown<IWbemContext, RefusingContext>
{
public:
    explicit FakeContext(CallLog& calls) : FakeUnknown(calls, "context") {}
};

}  // namespace support
