// (c) the ztrace developers. Licence: see LICENSE.
#include "arrange.h"

#include "regions.h"

#include "engine/ZTraceBitmap.h"

#include "ZSpline.h"

#include <QMap>

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const int kNone = -1;

enum SegmentField { kX1 = 1, kY1 = 2 };

struct Source
{
    int entry;
    std::size_t firstPixel;
};

// Palette entry and first pixel of every outline, in the order of getPolylines: by start point,
// a later outline in the place of an earlier one with the same start. A walk starts at its
// region's first pixel and goes right along its upper edge, so that its first midpoint tells
// the pixel.
std::vector<Source> sourcesOf(const IndexedImage &indexed)
{
    QMap<double, Source> order;
    for (int k = 0; k < indexed.tracedLayers.size(); ++k) {
        for (const QVector<QVector<double>> &path : indexed.tracedLayers.at(k)) {
            if (path.isEmpty())
                continue;
            const double x = path.at(0).at(kX1);
            const double y = path.at(0).at(kY1);
            const std::size_t pixel
                = static_cast<std::size_t>(y) * static_cast<std::size_t>(indexed.width)
                + static_cast<std::size_t>(x);
            order.insert(indexed.width * y + x, { k, pixel });
        }
    }
    std::vector<Source> sources;
    for (const Source &source : order)
        sources.push_back(source);
    return sources;
}

LabelPlane planeOf(const IndexedImage &indexed, const std::vector<QRgb> &colours)
{
    LabelPlane plane;
    plane.width = indexed.width;
    plane.height = indexed.height;
    plane.colours = colours;
    plane.labels.reserve(static_cast<std::size_t>(plane.width)
                         * static_cast<std::size_t>(plane.height));
    for (int y = 1; y <= plane.height; ++y) {
        const QVector<int> &row = indexed.indices.at(y);
        for (int x = 1; x <= plane.width; ++x)
            plane.labels.push_back(static_cast<uint16_t>(row.at(x)));
    }
    return plane;
}

class Arranger
{
public:
    Arranger(const LabelPlane &p, const std::vector<Source> &sources, std::vector<Outline> *o)
        : plane(p), map(findRegions(p)), outlines(o)
    {
        nesting = findNesting(plane, map);
        rims = rimsOfRegions();
        std::vector<int>().swap(map.regionOfPixel);
        outlineOf.assign(map.regions.size(), kNone);
        regionOf.assign(sources.size(), kNone);
        for (std::size_t i = 0; i < sources.size(); ++i) {
            const auto found = std::lower_bound(
                map.regions.begin(), map.regions.end(), sources[i].firstPixel,
                [](const Region &region, std::size_t pixel) { return region.firstPixel < pixel; });
            if (found == map.regions.end() || found->firstPixel != sources[i].firstPixel)
                continue;
            regionOf[i] = static_cast<int>(found - map.regions.begin());
            outlineOf[at(regionOf[i])] = static_cast<int>(i);
        }
    }

    // Cuts every region that is not opaque out of what lies around it, up to the next region
    // that is not opaque either: that one is cut out of the rest already.
    void cutTransparent()
    {
        for (std::size_t r = 0; r < map.regions.size(); ++r) {
            const int hole = outlineOf[r];
            if (hole == kNone || alphaOf(static_cast<int>(r)) == 255)
                continue;
            for (int around = nesting.parent[r]; around != kOutside;
                 around = nesting.parent[at(around)]) {
                const int alpha = alphaOf(around);
                if (alpha == 0)
                    break;
                if (outlineOf[at(around)] != kNone)
                    (*outlines)[at(outlineOf[at(around)])].holes.push_back(hole);
                if (alpha < 255)
                    break;
            }
        }
    }

    // Cuts everything out of the region right around it, so that no outline paints over
    // another.
    void cutAll()
    {
        for (std::size_t r = 0; r < map.regions.size(); ++r) {
            int around = nesting.parent[r];
            while (around != kOutside && outlineOf[at(around)] == kNone)
                around = nesting.parent[at(around)];
            if (outlineOf[r] != kNone && around != kOutside)
                (*outlines)[at(outlineOf[at(around)])].holes.push_back(outlineOf[r]);
        }
    }

