// (c) the ztrace developers. Licence: see LICENSE.
#include "books.h"

#include "results.h"

#include "cli/pages.h"

#include <QByteArray>

#include <algorithm>
#include <set>

#include <unistd.h>

namespace ztrace {

namespace {

const char kFolder[] = ".ztrace-pages";

} // namespace

std::string partName(const std::string &path, int page)
{
    return std::string(kFolder) + '/'
        + QByteArray::fromStdString(keyOf(path, page)).toHex().toStdString() + ".pdf";
}

void removeFolderOfParts(const std::string &out)
{
    (void)::rmdir((out + '/' + kFolder).c_str());
}

void Books::begin(const Item &page)
{
    Book &book = books[page.path];
    if (book.asked.empty())
        book.asked = rangesText(pagesWithin(page.ranges, page.pages));
    ++book.waiting;
}

void Books::close(const Item &item)
{
    const auto book = books.find(item.path);
    if (book == books.end())
        return;
    book->second.item = item;
    book->second.isClosed = true;
    check(book);
}

void Books::pass(const Item &page, bool isDone)
{
    const auto book = books.find(page.path);
    if (book == books.end())
        return;
    --book->second.waiting;
    if (isDone)
        ++book->second.done;
    else
        book->second.missing.push_back(page.page);
    check(book);
}

void Books::check(std::unordered_map<std::string, Book>::iterator book)
{
    if (!book->second.isClosed || book->second.waiting > 0)
        return;
    if (book->second.done > 0)
        ready.push_back(book->first);
    else
        books.erase(book); // its pages say why
}

bool Books::takeReady(Item *book)
{
    if (ready.empty())
        return false;
    *book = books[ready.front()].item;
    ready.pop_front();
    return true;
}

std::string Books::askedOf(const Item &page) const
{
    const auto book = books.find(page.path);
    return book == books.end() ? std::string() : book->second.asked;
}

std::string Books::tracedOf(const Item &item) const
{
    const auto book = books.find(item.path);
    if (book == books.end())
        return std::string();
    const std::set<int> missing(book->second.missing.begin(), book->second.missing.end());
    std::vector<int> pages;
    for (const int page : pagesWithin(item.ranges, item.pages)) {
        if (missing.count(page) == 0)
            pages.push_back(page);
    }
    return rangesText(pages);
}

std::string Books::missingOf(const Item &item) const
{
    const auto book = books.find(item.path);
    if (book == books.end())
        return std::string();
    std::vector<int> pages = book->second.missing;
    std::sort(pages.begin(), pages.end());
    return rangesText(pages);
}

void Books::finish(const Item &item, bool isDone)
{
    const auto book = books.find(item.path);
    if (book == books.end())
        return;
    if (isDone && book->second.missing.empty())
        finished.push_back(item);
    books.erase(book);
}

void Books::removeParts(const std::string &out)
{
    for (const Item &book : finished) {
        for (const int page : pagesWithin(book.ranges, book.pages))
            (void)::unlink((out + '/' + partName(book.path, page)).c_str());
    }
    finished.clear();
}

} // namespace ztrace
