// (c) the ztrace developers. Licence: see LICENSE.
#include "text.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace ztrace {

namespace {

// Whole parts of coordinates mostly are below 10000. How many digits they have can hardly be
// foretold: all four are made, and what leads in vain is written over.
char *writeWhole(char *to, quint64 number)
{
    static const char kPairs[] = "00010203040506070809101112131415161718192021222324"
                                 "25262728293031323334353637383940414243444546474849"
                                 "50515253545556575859606162636465666768697071727374"
                                 "75767778798081828384858687888990919293949596979899";
    if (number >= 10000)
        return std::to_chars(to, to + 20, number).ptr;
    const std::size_t small = static_cast<std::size_t>(number);
    const char *high = kPairs + 2 * (small / 100);
    const char *low = kPairs + 2 * (small % 100);
    *to = high[0];
    to += small >= 1000 ? 1 : 0;
    *to = high[1];
    to += small >= 100 ? 1 : 0;
    *to = low[0];
    to += small >= 10 ? 1 : 0;
    *to = low[1];
    return to + 1;
}

// Multiples of 1/16, which most coordinates are: those of pixels, their middles and quarters. Their
// decimals are the shortest that are read back, since up to the limit other numbers are nearer than
// 1e-9. Returns null for others.
char *writeSixteenths(char *to, double value, int decimals)
{
    static const char kDecimals[16][5]
        = { "",  "0625", "125", "1875", "25", "3125", "375", "4375",
            "5", "5625", "625", "6875", "75", "8125", "875", "9375" };
    static const uint8_t kLengths[16] = { 0, 4, 3, 4, 2, 4, 3, 4, 1, 4, 3, 4, 2, 4, 3, 4 };
    const double kLimit = 1e6 * 16.0;
    const double scaled = value * 16.0;
    if (!(std::fabs(scaled) <= kLimit))
        return nullptr;
    const qint64 number = static_cast<qint64>(scaled);
    if (static_cast<double>(number) != scaled)
        return nullptr;
    const quint64 size = static_cast<quint64>(number < 0 ? -number : number);
    const std::size_t part = size % 16;
    const int length = kLengths[part];
    if (decimals >= 0 && length > decimals)
        return nullptr;
    if (number < 0)
        *to++ = '-';
    to = writeWhole(to, size / 16);
    *to = '.'; // what is none of the number is written over
    to += part != 0 ? 1 : 0;
    std::memcpy(to, kDecimals[part], 4);
    return to + length;
}

// Rounded to so many decimals by whole numbers. The product is off by 0.0005 at most, which decides
// nothing unless it is as near as that to the middle between two. Returns null for those and for
// large numbers.
char *writeRounded(char *to, double value, int decimals)
{
    static const quint64 kPowers[13]
        = { 1ull,           10ull,           100ull,          1000ull,      10000ull,
            100000ull,      1000000ull,      10000000ull,     100000000ull, 1000000000ull,
            10000000000ull, 100000000000ull, 1000000000000ull };
    const double kLimit = 8796093022208.0; // 2^43, where doubles are 2^-10 apart
    const double kUnsure = 0.001;
    if (decimals < 0 || decimals > 12)
        return nullptr;
    const double product = std::fabs(value) * static_cast<double>(kPowers[decimals]);
    if (!(product < kLimit))
        return nullptr;
    quint64 number = static_cast<quint64>(product);
    const double rest = product - static_cast<double>(number);
    if (std::fabs(rest - 0.5) < kUnsure)
        return nullptr;
    number += rest > 0.5 ? 1 : 0;
    if (value < 0.0 && number != 0)
        *to++ = '-';
    while (decimals > 0 && number % 10 == 0) {
        number /= 10;
        --decimals;
    }
    to = writeWhole(to, number / kPowers[decimals]);
    if (decimals == 0)
        return to;
    *to++ = '.';
    quint64 fraction = number % kPowers[decimals];
    for (int i = decimals - 1; i >= 0; --i) {
        to[i] = static_cast<char>('0' + fraction % 10);
        fraction /= 10;
    }
    return to + decimals;
}

// Every number, by the library.
char *writeAny(char *to, double value, int decimals)
{
    const std::to_chars_result result = decimals < 0
        ? std::to_chars(to, to + kLongestNumber, value, std::chars_format::fixed)
        : std::to_chars(to, to + kLongestNumber, value, std::chars_format::fixed, decimals);
    char *end = result.ptr;
    if (result.ec != std::errc()) {
        // Longer than the buffer: a number of this size means nothing in any drawing.
        *to = '0';
        return to + 1;
    }
    if (decimals > 0) {
        while (end[-1] == '0')
            --end;
        if (end[-1] == '.')
            --end;
    }
    if (end - to == 2 && to[0] == '-' && to[1] == '0') {
        *to = '0';
        return to + 1;
    }
    return end;
}

} // namespace

int decimalsFor(double precision)
{
    if (!(precision > 0.0))
        return kExactDecimals;
    const double decimals = std::ceil(-std::log10(precision) - 1e-9);
    return static_cast<int>(std::fmin(9.0, std::fmax(0.0, decimals)));
}

// The largest double has 309 digits, the smallest 324 decimals and more.
char *writeNumber(char *to, double value, int decimals)
{
    if (char *end = writeSixteenths(to, value, decimals))
        return end;
    if (char *end = writeRounded(to, value, decimals))
        return end;
    return writeAny(to, value, decimals);
}

void appendNumber(std::string *text, double value, int decimals)
{
    char buffer[kLongestNumber];
    text->append(buffer, static_cast<std::size_t>(writeNumber(buffer, value, decimals) - buffer));
}

void appendWhole(std::string *text, qint64 value)
{
    char buffer[24];
    const char *end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    text->append(buffer, static_cast<std::size_t>(end - buffer));
}

QByteArray numberText(double value, int decimals)
{
    char buffer[kLongestNumber];
    return QByteArray(buffer, static_cast<int>(writeNumber(buffer, value, decimals) - buffer));
}

} // namespace ztrace
