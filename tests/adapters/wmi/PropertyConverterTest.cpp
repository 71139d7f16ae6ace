#include "adapters/wmi/PropertyConverter.h"

#include <gtest/gtest.h>

#include "support/SlotOf.h"

namespace {

class CountingConverter : public wa::PropertyConverter
{
public:
    explicit CountingConverter(int& deleted) : m_deleted(deleted) {}
    ~CountingConverter() override { ++m_deleted; }

    VARIANT propertyToVariant(core::CimProperty*) override { return {}; }

private:
    int& m_deleted;
};

TEST(PropertyConverterTest, VirtualFunctions_endWithTheDestructor)
{
    EXPECT_EQ(support::slotOf(&wa::PropertyConverter::propertyToVariant), 0U);
    EXPECT_EQ(support::slotOf(&wa::PropertyConverter::variantToProperty), 1U);
    int deleted = 0;
    auto* const converter = new CountingConverter(deleted);
    // A virtual destructor occupies two entries. The second one also frees the memory.
    using Deleting = void (*)(wa::PropertyConverter*);
    (*reinterpret_cast<Deleting**>(converter))[3](converter);
    EXPECT_EQ(deleted, 1);
}

}  // namespace
