// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/areafit.h"

#include "fit/areas.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const int kRounds = 6; // of Gauss and Newton's method
const int kRoundsOfEdit = 4;
const double kStep = 1e-3;          // pixels of a difference
const double kAnchor = 0.35;        // pixels: deviation of a joint from where the points have it
const double kSagittaAnchor = 0.25; // pixels: the same of an arc's height
const double kSmooth = 0.01;        // radians: what a smooth joint may turn
const double kFarthest = 1.2;       // pixels that a joint may go
const double kSettled = 1e-3;       // of the misfit
// Turn of a tip, 95 degrees, pixels of its sides that are cut off, and part of its sides that may
// go.
const double kTipCosine = -0.087;
const double kTipCuts[] = { 0.7, 1.5 };
const double kTipPart = 0.6;
const double kShort = 1.6;       // pixels of a line that may be left out
const double kShortest = 0.1;    // pixels that a piece keeps
const double kMeetingSine = 0.3; // of two that are drawn on to where they meet
const double kMostBulge = 2;
const double kHeld = 0.2;   // of the anchors, where joints go astray
const double kGood = 2;     // chi squared a mixed pixel that is as good as any
const double kPlain = 0.02; // of coverage: a pixel that is one side's
// Of coverage that half of the mixed pixels may be off; of few mixed pixels most are at corners.
const double kBlurred = 0.06;
const double kBlurredOfFew = 0.09;
const std::size_t kManyMixed = 80;
const std::size_t kFewMixed = 8;
const int kEdits = 3;             // times that a path is edited
const std::size_t kEdited = 5;    // joints that are fitted around a change
const double kCapPrice = 2 + 1.5; // numbers: a line and a corner

double areaOf(const std::vector<Piece> &pieces)
{
    double twice = 0;
    for (const Piece &piece : pieces) {
        Point a = piece.start;
        for (int k = 1; k <= 4; ++k) {
            const Point b = pointAt(piece, 0.25 * k);
            twice += cross(a, b);
            a = b;
        }
    }
    return 0.5 * twice;
}

// Measured less drawn, 0 where it does not count.
std::vector<double> residuals(const std::vector<Piece> &pieces, const Coverage &coverage)
{
    Areas areas(coverage);
    for (const Piece &piece : pieces)
        areas.add(piece, 1);
    // What the walk goes round is on its right, or all else is.
    const double around = areaOf(pieces) > 0 ? 0 : 1;
    std::vector<double> result(coverage.right.size());
    for (std::size_t k = 0; k < result.size(); ++k)
        result[k] = coverage.counts[k] ? coverage.right[k] - around : 0;
    areas.forEach([&](std::size_t k, double area) {
        if (coverage.counts[k])
            result[k] -= area;
    });
    return result;
}

double squares(const std::vector<double> &values)
{
    double sum = 0;
    for (double v : values)
        sum += v * v;
    return sum;
}

double angleBetween(Point a, Point b)
{
    return std::atan2(cross(a, b), dot(a, b));
}

// Least squares over the joints `from` to `from + count - 1` of a closed path, joint k being where
// piece k begins, and over the arcs beside them.
class Polish
{
public:
    Polish(const std::vector<Piece> &p, const Coverage &c, std::size_t from, std::size_t count,
           double h = 1)
        : pieces(p), origin(p), coverage(c), areas(c), hold(h)
    {
        const std::size_t n = pieces.size();
        for (std::size_t k = 0; k < count; ++k) {
            parameters.push_back({ (from + k) % n, 0 });
            parameters.push_back({ (from + k) % n, 1 });
        }
        for (std::size_t k = 0; k < std::min(n, count + 1); ++k) {
            const std::size_t piece = (from + n - 1 + k) % n;
            if (pieces[piece].kind == Kind::Arc && pieces[piece].bulge != 0)
                parameters.push_back({ piece, 2 });
        }
        values.assign(parameters.size(), 0.0);
    }

    // The misfit in the end, with the anchors.
    double run(int rounds = kRounds)
    {
        double cost = costOf(pieces, values);
        double damping = 1e-3;
        for (int round = 0; round < rounds; ++round) {
            const Eigen::VectorXd step = stepOf(damping);
            std::vector<double> next = values;
            for (std::size_t k = 0; k < values.size(); ++k)
                next[k] += step[static_cast<Eigen::Index>(k)];
            const std::vector<Piece> moved = applied(next);
            const double after = costOf(moved, next);
            if (!(after < cost)) {
                damping *= 30;
                continue;
            }
            const bool settled = cost - after < kSettled * cost;
            pieces = moved;
            values = next;
            cost = after;
            damping *= 0.3;
            if (settled)
                break;
        }
        return cost;
    }