    // The colour that most pixels have.
    QRgb commonestColour() const
    {
        std::vector<std::size_t> areas(plane.colours.size(), 0);
        for (const Region &region : map.regions)
            areas[at(region.label)] += region.area;
        return plane.colours[static_cast<std::size_t>(std::max_element(areas.begin(), areas.end())
                                                      - areas.begin())];
    }

    // Strokes under neighbours that are painted later: they lie on top with their exact outlines.
    // Where the ground has the colour of one of the two, the hairline shows what should be there.
    // An area beside transparency would grow into that, so that a neighbour which has none beside
    // it is stroked instead, although its own outline grows then. Where `apart`, areas are cut out
    // of what lies around them and have their seams with it, too.
    void closeSeams(const Drawing &drawing, bool apart)
    {
        const std::vector<int> places = placesInPainting(drawing, apart);
        const std::vector<bool> touchesClear = findBesideClear();
        std::vector<bool> isStroked(map.regions.size(), false);
        std::vector<bool> isAbove(map.regions.size(), false);
        for (const auto &pair : nesting.neighbours) {
            const std::size_t a = at(pair.first);
            const std::size_t b = at(pair.second);
            const bool nested = nesting.parent[b] == pair.first;
            const bool onGround
                = colourOf(pair.first) == drawing.ground || colourOf(pair.second) == drawing.ground;
            if ((nested && !apart) || onGround || alphaOf(pair.first) < 255
                || alphaOf(pair.second) < 255 || places[a] == kNone || places[b] == kNone)
                continue;
            const std::size_t below = places[a] < places[b] ? a : b;
            const std::size_t above = below == a ? b : a;
            const bool spare = !apart && touchesClear[below] && !touchesClear[above];
            isStroked[spare ? above : below] = true;
            isAbove[above] = true;
        }
        const bool hasGround = qAlpha(drawing.ground) != 0;
        const double width = hasGround ? kSeamWidth : kSeamWidthWithoutGround;
        for (std::size_t i = 0; i < regionOf.size(); ++i) {
            if (regionOf[i] == kNone || alphaOf(regionOf[i]) < 255)
                continue;
            const std::size_t region = at(regionOf[i]);
            const int around = nesting.parent[region];
            const bool onOpaque = !apart && around != kOutside && alphaOf(around) == 255;
            if (isStroked[region] && onOpaque)
                (*outlines)[i].seam = kSeamWidthOnOpaque;
            else if (isStroked[region])
                (*outlines)[i].seam
                    = touchesClear[region] ? std::min(width, kSeamWidthBesideClear) : width;
            else if (apart && !hasGround && isAbove[region])
                (*outlines)[i].seam = kSeamWidthApart;
            else if (!hasGround && (around == kOutside || alphaOf(around) < 255))
                (*outlines)[i].seam = kSeamWidthAtRim;
        }
    }

    // The outline of the page itself goes: of a region that reaches all four sides of the image and
    // runs along half of its rim. Returns whether there was one.
    bool dropFrame()
    {
        const std::size_t rim = 2 * static_cast<std::size_t>(plane.width + plane.height);
        std::vector<bool> keep(regionOf.size(), true);
        for (std::size_t i = 0; i < regionOf.size(); ++i) {
            if (regionOf[i] == kNone)
                continue;
            const Region &region = map.regions[at(regionOf[i])];
            keep[i] = region.left > 0 || region.top > 0 || region.right < plane.width - 1
                || region.bottom < plane.height - 1 || 2 * rims[at(regionOf[i])] < rim;
        }
        retain(keep);
        return std::find(keep.begin(), keep.end(), false) != keep.end();
    }

