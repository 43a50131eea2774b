// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/dashparting.h"

#include "strokes/dashheir.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Dashes that tell how long the outer ones are, and the part of them and of the gaps that are
// alike: within these parts of the usual ones and pixels.
const std::size_t kLeastAlike = 3;
const double kAlikePart = 0.7;
const double kDashPart = 0.12;
const double kGapPart = 0.3;
const double kSlack = 2.0;
// Part of a dash by which an outer one is longer at least: noise and crossings add less.
const double kLongerPart = 0.35;
// Dashes that an outer one is long at most where few tell: three strokes in a row with a long line
// are the grid of a valve and its lead.
const double kTwoDashes = 2.2;
const double kJoinedPart = 0.3;   // of a gap, that two dashes and the gap between them differ by
const std::size_t kLeastRest = 3; // cross-sections of either part of a parted dash
const double kBeside = 0.5;       // pixels, and half the width, that a dash lies beside its row

double median(std::vector<double> values)
{
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::size_t alikeOf(const std::vector<double> &values, double usual, double part)
{
    return std::size_t(std::count_if(values.begin(), values.end(), [=](double v) {
        return std::fabs(v - usual) < part * usual + kSlack;
    }));
}

// Which end of a chain's first or last dash is its outer one.
int outerEndOf(const Chain &chain, int side)
{
    return side == 0 ? chain.dashes.front().near : 1 - chain.dashes.back().near;
}

int outerDashOf(const Chain &chain, int side)
{
    return (side == 0 ? chain.dashes.front() : chain.dashes.back()).dash;
}

bool isBeyond(double at, const std::vector<Run> &runs, int side)
{
    return side == 0 ? at < runs.front().from : at > runs.back().to;
}

// How many cross-sections at an end of an atom lie beyond a row.
std::size_t beyondOf(const Atom &atom, int end, const Track &track, const std::vector<Run> &runs,
                     int side)
{
    const std::size_t n = atom.samples.size();
    std::size_t count = 0;
    while (count < n) {
        const std::size_t k = end == 0 ? count : n - 1 - count;
        if (!isBeyond(track.lengthAt(atom.samples[k].centre), runs, side))
            break;
        ++count;
    }
    return count;
}

// Takes cross-sections from an end of an atom; the new atom has them and what is at that end.
int partAtom(int number, int end, std::size_t count, const Measure &measure, Web *web)
{
    Atom rest = web->atoms[std::size_t(number)];
    Atom &kept = web->atoms[std::size_t(number)];
    const std::ptrdiff_t from
        = end == 0 ? 0 : std::ptrdiff_t(kept.samples.size()) - std::ptrdiff_t(count);
    const auto first = kept.samples.begin() + from;
    rest.samples.assign(first, first + std::ptrdiff_t(count));
    kept.samples.erase(first, first + std::ptrdiff_t(count));
    rest.joint[1 - end] = -1;
    kept.joint[end] = -1;
    refit(&rest, measure);
    refit(&kept, measure);
    const int added = int(web->atoms.size());
    if (rest.joint[end] >= 0) {
        for (AtomEnd &other : web->meetings[std::size_t(rest.joint[end])].ends) {
            if (other.atom == number && other.end == end)
                other.atom = added;
        }
    }
    web->atoms.push_back(std::move(rest));
    return added;
}

// A dashed line or arc that an atom lies on, from its first to its last dash; -1 for none.
int rowOver(const Atom &atom, const Web &web)
{
    for (std::size_t k = 0; k < web.atoms.size(); ++k) {
        const Atom &row = web.atoms[k];
        if (!row.alive || row.dashing.type == DashType::None || row.shape > Shape::Arc)
            continue;
        const Track track(row.carrier, row.inkEnd[0], row.samples[row.samples.size() / 2].centre);
        const double length = track.lengthAt(row.inkEnd[1]);
        if (std::all_of(atom.samples.begin(), atom.samples.end(), [&](const Section &section) {
                const double at = track.lengthAt(section.centre);
                return at > -kSlack && at < length + kSlack
                    && std::fabs(row.carrier.distance(section.centre)) < 0.5 * row.width + kBeside;
            }))
            return int(k);
    }
    return -1;
}

void refitChain(const Measure &measure, const DashChains &chains, Chain *chain)
{
    fit::Moments sum = chains.dash(chain->dashes.front().dash).moments;
    for (std::size_t k = 1; k < chain->dashes.size(); ++k)
        sum = together(sum, chains.dash(chain->dashes[k].dash).moments);
    const Next &front = chain->dashes.front();
    const Next &back = chain->dashes.back();
    double cost = 0.0;
    chain->moments = sum;
    cheapest(sum, measure, chains.dash(front.dash).end[front.near],
             chains.dash(back.dash).end[1 - back.near], &chain->carrier, &cost);
}

} // namespace

