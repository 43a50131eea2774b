// (c) the ztrace developers. Licence: see LICENSE.
//
// Files of several pages of which the drawings of all become one: their pages are traced like other
// pictures, each gives a part, and when all of a file are past, the parts are put together.
#ifndef ZTRACE_CLI_BATCH_BOOKS_H
#define ZTRACE_CLI_BATCH_BOOKS_H

#include <QJsonObject>

#include <cstddef>
#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "names.h"

namespace ztrace {

// Of one page, below the folder of the drawings.
std::string partName(const std::string &path, int page);

// What the result line of a page says of its part.
struct PagePart
{
    std::string sha256; // of the part
    std::string source; // of the file that the page was taken from
    bool isLimited = false;
};
PagePart partIn(const QJsonObject &line);

// Removes the folder of parts when nothing is left in it.
void removeFolderOfParts(const std::string &out);

// Of a run. Of files that are not put together yet, some numbers are kept; those are as many as the
// workers have at once, and as have pages that are to be tried again.
class Books
{
public:
    // A page is begun. All of a file come one after the other, then its book.
    void begin(const Item &page);
    void close(const Item &book);

    // A page is past for good: with a part, or without one.
    void pass(const Item &page, const PagePart &part);
    void passWithout(const Item &page);

    // A book whose pages are past, and one of them is done; false when there is none.
    bool takeReady(Item *book);

    // As ranges, of an open one: the pages that are asked for, those that could be traced, and
    // those that could not.
    std::string askedOf(const Item &page) const;
    std::string tracedOf(const Item &book) const;
    std::string missingOf(const Item &book) const;

    // The parts that could be made, by page: SHA-256. The file that all of them are of; empty when
    // they are of different ones. Whether a limit has made one of them smaller.
    QJsonObject partsOf(const Item &book) const;
    std::string sourceOf(const Item &book) const;
    bool isLimited(const Item &book) const;

    // A book is past; of one that is done the parts are not needed any more, unless some are
    // missing: those may be traced later.
    void finish(const Item &book, bool isDone);

    // Removes those.
    void removeParts(const std::string &out);

    std::size_t open() const { return books.size(); }

private:
    struct Book
    {
        Item item;
        std::string asked;
        std::vector<int> missing;
        QJsonObject parts;
        std::string source;
        int waiting = 0; // pages that are begun and not past
        bool isMixed = false;
        bool isLimited = false;
        bool isClosed = false;
    };
    typedef std::unordered_map<std::string, Book>::iterator Place;
    void check(Place book);

    std::unordered_map<std::string, Book> books; // by the path of the file
    std::deque<std::string> ready;
    std::vector<Item> finished; // whose parts are still there
};

} // namespace ztrace

#endif
