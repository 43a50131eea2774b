// (c) the ztrace developers. Licence: see LICENSE.
//
// The joints of a closed path by what it covers of every pixel: docs/fit/areas.md, "Rule".
#ifndef ZTRACE_FIT_AREAPOLISH_H
#define ZTRACE_FIT_AREAPOLISH_H

#include "fit/areas.h"
#include "fit/areaslopes.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace ztrace::fit {

const int kRoundsOfPolish = 6;      // of Gauss and Newton's method
const double kStep = 1e-3;          // pixels of a difference
const double kAnchor = 0.35;        // pixels: deviation of a joint from where the points have it
const double kSagittaAnchor = 0.25; // pixels: the same of an arc's height
const double kSmooth = 0.01;        // radians: what a smooth joint may turn
const double kFarthest = 1.2;       // pixels that a joint may go
const double kSettled = 1e-3;       // of the misfit
const double kHope = 2;             // times what a step promises of the misfit is all there is
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
inline std::vector<double> residuals(const std::vector<Piece> &pieces, const Coverage &coverage,
                                     double around)
{
    Areas areas(coverage);
    for (const Piece &piece : pieces)
        areas.add(piece, 1);
    std::vector<double> result(coverage.right.size());
    for (std::size_t k = 0; k < result.size(); ++k)
        result[k] = coverage.counts[k] ? coverage.right[k] - around : 0;
    areas.forEach([&](std::size_t k, double area) {
        if (coverage.counts[k])
            result[k] -= area;
    });
    return result;
}

