// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dashchains.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kReachWidths = 9.0; // widths, and pixels, to the next dash: a gap, a dot and a gap
const double kReachPixels = 8.0;
const double kReachPart = 0.8;   // of the last dash: noise takes dots, and ends of dashes
const double kMostReach = 160.0; // pixels
const double kMostLength = 60.0; // widths of a dash
const double kOffWidths = 0.3;   // widths and pixels that a dash may lie beside the carrier
const double kOffPixels = 0.7;
const double kOffAhead = 0.12; // of the way to it, while the carrier has few dashes
const std::size_t kFew = 4;
const double kTurn = 0.12; // sine between dash and carrier, and pixels of error at its ends
const double kTurnPixels = 1.0;
const double kWidthPart = 0.4; // of the width that dashes differ by, and pixels
const double kWidthPixels = 1.0;
const double kRms = 0.35; // pixels, and sigmas, that the dashes' middles lie off
const double kRmsSigmas = 2.0;
const double kDotLength = 0.6; // widths between the outermost cross-sections of a dot
const double kDotWeight = 4.0; // cross-sections that a dot counts as
const double kDotWidths = 2.6; // widths of a line that a dot is long at most, and pixels
const double kDotPixels = 2.0;
// Dashes of a circle that have no bend of their own: part of their length that they differ by,
// widths that they are long, radians between two of them at most, and of error.
const double kAlike = 0.3;
const double kChordWidths = 4.0;
const double kMostBend = 0.6;
const double kBendError = 0.04;
const std::size_t kMostTries = 4; // candidates that are looked at for the next dash

bool isOnePen(double width, const Dash &other)
{
    if (other.isDot())
        return other.width < kDotWidths * width + kDotPixels
            && other.width > width / kDotWidths - kDotPixels;
    return std::fabs(width - other.width) < kWidthPart * width + kWidthPixels;
}

bool goesAlong(const Chain &chain, const Dash &other, int near, Point heading)
{
    if (other.isDot())
        return true;
    const Point axis = near == 0 ? other.axis : -1.0 * other.axis;
    const Point middle = 0.5 * (other.end[0] + other.end[1]);
    Point tangent = chain.carrier.tangent(middle);
    if (fit::dot(tangent, heading) < 0)
        tangent = -1.0 * tangent;
    const double few = chain.dashes.size() < kFew ? 1.0 : 0.5;
    return fit::dot(axis, tangent) > 0.5
        && std::fabs(fit::cross(axis, tangent))
        < few * kTurn + kTurnPixels / std::max(1.0, other.length());
}

void turnAround(Chain *chain)
{
    std::reverse(chain->dashes.begin(), chain->dashes.end());
    for (Next &next : chain->dashes)
        next.near = 1 - next.near;
}

} // namespace

DashChains::DashChains(const Measure &m, Web *w, const std::vector<Dot> &dots) : measure(m), web(*w)
{
    takeAtoms();
    takeDots(dots);
    for (std::size_t k = 0; k < dashes.size(); ++k)
        enterBoth(int(k));
}

void DashChains::enter(int number, int end)
{
    const Point p = dash(number).end[end];
    grid[keyOf(dashCellAt(p.x), dashCellAt(p.y))].push_back(2 * number + end);
}

void DashChains::takeAtoms()
{
    for (std::size_t k = 0; k < web.atoms.size(); ++k)
        takeAtom(int(k));
}

void DashChains::takeAtom(int number)
{
    const Atom &atom = web.atoms[std::size_t(number)];
    if (!atom.alive || atom.shape > Shape::Arc || atom.samples.size() < 2 || atom.role != Role::Line
        || atom.dashing.type != DashType::None)
        return;
    Dash one;
    one.end[0] = atom.samples.front().centre;
    one.end[1] = atom.samples.back().centre;
    one.width = atom.width;
    one.atom = number;
    one.moments = atom.moments;
    const double length = one.length();
    if (length < kDotLength * atom.width) {
        // As good as round: it tells no direction.
        const Point middle = atom.samples[atom.samples.size() / 2].centre;
        dashes.push_back(dotAt(middle, atom.width, number));
        return;
    }
    if (!(length > 0.5) || length > kMostLength * std::max(2.0, atom.width))
        return;
    one.axis = (1 / length) * (one.end[1] - one.end[0]);
    dashes.push_back(one);
}

