// (c) the ztrace developers. Licence: see LICENSE.
//
// The joints of a closed path by what it covers of every pixel: docs/fit/areas.md, "Rule".
#ifndef ZTRACE_FIT_AREAPOLISH_H
#define ZTRACE_FIT_AREAPOLISH_H

#include "fit/areachanges.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace ztrace::fit {

const int kRoundsOfPolish = 6;      // of Gauss and Newton's method
const double kStep = 1e-3;          // pixels of a difference
const double kAnchor = 0.35;        // pixels: deviation of a joint from where the points have it
const double kSagittaAnchor = 0.25; // pixels: the same of an arc's height
const double kControlAnchor = 0.5;  // pixels: the same of a curve's controls
const double kSmooth = 0.01;        // radians: what a smooth joint may turn
const double kFarthest = 1.2;       // pixels that a joint may go
const double kSettled = 1e-3;       // of the misfit
// Of what is missing that a step must promise, as areas that change evenly have it. At 1 lettering
// of 16 px takes 2 % fewer numbers and is 3 % farther off; with no such bound the command takes a
// sixth more instructions for a dialog.
const double kHoped = 0.5;
const double kShortest = 0.1; // pixels that a piece keeps
const double kMostBulge = 2;

// Twice what lies between the chords of the quarters of a piece and the origin. Halves of an arc
// need no angles: the tangent of a quarter of the sweep gives that of an eighth.
inline double twiceAreaOf(const Piece &piece)
{
    if (piece.kind == Kind::Line)
        return cross(piece.start, piece.end);
    Point quarters[3];
    if (piece.kind == Kind::Arc) {
        const auto top = [](Point a, Point b, double bulge) {
            const Point chord = b - a;
            return 0.5 * (a + b) + 0.5 * bulge * Point { chord.y, -chord.x };
        };
        const double ofHalf = piece.bulge / (1 + std::sqrt(1 + piece.bulge * piece.bulge));
        quarters[1] = top(piece.start, piece.end, piece.bulge);
        quarters[0] = top(piece.start, quarters[1], ofHalf);
        quarters[2] = top(quarters[1], piece.end, ofHalf);
    } else {
        for (int k = 0; k < 3; ++k)
            quarters[k] = pointAt(piece, 0.25 * (k + 1));
    }
    return cross(piece.start, quarters[0]) + cross(quarters[0], quarters[1])
        + cross(quarters[1], quarters[2]) + cross(quarters[2], piece.end);
}