    // Outlines of other colours go, but for the holes of those that stay.
    void keepColours(const std::vector<QRgb> &colours)
    {
        const auto isWanted = [&colours](const Outline &outline) {
            return qAlpha(outline.colour) != 0
                && std::find(colours.begin(), colours.end(), outline.colour | 0xFF000000u)
                != colours.end();
        };
        std::vector<bool> keep(outlines->size(), false);
        for (std::size_t i = 0; i < outlines->size(); ++i)
            keep[i] = isWanted((*outlines)[i]);
        std::vector<bool> kept = keep;
        for (std::size_t i = 0; i < outlines->size(); ++i) {
            if (!keep[i])
                continue;
            Outline &outline = (*outlines)[i];
            outline.seam = 0.0;
            for (int hole : outline.holes) {
                if (keep[at(hole)])
                    continue;
                kept[at(hole)] = true;
                (*outlines)[at(hole)].colour = outline.colour & 0x00FFFFFFu;
                (*outlines)[at(hole)].layer = outline.layer;
                (*outlines)[at(hole)].holes.clear();
            }
        }
        retain(kept);
    }

    // A hole belongs to the layer of what it is cut out of; one in nothing is not an outline.
    void dropTransparent()
    {
        std::vector<bool> keep(outlines->size(), true);
        for (std::size_t i = 0; i < outlines->size(); ++i) {
            if (regionOf[i] == kNone || alphaOf(regionOf[i]) != 0)
                continue;
            const int around = nesting.parent[at(regionOf[i])];
            // Ringed by several areas it lies in what is transparent, and is the hole of none.
            const bool inNothing = around == kOutside || alphaOf(around) == 0;
            const int owner = inNothing ? kNone : outlineOf[at(around)];
            keep[i] = owner != kNone;
            if (!keep[i])
                continue;
            (*outlines)[i].layer = (*outlines)[at(owner)].layer;
            (*outlines)[i].colour = (*outlines)[at(owner)].colour & 0x00FFFFFFu;
        }
        retain(keep);
    }

private:
    static std::size_t at(int i) { return static_cast<std::size_t>(i); }

    // Pixel edges of every region along the rim of the image.
    std::vector<std::size_t> rimsOfRegions() const
    {
        std::vector<std::size_t> counts(map.regions.size(), 0);
        const auto count = [&](int x, int y) {
            const std::size_t pixel = at(y) * at(plane.width) + at(x);
            ++counts[at(map.regionOfPixel[pixel])];
        };
        for (int x = 0; x < plane.width; ++x) {
            count(x, 0);
            count(x, plane.height - 1);
        }
        for (int y = 0; y < plane.height; ++y) {
            count(0, y);
            count(plane.width - 1, y);
        }
        return counts;
    }

    // When each region's outline is painted; kNone for one without.
    std::vector<int> placesInPainting(const Drawing &drawing, bool byLayer) const
    {
        std::vector<int> places(map.regions.size(), kNone);
        int place = 0;
        const QStringList layers = byLayer ? drawing.layers() : QStringList(QString());
        for (const QString &layer : layers) {
            for (std::size_t i = 0; i < regionOf.size(); ++i) {
                if (regionOf[i] != kNone && (!byLayer || layerName((*outlines)[i]) == layer))
                    places[at(regionOf[i])] = place++;
            }
        }
        return places;
    }

    std::vector<bool> findBesideClear() const
    {
        std::vector<bool> besideClear(map.regions.size(), false);
        for (const auto &pair : nesting.neighbours) {
            if (alphaOf(pair.second) < 255)
                besideClear[at(pair.first)] = true;
            if (alphaOf(pair.first) < 255)
                besideClear[at(pair.second)] = true;
        }
        return besideClear;
    }

    QRgb colourOf(int region) const { return plane.colours[at(map.regions[at(region)].label)]; }

    int alphaOf(int region) const { return qAlpha(colourOf(region)); }

    void retain(const std::vector<bool> &keep)
    {
        std::vector<int> place(keep.size(), kNone);
        std::size_t count = 0;
        for (std::size_t i = 0; i < keep.size(); ++i) {
            if (!keep[i])
                continue;
            place[i] = static_cast<int>(count);
            if (count != i)
                (*outlines)[count] = std::move((*outlines)[i]);
            regionOf[count] = regionOf[i];
            ++count;
        }
        outlines->resize(count);
        regionOf.resize(count);
        for (Outline &outline : *outlines) {
            std::vector<int> holes;
            for (int hole : outline.holes) {
                if (place[at(hole)] != kNone)
                    holes.push_back(place[at(hole)]);
            }
            outline.holes.swap(holes);
        }
    }

