// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/snapping.h"

#include "strokes/snaplines.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ztrace::strokes {

namespace {

const double kNearCentre = 0.75; // pixels between centres that may be one
const double kNearRadius = 0.75; // likewise
const double kOnRound = 0.05;    // pixels from a circle that a stroke which ends on it ends at

// Circles, and the centres of ellipses.
class Rounds
{
public:
    explicit Rounds(StrokeDrawing *d) : strokes(d->strokes), sigma(d->sigma)
    {
        for (std::size_t k = 0; k < strokes.size(); ++k) {
            const fit::Kind kind = strokes[k].piece.kind;
            if ((kind == fit::Kind::Circle || kind == fit::Kind::Ellipse)
                && strokes[k].role != Role::Text && strokes[k].samples.size() >= kLeastSections
                && !endsOn(strokes[k].piece))
                rounds.push_back(k);
        }
    }

    void putInOrder()
    {
        orderRadii();
        orderCentres();
    }

private:
    // Whether another stroke does.
    bool endsOn(const fit::Piece &round) const
    {
        return std::any_of(strokes.begin(), strokes.end(), [&round](const Stroke &stroke) {
            return !fit::isWhole(stroke.piece.kind)
                && (isOn(round, stroke.piece.start) || isOn(round, stroke.piece.end));
        });
    }

    static bool isOn(const fit::Piece &round, Point p)
    {
        const Point away = p - round.centre;
        const double distance = std::hypot(away.x, away.y);
        const auto axes = std::minmax(round.half[0], round.half[1]);
        return distance > axes.first - kOnRound && distance < axes.second + kOnRound
            && fit::distanceTo(round, p) < kOnRound;
    }

    bool allows(std::size_t k, const fit::Piece &piece) const
    {
        const Misfit own = misfitOf(strokes[k].piece, strokes[k].samples, sigma);
        return own.allows(misfitOf(piece, strokes[k].samples, sigma));
    }

    fit::Piece withRadius(std::size_t k, double radius) const
    {
        fit::Piece circle = strokes[k].piece;
        circle.radius = circle.half[0] = circle.half[1] = radius;
        circle.start = circle.end = circle.centre + Point { radius, 0 };
        return circle;
    }

    fit::Piece withCentre(std::size_t k, Point centre) const
    {
        fit::Piece round = strokes[k].piece;
        const Point move = centre - round.centre;
        round.centre = centre;
        round.start = round.end = round.start + move;
        return round;
    }

    // Of `found` the mean of a number, by cross-sections.
    template<typename Value>
    auto meanOf(const std::vector<std::size_t> &found, const Value &value) const
    {
        double weights = 0;
        auto sum = 0.0 * value(found.front());
        for (std::size_t k : found) {
            const double weight = double(strokes[k].samples.size());
            weights += weight;
            sum = sum + weight * value(k);
        }
        return (1 / weights) * sum;
    }

    // Takes rounds in this order as long as `changed`, with the mean, is allowed for the first and
    // the last of them, which are farthest from it.
    template<typename Value, typename Near, typename Changed>
    void gather(const std::vector<std::size_t> &order, const Value &value, const Near &isNear,
                const Changed &changed)
    {
        std::vector<char> isUsed(order.size(), 0);
        for (std::size_t from = 0; from < order.size(); ++from) {
            if (isUsed[from])
                continue;
            std::vector<std::size_t> found(1, order[from]);
            for (std::size_t k = from + 1; k < order.size(); ++k) {
                if (isUsed[k] || !isNear(order[from], order[k]))
                    continue;
                found.push_back(order[k]);
                const auto mean = meanOf(found, value);
                isUsed[k] = allows(order[from], changed(order[from], mean))
                    && allows(order[k], changed(order[k], mean));
                if (!isUsed[k])
                    found.pop_back();
            }
            const auto mean = meanOf(found, value);
            for (std::size_t k : found) {
                const fit::Piece piece = changed(k, mean);
                if (found.size() > 1 && allows(k, piece))
                    strokes[k].piece = piece;
            }
        }
    }

    void orderRadii()
    {
        std::vector<std::size_t> circles;
        for (std::size_t k : rounds) {
            if (strokes[k].piece.kind == fit::Kind::Circle)
                circles.push_back(k);
        }
        const auto radius = [this](std::size_t k) { return strokes[k].piece.radius; };
        std::stable_sort(circles.begin(), circles.end(),
                         [&](std::size_t a, std::size_t b) { return radius(a) < radius(b); });
        gather(
            circles, radius,
            [&](std::size_t a, std::size_t b) {
                return std::fabs(radius(a) - radius(b)) <= kNearRadius;
            },
            [this](std::size_t k, double mean) { return withRadius(k, mean); });
    }

    void orderCentres()
    {
        const auto centre = [this](std::size_t k) { return strokes[k].piece.centre; };
        std::stable_sort(rounds.begin(), rounds.end(),
                         [&](std::size_t a, std::size_t b) { return centre(a).x < centre(b).x; });
        gather(
            rounds, centre,
            [&](std::size_t a, std::size_t b) {
                const Point away = centre(a) - centre(b);
                return std::hypot(away.x, away.y) <= kNearCentre;
            },
            [this](std::size_t k, Point mean) { return withCentre(k, mean); });
    }

    std::vector<Stroke> &strokes;
    const double sigma;
    std::vector<std::size_t> rounds;
};

} // namespace

void putInOrder(fit::Snap snap, StrokeDrawing *drawing)
{
    if (snap == fit::Snap::None || !(drawing->sigma > 0))
        return;
    snapLines(snap == fit::Snap::All, drawing);
    if (snap == fit::Snap::All)
        Rounds(drawing).putInOrder();
}

} // namespace ztrace::strokes
