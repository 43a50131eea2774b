// (c) the ztrace developers. Licence: see LICENSE.
//
// The reference tracer: from the index grid to fitted segments.
#include "Reference.h"

namespace ztrace::reference {

namespace {

struct Step
{
    int code;
    int direction;
    int dx;
    int dy;
};

const Step kNone = { -1, -1, -1, -1 };

// The step out of a node of the given code, entered in the given direction.
// Directions: 0 right, 1 up, 2 left, 3 down.
Step combined(int code, int direction)
{
    const Step right = { 0, 0, 1, 0 };
    const Step up = { 0, 1, 0, -1 };
    const Step left = { 0, 2, -1, 0 };
    const Step down = { 0, 3, 0, 1 };
    const auto leaving = [](int rest, Step step) {
        step.code = rest;
        return step;
    };
    const Step table[16][4] = {
        { kNone, kNone, kNone, kNone },
        { up, kNone, kNone, left },
        { kNone, kNone, up, right },
        { right, kNone, left, kNone },
        { kNone, right, down, kNone },
        { leaving(13, down), leaving(13, left), leaving(7, up), leaving(7, right) },
        { kNone, up, kNone, down },
        { down, left, kNone, kNone },
        { down, left, kNone, kNone },
        { kNone, up, kNone, down },
        { leaving(11, up), leaving(14, right), leaving(14, down), leaving(11, left) },
        { kNone, right, down, kNone },
        { right, kNone, left, kNone },
        { kNone, kNone, up, right },
        { up, kNone, kNone, left },
        { kNone, kNone, kNone, kNone },
    };
    return table[code][direction];
}

int startDirection(int code)
{
    const int table[16] = { 0, 0, 3, 0, 1, 0, 3, 0, 0, 3, 3, 1, 0, 3, 0, 0 };
    return table[code];
}

bool startsHole(int code)
{
    return code == 7 || code == 11 || code == 13 || code == 14;
}

double squared(double value)
{
    return value * value;
}

} // namespace

std::vector<Grid> Reference::layering() const
{
    const Grid &indices = indexedImage.indices;
    const std::size_t rows = indices.size();
    const std::size_t cols = rows == 0 ? 0 : indices[0].size();
    std::vector<Grid> layers(indexedImage.palette.size(), Grid(rows, std::vector<int>(cols, 0)));
    for (std::size_t j = 1; j + 1 < rows; ++j) {
        for (std::size_t i = 1; i + 1 < cols; ++i) {
            const int v = indices[j][i];
            if (v < 0 || static_cast<std::size_t>(v) >= layers.size())
                continue;
            const int nw = indices[j - 1][i - 1] == v ? 1 : 0;
            const int n = indices[j - 1][i] == v ? 1 : 0;
            const int ne = indices[j - 1][i + 1] == v ? 1 : 0;
            const int w = indices[j][i - 1] == v ? 1 : 0;
            const int e = indices[j][i + 1] == v ? 1 : 0;
            const int sw = indices[j + 1][i - 1] == v ? 1 : 0;
            const int s = indices[j + 1][i] == v ? 1 : 0;
            const int se = indices[j + 1][i + 1] == v ? 1 : 0;
            Grid &layer = layers[static_cast<std::size_t>(v)];
            layer[j + 1][i + 1] = 1 + 2 * e + 4 * se + 8 * s;
            if (!w)
                layer[j + 1][i] = 2 + 4 * s + 8 * sw;
            if (!n)
                layer[j][i + 1] = 2 * ne + 4 * e + 8;
            if (!nw)
                layer[j][i] = 2 * n + 4 + 8 * w;
        }
    }
    return layers;
}

Paths Reference::pathscan(Grid grid, float pathomit) const
{
    Paths result;
    const int h = static_cast<int>(grid.size());
    const int w = h == 0 ? 0 : static_cast<int>(grid[0].size());
    const auto node = [&grid](int px, int py) -> int & {
        return grid[static_cast<std::size_t>(py)][static_cast<std::size_t>(px)];
    };
    for (int py0 = 0; py0 < h; ++py0) {
        for (int px0 = 0; px0 < w; ++px0) {
            const int start = node(px0, py0);
            if (start == 0 || start == 15)
                continue;
            if (start < 0 || start > 15)
                continue; // malformed
            result.push_back(Path());
            int direction = startDirection(start);
            const bool hole = startsHole(start);
            bool malformed = false;
            int px = px0;
            int py = py0;
            for (;;) {
                Path &path = result.back();
                if (px < 0 || py < 0 || px >= w || py >= h || node(px, py) < 0
                    || node(px, py) > 15) {
                    malformed = true;
                    break;
                }
                path.push_back(PathPoint { px - 1, py - 1, node(px, py) });
                const Step step = combined(node(px, py), direction);
                if (step.code < 0) {
                    malformed = true;
                    break;
                }
                node(px, py) = step.code;
                direction = step.direction;
                px += step.dx;
                py += step.dy;
                if (px - 1 == path[0][0] && py - 1 == path[0][1])
                    break;
            }
            if (malformed || hole || pathomit > static_cast<float>(result.back().size()))
                result.pop_back();
        }
    }
    return result;
}

std::vector<Paths> Reference::batchpathscan(const std::vector<Grid> &layers, float pathomit) const
{
    std::vector<Paths> result;
    for (const Grid &layer : layers)
        result.push_back(pathscan(layer, pathomit));
    return result;
}

InternodePaths Reference::internodes(const Paths &paths) const
{
    InternodePaths result;
    for (const Path &path : paths) {
        result.push_back(InternodePath());
        const std::size_t n = path.size();
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t j = (i + 1) % n;
            const std::size_t k = (i + 2) % n;
            const double x = (path[i][0] + path[j][0]) * 0.5;
            const double y = (path[i][1] + path[j][1]) * 0.5;
            const double nx = (path[j][0] + path[k][0]) * 0.5;
            const double ny = (path[j][1] + path[k][1]) * 0.5;
            double code;
            if (x < nx)
                code = y < ny ? 1 : y > ny ? 7 : 0;
            else if (x > nx)
                code = y < ny ? 3 : y > ny ? 5 : 4;
            else
                code = y < ny ? 2 : y > ny ? 6 : 8;
            result.back().push_back(InternodePoint { x, y, code });
        }
    }
    return result;
}

