// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/grounds.h"

#include "strokes/distance.h"
#include "strokes/parts.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const int kFlatSteps = 6;       // that a channel differs by from pixel to pixel of an even colour
const int kNearColour = 10;     // steps that pixels of a colour are within
const int kOtherColour = 13;    // that two colours differ by
const int kMostColours = 48;    // that are told apart
const double kLeastPart = 5e-4; // of all pixels, that a colour has
const int kLeastPaper = 128;    // of every channel of paper that covers half of the picture
const int kLightPaper = 232;    // of other paper
const int kLeastHue = 24;       // steps that channels of a colour differ by
const int kDarkInk = 64;        // lightness up to which an even colour is ink
// Pixels: the radius of the disc that an area holds, and how far from such discs its corners are.
const double kLeastRadius = 6.0;
const int kFarFromDisc = 10;
const int kLeastRun = 8;          // pixels, that rows through an area have of its colour
const double kMostTails = 0.4;    // part of an area that is farther: more is drawn with a pen
const double kWidestRoute = 24.0; // pixels, and how many of its widths it is long
const double kRouteLength = 6.0;
const double kRouteEven = 0.4; // of half its width, that its pixels lie from its edges in the mean
const double kMostPassing = 1e-3; // of all pixels, that colours pass into each other at
const int kUnderLines = 12;       // pixels that areas reach under ink
const int kBeside = 2;            // pixels within which a soft edge has both its colours
const double kSoftEdge = 24.0;    // steps that soft edges differ by from what is beside them

typedef std::array<int, 3> Rgb;

Rgb rgbOf(uint32_t pixel)
{
    return { { int(pixel >> 16 & 255u), int(pixel >> 8 & 255u), int(pixel & 255u) } };
}

int apart(uint32_t a, uint32_t b)
{
    const Rgb p = rgbOf(a);
    const Rgb q = rgbOf(b);
    return std::max({ std::abs(p[0] - q[0]), std::abs(p[1] - q[1]), std::abs(p[2] - q[2]) });
}

int lightnessOf(uint32_t colour)
{
    const Rgb c = rgbOf(colour);
    return (54 * c[0] + 183 * c[1] + 19 * c[2]) / 256;
}

int leastChannel(uint32_t colour)
{
    const Rgb c = rgbOf(colour);
    return std::min({ c[0], c[1], c[2] });
}

// How far along from `from` to `to` the place lies that is nearest to a colour, 0 to 1, and in
// `away` how far that place is.
double along(uint32_t colour, uint32_t from, uint32_t to, double *away)
{
    const Rgb p = rgbOf(colour);
    const Rgb a = rgbOf(from);
    const Rgb b = rgbOf(to);
    double dot = 0.0;
    double square = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        dot += double(p[k] - a[k]) * (b[k] - a[k]);
        square += double(b[k] - a[k]) * (b[k] - a[k]);
    }
    const double t = square > 0.0 ? std::clamp(dot / square, 0.0, 1.0) : 0.0;
    double rest = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double off = p[k] - (a[k] + t * (b[k] - a[k]));
        rest += off * off;
    }
    *away = std::sqrt(rest);
    return t;
}

uint32_t mixed(uint32_t from, uint32_t to, double part)
{
    const Rgb a = rgbOf(from);
    const Rgb b = rgbOf(to);
    uint32_t result = 0xffu;
    for (std::size_t k = 0; k < 3; ++k)
        result = result << 8 | uint32_t(std::lround(a[k] + part * (b[k] - a[k])));
    return result;
}

// Cells that are marked within `reach` steps, up and down and aslant by turns, of a mark.
void spreadMarks(int reach, Plane *marks)
{
    const std::ptrdiff_t stride = marks->stride();
    std::vector<uint8_t> next;
    for (int step = 0; step < reach; ++step) {
        next = marks->cells;
        for (std::size_t cell = std::size_t(stride) + 1;
             cell + std::size_t(stride) + 1 < next.size(); ++cell) {
            if (marks->cells[cell] == 0)
                continue;
            for (std::ptrdiff_t by : { std::ptrdiff_t(1), stride, stride + 1, stride - 1 }) {
                if (by > 1 && by != stride && step % 2 == 0)
                    continue;
                next[std::size_t(std::ptrdiff_t(cell) - by)] = 1;
                next[std::size_t(std::ptrdiff_t(cell) + by)] = 1;
            }
        }
        marks->cells.swap(next);
    }
}