    const LabelPlane &plane;
    RegionMap map;
    Nesting nesting;
    std::vector<Outline> *outlines;
    std::vector<std::size_t> rims; // of every region
    std::vector<int> outlineOf;    // of every region
    std::vector<int> regionOf;     // of every outline
};

// The polyline with all coordinates divided.
ZPolyline divided(const ZPolyline &polyline, double divisor)
{
    const auto divide = [divisor](const ZVector &point) {
        return ZVector(point.x / divisor, point.y / divisor, point.z / divisor);
    };
    ZPolyline result;
    if (!polyline.isEmpty())
        result.appendVertex(divide(polyline.getStartPoint()));
    for (int i = 0; i < polyline.countPieces(); ++i) {
        const int last = polyline.countPiecePoints(i) - 1;
        if (polyline.getPieceKind(i) == ZPolyline::LinePiece) {
            result.appendVertex(divide(polyline.getPiecePointAt(i, last)));
            continue;
        }
        ZSpline spline;
        spline.setDegree(polyline.getPieceDegree(i));
        for (int k = 0; k <= last; ++k)
            spline.appendControlPoint(divide(polyline.getPiecePointAt(i, k)));
        result.appendShape(spline);
    }
    return result;
}

} // namespace

QString layerOfColour(QRgb colour)
{
    if (qAlpha(colour) == 0)
        return QLatin1String("TRANSPARENT");
    return QLatin1String("COLOR_") + QString::fromLatin1(colourName(colour).mid(1).toUpper());
}

Drawing arrange(const QList<ZPolyline> &polylines, ZTraceBitmap *engine,
                const std::vector<QRgb> &colours, const Settings &settings, int upsampling)
{
    Drawing drawing;
    drawing.width = engine->indexedImage.width / upsampling;
    drawing.height = engine->indexedImage.height / upsampling;
    const std::vector<Source> sources = sourcesOf(engine->indexedImage);
    engine->indexedImage.tracedLayers.clear();
    drawing.outlines.resize(static_cast<std::size_t>(polylines.size()));
    for (std::size_t i = 0; i < drawing.outlines.size() && i < sources.size(); ++i) {
        Outline &outline = drawing.outlines[i];
        const ZPolyline &polyline = polylines.at(static_cast<int>(i));
        outline.shape = upsampling == 1 ? polyline : divided(polyline, upsampling);
        outline.colour = colours.at(static_cast<std::size_t>(sources[i].entry));
        outline.layer = layerOfColour(outline.colour);
    }
    if (drawing.outlines.empty())
        return drawing;
    const bool opaque = std::all_of(colours.begin(), colours.end(),
                                    [](QRgb colour) { return qAlpha(colour) == 255; });
    const bool fewSeams = settings.method == Method::Ink || settings.method == Method::Raw;
    const bool apart = settings.style.byLayer || !settings.onlyColours.empty();
    const bool whole = settings.onlyColours.empty();
    if (opaque && settings.method == Method::Ink && whole)
        drawing.ground = *std::max_element(colours.begin(), colours.end(),
                                           [](QRgb a, QRgb b) { return qGray(a) < qGray(b); });
    if (opaque && fewSeams && !apart && !settings.noFrame)
        return drawing;
    const LabelPlane plane = planeOf(engine->indexedImage, colours);
    engine->indexedImage = IndexedImage();
    Arranger arranger(plane, sources, &drawing.outlines);
    if (apart)
        arranger.cutAll();
    else
        arranger.cutTransparent();
    if (opaque && !fewSeams && whole)
        drawing.ground = arranger.commonestColour();
    if (!settings.transparent)
        arranger.dropTransparent();
    // What is left of the paper would lie on the ground, which is the page as well.
    if (settings.noFrame && arranger.dropFrame())
        drawing.ground = 0;
    if (settings.seams && (!fewSeams || settings.style.byLayer))
        arranger.closeSeams(drawing, settings.style.byLayer);
    if (!settings.onlyColours.empty())
        arranger.keepColours(settings.onlyColours);
    return drawing;
}

} // namespace ztrace
