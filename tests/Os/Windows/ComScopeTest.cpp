#include "Os/Windows/ComScope.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "support/ImportHook.h"

namespace {

struct Counted
{
    int releases = 0;

    ULONG Release()
    {
        ++releases;
        return 0;
    }
};

using Reference = utils::ComReference<Counted>;

TEST(ComReferenceTest, End_releasesTheReference)
{
    Counted object;
    {
        Reference reference(&object);
        const Reference moved(std::move(reference));
        EXPECT_EQ(reference.get(), nullptr);  // NOLINT(bugprone-use-after-move): what is left behind is the point
        EXPECT_EQ(moved.get(), &object);
        EXPECT_EQ(moved->releases, 0);
    }
    EXPECT_EQ(object.releases, 1);
}

TEST(ComReferenceTest, OutAndReset_releaseTheOld)
{
    Counted first;
    Counted second;
    Reference reference(&first);
    *reference.out() = &second;
    EXPECT_EQ(first.releases, 1);
    EXPECT_EQ(reference.get(), &second);
    reference.reset();
    reference.reset();
    EXPECT_EQ(second.releases, 1);
    EXPECT_EQ(reference.get(), nullptr);
}

TEST(ComReferenceTest, Detach_givesTheCallerTheReference)
{
    Counted object;
    {
        Reference reference(&object);
        EXPECT_EQ(reference.detach(), &object);
        EXPECT_EQ(reference.get(), nullptr);
    }
    EXPECT_EQ(object.releases, 0);
}

int freedTexts = 0;

void WINAPI countFreed(BSTR text)
{
    if (text != nullptr) {
        ++freedTexts;
    }
}

TEST(ScopedBstrTest, Text_isFreedOnce)
{
    const support::ImportHook hook("SysFreeString", &countFreed);
    BSTR first = nullptr;
    BSTR second = nullptr;
    {
        utils::ScopedBstr text(std::string("first"));
        first = text.get();
        EXPECT_STREQ(first, L"first");
        second = SysAllocString(L"second");
        *text.out() = second;
        EXPECT_EQ(freedTexts, 1);
        EXPECT_STREQ(text.get(), L"second");
    }
    EXPECT_EQ(freedTexts, 2);
    hook.original<decltype(&countFreed)>()(first);
    hook.original<decltype(&countFreed)>()(second);
}

TEST(ComScopeTest, Start_ownsNothing)
{
    EXPECT_EQ(Reference().get(), nullptr);
    EXPECT_EQ(utils::ScopedBstr().get(), nullptr);
    EXPECT_EQ(utils::ScopedVariant().get().vt, VT_EMPTY);
}

int clearedVariants = 0;

HRESULT WINAPI countCleared(VARIANTARG* value)
{
    clearedVariants += value->vt == VT_I4 ? 1 : 0;
    return S_OK;
}

TEST(ScopedVariantTest, End_clearsTakenAndStoredValues)
{
    const support::ImportHook hook("VariantClear", &countCleared);
    {
        VARIANT owned{};
        owned.vt = VT_I4;
        owned.lVal = 7;
        const utils::ScopedVariant taken(owned);
        EXPECT_EQ(taken.get().lVal, 7);
        utils::ScopedVariant stored;
        stored.address()->vt = VT_I4;
    }
    EXPECT_EQ(clearedVariants, 2);
}

TEST(ComReferencesTest, Rest_isReleasedAtTheEnd)
{
    std::array<Counted, 3> objects;
    {
        utils::ComReferences<Counted> references({&objects[0], &objects[1], &objects[2]});
        EXPECT_EQ(references.size(), 3U);
        EXPECT_EQ(*references.next(), &objects[0]);
        references.releaseNext();
        EXPECT_EQ(objects[0].releases, 1);
        EXPECT_EQ(*references.next(), &objects[1]);
        EXPECT_EQ(references.size(), 3U) << "the released one still counts";
    }
    for (const Counted& object : objects) {
        EXPECT_EQ(object.releases, 1);
    }
}

TEST(ComReferencesTest, Detached_areTheCallers)
{
    Counted object;
    {
        utils::ComReferences<Counted> references;
        references.append(Reference(&object));
        EXPECT_EQ(references.detach(), std::vector<Counted*>{&object});
    }
    EXPECT_EQ(object.releases, 0);
}

}  // namespace