// Greys in colour files are greys.
bool hasHues(const ColourPicture &picture)
{
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const Rgb c = rgbOf(picture.at(x, y));
            if (*std::max_element(c.begin(), c.end()) - *std::min_element(c.begin(), c.end())
                >= kLeastHue)
                return true;
        }
    }
    return false;
}

class GroundFinder
{
public:
    GroundFinder(const ColourPicture &p, Grounds *g)
        : picture(p), grounds(*g), labels(p.width, p.height)
    { }

    bool find()
    {
        if (!takeColours())
            return false;
        labelPixels();
        if (passesOver() || !takeAreas())
            return false;
        grow();
        return true;
    }

private:
    std::size_t pixelsOfAll() const
    {
        return std::size_t(picture.width) * std::size_t(picture.height);
    }

    bool isFlat(int x, int y) const
    {
        const uint32_t pixel = picture.at(x, y);
        return (x + 1 >= picture.width || apart(pixel, picture.at(x + 1, y)) <= kFlatSteps)
            && (y + 1 >= picture.height || apart(pixel, picture.at(x, y + 1)) <= kFlatSteps);
    }

    // The even colours of the picture, the commonest first: means of cells of eight steps.
    bool takeColours()
    {
        struct Cell
        {
            std::array<uint64_t, 3> sum = {};
            uint64_t count = 0;
        };
        std::vector<Cell> cells(32768);
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                if (!isFlat(x, y))
                    continue;
                const Rgb c = rgbOf(picture.at(x, y));
                Cell &cell = cells[std::size_t((c[0] >> 3) << 10 | (c[1] >> 3) << 5 | c[2] >> 3)];
                ++cell.count;
                for (std::size_t k = 0; k < 3; ++k)
                    cell.sum[k] += uint64_t(c[k]);
            }
        }
        std::sort(cells.begin(), cells.end(),
                  [](const Cell &a, const Cell &b) { return a.count > b.count; });
        const double least = std::max(40.0, kLeastPart * double(pixelsOfAll()));
        for (const Cell &cell : cells) {
            if (double(cell.count) < least || colours.size() == std::size_t(kMostColours))
                break;
            uint32_t colour = 0xffu;
            for (uint64_t sum : cell.sum)
                colour = colour << 8 | uint32_t((sum + cell.count / 2) / cell.count);
            if (std::all_of(colours.begin(), colours.end(), [colour](uint32_t other) {
                    return apart(colour, other) >= kOtherColour;
                })) {
                colours.push_back(colour);
                counts.push_back(cell.count);
            }
        }
        return choosePaper();
    }

    // Paper comes first: what covers half of the picture if it is light, else the lightest that is
    // nearly white, else white. Whether there may be anything else.
    bool choosePaper()
    {
        if (colours.empty())
            return false;
        std::size_t paper = colours.size();
        if (2 * counts[0] >= pixelsOfAll() && leastChannel(colours[0]) >= kLeastPaper)
            paper = 0;
        for (std::size_t k = 0; k < colours.size() && paper != 0; ++k) {
            const int own = leastChannel(colours[k]);
            if (own >= kLightPaper
                && (paper == colours.size() || own > leastChannel(colours[paper])))
                paper = k;
        }
        if (paper == colours.size())
            colours.insert(colours.begin(), 0xffffffffu);
        else
            std::rotate(colours.begin(), colours.begin() + std::ptrdiff_t(paper),
                        colours.begin() + std::ptrdiff_t(paper) + 1);
        return colours.size() > 1;
    }

    // 1 and more: the colour of every pixel; 0 elsewhere.
    void labelPixels()
    {
        uint32_t last = 0;
        uint8_t lastLabel = 0;
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const uint32_t pixel = picture.at(x, y) | 0xff000000u;
                if (pixel != last) {
                    last = pixel;
                    lastLabel = 0;
                    int best = kNearColour + 1;
                    for (std::size_t k = 0; k < colours.size(); ++k) {
                        const int far = apart(pixel, colours[k]);
                        if (far < best) {
                            best = far;
                            lastLabel = uint8_t(k + 1);
                        }
                    }
                }
                labels.cells[labels.cellOf(x, y)] = lastLabel;
            }
        }
    }

    // Whether colours pass into each other: shades, no areas.
    bool passesOver() const
    {
        std::size_t passing = 0;
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x + 1 < picture.width; ++x) {
                const uint32_t cell = labels.cellOf(x, y);
                passing += labels.cells[cell] != labels.cells[cell + 1]
                        && apart(picture.at(x, y), picture.at(x + 1, y)) <= kFlatSteps
                    ? 1u
                    : 0u;
            }
        }
        return double(passing) > kMostPassing * double(pixelsOfAll());
    }

    // Cells of colours with none of another beside them have their distance from such.
    Plane distances() const
    {
        Plane inner(picture.width, picture.height);
        const std::size_t stride = std::size_t(inner.stride());
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const std::size_t cell = inner.cellOf(x, y);
                const uint8_t label = labels.cells[cell];
                const auto goesOn = [this, label](std::size_t other) {
                    return labels.cells[other] == label || labels.cells[other] == 0;
                };
                inner.cells[cell] = label > 1 && goesOn(cell + 1) && goesOn(cell + stride) ? 1 : 0;
            }
        }
        return inkDistance(std::move(inner));
    }

    // Settles which parts of one colour are areas. Whether there are any.
    bool takeAreas()
    {
        const Plane distance = distances();
        const int deep = int(kLeastRadius / kDistanceUnit);
        if (std::none_of(distance.cells.begin(), distance.cells.end(),
                         [deep](uint8_t cell) { return cell >= deep; }))
            return false;
        Plane near = distance;
        for (uint8_t &cell : near.cells)
            cell = cell >= deep ? 1 : 0;
        spreadMarks(kFarFromDisc, &near);
        grounds.owners.assign(pixelsOfAll(), kNoGround);
        std::vector<int> groundOf(colours.size(), -1);
        groundOf[0] = 0;
        grounds.colours.assign(1, colours[0]);
        Plane open = labels;
        for (std::size_t first = 0; first < open.cells.size(); ++first) {
            const uint8_t label = open.cells[first];
            if (label == 0)
                continue;
            const Part part = partAround(uint32_t(first), open, [&open, label](uint32_t cell) {
                const bool isNew = open.cells[cell] == label;
                open.cells[cell] = isNew ? 0 : open.cells[cell];
                return isNew;
            });
            if (label > 1 && !isArea(part, colours[label - 1u], distance, near))
                continue;
            int &ground = groundOf[label - 1u];
            if (ground < 0) {
                ground = int(grounds.colours.size());
                grounds.colours.push_back(colours[label - 1u]);
            }
            grounds.areas += label > 1 ? 1u : 0u;
            for (uint32_t cell : part.cells)
                grounds.owners[placeOf(cell)] = uint8_t(ground);
        }
        return grounds.areas > 0;
    }

    static bool isArea(const Part &part, uint32_t colour, const Plane &distance, const Plane &near)
    {
        if (lightnessOf(colour) <= kDarkInk || part.breadth() < 2 * kLeastRadius)
            return false;
        uint8_t deepest = 0;
        double sum = 0.0;
        std::size_t tails = 0;
        for (uint32_t cell : part.cells) {
            deepest = std::max(deepest, distance.cells[cell]);
            sum += std::max(0.0, radiusOf(distance.cells[cell]));
            tails += near.cells[cell] == 0 ? 1u : 0u;
        }
        const double all = double(part.pixels());
        const double radius = radiusOf(deepest);
        const bool isRoute = 2.0 * radius < kWidestRoute
            && all > kRouteLength * 4.0 * radius * radius && sum > kRouteEven * radius * all;
        return radius + 0.5 >= kLeastRadius && double(tails) <= kMostTails * all && !isRoute;
    }

    std::size_t placeOf(uint32_t cell) const
    {
        return std::size_t(labels.yOf(cell)) * std::size_t(picture.width)
            + std::size_t(labels.xOf(cell));
    }

    // What is no ground goes to the nearest one, and is seen on paper.
    void grow()
    {
        std::vector<uint8_t> &owners = grounds.owners;
        const std::vector<uint8_t> known = owners;
        std::vector<uint32_t> rim;
        for (std::size_t place = 0; place < owners.size(); ++place) {
            if (owners[place] != kNoGround)
                rim.push_back(uint32_t(place));
        }
        for (int step = 0; step < kUnderLines && !rim.empty(); ++step) {
            std::vector<uint32_t> next;
            for (uint32_t place : rim) {
                forEachAround(place, 1, [&](std::size_t other, bool isAside) {
                    if (owners[other] != kNoGround || (!isAside && step % 2 == 0))
                        return;
                    owners[other] = owners[place];
                    next.push_back(uint32_t(other));
                });
            }
            rim.swap(next);
        }
        seeOnPaper(known);
    }

    template<typename Visit>
    void forEachAround(std::size_t place, int reach, Visit visit) const
    {
        const int x = int(place % std::size_t(picture.width));
        const int y = int(place / std::size_t(picture.width));
        for (int v = std::max(0, y - reach); v <= std::min(picture.height - 1, y + reach); ++v) {
            for (int u = std::max(0, x - reach); u <= std::min(picture.width - 1, x + reach); ++u)
                visit(std::size_t(v) * std::size_t(picture.width) + std::size_t(u),
                      u == x || v == y);
        }
    }

    uint32_t pixelAt(std::size_t place) const
    {
        return picture.at(int(place % std::size_t(picture.width)),
                          int(place / std::size_t(picture.width)));
    }

    // How far a pixel is from all mixtures of two grounds beside it.
    double awayFromGrounds(std::size_t place) const
    {
        const uint8_t own = grounds.owners[place];
        if (own == kNoGround)
            return 255.0;
        double least = 1e9;
        forEachAround(place, kBeside, [&](std::size_t other, bool) {
            const uint8_t ground = grounds.owners[other];
            if (ground == kNoGround)
                return;
            double away = 0.0;
            along(pixelAt(place), grounds.colours[own], grounds.colours[ground], &away);
            least = std::min(least, away);
        });
        return least;
    }

    bool isOnPaper(std::size_t place) const
    {
        bool only = true;
        forEachAround(place, kBeside + 1, [&](std::size_t other, bool) {
            only = only && (grounds.owners[other] == 0 || grounds.owners[other] == kNoGround);
        });
        return only;
    }

    // Of areas paper; of pixels with ink as much paper as they have of an area. The ink of a pixel
    // is that of the one near it that is least like its grounds.
    void seeOnPaper(const std::vector<uint8_t> &known)
    {
        std::vector<float> away(known.size(), 0.0f);
        for (std::size_t place = 0; place < known.size(); ++place) {
            if (known[place] == kNoGround)
                away[place] = float(awayFromGrounds(place));
        }
        grounds.pixels.resize(known.size());
        const uint32_t paper = colours[0];
        for (std::size_t place = 0; place < known.size(); ++place) {
            uint32_t &result = grounds.pixels[place];
            result = pixelAt(place) | 0xff000000u;
            if (known[place] != kNoGround) {
                result = known[place] == 0 ? result : paper;
                continue;
            }
            if (grounds.owners[place] == kNoGround || isOnPaper(place))
                continue;
            std::size_t ink = place;
            forEachAround(place, kBeside, [&](std::size_t other, bool) {
                ink = away[other] > away[ink] ? other : ink;
            });
            double rest = 0.0;
            const uint32_t own = grounds.colours[grounds.owners[place]];
            const uint32_t colour = pixelAt(ink) | 0xff000000u;
            result = double(away[ink]) < kSoftEdge
                ? paper
                : mixed(paper, colour, along(result, own, colour, &rest));
        }
    }

    const ColourPicture &picture;
    Grounds &grounds;
    std::vector<uint32_t> colours; // paper first
    std::vector<uint64_t> counts;
    Plane labels;
};

} // namespace

