// (c) the ztrace developers. Licence: see LICENSE.
//
// The script class "ZDrawing": what a script draws into and saves.
//
//   new ZDrawing()
//   addObject(polyline)      or an array of polylines; they are copied
//   count()                  polylines in the drawing
//   save(fileName)           in the format of the ending; an error names the reason of a failure
//
// Polylines are strokes of one pixel in black on layer "0"; the drawing is as big as they are.
#ifndef ZECMADRAWING_H
#define ZECMADRAWING_H

class QScriptEngine;

class ZEcmaDrawing
{
public:
    static void initEcma(QScriptEngine &engine);
};

#endif
