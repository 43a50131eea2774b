// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/weights.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5;              // pixels across a line
const double kReach = 3.0;             // pixels beyond a line's edge that blur carries its ink to
const std::size_t kMostSections = 200; // that a line is measured in
const std::size_t kLeastSections = 20; // of lines that tell how dark ink is
const std::size_t kFewSections = 6;    // of lines that are measured by themselves
const double kDashedRank = 0.65;       // of the sums of a dashed line, as ends of dashes have less
// Of what blur and darkness the page has: pixels, in steps, with what scanners mostly do; and parts
// of the darkest middles.
const double kLeastBlur = 0.4;
const double kMostBlur = 2.2;
const double kBlurStep = 0.1;
const double kUsualBlur = 1.2;
const double kBlurSpread = 0.35;
const double kLeastDepth = 0.95;
const double kMostDepth = 1.7;
const double kDepthStep = 0.02;
const double kMiddleError = 0.04; // part that a middle is off
const double kMostError = 4.0;    // of that, that one line counts
const double kTelling = 12.0;     // lines that all of them count as

// Folds of the paper are grey: pixels of ink that they are as dark as, at most, and their middle in
// parts of the ink's depth. Measured on forty scans: folds .5 to 1.3 and .26 to .48, the thinnest
// pens, of two pixels, 1.46 and more and .5 and more.
const double kFoldWidth = 1.3;
const double kFoldPart = 0.4; // of the width of pens, that folds are as dark as at most
const double kFoldMiddle = 0.5;
const double kPensPart = 0.75; // of the drawn length is of pens, and so many times wider
const double kPensTimes = 1.5;

// Of one-bit scans: pixels of blur, part of the ink's depth that a pixel has to have, noise in
// parts of it, and the widest line that more than its edges are taken of.
const double kScanBlur = 1.25;
const double kScanThreshold = 0.58;
const double kScanNoise = 0.12;
const double kWidest = 8.0;
const double kNarrowest = 0.6;