void DashChains::add(int atom, int cutEnd)
{
    const std::size_t before = dashes.size();
    takeAtom(atom);
    if (dashes.size() == before)
        return;
    inChain.resize(dashes.size(), 0);
    dashes.back().isCut[cutEnd] = true;
    enterBoth(int(before));
}

void DashChains::enterBoth(int number)
{
    enter(number, 0);
    if (!dash(number).isDot())
        enter(number, 1);
}

Dash DashChains::dotAt(Point centre, double width, int atom) const
{
    Dash one;
    one.end[0] = one.end[1] = centre;
    one.width = width;
    one.atom = atom;
    one.moments.ox = centre.x;
    one.moments.oy = centre.y;
    addTo(&one.moments, centre, kDotWeight * measure.weight());
    return one;
}

void DashChains::takeDots(const std::vector<Dot> &dots)
{
    for (const Dot &dot : dots) {
        dashes.push_back(dotAt(dot.centre, std::sqrt(dot.length[0] * dot.length[1]), -1));
    }
}

std::vector<Next> DashChains::candidates(const Chain &chain, Point from, Point heading) const
{
    std::vector<Next> found;
    const double reach = std::min(kMostReach,
                                  std::max(kReachWidths * chain.width + kReachPixels,
                                           kReachPart * dash(chain.dashes.back().dash).length()));
    const double straying = chain.dashes.size() < kFew ? kOffAhead : 0.3 * kOffAhead;
    for (int y = dashCellAt(from.y - reach); y <= dashCellAt(from.y + reach); ++y) {
        for (int x = dashCellAt(from.x - reach); x <= dashCellAt(from.x + reach); ++x) {
            const auto cell = grid.find(keyOf(x, y));
            if (cell == grid.end())
                continue;
            for (int entry : cell->second) {
                const Dash &other = dash(entry / 2);
                const int near = entry % 2;
                const Point way = other.end[near] - from;
                const double ahead = fit::dot(way, heading);
                if (other.isUsed || ahead < 0.5 || ahead > reach || !isOnePen(chain.width, other))
                    continue;
                const double off = kOffWidths * chain.width + kOffPixels + straying * ahead;
                const double beside = std::fabs(chain.carrier.distance(other.end[near]));
                const bool along = beside < off && goesAlong(chain, other, near, heading);
                if (!along && !bendsOn(chain, other, near, heading))
                    continue;
                found.push_back({ entry / 2, near, ahead + (along ? 4 * beside : reach) });
            }
        }
    }
    std::sort(found.begin(), found.end(), [](const Next &a, const Next &b) {
        return a.rank < b.rank || (a.rank == b.rank && a.dash < b.dash);
    });
    return found;
}

// Whether the only dash of a chain, drawn as a line, and another one are chords of one circle: the
// way from middle to middle turns half as far as the dashes do. In noise the dashes of wide circles
// tell no bend of their own.
bool DashChains::bendsOn(const Chain &chain, const Dash &other, int near, Point heading) const
{
    if (chain.dashes.size() > 1 || chain.carrier.arc || chain.areDots || other.isDot())
        return false;
    const Dash &one = dash(chain.dashes.front().dash);
    if (std::fabs(one.length() - other.length()) > kAlike * std::max(one.length(), other.length())
        || std::min(one.length(), other.length()) < kChordWidths * chain.width)
        return false;
    const Point axis = near == 0 ? other.axis : -1.0 * other.axis;
    const Point way = 0.5 * (other.end[0] + other.end[1]) - 0.5 * (one.end[0] + one.end[1]);
    const double turn = std::atan2(fit::cross(heading, axis), fit::dot(heading, axis));
    const double half = std::atan2(fit::cross(heading, way), fit::dot(heading, way));
    return std::fabs(turn) < kMostBend
        && std::fabs(turn - 2 * half) < kBendError + 2 * kTurnPixels / one.length();
}

Point DashChains::lastOf(const Chain &chain) const
{
    const Next &last = chain.dashes.back();
    return dash(last.dash).end[1 - last.near];
}

