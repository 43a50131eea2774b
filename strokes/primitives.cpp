// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/primitives.h"

#include "strokes/normalequations.h"

#include "fit/fit.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Cross-sections over which a line is taken for one line or arc; half as many where no line is so
// long.
const int kStretch = 80;
// Of the stretches in order of their deviation: those that hold a bend or a corner are last. What
// the others tell is less than the mean, and fits hide a part of it.
const double kStretchQuantile = 0.3;
const double kStretchScale = 2.3;
// The same where all are short, of letters: F1 of arcs on six scanned sheets .71 at 1.2, .72 at 1.6
// and 2; at 1.8 an O of 45 pixels had a dent where two arcs met.
const int kShortStretch = 16;
const double kShortScale = 1.6;
const double kUsualSigma = 0.12; // pixels, where no line is long enough to tell
const double kMostSigma = 0.8;
const std::size_t kLeastStretches = 3;
const int kCircleSteps = 8;
const std::size_t kSlide = 24;      // cross-sections that a break is moved by at most
const std::size_t kLeastBeside = 4; // cross-sections that stay on each side of it
const double kSlideGain = 2.0;      // nats for which a break is moved in black and white
const int kSlideRounds = 2;
const double kTail = 0.6; // widths; the skeleton leaves the middle half a width before a free end
// An arc that is no more than this off its chord is a line: sigmas, and pixels.
const double kLeastSagitta = 4.0;
const double kLeastBend = 0.45;
// Mean squared distance of an arc from its best line, over the squared sagitta.
const double kOfSagitta = 4.0 / 45.0;

fit::Moments momentsOf(const std::vector<Section> &samples, std::size_t first, std::size_t last,
                       double weight)
{
    fit::Moments sum = {};
    const Point origin = samples[(first + last) / 2].centre;
    sum.ox = origin.x;
    sum.oy = origin.y;
    for (std::size_t i = first; i < last; ++i)
        addTo(&sum, samples[i].centre, weight);
    return sum;
}

// Mean squared distance of a stretch from its best line or arc.
double stretchVariance(const std::vector<Section> &samples, std::size_t first, std::size_t length)
{
    const fit::Moments sum = momentsOf(samples, first, first + length, 1.0);
    const fit::LineMoments c = fit::lineMoments(sum);
    const fit::Primitive line = fit::lineOf(sum, c, samples[first].centre, samples[first].centre);
    fit::Primitive circle = {};
    const bool round = fit::circleOf(sum, c, &circle);
    return (round ? std::min(line.chi2, circle.chi2) : line.chi2) / double(length);
}

std::vector<double> stretchVariances(const std::vector<Core> &cores, std::size_t length)
{
    std::vector<double> variances;
    for (const Core &core : cores) {
        for (std::size_t i = 0; i + length <= core.samples.size(); i += length)
            variances.push_back(stretchVariance(core.samples, i, length));
    }
    return variances;
}

Measure measureOver(const std::vector<Core> &cores, double least, int stretch, double scale)
{
    std::vector<double> variances = stretchVariances(cores, std::size_t(stretch));
    if (variances.size() < kLeastStretches)
        variances = stretchVariances(cores, std::size_t(stretch / 2));
    Measure measure;
    measure.sigma = std::max(kUsualSigma, least);
    if (variances.size() < kLeastStretches)
        return measure;
    const auto middle
        = variances.begin() + std::ptrdiff_t(kStretchQuantile * double(variances.size()));
    std::nth_element(variances.begin(), middle, variances.end());
    measure.sigma = std::clamp(scale * std::sqrt(*middle), least, kMostSigma);
    return measure;
}

fit::Prices strokePrices()
{
    fit::Prices prices = fit::dxfPrices();
    prices.cubic = fit::kNotOffered;
    prices.rectangle = fit::kNotOffered;
    prices.roundedRectangle = fit::kNotOffered;
    return prices;
}

double medianWidth(const std::vector<Section> &samples)
{
    std::vector<double> widths;
    widths.reserve(samples.size());
    for (const Section &section : samples)
        widths.push_back(section.width);
    const auto middle = widths.begin() + std::ptrdiff_t(widths.size() / 2);
    std::nth_element(widths.begin(), middle, widths.end());
    return *middle;
}