double quantile(std::vector<double> values, double rank)
{
    const auto at = values.begin() + std::ptrdiff_t(rank * double(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

// Darkness against the paper between the middles of pixels; below 0 where it is lighter.
class Darkness
{
public:
    Darkness(const InkPicture &p, double lightness) : picture(p), paper(lightness) { }

    double at(Point p) const
    {
        const double x = p.x - 0.5;
        const double y = p.y - 0.5;
        const int left = int(std::floor(x));
        const int top = int(std::floor(y));
        const double u = x - left;
        const double v = y - top;
        return (1 - v) * ((1 - u) * of(left, top) + u * of(left + 1, top))
            + v * ((1 - u) * of(left, top + 1) + u * of(left + 1, top + 1));
    }

private:
    double of(int x, int y) const
    {
        if (x < 0 || y < 0 || x >= picture.width || y >= picture.height)
            return 0.0;
        return paper - double(picture.grey[picture.at(x, y)]);
    }

    const InkPicture &picture;
    double paper;
};

// Medians over a line's cross-sections. The normal is that of the carrier.
LineInk inkOfLine(const Atom &atom, const Darkness &darkness)
{
    const std::size_t every = 1 + atom.samples.size() / kMostSections;
    const double reach = 0.5 * atom.width + kReach;
    std::vector<double> sums;
    std::vector<double> middles;
    for (std::size_t k = 0; k < atom.samples.size(); k += every) {
        const std::size_t before = k >= 4 ? k - 4 : 0;
        const std::size_t after = std::min(atom.samples.size() - 1, k + 4);
        const Point along = atom.shape == Shape::Ellipse
            ? atom.samples[after].centre - atom.samples[before].centre
            : atom.carrier.tangent(atom.samples[k].centre);
        const double length = std::hypot(along.x, along.y);
        if (!(length > 0))
            continue;
        const Point centre = atom.shape == Shape::Ellipse
            ? atom.samples[k].centre
            : atom.carrier.foot(atom.samples[k].centre);
        const Point across = (1 / length) * Point { -along.y, along.x };
        double sum = 0.0;
        for (double t = -reach; t <= reach; t += kStep)
            sum += darkness.at(centre + t * across) * kStep;
        sums.push_back(sum);
        middles.push_back((darkness.at(centre) + darkness.at(centre + kStep * across)
                           + darkness.at(centre - kStep * across))
                          / 3);
    }
    LineInk ink;
    ink.weight = double(sums.size());
    if (sums.empty())
        return ink;
    const double rank = atom.dashing.type == DashType::None ? 0.5 : kDashedRank;
    ink.sum = quantile(std::move(sums), rank);
    ink.middle = quantile(std::move(middles), rank);
    return ink;
}

// The same of a line that too few cross-sections were seen of, along all that is drawn of it.
LineInk inkOfShort(const Atom &atom, const Darkness &darkness)
{
    Atom drawn = atom;
    drawn.samples.clear();
    const Point way = atom.place[1] - atom.place[0];
    const int steps = int(std::hypot(way.x, way.y));
    for (int k = 0; k < steps; ++k) {
        Section section;
        section.centre = atom.place[0] + ((k + 0.5) / steps) * way;
        drawn.samples.push_back(section);
    }
    return inkOfLine(drawn, darkness);
}

// How badly a depth and a blur explain the middles.
double costOf(const std::vector<LineInk> &lines, double all, double depth, double blur)
{
    const double off = (blur - kUsualBlur) / kBlurSpread;
    double cost = off * off;
    for (const LineInk &line : lines) {
        const double middle = std::erf(line.sum / depth / (2.8284271 * blur));
        const double error = (line.middle / (depth * middle) - 1.0) / kMiddleError;
        cost += kTelling * line.weight / all * std::min(error * error, kMostError * kMostError);
    }
    return cost;
}

double normal(double x)
{
    return 0.5 * std::erfc(-x / 1.4142136);
}

// What a scanner leaves of a line.
double thinned(double width)
{
    double sum = 0.0;
    const double step = 0.1;
    for (double x = 0.5 * step; x < 0.5 * width + 4 * kScanBlur; x += step) {
        const double part
            = normal((x + 0.5 * width) / kScanBlur) - normal((x - 0.5 * width) / kScanBlur);
        sum += 2 * step * normal((part - kScanThreshold) / kScanNoise);
    }
    return sum;
}

// The width that that part of the drawn length has at least.
double widthOfMost(const Web &web, double part)
{
    std::vector<std::pair<double, double>> widths;
    double all = 0.0;
    for (const Atom &atom : web.atoms) {
        if (!atom.alive)
            continue;
        widths.push_back({ atom.width, double(atom.samples.size()) });
        all += double(atom.samples.size());
    }
    std::sort(widths.rbegin(), widths.rend());
    double seen = 0.0;
    for (const auto &width : widths) {
        seen += width.second;
        if (seen >= part * all)
            return width.first;
    }
    return 0.0;
}

// Leaves out what is no pen's line but a fold, once widths are measured. Where most of a drawing is
// as faint as that, it stays.
void dropFolds(const std::vector<LineInk> &inks, const Darkness &darkness, double depth, Web *web)
{
    const double pens = widthOfMost(*web, kPensPart);
    const double most = std::min(std::max(kFoldWidth, kFoldPart * pens), pens / kPensTimes);
    for (std::size_t k = 0; k < inks.size(); ++k) {
        Atom &atom = web->atoms[k];
        if (!atom.alive)
            continue;
        const bool isShort = inks[k].weight < double(kFewSections) && atom.shape == Shape::Line;
        const LineInk ink = isShort ? inkOfShort(atom, darkness) : inks[k];
        const double width = isShort ? ink.sum / depth : atom.width;
        if (ink.weight >= double(kFewSections) && width < most && ink.middle < kFoldMiddle * depth)
            atom.alive = false;
    }
}

} // namespace

double inkDepthOf(const std::vector<LineInk> &lines)
{
    std::vector<double> middles;
    double all = 0.0;
    for (const LineInk &line : lines) {
        middles.push_back(line.middle);
        all += line.weight;
    }
    if (middles.empty())
        return 0.0;
    const double darkest = quantile(middles, 0.9);
    double best = 1e300;
    double result = 0.0;
    for (double part = kLeastDepth; part < kMostDepth; part += kDepthStep) {
        for (double blur = kLeastBlur; blur < kMostBlur; blur += kBlurStep) {
            const double cost = costOf(lines, all, part * darkest, blur);
            if (cost < best) {
                best = cost;
                result = part * darkest;
            }
        }
    }
    return result;
}

void measureWidths(const InkPicture &picture, double paper, bool keepFolds, Web *web)
{
    const Darkness darkness(picture, paper);
    std::vector<LineInk> inks;
    std::vector<LineInk> telling;
    for (const Atom &atom : web->atoms) {
        inks.push_back(atom.alive ? inkOfLine(atom, darkness) : LineInk());
        if (atom.alive && inks.back().middle > 0 && inks.back().sum > 0
            && inks.back().weight >= double(kLeastSections))
            telling.push_back(inks.back());
    }
    const double depth = inkDepthOf(telling);
    if (!(depth > 0.0))
        return;
    std::vector<double> changes;
    for (std::size_t k = 0; k < inks.size(); ++k) {
        if (inks[k].weight >= double(kLeastSections) && inks[k].sum > 0)
            changes.push_back(inks[k].sum / depth / web->atoms[k].width);
    }
    const double usual = quantile(changes, 0.5);
    for (std::size_t k = 0; k < inks.size(); ++k) {
        Atom &atom = web->atoms[k];
        const bool own = inks[k].weight >= double(kFewSections) && inks[k].sum > 0;
        if (atom.alive)
            atom.width = own ? inks[k].sum / depth : usual * atom.width;
    }
    if (!keepFolds)
        dropFolds(inks, darkness, depth, web);
}

double widthBeforeThreshold(double width)
{
    static const double ofWide = kWidest - thinned(kWidest);
    if (width > kWidest - ofWide)
        return width + ofWide;
    double low = kNarrowest;
    double high = kWidest;
    for (int k = 0; k < 20; ++k) {
        const double middle = 0.5 * (low + high);
        (thinned(middle) < width ? low : high) = middle;
    }
    return 0.5 * (low + high);
}

void widenThinned(Web *web)
{
    for (Atom &atom : web->atoms) {
        if (atom.alive)
            atom.width = widthBeforeThreshold(atom.width);
    }
}

} // namespace ztrace::strokes
