// (c) the ztrace developers. Licence: see LICENSE.
//
// Draws lines and arcs of a width with round ends, for tests that know where they run.
#ifndef ZTRACE_TESTS_STROKESRIG_H
#define ZTRACE_TESTS_STROKESRIG_H

#include "strokes/strokes.h"

#include <string>

namespace ztrace::strokes {

// Ink on white paper, in samples of 6 x 6 a pixel.
class Sheet
{
public:
    Sheet(int width, int height);

    Sheet &line(Point from, Point to, double width);
    // Angles in radians from x towards y; a sweep of 2 pi is a circle.
    Sheet &arc(Point centre, double radius, double start, double sweep, double width);
    // A line with square ends.
    Sheet &bar(Point from, Point to, double width);
    // Ink, or paper, inside of corners that turn one way only.
    Sheet &polygon(const std::vector<Point> &corners, bool ink = true);
    Sheet &ellipse(Point centre, double a, double b, double angle, double width);
    Sheet &disc(Point centre, double radius);
    Sheet &paper(Point low, Point high); // an upright rectangle without ink

    // Greys from the samples, 0 ink and 255 paper; or black and white at half coverage.
    enum class Tones { Soft, Hard };
    std::vector<uint8_t> grey(Tones tones) const;

    int width() const { return columns; }
    int height() const { return rows; }

private:
    template<typename Inside>
    void set(Point low, Point high, bool ink, Inside inside);

    int columns;
    int rows;
    std::vector<bool> samples;
};

// Blurs by a Gaussian of so many pixels; 0 does nothing.
void blurred(std::vector<uint8_t> *grey, int width, int height, double sigma);

// Strokes of a sheet, which must not be refused.
StrokeDrawing strokesOn(const Sheet &sheet, Sheet::Tones tones = Sheet::Tones::Soft);
StrokeDrawing strokesOn(const std::vector<uint8_t> &grey, int width, int height, bool hard = false);

int countOf(const StrokeDrawing &drawing, fit::Kind kind);

// Whether a line of the drawing has these ends, in either order, within so many pixels.
bool hasLine(const StrokeDrawing &drawing, Point a, Point b, double within);

// One a line, for messages.
std::string listOf(const StrokeDrawing &drawing);

} // namespace ztrace::strokes

#endif