Point DashChains::headingOf(const Chain &chain) const
{
    const Next &last = chain.dashes.back();
    const Point at = lastOf(chain);
    Point before = dash(last.dash).end[last.near];
    if (chain.dashes.size() > 1 && lengthOf(at - before) < 2.0) {
        const Next &other = chain.dashes[chain.dashes.size() - 2];
        before = dash(other.dash).end[other.near];
    }
    Point tangent = chain.carrier.tangent(at);
    if (fit::dot(tangent, at - before) < 0)
        tangent = -1.0 * tangent;
    return tangent;
}

bool DashChains::append(Chain *chain, const Next &next)
{
    const Dash &other = dash(next.dash);
    const fit::Moments sum = together(chain->moments, other.moments);
    fit::Primitive carrier = {};
    double cost = 0.0;
    const Next &front = chain->dashes.front();
    const Point first = dash(front.dash).end[front.near];
    const Point last = other.end[1 - next.near];
    if (!cheapest(sum, measure, first, last, &carrier, &cost))
        return false;
    // A few dots lie on any circle.
    if (carrier.arc && chain->areDots && other.isDot() && chain->dashes.size() < kFewDots)
        carrier = fit::lineOf(sum, fit::lineMoments(sum), first, last);
    const double rms = std::sqrt(std::max(0.0, carrier.chi2) / sum.w);
    if (rms > kRms + kRmsSigmas * measure.sigma)
        return false;
    if (carrier.arc && carrier.radius < 3 * chain->width)
        return false;
    chain->moments = sum;
    chain->carrier = carrier;
    chain->dashes.push_back(next);
    chain->areDots = chain->areDots && other.isDot();
    inChain[std::size_t(next.dash)] = stamp;
    return true;
}

void DashChains::growAhead(Chain *chain)
{
    for (bool grown = true; grown;) {
        grown = false;
        const std::vector<Next> ahead = candidates(*chain, lastOf(*chain), headingOf(*chain));
        std::size_t tries = 0;
        for (const Next &next : ahead) {
            if (next.dash == chain->dashes.front().dash && chain->dashes.size() > 2
                && chain->carrier.arc) {
                chain->closed = true;
                return;
            }
            if (isIn(*chain, next.dash))
                continue;
            if (++tries > kMostTries)
                break;
            if (append(chain, next)) {
                grown = true;
                break;
            }
        }
    }
}

std::vector<Next> DashChains::dotsAround(int number) const
{
    const Dash &seed = dash(number);
    const double reach = kReachWidths * seed.width + kReachPixels;
    std::vector<Next> near;
    for (int y = dashCellAt(seed.end[0].y - reach); y <= dashCellAt(seed.end[0].y + reach); ++y) {
        for (int x = dashCellAt(seed.end[0].x - reach); x <= dashCellAt(seed.end[0].x + reach);
             ++x) {
            const auto cell = grid.find(keyOf(x, y));
            if (cell == grid.end())
                continue;
            for (int entry : cell->second) {
                const Dash &other = dash(entry / 2);
                const double away = lengthOf(other.end[0] - seed.end[0]);
                if (entry / 2 != number && other.isDot() && !other.isUsed && away < reach
                    && away > 1.0 && isOnePen(seed.width, other))
                    near.push_back({ entry / 2, 0, away });
            }
        }
    }
    std::sort(near.begin(), near.end(), [](const Next &a, const Next &b) {
        return a.rank < b.rank || (a.rank == b.rank && a.dash < b.dash);
    });
    near.resize(std::min(near.size(), kMostTries));
    return near;
}

Chain DashChains::chainFrom(int number)
{
    inChain.resize(dashes.size(), 0);
    ++stamp;
    inChain[std::size_t(number)] = stamp;
    Chain chain;
    chain.dashes.push_back({ number, 0, 0.0 });
    chain.moments = dash(number).moments;
    chain.width = dash(number).width;
    chain.areDots = dash(number).isDot();
    if (!chain.areDots)
        chain.carrier = web.atoms[std::size_t(dash(number).atom)].carrier;
    return chain;
}

void DashChains::grow(Chain *chain)
{
    growAhead(chain);
    if (chain->closed)
        return;
    turnAround(chain);
    growAhead(chain);
}

} // namespace ztrace::strokes
