// (c) the ztrace developers. Licence: see LICENSE.
#include "strokepaths.h"

#include "pieces.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace ztrace {

namespace {

const double kGrid = 65536.0; // places a pixel in which ends are the same

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

class Joiner
{
public:
    explicit Joiner(const Drawing &drawing)
    {
        for (const Outline &outline : drawing.outlines) {
            if (outline.pen >= 0 && !outline.shape.pieces().empty())
                strokes.push_back(&outline);
        }
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
        using Place = std::tuple<QString, int, QRgb, double, double>;
        std::map<Place, std::vector<End>> ends;
        for (End end = 0; end < partner.size(); ++end) {
            const Outline &stroke = *strokes[strokeOf(end)];
            const Path &path = stroke.shape;
            if (path.start() == path.end())
                continue;
            const Point p = end % 2 == 0 ? path.start() : path.end();
            if (!std::isfinite(p.x) || !std::isfinite(p.y))
                continue;
            ends[Place(layerName(stroke), stroke.pen, stroke.colour, std::round(p.x * kGrid),
                       std::round(p.y * kGrid))]
                .push_back(end);
        }
        for (const auto &node : ends) {
            const std::vector<End> &two = node.second;
            if (two.size() != 2 || strokeOf(two[0]) == strokeOf(two[1]))
                continue;
            partner[two[0]] = two[1];
            partner[two[1]] = two[0];
        }
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

    std::vector<const Outline *> strokes;
    std::vector<End> partner; // the end in the same point, of every end
};

} // namespace

std::vector<StrokePath> longestPaths(const Drawing &drawing)
{
    return Joiner(drawing).join();
}

} // namespace ztrace