inline std::vector<double> residuals(const std::vector<Piece> &pieces, const Coverage &coverage)
{
    return residuals(pieces, coverage, aroundOf(pieces));
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

const std::size_t kNoRow = static_cast<std::size_t>(-1);
const int kLeastBent = 4;          // chords of what is bent
const std::size_t kMostOfRow = 20; // parameters that change one pixel

// Least squares over the joints `from` to `from + count - 1` of a closed path, joint k being where
// piece k begins, and over the arcs beside them. `around` is that of the path.
class Polish
{
public:
    Polish(const std::vector<Piece> &p, const Coverage &c, double around, std::size_t from,
           std::size_t count, double h = 1)
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
        takeFixed(around);
    }

    // The misfit in the end, with the anchors. Gives up early where it will not come down to
    // `goal`.
    double run(int rounds = kRoundsOfPolish, double goal = std::numeric_limits<double>::infinity())
    {
        missing = offOf(pieces);
        double cost = costOf(pieces, values, missing);
        double damping = 1e-3;
        for (int round = 0; round < rounds; ++round) {
            const Eigen::VectorXd step = stepOf(damping);
            // Not at once: a line along the pixels sees nothing of those beside them.
            if (round > 0 && cost - kHope * promised > goal)
                break;
            std::vector<double> next = values;
            for (std::size_t k = 0; k < values.size(); ++k)
                next[k] += step[static_cast<Eigen::Index>(k)];
            const std::vector<Piece> moved = applied(next);
            std::vector<double> rest = offOf(moved);
            const double after = costOf(moved, next, rest);
            if (!(after < cost)) {
                damping *= 30;
                continue;
            }
            const bool settled = cost - after < kSettled * cost;
            pieces = moved;
            values = next;
            missing.swap(rest);
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
    void takeFixed(double around)
    {
        const std::size_t n = pieces.size();
        moves.assign(n, 0);
        for (const Parameter &p : parameters) {
            moves[p.number] = 1;
            if (p.kind != 2)
                moves[(p.number + n - 1) % n] = 1;
        }
        fixed.resize(coverage.right.size());
        for (std::size_t k = 0; k < fixed.size(); ++k)
            fixed[k] = coverage.counts[k] ? coverage.right[k] - around : 0;
        take(pieces, 0, &fixed);
    }

    // Takes off what the pieces draw that move, or do not.
    void take(const std::vector<Piece> &p, char moving, std::vector<double> *from) const
    {
        areas.clear();
        for (std::size_t k = 0; k < p.size(); ++k) {
            if (moves[k] == moving)
                areas.add(p[k], 1);
        }
        areas.forEach([&](std::size_t k, double area) {
            if (coverage.counts[k])
                (*from)[k] -= area;
        });
    }

    std::vector<double> offOf(const std::vector<Piece> &p) const
    {
        std::vector<double> rest = fixed;
        take(p, 1, &rest);
        return rest;
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

    double costOf(const std::vector<Piece> &p, const std::vector<double> &all,
                  const std::vector<double> &rest) const
    {
        double cost = squares(rest) / (coverage.sigma * coverage.sigma);
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
        takeSlopes();
        normal.setZero(n, n);
        right.setZero(n);
        for (const Row &row : rows) {
            for (std::size_t i = 0; i < row.count; ++i) {
                const double slope = row.slopes[i];
                right[row.columns[i]] += slope * row.off;
                for (std::size_t j = 0; j <= i; ++j)
                    normal(std::max(row.columns[i], row.columns[j]),
                           std::min(row.columns[i], row.columns[j]))
                        += slope * row.slopes[j];
            }
        }
        for (Eigen::Index i = 0; i < n; ++i) {
            const auto k = static_cast<std::size_t>(i);
            const double anchor = 1 / (anchorOf(parameters[k]) * anchorOf(parameters[k]));
            normal(i, i) = (normal(i, i) + anchor) * (1 + damping);
            right[i] -= anchor * values[k];
        }
        const Eigen::VectorXd step = normal.selfadjointView<Eigen::Lower>().ldlt().solve(right);
        promised = step.dot(right);
        return step;
    }

    // How a pixel or a joint changes with the parameters, and what it is off by; in deviations.
    struct Row
    {
        double off;
        std::size_t count = 0;
        std::array<Eigen::Index, kMostOfRow> columns;
        std::array<double, kMostOfRow> slopes;

        // What does not fit in is left to the next round: no pixel is near to so many joints.
        void add(std::size_t parameter, double slope)
        {
            const auto column = static_cast<Eigen::Index>(parameter);
            std::size_t k = 0;
            while (k < count && columns[k] != column)
                ++k;
            if (k == kMostOfRow)
                return;
            if (k == count) {
                columns[k] = column;
                slopes[k] = 0;
                ++count;
            }
            slopes[k] += slope;
        }
    };

    void takeSlopes()
    {
        rowOf.resize(coverage.right.size(), kNoRow);
        rows.clear();
        for (std::size_t number = 0; number < pieces.size(); ++number) {
            if (moves[number])
                addSlopes(number);
        }
        for (std::size_t pixel : touched)
            rowOf[pixel] = kNoRow;
        touched.clear();
        for (std::size_t joint = 0; joint < pieces.size(); ++joint) {
            const std::size_t before = (joint + pieces.size() - 1) % pieces.size();
            if (origin[joint].smooth && (moves[before] || moves[joint]))
                addTurn(joint, before);
        }
    }

    void addSlopes(std::size_t number)
    {
        const Piece &piece = pieces[number];
        // One chord would not bend.
        chords.count = std::max(chordsOf(piece), piece.kind == Kind::Line ? 1 : kLeastBent);
        chords.ways = 0;
        chordPoints(piece, chords.count, chords.points.data());
        std::array<std::size_t, kMostMoves> columns;
        forEachMoved(number, kStep, [&](std::size_t parameter, const Piece &moved) {
            std::array<Point, kMostChords + 1> &move = chords.moves[chords.ways];
            chordPoints(moved, chords.count, move.data());
            for (std::size_t k = 0; k <= static_cast<std::size_t>(chords.count); ++k)
                move[k] = (1 / kStep) * (move[k] - chords.points[k]);
            columns[chords.ways++] = parameter;
        });
        const double weight = 1 / coverage.sigma;
        forEachSlope(chords, coverage, [&](std::size_t pixel, std::size_t way, double slope) {
            std::size_t &row = rowOf[pixel];
            if (row == kNoRow) {
                row = rows.size();
                touched.push_back(pixel);
                rows.emplace_back();
                rows.back().off = weight * missing[pixel];
            }
            rows[row].add(columns[way], weight * slope);
        });
    }

    void addTurn(std::size_t joint, std::size_t before)
    {
        const double turn = turnAt(pieces, joint);
        Row row;
        row.off = -turn;
        const auto take = [&](std::size_t number) {
            forEachMoved(number, kStep, [&](std::size_t parameter, const Piece &piece) {
                const Piece &one = number == before ? piece : pieces[before];
                const Piece &other = number == before ? pieces[joint] : piece;
                const double then = angleBetween(endTangent(one), startTangent(other)) / kSmooth;
                row.add(parameter, (then - turn) / kStep);
            });
        };
        take(before);
        take(joint);
        rows.push_back(row);
    }

    // Calls use(parameter, piece moved by `step`) for the parameters that move a piece.
    template<typename Use>
    void forEachMoved(std::size_t number, double step, const Use &use) const
    {
        const std::size_t after = (number + 1) % pieces.size();
        for (std::size_t k = 0; k < parameters.size(); ++k) {
            const Parameter &p = parameters[k];
            if (p.number != number && (p.kind == 2 || p.number != after))
                continue;
            Piece moved = pieces[number];
            const Point by = p.kind == 0 ? Point { step, 0 } : Point { 0, step };
            if (p.kind == 2)
                bend(p.number, step, &moved);
            else if (p.number == number)
                moveStart(&moved, by);
            else
                moveEnd(&moved, by);
            use(k, moved);
        }
    }

    std::vector<Piece> pieces;
    const std::vector<Piece> origin;
    const Coverage &coverage;
    mutable Areas areas; // scratch
    MovedChords chords;
    std::vector<std::size_t> rowOf;   // pixels
    std::vector<std::size_t> touched; // pixels
    std::vector<Row> rows;
    Eigen::MatrixXd normal;
    Eigen::VectorXd right;
    std::vector<double> missing; // measured less what the pieces draw
    double promised = 0;         // of the misfit by the last step
    std::vector<char> moves;     // pieces
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