    const std::vector<Piece> &result() const { return pieces; }

private:
    struct Parameter
    {
        std::size_t number; // of the joint or the piece
        int kind;           // 0, 1: x and y of a joint; 2: height of an arc
    };

    double anchorOf(const Parameter &p) const
    {
        return hold * (p.kind == 2 ? kSagittaAnchor : kAnchor);
    }

    static void moveStart(Piece *piece, Point by)
    {
        piece->start = piece->start + by;
        if (piece->kind == Kind::Cubic)
            piece->control = piece->control + by;
        else
            piece->control = piece->control + 0.5 * by;
    }

    static void moveEnd(Piece *piece, Point by)
    {
        piece->end = piece->end + by;
        if (piece->kind == Kind::Cubic)
            piece->control2 = piece->control2 + by;
        else
            piece->control = piece->control + 0.5 * by;
    }

    void apply(const Parameter &p, double value, std::vector<Piece> *to) const
    {
        const std::size_t n = to->size();
        if (p.kind == 2) {
            const Point chord = origin[p.number].end - origin[p.number].start;
            (*to)[p.number].bulge += 2 * value / std::max(0.3, std::sqrt(dot(chord, chord)));
            return;
        }
        const Point by = p.kind == 0 ? Point { value, 0 } : Point { 0, value };
        moveStart(&(*to)[p.number], by);
        moveEnd(&(*to)[(p.number + n - 1) % n], by);
    }

    std::vector<Piece> applied(const std::vector<double> &all) const
    {
        std::vector<Piece> moved = origin;
        for (std::size_t k = 0; k < parameters.size(); ++k)
            apply(parameters[k], all[k], &moved);
        return moved;
    }

    double turnAt(const std::vector<Piece> &p, std::size_t joint) const
    {
        const std::size_t before = (joint + p.size() - 1) % p.size();
        return angleBetween(endTangent(p[before]), startTangent(p[joint])) / kSmooth;
    }

    double costOf(const std::vector<Piece> &p, const std::vector<double> &all) const
    {
        double cost = squares(residuals(p, coverage)) / (coverage.sigma * coverage.sigma);
        for (std::size_t k = 0; k < p.size(); ++k) {
            if (origin[k].smooth)
                cost += turnAt(p, k) * turnAt(p, k);
        }
        for (std::size_t k = 0; k < all.size(); ++k)
            cost += all[k] * all[k] / (anchorOf(parameters[k]) * anchorOf(parameters[k]));
        return cost;
    }

    Eigen::VectorXd stepOf(double damping)
    {
        const auto n = static_cast<Eigen::Index>(parameters.size());
        const std::vector<double> off = residuals(pieces, coverage);
        std::vector<std::vector<std::pair<std::size_t, double>>> columns(parameters.size());
        std::vector<std::vector<std::pair<std::size_t, double>>> smooth(parameters.size());
        for (std::size_t k = 0; k < parameters.size(); ++k)
            differences(parameters[k], &columns[k], &smooth[k]);
        Eigen::MatrixXd normal = Eigen::MatrixXd::Zero(n, n);
        Eigen::VectorXd right = Eigen::VectorXd::Zero(n);
        std::vector<double> dense(off.size(), 0.0);
        std::vector<double> turns(pieces.size(), 0.0);
        const double weight = 1 / (coverage.sigma * coverage.sigma);
        for (Eigen::Index i = 0; i < n; ++i) {
            const auto k = static_cast<std::size_t>(i);
            for (const auto &[at, value] : columns[k]) {
                dense[at] = value;
                right[i] += weight * value * off[at];
            }
            for (const auto &[at, value] : smooth[k]) {
                turns[at] = value;
                right[i] -= value * turnAt(pieces, at);
            }
            for (Eigen::Index j = 0; j <= i; ++j) {
                double sum = 0;
                for (const auto &[at, value] : columns[static_cast<std::size_t>(j)])
                    sum += weight * value * dense[at];
                for (const auto &[at, value] : smooth[static_cast<std::size_t>(j)])
                    sum += value * turns[at];
                normal(i, j) = normal(j, i) = sum;
            }
            for (const auto &[at, value] : columns[k])
                dense[at] = 0;
            for (const auto &[at, value] : smooth[k])
                turns[at] = 0;
            const double anchor = 1 / (anchorOf(parameters[k]) * anchorOf(parameters[k]));
            normal(i, i) += anchor;
            right[i] -= anchor * values[k];
        }
        for (Eigen::Index i = 0; i < n; ++i)
            normal(i, i) *= 1 + damping;
        return normal.ldlt().solve(right);
    }

