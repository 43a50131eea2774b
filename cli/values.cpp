// (c) the ztrace developers. Licence: see LICENSE.
#include "values.h"

#include "failure.h"

#include <QColor>
#include <QString>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace ztrace {

namespace {

[[noreturn]] void refuse(const std::string &setting, const std::string &text,
                         const std::string &wanted)
{
    throw Failure(kWrongUsage, setting + ": \"" + shortened(text) + "\" is not " + wanted);
}

bool parseNumber(const std::string &text, double *value)
{
    const char *begin = text.data();
    const char *end = begin + text.size();
    if (begin != end && *begin == '+')
        ++begin;
    const std::from_chars_result result = std::from_chars(begin, end, *value);
    // A number beyond the range of doubles is refused like one that is none.
    return result.ec == std::errc() && result.ptr == end;
}

std::string lowered(const std::string &text)
{
    return QByteArray::fromStdString(text).toLower().toStdString();
}

std::string orElse(const std::string &words)
{
    return words.empty() ? std::string() : ", or " + words;
}

} // namespace

std::string shortened(const std::string &text, std::size_t most)
{
    if (text.size() <= most)
        return text;
    std::size_t end = most;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return text.substr(0, end) + "...";
}

std::string shortText(double value)
{
    char buffer[32];
    return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

double anyNumberValue(const std::string &setting, const std::string &text)
{
    double value = 0.0;
    if (!parseNumber(text, &value) || std::isnan(value))
        refuse(setting, text, "a number");
    return value;
}

double numberValue(const std::string &setting, const std::string &text, double least, double most,
                   const std::string &words)
{
    double value = 0.0;
    if (!parseNumber(text, &value) || std::isnan(value))
        refuse(setting, text, "a number" + orElse(words));
    if (!std::isfinite(value))
        refuse(setting, text, "a finite number" + orElse(words));
    if (value < least)
        refuse(setting, text, "a number of at least " + shortText(least) + orElse(words));
    if (value > most)
        refuse(setting, text, "a number of at most " + shortText(most) + orElse(words));
    return value;
}

int wholeValue(const std::string &setting, const std::string &text, int least, int greatest,
               const std::string &words)
{
    int value = 0;
    const char *end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || value < least || value > greatest) {
        refuse(setting, text,
               "a whole number from " + std::to_string(least) + " to " + std::to_string(greatest)
                   + orElse(words));
    }
    return value;
}

bool flagValue(const std::string &setting, const std::string &text)
{
    if (text == "true")
        return true;
    if (text != "false")
        refuse(setting, text, "true or false");
    return false;
}

QRgb colourValue(const std::string &setting, const std::string &text)
{
    QString name = QString::fromStdString(text).trimmed();
    QColor colour(name);
    if (!colour.isValid()) {
        name.prepend(QLatin1Char('#'));
        colour = QColor(name);
    }
    if (!colour.isValid())
        refuse(setting, text, "a colour (such as \"#ff8000\" or \"orange\")");
    const int kWithAlpha = 9; // of "#aarrggbb"
    if (colour.alpha() != 255 || (name.startsWith(QLatin1Char('#')) && name.size() == kWithAlpha))
        refuse(setting, text, "an opaque colour (such as \"#ff8000\" or \"orange\")");
    return colour.rgb();
}

bool isWord(const std::string &text, const std::vector<std::string> &words)
{
    return std::find(words.begin(), words.end(), lowered(text)) != words.end();
}

std::string listOfWords(const std::vector<std::string> &words)
{
    std::string list;
    for (std::size_t i = 0; i < words.size(); ++i)
        list += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    return list;
}

std::size_t wordValue(const std::string &setting, const std::string &text,
                      const std::vector<std::string> &words)
{
    if (!isWord(text, words))
        refuse(setting, text, "one of " + listOfWords(words));
    return static_cast<std::size_t>(std::find(words.begin(), words.end(), lowered(text))
                                    - words.begin());
}

} // namespace ztrace
