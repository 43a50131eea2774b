// (c) the ztrace developers. Licence: see LICENSE.
#include "itemlist.h"

#include "spoolarray.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include <unistd.h>

namespace ztrace {

namespace {

const std::size_t kInMemory = 1 << 18; // bytes
const std::size_t kPart = 1 << 16;
const std::size_t kLength = sizeof(std::uint32_t);

void put(std::uint32_t number, std::string *to)
{
    char bytes[kLength];
    std::memcpy(bytes, &number, kLength);
    to->append(bytes, kLength);
}

void put(const std::string &text, std::string *to)
{
    put(static_cast<std::uint32_t>(text.size()), to);
    *to += text;
}

std::string bytesOf(const Item &item)
{
    std::string bytes;
    put(static_cast<std::uint32_t>(item.kind), &bytes);
    put(item.path, &bytes);
    put(item.folder, &bytes);
    put(item.sha256, &bytes);
    put(static_cast<std::uint32_t>(item.page), &bytes);
    put(static_cast<std::uint32_t>(item.pages), &bytes);
    put(static_cast<std::uint32_t>(item.ranges.size()), &bytes);
    for (const auto &range : item.ranges) {
        put(static_cast<std::uint32_t>(range.first), &bytes);
        put(static_cast<std::uint32_t>(range.second), &bytes);
    }
    put(static_cast<std::uint32_t>(item.settings.size()), &bytes);
    for (const Said &said : item.settings) {
        put(said.first, &bytes);
        put(said.second, &bytes);
    }
    return bytes;
}

// The same in the other direction.
class Bytes
{
public:
    explicit Bytes(const char *from) : at(from) { }

    std::uint32_t number()
    {
        std::uint32_t value = 0;
        std::memcpy(&value, at, kLength);
        at += kLength;
        return value;
    }
    int integer() { return static_cast<int>(number()); }
    std::string text()
    {
        const std::size_t size = number();
        at += size;
        return std::string(at - size, size);
    }

private:
    const char *at;
};

Item itemOf(const char *from)
{
    Bytes bytes(from);
    Item item;
    item.kind = static_cast<ItemKind>(bytes.number());
    item.path = bytes.text();
    item.folder = bytes.text();
    item.sha256 = bytes.text();
    item.page = bytes.integer();
    item.pages = bytes.integer();
    for (std::uint32_t i = bytes.number(); i > 0; --i) {
        const int first = bytes.integer();
        item.ranges.push_back({ first, bytes.integer() });
    }
    for (std::uint32_t i = bytes.number(); i > 0; --i) {
        const std::string name = bytes.text();
        item.settings.push_back({ name, bytes.text() });
    }
    return item;
}

} // namespace

void ItemList::add(const Item &item)
{
    put(bytesOf(item), &tail);
    ++count;
    books += item.kind == ItemKind::Book;
    if (tail.size() >= kInMemory)
        spill();
}

void ItemList::spill()
{
    if (!file.isOpen())
        file = openTemporary();
    if (const int error = writeAll(file.get(), tail.data(), static_cast<qint64>(tail.size())))
        failForRoom(error);
    inFile += static_cast<long long>(tail.size());
    tail.clear();
}

void ItemList::forEach(const std::function<void(const Item &)> &take) const
{
    Reader reader(*this);
    Item item;
    while (reader.next(&item))
        take(item);
}

bool ItemList::Reader::next(Item *item)
{
    for (;;) {
        const std::size_t rest = part.size() - at;
        const std::size_t size = rest >= kLength ? Bytes(part.data() + at).number() : 0;
        if (rest >= kLength && rest - kLength >= size) {
            *item = itemOf(part.data() + at + kLength);
            at += kLength + size;
            return true;
        }
        if (!fill())
            return false;
    }
}

bool ItemList::Reader::fill()
{
    part.erase(0, at);
    at = 0;
    if (place < list.inFile) {
        const std::size_t before = part.size();
        part.resize(before + kPart);
        const ssize_t got = ::pread(list.file.get(), &part[before], kPart, place);
        if (got <= 0)
            failForRoom(got < 0 ? errno : EIO);
        part.resize(before + static_cast<std::size_t>(got));
        place += got;
        return true;
    }
    if (isTailRead)
        return false;
    isTailRead = true;
    part += list.tail;
    return true;
}

} // namespace ztrace
