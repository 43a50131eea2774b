// (c) the ztrace developers. Licence: see LICENSE.
//
// The stops of a ramp: docs/imaging/ramps.md, "Fit".
#include "rampfit.h"

#include "ramphats.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ztrace {

namespace {

const std::size_t kBins = 96;    // what is left is averaged over so many distances
const double kSureOfNoise = 3.0; // deviations of a mean of pixels

} // namespace

void extendEnds(double before, double after, Ramp *ramp)
{
    const auto extended = [](const RampStop &inner, const RampStop &end, double by) {
        RampStop further = end;
        for (std::size_t c = 0; c < 3; ++c)
            further.colour[c] += by * (end.colour[c] - inner.colour[c]) / (end.at - inner.at);
        further.at += by;
        return further;
    };
    std::vector<RampStop> &stops = ramp->stops;
    const RampStop first = extended(stops[1], stops[0], -before);
    stops.back() = extended(stops[stops.size() - 2], stops.back(), after);
    stops.front() = first;
}

namespace {

// Samples in the order of their distances along a ramp that stays where it is, so that colours for
// any stops come from a few sums.
class Sorted
{
public:
    Sorted(const std::vector<RampSample> &samples, const Ramp &ramp)
    {
        std::vector<std::pair<double, const RampSample *>> order;
        order.reserve(samples.size());
        for (const RampSample &sample : samples)
            order.emplace_back(ramp.distanceAt(sample.x, sample.y), &sample);
        std::sort(order.begin(), order.end(),
                  [](const auto &a, const auto &b) { return a.first < b.first; });
        middle = 0.5 * (order.front().first + order.back().first);
        distances.reserve(order.size());
        before.resize(1);
        before.reserve(order.size() + 1);
        for (const auto &[distance, sample] : order) {
            const double from = distance - middle;
            before.push_back(before.back());
            before.back().add(from, sample->colour);
            for (double value : sample->colour)
                squares += value * value;
            distances.push_back(from);
        }
    }

    double length() const { return distances.back() - distances.front(); }

    // What is left with stops at `inner`, as a mean squared difference of a channel.
    double errorWith(std::vector<double> inner)
    {
        for (double &at : inner)
            at -= middle;
        const RampRange range
            = { distances.front(), std::max(distances.back(), distances.front() + 1e-6) };
        RampHats hats(range, inner);
        hats.addSquares(squares);
        std::size_t begin = 0;
        for (std::size_t k = 0; k + 1 < hats.stops(); ++k) {
            const std::size_t end = k + 2 < hats.stops()
                ? std::size_t(
                    std::upper_bound(distances.begin(), distances.end(), hats.distanceOf(k + 1))
                    - distances.begin())
                : distances.size();
            hats.add(k, between(begin, end));
            begin = end;
        }
        return hats.solve(&stops);
    }

private:
    RampMoments between(std::size_t begin, std::size_t end) const
    {
        RampMoments moments = before[end];
        const RampMoments &less = before[begin];
        moments.count -= less.count;
        moments.sum -= less.sum;
        moments.squares -= less.squares;
        for (std::size_t c = 0; c < 3; ++c) {
            moments.colours[c] -= less.colours[c];
            moments.byDistance[c] -= less.byDistance[c];
        }
        return moments;
    }

    double middle = 0.0;
    std::vector<double> distances;   // from the middle
    std::vector<RampMoments> before; // of the samples before each, and of all
    double squares = 0.0;
    std::vector<RampStop> stops; // not kept
};

void settle(Sorted *sorted, std::vector<double> *inner)
{
    double least = sorted->errorWith(*inner);
    const double range = sorted->length();
    for (double step = range / 48.0; step > range / 1000.0; step *= 0.5) {
        for (double &at : *inner) {
            for (double change : { -step, step }) {
                const double before = at;
                at += change;
                const double error = sorted->errorWith(*inner);
                if (error < least)
                    least = error;
                else
                    at = before;
            }
        }
    }
}

// What is left of the samples, on average, over the distances.
class Profile
{
public:
    Profile(const Ramp &ramp, const std::vector<RampSample> &samples)
        : least(ramp.stops.front().at), width((ramp.stops.back().at - least) / double(kBins))
    {
        double squares = 0.0;
        for (const RampSample &sample : samples) {
            const double distance = ramp.distanceAt(sample.x, sample.y);
            const RampColour drawn = ramp.colourOf(distance);
            Bin &bin
                = bins[std::size_t(std::clamp((distance - least) / width, 0.0, double(kBins - 1)))];
            for (std::size_t c = 0; c < 3; ++c) {
                const double rest = sample.colour[c] - drawn[c];
                bin.rest[c] += rest;
                squares += rest * rest;
            }
            bin.count += 1.0;
        }
        enough = 0.4 * double(samples.size()) / double(kBins);
        deviation = std::sqrt(squares / (3.0 * double(samples.size())));
    }