bool mayHaveGrounds(const ColourPicture &rows)
{
    if (!hasHues(rows))
        return false;
    // Longest in all is paper; what is as light or dark as ink, or of the same colour, is none.
    std::vector<std::size_t> lengths(32768, 0);
    std::vector<uint32_t> colourOf(lengths.size(), 0);
    for (int y = 0; y < rows.height; ++y) {
        int first = 0;
        for (int x = 1; x <= rows.width; ++x) {
            if (x < rows.width && apart(rows.at(x, y), rows.at(first, y)) <= kFlatSteps)
                continue;
            const uint32_t colour = rows.at(first, y);
            // The soft edge of a level line is as even, but one row high.
            const bool goesOn
                = y > 0 && apart(rows.at(first + (x - first) / 2, y - 1), colour) <= kFlatSteps;
            if (x - first >= kLeastRun && goesOn && lightnessOf(colour) > kDarkInk) {
                const std::size_t cell
                    = (colour >> 19 & 31u) << 10 | (colour >> 11 & 31u) << 5 | (colour >> 3 & 31u);
                lengths[cell] += std::size_t(x - first);
                colourOf[cell] = colour;
            }
            first = x;
        }
    }
    const std::size_t paper
        = std::size_t(std::max_element(lengths.begin(), lengths.end()) - lengths.begin());
    for (std::size_t cell = 0; cell < lengths.size(); ++cell) {
        if (lengths[cell] > 0 && apart(colourOf[cell], colourOf[paper]) >= kOtherColour)
            return true;
    }
    return false;
}

