// (c) the ztrace developers. Licence: see LICENSE.
//
// The pictures of a run in their order, however many: beyond some hundred thousand bytes they are
// in a file without a name in the folder for temporary files.
#ifndef ZTRACE_CLI_BATCH_ITEMLIST_H
#define ZTRACE_CLI_BATCH_ITEMLIST_H

#include <functional>
#include <string>

#include "drawing/files.h"
#include "names.h"

namespace ztrace {

class ItemList
{
public:
    // Throws a Failure when there is no room for it.
    void add(const Item &item);

    std::size_t size() const { return count; }
    bool isEmpty() const { return count == 0; }

    // Those that are no books.
    std::size_t pictures() const { return count - books; }

    void forEach(const std::function<void(const Item &)> &take) const;

    // Gives one after the other. Nothing is added meanwhile.
    class Reader
    {
    public:
        explicit Reader(const ItemList &from) : list(from) { }
        // False at the end. Throws a Failure when they cannot be read.
        bool next(Item *item);

    private:
        bool fill();

        const ItemList &list;
        std::string part;    // of the list's bytes
        std::size_t at = 0;  // in it
        long long place = 0; // in the file, of what comes after it
        bool isTailRead = false;
    };

private:
    void spill();

    std::size_t count = 0;
    std::size_t books = 0;
    std::string tail; // what is not in the file
    long long inFile = 0;
    Descriptor file;
};

} // namespace ztrace

#endif
