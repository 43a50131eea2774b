// (c) the ztrace developers. Licence: see LICENSE.
#include "report.h"

#include "drawing/json.h"
#include "drawing/text.h"

namespace ztrace {

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

void printStatistics(const TraceResult &result, const Look &look, std::FILE *stream)
{
    const Drawing &drawing = result.drawing;
    std::fprintf(stream, "image     %d x %d pixels, %s an inch\n", drawing.width, drawing.height,
                 numberText(drawing.dpi, 4).constData());
    std::fprintf(stream, "preset    %s%s\n", look.preset.c_str(),
                 look.reason.empty() ? "" : (" (" + look.reason + ")").c_str());
    if (result.threshold >= 0)
        std::fprintf(stream, "threshold %d\n", result.threshold);
    if (result.angle != 0.0)
        std::fprintf(stream, "turned by %s degrees\n", numberText(result.angle, 3).constData());
    if (result.upsampling > 1)
        std::fprintf(stream, "upsampled %d times\n", result.upsampling);
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
        std::fprintf(stream, " %s=%.6g", option.first.c_str(), option.second);
    std::fprintf(stream, "\ntimes    ");
    double total = 0.0;
    for (const auto &stage : result.seconds) {
        std::fprintf(stream, " %s %.3f s,", stage.first.c_str(), stage.second);
        total += stage.second;
    }
    std::fprintf(stream, " together %.3f s\n", total);
}

QByteArray aboutTrace(const TraceResult &result, const Look &look, const Settings &settings)
{
    QByteArray text = "\"preset\":" + jsonText(QString::fromStdString(look.preset))
        + ",\"seed\":" + QByteArray::number(settings.seed) + ",\n\"options\":{";
    bool first = true;
    for (const auto &option : result.engine) {
        text += (first ? "" : ",") + jsonText(QString::fromStdString(option.first)) + ':'
            + jsonNumber(option.second);
        first = false;
    }
    text += "},\n\"palette\":[";
    for (std::size_t i = 0; i < result.palette.size(); ++i) {
        text += (i ? "," : "") + QByteArray("{\"color\":\"") + colourName(result.palette[i])
            + "\",\"alpha\":" + QByteArray::number(qAlpha(result.palette[i])) + '}';
    }
    const Counts counts = countPieces(result.drawing);
    text += "],\n\"statistics\":{\"outlines\":" + QByteArray::number(counts.outlines)
        + ",\"lines\":" + QByteArray::number(counts.lines)
        + ",\"curves\":" + QByteArray::number(counts.curves);
    if (result.threshold >= 0)
        text += ",\"threshold\":" + QByteArray::number(result.threshold);
    if (result.angle != 0.0)
        text += ",\"angle\":" + jsonNumber(result.angle);
    if (result.upsampling > 1)
        text += ",\"upsampling\":" + QByteArray::number(result.upsampling);
    return text + '}';
}

void printJson(const TraceResult &result, const Look &look, const Settings &settings,
               const std::string &input, int page, std::FILE *stream)
{
    QByteArray text = "{\"input\":" + jsonText(QString::fromUtf8(input.c_str())) + ",\"page\":"
        + QByteArray::number(page) + ",\"width\":" + QByteArray::number(result.drawing.width)
        + ",\"height\":" + QByteArray::number(result.drawing.height)
        + ",\"dpi\":" + jsonNumber(result.drawing.dpi)
        + ",\"reason\":" + jsonText(QString::fromStdString(look.reason)) + ','
        + aboutTrace(result, look, settings) + ",\"seconds\":{";
    for (std::size_t i = 0; i < result.seconds.size(); ++i) {
        text += (i ? "," : "") + jsonText(QString::fromStdString(result.seconds[i].first)) + ':'
            + numberText(result.seconds[i].second, 6);
    }
    text += "}}";
    text.replace("\n", "");
    std::fprintf(stream, "%s\n", text.constData());
}

} // namespace ztrace
