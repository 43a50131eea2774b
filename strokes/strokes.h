// (c) the ztrace developers. Licence: see LICENSE.
//
// The entry point: a picture of lines becomes lines, arcs, circles and ellipses with pens.
// docs/strokes/strokes.md.
#ifndef ZTRACE_STROKES_STROKES_H
#define ZTRACE_STROKES_STROKES_H

#include "strokes/arrows.h"
#include "strokes/leftout.h"
#include "strokes/linedots.h"

namespace ztrace::strokes {

// One line, arc, circle or ellipse of the drawing.
//
// piece   a Line, Arc, Circle or Ellipse; y down as in the picture
// joint   by position in StrokeDrawing::joints, where its ends are; -1: nowhere
// width   its own, in pixels; `pen` has that of its pen
// dashing how it is drawn where it does not go through
// samples the cross-sections that it was seen in
struct Stroke
{
    fit::Piece piece;
    int pen = 0;
    double width = 0.0;
    Dashing dashing;
    Role role = Role::Line;
    int ink = 0; // of several, where takeInks() has told them
    int joint[2] = { -1, -1 };
    std::vector<Section> samples;
};

// Strokes of letters that became outlines: what they would have been of the drawing.
struct OutlinedLetters
{
    std::size_t strokes = 0;
    double length = 0.0; // pixels
    double area = 0.0;   // square pixels
};

struct StrokeDrawing
{
    std::vector<Stroke> strokes;
    std::vector<Joint> joints;
    std::vector<Arrow> arrows; // solids at the ends of strokes whose role is Dimension
    std::vector<LineDot> dots; // filled circles on lines
    std::vector<double> pens;  // widths in pixels, ascending
    bool roundEnds = true;
    Plane solids;            // 1 in the pixels of what is no line; of no size where there is none
    Plane letters;           // likewise of letters whose strokes do not explain them
    int letterThreshold = 0; // that these have: hairlines of small letters are lighter than ink
    // The lightnesses that it is of, from the top, where they are not the picture's: pale ink is
    // lifted, light evened out.
    std::vector<uint8_t> letterGrey;
    OutlinedLetters outlined;
    LeftOut leftOut;
    std::size_t inkPixels = 0; // of solids and specks as well
    double sigma = 0.0;        // what fits were judged by, in pixels
};

struct StrokeOptions
{
    bool hard = false; // the picture has no values between ink and paper
    // The threshold is somebody's wish: paler lines are not looked for, darker ones are no folds.
    bool thresholdGiven = false;
};

// More strokes than a drawing has: noise, screens and photographs.
const std::size_t kMostBranches = 400000;

// Finds the strokes of a picture. Deterministic. Returns false, and no strokes, where there are
// more than kMostBranches branches; a picture without ink gives none and true.
bool strokesOf(const InkPicture &picture, const StrokeOptions &options, StrokeDrawing *drawing);

// What most of a drawing is. Of photographs and solid areas strokes cover little of the ink; of
// pages of text most of their length is lettering, and they have many letters.
enum class Content { Lines, Lettering, FewLines };
Content contentOf(const StrokeDrawing &drawing);
// Of the ink, that the strokes of drawings cover: .69 is the least of 144 scanned and clean ones;
// many strokes are a drawing with solid areas where they cover less.
const double kDrawnPart = 0.6;
const double kLeastDrawnPart = 0.3;
const std::size_t kFewStrokes = 100;
const double kLetteringPart = 0.4; // of all length, that lettering has on a page of text
const std::size_t kManyLetters = 150;

// Whether most strokes and solid areas, of which there are so many, are nothing that a pen has
// drawn: strokes of no length, areas. Patterns, screens and photographs give such. Lettering and
// hatches do not count, and few strokes say nothing.
bool isHardlyDrawn(const StrokeDrawing &drawing, std::size_t areas);
const std::size_t kManyStrokes = 1000;
const double kShortStroke = 6.0; // widths

} // namespace ztrace::strokes

#endif
