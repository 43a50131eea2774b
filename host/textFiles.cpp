// (c) the ztrace developers. Licence: see LICENSE.
#include "textFiles.h"

#include "binding.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>

namespace {

using namespace zelvora;

const char kStandardInput[] = "-";

// Bytes. Far more than people write, and less than makes the engine's parser run out of memory.
const qint64 kMostBytes = 64 << 20;

QString tooLarge()
{
    return QString::fromLatin1("It is larger than %1 megabytes").arg(kMostBytes >> 20);
}

bool openText(const QString &fileName, QFile *file, QString *error)
{
    *error = whyNoFileName(fileName);
    if (!error->isEmpty())
        return false;
    if (fileName == QLatin1String(kStandardInput)) {
        if (file->open(stdin, QIODevice::ReadOnly))
            return true;
    } else if (QFileInfo(fileName).isDir()) {
        *error = QString::fromLatin1("It is a folder");
        return false;
    } else if (file->open(QIODevice::ReadOnly)) {
        return true;
    }
    *error = file->errorString();
    return false;
}

// The names as the script gets them. False with the reason in `error`.
bool listNames(const QString &folder, const QString &pattern, QStringList *names, QString *error)
{
    *error = whyNoFileName(folder);
    if (!error->isEmpty())
        return false;
    const QFileInfo info(folder);
    if (!info.isDir() || !info.isReadable()) {
        *error = QString::fromLatin1(!info.exists()     ? "There is no such folder"
                                         : info.isDir() ? "It cannot be read"
                                                        : "It is no folder");
        return false;
    }
    QDirIterator it(folder, QStringList(pattern), QDir::AllEntries | QDir::NoDotAndDotDot);
    qint64 bytes = 0;
    while (it.hasNext() && bytes <= kMostBytes) {
        it.next();
        names->append(it.fileInfo().isDir() ? it.fileName() + QLatin1Char('/') : it.fileName());
        bytes += qint64(sizeof(QChar)) * names->last().size();
    }
    if (bytes > kMostBytes)
        *error = tooLarge();
    std::sort(names->begin(), names->end());
    return bytes <= kMostBytes;
}

} // namespace

QString zelvora::whyNoFileName(const QString &text)
{
    if (text.isEmpty())
        return QString::fromLatin1("the file name is empty");
    return text.contains(QChar(0)) ? QString::fromLatin1("the file name has a zero byte in it")
                                   : QString();
}

QString zelvora::aboutFile(const QString &name, const QString &error)
{
    return whyNoFileName(name).isEmpty() ? name + QLatin1String(": ") + error : error;
}

bool zelvora::readText(const QString &fileName, QString *text, QString *error)
{
    QFile file(fileName);
    if (!openText(fileName, &file, error))
        return false;
    QByteArray bytes;
    while (bytes.size() <= kMostBytes) {
        const QByteArray more = file.read(kMostBytes + 1 - bytes.size());
        if (more.isEmpty())
            break;
        bytes += more;
    }
    if (file.error() != QFileDevice::NoError)
        *error = file.errorString();
    else if (bytes.size() > kMostBytes)
        *error = tooLarge();
    *text = QString::fromUtf8(bytes);
    return error->isEmpty();
}

QScriptValue zelvora::readTextFile(QScriptContext *context, QScriptEngine *)
{
    if (context->argumentCount() != 1 || !context->argument(0).isString())
        return raise(QString::fromLatin1("Wrong number/types of arguments for readTextFile()."),
                     context);
    const QString name = context->argument(0).toString();
    QString text;
    QString error;
    if (!readText(name, &text, &error))
        return raise(QLatin1String("readTextFile(): ") + aboutFile(name, error), context);
    return QScriptValue(text);
}

QScriptValue zelvora::listFolder(QScriptContext *context, QScriptEngine *engine)
{
    const int count = context->argumentCount();
    if (count < 1 || count > 2 || !context->argument(0).isString()
        || (count == 2 && !context->argument(1).isString()))
        return raise(QString::fromLatin1("Wrong number/types of arguments for listFolder()."),
                     context);
    const QString name = context->argument(0).toString();
    const QString pattern = count == 2 ? context->argument(1).toString() : QString::fromLatin1("*");
    QStringList names;
    QString error;
    if (!listNames(name, pattern, &names, &error))
        return raise(QLatin1String("listFolder(): ") + aboutFile(name, error), context);
    return qScriptValueFromSequence(engine, names);
}
