// (c) the ztrace developers. Licence: see LICENSE.
#include "report.h"

#include "drawing/json.h"
#include "drawing/text.h"

#include <QJsonArray>

namespace ztrace {

namespace {

QString textOf(const std::string &bytes)
{
    return QString::fromUtf8(bytes.c_str());
}

QJsonObject countsOf(const Drawing &drawing)
{
    const Counts counts = countPieces(drawing);
    QJsonObject object;
    object.insert(QLatin1String("outlines"), counts.outlines);
    object.insert(QLatin1String("lines"), counts.lines);
    object.insert(QLatin1String("curves"), counts.curves);
    return object;
}

void printSize(const Drawing &drawing, std::FILE *stream)
{
    std::fprintf(stream, "image     %d x %d pixels, %s an inch\n", drawing.width, drawing.height,
                 numberText(drawing.dpi, 4).constData());
}

void printCounts(const Drawing &drawing, std::FILE *stream)
{
    const Counts counts = countPieces(drawing);
    std::fprintf(stream, "outlines  %d\nsegments  %d (%d lines, %d curves)\n", counts.outlines,
                 counts.lines + counts.curves, counts.lines, counts.curves);
}

} // namespace

void printStatistics(const TraceResult &result, const Look &look, std::FILE *stream)
{
    printSize(result.drawing, stream);
    std::fprintf(stream, "preset    %s%s\n", look.preset.c_str(),
                 look.reason.empty() ? "" : (" (" + look.reason + ")").c_str());
    if (result.report.threshold >= 0)
        std::fprintf(stream, "threshold %d\n", result.report.threshold);
    if (result.report.evenedOut)
        std::fprintf(stream, "uneven light evened out\n");
    if (result.report.angle != 0.0)
        std::fprintf(stream, "turned by %s degrees\n",
                     numberText(result.report.angle, 3).constData());
    if (result.report.upsampling > 1)
        std::fprintf(stream, "upsampled %d times\n", result.report.upsampling);
    if (result.report.shapes)
        std::fprintf(stream, "fit       fair\n");
    std::fprintf(stream, "palette   %d colours:", static_cast<int>(result.report.palette.size()));
    for (QRgb colour : result.report.palette) {
        std::fprintf(stream, " %s", colourName(colour).constData());
        if (qAlpha(colour) != 255)
            std::fprintf(stream, "/%s", numberText(qAlpha(colour) / 255.0, 2).constData());
    }
    std::fprintf(stream, "\n");
    printCounts(result.drawing, stream);
    std::fprintf(stream, "options  ");
    for (const auto &option : result.report.engine)
        std::fprintf(stream, " %s=%.6g", option.first.c_str(), option.second);
    std::fprintf(stream, "\ntimes    ");
    double total = 0.0;
    for (const auto &stage : result.report.seconds) {
        std::fprintf(stream, " %s %.3f s,", stage.first.c_str(), stage.second);
        total += stage.second;
    }
    std::fprintf(stream, " together %.3f s\n", total);
}

void printStatistics(const Drawing &drawing, std::FILE *stream)
{
    printSize(drawing, stream);
    printCounts(drawing, stream);
}

QJsonObject aboutTrace(const TraceResult &result, const Look &look, const Settings &settings)
{
    QJsonObject options;
    for (const auto &option : result.report.engine)
        options.insert(textOf(option.first), jsonNumberValue(option.second));
    QJsonArray palette;
    for (QRgb entry : result.report.palette) {
        QJsonObject colour;
        colour.insert(QLatin1String("color"), QLatin1String(colourName(entry)));
        colour.insert(QLatin1String("alpha"), qAlpha(entry));
        palette.append(colour);
    }
    QJsonObject said;
    for (const auto &setting : settings.said) {
        QJsonArray values;
        for (const std::string &value : setting.second)
            values.append(textOf(value));
        said.insert(textOf(setting.first), values);
    }
    QJsonObject statistics = countsOf(result.drawing);
    if (result.report.threshold >= 0)
        statistics.insert(QLatin1String("threshold"), result.report.threshold);
    if (result.report.evenedOut)
        statistics.insert(QLatin1String("evened"), true);
    if (result.report.angle != 0.0)
        statistics.insert(QLatin1String("angle"), result.report.angle);
    if (result.report.upsampling > 1)
        statistics.insert(QLatin1String("upsampling"), result.report.upsampling);
    if (result.report.shapes)
        statistics.insert(QLatin1String("fit"), QLatin1String("fair"));
    QJsonObject about;
    about.insert(QLatin1String("preset"), textOf(look.preset));
    about.insert(QLatin1String("seed"), static_cast<double>(settings.seed));
    about.insert(QLatin1String("settings"), said);
    about.insert(QLatin1String("options"), options);
    about.insert(QLatin1String("palette"), palette);
    about.insert(QLatin1String("statistics"), statistics);
    return about;
}

void printJson(const Drawing &drawing, const std::string &input, int page, const QJsonObject &more,
               std::FILE *stream)
{
    QJsonObject object = drawing.about;
    if (!object.contains(QLatin1String("statistics")))
        object.insert(QLatin1String("statistics"), countsOf(drawing));
    object.insert(QLatin1String("input"), textOf(input));
    object.insert(QLatin1String("page"), page);
    object.insert(QLatin1String("width"), drawing.width);
    object.insert(QLatin1String("height"), drawing.height);
    object.insert(QLatin1String("dpi"), jsonNumberValue(drawing.dpi));
    for (auto it = more.begin(); it != more.end(); ++it)
        object.insert(it.key(), it.value());
    std::fprintf(stream, "%s\n", jsonValue(object).constData());
}

QJsonObject aboutRun(const TraceResult &result, const Look &look)
{
    QJsonObject seconds;
    for (const auto &stage : result.report.seconds)
        seconds.insert(textOf(stage.first), stage.second);
    QJsonObject object;
    object.insert(QLatin1String("reason"), textOf(look.reason));
    object.insert(QLatin1String("seconds"), seconds);
    return object;
}

} // namespace ztrace
