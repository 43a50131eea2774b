// (c) the ztrace developers. Licence: see LICENSE.
#include "textfile.h"

#include "failure.h"
#include "values.h"

#include <QFile>

namespace ztrace {

namespace {

const int kMostBytes = 1 << 20;

} // namespace

std::string textOfFile(const std::string &fileName)
{
    QFile file(QFile::decodeName(fileName.c_str()));
    const auto fail = [&](const std::string &reason) {
        throw Failure(kInputUnreadable, shortened(fileName, kLongestName) + ": " + reason);
    };
    if (!file.open(QIODevice::ReadOnly))
        fail(file.errorString().toLocal8Bit().toStdString());
    const QByteArray text = file.read(kMostBytes + 1);
    if (file.error() != QFileDevice::NoError)
        fail(file.errorString().toLocal8Bit().toStdString());
    if (text.size() > kMostBytes)
        fail("too long for settings or a palette");
    return text.toStdString();
}

} // namespace ztrace
