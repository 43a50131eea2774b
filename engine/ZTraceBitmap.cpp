// (c) the ztrace developers. Licence: see LICENSE.
//
// Construction: the twelve options and the constant tables.
#include "ZTraceBitmap.h"

#include "kernels/convert.h"
#include "kernels/gaussian.h"
#include "optiondefaults.h"
#include "qtcompat.h"

#include <QDebug>

namespace {

const int kNodeCodes = 16;
const int kDirections = 4;
const int kMoveFields = 4; // code written back, new direction, dx, dy

// Walk direction at a start node: 0 right, 1 up, 2 left, 3 down.
const signed char kStartDirection[kNodeCodes] = { 0, 0, 3, 0, 1, 0, 3, 0, 0, 3, 3, 1, 0, 3, 0, 0 };

// Three of the four pixels belong to the layer: the scan has met the outline of a hole.
const bool kStartsHole[kNodeCodes] = { false, false, false, false, false, false, false, true,
                                       false, false, false, true,  false, true,  true,  false };

// What a walk does at a node of a code, arriving in a direction. A saddle (5, 10) keeps the half
// that has not been walked yet; the moves of -1 are never used.
// One row a node code, one column a direction.
// clang-format off
const signed char kMoves[kNodeCodes][kDirections][kMoveFields] = {
    { { -1, -1, -1, -1 }, { -1, -1, -1, -1 }, { -1, -1, -1, -1 }, { -1, -1, -1, -1 } },
    { {  0,  1,  0, -1 }, { -1, -1, -1, -1 }, { -1, -1, -1, -1 }, {  0,  2, -1,  0 } },
    { { -1, -1, -1, -1 }, { -1, -1, -1, -1 }, {  0,  1,  0, -1 }, {  0,  0,  1,  0 } },
    { {  0,  0,  1,  0 }, { -1, -1, -1, -1 }, {  0,  2, -1,  0 }, { -1, -1, -1, -1 } },
    { { -1, -1, -1, -1 }, {  0,  0,  1,  0 }, {  0,  3,  0,  1 }, { -1, -1, -1, -1 } },
    { { 13,  3,  0,  1 }, { 13,  2, -1,  0 }, {  7,  1,  0, -1 }, {  7,  0,  1,  0 } },
    { { -1, -1, -1, -1 }, {  0,  1,  0, -1 }, { -1, -1, -1, -1 }, {  0,  3,  0,  1 } },
    { {  0,  3,  0,  1 }, {  0,  2, -1,  0 }, { -1, -1, -1, -1 }, { -1, -1, -1, -1 } },
    { {  0,  3,  0,  1 }, {  0,  2, -1,  0 }, { -1, -1, -1, -1 }, { -1, -1, -1, -1 } },
    { { -1, -1, -1, -1 }, {  0,  1,  0, -1 }, { -1, -1, -1, -1 }, {  0,  3,  0,  1 } },
    { { 11,  1,  0, -1 }, { 14,  0,  1,  0 }, { 14,  3,  0,  1 }, { 11,  2, -1,  0 } },
    { { -1, -1, -1, -1 }, {  0,  0,  1,  0 }, {  0,  3,  0,  1 }, { -1, -1, -1, -1 } },
    { {  0,  0,  1,  0 }, { -1, -1, -1, -1 }, {  0,  2, -1,  0 }, { -1, -1, -1, -1 } },
    { { -1, -1, -1, -1 }, { -1, -1, -1, -1 }, {  0,  1,  0, -1 }, {  0,  0,  1,  0 } },
    { {  0,  1,  0, -1 }, { -1, -1, -1, -1 }, { -1, -1, -1, -1 }, {  0,  2, -1,  0 } },
    { { -1, -1, -1, -1 }, { -1, -1, -1, -1 }, { -1, -1, -1, -1 }, { -1, -1, -1, -1 } },
};
// clang-format on

QVector<QVector<double>> gaussianTable()
{
    QVector<QVector<double>> table(ztrace::kLargestBlurRadius);
    for (int radius = 1; radius <= ztrace::kLargestBlurRadius; ++radius) {
        const double *weights = ztrace::gaussianKernel(radius);
        for (int i = 0; i < 2 * radius + 1; ++i)
            table[radius - 1].append(weights[i]);
    }
    return table;
}

QVector<QVector<char>> movesOfCode(int code)
{
    QVector<QVector<char>> moves(kDirections);
    for (int direction = 0; direction < kDirections; ++direction) {
        moves[direction].resize(kMoveFields);
        for (int field = 0; field < kMoveFields; ++field)
            moves[direction][field] = kMoves[code][direction][field];
    }
    return moves;
}

QVector<QVector<QVector<char>>> moveTable()
{
    QVector<QVector<QVector<char>>> table;
    table.reserve(kNodeCodes);
    for (int code = 0; code < kNodeCodes; ++code)
        table.append(movesOfCode(code));
    return table;
}

// Every construction announces the moves, code by code and then all together.
void announceMoves(const QVector<QVector<QVector<char>>> &table)
{
    if (!ztrace::debugOutputIsOn())
        return;
    for (int code = 0; code < table.size(); ++code)
        qDebug() << "tuples:" << table.at(code);
    qDebug() << "lines:" << table;
}

template<typename T>
QVector<T> codeTable(const T *values)
{
    QVector<T> table;
    table.reserve(kNodeCodes);
    for (int code = 0; code < kNodeCodes; ++code)
        table.append(values[code]);
    return table;
}

QVector<char> startDirections()
{
    char values[kNodeCodes];
    for (int code = 0; code < kNodeCodes; ++code)
        values[code] = kStartDirection[code];
    return codeTable<char>(values);
}

// The constant tables, made once: all tracers share them, as containers share what nobody changes.
struct Tables
{
    QVector<QVector<double>> gaussian;
    QVector<char> startDirection;
    QVector<bool> startsHole;
    QVector<QVector<QVector<char>>> moves;

    Tables()
        : gaussian(gaussianTable()), startDirection(startDirections()),
          startsHole(codeTable<bool>(kStartsHole)), moves(moveTable())
    { }
};

const Tables &tables()
{
    static const Tables made;
    return made;
}

} // namespace

ZTraceBitmap::ZTraceBitmap() : imageWidth(0), imageHeight(0)
{
    for (const ztrace::OptionDefault &entry : ztrace::kOptionDefaults)
        options.insert(QLatin1String(entry.name), entry.value);
    const Tables &shared = tables();
    gaussianKernels = shared.gaussian;
    pathscanDirLookup = shared.startDirection;
    pathscanHoleLookup = shared.startsHole;
    announceMoves(shared.moves);
    pathscanCombinedLookup = shared.moves;
}

ZTraceBitmap::~ZTraceBitmap() { }

void ZTraceBitmap::setOption(const QString &name, double value)
{
    options.insert(name, value);
}

// A name that is missing reads as 0 and is there afterwards: the map's inserting look-up.
double ZTraceBitmap::option(const char *name)
{
    return options[QLatin1String(name)];
}

int ZTraceBitmap::integerOption(const char *name)
{
    return ztrace::floorToInt(option(name));
}