    // What a parameter changes, a pixel of it.
    void differences(const Parameter &p, std::vector<std::pair<std::size_t, double>> *column,
                     std::vector<std::pair<std::size_t, double>> *smooth)
    {
        const std::size_t n = pieces.size();
        std::vector<Piece> moved = pieces;
        apply(p, kStep, &moved);
        const std::size_t first = p.kind == 2 ? p.number : (p.number + n - 1) % n;
        const std::size_t count = p.kind == 2 ? 1 : 2;
        areas.clear();
        for (std::size_t k = 0; k < count; ++k) {
            areas.add(moved[(first + k) % n], 1 / kStep);
            areas.add(pieces[(first + k) % n], -1 / kStep);
        }
        areas.forEach([&](std::size_t k, double change) {
            if (coverage.counts[k] && std::fabs(change) > 1e-6)
                column->emplace_back(k, change);
        });
        for (std::size_t k = 0; k <= count; ++k) {
            const std::size_t joint = (first + k) % n;
            if (origin[joint].smooth)
                smooth->emplace_back(joint, (turnAt(moved, joint) - turnAt(pieces, joint)) / kStep);
        }
    }

    std::vector<Piece> pieces;
    const std::vector<Piece> origin;
    const Coverage &coverage;
    Areas areas;
    const double hold; // part of the anchors' deviations
    std::vector<Parameter> parameters;
    std::vector<double> values;
};

// Whether every joint is still near to the old path, and no piece has turned round.
bool isTame(const std::vector<Piece> &before, const std::vector<Piece> &after)
{
    const std::size_t n = before.size();
    for (std::size_t k = 0; k < n; ++k) {
        const Point p = after[k].start;
        if (!(std::min(distanceTo(before[k], p), distanceTo(before[(k + n - 1) % n], p))
              < kFarthest)
            || !(std::fabs(after[k].bulge) < kMostBulge))
            return false;
        const Point one = before[k].end - before[k].start;
        const Point other = after[k].end - after[k].start;
        if (!(dot(one, other) > 0) || dot(other, other) < kShortest * kShortest)
            return false;
    }
    return true;
}

bool isSimple(const Piece &piece)
{
    return piece.kind == Kind::Line || piece.kind == Kind::Arc;
}

// The stretch of a line or an arc, 0 to 1.
Piece stretchOf(const Piece &piece, double from, double to)
{
    Piece result = piece;
    result.start = from > 0 ? pointAt(piece, from) : piece.start;
    result.end = to < 1 ? pointAt(piece, to) : piece.end;
    if (piece.kind == Kind::Arc)
        result.bulge = std::tan((to - from) * std::atan(piece.bulge));
    return result;
}

double chordOf(const Piece &piece)
{
    const Point chord = piece.end - piece.start;
    return std::sqrt(dot(chord, chord));
}

// The tip at the begin of a piece cut off square; false where there is none.
bool cutTip(std::size_t joint, double most, std::vector<Piece> *pieces)
{
    const std::size_t n = pieces->size();
    Piece &after = (*pieces)[joint];
    Piece &before = (*pieces)[(joint + n - 1) % n];
    if (!isSimple(before) || !isSimple(after) || after.smooth)
        return false;
    const double cosine = -dot(endTangent(before), startTangent(after));
    if (cosine < -kTipCosine)
        return false;
    const double shorter = std::min(chordOf(before), chordOf(after));
    const double back = std::min(most, kTipPart * shorter);
    if (!(back > kShortest))
        return false;
    before = stretchOf(before, 0, 1 - back / chordOf(before));
    after = stretchOf(after, back / chordOf(after), 1);
    Piece cap = linePiece(before.end, after.start);
    cap.first = after.first;
    pieces->insert(pieces->begin() + static_cast<std::ptrdiff_t>(joint), cap);
    return true;
}

// A short line left out, between pieces that are drawn on to where they meet, or half way; false
// where there is none.
bool dropShort(std::size_t number, std::vector<Piece> *pieces)
{
    const std::size_t n = pieces->size();
    const Piece line = (*pieces)[number];
    Piece &before = (*pieces)[(number + n - 1) % n];
    Piece &after = (*pieces)[(number + 1) % n];
    if (n < 5 || line.kind != Kind::Line || line.smooth || after.smooth || chordOf(line) > kShort)
        return false;
    Point corner = 0.5 * (line.start + line.end);
    const Point one = endTangent(before);
    const Point other = startTangent(after);
    const double sine = cross(one, other);
    if (std::fabs(sine) > kMeetingSine) {
        const Point met = line.start + (cross(line.end - line.start, other) / sine) * one;
        const Point away = met - corner;
        if (dot(away, away) < kShort * kShort)
            corner = met;
    }
    before.end = after.start = corner;
    pieces->erase(pieces->begin() + static_cast<std::ptrdiff_t>(number));
    return true;
}

