// (c) the ztrace developers. Licence: see LICENSE.
#include "composition.h"

#include "chainrecord.h"
#include "gradients.h"
#include "underlap.h"

#include "imaging/index.h"
#include "imaging/oklab.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace ztrace {

namespace {

const int kNone = -1;

// Width in pixels of the strokes that close the hairlines between neighbours painted side by side.
// Where the picture has a ground, the narrow one will do (docs/decisions/0010-seams.md).
const double kSeamWidth = 1.0;
const double kSeamWidthWithoutGround = 1.5;
// Of outlines that reach what is not opaque: half of the stroke lies over it.
const double kSeamWidthBesideClear = 1.25;
// Of outlines inside of an opaque one, which is painted below them: the rest of the stroke lies
// over that.
const double kSeamWidthOnOpaque = 0.5;
// Of outlines that are cut out and painted over the stroke of a neighbour: wider gaps are closed
// from both sides.
const double kSeamWidthApart = 0.5;
// Of opaque outlines towards transparency: corners that the outline cuts off stay covered.
const double kSeamWidthAtRim = 0.25;

// What writing each path takes.
std::vector<double> numbersOf(const std::vector<fit::Path> &paths)
{
    std::vector<double> numbers;
    for (const fit::Path &path : paths) {
        double sum = 0;
        for (const fit::Piece &piece : path.pieces)
            sum += fit::priceOf(piece, fit::svgPrices());
        numbers.push_back(sum);
    }
    return numbers;
}

Tint tintOf(QRgb colour)
{
    const Oklab seen = oklabOf(colour);
    return { { seen.lightness, seen.greenRed, seen.blueYellow }, seen.alpha == 0 };
}

class Arranger
{
public:
    // `sources` has the first pixel of every outline's region.
    Arranger(const Areas &a, Connection connection, const std::vector<std::size_t> &sources,
             std::vector<Outline> *o)
        : areas(a), colours(a.colours), width(a.runs.width), height(a.runs.height), outlines(o)
    {
        AreaGraph graph = takeGraph(std::move(connection), areas.runs);
        parent = findParents(graph.areas, graph.neighbours);
        regions = std::move(graph.areas);
        neighbours = std::move(graph.neighbours);
        outlineOf.assign(regions.size(), kNone);
        regionOf.assign(sources.size(), kNone);
        for (std::size_t i = 0; i < sources.size(); ++i) {
            const auto found = std::lower_bound(regions.begin(), regions.end(), sources[i],
                                                [](const Component &region, std::size_t pixel) {
                                                    return region.firstPixel < pixel;
                                                });
            if (found == regions.end() || found->firstPixel != sources[i])
                continue;
            regionOf[i] = static_cast<int>(found - regions.begin());
            outlineOf[at(regionOf[i])] = static_cast<int>(i);
        }
    }

