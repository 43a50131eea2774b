// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/strokes.h"

#include "strokes/alikeends.h"
#include "strokes/breaks.h"
#include "strokes/bridges.h"
#include "strokes/corners.h"
#include "strokes/cusps.h"
#include "strokes/dashes.h"
#include "strokes/dashgrids.h"
#include "strokes/dashheir.h"
#include "strokes/dips.h"
#include "strokes/distance.h"
#include "strokes/dottedlines.h"
#include "strokes/ends.h"
#include "strokes/explained.h"
#include "strokes/fillets.h"
#include "strokes/grazes.h"
#include "strokes/hatchfill.h"
#include "strokes/hiddenends.h"
#include "strokes/joining.h"
#include "strokes/leftovers.h"
#include "strokes/letterforms.h"
#include "strokes/lettering.h"
#include "strokes/linedots.h"
#include "strokes/meeting.h"
#include "strokes/mitres.h"
#include "strokes/noise.h"
#include "strokes/overpaper.h"
#include "strokes/paleink.h"
#include "strokes/pens.h"
#include "strokes/pieces.h"
#include "strokes/rounds.h"
#include "strokes/scans.h"
#include "strokes/solids.h"
#include "strokes/spurs.h"
#include "strokes/tangents.h"
#include "strokes/thinning.h"
#include "strokes/weights.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Pixels: the least deviation that neighbouring cross-sections together may have. One bit a pixel
// leaves steps whose errors keep their sign for as long as a line keeps within a row.
const double kLeastSoft = 0.035;
const double kLeastHard = 0.2;

// Usual widths that a speck and its ink are long, and pixels of what has no length.
const double kSpeckPart = 1.4;
const double kNoisySpeck = 8.0; // pixels, in scans that have specks of their own
const double kNoLength = 0.3;
// Pixels of a thin line that noise may take in one place, in black and white and in greys.
const double kTakenHard = 4.0;
const double kTakenSoft = 1.0;
// Part of the ink's depth that a letter's hairlines have: .7 pixels of black in clean greys are
// .35.
const double kHairline = 0.3;
// Cross-sections that tell a direction well enough to join by it.
const std::size_t kTelling = 8;

struct Skeleton
{
    Plane distance;
    std::vector<uint32_t> cells;
    Graph graph;
};

Skeleton skeletonOf(Plane ink)
{
    Skeleton skeleton;
    skeleton.distance = inkDistance(std::move(ink));
    Plane thinned;
    skeleton.cells = thin(skeleton.distance, &thinned);
    skeleton.graph = graphOf(std::move(thinned), skeleton.distance, skeleton.cells);
    return skeleton;
}

// The picture that all is measured in, and its ink. Of noisy scans the paper is even, and noise
// alone is no ink.
struct Page
{
    InkPicture picture;
    std::vector<uint8_t> evenGrey;
    Plane ink;
    bool isNoisy = false;
    LeftOut leftOut;
};

Page pageOf(const InkPicture &picture, const StrokeOptions &options)
{
    const bool hard = options.hard;
    Page page;
    page.picture = picture;
    page.isNoisy = isNoisy(picture, hard);
    if (!page.isNoisy) {
        if (!hard) {
            PaleInk pale = paleInkOf(picture);
            page.leftOut.pale = pale.left;
            if (!options.thresholdGiven && !pale.grey.empty()) {
                page.evenGrey = std::move(pale.grey);
                page.picture.grey = page.evenGrey.data();
            } else {
                page.leftOut.pale.add(pale.lines);
            }
        }
        page.ink = inkOf(page.picture);
        return page;
    }
    if (hard) {
        page.evenGrey = bridged(picture);
        drawDottedLines(picture, &page.evenGrey);
        page.picture.grey = page.evenGrey.data();
        page.ink = inkOfNoisy(page.picture, lightestOf(picture)).ink;
        return page;
    }
    EvenPage even = evenPageOf(picture);
    page.evenGrey = std::move(even.grey);
    page.picture.grey = page.evenGrey.data();
    const int least = options.thresholdGiven ? even.paper - picture.threshold : 0;
    NoisyInk found = inkOfNoisy(page.picture, even.paper, least);
    page.picture.threshold = found.threshold;
    page.ink = std::move(found.ink);
    page.leftOut.pale = found.pale;
    return page;
}

