#include "core/CimPropertyList.h"

#include <gmock/gmock.h>

#include <memory>

#include "core/CimPropertyTypes.h"
#include "support/LockCount.h"
#include "support/SampleProperties.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using core::CimPropertyList;
using core::CimPropertyUint8;
using support::locksTakenBy;
using testing::ElementsAre;
using testing::IsNull;

class CimPropertyListTest : public testing::Test
{
protected:
    CimPropertyUint8 m_a{"A"};
    CimPropertyUint8 m_b{"B"};
    CimPropertyUint8 m_laterA{"A"};
    CimPropertyList m_list;
};

TEST_F(CimPropertyListTest, Duplicate_hidesTheEarlierProperty)
{
    EXPECT_THAT(m_list.getIterator().first(), IsNull());
    EXPECT_THAT(m_list.findProperty("A"), IsNull());
    CimPropertyUint8 latestA("A");
    for (core::CimProperty* property : {&m_a, &m_b, &m_laterA, &latestA}) {
        m_list.add(property);
    }
    CimPropertyList::Iterator iterator = m_list.getIterator();
    EXPECT_EQ(iterator.next(), &m_b);
    EXPECT_EQ(iterator.next(), &latestA);
    EXPECT_THAT(iterator.next(), IsNull());
    EXPECT_EQ(m_list.size(), 4U);
    EXPECT_TRUE(m_a.isOverriden() && m_laterA.isOverriden());
    EXPECT_FALSE(m_b.isOverriden() || latestA.isOverriden());
    EXPECT_EQ(m_list.findProperty("A"), &latestA);
}

TEST_F(CimPropertyListTest, Names_areCaseSensitive)
{
    CimPropertyUint8 small("a");
    m_list.add(&m_a);
    m_list.add(&small);
    EXPECT_FALSE(m_a.isOverriden());
    EXPECT_EQ(m_list.findProperty("A"), &m_a);
    EXPECT_EQ(m_list.findProperty("a"), &small);
}

TEST(CimPropertyListEndTest, Properties_areDeletedOnlyIfOwned)
{
    int deletions = 0;
    samples::CountedProperty property(deletions);
    {
        CimPropertyList list;
        list.add(&property);
    }
    EXPECT_EQ(deletions, 0);
    {
        CimPropertyList list;
        list.setOwnsElements(true);
        list.add(new samples::CountedProperty(deletions));
        list.add(new samples::CountedProperty(deletions));
    }
    EXPECT_EQ(deletions, 2) << "the hidden one too";
}

TEST_F(CimPropertyListTest, Add_null_isRefused)
{
    EXPECT_EQ(support::assertionOf([&] { m_list.add(nullptr); }), "CimPropertyList:85: newProperty != NULL");
    EXPECT_EQ(m_list.size(), 0U);
}

// The index is private, but an explicit instantiation may name it.
using Index = utils::SafeMap<std::string, core::CimProperty*>;

template <Index CimPropertyList::*MEMBER>
struct Exposed
{
    friend Index& indexOf(CimPropertyList& list) { return list.*MEMBER; }
};

Index& indexOf(CimPropertyList& list);
template struct Exposed<&CimPropertyList::m_index>;

TEST_F(CimPropertyListTest, Add_underANullOfTheIndex_changesNothing)
{
    EXPECT_THAT(indexOf(m_list).get("A"), IsNull());
    EXPECT_EQ(support::assertionOf([&] { m_list.add(&m_a); }), "CimPropertyList:93: overridenProperty != NULL");
    EXPECT_EQ(m_list.size(), 0U);
    EXPECT_THAT(indexOf(m_list).get("A"), IsNull());
}

TEST_F(CimPropertyListTest, Add_locksForEachStep)
{
    EXPECT_EQ(locksTakenBy([&] { m_list.add(&m_a); }), 3U) << "contains, set, append";
    EXPECT_EQ(locksTakenBy([&] { m_list.add(&m_laterA); }), 4U) << "contains, get, set, append";
}

TEST_F(CimPropertyListTest, GetIterator_takesNoLock)
{
    EXPECT_EQ(locksTakenBy([&] { m_list.getIterator(); }), 0U);
    EXPECT_EQ(locksTakenBy([&] { m_list.SafeList::getIterator(); }), 1U);
}

TEST_F(CimPropertyListTest, GetIterator_isVirtual)
{
    m_list.add(&m_a);
    m_list.add(&m_laterA);
    utils::SafeList<core::CimProperty*>& base = m_list;
    EXPECT_EQ(base.getIterator().first(), &m_laterA);
    CimPropertyList::Iterator iterator = m_list.SafeList::getIterator();
    EXPECT_EQ(iterator.first(), &m_a) << "the base's iterator skips nothing";
    EXPECT_EQ(iterator.next(), &m_laterA);
}

class SkippingIteratorTest : public CimPropertyListTest
{
protected:
    SkippingIteratorTest()
    {
        m_list.add(&m_a);
        m_list.add(&m_laterA);
        m_list.add(&m_b);
    }

    core::OverridenPropertiesSkippingIterator m_iterator{&m_list};
};

TEST_F(SkippingIteratorTest, HiddenProperty_takesAnotherLock)
{
    EXPECT_EQ(locksTakenBy([&] { EXPECT_EQ(m_iterator.next(), &m_laterA); }), 2U);
    EXPECT_EQ(locksTakenBy([&] { EXPECT_EQ(m_iterator.next(), &m_b); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { EXPECT_THAT(m_iterator.next(), IsNull()); }), 1U);
    CimPropertyUint8 c("C");
    m_list.add(&c);
    EXPECT_EQ(m_iterator.next(), &c) << "added behind the end";
    EXPECT_EQ(locksTakenBy([&] { EXPECT_EQ(m_iterator.first(), &m_laterA); }), 2U) << "goes back and skips";
    EXPECT_EQ(m_iterator.next(), &m_b);
}

TEST_F(SkippingIteratorTest, SizeAndClone_skipNothing)
{
    EXPECT_EQ(m_iterator.next(), &m_laterA);
    const std::unique_ptr<CimPropertyList::IteratorImplementation> clone(m_iterator.clone());
    EXPECT_EQ(clone->next(), &m_a) << "from the start";
    EXPECT_EQ(clone->next(), &m_laterA);
    EXPECT_EQ(m_iterator.next(), &m_b);
    CimPropertyUint8 added("C");
    m_list.add(&added);
    added.setOverriden(true);
    EXPECT_EQ(m_iterator.size(), 4U);
    EXPECT_EQ(m_iterator.advance(), &added);
}

TEST_F(SkippingIteratorTest, First_allHidden_isNull)
{
    m_laterA.setOverriden(true);
    m_b.setOverriden(true);
    EXPECT_THAT(m_iterator.first(), IsNull());
    EXPECT_THAT(m_iterator.next(), IsNull());
}

TEST_F(CimPropertyListTest, GetIterator_standsBehindTheDestructor)
{
    using Skipping = core::OverridenPropertiesSkippingIterator;
    EXPECT_EQ(support::slotOf(&CimPropertyList::getIterator), 2U);
    EXPECT_THAT(
        support::slotsOf(&Skipping::next, &Skipping::first, &Skipping::size, &Skipping::clone, &Skipping::advance),
        ElementsAre(0, 1, 2, 5, 6));
}

}  // namespace
