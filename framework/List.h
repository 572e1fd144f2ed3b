#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <new>
#include <vector>

// The links of one element of a list.
struct CListLink
{
    CListLink* m_next = nullptr;
    CListLink* m_previous = nullptr;
};

// A place in a list, as GetHeadPosition and GetNext hand it out; null behind the last element.
using POSITION = CListLink*;

// A doubly linked list that is appended to, walked from head to tail and emptied as a whole. Its nodes come
// in blocks, so that a long list needs few allocations; elements never move.
//
// TYPE      what is stored
// ARG_TYPE  how AddTail takes an element; it is always copied
template <class TYPE, class ARG_TYPE = const TYPE&>
class CList
{
public:
    // Walks the elements from head to tail.
    class Iterator
    {
    public:
        using value_type = TYPE;
        using difference_type = std::ptrdiff_t;

        Iterator() = default;
        explicit Iterator(const CListLink* link) : m_link(link) {}

        const TYPE& operator*() const { return Element(m_link); }
        const TYPE* operator->() const { return &Element(m_link); }
        Iterator& operator++()
        {
            m_link = m_link->m_next;
            return *this;
        }
        Iterator operator++(int)
        {
            Iterator old = *this;
            ++*this;
            return old;
        }
        bool operator==(const Iterator&) const = default;

    private:
        const CListLink* m_link = nullptr;
    };

    // blockSize: how many nodes one allocation makes, at least 1.
    explicit CList(std::size_t blockSize = 10) : m_blockSize(blockSize) {}
    CList(const CList&) = delete;
    CList& operator=(const CList&) = delete;
    ~CList() { RemoveAll(); }

    // Copies the element into a new node at the tail. When that throws (no memory, or the copy itself), the
    // list is as it was.
    POSITION AddTail(ARG_TYPE element);

    // Destroys all elements, the last one first, and frees the blocks.
    void RemoveAll() noexcept;

    [[nodiscard]] std::size_t GetCount() const { return m_count; }
    [[nodiscard]] bool IsEmpty() const { return m_count == 0; }

    // The place of the first element, null in an empty list.
    [[nodiscard]] POSITION GetHeadPosition() const { return m_head; }

    // The element at the position, which must not be null; moves the position to the next one.
    TYPE& GetNext(POSITION& position);
    const TYPE& GetNext(POSITION& position) const;

    [[nodiscard]] Iterator begin() const { return Iterator(m_head); }
    [[nodiscard]] Iterator end() const { return Iterator(); }

private:
    // Room for one element, which lives in it only while the node is linked into the list.
    struct Node : CListLink
    {
        alignas(TYPE) std::byte m_storage[sizeof(TYPE)];
    };

    static TYPE& Element(CListLink* link);
    static const TYPE& Element(const CListLink* link);
    void AllocateBlock();
    Node* TakeFree();
    void LinkAtTail(Node* node);

    std::size_t m_blockSize;
    std::vector<std::unique_ptr<Node[]>> m_blocks;
    CListLink* m_free = nullptr;  // nodes without an element, chained by m_next
    CListLink* m_head = nullptr;
    CListLink* m_tail = nullptr;
    std::size_t m_count = 0;
};

template <class TYPE, class ARG_TYPE>
POSITION CList<TYPE, ARG_TYPE>::AddTail(ARG_TYPE element)
{
    if (m_free == nullptr) {
        AllocateBlock();
    }
    // The node leaves the free chain only when the copy has succeeded.
    ::new (static_cast<void*>(static_cast<Node*>(m_free)->m_storage)) TYPE(element);
    Node* const node = TakeFree();
    LinkAtTail(node);
    return node;
}

template <class TYPE, class ARG_TYPE>
void CList<TYPE, ARG_TYPE>::RemoveAll() noexcept
{
    for (CListLink* link = m_tail; link != nullptr; link = link->m_previous) {
        std::destroy_at(&Element(link));
    }
    m_free = m_head = m_tail = nullptr;
    m_count = 0;
    m_blocks.clear();
}

template <class TYPE, class ARG_TYPE>
TYPE& CList<TYPE, ARG_TYPE>::GetNext(POSITION& position)
{
    TYPE& element = Element(position);
    position = position->m_next;
    return element;
}

template <class TYPE, class ARG_TYPE>
const TYPE& CList<TYPE, ARG_TYPE>::GetNext(POSITION& position) const
{
    const TYPE& element = Element(position);
    position = position->m_next;
    return element;
}

template <class TYPE, class ARG_TYPE>
TYPE& CList<TYPE, ARG_TYPE>::Element(CListLink* link)
{
    return *std::launder(reinterpret_cast<TYPE*>(static_cast<Node*>(link)->m_storage));
}

template <class TYPE, class ARG_TYPE>
const TYPE& CList<TYPE, ARG_TYPE>::Element(const CListLink* link)
{
    return *std::launder(reinterpret_cast<const TYPE*>(static_cast<const Node*>(link)->m_storage));
}

template <class TYPE, class ARG_TYPE>
void CList<TYPE, ARG_TYPE>::AllocateBlock()
{
    m_blocks.push_back(std::make_unique_for_overwrite<Node[]>(m_blockSize));
    Node* const first = m_blocks.back().get();
    for (std::size_t i = m_blockSize; i > 0; --i) {
        first[i - 1].m_next = m_free;
        m_free = &first[i - 1];
    }
}

template <class TYPE, class ARG_TYPE>
typename CList<TYPE, ARG_TYPE>::Node* CList<TYPE, ARG_TYPE>::TakeFree()
{
    Node* const node = static_cast<Node*>(m_free);
    m_free = node->m_next;
    return node;
}

template <class TYPE, class ARG_TYPE>
void CList<TYPE, ARG_TYPE>::LinkAtTail(Node* node)
{
    node->m_next = nullptr;
    node->m_previous = m_tail;
    (m_tail != nullptr ? m_tail->m_next : m_head) = node;
    m_tail = node;
    ++m_count;
}
