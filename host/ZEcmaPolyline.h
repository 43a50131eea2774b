// (c) the ztrace developers. Licence: see LICENSE.
//
// The script methods of "ZPolyline" values. Scripts get polylines from plug-ins; there is no
// constructor.
//
//   countPieces()
//   getPieceKind(i)      "line", "arc" or "spline"
//   getPiecePoints(i)    start point, control points of a spline, end point
//   getStartPoint() getEndPoint()
//   getLength()
//   getBoundingBox()     { minimum: point, maximum: point }
//   toString()
//
// Points are plain objects { x, y } in drawing coordinates, y upwards.
#ifndef ZECMAPOLYLINE_H
#define ZECMAPOLYLINE_H

class QScriptEngine;

class ZEcmaPolyline
{
public:
    static void initEcma(QScriptEngine &engine);
};

#endif
