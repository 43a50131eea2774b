// (c) the ztrace developers. Licence: see LICENSE.
#include "topojson.h"

#include "TextSink.h"
#include "arcsofrings.h"
#include "mapshapes.h"

#include <cmath>

namespace ztrace {

namespace {

class TopoJsonWriter
{
public:
    TopoJsonWriter(const Drawing &drawing, int decimals, QIODevice *device)
        : shapes(drawing, decimals), isRounded(shapes.decimals() != kExactDecimals),
          unit(isRounded ? std::pow(10.0, -shapes.decimals()) : 1.0), sink(device)
    {
        for (const Outline &outline : drawing.outlines) {
            for (MapShape &shape : shapes.shapesOf(outline)) {
                for (Ring &ring : shape.rings)
                    chains.push_back(std::move(ring));
                parts.push_back({ &outline, shape.rings.size() });
            }
        }
        for (const Ring &chain : chains) {
            for (const Point &point : chain)
                bounds.grow(point);
        }
    }

    bool write()
    {
        const SharedArcs shared = sharedArcs(chains);
        chains.clear();
        std::string &text = sink.text();
        text += "{\"type\":\"Topology\",";
        shapes.appendReference(&text);
        if (isRounded)
            writeTransform();
        text += "\"objects\":{\"areas\":{\"type\":\"GeometryCollection\",\"geometries\":[";
        std::size_t chain = 0;
        for (std::size_t k = 0; k < parts.size(); ++k) {
            text += k == 0 ? "\n" : ",\n";
            writeShape(parts[k], shared.references.data() + chain);
            chain += parts[k].rings;
            sink.flushIfLarge();
        }
        text += "\n]}},\"arcs\":[";
        for (std::size_t k = 0; k < shared.arcs.size(); ++k) {
            text += k == 0 ? "\n" : ",\n";
            writeArc(shared.arcs[k]);
            sink.flushIfLarge();
        }
        text += "\n]}\n";
        return sink.finish();
    }

private:
    struct Part
    {
        const Outline *outline;
        std::size_t rings;
    };

    // To the corner of what is drawn, rounded as the coordinates are.
    void writeTransform()
    {
        std::string &text = sink.text();
        text += "\"transform\":{\"scale\":[";
        appendNumber(&text, unit);
        text += ',';
        appendNumber(&text, unit);
        text += "],\"translate\":[";
        appendNumber(&text, originX() * unit, shapes.decimals());
        text += ',';
        appendNumber(&text, originY() * unit, shapes.decimals());
        text += "]},";
    }

    double originX() const { return std::round(bounds.low.x / unit); }
    double originY() const { return std::round(bounds.low.y / unit); }

    void writeShape(const Part &part, const std::vector<int> *rings)
    {
        const bool isLine = part.outline->pen >= 0;
        std::string &text = sink.text();
        text += isLine ? "{\"type\":\"LineString\",\"properties\":"
                       : "{\"type\":\"Polygon\",\"properties\":";
        shapes.appendProperties(*part.outline, &text);
        text += isLine ? ",\"arcs\":" : ",\"arcs\":[";
        for (std::size_t k = 0; k < part.rings; ++k) {
            char separator = '[';
            if (k > 0)
                text += ',';
            for (int arc : rings[k]) {
                text += separator;
                appendWhole(&text, arc);
                separator = ',';
            }
            text += ']';
        }
        text += isLine ? "}" : "]}";
    }

    void writeArc(const Ring &arc)
    {
        std::string &text = sink.text();
        double x = originX();
        double y = originY();
        char separator = '[';
        for (const Point &point : arc) {
            text += separator;
            separator = ',';
            text += '[';
            if (isRounded) {
                const double column = std::round(point.x / unit);
                const double row = std::round(point.y / unit);
                appendNumber(&text, column - x, 0);
                text += ',';
                appendNumber(&text, row - y, 0);
                x = column;
                y = row;
            } else {
                appendNumber(&text, point.x);
                text += ',';
                appendNumber(&text, point.y);
            }
            text += ']';
            sink.flushIfLarge();
        }
        text += ']';
    }

    const MapShapes shapes;
    const bool isRounded;
    const double unit; // of the last decimal
    std::vector<Ring> chains;
    std::vector<Part> parts;
    Bounds bounds;
    TextSink sink;
};

} // namespace

bool writeTopoJson(const Drawing &drawing, int decimals, QIODevice *device)
{
    return TopoJsonWriter(drawing, decimals, device).write();
}

} // namespace ztrace
