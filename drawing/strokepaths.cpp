// (c) the ztrace developers. Licence: see LICENSE.
#include "strokepaths.h"

#include "pens.h"
#include "pieces.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace ztrace {

namespace {

const double kGrid = 65536.0; // places a pixel in which ends are the same
const double kPi = 4.0 * std::atan(1.0);
const double kDirection = 0.05; // pixels that lines for an end's direction are from the curve
// Radians over half a turn from which two ends at a gap are a corner: below, two lines that go on
// straight leave a notch of a hundredth of their width.
const double kCorner = 0.02;

using End = std::size_t; // twice the stroke's number, plus one for the end of its path

std::size_t strokeOf(End end)
{
    return end / 2;
}

const End kNone = static_cast<End>(-1);

End otherEnd(End end)
{
    return end ^ 1u;
}

// Where the path of a stroke goes from its end, in radians.
double directionFrom(const Path &path, bool atEnd)
{
    std::vector<PathPiece> pieces;
    piecesOf(path, &pieces);
    if (pieces.empty())
        return 0.0;
    const PathPiece &piece = atEnd ? pieces.back() : pieces.front();
    std::vector<Point> points(1, piece.start);
    flatten(piece, kDirection, &points);
    if (atEnd)
        std::reverse(points.begin(), points.end());
    return std::atan2(points[1].y - points[0].y, points[1].x - points[0].x);
}

enum class Meeting {
    TwoAlone, // ends that meet no third one
    Corner,   // those beside a gap of over half a turn
};

class Joiner
{
public:
    // Strokes of different runs are not joined.
    Joiner(std::vector<const Outline *> s, std::vector<int> r, Meeting m)
        : strokes(std::move(s)), runs(std::move(r)), meeting(m)
    {
        partner.assign(2 * strokes.size(), kNone);
        findPartners();
    }

    std::vector<StrokePath> join() const
    {
        std::vector<StrokePath> paths;
        std::vector<bool> done(strokes.size(), false);
        for (std::size_t i = 0; i < strokes.size(); ++i) {
            if (done[i])
                continue;
            // Where this one's path begins: back from its start, once around at most.
            End begin = 2 * i;
            while (partner[begin] != kNone && strokeOf(partner[begin]) != i)
                begin = otherEnd(partner[begin]);
            paths.push_back({ strokes[i], walk(begin, &done) });
        }
        return paths;
    }

private:
    void findPartners()
    {
        using Place = std::tuple<QString, int, QRgb, int, double, double>;
        std::map<Place, std::vector<End>> ends;
        for (End end = 0; end < partner.size(); ++end) {
            const Outline &stroke = *strokes[strokeOf(end)];
            const Path &path = stroke.shape;
            if (path.start() == path.end())
                continue;
            const Point p = end % 2 == 0 ? path.start() : path.end();
            if (!std::isfinite(p.x) || !std::isfinite(p.y))
                continue;
            ends[Place(layerName(stroke), stroke.pen, stroke.colour, runs[strokeOf(end)],
                       std::round(p.x * kGrid), std::round(p.y * kGrid))]
                .push_back(end);
        }
        for (const auto &node : ends) {
            const std::vector<End> two
                = meeting == Meeting::Corner ? cornerOf(node.second) : node.second;
            if (two.size() != 2 || strokeOf(two[0]) == strokeOf(two[1]))
                continue;
            partner[two[0]] = two[1];
            partner[two[1]] = two[0];
        }
    }

    // The two ends beside the widest gap around their point; none where it is half a turn or less.
    std::vector<End> cornerOf(const std::vector<End> &ends) const
    {
        std::vector<std::pair<double, End>> around;
        for (End end : ends)
            around.push_back({ directionFrom(strokes[strokeOf(end)]->shape, end % 2 != 0), end });
        std::sort(around.begin(), around.end());
        for (std::size_t k = 0; ends.size() > 1 && k < around.size(); ++k) {
            const auto &next = around[(k + 1) % around.size()];
            const double turn = k + 1 < around.size() ? 0.0 : 2.0 * kPi;
            if (next.first + turn - around[k].first > kPi + kCorner)
                return { around[k].second, next.second };
        }
        return {};
    }

    Path walk(End begin, std::vector<bool> *done) const
    {
        Path path;
        for (End end = begin; end != kNone && !(*done)[strokeOf(end)];
             end = partner[otherEnd(end)]) {
            (*done)[strokeOf(end)] = true;
            append(strokes[strokeOf(end)]->shape, end % 2 != 0, &path);
        }
        return path;
    }

    static void append(const Path &shape, bool backwards, Path *path)
    {
        if (path->isEmpty())
            path->moveTo(backwards ? shape.end() : shape.start());
        if (!backwards) {
            for (const PathPiece piece : shape.pieces())
                appendForwards(piece, path);
            return;
        }
        std::vector<PathPiece> pieces;
        for (const PathPiece piece : shape.pieces())
            pieces.push_back(piece);
        for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece)
            appendReversed(*piece, path);
    }

    const std::vector<const Outline *> strokes;
    const std::vector<int> runs;
    const Meeting meeting;
    std::vector<End> partner; // the end in the same point, of every end
};

bool hasFlatEnds(const Drawing &drawing, const Outline &stroke)
{
    const Pen pen = penOf(drawing, stroke);
    return !pen.roundEnds && dashesOf(pen).empty();
}

} // namespace

std::vector<StrokePath> longestPaths(const Drawing &drawing)
{
    std::vector<const Outline *> strokes;
    for (const Outline &outline : drawing.outlines) {
        if (outline.pen >= 0 && !outline.shape.pieces().empty())
            strokes.push_back(&outline);
    }
    std::vector<int> runs(strokes.size(), 0);
    return Joiner(std::move(strokes), std::move(runs), Meeting::TwoAlone).join();
}

std::optional<Drawing> withCorners(const Drawing &drawing)
{
    // What is painted between two strokes in another colour may lie between them.
    std::vector<const Outline *> strokes;
    std::vector<int> runs;
    int run = 0;
    for (const Outline &outline : drawing.outlines) {
        run += &outline != &drawing.outlines.front() && outline.colour != (&outline)[-1].colour;
        if (outline.pen < 0 || outline.shape.pieces().empty() || !hasFlatEnds(drawing, outline))
            continue;
        strokes.push_back(&outline);
        runs.push_back(run);
    }
    const std::size_t count = strokes.size();
    if (count < 2)
        return {};
    const std::vector<StrokePath> paths = Joiner(strokes, std::move(runs), Meeting::Corner).join();
    if (paths.size() == count)
        return {};
    Drawing joined = drawing;
    joined.chains.clear();
    std::vector<bool> isStroke(drawing.outlines.size(), false);
    for (const Outline *stroke : strokes)
        isStroke[std::size_t(stroke - drawing.outlines.data())] = true;
    for (const StrokePath &path : paths) {
        const std::size_t place = std::size_t(path.first - drawing.outlines.data());
        joined.outlines[place].shape = path.path;
        isStroke[place] = false;
    }
    // What has become part of another is left out, and holes are counted anew.
    std::vector<int> placeOf;
    int kept = 0;
    for (bool isGone : isStroke)
        placeOf.push_back(isGone ? -1 : kept++);
    std::vector<Outline> outlines;
    for (std::size_t k = 0; k < joined.outlines.size(); ++k) {
        if (isStroke[k])
            continue;
        for (int &hole : joined.outlines[k].holes)
            hole = placeOf[std::size_t(hole)];
        outlines.push_back(std::move(joined.outlines[k]));
    }
    joined.outlines = std::move(outlines);
    return joined;
}

} // namespace ztrace