    // Cuts every region that is not opaque out of what lies around it, up to the next region
    // that is not opaque either: that one is cut out of the rest already.
    void cutTransparent()
    {
        for (std::size_t r = 0; r < regions.size(); ++r) {
            const int hole = outlineOf[r];
            if (hole == kNone || alphaOf(static_cast<int>(r)) == 255)
                continue;
            for (int around = parent[r]; around != kInNothing; around = parent[at(around)]) {
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
        for (std::size_t r = 0; r < regions.size(); ++r) {
            int around = parent[r];
            while (around != kInNothing && outlineOf[at(around)] == kNone)
                around = parent[at(around)];
            if (outlineOf[r] != kNone && around != kInNothing)
                (*outlines)[at(outlineOf[at(around)])].holes.push_back(outlineOf[r]);
        }
    }

    // The same of true shapes, along their own rings: where several areas lie side by side in a
    // hole it has an outline of its own, clear, that goes around them all, or what is cut out would
    // have the boundaries between them as well. Nothing is cut out of clear areas that will go.
    void cutAlongRings(const FittedBoundaries &fitted, bool keepsClear)
    {
        const BoundaryMap &map = fitted.map;
        const std::size_t count = outlines->size();
        for (std::size_t i = 0; i < count; ++i) {
            if (regionOf[i] == kNone || (!keepsClear && alphaOf(regionOf[i]) == 0))
                continue;
            const std::size_t region = at(regionOf[i]);
            for (uint32_t ring = map.firstRing[region] + 1; ring < map.firstRing[region + 1];
                 ++ring) {
                for (const std::vector<uint32_t> &simple : simpleRings(map, ring)) {
                    int hole = onlyOutlineIn(map, simple);
                    if (hole == kNone)
                        hole = addRing(fitted, simple, i);
                    (*outlines)[i].holes.push_back(hole);
                }
            }
        }
    }

    // The colour that most pixels have.
    QRgb commonestColour() const
    {
        std::vector<std::size_t> pixels(colours.size(), 0);
        for (const Component &region : regions)
            pixels[at(region.label)] += region.area;
        return colours[static_cast<std::size_t>(std::max_element(pixels.begin(), pixels.end())
                                                - pixels.begin())];
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
        const std::vector<uint8_t> hasSeams = findWithSeams(drawing.ground, places);
        std::vector<uint8_t> isStroked(regions.size(), 0);
        std::vector<uint8_t> isAbove(regions.size(), 0);
        for (const auto &pair : neighbours) {
            const std::size_t a = at(pair.first);
            const std::size_t b = at(pair.second);
            const bool nested = parent[b] == pair.first;
            if ((nested && !apart) || !hasSeams[a] || !hasSeams[b])
                continue;
            const std::size_t below = places[a] < places[b] ? a : b;
            const std::size_t above = below == a ? b : a;
            const bool spare = !apart && touchesClear[below] && !touchesClear[above];
            isStroked[spare ? above : below] = 1;
            isAbove[above] = 1;
        }
        const bool hasGround = qAlpha(drawing.ground) != 0;
        const double usual = hasGround ? kSeamWidth : kSeamWidthWithoutGround;
        for (std::size_t i = 0; i < regionOf.size(); ++i) {
            if (regionOf[i] == kNone || alphaOf(regionOf[i]) < 255)
                continue;
            const std::size_t region = at(regionOf[i]);
            const int around = parent[region];
            const bool onOpaque = !apart && around != kInNothing && alphaOf(around) == 255;
            if (isStroked[region] && onOpaque)
                (*outlines)[i].seam = kSeamWidthOnOpaque;
            else if (isStroked[region])
                (*outlines)[i].seam
                    = touchesClear[region] ? std::min(usual, kSeamWidthBesideClear) : usual;
            else if (apart && !hasGround && isAbove[region])
                (*outlines)[i].seam = kSeamWidthApart;
            else if (!hasGround && (around == kInNothing || alphaOf(around) < 255))
                (*outlines)[i].seam = kSeamWidthAtRim;
        }
    }

    // Areas of true shapes reach under their later neighbours, and need no strokes. What has the
    // ground's colour and lies on it alone is not filled.
    void reachUnder(const Drawing &drawing, const FittedBoundaries &fitted)
    {
        std::vector<PaintedArea> painted(regions.size());
        for (std::size_t r = 0; r < regions.size(); ++r) {
            painted[r].parent = parent[r];
            painted[r].tint = tintOf(colourOf(static_cast<int>(r)));
        }
        for (std::size_t i = 0; i < regionOf.size(); ++i) {
            if (regionOf[i] == kNone)
                continue;
            PaintedArea &area = painted[at(regionOf[i])];
            area.place = static_cast<int>(i);
            area.isOpaque = alphaOf(regionOf[i]) == 255;
            area.isGround = qAlpha(drawing.ground) != 0 && area.parent == kInNothing
                && isOfColour(regionOf[i], drawing.ground);
        }
        std::vector<bool> showsThrough(regions.size(), false); // by itself, or what lies in it
        for (std::size_t r = regions.size(); r-- > 0;) {
            painted[r].isWholly = painted[r].isOpaque && !showsThrough[r];
            if (!painted[r].isWholly && parent[r] != kInNothing)
                showsThrough[at(parent[r])] = true;
        }
        const std::vector<Reach> reaches
            = reachesOf(fitted.map, painted, tintOf(drawing.ground), numbersOf(fitted.paths));
        for (std::size_t r = 0; r < regions.size(); ++r) {
            if (painted[r].place == kNone)
                continue;
            Outline &outline = (*outlines)[at(painted[r].place)];
            outline.isGround = reaches[r].onGround;
            RareList<Path> &under = outline.under;
            for (const std::vector<uint32_t> &ring : reaches[r].rings)
                under.push_back(fitted.pathAlong(ring.data(), ring.size(), false));
            if (under.empty()) {
                Path path = outerPath(fitted, r);
                if (path.pieces().size() < outline.shape.pieces().size())
                    under.push_back(std::move(path));
            }
            for (int taken : reaches[r].taken) {
                for (int hole : (*outlines)[at(painted[at(taken)].place)].holes)
                    under.push_back((*outlines)[at(hole)].shape);
            }
        }
    }

    // Without the nodes, which nobody needs where one area reaches under the other.
    static Path outerPath(const FittedBoundaries &fitted, std::size_t region)
    {
        const BoundaryMap &map = fitted.map;
        const uint32_t ring = map.firstRing[region];
        const uint32_t first = map.firstReference[ring];
        return fitted.pathAlong(map.references.data() + first, map.firstReference[ring + 1] - first,
                                false);
    }

    // Negative for an outline that is no area's outer one.
    const std::vector<int> &areaOfOutline() const { return regionOf; }

    // The outline of the page itself goes. Returns whether there was one.
    bool dropFrame()
    {
        std::vector<bool> keep(regionOf.size(), true);
        for (std::size_t i = 0; i < regionOf.size(); ++i) {
            if (regionOf[i] == kNone)
                continue;
            keep[i] = !isPage(regions[at(regionOf[i])], width, height);
        }
        retain(keep);
        return std::find(keep.begin(), keep.end(), false) != keep.end();
    }

    // Outlines of other colours go, but for the holes of those that stay.
    void keepColours(const std::vector<QRgb> &wanted)
    {
        const auto isWanted = [&wanted](const Outline &outline) {
            return qAlpha(outline.colour) != 0
                && std::find(wanted.begin(), wanted.end(), outline.colour | 0xFF000000u)
                != wanted.end();
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
        std::vector<bool> isHole(outlines->size(), false);
        for (const Outline &outline : *outlines) {
            for (int hole : outline.holes)
                isHole[at(hole)] = true;
        }
        for (std::size_t i = 0; i < outlines->size(); ++i) {
            if (regionOf[i] == kNone || alphaOf(regionOf[i]) != 0)
                continue;
            const int around = parent[at(regionOf[i])];
            // Ringed by several areas it lies in what is transparent, and is the hole of none.
            const bool inNothing = around == kInNothing || alphaOf(around) == 0;
            const int owner = inNothing ? kNone : outlineOf[at(around)];
            keep[i] = owner != kNone && isHole[i];
            if (!keep[i])
                continue;
            (*outlines)[i].layer = (*outlines)[at(owner)].layer;
            (*outlines)[i].colour = (*outlines)[at(owner)].colour & 0x00FFFFFFu;
        }
        retain(keep);
    }

private:
    // A ring in parts that come to no node twice: areas in a hole may touch at corners.
    static std::vector<std::vector<uint32_t>> simpleRings(const BoundaryMap &map, uint32_t ring)
    {
        std::vector<std::vector<uint32_t>> rings;
        std::vector<uint32_t> open;            // chains so far
        std::map<int, std::size_t> whereBegan; // by node: which of them begins there
        for (uint32_t k = map.firstReference[ring]; k < map.firstReference[ring + 1]; ++k) {
            const uint32_t reference = map.references[k];
            const Chain &chain = map.chains[chainOf(reference)];
            whereBegan.insert(
                { isReversed(reference) ? chain.endNode : chain.startNode, open.size() });
            open.push_back(reference);
            const auto met
                = whereBegan.find(isReversed(reference) ? chain.startNode : chain.endNode);
            if (met == whereBegan.end())
                continue;
            const auto first = open.begin() + std::ptrdiff_t(met->second);
            rings.emplace_back(first, open.end());
            for (auto done = first; done != open.end(); ++done) {
                const Chain &left = map.chains[chainOf(*done)];
                whereBegan.erase(isReversed(*done) ? left.endNode : left.startNode);
            }
            open.erase(first, open.end());
        }
        return rings;
    }

    // The outline of the one area in a hole; kNone where there are several, or it has none.
    int onlyOutlineIn(const BoundaryMap &map, const std::vector<uint32_t> &ring) const
    {
        const auto beyond = [&](uint32_t reference) {
            const Chain &chain = map.chains[chainOf(reference)];
            return isReversed(reference) ? chain.right : chain.left;
        };
        const int region = beyond(ring.front());
        if (std::any_of(ring.begin(), ring.end(),
                        [&](uint32_t reference) { return beyond(reference) != region; }))
            return kNone;
        const uint32_t outer = map.firstRing[at(region)];
        const bool isAll
            = map.firstReference[outer + 1] - map.firstReference[outer] == uint32_t(ring.size());
        return isAll ? outlineOf[at(region)] : kNone;
    }

    // In the layer of what it is cut out of, clockwise as all outlines are.
    int addRing(const FittedBoundaries &fitted, std::vector<uint32_t> ring, std::size_t owner)
    {
        std::reverse(ring.begin(), ring.end());
        for (uint32_t &reference : ring)
            reference ^= 1u;
        Outline outline;
        outline.shape = fitted.pathAlong(ring.data(), ring.size());
        outline.colour = (*outlines)[owner].colour & 0x00FFFFFFu;
        outline.layer = (*outlines)[owner].layer;
        outlines->push_back(std::move(outline));
        regionOf.push_back(kNone);
        return static_cast<int>(outlines->size() - 1);
    }

    // When each region's outline is painted; kNone for one without.
    std::vector<int> placesInPainting(const Drawing &drawing, bool byLayer) const
    {
        std::vector<int> places(regions.size(), kNone);
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

    // Opaque areas that are painted and have another colour than the ground.
    std::vector<uint8_t> findWithSeams(QRgb ground, const std::vector<int> &places) const
    {
        std::vector<uint8_t> have(regions.size());
        for (std::size_t r = 0; r < have.size(); ++r) {
            const int region = static_cast<int>(r);
            have[r] = places[r] != kNone && alphaOf(region) == 255 && !isOfColour(region, ground);
        }
        return have;
    }

    std::vector<bool> findBesideClear() const
    {
        std::vector<bool> besideClear(regions.size(), false);
        if (std::all_of(colours.begin(), colours.end(),
                        [](QRgb colour) { return qAlpha(colour) == 255; }))
            return besideClear;
        for (const auto &pair : neighbours) {
            if (alphaOf(pair.second) < 255)
                besideClear[at(pair.first)] = true;
            if (alphaOf(pair.first) < 255)
                besideClear[at(pair.second)] = true;
        }
        return besideClear;
    }

    QRgb colourOf(int region) const { return colours[at(regions[at(region)].label)]; }

    // Throughout; a ramp is of none.
    bool isOfColour(int region, QRgb colour) const
    {
        return colourOf(region) == colour && areas.rampOfLabel(regions[at(region)].label) < 0;
    }

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
            RareList<int> holes;
            for (int hole : outline.holes) {
                if (place[at(hole)] != kNone)
                    holes.push_back(place[at(hole)]);
            }
            outline.holes = std::move(holes);
        }
    }

    const Areas &areas;
    const std::vector<QRgb> &colours;
    int width; // of the grid
    int height;
    std::vector<Component> regions;
    std::vector<Neighbours> neighbours;
    std::vector<int> parent; // of every region
    std::vector<Outline> *outlines;
    std::vector<int> outlineOf; // of every region
    std::vector<int> regionOf;  // of every outline
};

} // namespace

QString layerOfColour(QRgb colour)
{
    if (qAlpha(colour) == 0)
        return QLatin1String("TRANSPARENT");
    return QLatin1String("COLOR_") + QString::fromLatin1(colourName(colour).mid(1).toUpper());
}

namespace {

// Of a drawing that has its outlines and its size.
void arrange(const std::vector<std::size_t> &firstPixels, const Areas &areas, Connection connection,
             Painting painting, const Composition &composition, const FittedBoundaries *fitted,
             Drawing *result)
{
    Drawing &drawing = *result;
    if (drawing.outlines.empty())
        return;
    const bool opaque = std::all_of(areas.colours.begin(), areas.colours.end(),
                                    [](QRgb colour) { return qAlpha(colour) == 255; });
    const bool whole = composition.onlyColours.empty();
    const bool apart = composition.byLayer || !whole;
    const bool coloured = painting == Painting::Areas;
    if (opaque && painting == Painting::InkOnPaper && whole)
        drawing.ground = *std::max_element(areas.colours.begin(), areas.colours.end(),
                                           [](QRgb a, QRgb b) { return qGray(a) < qGray(b); });
    const bool withChains = fitted && composition.chains;
    if (opaque && !coloured && !apart && composition.frame && !withChains)
        return;
    Arranger arranger(areas, std::move(connection), firstPixels, &drawing.outlines);
    if (apart && fitted)
        arranger.cutAlongRings(*fitted, composition.transparent);
    else if (apart)
        arranger.cutAll();
    else
        arranger.cutTransparent();
    if (opaque && coloured && whole)
        drawing.ground = arranger.commonestColour();
    if (!composition.transparent)
        arranger.dropTransparent();
    // What is left of the paper would lie on the ground, which is the page as well.
    if (!composition.frame && arranger.dropFrame())
        drawing.ground = 0;
    if (composition.trapping && coloured && !apart && fitted)
        arranger.reachUnder(drawing, *fitted);
    else if (composition.trapping && !fitted && (coloured || composition.byLayer))
        arranger.closeSeams(drawing, composition.byLayer);
    if (!whole)
        arranger.keepColours(composition.onlyColours);
    if (withChains)
        recordChains(*fitted, arranger.areaOfOutline(), &drawing);
}

// Larger areas first, with all that they enclose: what lies in another one still comes after it,
// and of neighbours the smaller one is painted over the larger one, which then reaches under
// little.
void sortBySize(ShapeOutlines *shapes)
{
    const BoundaryMap &map = shapes->boundaries->map;
    std::vector<int64_t> size(shapes->outlines.size());
    std::vector<std::size_t> order(size.size());
    std::size_t area = 0; // both are in the order of their first pixels
    for (std::size_t i = 0; i < size.size(); ++i, ++area) {
        while (map.areas.list[area].firstPixel != shapes->firstPixel[i])
            ++area;
        size[i] = enclosedArea(map, map.firstRing[area]);
        order[i] = i;
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return size[a] > size[b]; });
    std::vector<Outline> outlines;
    std::vector<std::size_t> firstPixel;
    for (std::size_t i : order) {
        outlines.push_back(std::move(shapes->outlines[i]));
        firstPixel.push_back(shapes->firstPixel[i]);
    }
    shapes->outlines.swap(outlines);
    shapes->firstPixel.swap(firstPixel);
}

} // namespace

Drawing compose(ShapeOutlines shapes, const Areas &areas, int upsampling, Connection connection,
                Painting painting, const Composition &composition)
{
    Drawing drawing;
    drawing.width = areas.runs.width / upsampling;
    drawing.height = areas.runs.height / upsampling;
    const bool apart = composition.byLayer || !composition.onlyColours.empty();
    if (shapes.boundaries && painting == Painting::Areas && !apart)
        sortBySize(&shapes);
    drawing.outlines = std::move(shapes.outlines);
    arrange(shapes.firstPixel, areas, std::move(connection), painting, composition,
            shapes.boundaries.get(), &drawing);
    setGradients(areas.ramps, &drawing);
    return drawing;
}

Drawing composeEdges(ShapeOutlines edges, const Areas &areas, const Composition &composition)
{
    Drawing drawing;
    drawing.width = areas.runs.width;
    drawing.height = areas.runs.height;
    drawing.outlines = std::move(edges.outlines);
    Pen pen;
    pen.width = composition.edgeWidth;
    drawing.pens = { pen };
    return drawing;
}

} // namespace ztrace
