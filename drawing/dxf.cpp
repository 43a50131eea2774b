// (c) the ztrace developers. Licence: see LICENSE.
#include "dxf.h"

#include "TextSink.h"
#include "arcs.h"
#include "dxf_skeleton.h"
#include "pieces.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ztrace {

namespace {

const int kLongestR12Name = 31;
const int kLongestName = 200;
const int kClosed = 1;
const int kPlanar = 8;

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

// What the splines of a degree have in common: counts and knots of a Bezier curve.
std::string splineHead(int degree)
{
    std::string head;
    DxfText out(&head);
    out.group(100, "AcDbSpline");
    out.group(70, kPlanar);
    out.group(71, degree);
    out.group(72, 2 * (degree + 1));
    out.group(73, degree + 1);
    out.group(74, 0);
    for (int i = 0; i < 2 * (degree + 1); ++i)
        out.number(40, i <= degree ? 0.0 : 1.0);
    return head;
}

class DxfWriter
{
public:
    DxfWriter(const Drawing &d, const DxfOptions &o, QIODevice *device)
        : drawing(d), options(o), scale(d.unitsPerPixel()), sink(device), out(&sink.text())
    {
        if (options.version == DxfVersion::R12 && options.curves == DxfCurves::Spline)
            options.curves = DxfCurves::Polyline;
    }

    bool write()
    {
        findLayers();
        // Enough for every entity: one a piece at most, one an outline, and the layers.
        std::size_t entities = layers.size();
        for (const Outline &outline : drawing.outlines)
            entities += static_cast<std::size_t>(outline.shape.pieces().size()) + 1;
        appendDxfHead(&out, options.version, unitCodeOf(drawing.unit), extents(), layers,
                      static_cast<unsigned>(DxfText::kFirstFreeHandle + entities + 1));
        for (const Outline &outline : drawing.outlines) {
            writeOutline(outline);
            sink.flushIfLarge();
        }
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
            layerOf.insert(name, static_cast<int>(layers.size()));
            layers.push_back({ free, outline.colour });
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

    void writeOutline(const Outline &outline)
    {
        piecesOf(outline.shape, &pieces);
        if (pieces.empty())
            return;
        switch (options.curves) {
        case DxfCurves::Spline:
            writeExact(outline);
            break;
        case DxfCurves::Arc:
            writePolyline(outline, bulgeChain(pieces, options.tolerance));
            break;
        case DxfCurves::Polyline:
            writePolyline(outline, lineChain(pieces, options.tolerance));
            break;
        }
    }

    // Runs of lines and arcs as polylines, Bezier curves as splines.
    void writeExact(const Outline &outline)
    {
        std::vector<BulgeVertex> run;
        const auto endRun = [&] {
            if (run.size() > 1)
                writePolyline(outline, run);
            run.clear();
        };
        for (const PathPiece &piece : pieces) {
            const bool curved
                = piece.kind == PathPiece::Quadratic || piece.kind == PathPiece::Cubic;
            if (curved) {
                endRun();
                writeSpline(outline, piece);
                continue;
            }
            if (run.empty())
                run.push_back({ piece.start, 0.0 });
            run.back().bulge = piece.kind == PathPiece::Arc ? piece.bulge : 0.0;
            run.push_back({ piece.end, 0.0 });
        }
        endRun();
    }

    void beginEntity(const char *kind, const Outline &outline)
    {
        const DxfLayer &layer = layers[static_cast<std::size_t>(layerOf.value(layerName(outline)))];
        const bool old = options.version == DxfVersion::R12;
        out.group(0, kind);
        if (!old) {
            out.handle();
            out.group(330, kDxfModelSpace);
            out.group(100, "AcDbEntity");
        }
        out.group(8, layer.name);
        if ((outline.colour ^ layer.colour) & 0xFFFFFFu) {
            out.group(62, dxfColourIndex(outline.colour));
            if (!old)
                out.group(420, static_cast<int>(outline.colour & 0xFFFFFFu));
        }
    }

    void point(int code, const Point &p)
    {
        out.number(code, p.x * scale);
        out.number(code + 10, p.y * scale);
    }

    void writeSpline(const Outline &outline, const PathPiece &piece)
    {
        const int degree = piece.kind == PathPiece::Quadratic ? 2 : 3;
        beginEntity("SPLINE", outline);
        out.groups(degree == 2 ? quadraticHead : cubicHead);
        controlPoint(piece.start);
        controlPoint(piece.control1);
        if (degree == 3)
            controlPoint(piece.control2);
        controlPoint(piece.end);
    }

    void controlPoint(const Point &p)
    {
        point(10, p);
        out.number(30, 0.0);
    }

    void writePolyline(const Outline &outline, std::vector<BulgeVertex> vertices)
    {
        const Point &first = vertices.front().point;
        const Point &last = vertices.back().point;
        const bool closed = vertices.size() > 2 && first.x == last.x && first.y == last.y;
        if (closed)
            vertices.pop_back();
        if (options.version == DxfVersion::R12)
            writeOldPolyline(outline, vertices, closed);
        else
            writeLightPolyline(outline, vertices, closed);
    }

    void writeLightPolyline(const Outline &outline, const std::vector<BulgeVertex> &vertices,
                            bool closed)
    {
        beginEntity("LWPOLYLINE", outline);
        out.group(100, "AcDbPolyline");
        out.group(90, static_cast<int>(vertices.size()));
        out.group(70, closed ? kClosed : 0);
        for (const BulgeVertex &vertex : vertices) {
            point(10, vertex.point);
            if (vertex.bulge != 0.0)
                out.number(42, vertex.bulge);
        }
    }

    void writeOldPolyline(const Outline &outline, const std::vector<BulgeVertex> &vertices,
                          bool closed)
    {
        beginEntity("POLYLINE", outline);
        out.group(66, 1);
        point(10, Point(0.0, 0.0));
        out.number(30, 0.0);
        out.group(70, closed ? kClosed : 0);
        for (const BulgeVertex &vertex : vertices) {
            beginEntity("VERTEX", outline);
            point(10, vertex.point);
            out.number(30, 0.0);
            if (vertex.bulge != 0.0)
                out.number(42, vertex.bulge);
        }
        beginEntity("SEQEND", outline);
    }

    const Drawing &drawing;
    DxfOptions options;
    const double scale;
    TextSink sink;
    DxfText out;
    const std::string quadraticHead = splineHead(2);
    const std::string cubicHead = splineHead(3);
    std::vector<DxfLayer> layers;
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
    const double hue = (index / 10 - 1) / 4.0; // 0 to 6 around the circle
    const auto channel = [&](double center) {
        const double away = std::fabs(std::remainder(hue - center, 6.0));
        return least + static_cast<int>((value - least) * std::min(1.0, std::max(0.0, 2.0 - away)));
    };
    return qRgb(channel(0.0), channel(2.0), channel(4.0));
}

} // namespace

int dxfColourIndex(QRgb colour)
{
    const int kBlack = 24; // channels up to this are ink
    const int kWhiteOnBlack = 7;
    if (qRed(colour) <= kBlack && qGreen(colour) <= kBlack && qBlue(colour) <= kBlack)
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