std::vector<InternodePaths> Reference::batchinternodes(const std::vector<Paths> &layers) const
{
    std::vector<InternodePaths> result;
    for (const Paths &paths : layers)
        result.push_back(internodes(paths));
    return result;
}

TracedPath Reference::fitseq(const InternodePath &path, float ltres, float qtres, int seqstart,
                             int seqend) const
{
    const int n = static_cast<int>(path.size());
    if (seqend < 0 || seqend > n)
        return TracedPath();
    if (seqend == n || seqstart < 0 || seqstart >= n)
        return TracedPath(); // no such internode
    if (gaveUp || ++fits > mostFits) {
        gaveUp = true;
        return TracedPath();
    }
    const auto X = [&path](int i) { return path[static_cast<std::size_t>(i)][0]; };
    const auto Y = [&path](int i) { return path[static_cast<std::size_t>(i)][1]; };
    const double sx = X(seqstart);
    const double sy = Y(seqstart);
    const double ex = X(seqend);
    const double ey = Y(seqend);

    double tl = seqend - seqstart;
    if (tl < 0)
        tl += n;

    const double vx = (ex - sx) / tl;
    const double vy = (ey - sy) / tl;
    bool passes = true;
    double errorval = 0;
    int errorpoint = seqstart;
    for (int i = (seqstart + 1) % n; i != seqend; i = (i + 1) % n) {
        double pl = i - seqstart;
        if (pl < 0)
            pl += n;
        const double d2 = squared(X(i) - (sx + vx * pl)) + squared(Y(i) - (sy + vy * pl));
        if (d2 > static_cast<double>(ltres))
            passes = false;
        if (d2 > errorval) {
            errorval = d2;
            errorpoint = i;
        }
    }
    if (passes)
        return TracedPath(1, Segment { 1.0, sx, sy, ex, ey, 0.0, 0.0 });

    const int fitpoint = errorpoint;
    double t = (fitpoint - seqstart) / tl;
    double t1 = (1 - t) * (1 - t);
    double t2 = 2 * (1 - t) * t;
    double t3 = t * t;
    const double cpx = ((t1 * sx + t3 * ex) - X(fitpoint)) / (-t2);
    const double cpy = ((t1 * sy + t3 * ey) - Y(fitpoint)) / (-t2);

    passes = true;
    errorval = 0;
    for (int i = seqstart + 1; i != seqend; i = (i + 1) % n) {
        if (i >= n)
            return TracedPath(); // only for a start at the last internode
        t = (i - seqstart) / tl;
        t1 = (1 - t) * (1 - t);
        t2 = 2 * (1 - t) * t;
        t3 = t * t;
        const double d2 = squared(X(i) - (t1 * sx + t2 * cpx + t3 * ex))
            + squared(Y(i) - (t1 * sy + t2 * cpy + t3 * ey));
        if (d2 > static_cast<double>(qtres))
            passes = false;
        if (d2 > errorval) {
            errorval = d2;
            errorpoint = i;
        }
    }
    if (passes)
        return TracedPath(1, Segment { 2.0, sx, sy, cpx, cpy, ex, ey });

    const int splitpoint = (fitpoint + errorpoint) / 2;
    TracedPath result = fitseq(path, ltres, qtres, seqstart, splitpoint);
    const TracedPath rest = fitseq(path, ltres, qtres, splitpoint, seqend);
    if (gaveUp)
        return TracedPath();
    result.insert(result.end(), rest.begin(), rest.end());
    return result;
}

TracedPath Reference::tracepath(const InternodePath &path, float ltres, float qtres) const
{
    TracedPath result;
    const int n = static_cast<int>(path.size());
    if (n < 2)
        return result;
    const auto code = [&path](int i) { return path[static_cast<std::size_t>(i)][2]; };
    int pcnt = 0;
    for (;;) {
        const double type1 = code(pcnt);
        double type2 = -1;
        int seqend = pcnt + 1;
        for (;;) {
            const double t = code(seqend);
            if (t != type1 && t != type2 && type2 != -1)
                break;
            if (seqend >= n - 1)
                break;
            if (t != type1 && type2 == -1)
                type2 = t;
            seqend += 1;
        }
        if (seqend == n - 1)
            seqend = 0;
        fits = 0;
        const TracedPath segments = fitseq(path, ltres, qtres, pcnt, seqend);
        result.insert(result.end(), segments.begin(), segments.end());
        if (seqend == 0 || seqend >= n)
            return result;
        pcnt = seqend;
    }
}

TracedPaths Reference::batchtracepaths(const InternodePaths &paths, float ltres, float qtres) const
{
    TracedPaths result;
    for (const InternodePath &path : paths)
        result.push_back(tracepath(path, ltres, qtres));
    return result;
}

TracedLayers Reference::batchtracelayers(const std::vector<InternodePaths> &layers, float ltres,
                                         float qtres) const
{
    TracedLayers result;
    for (const InternodePaths &paths : layers)
        result.push_back(batchtracepaths(paths, ltres, qtres));
    return result;
}

} // namespace ztrace::reference