    // The largest one beyond what noise does; bins with few samples tell nothing.
    double worst() const
    {
        double most = 0.0;
        for (const Bin &bin : bins) {
            for (std::size_t c = 0; c < 3 && bin.count > enough; ++c)
                most = std::max(most,
                                std::fabs(bin.rest[c]) / bin.count
                                    - kSureOfNoise * deviation / std::sqrt(bin.count));
        }
        return most;
    }

    double at(std::size_t edge) const { return least + width * double(edge); }

private:
    struct Bin
    {
        RampColour rest = {};
        double count = 0.0;
    };

    double least;
    double width;
    double enough;
    double deviation; // of a sample
    std::array<Bin, kBins> bins;
};

std::vector<double> innerOf(const Ramp &ramp)
{
    std::vector<double> inner;
    for (std::size_t k = 1; k + 1 < ramp.stops.size(); ++k)
        inner.push_back(ramp.stops[k].at);
    return inner;
}

// The place for one more stop that leaves the least error.
std::vector<double> withOneMore(Sorted *sorted, const Ramp &ramp, const Profile &profile)
{
    const std::size_t kEvery = 4; // of the bins
    std::vector<double> best;
    double least = 1e300;
    for (std::size_t edge = kEvery; edge < kBins; edge += kEvery) {
        std::vector<double> inner = innerOf(ramp);
        inner.push_back(profile.at(edge));
        std::sort(inner.begin(), inner.end());
        const double error = sorted->errorWith(inner);
        if (error < least) {
            least = error;
            best = inner;
        }
    }
    settle(sorted, &best);
    return best;
}

// Without a stop that the others make up for.
bool dropStop(const std::vector<RampSample> &samples, double visible, Ramp *ramp)
{
    if (ramp->stops.size() < 3)
        return false;
    Sorted sorted(samples, *ramp);
    for (std::size_t k = 1; k + 1 < ramp->stops.size(); ++k) {
        std::vector<double> inner = innerOf(*ramp);
        inner.erase(inner.begin() + std::ptrdiff_t(k) - 1);
        Ramp other = *ramp;
        settle(&sorted, &inner);
        refineRamp(samples, inner, &other);
        if (Profile(other, samples).worst() <= visible) {
            *ramp = other;
            return true;
        }
    }
    return false;
}

} // namespace

void settleStops(const std::vector<RampSample> &samples, const Ramp &ramp,
                 std::vector<double> *inner)
{
    Sorted sorted(samples, ramp);
    settle(&sorted, inner);
}

void chooseStops(const std::vector<RampSample> &samples, double visible, double gain, Ramp *ramp)
{
    double left = refineRamp(samples, {}, ramp);
    while (ramp->stops.size() < kMostRampStops) {
        const Profile profile(*ramp, samples);
        if (profile.worst() <= visible)
            break;
        Sorted sorted(samples, *ramp);
        Ramp other = *ramp;
        const double less = refineRamp(samples, withOneMore(&sorted, *ramp, profile), &other);
        if (!(less < left - gain))
            break;
        *ramp = other;
        left = less;
    }
    // Those that came first stand where they would not be without the later ones.
    while (dropStop(samples, visible, ramp)) { }
}

void dropPads(Ramp *ramp)
{
    const double kSame = 2.0; // of a channel
    std::vector<RampStop> &stops = ramp->stops;
    while (stops.size() > 2 && farthestChannel(stops[0].colour, stops[1].colour) < kSame)
        stops.erase(stops.begin());
    while (stops.size() > 2
           && farthestChannel(stops[stops.size() - 2].colour, stops.back().colour) < kSame)
        stops.pop_back();
}

} // namespace ztrace
