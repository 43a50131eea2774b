// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/hiddenends.h"

#include "strokes/ellipses.h"
#include "strokes/ends.h"
#include "strokes/pieces.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5; // pixels between places that are compared
// How far an end may lie off, in widths and pixels, and what of a line may be taken from one end:
// lines that meet at ten degrees share their ink for six widths.
const double kReachWidths = 2.0;
const double kReachPixels = 6.0;
const double kMostOfLength = 0.4;
// Pixels of ink or paper, squared errors summed up, that another place has to explain, and more for
// each pixel of width. In greys ends that are where they were put gain .1 at most, those 4 pixels
// short of a line's middle .8 and those 9 pixels off at 18 degrees .44 to 1.2; steps of one bit
// make up to .55 of nothing.
struct Gain
{
    double least = 0.0;
    double ofWidth = 0.0;
};
const Gain kSoftGain = { 0.25, 0.03 };
const Gain kHardGain = { 0.8, 0.12 };
const double kLeastMoved = 1.4;  // pixels; less leaves lines that meet beside each other
const double kAsGood = 0.25;     // of the least gain that places may differ by and be as good
const double kCovered = 0.5;     // of an end by others, from which on it is hidden
const double kCorner = 1.2;      // widths that the ends of a corner are apart at most
const double kStubWidths = 2.0;  // that a short stroke at an end may be long and be its ink
const double kSpeckWidths = 0.5; // that a stroke in the ink of others is less than long and none
const double kTangent = 0.25;    // sine of the angle of lines that go on as arcs
const double kBeside = 1.5;      // pixels from the edges to what is to be paper
const double kMostBeside = 0.3;  // ink a pixel of the length there that nothing explains
const int kCell = 64;            // pixels of the grid that neighbours are found by
const double kEntered = 8.0;     // pixels along a line between the places that are entered there
const std::size_t kLeastSamples = 4;

double square(double value)
{
    return value * value;
}

double ramp(double inside)
{
    return std::clamp(0.5 + inside, 0.0, 1.0);
}

// How much of the ink a line leaves at a place, between its ends and beyond.
struct InkOf
{
    double within = 0.0;
    double endless = 0.0; // as if it had no ends
};

// Radians of an arc that its end may move at most, and places on the way that tell where it lies.
const double kMostTurn = 1.0;
const int kPlacesOfBox = 8;

class HiddenEnds
{
public:
    HiddenEnds(const Coverage &c, bool hard, bool r, Web *w)
        : coverage(c), needed(hard ? kHardGain : kSoftGain), round(r), web(*w)
    { }

    void settle()
    {
        for (std::size_t k = 0; k < web.atoms.size(); ++k)
            enter(int(k));
        std::sort(grid.begin(), grid.end());
        grid.erase(std::unique(grid.begin(), grid.end()), grid.end());
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            for (int end = 0; end < 2; ++end)
                settleEnd(int(k), end);
        }
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            Atom &atom = web.atoms[k];
            if (canMove(atom) && lengthOf(pieceOf(atom)) < kSpeckWidths * atom.width
                && isCovered(int(k)))
                atom.alive = false;
        }
    }

