// (c) the ztrace developers. Licence: see LICENSE.
//
// The stops of a ramp: docs/imaging/ramps.md, "Fit".
#include "rampfit.h"

#include <algorithm>
#include <cmath>

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

// What is left of the samples, on average, over the distances.
class Profile
{
public:
    Profile(const Ramp &ramp, const std::vector<RampSample> &samples)
        : least(ramp.stops.front().at), width((ramp.stops.back().at - least) / double(kBins))
    {
        for (const RampSample &sample : samples) {
            const double distance = ramp.distanceAt(sample.x, sample.y);
            const RampColour drawn = ramp.colourOf(distance);
            Bin &bin
                = bins[std::size_t(std::clamp((distance - least) / width, 0.0, double(kBins - 1)))];
            for (std::size_t c = 0; c < 3; ++c)
                bin.rest[c] += sample.colour[c] - drawn[c];
            bin.count += 1.0;
        }
        enough = 0.4 * double(samples.size()) / double(kBins);
        deviation = std::sqrt(errorOf(ramp, samples));
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
std::vector<double> withOneMore(const std::vector<RampSample> &samples, const Ramp &ramp,
                                const Profile &profile)
{
    const std::size_t kEvery = 4; // of the bins
    std::vector<double> best;
    double least = 1e300;
    for (std::size_t edge = kEvery; edge < kBins; edge += kEvery) {
        std::vector<double> inner = innerOf(ramp);
        inner.push_back(profile.at(edge));
        std::sort(inner.begin(), inner.end());
        Ramp other = ramp;
        fitStops(samples, inner, &other);
        const double error = errorOf(other, samples);
        if (error < least) {
            least = error;
            best = inner;
        }
    }
    return best;
}

// Without a stop that the others make up for.
bool dropStop(const std::vector<RampSample> &samples, double visible, Ramp *ramp)
{
    for (std::size_t k = 1; k + 1 < ramp->stops.size(); ++k) {
        std::vector<double> inner = innerOf(*ramp);
        inner.erase(inner.begin() + std::ptrdiff_t(k) - 1);
        Ramp other = *ramp;
        settleStops(samples, other, &inner);
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
    Ramp other = ramp;
    fitStops(samples, *inner, &other);
    double least = errorOf(other, samples);
    const double range = other.stops.back().at - other.stops.front().at;
    for (double step = range / 48.0; step > range / 1000.0; step *= 0.5) {
        for (double &at : *inner) {
            for (double change : { -step, step }) {
                const double before = at;
                at += change;
                fitStops(samples, *inner, &other);
                const double error = errorOf(other, samples);
                if (error < least)
                    least = error;
                else
                    at = before;
            }
        }
    }
}

void chooseStops(const std::vector<RampSample> &samples, double visible, double gain, Ramp *ramp)
{
    refineRamp(samples, {}, ramp);
    while (ramp->stops.size() < kMostRampStops) {
        const Profile profile(*ramp, samples);
        if (profile.worst() <= visible)
            break;
        std::vector<double> inner = withOneMore(samples, *ramp, profile);
        settleStops(samples, *ramp, &inner);
        Ramp other = *ramp;
        refineRamp(samples, inner, &other);
        if (!(errorOf(other, samples) < errorOf(*ramp, samples) - gain))
            break;
        *ramp = other;
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