inline double areaOf(const std::vector<Piece> &pieces)
{
    double twice = 0;
    for (const Piece &piece : pieces)
        twice += twiceAreaOf(piece);
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

// Controls of a curve that move.
inline int controlsOf(const Piece &piece)
{
    return piece.kind == Kind::Cubic ? 2 : piece.kind == Kind::Quadratic ? 1 : 0;
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
            for (int kind = 3; kind < 3 + 2 * controlsOf(pieces[piece]); ++kind)
                parameters.push_back({ piece, kind });
        }
        values.assign(parameters.size(), 0.0);
        findSlots();
        takeFixed();
        measureTurns();
    }

    // The misfit in the end, with the anchors. Steps win less and less: it ends where the last one
    // has won less than is missing to `wanted`, and before one that promises less than half of
    // that.
    double run(int rounds = kRoundsOfPolish,
               double wanted = std::numeric_limits<double>::infinity())
    {
        double cost = costOf(pieces, values, &off);
        double damping = 1e-3;
        std::vector<double> offNext;
        bool isNew = true;
        for (int round = 0; round < rounds; ++round) {
            if (isNew)
                findEquations();
            const Eigen::VectorXd step = stepOf(damping);
            if (step.dot(right) < kHoped * (cost - wanted))
                break;
            std::vector<double> next = values;
            for (std::size_t k = 0; k < values.size(); ++k)
                next[k] += step[static_cast<Eigen::Index>(k)];
            const std::vector<Piece> moved = applied(next);
            const double after = costOf(moved, next, &offNext);
            isNew = after < cost;
            if (!isNew) {
                damping *= 30;
                continue;
            }
            off.swap(offNext);
            const bool settled = cost - after < kSettled * cost || cost - after < after - wanted;
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
        int kind; // 0, 1: x and y of a joint; 2: height of an arc; 3 to 6: x and y of controls
    };

    // Parameters of a piece, -1 where it has none; those of y follow those of x.
    struct Slots
    {
        Eigen::Index start = -1;
        Eigen::Index end = -1;
        Eigen::Index bend = -1;
        Eigen::Index control = -1;
        double bulgeAPixel = 0; // of height
    };
    static constexpr uint32_t kNone = uint32_t(-1);

    struct Touch
    {
        Eigen::Index parameter;
        double by;
    };

    // Changes and the pieces that they are of, listed pixel by pixel. It stays from one step to the
    // next: to get as much memory again would take longer than most steps.
    struct Room
    {
        std::vector<AreaChange> changes;
        std::vector<uint32_t> slots;
        std::vector<uint32_t> firstAt;
        std::vector<uint32_t> nextAt;
    };
    static Room &room()
    {
        thread_local Room own;
        return own;
    }

    // Which parameters move each piece.
    void findSlots()
    {
        const std::size_t n = pieces.size();
        moves.assign(n, 0);
        slotOf.assign(n, Slots());
        for (std::size_t k = 0; k < parameters.size(); ++k) {
            const Parameter &p = parameters[k];
            moves[p.number] = 1;
            if (p.kind == 2) {
                slotOf[p.number].bend = static_cast<Eigen::Index>(k);
                slotOf[p.number].bulgeAPixel = bulgeAPixel(p.number);
            } else if (p.kind == 3) {
                slotOf[p.number].control = static_cast<Eigen::Index>(k);
            } else if (p.kind == 0) {
                slotOf[p.number].start = static_cast<Eigen::Index>(k);
                slotOf[(p.number + n - 1) % n].end = static_cast<Eigen::Index>(k);
                moves[(p.number + n - 1) % n] = 1;
            }
        }
        placeOf.assign(parameters.size(), -1);
        touched.resize(parameters.size());
    }

    // Measured less what the pieces draw that no parameter moves.
    void takeFixed()
    {
        const double around = aroundOf(pieces);
        fixed.resize(coverage.right.size());
        for (std::size_t k = 0; k < fixed.size(); ++k)
            fixed[k] = coverage.counts[k] ? coverage.right[k] - around : 0;
        take(pieces, 0, &fixed);
    }

    // Of smooth joints between pieces that stay as they are.
    void measureTurns()
    {
        turns.assign(pieces.size(), 0.0);
        for (std::size_t k = 0; k < pieces.size(); ++k) {
            if (origin[k].smooth && !turnsAt(k))
                turns[k] = turnAt(pieces, k);
        }
    }

    // Whether a joint may turn otherwise as parameters move.
    bool turnsAt(std::size_t joint) const
    {
        return moves[joint] || moves[(joint + moves.size() - 1) % moves.size()];
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

    double anchorOf(const Parameter &p) const
    {
        return hold * (p.kind == 2 ? kSagittaAnchor : p.kind > 2 ? kControlAnchor : kAnchor);
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

    double bulgeAPixel(std::size_t number) const
    {
        const Point chord = origin[number].end - origin[number].start;
        return 2 / std::max(0.3, std::sqrt(dot(chord, chord)));
    }

    void bend(const Parameter &p, double value, Piece *piece) const
    {
        if (p.kind == 2)
            piece->bulge += value * bulgeAPixel(p.number);
        double *const controls[]
            = { &piece->control.x, &piece->control.y, &piece->control2.x, &piece->control2.y };
        if (p.kind > 2)
            *controls[p.kind - 3] += value;
    }

    void apply(const Parameter &p, double value, std::vector<Piece> *to) const
    {
        const std::size_t n = to->size();
        if (p.kind >= 2) {
            bend(p, value, &(*to)[p.number]);
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

    // And what the pixels are off by then.
    double costOf(const std::vector<Piece> &p, const std::vector<double> &all,
                  std::vector<double> *offThen) const
    {
        *offThen = fixed;
        take(p, 1, offThen);
        double cost = squares(*offThen) / (coverage.sigma * coverage.sigma);
        for (std::size_t k = 0; k < p.size(); ++k) {
            if (!origin[k].smooth)
                continue;
            const double turn = turnsAt(k) ? turnAt(p, k) : turns[k];
            cost += turn * turn;
        }
        for (std::size_t k = 0; k < all.size(); ++k)
            cost += all[k] * all[k] / (anchorOf(parameters[k]) * anchorOf(parameters[k]));
        return cost;
    }

    // Of the pieces as they are, with nothing damped.
    void findEquations()
    {
        const auto n = static_cast<Eigen::Index>(parameters.size());
        normal.setZero(n, n);
        right.setZero(n);
        addPixels();
        addTurns();
        for (Eigen::Index i = 0; i < n; ++i) {
            const auto k = static_cast<std::size_t>(i);
            const double anchor = 1 / (anchorOf(parameters[k]) * anchorOf(parameters[k]));
            normal(i, i) += anchor;
            right[i] -= anchor * values[k];
        }
    }

    Eigen::VectorXd stepOf(double damping)
    {
        damped = normal;
        damped.diagonal() *= 1 + damping;
        return damped.selfadjointView<Eigen::Lower>().llt().solve(right);
    }

    // What each pixel is off by, and how that changes.
    void addPixels()
    {
        std::vector<AreaChange> &changes = room().changes;
        std::vector<uint32_t> &slots = room().slots;
        std::vector<uint32_t> &firstAt = room().firstAt;
        std::vector<uint32_t> &nextAt = room().nextAt;
        changes.clear();
        slots.clear();
        for (std::size_t k = 0; k < pieces.size(); ++k) {
            if (!moves[k])
                continue;
            AreaChanges(pieces[k], coverage, slotOf[k].bend >= 0 || slotOf[k].control >= 0,
                        &changes);
            slots.resize(changes.size(), static_cast<uint32_t>(k));
        }
        firstAt.assign(off.size(), kNone);
        nextAt.resize(changes.size());
        for (std::size_t i = changes.size(); i-- > 0;) {
            nextAt[i] = firstAt[changes[i].pixel];
            firstAt[changes[i].pixel] = static_cast<uint32_t>(i);
        }
        const double weight = 1 / (coverage.sigma * coverage.sigma);
        for (std::size_t pixel = 0; pixel < off.size(); ++pixel) {
            if (firstAt[pixel] == kNone)
                continue;
            for (uint32_t i = firstAt[pixel]; i != kNone; i = nextAt[i])
                addChange(changes[i], slotOf[slots[i]], controlsOf(pieces[slots[i]]));
            addGradient(weight, off[pixel]);
        }
    }

    void addChange(const AreaChange &change, const Slots &slot, int controls)
    {
        if (slot.start >= 0) {
            addToGradient(slot.start, change.by[AreaChange::StartX]);
            addToGradient(slot.start + 1, change.by[AreaChange::StartY]);
        }
        if (slot.end >= 0) {
            addToGradient(slot.end, change.by[AreaChange::EndX]);
            addToGradient(slot.end + 1, change.by[AreaChange::EndY]);
        }
        if (slot.bend >= 0)
            addToGradient(slot.bend, slot.bulgeAPixel * change.by[AreaChange::Bend]);
        for (int k = 0; slot.control >= 0 && k < 2 * controls; ++k)
            addToGradient(slot.control + k,
                          change.by[static_cast<std::size_t>(AreaChange::ControlX + k)]);
    }

    void addToGradient(Eigen::Index parameter, double by)
    {
        const auto k = static_cast<std::size_t>(parameter);
        if (placeOf[k] < 0) {
            placeOf[k] = touches;
            touched[static_cast<std::size_t>(touches++)] = { parameter, 0 };
        }
        touched[static_cast<std::size_t>(placeOf[k])].by += by;
    }

    // Weighted least squares of one thing that is off: its gradient into the normal equations,
    // below the diagonal only. Few parameters change the same thing.
    void addGradient(double weight, double missing)
    {
        Touch *const begin = touched.data();
        Touch *const end = begin + touches;
        double *const sides = right.data();
        double *const products = normal.data();
        const Eigen::Index rows = normal.rows();
        for (Touch *one = begin; one != end; ++one) {
            placeOf[static_cast<std::size_t>(one->parameter)] = -1;
            // They come in order but where a path begins.
            const Touch moving = *one;
            Touch *at = one;
            for (; at != begin && at[-1].parameter > moving.parameter; --at)
                *at = at[-1];
            *at = moving;
        }
        for (const Touch *one = begin; one != end; ++one) {
            const double by = weight * one->by;
            sides[one->parameter] += by * missing;
            for (const Touch *other = begin; other <= one; ++other)
                products[other->parameter * rows + one->parameter] += by * other->by;
        }
        touches = 0;
    }

    // The turns of smooth joints, by differences: joint by joint, the ends of both pieces there.
    void addTurns()
    {
        const std::size_t n = pieces.size();
        for (std::size_t joint = 0; joint < n; ++joint) {
            const std::size_t before = (joint + n - 1) % n;
            if (!origin[joint].smooth || !turnsAt(joint))
                continue;
            const double turn = turnAt(pieces, joint);
            const auto differ = [&](Eigen::Index parameter) {
                if (parameter < 0 || placeOf[static_cast<std::size_t>(parameter)] >= 0)
                    return;
                const double moved
                    = turnWith(parameters[static_cast<std::size_t>(parameter)], joint);
                addToGradient(parameter, (moved - turn) / kStep);
            };
            for (Eigen::Index start :
                 { slotOf[before].start, slotOf[joint].start, slotOf[joint].end }) {
                differ(start);
                differ(start < 0 ? start : start + 1);
            }
            for (std::size_t piece : { before, joint }) {
                differ(slotOf[piece].bend);
                for (int k = 0; slotOf[piece].control >= 0 && k < 2 * controlsOf(pieces[piece]);
                     ++k)
                    differ(slotOf[piece].control + k);
            }
            addGradient(1, -turn);
        }
    }

    // The turn at a joint with a parameter a step farther.
    double turnWith(const Parameter &p, std::size_t joint) const
    {
        const std::size_t n = pieces.size();
        const std::size_t number[2] = { (joint + n - 1) % n, joint };
        Piece moved[2] = { pieces[number[0]], pieces[number[1]] };
        const Point by = p.kind == 0 ? Point { kStep, 0 } : Point { 0, kStep };
        for (int k = 0; k < 2; ++k) {
            if (p.kind >= 2) {
                if (p.number == number[k])
                    bend(p, kStep, &moved[k]);
                continue;
            }
            if (p.number == number[k])
                moveStart(&moved[k], by);
            if (p.number == (number[k] + 1) % n)
                moveEnd(&moved[k], by);
        }
        return angleBetween(endTangent(moved[0]), startTangent(moved[1])) / kSmooth;
    }

    std::vector<Piece> pieces;
    const std::vector<Piece> origin;
    const Coverage &coverage;
    mutable Areas areas;       // scratch
    std::vector<char> moves;   // pieces
    std::vector<double> turns; // per joint that stays as it is
    std::vector<double> fixed;
    std::vector<double> off; // per pixel, with the pieces as they are
    const double hold;       // part of the anchors' deviations
    std::vector<Parameter> parameters;
    std::vector<double> values;
    std::vector<Slots> slotOf; // pieces
    // Scratch of a step: the gradient of one pixel or joint, and where in it each parameter is, -1
    // where it is zero.
    std::vector<Touch> touched; // the first `touches`
    std::vector<int> placeOf;
    int touches = 0;
    Eigen::MatrixXd normal;
    Eigen::MatrixXd damped;
    Eigen::VectorXd right;
};

// Whether every joint is still near to the old path, and no piece has turned round.
inline bool isTame(const std::vector<Piece> &before, const std::vector<Piece> &after)
{
    const std::size_t n = before.size();
    for (std::size_t k = 0; k < n; ++k) {
        const Point p = after[k].start;
        const bool stays = p.x == before[k].start.x && p.y == before[k].start.y;
        if (!stays
            && !(std::min(distanceTo(before[k], p), distanceTo(before[(k + n - 1) % n], p))
                 < kFarthest))
            return false;
        if (!(std::fabs(after[k].bulge) < kMostBulge))
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
