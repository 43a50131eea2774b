// (c) the ztrace developers. Licence: see LICENSE.
//
// The members of a result line.
#ifndef ZTRACE_CLI_BATCH_TRACEDLINE_H
#define ZTRACE_CLI_BATCH_TRACEDLINE_H

#include <QByteArray>
#include <QImage>
#include <QJsonObject>

#include "cli/ending.h"
#include "cli/failure.h"
#include "cli/tracejob.h"
#include "names.h"

namespace ztrace {

// What is known before a picture is looked at: name, page, version, settings, time.
void beginLine(const Item &item, const QByteArray &settings, int attempt, QJsonObject *line);

// Size and numbers by kind.
void addDrawing(const Drawing &drawing, QJsonObject *line);

// The same, and how the drawing came about.
void addTrace(const TracedPicture &traced, QJsonObject *line);

// Compares the drawing with the picture, and flags the picture for somebody to look at when they
// agree less than `least`, when something is lost, and when the file was not whole.
void addCheck(const QImage &picture, const TracedPicture &traced, double least, Ending ending,
              QJsonObject *line);

// Why there is no drawing.
void addFailure(ExitCode code, const std::string &text, QJsonObject *line);

// The failure is not one of the picture and its settings: every run tries it again.
void addAgain(QJsonObject *line);

// As a line has them under kLimits.
QJsonObject limitsOf(const Settings &settings);

void addWarning(const std::string &text, QJsonObject *line);

// On one line, without its end.
QByteArray lineText(const QJsonObject &line);

} // namespace ztrace

#endif
