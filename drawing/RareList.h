// (c) the ztrace developers. Licence: see LICENSE.
//
// A list that most of its owners leave empty: it takes a pointer where a vector takes three.
#ifndef ZTRACE_DRAWING_RARELIST_H
#define ZTRACE_DRAWING_RARELIST_H

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

namespace ztrace {

// The vector itself, by its members of the same names; copied with what holds it. Items that are
// not there, front() and back() of an empty one among them, must not be asked for.
template<typename Item>
class RareList
{
public:
    typedef Item *iterator;
    typedef const Item *const_iterator;

    RareList() = default;
    RareList(std::initializer_list<Item> list) : RareList(std::vector<Item>(list)) { }
    RareList(std::vector<Item> list)
    {
        if (!list.empty())
            items = std::make_unique<std::vector<Item>>(std::move(list));
    }
    RareList(const RareList &other)
    {
        if (!other.empty())
            items = std::make_unique<std::vector<Item>>(*other.items);
    }
    RareList(RareList &&other) noexcept = default;
    RareList &operator=(const RareList &other)
    {
        RareList copy(other);
        items.swap(copy.items);
        return *this;
    }
    RareList &operator=(RareList &&other) noexcept = default;
    ~RareList() = default;

    bool empty() const { return !items || items->empty(); }
    std::size_t size() const { return items ? items->size() : 0; }

    Item *begin() { return items ? items->data() : nullptr; }
    Item *end() { return begin() + size(); }
    const Item *begin() const { return items ? items->data() : nullptr; }
    const Item *end() const { return begin() + size(); }

    Item &operator[](std::size_t k) { return (*items)[k]; }
    const Item &operator[](std::size_t k) const { return (*items)[k]; }
    Item &front() { return items->front(); }
    const Item &front() const { return items->front(); }
    Item &back() { return items->back(); }
    const Item &back() const { return items->back(); }

    void clear() { items.reset(); }
    void push_back(Item item) { vector().push_back(std::move(item)); }
    template<typename... Arguments>
    void emplace_back(Arguments &&...arguments)
    {
        vector().emplace_back(std::forward<Arguments>(arguments)...);
    }

    friend bool operator==(const RareList &a, const RareList &b)
    {
        return a.size() == b.size() && (a.empty() || *a.items == *b.items);
    }
    friend bool operator!=(const RareList &a, const RareList &b) { return !(a == b); }

private:
    std::vector<Item> &vector()
    {
        if (!items)
            items = std::make_unique<std::vector<Item>>();
        return *items;
    }

    std::unique_ptr<std::vector<Item>> items;
};

} // namespace ztrace

#endif
