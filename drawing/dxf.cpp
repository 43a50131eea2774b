// (c) the ztrace developers. Licence: see LICENSE.
#include "dxf.h"

#include "TextSink.h"
#include "arcs.h"
#include "coarseness.h"
#include "dxf_entities.h"
#include "inches.h"
#include "pens.h"
#include "pieces.h"
#include "strokepaths.h"
#include "wholeshape.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ztrace {

namespace {

const int kLongestR12Name = 31;
const int kLongestName = 200;

int unitCodeOf(Unit unit)
{
    return unit == Unit::Inch ? 1 : unit == Unit::Millimetre ? 4 : 0;
}

// Names valid in every reader: what the format forbids becomes an underscore, and R12 has
// capital letters, digits and three signs. Names that fall together are numbered.
QByteArray validName(const QString &name, bool old)
{
    QByteArray valid;
    const QString source = old ? name.toUpper() : name;
    for (QChar letter : source) {
        const ushort code = letter.unicode();
        const bool plain = (code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z')
            || (code >= 'a' && code <= 'z') || code == '_' || code == '-' || code == '$';
        const bool allowed = plain || (!old && code == '#') || (!old && code == ' ');
        if (allowed)
            valid += char(code);
        else
            valid += '_';
    }
    return valid.left(old ? kLongestR12Name : kLongestName);
}

// The tolerance is of no account where splines are written.
DxfOptions coarserWhereNeeded(const Drawing &drawing, DxfOptions options)
{
    if (options.curves != DxfCurves::Spline || options.version == DxfVersion::R12 || options.join)
        options.tolerance *= coarsenessOf(drawing);
    return options;
}

class DxfWriter
{
public:
    DxfWriter(const Drawing &d, const DxfOptions &o, QIODevice *device)
        : drawing(d), options(coarserWhereNeeded(d, o)), scale(d.unitsPerPixel()), sink(device),
          out(&sink.text()), lineTypes(d, o.version), entities(&out, o.version, scale)
    { }

    bool write()
    {
        findLayers();
        tables.lineTypes = lineTypes.records();
        // Enough for every entity: one a piece at most, one an outline, and the records.
        std::size_t handles = tables.layers.size() + tables.lineTypes.size();
        for (const Outline &outline : drawing.outlines)
            handles += static_cast<std::size_t>(outline.shape.pieces().size()) + 1;
        appendDxfHead(&out, options.version, unitCodeOf(drawing.unit), extents(), tables,
                      static_cast<unsigned>(DxfText::kFirstFreeHandle + handles + 1));
        writeOutlines();
        appendDxfTail(&out, options.version);
        return sink.finish();
    }

private:
    void findLayers()
    {
        QSet<QByteArray> taken;
        QHash<QByteArray, int> numbers; // by the name before the number: the next one
        for (const Outline &outline : drawing.outlines) {
            const QString name = layerName(outline);
            if (layerOf.contains(name))
                continue;
            const QByteArray wanted = validName(name, options.version == DxfVersion::R12);
            QByteArray free = wanted;
            const int longest = options.version == DxfVersion::R12 ? kLongestR12Name : kLongestName;
            const QByteArray stem = wanted.left(longest - 8) + '_';
            int &number = numbers[stem.toUpper()];
            for (number = std::max(number, 2); taken.contains(free.toUpper()); ++number)
                free = stem + QByteArray::number(number);
            taken.insert(free.toUpper());
            layerOf.insert(name, static_cast<int>(tables.layers.size()));
            tables.layers.push_back({ free, outline.colour });
        }
    }

    DxfExtents extents() const
    {
        Bounds bounds;
        for (const Outline &outline : drawing.outlines)
            bounds.grow(boundsOf(outline.shape));
        DxfExtents result;
        if (bounds.valid) {
            result.left = bounds.low.x * scale;
            result.right = bounds.high.x * scale;
            result.bottom = bounds.low.y * scale;
            result.top = bounds.high.y * scale;
        }
        return result;
    }

    void setLook(const Outline &outline)
    {
        DxfLook look;
        look.layer = &tables.layers[static_cast<std::size_t>(layerOf.value(layerName(outline)))];
        look.colour = outline.colour;
        if (outline.pen >= 0) {
            const double dpi = drawing.dpi > 0.0 ? drawing.dpi : kScreenDpi;
            look.lineWeight
                = dxfLineWeight(penOf(drawing, outline).width * kMillimetresPerInch / dpi);
            look.lineType = lineTypes.recordOf(outline.pen);
            look.lineTypeScale = lineTypes.scaleOf(outline.pen);
        }
        entities.setLook(look);
    }

    void writeArea(const Path &shape)
    {
        if (writeWhole(wholeShapeOf(shape)))
            return;
        switch (options.curves) {
        case DxfCurves::Spline:
            writeRuns();
            break;
        case DxfCurves::Arc:
            entities.polyline(bulgeChain(pieces, options.tolerance));
            break;
        case DxfCurves::Polyline:
            entities.polyline(lineChain(pieces, options.tolerance));
            break;
        }
    }

    // Letters that are areas are filled: their outlines are no lines of the drawing. So are areas
    // of an even colour.
    bool isFilled(const Outline &outline) const
    {
        return outline.pen < 0 && !isOld()
            && (outline.layer == QLatin1String(kLetteringLayer)
                || outline.layer == QLatin1String(kFilledLayer));
    }

    void writeFilled(const Outline &outline)
    {
        std::vector<std::vector<BulgeVertex>> rings;
        const auto addRing = [&](const Path &shape) {
            piecesOf(shape, &pieces);
            if (pieces.empty())
                return;
            rings.push_back(hasArcs() ? bulgeChain(pieces, options.tolerance)
                                      : lineChain(pieces, options.tolerance));
            const BulgeVertex first = rings.back().front();
            const Point last = rings.back().back().point;
            if (first.point.x != last.x || first.point.y != last.y)
                rings.back().push_back({ first.point, 0.0 });
            if (rings.back().size() < 3)
                rings.pop_back();
        };
        addRing(outline.shape);
        if (rings.empty())
            return;
        for (int hole : outline.holes)
            addRing(drawing.outlines[std::size_t(hole)].shape);
        entities.fill(rings);
    }

    // What is cut out of filled letters is no area of its own.
    std::vector<bool> holesOfFilled() const
    {
        std::vector<bool> isHole(drawing.outlines.size(), false);
        for (const Outline &outline : drawing.outlines) {
            for (std::size_t k = 0; isFilled(outline) && k < outline.holes.size(); ++k)
                isHole[std::size_t(outline.holes[k])] = true;
        }
        return isHole;
    }

    bool isOld() const { return options.version == DxfVersion::R12; }
    bool hasArcs() const { return options.curves != DxfCurves::Polyline; }
    bool hasCurves() const { return options.curves == DxfCurves::Spline && !isOld(); }

    // A circle or an ellipse; rectangles are closed polylines as they are.
    bool writeWhole(const WholeShape &whole)
    {
        if (whole.kind == WholeShape::Circle && hasArcs())
            entities.circle(whole.center, whole.half[0]);
        else if (whole.kind == WholeShape::Ellipse && hasCurves())
            entities.wholeEllipse(
                { whole.center, whole.half[0], whole.half[1], whole.angle, 0.0, 0.0 });
        else
            return false;
        return true;
    }

    // Runs of several lines and arcs as polylines, curves and single ones one by one.
    void writeRuns()
    {
        std::vector<BulgeVertex> run;
        const auto endRun = [&] {
            if (run.size() == 2)
                writeStep(run[0], run[1].point);
            else if (run.size() > 2)
                entities.polyline(run);
            run.clear();
        };
        for (const PathPiece &piece : pieces) {
            if (isCurve(piece)) {
                if (hasCurves()) {
                    endRun();
                    writePiece(piece);
                    continue;
                }
                appendTo(&run, lineChain({ piece }, options.tolerance));
                continue;
            }
            appendTo(&run,
                     { { piece.start, piece.kind == PathPiece::Arc ? piece.bulge : 0.0 },
                       { piece.end, 0.0 } });
        }
        endRun();
    }

    void writeStep(const BulgeVertex &from, const Point &to)
    {
        PathPiece piece;
        piece.kind = from.bulge == 0.0 ? PathPiece::Line : PathPiece::Arc;
        piece.start = from.point;
        piece.end = to;
        piece.bulge = from.bulge;
        writePiece(piece);
    }

    static bool isCurve(const PathPiece &piece)
    {
        return piece.kind != PathPiece::Line && piece.kind != PathPiece::Arc;
    }

    // A chain that begins where the other one ends.
    static void appendTo(std::vector<BulgeVertex> *run, const std::vector<BulgeVertex> &more)
    {
        if (!run->empty())
            run->pop_back();
        run->insert(run->end(), more.begin(), more.end());
    }

    // An entity of its own, or what stands for it where there is none.
    void writePiece(const PathPiece &piece)
    {
        if (piece.kind == PathPiece::Line)
            entities.line(piece);
        else if (piece.kind == PathPiece::Arc && hasArcs())
            entities.arc(piece);
        else if (piece.kind == PathPiece::EllipticArc && hasCurves())
            entities.ellipse(piece);
        else if (hasCurves())
            entities.spline(piece);
        else if (options.curves == DxfCurves::Arc)
            entities.polyline(bulgeChain({ piece }, options.tolerance));
        else
            entities.polyline(lineChain({ piece }, options.tolerance));
    }

    // Piece by piece; what is round as a whole, and joined paths, as one polyline, curves as arcs.
    void writeStroke(const Path &path)
    {
        const WholeShape whole = wholeShapeOf(path);
        piecesOf(path, &pieces);
        if (pieces.empty() || writeWhole(whole))
            return;
        const bool isRound = whole.kind == WholeShape::Circle || whole.kind == WholeShape::Ellipse;
        if (isRound || (options.join && pieces.size() > 1)) {
            entities.polyline(hasArcs() ? bulgeChain(pieces, options.tolerance)
                                        : lineChain(pieces, options.tolerance));
            return;
        }
        for (const PathPiece &piece : pieces)
            writePiece(piece);
    }

    // In the order of the drawing; a joined path in the place of its first stroke.
    void writeOutlines()
    {
        const std::vector<StrokePath> joined
            = options.join ? longestPaths(drawing) : std::vector<StrokePath>();
        auto next = joined.begin();
        const std::vector<bool> isHole = holesOfFilled();
        for (const Outline &outline : drawing.outlines) {
            setLook(outline);
            if (isFilled(outline)) {
                if (!isHole[std::size_t(&outline - drawing.outlines.data())])
                    writeFilled(outline);
            } else if (outline.pen < 0) {
                piecesOf(outline.shape, &pieces);
                if (!pieces.empty())
                    writeArea(outline.shape);
            } else if (!options.join) {
                writeStroke(outline.shape);
            } else if (next != joined.end() && next->first == &outline) {
                writeStroke((next++)->path);
            }
            sink.flushIfLarge();
        }
    }

    const Drawing &drawing;
    DxfOptions options;
    const double scale;
    TextSink sink;
    DxfText out;
    const DxfLineTypes lineTypes;
    DxfEntities entities;
    DxfTables tables;
    QHash<QString, int> layerOf;
    std::vector<PathPiece> pieces; // of one outline, kept for its memory
};

// Colours 10 to 249: 24 hues of ten, each in five values, pure and mixed with two parts of
// white.
QRgb indexedColour(int index)
{
    static const QRgb kFirst[10] = { 0x000000, 0xFF0000, 0xFFFF00, 0x00FF00, 0x00FFFF,
                                     0x0000FF, 0xFF00FF, 0xFFFFFF, 0x808080, 0xC0C0C0 };
    static const int kGreys[6] = { 51, 80, 105, 130, 190, 255 };
    static const int kValues[5] = { 255, 189, 129, 104, 79 };
    if (index < 10)
        return kFirst[index];
    if (index >= 250)
        return qRgb(kGreys[index - 250], kGreys[index - 250], kGreys[index - 250]);
    const int value = kValues[(index % 10) / 2];
    const int least = index % 2 ? value * 2 / 3 : 0;
    const int step = index / 10 - 1; // the ten of one hue; 4 to a sixth of the circle
    const double hue = step / 4.0;   // 0 to 6 around the circle
    const auto channel = [&](double center) {
        const double away = std::fabs(std::remainder(hue - center, 6.0));
        return least + static_cast<int>((value - least) * std::min(1.0, std::max(0.0, 2.0 - away)));
    };
    return qRgb(channel(0.0), channel(2.0), channel(4.0));
}

} // namespace

bool isDxfInk(QRgb colour)
{
    const int kBlack = 24; // channels up to this are ink
    return qRed(colour) <= kBlack && qGreen(colour) <= kBlack && qBlue(colour) <= kBlack;
}

int dxfColourIndex(QRgb colour)
{
    const int kWhiteOnBlack = 7;
    if (isDxfInk(colour))
        return kWhiteOnBlack;
    int best = kWhiteOnBlack;
    int bestDistance = 1 << 30;
    for (int index = 255; index > 0; --index) {
        const QRgb other = indexedColour(index);
        const int red = qRed(colour) - qRed(other);
        const int green = qGreen(colour) - qGreen(other);
        const int blue = qBlue(colour) - qBlue(other);
        const int distance = red * red + green * green + blue * blue;
        if (distance < bestDistance) {
            bestDistance = distance;
            best = index;
        }
    }
    return best;
}

bool writeDxf(const Drawing &drawing, const DxfOptions &options, QIODevice *device)
{
    return DxfWriter(drawing, options, device).write();
}

} // namespace ztrace