OuterCuts outerCutsOf(const Chain &chain, const DashChains &chains)
{
    OuterCuts cuts;
    for (int side = 0; side < 2; ++side)
        cuts.at[side] = chains.dash(outerDashOf(chain, side)).isCut[outerEndOf(chain, side)];
    return cuts;
}

void settleCuts(const OuterCuts &cuts, std::vector<Run> *runs)
{
    if (runs->size() < 3 || !cuts.any())
        return;
    std::vector<double> lengths;
    for (std::size_t k = 0; k < runs->size(); ++k) {
        if (!(k == 0 && cuts.at[0]) && !(k + 1 == runs->size() && cuts.at[1]))
            lengths.push_back((*runs)[k].length());
    }
    const double dash = median(lengths);
    if (cuts.at[0])
        runs->front().from = runs->front().to - dash;
    if (cuts.at[1])
        runs->back().to = runs->back().from + dash;
}

OuterCuts cutOuterRuns(std::vector<Run> *runs)
{
    OuterCuts cuts;
    if (runs->size() < kLeastAlike + 1)
        return cuts;
    std::vector<double> dashes, gaps;
    for (std::size_t k = 0; k < runs->size(); ++k) {
        dashes.push_back((*runs)[k].length());
        if (k > 0)
            gaps.push_back((*runs)[k].from - (*runs)[k - 1].to);
    }
    const double dash = median(dashes);
    const double gap = median(gaps);
    const std::size_t alike = alikeOf(dashes, dash, kDashPart);
    if (alike < kLeastAlike || double(alike) < kAlikePart * double(dashes.size() - 2)
        || double(alikeOf(gaps, gap, kGapPart)) < kAlikePart * double(gaps.size()))
        return cuts;
    const auto goesOn = [&](const Run &run) {
        return run.length() > (1 + kLongerPart) * dash + kSlack
            && (alike > kLeastAlike || run.length() < kTwoDashes * dash)
            && std::fabs(run.length() - 2 * dash - gap) > kJoinedPart * gap;
    };
    if (goesOn(runs->front())) {
        cuts.at[0] = true;
        runs->front().from = runs->front().to - dash;
    }
    if (goesOn(runs->back())) {
        cuts.at[1] = true;
        runs->back().to = runs->back().from + dash;
    }
    return cuts;
}

bool partOuterDashes(const Track &track, const std::vector<Run> &runs, const OuterCuts &cuts,
                     const Measure &measure, Chain *chain, DashChains *chains, Web *web)
{
    std::size_t beyond[2] = { 0, 0 };
    for (int side = 0; side < 2; ++side) {
        const int number = chains->dash(outerDashOf(*chain, side)).atom;
        if (!cuts.at[side])
            continue;
        if (number < 0)
            return false;
        const Atom &atom = web->atoms[std::size_t(number)];
        beyond[side] = beyondOf(atom, outerEndOf(*chain, side), track, runs, side);
        if (beyond[side] < kLeastRest || atom.samples.size() < beyond[side] + kLeastRest)
            return false;
    }
    for (int side = 0; side < 2; ++side) {
        if (!cuts.at[side])
            continue;
        const int end = outerEndOf(*chain, side);
        const int number = chains->dash(outerDashOf(*chain, side)).atom;
        const int rest = partAtom(number, end, beyond[side], measure, web);
        Dash &kept = chains->dash(outerDashOf(*chain, side));
        kept.end[end] = track.placeAt(side == 0 ? runs.front().from : runs.back().to);
        kept.moments = web->atoms[std::size_t(number)].moments;
        kept.isCut[end] = true;
        const int row = rowOver(web->atoms[std::size_t(rest)], *web);
        if (row >= 0)
            goThrough(rest, row, web);
        else
            chains->add(rest, 1 - end);
    }
    refitChain(measure, *chains, chain);
    return true;
}

} // namespace ztrace::strokes
