// (c) the ztrace developers. Licence: see LICENSE.
#include "geojson.h"

#include "TextSink.h"
#include "mapshapes.h"

namespace ztrace {

namespace {

class GeoJsonWriter
{
public:
    GeoJsonWriter(const Drawing &d, int decimals, QIODevice *device)
        : drawing(d), shapes(d, decimals), sink(device)
    { }

    bool write()
    {
        std::string &text = sink.text();
        text += "{\"type\":\"FeatureCollection\",";
        shapes.appendReference(&text);
        text += "\"features\":[";
        bool isFirst = true;
        for (const Outline &outline : drawing.outlines) {
            for (const MapShape &shape : shapes.shapesOf(outline)) {
                text += isFirst ? "\n" : ",\n";
                isFirst = false;
                writeFeature(shape);
                sink.flushIfLarge();
            }
        }
        text += "\n]}\n";
        return sink.finish();
    }

private:
    void writeFeature(const MapShape &shape)
    {
        std::string &text = sink.text();
        text += "{\"type\":\"Feature\",\"properties\":";
        shapes.appendProperties(*shape.outline, &text);
        text += shape.isLine ? ",\"geometry\":{\"type\":\"LineString\",\"coordinates\":"
                             : ",\"geometry\":{\"type\":\"Polygon\",\"coordinates\":[";
        for (std::size_t k = 0; k < shape.rings.size(); ++k) {
            if (k > 0)
                text += ',';
            writePoints(shape.rings[k]);
        }
        text += shape.isLine ? "}}" : "]}}";
    }

    void writePoints(const Ring &points)
    {
        std::string &text = sink.text();
        text += '[';
        for (std::size_t k = 0; k < points.size(); ++k) {
            text += k == 0 ? "[" : ",[";
            appendNumber(&text, points[k].x, shapes.decimals());
            text += ',';
            appendNumber(&text, points[k].y, shapes.decimals());
            text += ']';
            sink.flushIfLarge();
        }
        text += ']';
    }

    const Drawing &drawing;
    const MapShapes shapes;
    TextSink sink;
};

} // namespace

bool writeGeoJson(const Drawing &drawing, int decimals, QIODevice *device)
{
    return GeoJsonWriter(drawing, decimals, device).write();
}

} // namespace ztrace
