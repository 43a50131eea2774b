// (c) the ztrace developers. Licence: see LICENSE.
#include "text.h"

#include <charconv>

namespace ztrace {

void appendNumber(QByteArray *text, double value, int decimals)
{
    char buffer[400]; // the largest double has 309 digits, the smallest 324 decimals and more
    std::to_chars_result result = { buffer, std::errc() };
    if (value == 0.0)
        value = 0.0; // no minus sign
    if (decimals < 0)
        result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    else
        result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed,
                               decimals);
    if (result.ec != std::errc()) {
        // Longer than the buffer: a number of this size means nothing in any drawing.
        text->append('0');
        return;
    }
    char *end = result.ptr;
    if (decimals > 0) {
        while (end[-1] == '0')
            --end;
        if (end[-1] == '.')
            --end;
    }
    if (end - buffer == 2 && buffer[0] == '-' && buffer[1] == '0') {
        text->append('0');
        return;
    }
    text->append(buffer, static_cast<int>(end - buffer));
}

QByteArray numberText(double value, int decimals)
{
    QByteArray text;
    appendNumber(&text, value, decimals);
    return text;
}

} // namespace ztrace
