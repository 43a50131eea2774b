// (c) the ztrace developers. Licence: see LICENSE.
#include "tracedline.h"

#include "results.h"
#include "selfcheck.h"
#include "version.h"

#include "drawing/json.h"

#include <QDateTime>
#include <QJsonArray>

#include <cmath>

namespace ztrace {

namespace {

// What is lost beyond this is looked at. Of ink: letters that are missing from a page. Of pixels:
// small text of screenshots, which many good drawings lack, is 0.05 at most (253 images of the
// corpus: one is beyond 0.08).
const double kMostLostInk = 0.01;
const double kMostLostColour = 0.08;
// Pixels of ink in a drawing for one in the picture: 0.8 to 1.2 on good pages (49 of text and plans
// in several faces, 48 of the tests, 38 scans), 1.39 to 36 on those that a threshold near the
// paper's tone has blotted.
const double kMostInk = 1.35;

double rounded(double value)
{
    return std::round(value * 1e4) / 1e4;
}

QString textOf(const std::string &text)
{
    return QString::fromUtf8(text.c_str());
}

// Why the drawing is not to be compared with the picture; empty when it is.
const char *whyNotCompared(const TracedPicture &traced)
{
    const Settings &settings = traced.settings;
    if (settings.raw)
        return "the engine alone";
    if (!settings.onlyColours.empty() || settings.noFrame)
        return "only a part is drawn";
    if (!settings.palette.empty())
        return "a palette of its own";
    if (settings.edges && traced.result.report.shapes)
        return "only boundaries are drawn";
    return "";
}

} // namespace

void beginLine(const Item &item, const QByteArray &settings, int attempt, QJsonObject *line)
{
    insertName("path", item.path, line);
    line->insert(QLatin1String("page"), item.page);
    line->insert(QLatin1String("version"), QLatin1String(programVersion()));
    line->insert(QLatin1String("settings"), QLatin1String(settings));
    line->insert(QLatin1String("attempts"), attempt);
    line->insert(QLatin1String("time"),
                 QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
}

void addDrawing(const Drawing &drawing, QJsonObject *line)
{
    int strokes = 0;
    int lines = 0;
    int arcs = 0;
    int curves = 0;
    for (const Outline &outline : drawing.outlines) {
        strokes += outline.pen >= 0;
        for (const PathPiece &piece : outline.shape.pieces()) {
            lines += piece.kind == PathPiece::Line;
            arcs += piece.kind == PathPiece::Arc;
            curves += piece.kind != PathPiece::Line && piece.kind != PathPiece::Arc;
        }
    }
    QJsonObject counts;
    counts.insert(QLatin1String("outlines"), static_cast<int>(drawing.outlines.size()) - strokes);
    counts.insert(QLatin1String("strokes"), strokes);
    counts.insert(QLatin1String("lines"), lines);
    counts.insert(QLatin1String("arcs"), arcs);
    counts.insert(QLatin1String("curves"), curves);
    line->insert(QLatin1String("counts"), counts);
    line->insert(QLatin1String("width"), drawing.width);
    line->insert(QLatin1String("height"), drawing.height);
    line->insert(QLatin1String("dpi"), jsonNumberValue(drawing.dpi));
}

void addTrace(const TracedPicture &traced, QJsonObject *line)
{
    const TraceReport &report = traced.result.report;
    addDrawing(traced.result.drawing, line);
    line->insert(QLatin1String("preset"), textOf(traced.look.preset));
    if (!traced.look.reason.empty())
        line->insert(QLatin1String("reason"), textOf(traced.look.reason));
    line->insert(QLatin1String("seed"), double(traced.settings.seed));
    if (report.threshold >= 0)
        line->insert(QLatin1String("threshold"), report.threshold);
    if (report.angle != 0.0)
        line->insert(QLatin1String("angle"), report.angle);
    line->insert(QLatin1String("colours"), static_cast<int>(report.palette.size()));
    QJsonObject seconds;
    for (const auto &stage : report.seconds)
        seconds.insert(textOf(stage.first), stage.second);
    line->insert(QLatin1String("seconds"), seconds);
}

void addCheck(const QImage &picture, const TracedPicture &traced, double least, Ending ending,
              QJsonObject *line)
{
    QJsonArray flags;
    QJsonObject made;
    if (ending == Ending::CutShort || ending == Ending::Coarse || ending == Ending::PartsLost)
        flags.append(QLatin1String("incomplete"));
    if (traced.result.drawing.outlines.empty())
        flags.append(QLatin1String("empty"));
    const QLatin1String reason(whyNotCompared(traced));
    if (reason.size() > 0) {
        made.insert(QLatin1String("none"), reason);
    } else {
        const bool isInk = traced.settings.method == Method::Ink;
        const SelfCheck check = compareDrawing(
            picture, traced.result.drawing, isInk ? CheckKind::Ink : CheckKind::Colours,
            traced.settings.despeckle, traced.result.report.angle);
        made.insert(QLatin1String("agreement"), rounded(check.agreement));
        if (isInk)
            made.insert(QLatin1String("ink"), rounded(check.ink));
        made.insert(QLatin1String("lost"), check.lost);
        made.insert(QLatin1String("lostShare"), rounded(check.lostShare));
        made.insert(QLatin1String("colourError"), rounded(check.colourError));
        if (check.agreement < least)
            flags.append(QLatin1String("agreement"));
        if (check.lostShare > (isInk ? kMostLostInk : kMostLostColour))
            flags.append(QLatin1String("lost"));
        if (isInk && check.ink > kMostInk)
            flags.append(QLatin1String("thick"));
    }
    line->insert(QLatin1String("check"), made);
    if (!flags.isEmpty())
        line->insert(QLatin1String("flags"), flags);
}

void addFailure(ExitCode code, const std::string &text, QJsonObject *line)
{
    line->insert(QLatin1String("outcome"), QLatin1String(kOutcomeFailed));
    line->insert(QLatin1String("code"), int(code));
    line->insert(QLatin1String("error"), textOf(text));
    if (code == kOutputNotWritable || code == kWrongUsage)
        addAgain(line);
}

void addAgain(QJsonObject *line)
{
    line->insert(QLatin1String(kAgain), true);
}

QJsonObject limitsOf(const Settings &settings)
{
    QJsonObject limits;
    limits.insert(QLatin1String("max-pixels"), settings.maxPixels);
    limits.insert(QLatin1String("max-memory"), settings.maxMemory);
    return limits;
}

void addWarning(const std::string &text, QJsonObject *line)
{
    const QLatin1String name("warnings");
    QJsonArray warnings = line->value(name).toArray();
    warnings.append(textOf(text));
    line->insert(name, warnings);
}

QByteArray lineText(const QJsonObject &line)
{
    return jsonValue(line);
}

} // namespace ztrace
