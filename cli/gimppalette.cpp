// (c) the ztrace developers. Licence: see LICENSE.
#include "gimppalette.h"

#include "failure.h"
#include "presets.h"
#include "values.h"

#include <algorithm>
#include <sstream>

namespace ztrace {

namespace {

const char kHeading[] = "GIMP Palette";

void addOnce(QRgb colour, std::vector<QRgb> *colours)
{
    if (std::find(colours->begin(), colours->end(), colour) == colours->end())
        colours->push_back(colour);
}

std::vector<QRgb> coloursInFile(const std::string &fileName)
{
    std::istringstream lines(settingsFile(fileName));
    std::string line;
    std::getline(lines, line);
    if (line.compare(0, sizeof kHeading - 1, kHeading) != 0)
        throw Failure(kInputUnreadable, fileName + ": not a palette file");
    std::vector<QRgb> colours;
    while (std::getline(lines, line)) {
        int red = -1;
        int green = -1;
        int blue = -1;
        std::istringstream words(line);
        // Comments and the lines before the colours do not start with numbers.
        if (!(words >> red >> green >> blue))
            continue;
        if (red < 0 || red > 255 || green < 0 || green > 255 || blue < 0 || blue > 255)
            throw Failure(kInputUnreadable, fileName + ": \"" + line + "\" is not a colour");
        addOnce(qRgb(red, green, blue), &colours);
    }
    return colours;
}

bool isFileName(const std::string &text)
{
    const std::string ending = ".gpl";
    return text.find('/') != std::string::npos
        || (text.size() > ending.size()
            && text.compare(text.size() - ending.size(), ending.size(), ending) == 0);
}

} // namespace

std::vector<QRgb> paletteValue(const std::string &text)
{
    std::vector<QRgb> colours;
    if (isFileName(text)) {
        colours = coloursInFile(text);
    } else {
        std::istringstream words(text);
        std::string word;
        while (std::getline(words, word, ','))
            addOnce(colourValue("--palette", word), &colours);
    }
    if (colours.empty())
        throw Failure(kWrongUsage, "--palette: \"" + text + "\" has no colours");
    if (static_cast<int>(colours.size()) > kMostColors) {
        throw Failure(kWrongUsage,
                      "--palette: more than " + std::to_string(kMostColors) + " colours");
    }
    return colours;
}

} // namespace ztrace
