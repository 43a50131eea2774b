// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes.h"

#include "composition.h"
#include "groundareas.h"
#include "peninks.h"
#include "segmentation.h"
#include "shapes.h"

#include "drawing/inches.h"
#include "imaging/failure.h"
#include "imaging/ink.h"
#include "imaging/scan.h"
#include "strokes/inkstrokes.h"
#include "strokes/penorder.h"
#include "strokes/snapping.h"
#include "strokes/strokes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ztrace {

namespace {

const int kBetweenBlackAndWhite = 127;
const double kStandardWidths[] = { 0.13, 0.18, 0.25, 0.35, 0.5, 0.7, 1.0, 1.4, 2.0 };

std::vector<uint8_t> greyOf(const GreyPicture &page)
{
    const std::size_t width = std::size_t(page.width());
    std::vector<uint8_t> values(width * std::size_t(page.height()));
    std::vector<uint8_t> buffer(width);
    for (int y = 0; y < page.height(); ++y) {
        const uint8_t *row = page.row(y, buffer.data());
        std::copy(row, row + width, values.begin() + y * std::ptrdiff_t(width));
    }
    return values;
}

Point toDrawing(fit::Point p, int height)
{
    return Point(p.x, height - p.y);
}

// Two halves, which writers know as one ellipse.
Path ellipseOf(const fit::Piece &piece, int height)
{
    const fit::Point arm
        = piece.half[0] * fit::Point { std::cos(piece.angle), std::sin(piece.angle) };
    const double ratio = piece.half[1] / piece.half[0];
    Path path;
    path.moveTo(toDrawing(piece.centre + arm, height));
    path.ellipticArcTo(toDrawing(piece.centre - arm, height), 1.0, ratio, -piece.angle);
    path.ellipticArcTo(toDrawing(piece.centre + arm, height), 1.0, ratio, -piece.angle);
    return path;
}

Path circleOf(fit::Point centre, double radius, int height)
{
    const fit::Point arm = { radius, 0 };
    Path path;
    path.moveTo(toDrawing(centre + arm, height));
    path.arcTo(toDrawing(centre - arm, height), 1.0);
    path.arcTo(toDrawing(centre + arm, height), 1.0);
    return path;
}

// In the drawing y points up, so arcs turn the other way.
Path pathOf(const fit::Piece &piece, int height)
{
    Path path;
    if (piece.kind == fit::Kind::Ellipse)
        return ellipseOf(piece, height);
    if (piece.kind == fit::Kind::Circle)
        return circleOf(piece.centre, piece.radius, height);
    path.moveTo(toDrawing(piece.start, height));
    if (piece.kind == fit::Kind::Arc)
        path.arcTo(toDrawing(piece.end, height), -piece.bulge);
    else
        path.lineTo(toDrawing(piece.end, height));
    return path;
}

// A layer a standard width, where the resolution is known, else a number a pen.
std::vector<QString> layersOf(const std::vector<double> &pens, double dpi)
{
    std::vector<QString> layers;
    for (std::size_t k = 0; k < pens.size(); ++k) {
        const double width = dpi > 0.0 ? standardWidth(pens[k] / dpi * kMillimetresPerInch) : 0.0;
        layers.push_back(
            QLatin1String("PEN_")
            + (dpi > 0.0 ? QString::number(width, 'f', 2) : QString::number(int(k) + 1)));
    }
    return layers;
}

// What outlines are made of: a page, its threshold, and how areas are drawn.
struct SolidPage
{
    const std::vector<uint8_t> &grey;
    int threshold;
    const TracePlan &plan;
    const Ink &ink;
    const PenInks &inks;
};

// The solid parts alone, what is cut out of them as their holes.
Drawing drawingOfSolids(const strokes::Plane &solids, const SolidPage &page, QRgb inkColour,
                        const char *layer)
{
    Areas areas;
    areas.colours = { inkColour, page.ink.paperColour };
    RunScanner scanner(solids.width, solids.height);
    std::vector<uint8_t> labels(std::size_t(solids.width));
    EdgePicture edges;
    edges.width = solids.width;
    edges.height = solids.height;
    edges.threshold = page.threshold;
    edges.values = page.grey;
    for (int y = 0; y < solids.height; ++y) {
        for (int x = 0; x < solids.width; ++x)
            labels[std::size_t(x)]
                = uint8_t(solids.cells[solids.cellOf(x, y)] != 0 ? kInkLabel : kPaperLabel);
        scanner.addRow(labels.data());
    }
    areas.runs = scanner.take();
    const TracePlan &plan = page.plan;
    std::optional<ShapeOutlines> shapes = shapesOf(
        areas, edges, plan.threads > 0 ? plan.threads : threadsOfMachine(), plan.geometry.snap);
    if (!shapes)
        throw TraceError("too many solid areas for a drawing of strokes");
    Composition composition = plan.composition;
    composition.onlyColours.assign(1, inkColour | 0xFF000000u);
    Drawing drawing = compose(std::move(*shapes), areas, 1, { Connectivity::Split, {} },
                              Painting::InkOnPaper, composition);
    for (Outline &outline : drawing.outlines) {
        outline.layer = QLatin1String(layer);
        outline.seam = 0.0;
    }
    return drawing;
}

// Outlines and boundaries are counted on from what is there.
void append(Drawing part, Drawing *drawing)
{
    const int before = int(drawing->outlines.size());
    const int chainsBefore = int(drawing->chains.size());
    for (Outline &outline : part.outlines) {
        for (int &hole : outline.holes)
            hole += before;
        for (std::vector<int> &ring : outline.rings) {
            for (int &reference : ring)
                reference += reference < 0 ? -chainsBefore : chainsBefore;
        }
        drawing->outlines.push_back(std::move(outline));
    }
    for (BoundaryChain &chain : part.chains) {
        for (int *side : { &chain.left, &chain.right })
            *side += *side < 0 ? 0 : before;
        drawing->chains.push_back(std::move(chain));
    }
}

// The ink of every cell of solids, 1 and more; 0 elsewhere. Where strokes run beside them solids
// reach under these, whose ink is not theirs: what no three cells square of one ink lie on takes
// the ink of what is around it.
strokes::Plane inksOf(const strokes::Plane &solids, const PenInks &inks)
{
    strokes::Plane own(solids.width, solids.height);
    for (std::size_t cell = 0; cell < own.cells.size(); ++cell) {
        if (solids.cells[cell] != 0)
            own.cells[cell] = uint8_t(1 + inks.at(solids.middleOf(uint32_t(cell))));
    }
    const auto at = [&solids](const strokes::Plane &plane, int x, int y) {
        const bool isIn = x >= 0 && y >= 0 && x < solids.width && y < solids.height;
        return isIn ? plane.cells[plane.cellOf(x, y)] : uint8_t(0);
    };
    strokes::Plane wide(solids.width, solids.height);
    for (int y = 1; y + 1 < solids.height; ++y) {
        for (int x = 1; x + 1 < solids.width; ++x) {
            const uint8_t ink = own.cells[own.cellOf(x, y)];
            bool isSame = ink != 0;
            for (int k = 0; isSame && k < 9; ++k)
                isSame = at(own, x + k % 3 - 1, y + k / 3 - 1) == ink;
            for (int k = 0; isSame && k < 9; ++k)
                wide.cells[wide.cellOf(x + k % 3 - 1, y + k / 3 - 1)] = ink;
        }
    }
    strokes::Plane settled = own;
    for (int y = 0; y < solids.height; ++y) {
        for (int x = 0; x < solids.width; ++x) {
            const uint32_t cell = own.cellOf(x, y);
            if (own.cells[cell] == 0 || wide.cells[cell] != 0)
                continue;
            std::array<int, 256> counts = {};
            for (int k = 0; k < 25; ++k)
                ++counts[at(wide, x + k % 5 - 2, y + k / 5 - 2)];
            const auto most = std::max_element(counts.begin() + 1, counts.end());
            if (*most > 0)
                settled.cells[cell] = uint8_t(most - counts.begin());
        }
    }
    return settled;
}

// The solid parts of every ink.
void addSolids(const strokes::Plane &solids, const SolidPage &page, const char *layer,
               Drawing *drawing)
{
    if (solids.cells.empty())
        return;
    const PenInks &inks = page.inks;
    if (!inks.isColoured()) {
        append(drawingOfSolids(solids, page, page.ink.inkColour, layer), drawing);
        return;
    }
    const strokes::Plane all = inksOf(solids, inks);
    for (std::size_t k = 0; k < inks.all().size(); ++k) {
        strokes::Plane own(solids.width, solids.height);
        bool any = false;
        for (std::size_t cell = 0; cell < own.cells.size(); ++cell) {
            own.cells[cell] = all.cells[cell] == k + 1 ? 1 : 0;
            any = any || own.cells[cell] != 0;
        }
        if (any)
            append(drawingOfSolids(own, page, inks.all()[k], layer), drawing);
    }
}

// A turned page, and one with a threshold of its own, is ink alone; so is one whose ink is named.
bool mayHaveGrounds(const Ink &ink)
{
    return ink.ownColours && !ink.scan.deskew && ink.scan.threshold != Threshold::Fixed;
}

// The areas that all else lies on. Beneath lines they reach to the middle.
void addGrounds(const GroundAreas &grounds, const TracePlan &plan, const Ink &ink,
                const PenInks &inks, Drawing *drawing)
{
    for (std::size_t k = 1; k < grounds.colours().size(); ++k) {
        const std::vector<uint8_t> grey = grounds.grey(k);
        append(drawingOfSolids(grounds.cells(k), { grey, kBetweenBlackAndWhite, plan, ink, inks },
                               grounds.colours()[k], kAreaLayer),
               drawing);
    }
}

LeftOutInk leftOutOf(const strokes::LeftOutParts &parts)
{
    return { parts.count, parts.largest, parts.x, parts.y };
}

// What is drawn for a reason of its own has a layer of its own, all else one a pen.
QString layerOf(const strokes::Stroke &stroke, const std::vector<QString> &layers,
                const PenInks &inks)
{
    switch (stroke.role) {
    case strokes::Role::Dimension:
        return QLatin1String(kDimensionLayer);
    case strokes::Role::Text:
        return QLatin1String(kTextLayer);
    case strokes::Role::Hatch:
        return QLatin1String(kHatchLayer);
    default:
        return layers[std::size_t(stroke.pen)] + inks.suffixOf(stroke.ink);
    }
}

LineType lineTypeOf(strokes::DashType type)
{
    switch (type) {
    case strokes::DashType::Hidden:
        return LineType::Hidden;
    case strokes::DashType::Center:
        return LineType::Center;
    case strokes::DashType::Phantom:
        return LineType::Phantom;
    case strokes::DashType::Dot:
        return LineType::Dot;
    default:
        return LineType::Continuous;
    }
}

// A pen of its own for a dashed stroke, as wide as the pen that drew it.
int dashedPen(const strokes::Stroke &stroke, Drawing *drawing)
{
    Pen pen = drawing->pens[std::size_t(stroke.pen)];
    pen.lineType = lineTypeOf(stroke.dashing.type);
    pen.dashes = stroke.dashing.pattern;
    pen.roundEnds = stroke.dashing.roundEnds;
    drawing->pens.push_back(pen);
    return int(drawing->pens.size()) - 1;
}

void remarkOn(strokes::Content content, TraceReport *report)
{
    if (content == strokes::Content::Lettering)
        report->remarks.push_back(Remark::MostlyLettering);
    else if (content == strokes::Content::FewLines)
        report->remarks.push_back(Remark::FewLines);
}

void addStrokes(const strokes::StrokeDrawing &found, const PenInks &inks, double dpi,
                Drawing *drawing)
{
    const std::vector<QString> layers = layersOf(found.pens, dpi);
    for (double width : found.pens) {
        Pen pen;
        pen.width = width;
        pen.roundEnds = found.roundEnds;
        drawing->pens.push_back(pen);
    }
    for (const strokes::Stroke &stroke : found.strokes) {
        Outline outline;
        outline.shape = pathOf(stroke.piece, drawing->height);
        outline.colour = inks.colourOf(stroke.ink);
        outline.layer = layerOf(stroke, layers, inks);
        outline.pen = stroke.dashing.type == strokes::DashType::None ? stroke.pen
                                                                     : dashedPen(stroke, drawing);
        drawing->outlines.push_back(std::move(outline));
    }
    for (const strokes::Arrow &arrow : found.arrows) {
        Outline outline;
        outline.shape.moveTo(toDrawing(arrow.corner[0], drawing->height));
        for (int k : { 1, 2, 0 })
            outline.shape.lineTo(toDrawing(arrow.corner[k], drawing->height));
        outline.colour = inks.colourOf(arrow.ink);
        outline.layer = QLatin1String(kDimensionLayer);
        drawing->outlines.push_back(std::move(outline));
    }
    for (const strokes::LineDot &dot : found.dots) {
        Outline outline;
        outline.shape = circleOf(dot.centre, dot.radius, drawing->height);
        outline.colour = inks.colourOf(dot.ink);
        outline.layer = QLatin1String(kSolidLayer);
        drawing->outlines.push_back(std::move(outline));
    }
}

} // namespace

