// (c) the ztrace developers. Licence: see LICENSE.
#include "pdf_pages.h"

#include <algorithm>
#include <cctype>

namespace ztrace {

namespace {

const char kReference[] = " 0 R";
const char kEndOfObject[] = "\nendobj\n";
const int kEntry = 20; // bytes of the table
const int kMostObjects = 1 << 20;

struct Place
{
    int number;
    int offset;
};

// The number that stands at a place, -1 where there is none; the place moves behind it.
int numberAt(const QByteArray &text, int *at)
{
    const int begin = *at;
    while (*at < text.size() && std::isdigit(static_cast<unsigned char>(text.at(*at))))
        ++*at;
    bool isGood = false;
    const int number = text.mid(begin, *at - begin).toInt(&isGood);
    return isGood ? number : -1;
}

// Where the table at the end says that objects are, in the order of the file, and the table itself
// behind them, as number 0.
bool readTable(const QByteArray &file, std::vector<Place> *places)
{
    const QByteArray kStart = "\nstartxref\n";
    int at = file.lastIndexOf(kStart);
    if (at < 0 || !file.endsWith("\n%%EOF\n"))
        return false;
    at += kStart.size();
    const int table = numberAt(file, &at);
    const QByteArray kHead = "xref\n0 ";
    if (table < 0 || table >= file.size() || file.mid(table, kHead.size()) != kHead)
        return false;
    at = table + kHead.size();
    const int count = numberAt(file, &at);
    if (count < 1 || count > kMostObjects || file.size() - at < kEntry * count)
        return false;
    places->push_back({ 0, table });
    for (int i = 1; i < count; ++i) {
        int entry = at + 1 + kEntry * i;
        const int offset = numberAt(file, &entry);
        if (offset < 0 || offset >= table)
            return false;
        places->push_back({ i, offset });
    }
    std::sort(places->begin(), places->end(),
              [](const Place &a, const Place &b) { return a.offset < b.offset; });
    return true;
}

bool takeBody(const QByteArray &file, const Place &place, int end, QByteArray *body)
{
    const QByteArray head = QByteArray::number(place.number) + " 0 obj\n";
    const QByteArray object = file.mid(place.offset, end - place.offset);
    if (!object.startsWith(head) || !object.endsWith(kEndOfObject))
        return false;
    *body = object.mid(head.size(), object.size() - head.size() - int(sizeof kEndOfObject) + 1);
    return true;
}

// The references between a name and a bracket; none where the name is not there.
QByteArray listIn(const QByteArray &body, const QByteArray &name)
{
    const int begin = body.indexOf(name);
    const int end = begin < 0 ? -1 : body.indexOf(']', begin);
    return end < 0 ? QByteArray() : body.mid(begin + name.size(), end - begin - name.size());
}

} // namespace

bool takePdfPage(const QByteArray &file, PdfPage *page)
{
    std::vector<Place> places;
    if (!readTable(file, &places))
        return false;
    *page = PdfPage();
    bool isOfOnePage = false;
    for (std::size_t i = 0; i + 1 < places.size(); ++i) {
        QByteArray body;
        if (places[i].number == 0 || !takeBody(file, places[i], places[i + 1].offset, &body))
            return false;
        if (places[i].number == kPdfCatalog)
            page->groups = listIn(body, "/OCGs [");
        else if (places[i].number == kPdfPages)
            isOfOnePage = listIn(body, "/Kids [") == "3 0 R";
        else
            page->objects.push_back({ places[i].number, body });
    }
    return isOfOnePage && page->objects.size() >= 2;
}

QByteArray renumberedPdf(const QByteArray &text, int more)
{
    QByteArray result;
    int done = 0;
    for (int at = text.indexOf(kReference); at >= 0; at = text.indexOf(kReference, at + 1)) {
        int begin = at;
        while (begin > done && std::isdigit(static_cast<unsigned char>(text.at(begin - 1))))
            --begin;
        const int number = text.mid(begin, at - begin).toInt();
        result += text.mid(done, begin - done)
            + QByteArray::number(number < kPdfFirstOfPage ? number : number + more);
        done = at;
    }
    return result + text.mid(done);
}

} // namespace ztrace