Atom wholeAtom(const Core &core, const fit::Piece &piece, const Measure &measure)
{
    Atom atom;
    atom.samples = core.samples;
    refit(&atom, measure);
    if (piece.kind == fit::Kind::Circle) {
        atom.shape = Shape::Circle;
        atom.carrier = { true,     piece.centre,
                         { 1, 0 }, piece.radius > 0 ? piece.radius : piece.half[0],
                         1,        0 };
        polishCircle(atom.samples, &atom.carrier);
    } else {
        atom.shape = Shape::Ellipse;
        atom.ellipse = piece;
    }
    return atom;
}

// Misfit of sums by a line or a circle, without any slack.
double bareMisfit(const fit::Moments &sum, bool arc)
{
    const fit::LineMoments c = fit::lineMoments(sum);
    fit::Primitive circle = {};
    if (!arc)
        return c.least * sum.w;
    return fit::circleOf(sum, c, &circle) ? circle.chi2 : 1e300;
}

// Moves the cross-sections between two atoms that follow each other to where both together fit
// best. The price of pieces forgives what is below the usual deviation, and by that much a break
// may lie off: a line that runs on into its arc.
void slideBreak(const Measure &measure, Atom *before, Atom *after)
{
    const std::size_t least = kLeastBeside;
    const std::size_t m = before->samples.size();
    const std::size_t n = after->samples.size();
    if (m <= least || n <= least || (!before->carrier.arc && !after->carrier.arc))
        return;
    std::vector<Section> all = before->samples;
    all.insert(all.end(), after->samples.begin(), after->samples.end());
    const std::size_t from = m - std::min({ m - least, m / 2, kSlide });
    const std::size_t to = m + std::min({ n - least, n / 2, kSlide });
    fit::Moments first = momentsOf(all, 0, from, measure.weight());
    // From the end backwards, so that nothing has to be taken out of a sum.
    std::vector<double> misfits(to - from + 1);
    fit::Moments second = momentsOf(all, to, all.size(), measure.weight());
    for (std::size_t k = to;; --k) {
        misfits[k - from] = bareMisfit(second, after->carrier.arc);
        if (k == from)
            break;
        addTo(&second, all[k - 1].centre, measure.weight());
    }
    std::size_t best = m;
    double lowest = 1e300;
    double here = 0.0;
    for (std::size_t k = from; k <= to; ++k) {
        const double misfit = misfits[k - from] + bareMisfit(first, before->carrier.arc);
        if (k == m)
            here = misfit;
        if (misfit < lowest) {
            lowest = misfit;
            best = k;
        }
        if (k < to)
            addTo(&first, all[k].centre, measure.weight());
    }
    if (best == m || (measure.hard && measure.slope * (here - lowest) < kSlideGain))
        return;
    const auto middle = all.begin() + std::ptrdiff_t(best);
    before->samples.assign(all.begin(), middle);
    after->samples.assign(middle, all.end());
    refit(before, measure);
    refit(after, measure);
}

void slideBreaks(bool closed, const Measure &measure, std::vector<Joint> *joints, Atom *atoms,
                 std::size_t count)
{
    for (int round = 0; round < kSlideRounds; ++round) {
        for (std::size_t k = 0; k + (closed ? 0 : 1) < count && count > 1; ++k) {
            Atom &before = atoms[k];
            slideBreak(measure, &before, &atoms[(k + 1) % count]);
            (*joints)[std::size_t(before.joint[1])].place = before.samples.back().centre;
        }
    }
}

// Takes away first and last pieces that are only the skeleton on its way into a corner of a square
// free end.
void dropTails(const Core &core, const std::vector<Joint> &joints,
               std::vector<const fit::Piece *> *pieces)
{
    const auto isTail = [&](const fit::Piece *piece, int joint) {
        return joint >= 0 && joints[std::size_t(joint)].kind == JointKind::Tip
            && piece->count < kTail * core.width;
    };
    while (pieces->size() > 1 && isTail(pieces->back(), core.joint[1]))
        pieces->pop_back();
    while (pieces->size() > 1 && isTail(pieces->front(), core.joint[0]))
        pieces->erase(pieces->begin());
}