bool groundsOf(const ColourPicture &picture, Grounds *grounds)
{
    *grounds = Grounds();
    if (picture.width < 1 || picture.height < 1)
        return false;
    if (GroundFinder(picture, grounds).find())
        return true;
    *grounds = Grounds();
    return false;
}

Plane cellsOf(const Grounds &grounds, const ColourPicture &picture, std::size_t ground)
{
    Plane cells(picture.width, picture.height);
    std::size_t place = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x)
            cells.cells[cells.cellOf(x, y)] = grounds.owners[place++] == ground ? 1 : 0;
    }
    return cells;
}

std::vector<uint8_t> greyOf(const Grounds &grounds, const ColourPicture &picture,
                            std::size_t ground)
{
    const std::size_t width = std::size_t(picture.width);
    const std::vector<uint8_t> &owners = grounds.owners;
    std::vector<uint8_t> grey(owners.size());
    for (std::size_t place = 0; place < owners.size(); ++place)
        grey[place] = owners[place] == ground ? 0 : 255;
    const auto settle = [&](std::size_t a, std::size_t b) {
        if (owners[a] == owners[b] || (owners[a] != ground && owners[b] != ground)
            || owners[a] == kNoGround || owners[b] == kNoGround)
            return;
        const uint32_t own = grounds.colours[ground];
        const uint32_t other = grounds.colours[owners[owners[a] == ground ? b : a]];
        for (std::size_t place : { a, b }) {
            double away = 0.0;
            const uint32_t pixel = picture.at(int(place % width), int(place / width));
            const double part = along(pixel, own, other, &away);
            if (away < kSoftEdge)
                grey[place] = uint8_t(std::lround(255.0 * part));
        }
    };
    for (std::size_t place = 0; place < owners.size(); ++place) {
        if ((place + 1) % width != 0)
            settle(place, place + 1);
        if (place + width < owners.size())
            settle(place, place + width);
    }
    return grey;
}

} // namespace ztrace::strokes