// Ink of a picture that is in no solid.
void addInk(const InkPicture &picture, const Plane &solids, Plane *ink)
{
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const uint32_t cell = ink->cellOf(x, y);
            if (picture.isInk(x, y) && (solids.cells.empty() || solids.cells[cell] == 0))
                ink->cells[cell] = std::max(ink->cells[cell], uint8_t(1));
        }
    }
}

// Outlines letters that strokes do not explain. In clean greys hairlines count that are lighter
// than the threshold; letters are lettering by then, so that no noise is meant.
void outlineLetters(const Page &page, const InkTones &tones, const InkToExplain &ink,
                    StrokeDrawing *drawing)
{
    drawing->letterThreshold = page.picture.threshold;
    if (!ink.tellsHairlines) {
        outlineUnclearLetters(ink, drawing);
        return;
    }
    InkPicture legible = page.picture;
    legible.threshold = std::max(page.picture.threshold,
                                 int(tones.paper - kHairline * (tones.paper - tones.ink)));
    drawing->letterThreshold = legible.threshold;
    Plane letters = ink.distance;
    addInk(legible, drawing->solids, &letters);
    outlineUnclearLetters({ letters, ink.coverage, false, false, true }, drawing);
}

// A stroke that meets nothing and with its ink is shorter than that.
bool isSpeck(const Atom &atom, const Web &web, double length, double longest)
{
    const auto isFree = [&web](int joint) {
        return joint < 0 || web.joints[std::size_t(joint)].kind == JointKind::Tip;
    };
    return atom.shape <= Shape::Arc && isFree(atom.joint[0]) && isFree(atom.joint[1])
        && length + atom.width < longest;
}

// The width that most cross-sections have at most.
double usualWidth(const Web &web)
{
    std::vector<std::pair<double, std::size_t>> widths;
    std::size_t all = 0;
    for (const Atom &atom : web.atoms) {
        if (atom.alive) {
            widths.push_back({ atom.width, atom.samples.size() });
            all += atom.samples.size();
        }
    }
    std::sort(widths.begin(), widths.end());
    std::size_t seen = 0;
    for (const auto &width : widths) {
        seen += width.second;
        if (2 * seen >= all)
            return width.first;
    }
    return 0.0;
}

void takeStrokes(const Web &web, bool isNoisy, StrokeDrawing *drawing)
{
    const double usual = kSpeckPart * usualWidth(web);
    const double speck = isNoisy ? std::max(kNoisySpeck, usual) : usual;
    for (const Atom &atom : web.atoms) {
        if (!atom.alive)
            continue;
        Stroke stroke;
        stroke.piece = pieceOf(atom);
        const double length = lengthOf(stroke.piece);
        if (!(length > kNoLength)
            || isSpeck(atom, web, length, atom.role == Role::Text ? usual : speck))
            continue;
        stroke.width = atom.width;
        stroke.dashing = atom.dashing;
        stroke.role = atom.role;
        stroke.joint[0] = atom.joint[0];
        stroke.joint[1] = atom.joint[1];
        stroke.samples = atom.samples;
        drawing->strokes.push_back(std::move(stroke));
    }
}

void givePens(StrokeDrawing *drawing)
{
    std::vector<DrawnWidth> widths;
    for (const Stroke &stroke : drawing->strokes)
        widths.push_back({ stroke.width, lengthOf(stroke.piece) });
    Pens pens = pensOf(widths);
    for (std::size_t k = 0; k < drawing->strokes.size(); ++k)
        drawing->strokes[k].pen = pens.penOf[k];
    drawing->pens = std::move(pens.widths);
}