// The atoms of one core, in order; their joints between themselves are added to the others.
void addAtoms(const Core &core, const Measure &measure, std::vector<Joint> *joints,
              std::vector<Atom> *atoms)
{
    std::vector<double> x, y, sigma;
    for (const Section &section : core.samples) {
        x.push_back(section.centre.x);
        y.push_back(section.centre.y);
    }
    sigma.assign(x.size(), measure.sigma);
    const fit::Chain chain = { x.data(),      y.data(),        sigma.data(), int(x.size()),
                               core.closed(), fit::Edge::Soft, false,        false };
    fit::Settings settings = fit::settingsFor(strokePrices());
    settings.curves = false;
    settings.soft.lambda = measure.lambda;
    settings.soft.slope = measure.slope;
    settings.soft.slack = measure.slack;
    settings.soft.leak = measure.leak;
    settings.soft.early = 0;
    settings.soft.meeting = fit::Meeting::OfCentreLines;
    settings.search = { 1, 2, 3 };
    const fit::Path path = fit::fitChain(chain, settings);
    if (path.pieces.size() == 1 && fit::isWhole(path.pieces[0].kind)) {
        atoms->push_back(wholeAtom(core, path.pieces[0], measure));
        return;
    }
    std::vector<const fit::Piece *> pieces;
    for (const fit::Piece &piece : path.pieces) {
        if (piece.count >= 2)
            pieces.push_back(&piece);
    }
    dropTails(core, *joints, &pieces);
    const std::size_t firstJoint = joints->size();
    for (std::size_t k = 0; k + (core.closed() ? 0 : 1) < pieces.size(); ++k)
        joints->push_back({ pieces[k]->end, 0.5 * core.width, JointKind::Break });
    for (std::size_t k = 0; k < pieces.size(); ++k) {
        Atom atom;
        for (int i = 0; i < pieces[k]->count; ++i)
            atom.samples.push_back(
                core.samples[std::size_t(pieces[k]->first + i) % core.samples.size()]);
        refit(&atom, measure);
        const int before = int(firstJoint + k) - 1;
        atom.joint[0] = k > 0 ? before
            : core.closed()   ? int(firstJoint + pieces.size() - 1)
                              : core.joint[0];
        atom.joint[1]
            = k + 1 < pieces.size() || core.closed() ? int(firstJoint + k) : core.joint[1];
        atoms->push_back(std::move(atom));
    }
    slideBreaks(core.closed(), measure, joints, atoms->data() + (atoms->size() - pieces.size()),
                pieces.size());
}

} // namespace

void addTo(fit::Moments *sum, Point place, double w)
{
    const double x = place.x - sum->ox;
    const double y = place.y - sum->oy;
    const double z = x * x + y * y;
    sum->w += w;
    sum->x += w * x;
    sum->y += w * y;
    sum->xx += w * x * x;
    sum->xy += w * x * y;
    sum->yy += w * y * y;
    sum->xz += w * x * z;
    sum->yz += w * y * z;
    sum->zz += w * z * z;
}

fit::Moments together(const fit::Moments &a, const fit::Moments &b)
{
    const double w = a.w + b.w;
    const double x = (a.x + a.w * a.ox + b.x + b.w * b.ox) / w;
    const double y = (a.y + a.w * a.oy + b.y + b.w * b.oy) / w;
    fit::Moments sum = fit::shifted(a, x, y);
    const fit::Moments other = fit::shifted(b, x, y);
    sum.w += other.w;
    sum.x += other.x;
    sum.y += other.y;
    sum.xx += other.xx;
    sum.xy += other.xy;
    sum.yy += other.yy;
    sum.xz += other.xz;
    sum.yz += other.yz;
    sum.zz += other.zz;
    return sum;
}

Measure measureOf(const Cores &cores, double least)
{
    return measureOver(cores.cores, least, kStretch, kStretchScale);
}

Measure measureOfShort(const std::vector<Core> &cores, double least)
{
    return measureOver(cores, least, kShortStretch, kShortScale);
}

