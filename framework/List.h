#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <new>
#include <vector>

// A doubly linked list that is appended to, walked from head to tail and emptied as a whole. Its nodes are
// allocated in blocks; elements never move.
//
// TYPE      what is stored
// ARG_TYPE  the type of AddTail's parameter; AddTail always copies the element
template <class TYPE, class ARG_TYPE = const TYPE&>
class CList
{
    struct Link
    {
        Link* next = nullptr;
        Link* previous = nullptr;
    };

public:
    // Walks the elements from head to tail.
    class Iterator
    {
    public:
        using value_type = TYPE;
        using difference_type = std::ptrdiff_t;

        Iterator() = default;
        explicit Iterator(const Link* link) : m_link(link) {}

        const TYPE& operator*() const { return Element(m_link); }
        const TYPE* operator->() const { return &Element(m_link); }
        Iterator& operator++()
        {
            m_link = m_link->next;
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
        const Link* m_link = nullptr;
    };

    // blockSize: how many nodes one allocation makes, at least 1.
    explicit CList(std::size_t blockSize = 10) : m_blockSize(blockSize) {}
    CList(const CList&) = delete;
    CList& operator=(const CList&) = delete;
    ~CList() { RemoveAll(); }

    // Copies the element into a new node at the tail. When that throws (no memory, or the copy itself), the
    // list is unchanged.
    void AddTail(ARG_TYPE element);

    // Destroys all elements, the last one first, and frees the blocks.
    void RemoveAll() noexcept;

    [[nodiscard]] std::size_t GetCount() const { return m_count; }

    [[nodiscard]] Iterator begin() const { return Iterator(m_head); }
    [[nodiscard]] Iterator end() const { return Iterator(); }

private:
    // The element lives in the storage only while the node is linked into the list.
    struct Node : Link
    {
        alignas(TYPE) std::byte storage[sizeof(TYPE)];
    };

    static const TYPE& Element(const Link* link);
    void AllocateBlock();
    Node* TakeFree();
    void LinkAtTail(Node* node);

    std::size_t m_blockSize;
    std::vector<std::unique_ptr<Node[]>> m_blocks;
    Link* m_free = nullptr;  // nodes without an element, chained by next
    Link* m_head = nullptr;
    Link* m_tail = nullptr;
    std::size_t m_count = 0;
};

template <class TYPE, class ARG_TYPE>
void CList<TYPE, ARG_TYPE>::AddTail(ARG_TYPE element)
{
    if (m_free == nullptr) {
        AllocateBlock();
    }
    // The node leaves the free chain only when the copy has succeeded.
    ::new (static_cast<void*>(static_cast<Node*>(m_free)->storage)) TYPE(element);
    LinkAtTail(TakeFree());
}

template <class TYPE, class ARG_TYPE>
void CList<TYPE, ARG_TYPE>::RemoveAll() noexcept
{
    for (const Link* link = m_tail; link != nullptr; link = link->previous) {
        std::destroy_at(&Element(link));
    }
    m_free = m_head = m_tail = nullptr;
    m_count = 0;
    m_blocks.clear();
}

template <class TYPE, class ARG_TYPE>
const TYPE& CList<TYPE, ARG_TYPE>::Element(const Link* link)
{
    return *std::launder(reinterpret_cast<const TYPE*>(static_cast<const Node*>(link)->storage));
}

template <class TYPE, class ARG_TYPE>
void CList<TYPE, ARG_TYPE>::AllocateBlock()
{
    m_blocks.push_back(std::make_unique_for_overwrite<Node[]>(m_blockSize));
    Node* const first = m_blocks.back().get();
    for (std::size_t i = m_blockSize; i > 0; --i) {
        first[i - 1].next = m_free;
        m_free = &first[i - 1];
    }
}

template <class TYPE, class ARG_TYPE>
typename CList<TYPE, ARG_TYPE>::Node* CList<TYPE, ARG_TYPE>::TakeFree()
{
    Node* const node = static_cast<Node*>(m_free);
    m_free = node->next;
    return node;
}

template <class TYPE, class ARG_TYPE>
void CList<TYPE, ARG_TYPE>::LinkAtTail(Node* node)
{
    node->next = nullptr;
    node->previous = m_tail;
    (m_tail != nullptr ? m_tail->next : m_head) = node;
    m_tail = node;
    ++m_count;
}