// Of what was drawn at first: few strokes of a pen whose others are areas now keep it.
void dropUnusedPens(StrokeDrawing *drawing)
{
    std::vector<int> placeOf(drawing->pens.size(), -1);
    for (const Stroke &stroke : drawing->strokes)
        placeOf[std::size_t(stroke.pen)] = 0;
    std::vector<double> pens;
    for (std::size_t k = 0; k < placeOf.size(); ++k) {
        if (placeOf[k] < 0)
            continue;
        placeOf[k] = int(pens.size());
        pens.push_back(drawing->pens[k]);
    }
    for (Stroke &stroke : drawing->strokes)
        stroke.pen = placeOf[std::size_t(stroke.pen)];
    drawing->pens = std::move(pens);
}

} // namespace

bool strokesOf(const InkPicture &given, const StrokeOptions &options, StrokeDrawing *drawing)
{
    *drawing = StrokeDrawing();
    Page page = pageOf(given, options);
    drawing->leftOut = page.leftOut;
    const InkPicture &picture = page.picture;
    drawing->inkPixels = std::size_t(std::count_if(page.ink.cells.begin(), page.ink.cells.end(),
                                                   [](uint8_t c) { return c != 0; }));
    Skeleton skeleton = skeletonOf(std::move(page.ink));
    if (skeleton.graph.branches.size() > kMostBranches)
        return false;
    dropSpurs(skeleton.distance, &skeleton.graph);
    drawing->solids = takeSolids(widestPen(skeleton.graph, skeleton.distance), &skeleton.distance);
    if (!drawing->solids.cells.empty()) {
        skeleton.graph = Graph();
        skeleton = skeletonOf(std::move(skeleton.distance));
        dropSpurs(skeleton.distance, &skeleton.graph);
    }
    const InkTones tones = tonesAlong(picture, skeleton.distance, skeleton.cells);
    const Coverage coverage(picture, tones.ink, tones.paper);
    Cores cores = coresOf(skeleton.graph, skeleton.distance, coverage);
    const double least = options.hard ? kLeastHard : kLeastSoft;
    Measure measure = measureOf(cores, least);
    measure.hard = options.hard;
    if (page.isNoisy)
        measure.taken = options.hard ? kTakenHard : kTakenSoft;
    drawing->sigma = measure.sigma;
    const std::size_t nodes = cores.joints.size();
    std::vector<Atom> atoms = atomsOf(&cores, measure);
    const int mostOfDots = mostOfDot(cores);
    std::vector<Dot> dots = dotsOf(skeleton.graph, skeleton.distance, atoms, mostOfDots);
    Web web = webOf(std::move(atoms), std::move(cores.joints));
    joinAcrossJoints(measure, kTelling, &web);
    // What is lettering is not known yet: bars of rows that run across each other look like it.
    if (!page.isNoisy)
        dots = takeDashGrids(coverage, measure, dots, &web);
    takeLettering(&web);
    const GapLimits gaps = gapLimits(page.isNoisy);
    measure.breaks = page.isNoisy && hasBreaks(coverage, measure, web);
    const Coverage bare(given, tones.ink, tones.paper);
    joinDashes({ coverage, page.isNoisy && options.hard ? &bare : nullptr }, measure, gaps, dots,
               &web);
    joinAlongCarriers(coverage, measure, gaps, &web);
    // Dashes that had come to pieces are whole now, and may be a row; dots are in theirs already.
    if (page.isNoisy && options.hard)
        joinDashes({ coverage, &bare }, measure, gaps, {}, &web);
    joinAcrossJoints(measure, 0, &web);
    takeRounds(coverage, measure, &web);
    joinAlongCarriers(coverage, measure, gaps, &web);
    takeCusps(&web);
    meetInCutCorners(coverage, &web);
    settleTangents(measure, &web);
    drawing->roundEnds = settleEnds(coverage, measure, &web);
    settleAlikeEnds(measure, &web);
    settleGrazes(coverage, &web);
    dropMitres(&web);
    settleDashes(&web);
    takeFillets(coverage, measure, &web);
    if (!page.isNoisy)
        settleHiddenEnds(coverage, options.hard, drawing->roundEnds, &web);
    if (page.isNoisy)
        drawLettersAnew(cores.cores, nodes, coverage, least, measure, &web);
    if (page.isNoisy)
        takeDips(coverage, &web);
    dropExplained(web.atoms, &drawing->solids);
    const DotLimits dotLimits = { page.isNoisy, options.hard };
    takeDiscs(coverage, dotLimits, &drawing->solids, &drawing->dots);
    drawing->arrows = takeArrows(coverage, measure, { drawing->roundEnds, page.isNoisy }, &web,
                                 &drawing->solids);
    takeSmallDots(coverage, dotLimits, web.atoms, drawing->arrows, skeleton.cells,
                  skeleton.distance, &drawing->dots);
    const std::vector<HatchFamily> hatches = takeHatches(&web);
    if (page.isNoisy)
        fillHatches(coverage, measure, hatches, &web);
    if (page.isNoisy && options.hard)
        widenThinned(&web);
    else if (page.isNoisy)
        measureWidths(picture, tones.paper, options.thresholdGiven, &web);
    takeStrokes(web, page.isNoisy, drawing);
    if (!page.isNoisy) {
        std::vector<DrawnPiece> drawn;
        for (const Stroke &stroke : drawing->strokes)
            drawn.push_back({ stroke.piece, stroke.width });
        takeLoneDots(coverage, skeleton.distance,
                     dotsOf(skeleton.graph, skeleton.distance, {}, mostOfDots), drawn,
                     drawing->arrows, &drawing->dots);
    }
    // Of one bit what bridges and smoothing have left out is ink as well.
    if (page.isNoisy && options.hard)
        addInk(given, drawing->solids, &skeleton.distance);
    const InkToExplain explained
        = { skeleton.distance, coverage, page.isNoisy, page.isNoisy && !options.hard,
            !page.isNoisy && !options.hard };
    givePens(drawing);
    outlineLetters(page, tones, explained, drawing);
    const Plane solid
        = page.isNoisy ? Plane() : dropStrokesOverPaper(skeleton.distance, coverage, drawing);
    dropUnusedPens(drawing);
    takeLeftovers(explained, solid, drawing);
    if (!options.hard && !drawing->letters.cells.empty())
        drawing->letterGrey = std::move(page.evenGrey);
    drawing->joints = std::move(web.joints);
    return true;
}

