// (c) the ztrace developers. Licence: see LICENSE.
#include "report.h"

#include "drawing/text.h"

namespace ztrace
{

Counts countPieces(const Drawing &drawing)
{
    Counts counts;
    for (const Outline &outline : drawing.outlines) {
        ++counts.outlines;
        for (int i = 0; i < outline.shape.countPieces(); ++i) {
            if (outline.shape.getPieceKind(i) == ZPolyline::LinePiece)
                ++counts.lines;
            else
                ++counts.curves;
        }
    }
    return counts;
}

void printStatistics(const TraceResult &result, const std::string &preset, std::FILE *stream)
{
    const Drawing &drawing = result.drawing;
    std::fprintf(stream, "image     %d x %d pixels\n", drawing.width, drawing.height);
    std::fprintf(stream, "preset    %s\n", preset.c_str());
    if (result.threshold >= 0)
        std::fprintf(stream, "threshold %d\n", result.threshold);
    std::fprintf(stream, "palette   %d colours:", static_cast<int>(result.palette.size()));
    for (QRgb colour : result.palette) {
        std::fprintf(stream, " %s", colourName(colour).constData());
        if (qAlpha(colour) != 255)
            std::fprintf(stream, "/%s", numberText(qAlpha(colour) / 255.0, 2).constData());
    }
    const Counts counts = countPieces(drawing);
    std::fprintf(stream, "\noutlines  %d\nsegments  %d (%d lines, %d curves)\noptions  ",
                 counts.outlines, counts.lines + counts.curves, counts.lines, counts.curves);
    for (const auto &option : result.engine)
        std::fprintf(stream, " %s=%s", option.first.c_str(), numberText(option.second).constData());
    std::fprintf(stream, "\ntimes    ");
    double total = 0.0;
    for (const auto &stage : result.seconds) {
        std::fprintf(stream, " %s %.3f s,", stage.first.c_str(), stage.second);
        total += stage.second;
    }
    std::fprintf(stream, " together %.3f s\n", total);
}

} // namespace ztrace