double standardWidth(double millimetres)
{
    double best = kStandardWidths[0];
    for (double width : kStandardWidths) {
        if (std::fabs(std::log(width / millimetres)) < std::fabs(std::log(best / millimetres)))
            best = width;
    }
    return best;
}

Drawing traceStrokes(Picture picture, const TracePlan &plan, const Ink &ink, double dpi,
                     Stages *stages, TraceReport *report)
{
    stages->begin("preparing");
    GroundAreas grounds(mayHaveGrounds(ink) ? picture : Picture());
    if (grounds.any())
        picture = Picture(grounds.takePicture());
    PenInks inks(ink.ownColours ? picture : Picture(), ink.inkColour);
    if (inks.isColoured() && ink.scan.threshold != Threshold::Fixed)
        picture = Picture(inks.takeGrey());
    CleanPage clean = cleanPage(std::move(picture), ink.scan);
    inks.turnBy(clean.angle);
    report->angle = clean.angle;
    report->evenedOut = clean.evenedOut;
    report->threshold = clean.wholePage ? clean.threshold : -1;
    if (clean.unclear)
        report->remarks.push_back(Remark::NoClearDirection);
    requireRoom(clean.page.width(), clean.page.height(), 1);
    std::vector<uint8_t> grey = greyOf(clean.page);
    strokes::InkPicture page;
    page.width = clean.page.width();
    page.height = clean.page.height();
    page.grey = grey.data();
    page.threshold = clean.bilevel ? kBetweenBlackAndWhite : clean.threshold;
    strokes::StrokeOptions options;
    options.hard = clean.bilevel || clean.page.isBilevel() || clean.tones.lightnesses() <= 2;
    options.thresholdGiven = ink.scan.threshold == Threshold::Fixed;
    clean.page = GreyPicture();
    stages->end("prepare");
    stages->begin("tracing");
    strokes::StrokeDrawing found;
    if (!strokes::strokesOf(page, options, &found))
        throw TraceError("the picture has more lines than a drawing; --despeckle or another "
                         "--threshold may help, or leave out --strokes");
    strokes::putInOrder(plan.geometry.snap, &found);
    if (inks.isColoured())
        strokes::takeInks([&inks](fit::Point p) { return inks.at(p); }, &found);
    strokes::putInPenOrder({ 0.0, double(page.height) }, &found.strokes);
    Drawing drawing;
    if (grounds.any())
        addGrounds(grounds, plan, ink, inks, &drawing);
    const std::size_t areas = drawing.outlines.size();
    const SolidPage solidPage = { grey, page.threshold, plan, ink, inks };
    addSolids(found.solids, solidPage, kSolidLayer, &drawing);
    if (strokes::isHardlyDrawn(found, drawing.outlines.size() - areas))
        report->remarks.push_back(Remark::HardlyDrawn);
    else
        remarkOn(strokes::contentOf(found), report);
    addSolids(found.letters,
              { found.letterGrey.empty() ? grey : found.letterGrey, found.letterThreshold, plan,
                ink, inks },
              kTextLayer, &drawing);
    report->specks = leftOutOf(found.leftOut.specks);
    report->pale = leftOutOf(found.leftOut.pale);
    drawing.width = page.width;
    drawing.height = page.height;
    drawing.ground = ink.paperColour;
    addStrokes(found, inks, dpi, &drawing);
    report->palette = inks.all();
    for (std::size_t k = 1; k < grounds.colours().size(); ++k)
        report->palette.push_back(grounds.colours()[k]);
    report->palette.push_back(ink.paperColour);
    report->shapes = true;
    stages->end("trace");
    return drawing;
}

} // namespace ztrace
