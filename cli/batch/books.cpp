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

PagePart partIn(const QJsonObject &line)
{
    const auto textIn = [&line](const char *name) {
        return line.value(QLatin1String(name)).toString().toStdString();
    };
    return { textIn("part"), textIn("sha256"), line.contains(QLatin1String(kLimits)) };
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

void Books::pass(const Item &page, const PagePart &part)
{
    const auto place = books.find(page.path);
    if (place == books.end())
        return;
    Book &book = place->second;
    --book.waiting;
    book.isMixed = book.isMixed || (!book.parts.isEmpty() && book.source != part.source);
    book.isLimited = book.isLimited || part.isLimited;
    book.source = part.source;
    book.parts.insert(QString::number(page.page), QString::fromStdString(part.sha256));
    check(place);
}

void Books::passWithout(const Item &page)
{
    const auto book = books.find(page.path);
    if (book == books.end())
        return;
    --book->second.waiting;
    book->second.missing.push_back(page.page);
    check(book);
}

void Books::check(Place book)
{
    if (!book->second.isClosed || book->second.waiting > 0)
        return;
    if (!book->second.parts.isEmpty())
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

QJsonObject Books::partsOf(const Item &item) const
{
    const auto book = books.find(item.path);
    return book == books.end() ? QJsonObject() : book->second.parts;
}

std::string Books::sourceOf(const Item &item) const
{
    const auto book = books.find(item.path);
    return book == books.end() || book->second.isMixed ? std::string() : book->second.source;
}

bool Books::isLimited(const Item &item) const
{
    const auto book = books.find(item.path);
    return book != books.end() && book->second.isLimited;
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
