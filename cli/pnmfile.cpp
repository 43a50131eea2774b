// (c) the ztrace developers. Licence: see LICENSE.
#include "pnmfile.h"

#include <algorithm>
#include <cctype>

namespace ztrace {

namespace {

qint64 inWholeBytes(qint64 bits)
{
    return (bits + 7) / 8;
}

bool isSpace(char letter)
{
    return std::isspace(static_cast<unsigned char>(letter)) != 0;
}

// The place after the next number of a PNM's text, which comments and spaces precede; -1 when there
// is none.
int afterNumber(const QByteArray &bytes, int at, qint64 *value)
{
    const qint64 kFar = 1LL << 30;
    while (at < bytes.size() && (isSpace(bytes.at(at)) || bytes.at(at) == '#')) {
        if (bytes.at(at) == '#') {
            at = bytes.indexOf('\n', at);
            if (at < 0)
                return -1;
        }
        ++at;
    }
    *value = 0;
    const int from = at;
    for (; at < bytes.size() && bytes.at(at) >= '0' && bytes.at(at) <= '9'; ++at)
        *value = qMin(kFar, *value * 10 + (bytes.at(at) - '0'));
    return at > from ? at : -1;
}

// The place after so many samples of black and white in letters, which may stand together; -1 when
// there are fewer.
int afterDigits(const QByteArray &bytes, int at, qint64 needed)
{
    for (bool isComment = false; at < bytes.size() && needed > 0; ++at) {
        const char letter = bytes.at(at);
        isComment = letter == '#' || (isComment && letter != '\n');
        if (!isComment && (letter == '0' || letter == '1'))
            --needed;
    }
    return needed <= 0 ? at : -1;
}

// The same of greys and colours. The last number may lack digits unless something is behind it.
int afterNumbers(const QByteArray &bytes, int at, qint64 needed)
{
    qint64 ignored = 0;
    for (; needed > 0 && at >= 0; --needed)
        at = afterNumber(bytes, at, &ignored);
    return at < bytes.size() ? at : -1;
}

struct Pnm
{
    char kind = '0'; // after its P
    int data = -1;   // where the numbers of its text end; -1 for what has none
    qint64 width = 0;
    qint64 height = 0;
    qint64 row = 1;  // bytes, where it is not in letters
    qint64 most = 1; // the largest sample
    qint64 samples = 1;
};

Pnm pnmOf(const QByteArray &bytes)
{
    Pnm pnm;
    pnm.kind = bytes.size() > 1 ? bytes.at(1) : '0';
    const bool isBilevel = pnm.kind == '1' || pnm.kind == '4';
    pnm.data = afterNumber(bytes, 2, &pnm.width);
    if (pnm.data >= 0)
        pnm.data = afterNumber(bytes, pnm.data, &pnm.height);
    if (pnm.data >= 0 && !isBilevel)
        pnm.data = afterNumber(bytes, pnm.data, &pnm.most);
    pnm.samples = pnm.kind == '3' || pnm.kind == '6' ? 3 : 1;
    pnm.row = qMax(1LL,
                   isBilevel ? inWholeBytes(pnm.width)
                             : pnm.width * pnm.samples * (pnm.most > 255 ? 2 : 1));
    return pnm;
}

// The place after the last pixel; -1 when the file ends before it.
int endOfPnm(const QByteArray &bytes)
{
    const Pnm pnm = pnmOf(bytes);
    if (pnm.data < 0)
        return -1;
    if (pnm.kind == '1')
        return afterDigits(bytes, pnm.data, pnm.width * pnm.height);
    if (pnm.kind <= '3')
        return afterNumbers(bytes, pnm.data, pnm.width * pnm.height * pnm.samples);
    if ((bytes.size() - pnm.data - 1) / pnm.row < pnm.height)
        return -1;
    return static_cast<int>(pnm.data + 1 + pnm.row * pnm.height);
}

// Whether one of so many digits, which may stand together, is neither black nor white.
bool hasOddDigits(const QByteArray &bytes, int at, qint64 samples)
{
    for (bool isComment = false; at < bytes.size() && samples > 0; ++at) {
        const char letter = bytes.at(at);
        isComment = letter == '#' || (isComment && letter != '\n');
        if (isComment || isSpace(letter))
            continue;
        if (letter != '0' && letter != '1')
            return true;
        --samples;
    }
    return false;
}

bool hasNumberAbove(qint64 most, const QByteArray &bytes, int at, qint64 samples)
{
    for (; samples > 0; --samples) {
        qint64 value = 0;
        at = afterNumber(bytes, at, &value);
        if (at < 0 || value > most)
            return at >= 0;
    }
    return false;
}

bool hasByteAbove(qint64 most, const QByteArray &bytes, int from, int to)
{
    return std::any_of(bytes.constBegin() + from, bytes.constBegin() + to,
                       [&](char byte) { return static_cast<unsigned char>(byte) > most; });
}

bool hasPairAbove(qint64 most, const QByteArray &bytes, int from, int to)
{
    for (int at = from; at + 1 < to; at += 2) {
        const int high = static_cast<unsigned char>(bytes.at(at));
        if (256 * high + static_cast<unsigned char>(bytes.at(at + 1)) > most)
            return true;
    }
    return false;
}

} // namespace

bool pnmEnds(const QByteArray &bytes)
{
    return endOfPnm(bytes) >= 0;
}

bool hasAnotherPnm(const QByteArray &bytes)
{
    if (bytes.size() < 2 || bytes.at(0) != 'P' || bytes.at(1) < '1' || bytes.at(1) > '6')
        return false;
    const int end = endOfPnm(bytes);
    if (end < 0)
        return false;
    const QByteArray next = bytes.mid(end, 1000).trimmed();
    return next.size() > 2 && next.at(0) == 'P' && next.at(1) >= '1' && next.at(1) <= '6'
        && pnmOf(next).data > 0;
}

bool hasOddSamples(const QByteArray &bytes)
{
    if (bytes.size() < 2 || bytes.at(0) != 'P' || bytes.at(1) < '1' || bytes.at(1) > '6')
        return false;
    const Pnm pnm = pnmOf(bytes);
    if (pnm.data < 0 || pnm.kind == '4')
        return false; // all bits are samples
    const qint64 samples = pnm.width * pnm.height * pnm.samples;
    if (pnm.kind == '1')
        return hasOddDigits(bytes, pnm.data, samples);
    if (pnm.kind <= '3')
        return hasNumberAbove(pnm.most, bytes, pnm.data, samples);
    const int from = std::min(pnm.data + 1, bytes.size());
    const int to = from
        + static_cast<int>(std::min(bytes.size() - from + 0LL, // cut short
                                    pnm.row * pnm.height));
    return pnm.most > 255 ? hasPairAbove(pnm.most, bytes, from, to)
                          : hasByteAbove(pnm.most, bytes, from, to);
}

} // namespace ztrace
