// (c) the ztrace developers. Licence: see LICENSE.
//
// The command ztrace: an image in, a drawing out.
#include "commandline.h"
#include "failure.h"
#include "presets.h"
#include "report.h"
#include "source.h"
#include "tracing.h"

#include "drawing/output.h"
#include "drawing/svg.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTextCodec>

#include <cstdio>
#include <exception>
#include <new>

namespace ztrace
{

namespace
{

    QString defaultOutput(const std::string &input)
    {
        if (input == "-")
            return QString::fromLatin1("-");
        const QFileInfo info(QFile::decodeName(input.c_str()));
        return QFile::decodeName((QFile::encodeName(info.path()) + '/'
                                  + QFile::encodeName(info.completeBaseName()) + ".svg"));
    }

    void refuseInputAsOutput(const std::string &input, const QString &output)
    {
        const QFileInfo in(QFile::decodeName(input.c_str()));
        const QFileInfo out(output);
        if (input != "-" && in.exists() && in.canonicalFilePath() == out.canonicalFilePath())
            throw Failure(kWrongUsage, input + ": the output would overwrite the input");
    }

    void listPresets()
    {
        for (const Preset &preset : allPresets()) {
            std::printf("%-12s %s%s\n", preset.name.c_str(), preset.description.c_str(),
                        preset.origin == "built in" ? "" : (" (" + preset.origin + ")").c_str());
        }
    }

    void run(CommandLine line)
    {
        const Preset preset
            = findPreset(line.settings.preset == "auto" ? "logo" : line.settings.preset);
        applySettings(parseSettings(preset.text, preset.origin), preset.origin, &line.given,
                      &line.settings);
        std::vector<QString> outputs;
        for (const std::string &output : line.settings.outputs)
            outputs.push_back(QFile::decodeName(output.c_str()));
        if (outputs.empty())
            outputs.push_back(defaultOutput(line.input));
        bool toStandardOutput = false;
        for (const QString &output : outputs) {
            refuseInputAsOutput(line.input, output);
            toStandardOutput = toStandardOutput || output == QLatin1String("-");
        }
        const TraceResult result
            = traceImage(readImage(line.input, !line.settings.raw), line.settings);
        SvgOptions options;
        options.style = line.settings.style;
        for (const QString &output : outputs) {
            QString error;
            const auto write
                = [&](QIODevice *device) { return writeSvg(result.drawing, options, device); };
            if (!writeWhole(output, write, &error)) {
                throw Failure(kOutputNotWritable,
                              (output == QLatin1String("-")
                                   ? std::string("standard output")
                                   : QFile::encodeName(output).toStdString())
                                  + ": " + error.toLocal8Bit().toStdString());
            }
        }
        if (line.settings.stats)
            printStatistics(result, preset.name, toStandardOutput ? stderr : stdout);
    }

    void dropMessage(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

} // namespace ztrace

int main(int argc, char **argv)
{
    using namespace ztrace;
    // Image readers may draw text, which needs a platform; none that shows anything.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // What goes wrong is said once, by this program; the engine's own lines are for scripts.
    qInstallMessageHandler(dropMessage);
    QLoggingCategory::setFilterRules(QString::fromLatin1("*.debug=false"));
    int ownName = 1; // the toolkit has options of its own, which are not ours
    QGuiApplication application(ownName, argv);
    // File names are bytes; this codec maps them one to one, whatever the locale.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    try {
        const CommandLine line = parseCommandLine(argc, argv);
        if (line.action == CommandLine::ListPresets)
            listPresets();
        else if (line.action == CommandLine::Trace)
            run(line);
        return kSuccess;
    } catch (const Failure &failure) {
        std::fprintf(stderr, "ztrace: %s\n", failure.what());
        return failure.code;
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "ztrace: not enough memory\n");
        return kFailed;
    }
}
