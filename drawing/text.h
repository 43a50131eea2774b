// (c) the ztrace developers. Licence: see LICENSE.
//
// Numbers as text, the same in every locale.
#ifndef ZTRACE_DRAWING_TEXT_H
#define ZTRACE_DRAWING_TEXT_H

#include <QByteArray>

#include <string>

namespace ztrace {

// Decimals of numberText that stand for "as many as it takes to read the same number back".
const int kExactDecimals = -1;

// Of writers: as many as the drawing's precision is worth, at most 9; exact where it is 0.
const int kDecimalsOfDrawing = -2;
int decimalsFor(double precision);

// Appends a finite number without exponent. With `decimals` it is rounded to so many places and
// trailing zeros are left out. Zero has no sign.
void appendNumber(std::string *text, double value, int decimals = kExactDecimals);

// The same text at `to`, which has room for kLongestNumber characters; returns its end.
const int kLongestNumber = 400;
char *writeNumber(char *to, double value, int decimals = kExactDecimals);

void appendWhole(std::string *text, qint64 value);

inline std::string &operator+=(std::string &text, const QByteArray &more)
{
    return text.append(more.constData(), static_cast<std::size_t>(more.size()));
}

QByteArray numberText(double value, int decimals = kExactDecimals);

} // namespace ztrace

#endif
