#include "framework/List.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/UTtabEntry.h"

namespace {

int g_blockAllocations = 0;
bool g_failAllocation = false;

}  // namespace

// Only blocks of Overaligned elements use these operators. The tests count the blocks and make an allocation
// fail.
void* operator new[](std::size_t size, std::align_val_t alignment)
{
    if (g_failAllocation) {
        throw std::bad_alloc();
    }
    ++g_blockAllocations;
    return ::operator new(size, alignment);
}

void operator delete[](void* memory, std::align_val_t alignment) noexcept
{
    g_blockAllocations -= memory != nullptr ? 1 : 0;
    ::operator delete(memory, alignment);
}

void operator delete[](void* memory, std::size_t, std::align_val_t alignment) noexcept
{
    ::operator delete[](memory, alignment);
}

namespace {

struct alignas(4 * __STDCPP_DEFAULT_NEW_ALIGNMENT__) Overaligned
{
    int value = 0;
};

struct Tracked
{
    static inline int alive = 0;
    static inline std::vector<int> destroyed;

    explicit Tracked(int number) : value(number) { ++alive; }
    Tracked(const Tracked& other) : value(other.value)
    {
        if (value < 0) {
            throw std::runtime_error("copy refused");
        }
        ++alive;
    }
    Tracked& operator=(const Tracked&) = delete;
    ~Tracked()
    {
        --alive;
        destroyed.push_back(value);
    }

    int value;
};

template <class LIST>
std::vector<int> Values(const LIST& list)
{
    std::vector<int> values;
    for (const auto& element : list) {
        values.push_back(element.value);
    }
    return values;
}

}  // namespace

TEST(List, IsEmptyAtFirst)
{
    const CList<int> list;
    EXPECT_EQ(list.GetCount(), 0U);
    EXPECT_EQ(list.begin(), list.end());
}

TEST(List, IteratesFromHeadToTail)
{
    CList<int> list;
    for (int i = 1; i <= 25; ++i) {
        list.AddTail(i);
    }
    EXPECT_EQ(list.GetCount(), 25U);
    int expected = 0;
    for (const int value : list) {
        EXPECT_EQ(value, ++expected);
    }
    EXPECT_EQ(expected, 25);
}

TEST(List, CopiesThroughAMutableReference)
{
    CList<UTtab_entry, UTtab_entry&> list;
    UTtab_entry entry{L"a", L"b", L"c"};
    list.AddTail(entry);
    entry.strOriginal = L"changed";
    EXPECT_EQ(*list.begin(), (UTtab_entry{L"a", L"b", L"c"}));
    EXPECT_EQ(entry.strRenamed, L"b");
}

TEST(List, CopiesItsOwnElement)
{
    CList<std::wstring> list(1);
    list.AddTail(std::wstring(100, L'x'));
    list.AddTail(*list.begin());
    EXPECT_EQ(std::vector<std::wstring>(list.begin(), list.end()),
              (std::vector<std::wstring>(2, std::wstring(100, L'x'))));
}

TEST(List, AllocatesANewBlockForEveryEleventhElement)
{
    g_blockAllocations = 0;
    CList<Overaligned> list;
    EXPECT_EQ(g_blockAllocations, 0);
    for (int i = 1; i <= 10; ++i) {
        list.AddTail({i});
        EXPECT_EQ(g_blockAllocations, 1);
    }
    list.AddTail({11});
    EXPECT_EQ(g_blockAllocations, 2);
    EXPECT_EQ(Values(list), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

TEST(List, UsesTheGivenBlockSize)
{
    g_blockAllocations = 0;
    CList<Overaligned> list(3);
    for (int i = 0; i < 7; ++i) {
        list.AddTail({i});
    }
    EXPECT_EQ(g_blockAllocations, 3);
}

TEST(List, AlignsItsElements)
{
    CList<Overaligned> list;
    list.AddTail({1});
    list.AddTail({2});
    for (const Overaligned& element : list) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&element) % alignof(Overaligned), 0U);
    }
}

TEST(List, FreesItsBlocksWhenEmptiedAndWhenDestroyed)
{
    g_blockAllocations = 0;
    {
        CList<Overaligned> list;
        for (int i = 0; i < 11; ++i) {
            list.AddTail({i});
        }
        list.RemoveAll();
        EXPECT_EQ(g_blockAllocations, 0);
        list.AddTail({1});
        EXPECT_EQ(g_blockAllocations, 1);
    }
    EXPECT_EQ(g_blockAllocations, 0);
}

TEST(List, IsUnchangedWhenABlockCannotBeAllocated)
{
    CList<Overaligned> list(1);
    list.AddTail({1});
    g_failAllocation = true;
    EXPECT_THROW(list.AddTail({2}), std::bad_alloc);
    g_failAllocation = false;
    EXPECT_EQ(Values(list), (std::vector<int>{1}));
    list.AddTail({3});
    EXPECT_EQ(Values(list), (std::vector<int>{1, 3}));
    EXPECT_EQ(list.GetCount(), 2U);
}

TEST(List, IsUnchangedWhenACopyThrows)
{
    {
        CList<Tracked> list;
        list.AddTail(Tracked(1));
        EXPECT_THROW(list.AddTail(Tracked(-1)), std::runtime_error);
        EXPECT_EQ(list.GetCount(), 1U);
        list.AddTail(Tracked(2));
        EXPECT_EQ(Values(list), (std::vector<int>{1, 2}));
        EXPECT_EQ(Tracked::alive, 2);
    }
    EXPECT_EQ(Tracked::alive, 0);
}

TEST(List, DestroysEveryElementFromTheTailWhenEmptied)
{
    CList<Tracked> list(2);
    for (int i = 1; i <= 5; ++i) {
        list.AddTail(Tracked(i));
    }
    Tracked::destroyed.clear();
    list.RemoveAll();
    EXPECT_EQ(Tracked::destroyed, (std::vector<int>{5, 4, 3, 2, 1}));
    EXPECT_EQ(Tracked::alive, 0);
    EXPECT_EQ(list.GetCount(), 0U);
    EXPECT_EQ(list.begin(), list.end());
}

TEST(List, CanBeFilledAgainAfterEmptying)
{
    CList<int> list;
    list.RemoveAll();
    list.AddTail(1);
    list.RemoveAll();
    list.AddTail(2);
    EXPECT_EQ(std::vector<int>(list.begin(), list.end()), (std::vector<int>{2}));
}

static_assert(!std::is_copy_constructible_v<CList<int>>);
static_assert(!std::is_copy_assignable_v<CList<int>>);
static_assert(std::forward_iterator<CList<int>::Iterator>);
