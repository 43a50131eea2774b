// (c) the ztrace developers. Licence: see LICENSE.
//
// The joints of a closed path by what it covers of every pixel: docs/fit/areas.md, "Rule".
#ifndef ZTRACE_FIT_AREAPOLISH_H
#define ZTRACE_FIT_AREAPOLISH_H

#include "fit/areas.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <vector>

namespace ztrace::fit {

const int kRoundsOfPolish = 6;      // of Gauss and Newton's method
const double kStep = 1e-3;          // pixels of a difference
const double kAnchor = 0.35;        // pixels: deviation of a joint from where the points have it
const double kSagittaAnchor = 0.25; // pixels: the same of an arc's height
const double kSmooth = 0.01;        // radians: what a smooth joint may turn
const double kFarthest = 1.2;       // pixels that a joint may go
const double kSettled = 1e-3;       // of the misfit
const double kShortest = 0.1;       // pixels that a piece keeps
const double kMostBulge = 2;

inline double areaOf(const std::vector<Piece> &pieces)
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

// What the walk goes round is on its right, or all else is.
inline double aroundOf(const std::vector<Piece> &pieces)
{
    return areaOf(pieces) > 0 ? 0 : 1;
}

// Measured less drawn, 0 where it does not count.
inline std::vector<double> residuals(const std::vector<Piece> &pieces, const Coverage &coverage)
{
    Areas areas(coverage);
    for (const Piece &piece : pieces)
        areas.add(piece, 1);
    const double around = aroundOf(pieces);
    std::vector<double> result(coverage.right.size());
    for (std::size_t k = 0; k < result.size(); ++k)
        result[k] = coverage.counts[k] ? coverage.right[k] - around : 0;
    areas.forEach([&](std::size_t k, double area) {
        if (coverage.counts[k])
            result[k] -= area;
    });
    return result;
}

inline double squares(const std::vector<double> &values)
{
    double sum = 0;
    for (double v : values)
        sum += v * v;
    return sum;
}

inline double angleBetween(Point a, Point b)
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
        takeFixed();
    }

    // The misfit in the end, with the anchors.
    double run(int rounds = kRoundsOfPolish)
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

    // Measured less what the pieces draw that no parameter moves.
    void takeFixed()
    {
        const std::size_t n = pieces.size();
        moves.assign(n, 0);
        for (const Parameter &p : parameters) {
            moves[p.number] = 1;
            if (p.kind != 2)
                moves[(p.number + n - 1) % n] = 1;
        }
        const double around = aroundOf(pieces);
        fixed.resize(coverage.right.size());
        for (std::size_t k = 0; k < fixed.size(); ++k)
            fixed[k] = coverage.counts[k] ? coverage.right[k] - around : 0;
        take(pieces, 0, &fixed);
    }

    // Takes off what the pieces draw that move, or do not.
    void take(const std::vector<Piece> &p, char moving, std::vector<double> *off) const
    {
        areas.clear();
        for (std::size_t k = 0; k < p.size(); ++k) {
            if (moves[k] == moving)
                areas.add(p[k], 1);
        }
        areas.forEach([&](std::size_t k, double area) {
            if (coverage.counts[k])
                (*off)[k] -= area;
        });
    }

    std::vector<double> offOf(const std::vector<Piece> &p) const
    {
        std::vector<double> off = fixed;
        take(p, 1, &off);
        return off;
    }

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

    void bend(std::size_t number, double value, Piece *piece) const
    {
        const Point chord = origin[number].end - origin[number].start;
        piece->bulge += 2 * value / std::max(0.3, std::sqrt(dot(chord, chord)));
    }

    void apply(const Parameter &p, double value, std::vector<Piece> *to) const
    {
        const std::size_t n = to->size();
        if (p.kind == 2) {
            bend(p.number, value, &(*to)[p.number]);
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
        double cost = squares(offOf(p)) / (coverage.sigma * coverage.sigma);
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
        const std::vector<double> off = offOf(pieces);
        Changes pixels, turns;
        for (std::size_t k = 0; k < parameters.size(); ++k)
            differences(parameters[k], static_cast<Eigen::Index>(k), &pixels, &turns);
        Eigen::MatrixXd normal = Eigen::MatrixXd::Zero(n, n);
        Eigen::VectorXd right = Eigen::VectorXd::Zero(n);
        addTo(
            pixels, 1 / (coverage.sigma * coverage.sigma), off.size(), &normal,
            [&](std::size_t k) { return off[k]; }, &right);
        addTo(
            turns, 1, pieces.size(), &normal, [&](std::size_t k) { return -turnAt(pieces, k); },
            &right);
        for (Eigen::Index i = 0; i < n; ++i) {
            const auto k = static_cast<std::size_t>(i);
            const double anchor = 1 / (anchorOf(parameters[k]) * anchorOf(parameters[k]));
            normal(i, i) += anchor;
            right[i] -= anchor * values[k];
            for (Eigen::Index j = 0; j < i; ++j)
                normal(j, i) = normal(i, j);
        }
        for (Eigen::Index i = 0; i < n; ++i)
            normal(i, i) *= 1 + damping;
        return normal.ldlt().solve(right);
    }

    // How something, a pixel or a joint, changes with a parameter.
    struct Change
    {
        std::size_t at;
        Eigen::Index parameter;
        double value;
    };
    typedef std::vector<Change> Changes; // parameter by parameter

    // Weighted least squares of what is off at `count` places; below the diagonal only. Few
    // parameters change the same place.
    template<typename Off>
    static void addTo(const Changes &changes, double weight, std::size_t count,
                      Eigen::MatrixXd *normal, const Off &off, Eigen::VectorXd *right)
    {
        std::vector<std::size_t> begin(count + 1, 0);
        for (const Change &change : changes)
            ++begin[change.at + 1];
        for (std::size_t k = 0; k < count; ++k)
            begin[k + 1] += begin[k];
        std::vector<const Change *> sorted(changes.size());
        std::vector<std::size_t> end(begin.begin(), begin.end() - 1);
        for (const Change &change : changes)
            sorted[end[change.at]++] = &change;
        for (std::size_t k = 0; k < count; ++k) {
            if (begin[k] == end[k])
                continue;
            const double there = off(k);
            for (std::size_t i = begin[k]; i < end[k]; ++i) {
                const Change &one = *sorted[i];
                (*right)[one.parameter] += weight * one.value * there;
                for (std::size_t j = begin[k]; j <= i; ++j)
                    (*normal)(one.parameter, sorted[j]->parameter)
                        += weight * sorted[j]->value * one.value;
            }
        }
    }

    // What a parameter changes, a pixel of it.
    void differences(const Parameter &p, Eigen::Index number, Changes *pixels, Changes *turns)
    {
        const std::size_t n = pieces.size();
        const std::size_t first = p.kind == 2 ? p.number : (p.number + n - 1) % n;
        const std::size_t count = p.kind == 2 ? 1 : 2;
        Piece moved[2] = { pieces[first], pieces[(first + 1) % n] };
        if (p.kind == 2) {
            bend(p.number, kStep, &moved[0]);
        } else {
            const Point by = p.kind == 0 ? Point { kStep, 0 } : Point { 0, kStep };
            moveEnd(&moved[0], by);
            moveStart(&moved[1], by);
        }
        areas.clear();
        for (std::size_t k = 0; k < count; ++k) {
            areas.add(moved[k], 1 / kStep);
            areas.add(pieces[(first + k) % n], -1 / kStep);
        }
        areas.forEachOfLoop([&](std::size_t k, double change) {
            if (coverage.counts[k] && std::fabs(change) > 1e-6)
                pixels->push_back({ k, number, change });
        });
        for (std::size_t k = 0; k <= count; ++k) {
            const std::size_t joint = (first + k) % n;
            if (!origin[joint].smooth)
                continue;
            const Piece &before = k > 0 ? moved[k - 1] : pieces[(joint + n - 1) % n];
            const Piece &after = k < count ? moved[k] : pieces[joint];
            const double turn = angleBetween(endTangent(before), startTangent(after)) / kSmooth;
            turns->push_back({ joint, number, (turn - turnAt(pieces, joint)) / kStep });
        }
    }

    std::vector<Piece> pieces;
    const std::vector<Piece> origin;
    const Coverage &coverage;
    mutable Areas areas;     // scratch
    std::vector<char> moves; // pieces
    std::vector<double> fixed;
    const double hold; // part of the anchors' deviations
    std::vector<Parameter> parameters;
    std::vector<double> values;
};

// Whether every joint is still near to the old path, and no piece has turned round.
inline bool isTame(const std::vector<Piece> &before, const std::vector<Piece> &after)
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

} // namespace ztrace::fit

#endif