// Tips cut, short lines left out, wherever that pays.
class Editor
{
public:
    Editor(const Coverage &c, double l) : coverage(c), lambda(l) { }

    bool run(std::vector<Piece> *pieces)
    {
        bool any = false;
        for (std::size_t k = 0; k < pieces->size() && pieces->size() < kMostJoints; ++k) {
            std::vector<Piece> dropped = *pieces;
            if (cutsTip(k, pieces)) {
                any = true;
                ++k;
            } else if (dropShort(k, &dropped)
                       && isBetter(*pieces, dropped, k % dropped.size(), -kCapPrice, pieces)) {
                any = true;
            }
        }
        return any;
    }

private:
    bool cutsTip(std::size_t joint, std::vector<Piece> *pieces) const
    {
        for (double most : kTipCuts) {
            std::vector<Piece> cut = *pieces;
            if (!cutTip(joint, most, &cut))
                return false;
            if (isBetter(*pieces, cut, joint, kCapPrice, pieces))
                return true;
        }
        return false;
    }

    // Fits the joints around one of an edited path, and takes it where it pays.
    bool isBetter(const std::vector<Piece> &now, const std::vector<Piece> &edited,
                  std::size_t joint, double numbers, std::vector<Piece> *result) const
    {
        const std::size_t n = edited.size();
        Polish local(edited, coverage, (joint + n - 2) % n, std::min(n, kEdited));
        const double after = local.run(kRoundsOfEdit);
        const double before = squares(residuals(now, coverage)) / (coverage.sigma * coverage.sigma);
        if (!(0.5 * (before - after) > lambda * numbers) || !isTame(edited, local.result()))
            return false;
        *result = local.result();
        return true;
    }

    const Coverage &coverage;
    const double lambda;
};

// All joints; where that goes astray, held closer.
bool polish(const Coverage &coverage, std::vector<Piece> *pieces)
{
    for (double hold : { 1.0, kHeld }) {
        Polish all(*pieces, coverage, 0, pieces->size(), hold);
        all.run();
        if (isTame(*pieces, all.result())) {
            *pieces = all.result();
            return true;
        }
    }
    return false;
}

// What the mixed pixels are off by.
std::vector<double> offMixed(const std::vector<Piece> &pieces, const Coverage &coverage)
{
    const std::vector<double> off = residuals(pieces, coverage);
    std::vector<double> mixed;
    for (std::size_t k = 0; k < off.size(); ++k) {
        if (coverage.counts[k] && coverage.right[k] > kPlain && coverage.right[k] < 1 - kPlain)
            mixed.push_back(std::fabs(off[k]));
    }
    return mixed;
}

// Whether the path covers what is measured as well as its errors let it.
bool isAsMeasured(const std::vector<Piece> &pieces, const Coverage &coverage)
{
    const std::vector<double> off = offMixed(pieces, coverage);
    return squares(off) < kGood * static_cast<double>(off.size()) * coverage.sigma * coverage.sigma;
}

} // namespace

std::vector<double> coverOf(const Path &path, const Coverage &window)
{
    Areas areas(window);
    for (const Piece &piece : path.pieces)
        areas.add(piece, 1);
    std::vector<double> cover(static_cast<std::size_t>(window.width * window.height), 0.0);
    areas.forEach(
        [&cover](std::size_t k, double part) { cover[k] = std::min(1.0, std::fabs(part)); });
    return cover;
}

bool showsAreas(const Path &path, const Coverage &coverage)
{
    std::vector<double> off = offMixed(path.pieces, coverage);
    if (off.size() < kFewMixed)
        return false;
    const auto middle = off.begin() + static_cast<std::ptrdiff_t>(off.size() / 2);
    std::nth_element(off.begin(), middle, off.end());
    return *middle < (off.size() < kManyMixed ? kBlurredOfFew : kBlurred);
}

Path fitToCoverage(const Path &path, const Coverage &coverage, double lambda)
{
    const std::size_t count = path.pieces.size();
    if (!path.closed || count < 3 || count > kMostJoints)
        return path;
    std::vector<Piece> pieces = path.pieces;
    if (!showsAreas(path, coverage) || isAsMeasured(pieces, coverage) || !polish(coverage, &pieces))
        return path;
    for (int round = 0; round < kEdits; ++round) {
        if (!Editor(coverage, lambda).run(&pieces))
            break;
        polish(coverage, &pieces);
        if (isAsMeasured(pieces, coverage))
            break;
    }
    Path result = path;
    result.pieces = std::move(pieces);
    return result;
}

} // namespace ztrace::fit
