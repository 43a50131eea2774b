// (c) the ztrace developers. Licence: see LICENSE.
//
// How the command takes memory from the system, and lets go of it.
#include "cli/heap.h"

#include <QRegularExpression>
#include <QtTest>

using namespace ztrace;

namespace {

// Kilobytes of files' contents that are mapped and resident, by /proc/self/smaps; of what is
// written to, those that were.
struct Resident
{
    long read = 0;
    long written = 0;
};

Resident residentFiles()
{
    Resident resident;
    QFile file(QStringLiteral("/proc/self/smaps"));
    if (!file.open(QIODevice::ReadOnly))
        return resident;
    const QRegularExpression numbers(QStringLiteral("^(Rss|Private_Dirty):\\s+(\\d+) kB"));
    bool isFile = false;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (!line.isEmpty() && !QChar::fromLatin1(line.at(0)).isUpper())
            isFile = line.contains(".so");
        const QRegularExpressionMatch match = numbers.match(QString::fromLatin1(line));
        if (!isFile || !match.hasMatch())
            continue;
        (match.captured(1) == QLatin1String("Rss") ? resident.read : resident.written)
            += match.captured(2).toLong();
    }
    return resident;
}

} // namespace

class tst_Heap : public QObject
{
    Q_OBJECT

private slots:
    // Megabytes of libraries, the toolkit's among them, go; what was written to stays, and what
    // needs them goes on.
    void codeGoesAndIsThereAgain()
    {
        residentFiles(); // so that it needs no more code itself
        const Resident before = residentFiles();
        if (before.read == 0)
            QSKIP("the system does not tell what is resident");
        forgetCode();
        const Resident after = residentFiles();
        QVERIFY2(after.read < before.read - 1000,
                 qPrintable(QStringLiteral("%1 of %2").arg(after.read).arg(before.read)));
        QVERIFY(after.written >= before.written);
        QCOMPARE(QString::fromUtf8("stra\xC3\x9F"
                                   "e")
                     .toUpper(),
                 QStringLiteral("STRASSE"));
        QVERIFY(QString::localeAwareCompare(QStringLiteral("a"), QStringLiteral("b")) < 0);
        QCOMPARE(QRegularExpression(QStringLiteral("(?i)x+"))
                     .match(QStringLiteral("aXx"))
                     .capturedLength(),
                 2);
    }
};

QTEST_GUILESS_MAIN(tst_Heap)

#include "tst_heap.moc"
