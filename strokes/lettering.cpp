// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/lettering.h"

#include "strokes/forest.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_map>

namespace ztrace::strokes {

namespace {

const double kLeastWidths = 3.5; // widths of its line that a letter is high
const double kMostWidths = 24.0;
const double kLeastPixels = 6.0;
const double kMostPixels = 160.0;
const double kApart = 1.5;   // heights between the middles of neighbours
const double kOneSize = 1.5; // times that neighbours differ in height
const double kFormed = 1.3;  // widths that a letter's middle line spreads to either side of a line
const std::size_t kLeastLetters = 2;

struct Part
{
    Point low = { 1e300, 1e300 };
    Point high = { -1e300, -1e300 };
    std::vector<int> atoms;
    fit::Moments moments = {};
    double width = 0.0;
    bool isWhole = false; // a circle or an ellipse and nothing else
    bool isCross = false; // two lines or arcs that cross, and nothing else

    void add(Point p)
    {
        low = { std::min(low.x, p.x), std::min(low.y, p.y) };
        high = { std::max(high.x, p.x), std::max(high.y, p.y) };
    }
    double size() const { return std::max(high.x - low.x, high.y - low.y) + width; }
    // Of a bar with the same spread across its main direction.
    double breadth() const { return std::sqrt(12 * fit::lineMoments(moments).least); }
    Point middle() const { return 0.5 * (low + high); }
    // Neither a dash nor a hole: a letter, if it has company.
    bool isFormed() const { return !isWhole && !isCross && breadth() > kFormed * width; }
};

int living(const Web &web, int number)
{
    while (number >= 0 && !web.atoms[std::size_t(number)].alive)
        number = web.atoms[std::size_t(number)].heir;
    return number;
}

// Whether nothing ends at another line of a part but what goes on behind it: two dashes that cross
// are as large as letters, and stand in rows. So does a + in a row of letters, which has enough of
// them around it.
bool isCrossOfTwo(const Web &web, const Part &part)
{
    if (part.atoms.size() != 2)
        return false;
    return std::none_of(part.atoms.begin(), part.atoms.end(), [&web](int number) {
        const Atom &atom = web.atoms[std::size_t(number)];
        return std::any_of(std::begin(atom.joint), std::end(atom.joint), [&web](int joint) {
            return joint >= 0 && web.joints[std::size_t(joint)].kind != JointKind::Tip;
        });
    });
}

// What hangs together by joints.
std::vector<Part> partsOf(const Web &web)
{
    std::vector<int> parent(web.atoms.size());
    std::iota(parent.begin(), parent.end(), 0);
    for (const Meeting &meeting : web.meetings) {
        int first = -1;
        const auto join = [&](int number) {
            const int atom = living(web, number);
            if (atom >= 0 && first >= 0)
                unite(&parent, first, atom);
            first = first < 0 ? atom : first;
        };
        for (const AtomEnd &end : meeting.ends)
            join(end.atom);
        for (int through : meeting.through)
            join(through);
    }
    std::vector<int> partOf(web.atoms.size(), -1);
    std::vector<Part> parts;
    for (std::size_t k = 0; k < web.atoms.size(); ++k) {
        const Atom &atom = web.atoms[k];
        if (!atom.alive)
            continue;
        int &number = partOf[std::size_t(rootOf(&parent, int(k)))];
        if (number < 0) {
            number = int(parts.size());
            parts.emplace_back();
        }
        Part &part = parts[std::size_t(number)];
        part.atoms.push_back(int(k));
        part.width = std::max(part.width, atom.width);
        part.isWhole = part.atoms.size() == 1 && atom.shape >= Shape::Circle;
        for (const Section &section : atom.samples)
            part.add(section.centre);
        part.moments = part.atoms.size() == 1 ? atom.moments : together(part.moments, atom.moments);
    }
    for (Part &part : parts)
        part.isCross = isCrossOfTwo(web, part);
    return parts;
}

bool isLetterSized(const Part &part)
{
    const double size = part.size();
    return size >= std::max(kLeastPixels, kLeastWidths * part.width)
        && size <= std::min(kMostPixels, kMostWidths * part.width);
}

bool areNeighbours(const Part &a, const Part &b)
{
    const double large = std::max(a.size(), b.size());
    const double small = std::min(a.size(), b.size());
    const Point d = b.middle() - a.middle();
    return large < kOneSize * small && std::hypot(d.x, d.y) < kApart * large;
}

typedef std::unordered_map<int64_t, std::vector<int>> Grid;

int64_t keyOf(int64_t x, int64_t y)
{
    return x * (int64_t(1) << 32) + y;
}

int64_t cellAt(double v)
{
    return int64_t(std::floor(v / (kApart * kMostPixels)));
}

// Unites neighbours of letters. Parts in a cell of the grid are looked at in the order of their
// middles, so that dense pages do not cost the square of their letters.
void group(const std::vector<Part> &parts, const std::vector<int> &letters,
           std::vector<int> *parent)
{
    Grid grid;
    for (int k : letters) {
        const Point m = parts[std::size_t(k)].middle();
        grid[keyOf(cellAt(m.x), cellAt(m.y))].push_back(k);
    }
    for (auto &cell : grid) {
        std::sort(cell.second.begin(), cell.second.end(), [&](int a, int b) {
            const double x = parts[std::size_t(a)].middle().x;
            const double y = parts[std::size_t(b)].middle().x;
            return x < y || (!(y < x) && a < b);
        });
    }
    for (int k : letters) {
        const Part &part = parts[std::size_t(k)];
        const Point m = part.middle();
        const double reach = kApart * kOneSize * part.size();
        for (int64_t y = cellAt(m.y - reach); y <= cellAt(m.y + reach); ++y) {
            for (int64_t x = cellAt(m.x - reach); x <= cellAt(m.x + reach); ++x) {
                const auto cell = grid.find(keyOf(x, y));
                if (cell == grid.end())
                    continue;
                auto other = std::lower_bound(
                    cell->second.begin(), cell->second.end(), m.x - reach,
                    [&](int a, double at) { return parts[std::size_t(a)].middle().x < at; });
                for (; other != cell->second.end()
                     && parts[std::size_t(*other)].middle().x <= m.x + reach;
                     ++other) {
                    const Part &neighbour = parts[std::size_t(*other)];
                    if (*other > k && (part.isFormed() || neighbour.isFormed())
                        && areNeighbours(part, neighbour))
                        unite(parent, k, *other);
                }
            }
        }
    }
}

} // namespace

void takeLettering(Web *web)
{
    const std::vector<Part> parts = partsOf(*web);
    std::vector<int> letters;
    for (std::size_t k = 0; k < parts.size(); ++k) {
        if (isLetterSized(parts[k]))
            letters.push_back(int(k));
    }
    std::vector<int> parent(parts.size());
    std::iota(parent.begin(), parent.end(), 0);
    group(parts, letters, &parent);
    std::vector<std::size_t> formed(parts.size(), 0);
    for (int k : letters)
        formed[std::size_t(rootOf(&parent, k))] += parts[std::size_t(k)].isFormed() ? 1u : 0u;
    for (int k : letters) {
        if (formed[std::size_t(rootOf(&parent, k))] < kLeastLetters)
            continue;
        for (int atom : parts[std::size_t(k)].atoms)
            web->atoms[std::size_t(atom)].role = Role::Text;
    }
}

} // namespace ztrace::strokes