double chi2Of(const fit::Moments &sum, const fit::Primitive &carrier)
{
    const fit::Moments m = fit::shifted(sum, carrier.point.x, carrier.point.y);
    if (carrier.arc) {
        const double square = carrier.radius * carrier.radius;
        return std::max(0.0, m.zz - 2 * square * (m.xx + m.yy) + square * square * m.w)
            / (4 * square);
    }
    const Point n = { -carrier.direction.y, carrier.direction.x };
    return std::max(0.0, n.x * n.x * m.xx + 2 * n.x * n.y * m.xy + n.y * n.y * m.yy);
}

bool cheapest(const fit::Moments &sum, const Measure &measure, Point first, Point last,
              fit::Primitive *carrier, double *cost)
{
    const fit::LineMoments c = fit::lineMoments(sum);
    const fit::Primitive line = fit::lineOf(sum, c, first, last);
    const double count = sum.w / measure.weight();
    const double ofLine = measure.misfit(line.chi2, count) + measure.lambda * kNumbersOfLine;
    *carrier = line;
    *cost = ofLine;
    fit::Primitive circle = {};
    if (!std::isfinite(ofLine))
        return false;
    if (!fit::circleOf(sum, c, &circle))
        return true;
    const double ofArc = measure.misfit(circle.chi2, count) + measure.lambda * kNumbersOfArc;
    // What the line misses more than the arc does is the square of the sagitta times kOfSagitta.
    const double bend = std::sqrt(std::max(0.0, line.chi2 - circle.chi2) / (kOfSagitta * sum.w));
    if (ofArc < ofLine && bend > std::max(kLeastSagitta * measure.sigma, kLeastBend)) {
        *carrier = circle;
        *cost = ofArc;
    }
    return true;
}

void refit(Atom *atom, const Measure &measure)
{
    atom->moments = momentsOf(atom->samples, 0, atom->samples.size(), measure.weight());
    cheapest(atom->moments, measure, atom->samples.front().centre, atom->samples.back().centre,
             &atom->carrier, &atom->cost);
    atom->shape = atom->carrier.arc ? Shape::Arc : Shape::Line;
    if (atom->carrier.arc) {
        polishCircle(atom->samples, &atom->carrier);
        atom->carrier.turn = sweepOf(atom->samples, atom->carrier.point).turned < 0 ? -1 : 1;
    }
    atom->width = medianWidth(atom->samples);
}

void polishCircle(const std::vector<Section> &samples, fit::Primitive *circle)
{
    fit::Primitive best = *circle;
    for (int step = 0; step < kCircleSteps; ++step) {
        // Normal equations of the distances' derivatives: -cos, -sin, -1.
        double a[3][4] = {};
        for (const Section &section : samples) {
            const Point d = section.centre - best.point;
            const double r = std::hypot(d.x, d.y);
            if (!(r > 0))
                continue;
            const double row[4] = { d.x / r, d.y / r, 1.0, r - best.radius };
            for (int i = 0; i < 3; ++i) {
                for (int j = 0; j < 4; ++j)
                    a[i][j] += row[i] * row[j];
            }
        }
        double change[3] = {};
        if (!solveNormal(a, 1e-12, change))
            return;
        const double size = std::hypot(change[0], change[1], change[2]);
        if (!std::isfinite(size) || size > 0.5 * best.radius)
            return;
        best.point = best.point + Point { change[0], change[1] };
        best.radius += change[2];
        if (size < 1e-6)
            break;
    }
    if (best.radius > 0 && best.radius < fit::kLargestRadius)
        *circle = best;
}

Sweep sweepOf(const std::vector<Section> &samples, Point centre)
{
    Sweep sweep;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const Point a = samples[i - 1].centre - centre;
        const Point b = samples[i].centre - centre;
        const double step = std::atan2(fit::cross(a, b), fit::dot(a, b));
        sweep.turned += step;
        sweep.walked += std::fabs(step);
    }
    return sweep;
}

std::vector<Atom> atomsOf(Cores *cores, const Measure &measure)
{
    std::vector<Atom> atoms;
    for (std::size_t k = 0; k < cores->cores.size(); ++k) {
        const std::size_t first = atoms.size();
        if (cores->cores[k].samples.size() >= 2)
            addAtoms(cores->cores[k], measure, &cores->joints, &atoms);
        for (std::size_t i = first; i < atoms.size(); ++i)
            atoms[i].core = int(k);
    }
    return atoms;
}

} // namespace ztrace::strokes