Content contentOf(const StrokeDrawing &drawing)
{
    double all = drawing.outlined.length;
    double lettering = drawing.outlined.length;
    double area = drawing.outlined.area;
    std::size_t letters = drawing.outlined.strokes;
    for (const Stroke &stroke : drawing.strokes) {
        const double length = lengthOf(stroke.piece);
        all += length;
        area += length * stroke.width;
        lettering += stroke.role == Role::Text ? length : 0.0;
        letters += stroke.role == Role::Text ? 1u : 0u;
    }
    if (letters >= kManyLetters && lettering > kLetteringPart * all)
        return Content::Lettering;
    const double part = drawing.strokes.size() < kFewStrokes ? kDrawnPart : kLeastDrawnPart;
    return area < part * double(drawing.inkPixels) ? Content::FewLines : Content::Lines;
}

bool isHardlyDrawn(const StrokeDrawing &drawing, std::size_t areas)
{
    std::size_t all = areas;
    std::size_t brief = areas;
    for (const Stroke &stroke : drawing.strokes) {
        if (stroke.role == Role::Text || stroke.role == Role::Hatch)
            continue;
        ++all;
        brief += lengthOf(stroke.piece) < kShortStroke * stroke.width ? 1u : 0u;
    }
    return all >= kManyStrokes && 2 * brief > all;
}

} // namespace ztrace::strokes