private:
    struct Entry
    {
        int64_t cell;
        int atom;
        bool operator<(const Entry &o) const
        {
            return cell < o.cell || (cell == o.cell && atom < o.atom);
        }
        bool operator==(const Entry &o) const { return cell == o.cell && atom == o.atom; }
    };

    static int64_t cellOf(int column, int row)
    {
        return int64_t(row) * (int64_t(1) << 24) + column;
    }

    void enterAt(Point p, double reach, int number)
    {
        const auto index = [](double v) { return int(std::floor(v / kCell)); };
        for (int row = index(p.y - reach); row <= index(p.y + reach); ++row) {
            for (int column = index(p.x - reach); column <= index(p.x + reach); ++column) {
                const Entry entry = { cellOf(column, row), number };
                if (grid.empty() || !(grid.back() == entry))
                    grid.push_back(entry);
            }
        }
    }

    void enter(int number)
    {
        const Atom &atom = web.atoms[std::size_t(number)];
        if (!atom.alive)
            return;
        const double reach = atom.width + kReachPixels;
        for (std::size_t k = 0; k < atom.samples.size(); k += std::size_t(kEntered))
            enterAt(atom.samples[k].centre, reach + kEntered, number);
        if (atom.shape != Shape::Line)
            return;
        const Point way = atom.place[1] - atom.place[0];
        const int steps = 1 + int(lengthOf(way) / kEntered);
        for (int k = 0; k <= steps; ++k)
            enterAt(atom.place[0] + (double(k) / steps) * way, reach, number);
    }

    std::vector<int> neighboursOf(Point p, int number) const
    {
        std::vector<int> found;
        const Entry first
            = { cellOf(int(std::floor(p.x / kCell)), int(std::floor(p.y / kCell))), -1 };
        for (auto k = std::lower_bound(grid.begin(), grid.end(), first);
             k != grid.end() && k->cell == first.cell; ++k) {
            if (k->atom != number)
                found.push_back(k->atom);
        }
        return found;
    }

    InkOf inkOf(const Atom &atom, Point p) const
    {
        InkOf result;
        const double half = 0.5 * atom.width;
        if (atom.shape == Shape::Ellipse) {
            result.within = result.endless = ramp(half - std::fabs(distanceFrom(atom.ellipse, p)));
            return result;
        }
        result.endless = ramp(half - std::fabs(atom.carrier.distance(p)));
        if (atom.shape == Shape::Circle) {
            result.within = result.endless;
            return result;
        }
        if (result.endless <= 0.0)
            return result;
        const double beyond = beyondEnds(atom, p);
        if (beyond <= 0.0) {
            result.within = result.endless * (round ? 1.0 : ramp(-beyond));
        } else if (round) {
            const double d = std::min(lengthOf(p - atom.place[0]), lengthOf(p - atom.place[1]));
            result.within = ramp(half - d);
        } else {
            result.within = result.endless * ramp(-beyond);
        }
        return result;
    }

    // Pixels along the carrier that a place lies beyond the nearer end; negative between them.
    static double beyondEnds(const Atom &atom, Point p)
    {
        if (atom.shape == Shape::Line) {
            const Point way = atom.place[1] - atom.place[0];
            const double length = std::max(1e-9, lengthOf(way));
            const double s = fit::dot(p - atom.place[0], way) / length;
            return std::max(-s, s - length);
        }
        const double pi = 3.14159265358979323846;
        const fit::ArcShape arc = fit::arcShape(pieceOf(atom));
        const Point arm = p - arc.centre;
        const double sign = arc.sweep < 0 ? -1.0 : 1.0;
        const double turn = sign * (std::atan2(arm.y, arm.x) - arc.startAngle - 0.5 * arc.sweep);
        const double aside = std::fabs(std::remainder(turn, 2 * pi));
        return (aside - 0.5 * std::fabs(arc.sweep)) * arc.radius;
    }

    // Whether both ends of a stroke lie in the ink of others.
    bool isCovered(int number) const
    {
        const Atom &atom = web.atoms[std::size_t(number)];
        for (Point place : atom.place) {
            double most = 0.0;
            for (int k : neighboursOf(place, number)) {
                const Atom &one = web.atoms[std::size_t(k)];
                if (one.alive && lengthOf(pieceOf(one)) > kSpeckWidths * one.width)
                    most = std::max(most, inkOf(one, place).within);
            }
            if (most < kCovered)
                return false;
        }
        return true;
    }

    bool canMove(const Atom &atom) const
    {
        return atom.alive && atom.shape <= Shape::Arc && !atom.connects
            && atom.dashing.type == DashType::None;
    }

    // What else may have left ink where a line ends. Of those that end in the same corner all that
    // their ink may reach is theirs: it is a mitre.
    struct Other
    {
        const Atom *atom = nullptr;
        bool isCorner = false;
    };
    struct Others
    {
        std::vector<Other> all;
        std::vector<int> stubs; // short strokes from here on that a longer line may explain
        bool isCorner = false;
        double hidden = 0.0; // how much of the end they cover
    };

    double othersAt(const Others &others, Point p, double picture) const
    {
        double most = 0.0;
        for (const Other &other : others.all) {
            const InkOf ink = inkOf(*other.atom, p);
            double part = other.isCorner ? ink.endless : ink.within;
            if (other.atom->dashing.type != DashType::None)
                part = std::min(part, picture);
            most = std::max(most, part);
        }
        return most;
    }

    // Squared errors of the picture for every place that an end may have, kStep apart, from `back`
    // pixels before its own on. `beside` is the ink beside the line that nothing explains.
    struct Costs
    {
        std::vector<double> error;
        std::vector<double> beside;
    };

    // A pixel, along the line from its end and across it.
    struct Seen
    {
        double u = 0.0;
        double v = 0.0;
        double picture = 0.0;
        double other = 0.0;
    };

    // The pixels that the end may cover in any of its places, and those beside them.
    std::vector<Seen> pixelsAround(const Atom &atom, int end, double back, double reach,
                                   const Others &others) const
    {
        const Point place = atom.place[end];
        const double half = 0.5 * atom.width;
        const double far = half + kBeside + 0.7;
        fit::Box box = { place, place };
        for (int k = 0; k <= kPlacesOfBox; ++k) {
            const double u = -back + (back + reach + half) * k / kPlacesOfBox;
            const Point p = placeAlong(atom, end, u);
            box.low = { std::min(box.low.x, p.x), std::min(box.low.y, p.y) };
            box.high = { std::max(box.high.x, p.x), std::max(box.high.y, p.y) };
        }
        const int left = int(std::floor(box.low.x - far));
        const int right = int(std::ceil(box.high.x + far));
        const int top = int(std::floor(box.low.y - far));
        const int bottom = int(std::ceil(box.high.y + far));
        std::vector<Seen> seen;
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                const Point p = { x + 0.5, y + 0.5 };
                Seen pixel;
                pixel.v = atom.carrier.distance(p);
                pixel.u = pixelsAlong(atom, end, place, p);
                if (std::fabs(pixel.v) > far || pixel.u < -back || pixel.u > reach + half)
                    continue;
                pixel.picture = coverage.ofPixel(x, y);
                pixel.other = othersAt(others, p, pixel.picture);
                seen.push_back(pixel);
            }
        }
        return seen;
    }

    // How much of a pixel a line covers that ends at u = 0.
    double covered(double u, double v, double half) const
    {
        if (!round)
            return ramp(half - std::fabs(v)) * ramp(-u);
        return ramp(half - (u > 0.0 ? std::hypot(u, v) : std::fabs(v)));
    }

    Costs costsOf(const Atom &atom, const std::vector<Seen> &seen, double back, double reach) const
    {
        const double half = 0.5 * atom.width;
        const std::size_t places = std::size_t((back + reach) / kStep) + 1;
        Costs costs;
        costs.error.assign(places, 0.0);
        costs.beside.assign(places, 0.0);
        std::vector<double> onwards(places + 1, 0.0); // of pixels that all further places cover
        for (const Seen &pixel : seen) {
            const double v = std::fabs(pixel.v);
            const double without = square(pixel.picture - pixel.other);
            const auto at = [&](double u) {
                return std::size_t(std::clamp((u + back) / kStep, 0.0, double(places)));
            };
            if (v > half + 0.5) {
                if (v > half + kBeside - 0.7 && pixel.picture > pixel.other)
                    costs.beside[std::min(at(pixel.u), places - 1)] += pixel.picture - pixel.other;
                continue;
            }
            const std::size_t first = at(pixel.u - half - 1.0);
            const std::size_t last = at(pixel.u + 1.0);
            for (std::size_t k = first; k < last; ++k) {
                const double own = covered(pixel.u + back - double(k) * kStep, v, half);
                costs.error[k] += square(pixel.picture - std::max(pixel.other, own)) - without;
            }
            onwards[last]
                += square(pixel.picture - std::max(pixel.other, ramp(half - v))) - without;
        }
        double sum = 0.0;
        for (std::size_t k = 0; k < places; ++k) {
            sum += onwards[k];
            costs.error[k] += sum;
        }
        return costs;
    }

    // Whether a line and an arc that meet are tangents, nearly.
    static bool goesOnAs(const Atom &atom, int end, const Atom &other)
    {
        const Point place = atom.place[end];
        return (atom.carrier.arc || other.carrier.arc)
            && std::fabs(fit::cross(atom.carrier.tangent(place), other.carrier.tangent(place)))
            < kTangent;
    }

    // Pixels outwards along the carrier from beside one place to beside another one; of arcs up to
    // half a turn.
    static double pixelsAlong(const Atom &atom, int end, Point from, Point to)
    {
        const Point out = outwardsOf(atom, end);
        if (!atom.carrier.arc)
            return fit::dot(atom.carrier.foot(to) - from, out);
        const Point centre = atom.carrier.point;
        const double turn = std::atan2(fit::cross(from - centre, to - centre),
                                       fit::dot(from - centre, to - centre));
        const bool isPositive = fit::cross(lastOf(atom, end) - centre, out) > 0;
        return (isPositive ? turn : -turn) * atom.carrier.radius;
    }

    static Point lastOf(const Atom &atom, int end)
    {
        return end == 0 ? atom.samples.front().centre : atom.samples.back().centre;
    }

    // A place on the carrier that many pixels outwards from the end.
    static Point placeAlong(const Atom &atom, int end, double pixels)
    {
        const double from = pixelsAlong(atom, end, lastOf(atom, end), atom.place[end]);
        return alongCarrier(atom, end, from + pixels);
    }

    // Whether a stroke is no longer than the form of an end of the line, and leads nowhere.
    bool isStubOf(const Atom &atom, int end, const Atom &one) const
    {
        const auto isFree = [this](int joint) {
            return joint < 0 || web.joints[std::size_t(joint)].kind == JointKind::Tip;
        };
        const double near = atom.width;
        const bool begins = lengthOf(one.place[0] - atom.place[end]) < near;
        const bool ends = lengthOf(one.place[1] - atom.place[end]) < near;
        return one.shape <= Shape::Arc && one.dashing.type == DashType::None && begins != ends
            && isFree(one.joint[begins ? 1 : 0])
            && lengthOf(pieceOf(one)) < kStubWidths * atom.width;
    }

    // Takes stubs away that lie in the ink of a line that has become longer.
    void dropStubs(const Others &others, const Atom &atom)
    {
        for (int k : others.stubs) {
            Atom &stub = web.atoms[std::size_t(k)];
            if (std::all_of(stub.samples.begin(), stub.samples.end(), [&](const Section &s) {
                    return inkOf(atom, s.centre).within > 0.0
                        || othersAt(others, s.centre, 1.0) > 0.0;
                }))
                stub.alive = false;
        }
    }

    Others othersOf(const Atom &atom, int number, int end, bool *isTangent) const
    {
        const Point place = atom.place[end];
        Others others;
        for (int k : neighboursOf(place, number)) {
            const Atom &one = web.atoms[std::size_t(k)];
            if (!one.alive)
                continue;
            if (isStubOf(atom, end, one)) {
                others.stubs.push_back(k);
                continue;
            }
            const bool meets = one.shape <= Shape::Arc && one.dashing.type == DashType::None
                && std::min(lengthOf(one.place[0] - place), lengthOf(one.place[1] - place))
                    < kCorner * 0.5 * (one.width + atom.width);
            *isTangent = *isTangent || (meets && goesOnAs(atom, end, one));
            others.isCorner = others.isCorner || meets;
            others.hidden = std::max(others.hidden, inkOf(one, place).within);
            others.all.push_back({ &one, meets });
        }
        return others;
    }

    void settleEnd(int number, int end)
    {
        Atom &atom = web.atoms[std::size_t(number)];
        if (!canMove(atom) || atom.samples.size() < kLeastSamples)
            return;
        bool isTangent = false;
        const Others others = othersOf(atom, number, end, &isTangent);
        const bool onPaper = coverage.at(atom.place[end]) < kCovered;
        if (isTangent || (others.hidden < kCovered && !onPaper))
            return;
        double reach = kReachWidths * atom.width + kReachPixels;
        if (atom.carrier.arc)
            reach = std::min(reach, kMostTurn * atom.carrier.radius);
        const double back = std::min(reach, kMostOfLength * lengthOf(pieceOf(atom)));
        const Costs costs
            = costsOf(atom, pixelsAround(atom, end, back, reach, others), back, reach);
        const std::size_t own = std::size_t(back / kStep);
        const std::size_t best = bestOf(costs, own, atom.width);
        const double moved = double(best) * kStep - back;
        if (best + 1 == costs.error.size()) // it goes on
            return;
        if (best == own || std::fabs(moved) < kLeastMoved || isBeside(costs, own, best))
            return;
        atom.place[end] = placeAlong(atom, end, moved);
        if (moved > 0.0)
            dropStubs(others, atom);
    }

    // The place that explains the picture best, the nearest of those that are as good; `own` where
    // none is much better.
    std::size_t bestOf(const Costs &costs, std::size_t own, double width) const
    {
        const auto least = std::min_element(costs.error.begin(), costs.error.end());
        if (costs.error[own] - *least < needed.least + needed.ofWidth * width)
            return own;
        std::size_t best = std::size_t(least - costs.error.begin());
        const double good = *least + kAsGood * needed.least;
        while (best != own && costs.error[best < own ? best + 1 : best - 1] < good)
            best = best < own ? best + 1 : best - 1;
        return best;
    }

    // Whether a longer line would cover a part of wider ink.
    static bool isBeside(const Costs &costs, std::size_t own, std::size_t best)
    {
        if (best <= own)
            return false;
        double beside = 0.0;
        for (std::size_t k = own; k <= best; ++k)
            beside += costs.beside[k];
        return beside > kMostBeside * kStep * double(best - own + 1);
    }

    const Coverage &coverage;
    const Gain needed;
    const bool round;
    Web &web;
    std::vector<Entry> grid;
};

} // namespace

void settleHiddenEnds(const Coverage &coverage, bool hard, bool roundEnds, Web *web)
{
    HiddenEnds(coverage, hard, roundEnds, web).settle();
}

} // namespace ztrace::strokes
