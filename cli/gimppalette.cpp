// (c) the ztrace developers. Licence: see LICENSE.
#include "gimppalette.h"

#include "failure.h"
#include "Settings.h"
#include "textfile.h"
#include "values.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cctype>
#include <sstream>

namespace ztrace {

namespace {

const char kHeading[] = "GIMP Palette";
const char kByteOrderMark[] = "\xEF\xBB\xBF";

void addOnce(QRgb colour, std::vector<QRgb> *colours)
{
    if (static_cast<int>(colours->size()) > kMostColors)
        return; // too many anyway
    if (std::find(colours->begin(), colours->end(), colour) == colours->end())
        colours->push_back(colour);
}

std::string trimmed(const std::string &text)
{
    return QByteArray::fromStdString(text).trimmed().toStdString();
}

void addList(const std::string &setting, const std::string &list, std::vector<QRgb> *colours)
{
    std::istringstream words(list);
    std::string word;
    while (std::getline(words, word, ','))
        addOnce(colourValue(setting, word), colours);
}

// "Name:", "Columns:" and the like, which stand before the colours.
bool isHeader(const std::string &line)
{
    const std::size_t colon = line.find(':');
    return colon != std::string::npos && std::isalpha(static_cast<unsigned char>(line.front()));
}

void addPaletteLine(const std::string &place, const std::string &line, std::vector<QRgb> *colours)
{
    if (line.front() == '#' || isHeader(line))
        return;
    int channels[3] = { -1, -1, -1 };
    std::istringstream words(line);
    words >> channels[0] >> channels[1] >> channels[2];
    for (int channel : channels) {
        if (!words || channel < 0 || channel > 255) {
            throw Failure(kWrongUsage,
                          place + ": \"" + shortened(line)
                              + "\" is not a colour (three numbers to 255)");
        }
    }
    addOnce(qRgb(channels[0], channels[1], channels[2]), colours);
}

// A palette of GIMP, or a text with a colour or several a line.
std::vector<QRgb> coloursInFile(const std::string &fileName)
{
    std::string text = textOfFile(fileName);
    if (text.compare(0, sizeof kByteOrderMark - 1, kByteOrderMark) == 0)
        text.erase(0, sizeof kByteOrderMark - 1);
    std::istringstream lines(text);
    const bool isPalette = text.compare(0, sizeof kHeading - 1, kHeading) == 0;
    std::string line;
    std::vector<QRgb> colours;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::string place = fileName + ", line " + std::to_string(number);
        line = trimmed(line);
        if (line.empty() || (isPalette && number == 1))
            continue;
        if (isPalette)
            addPaletteLine(place, line, &colours);
        else
            addList(place, line, &colours);
    }
    return colours;
}

} // namespace

bool isPaletteFile(const std::string &text, const std::string &folder)
{
    const QString name = QFile::decodeName((folder + text).c_str());
    return text.find('/') != std::string::npos
        || name.endsWith(QLatin1String(".gpl"), Qt::CaseInsensitive)
        || (text.find(',') == std::string::npos && QFileInfo(name).isFile());
}

std::vector<QRgb> paletteValue(const std::string &text)
{
    std::vector<QRgb> colours;
    if (isPaletteFile(text)) {
        colours = coloursInFile(text);
    } else {
        addList("--palette", text, &colours);
    }
    if (colours.empty())
        throw Failure(kWrongUsage, "--palette: \"" + shortened(text) + "\" has no colours");
    if (static_cast<int>(colours.size()) > kMostColors) {
        throw Failure(kWrongUsage,
                      "--palette: more than " + std::to_string(kMostColors) + " colours");
    }
    return colours;
}

} // namespace ztrace
